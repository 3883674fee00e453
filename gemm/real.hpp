// Micro-kernel entries of the real precisions, bound by their table rows.
#pragma once
#include <cstdint>

namespace zor::gemm {

#define ZOR_GEMM_KERNEL_ARGS                                                                                      \
  const char *transa, const char *transb, const int64_t *m, const int64_t *n, const int64_t *k, const void *alpha, \
      const void *a, const int64_t *a_stride, const void *b, const int64_t *ldb, const void *beta, void *c,        \
      const int64_t *ldc, void *dup, int32_t flag
void gemm_kernel_d(ZOR_GEMM_KERNEL_ARGS);
void gemm_kernel_d_bvr(ZOR_GEMM_KERNEL_ARGS);
void gemm_kernel_s(ZOR_GEMM_KERNEL_ARGS);
void gemm_kernel_s_bvr(ZOR_GEMM_KERNEL_ARGS);
#undef ZOR_GEMM_KERNEL_ARGS

}  // namespace zor::gemm
