// Checked matrix-vector entries of the provider: the published gemv with
// 64-bit integers. The arguments are tested in the published order (trans,
// m, n, lda, incx, incy; and, before them, that every argument passed by
// reference is present); the first bad one is reported by position and
// nothing is written. Then the quick returns of the published routine: m or
// n of 0, or alpha 0 with beta 1. The tier's kernel does the rest.
#include <zor/blas.h>

#include "core/checked.hpp"
#include "core/tier_lookup.h"
#include "frame/letters.hpp"

namespace {

using zor_core::TierKernel;

TierKernel<decltype(&zor_blas_xdgemv)> xdgemv{"zor_blas_xdgemv"};
TierKernel<decltype(&zor_blas_xsgemv)> xsgemv{"zor_blas_xsgemv"};

// Position of the first bad argument, 0 if none.
template <class T>
int first_bad(const char *trans, const zor_int *m, const zor_int *n, const T *alpha, const T *a, const zor_int *lda,
              const T *x, const zor_int *incx, const T *beta, const T *y, const zor_int *incy) {
  if (!trans) return 1;
  if (!m) return 2;
  if (!n) return 3;
  if (!alpha) return 4;
  if (!lda) return 6;
  if (!incx) return 8;
  if (!beta) return 9;
  if (!incy) return 11;
  const zor::Trans t = zor::read_trans(trans);
  if (t != zor::Trans::N && t != zor::Trans::T && t != zor::Trans::C) return 1;
  if (*m < 0) return 2;
  if (*n < 0) return 3;
  if (*lda < (*m > 1 ? *m : 1)) return 6;
  if (*incx == 0) return 8;
  if (*incy == 0) return 11;
  // The arrays are needed only when there is work.
  if (*m > 0 && *n > 0 && !(*alpha == T(0) && *beta == T(1))) {
    if (*alpha != T(0) && !a) return 5;
    if (*alpha != T(0) && !x) return 7;
    if (!y) return 10;
  }
  return 0;
}

template <class T, class Fn>
void checked_gemv(const char *routine, TierKernel<Fn> &kernel, const char *trans, const zor_int *m,
                  const zor_int *n, const T *alpha, const T *a, const zor_int *lda, const T *x, const zor_int *incx,
                  const T *beta, T *y, const zor_int *incy) {
  if (int bad = first_bad(trans, m, n, alpha, a, lda, x, incx, beta, y, incy)) {
    zor_core::report_bad_argument(routine, bad);
    return;
  }
  if (*m == 0 || *n == 0 || (*alpha == T(0) && *beta == T(1))) return;
  if (Fn fn = kernel.get()) fn(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

}  // namespace

// clang-format off
ZOR_API void zor_blas_dgemv(const char *trans, const zor_int *m, const zor_int *n, const double *alpha, const double *a, const zor_int *lda, const double *x, const zor_int *incx, const double *beta, double *y, const zor_int *incy, size_t) { checked_gemv("DGEMV", xdgemv, trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
ZOR_API void zor_blas_sgemv(const char *trans, const zor_int *m, const zor_int *n, const float *alpha, const float *a, const zor_int *lda, const float *x, const zor_int *incx, const float *beta, float *y, const zor_int *incy, size_t) { checked_gemv("SGEMV", xsgemv, trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
// clang-format on
