// Where the COO kernels fix an order of operations, the bits: the order of
// the products (alpha into the value, or into x), the list order of the
// updates, the four sums of a solve row (in reverse list order for the
// upper form), and the diagonal solve's one division per entry.
#include <zor/spblas.h>

#include <cmath>
#include <complex>
#include <vector>

#include "common/testing.hpp"

namespace {

using namespace zor::test;

struct List {
  std::vector<double> v;
  std::vector<int64_t> r, c;
  int64_t nnz() const { return int64_t(v.size()); }
};

using MvPar = void (*)(const int64_t *, const int64_t *, const int64_t *, const int64_t *, const double *,
                       const double *, const int64_t *, const int64_t *, const int64_t *, const double *, double *);

bool same_bits(const std::vector<double> &a, const std::vector<double> &b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (!zor::test::same_bits(a[i], b[i])) return false;
  return true;
}

std::vector<double> call(MvPar f, const List &a, int64_t m, double alpha, const std::vector<double> &x,
                         const std::vector<double> &y0) {
  std::vector<double> y = y0;
  int64_t lo = 1, hi = a.nnz(), nnz = a.nnz();
  f(&lo, &hi, &m, &m, &alpha, a.v.data(), a.r.data(), a.c.data(), &nnz, x.data(), y.data());
  return y;
}

// Each entry's update in list order: the general form (v alpha) x[c], the
// symmetric form's mirrored pair (x[c] alpha) v, and the anti-symmetric
// t = v alpha. A model that forms v (alpha x[c]) instead must differ
// somewhere on these inputs, or the test would prove nothing.
TEST(CooExact, ProductOrders) {
  Rng rng(0xc0e);
  const int64_t m = 13;
  List a;
  for (int k = 0; k < 150; ++k) {  // runs of one row (held in a register), rows coming back later
    a.r.push_back(k % 3 ? a.r.back() : rng.integer(0, m - 1));
    a.c.push_back(rng.integer(0, m - 1)), a.v.push_back(rng.uniform());
    if (k % 7 == 0) a.c.back() = a.r.back();
  }
  std::vector<double> x(m), y0(m);
  for (auto &e : x) e = rng.uniform();
  for (auto &e : y0) e = rng.uniform();
  const double alpha = 0.1 + rng.uniform();

  std::vector<double> g = y0, g_other = y0, t = y0, s = y0, an = y0, d = y0;
  for (int64_t k = 0; k < a.nnz(); ++k) {
    const int64_t r = a.r[k], c = a.c[k];
    const double v = a.v[k];
    g[r] += (v * alpha) * x[c];
    g_other[r] += v * (alpha * x[c]);
    if (r >= c) t[r] += (v * alpha) * x[c];
    if (r > c) {
      s[r] += (x[c] * alpha) * v, s[c] += (x[r] * alpha) * v;
      const double tv = v * alpha;
      an[r] += x[c] * tv, an[c] -= x[r] * tv;
    } else if (r == c) {
      s[r] += (v * alpha) * x[c];
      d[r] += (v * alpha) * x[r];
    }
  }
  ASSERT_FALSE(same_bits(g, g_other));
  EXPECT_TRUE(same_bits(call(zor_spblas_dcoo0ng__c__mvout_par, a, m, alpha, x, y0), g));
  EXPECT_TRUE(same_bits(call(zor_spblas_dcoo0ntlnc__mvout_par, a, m, alpha, x, y0), t));
  EXPECT_TRUE(same_bits(call(zor_spblas_dcoo0nslnc__mvout_par, a, m, alpha, x, y0), s));
  EXPECT_TRUE(same_bits(call(zor_spblas_dcoo0nal_c__mvout_par, a, m, alpha, x, y0), an));
  std::vector<double> yd = y0;
  int64_t nnz = a.nnz();
  zor_spblas_dcoo0nd_nc__mvout_seq(&m, &m, &alpha, a.v.data(), a.r.data(), a.c.data(), &nnz, x.data(), yd.data());
  EXPECT_TRUE(same_bits(yd, d));

  // The unit symmetric form adds x alpha after the entries, once per call.
  std::vector<double> su = y0;
  for (int64_t k = 0; k < a.nnz(); ++k)
    if (a.r[k] > a.c[k]) su[a.r[k]] += (x[a.c[k]] * alpha) * a.v[k], su[a.c[k]] += (x[a.r[k]] * alpha) * a.v[k];
  for (int64_t i = 0; i < m; ++i) su[i] += x[i] * alpha;
  EXPECT_TRUE(same_bits(call(zor_spblas_dcoo0nsluc__mvout_par, a, m, alpha, x, y0), su));
}

// The Hermitian form multiplies alpha into x first and keeps the stored
// diagonal's imaginary part.
TEST(CooExact, HermitianTakesAlphaIntoX) {
  using Z = std::complex<double>;
  const Z alpha(0.3, 0.7), v(0.9, -0.2), dv(0.5, 0.25), x0(0.1, 0.3), x1(-0.7, 0.11);
  std::vector<Z> vals = {v, dv}, x = {x0, x1}, y = {Z(0), Z(0)};
  std::vector<int64_t> rows = {1, 0}, cols = {0, 0};
  int64_t lo = 1, hi = 2, m = 2, nnz = 2;
  zor_spblas_zcoo0nhlnc__mvout_par(&lo, &hi, &m, &m, reinterpret_cast<const zor_complex16 *>(&alpha),
                                   reinterpret_cast<const zor_complex16 *>(vals.data()), rows.data(), cols.data(),
                                   &nnz, reinterpret_cast<const zor_complex16 *>(x.data()),
                                   reinterpret_cast<zor_complex16 *>(y.data()));
  const Z want1 = v * (alpha * x0), want0 = std::conj(v) * (alpha * x1) + dv * (alpha * x0);
  EXPECT_NEAR(std::abs(y[1] - want1), 0, 1e-15);
  EXPECT_NEAR(std::abs(y[0] - want0), 0, 1e-15);
}

// One row of nine strict entries against solved neighbours of 1: the four
// sums of ((s0 + s1) + s2) + s3 then the tail give 7 in list order and 6 in
// reverse list order, where one running sum gives 4.
TEST(CooExact, SolveRowSumsFourWays) {
  const double v[9] = {1e16, 1, 1, 1, -1e16, 1, 1, 1, 1};
  const int64_t m = 10;
  for (int upper = 0; upper < 2; ++upper) {
    List a;
    const int64_t row = upper ? 0 : 9;
    for (int k = 0; k < 9; ++k) a.r.push_back(row), a.c.push_back(upper ? k + 1 : k), a.v.push_back(v[k]);
    std::vector<double> y(m, 1.0);
    y[row] = 0;
    int64_t nnz = a.nnz();
    double alpha = 2;
    auto f = upper ? zor_spblas_dcoo0ntuuc__svout_seq : zor_spblas_dcoo0ntluc__svout_seq;
    f(&m, &m, &alpha, a.v.data(), a.r.data(), a.c.data(), &nnz, nullptr, y.data());
    EXPECT_EQ(y[row], upper ? -6.0 : -7.0) << (upper ? "upper" : "lower");
  }
}

// Two diagonal entries of a row divide twice, in list order; alpha is not
// read. 1/5 then 1/7 differs from one division by 35.
TEST(CooExact, DiagonalSolveDividesPerEntry) {
  List a{{5.0, 3.0, 7.0}, {0, 1, 0}, {0, 1, 0}};
  const int64_t m = 2, nnz = 3;
  double y[2] = {1.0, 1.0}, alpha = 4;
  zor_spblas_dcoo0nd_nc__svout_seq(&m, &m, &alpha, a.v.data(), a.r.data(), a.c.data(), &nnz, nullptr, y);
  EXPECT_EQ(y[0], 1.0 / 5.0 / 7.0);
  EXPECT_EQ(y[1], 1.0 / 3.0);
  ASSERT_NE(1.0 / 5.0 / 7.0, 1.0 / 35.0);
}

}  // namespace
