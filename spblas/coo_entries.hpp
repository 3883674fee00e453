// The argument lists of the COO kernels: each exported name is one call of
// one of these templates (tools/spblas_family.py), which reads the caller's
// scalars and hands the lists to the bodies of coo_kernels.hpp.
#pragma once
#include "spblas/coo_kernels.hpp"
#include "spblas/csr_diagonal.hpp"

namespace zor::spblas {

template <Kind K, class E, class I>
inline Coo<E, I, K.base> coo_of(const E *vals, const I *rows, const I *cols, const I *nnz) {
  return {vals, rows, cols, int64_t(*nnz)};
}

// mv: g and t walk the whole list and do not read the range; s, a, h take
// the entries first..last of the list.
template <class T, Kind K, class I, class P>
void coo_mv_par(const I *first, const I *last, const I *m, const I *, const P *alpha, const P *vals, const I *rows,
                const I *cols, const I *nnz, const P *x, P *y) {
  using E = typename T::elem;
  const auto a = coo_of<K>(elems(vals), rows, cols, nnz);
  const E al = *elems(alpha);
  const Contiguous<const E> xv{elems(x)};
  const Contiguous<E> yv{elems(y)};
  if constexpr (K.structure == 'g' || K.structure == 't') {
    coo_entries_ahead<K>(a, al, xv, yv);
  } else {
    const int64_t lo = *first, hi = *last;
    if (hi < lo) return;
    coo_entries<K>(a, al, xv, yv, lo - 1, hi);
  }
  if constexpr (K.diag == 'u') add_unit_term(al, xv, yv, int64_t(*m));
}

// The diagonal structure's mv: the stored diagonal, or y += alpha x by the
// provider's checked axpy.
template <class T, Kind K, class I, class P>
void coo_mv_seq(const I *m, const I *, const P *alpha, const P *vals, const I *rows, const I *cols, const I *nnz,
                const P *x, P *y) {
  using E = typename T::elem;
  const int64_t rows_ = *m;
  if (rows_ < 1) return;
  if constexpr (K.diag == 'u') {
    diagonal_unit_axpy<T>(rows_, *elems(alpha), elems(x), elems(y));
  } else {
    const auto a = coo_of<K>(elems(vals), rows, cols, nnz);
    coo_entries<K>(a, *elems(alpha), Contiguous<const E>{elems(x)}, Contiguous<E>{elems(y)}, 0, a.nnz);
  }
}

// mm: the rule of mv on each dense column of the range; row-major general
// takes each entry once for the whole range, column-major goes column by
// column (the same sums in the same order either way).
template <class T, Kind K, class I, class P>
void coo_mm_par(const I *first, const I *last, const I *m, const I *, const P *alpha, const P *vals, const I *rows,
                const I *cols, const I *nnz, const P *b, const I *ldb, P *c, const I *ldc) {
  using E = typename T::elem;
  const int64_t lo = *first, hi = *last, lb = *ldb, lc = *ldc, rows_ = *m;
  if (hi < lo) return;
  const auto a = coo_of<K>(elems(vals), rows, cols, nnz);
  const E al = *elems(alpha);
  const E *bb = elems(b);
  E *cc = elems(c);
  if constexpr (K.structure == 'd' && K.diag == 'u') {
    for (int64_t j = lo - 1; j < hi; ++j)
      add_unit_term(al, dense_column<K.base>(bb, lb, j), dense_column<K.base>(cc, lc, j), rows_);
  } else if constexpr (K.structure == 'g' && K.base == 0) {
    for (int64_t k = 0; k < a.nnz; ++k) {
      const E t = conj_if<K.op == 's'>(a.vals[k]) * al;
      const E *brow = bb + a.col(k) * lb;
      E *crow = cc + a.row(k) * lc;
      for (int64_t j = lo - 1; j < hi; ++j) crow[j] = crow[j] + t * brow[j];
    }
  } else {
    for (int64_t j = lo - 1; j < hi; ++j) {
      auto x = dense_column<K.base>(bb, lb, j);
      auto y = dense_column<K.base>(cc, lc, j);
      coo_entries<K>(a, al, x, y, 0, a.nnz);
      if constexpr (K.diag == 'u') add_unit_term(al, x, y, rows_);
    }
  }
}

// Solves: triangular by the row list (or the fallback without scratch),
// diagonal by division. Alpha is not read.
template <class T, Kind K, class I, class P>
void coo_sv_seq(const I *m, const I *, const P *, const P *vals, const I *rows, const I *cols, const I *nnz,
                const void *, P *y) {
  using E = typename T::elem;
  const int64_t rows_ = *m;
  if (rows_ < 1) return;
  const auto a = coo_of<K>(elems(vals), rows, cols, nnz);
  const Contiguous<E> yv{elems(y)};
  if constexpr (K.structure == 'd') {
    coo_diagonal_solve<K>(a, yv);
  } else {
    RowList<I> rl(rows_, a.nnz);
    if (rl.template build<K.part, K.diag == 'u', K.base>(rows_, rows, cols, a.nnz)) coo_solve<K>(a, rl, yv, rows_);
    else coo_solve_fallback<K>(a, yv, rows_);
  }
}

template <class T, Kind K, class I, class P>
void coo_sm_par(const I *first, const I *last, const I *m, const I *, const P *, const P *vals, const I *rows,
                const I *cols, const I *nnz, P *y, const I *ldy) {
  using E = typename T::elem;
  const int64_t lo = *first, hi = *last, rows_ = *m, ld = *ldy;
  if (hi < lo || rows_ < 1) return;
  const auto a = coo_of<K>(elems(vals), rows, cols, nnz);
  E *yy = elems(y);
  if constexpr (K.structure == 'd') {
    for (int64_t j = lo - 1; j < hi; ++j) coo_diagonal_solve<K>(a, dense_column<K.base>(yy, ld, j));
  } else {
    RowList<I> rl(rows_, a.nnz);
    const bool listed = rl.template build<K.part, K.diag == 'u', K.base>(rows_, rows, cols, a.nnz);
    for (int64_t j = lo - 1; j < hi; ++j) {
      if (listed) coo_solve<K>(a, rl, dense_column<K.base>(yy, ld, j), rows_);
      else coo_solve_fallback<K>(a, dense_column<K.base>(yy, ld, j), rows_);
    }
  }
}

}  // namespace zor::spblas
