// Panel copies of the real precisions, one body for s and d.
//
// Packed A block: ceil(m / UM) panels of UM = two vectors of rows (4 doubles,
// 8 floats); panel p starts at p x panel_stride; within it, for each depth l
// in [0, k'), UM consecutive elements alpha x op(A)(p UM + i, l). Lanes past
// m and depths past k are zero (k' = k rounded up to 4).
//
// Packed B block: ceil(n / 4) panels, panel q at q x panel_stride; within it,
// for each depth l, the elements op(B)(l, 4q + j) of its columns. A tail panel
// of c = n mod 4 columns holds c elements per depth in row 0 (compact) and a
// whole number of vectors in row 1 (d: 3 -> 4, 2 -> 2, 1 -> 2 lanes; s: 4),
// the added lanes zero. Depths past k are zero in every panel. No copy of B
// multiplies by anything.
//
// The row 1 (_bvr) forms of the A copies produce the same layout as row 0.
#pragma once
#include <cstdint>

#include "frame/simd.hpp"
#include "frame/traits.hpp"
#include "gemm/blocking.hpp"

namespace zor::gemm {

template <class T>
struct RealPanels {
  using R = typename T::real;
  static constexpr int L = T::real_lanes;  // reals per vector
  static constexpr int UM = 2 * L;         // A panel width
  static constexpr int UN = 4;             // B panel width
  static constexpr int UK = 4;             // depth multiple
  // Lanes per depth step of a B tail panel of c columns.
  static constexpr int64_t tail_width(int64_t c, int row) { return row == 0 ? c : round_up(c, L); }
};

// Full panels of a non-transposed A: two vector loads per depth step, from an
// aligned or an unaligned source column.
template <class T, bool Aligned>
void copy_a_full_n(int64_t panels, int64_t k, int64_t kp, const typename T::real *src, int64_t lda,
                   typename T::real *buf, int64_t stride, typename T::real alpha) {
  using namespace zor::simd;
  using P = RealPanels<T>;
  const auto va = splat(alpha);
  for (int64_t p = 0; p < panels; ++p) {
    const typename T::real *col = src + p * P::UM;
    typename T::real *out = buf + p * stride;
    for (int64_t l = 0; l < k; ++l, col += lda, out += P::UM) {
      if constexpr (Aligned) {
        store_a(out, mul(va, load_a(col)));
        store_a(out + P::L, mul(va, load_a(col + P::L)));
      } else {
        store_a(out, mul(va, load_u(col)));
        store_a(out + P::L, mul(va, load_u(col + P::L)));
      }
    }
    for (int64_t l = k; l < kp; ++l, out += P::UM) {
      store_a(out, zero<typename T::vec>());
      store_a(out + P::L, zero<typename T::vec>());
    }
  }
}

// m x k block of op(A) into panels, times alpha. Transposed: source rows are
// rows of op(A), so element (i, l) is src[l + i lda].
template <class T, bool Trans>
void copy_a(const int64_t *m_, const int64_t *k_, const typename T::real *src, const int64_t *lda_,
            typename T::real *buf, const int64_t *stride_, const typename T::real *alpha_) {
  using R = typename T::real;
  using P = RealPanels<T>;
  const int64_t m = *m_, k = *k_;
  if (m < 1 || k < 1) return;
  const int64_t lda = *lda_, stride = *stride_, kp = round_up(k, P::UK);
  const R alpha = *alpha_;
  const int64_t full = m / P::UM, r = m - full * P::UM;
  if constexpr (!Trans) {
    const bool aligned = (reinterpret_cast<uintptr_t>(src) & 15) == 0 && (lda * int64_t(sizeof(R))) % 16 == 0;
    if (aligned) copy_a_full_n<T, true>(full, k, kp, src, lda, buf, stride, alpha);
    else copy_a_full_n<T, false>(full, k, kp, src, lda, buf, stride, alpha);
  } else {
    // Each panel gathers UM source rows; depth runs along them.
    for (int64_t p = 0; p < full; ++p) {
      const R *rows = src + p * P::UM * lda;
      R *out = buf + p * stride;
      for (int64_t l = 0; l < k; ++l, out += P::UM)
        for (int i = 0; i < P::UM; ++i) out[i] = alpha * rows[l + i * lda];
      for (int64_t l = k; l < kp; ++l, out += P::UM)
        for (int i = 0; i < P::UM; ++i) out[i] = R(0);
    }
  }
  if (r == 0) return;
  // The last panel keeps its full width: r products and zeros in each step.
  R *out = buf + full * stride;
  const int64_t i0 = full * P::UM;
  for (int64_t l = 0; l < k; ++l, out += P::UM) {
    for (int64_t i = 0; i < r; ++i) out[i] = alpha * (Trans ? src[l + (i0 + i) * lda] : src[i0 + i + l * lda]);
    for (int64_t i = r; i < P::UM; ++i) out[i] = R(0);
  }
  for (int64_t l = k; l < kp; ++l, out += P::UM)
    for (int i = 0; i < P::UM; ++i) out[i] = R(0);
}

// k x n block of op(B) into panels of four columns; tails by Row's rule.
// Transposed: element (l, j) is src[j + l ldb], so a panel's four elements of
// one depth lie next to each other in the source.
template <class T, bool Trans, int Row>
void copy_b(const int64_t *k_, const int64_t *n_, const typename T::real *src, const int64_t *ldb_,
            typename T::real *buf, const int64_t *stride_, const void *) {
  using R = typename T::real;
  using P = RealPanels<T>;
  const int64_t k = *k_, n = *n_;
  if (k < 1 || n < 1) return;
  const int64_t ldb = *ldb_, stride = *stride_, kp = round_up(k, P::UK);
  for (int64_t j0 = 0; j0 < n; j0 += P::UN) {
    const int64_t c = n - j0 < P::UN ? n - j0 : P::UN;
    const int64_t w = c == P::UN ? P::UN : P::tail_width(c, Row);
    R *out = buf + (j0 / P::UN) * stride;
    if (!Trans && c == P::UN) {
      const R *b0 = src + j0 * ldb, *b1 = b0 + ldb, *b2 = b1 + ldb, *b3 = b2 + ldb;
      for (int64_t l = 0; l < k; ++l, out += 4) {
        out[0] = b0[l];
        out[1] = b1[l];
        out[2] = b2[l];
        out[3] = b3[l];
      }
    } else if (Trans && c == P::UN) {
      const R *row = src + j0;
      for (int64_t l = 0; l < k; ++l, out += 4, row += ldb)
        for (int j = 0; j < 4; ++j) out[j] = row[j];
    } else {
      for (int64_t l = 0; l < k; ++l, out += w) {
        for (int64_t j = 0; j < c; ++j) out[j] = Trans ? src[j0 + j + l * ldb] : src[l + (j0 + j) * ldb];
        for (int64_t j = c; j < w; ++j) out[j] = R(0);
      }
    }
    for (int64_t l = k; l < kp; ++l, out += w)
      for (int64_t j = 0; j < w; ++j) out[j] = R(0);
  }
}

}  // namespace zor::gemm
