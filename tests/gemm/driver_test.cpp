// The drivers of the four precisions against the reference BLAS, in both
// kernel rows: every small shape around the unrolls, random shapes with odd
// leading dimensions, misaligned C and special scalars (beta zero over NaN),
// every copy plan with operands packed by the row's own copies; and, in the
// real precisions, the cache-dependent row block, several column and depth
// blocks, the scaling-only cases and the accumulating passes over depth.
#include <cstring>

#include "gemm_testing.hpp"

namespace {

using namespace zor::test;

template <class E>
class GemmDriver : public ::testing::Test {};
using Elements = ::testing::Types<float, double, Cx<float>, Cx<double>>;
TYPED_TEST_SUITE(GemmDriver, Elements);

// The transposition letters of a precision: 'C' only means more in complex.
template <class E>
std::vector<char> letters() {
  if constexpr (is_complex_v<E>) return {'N', 'T', 'C'};
  else return {'N', 'T'};
}

template <class E>
E scalar(Rng &rng) {
  using R = real_of<E>;
  const R picks[] = {R(0), R(1), R(-1), R(0.3125)};
  auto part = [&] { return rng.integer(0, 3) == 0 ? R(rng.uniform()) : picks[rng.integer(0, 3)]; };
  if constexpr (is_complex_v<E>) return E(part(), rng.integer(0, 1) ? R(0) : part());
  else return part();
}

TYPED_TEST(GemmDriver, EverySmallShapeBothRows) {
  using E = TypeParam;
  const int64_t um = 32 / int64_t(sizeof(E));
  for (int row : {0, 1}) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    Rng rng(100 + row);
    SCOPED_TRACE(testing::Message() << "seed " << rng.seed << " row " << row);
    for (char ta : letters<E>())
      for (char tb : letters<E>())
        for (int64_t m = 0; m <= 2 * um + 1; ++m)
          for (int64_t n = 0; n <= 9; ++n)
            for (int64_t k = 0; k <= 9; ++k) {
              if (is_complex_v<E> && (m + n + k) % 3 == 1) continue;  // thin the nine letter pairs
              Problem<E> p(ta, tb, m, n, k, (m + n + k) % 3, rng.value<E>(), rng.value<E>(),
                           sizeof(E) < 16 ? sizeof(E) * size_t((m + k) % 2) : 0, rng);
              p.run_ours();
              ASSERT_TRUE(p.check());
            }
  }
}

TYPED_TEST(GemmDriver, RandomShapesAndScalarsBothRows) {
  using E = TypeParam;
  for (int row : {0, 1}) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    Rng rng(7001 + row);
    const auto ls = letters<E>();
    for (int t = 0; t < 30; ++t) {
      SCOPED_TRACE(testing::Message() << "seed " << rng.seed << " case " << t << " row " << row);
      const char ta = ls[size_t(rng.integer(0, int64_t(ls.size()) - 1))];
      const char tb = ls[size_t(rng.integer(0, int64_t(ls.size()) - 1))];
      // Across the block boundaries; complex shapes smaller, four times the work an element.
      const int64_t top = is_complex_v<E> ? 150 : 300;
      const int64_t m = rng.integer(1, top), n = rng.integer(1, top * 2 / 3);
      const int64_t k = t % 7 ? rng.integer(1, top) : rng.integer(257, 600);
      const E alpha = scalar<E>(rng), beta = scalar<E>(rng);
      const size_t offset = sizeof(E) < 16 ? size_t(rng.integer(0, 16 / int64_t(sizeof(E)) - 1)) * sizeof(E) : 0;
      Problem<E> p(ta, tb, m, n, k, rng.integer(0, 3), alpha, beta, offset, rng, beta == E(0));
      p.run_ours();
      ASSERT_TRUE(p.check());
    }
  }
}

// Each plan through xgemm_par, pre-packed operands made with the row's own
// copies; plan 7, and in the complex rows the in-place B plans 4 and 16, are
// refused with C untouched.
TYPED_TEST(GemmDriver, EveryPlanBothRows) {
  using E = TypeParam;
  for (int row : {0, 1}) {
    Rng rng(900 + row);
    for (int plan : {0, 2, 4, 8, 16, 32, 64, 7})
      for (char ta : {'N', 'T'})
        for (char tb : {'N', 'T'}) {
          const int64_t m = rng.integer(1, 90), n = rng.integer(1, 40), k = rng.integer(1, 200);  // one depth block
          SCOPED_TRACE(testing::Message() << "plan " << plan << " " << ta << tb << " m " << m << " n " << n << " k "
                                          << k << " row " << row);
          Problem<E> p(ta, tb, m, n, k, 1, E(0.5), E(-0.75), 0, rng);
          Desc d = Desc::row<E>(row);
          d->get_blks_size(&p.m, &p.n, &p.k, d.get());
          const int64_t um = d->unroll_m, un = d->unroll_n, kp = (k + d->unroll_k - 1) / d->unroll_k * d->unroll_k;
          const int64_t astride = um * kp, bstride = un * kp;
          GuardedBuffer<E> pa(size_t((m + um - 1) / um * astride), 0), pb(size_t((n + un - 1) / un * bstride), 0);
          const void *a_arg = p.a.data(), *b_arg = p.b.data();
          int64_t lda = p.lda, ldb = p.ldb;
          if (plan == 8 || plan == 16 || plan == 64) {
            (ta == 'N' ? d->copy_an : d->copy_at)(&p.m, &p.k, p.a.data(), &p.lda, pa.data(), &astride, &p.alpha);
            a_arg = pa.data();
            lda = astride;
          }
          if (plan == 32 || plan == 64) {
            (tb == 'N' ? d->copy_bn : d->copy_bt)(&p.k, &p.n, p.b.data(), &p.ldb, pb.data(), &bstride, nullptr);
            b_arg = pb.data();
            ldb = bstride;
          }
          // Plan 64 applies no alpha: A was packed with it.
          const E alpha = plan == 64 ? E(1) : p.alpha;
          const char sa[2] = {ta, 0}, sb[2] = {tb, 0};
          const int32_t status = Gemm<E>::xgemm_par(sa, sb, &p.m, &p.n, &p.k, (const real_of<E> *)&alpha,
                                                    (const real_of<E> *)a_arg, &lda, (const real_of<E> *)b_arg, &ldb,
                                                    (const real_of<E> *)&p.beta, (real_of<E> *)p.c.data(), &p.ldc, plan,
                                                    d.get());
          if (plan == 7 || (is_complex_v<E> && (plan == 4 || plan == 16))) {
            EXPECT_EQ(status, 1);
            EXPECT_EQ(std::memcmp(p.c.data(), p.c_before.data(), p.c_before.size() * sizeof(E)), 0);
            continue;
          }
          ASSERT_EQ(status, 0);
          ASSERT_TRUE(p.check());
        }
  }
}

// Row 1 with both answers of the cache query: M above the smaller row block.
TEST(GemmDriverReal, LaterRowWithSmallAndLargeSecondLevelCache) {
  for (int64_t l2 : {int64_t(1) << 20, int64_t(8) << 20}) {
    ForcedAnswer levels(ZOR_CORE_CACHE_LEVELS, 2), size(ZOR_CORE_L2_SIZE, l2), row(ZOR_CORE_CPUHASQLX, 1);
    Rng rng(31);
    Problem<double> d('N', 'T', 1100, 37, 70, 1, 0.5, -1.0, 8, rng);
    d.run_ours();
    EXPECT_TRUE(d.check());
    Problem<float> s('T', 'N', 2100, 13, 20, 0, 0.5f, 1.0f, 4, rng);
    s.run_ours();
    EXPECT_TRUE(s.check());
  }
}

// A B block above 4 MiB makes the driver pack B (plan 2); in s, N above
// 5000 also gives two column blocks, and K above 256 two depth blocks.
TEST(GemmDriverReal, PackedBWithSeveralColumnAndDepthBlocks) {
  for (int row : {0, 1}) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    Rng rng(77 + row);
    Problem<float> s('N', 'T', 21, 5003, 300, 1, 0.5f, 0.25f, 4, rng);
    s.run_ours();
    EXPECT_TRUE(s.check());
    Problem<double> d('T', 'N', 13, 2100, 520, 0, -1.0, 1.0, 8, rng);
    d.run_ours();
    EXPECT_TRUE(d.check());
  }
}
TEST(GemmDriverReal, SpecialScalarsAndEmptyShapes) {
  for (int row : {0, 1}) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    const double nan = std::nan("");
    double a[64], b[64], c[64];
    for (int i = 0; i < 64; ++i) a[i] = b[i] = i;
    int64_t m = 8, n = 8, k = 8, zero_n = 0, zero_k = 0;
    double alpha = 2, beta = 0, one = 1, zero = 0;
    // M or N zero: C untouched even with beta 0.
    std::fill(c, c + 64, nan);
    zor_blas_xdgemm("N", "N", &m, &zero_n, &k, &alpha, a, &m, b, &k, &beta, c, &m);
    zor_blas_xdgemm("N", "N", &zero_n, &n, &k, &alpha, a, &m, b, &k, &beta, c, &m);
    for (double x : c) EXPECT_TRUE(std::isnan(x));
    // alpha 0, beta 0: C becomes zero, NaN included.
    zor_blas_xdgemm("N", "N", &m, &n, &k, &zero, a, &m, b, &k, &zero, c, &m);
    for (double x : c) EXPECT_TRUE(same_bits(x, 0.0));
    // K 0 with alpha non-zero: C scaled by beta only.
    std::fill(c, c + 64, 3.0);
    double half = 0.5;
    zor_blas_xdgemm("N", "N", &m, &n, &zero_k, &alpha, a, &m, b, &k, &half, c, &m);
    for (double x : c) EXPECT_EQ(x, 1.5);
    // beta 1, alpha 0: nothing written (NaN payloads keep their bits).
    std::fill(c, c + 64, nan);
    zor_blas_xdgemm("N", "N", &m, &n, &k, &zero, a, &m, b, &k, &one, c, &m);
    for (double x : c) EXPECT_TRUE(same_bits(x, nan));
    // mscale with beta 0 clears NaN; with 2 doubles.
    float cs[12];
    std::fill(cs, cs + 12, std::nanf(""));
    int64_t three = 3, four = 4;
    float fz = 0, f2 = 2;
    zor_blas_sgemm_mscale(&three, &three, &fz, cs, &four);
    for (int j = 0; j < 3; ++j)
      for (int i = 0; i < 4; ++i) EXPECT_EQ(i < 3, same_bits(cs[i + 4 * j], 0.0f)) << i << j;
    cs[0] = 1.5f;
    zor_blas_sgemm_mscale(&three, &three, &f2, cs, &four);
    EXPECT_EQ(cs[0], 3.0f);
  }
}

// K = 600 in d: block_k 256, so C receives passes of depth 256, 256 and 88.
// With A all ones, B(0) = 1 and B(256) = B(257) = 2^-53, one running sum
// gives 1 (each tiny term is lost), the three passes give 1 + 2^-52.
TEST(GemmDriverReal, DepthPassesAccumulateIntoC) {
  for (int row : {0, 1}) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    int64_t m = 8, n = 4, k = 600;
    std::vector<double> a(size_t(m * k), 1.0), b(size_t(k * n), 0.0), c(size_t(m * n), 0.0);
    for (int64_t j = 0; j < n; ++j) {
      b[size_t(j * k)] = 1.0;
      b[size_t(256 + j * k)] = b[size_t(257 + j * k)] = std::ldexp(1.0, -53);
    }
    double alpha = 1, beta = 0;
    zor_blas_xdgemm("N", "N", &m, &n, &k, &alpha, a.data(), &m, b.data(), &k, &beta, c.data(), &m);
    for (double x : c) EXPECT_EQ(x, 1.0 + std::ldexp(1.0, -52)) << row;
  }
}

}  // namespace
