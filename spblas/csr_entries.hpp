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
  Csr<E, I, K.base> a(elems(vals), cols, row_begin, row_end);
  mv_rows<T, K>(a, *elems(alpha), Contiguous<const E>{elems(x)}, Contiguous<E>{elems(y)}, lo, hi);
}

template <class T, Kind K, class I, class P>
void csr_mv_seq(const I *m, const P *alpha, const P *vals, const I *cols, const I *row_begin, const I *row_end,
                const P *x, P *y) {
  using E = typename T::elem;
  int64_t rows = *m;
  if (rows < 1) return;
  if constexpr (K.structure == 'd' && K.diag == 'u') {
    diagonal_unit_axpy<T>(rows, *elems(alpha), elems(x), elems(y));
  } else {
    Csr<E, I, K.base> a(elems(vals), cols, row_begin, row_end);
    mv_all<T, K>(a, *elems(alpha), Contiguous<const E>{elems(x)}, Contiguous<E>{elems(y)}, rows);
  }
}

template <class T, Kind K, class I, class P>
void csr_mm_par(const I *first, const I *last, const I *m, const I *k, const P *alpha, const P *vals,
                const I *cols, const I *row_begin, const I *row_end, const P *b, const I *ldb, P *c,
                const I *ldc) {
  using E = typename T::elem;
  int64_t lo = *first, hi = *last, rows = *m;
  if (hi < lo || rows < 1) return;
  Csr<E, I, K.base> a(elems(vals), cols, row_begin, row_end);
  const E al = *elems(alpha);
  const E *bb = elems(b);
  E *cc = elems(c);
  int64_t lb = *ldb, lc = *ldc;
  if constexpr (K.structure == 'g' && (K.op == 'n' || K.op == 's')) {
    // Row-major operands: each row is read once for four dense columns at
    // a time; every column keeps the bits of its own dot.
    constexpr bool cj = K.op == 's';
    int64_t rs = K.base == 0 ? lb : 1, cs = K.base == 0 ? 1 : lb;
    auto at = [&](int64_t i, int64_t j) -> E & { return K.base == 0 ? cc[(i - 1) * lc + j] : cc[j * lc + i - 1]; };
    auto rows_of = [&](int64_t r0, int64_t r1, int64_t j0, int64_t j1) {
      for (int64_t i = r0; i <= r1; ++i) {
        if (i + tuned::kMmRowsAhead <= r1) touch_row_columns(a, i + tuned::kMmRowsAhead, bb + j0 * cs, rs, cs, int(j1 - j0 < 4 ? j1 - j0 : 4));
        int64_t p = a.begin(i), q = a.end(i);
        if (q - p < 1) continue;
        E s[4];
        int64_t j = j0;
        for (; j + 4 <= j1; j += 4) {
          row_dot_columns<cj, 4>(a, p, q, bb + j * cs, rs, cs, s);
          for (int t = 0; t < 4; ++t) at(i, j + t) = at(i, j + t) + al * s[t];
        }
        for (; j < j1; ++j) {
          row_dot_columns<cj, 1>(a, p, q, bb + j * cs, rs, cs, s);
          at(i, j) = at(i, j) + al * s[0];
        }
      }
    };
    if constexpr (K.base == 1) {
      // Column-major: one column at a time keeps a single x stream, which
      // random columns need; the cache rule decides whether the rows go in
      // blocks whose entries stay in cache while the columns pass over them.
      using W = fixed::MmWeights<T::letter, K.op>;
      MmPlan plan = mm_plan<sizeof(I) == 4>(rows, int64_t(row_end[rows - 1]), int64_t(*k), W::p, W::q);
      int64_t nblocks = plan.blocked ? plan.nblocks : 1, block = plan.blocked ? plan.block : rows;
      for (int64_t blk = 0; blk < nblocks; ++blk) {
        int64_t r0 = 1 + blk * block, r1 = (blk == nblocks - 1) ? rows : r0 + block - 1;
        for (int64_t j = lo - 1; j < hi; ++j)
          mv_rows<T, K>(a, al, Contiguous<const E>{bb + j * lb}, Contiguous<E>{cc + j * lc}, r0, r1);
      }
    } else {
      rows_of(1, rows, lo - 1, hi);  // row-major: each row once for the whole range
    }
    return;
  }
  for (int64_t j = lo - 1; j < hi; ++j) {
    mv_all<T, K>(a, al, dense_column<K.base>(bb, lb, j), dense_column<K.base>(cc, lc, j), rows);
  }
}

template <class T, Kind K, class I, class P>
void csr_mm_seq(const I *m, const I *n, const P *alpha, const P *vals, const I *cols, const I *row_begin,
                const I *row_end, const P *b, const I *ldb, P *c, const I *ldc) {
  using E = typename T::elem;
  static_assert(K.structure == 'd');
  int64_t rows = *m, ncols = *n, lb = *ldb, lc = *ldc;
  if (rows < 1) return;
  const E al = *elems(alpha);
  const E *bb = elems(b);
  E *cc = elems(c);
  if constexpr (K.diag == 'u') {
    // One axpy per row of length n (c) or per column of length m (f).
    if constexpr (K.base == 0) {
      for (int64_t i = 0; i < rows; ++i) diagonal_unit_axpy<T>(ncols, al, bb + i * lb, cc + i * lc);
    } else {
      for (int64_t j = 0; j < ncols; ++j) diagonal_unit_axpy<T>(rows, al, bb + j * lb, cc + j * lc);
    }
  } else {
    Csr<E, I, K.base> a(elems(vals), cols, row_begin, row_end);
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
  Csr<E, I, K.base> a(elems(vals), cols, row_begin, row_end);
  if constexpr (K.structure == 'd') {
    diagonal_sv<K>(a, *elems(alpha), Contiguous<E>{elems(y)}, rows);
  } else {
    sv_triangular<T, K>(a, Contiguous<E>{elems(y)}, rows);
  }
}

template <class T, Kind K, class I, class P>
void csr_sm_par(const I *first, const I *last, const I *m, const I *k, const P *alpha, const P *vals,
                const I *cols, const I *row_begin, const I *row_end, P *y, const I *ldy) {
  using E = typename T::elem;
  int64_t lo = *first, hi = *last, rows = *m;
  if (hi < lo || rows < 1) return;
  Csr<E, I, K.base> a(elems(vals), cols, row_begin, row_end);
  if constexpr (K.structure == 'd') {
    diagonal_sm<K>(a, *elems(alpha), elems(y), int64_t(*ldy), rows, lo, hi);
  } else {
    sm_triangular<T, K>(a, elems(y), int64_t(*ldy), rows, int64_t(*k), lo, hi);
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
  const E *v = elems(vals);
  const E *xp = elems(x);
  E *yp = elems(y);
  int64_t b = row_ptr[0];
  for (int64_t i = lo; i <= hi; ++i) {
    int64_t p = int64_t(row_ptr[i - 1]) - b, q = int64_t(row_ptr[i]) - b;
    E s = E{};
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
