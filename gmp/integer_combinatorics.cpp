// Factorials, binomial coefficients, Fibonacci and Lucas numbers.
//
// fac: the factors are gathered in a limb until the next would overflow it,
// then multiplied in. bin: the running product C(n - k + i, i), which is an
// integer at every step, times (n - k + i) and divided exactly by i; a
// negative n uses C(n, k) = (-1)^k C(-n + k - 1, k). Fibonacci numbers by
// doubling over the bits of n: F(2k) = F(k) (2 F(k+1) - F(k)),
// F(2k+1) = F(k)^2 + F(k+1)^2; Lucas numbers from them:
// L(n) = 2 F(n+1) - F(n), L(n-1) = 3 F(n) - F(n+1).
#include "gmp/integer.hpp"

using namespace zor::gmp;

namespace {

// C(n, k) for n >= k >= 0 given as an integer.
void binomial(mpz *r, const mpz *n, uint64_t k) {
  Integer factor;
  zor_gmp___gmpz_set_ui(r, 1);
  zor_gmp___gmpz_sub_ui(factor, n, k);  // n - k, then n - k + i
  for (uint64_t i = 1; i <= k; ++i) {
    zor_gmp___gmpz_add_ui(factor, factor, 1);
    zor_gmp___gmpz_mul(r, r, factor);
    zor_gmp___gmpz_divexact_ui(r, r, i);
  }
}

// (F(n), F(n+1)).
void fibonacci_pair(mpz *f, mpz *g, uint64_t n) {
  Integer c, d, t;
  zor_gmp___gmpz_set_ui(f, 0);
  zor_gmp___gmpz_set_ui(g, 1);
  for (int bit = 63; bit >= 0; --bit) {
    if (!(n >> bit)) continue;
    zor_gmp___gmpz_mul_2exp(t, g, 1);
    zor_gmp___gmpz_sub(t, t, f);
    zor_gmp___gmpz_mul(c, f, t);  // F(2k)
    zor_gmp___gmpz_mul(d, f, f);
    zor_gmp___gmpz_addmul(d, g, g);  // F(2k+1)
    if ((n >> bit) & 1) {
      zor_gmp___gmpz_add(g, c, d);
      zor_gmp___gmpz_swap(f, d);
    } else {
      zor_gmp___gmpz_swap(f, c);
      zor_gmp___gmpz_swap(g, d);
    }
  }
}

}  // namespace

ZOR_API void zor_gmp___gmpz_fac_ui(mpz *r, uint64_t n) {
  zor_gmp___gmpz_set_ui(r, 1);
  limb gathered = 1;
  for (uint64_t i = 2; i <= n; ++i) {
    dlimb p = dlimb(gathered) * i;
    if (hi(p)) {
      zor_gmp___gmpz_mul_ui(r, r, gathered);
      gathered = i;
    } else {
      gathered = limb(p);
    }
  }
  zor_gmp___gmpz_mul_ui(r, r, gathered);
}

ZOR_API void zor_gmp___gmpz_bin_ui(mpz *r, const mpz *n, uint64_t k) {
  Integer m;
  if (n->size >= 0) {
    if (zor_gmp___gmpz_cmp_ui(n, k) < 0) {
      r->size = 0;
      return;
    }
    zor_gmp___gmpz_set(m, n);
    // the shorter product: C(n, k) = C(n, n - k)
    Integer rest;
    zor_gmp___gmpz_sub_ui(rest, n, k);
    if (zor_gmp___gmpz_cmp_ui(rest, k) < 0) k = zor_gmp___gmpz_get_ui(rest);
    binomial(r, m, k);
    return;
  }
  zor_gmp___gmpz_neg(m, n);
  zor_gmp___gmpz_sub_ui(m, m, 1);
  zor_gmp___gmpz_add_ui(m, m, k);  // -n + k - 1
  binomial(r, m, k);
  if (k & 1) r->size = -r->size;
}

ZOR_API void zor_gmp___gmpz_bin_uiui(mpz *r, uint64_t n, uint64_t k) {
  if (k > n) {
    r->size = 0;
    return;
  }
  if (n - k < k) k = n - k;
  zor_gmp___gmpz_set_ui(r, 1);
  for (uint64_t i = 1; i <= k; ++i) {
    zor_gmp___gmpz_mul_ui(r, r, n - k + i);
    zor_gmp___gmpz_divexact_ui(r, r, i);
  }
}

ZOR_API void zor_gmp___gmpz_fib_ui(mpz *f, uint64_t n) {
  Integer g;
  fibonacci_pair(f, g, n);
}

ZOR_API void zor_gmp___gmpz_fib2_ui(mpz *f, mpz *fsub1, uint64_t n) {
  Integer a, b;
  fibonacci_pair(a, b, n);
  zor_gmp___gmpz_sub(fsub1, b, a);  // F(n-1) = F(n+1) - F(n)
  zor_gmp___gmpz_swap(f, a);
}

ZOR_API void zor_gmp___gmpz_lucnum_ui(mpz *l, uint64_t n) {
  Integer a, b;
  fibonacci_pair(a, b, n);
  zor_gmp___gmpz_mul_2exp(l, b, 1);
  zor_gmp___gmpz_sub(l, l, a);
}

ZOR_API void zor_gmp___gmpz_lucnum2_ui(mpz *l, mpz *lsub1, uint64_t n) {
  Integer a, b, t;
  fibonacci_pair(a, b, n);
  zor_gmp___gmpz_mul_2exp(t, b, 1);
  zor_gmp___gmpz_sub(t, t, a);  // L(n)
  zor_gmp___gmpz_mul_ui(lsub1, a, 3);
  zor_gmp___gmpz_sub(lsub1, lsub1, b);  // L(n-1)
  zor_gmp___gmpz_swap(l, t);
}
