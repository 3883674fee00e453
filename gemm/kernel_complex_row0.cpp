// Main kernels of the complex precisions in row 0 (gemm_kernel_c,
// gemm_kernel_z; entry in gemm/kernel_entry.hpp, panels in gemm/panels.hpp).
//
// Tile: two A vectors (4 single or 2 double complex rows) by two columns.
// Per column pair the packed B panel is first widened into `dup`: for each
// depth step four vectors, Re(b0), Im(b0), Re(b1), Im(b1), each filling a
// vector. The depth loop then needs no shuffles: two aligned A loads, four
// aligned dup loads, eight multiplies, eight adds per depth step, all in 14
// of the 16 xmm registers. The loop runs two depth steps per pass; depth
// exactly 128 has its own form with the trip count fixed at compile time
// (unrolled sixteen-fold: a full unroll makes the compiler spill). The
// generated depth loops keep every accumulator and operand in registers (no
// stack access inside them; the only spills are of finished accumulators in
// the epilogue).
// Measured on this machine (shared 2-core VM, square 'N','N', n = 1000, one
// thread, two runs of bench_gemm_complex): z 15.5-16.0 GFLOP/s, c 30.2-31.6
// GFLOP/s, 0.98x-1.05x and 0.95x-1.11x the best SSE-era OpenBLAS kernel
// timed alternately in the same process.
#include <cstdint>

#include "frame/simd.hpp"
#include "gemm/kernel_entry.hpp"

namespace zor::gemm {
namespace {

using namespace zor::simd;

// One tile: two A vectors by NC columns, depth k (or KFixed when non-zero).
template <class T, int NC, bool Aligned, int KFixed>
inline void tile_row0(int64_t k, const typename T::real *a, const typename T::real *d, typename T::real *c,
                      int64_t ldc) {
  using R = typename T::real;
  using V = typename T::vec;
  constexpr int L = T::real_lanes;
  V re0[NC], re1[NC], im0[NC], im1[NC];
  for (int j = 0; j < NC; ++j) re0[j] = re1[j] = im0[j] = im1[j] = zero<V>();
  auto step = [&](int64_t l) {
    V a0 = load_a(a + 2 * L * l);
    V a1 = load_a(a + 2 * L * l + L);
    const R *dl = d + 2 * NC * L * l;
    for (int j = 0; j < NC; ++j) {
      V br = load_a(dl + 2 * j * L);
      V bi = load_a(dl + 2 * j * L + L);
      re0[j] = add(re0[j], mul(a0, br));
      re1[j] = add(re1[j], mul(a1, br));
      im0[j] = add(im0[j], mul(a0, bi));
      im1[j] = add(im1[j], mul(a1, bi));
    }
  };
  if constexpr (KFixed > 0) {
#pragma GCC unroll 16
    for (int l = 0; l < KFixed; ++l) step(l);
  } else {
#pragma GCC unroll 2
    for (int64_t l = 0; l < k; ++l) step(l);
  }
  for (int j = 0; j < NC; ++j) {
    R *cj = c + 2 * ldc * j;
    V lo = addsub(re0[j], swap_re_im(im0[j]));
    V hi = addsub(re1[j], swap_re_im(im1[j]));
    update_c<false, Aligned>(cj, lo);
    update_c<false, Aligned>(cj + L, hi);
  }
}

template <class T, bool Aligned, int KFixed>
void columns_row0(int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
                  const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
                  typename T::real *dup) {
  constexpr int UM = Panels<T>::UM;
  for (int64_t j = 0; j < n; j += 2) {
    const int nc = n - j >= 2 ? 2 : 1;
    const auto *bj = b + 2 * b_stride * (j / 2);
    if (nc == 2) widen_splat<T, 4, false>(k, k, bj, 0, false, dup);
    else widen_splat<T, 2, false>(k, k, bj, 0, false, dup);
    auto *cj = c + 2 * ldc * j;
    for (int64_t i = 0; i < m; i += UM) {
      const auto *ap = a + 2 * a_stride * (i / UM);
      if (nc == 2) tile_row0<T, 2, Aligned, KFixed>(k, ap, dup, cj + 2 * i, ldc);
      else tile_row0<T, 1, Aligned, KFixed>(k, ap, dup, cj + 2 * i, ldc);
    }
  }
}

// Depth exactly 128 has its own form with the trip count fixed at compile
// time.
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
