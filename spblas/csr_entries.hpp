// The argument lists of the CSR kernels. Each exported name is one call of
// one of these templates (the wrappers are generated from the family table
// by tools/spblas_family.py); the template reads the caller's scalars and
// hands the arrays to the bodies in csr_multiply.hpp, csr_solve.hpp and
// csr_diagonal.hpp.
//
// par kernels work on the one-based inclusive range first..last: rows in mv,
// dense columns in mm and sm (the whole matrix is walked for each column).
#pragma once
#include "spblas/csr_diagonal.hpp"
#include "spblas/csr_mm_plan.hpp"
#include "spblas/csr_multiply.hpp"
#include "spblas/csr_solve.hpp"

namespace zor::spblas {

template <class T, Kind K, class I, class P>
void csr_mv_par(const I *first, const I *last, const I *, const P *alpha, const P *vals, const I *cols,
                const I *row_begin, const I *row_end, const P *x, P *y) {
  using E = typename T::elem;
  int64_t lo = *first, hi = *last;
  if (hi < lo) return;
  Csr<E, I, K.base> a(elems<T>(vals), cols, row_begin, row_end);
  mv_rows<T, K>(a, *elems<T>(alpha), Contiguous<const E>{elems<T>(x)}, Contiguous<E>{elems<T>(y)}, lo, hi);
}

template <class T, Kind K, class I, class P>
void csr_mv_seq(const I *m, const P *alpha, const P *vals, const I *cols, const I *row_begin, const I *row_end,
                const P *x, P *y) {
  using E = typename T::elem;
  int64_t rows = *m;
  if (rows < 1) return;
  if constexpr (K.structure == 'd' && K.diag == 'u') {
    diagonal_unit_axpy<T>(rows, *elems<T>(alpha), elems<T>(x), elems<T>(y));
  } else {
    Csr<E, I, K.base> a(elems<T>(vals), cols, row_begin, row_end);
    mv_all<T, K>(a, *elems<T>(alpha), Contiguous<const E>{elems<T>(x)}, Contiguous<E>{elems<T>(y)}, rows);
  }
}

template <class T, Kind K, class I, class P>
void csr_mm_par(const I *first, const I *last, const I *m, const I *k, const P *alpha, const P *vals,
                const I *cols, const I *row_begin, const I *row_end, const P *b, const I *ldb, P *c,
                const I *ldc) {
  using E = typename T::elem;
  int64_t lo = *first, hi = *last, rows = *m;
  if (hi < lo || rows < 1) return;
  Csr<E, I, K.base> a(elems<T>(vals), cols, row_begin, row_end);
  const E al = *elems<T>(alpha);
  const E *bb = elems<T>(b);
  E *cc = elems<T>(c);
  int64_t lb = *ldb, lc = *ldc;
  if constexpr (K.base == 1 && K.structure == 'g' && (K.op == 'n' || K.op == 's')) {
    using W = MmWeights<T::letter, K.op>;
    MmPlan plan = mm_plan<sizeof(I) == 4>(rows, int64_t(row_end[rows - 1]), int64_t(*k), W::p, W::q);
    if (plan.blocked) {
      for (int64_t blk = 0; blk < plan.nblocks; ++blk) {
        int64_t r0 = 1 + blk * plan.block, r1 = (blk == plan.nblocks - 1) ? rows : r0 + plan.block - 1;
        for (int64_t j = lo - 1; j < hi; ++j)
          mv_rows<T, K>(a, al, Strided<const E>{bb + j * lb, 1}, Strided<E>{cc + j * lc, 1}, r0, r1);
      }
      return;
    }
  }
  for (int64_t j = lo - 1; j < hi; ++j) {
    Strided<const E> x = dense_column<K.base>(bb, lb, j);
    Strided<E> y = dense_column<K.base>(cc, lc, j);
    mv_all<T, K>(a, al, x, y, rows);
  }
}

template <class T, Kind K, class I, class P>
void csr_mm_seq(const I *m, const I *n, const P *alpha, const P *vals, const I *cols, const I *row_begin,
                const I *row_end, const P *b, const I *ldb, P *c, const I *ldc) {
  using E = typename T::elem;
  static_assert(K.structure == 'd');
  int64_t rows = *m, ncols = *n, lb = *ldb, lc = *ldc;
  if (rows < 1) return;
  const E al = *elems<T>(alpha);
  const E *bb = elems<T>(b);
  E *cc = elems<T>(c);
  if constexpr (K.diag == 'u') {
    // One axpy per row of length n (c) or per column of length m (f).
    if constexpr (K.base == 0) {
      for (int64_t i = 0; i < rows; ++i) diagonal_unit_axpy<T>(ncols, al, bb + i * lb, cc + i * lc);
    } else {
      for (int64_t j = 0; j < ncols; ++j) diagonal_unit_axpy<T>(rows, al, bb + j * lb, cc + j * lc);
    }
  } else {
    Csr<E, I, K.base> a(elems<T>(vals), cols, row_begin, row_end);
    for (int64_t j = 0; j < ncols; ++j)
      mv_all<T, K>(a, al, dense_column<K.base>(bb, lb, j), dense_column<K.base>(cc, lc, j), rows);
  }
}

template <class T, Kind K, class I, class P>
void csr_sv_seq(const I *m, const P *alpha, const P *vals, const I *cols, const I *row_begin, const I *row_end,
                P *y) {
  using E = typename T::elem;
  int64_t rows = *m;
  if (rows < 1) return;
  Csr<E, I, K.base> a(elems<T>(vals), cols, row_begin, row_end);
  if constexpr (K.structure == 'd') {
    diagonal_sv<K>(a, *elems<T>(alpha), Contiguous<E>{elems<T>(y)}, rows);
  } else {
    sv_triangular<T, K>(a, Contiguous<E>{elems<T>(y)}, rows);
  }
}

template <class T, Kind K, class I, class P>
void csr_sm_par(const I *first, const I *last, const I *m, const I *k, const P *alpha, const P *vals,
                const I *cols, const I *row_begin, const I *row_end, P *y, const I *ldy) {
  using E = typename T::elem;
  int64_t lo = *first, hi = *last, rows = *m;
  if (hi < lo || rows < 1) return;
  Csr<E, I, K.base> a(elems<T>(vals), cols, row_begin, row_end);
  if constexpr (K.structure == 'd') {
    diagonal_sm<K>(a, *elems<T>(alpha), elems<T>(y), int64_t(*ldy), rows, lo, hi);
  } else {
    sm_triangular<T, K>(a, elems<T>(y), int64_t(*ldy), rows, int64_t(*k), lo, hi);
  }
}

// The plain product with one array of m+1 row pointers: y[i] := A x over
// rows first..last, one sum (four terms a pass, then the 3, 2 or 1 left).
template <class T, Kind K, class I, class P>
void csr_gemv_par(const I *first, const I *last, const void *, const void *, const P *vals, const I *cols,
                  const I *row_ptr, const void *, const P *x, P *y) {
  using E = typename T::elem;
  int64_t lo = *first, hi = *last;
  if (hi < lo) return;
  const E *v = elems<T>(vals);
  const E *xp = elems<T>(x);
  E *yp = elems<T>(y);
  int64_t b = row_ptr[0];
  for (int64_t i = lo; i <= hi; ++i) {
    int64_t p = int64_t(row_ptr[i - 1]) - b, q = int64_t(row_ptr[i]) - b;
    E s = zero_of<E>();
    int64_t k = p;
    for (; k + 4 <= q; k += 4) {
      s = s + v[k] * xp[int64_t(cols[k]) - K.base];
      s = s + v[k + 1] * xp[int64_t(cols[k + 1]) - K.base];
      s = s + v[k + 2] * xp[int64_t(cols[k + 2]) - K.base];
      s = s + v[k + 3] * xp[int64_t(cols[k + 3]) - K.base];
    }
    for (; k < q; ++k) s = s + v[k] * xp[int64_t(cols[k]) - K.base];
    yp[i - 1] = s;
  }
}

}  // namespace zor::spblas
