// Assignment: from another integer, a limb, a signed value, a double;
// negation and absolute value.
#include <cmath>
#include <csignal>

#include "gmp/integer.hpp"

namespace zor::gmp {

void raise_invalid() { std::raise(SIGFPE); }

}  // namespace zor::gmp

using namespace zor::gmp;

ZOR_API void zor_gmp___gmpz_set(mpz *z, const mpz *x) {
  if (z == x) return;
  len n = size_of(x);
  limb *p = grow(z, n);
  copy(p, x->limbs, n);
  z->size = x->size;
}

ZOR_API void zor_gmp___gmpz_set_ui(mpz *z, uint64_t x) {
  z->limbs[0] = x;
  z->size = x != 0;
}

ZOR_API void zor_gmp___gmpz_set_si(mpz *z, int64_t x) {
  z->limbs[0] = x < 0 ? 0 - uint64_t(x) : uint64_t(x);
  z->size = (x > 0) - (x < 0);
}

// Truncates towards zero; NaN and infinities raise SIGFPE.
ZOR_API void zor_gmp___gmpz_set_d(mpz *z, double x) {
  if (std::isnan(x) || std::isinf(x)) {
    raise_invalid();
    z->size = 0;
    return;
  }
  const bool negative = x < 0;
  double a = std::fabs(x);
  if (a < 1.0) {
    z->size = 0;
    return;
  }
  int e;
  double m = std::frexp(a, &e);  // a = m 2^e, 0.5 <= m < 1, e >= 1
  limb mant = limb(std::ldexp(m, 53));
  len n;
  if (e <= 53) {
    z->limbs[0] = mant >> (53 - e);
    n = 1;
  } else {
    int shift = e - 53;
    len whole = shift / 64;
    n = whole + 2;
    limb *p = grow(z, n);
    zero(p, n);
    int bits = shift % 64;
    p[whole] = mant << bits;
    p[whole + 1] = bits ? mant >> (64 - bits) : 0;
  }
  set_size(z, n, negative);
}

ZOR_API void zor_gmp___gmpz_neg(mpz *z, const mpz *x) {
  zor_gmp___gmpz_set(z, x);
  z->size = -z->size;
}

ZOR_API void zor_gmp___gmpz_abs(mpz *z, const mpz *x) {
  zor_gmp___gmpz_set(z, x);
  if (z->size < 0) z->size = -z->size;
}
