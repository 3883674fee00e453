// Symmetric and Hermitian rank-one and rank-two updates, dense and packed:
//   A := alpha x x^T + A        x?syr, ?spr (s, d)
//   A := alpha x x^H + A        ?her, ?hpr (c, z; alpha real)
//   A := alpha x y^T + alpha y x^T + A            x?syr2, ?spr2
//   A := alpha x y^H + conj(alpha) y x^H + A      ?her2, ?hpr2
// and the slices x?syr_in_thread, x?syr2_in_thread. Only the triangle named
// by uplo ('U' or 'u' upper, anything else lower) is touched.
//
// Return when n is 0 or alpha is 0 (complex alpha: both parts). Then column
// by column:
//  - rank one: a column whose x[j] equals 0 is passed over (a NaN is not 0).
//    Otherwise t := x[j] alpha (Hermitian: alpha conj(x[j])) and the
//    column's rows take a[i, j] + x[i] t;
//  - rank two: a column with x[j] and y[j] both 0 is passed over; otherwise
//    t1 := alpha y[j], t2 := alpha x[j] (Hermitian: alpha conj(y[j]) and
//    conj(alpha x[j])) and the rows take (a[i, j] + x[i] t1) + y[i] t2, in
//    one touch of the column;
//  - Hermitian forms never read the imaginary part of the diagonal and store
//    0 there, also for a column that is passed over; the diagonal takes
//    re(a[j, j]) + re(x[j] t) (rank two: + re(x[j] t1 + y[j] t2)).
// With unit increments on element boundaries the rows run the row pass
// (peel to the column's 16-byte boundary, then registers), rank-two
// columns in pairs; the Hermitian rank one goes through the tier's x?axpy
// when incx is 1. Otherwise scalar loops, a negative increment starting at
// the far end.
//
// Slices: a thread gets n consecutive columns of a larger triangle. Its
// part is a trapezoid of n columns whose rows run to row off + n of the
// block the pointers stand at: lower, column j holds rows j to n + off - 1
// (a and x offset by the caller to the slice's first diagonal element);
// upper, column j holds rows 0 to off + j, its diagonal at row off + j (a at
// the top of the slice's first column, x at the vector's start). x (and y)
// are read over n + off elements from the start the increment gives, so
// threads on disjoint slices write disjoint elements and read x in common.
// off = 0 is the whole update of order n.
#include <zor/blas.h>

#include <algorithm>

#include "blas/level2_rows.hpp"

namespace zor::blas::level2 {
namespace {

// Rows [0, len) of two columns of a rank-two update in one pass over x and
// y, each element as (a + x_i t1) + y_i t2 with its column's factors; rows
// singly up to the first column's 16-byte boundary, then registers, then
// the last rows singly.
template <class E>
ZOR_HOT inline void pair_pass(int64_t len, const E *x, const E *y, const Factor<E> (&f)[2][2], E *c0, E *c1) {
  using P = Pack<E>;
  using V = vec_t<E>;
  constexpr int L = P::n;
  auto row = [&](int64_t i) ZOR_HOT {
    const E xi = x[i], yi = y[i];
    c0[i] = (c0[i] + f[0][0].s * xi) + f[0][1].s * yi;
    c1[i] = (c1[i] + f[1][0].s * xi) + f[1][1].s * yi;
  };
  int64_t i = 0;
  if constexpr (L > 1)
    while (i < len && !aligned_to(c0 + i, 16)) row(i++);
  const Factor<E> f00(f[0][0].s), f01(f[0][1].s), f10(f[1][0].s), f11(f[1][1].s);
  ladder<4>((len - i) / L, [&]<int Count>() ZOR_HOT {
    for (int u = 0; u < Count; ++u, i += L) {
      const V xv = P::load(x + i), yv = P::load(y + i);
      const V a0 = L > 1 ? P::load_a(c0 + i) : P::load(c0 + i), a1 = P::load(c1 + i);
      const V b0 = simd::add(simd::add(a0, f00.times(xv)), f01.times(yv));
      const V b1 = simd::add(simd::add(a1, f10.times(xv)), f11.times(yv));
      if constexpr (L > 1) P::store_a(c0 + i, b0);
      else P::store(c0 + i, b0);
      P::store(c1 + i, b1);
    }
  });
  for (; i < len; ++i) row(i);
}

// Rank one (Two false) or two, alpha of type A (real for ?her, ?hpr).
// With unit strides a rank-two update takes its columns in pairs: the rows
// both hold in one pass, the row only one of them holds alone.
template <class T, bool Two, class A, class Columns>
void rank_update(bool upper, int64_t n, int64_t off, A alpha, const typename T::elem *x, int64_t incx,
                 const typename T::elem *y, int64_t incy, Columns column) {
  using E = typename T::elem;
  using R = typename T::real;
  if (n < 1) return;
  const int64_t len = n + off;
  const Strided<const E> xs{vector_start(x, len, incx), incx};
  const Strided<const E> ys{Two ? vector_start(y, len, incy) : nullptr, incy};
  const bool unit = incx == 1 && (!Two || incy == 1) && on_boundary(x) && (!Two || on_boundary(y)) &&
                    on_boundary(column(0));
  // Column j made ready: false when passed over; else its factors, its
  // diagonal done if Hermitian, and the rows [lo, hi) left to update.
  struct Column {
    E *col;
    E t1, t2;
    int64_t lo, hi;
  };
  auto ready = [&](int64_t j, Column &c) {
    const int64_t d = upper ? off + j : j;  // the diagonal's row
    c.lo = upper ? 0 : j, c.hi = upper ? d + 1 : len;
    c.col = column(j);
    const E xj = xs.get(d), yj = Two ? ys.get(d) : E{};
    if (is_zero(xj) && (!Two || is_zero(yj))) {
      if constexpr (T::complex) store_any(c.col + d, E{load_any(c.col + d).re, R(0)});
      return false;
    }
    c.t2 = E{};
    if constexpr (Two) c.t1 = alpha * conj_if<true>(yj), c.t2 = conj_if<true>(alpha * xj);
    else if constexpr (T::complex) c.t1 = alpha * conj_if<true>(xj);
    else c.t1 = xj * alpha;
    if constexpr (T::complex) {
      // The diagonal apart: its real part only.
      const E dj = Two ? xj * c.t1 + yj * c.t2 : xj * c.t1;
      store_any(c.col + d, E{load_any(c.col + d).re + dj.re, R(0)});
      if (upper) c.hi = d;
      else c.lo = d + 1;
    }
    return true;
  };
  // The rows [lo, hi) of one column.
  auto update = [&](const Column &c, int64_t lo, int64_t hi) {
    if (hi <= lo) return;
    if (unit) {
      E *a = c.col + lo;
      if constexpr (T::complex && !Two) {
        const zor_int count = hi - lo, one = 1;
        imports<T>::xaxpy(&count, &c.t1, x + lo, &one, a, &one);
      } else {
        const E *v[2] = {x + lo, Two ? y + lo : nullptr};
        const Factor<E> f[2] = {Factor<E>(c.t1), Factor<E>(c.t2)};
        row_pass<E, Two ? 2 : 1, true, false>(hi - lo, v, f, nullptr, a, nullptr);
      }
    } else {
      for (int64_t i = lo; i < hi; ++i) {
        E v = load_any(c.col + i) + xs.get(i) * c.t1;
        if constexpr (Two) v = v + ys.get(i) * c.t2;
        store_any(c.col + i, v);
      }
    }
  };
  for (int64_t j = 0; j < n; ++j) {
    Column c0{}, c1{};
    const bool go0 = ready(j, c0);
    if constexpr (Two) {
      if (unit && j + 1 < n) {
        const bool go1 = ready(++j, c1);
        if (go0 && go1) {
          const int64_t lo = std::max(c0.lo, c1.lo), hi = std::min(c0.hi, c1.hi);
          update(c0, c0.lo, lo), update(c1, c1.lo, lo);
          if (hi > lo) {
            const Factor<E> f[2][2] = {{Factor<E>(c0.t1), Factor<E>(c0.t2)}, {Factor<E>(c1.t1), Factor<E>(c1.t2)}};
            pair_pass<E>(hi - lo, x + lo, y + lo, f, c0.col + lo, c1.col + lo);
          }
          update(c0, std::max(hi, c0.lo), c0.hi), update(c1, std::max(hi, c1.lo), c1.hi);
          continue;
        }
        if (go1) update(c1, c1.lo, c1.hi);
      }
    }
    if (go0) update(c0, c0.lo, c0.hi);
  }
}

template <class T, class A>
bool skip(int64_t n, A alpha) {
  return n == 0 || is_zero(alpha);
}

template <class T, class A>
void syr(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, void *a,
         const zor_int *lda, int64_t off) {
  using E = typename T::elem;
  const A al = load_any(static_cast<const A *>(alpha));
  if (skip<T>(*n, al)) return;
  rank_update<T, false>(is_letter(uplo, 'U'), *n, off, al, static_cast<const E *>(x), *incx, nullptr, 0,
                        DenseColumns<E>{static_cast<E *>(a), *lda});
}
template <class T, class A>
void spr(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, void *ap) {
  using E = typename T::elem;
  const A al = load_any(static_cast<const A *>(alpha));
  if (skip<T>(*n, al)) return;
  const bool upper = is_letter(uplo, 'U');
  rank_update<T, false>(upper, *n, 0, al, static_cast<const E *>(x), *incx, nullptr, 0,
                        PackedColumns<E>{static_cast<E *>(ap), *n, upper});
}
template <class T>
void syr2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y,
          const zor_int *incy, void *a, const zor_int *lda, int64_t off) {
  using E = typename T::elem;
  const E al = load_any(static_cast<const E *>(alpha));
  if (skip<T>(*n, al)) return;
  rank_update<T, true>(is_letter(uplo, 'U'), *n, off, al, static_cast<const E *>(x), *incx,
                       static_cast<const E *>(y), *incy, DenseColumns<E>{static_cast<E *>(a), *lda});
}
template <class T>
void spr2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y,
          const zor_int *incy, void *ap) {
  using E = typename T::elem;
  const E al = load_any(static_cast<const E *>(alpha));
  if (skip<T>(*n, al)) return;
  const bool upper = is_letter(uplo, 'U');
  rank_update<T, true>(upper, *n, 0, al, static_cast<const E *>(x), *incx, static_cast<const E *>(y), *incy,
                       PackedColumns<E>{static_cast<E *>(ap), *n, upper});
}

}  // namespace
}  // namespace zor::blas::level2

using namespace zor;
using namespace zor::blas::level2;

// clang-format off
ZOR_API void zor_blas_xssyr(const char *uplo, const zor_int *n, const float *alpha, const float *x, const zor_int *incx, float *a, const zor_int *lda) { syr<S, float>(uplo, n, alpha, x, incx, a, lda, 0); }
ZOR_API void zor_blas_xdsyr(const char *uplo, const zor_int *n, const double *alpha, const double *x, const zor_int *incx, double *a, const zor_int *lda) { syr<D, double>(uplo, n, alpha, x, incx, a, lda, 0); }
ZOR_API void zor_blas_cher(const char *uplo, const zor_int *n, const float *alpha, const void *x, const zor_int *incx, void *a, const zor_int *lda) { syr<C, float>(uplo, n, alpha, x, incx, a, lda, 0); }
ZOR_API void zor_blas_zher(const char *uplo, const zor_int *n, const double *alpha, const void *x, const zor_int *incx, void *a, const zor_int *lda) { syr<Z, double>(uplo, n, alpha, x, incx, a, lda, 0); }
ZOR_API void zor_blas_xssyr_in_thread(const char *uplo, const zor_int *n, const float *alpha, const float *x, const zor_int *incx, float *a, const zor_int *lda, const zor_int *off) { syr<S, float>(uplo, n, alpha, x, incx, a, lda, *off); }
ZOR_API void zor_blas_xdsyr_in_thread(const char *uplo, const zor_int *n, const double *alpha, const double *x, const zor_int *incx, double *a, const zor_int *lda, const zor_int *off) { syr<D, double>(uplo, n, alpha, x, incx, a, lda, *off); }
ZOR_API void zor_blas_sspr(const char *uplo, const zor_int *n, const float *alpha, const float *x, const zor_int *incx, float *ap) { spr<S, float>(uplo, n, alpha, x, incx, ap); }
ZOR_API void zor_blas_dspr(const char *uplo, const zor_int *n, const double *alpha, const double *x, const zor_int *incx, double *ap) { spr<D, double>(uplo, n, alpha, x, incx, ap); }
ZOR_API void zor_blas_chpr(const char *uplo, const zor_int *n, const float *alpha, const void *x, const zor_int *incx, void *ap) { spr<C, float>(uplo, n, alpha, x, incx, ap); }
ZOR_API void zor_blas_zhpr(const char *uplo, const zor_int *n, const double *alpha, const void *x, const zor_int *incx, void *ap) { spr<Z, double>(uplo, n, alpha, x, incx, ap); }
ZOR_API void zor_blas_xssyr2(const char *uplo, const zor_int *n, const float *alpha, const float *x, const zor_int *incx, const float *y, const zor_int *incy, float *a, const zor_int *lda) { syr2<S>(uplo, n, alpha, x, incx, y, incy, a, lda, 0); }
ZOR_API void zor_blas_xdsyr2(const char *uplo, const zor_int *n, const double *alpha, const double *x, const zor_int *incx, const double *y, const zor_int *incy, double *a, const zor_int *lda) { syr2<D>(uplo, n, alpha, x, incx, y, incy, a, lda, 0); }
ZOR_API void zor_blas_cher2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y, const zor_int *incy, void *a, const zor_int *lda) { syr2<C>(uplo, n, alpha, x, incx, y, incy, a, lda, 0); }
ZOR_API void zor_blas_zher2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y, const zor_int *incy, void *a, const zor_int *lda) { syr2<Z>(uplo, n, alpha, x, incx, y, incy, a, lda, 0); }
ZOR_API void zor_blas_xssyr2_in_thread(const char *uplo, const zor_int *n, const float *alpha, const float *x, const zor_int *incx, const float *y, const zor_int *incy, float *a, const zor_int *lda, const zor_int *off) { syr2<S>(uplo, n, alpha, x, incx, y, incy, a, lda, *off); }
ZOR_API void zor_blas_xdsyr2_in_thread(const char *uplo, const zor_int *n, const double *alpha, const double *x, const zor_int *incx, const double *y, const zor_int *incy, double *a, const zor_int *lda, const zor_int *off) { syr2<D>(uplo, n, alpha, x, incx, y, incy, a, lda, *off); }
ZOR_API void zor_blas_sspr2(const char *uplo, const zor_int *n, const float *alpha, const float *x, const zor_int *incx, const float *y, const zor_int *incy, float *ap) { spr2<S>(uplo, n, alpha, x, incx, y, incy, ap); }
ZOR_API void zor_blas_dspr2(const char *uplo, const zor_int *n, const double *alpha, const double *x, const zor_int *incx, const double *y, const zor_int *incy, double *ap) { spr2<D>(uplo, n, alpha, x, incx, y, incy, ap); }
ZOR_API void zor_blas_chpr2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y, const zor_int *incy, void *ap) { spr2<C>(uplo, n, alpha, x, incx, y, incy, ap); }
ZOR_API void zor_blas_zhpr2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y, const zor_int *incy, void *ap) { spr2<Z>(uplo, n, alpha, x, incx, y, incy, ap); }
// clang-format on
