// The 28 extended-precision exports. Each reads its arguments and calls its
// kernel with the column-major order in front; a plain form passes x as both
// parts of the vector (the tail is never read). The error routine of the
// library is empty: a failed argument test has no effect and the call goes
// on (kernels.hpp).
#include <zor/xblas.h>

#include "xblas/kernels.hpp"

namespace {

using namespace zor::xblas;
using zor::S, zor::D, zor::C, zor::Z;

void report(const char *, int, int64_t) {}

// The C types of the boundary and the element types inside are the same bytes.
inline const float *e(const float *p) { return p; }
inline const double *e(const double *p) { return p; }
inline float *e(float *p) { return p; }
inline double *e(double *p) { return p; }
inline const zor::cplx<float> *e(const zor_complex8 *p) { return reinterpret_cast<const zor::cplx<float> *>(p); }
inline const zor::cplx<double> *e(const zor_complex16 *p) { return reinterpret_cast<const zor::cplx<double> *>(p); }
inline zor::cplx<float> *e(zor_complex8 *p) { return reinterpret_cast<zor::cplx<float> *>(p); }
inline zor::cplx<double> *e(zor_complex16 *p) { return reinterpret_cast<zor::cplx<double> *>(p); }

}  // namespace

ZOR_API void zor_xblas_blas_sgemv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const float *alpha,
                                    const float *a, const zor_int *lda, const float *x, const zor_int *incx,
                                    const float *beta, float *y, const zor_int *incy, const int32_t *prec) {
  gemv<S, false, report>(blas_colmajor, *trans, *m, *n, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta), e(y), *incy,
                         *prec);
}
ZOR_API void zor_xblas_blas_dgemv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const double *alpha,
                                    const double *a, const zor_int *lda, const double *x, const zor_int *incx,
                                    const double *beta, double *y, const zor_int *incy, const int32_t *prec) {
  gemv<D, false, report>(blas_colmajor, *trans, *m, *n, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta), e(y), *incy,
                         *prec);
}
ZOR_API void zor_xblas_blas_cgemv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_complex8 *alpha,
                                    const zor_complex8 *a, const zor_int *lda, const zor_complex8 *x,
                                    const zor_int *incx, const zor_complex8 *beta, zor_complex8 *y, const zor_int *incy,
                                    const int32_t *prec) {
  gemv<C, false, report>(blas_colmajor, *trans, *m, *n, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta), e(y), *incy,
                         *prec);
}
ZOR_API void zor_xblas_blas_zgemv_x(const int32_t *trans, const zor_int *m, const zor_int *n,
                                    const zor_complex16 *alpha, const zor_complex16 *a, const zor_int *lda,
                                    const zor_complex16 *x, const zor_int *incx, const zor_complex16 *beta,
                                    zor_complex16 *y, const zor_int *incy, const int32_t *prec) {
  gemv<Z, false, report>(blas_colmajor, *trans, *m, *n, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta), e(y), *incy,
                         *prec);
}
ZOR_API void zor_xblas_blas_sgemv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const float *alpha,
                                     const float *a, const zor_int *lda, const float *head_x, const float *tail_x,
                                     const zor_int *incx, const float *beta, float *y, const zor_int *incy,
                                     const int32_t *prec) {
  gemv<S, true, report>(blas_colmajor, *trans, *m, *n, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx, e(beta), e(y),
                        *incy, *prec);
}
ZOR_API void zor_xblas_blas_dgemv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const double *alpha,
                                     const double *a, const zor_int *lda, const double *head_x, const double *tail_x,
                                     const zor_int *incx, const double *beta, double *y, const zor_int *incy,
                                     const int32_t *prec) {
  gemv<D, true, report>(blas_colmajor, *trans, *m, *n, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx, e(beta), e(y),
                        *incy, *prec);
}
ZOR_API void zor_xblas_blas_cgemv2_x(const int32_t *trans, const zor_int *m, const zor_int *n,
                                     const zor_complex8 *alpha, const zor_complex8 *a, const zor_int *lda,
                                     const zor_complex8 *head_x, const zor_complex8 *tail_x, const zor_int *incx,
                                     const zor_complex8 *beta, zor_complex8 *y, const zor_int *incy,
                                     const int32_t *prec) {
  gemv<C, true, report>(blas_colmajor, *trans, *m, *n, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx, e(beta), e(y),
                        *incy, *prec);
}
ZOR_API void zor_xblas_blas_zgemv2_x(const int32_t *trans, const zor_int *m, const zor_int *n,
                                     const zor_complex16 *alpha, const zor_complex16 *a, const zor_int *lda,
                                     const zor_complex16 *head_x, const zor_complex16 *tail_x, const zor_int *incx,
                                     const zor_complex16 *beta, zor_complex16 *y, const zor_int *incy,
                                     const int32_t *prec) {
  gemv<Z, true, report>(blas_colmajor, *trans, *m, *n, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx, e(beta), e(y),
                        *incy, *prec);
}
ZOR_API void zor_xblas_blas_sgbmv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                    const zor_int *ku, const float *alpha, const float *a, const zor_int *lda,
                                    const float *x, const zor_int *incx, const float *beta, float *y,
                                    const zor_int *incy, const int32_t *prec) {
  gbmv<S, false, report>(blas_colmajor, *trans, *m, *n, *kl, *ku, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta),
                         e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_dgbmv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                    const zor_int *ku, const double *alpha, const double *a, const zor_int *lda,
                                    const double *x, const zor_int *incx, const double *beta, double *y,
                                    const zor_int *incy, const int32_t *prec) {
  gbmv<D, false, report>(blas_colmajor, *trans, *m, *n, *kl, *ku, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta),
                         e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_cgbmv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                    const zor_int *ku, const zor_complex8 *alpha, const zor_complex8 *a,
                                    const zor_int *lda, const zor_complex8 *x, const zor_int *incx,
                                    const zor_complex8 *beta, zor_complex8 *y, const zor_int *incy,
                                    const int32_t *prec) {
  gbmv<C, false, report>(blas_colmajor, *trans, *m, *n, *kl, *ku, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta),
                         e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_zgbmv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                    const zor_int *ku, const zor_complex16 *alpha, const zor_complex16 *a,
                                    const zor_int *lda, const zor_complex16 *x, const zor_int *incx,
                                    const zor_complex16 *beta, zor_complex16 *y, const zor_int *incy,
                                    const int32_t *prec) {
  gbmv<Z, false, report>(blas_colmajor, *trans, *m, *n, *kl, *ku, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta),
                         e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_sgbmv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                     const zor_int *ku, const float *alpha, const float *a, const zor_int *lda,
                                     const float *head_x, const float *tail_x, const zor_int *incx, const float *beta,
                                     float *y, const zor_int *incy, const int32_t *prec) {
  gbmv<S, true, report>(blas_colmajor, *trans, *m, *n, *kl, *ku, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx,
                        e(beta), e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_dgbmv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                     const zor_int *ku, const double *alpha, const double *a, const zor_int *lda,
                                     const double *head_x, const double *tail_x, const zor_int *incx,
                                     const double *beta, double *y, const zor_int *incy, const int32_t *prec) {
  gbmv<D, true, report>(blas_colmajor, *trans, *m, *n, *kl, *ku, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx,
                        e(beta), e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_cgbmv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                     const zor_int *ku, const zor_complex8 *alpha, const zor_complex8 *a,
                                     const zor_int *lda, const zor_complex8 *head_x, const zor_complex8 *tail_x,
                                     const zor_int *incx, const zor_complex8 *beta, zor_complex8 *y,
                                     const zor_int *incy, const int32_t *prec) {
  gbmv<C, true, report>(blas_colmajor, *trans, *m, *n, *kl, *ku, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx,
                        e(beta), e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_zgbmv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                     const zor_int *ku, const zor_complex16 *alpha, const zor_complex16 *a,
                                     const zor_int *lda, const zor_complex16 *head_x, const zor_complex16 *tail_x,
                                     const zor_int *incx, const zor_complex16 *beta, zor_complex16 *y,
                                     const zor_int *incy, const int32_t *prec) {
  gbmv<Z, true, report>(blas_colmajor, *trans, *m, *n, *kl, *ku, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx,
                        e(beta), e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_ssymv_x(const int32_t *uplo, const zor_int *n, const float *alpha, const float *a,
                                    const zor_int *lda, const float *x, const zor_int *incx, const float *beta,
                                    float *y, const zor_int *incy, const int32_t *prec) {
  symv<S, false, false, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta), e(y), *incy,
                                *prec);
}
ZOR_API void zor_xblas_blas_dsymv_x(const int32_t *uplo, const zor_int *n, const double *alpha, const double *a,
                                    const zor_int *lda, const double *x, const zor_int *incx, const double *beta,
                                    double *y, const zor_int *incy, const int32_t *prec) {
  symv<D, false, false, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta), e(y), *incy,
                                *prec);
}
ZOR_API void zor_xblas_blas_csymv_x(const int32_t *uplo, const zor_int *n, const zor_complex8 *alpha,
                                    const zor_complex8 *a, const zor_int *lda, const zor_complex8 *x,
                                    const zor_int *incx, const zor_complex8 *beta, zor_complex8 *y, const zor_int *incy,
                                    const int32_t *prec) {
  symv<C, false, false, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta), e(y), *incy,
                                *prec);
}
ZOR_API void zor_xblas_blas_zsymv_x(const int32_t *uplo, const zor_int *n, const zor_complex16 *alpha,
                                    const zor_complex16 *a, const zor_int *lda, const zor_complex16 *x,
                                    const zor_int *incx, const zor_complex16 *beta, zor_complex16 *y,
                                    const zor_int *incy, const int32_t *prec) {
  symv<Z, false, false, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta), e(y), *incy,
                                *prec);
}
ZOR_API void zor_xblas_blas_ssymv2_x(const int32_t *uplo, const zor_int *n, const float *alpha, const float *a,
                                     const zor_int *lda, const float *head_x, const float *tail_x, const zor_int *incx,
                                     const float *beta, float *y, const zor_int *incy, const int32_t *prec) {
  symv<S, true, false, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx, e(beta),
                               e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_dsymv2_x(const int32_t *uplo, const zor_int *n, const double *alpha, const double *a,
                                     const zor_int *lda, const double *head_x, const double *tail_x,
                                     const zor_int *incx, const double *beta, double *y, const zor_int *incy,
                                     const int32_t *prec) {
  symv<D, true, false, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx, e(beta),
                               e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_csymv2_x(const int32_t *uplo, const zor_int *n, const zor_complex8 *alpha,
                                     const zor_complex8 *a, const zor_int *lda, const zor_complex8 *head_x,
                                     const zor_complex8 *tail_x, const zor_int *incx, const zor_complex8 *beta,
                                     zor_complex8 *y, const zor_int *incy, const int32_t *prec) {
  symv<C, true, false, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx, e(beta),
                               e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_zsymv2_x(const int32_t *uplo, const zor_int *n, const zor_complex16 *alpha,
                                     const zor_complex16 *a, const zor_int *lda, const zor_complex16 *head_x,
                                     const zor_complex16 *tail_x, const zor_int *incx, const zor_complex16 *beta,
                                     zor_complex16 *y, const zor_int *incy, const int32_t *prec) {
  symv<Z, true, false, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx, e(beta),
                               e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_chemv_x(const int32_t *uplo, const zor_int *n, const zor_complex8 *alpha,
                                    const zor_complex8 *a, const zor_int *lda, const zor_complex8 *x,
                                    const zor_int *incx, const zor_complex8 *beta, zor_complex8 *y, const zor_int *incy,
                                    const int32_t *prec) {
  symv<C, false, true, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta), e(y), *incy,
                               *prec);
}
ZOR_API void zor_xblas_blas_zhemv_x(const int32_t *uplo, const zor_int *n, const zor_complex16 *alpha,
                                    const zor_complex16 *a, const zor_int *lda, const zor_complex16 *x,
                                    const zor_int *incx, const zor_complex16 *beta, zor_complex16 *y,
                                    const zor_int *incy, const int32_t *prec) {
  symv<Z, false, true, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(x), e(x), *incx, e(beta), e(y), *incy,
                               *prec);
}
ZOR_API void zor_xblas_blas_chemv2_x(const int32_t *uplo, const zor_int *n, const zor_complex8 *alpha,
                                     const zor_complex8 *a, const zor_int *lda, const zor_complex8 *head_x,
                                     const zor_complex8 *tail_x, const zor_int *incx, const zor_complex8 *beta,
                                     zor_complex8 *y, const zor_int *incy, const int32_t *prec) {
  symv<C, true, true, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx, e(beta),
                              e(y), *incy, *prec);
}
ZOR_API void zor_xblas_blas_zhemv2_x(const int32_t *uplo, const zor_int *n, const zor_complex16 *alpha,
                                     const zor_complex16 *a, const zor_int *lda, const zor_complex16 *head_x,
                                     const zor_complex16 *tail_x, const zor_int *incx, const zor_complex16 *beta,
                                     zor_complex16 *y, const zor_int *incy, const int32_t *prec) {
  symv<Z, true, true, report>(blas_colmajor, *uplo, *n, e(alpha), e(a), *lda, e(head_x), e(tail_x), *incx, e(beta),
                              e(y), *incy, *prec);
}
