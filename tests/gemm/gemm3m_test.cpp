// Three-multiplication complex products against the reference BLAS and the
// four-multiplication ones: both routes (row 0 packs for the real kernel,
// row 1 goes through plain arrays), every flag pair, the scaling-only and
// small cases, and the fallback on a failed allocation.
#include <thread>

#include <zor/serv.h>

#include "gemm_testing.hpp"
#include "qalloc_module.h"

namespace {

using namespace zor::test;

// Our three-multiplication product on a problem's operands.
template <class R>
void run_3m(Problem<Cx<R>> &p, const char *ta = nullptr) {
  const char sa[2] = {p.ta, 0}, sb[2] = {p.tb, 0};
  auto f = std::is_same_v<R, float> ? zor_blas_xcgemm3m : zor_blas_xzgemm3m;
  f(ta ? ta : sa, sb, &p.m, &p.n, &p.k, &p.alpha, p.a.data(), &p.lda, p.b.data(), &p.ldb, &p.beta, p.c.data(),
    &p.ldc);
}

// The same problem twice (same seed): ours by three and by four
// multiplications.
template <class R>
struct Pair {
  Rng r3, r4;
  Problem<Cx<R>> three, four;
  Pair(char ta, char tb, int64_t m, int64_t n, int64_t k, Cx<R> alpha, Cx<R> beta, uint64_t seed)
      : r3(seed), r4(seed), three(ta, tb, m, n, k, 1, alpha, beta, 0, r3), four(ta, tb, m, n, k, 1, alpha, beta, 0, r4) {
    run_3m(three);
    four.run_ours();
  }
  bool same() {
    for (size_t i = 0; i < three.c.buf.size(); ++i)
      if (!same_bits(three.c.buf[i], four.c.buf[i])) return false;
    return true;
  }
};

template <class R>
class Gemm3m : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Gemm3m, Precisions);

TYPED_TEST(Gemm3m, BothRoutesAllFlagsAgainstTheReference) {
  using R = TypeParam;
  for (int row = 0; row < 2; ++row) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    Rng rng(700 + row);
    SCOPED_TRACE(::testing::Message() << "seed " << rng.seed << " row " << row);
    for (int t = 0; t < 9; ++t) {
      // Shapes crossing the 1000-row and 128-deep blocks now and then.
      const int64_t m = t == 4 ? 1003 : rng.integer(9, 90), n = rng.integer(9, 70),
                    k = t % 3 == 0 ? rng.integer(129, 300) : rng.integer(9, 60);
      const Cx<R> alphas[] = {{1, 0}, {R(0.5), R(-0.25)}, {0, 2}};
      const Cx<R> betas[] = {{1, 0}, {0, 0}, {R(-0.5), R(0.75)}};
      const Cx<R> beta = betas[(t + 1) % 3];
      Problem<Cx<R>> p("NTC"[t % 3], "NTC"[(t / 3) % 3], m, n, k, t % 3, alphas[t % 3], beta, 0, rng,
                       beta == Cx<R>(0));
      run_3m(p);
      ASSERT_TRUE(p.check());
    }
  }
}

// Below 9 in any dimension the four-multiplication product runs itself; with
// alpha zero only the scaling of C happens (beta zero clears even NaN), as
// with K zero; an unknown flag changes nothing.
TYPED_TEST(Gemm3m, SmallAndScalingOnly) {
  using R = TypeParam;
  EXPECT_TRUE(Pair<R>('N', 'N', 8, 100, 100, {R(0.5), 1}, {0, R(0.5)}, 800).same());
  Rng rng(801);
  for (int64_t k : {20, 0}) {
    const Cx<R> beta = k != 0 ? Cx<R>(0) : Cx<R>(R(0.5), R(-2));
    Problem<Cx<R>> p('N', 'T', 20, 20, k, 1, Cx<R>(k == 0), beta, 0, rng, k != 0);
    run_3m(p);
    EXPECT_TRUE(p.check()) << k;
  }
  Problem<Cx<R>> unknown('N', 'N', 20, 20, 20, 1, {1, 1}, {R(0.5), R(-2)}, 0, rng);
  run_3m(unknown, "X");
  for (size_t i = 0; i < unknown.c_before.size(); ++i) ASSERT_TRUE(same_bits(unknown.c.buf[i], unknown.c_before[i])) << i;
}

// A failed allocation of the working areas ends in the four-multiplication
// product: the result is that product to the last bit.
TYPED_TEST(Gemm3m, FailedAllocationGivesTheFourMultiplicationResult) {
  using R = TypeParam;
  for (int row = 0; row < 2; ++row) {
    std::thread([row] {
      ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
      zor_serv_deallocate(zor_serv_allocate(64, 0));  // registers this thread with the pool
      qalloc_fail_next(1);
      EXPECT_TRUE(Pair<R>('T', 'N', 40, 30, 50, {R(0.5), 1}, {0, R(0.5)}, 900 + row).same()) << row;
      qalloc_fail_next(0);
    }).join();
  }
}

}  // namespace
