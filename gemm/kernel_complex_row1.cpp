// Main kernels of the complex precisions in row 1 (gemm_kernel_c_bvr,
// gemm_kernel_z_bvr; entry in gemm/kernel_entry.hpp, depth loop in
// gemm/kernel_tile.hpp, panels in gemm/panels.hpp).
//
// Tile: two A vectors by two columns. Per depth step and column the B
// element fills a vector as (re, im) pairs: in single precision a widening
// pass writes each pair twice into `dup` (two vectors per depth step), in
// double precision the packed panel is already that. Eight accumulators take
// A x B and A x swap(B), the re/im swap formed once per column group into a
// stack buffer (per depth step beyond tuned::kMaxSwapDepth steps); after the depth
// loop a horizontal subtract of the first gives the real parts, a horizontal
// add of the second the imaginary parts, and an interleave puts them in
// place. No sign flips happen in the depth loop.
#include <cstdint>

#include "frame/simd.hpp"
#include "gemm/kernel_entry.hpp"
#include "gemm/kernel_tile.hpp"

namespace zor::gemm {
namespace {

using namespace zor::simd;

template <class T, int NC, bool Aligned, bool Swapping>
void group_row1(int64_t panels, int64_t k, const typename T::real *a, int64_t a_stride, const typename T::real *src,
                const typename T::real *swaps, typename T::real *c, int64_t ldc, const NextB &next) {
  using R = typename T::real;
  constexpr int L = T::real_lanes;
  group_tiles<T, NC, NC, NC, Swapping>(panels, k, a, 2 * a_stride, src, swaps, c, 2 * ldc, NC, next,
                                       [ldc](auto &acc, R *ct) {
                                         for (int j = 0; j < NC; ++j) {
                                           R *cj = ct + 2 * ldc * j;
                                           const auto re = hsub(acc[j][0], acc[j][1]);
                                           const auto im = hadd(acc[NC + j][0], acc[NC + j][1]);
                                           update_c<false, Aligned>(cj, unpack_lo(re, im));
                                           update_c<false, Aligned>(cj + L, unpack_hi(re, im));
                                         }
                                       });
}

template <class T, int NC, bool Aligned>
void group_row1(bool swapping, int64_t panels, int64_t k, const typename T::real *a, int64_t a_stride,
                const typename T::real *src, const typename T::real *swaps, typename T::real *c, int64_t ldc,
                const NextB &next) {
  if (swapping) group_row1<T, NC, Aligned, true>(panels, k, a, a_stride, src, swaps, c, ldc, next);
  else group_row1<T, NC, Aligned, false>(panels, k, a, a_stride, src, swaps, c, ldc, next);
}

template <class T, bool Aligned>
void main_row1(bool, int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
               const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
               typename T::real *dup) {
  using R = typename T::real;
  constexpr int L = T::real_lanes;
  constexpr bool widen = T::elem_lanes > 1;  // single precision
  const int64_t panels = m / Panels<T>::UM;
  const bool swapping = k > tuned::kMaxSwapDepth;
  alignas(16) R swaps[tuned::kMaxSwapDepth * 2 * L];
  R *const sw = swapping ? nullptr : swaps;
  for (int64_t j = 0; j < n; j += 2) {
    const int nc = n - j >= 2 ? 2 : 1;
    const R *src = b + 2 * b_stride * (j / 2);
    if constexpr (widen) {
      // The panel step (b0, b1) becomes (b0, b0), (b1, b1).
      if (nc == 2) widen_pairs<T, 2, false>(4, k, k, src, 0, false, dup, sw);
      else widen_pairs<T, 1, false>(2, k, k, src, 0, false, dup, sw);
      src = dup;
    } else if (sw) {
      lane_swaps<T>(k * nc, src, sw);
    }
    auto *cj = c + 2 * ldc * j;
    const NextB next = group_source<T, 1>(j + 2, n, k, k, b, b_stride, false, false);
    if (nc == 2) group_row1<T, 2, Aligned>(swapping, panels, k, a, a_stride, src, swaps, cj, ldc, next);
    else group_row1<T, 1, Aligned>(swapping, panels, k, a, a_stride, src, swaps, cj, ldc, next);
  }
}

}  // namespace

template <class T>
  requires(T::complex)
struct Mains<T, 1> {
  template <bool, bool, bool AlignedC>
  static constexpr MainKernel<T> run = main_row1<T, AlignedC>;
};

ZOR_GEMM_KERNEL_ENTRY(C, 1);
ZOR_GEMM_KERNEL_ENTRY(Z, 1);

}  // namespace zor::gemm
