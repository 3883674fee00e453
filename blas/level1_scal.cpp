// x := a x for the four precisions and the real-factor complex forms.
//
// dscal returns at once for a = 1.0 (and treats 0 like any factor: 0 times
// NaN stays NaN); unit path for incx 1 or -1 with an 8-byte aligned base
// (the base as it stands), peel of one element, main step 32, ladder down to
// one vector. sscal writes even for 1.0; unit only for incx 1, peel to the
// 16-byte boundary, step 32 floats. An increment of 0 multiplies the one
// element n times. cscal: unit for incx 1 and an 8-byte aligned base, else a
// scalar loop from the far end for a negative increment. zscal: first kernel
// unit for 1 and -1, step 16; second kernel (answer 33) unit for 1 only.
// csscal, zdscal with incx 1 are sscal, dscal on 2n reals (so zdscal also
// returns at once for 1.0); otherwise a loop over the elements at |incx|.
#include <zor/blas.h>

#include "blas/level1_skeleton.hpp"

namespace zor::blas {
namespace {

template <class E, class F>
struct ScalOp : Streams<E, false, false, true, true> {
  using V = vec_t<E>;
  static constexpr bool hinted = true;
  Factor<F> a;
  ZOR_HOT void vec(V &, V &y) const { y = a.times(y); }
  void one(E &, E &y) const { y = a.s * y; }
};

template <class E, class F, int Main>
void scal(int64_t n, F a, E *x, int64_t incx, bool unit) {
  if (n < 1) return;
  ScalOp<E, F> op{{}, Factor<F>(a)};
  if (unit && aligned_to(x, sizeof(real_t<E>)))
    unit_path<ScalOp<E, F>, Main>(op, n, x, x);
  else if (incx == 0)
    for (int64_t i = 0; i < n; ++i) one_at<false>(op, x, x);
  else
    strided_path(op, n, x, incx, x, incx);
}

void dscal(int64_t n, double a, double *x, int64_t incx) {
  if (a == 1.0) return;
  scal<double, double, fixed::kScal.d>(n, a, x, incx, incx == 1 || incx == -1);
}
void sscal(int64_t n, float a, float *x, int64_t incx) { scal<float, float, fixed::kScal.s>(n, a, x, incx, incx == 1); }

// Real factor on complex elements.
template <class R>
void real_on_complex(int64_t n, R a, cplx<R> *x, int64_t incx) {
  if (incx == 1) {
    if constexpr (sizeof(R) == 8) dscal(2 * n, a, reals(x), 1);
    else sscal(2 * n, a, reals(x), 1);
    return;
  }
  int64_t step = incx < 0 ? -incx : incx, i = 0;
  for (; i + 2 <= n; i += 2) {
    store_any(x + i * step, a * zor::load_any(x + i * step));
    store_any(x + (i + 1) * step, a * zor::load_any(x + (i + 1) * step));
  }
  if (i < n) store_any(x + i * step, a * zor::load_any(x + i * step));
}

}  // namespace
}  // namespace zor::blas

using namespace zor::blas;
using zor::cplx;

// clang-format off
ZOR_API void zor_blas_sscal(const zor_int *n, const float *a, float *x, const zor_int *incx) { sscal(*n, *a, x, *incx); }
ZOR_API void zor_blas_dscal(const zor_int *n, const double *a, double *x, const zor_int *incx) { dscal(*n, zor::load_any(a), x, *incx); }
ZOR_API void zor_blas_cscal(const zor_int *n, const void *a, void *x, const zor_int *incx) {
  (void)alternative_kernel();
  scal<cplx<float>, cplx<float>, fixed::kScal.c>(*n, *static_cast<const cplx<float> *>(a), static_cast<cplx<float> *>(x), *incx, *incx == 1);
}
ZOR_API void zor_blas_zscal(const zor_int *n, const void *a, void *x, const zor_int *incx) {
  auto alpha = zor::load_any(static_cast<const cplx<double> *>(a));
  auto xp = static_cast<cplx<double> *>(x);
  if (alternative_kernel()) scal<cplx<double>, cplx<double>, fixed::kScalZSecond>(*n, alpha, xp, *incx, *incx == 1);
  else scal<cplx<double>, cplx<double>, fixed::kScal.z>(*n, alpha, xp, *incx, *incx == 1 || *incx == -1);
}
ZOR_API void zor_blas_csscal(const zor_int *n, const float *a, void *x, const zor_int *incx) { real_on_complex(*n, *a, static_cast<cplx<float> *>(x), *incx); }
ZOR_API void zor_blas_zdscal(const zor_int *n, const double *a, void *x, const zor_int *incx) { real_on_complex(*n, zor::load_any(a), static_cast<cplx<double> *>(x), *incx); }
// clang-format on
