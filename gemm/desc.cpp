// The descriptor routines that are the same in every precision: one body each,
// exported under the four precision letters.
#include <zor/gemm.h>

#include "gemm/desc.hpp"

// Clears everything but min_m, min_n, min_k and b_dup, which the next row
// copy sets anyway.
ZOR_API int32_t zor_blas_cgemm_zero_desc(zor_gemm_desc *d) {
  d->reserved = 0;
  d->kernel_index = 0;
  d->plan_mask = 0;
  d->block_m = d->block_n = d->block_k = 0;
  d->unroll_m = d->unroll_n = d->unroll_k = 0;
  d->a_buffer = nullptr;
  d->a_panel_stride = d->a_bytes = 0;
  d->a_align_log2 = 0;
  d->b_buffer = nullptr;
  d->b_panel_stride = d->b_bytes = 0;
  d->b_align_log2 = 0;
  d->get_blks_size = nullptr;
  d->get_bufs_size = nullptr;
  d->get_bufs = nullptr;
  d->copy_an = d->copy_at = d->copy_ac = nullptr;
  d->copy_bn = d->copy_bt = d->copy_bc = nullptr;
  d->copy_a_ext = d->copy_b_ext = nullptr;
  d->kernel = nullptr;
  d->dup_buffer = nullptr;
  d->dup_bytes = 0;
  d->dup_align_log2 = 0;
  return 0;
}

ZOR_API void zor_blas_cgemm_num_kernels(int32_t *count) { *count = 2; }

ZOR_API int32_t zor_blas_cgemm_api_support(void) { return 1; }

ZOR_API void zor_blas_cgemm_set_blks_size(int64_t block_m, int64_t block_n, int64_t block_k, zor_gemm_desc *d) {
  d->block_m = block_m;
  d->block_n = block_n;
  d->block_k = block_k;
}

#define ZOR_GEMM_ALIAS(target) extern "C" __attribute__((visibility("default"), alias(#target)))
ZOR_GEMM_ALIAS(zor_blas_cgemm_zero_desc) int32_t zor_blas_dgemm_zero_desc(zor_gemm_desc *);
ZOR_GEMM_ALIAS(zor_blas_cgemm_zero_desc) int32_t zor_blas_sgemm_zero_desc(zor_gemm_desc *);
ZOR_GEMM_ALIAS(zor_blas_cgemm_zero_desc) int32_t zor_blas_zgemm_zero_desc(zor_gemm_desc *);
ZOR_GEMM_ALIAS(zor_blas_cgemm_num_kernels) void zor_blas_dgemm_num_kernels(int32_t *);
ZOR_GEMM_ALIAS(zor_blas_cgemm_num_kernels) void zor_blas_sgemm_num_kernels(int32_t *);
ZOR_GEMM_ALIAS(zor_blas_cgemm_num_kernels) void zor_blas_zgemm_num_kernels(int32_t *);
ZOR_GEMM_ALIAS(zor_blas_cgemm_api_support) int32_t zor_blas_dgemm_api_support(void);
ZOR_GEMM_ALIAS(zor_blas_cgemm_api_support) int32_t zor_blas_sgemm_api_support(void);
ZOR_GEMM_ALIAS(zor_blas_cgemm_api_support) int32_t zor_blas_zgemm_api_support(void);
ZOR_GEMM_ALIAS(zor_blas_cgemm_set_blks_size) void zor_blas_dgemm_set_blks_size(int64_t, int64_t, int64_t, zor_gemm_desc *);
ZOR_GEMM_ALIAS(zor_blas_cgemm_set_blks_size) void zor_blas_sgemm_set_blks_size(int64_t, int64_t, int64_t, zor_gemm_desc *);
ZOR_GEMM_ALIAS(zor_blas_cgemm_set_blks_size) void zor_blas_zgemm_set_blks_size(int64_t, int64_t, int64_t, zor_gemm_desc *);
