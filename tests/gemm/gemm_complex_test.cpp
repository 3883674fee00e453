// The complex rows beyond what the driver sweeps cover: the rows and the
// row tail agree bit for bit.
#include <gtest/gtest.h>

#include <vector>

#include "gemm_testing.hpp"

namespace {

using namespace zor::test;

template <class R>
class ComplexGemm : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ComplexGemm, Precisions);

// Both rows and the row-tail kernel form each element from the same
// depth-ordered sums, so they agree to the last bit: through plan 64 with
// each row's own panels, at depth 128 (row 0's fixed-depth kernel), depths
// that are no multiple of the unrolls, and depths where row 1's lane swaps
// are formed once per column group (up to 512 steps) or at every step.
TYPED_TEST(ComplexGemm, RowsAgreeBitForBitAtAnyDepth) {
  using R = TypeParam;
  Rng rng(4100);
  const int64_t m = 9, n = 5;
  for (int64_t k : {100, 128, 201, 512, 516, 600}) {
    std::vector<Cx<R>> a(m * k), b(k * n), c0(m * n);
    for (auto &x : a) x = {R(rng.uniform()), R(rng.uniform())};
    for (auto &x : b) x = {R(rng.uniform()), R(rng.uniform())};
    for (auto &x : c0) x = {R(rng.uniform()), R(rng.uniform())};
    std::vector<Cx<R>> got[2];
    for (int row : {0, 1}) {
      Desc d = Desc::row<Cx<R>>(row);
      zor_blas_cgemm_set_blks_size(m, n, k, d.get());
      const int64_t kp = (k + d->unroll_k - 1) / d->unroll_k * d->unroll_k;
      const int64_t astride = d->unroll_m * kp, bstride = 2 * kp;
      std::vector<Cx<R>> pa(size_t(astride * ((m + d->unroll_m - 1) / d->unroll_m))), pb(size_t(bstride * 3));
      const Cx<R> alpha{R(0.7), R(-0.2)}, beta{1, 0};
      d->copy_an(&m, &k, a.data(), &m, pa.data(), &astride, &alpha);
      d->copy_bn(&k, &n, b.data(), &k, pb.data(), &bstride, nullptr);
      got[row] = c0;
      ASSERT_EQ(Gemm<Cx<R>>::xgemm_par("N", "N", &m, &n, &k, &alpha, pa.data(), &astride, pb.data(), &bstride,
                                       &beta, got[row].data(), &m, 64, d.get()),
                0);
    }
    for (size_t i = 0; i < c0.size(); ++i) ASSERT_TRUE(same_bits(got[0][i], got[1][i])) << k << " " << i;
  }
}

}  // namespace
