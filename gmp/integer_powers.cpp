// Powers, roots, and the perfect-power tests.
//
// root(r, n, k) runs Newton's iteration r := ((k - 1) r + |n| / r^(k-1)) / k
// from r = 2^(bits(n)/k + 1), which lies above the root, down to the floor
// of the root. A negative n with odd k gives -r when exact and -(r + 1)
// otherwise: the floor, where the interface's usual answer truncates. A
// negative n with even k gives r = 0 and result 0. The square root and the
// perfect-power tests are built on it.
#include <csignal>

#include "gmp/integer.hpp"

using namespace zor::gmp;

namespace {

uint64_t bit_length(const mpz *z) {
  len n = size_of(z);
  return n ? uint64_t(n) * 64 - uint64_t(clz(z->limbs[n - 1])) : 0;
}

// x := floor(|n|^(1/k)) for n != 0, k >= 2; true when exact.
bool floor_root(mpz *x, const mpz *n, uint64_t k) {
  Integer a, y, p, q;
  zor_gmp___gmpz_abs(a, n);
  x->size = 0;
  zor_gmp___gmpz_setbit(x, bit_length(a) / k + 1);
  for (;;) {
    zor_gmp___gmpz_pow_ui(p, x, k - 1);
    zor_gmp___gmpz_tdiv_q(q, a, p);
    zor_gmp___gmpz_mul_ui(y, x, k - 1);
    zor_gmp___gmpz_add(y, y, q);
    zor_gmp___gmpz_tdiv_q_ui(y, y, k);
    if (zor_gmp___gmpz_cmp(y, x) >= 0) break;
    zor_gmp___gmpz_swap(x, y);
  }
  zor_gmp___gmpz_pow_ui(p, x, k);
  return zor_gmp___gmpz_cmp(p, a) == 0;
}

}  // namespace

ZOR_API void zor_gmp___gmpz_pow_ui(mpz *r, const mpz *b, uint64_t e) {
  Integer x, base;
  zor_gmp___gmpz_set(base, b);
  zor_gmp___gmpz_set_ui(x, 1);
  for (int bit = 63; bit >= 0; --bit) {
    if (!(e >> bit)) continue;
    zor_gmp___gmpz_mul(x, x, x);
    if ((e >> bit) & 1) zor_gmp___gmpz_mul(x, x, base);
  }
  zor_gmp___gmpz_swap(r, x);
}

ZOR_API void zor_gmp___gmpz_ui_pow_ui(mpz *r, uint64_t b, uint64_t e) {
  limb storage = b;
  mpz base{1, b != 0, &storage};
  zor_gmp___gmpz_pow_ui(r, &base, e);
}

ZOR_API int zor_gmp___gmpz_root(mpz *r, const mpz *n, uint64_t k) {
  if (k == 0) {
    std::raise(SIGFPE);
    return 0;
  }
  if (n->size == 0) {
    r->size = 0;
    return 1;
  }
  if (n->size < 0 && k % 2 == 0) {
    r->size = 0;
    return 0;
  }
  if (k == 1) {
    zor_gmp___gmpz_set(r, n);
    return 1;
  }
  const bool negative = n->size < 0;
  Integer x;
  bool exact = floor_root(x, n, k);
  if (negative) {
    if (!exact) zor_gmp___gmpz_add_ui(x, x, 1);
    x->size = -x->size;
  }
  zor_gmp___gmpz_swap(r, x);
  return exact;
}

ZOR_API void zor_gmp___gmpz_sqrt(mpz *r, const mpz *n) { zor_gmp___gmpz_root(r, n, 2); }

ZOR_API void zor_gmp___gmpz_sqrtrem(mpz *r, mpz *rem, const mpz *n) {
  Integer x, t;
  zor_gmp___gmpz_root(x, n, 2);
  zor_gmp___gmpz_mul(t, x, x);
  zor_gmp___gmpz_sub(rem, n, t);
  zor_gmp___gmpz_swap(r, x);
}

ZOR_API int zor_gmp___gmpz_perfect_square_p(const mpz *n) {
  if (n->size < 0) return 0;
  Integer x;
  return zor_gmp___gmpz_root(x, n, 2);
}

// 0, 1 and -1 are perfect powers; a negative n only of odd exponents.
ZOR_API int zor_gmp___gmpz_perfect_power_p(const mpz *n) {
  if (zor_gmp___gmpz_cmpabs_ui(n, 1) <= 0) return 1;
  const uint64_t bits = bit_length(n);
  Integer x;
  for (uint64_t k = 2; k < bits; ++k) {
    bool prime = true;
    for (uint64_t p = 2; p * p <= k && prime; ++p) prime = k % p != 0;
    if (!prime || (k == 2 && n->size < 0)) continue;
    if (zor_gmp___gmpz_root(x, n, k)) return 1;
  }
  return 0;
}
