/* Vector kernels of zor_tier2 (y := a x + y, dot products, scaling, norms,
 * sums, index of the extreme element, copy, swap, plane rotations and the
 * sparse vector operations), and the checked entries of zor_core that front
 * some of them.
 *
 * Calling model: every argument by reference; integers are zor_int (64-bit);
 * complex elements are interleaved (re, im) pairs of float or double, passed
 * as void pointers. A negative increment walks the vector from its far end
 * (first logical element at x + (1 - n) * inc), except for the ?nrm2 of the
 * double family and dznrm2 (always upwards from x[0] with |inc|) and the
 * i?amax/i?amin family (0 for inc < 1). An increment of 0 is legal. Complex
 * dot products return through the first argument. Kernels validate nothing. */
#ifndef ZOR_BLAS_H
#define ZOR_BLAS_H

#include <zor/export.h>

/* ---- y := a x + y */
ZOR_API void zor_blas_xsaxpy(const zor_int *n, const float *a, const float *x, const zor_int *incx, float *y,
                             const zor_int *incy);
ZOR_API void zor_blas_xdaxpy(const zor_int *n, const double *a, const double *x, const zor_int *incx, double *y,
                             const zor_int *incy);
ZOR_API void zor_blas_xcaxpy(const zor_int *n, const void *a, const void *x, const zor_int *incx, void *y,
                             const zor_int *incy);
ZOR_API void zor_blas_xzaxpy(const zor_int *n, const void *a, const void *x, const zor_int *incx, void *y,
                             const zor_int *incy);

/* ---- y := a x + b y (b = 0 never reads y) */
ZOR_API void zor_blas_saxpby(const zor_int *n, const float *a, const float *x, const zor_int *incx, const float *b,
                             float *y, const zor_int *incy);
ZOR_API void zor_blas_daxpby(const zor_int *n, const double *a, const double *x, const zor_int *incx,
                             const double *b, double *y, const zor_int *incy);
ZOR_API void zor_blas_caxpby(const zor_int *n, const void *a, const void *x, const zor_int *incx, const void *b,
                             void *y, const zor_int *incy);
ZOR_API void zor_blas_zaxpby(const zor_int *n, const void *a, const void *x, const zor_int *incx, const void *b,
                             void *y, const zor_int *incy);

/* ---- dot products */
ZOR_API float zor_blas_xsdot(const zor_int *n, const float *x, const zor_int *incx, const float *y,
                             const zor_int *incy);
ZOR_API double zor_blas_xddot(const zor_int *n, const double *x, const zor_int *incx, const double *y,
                              const zor_int *incy);
ZOR_API void zor_blas_xcdotc(void *result, const zor_int *n, const void *x, const zor_int *incx, const void *y,
                             const zor_int *incy);
ZOR_API void zor_blas_cdotu(void *result, const zor_int *n, const void *x, const zor_int *incx, const void *y,
                            const zor_int *incy);
ZOR_API void zor_blas_zdotc(void *result, const zor_int *n, const void *x, const zor_int *incx, const void *y,
                            const zor_int *incy);
ZOR_API void zor_blas_zdotu(void *result, const zor_int *n, const void *x, const zor_int *incx, const void *y,
                            const zor_int *incy);
ZOR_API double zor_blas_dsdot(const zor_int *n, const float *x, const zor_int *incx, const float *y,
                              const zor_int *incy);
ZOR_API float zor_blas_sdsdot(const zor_int *n, const float *sb, const float *x, const zor_int *incx,
                              const float *y, const zor_int *incy);

/* ---- x := a x */
ZOR_API void zor_blas_sscal(const zor_int *n, const float *a, float *x, const zor_int *incx);
ZOR_API void zor_blas_dscal(const zor_int *n, const double *a, double *x, const zor_int *incx);
ZOR_API void zor_blas_cscal(const zor_int *n, const void *a, void *x, const zor_int *incx);
ZOR_API void zor_blas_zscal(const zor_int *n, const void *a, void *x, const zor_int *incx);
ZOR_API void zor_blas_csscal(const zor_int *n, const float *a, void *x, const zor_int *incx);
ZOR_API void zor_blas_zdscal(const zor_int *n, const double *a, void *x, const zor_int *incx);

/* ---- 2-norm, sum of magnitudes, |re| + |im| of one element */
ZOR_API float zor_blas_snrm2(const zor_int *n, const float *x, const zor_int *incx);
ZOR_API double zor_blas_dnrm2(const zor_int *n, const double *x, const zor_int *incx);
ZOR_API float zor_blas_scnrm2(const zor_int *n, const void *x, const zor_int *incx);
ZOR_API double zor_blas_dznrm2(const zor_int *n, const void *x, const zor_int *incx);
ZOR_API float zor_blas_sasum(const zor_int *n, const float *x, const zor_int *incx);
ZOR_API double zor_blas_dasum(const zor_int *n, const double *x, const zor_int *incx);
ZOR_API float zor_blas_scasum(const zor_int *n, const void *x, const zor_int *incx);
ZOR_API double zor_blas_dzasum(const zor_int *n, const void *x, const zor_int *incx);
ZOR_API float zor_blas_scabs1(const void *z);
ZOR_API double zor_blas_dcabs1(const void *z);

/* ---- 1-based position of the largest / smallest magnitude (lowest on ties) */
ZOR_API zor_int zor_blas_isamax(const zor_int *n, const float *x, const zor_int *incx);
ZOR_API zor_int zor_blas_idamax(const zor_int *n, const double *x, const zor_int *incx);
ZOR_API zor_int zor_blas_icamax(const zor_int *n, const void *x, const zor_int *incx);
ZOR_API zor_int zor_blas_izamax(const zor_int *n, const void *x, const zor_int *incx);
ZOR_API zor_int zor_blas_isamin(const zor_int *n, const float *x, const zor_int *incx);
ZOR_API zor_int zor_blas_idamin(const zor_int *n, const double *x, const zor_int *incx);
ZOR_API zor_int zor_blas_icamin(const zor_int *n, const void *x, const zor_int *incx);
ZOR_API zor_int zor_blas_izamin(const zor_int *n, const void *x, const zor_int *incx);

/* ---- copy y := x, swap x <-> y */
ZOR_API void zor_blas_xscopy(const zor_int *n, const float *x, const zor_int *incx, float *y, const zor_int *incy);
ZOR_API void zor_blas_xdcopy(const zor_int *n, const double *x, const zor_int *incx, double *y,
                             const zor_int *incy);
ZOR_API void zor_blas_xccopy(const zor_int *n, const void *x, const zor_int *incx, void *y, const zor_int *incy);
ZOR_API void zor_blas_xzcopy(const zor_int *n, const void *x, const zor_int *incx, void *y, const zor_int *incy);
ZOR_API void zor_blas_xsswap(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy);
ZOR_API void zor_blas_xdswap(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy);
ZOR_API void zor_blas_xcswap(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy);
ZOR_API void zor_blas_xzswap(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy);

/* ---- plane rotations: x := c x + s y, y := c y - s x (complex s: y := c y - conj(s) x) */
ZOR_API void zor_blas_xsrot(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy,
                            const float *c, const float *s);
ZOR_API void zor_blas_xdrot(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy,
                            const double *c, const double *s);
ZOR_API void zor_blas_xcsrot(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy,
                             const float *c, const float *s);
ZOR_API void zor_blas_xzdrot(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy,
                             const double *c, const double *s);
ZOR_API void zor_blas_xcrot(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy,
                            const float *c, const void *s);
ZOR_API void zor_blas_xzrot(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy,
                            const double *c, const void *s);
ZOR_API void zor_blas_srotg(float *a, float *b, float *c, float *s);
ZOR_API void zor_blas_drotg(double *a, double *b, double *c, double *s);
ZOR_API void zor_blas_crotg(void *a, const void *b, float *c, void *s);
ZOR_API void zor_blas_zrotg(void *a, const void *b, double *c, void *s);

/* ---- modified rotations; param[0] is the flag (-2, -1, 0, 1), param[1..4] = h11, h21, h12, h22 */
ZOR_API void zor_blas_srotm(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy,
                            const float *param);
ZOR_API void zor_blas_drotm(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy,
                            const double *param);
ZOR_API void zor_blas_srotmg(float *d1, float *d2, float *x1, const float *y1, float *param);
ZOR_API void zor_blas_drotmg(double *d1, double *d2, double *x1, const double *y1, double *param);

/* ---- sparse vectors: nz, the compressed x, 1-based indices, the full y */
ZOR_API void zor_blas_sgthr(const zor_int *nz, float *x, const zor_int *indx, const float *y);
ZOR_API void zor_blas_dgthr(const zor_int *nz, double *x, const zor_int *indx, const double *y);
ZOR_API void zor_blas_cgthr(const zor_int *nz, void *x, const zor_int *indx, const void *y);
ZOR_API void zor_blas_zgthr(const zor_int *nz, void *x, const zor_int *indx, const void *y);
ZOR_API void zor_blas_sgthrz(const zor_int *nz, float *x, const zor_int *indx, float *y);
ZOR_API void zor_blas_dgthrz(const zor_int *nz, double *x, const zor_int *indx, double *y);
ZOR_API void zor_blas_cgthrz(const zor_int *nz, void *x, const zor_int *indx, void *y);
ZOR_API void zor_blas_zgthrz(const zor_int *nz, void *x, const zor_int *indx, void *y);
ZOR_API void zor_blas_ssctr(const zor_int *nz, const float *x, const zor_int *indx, float *y);
ZOR_API void zor_blas_dsctr(const zor_int *nz, const double *x, const zor_int *indx, double *y);
ZOR_API void zor_blas_csctr(const zor_int *nz, const void *x, const zor_int *indx, void *y);
ZOR_API void zor_blas_zsctr(const zor_int *nz, const void *x, const zor_int *indx, void *y);
ZOR_API void zor_blas_saxpyi(const zor_int *nz, const float *a, const float *x, const zor_int *indx, float *y);
ZOR_API void zor_blas_daxpyi(const zor_int *nz, const double *a, const double *x, const zor_int *indx, double *y);
ZOR_API void zor_blas_caxpyi(const zor_int *nz, const void *a, const void *x, const zor_int *indx, void *y);
ZOR_API void zor_blas_zaxpyi(const zor_int *nz, const void *a, const void *x, const zor_int *indx, void *y);
ZOR_API float zor_blas_sdoti(const zor_int *nz, const float *x, const zor_int *indx, const float *y);
ZOR_API double zor_blas_ddoti(const zor_int *nz, const double *x, const zor_int *indx, const double *y);
ZOR_API void zor_blas_cdotui(void *result, const zor_int *nz, const void *x, const zor_int *indx, const void *y);
ZOR_API void zor_blas_zdotui(void *result, const zor_int *nz, const void *x, const zor_int *indx, const void *y);
ZOR_API void zor_blas_cdotci(void *result, const zor_int *nz, const void *x, const zor_int *indx, const void *y);
ZOR_API void zor_blas_zdotci(void *result, const zor_int *nz, const void *x, const zor_int *indx, const void *y);
ZOR_API void zor_blas_sroti(const zor_int *nz, float *x, const zor_int *indx, float *y, const float *c,
                            const float *s);
ZOR_API void zor_blas_droti(const zor_int *nz, double *x, const zor_int *indx, double *y, const double *c,
                            const double *s);

/* ---- checked entries supplied by zor_core: the published BLAS routines of
 * these names, with 64-bit integers; they check their arguments, report the
 * first bad one by position, and call the kernels above. */
ZOR_API void zor_blas_saxpy(const zor_int *n, const float *a, const float *x, const zor_int *incx, float *y,
                            const zor_int *incy);
ZOR_API void zor_blas_daxpy(const zor_int *n, const double *a, const double *x, const zor_int *incx, double *y,
                            const zor_int *incy);
ZOR_API void zor_blas_caxpy(const zor_int *n, const void *a, const void *x, const zor_int *incx, void *y,
                            const zor_int *incy);
ZOR_API void zor_blas_zaxpy(const zor_int *n, const void *a, const void *x, const zor_int *incx, void *y,
                            const zor_int *incy);
ZOR_API void zor_blas_sswap(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy);
ZOR_API void zor_blas_dswap(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy);
ZOR_API void zor_blas_cswap(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy);
ZOR_API void zor_blas_zswap(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy);
ZOR_API void zor_blas_cdotc(void *result, const zor_int *n, const void *x, const zor_int *incx, const void *y,
                            const zor_int *incy);
ZOR_API double zor_blas_ddot(const zor_int *n, const double *x, const zor_int *incx, const double *y,
                             const zor_int *incy);
ZOR_API float zor_blas_sdot(const zor_int *n, const float *x, const zor_int *incx, const float *y,
                            const zor_int *incy);

/* ---- y := alpha op(A) x + beta y, A m x n column-major with leading
 * dimension lda. trans 'N' or 'n' is no transposition, any other byte the
 * transpose. beta = 0 stores zeros without reading y; alpha = 0 does not
 * read a or x. */
ZOR_API void zor_blas_xdgemv(const char *trans, const zor_int *m, const zor_int *n, const double *alpha,
                             const double *a, const zor_int *lda, const double *x, const zor_int *incx,
                             const double *beta, double *y, const zor_int *incy);
ZOR_API void zor_blas_xsgemv(const char *trans, const zor_int *m, const zor_int *n, const float *alpha,
                             const float *a, const zor_int *lda, const float *x, const zor_int *incx,
                             const float *beta, float *y, const zor_int *incy);

/* ---- complex: any trans other than N, n, T, t is the conjugate transpose */
ZOR_API void zor_blas_xcgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const void *a,
                             const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y,
                             const zor_int *incy);
ZOR_API void zor_blas_xzgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const void *a,
                             const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y,
                             const zor_int *incy);

/* ---- the same with a real A and complex alpha, beta, x, y */
ZOR_API void zor_blas_dzgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha,
                             const double *a, const zor_int *lda, const void *x, const zor_int *incx,
                             const void *beta, void *y, const zor_int *incy);
ZOR_API void zor_blas_scgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha,
                             const float *a, const zor_int *lda, const void *x, const zor_int *incx,
                             const void *beta, void *y, const zor_int *incy);

/* ---- checked matrix-vector entries supplied by zor_core: the published
 * routines with 64-bit integers and the length of the letter argument's
 * text last (as a Fortran caller passes it; only the first byte of the
 * letter is read). trans must be N, T or C, uplo U or L, in either case; a
 * bad argument is reported by position and nothing is written. */
#include <stddef.h>
ZOR_API void zor_blas_dgemv(const char *trans, const zor_int *m, const zor_int *n, const double *alpha,
                            const double *a, const zor_int *lda, const double *x, const zor_int *incx,
                            const double *beta, double *y, const zor_int *incy, size_t trans_len);
ZOR_API void zor_blas_sgemv(const char *trans, const zor_int *m, const zor_int *n, const float *alpha,
                            const float *a, const zor_int *lda, const float *x, const zor_int *incx,
                            const float *beta, float *y, const zor_int *incy, size_t trans_len);
ZOR_API void zor_blas_cgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha,
                            const void *a, const zor_int *lda, const void *x, const zor_int *incx,
                            const void *beta, void *y, const zor_int *incy, size_t trans_len);
ZOR_API void zor_blas_zgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha,
                            const void *a, const zor_int *lda, const void *x, const zor_int *incx,
                            const void *beta, void *y, const zor_int *incy, size_t trans_len);
/* A := alpha x x^T + A on the triangle uplo ('U' or 'L', either case) */
ZOR_API void zor_blas_ssyr(const char *uplo, const zor_int *n, const float *alpha, const float *x,
                           const zor_int *incx, float *a, const zor_int *lda, size_t uplo_len);

/* ==== Level 2 beyond the general product. Letter arguments are read at
 * their first byte in either case: uplo 'U' is the upper triangle, any other
 * byte the lower; trans 'N' none, 'T' the transpose, any other byte the
 * conjugate transpose (the transpose for real data); diag 'N' a stored
 * diagonal, any other byte a unit diagonal that is not read. Band storage:
 * lda >= k + 1 (general band: kl + ku + 1), the diagonal in row k of the
 * array for upper, row 0 for lower; packed storage: the triangle column
 * after column with no gaps. Hermitian routines never read the imaginary
 * part of the diagonal, and the updates store 0 there. */

/* ---- rank-one updates A := alpha x y^T + A (?geru, real ?ger) and
 * A := alpha x y^H + A (?gerc); a column whose y[j] is 0 is not touched */
ZOR_API void zor_blas_sger(const zor_int *m, const zor_int *n, const float *alpha, const float *x, const zor_int *incx,
                           const float *y, const zor_int *incy, float *a, const zor_int *lda);
ZOR_API void zor_blas_dger(const zor_int *m, const zor_int *n, const double *alpha, const double *x,
                           const zor_int *incx, const double *y, const zor_int *incy, double *a, const zor_int *lda);
ZOR_API void zor_blas_cgeru(const zor_int *m, const zor_int *n, const void *alpha, const void *x, const zor_int *incx,
                            const void *y, const zor_int *incy, void *a, const zor_int *lda);
ZOR_API void zor_blas_zgeru(const zor_int *m, const zor_int *n, const void *alpha, const void *x, const zor_int *incx,
                            const void *y, const zor_int *incy, void *a, const zor_int *lda);
ZOR_API void zor_blas_cgerc(const zor_int *m, const zor_int *n, const void *alpha, const void *x, const zor_int *incx,
                            const void *y, const zor_int *incy, void *a, const zor_int *lda);
ZOR_API void zor_blas_zgerc(const zor_int *m, const zor_int *n, const void *alpha, const void *x, const zor_int *incx,
                            const void *y, const zor_int *incy, void *a, const zor_int *lda);

/* ---- symmetric and Hermitian updates of one triangle: x?syr, ?her (alpha
 * real) A := alpha x x^T (x^H) + A; x?syr2, ?her2 A := alpha x y^T (y^H) +
 * alpha y x^T (conj(alpha) y x^H) + A; ?spr, ?hpr, ?spr2, ?hpr2 the same on
 * packed storage. A column whose x[j] (and y[j]) is 0 is not touched. */
ZOR_API void zor_blas_xssyr(const char *uplo, const zor_int *n, const float *alpha, const float *x,
                            const zor_int *incx, float *a, const zor_int *lda);
ZOR_API void zor_blas_xdsyr(const char *uplo, const zor_int *n, const double *alpha, const double *x,
                            const zor_int *incx, double *a, const zor_int *lda);
ZOR_API void zor_blas_cher(const char *uplo, const zor_int *n, const float *alpha, const void *x, const zor_int *incx,
                           void *a, const zor_int *lda);
ZOR_API void zor_blas_zher(const char *uplo, const zor_int *n, const double *alpha, const void *x,
                           const zor_int *incx, void *a, const zor_int *lda);
ZOR_API void zor_blas_sspr(const char *uplo, const zor_int *n, const float *alpha, const float *x,
                           const zor_int *incx, float *ap);
ZOR_API void zor_blas_dspr(const char *uplo, const zor_int *n, const double *alpha, const double *x,
                           const zor_int *incx, double *ap);
ZOR_API void zor_blas_chpr(const char *uplo, const zor_int *n, const float *alpha, const void *x, const zor_int *incx,
                           void *ap);
ZOR_API void zor_blas_zhpr(const char *uplo, const zor_int *n, const double *alpha, const void *x,
                           const zor_int *incx, void *ap);
ZOR_API void zor_blas_xssyr2(const char *uplo, const zor_int *n, const float *alpha, const float *x,
                             const zor_int *incx, const float *y, const zor_int *incy, float *a, const zor_int *lda);
ZOR_API void zor_blas_xdsyr2(const char *uplo, const zor_int *n, const double *alpha, const double *x,
                             const zor_int *incx, const double *y, const zor_int *incy, double *a,
                             const zor_int *lda);
ZOR_API void zor_blas_cher2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx,
                            const void *y, const zor_int *incy, void *a, const zor_int *lda);
ZOR_API void zor_blas_zher2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx,
                            const void *y, const zor_int *incy, void *a, const zor_int *lda);
ZOR_API void zor_blas_sspr2(const char *uplo, const zor_int *n, const float *alpha, const float *x,
                            const zor_int *incx, const float *y, const zor_int *incy, float *ap);
ZOR_API void zor_blas_dspr2(const char *uplo, const zor_int *n, const double *alpha, const double *x,
                            const zor_int *incx, const double *y, const zor_int *incy, double *ap);
ZOR_API void zor_blas_chpr2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx,
                            const void *y, const zor_int *incy, void *ap);
ZOR_API void zor_blas_zhpr2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx,
                            const void *y, const zor_int *incy, void *ap);
/* Slices for one thread each: n consecutive columns of a larger triangle,
 * a trapezoid whose rows run to row off + n of the block the pointers stand
 * at. Lower: a and x at the slice's first diagonal element, column j holds
 * rows j to n + off - 1. Upper: a at the top of the slice's first column and
 * x at the vector's start, column j holds rows 0 to off + j. x (and y) are
 * read over n + off elements; a negative increment starts at the far end of
 * those. off = 0 is the whole update. */
ZOR_API void zor_blas_xssyr_in_thread(const char *uplo, const zor_int *n, const float *alpha, const float *x,
                                      const zor_int *incx, float *a, const zor_int *lda, const zor_int *off);
ZOR_API void zor_blas_xdsyr_in_thread(const char *uplo, const zor_int *n, const double *alpha, const double *x,
                                      const zor_int *incx, double *a, const zor_int *lda, const zor_int *off);
ZOR_API void zor_blas_xssyr2_in_thread(const char *uplo, const zor_int *n, const float *alpha, const float *x,
                                       const zor_int *incx, const float *y, const zor_int *incy, float *a,
                                       const zor_int *lda, const zor_int *off);
ZOR_API void zor_blas_xdsyr2_in_thread(const char *uplo, const zor_int *n, const double *alpha, const double *x,
                                       const zor_int *incx, const double *y, const zor_int *incy, double *a,
                                       const zor_int *lda, const zor_int *off);


/* ---- triangular products and solves, dense (?trsv, x?trmv), band (?tbmv,
 * ?tbsv) and packed (?tpmv, ?tpsv): x := op(A) x or op(A)^-1 x. uplo 'U'
 * or 'u' upper, anything else lower; trans 'N' or 'n', 'T' or 't', anything
 * else the conjugate transpose (the transpose for real data); diag 'N' or
 * 'n' non-unit, anything else unit (the diagonal is not read). A zero on a
 * solve's diagonal divides as IEEE arithmetic does. */
ZOR_API void zor_blas_strsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const float *a, const zor_int *lda, float *x, const zor_int *incx);
ZOR_API void zor_blas_dtrsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const double *a, const zor_int *lda, double *x, const zor_int *incx);
ZOR_API void zor_blas_ctrsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const void *a, const zor_int *lda, void *x, const zor_int *incx);
ZOR_API void zor_blas_ztrsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const void *a, const zor_int *lda, void *x, const zor_int *incx);
ZOR_API void zor_blas_xstrmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                             const float *a, const zor_int *lda, float *x, const zor_int *incx);
ZOR_API void zor_blas_xdtrmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                             const double *a, const zor_int *lda, double *x, const zor_int *incx);
ZOR_API void zor_blas_xctrmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                             const void *a, const zor_int *lda, void *x, const zor_int *incx);
ZOR_API void zor_blas_xztrmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                             const void *a, const zor_int *lda, void *x, const zor_int *incx);
/* The slice of a product for one thread: m consecutive elements of
 * op(A) x for a triangle seen by the thread as of order n. y (incy) holds
 * on entry the slice's elements of the source vector, x (unit stride) the
 * whole source vector over the view; only y is written. The slice's
 * diagonal block is the last m rows and columns of the view for 'N' lower
 * and transposed upper (a and x from the view's start), the first m for
 * 'N' upper and transposed lower (a and x at the slice's first diagonal
 * element and its element of x). */
ZOR_API void zor_blas_xstrmv_in_thread(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                                       const float *a, const zor_int *lda, float *y, const zor_int *incy,
                                       const zor_int *m, const float *x);
ZOR_API void zor_blas_xdtrmv_in_thread(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                                       const double *a, const zor_int *lda, double *y, const zor_int *incy,
                                       const zor_int *m, const double *x);
ZOR_API void zor_blas_xctrmv_in_thread(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                                       const void *a, const zor_int *lda, void *y, const zor_int *incy,
                                       const zor_int *m, const void *x);
ZOR_API void zor_blas_xztrmv_in_thread(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                                       const void *a, const zor_int *lda, void *y, const zor_int *incy,
                                       const zor_int *m, const void *x);
ZOR_API void zor_blas_stbmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const zor_int *k, const float *a, const zor_int *lda, float *x, const zor_int *incx);
ZOR_API void zor_blas_dtbmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const zor_int *k, const double *a, const zor_int *lda, double *x, const zor_int *incx);
ZOR_API void zor_blas_ctbmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const zor_int *k, const void *a, const zor_int *lda, void *x, const zor_int *incx);
ZOR_API void zor_blas_ztbmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const zor_int *k, const void *a, const zor_int *lda, void *x, const zor_int *incx);
ZOR_API void zor_blas_stbsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const zor_int *k, const float *a, const zor_int *lda, float *x, const zor_int *incx);
ZOR_API void zor_blas_dtbsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const zor_int *k, const double *a, const zor_int *lda, double *x, const zor_int *incx);
ZOR_API void zor_blas_ctbsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const zor_int *k, const void *a, const zor_int *lda, void *x, const zor_int *incx);
ZOR_API void zor_blas_ztbsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const zor_int *k, const void *a, const zor_int *lda, void *x, const zor_int *incx);
ZOR_API void zor_blas_stpmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const float *ap, float *x, const zor_int *incx);
ZOR_API void zor_blas_dtpmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const double *ap, double *x, const zor_int *incx);
ZOR_API void zor_blas_ctpmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const void *ap, void *x, const zor_int *incx);
ZOR_API void zor_blas_ztpmv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const void *ap, void *x, const zor_int *incx);
ZOR_API void zor_blas_stpsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const float *ap, float *x, const zor_int *incx);
ZOR_API void zor_blas_dtpsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const double *ap, double *x, const zor_int *incx);
ZOR_API void zor_blas_ctpsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const void *ap, void *x, const zor_int *incx);
ZOR_API void zor_blas_ztpsv(const char *uplo, const char *trans, const char *diag, const zor_int *n,
                            const void *ap, void *x, const zor_int *incx);


/* ---- general band product y := alpha op(A) x + beta y, kl sub- and ku
 * super-diagonals (lda >= kl + ku + 1, the diagonal in row ku of the
 * array); and the fused pair y1 := alpha A x1 + beta y1, y2 := alpha A^T x2
 * + beta y2 (?gem2vu; ?gem2vc with A^H) in one pass over A. */
ZOR_API void zor_blas_sgbmv(const char *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                            const zor_int *ku, const float *alpha, const float *a, const zor_int *lda, const float *x,
                            const zor_int *incx, const float *beta, float *y, const zor_int *incy);
ZOR_API void zor_blas_dgbmv(const char *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                            const zor_int *ku, const double *alpha, const double *a, const zor_int *lda, const double *x,
                            const zor_int *incx, const double *beta, double *y, const zor_int *incy);
ZOR_API void zor_blas_cgbmv(const char *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                            const zor_int *ku, const void *alpha, const void *a, const zor_int *lda, const void *x,
                            const zor_int *incx, const void *beta, void *y, const zor_int *incy);
ZOR_API void zor_blas_zgbmv(const char *trans, const zor_int *m, const zor_int *n, const zor_int *kl,
                            const zor_int *ku, const void *alpha, const void *a, const zor_int *lda, const void *x,
                            const zor_int *incx, const void *beta, void *y, const zor_int *incy);
ZOR_API void zor_blas_sgem2vu(const zor_int *m, const zor_int *n, const float *alpha, const float *a,
                               const zor_int *lda, const float *x1, const zor_int *incx1, const float *x2,
                               const zor_int *incx2, const float *beta, float *y1, const zor_int *incy1, float *y2,
                               const zor_int *incy2);
ZOR_API void zor_blas_dgem2vu(const zor_int *m, const zor_int *n, const double *alpha, const double *a,
                               const zor_int *lda, const double *x1, const zor_int *incx1, const double *x2,
                               const zor_int *incx2, const double *beta, double *y1, const zor_int *incy1, double *y2,
                               const zor_int *incy2);
ZOR_API void zor_blas_cgem2vc(const zor_int *m, const zor_int *n, const void *alpha, const void *a,
                               const zor_int *lda, const void *x1, const zor_int *incx1, const void *x2,
                               const zor_int *incx2, const void *beta, void *y1, const zor_int *incy1, void *y2,
                               const zor_int *incy2);
ZOR_API void zor_blas_zgem2vc(const zor_int *m, const zor_int *n, const void *alpha, const void *a,
                               const zor_int *lda, const void *x1, const zor_int *incx1, const void *x2,
                               const zor_int *incx2, const void *beta, void *y1, const zor_int *incy1, void *y2,
                               const zor_int *incy2);
/* ---- symmetric and Hermitian products y := alpha A x + beta y from one
 * stored triangle: dense (x?symv, ?hemv), band with k off-diagonals
 * (?sbmv, ?hbmv) and packed (?spmv, ?hpmv). */
ZOR_API void zor_blas_xssymv(const char *uplo, const zor_int *n, const float *alpha, const float *a,
                              const zor_int *lda, const float *x, const zor_int *incx, const float *beta, float *y,
                              const zor_int *incy);
ZOR_API void zor_blas_ssbmv(const char *uplo, const zor_int *n, const zor_int *k, const float *alpha,
                             const float *a, const zor_int *lda, const float *x, const zor_int *incx, const float *beta,
                             float *y, const zor_int *incy);
ZOR_API void zor_blas_sspmv(const char *uplo, const zor_int *n, const float *alpha, const float *ap, const float *x,
                             const zor_int *incx, const float *beta, float *y, const zor_int *incy);
ZOR_API void zor_blas_xdsymv(const char *uplo, const zor_int *n, const double *alpha, const double *a,
                              const zor_int *lda, const double *x, const zor_int *incx, const double *beta, double *y,
                              const zor_int *incy);
ZOR_API void zor_blas_dsbmv(const char *uplo, const zor_int *n, const zor_int *k, const double *alpha,
                             const double *a, const zor_int *lda, const double *x, const zor_int *incx, const double *beta,
                             double *y, const zor_int *incy);
ZOR_API void zor_blas_dspmv(const char *uplo, const zor_int *n, const double *alpha, const double *ap, const double *x,
                             const zor_int *incx, const double *beta, double *y, const zor_int *incy);
ZOR_API void zor_blas_chemv(const char *uplo, const zor_int *n, const void *alpha, const void *a,
                              const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y,
                              const zor_int *incy);
ZOR_API void zor_blas_chbmv(const char *uplo, const zor_int *n, const zor_int *k, const void *alpha,
                             const void *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta,
                             void *y, const zor_int *incy);
ZOR_API void zor_blas_chpmv(const char *uplo, const zor_int *n, const void *alpha, const void *ap, const void *x,
                             const zor_int *incx, const void *beta, void *y, const zor_int *incy);
ZOR_API void zor_blas_zhemv(const char *uplo, const zor_int *n, const void *alpha, const void *a,
                              const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y,
                              const zor_int *incy);
ZOR_API void zor_blas_zhbmv(const char *uplo, const zor_int *n, const zor_int *k, const void *alpha,
                             const void *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta,
                             void *y, const zor_int *incy);
ZOR_API void zor_blas_zhpmv(const char *uplo, const zor_int *n, const void *alpha, const void *ap, const void *x,
                             const zor_int *incx, const void *beta, void *y, const zor_int *incy);

#endif
