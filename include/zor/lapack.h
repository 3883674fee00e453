/* Small LAPACK kernels of zor_tier2: tridiagonal solvers, rotation
 * sequences and reflectors of order 2 and 3, small unblocked factorisations,
 * and the trapezoidal symmetric and Hermitian updates of the tridiagonal
 * reduction; and the machine-constant routines of zor_core they use.
 *
 * Calling model: every argument by reference; integers are zor_int (64-bit),
 * pivot vectors included; matrices column-major with a leading dimension in
 * elements; complex arrays are interleaved (re, im) pairs passed as void
 * pointers; character flags are read by their first byte in either case.
 * Kernels validate nothing; non-positive dimensions return early. */
#ifndef ZOR_LAPACK_H
#define ZOR_LAPACK_H

#include <zor/export.h>

/* ---- small unblocked factorisations. ?potrf: Cholesky of the lower (A =
 * L L^H) or upper (A = U^H U) triangle; uplo is fixed by the name and not
 * read; info is written only on failure, with the 1-based column of the
 * first pivot not above 0 (NaN included): columns before it factorised,
 * a[j, j] the reduced value (imaginary part 0), the rest of column j
 * partly updated; zpotrf_l from n = 40 works right-looking, so there the
 * trailing block holds the updates of the columns before j. */
ZOR_API void zor_lapack_ps_spotrf_l_small(const char *uplo, const zor_int *n, float *a, const zor_int *lda, zor_int *info);
ZOR_API void zor_lapack_ps_dpotrf_l_small(const char *uplo, const zor_int *n, double *a, const zor_int *lda, zor_int *info);
ZOR_API void zor_lapack_ps_spotrf_u_small(const char *uplo, const zor_int *n, float *a, const zor_int *lda, zor_int *info);
ZOR_API void zor_lapack_ps_dpotrf_u_small(const char *uplo, const zor_int *n, double *a, const zor_int *lda, zor_int *info);
ZOR_API void zor_lapack_ps_cpotrf_l_small(const char *uplo, const zor_int *n, void *a, const zor_int *lda, zor_int *info);
ZOR_API void zor_lapack_ps_zpotrf_l_small(const char *uplo, const zor_int *n, void *a, const zor_int *lda, zor_int *info);
ZOR_API void zor_lapack_ps_cpotrf_u_small(const char *uplo, const zor_int *n, void *a, const zor_int *lda, zor_int *info);
ZOR_API void zor_lapack_ps_zpotrf_u_small(const char *uplo, const zor_int *n, void *a, const zor_int *lda, zor_int *info);

/* ?sytrf: Bunch-Kaufman L D L^T (U D U^T) of the lower (upper) triangle;
 * ipiv as the published ?sytrf (negative for 2 by 2 blocks, 64-bit); info
 * is read first, and a zero column is recorded only if it is still 0. */
ZOR_API void zor_lapack_ps_ssytrf_l_small(const char *uplo, const zor_int *n, float *a, const zor_int *lda,
                                          zor_int *ipiv, zor_int *info);
ZOR_API void zor_lapack_ps_dsytrf_l_small(const char *uplo, const zor_int *n, double *a, const zor_int *lda,
                                          zor_int *ipiv, zor_int *info);
ZOR_API void zor_lapack_ps_ssytrf_u_small(const char *uplo, const zor_int *n, float *a, const zor_int *lda,
                                          zor_int *ipiv, zor_int *info);
ZOR_API void zor_lapack_ps_dsytrf_u_small(const char *uplo, const zor_int *n, double *a, const zor_int *lda,
                                          zor_int *ipiv, zor_int *info);

/* ?getc2: LU with complete pivoting, A = P L U Q; info cleared first, then
 * the last i whose pivot was below smin (and raised to smin); ipiv, jpiv
 * 1-based, 64-bit, ipiv[n] = jpiv[n] = n. Of equal magnitudes the first in
 * column order (from the diagonal) is taken. */
ZOR_API void zor_lapack_ps_sgetc2(const zor_int *n, float *a, const zor_int *lda, zor_int *ipiv, zor_int *jpiv,
                                  zor_int *info);
ZOR_API void zor_lapack_ps_dgetc2(const zor_int *n, double *a, const zor_int *lda, zor_int *ipiv, zor_int *jpiv,
                                  zor_int *info);
ZOR_API void zor_lapack_ps_cgetc2(const zor_int *n, void *a, const zor_int *lda, zor_int *ipiv, zor_int *jpiv,
                                  zor_int *info);
ZOR_API void zor_lapack_ps_zgetc2(const zor_int *n, void *a, const zor_int *lda, zor_int *ipiv, zor_int *jpiv,
                                  zor_int *info);

/* ?gtsv_small: the published ?gtsv (partial pivoting) in one small routine;
 * info written only on failure (the first zero pivot's row). */
ZOR_API void zor_lapack_ps_sgtsv_small(const zor_int *n, const zor_int *nrhs, float *dl, float *d, float *du,
                                       float *b, const zor_int *ldb, zor_int *info);
ZOR_API void zor_lapack_ps_dgtsv_small(const zor_int *n, const zor_int *nrhs, double *dl, double *d, double *du,
                                       double *b, const zor_int *ldb, zor_int *info);

/* ---- tridiagonal systems factored from both ends at once, no pivoting
 * (the caller promises diagonal dominance). h = (n - 1) / 2 steps run from
 * each end; d returns reciprocal pivots, dl and du the multipliers. info is
 * cleared on entry and gets the 1-based row of the first zero or NaN pivot.
 * ?dttrfb factors; x?dttrsb solves with the factors (trans N, T or C; any
 * other letter returns); ?dtsvb factors and solves. */
ZOR_API void zor_lapack_ps_sdttrfb(const zor_int *n, float *dl, float *d, float *du, zor_int *info);
ZOR_API void zor_lapack_ps_ddttrfb(const zor_int *n, double *dl, double *d, double *du, zor_int *info);
ZOR_API void zor_lapack_ps_cdttrfb(const zor_int *n, void *dl, void *d, void *du, zor_int *info);
ZOR_API void zor_lapack_ps_zdttrfb(const zor_int *n, void *dl, void *d, void *du, zor_int *info);
ZOR_API void zor_lapack_ps_xsdttrsb(const char *trans, const zor_int *n, const zor_int *nrhs, const float *dl,
                                    const float *d, const float *du, float *b, const zor_int *ldb, zor_int *info);
ZOR_API void zor_lapack_ps_xddttrsb(const char *trans, const zor_int *n, const zor_int *nrhs, const double *dl,
                                    const double *d, const double *du, double *b, const zor_int *ldb, zor_int *info);
ZOR_API void zor_lapack_ps_xcdttrsb(const char *trans, const zor_int *n, const zor_int *nrhs, const void *dl,
                                    const void *d, const void *du, void *b, const zor_int *ldb, zor_int *info);
ZOR_API void zor_lapack_ps_xzdttrsb(const char *trans, const zor_int *n, const zor_int *nrhs, const void *dl,
                                    const void *d, const void *du, void *b, const zor_int *ldb, zor_int *info);
ZOR_API void zor_lapack_ps_sdtsvb(const zor_int *n, const zor_int *nrhs, float *dl, float *d, float *du, float *b,
                                  const zor_int *ldb, zor_int *info);
ZOR_API void zor_lapack_ps_ddtsvb(const zor_int *n, const zor_int *nrhs, double *dl, double *d, double *du, double *b,
                                  const zor_int *ldb, zor_int *info);
ZOR_API void zor_lapack_ps_cdtsvb(const zor_int *n, const zor_int *nrhs, void *dl, void *d, void *du, void *b,
                                  const zor_int *ldb, zor_int *info);
ZOR_API void zor_lapack_ps_zdtsvb(const zor_int *n, const zor_int *nrhs, void *dl, void *d, void *du, void *b,
                                  const zor_int *ldb, zor_int *info);

/* ---- solves after the published ?gttrf (itrans 0 none, 1 transposed, 2
 * conjugate transposed for complex; a real form transposes for any non-zero)
 * and ?pttrf (complex: iuplo 1 for A = U^H D U, 0 for A = L D L^H; d real). */
ZOR_API void zor_lapack_ps_sgtts2(const zor_int *itrans, const zor_int *n, const zor_int *nrhs, const float *dl,
                                  const float *d, const float *du, const float *du2, const zor_int *ipiv, float *b,
                                  const zor_int *ldb);
ZOR_API void zor_lapack_ps_dgtts2(const zor_int *itrans, const zor_int *n, const zor_int *nrhs, const double *dl,
                                  const double *d, const double *du, const double *du2, const zor_int *ipiv,
                                  double *b, const zor_int *ldb);
ZOR_API void zor_lapack_ps_cgtts2(const zor_int *itrans, const zor_int *n, const zor_int *nrhs, const void *dl,
                                  const void *d, const void *du, const void *du2, const zor_int *ipiv, void *b,
                                  const zor_int *ldb);
ZOR_API void zor_lapack_ps_zgtts2(const zor_int *itrans, const zor_int *n, const zor_int *nrhs, const void *dl,
                                  const void *d, const void *du, const void *du2, const zor_int *ipiv, void *b,
                                  const zor_int *ldb);
ZOR_API void zor_lapack_ps_sptts2(const zor_int *n, const zor_int *nrhs, const float *d, const float *e, float *b,
                                  const zor_int *ldb);
ZOR_API void zor_lapack_ps_dptts2(const zor_int *n, const zor_int *nrhs, const double *d, const double *e, double *b,
                                  const zor_int *ldb);
ZOR_API void zor_lapack_ps_cptts2(const zor_int *iuplo, const zor_int *n, const zor_int *nrhs, const float *d,
                                  const void *e, void *b, const zor_int *ldb);
ZOR_API void zor_lapack_ps_zptts2(const zor_int *iuplo, const zor_int *n, const zor_int *nrhs, const double *d,
                                  const void *e, void *b, const zor_int *ldb);

/* ---- a sequence of plane rotations from the left, A := P A (m by n, lda):
 * rotation k is (c[k], s[k]) on rows k, k+1 (lv?), 1, k+1 (lt?) or k, m
 * (lb?), forward (??f) or backward (??b) through k = 1 .. m-1; c and s are
 * real for every precision. Identity rotations are computed, not skipped. */
ZOR_API void zor_lapack_ps_slasr_lvf(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_dlasr_lvf(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_clasr_lvf(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_zlasr_lvf(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_slasr_lvb(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_dlasr_lvb(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_clasr_lvb(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_zlasr_lvb(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_slasr_ltf(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_dlasr_ltf(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_clasr_ltf(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_zlasr_ltf(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_slasr_ltb(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_dlasr_ltb(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_clasr_ltb(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_zlasr_ltb(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_slasr_lbf(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_dlasr_lbf(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_clasr_lbf(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_zlasr_lbf(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_slasr_lbb(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_dlasr_lbb(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_clasr_lbb(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_zlasr_lbb(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a,
                                    const zor_int *lda);

/* ---- x[i] := c[i] x[i] + s[i] y[i], y[i] := c[i] y[i] - conj(s[i]) x[i];
 * c real, s of the element type; incc walks c and s. */
ZOR_API void zor_lapack_ps_slartv(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy,
                                  const float *c, const float *s, const zor_int *incc);
ZOR_API void zor_lapack_ps_dlartv(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy,
                                  const double *c, const double *s, const zor_int *incc);
ZOR_API void zor_lapack_ps_clartv(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy,
                                  const float *c, const void *s, const zor_int *incc);
ZOR_API void zor_lapack_ps_zlartv(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy,
                                  const double *c, const void *s, const zor_int *incc);

/* ---- reflectors of order 2 and 3 across contiguous rows x, y (z) of n
 * columns (the increments are not read): t := (x + v y) tau (rot2),
 * t := (x + p y + q z) tau (rot3); x -= t, y -= conj(v) t or conj(p) t,
 * z -= conj(q) t (conj only for complex forms). */
ZOR_API void zor_lapack_ps_srot2(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy,
                                 const float *tau, const float *v);
ZOR_API void zor_lapack_ps_drot2(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy,
                                 const double *tau, const double *v);
ZOR_API void zor_lapack_ps_crot2(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy,
                                 const void *tau, const void *v);
ZOR_API void zor_lapack_ps_zrot2(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy,
                                 const void *tau, const void *v);
ZOR_API void zor_lapack_ps_srot3(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy, float *z,
                                 const zor_int *incz, const float *tau, const float *p, const float *q);
ZOR_API void zor_lapack_ps_drot3(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy, double *z,
                                 const zor_int *incz, const double *tau, const double *p, const double *q);
ZOR_API void zor_lapack_ps_crot3(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy, void *z,
                                 const zor_int *incz, const void *tau, const void *p, const void *q);
ZOR_API void zor_lapack_ps_zrot3(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy, void *z,
                                 const zor_int *incz, const void *tau, const void *p, const void *q);

/* ---- C := H C (side 'L') or C H (any other side), H = I - tau v v^H, C m
 * by n; tau = 0 returns without reading v. Small orders (left 1 to 8 for d,
 * 1 to 10 otherwise) have their own loops; larger ones use work (n elements
 * left, m right) for gemv and a rank-one update. */
ZOR_API void zor_lapack_ps_dlarfx(const char *side, const zor_int *m, const zor_int *n, const double *v,
                                  const double *tau, double *c, const zor_int *ldc, double *work);
ZOR_API void zor_lapack_ps_clarfx(const char *side, const zor_int *m, const zor_int *n, const void *v,
                                  const void *tau, void *c, const zor_int *ldc, void *work);

/* ---- A := alpha x x^T + A, complex symmetric (not Hermitian), packed. */
ZOR_API void zor_lapack_ps_cspr(const char *uplo, const zor_int *n, const void *alpha, const void *x,
                                const zor_int *incx, void *ap);

/* ---- the symmetric (Hermitian) product and rank-two update of a trapezoid:
 * lower (uplo other than 'U'), the first nb columns from the diagonal down;
 * upper, the last nb columns from row 1 to the diagonal; S is the matrix of
 * order n the trapezoid and its mirror define (nb = n: the whole matrix).
 * Increments must be 1 and are not read. ?symv_nb / ?hemv_nb:
 * y := beta y + alpha S x. ?syr2_nb / ?her2_nb: the trapezoid of
 * A + alpha x y^H + conj(alpha) y x^H. ?syr2k_nb / ?her2k_nb: the trapezoid
 * of C + alpha A B^H + conj(alpha) B A^H (A, B n by k); trans and beta are
 * not read. Hermitian diagonals: imaginary part not read, stored as 0. */
ZOR_API void zor_lapack_ps_ssymv_nb(const char *uplo, const zor_int *n, const zor_int *nb, const float *alpha,
                                    const float *a, const zor_int *lda, const float *x, const zor_int *incx,
                                    const float *beta, float *y, const zor_int *incy);
ZOR_API void zor_lapack_ps_dsymv_nb(const char *uplo, const zor_int *n, const zor_int *nb, const double *alpha,
                                    const double *a, const zor_int *lda, const double *x, const zor_int *incx,
                                    const double *beta, double *y, const zor_int *incy);
ZOR_API void zor_lapack_ps_chemv_nb(const char *uplo, const zor_int *n, const zor_int *nb, const void *alpha,
                                    const void *a, const zor_int *lda, const void *x, const zor_int *incx,
                                    const void *beta, void *y, const zor_int *incy);
ZOR_API void zor_lapack_ps_zhemv_nb(const char *uplo, const zor_int *n, const zor_int *nb, const void *alpha,
                                    const void *a, const zor_int *lda, const void *x, const zor_int *incx,
                                    const void *beta, void *y, const zor_int *incy);
ZOR_API void zor_lapack_ps_ssyr2_nb(const char *uplo, const zor_int *n, const zor_int *nb, const float *alpha,
                                    const float *x, const zor_int *incx, const float *y, const zor_int *incy,
                                    float *a, const zor_int *lda);
ZOR_API void zor_lapack_ps_dsyr2_nb(const char *uplo, const zor_int *n, const zor_int *nb, const double *alpha,
                                    const double *x, const zor_int *incx, const double *y, const zor_int *incy,
                                    double *a, const zor_int *lda);
ZOR_API void zor_lapack_ps_cher2_nb(const char *uplo, const zor_int *n, const zor_int *nb, const void *alpha,
                                    const void *x, const zor_int *incx, const void *y, const zor_int *incy, void *a,
                                    const zor_int *lda);
ZOR_API void zor_lapack_ps_zher2_nb(const char *uplo, const zor_int *n, const zor_int *nb, const void *alpha,
                                    const void *x, const zor_int *incx, const void *y, const zor_int *incy, void *a,
                                    const zor_int *lda);

ZOR_API void zor_lapack_ps_ssyr2k_nb(const char *uplo, const char *trans, const zor_int *n, const zor_int *nb,
                                     const zor_int *k, const float *alpha, const float *a, const zor_int *lda,
                                     const float *b, const zor_int *ldb, const float *beta, float *c,
                                     const zor_int *ldc);
ZOR_API void zor_lapack_ps_dsyr2k_nb(const char *uplo, const char *trans, const zor_int *n, const zor_int *nb,
                                     const zor_int *k, const double *alpha, const double *a, const zor_int *lda,
                                     const double *b, const zor_int *ldb, const double *beta, double *c,
                                     const zor_int *ldc);
ZOR_API void zor_lapack_ps_cher2k_nb(const char *uplo, const char *trans, const zor_int *n, const zor_int *nb,
                                     const zor_int *k, const void *alpha, const void *a, const zor_int *lda,
                                     const void *b, const zor_int *ldb, const void *beta, void *c,
                                     const zor_int *ldc);
ZOR_API void zor_lapack_ps_zher2k_nb(const char *uplo, const char *trans, const zor_int *n, const zor_int *nb,
                                     const zor_int *k, const void *alpha, const void *a, const zor_int *lda,
                                     const void *b, const zor_int *ldb, const void *beta, void *c,
                                     const zor_int *ldc);

/* ---- machine constants and range adjustment, supplied by zor_core: the
 * published routines of these names (cmach E, S, B, P, N, R, M, U, L, O in
 * either case; any other letter gives 0). */
ZOR_API float zor_lapack_slamch(const char *cmach);
ZOR_API double zor_lapack_dlamch(const char *cmach);
ZOR_API void zor_lapack_slabad(float *small, float *large);
ZOR_API void zor_lapack_dlabad(double *small, double *large);

#endif
