// Main kernels of the earlier generation (row 0), one body for d and s
// (gemm_kernel_d, gemm_kernel_s; entry in gemm/kernel_entry.hpp).
//
// Tile: UM x 4 (d 4 x 4, s 8 x 4): two A vectors per depth step times four
// broadcast B vectors, eight accumulators; four depth steps per pass.
// Before the tiles of a column group, one pass widens the B panel into the
// duplication buffer: each element stored once per lane (d twice, s four
// times), so the depth loop needs no shuffle. Flag 2 widens a packed panel
// (tail panels compact: 3, 2 or 1 elements per depth), flag 3 reads B in
// place and pads the depth to a multiple of 4 with zeros.
// Registers in the depth loop: 8 accumulators + 2 A + up to 4 B = 14 of 16.
// Checked in the generated code (objdump of kernel_real_row0.cpp.o): no instantiation's depth loop moves an xmm register
// to or from the stack. Two depth steps per loop turn measured best.
//
// Measured on the development machine (processor time, bench/gemm, best of 3
// interleaved rounds; measured SSE peak 17.4 GFLOP/s double, 34.8 single):
//   kernel alone (448 x 256 x 256 block, both operands packed): d 15.7,
//   s 32.2 GFLOP/s;
//   dgemm n = 256..2000: 15.7-16.1 GFLOP/s, 90-93% of peak, 0.96-1.02x the
//   best SSE-era OpenBLAS kernel; sgemm 31.7-32.4, 91-93%, 0.99x.
#include <cstdint>

#include "gemm/kernel_entry.hpp"

namespace zor::gemm {

template <class T, int W, bool BetaZero, bool AlignedC>
void tiles_row0(int64_t panels, int64_t kp, const typename T::real *a, int64_t a_stride,
                const typename T::real *dup, typename T::real *c, int64_t ldc) {
  using namespace zor::simd;
  using V = typename T::vec;
  using R = typename T::real;
  constexpr int L = T::real_lanes, UM = 2 * L;
  for (int64_t p = 0; p < panels; ++p) {
    const R *ap = a + p * a_stride;
    const R *bp = dup;
    V x0[W], x1[W];  // rows 0..L-1 and L..2L-1 of each column
#pragma GCC unroll 4
    for (int j = 0; j < W; ++j) x0[j] = x1[j] = zero<V>();
    for (int64_t l = 0; l < kp; l += 4) {
#pragma GCC unroll 2
      for (int s = 0; s < 4; ++s) {
        const V a0 = load_a(ap), a1 = load_a(ap + L);
#pragma GCC unroll 4
        for (int j = 0; j < W; ++j) {
          const V b = load_a(bp + j * L);
          x0[j] = add(x0[j], mul(a0, b));
          x1[j] = add(x1[j], mul(a1, b));
        }
        ap += UM;
        bp += W * L;
      }
    }
    R *cp = c + p * UM;
#pragma GCC unroll 4
    for (int j = 0; j < W; ++j) {
      update_c<BetaZero, AlignedC>(cp + j * ldc, x0[j]);
      update_c<BetaZero, AlignedC>(cp + j * ldc + L, x1[j]);
    }
  }
}

template <class T, int W, bool InPlace, bool BetaZero, bool AlignedC>
void group_row0(int64_t panels, int64_t k, const typename T::real *a, int64_t a_stride, const typename T::real *b,
                int64_t ldb, bool transb, typename T::real *c, int64_t ldc, typename T::real *dup) {
  const int64_t kp = round_up(k, 4);
  widen_splat<T, W, InPlace>(k, kp, b, ldb, transb, dup);
  tiles_row0<T, W, BetaZero, AlignedC>(panels, kp, a, a_stride, dup, c, ldc);
}

template <class T, bool InPlace, bool BetaZero, bool AlignedC>
void main_row0(bool transb, int64_t m4, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
               const typename T::real *b, int64_t ldb, typename T::real *c, int64_t ldc, typename T::real *dup) {
  constexpr int UM = 2 * T::real_lanes;
  const int64_t panels = m4 / UM;
  for (int64_t j0 = 0; j0 < n; j0 += 4) {
    // Packed: panel j0/4 of the block; in place: column j0 of B.
    const typename T::real *bj =
        InPlace ? (transb ? b + j0 : b + j0 * ldb) : b + (j0 / 4) * ldb;
    typename T::real *cj = c + j0 * ldc;
    switch (n - j0 < 4 ? n - j0 : 4) {
      case 4: group_row0<T, 4, InPlace, BetaZero, AlignedC>(panels, k, a, a_stride, bj, ldb, transb, cj, ldc, dup); break;
      case 3: group_row0<T, 3, InPlace, BetaZero, AlignedC>(panels, k, a, a_stride, bj, ldb, transb, cj, ldc, dup); break;
      case 2: group_row0<T, 2, InPlace, BetaZero, AlignedC>(panels, k, a, a_stride, bj, ldb, transb, cj, ldc, dup); break;
      default: group_row0<T, 1, InPlace, BetaZero, AlignedC>(panels, k, a, a_stride, bj, ldb, transb, cj, ldc, dup); break;
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
