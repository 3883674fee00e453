// Jacobi and Kronecker symbols.
//
// The Kronecker symbol (a/b) for all integers: (a/0) is 1 for a = +-1, else
// 0; both even gives 0; the factors of two of b are taken out with (a/2)
// (0 for even a, else 1 for a = +-1 mod 8 and -1 for a = +-3), b < 0 with
// a < 0 flips the sign, and what remains is Jacobi's symbol with an odd
// positive b: powers of two out of a with the test of b mod 8, reciprocity
// with the tests mod 4, reduction of a mod b, on 64-bit values once both
// fit. For odd positive b it is Jacobi's symbol, which jacobi gives.
#include "gmp/integer.hpp"

namespace zor::gmp {
namespace {

// (a/b) for 0 <= a < b, b odd.
int jacobi_limb(limb a, limb b, int sign) {
  for (;;) {
    if (a == 0) return b == 1 ? sign : 0;
    int twos = ctz(a);
    a >>= twos;
    if ((twos & 1) && ((b & 7) == 3 || (b & 7) == 5)) sign = -sign;
    if ((a & 3) == 3 && (b & 3) == 3) sign = -sign;
    limb t = b % a;
    b = a;
    a = t;
  }
}

// (x/y) for 0 <= x < y, y odd; both are worked on.
int jacobi_odd(mpz *x, mpz *y) {
  int sign = 1;
  for (;;) {
    if (size_of(y) <= 1) return jacobi_limb(x->size ? x->limbs[0] : 0, y->limbs[0], sign);
    if (x->size == 0) return 0;  // y > 1
    uint64_t twos = zor_gmp___gmpz_scan1(x, 0);
    zor_gmp___gmpz_fdiv_q_2exp(x, x, twos);
    limb y8 = y->limbs[0] & 7;
    if ((twos & 1) && (y8 == 3 || y8 == 5)) sign = -sign;
    if ((x->limbs[0] & 3) == 3 && (y->limbs[0] & 3) == 3) sign = -sign;
    zor_gmp___gmpz_fdiv_r(y, y, x);
    zor_gmp___gmpz_swap(x, y);
  }
}

}  // namespace

int kronecker(const mpz *a, const mpz *b) {
  if (b->size == 0) return zor_gmp___gmpz_cmpabs_ui(a, 1) == 0;
  const bool a_odd = a->size != 0 && (a->limbs[0] & 1);
  if (!a_odd && !(b->limbs[0] & 1)) return 0;
  int sign = (a->size < 0 && b->size < 0) ? -1 : 1;
  Integer x, y;
  zor_gmp___gmpz_abs(y, b);
  uint64_t twos = zor_gmp___gmpz_scan1(y, 0);
  if (twos) {
    zor_gmp___gmpz_fdiv_q_2exp(y, y, twos);
    limb a8 = a->limbs[0] & 7;
    if (a->size < 0) a8 = (8 - a8) & 7;  // a mod 8 for negative a
    if ((twos & 1) && (a8 == 3 || a8 == 5)) sign = -sign;
  }
  zor_gmp___gmpz_fdiv_r(x, a, y);
  return sign * jacobi_odd(x, y);
}

}  // namespace zor::gmp

using namespace zor::gmp;

namespace {

mpz from_ui(limb &storage, uint64_t v) {
  storage = v;
  return mpz{1, v != 0, &storage};
}
mpz from_si(limb &storage, int64_t v) {
  storage = v < 0 ? 0 - uint64_t(v) : uint64_t(v);
  return mpz{1, (v > 0) - (v < 0), &storage};
}

}  // namespace

ZOR_API int zor_gmp___gmpz_jacobi(const mpz *a, const mpz *b) { return kronecker(a, b); }

ZOR_API int zor_gmp___gmpz_kronecker_si(const mpz *a, int64_t b) {
  limb s;
  mpz bb = from_si(s, b);
  return kronecker(a, &bb);
}
ZOR_API int zor_gmp___gmpz_kronecker_ui(const mpz *a, uint64_t b) {
  limb s;
  mpz bb = from_ui(s, b);
  return kronecker(a, &bb);
}
ZOR_API int zor_gmp___gmpz_si_kronecker(int64_t a, const mpz *b) {
  limb s;
  mpz aa = from_si(s, a);
  return kronecker(&aa, b);
}
ZOR_API int zor_gmp___gmpz_ui_kronecker(uint64_t a, const mpz *b) {
  limb s;
  mpz aa = from_ui(s, a);
  return kronecker(&aa, b);
}
