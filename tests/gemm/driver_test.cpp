// The drivers of s and d against the reference BLAS, in both kernel rows:
// every small shape around the unrolls, random shapes with odd leading
// dimensions and misaligned C, special scalars, every copy plan with operands
// packed by the family's own copies, and the accumulating passes over depth.
#include <cstring>

#include "common/reference_blas.h"
#include "gemm_testing.hpp"

namespace {

using namespace zor::test;

void ref_gemm(char ta, char tb, int64_t m, int64_t n, int64_t k, double alpha, const double *a, int64_t lda,
              const double *b, int64_t ldb, double beta, double *c, int64_t ldc) {
  f_int M = f_int(m), N = f_int(n), K = f_int(k), LA = f_int(lda), LB = f_int(ldb), LC = f_int(ldc);
  dgemm_(&ta, &tb, &M, &N, &K, &alpha, a, &LA, b, &LB, &beta, c, &LC, 1, 1);
}
void ref_gemm(char ta, char tb, int64_t m, int64_t n, int64_t k, float alpha, const float *a, int64_t lda,
              const float *b, int64_t ldb, float beta, float *c, int64_t ldc) {
  f_int M = f_int(m), N = f_int(n), K = f_int(k), LA = f_int(lda), LB = f_int(ldb), LC = f_int(ldc);
  sgemm_(&ta, &tb, &M, &N, &K, &alpha, a, &LA, b, &LB, &beta, c, &LC, 1, 1);
}

// One product: ours through `run` (xgemm or xgemm_par with a plan), the
// reference on a copy of C; checks the bound, and the guards around C.
template <class R>
struct Problem {
  char ta, tb;
  int64_t m, n, k, lda, ldb, ldc;
  R alpha, beta;
  size_t c_offset;
  Matrix<R> a, b, c;
  std::vector<R> c_before;
  Problem(char ta, char tb, int64_t m, int64_t n, int64_t k, int64_t pad, R alpha, R beta, size_t c_offset, Rng &rng)
      : ta(ta), tb(tb), m(m), n(n), k(k),
        lda((ta == 'N' ? m : k) + pad > 0 ? (ta == 'N' ? m : k) + pad : 1),
        ldb((tb == 'N' ? k : n) + pad > 0 ? (tb == 'N' ? k : n) + pad : 1), ldc(m + pad > 0 ? m + pad : 1),
        alpha(alpha), beta(beta), c_offset(c_offset),
        a(lda, ta == 'N' ? k : m, lda), b(ldb, tb == 'N' ? n : k, ldb), c(ldc, n, ldc, c_offset) {
    a.fill(rng);
    b.fill(rng);
    c.fill(rng);
    c_before.assign(c.data(), c.data() + c.buf.size());
  }
  void run_ours() {
    const char sa[2] = {ta, 0}, sb[2] = {tb, 0};
    Gemm<R>::xgemm(sa, sb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
  }
  // Holds C against the reference within the rounding bound.
  void check(const char *what) {
    std::vector<R> want = c_before;
    if (m > 0 && n > 0) ref_gemm(ta, tb, m, n, k, alpha, a.data(), lda, b.data(), ldb, beta, want.data(), ldc);
    ASSERT_TRUE(c.buf.guards_intact()) << what;
    for (int64_t j = 0; j < n; ++j)
      for (int64_t i = 0; i < ldc; ++i) {
        const R got = c.at(i, j), exp = want[size_t(i + j * ldc)];
        if (i >= m) {
          ASSERT_TRUE(same_bits(got, exp)) << what << ": row " << i << " past M written";
          continue;
        }
        double abs_sum = 0;
        for (int64_t l = 0; l < k; ++l)
          abs_sum += std::fabs(double(op_at(a.data(), lda, ta != 'N', i, l)) * double(op_at(b.data(), ldb, tb != 'N', l, j)));
        const double bound = gemm_bound<R>(k, std::fabs(double(alpha)) * abs_sum,
                                           std::fabs(double(beta) * double(c_before[size_t(i + j * ldc)])));
        ASSERT_LE(std::fabs(double(got) - double(exp)), bound)
            << what << ": " << ta << tb << " m " << m << " n " << n << " k " << k << " ld " << lda << "," << ldb
            << "," << ldc << " alpha " << alpha << " beta " << beta << " C+" << c_offset << " at (" << i << ","
            << j << ") got " << got << " want " << exp;
      }
  }
};

const char kTrans[4][2] = {{'N', 'N'}, {'N', 'T'}, {'T', 'N'}, {'T', 'T'}};

template <class R>
void sweep_small_shapes(int row) {
  ForceRow force(row);
  Rng rng(100 + row);
  const int64_t um = 32 / int64_t(sizeof(R));
  for (const auto &t : kTrans)
    for (int64_t m = 0; m <= 2 * um + 1; ++m)
      for (int64_t n = 0; n <= 9; ++n)
        for (int64_t k = 0; k <= 9; ++k) {
          Problem<R> p(t[0], t[1], m, n, k, (m + n + k) % 3, R(rng.uniform()), R(rng.uniform()), 0, rng);
          p.run_ours();
          p.check("small shapes");
          if (testing::Test::HasFatalFailure()) return;
        }
}

TEST(GemmDriver, DoubleEverySmallShape) {
  for (int row : {0, 1}) sweep_small_shapes<double>(row);
}
TEST(GemmDriver, SingleEverySmallShape) {
  for (int row : {0, 1}) sweep_small_shapes<float>(row);
}

template <class R>
void sweep_random_shapes(int row, uint64_t seed, int count) {
  ForceRow force(row);
  Rng rng(seed);
  const R scalars[] = {R(0), R(1), R(-1), R(0.3125)};
  for (int t = 0; t < count; ++t) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << " case " << t << " row " << row);
    const auto &tr = kTrans[rng.integer(0, 3)];
    const int64_t m = rng.integer(1, 300), n = rng.integer(1, 300), k = rng.integer(1, 300);
    const R alpha = rng.integer(0, 4) == 0 ? R(rng.uniform()) : scalars[rng.integer(0, 3)];
    const R beta = rng.integer(0, 4) == 0 ? R(rng.uniform()) : scalars[rng.integer(0, 3)];
    const size_t offset = size_t(rng.integer(0, 16 / sizeof(R) - 1)) * sizeof(R);
    Problem<R> p(tr[0], tr[1], m, n, k, rng.integer(0, 3), alpha, beta, offset, rng);
    if (beta == R(0))
      for (int64_t j = 0; j < n; ++j)
        for (int64_t i = 0; i < m; ++i) p.c.at(i, j) = std::numeric_limits<R>::quiet_NaN();
    p.c_before.assign(p.c.data(), p.c.data() + p.c.buf.size());
    if (beta == R(0))  // the reference would not read C either; give it zeros
      for (int64_t j = 0; j < n; ++j)
        for (int64_t i = 0; i < m; ++i) p.c_before[size_t(i + j * p.ldc)] = R(0);
    p.run_ours();
    p.check("random shapes");
    if (testing::Test::HasFatalFailure()) return;
  }
}

TEST(GemmDriver, DoubleRandomShapesBothRows) {
  for (int row : {0, 1}) sweep_random_shapes<double>(row, 7001 + row, 60);
}
TEST(GemmDriver, SingleRandomShapesBothRows) {
  for (int row : {0, 1}) sweep_random_shapes<float>(row, 8001 + row, 60);
}

// Row 1 with both answers of the cache query: M above the smaller row block.
TEST(GemmDriver, LaterRowWithSmallAndLargeSecondLevelCache) {
  for (int64_t l2 : {int64_t(1) << 20, int64_t(8) << 20}) {
    zor_core_force(ZOR_CORE_CACHE_LEVELS, 2);
    zor_core_force(ZOR_CORE_L2_SIZE, l2);
    ForceRow force(1);
    Rng rng(31);
    Problem<double> d('N', 'T', 1100, 37, 70, 1, 0.5, -1.0, 8, rng);
    d.run_ours();
    d.check("cache");
    Problem<float> s('T', 'N', 2100, 13, 20, 0, 0.5f, 1.0f, 4, rng);
    s.run_ours();
    s.check("cache");
  }
  zor_core_unforce(ZOR_CORE_CACHE_LEVELS);
  zor_core_unforce(ZOR_CORE_L2_SIZE);
}

// A B block above 4 MiB makes the driver pack B (plan 2); in s, N above
// 5000 also gives two column blocks, and K above 256 two depth blocks.
TEST(GemmDriver, PackedBWithSeveralColumnAndDepthBlocks) {
  for (int row : {0, 1}) {
    ForceRow force(row);
    Rng rng(77 + row);
    Problem<float> s('N', 'T', 21, 5003, 300, 1, 0.5f, 0.25f, 4, rng);
    s.run_ours();
    s.check("plan 2, s");
    Problem<double> d('T', 'N', 13, 2100, 520, 0, -1.0, 1.0, 8, rng);
    d.run_ours();
    d.check("plan 2, d");
  }
}

TEST(GemmDriver, SpecialScalarsAndEmptyShapes) {
  for (int row : {0, 1}) {
    ForceRow force(row);
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

// Each plan through xgemm_par, the pre-packed operands made with the
// family's copies of the same row.
template <class R>
void check_plans(int row) {
  using G = Gemm<R>;
  Rng rng(900 + row);
  for (int plan : {0, 2, 4, 8, 16, 32, 64, 7}) {
    for (const auto &t : kTrans) {
      const int64_t m = rng.integer(1, 90), n = rng.integer(1, 40), k = rng.integer(1, 200);  // K within one block
      SCOPED_TRACE(testing::Message() << "plan " << plan << " " << t[0] << t[1] << " m " << m << " n " << n << " k "
                                      << k << " row " << row);
      Problem<R> p(t[0], t[1], m, n, k, 1, R(0.5), R(-0.75), 0, rng);
      Desc d = Desc::row<R>(row);
      d->get_blks_size(&p.m, &p.n, &p.k, d.get());
      const int64_t um = d->unroll_m, kp = (k + 3) / 4 * 4, astride = um * kp, bstride = 4 * kp;
      std::vector<R> pa(size_t((m + um - 1) / um * astride) + 64), pb(size_t((n + 3) / 4 * bstride) + 64);
      auto align = [](std::vector<R> &v) {
        return reinterpret_cast<R *>((reinterpret_cast<uintptr_t>(v.data()) + 127) & ~uintptr_t(127));
      };
      R *ppa = align(pa), *ppb = align(pb);
      const R *a_arg = p.a.data(), *b_arg = p.b.data();
      int64_t lda = p.lda, ldb = p.ldb;
      const char sa[2] = {t[0], 0}, sb[2] = {t[1], 0};
      if (plan == 8 || plan == 16 || plan == 64) {
        reinterpret_cast<void (*)(const int64_t *, const int64_t *, const R *, const int64_t *, R *, const int64_t *,
                                  const R *)>(t[0] == 'N' ? d->copy_an : d->copy_at)(&p.m, &p.k, p.a.data(), &p.lda,
                                                                                    ppa, &astride, &p.alpha);
        a_arg = ppa;
        lda = astride;
      }
      if (plan == 32 || plan == 64) {
        reinterpret_cast<void (*)(const int64_t *, const int64_t *, const R *, const int64_t *, R *, const int64_t *,
                                  const void *)>(t[1] == 'N' ? d->copy_bn : d->copy_bt)(&p.k, &p.n, p.b.data(),
                                                                                       &p.ldb, ppb, &bstride, nullptr);
        b_arg = ppb;
        ldb = bstride;
      }
      // Plan 64 takes the depth rounded up by itself and applies no alpha.
      R alpha = plan == 64 ? R(1) : p.alpha;
      const int32_t status = G::xgemm_par(sa, sb, &p.m, &p.n, &p.k, &alpha, a_arg, &lda, b_arg, &ldb, &p.beta,
                                          p.c.data(), &p.ldc, plan, d.get());
      if (plan == 7) {
        EXPECT_EQ(status, 1);
        EXPECT_EQ(std::memcmp(p.c.data(), p.c_before.data(), p.c_before.size() * sizeof(R)), 0);
        continue;
      }
      ASSERT_EQ(status, 0);
      p.check("plan");
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(GemmDriver, EveryPlanDouble) {
  for (int row : {0, 1}) check_plans<double>(row);
}
TEST(GemmDriver, EveryPlanSingle) {
  for (int row : {0, 1}) check_plans<float>(row);
}

// K = 600 in d: block_k 256, so C receives passes of depth 256, 256 and 88.
// With A all ones, B(0) = 1 and B(256) = B(257) = 2^-53, one running sum
// gives 1 (each tiny term is lost), the three passes give 1 + 2^-52.
TEST(GemmDriver, DepthPassesAccumulateIntoC) {
  for (int row : {0, 1}) {
    ForceRow force(row);
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
