// The double complex kernel table and its blocking and buffer exports.
#include <zor/gemm_complex.h>

#include "gemm/blocking.hpp"
#include "gemm/kernel_complex.hpp"

using zor::Z;
using I = const int64_t *;

// clang-format off
ZOR_API void zor_blas_zgemm_get_blks_size(I m, I n, I k, zor_gemm_desc *d) { zor::gemm::get_blks_size<Z>(m, n, k, d); }
ZOR_API void zor_blas_zgemm_get_blks_size_bvr(I m, I n, I k, zor_gemm_desc *d) { zor::gemm::get_blks_size_bvr<Z>(m, n, k, d); }
ZOR_API int32_t zor_blas_zgemm_get_bufs_size(int32_t req, int32_t mode, I m, I n, I k, zor_gemm_desc *d) { return zor::gemm::get_bufs_size<Z>(req, mode, m, n, k, d); }
ZOR_API int32_t zor_blas_zgemm_get_bufs(int32_t req, void **base, zor_gemm_desc *d) { return zor::gemm::get_bufs<Z>(req, base, d); }
ZOR_API void zor_blas_zgemm_free_bufs(void *base) { zor::gemm::free_bufs(base); }
ZOR_API int32_t zor_blas_zgemm_get_kernel(int32_t row, zor_gemm_desc *d) { return zor::gemm::get_kernel<Z>(row, d); }
ZOR_API void zor_blas_zgemm_get_optimal_kernel(zor_gemm_desc *d) { zor::gemm::get_optimal_kernel<Z>(d); }

namespace zor::gemm {

// Both rows: alpha goes in with the A copy, the plans are 2, 8, 32 and 64
// (B is always packed), and both rows' extended copies are the tiny
// complex routine.
template <> const KernelRow GemmTable<Z>::rows[2] = {
  // um un uk dup mm mn mk mask  blocks, buffer sizes, buffers
  //                             copies of A: n, t, c; of B: n, t, c; kernel; extended copies of A, B
  {2, 2, 2, 2, 2, 2, 2, 106, zor_blas_zgemm_get_blks_size, zor_blas_zgemm_get_bufs_size, zor_blas_zgemm_get_bufs,
    zor_blas_zgemm_copyan, zor_blas_zgemm_copyat, zor_blas_zgemm_copyac,
    zor_blas_zgemm_copybn, zor_blas_zgemm_copybt, zor_blas_zgemm_copybc,
    gemm_kernel_z, zor_blas_cgemm_copya_ext, zor_blas_cgemm_copya_ext},
  {2, 2, 4, 1, 2, 2, 4, 106, zor_blas_zgemm_get_blks_size_bvr, zor_blas_zgemm_get_bufs_size, zor_blas_zgemm_get_bufs,
    zor_blas_zgemm_copyan_bvr, zor_blas_zgemm_copyat_bvr, zor_blas_zgemm_copyac_bvr,
    zor_blas_zgemm_copybn_bvr, zor_blas_zgemm_copybt_bvr, zor_blas_zgemm_copybc_bvr,
    gemm_kernel_z_bvr, zor_blas_cgemm_copya_ext, zor_blas_cgemm_copya_ext},
};
template <> const int32_t GemmTable<Z>::row_of_answer[2] = {0, 1};

}  // namespace zor::gemm
// clang-format on
