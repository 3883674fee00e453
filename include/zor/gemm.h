/* The GEMM engine of zor_tier2: descriptors, blocking, panel copies and the
 * drivers of C := alpha op(A) op(B) + beta C.
 *
 * Every numeric argument is passed by reference with 64-bit integers unless
 * noted; matrices are column-major. The descriptor is opaque: reserve
 * ZOR_GEMM_DESC_BYTES (16-byte aligned) on the stack, e.g. with
 * zor_gemm_desc_storage, and clear it with zor_blas_?gemm_zero_desc.
 */
#ifndef ZOR_GEMM_H
#define ZOR_GEMM_H

#include <stdint.h>
#include <zor/export.h>

#define ZOR_GEMM_DESC_BYTES 512
#ifdef __cplusplus
#define ZOR_GEMM_ALIGN16 alignas(16)
#else
#define ZOR_GEMM_ALIGN16 _Alignas(16)
#endif
typedef struct zor_gemm_desc zor_gemm_desc;
typedef struct {
  ZOR_GEMM_ALIGN16 unsigned char bytes[ZOR_GEMM_DESC_BYTES];
} zor_gemm_desc_storage;

/* ---- descriptors (shared by all precisions) */
ZOR_API int32_t zor_blas_cgemm_zero_desc(zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_dgemm_zero_desc(zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_sgemm_zero_desc(zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_zgemm_zero_desc(zor_gemm_desc *desc);
ZOR_API void zor_blas_cgemm_num_kernels(int32_t *count);
ZOR_API void zor_blas_dgemm_num_kernels(int32_t *count);
ZOR_API void zor_blas_sgemm_num_kernels(int32_t *count);
ZOR_API void zor_blas_zgemm_num_kernels(int32_t *count);
ZOR_API int32_t zor_blas_cgemm_api_support(void);
ZOR_API int32_t zor_blas_dgemm_api_support(void);
ZOR_API int32_t zor_blas_sgemm_api_support(void);
ZOR_API int32_t zor_blas_zgemm_api_support(void);
/* Block sizes by value; 0, 0, 0 asks the next get_blks_size to compute them. */
ZOR_API void zor_blas_cgemm_set_blks_size(int64_t block_m, int64_t block_n, int64_t block_k, zor_gemm_desc *desc);
ZOR_API void zor_blas_dgemm_set_blks_size(int64_t block_m, int64_t block_n, int64_t block_k, zor_gemm_desc *desc);
ZOR_API void zor_blas_sgemm_set_blks_size(int64_t block_m, int64_t block_n, int64_t block_k, zor_gemm_desc *desc);
ZOR_API void zor_blas_zgemm_set_blks_size(int64_t block_m, int64_t block_n, int64_t block_k, zor_gemm_desc *desc);

/* ---- double: kernel rows, blocking and buffers.
 * get_kernel: 1 for a row index of 2 or above (descriptor unchanged), else 0.
 * get_bufs_size: requests 100..106, modes 107 (working sizes) and 108 (block
 * sizes); 1 if refused. get_bufs: one pooled allocation, *base receives it
 * (null on failure); request 103 is refused with 1. */
ZOR_API void zor_blas_dgemm_get_optimal_kernel(zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_dgemm_get_kernel(int32_t row, zor_gemm_desc *desc);
ZOR_API void zor_blas_dgemm_get_blks_size(const int64_t *m, const int64_t *n, const int64_t *k, zor_gemm_desc *desc);
ZOR_API void zor_blas_dgemm_get_blks_size_bvr(const int64_t *m, const int64_t *n, const int64_t *k, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_dgemm_get_bufs_size(int32_t request, int32_t mode, const int64_t *m, const int64_t *n,
                                     const int64_t *k, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_dgemm_get_bufs_size_bvr(int32_t request, int32_t mode, const int64_t *m, const int64_t *n,
                                         const int64_t *k, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_dgemm_get_bufs(int32_t request, void **base, zor_gemm_desc *desc);
ZOR_API void zor_blas_dgemm_free_bufs(void *base);

/* Panel copies of the m x k block of op(A) (alpha multiplied in) and of the
 * k x n block of op(B); row 0 forms and the later generation's _bvr forms. */
ZOR_API void zor_blas_dgemm_copyan(const int64_t *m, const int64_t *k, const double *src, const int64_t *lda, double *buffer,
                        const int64_t *panel_stride, const double *alpha);
ZOR_API void zor_blas_dgemm_copyat(const int64_t *m, const int64_t *k, const double *src, const int64_t *lda, double *buffer,
                        const int64_t *panel_stride, const double *alpha);
ZOR_API void zor_blas_dgemm_copybn(const int64_t *k, const int64_t *n, const double *src, const int64_t *ldb, double *buffer,
                        const int64_t *panel_stride, const void *unused);
ZOR_API void zor_blas_dgemm_copybt(const int64_t *k, const int64_t *n, const double *src, const int64_t *ldb, double *buffer,
                        const int64_t *panel_stride, const void *unused);
ZOR_API void zor_blas_dgemm_copyan_bvr(const int64_t *m, const int64_t *k, const double *src, const int64_t *lda, double *buffer,
                        const int64_t *panel_stride, const double *alpha);
ZOR_API void zor_blas_dgemm_copyat_bvr(const int64_t *m, const int64_t *k, const double *src, const int64_t *lda, double *buffer,
                        const int64_t *panel_stride, const double *alpha);
ZOR_API void zor_blas_dgemm_copybn_bvr(const int64_t *k, const int64_t *n, const double *src, const int64_t *ldb, double *buffer,
                        const int64_t *panel_stride, const void *unused);
ZOR_API void zor_blas_dgemm_copybt_bvr(const int64_t *k, const int64_t *n, const double *src, const int64_t *ldb, double *buffer,
                        const int64_t *panel_stride, const void *unused);

/* Drivers. xgemm_par returns 0, or 1 for an unknown plan or a failed
 * allocation with a pre-packed operand; plan 0 lets the driver choose.
 * In every plan C takes beta first, before the buffers are allocated: when a
 * pre-packed plan then returns 1, C has already been scaled by beta, and a
 * caller that retries passes beta = 1. */
ZOR_API void zor_blas_xdgemm(const char *transa, const char *transb, const int64_t *m, const int64_t *n,
                           const int64_t *k, const double *alpha, const double *a, const int64_t *lda, const double *b,
                           const int64_t *ldb, const double *beta, double *c, const int64_t *ldc);
ZOR_API int32_t zor_blas_xdgemm_par(const char *transa, const char *transb, const int64_t *m, const int64_t *n,
                                  const int64_t *k, const double *alpha, const double *a, const int64_t *lda,
                                  const double *b, const int64_t *ldb, const double *beta, double *c, const int64_t *ldc,
                                  int32_t plan, zor_gemm_desc *desc);
ZOR_API void zor_blas_dgemm_mscale(const int64_t *m, const int64_t *n, const double *beta, double *c, const int64_t *ldc);

/* Extended copies of the three-multiplication path: request 256 splits a
 * complex block (form 'N', 'T' or 'C') into three packed blocks of this
 * precision's panels: real parts, imaginary parts, their sums. 0, or 1 for
 * another request. A: rows x cols = m x k; B: k x n. */
ZOR_API int32_t zor_blas_dgemm_copya_ext(int32_t request, const char *trans, const int64_t *rows, const int64_t *cols,
                                       const void *src, const int64_t *ld, void *re, void *im, void *sum,
                                       const int64_t *panel_stride);
ZOR_API int32_t zor_blas_dgemm_copyb_ext(int32_t request, const char *trans, const int64_t *rows, const int64_t *cols,
                                       const void *src, const int64_t *ld, void *re, void *im, void *sum,
                                       const int64_t *panel_stride);
ZOR_API int32_t zor_blas_dgemm_copya_ext_bvr(int32_t request, const char *trans, const int64_t *rows, const int64_t *cols,
                                       const void *src, const int64_t *ld, void *re, void *im, void *sum,
                                       const int64_t *panel_stride);
ZOR_API int32_t zor_blas_dgemm_copyb_ext_bvr(int32_t request, const char *trans, const int64_t *rows, const int64_t *cols,
                                       const void *src, const int64_t *ld, void *re, void *im, void *sum,
                                       const int64_t *panel_stride);

/* ---- float: kernel rows, blocking and buffers.
 * get_kernel: 1 for a row index of 2 or above (descriptor unchanged), else 0.
 * get_bufs_size: requests 100..106, modes 107 (working sizes) and 108 (block
 * sizes); 1 if refused. get_bufs: one pooled allocation, *base receives it
 * (null on failure); request 103 is refused with 1. */
ZOR_API void zor_blas_sgemm_get_optimal_kernel(zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_sgemm_get_kernel(int32_t row, zor_gemm_desc *desc);
ZOR_API void zor_blas_sgemm_get_blks_size(const int64_t *m, const int64_t *n, const int64_t *k, zor_gemm_desc *desc);
ZOR_API void zor_blas_sgemm_get_blks_size_bvr(const int64_t *m, const int64_t *n, const int64_t *k, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_sgemm_get_bufs_size(int32_t request, int32_t mode, const int64_t *m, const int64_t *n,
                                     const int64_t *k, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_sgemm_get_bufs_size_bvr(int32_t request, int32_t mode, const int64_t *m, const int64_t *n,
                                         const int64_t *k, zor_gemm_desc *desc);
ZOR_API int32_t zor_blas_sgemm_get_bufs(int32_t request, void **base, zor_gemm_desc *desc);
ZOR_API void zor_blas_sgemm_free_bufs(void *base);

/* Panel copies of the m x k block of op(A) (alpha multiplied in) and of the
 * k x n block of op(B); row 0 forms and the later generation's _bvr forms. */
ZOR_API void zor_blas_sgemm_copyan(const int64_t *m, const int64_t *k, const float *src, const int64_t *lda, float *buffer,
                        const int64_t *panel_stride, const float *alpha);
ZOR_API void zor_blas_sgemm_copyat(const int64_t *m, const int64_t *k, const float *src, const int64_t *lda, float *buffer,
                        const int64_t *panel_stride, const float *alpha);
ZOR_API void zor_blas_sgemm_copybn(const int64_t *k, const int64_t *n, const float *src, const int64_t *ldb, float *buffer,
                        const int64_t *panel_stride, const void *unused);
ZOR_API void zor_blas_sgemm_copybt(const int64_t *k, const int64_t *n, const float *src, const int64_t *ldb, float *buffer,
                        const int64_t *panel_stride, const void *unused);
ZOR_API void zor_blas_sgemm_copyan_bvr(const int64_t *m, const int64_t *k, const float *src, const int64_t *lda, float *buffer,
                        const int64_t *panel_stride, const float *alpha);
ZOR_API void zor_blas_sgemm_copyat_bvr(const int64_t *m, const int64_t *k, const float *src, const int64_t *lda, float *buffer,
                        const int64_t *panel_stride, const float *alpha);
ZOR_API void zor_blas_sgemm_copybn_bvr(const int64_t *k, const int64_t *n, const float *src, const int64_t *ldb, float *buffer,
                        const int64_t *panel_stride, const void *unused);
ZOR_API void zor_blas_sgemm_copybt_bvr(const int64_t *k, const int64_t *n, const float *src, const int64_t *ldb, float *buffer,
                        const int64_t *panel_stride, const void *unused);

/* Drivers. xgemm_par returns 0, or 1 for an unknown plan or a failed
 * allocation with a pre-packed operand; plan 0 lets the driver choose.
 * In every plan C takes beta first, before the buffers are allocated: when a
 * pre-packed plan then returns 1, C has already been scaled by beta, and a
 * caller that retries passes beta = 1. */
ZOR_API void zor_blas_xsgemm(const char *transa, const char *transb, const int64_t *m, const int64_t *n,
                           const int64_t *k, const float *alpha, const float *a, const int64_t *lda, const float *b,
                           const int64_t *ldb, const float *beta, float *c, const int64_t *ldc);
ZOR_API int32_t zor_blas_xsgemm_par(const char *transa, const char *transb, const int64_t *m, const int64_t *n,
                                  const int64_t *k, const float *alpha, const float *a, const int64_t *lda,
                                  const float *b, const int64_t *ldb, const float *beta, float *c, const int64_t *ldc,
                                  int32_t plan, zor_gemm_desc *desc);
ZOR_API void zor_blas_sgemm_mscale(const int64_t *m, const int64_t *n, const float *beta, float *c, const int64_t *ldc);

/* Extended copies of the three-multiplication path: request 256 splits a
 * complex block (form 'N', 'T' or 'C') into three packed blocks of this
 * precision's panels: real parts, imaginary parts, their sums. 0, or 1 for
 * another request. A: rows x cols = m x k; B: k x n. */
ZOR_API int32_t zor_blas_sgemm_copya_ext(int32_t request, const char *trans, const int64_t *rows, const int64_t *cols,
                                       const void *src, const int64_t *ld, void *re, void *im, void *sum,
                                       const int64_t *panel_stride);
ZOR_API int32_t zor_blas_sgemm_copyb_ext(int32_t request, const char *trans, const int64_t *rows, const int64_t *cols,
                                       const void *src, const int64_t *ld, void *re, void *im, void *sum,
                                       const int64_t *panel_stride);
ZOR_API int32_t zor_blas_sgemm_copya_ext_bvr(int32_t request, const char *trans, const int64_t *rows, const int64_t *cols,
                                       const void *src, const int64_t *ld, void *re, void *im, void *sum,
                                       const int64_t *panel_stride);
ZOR_API int32_t zor_blas_sgemm_copyb_ext_bvr(int32_t request, const char *trans, const int64_t *rows, const int64_t *cols,
                                       const void *src, const int64_t *ld, void *re, void *im, void *sum,
                                       const int64_t *panel_stride);

#endif
