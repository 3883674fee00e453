// COO kernels: the matrix as three parallel lists vals, rows, cols of nnz
// entries in any order (numbers zero-based in base 0, one-based in base 1).
// Multiplication needs no order, every entry being one update; a solve
// builds its rows on every call with the row list below.
//
// Multiply, per entry (r, c, v), v conjugated first with op s:
//   g, t   y[r] += (v alpha) x[c]; t only for r >= c (l) / r <= c (u), the
//          strict tests with a unit diagonal, which then adds x alpha once
//   s      r > c (l): t = v, y[r] += (x[c] alpha) t, y[c] += (x[r] alpha) t;
//          r = c: y[r] += (v alpha) x[c] (left out with a unit diagonal,
//          which adds x alpha after the entries)
//   a      r > c (l): t = v alpha, y[r] += x[c] t, y[c] -= x[r] t
//   h      r > c (l): y[r] += v (alpha x[c]), y[c] += conj(v) (alpha x[r]);
//          r = c: y[r] += v (alpha x[c]), the stored imaginary part kept
//   d      r = c: y[r] += (v alpha) x[r]
// Part u exchanges the tests. mv of g and t walks the whole list (a run of
// one row summed in a register); mv of s, a, h the entries of the range; mm
// applies the same to each dense column of the range.
#pragma once
#include <cstring>

#include "frame/imports.hpp"
#include "frame/memory.hpp"
#include "frame/simd.hpp"
#include "spblas/csr_common.hpp"
#include "spblas/parameters.hpp"

namespace zor::spblas {

template <class E, class I, int Base>
struct Coo {
  const E *vals;
  const I *rows, *cols;
  int64_t nnz;
  int64_t row(int64_t k) const { return int64_t(rows[k]) - Base; }  // zero-based
  int64_t col(int64_t k) const { return int64_t(cols[k]) - Base; }
};

// Entry (r, c) strictly inside the triangle of the part letter.
template <char Part>
inline bool inside(int64_t r, int64_t c) {
  return Part == 'l' ? r > c : r < c;
}

// Entries k0..k1-1 of the list into y, the rule of the structure.
template <Kind K, class E, class I, class X, class Y>
inline void coo_entries(const Coo<E, I, K.base> &a, E alpha, X x, Y y, int64_t k0, int64_t k1) {
  constexpr bool cj = K.op == 's';
  constexpr char S = K.structure;
  for (int64_t k = k0; k < k1; ++k) {
    const int64_t r = a.row(k), c = a.col(k);
    const E v = conj_if<cj>(a.vals[k]);
    if constexpr (S == 'g') {
      y(r) = y(r) + (v * alpha) * x(c);
    } else if constexpr (S == 't') {
      if (inside<K.part>(r, c) || (K.diag == 'n' && r == c)) y(r) = y(r) + (v * alpha) * x(c);
    } else if constexpr (S == 's') {
      if (inside<K.part>(r, c)) {
        y(r) = y(r) + (x(c) * alpha) * v;
        y(c) = y(c) + (x(r) * alpha) * v;
      } else if (K.diag == 'n' && r == c) {
        y(r) = y(r) + (v * alpha) * x(c);
      }
    } else if constexpr (S == 'a') {
      if (inside<K.part>(r, c)) {
        const E t = v * alpha;
        y(r) = y(r) + x(c) * t;
        y(c) = y(c) - x(r) * t;
      }
    } else if constexpr (S == 'h') {
      if (inside<K.part>(r, c)) {
        y(r) = y(r) + v * (alpha * x(c));
        y(c) = y(c) + conj(v) * (alpha * x(r));
      } else if (K.diag == 'n' && r == c) {
        y(r) = y(r) + v * (alpha * x(c));
      }
    } else {
      static_assert(S == 'd');
      if (r == c) y(r) = y(r) + (v * alpha) * x(r);
    }
  }
}

// The same over the whole list with the x element of the entry
// kGatherAhead places on prefetched: the gathered reads of x wait on memory
// otherwise. The updates and their order are those of coo_entries; g and t
// keep y[r] in a register while the list stays on row r (stored when the
// row changes), so a row's updates do not wait on each other through memory.
template <Kind K, class E, class I>
inline void coo_entries_ahead(const Coo<E, I, K.base> &a, E alpha, Contiguous<const E> x, Contiguous<E> y) {
  static_assert(K.structure == 'g' || K.structure == 't');
  constexpr int64_t ahead = tuned::kGatherAhead;
  if (a.nnz < 1) return;
  int64_t k = 0, held = a.row(0);
  E s = y(held);
  auto entry = [&](int64_t e) {
    const int64_t r = a.row(e), c = a.col(e);
    if (r != held) {
      y(held) = s;
      held = r;
      s = y(r);
    }
    if (K.structure == 'g' || inside<K.part>(r, c) || (K.diag == 'n' && r == c))
      s = s + (conj_if<K.op == 's'>(a.vals[e]) * alpha) * x(c);
  };
  for (; k + ahead < a.nnz; ++k) {
    zor::simd::prefetch_t0(x.p + a.col(k + ahead));
    entry(k);
  }
  for (; k < a.nnz; ++k) entry(k);
  y(held) = s;
}

// y[i] += x[i] alpha, i < m: the unit diagonal's term.
template <class E, class X, class Y>
inline void add_unit_term(E alpha, X x, Y y, int64_t m) {
  for (int64_t i = 0; i < m; ++i) y(i) = y(i) + x(i) * alpha;
}

// ---------------------------------------------------------------- row list

// The rows of the wanted triangle, built on every solve from the list
// (indices only, so one routine serves the four precisions): for each row
// the number of its strict entries (counts, cleared by the caller) and their
// one-based list positions grouped by row, within a row in list order (a
// stable counting sort), and for each row the one-based position of its
// diagonal entry (non-unit; the last one in the list wins). Two temporaries
// come from the pool; false when one cannot be had.
template <char Part, bool Unit, int Base, class I>
bool build_coo_rowlist(int64_t m, const I *rows, const I *cols, int64_t nnz, I *diag, I *counts, int64_t &total,
                       I *list) {
  frame::PooledBuffer tmp_block(uint64_t(nnz > 0 ? nnz : 1) * sizeof(I), int32_t(fixed::kScratchAlignment));
  frame::PooledBuffer start_block(uint64_t(m) * sizeof(I), int32_t(fixed::kScratchAlignment));
  if (!tmp_block || !start_block) return false;
  I *tmp = static_cast<I *>(tmp_block.get()), *start = static_cast<I *>(start_block.get());
  int64_t n = 0;
  for (int64_t e = 1; e <= nnz; ++e) {
    const int64_t r = int64_t(rows[e - 1]) - Base, c = int64_t(cols[e - 1]) - Base;
    if (inside<Part>(r, c)) {
      tmp[n++] = I(e);
      counts[r] = I(counts[r] + 1);
    } else if (!Unit && r == c) {
      diag[r] = I(e);
    }
  }
  start[0] = 0;
  for (int64_t i = 1; i < m; ++i) start[i] = I(start[i - 1] + counts[i - 1]);
  for (int64_t t = 0; t < n; ++t) {
    const int64_t e = tmp[t], r = int64_t(rows[e - 1]) - Base;
    start[r] = I(start[r] + 1);
    list[start[r] - 1] = I(e);
  }
  total = n;
  return true;
}

// The scratch of a solve: diagonal slots, row counts, index list.
template <class I>
struct RowList {
  frame::PooledBuffer diag_block, count_block, list_block;
  int64_t total = 0;
  RowList(int64_t m, int64_t nnz)
      : diag_block(uint64_t(m) * sizeof(I), int32_t(fixed::kScratchAlignment)),
        count_block(uint64_t(m) * sizeof(I), int32_t(fixed::kScratchAlignment)),
        list_block(uint64_t(nnz > 0 ? nnz : 1) * sizeof(I), int32_t(fixed::kScratchAlignment)) {}
  I *diag() const { return static_cast<I *>(diag_block.get()); }
  I *counts() const { return static_cast<I *>(count_block.get()); }
  I *list() const { return static_cast<I *>(list_block.get()); }
  // Builds the list; false when scratch is missing.
  template <char Part, bool Unit, int Base>
  bool build(int64_t m, const I *rows, const I *cols, int64_t nnz) {
    if (!diag_block || !count_block || !list_block) return false;
    std::memset(counts(), 0, size_t(m) * sizeof(I));
    return build_coo_rowlist<Part, Unit, Base>(m, rows, cols, nnz, diag(), counts(), total, list());
  }
};

// The triangular solve on one right side from the row list: rows ascending
// (l) or descending (u); each row's strict entries in four sums, each term
// v y[c], combined ((s0 + s1) + s2) + s3, then the rest singly; the upper
// form takes the list from its end, so its sums see a row's entries in
// reverse list order. Then y[i] := (y[i] - s) / pivot (unit: y[i] - s).
template <Kind K, class E, class I, class Y>
inline void coo_solve(const Coo<E, I, K.base> &a, const RowList<I> &rl, Y y, int64_t m) {
  constexpr bool cj = K.op == 's';
  const I *list = rl.list(), *counts = rl.counts(), *diag = rl.diag();
  auto term = [&](int64_t pos) {
    const int64_t e = int64_t(list[pos]) - 1;
    return conj_if<cj>(a.vals[e]) * y(a.col(e));
  };
  auto row = [&](int64_t i, int64_t from, int64_t step, int64_t count) {
    E s0{}, s1{}, s2{}, s3{};
    int64_t t = 0;
    for (; t + 4 <= count; t += 4) {
      s0 = s0 + term(from + step * t);
      s1 = s1 + term(from + step * (t + 1));
      s2 = s2 + term(from + step * (t + 2));
      s3 = s3 + term(from + step * (t + 3));
    }
    E s = ((s0 + s1) + s2) + s3;
    for (; t < count; ++t) s = s + term(from + step * t);
    if constexpr (K.diag == 'u') y(i) = y(i) - s;
    else y(i) = divide(y(i) - s, conj_if<cj>(a.vals[int64_t(diag[i]) - 1]));
  };
  if constexpr (K.part == 'l') {
    int64_t p = 0;
    for (int64_t i = 0; i < m; ++i) {
      row(i, p, 1, counts[i]);
      p += counts[i];
    }
  } else {
    int64_t p = rl.total;
    for (int64_t i = m - 1; i >= 0; --i) {
      row(i, p - 1, -1, counts[i]);
      p -= counts[i];
    }
  }
}

// Without scratch the solve is m passes of the whole list, as the family
// has it: each row (ascending for l, descending for u) sums every strict
// entry of the triangle, s += y[c] v, whatever its row, and an entry with
// r = c makes its value the pivot d, which starts at 0 and persists from
// row to row. This does not solve the system; a caller who never lets the
// pool fail never meets it.
template <Kind K, class E, class I, class Y>
inline void coo_solve_fallback(const Coo<E, I, K.base> &a, Y y, int64_t m) {
  constexpr bool cj = K.op == 's';
  E d{};
  auto pass = [&](int64_t i) {
    E s{};
    for (int64_t k = 0; k < a.nnz; ++k) {
      const int64_t r = a.row(k), c = a.col(k);
      if (inside<K.part>(r, c)) s = s + y(c) * conj_if<cj>(a.vals[k]);
      else if (r == c) d = conj_if<cj>(a.vals[k]);
    }
    if constexpr (K.diag == 'u') y(i) = y(i) - s;
    else y(i) = divide(y(i) - s, d);
  };
  if constexpr (K.part == 'l') {
    for (int64_t i = 0; i < m; ++i) pass(i);
  } else {
    for (int64_t i = m - 1; i >= 0; --i) pass(i);
  }
}

// The diagonal solve: y[r] /= v for each entry with r = c (two entries of
// a row divide twice); alpha is not read.
template <Kind K, class E, class I, class Y>
inline void coo_diagonal_solve(const Coo<E, I, K.base> &a, Y y) {
  for (int64_t k = 0; k < a.nnz; ++k) {
    const int64_t r = a.row(k);
    if (r == a.col(k)) y(r) = divide(y(r), conj_if<K.op == 's'>(a.vals[k]));
  }
}

}  // namespace zor::spblas
