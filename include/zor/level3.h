/* Symmetric, Hermitian and triangular matrix operations of zor_tier2, built on
 * the GEMM engine of <zor/gemm.h>:
 *   ?symm, ?hemm    C := alpha A B + beta C or alpha B A + beta C, A symmetric
 *                   (Hermitian) and stored in one triangle;
 *   ?syrk, ?herk    C := alpha op(A) op(A)^T + beta C (^H for herk), one
 *                   triangle of C;
 *   ?syr2k, ?her2k  C := alpha op(A) op(B)^T + alpha op(B) op(A)^T + beta C
 *                   (her2k: alpha op(A) op(B)^H + conj(alpha) op(B) op(A)^H);
 *   ?trmm           B := alpha op(A) B or alpha B op(A), A triangular;
 *   ?trsm           the solve of op(A) X = alpha B or X op(A) = alpha B, X
 *                   overwriting B;
 *   ?ptrmm          ?trmm with A in packed triangular storage (column by
 *                   column: upper A(i, j) at ap[i + j (j + 1) / 2], lower at
 *                   ap[i + j (2 n - j - 1) / 2]).
 * Letters are read at their first byte in either case. Every argument is by
 * reference, integers 64-bit; matrices column-major; complex data are
 * interleaved pairs passed as void pointers. In the Hermitian routines alpha
 * and beta of ?herk, and beta of ?her2k, are real; the diagonal of C leaves
 * with a zero imaginary part. Nothing is validated.
 *
 * Failures: ?symm takes one pooled buffer first and returns without touching
 * C if it cannot; ?trmm and ?trsm return with B unchanged when their buffers
 * cannot be had; ?ptrmm then completes by its unblocked kernel. The others
 * allocate nothing of their own.
 */
#ifndef ZOR_LEVEL3_H
#define ZOR_LEVEL3_H

#include <stdint.h>
#include <zor/export.h>

#define ZOR_L3_ARGS_SYMM(E, S) \
  const char *side, const char *uplo, const int64_t *m, const int64_t *n, const S *alpha, const E *a, \
      const int64_t *lda, const E *b, const int64_t *ldb, const S *beta, E *c, const int64_t *ldc
#define ZOR_L3_ARGS_SYRK(E, S) \
  const char *uplo, const char *trans, const int64_t *n, const int64_t *k, const S *alpha, const E *a, \
      const int64_t *lda, const S *beta, E *c, const int64_t *ldc
#define ZOR_L3_ARGS_SYR2K(E, SA, SB) \
  const char *uplo, const char *trans, const int64_t *n, const int64_t *k, const SA *alpha, const E *a, \
      const int64_t *lda, const E *b, const int64_t *ldb, const SB *beta, E *c, const int64_t *ldc
#define ZOR_L3_ARGS_TRI(E) \
  const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m, const int64_t *n, \
      const E *alpha, const E *a, const int64_t *lda, E *b, const int64_t *ldb

/* ---- symmetric and Hermitian multiply */
ZOR_API void zor_blas_xssymm(ZOR_L3_ARGS_SYMM(float, float));
ZOR_API void zor_blas_xdsymm(ZOR_L3_ARGS_SYMM(double, double));
ZOR_API void zor_blas_xcsymm(ZOR_L3_ARGS_SYMM(void, void));
ZOR_API void zor_blas_xzsymm(ZOR_L3_ARGS_SYMM(void, void));
ZOR_API void zor_blas_xchemm(ZOR_L3_ARGS_SYMM(void, void));
ZOR_API void zor_blas_xzhemm(ZOR_L3_ARGS_SYMM(void, void));

/* ---- rank-k updates. k = 0 only scales the triangle by beta. The _pst
 * routines are the direct kernel (squares of 32 of the triangle, depth in
 * blocks of 72); dsyrk_4k the kernel of order 4. */
ZOR_API void zor_blas_xssyrk(ZOR_L3_ARGS_SYRK(float, float));
ZOR_API void zor_blas_xdsyrk(ZOR_L3_ARGS_SYRK(double, double));
ZOR_API void zor_blas_xcsyrk(ZOR_L3_ARGS_SYRK(void, void));
ZOR_API void zor_blas_xzsyrk(ZOR_L3_ARGS_SYRK(void, void));
ZOR_API void zor_blas_xcherk(ZOR_L3_ARGS_SYRK(void, float));
ZOR_API void zor_blas_xzherk(ZOR_L3_ARGS_SYRK(void, double));
ZOR_API void zor_blas_ssyrk_pst(ZOR_L3_ARGS_SYRK(float, float));
ZOR_API void zor_blas_dsyrk_pst(ZOR_L3_ARGS_SYRK(double, double));
ZOR_API void zor_blas_csyrk_pst(ZOR_L3_ARGS_SYRK(void, void));
ZOR_API void zor_blas_zsyrk_pst(ZOR_L3_ARGS_SYRK(void, void));
ZOR_API void zor_blas_cherk_pst(ZOR_L3_ARGS_SYRK(void, float));
ZOR_API void zor_blas_zherk_pst(ZOR_L3_ARGS_SYRK(void, double));
ZOR_API void zor_blas_dsyrk_4k(ZOR_L3_ARGS_SYRK(double, double));

/* ---- rank-2k updates */
ZOR_API void zor_blas_xssyr2k(ZOR_L3_ARGS_SYR2K(float, float, float));
ZOR_API void zor_blas_xdsyr2k(ZOR_L3_ARGS_SYR2K(double, double, double));
ZOR_API void zor_blas_xcsyr2k(ZOR_L3_ARGS_SYR2K(void, void, void));
ZOR_API void zor_blas_xzsyr2k(ZOR_L3_ARGS_SYR2K(void, void, void));
ZOR_API void zor_blas_xcher2k(ZOR_L3_ARGS_SYR2K(void, void, float));
ZOR_API void zor_blas_xzher2k(ZOR_L3_ARGS_SYR2K(void, void, double));

/* ---- triangular multiply and solve */
ZOR_API void zor_blas_xstrmm(ZOR_L3_ARGS_TRI(float));
ZOR_API void zor_blas_xdtrmm(ZOR_L3_ARGS_TRI(double));
ZOR_API void zor_blas_xctrmm(ZOR_L3_ARGS_TRI(void));
ZOR_API void zor_blas_xztrmm(ZOR_L3_ARGS_TRI(void));
ZOR_API void zor_blas_xstrsm(ZOR_L3_ARGS_TRI(float));
ZOR_API void zor_blas_xdtrsm(ZOR_L3_ARGS_TRI(double));
ZOR_API void zor_blas_xctrsm(ZOR_L3_ARGS_TRI(void));
ZOR_API void zor_blas_xztrsm(ZOR_L3_ARGS_TRI(void));
/* The same as ?trmm of their precision, served by zor_core. */
ZOR_API void zor_blas_xstrmm_4yfw(ZOR_L3_ARGS_TRI(float));
ZOR_API void zor_blas_xdtrmm_4yfw(ZOR_L3_ARGS_TRI(double));

/* ---- triangular multiply, A packed */
ZOR_API void zor_blas_xsptrmm(const char *side, const char *uplo, const char *transa, const char *diag,
                              const int64_t *m, const int64_t *n, const float *alpha, const float *ap, float *b,
                              const int64_t *ldb);
ZOR_API void zor_blas_xdptrmm(const char *side, const char *uplo, const char *transa, const char *diag,
                              const int64_t *m, const int64_t *n, const double *alpha, const double *ap, double *b,
                              const int64_t *ldb);

#undef ZOR_L3_ARGS_SYMM
#undef ZOR_L3_ARGS_SYRK
#undef ZOR_L3_ARGS_SYR2K
#undef ZOR_L3_ARGS_TRI

#endif
