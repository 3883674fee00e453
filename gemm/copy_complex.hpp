// Panel copies of the complex precisions, both kernel rows: one body per
// operand, instantiated for c and z, each source form (n, t, c) and each
// row (its depth multiple and tail-panel width, gemm/panels.hpp).
//
// A: ceil(m / unroll_m) panels of unroll_m rows; per depth step unroll_m
//    consecutive elements of alpha x op(A) (the conjugate copies conjugate
//    first, then multiply by alpha); unused lanes of the last panel and depth
//    steps k..k'-1 are zero.
// B: ceil(n / 2) panels; per depth step the two elements of the panel's
//    columns; a tail panel (odd n) holds `tail_width` elements per depth step,
//    the first the last column, the rest zero (1 in row 0; in row 1 a whole
//    vector: 2 in single, 1 in double precision). Depth padding zero. No
//    scaling.
#pragma once
#include <cstdint>

#include "frame/letters.hpp"
#include "frame/traits.hpp"
#include "gemm/panels.hpp"

namespace zor::gemm {


template <class T, int Row, Trans F>
void complex_copy_a(const int64_t *m, const int64_t *k, const void *src, const int64_t *lda, void *buffer,
                    const int64_t *panel_stride, const void *alpha);

template <class T, int Row, Trans F>
void complex_copy_b(const int64_t *k, const int64_t *n, const void *src, const int64_t *ldb, void *buffer,
                    const int64_t *panel_stride, const void *unused);

}  // namespace zor::gemm
