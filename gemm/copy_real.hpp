// Panel copies of the real precisions, one body for s and d; the layouts are
// those of gemm/panels.hpp. The real rows pad the depth to 4 in both rows,
// and the row 1 (_bvr) forms of the A copies produce the same layout as
// row 0; the B copies differ in the width of a tail panel.
#pragma once
#include <cstdint>

#include "frame/letters.hpp"
#include "frame/simd.hpp"
#include "frame/traits.hpp"
#include "gemm/panels.hpp"
#include "gemm/parameters.hpp"

namespace zor::gemm {

// Full panels of a non-transposed A: two vector loads per depth step, from an
// aligned or an unaligned source column.
template <class T, bool Aligned>
void copy_a_full_n(int64_t panels, int64_t k, int64_t kp, const typename T::real *src, int64_t lda,
                   typename T::real *buf, int64_t stride, typename T::real alpha) {
  using namespace zor::simd;
  using P = Panels<T>;
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
  using P = Panels<T>;
  const int64_t m = *m_, k = *k_;
  if (m < 1 || k < 1) return;
  const int64_t lda = *lda_, stride = *stride_, kp = round_up(k, P::depth_multiple(0));
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
  using P = Panels<T>;
  const int64_t k = *k_, n = *n_;
  if (k < 1 || n < 1) return;
  const int64_t ldb = *ldb_, stride = *stride_, kp = round_up(k, P::depth_multiple(Row));
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

// Packing from an element accessor get(i, l) (A) or get(l, j) (B), for the
// extended copies below: same layouts as the copies above, alpha 1.
template <class T, class Get>
void pack_a_with(int64_t m, int64_t k, Get get, typename T::real *buf, int64_t stride) {
  using R = typename T::real;
  using P = Panels<T>;
  const int64_t kp = round_up(k, P::depth_multiple(0));
  for (int64_t p = 0; p * P::UM < m; ++p) {
    R *out = buf + p * stride;
    const int64_t i0 = p * P::UM, w = m - i0 < P::UM ? m - i0 : P::UM;
    for (int64_t l = 0; l < kp; ++l, out += P::UM)
      for (int64_t i = 0; i < P::UM; ++i) out[i] = i < w && l < k ? get(i0 + i, l) : R(0);
  }
}
template <class T, int Row, class Get>
void pack_b_with(int64_t k, int64_t n, Get get, typename T::real *buf, int64_t stride) {
  using R = typename T::real;
  using P = Panels<T>;
  const int64_t kp = round_up(k, P::depth_multiple(Row));
  for (int64_t j0 = 0; j0 < n; j0 += P::UN) {
    const int64_t c = n - j0 < P::UN ? n - j0 : P::UN;
    const int64_t w = c == P::UN ? P::UN : P::tail_width(c, Row);
    R *out = buf + (j0 / P::UN) * stride;
    for (int64_t l = 0; l < kp; ++l, out += w)
      for (int64_t j = 0; j < w; ++j) out[j] = j < c && l < k ? get(l, j0 + j) : R(0);
  }
}

// Extended copies of the three-multiplication path: request 256 splits a
// block of a complex operand (interleaved, in the form 'N', 'T' or 'C' given
// by trans) straight into three packed blocks of this real row: real parts,
// imaginary parts (negated for 'C') and their sums. A: rows x cols = m x k of
// op(A); B: k x n of op(B). Other requests do nothing and return 1.
template <class T, int Row, bool IsA>
int32_t copy_ext(int32_t request, const char *trans, const int64_t *rows_, const int64_t *cols_,
                 const void *src_, const int64_t *ld_, void *re_, void *im_, void *sum_, const int64_t *stride_) {
  using R = typename T::real;
  if (request != fixed::kExtSplit) return 1;
  const int64_t rows = *rows_, cols = *cols_, ld = *ld_, stride = *stride_;
  if (rows < 1 || cols < 1) return 0;
  const R *src = static_cast<const R *>(src_);
  const bool plain = is_letter(trans, 'N'), conj = is_letter(trans, 'C');
  // Interleaved element (r, c) of op(X): real part at [0], imaginary at [1].
  const auto at = [&](int64_t r, int64_t c) { return src + 2 * (plain ? r + c * ld : c + r * ld); };
  const auto re = [&](int64_t r, int64_t c) { return at(r, c)[0]; };
  const auto im = [&](int64_t r, int64_t c) { return conj ? -at(r, c)[1] : at(r, c)[1]; };
  const auto sum = [&](int64_t r, int64_t c) { return re(r, c) + im(r, c); };
  R *outs[3] = {static_cast<R *>(re_), static_cast<R *>(im_), static_cast<R *>(sum_)};
  if constexpr (IsA) {
    pack_a_with<T>(rows, cols, re, outs[0], stride);
    pack_a_with<T>(rows, cols, im, outs[1], stride);
    pack_a_with<T>(rows, cols, sum, outs[2], stride);
  } else {
    pack_b_with<T, Row>(rows, cols, re, outs[0], stride);
    pack_b_with<T, Row>(rows, cols, im, outs[1], stride);
    pack_b_with<T, Row>(rows, cols, sum, outs[2], stride);
  }
  return 0;
}

}  // namespace zor::gemm
