// Rank-one updates A := alpha x y^T + A (sger, dger, cgeru, zgeru) and
// A := alpha x y^H + A (cgerc, zgerc).
//
// Return when m or n is below 1 or alpha is 0 (complex: both parts). Then
// column by column: a column whose y[j] equals 0 (both parts; a NaN is not
// 0) is passed over, so a NaN in x does not reach it. Otherwise
// t := alpha y[j] (alpha conj(y[j]) for the conjugated forms), in that order
// of the product, and the column takes t x: through the tier's x?axpy (m, t,
// x, incx, column, 1), which carries the speed of long columns; complex forms
// with an increment of x other than 1 run a plain loop instead, from the
// standard's first element. Short columns (m up to a tuned bound) with x of
// unit stride on its element boundary run the row pass here, without a call
// per column: a small update (a 16 by 16 elimination step) costs more in
// calls than in arithmetic. Both lengths take columns in groups over one
// pass of x (long columns eight, short ones four) until a group holds a
// y[j] of 0, then the rest one by one. Each element takes a[i, j] + x[i] t
// every way, so all give the same bits.
#include <zor/blas.h>

#include <array>
#include <utility>

#include "blas/level2_rows.hpp"

namespace zor::blas::level2 {
namespace {

// Columns c[0..Cols) each take their factor times x over m rows, in one pass
// over x: each element a + t x; rows singly up to the first column's 16-byte
// boundary, then registers, then the last rows singly.
template <class E, int Cols>
ZOR_HOT inline void columns_take_x(int64_t m, const E *x, const Factor<E> *t, E *const *c) {
  using P = Pack<E>;
  constexpr int L = P::n;
  auto row = [&](int64_t i) ZOR_HOT {
    for (int k = 0; k < Cols; ++k) c[k][i] = c[k][i] + t[k].s * x[i];
  };
  int64_t i = 0;
  if constexpr (L > 1)
    while (i < m && !aligned_to(c[0] + i, 16)) row(i++);
  const std::array<Factor<E>, Cols> f = [&]<size_t... K>(std::index_sequence<K...>) {
    return std::array<Factor<E>, Cols>{Factor<E>(t[K].s)...};
  }(std::make_index_sequence<Cols>());
  E *ck[Cols];
  for (int k = 0; k < Cols; ++k) ck[k] = c[k];
  ladder<2>((m - i) / L, [&]<int Count>() ZOR_HOT {
    for (int u = 0; u < Count; ++u, i += L) {
      const vec_t<E> xv = P::load(x + i);
      for (int k = 0; k < Cols; ++k) P::store(ck[k] + i, simd::add(P::load(ck[k] + i), f[k].times(xv)));
    }
  });
  for (; i < m; ++i) row(i);
}

template <class T, bool Conj>
void ger(const zor_int *m_, const zor_int *n_, const void *alpha_, const void *x_, const zor_int *incx_,
         const void *y_, const zor_int *incy_, void *a_, const zor_int *lda_) {
  using E = typename T::elem;
  const int64_t m = *m_, n = *n_, incx = *incx_, incy = *incy_, lda = *lda_;
  if (m < 1 || n < 1) return;
  const E alpha = load_any(static_cast<const E *>(alpha_));
  if (is_zero(alpha)) return;
  const E *x = static_cast<const E *>(x_);
  const Strided<const E> y{vector_start(static_cast<const E *>(y_), n, incy), incy};
  const Strided<const E> xs{vector_start(x, m, incx), incx};
  E *a = static_cast<E *>(a_);
  const zor_int one = 1;
  const bool inline_rows = m <= tuned::kGerInlineRows && incx == 1 && on_boundary(x) && on_boundary(a);
  int64_t j = 0;
  auto groups = [&]<int G>() {
    for (; j + G <= n; j += G) {
      bool zero = false;
      for (int k = 0; k < G; ++k) zero = zero || is_zero(y.get(j + k));
      if (zero) break;
      const auto f = [&]<size_t... K>(std::index_sequence<K...>) {
        return std::array<Factor<E>, G>{Factor<E>(alpha * conj_if<Conj>(y.get(j + int64_t(K))))...};
      }(std::make_index_sequence<G>());
      E *c[G];
      for (int k = 0; k < G; ++k) c[k] = a + (j + k) * lda;
      columns_take_x<E, G>(m, x, f.data(), c);
    }
  };
  if (incx == 1 && on_boundary(x) && on_boundary(a)) {
    if (!inline_rows) groups.template operator()<tuned::kGerColumns>();
    else groups.template operator()<tuned::kGerShortColumns>();
  }
  for (; j < n; ++j) {
    const E yj = y.get(j);
    if (is_zero(yj)) continue;
    const E t = alpha * conj_if<Conj>(yj);
    E *col = a + j * lda;
    if (inline_rows) {
      level2::axpy(m, t, x, col);
    } else if (!T::complex || incx == 1) {
      imports<T>::xaxpy(m_, &t, x, incx_, col, &one);
    } else {
      for (int64_t i = 0; i < m; ++i) store_any(col + i, load_any(col + i) + xs.get(i) * t);
    }
  }
}

}  // namespace
}  // namespace zor::blas::level2

using namespace zor;
using zor::blas::level2::ger;

// clang-format off
ZOR_API void zor_blas_sger(const zor_int *m, const zor_int *n, const float *alpha, const float *x, const zor_int *incx, const float *y, const zor_int *incy, float *a, const zor_int *lda) { ger<S, false>(m, n, alpha, x, incx, y, incy, a, lda); }
ZOR_API void zor_blas_dger(const zor_int *m, const zor_int *n, const double *alpha, const double *x, const zor_int *incx, const double *y, const zor_int *incy, double *a, const zor_int *lda) { ger<D, false>(m, n, alpha, x, incx, y, incy, a, lda); }
ZOR_API void zor_blas_cgeru(const zor_int *m, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y, const zor_int *incy, void *a, const zor_int *lda) { ger<C, false>(m, n, alpha, x, incx, y, incy, a, lda); }
ZOR_API void zor_blas_zgeru(const zor_int *m, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y, const zor_int *incy, void *a, const zor_int *lda) { ger<Z, false>(m, n, alpha, x, incx, y, incy, a, lda); }
ZOR_API void zor_blas_cgerc(const zor_int *m, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y, const zor_int *incy, void *a, const zor_int *lda) { ger<C, true>(m, n, alpha, x, incx, y, incy, a, lda); }
ZOR_API void zor_blas_zgerc(const zor_int *m, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y, const zor_int *incy, void *a, const zor_int *lda) { ger<Z, true>(m, n, alpha, x, incx, y, incy, a, lda); }
// clang-format on
