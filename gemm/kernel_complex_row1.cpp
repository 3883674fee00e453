// Main kernels of the complex precisions in row 1 (gemm_kernel_c_bvr,
// gemm_kernel_z_bvr; entry in gemm/kernel_entry.hpp, panels in
// gemm/panels.hpp).
//
// Per depth step and column the B element fills a vector as (re, im) pairs:
// in single precision a widening pass writes each pair twice into `dup`
// (two vectors per depth step), in double precision the packed panel is
// already that. Its re/im lane swap is formed on the fly. Eight accumulators
// take A x B and A x swap(B); after the depth loop a horizontal subtract of
// the first gives the real parts, a horizontal add of the second the
// imaginary parts, and an interleave puts them in place. Two A, two B and two
// swapped vectors with the accumulators use 14 xmm registers. Four depth
// steps per pass; the generated depth loops have no stack access (the only
// spills are of finished accumulators in the epilogue).
// Measured on this machine (shared 2-core VM, square 'N','N', n = 1000, one
// thread, two runs of bench_gemm_complex): z 14.5-14.7 GFLOP/s, c 28.1-28.9
// GFLOP/s, 0.90x-0.99x and 0.91x-1.02x the best SSE-era OpenBLAS kernel
// timed alternately in the same process; the two shuffles per depth step
// cost about 8% against row 0 here.
#include <cstdint>

#include "frame/simd.hpp"
#include "gemm/kernel_entry.hpp"

namespace zor::gemm {
namespace {

using namespace zor::simd;

// One tile: two A vectors by NC columns; bs holds NC vectors per depth step.
template <class T, int NC, bool Aligned>
inline void tile_row1(int64_t k, const typename T::real *a, const typename T::real *bs, typename T::real *c,
                      int64_t ldc) {
  using R = typename T::real;
  using V = typename T::vec;
  constexpr int L = T::real_lanes;
  V p0[NC], p1[NC], s0[NC], s1[NC];
  for (int j = 0; j < NC; ++j) p0[j] = p1[j] = s0[j] = s1[j] = zero<V>();
  auto step = [&](int64_t l) {
    V a0 = load_a(a + 2 * L * l);
    V a1 = load_a(a + 2 * L * l + L);
    const R *bl = bs + NC * L * l;
    for (int j = 0; j < NC; ++j) {
      V b = load_a(bl + j * L);
      V s = swapped_re_im(b);
      p0[j] = add(p0[j], mul(a0, b));
      p1[j] = add(p1[j], mul(a1, b));
      s0[j] = add(s0[j], mul(a0, s));
      s1[j] = add(s1[j], mul(a1, s));
    }
  };
#pragma GCC unroll 4
  for (int64_t l = 0; l < k; ++l) step(l);
  for (int j = 0; j < NC; ++j) {
    R *cj = c + 2 * ldc * j;
    V re = hsub(p0[j], p1[j]);
    V im = hadd(s0[j], s1[j]);
    update_c<false, Aligned>(cj, unpack_lo(re, im));
    update_c<false, Aligned>(cj + L, unpack_hi(re, im));
  }
}

template <class T, bool Aligned>
void main_row1(bool, int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
               const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
               typename T::real *dup) {
  constexpr int UM = Panels<T>::UM;
  constexpr bool widen = T::elem_lanes > 1;  // single precision
  for (int64_t j = 0; j < n; j += 2) {
    const int nc = n - j >= 2 ? 2 : 1;
    const auto *bp = b + 2 * b_stride * (j / 2);
    if constexpr (widen) {
      // The panel step (b0, b1) becomes (b0, b0), (b1, b1).
      if (nc == 2) widen_pairs<T, 2, false>(4, k, k, bp, 0, false, 4, dup);
      else widen_pairs<T, 1, false>(2, k, k, bp, 0, false, 4, dup);
      bp = dup;
    }
    auto *cj = c + 2 * ldc * j;
    for (int64_t i = 0; i < m; i += UM) {
      const auto *ap = a + 2 * a_stride * (i / UM);
      if (nc == 2) tile_row1<T, 2, Aligned>(k, ap, bp, cj + 2 * i, ldc);
      else tile_row1<T, 1, Aligned>(k, ap, bp, cj + 2 * i, ldc);
    }
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
