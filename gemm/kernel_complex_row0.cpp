// Main kernels of the complex precisions in row 0 (gemm_kernel_c,
// gemm_kernel_z; entry in gemm/kernel_entry.hpp, depth loop in
// gemm/kernel_tile.hpp, panels in gemm/panels.hpp).
//
// Tile: two A vectors (4 single or 2 double complex rows) by two columns.
// Per column pair the packed B panel is first widened into `dup`: for each
// depth step four vectors, Re(b0), Im(b0), Re(b1), Im(b1), each filling a
// vector (two for the last column of an odd n). The depth loop then needs no
// shuffles: eight accumulators take A x Re(b) and A x Im(b) apart. The
// epilogue swaps the re/im lanes of the second, combines by an alternating
// subtract/add and adds the result into C. Depth exactly 128 has its own
// form with the trip count fixed at compile time.
#include <cstdint>

#include "frame/simd.hpp"
#include "gemm/kernel_entry.hpp"
#include "gemm/kernel_tile.hpp"

namespace zor::gemm {
namespace {

using namespace zor::simd;

template <class T, int NC, bool Aligned, int KFixed>
void group_row0(int64_t panels, int64_t k, const typename T::real *a, int64_t a_stride, const typename T::real *b,
                typename T::real *c, int64_t ldc, typename T::real *dup, const NextB &next) {
  using R = typename T::real;
  constexpr int L = T::real_lanes;
  const int64_t kp = KFixed > 0 ? KFixed : k;
  widen_splat<T, 2 * NC, false>(kp, kp, b, 0, false, dup);
  group_tiles<T, 2, 2 * NC - 2, 2 * NC, false>(panels, kp, a, 2 * a_stride, dup, dup + 2 * L, c, 2 * ldc, NC, next,
                                               [ldc](auto &acc, R *ct) {
                                                 for (int j = 0; j < NC; ++j) {
                                                   R *cj = ct + 2 * ldc * j;
                                                   update_c<false, Aligned>(cj, addsub(acc[2 * j][0], flip(acc[2 * j + 1][0])));
                                                   update_c<false, Aligned>(cj + L, addsub(acc[2 * j][1], flip(acc[2 * j + 1][1])));
                                                 }
                                               });
}

template <class T, bool Aligned, int KFixed>
void columns_row0(int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
                  const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
                  typename T::real *dup) {
  const int64_t panels = m / Panels<T>::UM;
  for (int64_t j = 0; j < n; j += 2) {
    const auto *bj = b + 2 * b_stride * (j / 2);
    auto *cj = c + 2 * ldc * j;
    const NextB next = group_source<T, 0>(j + 2, n, k, k, b, b_stride, false, false);
    if (n - j >= 2) group_row0<T, 2, Aligned, KFixed>(panels, k, a, a_stride, bj, cj, ldc, dup, next);
    else group_row0<T, 1, Aligned, KFixed>(panels, k, a, a_stride, bj, cj, ldc, dup, next);
  }
}

template <class T, bool Aligned>
void main_row0(bool, int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
               const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
               typename T::real *dup) {
  if (k == 128) columns_row0<T, Aligned, 128>(m, n, k, a, a_stride, b, b_stride, c, ldc, dup);
  else columns_row0<T, Aligned, 0>(m, n, k, a, a_stride, b, b_stride, c, ldc, dup);
}

}  // namespace

template <class T>
  requires(T::complex)
struct Mains<T, 0> {
  template <bool, bool, bool AlignedC>
  static constexpr MainKernel<T> run = main_row0<T, AlignedC>;
};

ZOR_GEMM_KERNEL_ENTRY(C, 0);
ZOR_GEMM_KERNEL_ENTRY(Z, 0);

}  // namespace zor::gemm
