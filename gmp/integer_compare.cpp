// Comparisons. Results are -1, 0 or 1. A NaN operand raises SIGFPE;
// infinities compare beyond every integer.
#include <cmath>

#include "gmp/integer.hpp"

namespace zor::gmp {

int abs_cmp(const limb *a, len an, const limb *b, len bn) {
  if (an != bn) return an > bn ? 1 : -1;
  return cmp(a, b, an);
}

}  // namespace zor::gmp

using namespace zor::gmp;

namespace {

// Sign of |z| - |x| for a finite double x.
int cmpabs_double(const mpz *z, double x) {
  x = std::fabs(x);
  Integer whole;
  zor_gmp___gmpz_set_d(whole, x);  // truncated
  int c = abs_cmp(z->limbs, size_of(z), whole->limbs, size_of(whole));
  if (c != 0) return c;
  return x > std::trunc(x) ? -1 : 0;
}

}  // namespace

ZOR_API int zor_gmp___gmpz_cmp(const mpz *a, const mpz *b) {
  if (a->size != b->size) return a->size > b->size ? 1 : -1;
  int c = cmp(a->limbs, b->limbs, size_of(a));
  return a->size >= 0 ? c : -c;
}

ZOR_API int zor_gmp___gmpz_cmpabs(const mpz *a, const mpz *b) {
  return abs_cmp(a->limbs, size_of(a), b->limbs, size_of(b));
}

ZOR_API int zor_gmp___gmpz_cmp_ui(const mpz *a, uint64_t b) {
  if (a->size < 0) return -1;
  if (a->size > 1) return 1;
  uint64_t x = a->size ? a->limbs[0] : 0;
  return (x > b) - (x < b);
}

ZOR_API int zor_gmp___gmpz_cmpabs_ui(const mpz *a, uint64_t b) {
  if (size_of(a) > 1) return 1;
  uint64_t x = a->size ? a->limbs[0] : 0;
  return (x > b) - (x < b);
}

ZOR_API int zor_gmp___gmpz_cmp_si(const mpz *a, int64_t b) {
  if (b >= 0) return zor_gmp___gmpz_cmp_ui(a, uint64_t(b));
  if (a->size >= 0) return 1;
  // both negative: the larger magnitude is the smaller value
  return -zor_gmp___gmpz_cmpabs_ui(a, 0 - uint64_t(b));
}

ZOR_API int zor_gmp___gmpz_cmp_d(const mpz *a, double b) {
  if (std::isnan(b)) return raise_invalid(), 0;
  if (std::isinf(b)) return b > 0 ? -1 : 1;
  int sa = sign_of(a), sb = (b > 0) - (b < 0);
  if (sa != sb) return sa > sb ? 1 : -1;
  if (sa == 0) return 0;
  int c = cmpabs_double(a, b);
  return sa > 0 ? c : -c;
}

ZOR_API int zor_gmp___gmpz_cmpabs_d(const mpz *a, double b) {
  if (std::isnan(b)) return raise_invalid(), 0;
  if (std::isinf(b)) return -1;
  return cmpabs_double(a, b);
}
