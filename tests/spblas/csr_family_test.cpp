// Every CSR kernel of the family table, in both integer widths, against the
// dense expansion of the same random matrix: rows with gaps (NaN-filled)
// between them, empty rows, duplicates, entries in the ignored triangle,
// both bases of the row arrays, ranges including an empty one, alpha 1, 0
// and random. Solves are checked by building y = op(A) x and solving back.
#include <string>

#include "spblas/csr_reference.hpp"
#include "spblas/family_cases.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::sparse;

template <class E, class I>
struct CaseRun {
  const Case &cs;
  Rng &rng;
  Letters kd{cs.base, cs.op, cs.structure, cs.part, cs.diag};
  bool square = cs.structure != 'g';
  bool transposed = (cs.op == 't' || cs.op == 'c') && (cs.structure == 'g' || cs.structure == 't');
  long double eps = std::numeric_limits<real_of<E>>::epsilon();

  std::vector<E> random_vector(int64_t n) {
    std::vector<E> v(n);
    for (E &e : v) e = random_value<E>(rng);
    return v;
  }
  E pick_alpha(int trial) { return trial == 0 ? E(1) : trial == 2 ? E(0) : random_value<E>(rng, 2.0); }

  // Bound of the rounding error of element r of y += alpha op(A) x: the
  // terms of the product and, for the two-pass forms, everything stored in
  // row r or column r (taken away again, or added and removed).
  std::vector<long double> bounds(const Dense &M, const CsrData<E, I> &a, const E *x, const E *y0, E alpha) {
    std::vector<long double> s(M.rows);
    long double al = std::abs(widen(alpha));
    for (int64_t r = 0; r < M.rows; ++r) {
      long double t = 0;
      for (int64_t c = 0; c < M.cols; ++c) t += std::abs(M(r, c)) * std::abs(widen(x[c]));
      s[r] = std::abs(widen(y0[r])) + al * t;
    }
    if (square)
      for (const Entry &e : a.entries) {
        s[e.row] += al * std::abs(e.v) * std::abs(widen(x[e.col]));
        s[e.col] += al * std::abs(e.v) * std::abs(widen(x[e.row]));
      }
    for (auto &v : s) v += al + 1e-30L;
    return s;
  }
  long double tol(const CsrData<E, I> &a) { return 16 * eps * (a.max_row + 8); }

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
    int64_t k = square ? m : (trial == 0 ? rng.integer(1, 4) : rng.integer(1, 40));
    auto a = lay_out<E, I>(rng, m, k, any_rows<E>(rng, m, k), cs.base, rng.integer(0, 1), true);
    int64_t nx = transposed ? m : k, ny = transposed ? k : m;
    E alpha = pick_alpha(trial);
    auto x = random_vector(nx);
    auto y0 = random_vector(ny);
    GuardedBuffer<E> y(ny, rng.integer(0, 1) * 8);
    std::copy(y0.begin(), y0.end(), y.data());
    bool par = std::string(cs.mode) == "par";
    I lo = 1, hi = I(m), mm = I(m);
    if (par && trial == 1) lo = I(rng.integer(1, m)), hi = I(rng.integer(lo, m));
    if (trial == 3) {
      if (par) lo = I(rng.integer(1, m)), hi = lo - 1;
      else mm = 0;
    }
    if (par) {
      using Fn = void (*)(const I *, const I *, const I *, const E *, const E *, const I *, const I *, const I *,
                          const E *, E *);
      reinterpret_cast<Fn>(cs.entry)(&lo, &hi, &mm, &alpha, a.vals.data(), a.cols.data(), a.row_begin.data(),
                                     a.row_end.data(), x.data(), y.data());
    } else {
      using Fn = void (*)(const I *, const E *, const E *, const I *, const I *, const I *, const E *, E *);
      reinterpret_cast<Fn>(cs.entry)(&mm, &alpha, a.vals.data(), a.cols.data(), a.row_begin.data(),
                                     a.row_end.data(), x.data(), y.data());
    }
    ASSERT_TRUE(y.guards_intact());
    if (trial == 3) {
      for (int64_t r = 0; r < ny; ++r) ASSERT_TRUE(same_bits(y[r], y0[r])) << "an empty call wrote y";
      return;
    }
    Dense M = expand(kd, a, lo, hi);
    EXPECT_TRUE(close(y.data(), 1, product(M, x.data(), y0.data(), alpha), bounds(M, a, x.data(), y0.data(), alpha),
                      tol(a)))
        << "m " << m << " k " << k << " range " << lo << ".." << hi;
  }

  // Dense operands: convention c (base 0) row-major, f column-major.
  int64_t at(int64_t r, int64_t j, int64_t ld) const { return cs.base == 0 ? r * ld + j : j * ld + r; }

  void mm(int trial) {
    int64_t m = trial == 0 ? rng.integer(1, 4) : rng.integer(1, 30);
    int64_t k = square ? m : rng.integer(1, 30);
    auto a = lay_out<E, I>(rng, m, k, any_rows<E>(rng, m, k), cs.base, rng.integer(0, 1), true);
    int64_t nx = transposed ? m : k, ny = transposed ? k : m, ncol = rng.integer(1, 5);
    int64_t pad = rng.integer(0, 2);
    I ldb = I(cs.base == 0 ? ncol + pad : nx + pad), ldc = I(cs.base == 0 ? ncol + pad : ny + pad);
    std::vector<E> b = random_vector(int64_t(ldb) * (cs.base == 0 ? nx : ncol));
    std::vector<E> c0 = random_vector(int64_t(ldc) * (cs.base == 0 ? ny : ncol));
    std::vector<E> c = c0;
    E alpha = pick_alpha(trial);
    bool par = std::string(cs.mode) == "par";
    I lo = 1, hi = I(ncol), mi = I(m), ki = I(k), ni = I(ncol);
    if (par && trial == 1) lo = I(rng.integer(1, ncol)), hi = I(rng.integer(lo, ncol));
    if (trial == 3) lo = I(rng.integer(1, ncol)), hi = lo - 1, mi = par ? mi : 0;
    if (par) {
      using Fn = void (*)(const I *, const I *, const I *, const I *, const E *, const E *, const I *, const I *,
                          const I *, const E *, const I *, E *, const I *);
      reinterpret_cast<Fn>(cs.entry)(&lo, &hi, &mi, &ki, &alpha, a.vals.data(), a.cols.data(), a.row_begin.data(),
                                     a.row_end.data(), b.data(), &ldb, c.data(), &ldc);
    } else {
      using Fn = void (*)(const I *, const I *, const E *, const E *, const I *, const I *, const I *, const E *,
                          const I *, E *, const I *);
      reinterpret_cast<Fn>(cs.entry)(&mi, &ni, &alpha, a.vals.data(), a.cols.data(), a.row_begin.data(),
                                     a.row_end.data(), b.data(), &ldb, c.data(), &ldc);
    }
    if (trial == 3 || !par) lo = 1, hi = trial == 3 ? 0 : I(ncol);
    Dense M = expand(kd, a, 1, m);
    for (int64_t j = 0; j < ncol; ++j) {
      std::vector<E> x(nx), y0(ny);
      for (int64_t r = 0; r < nx; ++r) x[r] = b[at(r, j, ldb)];
      for (int64_t r = 0; r < ny; ++r) y0[r] = c0[at(r, j, ldc)];
      const E *got = &c[at(0, j, ldc)];
      int64_t stride = cs.base == 0 ? ldc : 1;
      if (j + 1 < lo || j + 1 > hi) {
        for (int64_t r = 0; r < ny; ++r) ASSERT_TRUE(same_bits(got[r * stride], y0[r])) << "column " << j;
        continue;
      }
      EXPECT_TRUE(close(got, stride, product(M, x.data(), y0.data(), alpha), bounds(M, a, x.data(), y0.data(), alpha),
                        tol(a)))
          << "column " << j << " m " << m << " k " << k;
    }
    // Padding between the columns (or rows) is never written.
    for (size_t t = 0; t < c.size(); ++t) {
      int64_t major = int64_t(t) / ldc, minor = int64_t(t) % ldc;
      if (minor >= (cs.base == 0 ? ncol : ny)) ASSERT_TRUE(same_bits(c[t], c0[t])) << "padding " << major;
    }
  }

  // op(A) x for the solves, rounded to the element type.
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
    auto a = lay_out<E, I>(rng, m, m, solve_rows<E>(rng, m, cs.diag == 'n'), cs.base, rng.integer(0, 1), true);
    Dense M = expand(kd, a, 1, m);
    E alpha = cs.structure == 'd' ? (trial == 0 ? E(1) : random_value<E>(rng, 2.0)) : random_value<E>(rng);
    W scale_out = cs.structure == 'd' ? widen(alpha) : W(1);
    long double tolerance = 64 * eps * (m + 4);
    if (std::string(cs.operation) == "sv") {
      auto x = random_vector(m);
      auto y = apply(M, x);
      I mi = I(trial == 3 ? 0 : m);
      auto y0 = y;
      using Fn = void (*)(const I *, const E *, const E *, const I *, const I *, const I *, E *);
      reinterpret_cast<Fn>(cs.entry)(&mi, &alpha, a.vals.data(), a.cols.data(), a.row_begin.data(),
                                     a.row_end.data(), y.data());
      if (trial == 3) {
        for (int64_t r = 0; r < m; ++r) ASSERT_TRUE(same_bits(y[r], y0[r]));
        return;
      }
      std::vector<W> want(m);
      std::vector<long double> scale(m);
      for (int64_t r = 0; r < m; ++r) want[r] = scale_out * widen(x[r]), scale[r] = 1 + std::abs(want[r]);
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
    I lo = 1, hi = I(ncol), mi = I(m), ki = I(ncol);
    if (trial == 1) lo = I(rng.integer(1, ncol)), hi = I(rng.integer(lo, ncol));
    if (trial == 3) lo = I(rng.integer(1, ncol)), hi = lo - 1;
    using Fn = void (*)(const I *, const I *, const I *, const I *, const E *, const E *, const I *, const I *,
                        const I *, E *, const I *);
    reinterpret_cast<Fn>(cs.entry)(&lo, &hi, &mi, &ki, &alpha, a.vals.data(), a.cols.data(), a.row_begin.data(),
                                   a.row_end.data(), yy.data(), &ldy);
    for (int64_t j = 0; j < ncol; ++j) {
      bool in = j + 1 >= lo && j + 1 <= hi;
      std::vector<W> want(m);
      std::vector<long double> scale(m);
      for (int64_t r = 0; r < m; ++r) {
        if (!in) {
          ASSERT_TRUE(same_bits(yy[at(r, j, ldy)], y0[at(r, j, ldy)])) << "column " << j << " outside the range";
          continue;
        }
        want[r] = scale_out * widen(xs[j][r]), scale[r] = 1 + std::abs(want[r]);
      }
      if (in) EXPECT_TRUE(close(&yy[at(0, j, ldy)], cs.base == 0 ? ldy : 1, want, scale, tolerance)) << "column " << j;
    }
  }

  void gemv(int trial) {
    int64_t m = rng.integer(1, 40), k = rng.integer(1, 40);
    auto a = lay_out<E, I>(rng, m, k, any_rows<E>(rng, m, k), cs.base, rng.integer(0, 1), false);
    auto x = random_vector(k);
    auto y0 = random_vector(m);
    auto y = y0;
    I lo = I(trial == 1 ? rng.integer(1, m) : 1), hi = I(trial == 1 ? rng.integer(lo, m) : m);
    if (trial == 3) hi = lo - 1;
    using Fn = void (*)(const I *, const I *, const void *, const void *, const E *, const I *, const I *,
                        const void *, const E *, E *);
    reinterpret_cast<Fn>(cs.entry)(&lo, &hi, nullptr, nullptr, a.vals.data(), a.cols.data(), a.row_ptr.data(),
                                   nullptr, x.data(), y.data());
    Dense M = expand(kd, a, lo, hi);
    std::vector<E> zero(m, E(0));
    auto want = product(M, x.data(), zero.data(), E(1));
    auto scale = bounds(M, a, x.data(), zero.data(), E(1));
    for (int64_t r = 0; r < m; ++r)
      if (r + 1 < lo || r + 1 > hi) ASSERT_TRUE(same_bits(y[r], y0[r]));
      else EXPECT_TRUE(close(&y[r], 1, {want[r]}, {scale[r]}, tol(a))) << "row " << r;
  }

  void run() {
    std::string op = cs.operation;
    for (int trial = 0; trial < 4; ++trial) {
      SCOPED_TRACE(testing::Message() << "trial " << trial);
      if (op == "mv") mv(trial);
      else if (op == "mm") mm(trial);
      else if (op == "sv" || op == "sm") solve(trial);
      else gemv(trial);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
};

// The generated names are exactly the CSR names of the export list, with the
// per-base counts of the family.
ZOR_SPBLAS_FAMILY_SUITES(Csr, "csr", 0x5b1a5, 352, 353)

}  // namespace
