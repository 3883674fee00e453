// Where the diagonal-format kernels fix an order, the bits: a row's terms
// come by column block (5000 columns), then in the list order of the
// diagonals; sizes of zero do nothing; the diagonal search never reads
// behind the list.
#include <zor/spblas.h>

#include <cmath>
#include <vector>

#include "common/testing.hpp"

namespace {

using namespace zor::test;

// One row, k = 10001 columns (two column blocks, the second from column
// 5001). Diagonals in list order: 5005 (column 5006, second block) with
// term 1e16, 0 (column 1) with -1e16, 2 (column 3) with 1. By blocks the
// sum is (-1e16 + 1) + 1e16 = 0; in list order it would be 1.
TEST(DiaExact, TermsComeByColumnBlock) {
  const int64_t m = 1, k = 10001, lval = 1, ndiag = 3;
  const int64_t dist[3] = {5005, 0, 2};
  const double vals[3] = {1e16, -1e16, 1};
  std::vector<double> x(k, 1.0);
  double y = 0, alpha = 1;
  int64_t first = 1, last = 1;
  zor_spblas_ddia1ng__f__mvout_par(&first, &last, &m, &k, &alpha, vals, &lval, dist, &ndiag, x.data(), &y);
  EXPECT_EQ(y, 0.0);
  // Within one block the list order holds: 1e16 + (-1e16) first, then 1.
  const int64_t near[3] = {4, 0, 2};
  y = 0;
  zor_spblas_ddia1ng__f__mvout_par(&first, &last, &m, &k, &alpha, vals, &lval, near, &ndiag, x.data(), &y);
  EXPECT_EQ(y, 1.0);
}

// Each row takes its diagonals' terms in list order, also where only some
// rows of a diagonal cross and where more diagonals cross a row than one
// pass takes: the bits of a row-by-row model in list order, values of mixed
// magnitudes so that another order would differ, both real precisions.
template <class R, class F>
void list_order_rows(F mv) {
  Rng rng(0xd1a);
  for (int64_t ndiag : {2, 5, 11, 13}) {
    const int64_t m = 83, k = 90, lval = m + 3;
    std::vector<int64_t> dist(ndiag);
    for (auto &d : dist) d = rng.integer(-9, 12);
    std::vector<R> vals(lval * ndiag), x(k), y(m), want(m);
    for (auto &v : vals) v = R(rng.uniform() * std::pow(10.0, double(rng.integer(-6, 6))));
    for (auto &v : x) v = R(rng.uniform());
    for (auto &v : y) v = R(rng.uniform());
    const R alpha = R(0.7);
    for (int64_t r = 0; r < m; ++r) {
      R s = y[r];
      for (int64_t t = 0; t < ndiag; ++t)
        if (r + dist[t] >= 0 && r + dist[t] < k) s = s + (vals[t * lval + r] * alpha) * x[r + dist[t]];
      want[r] = s;
    }
    const int64_t first = 1;
    mv(&first, &m, &m, &k, &alpha, vals.data(), &lval, dist.data(), &ndiag, x.data(), y.data());
    for (int64_t r = 0; r < m; ++r) ASSERT_TRUE(same_bits(y[r], want[r])) << "ndiag " << ndiag << " row " << r + 1;
  }
}

TEST(DiaExact, RowsTakeTheirDiagonalsInListOrder) {
  list_order_rows<double>(zor_spblas_ddia1ng__f__mvout_par);
  list_order_rows<float>(zor_spblas_sdia1ng__f__mvout_par);
}

// Alpha goes into the matrix element first: (v alpha) x.
TEST(DiaExact, AlphaIntoTheElementFirst) {
  const int64_t m = 1, k = 1, lval = 1, ndiag = 1, dist[1] = {0}, one = 1;
  const double v = 0.1, alpha = 3.0, x = 1.0 / 7.0;
  ASSERT_NE((v * alpha) * x, v * (alpha * x));
  double y = 0;
  zor_spblas_ddia1ng__f__mvout_par(&one, &one, &m, &k, &alpha, &v, &lval, dist, &ndiag, &x, &y);
  EXPECT_EQ(y, (v * alpha) * x);
}

TEST(DiaExact, EmptySizesDoNothing) {
  const int64_t lval = 1, ndiag = 1, dist[1] = {0}, one = 1;
  const double v = 2, alpha = 1, x[1] = {1};
  for (int64_t m : {0, 1})
    for (int64_t k : {0, 1}) {
      if (m && k) continue;
      double y[1] = {5};
      zor_spblas_ddia1ng__f__mvout_par(&one, &one, &m, &k, &alpha, &v, &lval, dist, &ndiag, x, y);
      zor_spblas_ddia1nslnf__mvout_par(&one, &one, &m, &k, &alpha, &v, &lval, dist, &ndiag, x, y);
      zor_spblas_ddia1ng__f__mmout_par(&one, &one, &m, &k, &alpha, &v, &lval, dist, &ndiag, x, &one, y, &one);
      EXPECT_EQ(y[0], 5.0) << "m " << m << " k " << k;
    }
}

// Without a non-negative distance, p is ndiag + 1 and counts as no main
// diagonal; the element behind the list (0 here) is never read.
TEST(DiaFindDiag, NoNonNegativeDistance) {
  const int64_t dist[3] = {-3, -1, 0}, ndiag = 2;
  int64_t sf, sl, af, al, status;
  zor_spblas_find_diag_par_ln(dist, &ndiag, &sf, &sl, &af, &al, &status);
  EXPECT_EQ((std::vector<int64_t>{sf, sl, af, al, status}), (std::vector<int64_t>{1, 2, 1, 3, -1}));
  zor_spblas_find_diag_par_lu(dist, &ndiag, &sf, &sl, &af, &al, &status);
  EXPECT_EQ((std::vector<int64_t>{sf, sl, af, al, status}), (std::vector<int64_t>{1, 3, 1, 3, 0}));
  zor_spblas_find_diag_par_un(dist, &ndiag, &sf, &sl, &af, &al, &status);
  EXPECT_EQ((std::vector<int64_t>{sf, sl, af, al, status}), (std::vector<int64_t>{2, 2, 3, 2, -1}));
  zor_spblas_find_diag_par_uu(dist, &ndiag, &sf, &sl, &af, &al, &status);
  EXPECT_EQ((std::vector<int64_t>{sf, sl, af, al, status}), (std::vector<int64_t>{4, 2, 3, 2, 0}));
  // With the main diagonal in its sorted place.
  const int32_t d32[4] = {-2, 0, 1, 5}, n32 = 4;
  int32_t s[5];
  zor_spblas_lp64_find_diag_par_un(d32, &n32, s, s + 1, s + 2, s + 3, s + 4);
  EXPECT_EQ((std::vector<int32_t>(s, s + 5)), (std::vector<int32_t>{3, 4, 2, 4, 0}));
  zor_spblas_lp64_find_diag_par_ln(d32, &n32, s, s + 1, s + 2, s + 3, s + 4);
  EXPECT_EQ((std::vector<int32_t>(s, s + 5)), (std::vector<int32_t>{1, 1, 1, 2, 0}));
}

}  // namespace
