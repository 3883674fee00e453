// Pieces shared by the real micro-kernels of both rows: reading B in place,
// the C update of a finished tile, and the row-tail kernel.
#pragma once
#include <cstdint>

#include "frame/simd.hpp"
#include "gemm/copy_real.hpp"

namespace zor::gemm {

// The flag byte of an in-place B says "not transposed" when its bits 0x4E are
// all set: 'N' and 'n' do, 'T', 't', 'C', 'c' do not.
inline bool b_transposed(const char *transb) { return (static_cast<unsigned char>(*transb) & 0x4E) != 0x4E; }

// Element (l, j) of op(B) read in place, zero past the true depth k.
template <class R>
inline R in_place_b(const R *b, int64_t ldb, bool trans, int64_t k, int64_t l, int64_t j) {
  if (l >= k) return R(0);
  return trans ? b[j + l * ldb] : b[l + j * ldb];
}

// One vector of C updated with an accumulator: C + acc, or acc alone when
// beta is zero (C is then not read). The general form reads and writes the
// vector unaligned: doubles in two 64-bit halves, floats whole.
inline simd::f64x2 load_c_general(const double *p) {
  return simd::load_half_hi(simd::load_lo(p), p + 1);
}
inline void store_c_general(double *p, simd::f64x2 v) {
  simd::store_lo(p, v);
  simd::store_hi(p + 1, v);
}
inline simd::f32x4 load_c_general(const float *p) { return simd::load_u(p); }
inline void store_c_general(float *p, simd::f32x4 v) { simd::store_u(p, v); }

template <bool BetaZero, bool AlignedC, class R, class V>
inline void update_c(R *p, V acc) {
  using namespace zor::simd;
  if constexpr (AlignedC) {
    store_a(p, BetaZero ? acc : add(load_a(p), acc));
  } else {
    store_c_general(p, BetaZero ? acc : add(load_c_general(p), acc));
  }
}

// C is aligned for whole-vector access when both c and the column stride in
// bytes are multiples of 16.
template <class R>
inline bool c_aligned(const R *c, int64_t ldc) {
  return ((reinterpret_cast<uintptr_t>(c) & 15) + ((ldc * int64_t(sizeof(R))) & 15)) == 0;
}

// Row-tail kernel: the r < UM last rows of the block, on the zero-padded last
// A panel. Each element is summed over the padded depth in order from zero,
// exactly as a lane of the main kernels sums, so the two agree bit for bit.
// Flag 2 reads the packed B panels (panel widths by Row), flag 3 B in place.
template <class T, int Row>
void row_tail(int64_t r, int64_t n, int64_t k, const typename T::real *a, const typename T::real *b, int64_t ldb,
              bool transb, int32_t flag, bool beta_zero, typename T::real *c, int64_t ldc) {
  using R = typename T::real;
  using P = RealPanels<T>;
  const int64_t kp = round_up(k, P::UK);
  for (int64_t j0 = 0; j0 < n; j0 += P::UN) {
    const int64_t cw = n - j0 < P::UN ? n - j0 : P::UN;
    const int64_t w = cw == P::UN ? P::UN : P::tail_width(cw, Row);
    const R *panel = b + (j0 / P::UN) * ldb;
    for (int64_t j = 0; j < cw; ++j) {
      for (int64_t i = 0; i < r; ++i) {
        R acc = R(0);
        for (int64_t l = 0; l < kp; ++l) {
          const R bv = flag == kFlagPackedB ? panel[l * w + j] : in_place_b(b, ldb, transb, k, l, j0 + j);
          acc = acc + a[l * P::UM + i] * bv;
        }
        R *cc = c + i + (j0 + j) * ldc;
        *cc = beta_zero ? acc : *cc + acc;
      }
    }
  }
}

// A main kernel: the full panels of one row's tile shape, with its variant
// (B packed or in place, beta zero or not, C aligned or not) fixed.
template <class T>
using MainKernel = void (*)(bool transb, int64_t m4, int64_t n, int64_t k, const typename T::real *a,
                            int64_t a_stride, const typename T::real *b, int64_t ldb, typename T::real *c,
                            int64_t ldc, typename T::real *dup);

// The entry of both rows: full panels by the main kernel chosen by flag,
// beta zero or not and the alignment of C (mains[in_place * 4 + beta_zero * 2
// + aligned]), the remaining rows by the row-tail kernel of the same row.
template <class T, int Row>
void kernel_entry(const MainKernel<T> (&mains)[8], const char *transb, const int64_t *m, const int64_t *n,
                  const int64_t *k, const void *a_, const int64_t *a_stride, const void *b_, const int64_t *ldb,
                  const void *beta, void *c_, const int64_t *ldc, void *dup_, int32_t flag) {
  using R = typename T::real;
  constexpr int UM = 2 * T::real_lanes;
  const R *a = static_cast<const R *>(a_);
  const R *b = static_cast<const R *>(b_);
  R *c = static_cast<R *>(c_);
  const int64_t m4 = *m / UM * UM, r = *m - m4;
  const bool bz = *static_cast<const R *>(beta) == R(0);
  const bool in_place = flag != kFlagPackedB;
  const bool bt = in_place && b_transposed(transb);
  if (m4 != 0) {
    const int sel = (in_place ? 4 : 0) + (bz ? 2 : 0) + (c_aligned(c, *ldc) ? 1 : 0);
    mains[sel](bt, m4, *n, *k, a, *a_stride, b, *ldb, c, *ldc, static_cast<R *>(dup_));
  }
  if (r != 0) row_tail<T, Row>(r, *n, *k, a + (m4 / UM) * *a_stride, b, *ldb, bt, flag, bz, c + m4, *ldc);
}

}  // namespace zor::gemm
