// The float kernel table and its blocking and buffer exports.
#include <zor/gemm.h>

#include "gemm/blocking.hpp"
#include "gemm/real.hpp"

using zor::S;
using I = const int64_t *;

// clang-format off
ZOR_API void zor_blas_sgemm_get_blks_size(I m, I n, I k, zor_gemm_desc *d) { zor::gemm::get_blks_size<S>(m, n, k, d); }
ZOR_API void zor_blas_sgemm_get_blks_size_bvr(I m, I n, I k, zor_gemm_desc *d) { zor::gemm::get_blks_size_bvr<S>(m, n, k, d); }
ZOR_API int32_t zor_blas_sgemm_get_bufs_size(int32_t req, int32_t mode, I m, I n, I k, zor_gemm_desc *d) { return zor::gemm::get_bufs_size<S>(req, mode, m, n, k, d); }
ZOR_API int32_t zor_blas_sgemm_get_bufs(int32_t req, void **base, zor_gemm_desc *d) { return zor::gemm::get_bufs<S>(req, base, d); }
ZOR_API void zor_blas_sgemm_free_bufs(void *base) { zor::gemm::free_bufs(base); }
ZOR_API int32_t zor_blas_sgemm_get_kernel(int32_t row, zor_gemm_desc *d) { return zor::gemm::get_kernel<S>(row, d); }
ZOR_API void zor_blas_sgemm_get_optimal_kernel(zor_gemm_desc *d) { zor::gemm::get_optimal_kernel<S>(d); }

namespace zor::gemm {

// The copies are exported with typed element pointers; the row holds them
// under the table's untyped signatures.
#define A_COPY(f) reinterpret_cast<CopyAFn>(f)
#define B_COPY(f) reinterpret_cast<CopyBFn>(f)

// Row 0 widens B into the duplication buffer; row 1 multiplies by lane swaps.
// The conjugate copies of a real row are the transposed ones.
template <> const KernelRow GemmTable<S>::rows[2] = {
  // um un uk dup mm mn mk mask  blocks, buffer sizes, buffers
  //                             copies of A: n, t, c; of B: n, t, c; kernel; extended copies of A, B
  {8, 4, 4, 4, 8, 2, 2, 382, zor_blas_sgemm_get_blks_size, zor_blas_sgemm_get_bufs_size, zor_blas_sgemm_get_bufs,
    A_COPY(zor_blas_sgemm_copyan), A_COPY(zor_blas_sgemm_copyat), A_COPY(zor_blas_sgemm_copyat),
    B_COPY(zor_blas_sgemm_copybn), B_COPY(zor_blas_sgemm_copybt), B_COPY(zor_blas_sgemm_copybt),
    gemm_kernel_s, zor_blas_sgemm_copya_ext, zor_blas_sgemm_copyb_ext},
  {8, 4, 4, 2, 8, 4, 4, 126, zor_blas_sgemm_get_blks_size_bvr, zor_blas_sgemm_get_bufs_size, zor_blas_sgemm_get_bufs,
    A_COPY(zor_blas_sgemm_copyan_bvr), A_COPY(zor_blas_sgemm_copyat_bvr), A_COPY(zor_blas_sgemm_copyat_bvr),
    B_COPY(zor_blas_sgemm_copybn_bvr), B_COPY(zor_blas_sgemm_copybt_bvr), B_COPY(zor_blas_sgemm_copybt_bvr),
    gemm_kernel_s_bvr, zor_blas_sgemm_copya_ext_bvr, zor_blas_sgemm_copyb_ext_bvr},
};
template <> const int32_t GemmTable<S>::row_of_answer[2] = {0, 1};

}  // namespace zor::gemm
// clang-format on
