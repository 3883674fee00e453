// Addition, products, the three division families with their limb and
// power-of-two forms, divisibility and the two's complement bit operations,
// against GMP on the same operands in every sign and aliasing form.
#include "gmp/integer_testing.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::gmp;

bool zero_divisor(mpz_srcptr, mpz_srcptr d) { return mpz_sgn(d) == 0; }

TEST(Integer, AdditionAndProducts) {
  Values v = operands(11, {1, 2, 3, 7, 40, 201});
  Rng big(18);
  v.add_random(big, 3000, Pattern::uniform, false);
  v.add_random(big, 3000, Pattern::runs, true);
  check_binary("add", zor_gmp___gmpz_add, mpz_add, v, v);
  check_binary("sub", zor_gmp___gmpz_sub, mpz_sub, v, v);
  check_binary("mul", zor_gmp___gmpz_mul, mpz_mul, v, v);
  // r += a b and r -= a b, r distinct and r an operand
  for (size_t i = 0; i < v.size(); i += 3)
    for (size_t j = 0; j < v.size(); j += 2) {
      G want;
      mpz_set_si(want, -12345);
      mpz_addmul(want, v[i], v[j]);
      Operand x(v[i]), y(v[j]);
      Z sum;
      zor_gmp___gmpz_set_si(sum, -12345);
      zor_gmp___gmpz_addmul(sum, x, y);
      ASSERT_TRUE(same(sum, want)) << "addmul";
      mpz_set(want, v[i]);
      mpz_submul(want, v[i], v[j]);
      Operand r(v[i]), b(v[j]);
      zor_gmp___gmpz_submul(r, r, b);
      ASSERT_TRUE(same(r, want)) << "submul into its operand";
      mpz_set(want, v[j]);
      mpz_addmul(want, v[j], v[j]);
      assign(r, v[j]);
      zor_gmp___gmpz_addmul(r, r, r);
      ASSERT_TRUE(same(r, want)) << "addmul of itself";
    }
}

TEST(Integer, LimbAndSignedOperands) {
  Rng rng(12);
  Values v = operands(13, {1, 2, 5, 300});
  for (size_t i = 0; i < v.size(); ++i) {
    mpz_srcptr x = v[i];
    for (unsigned long u : limb_operands(rng)) {
      SCOPED_TRACE(::testing::Message() << text(x) << " and " << u);
      G want;
      Operand a(x);
      Z r;
      using Ui = void (*)(zor_mpz_ptr, zor_mpz_srcptr, unsigned long);
      using GmpUi = void (*)(mpz_ptr, mpz_srcptr, unsigned long);
      const std::pair<Ui, GmpUi> forms[] = {
          {zor_gmp___gmpz_add_ui, mpz_add_ui},         {zor_gmp___gmpz_sub_ui, mpz_sub_ui},
          {zor_gmp___gmpz_mul_ui, mpz_mul_ui},         {zor_gmp___gmpz_addmul_ui, mpz_addmul_ui},
          {zor_gmp___gmpz_submul_ui, mpz_submul_ui}};
      for (auto [ours, theirs] : forms) {
        mpz_set_si(want, 77);
        zor_gmp___gmpz_set_si(r, 77);
        theirs(want, x, u);
        ours(r, a, u);
        ASSERT_TRUE(same(r, want));
        assign(r, x);
        mpz_set(want, x);
        theirs(want, want, u);
        ours(r, r, u);
        ASSERT_TRUE(same(r, want)) << "in place";
      }
      mpz_ui_sub(want, u, x);
      zor_gmp___gmpz_ui_sub(r, u, a);
      ASSERT_TRUE(same(r, want)) << "ui_sub";
      zor_gmp___gmpz_ui_sub(a, u, a);
      ASSERT_TRUE(same(a, want)) << "ui_sub in place";
      assign(a, x);
      long s = long(u);
      mpz_mul_si(want, x, s);
      zor_gmp___gmpz_mul_si(r, a, s);
      ASSERT_TRUE(same(r, want)) << "mul_si " << s;
      unsigned long bits = u % 300;
      mpz_mul_2exp(want, x, bits);
      zor_gmp___gmpz_mul_2exp(r, a, bits);
      ASSERT_TRUE(same(r, want)) << "mul_2exp " << bits;
      zor_gmp___gmpz_mul_2exp(a, a, bits);
      ASSERT_TRUE(same(a, want)) << "mul_2exp in place";
    }
  }
}

// Divisors around the switch from long division to the recursive one (32,
// 33, 34 limbs), of 1, 2, 3 and 1000 limbs, with top limbs 0x8000... and
// 0xFFFF... (normalised already, and the largest quotient estimates).
Values divisors(Rng &rng) {
  Values v = random_values(rng, {1, 2, 3, 32, 33, 34, 60, 1000});
  for (size_t n : {1, 2, 3, 32, 33, 34, 1000})
    for (limb top : {limb(0x8000000000000000ull), ~limb(0)}) {
      auto d = random_limbs(rng, n, Pattern::uniform);
      d.back() = top;
      G g;
      mpz_import(g, n, -1, sizeof(limb), 0, 0, d.data());
      v.add(g);
      mpz_neg(g, g);
      v.add(g);
    }
  return v;
}

// Dividends that make the three-limb quotient estimate one too large, so
// that the add-back runs: (q (d1 d0)) B^(n-2) over d = (d1 d0 1...1); and,
// for long divisors, (d - 1) B^m + x, whose leading quotient blocks have
// the top limbs of d on top, where the block estimate would overflow.
void add_back_cases(Rng &rng, Values &dividends, Values &divs) {
  for (size_t n : {3, 5, 32, 33, 34, 100}) {
    auto d = random_limbs(rng, n, Pattern::ones);
    d[n - 1] = 0x8000000000000000ull | rng.engine();
    d[n - 2] = rng.engine();
    G dd, top, q, a;
    mpz_import(dd, n, -1, sizeof(limb), 0, 0, d.data());
    mpz_import(top, 2, -1, sizeof(limb), 0, 0, d.data() + n - 2);
    for (int k = 0; k < 4; ++k) {
      mpz_set_ui(q, rng.engine() | 1);
      mpz_mul(a, top, q);
      mpz_mul_2exp(a, a, 64 * (n - 2));
      for (int extra = 0; extra < 3; ++extra) {  // more quotient limbs below
        dividends.add(a);
        mpz_mul_2exp(a, a, 64);
      }
    }
    divs.add(dd);
    if (n < 33) continue;
    for (size_t m : {20, 70}) {
      auto low = random_limbs(rng, m, Pattern::uniform);
      G x;
      mpz_import(x, m, -1, sizeof(limb), 0, 0, low.data());
      mpz_sub_ui(a, dd, 1);
      mpz_mul_2exp(a, a, 64 * m);
      mpz_add(a, a, x);
      dividends.add(a);
    }
  }
}

TEST(Integer, DivisionFamilies) {
  Rng rng(14);
  Values d = join(special_values(), divisors(rng));
  Values n = join(special_values(), random_values(rng, {1, 2, 3, 33, 34, 66, 67, 100}));
  n.add_random(rng, 2001, Pattern::uniform, true);
  n.add_random(rng, 2001, Pattern::runs, false);
  add_back_cases(rng, n, d);
  auto skip = zero_divisor;
  check_binary("tdiv_q", zor_gmp___gmpz_tdiv_q, mpz_tdiv_q, n, d, skip);
  check_binary("tdiv_r", zor_gmp___gmpz_tdiv_r, mpz_tdiv_r, n, d, skip);
  check_binary("fdiv_q", zor_gmp___gmpz_fdiv_q, mpz_fdiv_q, n, d, skip);
  check_binary("fdiv_r", zor_gmp___gmpz_fdiv_r, mpz_fdiv_r, n, d, skip);
  check_binary("cdiv_q", zor_gmp___gmpz_cdiv_q, mpz_cdiv_q, n, d, skip);
  check_binary("cdiv_r", zor_gmp___gmpz_cdiv_r, mpz_cdiv_r, n, d, skip);
  check_binary("mod", zor_gmp___gmpz_mod, mpz_mod, n, d, skip);
  using Qr = void (*)(zor_mpz_ptr, zor_mpz_ptr, zor_mpz_srcptr, zor_mpz_srcptr);
  using GmpQr = void (*)(mpz_ptr, mpz_ptr, mpz_srcptr, mpz_srcptr);
  const std::pair<Qr, GmpQr> both[] = {{zor_gmp___gmpz_tdiv_qr, mpz_tdiv_qr},
                                       {zor_gmp___gmpz_fdiv_qr, mpz_fdiv_qr},
                                       {zor_gmp___gmpz_cdiv_qr, mpz_cdiv_qr}};
  for (size_t i = 0; i < n.size(); ++i)
    for (size_t j = 0; j < d.size(); ++j) {
      if (zero_divisor(n[i], d[j])) continue;
      for (auto [ours, theirs] : both) {
        G q, r;
        theirs(q, r, n[i], d[j]);
        Operand a(n[i]), b(d[j]);
        Z zq, zr;
        ours(zq, zr, a, b);
        ASSERT_TRUE(same(zq, q) && same(zr, r)) << text(n[i]) << " by " << text(d[j]);
        ours(a, b, a, b);  // q over n, r over d
        ASSERT_TRUE(same(a, q) && same(b, r)) << "qr into the operands";
      }
      // exact division of n d by d
      G product;
      mpz_mul(product, n[i], d[j]);
      Operand p(product), b(d[j]);
      Z q;
      zor_gmp___gmpz_divexact(q, p, b);
      ASSERT_TRUE(same(q, n[i])) << "divexact";
      EXPECT_TRUE(zor_gmp___gmpz_divisible_p(p, b));
      Operand a(n[i]);
      EXPECT_EQ(zor_gmp___gmpz_divisible_p(a, b), mpz_divisible_p(n[i], d[j]));
      Operand c(n[j % n.size()]);
      EXPECT_EQ(zor_gmp___gmpz_congruent_p(a, c, b), mpz_congruent_p(n[i], n[j % n.size()], d[j]));
    }
}

// The recursive division deep in its recursion, and products above the
// transform range feeding it.
TEST(IntegerLong, LargeDivisions) {
  Rng rng(19);
  const std::pair<size_t, size_t> shapes[] = {{20000, 7000}, {40000, 20000}, {70001, 33}, {9000, 4097}, {65536, 32768}};
  for (auto [nn, dn] : shapes)
    for (Pattern pattern : {Pattern::uniform, Pattern::runs}) {
      Values pair;
      pair.add_random(rng, nn, pattern, false);
      pair.add_random(rng, dn, pattern, true);
      check_binary("tdiv_q", zor_gmp___gmpz_tdiv_q, mpz_tdiv_q, pair, pair, zero_divisor);
      check_binary("fdiv_r", zor_gmp___gmpz_fdiv_r, mpz_fdiv_r, pair, pair, zero_divisor);
    }
}

TEST(Integer, DivisionByLimbsAndPowersOfTwo) {
  Rng rng(15);
  Values n = operands(16, {1, 2, 9, 130});
  using Ui = unsigned long (*)(zor_mpz_ptr, zor_mpz_srcptr, unsigned long);
  using GmpUi = unsigned long (*)(mpz_ptr, mpz_srcptr, unsigned long);
  using QrUi = unsigned long (*)(zor_mpz_ptr, zor_mpz_ptr, zor_mpz_srcptr, unsigned long);
  using GmpQrUi = unsigned long (*)(mpz_ptr, mpz_ptr, mpz_srcptr, unsigned long);
  using Rem = unsigned long (*)(zor_mpz_srcptr, unsigned long);
  using GmpRem = unsigned long (*)(mpz_srcptr, unsigned long);
  const std::pair<Ui, GmpUi> single[] = {
      {zor_gmp___gmpz_tdiv_q_ui, mpz_tdiv_q_ui}, {zor_gmp___gmpz_tdiv_r_ui, mpz_tdiv_r_ui},
      {zor_gmp___gmpz_fdiv_q_ui, mpz_fdiv_q_ui}, {zor_gmp___gmpz_fdiv_r_ui, mpz_fdiv_r_ui},
      {zor_gmp___gmpz_cdiv_q_ui, mpz_cdiv_q_ui}, {zor_gmp___gmpz_cdiv_r_ui, mpz_cdiv_r_ui},
      {zor_gmp___gmpz_mod_ui, mpz_fdiv_r_ui}};
  const std::pair<QrUi, GmpQrUi> pairs[] = {{zor_gmp___gmpz_tdiv_qr_ui, mpz_tdiv_qr_ui},
                                            {zor_gmp___gmpz_fdiv_qr_ui, mpz_fdiv_qr_ui},
                                            {zor_gmp___gmpz_cdiv_qr_ui, mpz_cdiv_qr_ui}};
  const std::pair<Rem, GmpRem> plain[] = {
      {zor_gmp___gmpz_tdiv_ui, mpz_tdiv_ui}, {zor_gmp___gmpz_fdiv_ui, mpz_fdiv_ui}, {zor_gmp___gmpz_cdiv_ui, mpz_cdiv_ui}};
  for (size_t i = 0; i < n.size(); ++i) {
    mpz_srcptr x = n[i];
    Operand a(x);
    for (unsigned long u : limb_operands(rng)) {
      SCOPED_TRACE(::testing::Message() << text(x) << " by " << u);
      if (u == 0) continue;
      for (auto [ours, theirs] : single) {
        G want;
        Z r;
        EXPECT_EQ(ours(r, a, u), theirs(want, x, u));
        ASSERT_TRUE(same(r, want));
        Operand in_place(x);
        ours(in_place, in_place, u);
        ASSERT_TRUE(same(in_place, want)) << "in place";
      }
      for (auto [ours, theirs] : pairs) {
        G q, r;
        Z zq, zr;
        EXPECT_EQ(ours(zq, zr, a, u), theirs(q, r, x, u));
        ASSERT_TRUE(same(zq, q) && same(zr, r));
      }
      for (auto [ours, theirs] : plain) EXPECT_EQ(ours(a, u), theirs(x, u));
      G want;
      mpz_divexact_ui(want, x, u);
      if (mpz_divisible_ui_p(x, u)) {
        Z q;
        zor_gmp___gmpz_divexact_ui(q, a, u);
        ASSERT_TRUE(same(q, want)) << "divexact_ui";
      }
      EXPECT_EQ(zor_gmp___gmpz_divisible_ui_p(a, u), mpz_divisible_ui_p(x, u));
      unsigned long c = rng.engine();
      EXPECT_EQ(zor_gmp___gmpz_congruent_ui_p(a, c, u), mpz_congruent_ui_p(x, c, u));
      EXPECT_EQ(zor_gmp___gmpz_congruent_ui_p(a, u - 1, u), mpz_congruent_ui_p(x, u - 1, u));
    }
    EXPECT_EQ(zor_gmp___gmpz_divisible_ui_p(a, 0), mpz_divisible_ui_p(x, 0));
    EXPECT_EQ(zor_gmp___gmpz_congruent_ui_p(a, 5, 0), mpz_congruent_ui_p(x, 5, 0));
    using Exp = void (*)(zor_mpz_ptr, zor_mpz_srcptr, unsigned long);
    using GmpExp = void (*)(mpz_ptr, mpz_srcptr, unsigned long);
    const std::pair<Exp, GmpExp> powers[] = {
        {zor_gmp___gmpz_tdiv_q_2exp, mpz_tdiv_q_2exp}, {zor_gmp___gmpz_tdiv_r_2exp, mpz_tdiv_r_2exp},
        {zor_gmp___gmpz_fdiv_q_2exp, mpz_fdiv_q_2exp}, {zor_gmp___gmpz_fdiv_r_2exp, mpz_fdiv_r_2exp},
        {zor_gmp___gmpz_cdiv_q_2exp, mpz_cdiv_q_2exp}, {zor_gmp___gmpz_cdiv_r_2exp, mpz_cdiv_r_2exp}};
    for (unsigned long bits : {0ul, 1ul, 5ul, 63ul, 64ul, 65ul, 127ul, 128ul, 200ul, 8400ul, 9000ul}) {
      for (auto [ours, theirs] : powers) {
        G want;
        Z r;
        theirs(want, x, bits);
        ours(r, a, bits);
        ASSERT_TRUE(same(r, want)) << text(x) << " by 2^" << bits;
        Operand in_place(x);
        ours(in_place, in_place, bits);
        ASSERT_TRUE(same(in_place, want)) << "in place";
      }
      EXPECT_EQ(zor_gmp___gmpz_divisible_2exp_p(a, bits), mpz_divisible_2exp_p(x, bits)) << bits;
      Operand c(n[(i + 3) % n.size()]);
      EXPECT_EQ(zor_gmp___gmpz_congruent_2exp_p(a, c, bits), mpz_congruent_2exp_p(x, n[(i + 3) % n.size()], bits));
    }
  }
}

TEST(Integer, BitsInTwosComplement) {
  Values v = operands(17, {1, 2, 3, 20});
  check_binary("and", zor_gmp___gmpz_and, mpz_and, v, v);
  check_binary("ior", zor_gmp___gmpz_ior, mpz_ior, v, v);
  check_binary("xor", zor_gmp___gmpz_xor, mpz_xor, v, v);
  for (size_t i = 0; i < v.size(); ++i) {
    mpz_srcptr x = v[i];
    SCOPED_TRACE(text(x));
    Operand a(x);
    G want;
    Z r;
    mpz_com(want, x);
    zor_gmp___gmpz_com(r, a);
    ASSERT_TRUE(same(r, want)) << "com";
    EXPECT_EQ(zor_gmp___gmpz_popcount(a), mpz_popcount(x));
    for (size_t j = 0; j < v.size(); j += 3) {
      Operand b(v[j]);
      EXPECT_EQ(zor_gmp___gmpz_hamdist(a, b), mpz_hamdist(x, v[j]));
    }
    for (unsigned long bit : {0ul, 1ul, 63ul, 64ul, 65ul, 100ul, 127ul, 128ul, 129ul, 191ul, 192ul, 1300ul}) {
      EXPECT_EQ(zor_gmp___gmpz_tstbit(a, bit), mpz_tstbit(x, bit)) << bit;
      EXPECT_EQ(zor_gmp___gmpz_scan0(a, bit), mpz_scan0(x, bit)) << bit;
      EXPECT_EQ(zor_gmp___gmpz_scan1(a, bit), mpz_scan1(x, bit)) << bit;
      Operand s(x), c(x);
      G ws, wc;
      mpz_set(ws, x);
      mpz_setbit(ws, bit);
      zor_gmp___gmpz_setbit(s, bit);
      ASSERT_TRUE(same(s, ws)) << "setbit " << bit;
      mpz_set(wc, x);
      mpz_clrbit(wc, bit);
      zor_gmp___gmpz_clrbit(c, bit);
      ASSERT_TRUE(same(c, wc)) << "clrbit " << bit;
    }
  }
}

}  // namespace
