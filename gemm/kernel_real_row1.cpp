// Main kernels of the later generation (row 1), one body for d and s
// (gemm_kernel_d_bvr, gemm_kernel_s_bvr; entry in gemm/kernel_entry.hpp).
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
// Registers in the depth loop: 8 accumulators + 2 A + 2 B + 2 swaps = 14.
// Checked in the generated code (objdump of kernel_real_row1.cpp.o): no instantiation's depth loop moves an xmm register
// to or from the stack. With more than one depth step per loop turn the
// compiler hoists the next steps' swaps and spills accumulators, hence one.
//
// Measured on the development machine (processor time, bench/gemm, best of 3
// interleaved rounds; measured SSE peak 17.4 GFLOP/s double, 34.8 single):
//   kernel alone (448 x 256 x 256 block, both operands packed): d 14.3,
//   s 29.3 GFLOP/s;
//   dgemm n = 256..2000: 14.6-14.7 GFLOP/s, 84-85% of peak, 0.89-0.92x the
//   best SSE-era OpenBLAS kernel; sgemm 29.3-29.8, 84-86%, 0.91-0.92x.
// The two swaps per depth step compete with the multiplies and adds for the
// same execution ports on that processor, which row 0 does not pay.
#include <cstdint>

#include "gemm/kernel_entry.hpp"

namespace zor::gemm {

inline simd::f64x2 pair_swap(simd::f64x2 v) { return simd::swap_lanes(v); }
inline simd::f32x4 pair_swap(simd::f32x4 v) { return simd::swap_pairs(v); }

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

// NV B vectors per depth step (2 for 3 or 4 columns, 1 for 1 or 2); the
// first StoreW columns are written.
template <class T, int NV, int StoreW, bool BetaZero, bool AlignedC>
void tiles_row1(int64_t panels, int64_t kp, const typename T::real *a, int64_t a_stride,
                const typename T::real *bsrc, typename T::real *c, int64_t ldc) {
  using namespace zor::simd;
  using V = typename T::vec;
  using R = typename T::real;
  constexpr int L = T::real_lanes, UM = 2 * L;
  for (int64_t p = 0; p < panels; ++p) {
    const R *ap = a + p * a_stride;
    const R *bp = bsrc;
    V d0[NV], d1[NV], s0[NV], s1[NV];  // diagonal / swapped, A vector 0 / 1
#pragma GCC unroll 2
    for (int v = 0; v < NV; ++v) d0[v] = d1[v] = s0[v] = s1[v] = zero<V>();
    for (int64_t l = 0; l < kp; l += 4) {
#pragma GCC unroll 1
      for (int s = 0; s < 4; ++s) {
        const V a0 = load_a(ap), a1 = load_a(ap + L);
#pragma GCC unroll 2
        for (int v = 0; v < NV; ++v) {
          const V b = load_a(bp + v * L);
          const V w = pair_swap(b);
          d0[v] = add(d0[v], mul(a0, b));
          s0[v] = add(s0[v], mul(a0, w));
          d1[v] = add(d1[v], mul(a1, b));
          s1[v] = add(s1[v], mul(a1, w));
        }
        ap += UM;
        bp += NV * L;
      }
    }
    R *cp = c + p * UM;
    const V even = even_lanes<V>();
#pragma GCC unroll 2
    for (int v = 0; v < NV; ++v) {
      R *ce = cp + (2 * v) * ldc;
      if (2 * v < StoreW) {
        update_c<BetaZero, AlignedC>(ce, select(even, d0[v], s0[v]));
        update_c<BetaZero, AlignedC>(ce + L, select(even, d1[v], s1[v]));
      }
      if (2 * v + 1 < StoreW) {
        update_c<BetaZero, AlignedC>(ce + ldc, select(even, s0[v], d0[v]));
        update_c<BetaZero, AlignedC>(ce + ldc + L, select(even, s1[v], d1[v]));
      }
    }
  }
}

template <class T, bool InPlace, bool BetaZero, bool AlignedC>
void main_row1(bool transb, int64_t m4, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
               const typename T::real *b, int64_t ldb, typename T::real *c, int64_t ldc, typename T::real *dup) {
  using R = typename T::real;
  constexpr int L = T::real_lanes, UM = 2 * L;
  // d reads its packed panels as they are; s and in-place B go through dup.
  constexpr bool direct = !InPlace && L == 2;
  const int64_t panels = m4 / UM, kp = round_up(k, 4);
  for (int64_t j0 = 0; j0 < n; j0 += 4) {
    const int64_t cw = n - j0 < 4 ? n - j0 : 4;
    const R *bj = InPlace ? (transb ? b + j0 : b + j0 * ldb) : b + (j0 / 4) * ldb;
    const int64_t pw = cw == 4 ? 4 : Panels<T>::tail_width(cw, 1);
    const R *src = bj;
    if (!direct) {
      if (cw > 2) widen_pairs<T, 2, InPlace>(cw, k, kp, bj, ldb, transb, pw, dup);
      else widen_pairs<T, 1, InPlace>(cw, k, kp, bj, ldb, transb, pw, dup);
      src = dup;
    }
    R *cj = c + j0 * ldc;
    switch (cw) {
      case 4: tiles_row1<T, 2, 4, BetaZero, AlignedC>(panels, kp, a, a_stride, src, cj, ldc); break;
      case 3: tiles_row1<T, 2, 3, BetaZero, AlignedC>(panels, kp, a, a_stride, src, cj, ldc); break;
      case 2: tiles_row1<T, 1, 2, BetaZero, AlignedC>(panels, kp, a, a_stride, src, cj, ldc); break;
      default: tiles_row1<T, 1, 1, BetaZero, AlignedC>(panels, kp, a, a_stride, src, cj, ldc); break;
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
