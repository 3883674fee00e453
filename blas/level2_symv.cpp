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
// part. Dense columns with unit strides go four at a time (one pass over
// the rows for the four updates and the four dots, the 4 by 4 block on the
// diagonal in scalars, each y[j + k] then taking s_k alpha); band and packed
// columns and strided vectors one at a time.
#include <zor/blas.h>

#include "blas/level2_rows.hpp"

namespace zor::blas::level2 {
namespace {

template <class E, bool Herm>
E diagonal_term(E t, E d) {
  if constexpr (Herm) return scaled_by_real(t, real_part(d));
  else return t * d;
}

// Four dense columns j..j+3 on unit strides.
template <class T, bool Herm>
void four_columns(bool upper, int64_t n, int64_t j, typename T::elem alpha, const DenseColumns<typename T::elem> &col,
                  typename T::elem *x, typename T::elem *y) {
  using E = typename T::elem;
  E t[4], s[4] = {};
  const E *c[4];
  Factor<E> f[4] = {Factor<E>(E{}), Factor<E>(E{}), Factor<E>(E{}), Factor<E>(E{})};
  for (int q = 0; q < 4; ++q) t[q] = alpha * x[j + q], c[q] = col(j + q), f[q] = Factor<E>(t[q]);
  // The 4 by 4 block: its diagonal, then each stored element off it once,
  // to its row's y and its column's dot.
  auto block = [&] {
    for (int q = 0; q < 4; ++q) {
      const int64_t jq = j + q;
      if (!upper) y[jq] = y[jq] + diagonal_term<E, Herm>(t[q], c[q][jq]);
      for (int r = upper ? 0 : q + 1; r < (upper ? q : 4); ++r) {
        const E a = c[q][j + r];
        y[j + r] = y[j + r] + t[q] * a;
        s[q] = s[q] + times<Herm>(a, x[j + r]);
      }
      if (upper) y[jq] = y[jq] + diagonal_term<E, Herm>(t[q], c[q][jq]);
    }
  };
  if (!upper) block();
  const int64_t lo = upper ? 0 : j + 4, hi = upper ? j : n;
  if (hi > lo) {
    const E *cs[4] = {c[0] + lo, c[1] + lo, c[2] + lo, c[3] + lo};
    row_pass<E, 4, true, true, Herm>(hi - lo, cs, f, x + lo, y + lo, s);
  }
  if (upper) block();
  for (int q = 0; q < 4; ++q) y[j + q] = y[j + q] + s[q] * alpha;
}

template <class T, bool Herm, class Columns>
void symmetric_product(bool upper, int64_t n, int64_t k, typename T::elem alpha, Columns col,
                       const Strided<typename T::elem> &x, const Strided<typename T::elem> &y) {
  using E = typename T::elem;
  using Rows = InRows<T>;
  int64_t j = 0, end = n;
  if constexpr (std::is_same_v<Columns, DenseColumns<E>>) {
    // Groups of four from the first column (lower) or up to the last
    // whole group (upper: the leftover columns are the last ones); singles
    // for the rest.
    if (Rows::unit(col(0), x) && Rows::unit(col(0), y)) {
      const int64_t groups = n / 4 * 4;
      if (upper) {
        for (; j < groups; j += 4) four_columns<T, Herm>(true, n, j, alpha, col, x.p, y.p);
      } else {
        for (int64_t g = 0; g < groups; g += 4) four_columns<T, Herm>(false, n, g, alpha, col, x.p, y.p);
        j = groups;
      }
    }
  }
  for (; j < end; ++j) {
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
  const E al = *static_cast<const E *>(alpha);
  if (n < 1) return {false, al, {}, {}};
  E *ys = vector_start(static_cast<E *>(y), n, *incy);
  if (!open_product(n, al, *static_cast<const E *>(beta), ys, *incy)) return {false, al, {}, {}};
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
