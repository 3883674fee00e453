// The kernel tables of the four precisions, one column each, and the
// per-precision exports of the block rules, buffers and row selection.
//
// Each line of a table is one field of a kernel row, in the order a row holds
// it; the columns give its value in s, d, c and z. gemm/desc.hpp tells what
// the fields mean. The processor's answer (0 or 1) selects the row of the same
// number in every precision.
#include <zor/gemm.h>
#include <zor/gemm_complex.h>

#include "gemm/blocking.hpp"
#include "gemm/kernel_entry.hpp"

namespace zor::gemm {

// clang-format off
// The real copies are exported with typed element pointers; a row holds every
// copy under the untyped signatures of gemm/desc.hpp.
#define A(f) reinterpret_cast<CopyAFn>(f)
#define B(f) reinterpret_cast<CopyBFn>(f)

// Row 0, the earlier generation: B widened per column group into b_dup copies
// of each real, so the depth loop has no shuffles. A real row's conjugate
// copies are its transposed ones; the complex rows' extended copies are one
// routine that copies nothing.
//  field           s                                   d                                   c                                   z
#define ZOR_GEMM_ROW0(X) \
  X(unroll_m,       8,                                  4,                                  4,                                  2)                             \
  X(unroll_n,       4,                                  4,                                  2,                                  2)                             \
  X(unroll_k,       4,                                  4,                                  2,                                  2)                             \
  X(b_dup,          4,                                  2,                                  4,                                  2)                             \
  X(min_m,          8,                                  2,                                  4,                                  2)                             \
  X(min_n,          2,                                  2,                                  2,                                  2)                             \
  X(min_k,          2,                                  2,                                  2,                                  2)                             \
  X(plan_mask,      382,                                382,                                106,                                106)                           \
  X(get_blks_size,  zor_blas_sgemm_get_blks_size,       zor_blas_dgemm_get_blks_size,       zor_blas_cgemm_get_blks_size,       zor_blas_zgemm_get_blks_size)  \
  X(get_bufs_size,  zor_blas_sgemm_get_bufs_size,       zor_blas_dgemm_get_bufs_size,       zor_blas_cgemm_get_bufs_size,       zor_blas_zgemm_get_bufs_size)  \
  X(get_bufs,       zor_blas_sgemm_get_bufs,            zor_blas_dgemm_get_bufs,            zor_blas_cgemm_get_bufs,            zor_blas_zgemm_get_bufs)       \
  X(copy_an,        A(zor_blas_sgemm_copyan),           A(zor_blas_dgemm_copyan),           zor_blas_cgemm_copyan,              zor_blas_zgemm_copyan)         \
  X(copy_at,        A(zor_blas_sgemm_copyat),           A(zor_blas_dgemm_copyat),           zor_blas_cgemm_copyat,              zor_blas_zgemm_copyat)         \
  X(copy_ac,        A(zor_blas_sgemm_copyat),           A(zor_blas_dgemm_copyat),           zor_blas_cgemm_copyac,              zor_blas_zgemm_copyac)         \
  X(copy_bn,        B(zor_blas_sgemm_copybn),           B(zor_blas_dgemm_copybn),           zor_blas_cgemm_copybn,              zor_blas_zgemm_copybn)         \
  X(copy_bt,        B(zor_blas_sgemm_copybt),           B(zor_blas_dgemm_copybt),           zor_blas_cgemm_copybt,              zor_blas_zgemm_copybt)         \
  X(copy_bc,        B(zor_blas_sgemm_copybt),           B(zor_blas_dgemm_copybt),           zor_blas_cgemm_copybc,              zor_blas_zgemm_copybc)         \
  X(kernel,         (gemm_kernel<S, 0>),                (gemm_kernel<D, 0>),                (gemm_kernel<C, 0>),                (gemm_kernel<Z, 0>))           \
  X(copy_a_ext,     zor_blas_sgemm_copya_ext,           zor_blas_dgemm_copya_ext,           zor_blas_cgemm_copya_ext,           zor_blas_cgemm_copya_ext)      \
  X(copy_b_ext,     zor_blas_sgemm_copyb_ext,           zor_blas_dgemm_copyb_ext,           zor_blas_cgemm_copya_ext,           zor_blas_cgemm_copya_ext)     

// Row 1, the later generation: lane-swapped products instead of a full
// widening (b_dup 1 or 2), depth padded to 4 everywhere, tail panels of B a
// whole number of vectors wide; no in-place B in the complex rows.
//  field           s                                   d                                   c                                   z
#define ZOR_GEMM_ROW1(X) \
  X(unroll_m,       8,                                  4,                                  4,                                  2)                                 \
  X(unroll_n,       4,                                  4,                                  2,                                  2)                                 \
  X(unroll_k,       4,                                  4,                                  4,                                  4)                                 \
  X(b_dup,          2,                                  1,                                  2,                                  1)                                 \
  X(min_m,          8,                                  4,                                  4,                                  2)                                 \
  X(min_n,          4,                                  4,                                  2,                                  2)                                 \
  X(min_k,          4,                                  4,                                  4,                                  4)                                 \
  X(plan_mask,      126,                                126,                                106,                                106)                               \
  X(get_blks_size,  zor_blas_sgemm_get_blks_size_bvr,   zor_blas_dgemm_get_blks_size_bvr,   zor_blas_cgemm_get_blks_size_bvr,   zor_blas_zgemm_get_blks_size_bvr)  \
  X(get_bufs_size,  zor_blas_sgemm_get_bufs_size,       zor_blas_dgemm_get_bufs_size,       zor_blas_cgemm_get_bufs_size,       zor_blas_zgemm_get_bufs_size)      \
  X(get_bufs,       zor_blas_sgemm_get_bufs,            zor_blas_dgemm_get_bufs,            zor_blas_cgemm_get_bufs,            zor_blas_zgemm_get_bufs)           \
  X(copy_an,        A(zor_blas_sgemm_copyan_bvr),       A(zor_blas_dgemm_copyan_bvr),       zor_blas_cgemm_copyan_bvr,          zor_blas_zgemm_copyan_bvr)         \
  X(copy_at,        A(zor_blas_sgemm_copyat_bvr),       A(zor_blas_dgemm_copyat_bvr),       zor_blas_cgemm_copyat_bvr,          zor_blas_zgemm_copyat_bvr)         \
  X(copy_ac,        A(zor_blas_sgemm_copyat_bvr),       A(zor_blas_dgemm_copyat_bvr),       zor_blas_cgemm_copyac_bvr,          zor_blas_zgemm_copyac_bvr)         \
  X(copy_bn,        B(zor_blas_sgemm_copybn_bvr),       B(zor_blas_dgemm_copybn_bvr),       zor_blas_cgemm_copybn_bvr,          zor_blas_zgemm_copybn_bvr)         \
  X(copy_bt,        B(zor_blas_sgemm_copybt_bvr),       B(zor_blas_dgemm_copybt_bvr),       zor_blas_cgemm_copybt_bvr,          zor_blas_zgemm_copybt_bvr)         \
  X(copy_bc,        B(zor_blas_sgemm_copybt_bvr),       B(zor_blas_dgemm_copybt_bvr),       zor_blas_cgemm_copybc_bvr,          zor_blas_zgemm_copybc_bvr)         \
  X(kernel,         (gemm_kernel<S, 1>),                (gemm_kernel<D, 1>),                (gemm_kernel<C, 1>),                (gemm_kernel<Z, 1>))               \
  X(copy_a_ext,     zor_blas_sgemm_copya_ext_bvr,       zor_blas_dgemm_copya_ext_bvr,       zor_blas_cgemm_copya_ext,           zor_blas_cgemm_copya_ext)          \
  X(copy_b_ext,     zor_blas_sgemm_copyb_ext_bvr,       zor_blas_dgemm_copyb_ext_bvr,       zor_blas_cgemm_copya_ext,           zor_blas_cgemm_copya_ext)         

// The processor's answer to the row.
//  answer          s                                   d                                   c                                   z
#define ZOR_GEMM_ROW_OF_ANSWER(X) \
  X(0,              0,                                  0,                                  0,                                  0)  \
  X(1,              1,                                  1,                                  1,                                  1) 

#define ZOR_PICK_S(field, s, d, c, z) .field = s,
#define ZOR_PICK_D(field, s, d, c, z) .field = d,
#define ZOR_PICK_C(field, s, d, c, z) .field = c,
#define ZOR_PICK_Z(field, s, d, c, z) .field = z,
#define ZOR_ANSWER_S(answer, s, d, c, z) s,
#define ZOR_ANSWER_D(answer, s, d, c, z) d,
#define ZOR_ANSWER_C(answer, s, d, c, z) c,
#define ZOR_ANSWER_Z(answer, s, d, c, z) z,
template <> const KernelRow GemmTable<S>::rows[2] = {{ZOR_GEMM_ROW0(ZOR_PICK_S)}, {ZOR_GEMM_ROW1(ZOR_PICK_S)}};
template <> const KernelRow GemmTable<D>::rows[2] = {{ZOR_GEMM_ROW0(ZOR_PICK_D)}, {ZOR_GEMM_ROW1(ZOR_PICK_D)}};
template <> const KernelRow GemmTable<C>::rows[2] = {{ZOR_GEMM_ROW0(ZOR_PICK_C)}, {ZOR_GEMM_ROW1(ZOR_PICK_C)}};
template <> const KernelRow GemmTable<Z>::rows[2] = {{ZOR_GEMM_ROW0(ZOR_PICK_Z)}, {ZOR_GEMM_ROW1(ZOR_PICK_Z)}};
template <> const int32_t GemmTable<S>::row_of_answer[2] = {ZOR_GEMM_ROW_OF_ANSWER(ZOR_ANSWER_S)};
template <> const int32_t GemmTable<D>::row_of_answer[2] = {ZOR_GEMM_ROW_OF_ANSWER(ZOR_ANSWER_D)};
template <> const int32_t GemmTable<C>::row_of_answer[2] = {ZOR_GEMM_ROW_OF_ANSWER(ZOR_ANSWER_C)};
template <> const int32_t GemmTable<Z>::row_of_answer[2] = {ZOR_GEMM_ROW_OF_ANSWER(ZOR_ANSWER_Z)};
// clang-format on

}  // namespace zor::gemm

// The block rules, buffers and row selection of each precision.
namespace {
using I = const int64_t *;
using namespace zor::gemm;
}  // namespace
using zor::S;
using zor::D;
using zor::C;
using zor::Z;

// clang-format off
ZOR_API void zor_blas_sgemm_get_blks_size(I m, I n, I k, zor_gemm_desc *d) { get_blks_size<S>(m, n, k, d); }
ZOR_API void zor_blas_dgemm_get_blks_size(I m, I n, I k, zor_gemm_desc *d) { get_blks_size<D>(m, n, k, d); }
ZOR_API void zor_blas_cgemm_get_blks_size(I m, I n, I k, zor_gemm_desc *d) { get_blks_size<C>(m, n, k, d); }
ZOR_API void zor_blas_zgemm_get_blks_size(I m, I n, I k, zor_gemm_desc *d) { get_blks_size<Z>(m, n, k, d); }
ZOR_API void zor_blas_sgemm_get_blks_size_bvr(I m, I n, I k, zor_gemm_desc *d) { get_blks_size_bvr<S>(m, n, k, d); }
ZOR_API void zor_blas_dgemm_get_blks_size_bvr(I m, I n, I k, zor_gemm_desc *d) { get_blks_size_bvr<D>(m, n, k, d); }
ZOR_API void zor_blas_cgemm_get_blks_size_bvr(I m, I n, I k, zor_gemm_desc *d) { get_blks_size_bvr<C>(m, n, k, d); }
ZOR_API void zor_blas_zgemm_get_blks_size_bvr(I m, I n, I k, zor_gemm_desc *d) { get_blks_size_bvr<Z>(m, n, k, d); }
ZOR_API int32_t zor_blas_sgemm_get_bufs_size(int32_t req, int32_t mode, I m, I n, I k, zor_gemm_desc *d) { return get_bufs_size<S>(req, mode, m, n, k, d); }
ZOR_API int32_t zor_blas_dgemm_get_bufs_size(int32_t req, int32_t mode, I m, I n, I k, zor_gemm_desc *d) { return get_bufs_size<D>(req, mode, m, n, k, d); }
ZOR_API int32_t zor_blas_cgemm_get_bufs_size(int32_t req, int32_t mode, I m, I n, I k, zor_gemm_desc *d) { return get_bufs_size<C>(req, mode, m, n, k, d); }
ZOR_API int32_t zor_blas_zgemm_get_bufs_size(int32_t req, int32_t mode, I m, I n, I k, zor_gemm_desc *d) { return get_bufs_size<Z>(req, mode, m, n, k, d); }
ZOR_API int32_t zor_blas_sgemm_get_bufs(int32_t req, void **base, zor_gemm_desc *d) { return get_bufs<S>(req, base, d); }
ZOR_API int32_t zor_blas_dgemm_get_bufs(int32_t req, void **base, zor_gemm_desc *d) { return get_bufs<D>(req, base, d); }
ZOR_API int32_t zor_blas_cgemm_get_bufs(int32_t req, void **base, zor_gemm_desc *d) { return get_bufs<C>(req, base, d); }
ZOR_API int32_t zor_blas_zgemm_get_bufs(int32_t req, void **base, zor_gemm_desc *d) { return get_bufs<Z>(req, base, d); }
ZOR_API void zor_blas_sgemm_free_bufs(void *base) { free_bufs(base); }
ZOR_API void zor_blas_dgemm_free_bufs(void *base) { free_bufs(base); }
ZOR_API void zor_blas_cgemm_free_bufs(void *base) { free_bufs(base); }
ZOR_API void zor_blas_zgemm_free_bufs(void *base) { free_bufs(base); }
ZOR_API int32_t zor_blas_sgemm_get_kernel(int32_t row, zor_gemm_desc *d) { return get_kernel<S>(row, d); }
ZOR_API int32_t zor_blas_dgemm_get_kernel(int32_t row, zor_gemm_desc *d) { return get_kernel<D>(row, d); }
ZOR_API int32_t zor_blas_cgemm_get_kernel(int32_t row, zor_gemm_desc *d) { return get_kernel<C>(row, d); }
ZOR_API int32_t zor_blas_zgemm_get_kernel(int32_t row, zor_gemm_desc *d) { return get_kernel<Z>(row, d); }
ZOR_API void zor_blas_sgemm_get_optimal_kernel(zor_gemm_desc *d) { get_optimal_kernel<S>(d); }
ZOR_API void zor_blas_dgemm_get_optimal_kernel(zor_gemm_desc *d) { get_optimal_kernel<D>(d); }
ZOR_API void zor_blas_cgemm_get_optimal_kernel(zor_gemm_desc *d) { get_optimal_kernel<C>(d); }
ZOR_API void zor_blas_zgemm_get_optimal_kernel(zor_gemm_desc *d) { get_optimal_kernel<Z>(d); }
// clang-format on
