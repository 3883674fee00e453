// A failed buffer allocation, injected through the allocator module: plans
// that pack both or only A fall back on the small path with the same C;
// plans with a pre-packed operand return 1.
#include <thread>

#include <zor/serv.h>

#include "gemm_testing.hpp"
#include "qalloc_module.h"

namespace {

using namespace zor::test;

// On a fresh thread the pool has one small block; the next block request
// needs a raw allocation, which is made to fail.
template <class F>
void with_failing_block(F &&body) {
  std::thread([&] {
    void *first = zor_serv_allocate(64, 0);
    zor_serv_deallocate(first);
    qalloc_fail_next(1);
    body();
    qalloc_fail_next(0);
  }).join();
}

TEST(GemmAllocationFailure, PackingPlansFallBackWithTheSameResult) {
  for (int row : {0, 1})
    for (int plan : {2, 4}) {
      SCOPED_TRACE(testing::Message() << "row " << row << " plan " << plan);
      int64_t m = 37, n = 29, k = 45, ld = 64;
      Rng rng(3);
      std::vector<double> a(size_t(ld * k)), b(size_t(ld * n)), c(size_t(ld * n)), want;
      for (auto &x : a) x = rng.uniform();
      for (auto &x : b) x = rng.uniform();
      for (auto &x : c) x = rng.uniform();
      want = c;
      double alpha = 0.5, beta = 1.0;
      // The small path's result, computed directly below the unrolls' reach:
      // column by column, which the fallback must reproduce.
      for (int64_t j = 0; j < n; ++j) {
        int64_t one = 1;
        zor_blas_xdgemm("N", "N", &m, &one, &k, &alpha, a.data(), &ld, b.data() + j * ld, &ld, &beta,
                        want.data() + j * ld, &ld);
      }
      int32_t status = -1;
      with_failing_block([&] {
        Desc d = Desc::row<double>(row);
        status = zor_blas_xdgemm_par("N", "N", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &ld, &beta, c.data(), &ld,
                                     plan, d.get());
      });
      EXPECT_EQ(status, 0);
      EXPECT_EQ(std::memcmp(c.data(), want.data(), c.size() * sizeof(double)), 0);
      // The blocked path rounds differently here, so the match above shows
      // that the fallback ran.
      Desc d = Desc::row<double>(row);
      std::vector<double> c2(c.size());
      Rng again(3);
      for (auto &x : a) x = again.uniform();
      for (auto &x : b) x = again.uniform();
      for (auto &x : c2) x = again.uniform();
      zor_blas_xdgemm_par("N", "N", &m, &n, &k, &alpha, a.data(), &ld, b.data(), &ld, &beta, c2.data(), &ld, plan,
                          d.get());
      EXPECT_NE(std::memcmp(c2.data(), want.data(), c2.size() * sizeof(double)), 0);
    }
}

TEST(GemmAllocationFailure, PrePackedPlansReturnOne) {
  for (int plan : {8, 16, 32, 64}) {
    int64_t m = 8, n = 8, k = 8, stride = 32;
    std::vector<double> a(64, 1.0), b(64, 1.0), c(64, 0.0);
    double alpha = 1, beta = 1;
    int32_t status = -1;
    with_failing_block([&] {
      Desc d = Desc::row<double>(0);
      status = zor_blas_xdgemm_par("N", "N", &m, &n, &k, &alpha, a.data(), &stride, b.data(), &stride, &beta,
                                   c.data(), &m, plan, d.get());
    });
    EXPECT_EQ(status, 1) << plan;
    for (double x : c) EXPECT_EQ(x, 0.0) << plan;
  }
}

}  // namespace
