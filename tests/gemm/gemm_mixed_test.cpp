// Real-by-complex products against the complex product of the real matrix
// widened to complex (reference zgemm/cgemm): every flag pair, both kernel
// rows, the direct loops below 4, scaling only, beta zero over NaN, and a
// failed allocation.
#include <gtest/gtest.h>

#include <zor/core.h>
#include <zor/gemm_complex.h>
#include <zor/serv.h>

#include <complex>
#include <thread>
#include <vector>

#include "common/reference_blas.h"
#include "gemm_testing.hpp"
#include "qalloc_module.h"

namespace {

using zor::test::Rng;
using R2 = double;

using zor::test::Cx;
using zor::test::ForcedAnswer;

template <class R>
void check(const char *ta, const char *tb, int64_t m, int64_t n, int64_t k, Cx<R> alpha, Cx<R> beta, Rng &rng,
           bool nan_c = false) {
  const int64_t lda = (*ta == 'N' ? m : k) + 1, ldb = (*tb == 'N' ? k : n) + 2, ldc = m + 1;
  std::vector<R> a(std::max<int64_t>(1, lda * (*ta == 'N' ? k : m)));
  std::vector<Cx<R>> wide(a.size()), b(std::max<int64_t>(1, ldb * (*tb == 'N' ? n : k))), c(ldc * n);
  for (size_t i = 0; i < a.size(); ++i) wide[i] = a[i] = R(rng.uniform());
  for (auto &x : b) x = {R(rng.uniform()), R(rng.uniform())};
  for (auto &x : c) x = nan_c ? Cx<R>(NAN, NAN) : Cx<R>(R(rng.uniform()), R(rng.uniform()));
  std::vector<Cx<R>> cref = c;
  if constexpr (sizeof(R) == 8) zor_blas_xdzgemm(ta, tb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
  else zor_blas_xscgemm(ta, tb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
  zor::test::Gemm<Cx<R>>::reference(*ta, *tb, m, n, k, &alpha, wide.data(), lda, b.data(), ldb, &beta, cref.data(),
                                    ldc);
  const double bound = 8 * zor::test::eps<R>() * double(k + 4) * 4;
  for (size_t i = 0; i < c.size(); ++i)
    if (int64_t(i) % ldc >= m) ASSERT_TRUE(zor::test::same_bits(c[i], cref[i])) << "row past m changed at " << i;
    else ASSERT_LE(std::abs(std::complex<double>(c[i]) - std::complex<double>(cref[i])), bound)
        << ta << tb << " m=" << m << " n=" << n << " k=" << k << " at " << i << " ours " << c[i] << " ref "
        << cref[i];
}

template <class R>
class MixedGemm : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(MixedGemm, Precisions);

TYPED_TEST(MixedGemm, AllFlagsBothRowsAgainstWidenedProduct) {
  using R = TypeParam;
  const char *flags[] = {"N", "T", "C"};
  for (int row = 0; row < 2; ++row) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    Rng rng(600 + row);
    SCOPED_TRACE(::testing::Message() << "seed " << rng.seed << " row " << row);
    for (int t = 0; t < 9; ++t) {
      const int64_t m = t == 4 ? 517 : rng.integer(4, 60), n = rng.integer(4, 40),
                    k = t % 4 == 0 ? rng.integer(129, 260) : rng.integer(4, 50);
      const Cx<R> alpha = t % 2 ? Cx<R>(R(0.5), 0) : Cx<R>(R(-0.25), R(0.75));
      const Cx<R> beta = t % 3 == 0 ? Cx<R>(0, 0) : t % 3 == 1 ? Cx<R>(1, 0) : Cx<R>(R(0.5), R(-1));
      check<R>(flags[t % 3], flags[(t / 3) % 3], m, n, k, alpha, beta, rng);
    }
  }
}

TYPED_TEST(MixedGemm, DirectLoopsScalingAndNan) {
  using R = TypeParam;
  Rng rng(650);
  check<R>("N", "C", 3, 20, 17, {R(0.5), 1}, {R(0.25), 0}, rng);     // direct loops
  check<R>("T", "N", 12, 9, 2, {1, 0}, {0, 0}, rng, true);           // direct loops, NaN cleared
  check<R>("N", "N", 30, 20, 40, {R(0.5), 1}, {0, 0}, rng, true);    // blocked, NaN cleared
  check<R>("N", "N", 10, 10, 0, {1, 0}, {R(0.5), R(0.5)}, rng);      // K = 0: scaling only
  check<R>("N", "N", 10, 10, 10, {0, 0}, {R(-1), R(0.5)}, rng);      // alpha = 0: scaling only
}

// Without working memory the direct loops finish the work.
TYPED_TEST(MixedGemm, FailedAllocation) {
  using R = TypeParam;
  std::thread([] {
    Rng rng(660);
    void *first = zor_serv_allocate(64, 0);
    zor_serv_deallocate(first);
    qalloc_fail_next(1);
    check<R>("T", "T", 40, 30, 50, {R(0.5), 1}, {R(0.5), 0}, rng);
  }).join();
}

// Over a million rows against a small K x N the plain route runs (the real
// xgemm on A in place).
TEST(MixedGemmTall, PlainRoute) {
  Rng rng(670);
  check<double>("N", "C", 1000001, 5, 4, {R2(0.5), 1}, {R2(0.5), 0}, rng);
}

}  // namespace
