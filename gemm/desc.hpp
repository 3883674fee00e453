// The GEMM descriptor, the per-precision kernel tables and the types of the
// functions a descriptor binds.
//
// How a precision plugs into the engine
// -------------------------------------
// A precision T (zor::S, D, C, Z from frame/traits.hpp) supplies:
//   1. its column of the kernel tables in gemm/tables.cpp
//      (`GemmTable<T>::rows[2]`: row 0 for the earlier processor generation,
//      row 1 for the later one; `GemmTable<T>::row_of_answer[2]`) with the
//      unrolls, b_dup, min_*, plan_mask and twelve bound functions;
//   2. its panel copies (copy_an/at/ac, copy_bn/bt/bc, both rows) with the
//      CopyAFn / CopyBFn signatures below, writing the layouts of
//      gemm/panels.hpp;
//   3. the main kernels of each row (the micro-kernel entry itself,
//      gemm/kernel_entry.hpp, is one body for every precision and row);
//   4. its drivers: one-line exports instantiating gemm/driver.hpp (xgemm,
//      xgemm_par, mscale); the block rules, buffers and row selection of
//      gemm/blocking.hpp are exported from gemm/tables.cpp.
// The block rules, buffer rules, drivers and kernel entries are written once
// over the element traits; all that differs between precisions lives in the
// table columns, the copies and the main kernels. Shared precision-free exports (zero_desc,
// num_kernels, api_support, set_blks_size) are in gemm/desc.cpp.
//
// Conventions of the bound functions: integers by reference as 64-bit signed
// values, element pointers untyped (the precision is the table's), request and
// mode codes and the kernel flag as 32-bit values.
#pragma once
#include <cstdint>

#include <zor/gemm.h>

#include "frame/traits.hpp"

struct zor_gemm_desc;

namespace zor::gemm {

using GemmDesc = ::zor_gemm_desc;

// Fills the block fields of the descriptor that are 0, from M, N, K.
using BlksSizeFn = void (*)(const int64_t *m, const int64_t *n, const int64_t *k, GemmDesc *desc);
// Sizes the buffers named by `request` (100..106); mode 107 sizes for
// min(block, dimension), 108 for the blocks themselves. 0, or 1 if refused.
using BufsSizeFn = int32_t (*)(int32_t request, int32_t mode, const int64_t *m, const int64_t *n, const int64_t *k,
                               GemmDesc *desc);
// One pooled allocation for the wanted buffers; *base receives it (null on
// failure). 0, or 1 for a refused request.
using BufsFn = int32_t (*)(int32_t request, void **base, GemmDesc *desc);
// Packs an m x k block of op(A) into panels, multiplying by *alpha.
using CopyAFn = void (*)(const int64_t *m, const int64_t *k, const void *src, const int64_t *lda, void *buffer,
                         const int64_t *panel_stride, const void *alpha);
// Packs a k x n block of op(B) into panels; the last argument is not read.
using CopyBFn = void (*)(const int64_t *k, const int64_t *n, const void *src, const int64_t *ldb, void *buffer,
                         const int64_t *panel_stride, const void *unused);
// Micro-kernel entry: C += A x B on packed A panels and packed (flag 2) or
// in-place (flag 3) B. alpha is not read; beta only for a test against zero.
using KernelFn = void (*)(const char *transa, const char *transb, const int64_t *m, const int64_t *n,
                          const int64_t *k, const void *alpha, const void *a, const int64_t *a_stride,
                          const void *b, const int64_t *ldb_or_stride, const void *beta, void *c,
                          const int64_t *ldc, void *dup, int32_t flag);
// Extended copies of the three-multiplication path. Real rows: request 256
// splits a complex block (transposition flag `trans`, m x k for A, k x n for
// B) straight into three packed real panel blocks (real, imaginary, their
// sum). The complex rows' routine reads only the request code.
using CopyExtFn = int32_t (*)(int32_t request, const char *trans, const int64_t *rows, const int64_t *cols,
                              const void *src, const int64_t *ld, void *re, void *im, void *sum,
                              const int64_t *panel_stride);

// Copy plans of xgemm_par and the bit of plan_mask for the
// three-multiplication packed format.
enum Plan : int32_t { kPlanChoose = 0, kPlanPackAB = 2, kPlanPackA = 4, kPlanPrepackedA = 8,
                      kPlanPrepackedANoB = 16, kPlanPrepackedB = 32, kPlanPrepackedAB = 64 };
constexpr int32_t kPlanMask3m = 256;

// Buffer requests and sizing modes.
enum BufRequest : int32_t { kReqABDup = 100, kReqA = 101, kReqB = 102, kReqAB = 103, kReqBDup = 104,
                            kReqADup = 105, kReqDup = 106 };
enum BufMode : int32_t { kModeWorking = 107, kModeBlocks = 108 };

// Micro-kernel flags.
constexpr int32_t kFlagPackedB = 2;
constexpr int32_t kFlagInPlaceB = 3;

// One row of a precision's kernel table, in the order the rows are written.
struct KernelRow {
  int64_t unroll_m, unroll_n, unroll_k;
  int32_t b_dup;
  int64_t min_m, min_n, min_k;
  int32_t plan_mask;
  BlksSizeFn get_blks_size;
  BufsSizeFn get_bufs_size;
  BufsFn get_bufs;
  CopyAFn copy_an, copy_at, copy_ac;
  CopyBFn copy_bn, copy_bt, copy_bc;
  KernelFn kernel;
  CopyExtFn copy_a_ext, copy_b_ext;
};

// A precision's table: its column of gemm/tables.cpp.
template <class T>
struct GemmTable {
  static const KernelRow rows[2];
  static const int32_t row_of_answer[2];  // processor answer 0 or 1 -> row
};
template <> const KernelRow GemmTable<S>::rows[2];
template <> const KernelRow GemmTable<D>::rows[2];
template <> const KernelRow GemmTable<C>::rows[2];
template <> const KernelRow GemmTable<Z>::rows[2];
template <> const int32_t GemmTable<S>::row_of_answer[2];
template <> const int32_t GemmTable<D>::row_of_answer[2];
template <> const int32_t GemmTable<C>::row_of_answer[2];
template <> const int32_t GemmTable<Z>::row_of_answer[2];

}  // namespace zor::gemm

// The descriptor of one GEMM-class call; one record serves all precisions.
// Lives on the caller's stack; the field order is internal to the library.
struct zor_gemm_desc {
  int32_t reserved;        // cleared, not used
  int32_t kernel_index;    // the table row in use
  int32_t plan_mask;       // copy plans the row supports (bit = plan number), 256: 3m format
  int64_t block_m;         // rows of A per block; 0: not yet set
  int64_t block_n;         // columns of B per block
  int64_t block_k;         // depth per block
  int64_t unroll_m;        // A panel width; smallest M of the blocked path
  int64_t unroll_n;        // B panel width; smallest N of the blocked path
  int64_t unroll_k;        // depth padding multiple; smallest K of the blocked path
  int64_t min_m;           // second thresholds, inside the driver
  int64_t min_n;
  int64_t min_k;
  void *a_buffer;          // aligned start of the packed A block
  int64_t a_panel_stride;  // elements from one A panel to the next
  int64_t a_bytes;         // bytes of the A buffer, slack included
  int32_t a_align_log2;
  void *b_buffer;
  int64_t b_panel_stride;
  int64_t b_bytes;
  int32_t b_align_log2;
  zor::gemm::BlksSizeFn get_blks_size;
  zor::gemm::BufsSizeFn get_bufs_size;
  zor::gemm::BufsFn get_bufs;
  zor::gemm::CopyAFn copy_an, copy_at, copy_ac;
  zor::gemm::CopyBFn copy_bn, copy_bt, copy_bc;
  zor::gemm::CopyExtFn copy_a_ext, copy_b_ext;
  int32_t b_dup;           // times a B element is stored in the duplication buffer
  zor::gemm::KernelFn kernel;
  void *dup_buffer;        // aligned start of the duplication buffer
  int64_t dup_bytes;
  int32_t dup_align_log2;
};
static_assert(sizeof(zor_gemm_desc) <= ZOR_GEMM_DESC_BYTES, "the public storage size must hold a descriptor");
