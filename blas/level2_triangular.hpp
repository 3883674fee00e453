// Triangular products x := op(A) x and solves x := op(A)^-1 x without
// blocks, over any storage (dense, band, packed: a Columns of
// level2_rows.hpp) and either set of row operations (InRows or Level1).
// Column j of the triangle holds rows [max(0, j - k), j] (upper) or
// [j, min(n - 1, j + k)] (lower); dense and packed storage take k = n.
//
// The orders are the standard's column loops:
//  product 'N', upper: columns from the first; x[j] (when not 0) is added,
//    times the column, to the rows above; then x[j] := x[j] a[j, j].
//  product 'N', lower: the same from the last column, rows below.
//  product transposed, upper: from the last column, x[j] := x[j] a[j, j]
//    plus the dot of the column above with x; lower: from the first, below.
//  solve 'N', upper: from the last column, x[j] := x[j] / a[j, j] (a true
//    division); then, x[j] not 0, the rows above take -x[j] times the
//    column; lower: from the first column, rows below.
//  solve transposed, upper: from the first column, x[j] := (x[j] - the dot
//    of the column above with the solved x) / a[j, j]; lower: from the last.
// Conjugated forms use conj(a), the diagonal included; a unit diagonal is
// never read.
#pragma once
#include "blas/level2_rows.hpp"

namespace zor::blas::level2 {

struct Triangle {
  bool upper;
  Trans op;
  bool unit;
  int64_t n, k;
  int64_t lo(int64_t j) const { return upper ? (j - k > 0 ? j - k : 0) : j + 1; }      // first off-diagonal row
  int64_t hi(int64_t j) const { return upper ? j : (j + k + 1 < n ? j + k + 1 : n); }  // one past the last
};

template <class T, class Rows, bool Conj, class Columns>
void triangular_product_as(const Triangle &g, Columns col, const Strided<typename T::elem> &x) {
  using E = typename T::elem;
  const int64_t n = g.n;
  auto diag = [&](int64_t j, E v) { return g.unit ? v : v * conj_if<Conj>(load_any(col(j) + j)); };
  if (g.op == Trans::N) {
    for (int64_t s = 0; s < n; ++s) {
      const int64_t j = g.upper ? s : n - 1 - s;
      const E xj = x.get(j);
      if (is_zero(xj)) continue;
      Rows::add(g.lo(j), g.hi(j), xj, col(j), x);
      x.set(j, diag(j, xj));
    }
  } else {
    for (int64_t s = 0; s < n; ++s) {
      const int64_t j = g.upper ? n - 1 - s : s;
      const E v = diag(j, x.get(j));
      x.set(j, v + Rows::template dot<Conj>(g.lo(j), g.hi(j), col(j), x));
    }
  }
}

template <class T, class Rows, bool Conj, class Columns>
void triangular_solve_as(const Triangle &g, Columns col, const Strided<typename T::elem> &x) {
  using E = typename T::elem;
  const int64_t n = g.n;
  auto diag = [&](int64_t j, E v) { return g.unit ? v : divided(v, conj_if<Conj>(load_any(col(j) + j))); };
  if (g.op == Trans::N) {
    for (int64_t s = 0; s < n; ++s) {
      const int64_t j = g.upper ? n - 1 - s : s;
      E xj = x.get(j);
      if (is_zero(xj)) continue;
      xj = diag(j, xj);
      x.set(j, xj);
      Rows::add(g.lo(j), g.hi(j), E{} - xj, col(j), x);
    }
  } else {
    for (int64_t s = 0; s < n; ++s) {
      const int64_t j = g.upper ? s : n - 1 - s;
      x.set(j, diag(j, x.get(j) - Rows::template dot<Conj>(g.lo(j), g.hi(j), col(j), x)));
    }
  }
}

// The entries: the conjugated walk only for op C.
template <class T, class Rows, class Columns>
void triangular_product(const Triangle &g, Columns col, const Strided<typename T::elem> &x) {
  if (g.op == Trans::C) triangular_product_as<T, Rows, true>(g, col, x);
  else triangular_product_as<T, Rows, false>(g, col, x);
}
template <class T, class Rows, class Columns>
void triangular_solve(const Triangle &g, Columns col, const Strided<typename T::elem> &x) {
  if (g.op == Trans::C) triangular_solve_as<T, Rows, true>(g, col, x);
  else triangular_solve_as<T, Rows, false>(g, col, x);
}

// The letters of a triangular call.
template <class T>
Triangle read_triangle(const char *uplo, const char *trans, const char *diag, int64_t n, int64_t k) {
  return {is_letter(uplo, 'U'), product_trans<T::complex>(trans), !is_letter(diag, 'N'), n, k};
}

}  // namespace zor::blas::level2
