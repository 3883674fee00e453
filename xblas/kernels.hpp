// The three extended-precision matrix-vector kernels: general (gemv), band
// (gbmv) and symmetric with a Hermitian flag (symv, hemv), each a template
// over the element traits, the "2" form (x = head_x + tail_x) and the error
// routine, and instantiated inside for the arithmetic of the precision
// argument (products.hpp, arithmetic.hpp). Every result is one dot of a row
// of op(A) with x in ascending index.
//
// Choices of this implementation:
// - order: the exports pass 102 and the storage is always column-major;
//   order is read only by the tests that report it (gbmv, hemv).
// - trans: only gbmv tests it (and goes on after a report); everywhere 111 is
//   plain, anything else transposed, conjugated only for 113.
// - uplo: 121 is the upper triangle, anything else the lower (hemv reports a
//   value that is neither 121 nor 122 and goes on).
// - An unknown precision returns with y untouched; hemv (not hemv2) first
//   reports it at -12.
// - Argument tests, with the value passed to the error routine:
//     gemv   one chain: m < 0 -3 (m); n <= 0 -4 (n); incx = 0 -9 (incx);
//            incy = 0 -12 (incy); then lda < m -7 (lda)
//     gemv2  the same with -10 and -13
//     gbmv   each on its own: order -1; trans -2; m < 0 -3; n < 0 -4;
//            kl < 0 or kl >= m -5 (kl); ku < 0 or ku >= n -6 (ku);
//            kl + ku >= lda -9 (lda); incx = 0 -11; incy = 0 -14
//     gbmv2  the same with -12 and -15
//     symv   each on its own: lda < n -3 (n); incx = 0 -8; incy = 0 -11
//     hemv   order -1; uplo -2; then as symv
//     symv2, hemv2  lda < n -6 (lda); incx = 0 -9; incy = 0 -12
//   A failed test changes nothing: the call goes on with the value (an
//   increment of 0 re-reads or rewrites one element; n = 0 in gemv gives
//   alpha times an empty sum plus beta y).
// - Complex element products: the two real products of each part are joined
//   into one value first (re: ar xr and -(ai xi); im: ai xr and ar xi), and
//   that value is added to the running sum. alpha and beta multiply in the
//   same way.
// - alpha 0 with beta other than 0 gives beta y in the call's arithmetic
//   (214: the double-double product, rounded once); gbmv returns at once for
//   alpha 0 and beta 1, after its tests.
// - The band of row i of op(A) runs from max(0, i - kl) to min(n - 1, i + ku)
//   (transposed: ku and kl exchanged, m for n), A(i, j) at
//   a[ku + i - j + j lda].
// - symv and hemv take row i of A as the strip of the stored triangle up to
//   the diagonal and the strip on the other side of it: lower storage walks
//   the row (step lda) and then down column i (step 1), upper storage the
//   reverse. hemv conjugates the mirrored strip and reads the diagonal's
//   imaginary part as 0.
#pragma once
#include <algorithm>

#include "xblas/products.hpp"

namespace zor::xblas {

enum class Family { gemv, gemv2, gbmv, gbmv2, symv, symv2, hemv, hemv2 };

// The routine's name as the error routine receives it.
template <class T>
constexpr const char *name_of(Family f) {
  constexpr const char *names[8][4] = {
      //  s                  d                  c                  z
      {"BLAS_sgemv_x", "BLAS_dgemv_x", "BLAS_cgemv_x", "BLAS_zgemv_x"},
      {"BLAS_sgemv2_x", "BLAS_dgemv2_x", "BLAS_cgemv2_x", "BLAS_zgemv2_x"},
      {"BLAS_sgbmv_x", "BLAS_dgbmv_x", "BLAS_cgbmv_x", "BLAS_zgbmv_x"},
      {"BLAS_sgbmv2_x", "BLAS_dgbmv2_x", "BLAS_cgbmv2_x", "BLAS_zgbmv2_x"},
      {"BLAS_ssymv_x", "BLAS_dsymv_x", "BLAS_csymv_x", "BLAS_zsymv_x"},
      {"BLAS_ssymv2_x", "BLAS_dsymv2_x", "BLAS_csymv2_x", "BLAS_zsymv2_x"},
      {nullptr, nullptr, "BLAS_chemv", "BLAS_zhemv"},
      {nullptr, nullptr, "BLAS_chemv2_x", "BLAS_zhemv2_x"},
  };
  constexpr int column = T::letter == 's' ? 0 : T::letter == 'd' ? 1 : T::letter == 'c' ? 2 : 3;
  return names[int(f)][column];
}

// ---- general

template <class T>
struct General {
  using E = typename T::elem;
  const E *a;
  i64 lda;
  int32_t trans;
  Operand<T> x;
  i64 lenx;

  template <class Dot> void result(Dot &d, i64 i) const {
    constexpr int last = Dot::lanes - 1;
    if (trans == blas_no_trans) return walk<Entry::as_stored>(d, a + i, a + i + last, lda, x, 0, lenx);
    const E *column0 = a + i * lda, *column1 = a + (i + last) * lda;
    if constexpr (T::complex) {
      if (trans == blas_conj_trans) return walk<Entry::conjugated>(d, column0, column1, 1, x, 0, lenx);
    }
    walk<Entry::as_stored>(d, column0, column1, 1, x, 0, lenx);
  }
};

template <class T, bool Two, ErrorRoutine Error, class E = typename T::elem>
void gemv(int32_t order, int32_t trans, i64 m, i64 n, const E *alpha, const E *a, i64 lda, const E *x,
          const E *x_tail, i64 incx, const E *beta, E *y, i64 incy, int32_t prec) {
  (void)order;
  with_precision<T>(prec, [&]<class P>() {
    const char *name = name_of<T>(Two ? Family::gemv2 : Family::gemv);
    if (m < 0) Error(name, -3, m);
    else if (n <= 0) Error(name, -4, n);
    else if (incx == 0) Error(name, Two ? -10 : -9, incx);
    else if (incy == 0) Error(name, Two ? -13 : -12, incy);
    if (lda < m) Error(name, -7, lda);
    const bool plain = trans == blas_no_trans;
    const i64 leny = plain ? m : n, lenx = plain ? n : m;
    const General<T> shape{a, lda, trans, Operand<T>(x, x_tail, lenx, incx), lenx};
    results<T, P, Two>(shape, alpha, beta, y, leny, incy, incx != 0 && incy != 0);
  });
}

// ---- band

template <class T>
struct Band {
  using E = typename T::elem;
  const E *a;
  i64 lda, below, above;  // kl and ku of op(A)
  bool plain;
  int32_t trans;
  Operand<T> x;
  i64 lenx;

  i64 lo(i64 i) const { return std::max<i64>(0, i - below); }
  i64 hi(i64 i) const { return std::min<i64>(lenx - 1, i + above); }
  // A(i, j) of op(A); consecutive j are step() apart.
  const E *at(i64 i, i64 j) const {
    return plain ? a + (above + i - j) + j * lda : a + (below - i + j) + i * lda;
  }
  i64 step() const { return plain ? lda - 1 : 1; }

  template <Entry M, class Dot> void strip(Dot &d, i64 i) const {
    if constexpr (Dot::lanes == 1) {
      if (lo(i) <= hi(i)) walk<M>(d, at(i, lo(i)), at(i, lo(i)), step(), x, lo(i), hi(i) - lo(i) + 1);
    } else {
      // The band of row i + 1 starts and ends at most one column later.
      const i64 lo0 = lo(i), hi0 = hi(i), lo1 = lo(i + 1), hi1 = hi(i + 1);
      for (i64 j = lo0; j < std::min(lo1, hi0 + 1); ++j) step_lane<0, M>(d, at(i, j), x, j);
      if (lo1 <= hi0) walk<M>(d, at(i, lo1), at(i + 1, lo1), step(), x, lo1, hi0 - lo1 + 1);
      for (i64 j = std::max(lo1, hi0 + 1); j <= hi1; ++j) step_lane<1, M>(d, at(i + 1, j), x, j);
    }
  }
  template <class Dot> void result(Dot &d, i64 i) const {
    if constexpr (T::complex) {
      if (trans == blas_conj_trans) return strip<Entry::conjugated>(d, i);
    }
    strip<Entry::as_stored>(d, i);
  }
};

template <class T, bool Two, ErrorRoutine Error, class E = typename T::elem>
void gbmv(int32_t order, int32_t trans, i64 m, i64 n, i64 kl, i64 ku, const E *alpha, const E *a, i64 lda,
          const E *x, const E *x_tail, i64 incx, const E *beta, E *y, i64 incy, int32_t prec) {
  with_precision<T>(prec, [&]<class P>() {
    const char *name = name_of<T>(Two ? Family::gbmv2 : Family::gbmv);
    if (order != blas_rowmajor && order != blas_colmajor) Error(name, -1, order);
    if (trans != blas_no_trans && trans != blas_trans && trans != blas_conj_trans) Error(name, -2, trans);
    if (m < 0) Error(name, -3, m);
    if (n < 0) Error(name, -4, n);
    if (kl < 0 || kl >= m) Error(name, -5, kl);
    if (ku < 0 || ku >= n) Error(name, -6, ku);
    if (kl + ku >= lda) Error(name, -9, lda);
    if (incx == 0) Error(name, Two ? -12 : -11, incx);
    if (incy == 0) Error(name, Two ? -15 : -14, incy);
    if (is_zero(load_any(alpha)) && is_one(load_any(beta))) return;
    const bool plain = trans == blas_no_trans;
    const i64 leny = plain ? m : n, lenx = plain ? n : m;
    const Band<T> shape{a, lda, plain ? kl : ku, plain ? ku : kl, plain, trans,
                        Operand<T>(x, x_tail, lenx, incx), lenx};
    results<T, P, Two>(shape, alpha, beta, y, leny, incy, incx != 0 && incy != 0);
  });
}

// ---- symmetric and Hermitian

template <class T, bool Hermitian>
struct Symmetric {
  using E = typename T::elem;
  static constexpr Entry mirrored = Hermitian ? Entry::conjugated : Entry::as_stored;
  static constexpr Entry diagonal = Hermitian ? Entry::real_part : Entry::as_stored;
  const E *a;
  i64 lda, n;
  bool upper;
  Operand<T> x;

  // A(r, c) in the stored triangle (or its mirror).
  const E *at(i64 r, i64 c) const { return (upper ? r <= c : r >= c) ? a + r + c * lda : a + c + r * lda; }

  template <class Dot> void result(Dot &d, i64 i) const {
    if (upper) strips<mirrored, Entry::as_stored>(d, i, 1, lda);
    else strips<Entry::as_stored, mirrored>(d, i, lda, 1);
  }
  // Columns j < i in the first strip, j > i in the second, with their steps.
  template <Entry First, Entry Second, class Dot> void strips(Dot &d, i64 i, i64 step1, i64 step2) const {
    constexpr int last = Dot::lanes - 1;
    if (i > 0) walk<First>(d, at(i, 0), at(i + last, 0), step1, x, 0, i);
    if constexpr (Dot::lanes == 1) {
      walk<diagonal>(d, at(i, i), at(i, i), 0, x, i, 1);
      if (i + 1 < n) walk<Second>(d, at(i, i + 1), at(i, i + 1), step2, x, i + 1, n - i - 1);
    } else {
      // Column i is lane 0's diagonal and still in lane 1's first strip;
      // column i + 1 is in lane 0's second strip and lane 1's diagonal.
      step_mixed<diagonal, First>(d, at(i, i), at(i + 1, i), x, i);
      step_mixed<Second, diagonal>(d, at(i, i + 1), at(i + 1, i + 1), x, i + 1);
      if (i + 2 < n) walk<Second>(d, at(i, i + 2), at(i + 1, i + 2), step2, x, i + 2, n - i - 2);
    }
  }
};

template <class T, bool Two, bool Hermitian, ErrorRoutine Error, class E = typename T::elem>
void symv(int32_t order, int32_t uplo, i64 n, const E *alpha, const E *a, i64 lda, const E *x, const E *x_tail,
          i64 incx, const E *beta, E *y, i64 incy, int32_t prec) {
  constexpr Family family = Hermitian ? (Two ? Family::hemv2 : Family::hemv) : (Two ? Family::symv2 : Family::symv);
  const char *name = name_of<T>(family);
  const bool known = with_precision<T>(prec, [&]<class P>() {
    if (family == Family::hemv) {
      if (order != blas_rowmajor && order != blas_colmajor) Error(name, -1, order);
      if (uplo != blas_upper && uplo != blas_lower) Error(name, -2, uplo);
    }
    if (lda < n) Two ? Error(name, -6, lda) : Error(name, -3, n);
    if (incx == 0) Error(name, Two ? -9 : -8, incx);
    if (incy == 0) Error(name, Two ? -12 : -11, incy);
    const Symmetric<T, Hermitian> shape{a, lda, n, uplo == blas_upper, Operand<T>(x, x_tail, n, incx)};
    results<T, P, Two>(shape, alpha, beta, y, n, incy, incx != 0 && incy != 0);
  });
  if (!known && family == Family::hemv) Error(name, -12, prec);
}

}  // namespace zor::xblas
