// Every COO kernel of the family table, in both integer widths, against the
// dense expansion of the same random list: entries in random or reverse
// order, duplicates, entries in the ignored triangle, both bases, entry and
// column ranges including empty ones, an empty list, alpha 1, 0 and random.
// Solves are checked by building y = op(A) x and solving back; their lists
// carry a stale diagonal entry ahead of the one that must win as pivot.
#include <algorithm>
#include <string>

#include "spblas/csr_reference.hpp"
#include "spblas/family_cases.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::sparse;

template <class E, class I>
struct CooList {
  std::vector<E> vals;
  std::vector<I> rows, cols;
  std::vector<Entry> entries;  // zero-based, list order
  I nnz() const { return I(vals.size()); }
  void push(int64_t r, int64_t c, E v, int base) {
    vals.push_back(v), rows.push_back(I(r + base)), cols.push_back(I(c + base));
    entries.push_back({r, c, widen(v)});
  }
  std::vector<Entry> slice(int64_t lo, int64_t hi) const {  // one-based, inclusive
    return {entries.begin() + (lo - 1), entries.begin() + hi};
  }
};

template <class E, class I>
struct CaseRun {
  const Case &cs;
  Rng &rng;
  Letters kd{cs.base, cs.op, cs.structure, cs.part, cs.diag};
  long double eps = std::numeric_limits<real_of<E>>::epsilon();
  bool entry_range = cs.structure == 's' || cs.structure == 'a' || cs.structure == 'h';

  std::vector<E> random_vector(int64_t n) {
    std::vector<E> v(n);
    for (E &e : v) e = random_value<E>(rng);
    return v;
  }
  E pick_alpha(int trial) { return trial == 0 ? E(1) : trial == 2 ? E(0) : random_value<E>(rng, 2.0); }

  // A square list of the rows' entries, in random order or reversed.
  CooList<E, I> list_of(const std::vector<std::vector<std::pair<int64_t, E>>> &rows) {
    std::vector<std::pair<int64_t, std::pair<int64_t, E>>> flat;
    for (int64_t r = 0; r < int64_t(rows.size()); ++r)
      for (auto &e : rows[r]) flat.push_back({r, e});
    if (rng.integer(0, 1)) std::reverse(flat.begin(), flat.end());
    else std::shuffle(flat.begin(), flat.end(), rng.engine);
    CooList<E, I> a;
    for (auto &[r, e] : flat) a.push(r, e.first, e.second, cs.base);
    return a;
  }

  // Bound of the rounding error of y += alpha op(A) x, element by element.
  std::vector<long double> bounds(int64_t m, const std::vector<Entry> &used, const E *x, const E *y0, E alpha) {
    std::vector<long double> s(m);
    long double al = std::abs(widen(alpha));
    for (int64_t r = 0; r < m; ++r) s[r] = std::abs(widen(y0[r])) + al * (std::abs(widen(x[r])) + 1e-30L);
    for (const Entry &e : used) {
      s[e.row] += al * std::abs(e.v) * std::abs(widen(x[e.col]));
      s[e.col] += al * std::abs(e.v) * std::abs(widen(x[e.row]));
    }
    return s;
  }
  long double tol(int64_t nnz) { return 16 * eps * (nnz + 8); }

  std::vector<W> product(const Dense &M, const E *x, const E *y0, E alpha) {
    std::vector<W> want(M.rows);
    for (int64_t r = 0; r < M.rows; ++r) {
      W t = 0;
      for (int64_t c = 0; c < M.cols; ++c) t += M(r, c) * widen(x[c]);
      want[r] = widen(y0[r]) + widen(alpha) * t;
    }
    return want;
  }

  void mv(int trial) {
    int64_t m = trial == 0 ? rng.integer(1, 4) : rng.integer(1, 40);
    auto a = list_of(any_rows<E>(rng, m, m));
    if (trial == 2 && rng.integer(0, 1)) a = {};  // an empty list: only the unit term
    E alpha = pick_alpha(trial);
    auto x = random_vector(m);
    auto y0 = random_vector(m);
    GuardedBuffer<E> y(m, rng.integer(0, 1) * 8);
    std::copy(y0.begin(), y0.end(), y.data());
    // g, t and the diagonal walk the whole list whatever the range; s, a, h
    // the entries of the range, where an empty one does nothing, as m = 0
    // does in the diagonal's seq.
    bool whole = !entry_range;
    bool par = std::string(cs.mode) == "par";
    I lo = 1, hi = whole ? I(m) : a.nnz(), mi = I(m), ki = I(m), nnz = a.nnz();
    if (trial == 1 && !whole && nnz > 0) lo = I(rng.integer(1, nnz)), hi = I(rng.integer(lo, nnz));
    if (trial == 3) lo = I(rng.integer(1, 5)), hi = lo - 1, mi = par ? mi : 0;
    const bool empty_range = hi < lo && !whole;
    if (par) {
      using Fn = void (*)(const I *, const I *, const I *, const I *, const E *, const E *, const I *, const I *,
                          const I *, const E *, E *);
      reinterpret_cast<Fn>(cs.entry)(&lo, &hi, &mi, &ki, &alpha, a.vals.data(), a.rows.data(), a.cols.data(), &nnz,
                                     x.data(), y.data());
    } else {
      using Fn = void (*)(const I *, const I *, const E *, const E *, const I *, const I *, const I *, const E *, E *);
      reinterpret_cast<Fn>(cs.entry)(&mi, &ki, &alpha, a.vals.data(), a.rows.data(), a.cols.data(), &nnz, x.data(),
                                     y.data());
    }
    ASSERT_TRUE(y.guards_intact());
    if ((trial == 3 && !(whole && par)) || empty_range) {
      for (int64_t r = 0; r < m; ++r) ASSERT_TRUE(same_bits(y[r], y0[r])) << "an empty call wrote y";
      return;
    }
    auto used = whole ? a.entries : a.slice(lo, hi);
    Dense M = expand(kd, m, m, used, 1, m);
    EXPECT_TRUE(close(y.data(), 1, product(M, x.data(), y0.data(), alpha),
                      bounds(m, used, x.data(), y0.data(), alpha), tol(a.nnz())))
        << "m " << m << " nnz " << a.nnz() << " range " << lo << ".." << hi;
  }

  // Dense operands: convention c (base 0) row-major, f column-major.
  int64_t at(int64_t r, int64_t j, int64_t ld) const { return cs.base == 0 ? r * ld + j : j * ld + r; }

  void mm(int trial) {
    int64_t m = trial == 0 ? rng.integer(1, 4) : rng.integer(1, 30);
    auto a = list_of(any_rows<E>(rng, m, m));
    int64_t ncol = rng.integer(1, trial == 1 ? 11 : 5), pad = rng.integer(0, 2);
    I ld = I(cs.base == 0 ? ncol + pad : m + pad);
    std::vector<E> b = random_vector(int64_t(ld) * (cs.base == 0 ? m : ncol));
    std::vector<E> c0 = random_vector(int64_t(ld) * (cs.base == 0 ? m : ncol));
    std::vector<E> c = c0;
    E alpha = pick_alpha(trial);
    I lo = 1, hi = I(ncol), mi = I(m), ki = I(m), nnz = a.nnz();
    if (trial == 1) lo = I(rng.integer(1, ncol)), hi = I(rng.integer(lo, ncol));
    if (trial == 3) lo = I(rng.integer(1, ncol)), hi = lo - 1;
    using Fn = void (*)(const I *, const I *, const I *, const I *, const E *, const E *, const I *, const I *,
                        const I *, const E *, const I *, E *, const I *);
    reinterpret_cast<Fn>(cs.entry)(&lo, &hi, &mi, &ki, &alpha, a.vals.data(), a.rows.data(), a.cols.data(), &nnz,
                                   b.data(), &ld, c.data(), &ld);
    Dense M = expand(kd, m, m, a.entries, 1, m);
    for (int64_t j = 0; j < ncol; ++j) {
      std::vector<E> x(m), y0(m);
      for (int64_t r = 0; r < m; ++r) x[r] = b[at(r, j, ld)], y0[r] = c0[at(r, j, ld)];
      const E *got = &c[at(0, j, ld)];
      int64_t stride = cs.base == 0 ? ld : 1;
      if (j + 1 < lo || j + 1 > hi) {
        for (int64_t r = 0; r < m; ++r) ASSERT_TRUE(same_bits(got[r * stride], y0[r])) << "column " << j;
        continue;
      }
      EXPECT_TRUE(close(got, stride, product(M, x.data(), y0.data(), alpha),
                        bounds(m, a.entries, x.data(), y0.data(), alpha), tol(a.nnz())))
          << "column " << j << " m " << m;
    }
    for (size_t t = 0; t < c.size(); ++t)
      if (int64_t(t) % ld >= (cs.base == 0 ? ncol : m)) ASSERT_TRUE(same_bits(c[t], c0[t])) << "padding " << t;
  }

  std::vector<E> apply(const Dense &M, const std::vector<E> &x) {
    std::vector<E> y(M.rows);
    for (int64_t r = 0; r < M.rows; ++r) {
      W t = 0;
      for (int64_t c = 0; c < M.cols; ++c) t += M(r, c) * widen(x[c]);
      y[r] = narrow<E>(t);
    }
    return y;
  }

  void solve(int trial) {
    int64_t m = trial == 0 ? rng.integer(1, 4) : rng.integer(1, 40);
    auto a = list_of(solve_rows<E>(rng, m, cs.diag == 'n'));
    Dense M = expand(kd, m, m, a.entries, 1, m);
    // A stale diagonal entry ahead of the real one: the last one in the
    // list is the pivot (the diagonal structure divides by both).
    if (cs.structure == 't' && trial == 2) {
      int64_t r = rng.integer(0, m - 1);
      CooList<E, I> b;
      b.push(r, r, E(real_of<E>(1e3)), cs.base);
      for (const Entry &e : a.entries) b.push(e.row, e.col, narrow<E>(e.v), cs.base);
      if (cs.diag == 'n' || rng.integer(0, 1)) a = b;
    }
    long double tolerance = 64 * eps * (m + 4);
    I mi = I(trial == 3 ? 0 : m), ki = I(m), nnz = a.nnz();
    E alpha = random_value<E>(rng);  // never read
    if (std::string(cs.operation) == "sv") {
      auto x = random_vector(m);
      auto y = apply(M, x);
      auto y0 = y;
      using Fn = void (*)(const I *, const I *, const E *, const E *, const I *, const I *, const I *, const void *,
                          E *);
      reinterpret_cast<Fn>(cs.entry)(&mi, &ki, &alpha, a.vals.data(), a.rows.data(), a.cols.data(), &nnz, nullptr,
                                     y.data());
      if (trial == 3) {
        for (int64_t r = 0; r < m; ++r) ASSERT_TRUE(same_bits(y[r], y0[r]));
        return;
      }
      std::vector<W> want(m);
      std::vector<long double> scale(m);
      for (int64_t r = 0; r < m; ++r) want[r] = widen(x[r]), scale[r] = 1 + std::abs(want[r]);
      EXPECT_TRUE(close(y.data(), 1, want, scale, tolerance)) << "m " << m;
      return;
    }
    int64_t ncol = rng.integer(1, 6), pad = rng.integer(0, 2);
    I ldy = I(cs.base == 0 ? ncol + pad : m + pad);
    std::vector<E> yy(int64_t(ldy) * (cs.base == 0 ? m : ncol), nan_value<E>());
    std::vector<std::vector<E>> xs(ncol);
    for (int64_t j = 0; j < ncol; ++j) {
      xs[j] = random_vector(m);
      auto col = apply(M, xs[j]);
      for (int64_t r = 0; r < m; ++r) yy[at(r, j, ldy)] = col[r];
    }
    auto y0 = yy;
    I lo = 1, hi = I(ncol);
    mi = I(m);
    if (trial == 1) lo = I(rng.integer(1, ncol)), hi = I(rng.integer(lo, ncol));
    if (trial == 3) lo = I(rng.integer(1, ncol)), hi = lo - 1;
    using Fn = void (*)(const I *, const I *, const I *, const I *, const E *, const E *, const I *, const I *,
                        const I *, E *, const I *);
    reinterpret_cast<Fn>(cs.entry)(&lo, &hi, &mi, &ki, &alpha, a.vals.data(), a.rows.data(), a.cols.data(), &nnz,
                                   yy.data(), &ldy);
    for (int64_t j = 0; j < ncol; ++j) {
      bool in = j + 1 >= lo && j + 1 <= hi;
      std::vector<W> want(m);
      std::vector<long double> scale(m);
      for (int64_t r = 0; r < m; ++r) {
        if (!in) {
          ASSERT_TRUE(same_bits(yy[at(r, j, ldy)], y0[at(r, j, ldy)])) << "column " << j << " outside the range";
          continue;
        }
        want[r] = widen(xs[j][r]), scale[r] = 1 + std::abs(want[r]);
      }
      if (in) EXPECT_TRUE(close(&yy[at(0, j, ldy)], cs.base == 0 ? ldy : 1, want, scale, tolerance)) << "column " << j;
    }
  }

  void run() {
    std::string op = cs.operation;
    for (int trial = 0; trial < 4; ++trial) {
      SCOPED_TRACE(testing::Message() << "trial " << trial);
      if (op == "mv") mv(trial);
      else if (op == "mm") mm(trial);
      else solve(trial);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
};

ZOR_SPBLAS_FAMILY_SUITES(Coo, "coo", 0xc00, 236, 236)

}  // namespace
