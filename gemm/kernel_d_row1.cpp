// gemm_kernel_d_bvr: the row 1 micro-kernel instantiated for D.
// Contract and register use: gemm/kernel_row1.hpp.
#include "gemm/kernel_row1.hpp"
#include "gemm/real.hpp"

namespace zor::gemm {

void gemm_kernel_d_bvr(const char *transa, const char *transb, const int64_t *m, const int64_t *n, const int64_t *k,
                   const void *alpha, const void *a, const int64_t *a_stride, const void *b, const int64_t *ldb,
                   const void *beta, void *c, const int64_t *ldc, void *dup, int32_t flag) {
  kernel_row1<D>(transa, transb, m, n, k, alpha, a, a_stride, b, ldb, beta, c, ldc, dup, flag);
}

}  // namespace zor::gemm
