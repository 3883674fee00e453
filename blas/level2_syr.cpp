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
// (peel to the column's 16-byte boundary, then registers); the Hermitian
// rank one goes through the tier's x?axpy when incx is 1. Otherwise scalar
// loops, a negative increment starting at the far end.
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

#include "blas/level2_rows.hpp"

namespace zor::blas::level2 {
namespace {

// Rank one (Two false) or two, alpha of type A (real for ?her, ?hpr).
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
  for (int64_t j = 0; j < n; ++j) {
    const int64_t d = upper ? off + j : j;  // the diagonal's row
    int64_t lo = upper ? 0 : j, hi = upper ? d + 1 : len;
    E *col = column(j);
    const E xj = xs.get(d), yj = Two ? ys.get(d) : E{};
    if (is_zero(xj) && (!Two || is_zero(yj))) {
      if constexpr (T::complex) store_any(col + d, E{load_any(col + d).re, R(0)});
      continue;
    }
    E t1, t2{};
    if constexpr (Two) t1 = alpha * conj_if<true>(yj), t2 = conj_if<true>(alpha * xj);
    else if constexpr (T::complex) t1 = alpha * conj_if<true>(xj);
    else t1 = xj * alpha;
    if constexpr (T::complex) {
      // The diagonal apart: its real part only.
      const E dj = Two ? xj * t1 + yj * t2 : xj * t1;
      store_any(col + d, E{load_any(col + d).re + dj.re, R(0)});
      if (upper) hi = d;
      else lo = d + 1;
    }
    const int64_t rows = hi - lo;
    if (rows < 1) continue;
    if (unit) {
      E *c = col + lo;
      if constexpr (T::complex && !Two) {
        const zor_int count = rows, one = 1;
        imports<T>::xaxpy(&count, &t1, x + lo, &one, c, &one);
      } else {
        const E *v[2] = {x + lo, Two ? y + lo : nullptr};
        const Factor<E> f[2] = {Factor<E>(t1), Factor<E>(t2)};
        row_pass<E, Two ? 2 : 1, true, false>(rows, v, f, nullptr, c, nullptr);
      }
    } else {
      for (int64_t i = lo; i < hi; ++i) {
        E v = load_any(col + i) + xs.get(i) * t1;
        if constexpr (Two) v = v + ys.get(i) * t2;
        store_any(col + i, v);
      }
    }
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
  const A al = *static_cast<const A *>(alpha);
  if (skip<T>(*n, al)) return;
  rank_update<T, false>(is_letter(uplo, 'U'), *n, off, al, static_cast<const E *>(x), *incx, nullptr, 0,
                        DenseColumns<E>{static_cast<E *>(a), *lda});
}
template <class T, class A>
void spr(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, void *ap) {
  using E = typename T::elem;
  const A al = *static_cast<const A *>(alpha);
  if (skip<T>(*n, al)) return;
  const bool upper = is_letter(uplo, 'U');
  rank_update<T, false>(upper, *n, 0, al, static_cast<const E *>(x), *incx, nullptr, 0,
                        PackedColumns<E>{static_cast<E *>(ap), *n, upper});
}
template <class T>
void syr2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y,
          const zor_int *incy, void *a, const zor_int *lda, int64_t off) {
  using E = typename T::elem;
  const E al = *static_cast<const E *>(alpha);
  if (skip<T>(*n, al)) return;
  rank_update<T, true>(is_letter(uplo, 'U'), *n, off, al, static_cast<const E *>(x), *incx,
                       static_cast<const E *>(y), *incy, DenseColumns<E>{static_cast<E *>(a), *lda});
}
template <class T>
void spr2(const char *uplo, const zor_int *n, const void *alpha, const void *x, const zor_int *incx, const void *y,
          const zor_int *incy, void *ap) {
  using E = typename T::elem;
  const E al = *static_cast<const E *>(alpha);
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
