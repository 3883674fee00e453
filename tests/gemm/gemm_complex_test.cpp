// The complex GEMM engine against the reference cgemm/zgemm: every pair of
// 'N', 'T', 'C', shapes around the unrolls and random ones, odd leading
// dimensions, C at 8-byte offsets, alpha and beta with zero parts, both
// kernel rows; plus the row-independent bits, the pre-packed plans, the
// block rules and the panel layouts.
#include <gtest/gtest.h>

#include <zor/core.h>
#include <zor/gemm_complex.h>
#include <zor/serv.h>

#include <cmath>
#include <thread>
#include <vector>

#include "common/reference_blas.h"
#include "gemm/desc.hpp"
#include "qalloc_module.h"
#include "complex_testing.hpp"

namespace {

using zor::test::GuardedBuffer;
using zor::test::Rng;

template <class R>
struct Prec;
template <>
struct Prec<float> {
  static constexpr const char *name = "c";
  static void ref(const char *ta, const char *tb, f_int m, f_int n, f_int k, const void *al, const void *a, f_int lda,
                  const void *b, f_int ldb, const void *be, void *c, f_int ldc) {
    cgemm_(ta, tb, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc, 1, 1);
  }
  static void ours(const char *ta, const char *tb, int64_t m, int64_t n, int64_t k, const void *al, const void *a,
                   int64_t lda, const void *b, int64_t ldb, const void *be, void *c, int64_t ldc) {
    zor_blas_xcgemm(ta, tb, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc);
  }
  static constexpr auto par = zor_blas_xcgemm_par;
  static constexpr auto optimal = zor_blas_cgemm_get_optimal_kernel;
  static constexpr auto get_kernel = zor_blas_cgemm_get_kernel;
  static constexpr auto copyan = zor_blas_cgemm_copyan;
  static constexpr auto copyac = zor_blas_cgemm_copyac;
  static constexpr auto copybn = zor_blas_cgemm_copybn;
  static constexpr auto copybn_bvr = zor_blas_cgemm_copybn_bvr;
  static constexpr auto blks = zor_blas_cgemm_get_blks_size;
  static constexpr auto blks_bvr = zor_blas_cgemm_get_blks_size_bvr;
};
template <>
struct Prec<double> {
  static constexpr const char *name = "z";
  static void ref(const char *ta, const char *tb, f_int m, f_int n, f_int k, const void *al, const void *a, f_int lda,
                  const void *b, f_int ldb, const void *be, void *c, f_int ldc) {
    zgemm_(ta, tb, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc, 1, 1);
  }
  static void ours(const char *ta, const char *tb, int64_t m, int64_t n, int64_t k, const void *al, const void *a,
                   int64_t lda, const void *b, int64_t ldb, const void *be, void *c, int64_t ldc) {
    zor_blas_xzgemm(ta, tb, &m, &n, &k, al, a, &lda, b, &ldb, be, c, &ldc);
  }
  static constexpr auto par = zor_blas_xzgemm_par;
  static constexpr auto optimal = zor_blas_zgemm_get_optimal_kernel;
  static constexpr auto get_kernel = zor_blas_zgemm_get_kernel;
  static constexpr auto copyan = zor_blas_zgemm_copyan;
  static constexpr auto copyac = zor_blas_zgemm_copyac;
  static constexpr auto copybn = zor_blas_zgemm_copybn;
  static constexpr auto copybn_bvr = zor_blas_zgemm_copybn_bvr;
  static constexpr auto blks = zor_blas_zgemm_get_blks_size;
  static constexpr auto blks_bvr = zor_blas_zgemm_get_blks_size_bvr;
};

using zor::test::Cx;
using zor::test::ForceRow;


// One product, ours against the reference: C of ldc x n at an offset, with
// guards. Returns false (with a message) on a mismatch beyond the rounding
// bound eps x (k + 2) x (|alpha| sum |a||b| + |beta||c|) per element.
template <class R>
struct Case {
  const char *ta, *tb;
  int64_t m, n, k, lda, ldb, ldc;
  Cx<R> alpha, beta;
  size_t c_offset;  // bytes past a 16-byte boundary
  bool nan_c = false;
};

template <class R>
::testing::AssertionResult run_case(const Case<R> &cs, Rng &rng) {
  using P = Prec<R>;
  const bool an = *cs.ta == 'N', bn = *cs.tb == 'N';
  const int64_t acols = an ? cs.k : cs.m, bcols = bn ? cs.n : cs.k;
  std::vector<Cx<R>> a(std::max<int64_t>(1, cs.lda * acols)), b(std::max<int64_t>(1, cs.ldb * bcols));
  for (auto &x : a) x = {R(rng.uniform()), R(rng.uniform())};
  for (auto &x : b) x = {R(rng.uniform()), R(rng.uniform())};
  const size_t csize = size_t(cs.ldc * cs.n);
  GuardedBuffer<Cx<R>> c(csize, cs.c_offset);
  std::vector<Cx<R>> cref(csize);
  for (size_t i = 0; i < csize; ++i) {
    c[i] = cs.nan_c ? Cx<R>(NAN, NAN) : Cx<R>(R(rng.uniform()), R(rng.uniform()));
    cref[i] = c[i];
  }
  std::vector<Cx<R>> c0 = cref;
  P::ours(cs.ta, cs.tb, cs.m, cs.n, cs.k, &cs.alpha, a.data(), cs.lda, b.data(), cs.ldb, &cs.beta, c.data(), cs.ldc);
  P::ref(cs.ta, cs.tb, f_int(cs.m), f_int(cs.n), f_int(cs.k), &cs.alpha, a.data(), f_int(cs.lda), b.data(),
         f_int(cs.ldb), &cs.beta, cref.data(), f_int(cs.ldc));
  if (!c.guards_intact()) return ::testing::AssertionFailure() << "guard elements around C changed";
  const R eps = zor::test::eps<R>();
  auto A = [&](int64_t i, int64_t l) { return an ? a[i + l * cs.lda] : a[l + i * cs.lda]; };
  auto B = [&](int64_t l, int64_t j) { return bn ? b[l + j * cs.ldb] : b[j + l * cs.ldb]; };
  for (int64_t j = 0; j < cs.n; ++j)
    for (int64_t i = 0; i < cs.ldc; ++i) {
      const size_t at = size_t(i + j * cs.ldc);
      if (i >= cs.m) {  // rows between m and ldc are not touched
        if (!zor::test::same_bits(c[at], c0[at])) return ::testing::AssertionFailure() << "row " << i << " below m changed";
        continue;
      }
      double mag = 0;
      for (int64_t l = 0; l < cs.k; ++l) mag += std::abs(A(i, l)) * std::abs(B(l, j));
      mag = std::abs(cs.alpha) * mag + (cs.beta == Cx<R>(0) ? 0.0 : std::abs(cs.beta) * std::abs(c0[at]));
      const double err = std::abs(std::complex<double>(c[at]) - std::complex<double>(cref[at]));
      if (!(err <= 4 * eps * double(cs.k + 2) * mag + 1e-30))
        return ::testing::AssertionFailure()
               << cs.ta << cs.tb << " m=" << cs.m << " n=" << cs.n << " k=" << cs.k << " lda=" << cs.lda
               << " ldb=" << cs.ldb << " ldc=" << cs.ldc << " offset=" << cs.c_offset << " at (" << i << "," << j
               << ") ours " << c[at] << " ref " << cref[at];
    }
  return ::testing::AssertionSuccess();
}

template <class R>
class ComplexGemm : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ComplexGemm, Precisions);

const char *const kFlags[] = {"N", "T", "C"};

// Every transposition pair and every small shape around the unrolls, in both
// rows, with C at 0 and 8 bytes past a 16-byte boundary.
TYPED_TEST(ComplexGemm, SmallShapesAllFlagsBothRows) {
  using R = TypeParam;
  const int64_t dims[] = {1, 2, 3, 4, 5, 7, 9};
  for (int row = 0; row < 2; ++row) {
    ForceRow force(row);
    Rng rng(1000 + row);
    SCOPED_TRACE(::testing::Message() << "seed " << rng.seed << " row " << row);
    for (const char *ta : kFlags)
      for (const char *tb : kFlags)
        for (int64_t m : dims)
          for (int64_t n : dims)
            for (int64_t k : dims) {
              if ((m + n + k) % 3 == 1 && m * n * k > 8) continue;  // thin the grid
              Case<R> cs{ta, tb, m, n, k, 0, 0, 0, {R(0.5), R(-1.25)}, {R(-0.75), R(0.5)}, size_t(8 * ((m + k) % 2))};
              cs.lda = (*ta == 'N' ? m : k) + (n % 2);
              cs.ldb = (*tb == 'N' ? k : n) + (m % 2);
              cs.ldc = m + (k % 3);
              ASSERT_TRUE(run_case(cs, rng));
            }
  }
}

// Random shapes across the block boundaries, odd leading dimensions, and
// alpha and beta with zero real or imaginary parts, 0 and 1.
TYPED_TEST(ComplexGemm, RandomShapesAndScalars) {
  using R = TypeParam;
  const Cx<R> scalars[] = {{0, 0}, {1, 0}, {0, 1}, {R(-1.5), 0}, {0, R(0.75)}, {R(0.3), R(-0.6)}};
  for (int row = 0; row < 2; ++row) {
    ForceRow force(row);
    Rng rng(2000 + row);
    SCOPED_TRACE(::testing::Message() << "seed " << rng.seed << " row " << row);
    for (int t = 0; t < 30; ++t) {
      Case<R> cs{kFlags[t % 3], kFlags[(t / 3) % 3], rng.integer(1, 180), rng.integer(1, 120), rng.integer(1, 300),
                 0, 0, 0, scalars[rng.integer(0, 5)], scalars[rng.integer(0, 5)], size_t(8 * rng.integer(0, 1))};
      if (t % 7 == 0) cs.k = 256 + rng.integer(0, 300);  // several depth blocks
      cs.lda = (*cs.ta == 'N' ? cs.m : cs.k) + rng.integer(0, 3);
      cs.ldb = (*cs.tb == 'N' ? cs.k : cs.n) + rng.integer(0, 3);
      cs.ldc = cs.m + rng.integer(0, 3);
      ASSERT_TRUE(run_case(cs, rng));
    }
  }
}

// beta = 0 over a C full of NaN gives clean results, small and blocked.
TYPED_TEST(ComplexGemm, NanCWithBetaZero) {
  using R = TypeParam;
  Rng rng(3000);
  for (int64_t size : {3, 40}) {
    Case<R> cs{"N", "C", size, size + 1, size, size, size + 1, size + 2, {R(1.5), R(0.5)}, {0, 0}, 8};
    cs.nan_c = true;
    ASSERT_TRUE(run_case(cs, rng));
  }
}

// Both rows and the row-tail kernel form each element from the same
// depth-ordered sums: results agree to the last bit, depth 128 (the
// fixed-depth kernel of row 0) included.
TYPED_TEST(ComplexGemm, RowsAgreeBitForBit) {
  using R = TypeParam;
  using P = Prec<R>;
  Rng rng(4000);
  for (int64_t k : {128, 100, 201}) {  // one depth block in both rows
    const int64_t m = 23, n = 9;
    std::vector<Cx<R>> a(m * k), b(k * n), c0(m * n), c1;
    for (auto &x : a) x = {R(rng.uniform()), R(rng.uniform())};
    for (auto &x : b) x = {R(rng.uniform()), R(rng.uniform())};
    for (auto &x : c0) x = {R(rng.uniform()), R(rng.uniform())};
    c1 = c0;
    const Cx<R> alpha{R(0.7), R(-0.2)}, beta{1, 0};
    {
      ForceRow force(0);
      P::ours("N", "T", m, n, k, &alpha, a.data(), m, b.data(), n, &beta, c0.data(), m);
    }
    {
      ForceRow force(1);
      P::ours("N", "T", m, n, k, &alpha, a.data(), m, b.data(), n, &beta, c1.data(), m);
    }
    for (size_t i = 0; i < c0.size(); ++i) ASSERT_TRUE(zor::test::same_bits(c0[i], c1[i])) << "k " << k << " at " << i;
  }
}

// The pre-packed plans with operands packed by the family's own copies give
// the blocked product; plan 7 is refused with C untouched.
TYPED_TEST(ComplexGemm, PrepackedPlans) {
  using R = TypeParam;
  using P = Prec<R>;
  Rng rng(5000);
  const int64_t m = 13, n = 7, k = 30;
  std::vector<Cx<R>> a(m * k), b(k * n), c(m * n);
  for (auto &x : a) x = {R(rng.uniform()), R(rng.uniform())};
  for (auto &x : b) x = {R(rng.uniform()), R(rng.uniform())};
  const Cx<R> alpha{R(0.5), R(1.0)}, beta{R(0.25), R(-0.5)}, one{1, 0};
  for (int row = 0; row < 2; ++row) {
    for (int32_t plan : {2, 8, 32, 64}) {
      for (auto &x : c) x = {R(rng.uniform()), R(rng.uniform())};
      std::vector<Cx<R>> cref = c;
      P::ref("N", "N", m, n, k, &alpha, a.data(), m, b.data(), k, &beta, cref.data(), m);
      zor_gemm_desc_storage storage;
      auto *d = reinterpret_cast<zor_gemm_desc *>(&storage);
      zor_blas_cgemm_zero_desc(d);
      ASSERT_EQ(P::get_kernel(row, d), 0);
      zor_blas_cgemm_set_blks_size(64, 64, 64, d);
      // Packed operands: A with alpha in, panel strides for depth k' = 32.
      const int64_t um = sizeof(R) == 4 ? 4 : 2;  // A panel width in both rows
      const int64_t kp = 32, a_stride = um * kp, b_stride = kp * 2;
      const int64_t a_panels = (m + um - 1) / um, b_panels = (n + 1) / 2;
      std::vector<Cx<R>> apack(a_panels * a_stride + 16), bpack(b_panels * b_stride + 16);
      // 16-byte aligned panels
      auto *ap = reinterpret_cast<Cx<R> *>((reinterpret_cast<uintptr_t>(apack.data()) + 15) & ~uintptr_t(15));
      auto *bp = reinterpret_cast<Cx<R> *>((reinterpret_cast<uintptr_t>(bpack.data()) + 15) & ~uintptr_t(15));
      if (row == 0) {
        P::copyan(&m, &k, a.data(), &m, ap, &a_stride, &alpha);
        P::copybn(&k, &n, b.data(), &k, bp, &b_stride, nullptr);
      } else {
        const auto copyan_bvr = sizeof(R) == 4 ? zor_blas_cgemm_copyan_bvr : zor_blas_zgemm_copyan_bvr;
        copyan_bvr(&m, &k, a.data(), &m, ap, &a_stride, &alpha);
        P::copybn_bvr(&k, &n, b.data(), &k, bp, &b_stride, nullptr);
      }
      const bool pa = plan == 8 || plan == 64, pb = plan == 32 || plan == 64;
      const int64_t lda = pa ? a_stride : m, ldb = pb ? b_stride : k;
      // With A pre-packed, alpha is already in it.
      const Cx<R> *al = pa ? &one : &alpha;
      ASSERT_EQ(P::par("N", "N", &m, &n, &k, al, pa ? (void *)ap : a.data(), &lda,
                       pb ? (void *)bp : b.data(), &ldb, &beta, c.data(), &m, plan, d),
                0)
          << "plan " << plan;
      for (size_t i = 0; i < c.size(); ++i)
        ASSERT_LT(std::abs(c[i] - cref[i]), 100 * zor::test::eps<R>()) << "plan " << plan << " row " << row << " at " << i;
    }
  }
  zor_gemm_desc_storage storage;
  auto *d = reinterpret_cast<zor_gemm_desc *>(&storage);
  zor_blas_cgemm_zero_desc(d);
  P::optimal(d);
  std::vector<Cx<R>> before = c;
  EXPECT_EQ(P::par("N", "N", &m, &n, &k, &alpha, a.data(), &m, b.data(), &k, &beta, c.data(), &m, 7, d), 1);
  EXPECT_EQ(c, before);
  // The in-place B plans are outside the complex rows' plan sets.
  for (int32_t plan : {4, 16}) {
    EXPECT_EQ(P::par("N", "N", &m, &n, &k, &alpha, a.data(), &m, b.data(), &k, &beta, c.data(), &m, plan, d), 1);
    EXPECT_EQ(c, before);
  }
}

// Block rules of the complex rows at their boundaries.
TEST(ComplexGemmBlocks, RulesAtTheBoundaries) {
  zor_gemm_desc_storage storage;
  auto *d = reinterpret_cast<zor_gemm_desc *>(&storage);
  struct Expect {
    bool z;
    int row;
    int64_t m, n, k, bm, bn, bk;
  };
  const Expect cases[] = {
      {false, 0, 1000, 100, 384, 880, 100, 128},    // multiple of 128, not of 256: 128; 112640 / 128
      {false, 0, 1000, 9000, 300, 748, 5000, 150},  // half of 300; 112640 / 150 rounded down to 4
      {false, 0, 1000, 1, 1000, 440, 2, 256},       // 112640 / 256 = 440; N raised to unroll_n
      {true, 0, 1000, 100, 448, 250, 100, 224},     // multiple of 224
      {true, 0, 1000, 100, 449, 250, 100, 224},     // last branch
      {true, 0, 3, 5, 2, 3, 5, 224},                // K' = 2: 56320 / 2 limited to M = 3
      {true, 0, 1000, 3000, 100, 562, 2000, 224},   // K' = 100 below the block
      {false, 1, 1000, 5, 100, 1000, 6, 128},       // row 1: at least 128; N rounded up to unroll_n
      {true, 1, 1000, 5, 1024, 512, 6, 128},
      {true, 1, 1000, 5, 1025, 512, 6, 256},
  };
  zor_core_force(ZOR_CORE_L2_SIZE, 8 << 20);
  for (const Expect &e : cases) {
    zor_blas_cgemm_zero_desc(d);
    if (e.z) zor_blas_zgemm_get_kernel(e.row, d);
    else zor_blas_cgemm_get_kernel(e.row, d);
    auto f = e.z ? (e.row ? Prec<double>::blks_bvr : Prec<double>::blks)
                 : (e.row ? Prec<float>::blks_bvr : Prec<float>::blks);
    f(&e.m, &e.n, &e.k, d);
    EXPECT_EQ(d->block_m, e.bm) << (e.z ? "z" : "c") << e.row << " k " << e.k;
    EXPECT_EQ(d->block_n, e.bn) << (e.z ? "z" : "c") << e.row << " k " << e.k;
    EXPECT_EQ(d->block_k, e.bk) << (e.z ? "z" : "c") << e.row << " k " << e.k;
  }
  zor_core_unforce(ZOR_CORE_L2_SIZE);
}

// Conjugate copies conjugate first and then take alpha: alpha = i on a + bi
// gives b + ai. Row 1's tail panel of B is a whole vector wide.
TEST(ComplexGemmPanels, ConjugateBeforeAlphaAndTailWidths) {
  const int64_t m = 1, k = 1, lda = 1, stride = 4 * 2;
  alignas(16) Cx<float> buf[8];
  const Cx<float> a{3, 5}, alpha{0, 1};
  zor_blas_cgemm_copyac(&m, &k, &a, &lda, buf, &stride, &alpha);
  EXPECT_EQ(buf[0], Cx<float>(5, 3));
  for (int i = 1; i < 8; ++i) EXPECT_EQ(buf[i], Cx<float>(0, 0)) << i;  // lanes and the padded depth step

  // n = 3, k = 3: a full panel of 2 x 4 depth steps, then the tail panel:
  // row 0 compact (1 element per step), single row 1 two elements per step.
  const int64_t kk = 3, n = 3, ldb = 3;
  Cx<float> b[9];
  for (int i = 0; i < 9; ++i) b[i] = {float(i + 1), float(-i - 1)};
  for (int row = 0; row < 2; ++row) {
    const int64_t kp = row == 0 ? 4 : 4, bstride = kp * 2;
    alignas(16) Cx<float> out[32];
    for (auto &x : out) x = {99, 99};
    (row == 0 ? zor_blas_cgemm_copybn : zor_blas_cgemm_copybn_bvr)(&kk, &n, b, &ldb, out, &bstride, nullptr);
    EXPECT_EQ(out[0], b[0]);
    EXPECT_EQ(out[1], b[3]);
    EXPECT_EQ(out[6], Cx<float>(0, 0));  // padded depth step
    const Cx<float> *tail = out + bstride;
    const int width = row == 0 ? 1 : 2;
    for (int l = 0; l < 4; ++l) {
      EXPECT_EQ(tail[width * l], l < 3 ? b[6 + l] : Cx<float>(0, 0)) << "row " << row << " depth " << l;
      if (width == 2) EXPECT_EQ(tail[width * l + 1], Cx<float>(0, 0));
    }
    if (row == 0) EXPECT_EQ(tail[4], Cx<float>(99, 99));  // compact: nothing past 4 steps
  }
}

// Without working memory plan 2 takes the small path and gives the product;
// a pre-packed plan has no way round and returns 1, C having taken beta.
TYPED_TEST(ComplexGemm, FailedAllocation) {
  using R = TypeParam;
  std::thread([] {
    Rng rng(6000);
    void *first = zor_serv_allocate(64, 0);  // registers this thread with the pool
    zor_serv_deallocate(first);
    qalloc_fail_next(1);
    Case<R> cs{"C", "N", 37, 21, 44, 45, 46, 39, {R(0.5), R(1)}, {R(0.25), R(-0.5)}, 8};
    ASSERT_TRUE(run_case(cs, rng));

    // Pre-packed: C takes beta = 2 first; a retry with beta 1 gives the bits
    // of a call that succeeded at once.
    const int64_t m = 8, n = 4, k = 8, stride = 64;
    std::vector<Cx<R>> a(256), b(256), c(m * n, Cx<R>(1, -1));
    for (auto &x : a) x = Cx<R>(R(rng.uniform()), R(rng.uniform()));
    for (auto &x : b) x = Cx<R>(R(rng.uniform()), R(rng.uniform()));
    std::vector<Cx<R>> once = c;
    const Cx<R> one{1, 0}, two{2, 0};
    zor_gemm_desc_storage storage;
    auto *d = reinterpret_cast<zor_gemm_desc *>(&storage);
    zor_blas_cgemm_zero_desc(d);
    Prec<R>::optimal(d);
    qalloc_fail_next(1);
    EXPECT_EQ(Prec<R>::par("N", "N", &m, &n, &k, &one, a.data(), &stride, b.data(), &stride, &two, c.data(), &m, 64, d),
              1);
    for (const auto &x : c) EXPECT_EQ(x, Cx<R>(2, -2));
    ASSERT_EQ(Prec<R>::par("N", "N", &m, &n, &k, &one, a.data(), &stride, b.data(), &stride, &one, c.data(), &m, 64, d),
              0);
    ASSERT_EQ(Prec<R>::par("N", "N", &m, &n, &k, &one, a.data(), &stride, b.data(), &stride, &two, once.data(), &m,
                           64, d),
              0);
    EXPECT_EQ(std::memcmp(c.data(), once.data(), c.size() * sizeof(c[0])), 0);
  }).join();
}

}  // namespace
