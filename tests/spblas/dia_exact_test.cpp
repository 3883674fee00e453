// Where the diagonal-format kernels fix an order, the bits: a row's terms
// come by column block (5000 columns), then in the list order of the
// diagonals; sizes of zero do nothing; the diagonal search never reads
// behind the list.
#include <zor/spblas.h>

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

// Rows crossed by two diagonals take the first one's term first, also where
// only some rows of each cross: (1 - 1) + 1e-17 = 1e-17, whereas
// (1 + 1e-17) - 1 = 0. Row 1 has only distance 1, row 4 only -1.
TEST(DiaExact, OverlappingDiagonalsInListOrder) {
  const int64_t m = 4, k = 4, lval = 4, ndiag = 2, dist[2] = {1, -1}, first = 1;
  const double vals[8] = {-1, -1, -1, 7, 7, 1e-17, 1e-17, 1e-17}, x[4] = {1, 1, 1, 1}, alpha = 1;
  double y[4] = {1, 1, 1, 1};
  zor_spblas_ddia1ng__f__mvout_par(&first, &m, &m, &k, &alpha, vals, &lval, dist, &ndiag, x, y);
  EXPECT_EQ((std::vector<double>(y, y + 4)), (std::vector<double>{0, 1e-17, 1e-17, 1}));
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
