// Main kernels of the later generation (row 1), one body for d and s
// (gemm_kernel_d_bvr, gemm_kernel_s_bvr; entry in gemm/kernel_entry.hpp,
// depth loop in gemm/kernel_tile.hpp).
//
// Tile: UM x 4 (d 4 x 4, s 8 x 4). Per depth step two A vectors and two
// B vectors, each B vector holding a pair of adjacent columns (d: the packed
// panel's [b0 b1], [b2 b3] read directly; s: the duplication buffer's
// [b0 b1 b0 b1], [b2 b3 b2 b3]). Each B vector and its pair swap multiply
// each A vector into eight accumulators: the diagonal products (row lanes
// with the columns in place) and the anti-diagonal ones (columns swapped).
// After the depth loop, a lane merge of each diagonal/anti-diagonal pair
// gives two columns of the tile. No widening pass in d with packed B; flag 3
// (B in place) and s first write the pair format into the duplication
// buffer. Column tails: 3 columns run as a full tile on a zero fourth column
// that is not stored; 2 and 1 columns run on one B vector.
//
// The swaps are formed once per column group, into a stack buffer beside the
// B vectors, so that the depth loop runs the schedule of row 0 with no
// shuffle; each accumulator still sums the same products in the same order
// as when the swap is formed at every depth step, which is what a group
// deeper than the stack buffer (tuned::kMaxSwapDepth steps) does.
#include <cstdint>

#include "gemm/kernel_entry.hpp"
#include "gemm/kernel_tile.hpp"

namespace zor::gemm {

// All ones in the even lanes: selects the diagonal products of the even
// column of a pair.
template <class V> V even_lanes();
template <> inline simd::f64x2 even_lanes<simd::f64x2>() {
  alignas(16) static const uint64_t bits[2] = {~uint64_t(0), 0};
  return simd::load_a(reinterpret_cast<const double *>(bits));
}
template <> inline simd::f32x4 even_lanes<simd::f32x4>() {
  alignas(16) static const uint32_t bits[4] = {~0u, 0, ~0u, 0};
  return simd::load_a(reinterpret_cast<const float *>(bits));
}

// NV B vectors per depth step (2 for 3 or 4 columns, 1 for 1 or 2) at src,
// their swaps at swaps (unused when Swapping); the first StoreW columns are
// written.
template <class T, int NV, int StoreW, bool Swapping, bool BetaZero, bool AlignedC>
void group_row1(int64_t panels, int64_t kp, const typename T::real *a, int64_t a_stride,
                const typename T::real *src, const typename T::real *swaps, typename T::real *c, int64_t ldc,
                const NextB &next) {
  using namespace zor::simd;
  using R = typename T::real;
  constexpr int L = T::real_lanes;
  group_tiles<T, NV, NV, NV, Swapping>(panels, kp, a, a_stride, src, swaps, c, ldc, StoreW, next,
                                       [ldc](auto &acc, R *ct) {
                                         const auto even = even_lanes<typename T::vec>();
                                         for (int v = 0; v < NV; ++v) {
                                           R *ce = ct + (2 * v) * ldc;
                                           const auto &d = acc[v], &s = acc[NV + v];
                                           if (2 * v < StoreW) {
                                             update_c<BetaZero, AlignedC>(ce, select(even, d[0], s[0]));
                                             update_c<BetaZero, AlignedC>(ce + L, select(even, d[1], s[1]));
                                           }
                                           if (2 * v + 1 < StoreW) {
                                             update_c<BetaZero, AlignedC>(ce + ldc, select(even, s[0], d[0]));
                                             update_c<BetaZero, AlignedC>(ce + ldc + L, select(even, s[1], d[1]));
                                           }
                                         }
                                       });
}

template <class T, int NV, int StoreW, bool BetaZero, bool AlignedC>
void group_row1(bool swapping, int64_t panels, int64_t kp, const typename T::real *a, int64_t a_stride,
                const typename T::real *src, const typename T::real *swaps, typename T::real *c, int64_t ldc,
                const NextB &next) {
  if (swapping) group_row1<T, NV, StoreW, true, BetaZero, AlignedC>(panels, kp, a, a_stride, src, swaps, c, ldc, next);
  else group_row1<T, NV, StoreW, false, BetaZero, AlignedC>(panels, kp, a, a_stride, src, swaps, c, ldc, next);
}

template <class T, bool InPlace, bool BetaZero, bool AlignedC>
void main_row1(bool transb, int64_t m4, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
               const typename T::real *b, int64_t ldb, typename T::real *c, int64_t ldc, typename T::real *dup) {
  using R = typename T::real;
  constexpr int L = T::real_lanes, UM = 2 * L;
  // d reads its packed panels as they are; s and in-place B go through dup.
  constexpr bool direct = !InPlace && L == 2;
  const int64_t panels = m4 / UM, kp = round_up(k, 4);
  const bool swapping = kp > tuned::kMaxSwapDepth;
  alignas(16) R swaps[tuned::kMaxSwapDepth * 2 * L];
  for (int64_t j0 = 0; j0 < n; j0 += 4) {
    const int64_t cw = n - j0 < 4 ? n - j0 : 4;
    const int nv = cw > 2 ? 2 : 1;
    const R *bj = InPlace ? (transb ? b + j0 : b + j0 * ldb) : b + (j0 / 4) * ldb;
    const R *src = bj;
    R *const sw = swapping ? nullptr : swaps;
    if constexpr (direct) {
      if (sw) lane_swaps<T>(kp * nv, bj, sw);
    } else {
      if (nv == 2) widen_pairs<T, 2, InPlace>(cw, k, kp, bj, ldb, transb, dup, sw);
      else widen_pairs<T, 1, InPlace>(cw, k, kp, bj, ldb, transb, dup, sw);
      src = dup;
    }
    R *cj = c + j0 * ldc;
    const NextB next = group_source<T, 1>(j0 + 4, n, k, kp, b, ldb, InPlace, transb);
    switch (cw) {
      case 4: group_row1<T, 2, 4, BetaZero, AlignedC>(swapping, panels, kp, a, a_stride, src, swaps, cj, ldc, next); break;
      case 3: group_row1<T, 2, 3, BetaZero, AlignedC>(swapping, panels, kp, a, a_stride, src, swaps, cj, ldc, next); break;
      case 2: group_row1<T, 1, 2, BetaZero, AlignedC>(swapping, panels, kp, a, a_stride, src, swaps, cj, ldc, next); break;
      default: group_row1<T, 1, 1, BetaZero, AlignedC>(swapping, panels, kp, a, a_stride, src, swaps, cj, ldc, next); break;
    }
  }
}

template <class T>
  requires(!T::complex)
struct Mains<T, 1> {
  template <bool InPlace, bool BetaZero, bool AlignedC>
  static constexpr MainKernel<T> run = main_row1<T, InPlace, BetaZero, AlignedC>;
};

ZOR_GEMM_KERNEL_ENTRY(D, 1);
ZOR_GEMM_KERNEL_ENTRY(S, 1);

}  // namespace zor::gemm
