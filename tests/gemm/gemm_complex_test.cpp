// The complex rows beyond what the driver sweeps cover: the rows and the
// row tail agree bit for bit (depth 128, the fixed-depth kernel of row 0, and
// depths on both sides of row 1's buffer of lane swaps), the block rules, the
// panel layouts, and a failed allocation.
#include <gtest/gtest.h>

#include <zor/serv.h>

#include <thread>
#include <vector>

#include "gemm_testing.hpp"
#include "qalloc_module.h"

namespace {

using namespace zor::test;

template <class R>
class ComplexGemm : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ComplexGemm, Precisions);

// Both rows and the row-tail kernel form each element from the same
// depth-ordered sums: results agree to the last bit, depth 128 (the
// fixed-depth kernel of row 0) included.
TYPED_TEST(ComplexGemm, RowsAgreeBitForBit) {
  using R = TypeParam;
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
      ForcedAnswer force(ZOR_CORE_CPUHASQLX, 0);
      Gemm<Cx<R>>::xgemm("N", "T", m, n, k, &alpha, a.data(), m, b.data(), n, &beta, c0.data(), m);
    }
    {
      ForcedAnswer force(ZOR_CORE_CPUHASQLX, 1);
      Gemm<Cx<R>>::xgemm("N", "T", m, n, k, &alpha, a.data(), m, b.data(), n, &beta, c1.data(), m);
    }
    for (size_t i = 0; i < c0.size(); ++i) ASSERT_TRUE(same_bits(c0[i], c1[i])) << "k " << k << " at " << i;
  }
}

// Deeper than any depth block, through plan 64 with each row's own panels:
// row 1's lane swaps, formed once per column group (up to 512 steps) or at
// every depth step (beyond), give the bits of row 0.
TYPED_TEST(ComplexGemm, RowsAgreeBitForBitAtAnyDepth) {
  using R = TypeParam;
  Rng rng(4100);
  const int64_t m = 9, n = 5;
  for (int64_t k : {512, 516, 600}) {
    std::vector<Cx<R>> a(m * k), b(k * n), c0(m * n);
    for (auto &x : a) x = {R(rng.uniform()), R(rng.uniform())};
    for (auto &x : b) x = {R(rng.uniform()), R(rng.uniform())};
    for (auto &x : c0) x = {R(rng.uniform()), R(rng.uniform())};
    std::vector<Cx<R>> got[2];
    for (int row : {0, 1}) {
      Desc d = Desc::row<Cx<R>>(row);
      zor_blas_cgemm_set_blks_size(m, n, k, d.get());
      const int64_t astride = d->unroll_m * k, bstride = 2 * k;
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
  ForcedAnswer l2(ZOR_CORE_L2_SIZE, 8 << 20);
  for (const Expect &e : cases) {
    zor_blas_cgemm_zero_desc(d);
    if (e.z) zor_blas_zgemm_get_kernel(e.row, d);
    else zor_blas_cgemm_get_kernel(e.row, d);
    auto f = e.z ? (e.row ? zor_blas_zgemm_get_blks_size_bvr : zor_blas_zgemm_get_blks_size)
                 : (e.row ? zor_blas_cgemm_get_blks_size_bvr : zor_blas_cgemm_get_blks_size);
    f(&e.m, &e.n, &e.k, d);
    EXPECT_EQ(d->block_m, e.bm) << (e.z ? "z" : "c") << e.row << " k " << e.k;
    EXPECT_EQ(d->block_n, e.bn) << (e.z ? "z" : "c") << e.row << " k " << e.k;
    EXPECT_EQ(d->block_k, e.bk) << (e.z ? "z" : "c") << e.row << " k " << e.k;
  }
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
    Problem<Cx<R>> p('C', 'N', 37, 21, 44, 1, {R(0.5), R(1)}, {R(0.25), R(-0.5)}, 8, rng);
    p.run_ours();
    ASSERT_TRUE(p.check());

    // Pre-packed: C takes beta = 2 first; a retry with beta 1 gives the bits
    // of a call that succeeded at once.
    const int64_t m = 8, n = 4, k = 8, stride = 64;
    std::vector<Cx<R>> a(256), b(256), c(m * n, Cx<R>(1, -1));
    for (auto &x : a) x = Cx<R>(R(rng.uniform()), R(rng.uniform()));
    for (auto &x : b) x = Cx<R>(R(rng.uniform()), R(rng.uniform()));
    std::vector<Cx<R>> once = c;
    const Cx<R> one{1, 0}, two{2, 0};
    Desc d = Desc::row<Cx<R>>(1);
    qalloc_fail_next(1);
    EXPECT_EQ(Gemm<Cx<R>>::xgemm_par("N", "N", &m, &n, &k, &one, a.data(), &stride, b.data(), &stride, &two, c.data(), &m, 64, d.get()),
              1);
    for (const auto &x : c) EXPECT_EQ(x, Cx<R>(2, -2));
    ASSERT_EQ(Gemm<Cx<R>>::xgemm_par("N", "N", &m, &n, &k, &one, a.data(), &stride, b.data(), &stride, &one, c.data(), &m, 64, d.get()),
              0);
    ASSERT_EQ(Gemm<Cx<R>>::xgemm_par("N", "N", &m, &n, &k, &one, a.data(), &stride, b.data(), &stride, &two, once.data(), &m,
                           64, d.get()),
              0);
    EXPECT_EQ(std::memcmp(c.data(), once.data(), c.size() * sizeof(c[0])), 0);
  }).join();
}

}  // namespace
