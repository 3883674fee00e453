// Reading an integer: limbs, machine values, doubles, sizes, signs and the
// fits_* tests.
#include <climits>
#include <algorithm>
#include <cmath>

#include "gmp/integer.hpp"

using namespace zor::gmp;

namespace {

uint64_t bit_length(const limb *p, len n) { return n ? uint64_t(n) * 64 - uint64_t(clz(p[n - 1])) : 0; }

// |z| truncated to its top 53 bits: mant 2^shift; bits is the bit length.
limb truncated_magnitude(const mpz *z, int64_t &bits, int64_t &shift) {
  len n = size_of(z);
  const limb *p = z->limbs;
  bits = int64_t(bit_length(p, n));
  limb top;  // the top 64 bits, or |z| itself when shorter
  if (bits <= 64) {
    top = p[0];
    shift = 0;
  } else {
    int s = clz(p[n - 1]);
    top = s ? (p[n - 1] << s) | (p[n - 2] >> (64 - s)) : p[n - 1];
    shift = bits - 64;
  }
  if (bits > 53) {
    int drop = int(std::min<int64_t>(bits, 64) - 53);
    top >>= drop;
    shift += drop;
  }
  return top;
}

// Whether z lies in [lo, hi] for limits that fit in one limb each.
int fits(const mpz *z, uint64_t max_positive, uint64_t max_negative) {
  if (z->size == 0) return 1;
  if (z->size > 1 || z->size < -1) return 0;
  return z->size > 0 ? z->limbs[0] <= max_positive : z->limbs[0] <= max_negative;
}

}  // namespace

ZOR_API uint64_t zor_gmp___gmpz_get_ui(const mpz *z) { return z->size ? z->limbs[0] : 0; }

// The low 63 bits with the sign, as two's complement for negatives.
ZOR_API int64_t zor_gmp___gmpz_get_si(const mpz *z) {
  if (z->size == 0) return 0;
  limb x = z->limbs[0];
  if (z->size > 0) return int64_t(x & uint64_t(LONG_MAX));
  return -1 - int64_t((x - 1) & uint64_t(LONG_MAX));
}

// Truncated towards zero; infinite past the exponent range.
ZOR_API double zor_gmp___gmpz_get_d(const mpz *z) {
  if (z->size == 0) return 0.0;
  int64_t bits, shift;
  limb m = truncated_magnitude(z, bits, shift);
  double d = std::ldexp(double(m), int(std::min<int64_t>(shift, 4096)));
  return z->size < 0 ? -d : d;
}

// d in [0.5, 1) truncated, and the bit length: |z| ~ d 2^exp.
ZOR_API double zor_gmp___gmpz_get_d_2exp(int64_t *exp, const mpz *z) {
  if (z->size == 0) {
    *exp = 0;
    return 0.0;
  }
  int64_t bits, shift;
  limb m = truncated_magnitude(z, bits, shift);
  *exp = bits;
  double d = std::ldexp(double(m), int(shift - bits));
  return z->size < 0 ? -d : d;
}

ZOR_API limb zor_gmp___gmpz_getlimbn(const mpz *z, int64_t n) {
  return n >= 0 && n < size_of(z) ? z->limbs[n] : 0;
}

ZOR_API size_t zor_gmp___gmpz_size(const mpz *z) { return size_t(size_of(z)); }

ZOR_API int zor_gmp___gmpz_sgn(const mpz *z) { return sign_of(z); }

ZOR_API int zor_gmp___gmpz_fits_sint_p(const mpz *z) { return fits(z, INT_MAX, uint64_t(INT_MAX) + 1); }
ZOR_API int zor_gmp___gmpz_fits_slong_p(const mpz *z) { return fits(z, LONG_MAX, uint64_t(LONG_MAX) + 1); }
ZOR_API int zor_gmp___gmpz_fits_sshort_p(const mpz *z) { return fits(z, SHRT_MAX, uint64_t(SHRT_MAX) + 1); }
ZOR_API int zor_gmp___gmpz_fits_uint_p(const mpz *z) { return fits(z, UINT_MAX, 0); }
ZOR_API int zor_gmp___gmpz_fits_ulong_p(const mpz *z) { return fits(z, ULONG_MAX, 0); }
ZOR_API int zor_gmp___gmpz_fits_ushort_p(const mpz *z) { return fits(z, USHRT_MAX, 0); }
