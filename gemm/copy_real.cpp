// The panel copies of the real precisions, both rows, and their extended
// copies (bodies and layouts in gemm/copy_real.hpp).
#include <zor/gemm.h>

#include "gemm/copy_real.hpp"

namespace {
using I = const int64_t *;
using zor::gemm::copy_a;
using zor::gemm::copy_b;
using zor::gemm::copy_ext;
}  // namespace
using zor::S;
using zor::D;

// clang-format off
ZOR_API void zor_blas_sgemm_copyan(I m, I k, const float *src, I lda, float *buf, I stride, const float *alpha) { copy_a<S, false>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_dgemm_copyan(I m, I k, const double *src, I lda, double *buf, I stride, const double *alpha) { copy_a<D, false>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_sgemm_copyat(I m, I k, const float *src, I lda, float *buf, I stride, const float *alpha) { copy_a<S, true>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_dgemm_copyat(I m, I k, const double *src, I lda, double *buf, I stride, const double *alpha) { copy_a<D, true>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_sgemm_copyan_bvr(I m, I k, const float *src, I lda, float *buf, I stride, const float *alpha) { copy_a<S, false>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_dgemm_copyan_bvr(I m, I k, const double *src, I lda, double *buf, I stride, const double *alpha) { copy_a<D, false>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_sgemm_copyat_bvr(I m, I k, const float *src, I lda, float *buf, I stride, const float *alpha) { copy_a<S, true>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_dgemm_copyat_bvr(I m, I k, const double *src, I lda, double *buf, I stride, const double *alpha) { copy_a<D, true>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_sgemm_copybn(I k, I n, const float *src, I ldb, float *buf, I stride, const void *unused) { copy_b<S, false, 0>(k, n, src, ldb, buf, stride, unused); }
ZOR_API void zor_blas_dgemm_copybn(I k, I n, const double *src, I ldb, double *buf, I stride, const void *unused) { copy_b<D, false, 0>(k, n, src, ldb, buf, stride, unused); }
ZOR_API void zor_blas_sgemm_copybt(I k, I n, const float *src, I ldb, float *buf, I stride, const void *unused) { copy_b<S, true, 0>(k, n, src, ldb, buf, stride, unused); }
ZOR_API void zor_blas_dgemm_copybt(I k, I n, const double *src, I ldb, double *buf, I stride, const void *unused) { copy_b<D, true, 0>(k, n, src, ldb, buf, stride, unused); }
ZOR_API void zor_blas_sgemm_copybn_bvr(I k, I n, const float *src, I ldb, float *buf, I stride, const void *unused) { copy_b<S, false, 1>(k, n, src, ldb, buf, stride, unused); }
ZOR_API void zor_blas_dgemm_copybn_bvr(I k, I n, const double *src, I ldb, double *buf, I stride, const void *unused) { copy_b<D, false, 1>(k, n, src, ldb, buf, stride, unused); }
ZOR_API void zor_blas_sgemm_copybt_bvr(I k, I n, const float *src, I ldb, float *buf, I stride, const void *unused) { copy_b<S, true, 1>(k, n, src, ldb, buf, stride, unused); }
ZOR_API void zor_blas_dgemm_copybt_bvr(I k, I n, const double *src, I ldb, double *buf, I stride, const void *unused) { copy_b<D, true, 1>(k, n, src, ldb, buf, stride, unused); }
// Extended copies: request, form, rows, columns, complex source, leading dimension, real/imaginary/sum blocks, panel stride.
#define EXT_ARGS int32_t req, const char *trans, I rows, I cols, const void *src, I ld, void *re, void *im, void *sum, I stride
ZOR_API int32_t zor_blas_sgemm_copya_ext(EXT_ARGS) { return copy_ext<S, 0, true>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
ZOR_API int32_t zor_blas_dgemm_copya_ext(EXT_ARGS) { return copy_ext<D, 0, true>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
ZOR_API int32_t zor_blas_sgemm_copyb_ext(EXT_ARGS) { return copy_ext<S, 0, false>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
ZOR_API int32_t zor_blas_dgemm_copyb_ext(EXT_ARGS) { return copy_ext<D, 0, false>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
ZOR_API int32_t zor_blas_sgemm_copya_ext_bvr(EXT_ARGS) { return copy_ext<S, 1, true>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
ZOR_API int32_t zor_blas_dgemm_copya_ext_bvr(EXT_ARGS) { return copy_ext<D, 1, true>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
ZOR_API int32_t zor_blas_sgemm_copyb_ext_bvr(EXT_ARGS) { return copy_ext<S, 1, false>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
ZOR_API int32_t zor_blas_dgemm_copyb_ext_bvr(EXT_ARGS) { return copy_ext<D, 1, false>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
#undef EXT_ARGS
// clang-format on
