// Machine constants of the provider, as the published ?lamch of the IEEE
// formats reports them: E the unit roundoff (half the spacing above 1, since
// results are rounded), S the safe minimum (the smallest normal number, as
// 1 / largest lies below it), B the base, P E times the base, N the digits
// of the significand, R 1 for rounding, M and L the smallest and largest
// exponents in the published convention (significand in [0.5, 1)), U the
// smallest normal number, O the largest finite. The letter is compared
// without case; any other letter gives 0.
//
// ?labad takes the square roots of both numbers when the large one's
// decimal exponent is above 2000: for finite IEEE numbers never, for an
// infinite large one always, as the published routine does.
#include <zor/core.h>
#include <zor/lapack.h>

#include <cmath>
#include <limits>

namespace {

template <class R>
R machine_constant(const char *cmach) {
  using L = std::numeric_limits<R>;
  const R eps = L::epsilon() * R(0.5);
  switch (*cmach & ~0x20) {  // the letter in upper case
    case 'E': return eps;
    case 'S': {
      R sfmin = L::min(), small = R(1) / L::max();
      return small >= sfmin ? small * (R(1) + eps) : sfmin;
    }
    case 'B': return R(L::radix);
    case 'P': return eps * R(L::radix);
    case 'N': return R(L::digits);
    case 'R': return R(1);
    case 'M': return R(L::min_exponent);
    case 'U': return L::min();
    case 'L': return R(L::max_exponent);
    case 'O': return L::max();
    default: return R(0);
  }
}

// log10(large) > 2000 holds for no finite number of either format and for
// +infinity alone, so the comparison with the largest finite one stands in
// for the logarithm.
template <class R>
void adjust_range(R *small, R *large) {
  if (*large > std::numeric_limits<R>::max()) {
    *small = std::sqrt(*small);
    *large = std::sqrt(*large);
  }
}

}  // namespace

ZOR_API float zor_lapack_slamch(const char *cmach) { return machine_constant<float>(cmach); }
ZOR_API double zor_lapack_dlamch(const char *cmach) { return machine_constant<double>(cmach); }
ZOR_API void zor_lapack_slabad(float *small, float *large) { adjust_range(small, large); }
ZOR_API void zor_lapack_dlabad(double *small, double *large) { adjust_range(small, large); }
