// Symmetric and Hermitian products y := alpha A x + beta y with one stored
// triangle, dense (x?symv, ?hemv), band (?sbmv, ?hbmv) and packed (?spmv,
// ?hpmv). uplo 'U' or 'u' upper, anything else lower.
//
// The frame of the general product opens every call: return when n is
// below 1, or alpha is 0 and beta is 1; y := beta y (a zero beta stores
// zeros without reading y); return when alpha is 0.
//
// One pass over the stored triangle serves both halves of the matrix: each
// stored element off the diagonal is used for the update of its row's y
// and for the dot of its column in the same touch. Column j, with
// t := alpha x[j]:
//   lower: y[j] takes t a[j, j]; the rows below take t times the column
//     while s sums conj_if(a[i, j]) x[i]; then y[j] := y[j] + s alpha;
//   upper: the rows above likewise; then y[j] := (y[j] + t a[j, j]) +
//     s alpha.
// alpha is applied after the sum. Hermitian forms conjugate the dot's
// terms and take only the real part of the diagonal, never its imaginary
// part. Dense columns go four at a time (one pass over the rows for the four
// updates and the four dots, the 4 by 4 block on the diagonal in scalars,
// each y[j + k] then taking s_k alpha), packed columns with unit strides two
// at a time; band columns one at a time.
#include <zor/blas.h>

#include <array>
#include <utility>

#include "blas/level2_rows.hpp"

namespace zor::blas::level2 {
namespace {

template <class E, bool Herm>
E diagonal_term(E t, E d) {
  if constexpr (Herm) return scaled_by_real(t, real_part(d));
  else return t * d;
}

// Cols columns j.. j + Cols - 1 in one pass over the rows off their
// diagonal block (below it for lower, above for upper): each row's y takes
// the Cols terms t_k a[i, j + k] in column order while the Cols dots take
// their terms; the diagonal block is expanded in scalars (before the pass
// for lower, after it for upper), its diagonal first in each column, then
// each stored element off it once, to its row's y and its column's dot;
// finally y[j + k] := y[j + k] + s_k alpha. With unit strides on element
// boundaries the pass is the row pass (the lanes of each dot kept apart to
// the end), otherwise scalar rows in pairs, each dot's even and odd rows
// kept apart to the end.
template <class T, bool Herm, int Cols, class Columns>
void column_group(bool upper, bool unit, int64_t n, int64_t j, typename T::elem alpha, const Columns &col,
                  const Strided<typename T::elem> &x, const Strided<typename T::elem> &y) {
  using E = typename T::elem;
  E t[Cols], s[Cols] = {};
  const E *c[Cols];
  for (int q = 0; q < Cols; ++q) t[q] = alpha * x.get(j + q), c[q] = col(j + q);
  const auto f = [&]<size_t... Q>(std::index_sequence<Q...>) {
    return std::array<Factor<E>, Cols>{Factor<E>(t[Q])...};
  }(std::make_index_sequence<Cols>());
  auto block = [&] {
    for (int q = 0; q < Cols; ++q) {
      const int64_t jq = j + q;
      if (!upper) y.set(jq, y.get(jq) + diagonal_term<E, Herm>(t[q], load_any(c[q] + jq)));
      for (int r = upper ? 0 : q + 1; r < (upper ? q : Cols); ++r) {
        const E a = load_any(c[q] + j + r);
        y.set(j + r, y.get(j + r) + t[q] * a);
        s[q] = s[q] + times<Herm>(a, x.get(j + r));
      }
      if (upper) y.set(jq, y.get(jq) + diagonal_term<E, Herm>(t[q], load_any(c[q] + jq)));
    }
  };
  if (!upper) block();
  const int64_t lo = upper ? 0 : j + Cols, hi = upper ? j : n;
  if (hi > lo && unit) {
    const E *cs[Cols];
    for (int q = 0; q < Cols; ++q) cs[q] = c[q] + lo;
    row_pass<E, Cols, true, true, Herm>(hi - lo, cs, f.data(), x.p + lo, y.p + lo, s);
  } else if (hi > lo) {
    // Rows in pairs, the even and the odd rows of each dot summed apart and
    // joined at the end, as the two lanes of the row pass; a last row alone.
    auto row = [&](int64_t i, E *sum) {
      const E xi = x.get(i);
      E v = y.get(i);
      for (int q = 0; q < Cols; ++q) {
        const E a = load_any(c[q] + i);
        v = v + t[q] * a;
        sum[q] = sum[q] + times<Herm>(a, xi);
      }
      y.set(i, v);
    };
    E lane[2][Cols] = {};
    int64_t i = lo;
    for (; i + 2 <= hi; i += 2) row(i, lane[0]), row(i + 1, lane[1]);
    if (i > lo)
      for (int q = 0; q < Cols; ++q) s[q] = s[q] + (lane[0][q] + lane[1][q]);
    if (i < hi) row(i, s);
  }
  if (upper) block();
  for (int q = 0; q < Cols; ++q) y.set(j + q, y.get(j + q) + s[q] * alpha);
}

// Dense and packed columns go in groups (dense four, packed two; for lower
// from the first column, for upper likewise, so that the leftover columns
// are the last ones), band columns singly. A single column j: lower, y[j]
// takes t a[j, j], the rows below take their terms while s sums, then
// y[j] += s alpha; upper, the rows above first, then
// y[j] := (y[j] + t a[j, j]) + s alpha.
template <class T, bool Herm, class Columns>
void symmetric_product(bool upper, int64_t n, int64_t k, typename T::elem alpha, Columns col,
                       const Strided<typename T::elem> &x, const Strided<typename T::elem> &y) {
  using E = typename T::elem;
  using Rows = InRows<T>;
  constexpr int group = std::is_same_v<Columns, DenseColumns<E>>    ? 4
                        : std::is_same_v<Columns, PackedColumns<E>> ? 2
                                                                    : 1;
  int64_t j = 0;
  if constexpr (group > 1) {
    // Packed columns group only on unit strides; dense ones always.
    const bool unit = Rows::unit(col(0), x) && Rows::unit(col(0), y);
    if (group == 4 || unit)
      for (; j + group <= n; j += group) column_group<T, Herm, group>(upper, unit, n, j, alpha, col, x, y);
  }
  for (; j < n; ++j) {
    const E t = alpha * x.get(j), *c = col(j);
    E s{};
    const E d = diagonal_term<E, Herm>(t, load_any(c + j));
    if (upper) {
      Rows::template add_dot<Herm>(j - k > 0 ? j - k : 0, j, t, c, x, y, s);
      y.set(j, (y.get(j) + d) + s * alpha);
    } else {
      y.set(j, y.get(j) + d);
      Rows::template add_dot<Herm>(j + 1, j + k + 1 < n ? j + k + 1 : n, t, c, x, y, s);
      y.set(j, y.get(j) + s * alpha);
    }
  }
}

template <class T>
struct Product {
  using E = typename T::elem;
  bool go;
  E alpha;
  Strided<E> x, y;
};
template <class T>
Product<T> open_symmetric(int64_t n, const void *alpha, const void *x, const zor_int *incx, const void *beta, void *y,
                          const zor_int *incy) {
  using E = typename T::elem;
  const E al = load_any(static_cast<const E *>(alpha));
  if (n < 1) return {false, al, {}, {}};
  E *ys = vector_start(static_cast<E *>(y), n, *incy);
  if (!open_product(n, al, load_any(static_cast<const E *>(beta)), ys, *incy)) return {false, al, {}, {}};
  return {true, al, {vector_start(const_cast<E *>(static_cast<const E *>(x)), n, *incx), *incx}, {ys, *incy}};
}

template <class T>
void symv(const char *uplo, const zor_int *n_, const void *alpha, const void *a, const zor_int *lda, const void *x,
          const zor_int *incx, const void *beta, void *y, const zor_int *incy) {
  using E = typename T::elem;
  const int64_t n = *n_;
  const Product<T> p = open_symmetric<T>(n, alpha, x, incx, beta, y, incy);
  if (!p.go) return;
  symmetric_product<T, T::complex>(is_letter(uplo, 'U'), n, n, p.alpha,
                                   DenseColumns<E>{const_cast<E *>(static_cast<const E *>(a)), *lda}, p.x, p.y);
}
template <class T>
void sbmv(const char *uplo, const zor_int *n_, const zor_int *k, const void *alpha, const void *a, const zor_int *lda,
          const void *x, const zor_int *incx, const void *beta, void *y, const zor_int *incy) {
  using E = typename T::elem;
  const int64_t n = *n_;
  const Product<T> p = open_symmetric<T>(n, alpha, x, incx, beta, y, incy);
  if (!p.go) return;
  const bool upper = is_letter(uplo, 'U');
  symmetric_product<T, T::complex>(
      upper, n, *k, p.alpha, BandColumns<E>{const_cast<E *>(static_cast<const E *>(a)), *lda, upper ? *k : 0}, p.x,
      p.y);
}
template <class T>
void spmv(const char *uplo, const zor_int *n_, const void *alpha, const void *ap, const void *x, const zor_int *incx,
          const void *beta, void *y, const zor_int *incy) {
  using E = typename T::elem;
  const int64_t n = *n_;
  const Product<T> p = open_symmetric<T>(n, alpha, x, incx, beta, y, incy);
  if (!p.go) return;
  const bool upper = is_letter(uplo, 'U');
  symmetric_product<T, T::complex>(upper, n, n, p.alpha,
                                   PackedColumns<E>{const_cast<E *>(static_cast<const E *>(ap)), n, upper}, p.x, p.y);
}

}  // namespace
}  // namespace zor::blas::level2

using namespace zor;
using namespace zor::blas::level2;

// clang-format off
#define ZOR_SYMMETRIC(SY, SB, SP, T, E)                                                                                                                                                                                                 \
  ZOR_API void zor_blas_##SY(const char *uplo, const zor_int *n, const E *alpha, const E *a, const zor_int *lda, const E *x, const zor_int *incx, const E *beta, E *y, const zor_int *incy) { symv<T>(uplo, n, alpha, a, lda, x, incx, beta, y, incy); } \
  ZOR_API void zor_blas_##SB(const char *uplo, const zor_int *n, const zor_int *k, const E *alpha, const E *a, const zor_int *lda, const E *x, const zor_int *incx, const E *beta, E *y, const zor_int *incy) { sbmv<T>(uplo, n, k, alpha, a, lda, x, incx, beta, y, incy); } \
  ZOR_API void zor_blas_##SP(const char *uplo, const zor_int *n, const E *alpha, const E *ap, const E *x, const zor_int *incx, const E *beta, E *y, const zor_int *incy) { spmv<T>(uplo, n, alpha, ap, x, incx, beta, y, incy); }
ZOR_SYMMETRIC(xssymv, ssbmv, sspmv, S, float)
ZOR_SYMMETRIC(xdsymv, dsbmv, dspmv, D, double)
ZOR_SYMMETRIC(chemv, chbmv, chpmv, C, void)
ZOR_SYMMETRIC(zhemv, zhbmv, zhpmv, Z, void)
#undef ZOR_SYMMETRIC
// clang-format on
