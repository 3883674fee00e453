// y := x and x <-> y on the unit-stride and strided skeletons.
//
// Unit path: increments (1,1) or (-1,-1) (the pair walks both vectors
// forward from the bases), bases aligned to the real type. The written
// stream y is peeled to 16 bytes and x is shift-merged, for a swap written
// back by the same merge. Main steps: 16 vectors for d, 8 for s. The complex
// forms with increments (1,1) run the real kernels on 2n reals (swap also
// with (-1,-1)); otherwise a plain loop of elements.
#include <zor/blas.h>

#include <utility>

#include "blas/level1_skeleton.hpp"

namespace zor::blas {
namespace {

template <class E>
struct CopyOp : Streams<E, true, false, false, true> {
  using V = vec_t<E>;
  ZOR_HOT void vec(V &x, V &y) const { y = x; }
  void one(E &x, E &y) const { y = x; }
};

template <class E>
struct SwapOp : Streams<E, true, true, true, true> {
  using V = vec_t<E>;
  ZOR_HOT void vec(V &x, V &y) const { std::swap(x, y); }
  void one(E &x, E &y) const { std::swap(x, y); }
};

template <template <class> class Op, class R, int Main>
void real_kernel(int64_t n, const R *x, int64_t incx, R *y, int64_t incy) {
  if (n < 1) return;
  R *xp = const_cast<R *>(x);
  if (unit_pair(incx, incy) && aligned_to(x, sizeof(R)) && aligned_to(y, sizeof(R)))
    unit_path<Op<R>, Main>(Op<R>{}, n, xp, y);
  else
    strided_path(Op<R>{}, n, xp, incx, y, incy);
}

template <template <class> class Op, class R, int Main>
void complex_kernel(int64_t n, const void *x, int64_t incx, void *y, int64_t incy, bool pair_unit) {
  if (n < 1) return;
  auto xp = const_cast<cplx<R> *>(static_cast<const cplx<R> *>(x));
  auto yp = static_cast<cplx<R> *>(y);
  if ((incx == 1 && incy == 1) || (pair_unit && incx == -1 && incy == -1))
    real_kernel<Op, R, Main>(2 * n, reals(xp), incx, reals(yp), incy);
  else
    strided_path(Op<cplx<R>>{}, n, xp, incx, yp, incy);
}

}  // namespace
}  // namespace zor::blas

using namespace zor::blas;

// clang-format off
ZOR_API void zor_blas_xscopy(const zor_int *n, const float *x, const zor_int *incx, float *y, const zor_int *incy) { real_kernel<CopyOp, float, fixed::kCopySwap.s>(*n, x, *incx, y, *incy); }
ZOR_API void zor_blas_xdcopy(const zor_int *n, const double *x, const zor_int *incx, double *y, const zor_int *incy) { real_kernel<CopyOp, double, fixed::kCopySwap.d>(*n, x, *incx, y, *incy); }
ZOR_API void zor_blas_xccopy(const zor_int *n, const void *x, const zor_int *incx, void *y, const zor_int *incy) { complex_kernel<CopyOp, float, fixed::kCopySwap.c>(*n, x, *incx, y, *incy, false); }
ZOR_API void zor_blas_xzcopy(const zor_int *n, const void *x, const zor_int *incx, void *y, const zor_int *incy) { complex_kernel<CopyOp, double, fixed::kCopySwap.z>(*n, x, *incx, y, *incy, false); }
ZOR_API void zor_blas_xsswap(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy) { real_kernel<SwapOp, float, fixed::kCopySwap.s>(*n, x, *incx, y, *incy); }
ZOR_API void zor_blas_xdswap(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy) { real_kernel<SwapOp, double, fixed::kCopySwap.d>(*n, x, *incx, y, *incy); }
ZOR_API void zor_blas_xcswap(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy) { complex_kernel<SwapOp, float, fixed::kCopySwap.c>(*n, x, *incx, y, *incy, true); }
ZOR_API void zor_blas_xzswap(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy) { complex_kernel<SwapOp, double, fixed::kCopySwap.z>(*n, x, *incx, y, *incy, true); }
// clang-format on
