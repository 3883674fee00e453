// Straight-line transforms of 1 to 16 points, and of 32 for the power-of-two
// plans: one body over the register of one complex value, in four tables by
// direction and scaling, per precision.
#include <utility>

#include "dft/butterfly.hpp"
#include "dft/plan.hpp"

namespace zor::dft {
namespace {

template <class R, bool Fwd, bool Scaled, int N>
void small(const cplx<R> *in, cplx<R> *out, R scale) {
  using CV = Narrow<R>;
  typename CV::V x[N];
  for (int j = 0; j < N; ++j) x[j] = CV::load(in + j);
  small_dft<CV, Fwd, N>(x);
  if constexpr (Scaled)
    for (int j = 0; j < N; ++j) x[j] = scale_by<CV>(x[j], scale);
  for (int j = 0; j < N; ++j) CV::store(out + j, x[j]);
}

template <class R, bool Fwd, bool Scaled>
constexpr SmallKernel<R> kTable[17] = {
    nullptr,
    small<R, Fwd, Scaled, 1>,  small<R, Fwd, Scaled, 2>,  small<R, Fwd, Scaled, 3>,  small<R, Fwd, Scaled, 4>,
    small<R, Fwd, Scaled, 5>,  small<R, Fwd, Scaled, 6>,  small<R, Fwd, Scaled, 7>,  small<R, Fwd, Scaled, 8>,
    small<R, Fwd, Scaled, 9>,  small<R, Fwd, Scaled, 10>, small<R, Fwd, Scaled, 11>, small<R, Fwd, Scaled, 12>,
    small<R, Fwd, Scaled, 13>, small<R, Fwd, Scaled, 14>, small<R, Fwd, Scaled, 15>, small<R, Fwd, Scaled, 16>,
};

}  // namespace

template <class R>
SmallKernel<R> small_kernel(int64_t n, bool forward, bool scaled) {
  if (n == 32) {
    if (forward) return scaled ? small<R, true, true, 32> : small<R, true, false, 32>;
    return scaled ? small<R, false, true, 32> : small<R, false, false, 32>;
  }
  if (n < 1 || n > 16) return nullptr;
  if (forward) return scaled ? kTable<R, true, true>[n] : kTable<R, true, false>[n];
  return scaled ? kTable<R, false, true>[n] : kTable<R, false, false>[n];
}

template SmallKernel<float> small_kernel<float>(int64_t, bool, bool);
template SmallKernel<double> small_kernel<double>(int64_t, bool, bool);

}  // namespace zor::dft
