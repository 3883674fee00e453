// Complex micro-kernels of row 1 (gemm_kernel_c_bvr, gemm_kernel_z_bvr);
// contract in kernel_complex.hpp.
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
#include "gemm/kernel_complex.hpp"

namespace zor::gemm {
namespace {

using namespace zor::simd;

// Single precision: the panel step (b0, b1) becomes (b0, b0), (b1, b1).
inline void widen_row1(int64_t k, int nc, const float *b, float *dup) {
  for (int64_t l = 0; l < k; ++l) {
    f32x4 v = load_a(b + 4 * l);
    store_a(dup + 4 * nc * l, low_pair(v));
    if (nc == 2) store_a(dup + 4 * nc * l + 4, high_pair(v));
  }
}

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
    store_c<Aligned>(cj, add(load_c<V, Aligned>(cj), unpack_lo(re, im)));
    store_c<Aligned>(cj + L, add(load_c<V, Aligned>(cj + L), unpack_hi(re, im)));
  }
}

template <class T, bool Aligned>
void main_row1(int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
               const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
               typename T::real *dup) {
  constexpr int UM = ComplexShape<T>::unroll_m;
  constexpr bool widen = T::elem_lanes > 1;  // single precision
  for (int64_t j = 0; j < n; j += 2) {
    const int nc = n - j >= 2 ? 2 : 1;
    const auto *bp = b + 2 * b_stride * (j / 2);
    if constexpr (widen) {
      widen_row1(k, nc, bp, dup);
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
void complex_main_row1(int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
                       const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
                       typename T::real *dup) {
  // Aligned form: c on a 16-byte boundary and every column too (ldc even in
  // single precision).
  const bool aligned = (reinterpret_cast<uintptr_t>(c) & 15) == 0 && ((uint64_t(ldc) * T::elem_bytes) & 15) == 0;
  if (aligned) main_row1<T, true>(m, n, k, a, a_stride, b, b_stride, c, ldc, dup);
  else main_row1<T, false>(m, n, k, a, a_stride, b, b_stride, c, ldc, dup);
}

template void complex_main_row1<C>(int64_t, int64_t, int64_t, const float *, int64_t, const float *, int64_t,
                                   float *, int64_t, float *);
template void complex_main_row1<Z>(int64_t, int64_t, int64_t, const double *, int64_t, const double *, int64_t,
                                   double *, int64_t, double *);

}  // namespace zor::gemm
