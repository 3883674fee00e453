// Skyline kernels: for each row i in turn, the elements from its first
// stored column through the diagonal, contiguously; pntr[0..m], row i at
// positions pntr[i-1] - pntr[0] .. pntr[i] - pntr[0] - 1, len = pntr[i] -
// pntr[i-1], the diagonal last. Part 0 is the lower triangle by rows; any
// other part the upper triangle by columns, the same layout read with the
// other triangle. Dense operands are column-major (b(i, j) at j*ldb + i-1).
// All work is the dot and axpy of the precision (the provider's checked
// sdot, ddot, cdotc and ?axpy, the tier's zdotc for z); rows of length 1
// call them with n 0.
//
// A row i of the stored triangle, as a dot (op = 0 with part 0, op != 0
// with part != 0) or as an axpy (the other two cases):
//   gk  c(i,j) += alpha dot(len - unit, row, b(i-len+1.., j)), or
//       axpy(len - unit, alpha b(i,j), row, c(i-len+1.., j)); unit = 1 when
//       the diagonal flag is 0, and then c(i,j) += alpha b(i,j) after the row
//   sk  the dot and then axpy(len - 1, alpha b(i,j), row, c(i-len+1.., j))
//       for the mirror; the unit diagonal term likewise
//   kk  s = alpha for the dot cases, -alpha otherwise: c(i,j) += s dot(len
//       - 1, ...), then axpy(len - 1, -s b(i,j), row, c(...))
//   svk forward (the dot cases): y(i) := (y(i) - dot(len - 1, row,
//       y(i-len+1..))) / the row's last element (divided only with the
//       diagonal flag set); backward: t := y(i) / diagonal, axpy(len - 1,
//       -t, row, y(i-len+1..)), y(i) := t.
// In c and z the dot is the conjugating one with the stored elements as its
// conjugated operand, so the rows taken as dots enter conjugated and those
// taken as axpys as stored: with S the profile read by rows, part 0 is
// conj(S), other parts S^T, and op != 0 gives the conjugate transpose of
// either, a consistent pair. The solves' pivots are the stored diagonal.
#pragma once
#include "frame/imports.hpp"
#include "spblas/csr_common.hpp"

namespace zor::spblas {

// dot of n elements: sum conj(row_k) other_k in c and z.
template <class T, class E>
inline E row_dot_of(int64_t n, const E *row, const E *other) {
  const zor_int len = n, one = 1;
  if constexpr (!T::complex) {
    return imports<T>::dot(&len, row, &one, other, &one);
  } else {
    E r;
    if constexpr (T::letter == 'c') imports<T>::dotc(&r, &len, row, &one, other, &one);
    else imports<T>::xdotc(&r, &len, row, &one, other, &one);
    return r;
  }
}

template <class T, class E>
inline void row_axpy(int64_t n, E a, const E *row, E *y) {
  const zor_int len = n, one = 1;
  imports<T>::axpy(&len, &a, row, &one, y, &one);
}

template <class E, class I>
struct Skyline {
  const E *vals;
  const I *pntr;
  const E *row(int64_t i) const { return vals + (int64_t(pntr[i - 1]) - int64_t(pntr[0])); }  // i one-based
  int64_t len(int64_t i) const { return int64_t(pntr[i]) - int64_t(pntr[i - 1]); }
};

// The products: kind g (triangular), s (symmetric), a (anti-symmetric).
template <class T, char Kind_, class I, class P>
void skymm(bool dot_form, bool unit, const I *m, const I *n, const P *alpha, const P *vals, const I *pntr,
           const P *b, const I *ldb, P *c, const I *ldc) {
  using E = typename T::elem;
  const Skyline<E, I> a{elems(vals), pntr};
  const int64_t rows = *m, ncol = *n, lb = *ldb, lc = *ldc;
  const E al = *elems(alpha);
  for (int64_t i = 1; i <= rows; ++i) {
    const int64_t len = a.len(i);
    const E *row = a.row(i);
    for (int64_t j = 0; j < ncol; ++j) {
      const E *bj = elems(b) + j * lb;
      E *cj = elems(c) + j * lc;
      const int64_t from = i - len;  // zero-based row of the first element
      if constexpr (Kind_ == 'g') {
        if (dot_form) cj[i - 1] = cj[i - 1] + al * row_dot_of<T>(len - unit, row, bj + from);
        else row_axpy<T>(len - unit, al * bj[i - 1], row, cj + from);
      } else if constexpr (Kind_ == 's') {
        cj[i - 1] = cj[i - 1] + al * row_dot_of<T>(len - unit, row, bj + from);
        row_axpy<T>(len - 1, al * bj[i - 1], row, cj + from);
      } else {
        if (len - 1 <= 0) continue;
        const E s = dot_form ? al : negated(al);
        cj[i - 1] = cj[i - 1] + s * row_dot_of<T>(len - 1, row, bj + from);
        row_axpy<T>(len - 1, negated(s) * bj[i - 1], row, cj + from);
      }
      if (Kind_ != 'a' && unit) cj[i - 1] = cj[i - 1] + al * bj[i - 1];
    }
  }
}

template <class T, class I, class P>
void skymm_triangular(const I *op, const void *, const I *m, const I *n, const I *part, const I *diag,
                      const P *alpha, const P *vals, const I *pntr, const P *b, const I *ldb, P *c, const I *ldc) {
  const bool dot_form = (*op == 0) == (*part == 0);
  skymm<T, 'g'>(dot_form, *diag == 0, m, n, alpha, vals, pntr, b, ldb, c, ldc);
}

template <class T, class I, class P>
void skymm_symmetric(const void *, const I *m, const I *n, const I *diag, const P *alpha, const P *vals,
                     const I *pntr, const P *b, const I *ldb, P *c, const I *ldc) {
  skymm<T, 's'>(true, *diag == 0, m, n, alpha, vals, pntr, b, ldb, c, ldc);
}

template <class T, class I, class P>
void skymm_antisymmetric(const I *op, const void *, const I *m, const I *n, const I *part, const P *alpha,
                         const P *vals, const I *pntr, const P *b, const I *ldb, P *c, const I *ldc) {
  const bool dot_form = (*op == 0) == (*part == 0);
  skymm<T, 'a'>(dot_form, false, m, n, alpha, vals, pntr, b, ldb, c, ldc);
}

template <class T, class I, class P>
void skysv(const I *op, const void *, const I *part, const I *diag, const I *m, const P *vals, const I *pntr, P *y) {
  using E = typename T::elem;
  const Skyline<E, I> a{elems(vals), pntr};
  const int64_t rows = *m;
  const bool forward = (*op == 0) == (*part == 0), divides = *diag != 0;
  E *yy = elems(y);
  if (forward) {
    for (int64_t i = 1; i <= rows; ++i) {
      const int64_t len = a.len(i);
      const E *row = a.row(i);
      E v = yy[i - 1] - row_dot_of<T>(len - 1, row, yy + (i - len));
      if (divides) v = divide(v, row[len - 1]);
      yy[i - 1] = v;
    }
  } else {
    for (int64_t i = rows; i >= 1; --i) {
      const int64_t len = a.len(i);
      const E *row = a.row(i);
      E t = yy[i - 1];
      if (divides) t = divide(t, row[len - 1]);
      row_axpy<T>(len - 1, negated(t), row, yy + (i - len));
      yy[i - 1] = t;
    }
  }
}

}  // namespace zor::spblas
