// The double kernel table and its blocking and buffer exports.
#include <zor/gemm.h>

#include "gemm/blocking.hpp"
#include "gemm/real.hpp"

using zor::D;
using I = const int64_t *;

// clang-format off
ZOR_API void zor_blas_dgemm_get_blks_size(I m, I n, I k, zor_gemm_desc *d) { zor::gemm::get_blks_size<D>(m, n, k, d); }
ZOR_API void zor_blas_dgemm_get_blks_size_bvr(I m, I n, I k, zor_gemm_desc *d) { zor::gemm::get_blks_size_bvr<D>(m, n, k, d); }
ZOR_API int32_t zor_blas_dgemm_get_bufs_size(int32_t req, int32_t mode, I m, I n, I k, zor_gemm_desc *d) { return zor::gemm::get_bufs_size<D>(req, mode, m, n, k, d); }
ZOR_API int32_t zor_blas_dgemm_get_bufs(int32_t req, void **base, zor_gemm_desc *d) { return zor::gemm::get_bufs<D>(req, base, d); }
ZOR_API void zor_blas_dgemm_free_bufs(void *base) { zor::gemm::free_bufs(base); }
ZOR_API int32_t zor_blas_dgemm_get_kernel(int32_t row, zor_gemm_desc *d) { return zor::gemm::get_kernel<D>(row, d); }
ZOR_API void zor_blas_dgemm_get_optimal_kernel(zor_gemm_desc *d) { zor::gemm::get_optimal_kernel<D>(d); }

namespace zor::gemm {

// The copies are exported with typed element pointers; the row holds them
// under the table's untyped signatures.
#define A_COPY(f) reinterpret_cast<CopyAFn>(f)
#define B_COPY(f) reinterpret_cast<CopyBFn>(f)

// Row 0 widens B into the duplication buffer; row 1 multiplies by lane swaps.
// The conjugate copies of a real row are the transposed ones.
template <> const KernelRow GemmTable<D>::rows[2] = {
  // um un uk dup mm mn mk mask  blocks, buffer sizes, buffers
  //                             copies of A: n, t, c; of B: n, t, c; kernel; extended copies of A, B
  {4, 4, 4, 2, 2, 2, 2, 382, zor_blas_dgemm_get_blks_size, zor_blas_dgemm_get_bufs_size, zor_blas_dgemm_get_bufs,
    A_COPY(zor_blas_dgemm_copyan), A_COPY(zor_blas_dgemm_copyat), A_COPY(zor_blas_dgemm_copyat),
    B_COPY(zor_blas_dgemm_copybn), B_COPY(zor_blas_dgemm_copybt), B_COPY(zor_blas_dgemm_copybt),
    gemm_kernel_d, zor_blas_dgemm_copya_ext, zor_blas_dgemm_copyb_ext},
  {4, 4, 4, 1, 4, 4, 4, 126, zor_blas_dgemm_get_blks_size_bvr, zor_blas_dgemm_get_bufs_size, zor_blas_dgemm_get_bufs,
    A_COPY(zor_blas_dgemm_copyan_bvr), A_COPY(zor_blas_dgemm_copyat_bvr), A_COPY(zor_blas_dgemm_copyat_bvr),
    B_COPY(zor_blas_dgemm_copybn_bvr), B_COPY(zor_blas_dgemm_copybt_bvr), B_COPY(zor_blas_dgemm_copybt_bvr),
    gemm_kernel_d_bvr, zor_blas_dgemm_copya_ext_bvr, zor_blas_dgemm_copyb_ext_bvr},
};
template <> const int32_t GemmTable<D>::row_of_answer[2] = {0, 1};

}  // namespace zor::gemm
// clang-format on
