/* The GEMM engine of zor_tier2 in single and double complex, the
 * three-multiplication complex products and the real-by-complex products.
 *
 * Complex data are interleaved (real part first) and passed as untyped
 * pointers: float pairs for the c routines, double pairs for the z routines.
 * Integers by reference as 64-bit values unless noted; matrices column-major.
 * The descriptor routines shared by all precisions are in <zor/gemm.h>.
 */
#ifndef ZOR_GEMM_COMPLEX_H
#define ZOR_GEMM_COMPLEX_H

#include <stdint.h>
#include <zor/export.h>
#include <zor/gemm.h>

/* ---- kernel rows, blocking and buffers (as for d and s in <zor/gemm.h>) */
ZOR_API void zor_blas_cgemm_get_optimal_kernel(zor_gemm_desc *desc);
ZOR_API void zor_blas_zgemm_get_optimal_kernel(zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_cgemm_get_kernel(int32_t row, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_zgemm_get_kernel(int32_t row, zor_gemm_desc *desc);
ZOR_API void zor_blas_cgemm_get_blks_size(const int64_t *m, const int64_t *n, const int64_t *k, zor_gemm_desc *desc);
ZOR_API void zor_blas_zgemm_get_blks_size(const int64_t *m, const int64_t *n, const int64_t *k, zor_gemm_desc *desc);
ZOR_API void zor_blas_cgemm_get_blks_size_bvr(const int64_t *m, const int64_t *n, const int64_t *k, zor_gemm_desc *desc);
ZOR_API void zor_blas_zgemm_get_blks_size_bvr(const int64_t *m, const int64_t *n, const int64_t *k, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_cgemm_get_bufs_size(int32_t request, int32_t mode, const int64_t *m, const int64_t *n,
                                             const int64_t *k, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_zgemm_get_bufs_size(int32_t request, int32_t mode, const int64_t *m, const int64_t *n,
                                             const int64_t *k, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_cgemm_get_bufs(int32_t request, void **base, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_zgemm_get_bufs(int32_t request, void **base, zor_gemm_desc *desc);
ZOR_API void zor_blas_cgemm_free_bufs(void *base);
ZOR_API void zor_blas_zgemm_free_bufs(void *base);

/* ---- panel copies: m x k block of op(A) times alpha (the 'c' forms
 * conjugate first), k x n block of op(B); row 0 and the _bvr forms of row 1 */
#define ZOR_COMPLEX_COPY_A(name)                                                                           \
  ZOR_API void name(const int64_t *m, const int64_t *k, const void *src, const int64_t *lda, void *buffer, \
                    const int64_t *panel_stride, const void *alpha)
#define ZOR_COMPLEX_COPY_B(name)                                                                           \
  ZOR_API void name(const int64_t *k, const int64_t *n, const void *src, const int64_t *ldb, void *buffer, \
                    const int64_t *panel_stride, const void *unused)
ZOR_COMPLEX_COPY_A(zor_blas_cgemm_copyan);
ZOR_COMPLEX_COPY_A(zor_blas_cgemm_copyat);
ZOR_COMPLEX_COPY_A(zor_blas_cgemm_copyac);
ZOR_COMPLEX_COPY_A(zor_blas_cgemm_copyan_bvr);
ZOR_COMPLEX_COPY_A(zor_blas_cgemm_copyat_bvr);
ZOR_COMPLEX_COPY_A(zor_blas_cgemm_copyac_bvr);
ZOR_COMPLEX_COPY_A(zor_blas_zgemm_copyan);
ZOR_COMPLEX_COPY_A(zor_blas_zgemm_copyat);
ZOR_COMPLEX_COPY_A(zor_blas_zgemm_copyac);
ZOR_COMPLEX_COPY_A(zor_blas_zgemm_copyan_bvr);
ZOR_COMPLEX_COPY_A(zor_blas_zgemm_copyat_bvr);
ZOR_COMPLEX_COPY_A(zor_blas_zgemm_copyac_bvr);
ZOR_COMPLEX_COPY_B(zor_blas_cgemm_copybn);
ZOR_COMPLEX_COPY_B(zor_blas_cgemm_copybt);
ZOR_COMPLEX_COPY_B(zor_blas_cgemm_copybc);
ZOR_COMPLEX_COPY_B(zor_blas_cgemm_copybn_bvr);
ZOR_COMPLEX_COPY_B(zor_blas_cgemm_copybt_bvr);
ZOR_COMPLEX_COPY_B(zor_blas_cgemm_copybc_bvr);
ZOR_COMPLEX_COPY_B(zor_blas_zgemm_copybn);
ZOR_COMPLEX_COPY_B(zor_blas_zgemm_copybt);
ZOR_COMPLEX_COPY_B(zor_blas_zgemm_copybc);
ZOR_COMPLEX_COPY_B(zor_blas_zgemm_copybn_bvr);
ZOR_COMPLEX_COPY_B(zor_blas_zgemm_copybt_bvr);
ZOR_COMPLEX_COPY_B(zor_blas_zgemm_copybc_bvr);
#undef ZOR_COMPLEX_COPY_A
#undef ZOR_COMPLEX_COPY_B

/* The complex rows' extended copy, one routine under four names: copies
 * nothing, returns 0 for the request codes 256 and 4096, else 1. */
#define ZOR_COMPLEX_COPY_EXT(name)                                                                             \
  ZOR_API int32_t name(int32_t request, const char *trans, const int64_t *rows, const int64_t *cols,           \
                       const void *src, const int64_t *ld, void *re, void *im, void *sum, const int64_t *stride)
ZOR_COMPLEX_COPY_EXT(zor_blas_cgemm_copya_ext);
ZOR_COMPLEX_COPY_EXT(zor_blas_cgemm_copyb_ext);
ZOR_COMPLEX_COPY_EXT(zor_blas_zgemm_copya_ext);
ZOR_COMPLEX_COPY_EXT(zor_blas_zgemm_copyb_ext);
#undef ZOR_COMPLEX_COPY_EXT

/* ---- drivers: C := alpha op(A) op(B) + beta C with op 'N', 'T' or 'C'.
 * xgemm_par returns 0, or 1 for an unknown plan or a failed allocation with
 * a pre-packed operand; the complex rows support plans 2, 8, 32 and 64
 * (0 lets the driver choose, which is always 2). As in <zor/gemm.h>, C takes
 * beta before the buffers are allocated: after a 1 from a pre-packed plan C
 * has already been scaled, and a caller that retries passes beta = 1. */
#define ZOR_COMPLEX_GEMM(name)                                                                              \
  ZOR_API void name(const char *transa, const char *transb, const int64_t *m, const int64_t *n, const int64_t *k, \
                    const void *alpha, const void *a, const int64_t *lda, const void *b, const int64_t *ldb,    \
                    const void *beta, void *c, const int64_t *ldc)
#define ZOR_COMPLEX_GEMM_PAR(name)                                                                              \
  ZOR_API int32_t name(const char *transa, const char *transb, const int64_t *m, const int64_t *n,              \
                       const int64_t *k, const void *alpha, const void *a, const int64_t *lda, const void *b,   \
                       const int64_t *ldb, const void *beta, void *c, const int64_t *ldc, int32_t plan,         \
                       zor_gemm_desc *desc)
ZOR_COMPLEX_GEMM(zor_blas_xcgemm);
ZOR_COMPLEX_GEMM(zor_blas_xzgemm);
ZOR_COMPLEX_GEMM_PAR(zor_blas_xcgemm_par);
ZOR_COMPLEX_GEMM_PAR(zor_blas_xzgemm_par);
/* C := beta C; beta zero stores zeros without reading C. */
ZOR_API void zor_blas_cgemm_mscale(const int64_t *m, const int64_t *n, const void *beta, void *c, const int64_t *ldc);
ZOR_API void zor_blas_zgemm_mscale(const int64_t *m, const int64_t *n, const void *beta, void *c, const int64_t *ldc);

/* ---- three real multiplications in place of four, on the real engine of
 * the matching precision; same arguments as zor_blas_x?gemm. */
ZOR_COMPLEX_GEMM(zor_blas_xcgemm3m);
ZOR_COMPLEX_GEMM(zor_blas_xzgemm3m);
/* Split a rows x cols block of op(X) ('n', 't', 'c': as is, transposed,
 * conjugate-transposed) into real parts, imaginary parts and their sums,
 * column-major with leading dimension rows. Sizes by value. */
#define ZOR_3M_COPY(name, R) \
  ZOR_API void name(int64_t rows, int64_t cols, const void *src, int64_t ld, R *re, R *im, R *sum)
ZOR_3M_COPY(zor_blas_cgemm3m_copyan, float);
ZOR_3M_COPY(zor_blas_cgemm3m_copyat, float);
ZOR_3M_COPY(zor_blas_cgemm3m_copyac, float);
ZOR_3M_COPY(zor_blas_cgemm3m_copybn, float);
ZOR_3M_COPY(zor_blas_cgemm3m_copybt, float);
ZOR_3M_COPY(zor_blas_cgemm3m_copybc, float);
ZOR_3M_COPY(zor_blas_zgemm3m_copyan, double);
ZOR_3M_COPY(zor_blas_zgemm3m_copyat, double);
ZOR_3M_COPY(zor_blas_zgemm3m_copyac, double);
ZOR_3M_COPY(zor_blas_zgemm3m_copybn, double);
ZOR_3M_COPY(zor_blas_zgemm3m_copybt, double);
ZOR_3M_COPY(zor_blas_zgemm3m_copybc, double);
#undef ZOR_3M_COPY

/* ---- real A times complex B: C = alpha op(A) op(B) + beta C, alpha, beta,
 * B and C complex, A real (double for dz, float for sc). */
#define ZOR_MIXED_GEMM(name, R)                                                                                  \
  ZOR_API void name(const char *transa, const char *transb, const int64_t *m, const int64_t *n, const int64_t *k, \
                    const void *alpha, const R *a, const int64_t *lda, const void *b, const int64_t *ldb,         \
                    const void *beta, void *c, const int64_t *ldc)
ZOR_MIXED_GEMM(zor_blas_xdzgemm, double);
ZOR_MIXED_GEMM(zor_blas_xscgemm, float);
/* The direct loops, for any size; no working memory. */
ZOR_MIXED_GEMM(zor_blas_dzgemm_pst, double);
ZOR_MIXED_GEMM(zor_blas_scgemm_pst, float);
#undef ZOR_MIXED_GEMM
/* C := beta C (complex beta; zero clears without reading). */
ZOR_API void zor_blas_dzgemm_mscale(const int64_t *m, const int64_t *n, const void *beta, void *c, const int64_t *ldc);
ZOR_API void zor_blas_scgemm_mscale(const int64_t *m, const int64_t *n, const void *beta, void *c, const int64_t *ldc);
/* alpha op(B) of a k x n block split into real and imaginary parts: plain
 * arrays with leading dimension ld (copyb), or the packed B blocks of the
 * real kernel row held in desc (1_copyb). */
ZOR_API void zor_blas_dzgemm_copyb(const char *transb, int64_t k, int64_t n, const void *b, int64_t ldb,
                                   const void *alpha, double *re, double *im, int64_t ld);
ZOR_API void zor_blas_scgemm_copyb(const char *transb, int64_t k, int64_t n, const void *b, int64_t ldb,
                                   const void *alpha, float *re, float *im, int64_t ld);
ZOR_API void zor_blas_dzgemm1_copyb(const char *transb, int64_t k, int64_t n, const void *b, int64_t ldb,
                                    const void *alpha, double *re, double *im, const zor_gemm_desc *desc);
ZOR_API void zor_blas_scgemm1_copyb(const char *transb, int64_t k, int64_t n, const void *b, int64_t ldb,
                                    const void *alpha, float *re, float *im, const zor_gemm_desc *desc);
/* An m x n block of C split into two real arrays (ld) and joined back. */
ZOR_API void zor_blas_dzgemm_copyc_fwd(int64_t m, int64_t n, const void *c, int64_t ldc, double *re, double *im,
                                       int64_t ld);
ZOR_API void zor_blas_scgemm_copyc_fwd(int64_t m, int64_t n, const void *c, int64_t ldc, float *re, float *im,
                                       int64_t ld);
ZOR_API void zor_blas_dzgemm_copyc_bwd(int64_t m, int64_t n, const double *re, const double *im, int64_t ld, void *c,
                                       int64_t ldc);
ZOR_API void zor_blas_scgemm_copyc_bwd(int64_t m, int64_t n, const float *re, const float *im, int64_t ld, void *c,
                                       int64_t ldc);
/* C := beta C + (re + i im), beta zero not reading C. One-part form: the
 * imaginary block follows the real one at t + ld n; two-part form: separate. */
ZOR_API void zor_blas_dzgemm1_copyc_b_bwd(int64_t m, int64_t n, const double *t, int64_t ld, const void *beta, void *c,
                                          int64_t ldc);
ZOR_API void zor_blas_scgemm1_copyc_b_bwd(int64_t m, int64_t n, const float *t, int64_t ld, const void *beta, void *c,
                                          int64_t ldc);
ZOR_API void zor_blas_dzgemm2_copyc_b_bwd(int64_t m, int64_t n, const double *re, int64_t ld_re, const double *im,
                                          int64_t ld_im, const void *beta, void *c, int64_t ldc);
ZOR_API void zor_blas_scgemm2_copyc_b_bwd(int64_t m, int64_t n, const float *re, int64_t ld_re, const float *im,
                                          int64_t ld_im, const void *beta, void *c, int64_t ldc);
/* Two real rows x cols arrays at 4096-byte boundaries in one pooled block;
 * returns the block (null on failure), released by freebufs. */
ZOR_API void *zor_blas_dzgemm_getbufs(int64_t rows, int64_t cols, double **re, double **im);
ZOR_API void *zor_blas_scgemm_getbufs(int64_t rows, int64_t cols, float **re, float **im);
ZOR_API void zor_blas_dzgemm_freebufs(void *base);
ZOR_API void zor_blas_scgemm_freebufs(void *base);

#undef ZOR_COMPLEX_GEMM
#undef ZOR_COMPLEX_GEMM_PAR

#endif
