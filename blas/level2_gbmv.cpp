// General band products y := alpha op(A) x + beta y (?gbmv) and the fused
// pair y1 := alpha A x1 + beta y1, y2 := alpha op(A) x2 + beta y2 (?gem2vu
// with the transpose, ?gem2vc with the conjugate transpose; real data has
// only the first).
//
// ?gbmv opens with the frame of the general product (return when m or n is
// 0, or alpha is 0 and beta is 1; y := beta y, a zero beta never reading y;
// return when alpha is 0). Column j holds rows max(0, j - ku) to
// min(m - 1, j + kl), the diagonal in row ku of the array. 'N': the rows of
// column j take alpha x[j] times the column (unit strides: column pairs
// share a pass over the rows both hold); transposed: y[j] := s alpha + y[j],
// s the column's dot with x (conjugated for 'C'; unit strides: column pairs
// dotted in one pass over the rows both hold).
//
// ?gem2v: return when m or n is 0, or alpha is 0 and beta is 1; both y1 and
// y2 scaled; return when alpha is 0. Then one touch of each column j does
// both products: with t := alpha x1[j] the rows of y1 take t times the
// column while s sums conj_if(a[i, j]) x2[i]; then y2[j] := y2[j] + s alpha,
// alpha after the sum. Unit strides on element boundaries run the row pass,
// four columns a pass (then two, then one), anything else scalar loops of the
// same order.
#include <zor/blas.h>

#include <algorithm>
#include <array>
#include <utility>

#include "blas/level2_rows.hpp"

namespace zor::blas::level2 {
namespace {

template <class T, bool Conj>
void band_columns(Trans op, int64_t m, int64_t n, int64_t kl, int64_t ku, typename T::elem alpha,
                  const BandColumns<typename T::elem> &col, const Strided<typename T::elem> &x,
                  const Strided<typename T::elem> &y) {
  using E = typename T::elem;
  using Rows = InRows<T>;
  auto lo = [&](int64_t j) { return j - ku > 0 ? j - ku : 0; };
  auto hi = [&](int64_t j) { return j + kl + 1 < m ? j + kl + 1 : m; };
  int64_t j = 0;
  if (op == Trans::N && Rows::unit(col(0), y)) {
    // Column pairs: the rows the two share take both in one pass, each
    // element as ((y + t0 a0) + t1 a1), as two single columns would give;
    // the row at either end that only one of them holds goes alone.
    auto pair = [&](int64_t j) {
      const E t0 = alpha * x.get(j), t1 = alpha * x.get(j + 1);
      const int64_t lo0 = lo(j), hi0 = hi(j), lo1 = lo(j + 1), hi1 = hi(j + 1);
      if (lo1 >= hi0) {
        Rows::add(lo0, hi0, t0, col(j), y);
        Rows::add(lo1, hi1, t1, col(j + 1), y);
        return;
      }
      const E *c0 = col(j), *c1 = col(j + 1);
      for (int64_t i = lo0; i < lo1; ++i) y.p[i] = y.p[i] + t0 * c0[i];
      const E *c[2] = {c0 + lo1, c1 + lo1};
      const Factor<E> f[2] = {Factor<E>(t0), Factor<E>(t1)};
      row_pass<E, 2, true, false>(hi0 - lo1, c, f, nullptr, y.p + lo1, nullptr);
      for (int64_t i = hi0; i < hi1; ++i) y.p[i] = y.p[i] + t1 * c1[i];
    };
    // The columns cut at the top; the middle phase, whose columns are cut
    // at neither end, a run of pairs with their factors formed first; the
    // columns cut at the bottom.
    for (; j < ku && j + 1 < n; j += 2) pair(j);
    const int64_t middle_end = std::min(n, m - kl), len = kl + ku + 1;
    // (A group needs columns at least as long as it is wide.)
    auto middle = [&]<int G>() {
      while (j + G <= middle_end) {
        E t[G * tuned::kBandRun];
        const int64_t groups = std::min<int64_t>((middle_end - j) / G, tuned::kBandRun);
        for (int64_t q = 0; q < G * groups; ++q) t[q] = alpha * x.get(j + q);
        band_run<E, G, false, 0>(groups, len, col(j) + (j - ku), col.lda, t, y.p + (j - ku));
        j += G * groups;
      }
    };
    if (len >= tuned::kBandGroup) middle.template operator()<tuned::kBandGroup>();
    middle.template operator()<2>();
    for (; j + 1 < n; j += 2) pair(j);
  }
  if (op != Trans::N && Rows::unit(col(0), x)) {
    // Column pairs: both dots take the rows the two share in one pass; the
    // row only column j holds (at the top) goes before, the row only
    // column j + 1 holds (at the bottom) after.
    for (; j + 1 < n; j += 2) {
      const int64_t lo0 = lo(j), hi0 = hi(j), lo1 = lo(j + 1), hi1 = hi(j + 1);
      if (lo1 >= hi0) break;
      E s[2] = {Rows::template dot<Conj>(lo0, lo1, col(j), x), E{}};
      const E *c[2] = {col(j) + lo1, col(j + 1) + lo1};
      row_pass<E, 2, false, true, Conj>(hi0 - lo1, c, nullptr, x.p + lo1, nullptr, s);
      s[1] = s[1] + Rows::template dot<Conj>(hi0, hi1, col(j + 1), x);
      y.set(j, s[0] * alpha + y.get(j));
      y.set(j + 1, s[1] * alpha + y.get(j + 1));
    }
  }
  for (; j < n; ++j) {
    if (op == Trans::N) Rows::add(lo(j), hi(j), alpha * x.get(j), col(j), y);
    else y.set(j, Rows::template dot<Conj>(lo(j), hi(j), col(j), x) * alpha + y.get(j));
  }
}

template <class T>
void gbmv(const char *trans, const zor_int *m_, const zor_int *n_, const zor_int *kl, const zor_int *ku,
          const void *alpha_, const void *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta,
          void *y, const zor_int *incy) {
  using E = typename T::elem;
  const int64_t m = *m_, n = *n_;
  if (m == 0 || n == 0) return;
  const Trans op = product_trans<T::complex>(trans);
  const int64_t leny = op == Trans::N ? m : n, lenx = op == Trans::N ? n : m;
  const E alpha = load_any(static_cast<const E *>(alpha_));
  E *ys = vector_start(static_cast<E *>(y), leny, *incy);
  if (!open_product(leny, alpha, load_any(static_cast<const E *>(beta)), ys, *incy)) return;
  const BandColumns<E> col{const_cast<E *>(static_cast<const E *>(a)), *lda, *ku};
  const Strided<E> xs{vector_start(const_cast<E *>(static_cast<const E *>(x)), lenx, *incx), *incx}, yv{ys, *incy};
  if (op == Trans::C) band_columns<T, true>(op, m, n, *kl, *ku, alpha, col, xs, yv);
  else band_columns<T, false>(op, m, n, *kl, *ku, alpha, col, xs, yv);
}

template <class T>
void gem2v(const zor_int *m_, const zor_int *n_, const void *alpha_, const void *a, const zor_int *lda,
           const void *x1, const zor_int *incx1, const void *x2, const zor_int *incx2, const void *beta_, void *y1,
           const zor_int *incy1, void *y2, const zor_int *incy2) {
  using E = typename T::elem;
  const int64_t m = *m_, n = *n_;
  if (m == 0 || n == 0) return;
  const E alpha = load_any(static_cast<const E *>(alpha_)), beta = load_any(static_cast<const E *>(beta_));
  E *y1s = vector_start(static_cast<E *>(y1), m, *incy1), *y2s = vector_start(static_cast<E *>(y2), n, *incy2);
  const bool first = open_product(m, alpha, beta, y1s, *incy1), second = open_product(n, alpha, beta, y2s, *incy2);
  if (!first || !second) return;
  const DenseColumns<E> col{const_cast<E *>(static_cast<const E *>(a)), *lda};
  const Strided<E> x1s{vector_start(const_cast<E *>(static_cast<const E *>(x1)), n, *incx1), *incx1};
  const Strided<E> x2s{vector_start(const_cast<E *>(static_cast<const E *>(x2)), m, *incx2), *incx2};
  const Strided<E> y1v{y1s, *incy1}, y2v{y2s, *incy2};
  int64_t j = 0;
  if (InRows<T>::unit(col(0), x2s) && InRows<T>::unit(col(0), y1v)) {
    // Four columns a pass over the rows, then two, then one.
    auto group = [&]<int Cols>() {
      for (; j + Cols <= n; j += Cols) {
        E s[Cols] = {};
        const E *c[Cols];
        for (int q = 0; q < Cols; ++q) c[q] = col(j + q);
        const auto f = [&]<size_t... Q>(std::index_sequence<Q...>) {
          return std::array<Factor<E>, Cols>{Factor<E>(alpha * x1s.get(j + int64_t(Q)))...};
        }(std::make_index_sequence<Cols>());
        row_pass<E, Cols, true, true, T::complex>(m, c, f.data(), x2s.p, y1v.p, s);
        for (int q = 0; q < Cols; ++q) y2v.set(j + q, y2v.get(j + q) + s[q] * alpha);
      }
    };
    group.template operator()<4>();
    group.template operator()<2>();
  }
  for (; j < n; ++j) {
    E s{};
    InRows<T>::template add_dot<T::complex>(0, m, alpha * x1s.get(j), col(j), x2s, y1v, s);
    y2v.set(j, y2v.get(j) + s * alpha);
  }
}

}  // namespace
}  // namespace zor::blas::level2

using namespace zor;
using namespace zor::blas::level2;

// clang-format off
#define ZOR_GBMV(L, T, E) \
  ZOR_API void zor_blas_##L##gbmv(const char *trans, const zor_int *m, const zor_int *n, const zor_int *kl, const zor_int *ku, const E *alpha, const E *a, const zor_int *lda, const E *x, const zor_int *incx, const E *beta, E *y, const zor_int *incy) { gbmv<T>(trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy); }
ZOR_GBMV(s, S, float)
ZOR_GBMV(d, D, double)
ZOR_GBMV(c, C, void)
ZOR_GBMV(z, Z, void)
#undef ZOR_GBMV
#define ZOR_GEM2V(NAME, T, E) \
  ZOR_API void zor_blas_##NAME(const zor_int *m, const zor_int *n, const E *alpha, const E *a, const zor_int *lda, const E *x1, const zor_int *incx1, const E *x2, const zor_int *incx2, const E *beta, E *y1, const zor_int *incy1, E *y2, const zor_int *incy2) { gem2v<T>(m, n, alpha, a, lda, x1, incx1, x2, incx2, beta, y1, incy1, y2, incy2); }
ZOR_GEM2V(sgem2vu, S, float)
ZOR_GEM2V(dgem2vu, D, double)
ZOR_GEM2V(cgem2vc, C, void)
ZOR_GEM2V(zgem2vc, Z, void)
#undef ZOR_GEM2V
// clang-format on
