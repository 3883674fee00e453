// Three-multiplication complex products against the four-multiplication
// ones: both routes (row 0 packs for the real kernel, row 1 goes through
// plain arrays), every flag pair, the scaling-only and small cases, and the
// fallback on a failed allocation.
#include <gtest/gtest.h>

#include <zor/core.h>
#include <zor/gemm_complex.h>
#include <zor/serv.h>

#include <complex>
#include <thread>
#include <vector>

#include "gemm_testing.hpp"
#include "qalloc_module.h"

namespace {

using zor::test::Rng;

using zor::test::Cx;
using zor::test::ForcedAnswer;

template <class R>
struct Fns;
template <>
struct Fns<float> {
  static constexpr auto gemm = zor_blas_xcgemm;
  static constexpr auto gemm3m = zor_blas_xcgemm3m;
};
template <>
struct Fns<double> {
  static constexpr auto gemm = zor_blas_xzgemm;
  static constexpr auto gemm3m = zor_blas_xzgemm3m;
};

template <class R>
struct Problem {
  const char *ta, *tb;
  int64_t m, n, k, lda, ldb, ldc;
  std::vector<Cx<R>> a, b, c;
  Cx<R> alpha, beta;
  Problem(const char *ta, const char *tb, int64_t m, int64_t n, int64_t k, Rng &rng, Cx<R> alpha, Cx<R> beta)
      : ta(ta), tb(tb), m(m), n(n), k(k), alpha(alpha), beta(beta) {
    lda = (*ta == 'N' ? m : k) + 1;
    ldb = (*tb == 'N' ? k : n) + 2;
    ldc = m + 3;
    a.resize(lda * (*ta == 'N' ? k : m));
    b.resize(ldb * (*tb == 'N' ? n : k));
    c.resize(ldc * n);
    for (auto *v : {&a, &b, &c})
      for (auto &x : *v) x = {R(rng.uniform()), R(rng.uniform())};
  }
  std::vector<Cx<R>> run(bool three) const {
    std::vector<Cx<R>> out = c;
    (three ? Fns<R>::gemm3m : Fns<R>::gemm)(ta, tb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta,
                                            out.data(), &ldc);
    return out;
  }
};

// The two results differ by rounding only: the bound grows with the depth
// and the size of the operands (|a|, |b| <= sqrt 2, |c| <= sqrt 2).
template <class R>
void expect_close(const std::vector<Cx<R>> &x, const std::vector<Cx<R>> &y, int64_t k, const char *what) {
  const double bound = 16 * zor::test::eps<R>() * double(k + 4) * 4;
  for (size_t i = 0; i < x.size(); ++i)
    ASSERT_LE(std::abs(std::complex<double>(x[i]) - std::complex<double>(y[i])), bound) << what << " at " << i;
}

template <class R>
class Gemm3m : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Gemm3m, Precisions);

TYPED_TEST(Gemm3m, BothRoutesAllFlagsAgainstFourMultiplications) {
  using R = TypeParam;
  const char *flags[] = {"N", "T", "C"};
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
      Problem<R> p(flags[t % 3], flags[(t / 3) % 3], m, n, k, rng, alphas[t % 3], betas[(t + 1) % 3]);
      expect_close<R>(p.run(true), p.run(false), k, "3m vs 4m");
    }
  }
}

// Below 9 in any dimension the four-multiplication product runs itself; with
// alpha zero or K zero only the scaling of C happens, and beta zero clears
// even NaN.
TYPED_TEST(Gemm3m, SmallAndScalingOnly) {
  using R = TypeParam;
  Rng rng(800);
  Problem<R> small("N", "N", 8, 100, 100, rng, {R(0.5), 1}, {0, R(0.5)});
  std::vector<Cx<R>> x = small.run(true), y = small.run(false);
  for (size_t i = 0; i < x.size(); ++i) ASSERT_TRUE(zor::test::same_bits(x[i], y[i])) << i;

  Problem<R> p("N", "T", 20, 20, 20, rng, {0, 0}, {0, 0});
  for (auto &v : p.c) v = {R(NAN), R(NAN)};
  const auto cleared = p.run(true);
  for (int64_t j = 0; j < p.n; ++j)
    for (int64_t i = 0; i < p.ldc; ++i) {
      const auto v = cleared[i + j * p.ldc];
      if (i < p.m) ASSERT_EQ(v, Cx<R>(0, 0));
      else ASSERT_TRUE(std::isnan(v.real()));  // rows past m untouched
    }
  Problem<R> unknown("X", "N", 20, 20, 20, rng, {1, 1}, {R(0.5), R(-2)});  // an unknown flag: no update
  EXPECT_EQ(unknown.run(true), unknown.c);
  Problem<R> q("C", "N", 20, 20, 0, rng, {1, 1}, {R(0.5), R(-2)});
  const auto scaled = q.run(true);
  for (size_t i = 0; i < scaled.size(); ++i)
    if (int64_t(i % q.ldc) < q.m) ASSERT_EQ(scaled[i], q.beta * q.c[i]);
}

// A failed allocation of the working areas ends in the four-multiplication
// product: the result is that product to the last bit.
TYPED_TEST(Gemm3m, FailedAllocationGivesTheFourMultiplicationResult) {
  using R = TypeParam;
  for (int row = 0; row < 2; ++row) {
    std::thread([row] {
      ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
      Rng rng(900 + row);
      Problem<R> p("T", "N", 40, 30, 50, rng, {R(0.5), 1}, {0, R(0.5)});
      const auto four = p.run(false);
      void *first = zor_serv_allocate(64, 0);  // registers this thread with the pool
      zor_serv_deallocate(first);
      qalloc_fail_next(1);
      const auto three = p.run(true);
      for (size_t i = 0; i < four.size(); ++i) ASSERT_TRUE(zor::test::same_bits(three[i], four[i])) << i;
    }).join();
  }
}

}  // namespace
