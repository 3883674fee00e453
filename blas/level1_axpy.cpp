// y := a x + y and y := a x + b y, all four precisions, on the unit-stride
// and strided skeletons.
//
// Unit path: both bases aligned to the real type and the increments (1, 1)
// or (-1, -1) (single precision and the second double-complex kernel: (1, 1)
// only). The written stream y is peeled to 16 bytes (double complex: not
// peelable, either stream may stay 8 bytes off); x is shift-merged when its
// phase differs. Main steps in vectors: s 16 (64 floats), d 32 (64 doubles),
// c 16 (32 complex), z 16. A zero `a` (complex: both parts) returns without
// touching y; the test is `0 == a`, so a NaN `a` is applied. Long streams
// ask for lines ahead of x and y.
#include <zor/blas.h>

#include "blas/level1_skeleton.hpp"

namespace zor::blas {
namespace {

template <class E>
struct AxpyOp : Streams<E, true, false, true, true> {
  using V = vec_t<E>;
  static constexpr bool hinted = true;
  Factor<E> a;
  ZOR_HOT void vec(V &x, V &y) const { y = simd::add(a.times(x), y); }
  void one(E &x, E &y) const { y = a.s * x + y; }
};

// y := a x + b y; with BetaZero y := a x and y is never read.
template <class E, bool BetaZero>
struct AxpbyOp : Streams<E, true, false, !BetaZero, true> {
  using V = vec_t<E>;
  Factor<E> a, b;
  ZOR_HOT void vec(V &x, V &y) const {
    if constexpr (BetaZero) y = a.times(x);
    else y = simd::add(a.times(x), b.times(y));
  }
  void one(E &x, E &y) const {
    if constexpr (BetaZero) y = a.s * x;
    else y = a.s * x + b.s * y;
  }
};

template <class Op, int Main, bool StrictUnit>
void run_two(const Op &op, int64_t n, typename Op::E *x, int64_t incx, typename Op::E *y, int64_t incy) {
  using R = typename Op::R;
  bool unit = StrictUnit ? (incx == 1 && incy == 1) : unit_pair(incx, incy);
  if (unit && aligned_to(x, sizeof(R)) && aligned_to(y, sizeof(R)))
    unit_path<Op, Main>(op, n, x, y);
  else
    strided_path(op, n, x, incx, y, incy);
}

template <class E, int Main, bool StrictUnit>
void axpy(const zor_int *n, const void *a, const void *x, const zor_int *incx, void *y, const zor_int *incy) {
  if (*n < 1) return;
  E alpha = load_any(static_cast<const E *>(a));
  if (is_zero(alpha)) return;
  AxpyOp<E> op{{}, Factor<E>(alpha)};
  run_two<AxpyOp<E>, Main, StrictUnit>(op, *n, const_cast<E *>(static_cast<const E *>(x)), *incx,
                                       static_cast<E *>(y), *incy);
}

template <class E, int Main>
void axpby(const zor_int *n, const void *a, const void *x, const zor_int *incx, const void *b, void *y,
           const zor_int *incy) {
  if (*n < 1) return;
  E alpha = load_any(static_cast<const E *>(a)), beta = load_any(static_cast<const E *>(b));
  if (is_zero(alpha) && is_one(beta)) return;
  E *xp = const_cast<E *>(static_cast<const E *>(x)), *yp = static_cast<E *>(y);
  if (is_zero(beta)) {
    AxpbyOp<E, true> op{{}, Factor<E>(alpha), Factor<E>(beta)};
    run_two<decltype(op), Main, true>(op, *n, xp, *incx, yp, *incy);
  } else {
    AxpbyOp<E, false> op{{}, Factor<E>(alpha), Factor<E>(beta)};
    run_two<decltype(op), Main, true>(op, *n, xp, *incx, yp, *incy);
  }
}

}  // namespace
}  // namespace zor::blas

using namespace zor::blas;
using zor::cplx;

// clang-format off
ZOR_API void zor_blas_xsaxpy(const zor_int *n, const float *a, const float *x, const zor_int *incx, float *y, const zor_int *incy) { axpy<float, fixed::kAxpy.s, true>(n, a, x, incx, y, incy); }
ZOR_API void zor_blas_xdaxpy(const zor_int *n, const double *a, const double *x, const zor_int *incx, double *y, const zor_int *incy) { axpy<double, fixed::kAxpy.d, false>(n, a, x, incx, y, incy); }
ZOR_API void zor_blas_xcaxpy(const zor_int *n, const void *a, const void *x, const zor_int *incx, void *y, const zor_int *incy) { (void)alternative_kernel(); axpy<cplx<float>, fixed::kAxpy.c, false>(n, a, x, incx, y, incy); }
ZOR_API void zor_blas_xzaxpy(const zor_int *n, const void *a, const void *x, const zor_int *incx, void *y, const zor_int *incy) {
  if (alternative_kernel()) axpy<cplx<double>, fixed::kAxpyZSecond, true>(n, a, x, incx, y, incy);
  else axpy<cplx<double>, fixed::kAxpy.z, false>(n, a, x, incx, y, incy);
}

ZOR_API void zor_blas_saxpby(const zor_int *n, const float *a, const float *x, const zor_int *incx, const float *b, float *y, const zor_int *incy) { axpby<float, fixed::kAxpby.s>(n, a, x, incx, b, y, incy); }
ZOR_API void zor_blas_daxpby(const zor_int *n, const double *a, const double *x, const zor_int *incx, const double *b, double *y, const zor_int *incy) { axpby<double, fixed::kAxpby.d>(n, a, x, incx, b, y, incy); }
ZOR_API void zor_blas_caxpby(const zor_int *n, const void *a, const void *x, const zor_int *incx, const void *b, void *y, const zor_int *incy) { (void)alternative_kernel(); axpby<cplx<float>, fixed::kAxpby.c>(n, a, x, incx, b, y, incy); }
ZOR_API void zor_blas_zaxpby(const zor_int *n, const void *a, const void *x, const zor_int *incx, const void *b, void *y, const zor_int *incy) {
  if (alternative_kernel()) axpby<cplx<double>, fixed::kAxpbyZSecond>(n, a, x, incx, b, y, incy);
  else axpby<cplx<double>, fixed::kAxpby.z>(n, a, x, incx, b, y, incy);
}
// clang-format on
