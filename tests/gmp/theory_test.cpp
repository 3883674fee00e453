// Number theory, powers and roots against GMP: gcd and its cofactors,
// inverses, the Kronecker forms on a grid, factor removal, the
// combinatorial functions up to 1000, powers with every path of powm, and
// roots, where a negative n between two powers is the one stated difference.
#include "gmp/integer_testing.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::gmp;

TEST(Integer, GcdLcmAndCofactors) {
  Values v = operands(21, {1, 3, 20});
  // common factors make the interesting cases: multiply pairs by a shared one
  Rng rng(22);
  G shared;
  for (size_t n : {1, 4}) {
    mpz_set_ui(shared, 0);
    for (size_t i = 0; i < n; ++i) mpz_mul_2exp(shared, shared, 64), mpz_add_ui(shared, shared, rng.engine() | 1);
    for (size_t i = 0; i < 6; ++i) {
      G x;
      mpz_mul(x, v[v.size() - 1 - i], shared);
      v.add(x);
    }
  }
  check_binary("gcd", zor_gmp___gmpz_gcd, mpz_gcd, v, v);
  check_binary("lcm", zor_gmp___gmpz_lcm, mpz_lcm, v, v);
  for (size_t i = 0; i < v.size(); ++i)
    for (size_t j = 0; j < v.size(); ++j) {
      SCOPED_TRACE(::testing::Message() << text(v[i]) << " and " << text(v[j]));
      G g, s, t;
      mpz_gcdext(g, s, t, v[i], v[j]);
      Operand a(v[i]), b(v[j]);
      Z zg, zs, zt;
      zor_gmp___gmpz_gcdext(zg, zs, zt, a, b);
      ASSERT_TRUE(same(zg, g) && same(zs, s) && same(zt, t)) << "gcdext";
      Z only_s;
      zor_gmp___gmpz_gcdext(zg, only_s, nullptr, a, b);
      ASSERT_TRUE(same(zg, g) && same(only_s, s)) << "gcdext without t";
      zor_gmp___gmpz_gcdext(a, b, zt, a, b);  // g over a, s over b
      ASSERT_TRUE(same(a, g) && same(b, s) && same(zt, t)) << "gcdext into its operands";
      assign(a, v[i]);
      G inverse;
      int has = mpz_sgn(v[j]) ? mpz_invert(inverse, v[i], v[j]) : 0;
      if (mpz_sgn(v[j])) {
        Operand m(v[j]);
        Z r;
        EXPECT_EQ(zor_gmp___gmpz_invert(r, a, m) != 0, has != 0) << "invert";
        if (has) ASSERT_TRUE(same(r, inverse)) << "invert";
      }
      unsigned long u = mpz_get_ui(v[j]);
      Z zr;
      EXPECT_EQ(zor_gmp___gmpz_gcd_ui(zr, a, u), mpz_gcd_ui(g, v[i], u));
      ASSERT_TRUE(same(zr, g)) << "gcd_ui " << u;
      EXPECT_EQ(zor_gmp___gmpz_gcd_ui(nullptr, a, u), mpz_gcd_ui(nullptr, v[i], u));
      mpz_lcm_ui(g, v[i], u);
      zor_gmp___gmpz_lcm_ui(zr, a, u);
      ASSERT_TRUE(same(zr, g)) << "lcm_ui " << u;
    }
}

// The Kronecker symbol in all its argument forms, on a grid of small values
// and on long ones.
TEST(Integer, KroneckerForms) {
  Values v = operands(23, {1, 2, 5});
  G g;
  for (long x = -40; x <= 40; ++x) mpz_set_si(g, x), v.add(g);
  for (size_t i = 0; i < v.size(); ++i)
    for (size_t j = 0; j < v.size(); ++j) {
      Operand a(v[i]), b(v[j]);
      ASSERT_EQ(zor_gmp___gmpz_jacobi(a, b), mpz_kronecker(v[i], v[j])) << text(v[i]) << " / " << text(v[j]);
      long s = mpz_get_si(v[j]);
      unsigned long u = mpz_get_ui(v[j]);
      ASSERT_EQ(zor_gmp___gmpz_kronecker_si(a, s), mpz_kronecker_si(v[i], s)) << text(v[i]) << " / " << s;
      ASSERT_EQ(zor_gmp___gmpz_kronecker_ui(a, u), mpz_kronecker_ui(v[i], u)) << text(v[i]) << " / " << u;
      ASSERT_EQ(zor_gmp___gmpz_si_kronecker(s, a), mpz_si_kronecker(s, v[i])) << s << " / " << text(v[i]);
      ASSERT_EQ(zor_gmp___gmpz_ui_kronecker(u, a), mpz_ui_kronecker(u, v[i])) << u << " / " << text(v[i]);
    }
}

TEST(Integer, FactorRemovalAndCombinatorics) {
  G g, f, want, want2;
  for (long base : {-3L, 2L, 3L, -2L, 10L, 7L}) {
    for (unsigned k : {0u, 1u, 5u, 64u, 200u}) {
      mpz_set_si(f, base);
      mpz_pow_ui(g, f, k);
      mpz_mul_ui(g, g, 1001);
      Operand n(g), ff(f);
      Z r;
      EXPECT_EQ(zor_gmp___gmpz_remove(r, n, ff), mpz_remove(want, g, f));
      ASSERT_TRUE(same(r, want)) << base << "^" << k;
      zor_gmp___gmpz_remove(n, n, ff);
      ASSERT_TRUE(same(n, want)) << "in place";
    }
  }
  Z r, r2;
  for (unsigned long n = 0; n <= 1000; n += (n < 100 ? 1 : 37)) {
    SCOPED_TRACE(n);
    mpz_fac_ui(want, n);
    zor_gmp___gmpz_fac_ui(r, n);
    ASSERT_TRUE(same(r, want)) << "fac";
    mpz_fib2_ui(want, want2, n);
    zor_gmp___gmpz_fib2_ui(r, r2, n);
    ASSERT_TRUE(same(r, want) && same(r2, want2)) << "fib2";
    zor_gmp___gmpz_fib_ui(r, n);
    ASSERT_TRUE(same(r, want)) << "fib";
    mpz_lucnum2_ui(want, want2, n);
    zor_gmp___gmpz_lucnum2_ui(r, r2, n);
    ASSERT_TRUE(same(r, want) && same(r2, want2)) << "lucnum2";
    zor_gmp___gmpz_lucnum_ui(r, n);
    ASSERT_TRUE(same(r, want)) << "lucnum";
    for (unsigned long k : {0ul, 1ul, 2ul, n / 3, n / 2, n, n + 1}) {
      mpz_bin_uiui(want, n, k);
      zor_gmp___gmpz_bin_uiui(r, n, k);
      ASSERT_TRUE(same(r, want)) << "bin_uiui " << k;
      for (long sign : {1L, -1L}) {
        mpz_set_si(g, sign * long(n));
        mpz_bin_ui(want, g, k);
        Operand x(g);
        zor_gmp___gmpz_bin_ui(r, x, k);
        ASSERT_TRUE(same(r, want)) << "bin_ui " << sign * long(n) << " " << k;
      }
    }
  }
}

TEST(Integer, PowersAndRoots) {
  Values v = operands(24, {1, 2, 3, 13, 60});
  G want, rem;
  for (size_t i = 0; i < v.size(); ++i) {
    mpz_srcptr x = v[i];
    SCOPED_TRACE(text(x));
    Operand a(x);
    Z r, r2;
    for (unsigned long e : {0ul, 1ul, 2ul, 3ul, 7ul, 16ul}) {
      mpz_pow_ui(want, x, e);
      zor_gmp___gmpz_pow_ui(r, a, e);
      ASSERT_TRUE(same(r, want)) << "pow_ui " << e;
      unsigned long u = mpz_get_ui(x);
      mpz_ui_pow_ui(want, u, e);
      zor_gmp___gmpz_ui_pow_ui(r, u, e);
      ASSERT_TRUE(same(r, want)) << "ui_pow_ui " << u << " " << e;
    }
    for (unsigned long k : {1ul, 2ul, 3ul, 4ul, 5ul, 7ul, 64ul}) {
      if (mpz_sgn(x) < 0 && k % 2 == 0) {
        EXPECT_EQ(zor_gmp___gmpz_root(r, a, k), 0);
        EXPECT_EQ(r->size, 0) << "a negative n with even k gives 0";
        continue;
      }
      int exact = mpz_root(want, x, k);
      EXPECT_EQ(zor_gmp___gmpz_root(r, a, k) != 0, exact != 0) << "root " << k;
      // The one stated difference: a negative n between two powers is
      // rounded down, where GMP truncates.
      if (mpz_sgn(x) < 0 && !exact) mpz_sub_ui(want, want, 1);
      ASSERT_TRUE(same(r, want)) << "root " << k;
    }
    if (mpz_sgn(x) >= 0) {
      mpz_sqrtrem(want, rem, x);
      zor_gmp___gmpz_sqrtrem(r, r2, a);
      ASSERT_TRUE(same(r, want) && same(r2, rem)) << "sqrtrem";
      zor_gmp___gmpz_sqrt(r, a);
      ASSERT_TRUE(same(r, want)) << "sqrt";
    }
    EXPECT_EQ(zor_gmp___gmpz_perfect_square_p(a) != 0, mpz_perfect_square_p(x) != 0);
    if (mpz_size(x) <= 3) EXPECT_EQ(zor_gmp___gmpz_perfect_power_p(a) != 0, mpz_perfect_power_p(x) != 0);
  }
  // perfect powers in both signs, with their roots exact
  G base, p;
  for (long b : {-7L, -2L, 2L, 3L, 12345L}) {
    for (unsigned long e : {2ul, 3ul, 5ul, 9ul, 31ul}) {
      mpz_set_si(base, b);
      mpz_pow_ui(p, base, e);
      Operand n(p);
      Z r;
      EXPECT_EQ(zor_gmp___gmpz_perfect_power_p(n) != 0, mpz_perfect_power_p(p) != 0) << b << "^" << e;
      EXPECT_EQ(zor_gmp___gmpz_perfect_square_p(n) != 0, mpz_perfect_square_p(p) != 0) << b << "^" << e;
      if (b > 0 || e % 2) {
        EXPECT_NE(zor_gmp___gmpz_root(r, n, e), 0) << b << "^" << e;
        ASSERT_TRUE(same(r, base));
      }
      mpz_add_ui(p, p, 1);
      assign(n, p);
      EXPECT_EQ(zor_gmp___gmpz_perfect_power_p(n) != 0, mpz_perfect_power_p(p) != 0) << b << "^" << e << " + 1";
    }
  }
}

// powm over all its paths: Montgomery for odd and even moduli below 31
// limbs (30 and 31 on both sides), the window product above and for
// b' = 0 or e > m', negative exponents with and without an inverse, e = 0,
// m = +-1, negative bases and moduli.
TEST(Integer, ModularPowers) {
  Rng rng(25);
  Values bases, mods;
  G g;
  for (long x : {0L, 1L, -1L, 2L, -3L}) mpz_set_si(g, x), bases.add(g), mods.add(g);
  for (unsigned k : {64u, 128u}) {
    mpz_set_ui(g, 0);
    mpz_setbit(g, k);
    mpz_sub_ui(g, g, 1);
    bases.add(g), mods.add(g);
    mpz_add_ui(g, g, 2);
    mpz_neg(g, g);
    bases.add(g), mods.add(g);
  }
  for (size_t n : {1, 3, 29, 30, 31, 33}) {
    bases.add_random(rng, n, Pattern::uniform, n % 2);
    mods.add_random(rng, n, Pattern::runs, n == 30);
  }
  for (size_t n : {2, 30, 31, 32}) mods.add_random(rng, n, Pattern::uniform, false);
  Values exps;
  for (long e : {0L, 1L, 2L, 3L, 65537L, -1L, -3L}) mpz_set_si(g, e), exps.add(g);
  exps.add_random(rng, 2, Pattern::uniform, false);
  exps.add_random(rng, 3, Pattern::runs, false);
  // even moduli with many factors of two, and powers of two
  for (unsigned s : {1u, 7u, 64u, 100u}) {
    mpz_set_ui(g, rng.engine() | 1);
    mpz_mul_2exp(g, g, s);
    mods.add(g);
    mpz_set_ui(g, 1);
    mpz_mul_2exp(g, g, s);
    mods.add(g);
  }
  for (size_t i = 0; i < bases.size(); ++i)
    for (size_t k = 0; k < mods.size(); ++k) {
      if (mpz_sgn(mods[k]) == 0) continue;
      for (size_t j = 0; j < exps.size(); ++j) {
        // long exponents only on short operands, to keep the run short
        if (mpz_size(exps[j]) > 1 && (mpz_size(mods[k]) > 2 || mpz_size(bases[i]) > 3)) continue;
        mpz_srcptr b = bases[i], e = exps[j], m = mods[k];
        SCOPED_TRACE(::testing::Message() << text(b) << " ^ " << text(e) << " mod " << text(m));
        Operand zb(b), ze(e), zm(m);
        Z r;
        zor_gmp___gmpz_set_si(r, 424242);
        G want, inverse;
        bool invertible = mpz_sgn(e) >= 0 || mpz_invert(inverse, b, m);
        if (!invertible) {
          // no inverse: r keeps its value (GMP would divide by zero)
          zor_gmp___gmpz_powm(r, zb, ze, zm);
          EXPECT_EQ(zor_gmp___gmpz_cmp_si(r, 424242), 0);
          continue;
        }
        mpz_powm(want, b, e, m);
        zor_gmp___gmpz_powm(r, zb, ze, zm);
        ASSERT_TRUE(same(r, want)) << "powm";
        zor_gmp_mpz_powm_mary(r, zb, ze, zm);
        ASSERT_TRUE(same(r, want)) << "powm_mary";
        zor_gmp___gmpz_powm(zb, zb, ze, zm);
        ASSERT_TRUE(same(zb, want)) << "powm into the base";
        if (mpz_sgn(e) >= 0 && mpz_fits_ulong_p(e)) {
          assign(zb, b);
          zor_gmp___gmpz_powm_ui(r, zb, mpz_get_ui(e), zm);
          ASSERT_TRUE(same(r, want)) << "powm_ui";
        }
      }
    }
}

}  // namespace
