// Kernels whose scratch cannot be had. The CSR forward sm solves column by
// column with sv's division: the same solution, the rounding of sv. A COO
// solve falls back to passes of the whole list, which keep what they are
// (each row sums every strict entry, the last diagonal entry of the list
// is every row's pivot). The allocator module makes the allocation fail.
#include <zor/spblas.h>

#include <vector>

#include <gtest/gtest.h>

#include "qalloc_module.h"

namespace {

TEST(CsrSmFallback, DividesLikeSv) {
  // Three 1 x 1 rows whose quotient and reciprocal product differ.
  const double ys[3] = {5.0, 7.0, 10.0}, ps[3] = {3.0, 9.0, 7.0};
  int64_t cols[3] = {0, 1, 2}, rb[3] = {0, 1, 2}, re[3] = {1, 2, 3};
  double y[3] = {ys[0], ys[1], ys[2]}, alpha = 1;
  // k sizes the scratch (k elements): above the pooling limit it is a direct
  // allocation, which the module fails once.
  int64_t first = 1, last = 1, m = 3, k = 6000000, ldy = 1;
  qalloc_fail_next(1);
  zor_spblas_dcsr0ntlnc__smout_par(&first, &last, &m, &k, &alpha, ps, cols, rb, re, y, &ldy);
  qalloc_fail_next(0);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(y[i], ys[i] / ps[i]) << "row " << i;
}

TEST(CooSolveFallback, PassesOverTheWholeList) {
  // m rows make the diagonal slots a direct allocation, which fails.
  const int64_t m = 6000000, nnz = 4;
  const double vals[4] = {0.5, 2.0, 0.25, 4.0};
  const int64_t rows[4] = {1, 0, 3, 2}, cols[4] = {0, 0, 1, 2};
  std::vector<double> y(m), want(m);
  for (int64_t i = 0; i < m; ++i) y[i] = want[i] = double(i % 17) - 8;
  for (int64_t i = 0; i < m; ++i) {  // the passes, rows ascending
    double s = 0, d = 0;
    for (int k = 0; k < 4; ++k) {
      if (rows[k] > cols[k]) s += want[cols[k]] * vals[k];
      else if (rows[k] == cols[k]) d = vals[k];
    }
    want[i] = (want[i] - s) / d;
  }
  double alpha = 1;
  qalloc_fail_next(1);
  zor_spblas_dcoo0ntlnc__svout_seq(&m, &m, &alpha, vals, rows, cols, &nnz, nullptr, y.data());
  qalloc_fail_next(0);
  for (int64_t i = 0; i < m; ++i) ASSERT_EQ(y[i], want[i]) << "row " << i;
}

}  // namespace
