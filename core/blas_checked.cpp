// Checked vector entries of the provider: the published BLAS routines of
// these names with 64-bit integers. The published routines declare no value
// of n or of an increment illegal (n < 1 is a quick return, an increment of
// 0 is legal), so what is checked is that every argument passed by reference
// is present: the first missing one is reported by position and nothing is
// written. Then the tier's kernel runs.
#include <zor/blas.h>

#include "core/checked.hpp"
#include "core/tier_lookup.h"

namespace {

using zor_core::TierKernel;

TierKernel<decltype(&zor_blas_xsaxpy)> xsaxpy{"zor_blas_xsaxpy"};
TierKernel<decltype(&zor_blas_xdaxpy)> xdaxpy{"zor_blas_xdaxpy"};
TierKernel<decltype(&zor_blas_xcaxpy)> xcaxpy{"zor_blas_xcaxpy"};
TierKernel<decltype(&zor_blas_xzaxpy)> xzaxpy{"zor_blas_xzaxpy"};
TierKernel<decltype(&zor_blas_xsswap)> xsswap{"zor_blas_xsswap"};
TierKernel<decltype(&zor_blas_xdswap)> xdswap{"zor_blas_xdswap"};
TierKernel<decltype(&zor_blas_xcswap)> xcswap{"zor_blas_xcswap"};
TierKernel<decltype(&zor_blas_xzswap)> xzswap{"zor_blas_xzswap"};
TierKernel<decltype(&zor_blas_xsdot)> xsdot{"zor_blas_xsdot"};
TierKernel<decltype(&zor_blas_xddot)> xddot{"zor_blas_xddot"};
TierKernel<decltype(&zor_blas_xcdotc)> xcdotc{"zor_blas_xcdotc"};

// Positions of the arguments; 0 for an argument the routine does not have.
struct Layout {
  int n, a, x, incx, y, incy;
};
constexpr Layout kAxpy{1, 2, 3, 4, 5, 6};
constexpr Layout kTwo{1, 0, 2, 3, 4, 5};
constexpr Layout kDotResult{2, 0, 3, 4, 5, 6};

// False (after the report) when an argument is missing; the vectors are
// needed only when there is work.
bool arguments_present(const char *routine, const Layout &at, const zor_int *n, const void *a, const void *x,
                       const zor_int *incx, const void *y, const zor_int *incy) {
  int bad = 0;
  if (!n) bad = at.n;
  else if (at.a && !a) bad = at.a;
  else if (!incx) bad = at.incx;
  else if (!incy) bad = at.incy;
  else if (*n > 0 && !x) bad = at.x;
  else if (*n > 0 && !y) bad = at.y;
  if (bad) zor_core::report_bad_argument(routine, bad);
  return bad == 0;
}

template <class T, class Fn>
void checked_axpy(const char *routine, TierKernel<Fn> &kernel, const zor_int *n, const T *a, const T *x,
                  const zor_int *incx, T *y, const zor_int *incy) {
  if (!arguments_present(routine, kAxpy, n, a, x, incx, y, incy) || *n < 1) return;
  if (Fn fn = kernel.get()) fn(n, a, x, incx, y, incy);
}

template <class T, class Fn>
void checked_swap(const char *routine, TierKernel<Fn> &kernel, const zor_int *n, T *x, const zor_int *incx, T *y,
                  const zor_int *incy) {
  if (!arguments_present(routine, kTwo, n, nullptr, x, incx, y, incy) || *n < 1) return;
  if (Fn fn = kernel.get()) fn(n, x, incx, y, incy);
}

template <class T, class Fn>
T checked_dot(const char *routine, TierKernel<Fn> &kernel, const zor_int *n, const T *x, const zor_int *incx,
              const T *y, const zor_int *incy) {
  if (!arguments_present(routine, kTwo, n, nullptr, x, incx, y, incy) || *n < 1) return T(0);
  Fn fn = kernel.get();
  return fn ? fn(n, x, incx, y, incy) : T(0);
}

}  // namespace

// clang-format off
ZOR_API void zor_blas_saxpy(const zor_int *n, const float *a, const float *x, const zor_int *incx, float *y, const zor_int *incy) { checked_axpy("SAXPY", xsaxpy, n, a, x, incx, y, incy); }
ZOR_API void zor_blas_daxpy(const zor_int *n, const double *a, const double *x, const zor_int *incx, double *y, const zor_int *incy) { checked_axpy("DAXPY", xdaxpy, n, a, x, incx, y, incy); }
ZOR_API void zor_blas_caxpy(const zor_int *n, const void *a, const void *x, const zor_int *incx, void *y, const zor_int *incy) { checked_axpy("CAXPY", xcaxpy, n, a, x, incx, y, incy); }
ZOR_API void zor_blas_zaxpy(const zor_int *n, const void *a, const void *x, const zor_int *incx, void *y, const zor_int *incy) { checked_axpy("ZAXPY", xzaxpy, n, a, x, incx, y, incy); }
ZOR_API void zor_blas_sswap(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy) { checked_swap("SSWAP", xsswap, n, x, incx, y, incy); }
ZOR_API void zor_blas_dswap(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy) { checked_swap("DSWAP", xdswap, n, x, incx, y, incy); }
ZOR_API void zor_blas_cswap(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy) { checked_swap("CSWAP", xcswap, n, x, incx, y, incy); }
ZOR_API void zor_blas_zswap(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy) { checked_swap("ZSWAP", xzswap, n, x, incx, y, incy); }
ZOR_API double zor_blas_ddot(const zor_int *n, const double *x, const zor_int *incx, const double *y, const zor_int *incy) { return checked_dot("DDOT", xddot, n, x, incx, y, incy); }
ZOR_API float zor_blas_sdot(const zor_int *n, const float *x, const zor_int *incx, const float *y, const zor_int *incy) { return checked_dot("SDOT", xsdot, n, x, incx, y, incy); }
// clang-format on

// The result is zero for n < 1, as the published routine returns.
ZOR_API void zor_blas_cdotc(void *result, const zor_int *n, const void *x, const zor_int *incx, const void *y,
                            const zor_int *incy) {
  if (!result) {
    zor_core::report_bad_argument("CDOTC", 1);
    return;
  }
  if (!arguments_present("CDOTC", kDotResult, n, nullptr, x, incx, y, incy)) return;
  if (*n < 1) {
    static_cast<float *>(result)[0] = 0.0f;
    static_cast<float *>(result)[1] = 0.0f;
    return;
  }
  if (auto fn = xcdotc.get()) fn(result, n, x, incx, y, incy);
}
