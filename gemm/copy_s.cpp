// The float panel copies of both rows (layouts in gemm/copy_real.hpp).
#include <zor/gemm.h>

#include "gemm/copy_real.hpp"

using zor::S;
using zor::gemm::copy_a;
using zor::gemm::copy_b;
using zor::gemm::copy_ext;
using I = const int64_t *;

// clang-format off
ZOR_API void zor_blas_sgemm_copyan(I m, I k, const float *src, I lda, float *buf, I stride, const float *alpha) { copy_a<S, false>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_sgemm_copyat(I m, I k, const float *src, I lda, float *buf, I stride, const float *alpha) { copy_a<S, true>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_sgemm_copyan_bvr(I m, I k, const float *src, I lda, float *buf, I stride, const float *alpha) { copy_a<S, false>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_sgemm_copyat_bvr(I m, I k, const float *src, I lda, float *buf, I stride, const float *alpha) { copy_a<S, true>(m, k, src, lda, buf, stride, alpha); }
ZOR_API void zor_blas_sgemm_copybn(I k, I n, const float *src, I ldb, float *buf, I stride, const void *unused) { copy_b<S, false, 0>(k, n, src, ldb, buf, stride, unused); }
ZOR_API void zor_blas_sgemm_copybt(I k, I n, const float *src, I ldb, float *buf, I stride, const void *unused) { copy_b<S, true, 0>(k, n, src, ldb, buf, stride, unused); }
ZOR_API void zor_blas_sgemm_copybn_bvr(I k, I n, const float *src, I ldb, float *buf, I stride, const void *unused) { copy_b<S, false, 1>(k, n, src, ldb, buf, stride, unused); }
ZOR_API void zor_blas_sgemm_copybt_bvr(I k, I n, const float *src, I ldb, float *buf, I stride, const void *unused) { copy_b<S, true, 1>(k, n, src, ldb, buf, stride, unused); }
// Extended copies: request, form, rows, columns, complex source, leading dimension, real/imaginary/sum blocks, panel stride.
#define EXT_ARGS int32_t req, const char *trans, I rows, I cols, const void *src, I ld, void *re, void *im, void *sum, I stride
ZOR_API int32_t zor_blas_sgemm_copya_ext(EXT_ARGS) { return copy_ext<S, 0, true>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
ZOR_API int32_t zor_blas_sgemm_copyb_ext(EXT_ARGS) { return copy_ext<S, 0, false>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
ZOR_API int32_t zor_blas_sgemm_copya_ext_bvr(EXT_ARGS) { return copy_ext<S, 1, true>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
ZOR_API int32_t zor_blas_sgemm_copyb_ext_bvr(EXT_ARGS) { return copy_ext<S, 1, false>(req, trans, rows, cols, src, ld, re, im, sum, stride); }
// clang-format on
