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
#include <algorithm>
#include <type_traits>

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

// The dots of a transposed product or solve over the rows off a group, Cols columns in one
// pass over x: whole groups of four registers (eight doubles), each column
// with two accumulators, A taking the registers 0 and 2 of a group (elements
// 0, 1, 4, 5 for doubles) and B the registers 1 and 3, joined at the end as
// the lanes of A + B (for doubles (A + B) lane 0 plus lane 1). Returns the
// rows the groups took; the rows after them are the caller's, one at a time.
template <class E, int Cols, bool Conj>
ZOR_HOT inline int64_t grouped_dots(int64_t len, const E *const *c, const E *x, E *total) {
  using P = Pack<E>;
  constexpr int L = P::n, G = 4 * L;
  const int64_t done = len / G * G;
  DotLanes<E, Conj> a[Cols], b[Cols];
  for (int64_t i = 0; i < done; i += G) {
    const vec_t<E> x0 = P::load(x + i), x1 = P::load(x + i + L), x2 = P::load(x + i + 2 * L),
                   x3 = P::load(x + i + 3 * L);
    for (int k = 0; k < Cols; ++k) {
      const E *ck = c[k] + i;
      a[k].add(P::load(ck), x0);
      b[k].add(P::load(ck + L), x1);
      a[k].add(P::load(ck + 2 * L), x2);
      b[k].add(P::load(ck + 3 * L), x3);
    }
  }
  for (int k = 0; k < Cols; ++k) {
    a[k].add(b[k]);
    total[k] = a[k].total();
  }
  return done;
}

// The transposed product or solve of a whole triangle on a unit-stride x,
// in the walk of the column loops above: the n mod 4 columns met first go
// singly, then groups of four: one pass over the rows off the group (the
// solved rows of a solve, the rows not yet changed of a product) forms the
// four dots (grouped_dots), and the 4 by 4 head is resolved in scalars.
// Column j's value, the head's terms in row order:
//   solve:   ((x[j] - groups' dot) - the other rows one at a time
//             - the head's terms) / a[j, j];
//   product: ((x[j] a[j, j] + groups' dot) + the other rows one at a time)
//             + the head's terms.
template <class T, bool Conj, bool Solve, class Columns, class Diag>
void transposed_by_four(const Triangle &g, Columns col, typename T::elem *x, Diag &&diag) {
  using E = typename T::elem;
  const int64_t n = g.n, singles = n % 4;
  const bool forward = g.upper == Solve;  // the walk from the first column
  auto term = [&](E v, E a, E xi) { return Solve ? v - times<Conj>(a, xi) : v + times<Conj>(a, xi); };
  // Columns c[0..Cols) against the rows [r0, r0 + len) of x.
  auto other_rows = [&]<int Cols>(const E *const *c, int64_t r0, int64_t len, E *v) {
    const E *cs[Cols];
    for (int k = 0; k < Cols; ++k) cs[k] = c[k] + r0;
    E s[Cols];
    const int64_t done = grouped_dots<E, Cols, Conj>(len, cs, x + r0, s);
    for (int k = 0; k < Cols; ++k) {
      v[k] = Solve ? v[k] - s[k] : v[k] + s[k];
      for (int64_t i = done; i < len; ++i) v[k] = term(v[k], cs[k][i], x[r0 + i]);
    }
  };
  for (int64_t step = 0; step < singles; ++step) {
    const int64_t j = forward ? step : n - 1 - step;
    const E *c[1] = {col(j)};
    E v[1] = {Solve ? x[j] : diag(j, x[j])};
    other_rows.template operator()<1>(c, g.lo(j), g.hi(j) - g.lo(j), v);
    x[j] = Solve ? diag(j, v[0]) : v[0];
  }
  for (int64_t done = singles; done < n; done += 4) {
    // Columns j..j+3; the other rows [r0, r0 + len).
    const int64_t j = forward ? done : n - done - 4, r0 = g.upper ? 0 : j + 4, len = g.upper ? j : n - j - 4;
    const E *c[4] = {col(j), col(j + 1), col(j + 2), col(j + 3)};
    E v[4];
    for (int q = 0; q < 4; ++q) v[q] = Solve ? x[j + q] : diag(j + q, x[j + q]);
    other_rows.template operator()<4>(c, r0, len, v);
    for (int q0 = 0; q0 < 4; ++q0) {
      const int q = forward ? q0 : 3 - q0;
      for (int r = g.upper ? 0 : q + 1; r < (g.upper ? q : 4); ++r) v[q] = term(v[q], c[q][j + r], x[j + r]);
      x[j + q] = Solve ? diag(j + q, v[q]) : v[q];
    }
  }
}

// The product 'N' of a whole triangle on a unit-stride x, in the walk of the
// column loop above: the n mod 4 columns met first go singly, then groups of
// four: the rows off the group take the four columns' terms in one pass, in
// the walk's column order (so every element adds its terms in the loop's
// order), then the 4 by 4 head runs the loop's steps. A group holding an x
// element of 0 runs the loop's steps column by column (the loop passes such
// a column over).
template <class T, class Columns, class Diag>
void normal_by_four(const Triangle &g, Columns col, typename T::elem *x, Diag &&diag) {
  using E = typename T::elem;
  const int64_t n = g.n, singles = n % 4;
  const Strided<E> xs{x, 1};
  auto step = [&](int64_t j) {
    const E xj = x[j];
    if (is_zero(xj)) return;
    InRows<T>::add(g.lo(j), g.hi(j), xj, col(j), xs);
    x[j] = diag(j, xj);
  };
  auto walk = [&](int64_t first, int q0) { return g.upper ? first + q0 : first + 3 - q0; };
  for (int64_t s = 0; s < singles; ++s) step(g.upper ? s : n - 1 - s);
  for (int64_t done = singles; done < n; done += 4) {
    // Columns j..j + 3; the rows off the group [r0, r0 + len).
    const int64_t j = g.upper ? done : n - done - 4, r0 = g.upper ? 0 : j + 4, len = g.upper ? j : n - j - 4;
    if (is_zero(x[j]) || is_zero(x[j + 1]) || is_zero(x[j + 2]) || is_zero(x[j + 3])) {
      for (int q0 = 0; q0 < 4; ++q0) step(walk(j, q0));
      continue;
    }
    const E t[4] = {x[j], x[j + 1], x[j + 2], x[j + 3]};
    const E *c[4];
    for (int q0 = 0; q0 < 4; ++q0) c[q0] = col(walk(j, q0)) + r0;
    const Factor<E> f[4] = {Factor<E>(t[walk(0, 0)]), Factor<E>(t[walk(0, 1)]), Factor<E>(t[walk(0, 2)]),
                            Factor<E>(t[walk(0, 3)])};
    if (len > 0) row_pass<E, 4, true, false>(len, c, f, nullptr, x + r0, nullptr);
    for (int q0 = 0; q0 < 4; ++q0) {
      const int q = int(walk(0, q0));
      const E *cq = col(j + q);
      for (int r = g.upper ? 0 : q + 1; r < (g.upper ? q : 4); ++r) x[j + r] = x[j + r] + t[q] * cq[j + r];
      x[j + q] = diag(j + q, t[q]);
    }
  }
}

// Real band triangles on a unit-stride x: the columns in the walk of the
// column loops above, in two phases, the columns whose band the matrix's
// edge cuts (upper: the first k, at the top; lower: the last k, at the
// bottom) and the whole ones, each phase in pairs with an odd column
// finishing it alone (step runs one column's loop step).
// 'N': the rows both columns of a pair hold take both terms in one pass
// (row_pass), first the term of the column the walk meets first; a row only
// one of them holds takes its term alone; so every element adds its terms in
// the column loop's order (the same bits as step by step). A pair whose
// first x element, or second once the first has acted on it, is 0 goes step
// by step (the loop passes such a column over).
// Transposed: both dots take the rows both columns hold in one pass (from
// 0), then each adds the rows only it holds one at a time, in row order;
// the column the walk meets first is finished first (a solve's second dot
// may read its value).
template <class T, bool Conj, bool Solve, class Columns, class Step, class Diag>
void band_pairs(const Triangle &g, Columns col, typename T::elem *x, Step &&step, Diag &&diag) {
  using E = typename T::elem;
  const int64_t n = g.n;
  const bool normal = g.op == Trans::N, forward = normal ? g.upper != Solve : g.upper == Solve;
  // One column's rows [lo, hi) outside [s0, s1), less the row `skip`, one at a time.
  auto others = [&](int64_t j, int64_t s0, int64_t s1, int64_t skip, auto &&row) {
    for (int64_t i = g.lo(j); i < g.hi(j); ++i)
      if ((i < s0 || i >= s1) && i != skip) row(i);
  };
  auto pair = [&](int64_t f, int64_t s) ZOR_HOT {
    const E *cf = col(f), *cs = col(s);
    const int64_t s0 = std::max(g.lo(f), g.lo(s)), s1 = std::min(g.hi(f), g.hi(s)), len = s1 > s0 ? s1 - s0 : 0;
    const E *c[2] = {cf + s0, cs + s0};
    if (normal) {
      // Solves: the first column's term reaches the second's diagonal row
      // before its value is taken; products: the second's term reaches the
      // first's diagonal row after its diagonal.
      E tf = x[f];
      if (is_zero(tf)) return step(f), step(s);
      if constexpr (Solve) tf = diag(f, tf);
      const E xs = Solve ? x[s] + (E{} - tf) * cf[s] : x[s];
      if (is_zero(xs)) return step(f), step(s);
      const E ts = Solve ? diag(s, xs) : xs;
      const E uf = Solve ? E{} - tf : tf, us = Solve ? E{} - ts : ts;
      if constexpr (Solve) x[f] = tf, x[s] = ts;
      else x[f] = diag(f, tf) + ts * cs[f], x[s] = diag(s, ts);
      others(f, s0, s1, s, [&](int64_t i) { x[i] = x[i] + uf * cf[i]; });
      others(s, s0, s1, f, [&](int64_t i) { x[i] = x[i] + us * cs[i]; });
      const Factor<E> u[2] = {Factor<E>(uf), Factor<E>(us)};
      if (len > 0) row_pass<E, 2, true, false>(len, c, u, nullptr, x + s0, nullptr);
    } else {
      E sum[2] = {};
      if (len > 0) row_pass<E, 2, false, true, Conj>(len, c, nullptr, x + s0, nullptr, sum);
      auto finish = [&](int64_t j, const E *cj, E v) {
        others(j, s0, s1, -1, [&](int64_t i) { v = v + times<Conj>(cj[i], x[i]); });
        x[j] = Solve ? diag(j, x[j] - v) : diag(j, x[j]) + v;
      };
      finish(f, cf, sum[0]);
      finish(s, cs, sum[1]);
    }
  };
  const int64_t cut = std::min(n, g.k), ends[2] = {g.upper == forward ? cut : n - cut, n};
  auto column = [&](int64_t p) { return forward ? p : n - 1 - p; };
  int64_t p = 0;
  for (int64_t end : ends) {
    for (; p + 1 < end; p += 2) pair(column(p), column(p + 1));
    if (p < end) step(column(p++));
  }
}

// Where the band pairs run: real band triangles with at least one row off
// the diagonal, unit strides.
template <class T, class Rows, class Columns>
constexpr bool kBandPairs = !T::complex && std::is_same_v<Rows, InRows<T>> &&
                            std::is_same_v<Columns, BandColumns<typename T::elem>>;

template <class T, class Rows, bool Conj, class Columns>
void triangular_product_as(const Triangle &g, Columns col, const Strided<typename T::elem> &x) {
  using E = typename T::elem;
  const int64_t n = g.n;
  auto diag = [&](int64_t j, E v) { return g.unit ? v : v * conj_if<Conj>(load_any(col(j) + j)); };
  // Packed triangles: the product by groups of four columns (dense blocks
  // keep the column loop).
  if constexpr (std::is_same_v<Rows, InRows<T>> && std::is_same_v<Columns, PackedColumns<E>>)
    if (n >= 4 && Rows::unit(col(0), x)) {
      if (g.op == Trans::N) return normal_by_four<T>(g, col, x.p, diag);
      return transposed_by_four<T, Conj, false>(g, col, x.p, diag);
    }
  auto step = [&](int64_t j) {
    if (g.op == Trans::N) {
      const E xj = x.get(j);
      if (is_zero(xj)) return;
      Rows::add(g.lo(j), g.hi(j), xj, col(j), x);
      x.set(j, diag(j, xj));
    } else {
      x.set(j, diag(j, x.get(j)) + Rows::template dot<Conj>(g.lo(j), g.hi(j), col(j), x));
    }
  };
  if constexpr (kBandPairs<T, Rows, Columns>)
    if (n >= 2 && g.k >= 1 && Rows::unit(col(0), x)) return band_pairs<T, Conj, false>(g, col, x.p, step, diag);
  const bool backward = g.upper == (g.op != Trans::N);
  for (int64_t s = 0; s < n; ++s) step(backward ? n - 1 - s : s);
}

template <class T, class Rows, bool Conj, class Columns>
void triangular_solve_as(const Triangle &g, Columns col, const Strided<typename T::elem> &x) {
  using E = typename T::elem;
  const int64_t n = g.n;
  auto diag = [&](int64_t j, E v) { return g.unit ? v : quotient(v, conj_if<Conj>(load_any(col(j) + j))); };
  if constexpr (std::is_same_v<Rows, InRows<T>>)
    if (g.op != Trans::N && g.k >= n && n >= 4 && Rows::unit(col(0), x))
      return transposed_by_four<T, Conj, true>(g, col, x.p, diag);
  auto step = [&](int64_t j) {
    if (g.op == Trans::N) {
      E xj = x.get(j);
      if (is_zero(xj)) return;
      xj = diag(j, xj);
      x.set(j, xj);
      Rows::add(g.lo(j), g.hi(j), E{} - xj, col(j), x);
    } else {
      x.set(j, diag(j, x.get(j) - Rows::template dot<Conj>(g.lo(j), g.hi(j), col(j), x)));
    }
  };
  if constexpr (kBandPairs<T, Rows, Columns>)
    if (n >= 2 && g.k >= 1 && Rows::unit(col(0), x)) return band_pairs<T, Conj, true>(g, col, x.p, step, diag);
  const bool backward = g.upper == (g.op == Trans::N);
  for (int64_t s = 0; s < n; ++s) step(backward ? n - 1 - s : s);
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
