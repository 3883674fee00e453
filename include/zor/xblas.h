/* Extended-precision matrix-vector products of zor_tier2:
 *
 *   gemv   y := alpha op(A) x + beta y        A m x n, general
 *   gbmv   y := alpha op(A) x + beta y        A m x n, band (kl below, ku above)
 *   symv   y := alpha A x + beta y            A n x n, symmetric (one triangle)
 *   hemv   y := alpha A x + beta y            A n x n, Hermitian (one triangle)
 *
 * and their "2" forms, which take x as the unevaluated sum head_x + tail_x.
 *
 * Calling model: every argument by reference; the enumerated arguments (trans,
 * uplo, prec) are 32-bit integers with the values below, sizes, leading
 * dimensions and increments are zor_int (64-bit); matrices are column-major
 * (band storage: A(i, j) at a[ku + i - j + j lda]); complex scalars and
 * elements are interleaved (re, im). A negative increment walks the vector
 * from its far end.
 *
 * prec selects the arithmetic of the sums, which accumulate each result as
 * one dot in ascending index:
 *   211  single: float for s and c, double for d and z
 *   212  double (s and c: products of the widened floats, rounded once to
 *        float at the store); 213 the same
 *   214  double-double: every product exact, every sum carried in two
 *        doubles, the result rounded once
 * Any other value returns with y untouched.
 *
 * trans: 111 plain, 113 conjugate-transposed, anything else transposed. uplo:
 * 121 upper triangle stored, anything else lower. Arguments are not checked:
 * a bad size or increment is used as given (an increment of 0 re-reads or
 * rewrites one element). alpha = 0 leaves a and x unread.
 */
#ifndef ZOR_XBLAS_H
#define ZOR_XBLAS_H

#include <stdint.h>
#include <zor/export.h>

enum {
  blas_rowmajor = 101,
  blas_colmajor = 102,
  blas_no_trans = 111,
  blas_trans = 112,
  blas_conj_trans = 113,
  blas_upper = 121,
  blas_lower = 122,
  blas_prec_single = 211,
  blas_prec_double = 212,
  blas_prec_indigenous = 213,
  blas_prec_extra = 214
};

/* ---- general: trans, m, n, alpha, a, lda, x, incx, beta, y, incy, prec */
ZOR_API void zor_xblas_blas_sgemv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const float *alpha,
                                    const float *a, const zor_int *lda, const float *x, const zor_int *incx,
                                    const float *beta, float *y, const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_dgemv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const double *alpha,
                                    const double *a, const zor_int *lda, const double *x, const zor_int *incx,
                                    const double *beta, double *y, const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_cgemv_x(const int32_t *trans, const zor_int *m, const zor_int *n,
                                    const zor_complex8 *alpha, const zor_complex8 *a, const zor_int *lda,
                                    const zor_complex8 *x, const zor_int *incx, const zor_complex8 *beta,
                                    zor_complex8 *y, const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_zgemv_x(const int32_t *trans, const zor_int *m, const zor_int *n,
                                    const zor_complex16 *alpha, const zor_complex16 *a, const zor_int *lda,
                                    const zor_complex16 *x, const zor_int *incx, const zor_complex16 *beta,
                                    zor_complex16 *y, const zor_int *incy, const int32_t *prec);

/* ---- trans, m, n, alpha, a, lda, head_x, tail_x, incx, beta, y, incy, prec */
ZOR_API void zor_xblas_blas_sgemv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const float *alpha,
                                     const float *a, const zor_int *lda, const float *head_x, const float *tail_x,
                                     const zor_int *incx, const float *beta, float *y, const zor_int *incy,
                                     const int32_t *prec);
ZOR_API void zor_xblas_blas_dgemv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const double *alpha,
                                     const double *a, const zor_int *lda, const double *head_x,
                                     const double *tail_x, const zor_int *incx, const double *beta, double *y,
                                     const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_cgemv2_x(const int32_t *trans, const zor_int *m, const zor_int *n,
                                     const zor_complex8 *alpha, const zor_complex8 *a, const zor_int *lda,
                                     const zor_complex8 *head_x, const zor_complex8 *tail_x, const zor_int *incx,
                                     const zor_complex8 *beta, zor_complex8 *y, const zor_int *incy,
                                     const int32_t *prec);
ZOR_API void zor_xblas_blas_zgemv2_x(const int32_t *trans, const zor_int *m, const zor_int *n,
                                     const zor_complex16 *alpha, const zor_complex16 *a, const zor_int *lda,
                                     const zor_complex16 *head_x, const zor_complex16 *tail_x,
                                     const zor_int *incx, const zor_complex16 *beta, zor_complex16 *y,
                                     const zor_int *incy, const int32_t *prec);

/* ---- band: trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy, prec */
ZOR_API void zor_xblas_blas_sgbmv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                    const zor_int *ku, const float *alpha, const float *a, const zor_int *lda,
                                    const float *x, const zor_int *incx, const float *beta, float *y,
                                    const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_dgbmv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                    const zor_int *ku, const double *alpha, const double *a, const zor_int *lda,
                                    const double *x, const zor_int *incx, const double *beta, double *y,
                                    const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_cgbmv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                    const zor_int *ku, const zor_complex8 *alpha, const zor_complex8 *a,
                                    const zor_int *lda, const zor_complex8 *x, const zor_int *incx,
                                    const zor_complex8 *beta, zor_complex8 *y, const zor_int *incy,
                                    const int32_t *prec);
ZOR_API void zor_xblas_blas_zgbmv_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                    const zor_int *ku, const zor_complex16 *alpha, const zor_complex16 *a,
                                    const zor_int *lda, const zor_complex16 *x, const zor_int *incx,
                                    const zor_complex16 *beta, zor_complex16 *y, const zor_int *incy,
                                    const int32_t *prec);

/* ---- trans, m, n, kl, ku, alpha, a, lda, head_x, tail_x, incx, beta, y, incy, prec */
ZOR_API void zor_xblas_blas_sgbmv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                     const zor_int *ku, const float *alpha, const float *a, const zor_int *lda,
                                     const float *head_x, const float *tail_x, const zor_int *incx,
                                     const float *beta, float *y, const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_dgbmv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                     const zor_int *ku, const double *alpha, const double *a, const zor_int *lda,
                                     const double *head_x, const double *tail_x, const zor_int *incx,
                                     const double *beta, double *y, const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_cgbmv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                     const zor_int *ku, const zor_complex8 *alpha, const zor_complex8 *a,
                                     const zor_int *lda, const zor_complex8 *head_x, const zor_complex8 *tail_x,
                                     const zor_int *incx, const zor_complex8 *beta, zor_complex8 *y,
                                     const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_zgbmv2_x(const int32_t *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                                     const zor_int *ku, const zor_complex16 *alpha, const zor_complex16 *a,
                                     const zor_int *lda, const zor_complex16 *head_x,
                                     const zor_complex16 *tail_x, const zor_int *incx,
                                     const zor_complex16 *beta, zor_complex16 *y, const zor_int *incy,
                                     const int32_t *prec);

/* ---- symmetric and Hermitian: uplo, n, alpha, a, lda, x, incx, beta, y, incy, prec */
ZOR_API void zor_xblas_blas_ssymv_x(const int32_t *uplo, const zor_int *n, const float *alpha, const float *a,
                                    const zor_int *lda, const float *x, const zor_int *incx, const float *beta,
                                    float *y, const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_dsymv_x(const int32_t *uplo, const zor_int *n, const double *alpha, const double *a,
                                    const zor_int *lda, const double *x, const zor_int *incx, const double *beta,
                                    double *y, const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_csymv_x(const int32_t *uplo, const zor_int *n, const zor_complex8 *alpha,
                                    const zor_complex8 *a, const zor_int *lda, const zor_complex8 *x,
                                    const zor_int *incx, const zor_complex8 *beta, zor_complex8 *y,
                                    const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_zsymv_x(const int32_t *uplo, const zor_int *n, const zor_complex16 *alpha,
                                    const zor_complex16 *a, const zor_int *lda, const zor_complex16 *x,
                                    const zor_int *incx, const zor_complex16 *beta, zor_complex16 *y,
                                    const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_chemv_x(const int32_t *uplo, const zor_int *n, const zor_complex8 *alpha,
                                    const zor_complex8 *a, const zor_int *lda, const zor_complex8 *x,
                                    const zor_int *incx, const zor_complex8 *beta, zor_complex8 *y,
                                    const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_zhemv_x(const int32_t *uplo, const zor_int *n, const zor_complex16 *alpha,
                                    const zor_complex16 *a, const zor_int *lda, const zor_complex16 *x,
                                    const zor_int *incx, const zor_complex16 *beta, zor_complex16 *y,
                                    const zor_int *incy, const int32_t *prec);

/* ---- uplo, n, alpha, a, lda, head_x, tail_x, incx, beta, y, incy, prec */
ZOR_API void zor_xblas_blas_ssymv2_x(const int32_t *uplo, const zor_int *n, const float *alpha, const float *a,
                                     const zor_int *lda, const float *head_x, const float *tail_x,
                                     const zor_int *incx, const float *beta, float *y, const zor_int *incy,
                                     const int32_t *prec);
ZOR_API void zor_xblas_blas_dsymv2_x(const int32_t *uplo, const zor_int *n, const double *alpha, const double *a,
                                     const zor_int *lda, const double *head_x, const double *tail_x,
                                     const zor_int *incx, const double *beta, double *y, const zor_int *incy,
                                     const int32_t *prec);
ZOR_API void zor_xblas_blas_csymv2_x(const int32_t *uplo, const zor_int *n, const zor_complex8 *alpha,
                                     const zor_complex8 *a, const zor_int *lda, const zor_complex8 *head_x,
                                     const zor_complex8 *tail_x, const zor_int *incx, const zor_complex8 *beta,
                                     zor_complex8 *y, const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_zsymv2_x(const int32_t *uplo, const zor_int *n, const zor_complex16 *alpha,
                                     const zor_complex16 *a, const zor_int *lda, const zor_complex16 *head_x,
                                     const zor_complex16 *tail_x, const zor_int *incx,
                                     const zor_complex16 *beta, zor_complex16 *y, const zor_int *incy,
                                     const int32_t *prec);
ZOR_API void zor_xblas_blas_chemv2_x(const int32_t *uplo, const zor_int *n, const zor_complex8 *alpha,
                                     const zor_complex8 *a, const zor_int *lda, const zor_complex8 *head_x,
                                     const zor_complex8 *tail_x, const zor_int *incx, const zor_complex8 *beta,
                                     zor_complex8 *y, const zor_int *incy, const int32_t *prec);
ZOR_API void zor_xblas_blas_zhemv2_x(const int32_t *uplo, const zor_int *n, const zor_complex16 *alpha,
                                     const zor_complex16 *a, const zor_int *lda, const zor_complex16 *head_x,
                                     const zor_complex16 *tail_x, const zor_int *incx,
                                     const zor_complex16 *beta, zor_complex16 *y, const zor_int *incy,
                                     const int32_t *prec);

#endif
