// Main kernels of the earlier generation (row 0), one body for d and s
// (gemm_kernel_d, gemm_kernel_s; entry in gemm/kernel_entry.hpp, depth loop
// in gemm/kernel_tile.hpp).
//
// Tile: UM x 4 (d 4 x 4, s 8 x 4): two A vectors per depth step times four
// broadcast B vectors, eight accumulators. Before the tiles of a column
// group, one pass widens the group's B into the duplication buffer, each real
// filling a vector (d twice, s four times), so that the depth loop needs no
// shuffle: flag 2 widens a packed panel (tail panels compact: 3, 2 or 1
// elements per depth step), flag 3 reads B in place and pads the depth to a
// multiple of 4 with zeros. The depth loop reads the four widened vectors of
// a step as its two streams (p: columns 0, 1; q: columns 2, 3).
#include <cstdint>

#include "gemm/kernel_entry.hpp"
#include "gemm/kernel_tile.hpp"

namespace zor::gemm {

template <class T, int W, bool InPlace, bool BetaZero, bool AlignedC>
void group_row0(int64_t panels, int64_t k, const typename T::real *a, int64_t a_stride, const typename T::real *b,
                int64_t ldb, bool transb, typename T::real *c, int64_t ldc, typename T::real *dup,
                const NextB &next) {
  using R = typename T::real;
  constexpr int L = T::real_lanes, WP = W < 2 ? W : 2;
  const int64_t kp = round_up(k, 4);
  widen_splat<T, W, InPlace>(k, kp, b, ldb, transb, dup);
  group_tiles<T, WP, W - WP, W, false>(panels, kp, a, a_stride, dup, dup + 2 * L, c, ldc, W, next,
                                       [ldc](auto &acc, R *ct) {
                                         for (int j = 0; j < W; ++j) {
                                           update_c<BetaZero, AlignedC>(ct + j * ldc, acc[j][0]);
                                           update_c<BetaZero, AlignedC>(ct + j * ldc + L, acc[j][1]);
                                         }
                                       });
}

template <class T, bool InPlace, bool BetaZero, bool AlignedC>
void main_row0(bool transb, int64_t m4, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
               const typename T::real *b, int64_t ldb, typename T::real *c, int64_t ldc, typename T::real *dup) {
  using R = typename T::real;
  constexpr int UM = 2 * T::real_lanes;
  const int64_t panels = m4 / UM, kp = round_up(k, 4);
  for (int64_t j0 = 0; j0 < n; j0 += 4) {
    // Packed: panel j0/4 of the block; in place: column j0 of B.
    const R *bj = InPlace ? (transb ? b + j0 : b + j0 * ldb) : b + (j0 / 4) * ldb;
    R *cj = c + j0 * ldc;
    const NextB next = group_source<T, 0>(j0 + 4, n, k, kp, b, ldb, InPlace, transb);
    switch (n - j0 < 4 ? n - j0 : 4) {
      case 4: group_row0<T, 4, InPlace, BetaZero, AlignedC>(panels, k, a, a_stride, bj, ldb, transb, cj, ldc, dup, next); break;
      case 3: group_row0<T, 3, InPlace, BetaZero, AlignedC>(panels, k, a, a_stride, bj, ldb, transb, cj, ldc, dup, next); break;
      case 2: group_row0<T, 2, InPlace, BetaZero, AlignedC>(panels, k, a, a_stride, bj, ldb, transb, cj, ldc, dup, next); break;
      default: group_row0<T, 1, InPlace, BetaZero, AlignedC>(panels, k, a, a_stride, bj, ldb, transb, cj, ldc, dup, next); break;
    }
  }
}

template <class T>
  requires(!T::complex)
struct Mains<T, 0> {
  template <bool InPlace, bool BetaZero, bool AlignedC>
  static constexpr MainKernel<T> run = main_row0<T, InPlace, BetaZero, AlignedC>;
};

ZOR_GEMM_KERNEL_ENTRY(D, 0);
ZOR_GEMM_KERNEL_ENTRY(S, 0);

}  // namespace zor::gemm
