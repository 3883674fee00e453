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
// bottom) and the whole ones. The cut phase goes in pairs, the whole one in
// groups of tuned::kBandGroup, then pairs; an odd column finishes a phase
// alone (step: one column's loop step).
//
// A group: the rows every column of it holds go in one row pass; the other
// rows one at a time.
// 'N': every element takes its columns' terms in the walk's order, as the
// column loop adds them (the same bits as step by step). The group's own
// diagonal rows first: a solve divides them in turn, each after the terms
// of the columns met before it; a product multiplies each by its diagonal
// and adds the terms of the columns met after it. A group holding an x
// element the loop would pass over (0, in a solve once the columns before
// have acted on it) goes step by step.
// Transposed: the dots take the rows all columns hold in one pass (from 0),
// then each column in the walk's order adds the other rows it holds one at a
// time, in row order, those outside the group's diagonal rows first, and is
// finished (a solve's next dots read it; a product's never do).
template <class T, bool Conj, bool Solve, int G, class Columns, class Diag>
ZOR_HOT bool band_group(const Triangle &g, Columns col, typename T::elem *x, const int64_t *cj, Diag &diag) {
  using E = typename T::elem;
  const int64_t j0 = std::min(cj[0], cj[G - 1]), j1 = j0 + G;  // the group's diagonal rows
  const E *c[G], *cs[G];
  int64_t lo[G], hi[G], in_lo = 0, in_hi = g.n;  // [in_lo, in_hi): the rows all hold
  for (int w = 0; w < G; ++w) {
    c[w] = col(cj[w]), lo[w] = g.lo(cj[w]), hi[w] = g.hi(cj[w]);
    in_lo = std::max(in_lo, lo[w]), in_hi = std::min(in_hi, hi[w]);
  }
  in_hi = std::max(in_hi, in_lo);
  for (int w = 0; w < G; ++w) cs[w] = c[w] + in_lo;
  auto holds = [&](int w, int64_t i) { return lo[w] <= i && i < hi[w]; };
  // Column w's rows outside [in_lo, in_hi) (and, with skip, outside the
  // group's diagonal rows), in row order.
  auto own_rows = [&](int w, bool skip, auto &&row) {
    for (int64_t i = lo[w]; i < std::min(hi[w], in_lo); ++i)
      if (!skip || i < j0 || i >= j1) row(i);
    for (int64_t i = std::max(lo[w], in_hi); i < hi[w]; ++i)
      if (!skip || i < j0 || i >= j1) row(i);
  };
  if (g.op == Trans::N) {
    E u[G], v[G];
    for (int w = 0; w < G; ++w) {
      if constexpr (Solve) {
        E xw = x[cj[w]];
        for (int e = 0; e < w; ++e)
          if (holds(e, cj[w])) xw = xw + u[e] * c[e][cj[w]];
        if (is_zero(xw)) return false;
        v[w] = diag(cj[w], xw), u[w] = E{} - v[w];
      } else {
        u[w] = x[cj[w]];
        if (is_zero(u[w])) return false;
      }
    }
    if constexpr (!Solve)
      for (int w = 0; w < G; ++w) {
        v[w] = diag(cj[w], u[w]);
        for (int e = w + 1; e < G; ++e)
          if (holds(e, cj[w])) v[w] = v[w] + u[e] * c[e][cj[w]];
      }
    for (int w = 0; w < G; ++w) x[cj[w]] = v[w];
    for (int w = 0; w < G; ++w) own_rows(w, true, [&](int64_t i) { x[i] = x[i] + u[w] * c[w][i]; });
    if (in_hi > in_lo) {
      const auto f = [&]<size_t... W>(std::index_sequence<W...>) {
        return std::array<Factor<E>, G>{Factor<E>(u[W])...};
      }(std::make_index_sequence<G>());
      row_pass<E, G, true, false>(in_hi - in_lo, cs, f.data(), nullptr, x + in_lo, nullptr);
    }
  } else {
    E sum[G] = {}, xv[G];  // xv: the group's diagonal elements, by the walk
    if (in_hi > in_lo) row_pass<E, G, false, true, Conj>(in_hi - in_lo, cs, nullptr, x + in_lo, nullptr, sum);
    for (int w = 0; w < G; ++w) xv[w] = x[cj[w]];
    for (int w = 0; w < G; ++w) {
      E s = sum[w];
      own_rows(w, true, [&](int64_t i) { s = s + times<Conj>(c[w][i], x[i]); });
      for (int64_t i = std::max(j0, lo[w]); i < std::min(j1, hi[w]); ++i)
        s = s + times<Conj>(c[w][i], xv[cj[0] == j0 ? i - j0 : j1 - 1 - i]);
      const int64_t j = cj[w];
      x[j] = xv[w] = Solve ? diag(j, xv[w] - s) : diag(j, xv[w]) + s;
    }
  }
  return true;
}

// 'N' over whole columns (k rows off the diagonal, k >= G - 1), groups of G
// by band_run, in the walk's order. A product reads the factors of a run of
// groups first (the run's columns touch none of them), multiplies the runs'
// diagonal elements first (no earlier column of the walk reaches them), and
// leaves band_run the rows each group's columns hold, its own diagonal rows
// among them. A solve goes a group at a time: the group's diagonal rows are
// solved in turn first, then band_run takes the other rows.
template <class T, bool Solve, bool Upper, class Columns, class Step, class Diag>
void band_whole_normal(const Triangle &g, Columns col, typename T::elem *x, int64_t &p, int64_t end, Step &step,
                       Diag &diag) {
  using E = typename T::elem;
  constexpr int G = tuned::kBandGroup;
  constexpr bool forward = Upper != Solve, down = !forward;
  constexpr int skip = Solve ? (Upper ? 2 : 1) : 0;
  const int64_t n = g.n, k = g.k, lda = col.lda;
  // Group r from p on: its first column; the row its band_run starts at.
  auto first = [&](int64_t r) { return forward ? p + r * G : n - p - (r + 1) * G; };
  auto base = [&](int64_t j) { return Upper ? j - k : j + 1; };
  auto steps = [&](int64_t j) {
    for (int w = 0; w < G; ++w) step(forward ? j + w : j + G - 1 - w);
  };
  while (p + G <= end) {
    if constexpr (Solve) {
      const int64_t j = first(0);
      E u[G], v[G];  // u by column, v by the walk
      bool zero = false;
      for (int w = 0; w < G && !zero; ++w) {
        const int64_t c = forward ? j + w : j + G - 1 - w;
        E xc = x[c];
        for (int e = 0; e < w; ++e) {
          const int64_t ce = forward ? j + e : j + G - 1 - e;
          xc = xc + u[ce - j] * col(ce)[c];
        }
        zero = is_zero(xc);
        v[w] = diag(c, xc), u[c - j] = E{} - v[w];
      }
      if (zero) {
        steps(j);
      } else {
        for (int w = 0; w < G; ++w) x[forward ? j + w : j + G - 1 - w] = v[w];
        band_run<E, G, down, skip>(1, k, col(j) + base(j), lda, u, x + base(j));
      }
      p += G;
    } else {
      E t[G * tuned::kBandRun];
      const int64_t most = std::min<int64_t>(tuned::kBandRun, (end - p) / G);
      int64_t run = 0;  // groups with no factor of 0
      for (bool zero = false; run < most && !zero; run += !zero) {
        const int64_t j = first(run);
        for (int q = 0; q < G; ++q) t[run * G + q] = x[j + q], zero = zero || is_zero(x[j + q]);
      }
      if (run == 0) {
        steps(first(0));
        p += G;
        continue;
      }
      for (int64_t r = 0; r < run; ++r)
        for (int q = 0; q < G; ++q) x[first(r) + q] = diag(first(r) + q, t[r * G + q]);
      const int64_t j = first(0);
      band_run<E, G, down, 0>(run, k, col(j) + base(j), lda, t, x + base(j));
      p += run * G;
    }
  }
}

// Transposed over whole columns (k >= G - 1), groups of G: the sums as
// band_group forms them, with the rows of a group's columns counted from its
// first row (upper: j - k, lower: j + 1), column q holding the rows
// [q, q + k): all hold [G - 1, k); the first G - 1 rows and the last G - 1
// are the rows off the group's diagonal (upper: the first, lower: the last)
// and its diagonal rows.
template <class T, bool Conj, bool Solve, bool Upper, class Columns, class Diag>
void band_whole_transposed(const Triangle &g, Columns col, typename T::elem *x, int64_t &p, int64_t end,
                           Diag &diag) {
  using E = typename T::elem;
  constexpr int G = tuned::kBandGroup;
  constexpr bool forward = Upper == Solve;
  const int64_t n = g.n, k = g.k;
  for (; p + G <= end; p += G) {
    const int64_t j = forward ? p : n - p - G, base = Upper ? j - k : j + 1;
    const E *a[G], *cs[G];
    E s[G] = {}, xv[G];  // xv: the group's diagonal elements, by column
    for (int q = 0; q < G; ++q) a[q] = col(j + q) + base, cs[q] = a[q] + (G - 1), xv[q] = x[j + q];
    row_pass<E, G, false, true, Conj>(k - (G - 1), cs, nullptr, x + base + (G - 1), nullptr, s);
    const E *xb = x + base;
    for (int w = 0; w < G; ++w) {
      const int q = forward ? w : G - 1 - w;
      E v = s[q];
      if constexpr (Upper) {
        for (int r = q; r < G - 1; ++r) v = v + times<Conj>(a[q][r], xb[r]);
        for (int h = 0; h < q; ++h) v = v + times<Conj>(a[q][k + h], xv[h]);
      } else {
        for (int h = 0; h < q; ++h) v = v + times<Conj>(a[q][k + h], xb[k + h]);
        for (int r = q; r < G - 1; ++r) v = v + times<Conj>(a[q][r], xv[r + 1]);
      }
      x[j + q] = xv[q] = Solve ? diag(j + q, xv[q] - v) : diag(j + q, xv[q]) + v;
    }
  }
}

template <class T, bool Conj, bool Solve, class Columns, class Step, class Diag>
void band_groups(const Triangle &g, Columns col, typename T::elem *x, Step &&step, Diag &&diag) {
  constexpr int G = tuned::kBandGroup;
  const int64_t n = g.n;
  const bool forward = g.op == Trans::N ? g.upper != Solve : g.upper == Solve;
  const int64_t cut = std::min(n, g.k), first_end = g.upper == forward ? cut : n - cut;
  int64_t p = 0;  // columns done, in the walk
  auto groups = [&]<int Size>(int64_t end) {
    for (; p + Size <= end; p += Size) {
      int64_t cj[Size];
      for (int w = 0; w < Size; ++w) cj[w] = forward ? p + w : n - 1 - p - w;
      if (!band_group<T, Conj, Solve, Size>(g, col, x, cj, diag))
        for (int w = 0; w < Size; ++w) step(cj[w]);
    }
  };
  for (const int phase : {0, 1}) {
    const int64_t end = phase ? n : first_end;
    if ((phase == 1) == (g.upper == forward)) {  // the whole columns
      if (g.k < G - 1) groups.template operator()<G>(end);
      else if (g.op == Trans::N && g.upper) band_whole_normal<T, Solve, true>(g, col, x, p, end, step, diag);
      else if (g.op == Trans::N) band_whole_normal<T, Solve, false>(g, col, x, p, end, step, diag);
      else if (g.upper) band_whole_transposed<T, Conj, Solve, true>(g, col, x, p, end, diag);
      else band_whole_transposed<T, Conj, Solve, false>(g, col, x, p, end, diag);
    }
    groups.template operator()<2>(end);
    if (p < end) step(forward ? p : n - 1 - p), ++p;
  }
}

// Where the band groups run: real band triangles with at least one row off
// the diagonal, unit strides.
template <class T, class Rows, class Columns>
constexpr bool kBandGroups = !T::complex && std::is_same_v<Rows, InRows<T>> &&
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
  if constexpr (kBandGroups<T, Rows, Columns>)
    if (n >= 2 && g.k >= 1 && Rows::unit(col(0), x)) return band_groups<T, Conj, false>(g, col, x.p, step, diag);
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
  if constexpr (kBandGroups<T, Rows, Columns>)
    if (n >= 2 && g.k >= 1 && Rows::unit(col(0), x)) return band_groups<T, Conj, true>(g, col, x.p, step, diag);
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
