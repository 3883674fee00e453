// Every diagonal-format kernel of the family table, in both integer widths,
// against the dense expansion of the same random diagonals: distances in
// any order for the products (sorted for the solves), diagonals reaching
// beyond the matrix, NaN in the stored places outside it, which must never
// be read, alpha 1, 0 and random, column ranges including an empty one.
// Triangular solves take their parts of dist from the find_diag_par
// routines and are checked by building y = op(A) x and solving back.
#include <algorithm>
#include <string>

#include "spblas/csr_reference.hpp"
#include "spblas/family_cases.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::sparse;

template <class E, class I>
struct DiaData {
  int64_t m, k, lval;
  std::vector<I> dist;
  std::vector<E> vals;
  std::vector<Entry> entries;
  I ndiag() const { return I(dist.size()); }
};

template <class E, class I>
struct CaseRun {
  const Case &cs;
  Rng &rng;
  Letters kd{1, cs.op, cs.structure, cs.part, cs.diag};
  long double eps = std::numeric_limits<real_of<E>>::epsilon();
  bool transposed = (cs.op == 't' || cs.op == 'c') && (cs.structure == 'g' || cs.structure == 't');

  std::vector<E> random_vector(int64_t n) {
    std::vector<E> v(n);
    for (E &e : v) e = random_value<E>(rng);
    return v;
  }
  E pick_alpha(int trial) { return trial == 0 ? E(1) : trial == 2 ? E(0) : random_value<E>(rng, 2.0); }

  // Diagonals of the given distances; `value(r, d)` gives the stored
  // element of row r (one-based). Places outside the matrix hold NaN.
  template <class F>
  DiaData<E, I> lay_out(int64_t m, int64_t k, const std::vector<int64_t> &ds, F value) {
    DiaData<E, I> a{m, k, m + rng.integer(0, 2), {}, {}, {}};
    a.vals.assign(a.lval * ds.size(), nan_value<E>());
    for (size_t t = 0; t < ds.size(); ++t) {
      a.dist.push_back(I(ds[t]));
      for (int64_t r = 1; r <= m; ++r) {
        int64_t c = r + ds[t];
        if (c < 1 || c > k) continue;
        E v = value(r, ds[t]);
        a.vals[t * a.lval + r - 1] = v;
        a.entries.push_back({r - 1, c - 1, widen(v)});
      }
    }
    return a;
  }

  // Distances for the products: any order, repeats, some beyond the matrix.
  std::vector<int64_t> any_distances(int64_t m, int64_t k) {
    std::vector<int64_t> ds;
    int64_t n = rng.integer(0, 6);
    for (int64_t t = 0; t < n; ++t) {
      int64_t pick = rng.integer(0, 6);
      if (pick == 0) ds.push_back(0);
      else if (pick == 1) ds.push_back(rng.integer(0, 1) ? k + rng.integer(0, 2) : -m - rng.integer(0, 2));
      else ds.push_back(rng.integer(-(m - 1), k - 1));
    }
    return ds;
  }

  std::vector<W> product(const Dense &M, const E *x, const E *y0, E alpha) {
    std::vector<W> want(M.rows);
    for (int64_t r = 0; r < M.rows; ++r) {
      W t = 0;
      for (int64_t c = 0; c < M.cols; ++c) t += M(r, c) * widen(x[c]);
      want[r] = widen(y0[r]) + widen(alpha) * t;
    }
    return want;
  }
  std::vector<long double> bounds(const Dense &M, const E *x, const E *y0, E alpha, int64_t ndiag) {
    std::vector<long double> s(M.rows);
    long double al = std::abs(widen(alpha));
    for (int64_t r = 0; r < M.rows; ++r) {
      long double t = 0;
      for (int64_t c = 0; c < M.cols; ++c) t += std::abs(M(r, c)) * std::abs(widen(x[c]));
      s[r] = (std::abs(widen(y0[r])) + al * (t + 1)) * (2 * ndiag + 8);
    }
    return s;
  }

  // mv and mm: y += alpha op(A) x on each column of the range (mv: one
  // column, range not read).
  void multiply(int trial) {
    bool square = cs.structure != 'g';
    int64_t m = trial == 0 ? rng.integer(1, 4) : rng.integer(1, 40);
    int64_t k = square ? m : (trial == 0 ? rng.integer(1, 4) : rng.integer(1, 40));
    auto a = lay_out(m, k, any_distances(m, k), [&](int64_t, int64_t) { return random_value<E>(rng); });
    Dense M = expand(kd, m, k, a.entries, 1, m);
    int64_t nx = transposed ? m : k, ny = transposed ? k : m;
    bool mv = std::string(cs.operation) == "mv";
    int64_t ncol = mv ? 1 : rng.integer(1, 5), pad = rng.integer(0, 2);
    I ldb = I(nx + pad), ldc = I(ny + pad);
    std::vector<E> b = random_vector(int64_t(ldb) * ncol), c0 = random_vector(int64_t(ldc) * ncol), c = c0;
    E alpha = pick_alpha(trial);
    I lo = 1, hi = I(ncol), mi = I(m), ki = I(k), nd = a.ndiag(), lval = I(a.lval);
    if (trial == 1 && !mv) lo = I(rng.integer(1, ncol)), hi = I(rng.integer(lo, ncol));
    if (trial == 3) lo = I(rng.integer(1, ncol)), hi = lo - 1;
    if (mv) {
      using Fn = void (*)(const I *, const I *, const I *, const I *, const E *, const E *, const I *, const I *,
                          const I *, const E *, E *);
      reinterpret_cast<Fn>(cs.entry)(&lo, &hi, &mi, &ki, &alpha, a.vals.data(), &lval, a.dist.data(), &nd, b.data(),
                                     c.data());
      lo = 1, hi = 1;  // mv does not read the range
    } else {
      using Fn = void (*)(const I *, const I *, const I *, const I *, const E *, const E *, const I *, const I *,
                          const I *, const E *, const I *, E *, const I *);
      reinterpret_cast<Fn>(cs.entry)(&lo, &hi, &mi, &ki, &alpha, a.vals.data(), &lval, a.dist.data(), &nd, b.data(),
                                     &ldb, c.data(), &ldc);
    }
    for (int64_t j = 0; j < ncol; ++j) {
      const E *x = &b[j * ldb], *y0 = &c0[j * ldc], *got = &c[j * ldc];
      if (j + 1 < lo || j + 1 > hi) {
        for (int64_t r = 0; r < ny; ++r) ASSERT_TRUE(same_bits(got[r], y0[r])) << "column " << j;
        continue;
      }
      EXPECT_TRUE(close(got, 1, product(M, x, y0, alpha), bounds(M, x, y0, alpha, nd), 4 * eps))
          << "column " << j << " m " << m << " k " << k << " ndiag " << nd;
    }
    for (size_t t = 0; t < c.size(); ++t)
      if (int64_t(t) % ldc >= ny) ASSERT_TRUE(same_bits(c[t], c0[t])) << "padding " << t;
  }

  std::vector<E> apply(const Dense &M, const E *x) {
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
    bool lower = cs.part == 'l', diagonal = cs.structure == 'd';
    // Sorted distances of the triangle (diagonal structure: the main one
    // only), the main diagonal present (also in unit forms, whose values
    // are never read), a nearest off-diagonal of distance 1 in trial 2.
    std::vector<int64_t> ds = {0};
    if (!diagonal) {
      int64_t n = rng.integer(0, 3);
      for (int64_t t = 0; t < n && m > 1; ++t) ds.push_back((lower ? -1 : 1) * rng.integer(1, m - 1));
      if (trial == 2 && m > 1) ds.push_back(lower ? -1 : 1);
      if (rng.integer(0, 3) == 0) ds.push_back(lower ? m + 1 : -m - 1);  // beyond the matrix
      std::sort(ds.begin(), ds.end());
      ds.erase(std::unique(ds.begin(), ds.end()), ds.end());
    }
    auto a = lay_out(m, m, ds, [&](int64_t, int64_t d) {
      if (d != 0) return random_value<E>(rng, 0.5 / double(ds.size()));
      return E(real_of<E>(rng.integer(0, 1) ? 2.5 : -2.0)) + random_value<E>(rng, 0.25);
    });
    if (cs.diag == 'u') {  // the unit forms never read the main diagonal
      for (size_t t = 0; t < ds.size(); ++t)
        if (ds[t] == 0)
          for (int64_t r = 0; r < m; ++r) a.vals[t * a.lval + r] = nan_value<E>();
      std::erase_if(a.entries, [](const Entry &e) { return e.row == e.col; });
    }
    Dense M = expand(kd, m, m, a.entries, 1, m);
    I mi = I(m), nd = a.ndiag(), lval = I(a.lval), sf = 0, sl = 0, af = 0, al = 0, status = 0;
    if (!diagonal) {
      auto find = lower ? (cs.diag == 'n' ? zor_spblas_find_diag_par_ln : zor_spblas_find_diag_par_lu)
                        : (cs.diag == 'n' ? zor_spblas_find_diag_par_un : zor_spblas_find_diag_par_uu);
      if constexpr (sizeof(I) == 8) {
        find(a.dist.data(), &nd, &sf, &sl, &af, &al, &status);
      } else {
        auto f32 = lower ? (cs.diag == 'n' ? zor_spblas_lp64_find_diag_par_ln : zor_spblas_lp64_find_diag_par_lu)
                         : (cs.diag == 'n' ? zor_spblas_lp64_find_diag_par_un : zor_spblas_lp64_find_diag_par_uu);
        f32(a.dist.data(), &nd, &sf, &sl, &af, &al, &status);
      }
      ASSERT_EQ(status, 0);
    }
    long double tolerance = 64 * eps * (m + 4);
    bool sv = std::string(cs.operation) == "sv";
    int64_t ncol = sv ? 1 : rng.integer(1, 5), pad = sv ? 0 : rng.integer(0, 2);
    I ldy = I(m + pad), lo = 1, hi = I(ncol), n = I(ncol);
    if (trial == 1 && !sv && !diagonal) lo = I(rng.integer(1, ncol)), hi = I(rng.integer(lo, ncol));
    if (trial == 3 && !sv && !diagonal) lo = I(rng.integer(1, ncol)), hi = lo - 1;
    std::vector<E> xs = random_vector(int64_t(ldy) * ncol), yy(xs.size(), nan_value<E>());
    for (int64_t j = 0; j < ncol; ++j) {
      auto col = apply(M, &xs[j * ldy]);
      std::copy(col.begin(), col.end(), &yy[j * ldy]);
    }
    auto y0 = yy;
    if (diagonal && sv) {
      using Fn = void (*)(const I *, const E *, const I *, const I *, const I *, E *);
      reinterpret_cast<Fn>(cs.entry)(&mi, a.vals.data(), &lval, a.dist.data(), &nd, yy.data());
    } else if (diagonal) {
      using Fn = void (*)(const I *, const I *, const E *, const I *, const I *, const I *, E *, const I *);
      reinterpret_cast<Fn>(cs.entry)(&mi, &n, a.vals.data(), &lval, a.dist.data(), &nd, yy.data(), &ldy);
    } else if (sv && cs.diag == 'n') {
      using Fn = void (*)(const I *, const E *, const I *, const I *, E *, const I *, const I *, const I *,
                          const I *);
      reinterpret_cast<Fn>(cs.entry)(&mi, a.vals.data(), &lval, a.dist.data(), yy.data(), &sf, &sl, &af, &al);
    } else if (sv) {
      using Fn = void (*)(const I *, const E *, const I *, const I *, E *, const I *, const I *);
      reinterpret_cast<Fn>(cs.entry)(&mi, a.vals.data(), &lval, a.dist.data(), yy.data(), &sf, &sl);
    } else {
      using Fn = void (*)(const I *, const I *, const I *, const E *, const I *, const I *, const void *, E *,
                          const I *, const I *, const I *, const I *, const I *);
      reinterpret_cast<Fn>(cs.entry)(&lo, &hi, &mi, a.vals.data(), &lval, a.dist.data(), nullptr, yy.data(), &ldy,
                                     &sf, &sl, &af, &al);
    }
    for (int64_t j = 0; j < ncol; ++j) {
      bool in = j + 1 >= lo && j + 1 <= hi;
      std::vector<W> want(m);
      std::vector<long double> scale(m);
      for (int64_t r = 0; r < m; ++r) {
        if (!in) {
          ASSERT_TRUE(same_bits(yy[j * ldy + r], y0[j * ldy + r])) << "column " << j << " outside the range";
          continue;
        }
        want[r] = widen(xs[j * ldy + r]), scale[r] = 1 + std::abs(want[r]);
      }
      if (in) EXPECT_TRUE(close(&yy[j * ldy], 1, want, scale, tolerance)) << "column " << j << " m " << m;
      for (int64_t r = m; r < ldy; ++r) ASSERT_TRUE(same_bits(yy[j * ldy + r], y0[j * ldy + r])) << "padding";
    }
  }

  void run() {
    std::string op = cs.operation;
    for (int trial = 0; trial < 4; ++trial) {
      SCOPED_TRACE(testing::Message() << "trial " << trial);
      if (op == "mv" || op == "mm") multiply(trial);
      else solve(trial);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
};

ZOR_SPBLAS_FAMILY_SUITES(Dia, "dia", 0xd1a, 0, 316)

}  // namespace
