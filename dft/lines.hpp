// Lines of a transform in memory: scaling through the level-1 routines, and
// copies between a line at any stride and a contiguous buffer.
#pragma once
#include <cstdint>

#include "dft/compute.hpp"

namespace zor::dft {

template <class R>
inline void scale_complex(cplx<R> *x, int64_t n, R scale) {
  if (scale == R(1)) return;
  zor_int len = n, one = 1;
  imports<ComplexOf<R>>::rscal(&len, &scale, x, &one);
}
template <class R>
inline void scale_real(R *x, int64_t n, R scale) {
  if (scale == R(1)) return;
  zor_int len = n, one = 1;
  imports<RealOf<R>>::scal(&len, &scale, x, &one);
}

// Copies of n elements between a line at stride s (element j at p + j s,
// any sign) and a contiguous buffer, through the level-1 copies.
template <class R>
inline void gather_complex(int64_t n, const cplx<R> *p, int64_t s, cplx<R> *to) {
  zor_int len = n, inc = s, one = 1;
  imports<ComplexOf<R>>::xcopy(&len, s < 0 ? p + (n - 1) * s : p, &inc, to, &one);
}
template <class R>
inline void scatter_complex(int64_t n, const cplx<R> *from, cplx<R> *p, int64_t s) {
  zor_int len = n, inc = s, one = 1;
  imports<ComplexOf<R>>::xcopy(&len, from, &one, s < 0 ? p + (n - 1) * s : p, &inc);
}
template <class R>
inline void gather_real(int64_t n, const R *p, int64_t s, R *to) {
  zor_int len = n, inc = s, one = 1;
  imports<RealOf<R>>::xcopy(&len, s < 0 ? p + (n - 1) * s : p, &inc, to, &one);
}
template <class R>
inline void scatter_real(int64_t n, const R *from, R *p, int64_t s) {
  zor_int len = n, inc = s, one = 1;
  imports<RealOf<R>>::xcopy(&len, from, &one, s < 0 ? p + (n - 1) * s : p, &inc);
}

template <class T>
inline T *align_up(void *p, int64_t align) {
  auto a = (reinterpret_cast<uintptr_t>(p) + uintptr_t(align) - 1) & ~uintptr_t(align - 1);
  return reinterpret_cast<T *>(a);
}

}  // namespace zor::dft
