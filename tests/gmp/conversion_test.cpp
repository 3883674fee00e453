// Life of a record, assignment, reading, comparison, text and word arrays
// against GMP. The stated differences are tested as such: alloc of at least
// 8 limbs, realloc to fewer limbs keeping alloc and truncating the value,
// sizeinbase writing the size back, bases above 36 refused, no "0b".
#include <cfloat>
#include <climits>
#include <cmath>

#include "gmp/integer_testing.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::gmp;

TEST(Integer, LifeOfARecord) {
  zor_mpz_t z;
  for (uint64_t bits : {0ull, 1ull, 64ull, 512ull, 513ull, 64000ull}) {
    zor_gmp___gmpz_init2(z, bits);
    EXPECT_EQ(z->alloc, std::max<int32_t>(8, int32_t((bits + 63) / 64))) << bits;
    EXPECT_EQ(z->size, 0);
    for (int32_t i = 0; i < z->alloc; ++i) ASSERT_EQ(z->limbs[i], 0u) << "new limbs are cleared";
    zor_gmp___gmpz_clear(z);
  }
  // realloc: more limbs keep the value and clear the rest; fewer keep alloc
  // and truncate the value, keeping its sign; the result is null.
  Rng rng(31);
  G g;
  auto v = random_limbs(rng, 20, Pattern::uniform);
  mpz_import(g, 20, -1, 8, 0, 0, v.data());
  mpz_neg(g, g);
  zor_gmp___gmpz_init(z);
  assign(z, g);
  EXPECT_EQ(zor_gmp___gmpz_realloc(z, 100), nullptr);
  EXPECT_EQ(z->alloc, 100);
  EXPECT_TRUE(same(z, g));
  for (int32_t i = 20; i < 100; ++i) ASSERT_EQ(z->limbs[i], 0u);
  EXPECT_EQ(zor_gmp___gmpz_realloc(z, 12), nullptr);
  EXPECT_EQ(z->alloc, 100);
  mpz_tdiv_r_2exp(g, g, 12 * 64);
  EXPECT_TRUE(same(z, g)) << "truncated to 12 limbs, still negative";
  zor_gmp___gmpz_realloc(z, 3);  // the floor of 8 limbs
  EXPECT_EQ(z->size, -8);
  zor_gmp___gmpz_realloc2(z, 1);
  EXPECT_EQ(z->alloc, 100);
  EXPECT_EQ(z->size, -8);
  zor_gmp___gmpz_realloc2(z, 64 * 200);
  EXPECT_EQ(z->alloc, 200);
  zor_gmp___gmpz_clear(z);

  zor_mpz_struct many[5];
  zor_gmp___gmpz_array_init(many, 5, 700);
  for (auto &m : many) {
    EXPECT_EQ(m.alloc, 11);
    EXPECT_EQ(m.size, 0);
    zor_gmp___gmpz_clear(&m);
  }
  Z a, b;
  zor_gmp___gmpz_set_si(a, -5);
  zor_gmp___gmpz_set_ui(b, 7);
  zor_gmp___gmpz_swap(a, b);
  EXPECT_EQ(zor_gmp___gmpz_get_si(a), 7);
  EXPECT_EQ(zor_gmp___gmpz_get_si(b), -5);
}

TEST(Integer, AssignAndRead) {
  Values v = operands(32, {1, 2, 3, 30});
  for (size_t i = 0; i < v.size(); ++i) {
    mpz_srcptr x = v[i];
    SCOPED_TRACE(text(x));
    Operand a(x);
    Z r;
    G want;
    zor_gmp___gmpz_set(r, a);
    ASSERT_TRUE(same(r, x));
    mpz_neg(want, x);
    zor_gmp___gmpz_neg(r, a);
    ASSERT_TRUE(same(r, want));
    mpz_abs(want, x);
    zor_gmp___gmpz_abs(r, a);
    ASSERT_TRUE(same(r, want));
    zor_mpz_t fresh;
    zor_gmp___gmpz_init_set(fresh, a);
    EXPECT_TRUE(same(fresh, x));
    zor_gmp___gmpz_clear(fresh);
    EXPECT_EQ(zor_gmp___gmpz_get_ui(a), mpz_get_ui(x));
    EXPECT_EQ(zor_gmp___gmpz_get_si(a), mpz_get_si(x));
    EXPECT_EQ(zor_gmp___gmpz_get_d(a), mpz_get_d(x));
    long e1;
    int64_t e2;
    double d1 = mpz_get_d_2exp(&e1, x);
    EXPECT_EQ(zor_gmp___gmpz_get_d_2exp(&e2, a), d1);
    EXPECT_EQ(e2, e1);
    EXPECT_EQ(zor_gmp___gmpz_size(a), mpz_size(x));
    EXPECT_EQ(zor_gmp___gmpz_sgn(a), mpz_sgn(x));
    for (int64_t k : {-1, 0, 1, 2, 29, 30, 31})
      EXPECT_EQ(zor_gmp___gmpz_getlimbn(a, k), k >= 0 && size_t(k) < mpz_size(x) ? mpz_getlimbn(x, k) : 0u) << k;
    EXPECT_EQ(zor_gmp___gmpz_fits_sint_p(a), mpz_fits_sint_p(x));
    EXPECT_EQ(zor_gmp___gmpz_fits_slong_p(a), mpz_fits_slong_p(x));
    EXPECT_EQ(zor_gmp___gmpz_fits_sshort_p(a), mpz_fits_sshort_p(x));
    EXPECT_EQ(zor_gmp___gmpz_fits_uint_p(a), mpz_fits_uint_p(x));
    EXPECT_EQ(zor_gmp___gmpz_fits_ulong_p(a), mpz_fits_ulong_p(x));
    EXPECT_EQ(zor_gmp___gmpz_fits_ushort_p(a), mpz_fits_ushort_p(x));
    for (int base = 2; base <= 36; ++base) {
      size_t exact = mpz_sizeinbase(x, base), ours = zor_gmp___gmpz_sizeinbase(a, base);
      std::vector<char> buffer(exact + 2);
      size_t digits = std::strlen(mpz_get_str(buffer.data(), base, x)) - (mpz_sgn(x) < 0);
      EXPECT_TRUE(ours == digits || ours == digits + 1) << "base " << base << ": " << ours << " for " << digits;
      if ((base & (base - 1)) == 0) EXPECT_EQ(ours, exact);
    }
  }
  // the fits limits themselves
  G g;
  Z z;
  for (long x : {long(INT_MAX), long(INT_MIN), long(SHRT_MAX), long(SHRT_MIN), long(USHRT_MAX), long(UINT_MAX)})
    for (long d : {-1L, 0L, 1L}) {
      mpz_set_si(g, x + d);
      assign(z, g);
      EXPECT_EQ(zor_gmp___gmpz_fits_sint_p(z), mpz_fits_sint_p(g)) << x + d;
      EXPECT_EQ(zor_gmp___gmpz_fits_sshort_p(z), mpz_fits_sshort_p(g)) << x + d;
      EXPECT_EQ(zor_gmp___gmpz_fits_ushort_p(z), mpz_fits_ushort_p(g)) << x + d;
      EXPECT_EQ(zor_gmp___gmpz_fits_uint_p(z), mpz_fits_uint_p(g)) << x + d;
    }
  // machine values and doubles
  Rng rng(33);
  for (int k = 0; k < 200; ++k) {
    unsigned long u = rng.engine() >> rng.integer(0, 63);
    long s = long(rng.engine()) >> rng.integer(0, 63);
    double d = std::ldexp(rng.uniform(-1, 1), int(rng.integer(-5, 1020)));
    Z r;
    zor_gmp___gmpz_set_ui(r, u);
    mpz_set_ui(g, u);
    ASSERT_TRUE(same(r, g));
    zor_gmp___gmpz_set_si(r, s);
    mpz_set_si(g, s);
    ASSERT_TRUE(same(r, g));
    zor_gmp___gmpz_set_d(r, d);
    mpz_set_d(g, d);
    ASSERT_TRUE(same(r, g)) << d;
    zor_mpz_t fresh;
    zor_gmp___gmpz_init_set_d(fresh, d);
    EXPECT_TRUE(same(fresh, g));
    zor_gmp___gmpz_clear(fresh);
    zor_gmp___gmpz_init_set_si(fresh, s);
    mpz_set_si(g, s);
    EXPECT_TRUE(same(fresh, g));
    zor_gmp___gmpz_clear(fresh);
    zor_gmp___gmpz_init_set_ui(fresh, u);
    mpz_set_ui(g, u);
    EXPECT_TRUE(same(fresh, g));
    zor_gmp___gmpz_clear(fresh);
  }
  for (double d : {0.0, -0.0, 0.5, -0.99, 1.0, -1.0, 1e300, -1e300, DBL_MAX, DBL_MIN, 9007199254740993.0}) {
    Z r;
    zor_gmp___gmpz_set_d(r, d);
    mpz_set_d(g, d);
    EXPECT_TRUE(same(r, g)) << d;
  }
}

TEST(Integer, Comparisons) {
  Values v = operands(34, {1, 2, 3});
  Rng rng(35);
  std::vector<double> doubles = {0.0, -0.0, 0.5, -0.5, 1.0, -1.0, 1.5, 18446744073709551616.0, -1e30, 1e300,
                                 INFINITY, -INFINITY};
  for (size_t i = 0; i < v.size(); ++i) {
    Operand a(v[i]);
    for (size_t j = 0; j < v.size(); ++j) {
      Operand b(v[j]);
      EXPECT_EQ(sign(zor_gmp___gmpz_cmp(a, b)), sign(mpz_cmp(v[i], v[j])));
      EXPECT_EQ(sign(zor_gmp___gmpz_cmpabs(a, b)), sign(mpz_cmpabs(v[i], v[j])));
    }
    for (unsigned long u : limb_operands(rng)) {
      EXPECT_EQ(sign(zor_gmp___gmpz_cmp_ui(a, u)), sign(mpz_cmp_ui(v[i], u))) << text(v[i]) << " " << u;
      EXPECT_EQ(sign(zor_gmp___gmpz_cmpabs_ui(a, u)), sign(mpz_cmpabs_ui(v[i], u)));
    }
    for (long s : signed_operands(rng)) EXPECT_EQ(sign(zor_gmp___gmpz_cmp_si(a, s)), sign(mpz_cmp_si(v[i], s)));
    double near = mpz_get_d(v[i]);
    for (double d : doubles) {
      for (double e : {d, near, near + 0.25, near - 0.25, std::nextafter(near, INFINITY)}) {
        EXPECT_EQ(sign(zor_gmp___gmpz_cmp_d(a, e)), sign(mpz_cmp_d(v[i], e))) << text(v[i]) << " " << e;
        EXPECT_EQ(sign(zor_gmp___gmpz_cmpabs_d(a, e)), sign(mpz_cmpabs_d(v[i], e))) << text(v[i]) << " " << e;
      }
    }
  }
}

TEST(Integer, TextInAllBases) {
  Values v = operands(36, {1, 2, 5, 40});
  for (size_t i = 0; i < v.size(); ++i) {
    mpz_srcptr x = v[i];
    Operand a(x);
    for (int base = -36; base <= 36; ++base) {
      if (base >= -1 && base <= 1 && base != 0) continue;
      SCOPED_TRACE(::testing::Message() << text(x) << " base " << base);
      char *want = mpz_get_str(nullptr, base, x);
      char *ours = zor_gmp___gmpz_get_str(nullptr, base, a);
      ASSERT_STREQ(ours, want);
      std::vector<char> buffer(zor_gmp___gmpz_sizeinbase(a, base < 0 ? -base : (base ? base : 10)) + 2);
      EXPECT_EQ(zor_gmp___gmpz_get_str(buffer.data(), base, a), buffer.data());
      EXPECT_STREQ(buffer.data(), want);
      zor_gmp___gmp_free_func_ptr()(ours, std::strlen(ours) + 1);
      if (base >= 2) {
        Z r;
        EXPECT_EQ(zor_gmp___gmpz_set_str(r, want, base), 0);
        ASSERT_TRUE(same(r, x)) << "set_str";
        std::string upper = want;
        for (char &c : upper) c = char(std::toupper(c));
        EXPECT_EQ(zor_gmp___gmpz_set_str(r, upper.c_str(), base), 0);
        ASSERT_TRUE(same(r, x)) << "set_str in upper case";
      }
      gmp_free(want, std::strlen(want) + 1);
    }
    EXPECT_EQ(zor_gmp___gmpz_get_str(nullptr, 37, a), nullptr);
    EXPECT_EQ(zor_gmp___gmpz_get_str(nullptr, -37, a), nullptr);
  }
  // set_str: blanks, the sign, base 0 prefixes, and the refusals
  const std::pair<const char *, int> texts[] = {
      {"0", 0},       {"  -123  ", 10}, {"0x1F", 0},   {"0X1f", 0},     {"017", 0},   {"-0x10", 0},   {"1 000 000", 10},
      {"zz", 36},     {"ZZ", 36},       {"12", 0},    {"\t42\n", 0},   {"-0", 10},   {"0010", 2},    {"18446744073709551616", 10},
      {"", 10},       {"   ", 10},      {"-", 10},    {"12a", 10},     {"0x", 0},    {"2", 2},       {"1+1", 10},
      {"0b101", 0},   {"+5", 10},       {"9", 8},     {"-0x", 0},      {"--1", 10},  {"x1", 16},
      {"- 12", 10},   {"0 x1f", 0},     {"0x 1f", 0}, {"1-", 10},      {"0 17", 0},  {"00x1", 0}};
  for (auto [s, base] : texts) {
    G g;
    Z r;
    zor_gmp___gmpz_set_si(r, 99);
    int want = mpz_set_str(g, s, base);
    int ours = zor_gmp___gmpz_set_str(r, s, base);
    std::string text_of = std::string("\"") + s + "\" base " + std::to_string(base);
    if (std::string(s) == "0b101") {
      // no "0b" prefix here: a leading 0 makes it octal, where b is no digit
      EXPECT_EQ(ours, -1) << text_of;
      continue;
    }
    EXPECT_EQ(ours, want) << text_of;
    if (want == 0) EXPECT_TRUE(same(r, g)) << text_of;
    if (ours != 0) EXPECT_EQ(zor_gmp___gmpz_get_si(r), 99) << "a refused text leaves z as it was";
  }
  Z r;
  EXPECT_EQ(zor_gmp___gmpz_set_str(r, "12", 37), -1);
  EXPECT_EQ(zor_gmp___gmpz_set_str(r, "12", 1), -1);
  zor_mpz_t fresh;
  EXPECT_EQ(zor_gmp___gmpz_init_set_str(fresh, "-987654321987654321987654321", 10), 0);
  G g("-987654321987654321987654321");
  EXPECT_TRUE(same(fresh, g));
  zor_gmp___gmpz_clear(fresh);
  // sizeinbase strips high zero limbs and writes the size back
  zor_gmp___gmpz_set_ui(r, 5);
  r->limbs[1] = 0, r->limbs[2] = 0;
  r->size = -3;
  EXPECT_EQ(zor_gmp___gmpz_sizeinbase(r, 2), 3u);
  EXPECT_EQ(r->size, -1);
  r->size = 0;
  EXPECT_EQ(zor_gmp___gmpz_sizeinbase(r, 10), 1u);
}

// Import and export in every word order, byte order, word size and nail
// count, both ways against GMP.
TEST(Integer, WordArrays) {
  Values v = operands(37, {1, 2, 3, 17});
  for (size_t i = 0; i < v.size(); ++i) {
    G magnitude;
    mpz_abs(magnitude, v[i]);
    Operand a(v[i]);
    for (int order : {1, -1})
      for (int endian : {1, -1, 0})
        for (size_t size : {size_t(1), size_t(2), size_t(3), size_t(8), size_t(9), size_t(16)})
          for (size_t nails : {size_t(0), size_t(1), size_t(7), size_t(8), size_t(13)}) {
            if (nails >= 8 * size) continue;
            SCOPED_TRACE(::testing::Message() << text(v[i]) << " order " << order << " endian " << endian
                                              << " size " << size << " nails " << nails);
            size_t want_count = 0, count = 99;
            void *want = mpz_export(nullptr, &want_count, order, size, endian, nails, v[i]);
            std::vector<unsigned char> ours(want_count * size + 1, 0xEE);
            void *p = zor_gmp___gmpz_export(ours.data(), &count, order, size, endian, nails, a);
            EXPECT_EQ(p, ours.data());
            ASSERT_EQ(count, want_count);
            if (count) EXPECT_EQ(std::memcmp(ours.data(), want, count * size), 0);
            EXPECT_EQ(ours[count * size], 0xEE) << "written past the words";
            void *allocated = zor_gmp___gmpz_export(nullptr, nullptr, order, size, endian, nails, a);
            if (count) {
              EXPECT_EQ(std::memcmp(allocated, want, count * size), 0);
              zor_gmp___gmp_free_func_ptr()(allocated, count * size);
            } else {
              EXPECT_EQ(allocated, nullptr);
            }
            Z r;
            zor_gmp___gmpz_import(r, count, order, size, endian, nails, want);
            ASSERT_TRUE(same(r, magnitude)) << "import";
            // words with their nail bits set are read without them
            if (nails && count) {
              std::vector<unsigned char> noisy(static_cast<unsigned char *>(want),
                                               static_cast<unsigned char *>(want) + count * size);
              for (size_t w = 0; w < count; ++w) {
                size_t top = endian == 1 || (endian == 0 && false) ? w * size : w * size + size - 1;
                noisy[top] |= static_cast<unsigned char>(0xFF << (8 - std::min<size_t>(nails, 8)));
              }
              G g;
              mpz_import(g, count, order, size, endian, nails, noisy.data());
              zor_gmp___gmpz_import(r, count, order, size, endian, nails, noisy.data());
              ASSERT_TRUE(same(r, g)) << "import with nail bits set";
            }
            if (want) gmp_free(want, want_count * size);
          }
  }
}

}  // namespace
