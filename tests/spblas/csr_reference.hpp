// Test support of the sparse family: random CSR matrices in the caller's
// layout (gaps between rows filled with NaN, a chosen base of the row
// arrays), their dense expansion from the mathematics of each structure, and
// the comparison of a kernel's output with the dense product computed in
// long double.
#pragma once
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <vector>

#include "common/testing.hpp"

namespace zor::test::sparse {

using W = std::complex<long double>;

template <class E> W widen(E v) { return W(std::real(v), std::imag(v)); }
template <class E> E narrow(W v) {
  if constexpr (is_complex_v<E>) return E(real_of<E>(v.real()), real_of<E>(v.imag()));
  else return E(v.real());
}
template <class E> E random_value(Rng &rng, double scale = 1.0) {
  if constexpr (is_complex_v<E>) return E(real_of<E>(scale * rng.uniform()), real_of<E>(scale * rng.uniform()));
  else return E(scale * rng.uniform());
}
template <class E> E nan_value() {
  auto n = std::numeric_limits<real_of<E>>::quiet_NaN();
  if constexpr (is_complex_v<E>) return E(n, n);
  else return n;
}

// The letters a kernel name spells after the precision and format.
struct Letters {
  int base;
  char op, structure, part, diag;
};

struct Entry {
  int64_t row, col;  // zero-based
  W v;
};

// A matrix in the caller's arrays: row i at positions row_begin[i]-b ..
// row_end[i]-b-1, b = row_begin[0], column numbers with the name's base.
template <class E, class I>
struct CsrData {
  int64_t m = 0, k = 0;
  std::vector<I> row_begin, row_end, cols, row_ptr;  // row_ptr: m+1 pointers when rows touch
  std::vector<E> vals;
  std::vector<Entry> entries;
  int64_t max_row = 0;
};

// Lays out rows of (column, value) pairs; gaps (filled with NaN) between
// rows when `gaps`, row arrays starting at data_base.
template <class E, class I>
CsrData<E, I> lay_out(Rng &rng, int64_t m, int64_t k, const std::vector<std::vector<std::pair<int64_t, E>>> &rows,
                      int base, int64_t data_base, bool gaps) {
  CsrData<E, I> a;
  a.m = m, a.k = k;
  int64_t pos = 0;  // row 1 starts the arrays: its begin is the base b
  for (int64_t i = 0; i < m; ++i) {
    if (gaps && i > 0) pos += rng.integer(0, 2);
    while (int64_t(a.vals.size()) < pos) a.vals.push_back(nan_value<E>()), a.cols.push_back(I(base));
    a.row_begin.push_back(I(pos + data_base));
    a.row_ptr.push_back(I(pos + data_base));
    for (auto &[c, v] : rows[i]) {
      a.vals.push_back(v);
      a.cols.push_back(I(c + base));
      a.entries.push_back({i, c, widen(v)});
    }
    pos += int64_t(rows[i].size());
    a.row_end.push_back(I(pos + data_base));
    a.max_row = std::max<int64_t>(a.max_row, rows[i].size());
  }
  a.row_ptr.push_back(I(pos + data_base));
  for (int t = 0; t < 4; ++t) a.vals.push_back(nan_value<E>()), a.cols.push_back(I(base));
  return a;
}

// Rows for the multiply kernels: 0 to 7 entries in any order, duplicates,
// entries on both sides of the diagonal.
template <class E>
std::vector<std::vector<std::pair<int64_t, E>>> any_rows(Rng &rng, int64_t m, int64_t k) {
  std::vector<std::vector<std::pair<int64_t, E>>> rows(m);
  for (int64_t i = 0; i < m; ++i) {
    int64_t n = rng.integer(0, 4) == 0 ? 0 : rng.integer(1, 7);
    for (int64_t t = 0; t < n; ++t) {
      int64_t c;
      int64_t pick = rng.integer(0, 5);
      if (pick == 0 && !rows[i].empty()) c = rows[i][rng.integer(0, rows[i].size() - 1)].first;  // duplicate
      else if (pick == 1 && i < k) c = i;                                                        // diagonal
      else c = rng.integer(0, k - 1);
      rows[i].push_back({c, random_value<E>(rng)});
    }
  }
  return rows;
}

// Rows for the solves: ascending columns, entries of both triangles, the
// diagonal present (always when `need_diag`), strong, and never twice.
template <class E>
std::vector<std::vector<std::pair<int64_t, E>>> solve_rows(Rng &rng, int64_t m, bool need_diag) {
  std::vector<std::vector<std::pair<int64_t, E>>> rows(m);
  for (int64_t i = 0; i < m; ++i) {
    std::vector<int64_t> cs;
    int64_t n = rng.integer(0, 5);
    for (int64_t t = 0; t < n; ++t) {
      int64_t c = rng.integer(0, m - 1);
      if (c != i) cs.push_back(c);
    }
    if (need_diag || rng.integer(0, 1)) cs.push_back(i);
    std::sort(cs.begin(), cs.end());
    for (int64_t c : cs) {
      E v = c == i ? E(real_of<E>(rng.integer(0, 1) ? 2.5 : -2.0)) + random_value<E>(rng, 0.25)
                   : random_value<E>(rng, 0.5);
      rows[i].push_back({c, v});
    }
  }
  return rows;
}

// Dense m x k matrix (row-major) of long doubles.
struct Dense {
  int64_t rows, cols;
  std::vector<W> a;
  W &operator()(int64_t r, int64_t c) { return a[r * cols + c]; }
  W operator()(int64_t r, int64_t c) const { return a[r * cols + c]; }
};

// op(A) of an m x k matrix given by its entries, expanded by structure:
// the stored triangle mirrored (s), mirrored conjugated (h), mirrored with
// changed sign (a), the unit diagonal added for rows unit_lo..unit_hi
// (one-based).
inline Dense expand(const Letters &kd, int64_t m, int64_t k, const std::vector<Entry> &entries, int64_t unit_lo,
                    int64_t unit_hi) {
  Dense d{m, k, std::vector<W>(m * k)};
  for (const Entry &e : entries) {
    int64_t r = e.row, c = e.col;
    bool inside = kd.part == 'l' ? c < r : c > r;
    bool on = c == r;
    switch (kd.structure) {
      case 'g': d(r, c) += e.v; break;
      case 't':
        if (inside || (on && kd.diag == 'n')) d(r, c) += e.v;
        break;
      case 's':
      case 'h':
        if (inside) {
          d(r, c) += e.v;
          d(c, r) += kd.structure == 's' ? e.v : std::conj(e.v);
        } else if (on && kd.diag == 'n') {
          d(r, r) += e.v;
        }
        break;
      case 'a':
        if (inside) d(r, c) += e.v, d(c, r) -= e.v;
        break;
      case 'd':
        if (on && kd.diag == 'n') d(r, r) += e.v;
        break;
    }
  }
  if (kd.diag == 'u')
    for (int64_t r = unit_lo - 1; r <= unit_hi - 1; ++r) d(r, r) += 1;
  if (kd.op == 'n') return d;
  // Hermitian t is conj(A) with the stored diagonal's imaginary part kept
  // (and so conjugated), which A^T would leave as it is.
  if (kd.op == 's' || (kd.structure == 'h' && kd.op == 't')) {
    for (W &v : d.a) v = std::conj(v);
    return d;
  }
  Dense t{d.cols, d.rows, std::vector<W>(d.a.size())};
  for (int64_t r = 0; r < d.rows; ++r)
    for (int64_t c = 0; c < d.cols; ++c) t(c, r) = kd.op == 'c' ? std::conj(d(r, c)) : d(r, c);
  return t;
}

// The same of the CSR entries of rows lo..hi.
template <class E, class I>
Dense expand(const Letters &kd, const CsrData<E, I> &a, int64_t lo, int64_t hi) {
  std::vector<Entry> rows;
  for (const Entry &e : a.entries)
    if (e.row >= lo - 1 && e.row <= hi - 1) rows.push_back(e);
  return expand(kd, a.m, a.k, rows, lo, hi);
}

// |got - want| within tol * scale[i], element by element; NaN never passes.
template <class E>
::testing::AssertionResult close(const E *got, int64_t stride, const std::vector<W> &want,
                                 const std::vector<long double> &scale, long double tol) {
  for (size_t i = 0; i < want.size(); ++i) {
    W g = widen(got[i * stride]);
    long double err = std::abs(g - want[i]);
    if (!(err <= tol * scale[i]))
      return ::testing::AssertionFailure() << "element " << i << ": got (" << g.real() << ", " << g.imag()
                                           << ") want (" << want[i].real() << ", " << want[i].imag() << "), error "
                                           << err << " allowed " << tol * scale[i];
  }
  return ::testing::AssertionSuccess();
}

}  // namespace zor::test::sparse
