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

// The transposed solve of a whole triangle on a unit-stride x: the n mod 4
// columns solved first go singly, then groups of four: one pass over the
// solved part of x forms the four dots, and the 4 by 4 head is resolved in
// scalars, x[j + q] := (x[j + q] - s_q - the head's terms) / a[j + q, j + q].
template <class T, bool Conj, class Columns, class Diag>
void transposed_solve_by_four(const Triangle &g, Columns col, typename T::elem *x, Diag &&diag) {
  using E = typename T::elem;
  const int64_t n = g.n, singles = n % 4;
  const Strided<E> xs{x, 1};
  auto single = [&](int64_t j) {
    x[j] = diag(j, x[j] - InRows<T>::template dot<Conj>(g.lo(j), g.hi(j), col(j), xs));
  };
  for (int64_t s = 0; s < singles; ++s) single(g.upper ? s : n - 1 - s);
  for (int64_t done = singles; done < n; done += 4) {
    // Columns j..j+3; the solved rows [r0, r0 + len).
    const int64_t j = g.upper ? done : n - done - 4, r0 = g.upper ? 0 : j + 4, len = g.upper ? j : n - j - 4;
    E s[4] = {};
    const E *c[4] = {col(j), col(j + 1), col(j + 2), col(j + 3)};
    if (len > 0) {
      const E *cs[4] = {c[0] + r0, c[1] + r0, c[2] + r0, c[3] + r0};
      row_pass<E, 4, false, true, Conj>(len, cs, nullptr, x + r0, nullptr, s);
    }
    for (int q0 = 0; q0 < 4; ++q0) {
      const int q = g.upper ? q0 : 3 - q0;
      E v = x[j + q] - s[q];
      for (int r = g.upper ? 0 : q + 1; r < (g.upper ? q : 4); ++r) v = v - times<Conj>(c[q][j + r], x[j + r]);
      x[j + q] = diag(j + q, v);
    }
  }
}

template <class T, class Rows, bool Conj, class Columns>
void triangular_solve_as(const Triangle &g, Columns col, const Strided<typename T::elem> &x) {
  using E = typename T::elem;
  const int64_t n = g.n;
  auto diag = [&](int64_t j, E v) { return g.unit ? v : quotient(v, conj_if<Conj>(load_any(col(j) + j))); };
  if constexpr (std::is_same_v<Rows, InRows<T>>)
    if (g.op != Trans::N && g.k >= n && n >= 4 && Rows::unit(col(0), x))
      return transposed_solve_by_four<T, Conj>(g, col, x.p, diag);
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
