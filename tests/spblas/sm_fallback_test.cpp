// When the scratch row of the forward sm cannot be had, the kernel solves
// column by column with sv's division: the same solution, the rounding of
// sv. The allocator module makes the allocation fail.
#include <zor/spblas.h>

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

}  // namespace
