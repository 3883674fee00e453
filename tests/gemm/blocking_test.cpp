// Descriptors, kernel rows, the block-size rules of every precision, buffers,
// and the later generation's buffer sizing reached through the provider.
#include <dlfcn.h>

#include <cstring>

#include "gemm_testing.hpp"

namespace {

using zor::test::Desc;
using zor::test::ForcedAnswer;
using zor::test::Gemm;

struct RowValues {
  int64_t um, un, uk;
  int32_t dup;
  int64_t mm, mn, mk;
  int32_t mask;
};

template <class R>
void expect_row(zor_gemm_desc *d, const RowValues &v) {
  EXPECT_EQ(d->unroll_m, v.um);
  EXPECT_EQ(d->unroll_n, v.un);
  EXPECT_EQ(d->unroll_k, v.uk);
  EXPECT_EQ(d->b_dup, v.dup);
  EXPECT_EQ(d->min_m, v.mm);
  EXPECT_EQ(d->min_n, v.mn);
  EXPECT_EQ(d->min_k, v.mk);
  EXPECT_EQ(d->plan_mask, v.mask);
}

TEST(GemmDescriptor, RowsAsTabledAndBoundFunctions) {
  const RowValues d0{4, 4, 4, 2, 2, 2, 2, 382}, d1{4, 4, 4, 1, 4, 4, 4, 126};
  const RowValues s0{8, 4, 4, 4, 8, 2, 2, 382}, s1{8, 4, 4, 2, 8, 4, 4, 126};
  Desc a = Desc::row<double>(0), b = Desc::row<double>(1), c = Desc::row<float>(0), e = Desc::row<float>(1);
  expect_row<double>(a.get(), d0);
  expect_row<double>(b.get(), d1);
  expect_row<float>(c.get(), s0);
  expect_row<float>(e.get(), s1);
  EXPECT_EQ(b->kernel_index, 1);
  // Row 1 shares row 0's buffer functions and binds its own copies; the
  // conjugate copies of a real row are the transposed ones.
  EXPECT_EQ(reinterpret_cast<void *>(a->get_bufs_size), reinterpret_cast<void *>(zor_blas_dgemm_get_bufs_size));
  EXPECT_EQ(reinterpret_cast<void *>(b->get_bufs_size), reinterpret_cast<void *>(zor_blas_dgemm_get_bufs_size));
  EXPECT_EQ(reinterpret_cast<void *>(b->get_blks_size), reinterpret_cast<void *>(zor_blas_dgemm_get_blks_size_bvr));
  EXPECT_EQ(reinterpret_cast<void *>(b->copy_an), reinterpret_cast<void *>(zor_blas_dgemm_copyan_bvr));
  EXPECT_EQ(reinterpret_cast<void *>(e->copy_bt), reinterpret_cast<void *>(zor_blas_sgemm_copybt_bvr));
  EXPECT_EQ(a->copy_ac, a->copy_at);
  EXPECT_EQ(a->copy_bc, a->copy_bt);
  EXPECT_NE(a->kernel, b->kernel);
}

TEST(GemmDescriptor, ZeroDescKeepsMinimaAndDupOptimalFollowsProcessor) {
  Desc d = Desc::row<double>(1);
  d->block_m = 7;
  d->a_bytes = 9;
  EXPECT_EQ(zor_blas_sgemm_zero_desc(d.get()), 0);
  EXPECT_EQ(d->block_m, 0);
  EXPECT_EQ(d->a_bytes, 0);
  EXPECT_EQ(d->unroll_m, 0);
  EXPECT_EQ(d->kernel, nullptr);
  EXPECT_EQ(d->min_m, 4);  // not cleared
  EXPECT_EQ(d->b_dup, 1);
  for (int row : {0, 1}) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    Desc o;
    zor_blas_dgemm_zero_desc(o.get());
    zor_blas_dgemm_get_optimal_kernel(o.get());
    EXPECT_EQ(o->kernel_index, row);
    EXPECT_EQ(o->b_dup, row == 0 ? 2 : 1);
  }
  int32_t count = 0;
  zor_blas_zgemm_num_kernels(&count);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(zor_blas_dgemm_api_support(), 1);
}

TEST(GemmDescriptor, GetKernelRefusesIndexTwoLeavingDescriptorAsItWas) {
  Desc d = Desc::row<float>(0);
  d->block_k = 33;
  Desc before = d;
  EXPECT_EQ(zor_blas_sgemm_get_kernel(2, d.get()), 1);
  EXPECT_EQ(std::memcmp(&before.storage, &d.storage, sizeof(zor_gemm_desc)), 0);
  EXPECT_EQ(zor_blas_dgemm_get_kernel(-1, d.get()), 1);
}

// The block rules of every precision and row at their boundaries, with a
// large second-level cache where row 1 asks.
TEST(GemmBlocking, RulesAtTheBoundaries) {
  struct Expect {
    char p;
    int row;
    int64_t m, n, k, bm, bn, bk;
  };
  const Expect cases[] = {
      {'d', 0, 1000, 1000, 256, 512, 1000, 256},  {'d', 1, 1000, 1000, 256, 1000, 1000, 256},
      {'d', 0, 5, 1, 257, 512, 4, 128},          // half of 257 truncated; N raised to unroll_n
      {'d', 1, 5, 6, 258, 1000, 8, 132},         // 129 rounded up to 4; row 1 rounds N up to unroll_n
      {'d', 0, 5, 9999, 511, 512, 9999, 256},    {'d', 1, 5, 20000, 512, 1000, 10000, 256},
      {'d', 0, 5, 6, 100, 512, 6, 128},          // raised to the floor
      {'d', 1, 5, 5, 255, 1000, 8, 256},         {'d', 0, 5, 5, 130, 512, 5, 132},
      {'s', 0, 5, 9999, 600, 1024, 5000, 256},   {'s', 1, 5, 20000, 301, 2000, 5000, 152},
      {'c', 0, 1000, 100, 384, 880, 100, 128},   // multiple of 128, not of 256: 128; 112640 / 128
      {'c', 0, 1000, 9000, 300, 748, 5000, 150}, // half of 300; 112640 / 150 rounded down to 4
      {'c', 0, 1000, 1, 1000, 440, 2, 256},      // 112640 / 256 = 440; N raised to unroll_n
      {'z', 0, 1000, 100, 448, 250, 100, 224},   // multiple of 224
      {'z', 0, 1000, 100, 449, 250, 100, 224},   // last branch
      {'z', 0, 3, 5, 2, 3, 5, 224},              // K' = 2: 56320 / 2 limited to M = 3
      {'z', 0, 1000, 3000, 100, 562, 2000, 224}, // K' = 100 below the block
      {'c', 1, 1000, 5, 100, 1000, 6, 128},      // row 1: at least 128; N rounded up to unroll_n
      {'z', 1, 1000, 5, 1024, 512, 6, 128},      {'z', 1, 1000, 5, 1025, 512, 6, 256},
  };
  ForcedAnswer levels(ZOR_CORE_CACHE_LEVELS, 2), l2(ZOR_CORE_L2_SIZE, 8 << 20);
  for (const Expect &e : cases) {
    zor_gemm_desc_storage storage;
    auto *d = reinterpret_cast<zor_gemm_desc *>(&storage);
    zor_blas_cgemm_zero_desc(d);
    using Rule = void (*)(const int64_t *, const int64_t *, const int64_t *, zor_gemm_desc *);
    Rule rules[2];
    switch (e.p) {
      case 'd': zor_blas_dgemm_get_kernel(e.row, d), rules[0] = zor_blas_dgemm_get_blks_size, rules[1] = zor_blas_dgemm_get_blks_size_bvr; break;
      case 's': zor_blas_sgemm_get_kernel(e.row, d), rules[0] = zor_blas_sgemm_get_blks_size, rules[1] = zor_blas_sgemm_get_blks_size_bvr; break;
      case 'c': zor_blas_cgemm_get_kernel(e.row, d), rules[0] = zor_blas_cgemm_get_blks_size, rules[1] = zor_blas_cgemm_get_blks_size_bvr; break;
      default: zor_blas_zgemm_get_kernel(e.row, d), rules[0] = zor_blas_zgemm_get_blks_size, rules[1] = zor_blas_zgemm_get_blks_size_bvr;
    }
    rules[e.row](&e.m, &e.n, &e.k, d);
    SCOPED_TRACE(testing::Message() << e.p << e.row << " m " << e.m << " n " << e.n << " k " << e.k);
    EXPECT_EQ(d->block_m, e.bm);
    EXPECT_EQ(d->block_n, e.bn);
    EXPECT_EQ(d->block_k, e.bk);
  }
}

// Row 1's row block: small when a level is known and the second level holds
// at most 3 MiB.
TEST(GemmBlocking, LaterRowBlockFollowsTheCache) {
  struct Cache {
    int64_t levels, l2, d, s;
  } caches[] = {{2, 0x300000, 448, 1024}, {2, 0x300001, 1000, 2000}, {0, 0x100000, 1000, 2000}};
  for (const auto &c : caches) {
    ForcedAnswer levels(ZOR_CORE_CACHE_LEVELS, c.levels), size(ZOR_CORE_L2_SIZE, c.l2);
    int64_t m = 5, n = 100, k = 300;
    Desc d1 = Desc::row<double>(1), s1 = Desc::row<float>(1);
    zor_blas_dgemm_get_blks_size_bvr(&m, &n, &k, d1.get());
    zor_blas_sgemm_get_blks_size_bvr(&m, &n, &k, s1.get());
    EXPECT_EQ(d1->block_m, c.d) << c.levels << " " << c.l2;
    EXPECT_EQ(s1->block_m, c.s) << c.levels << " " << c.l2;
  }
}

TEST(GemmBlocking, SetBlocksLeavesOnlyZeroFieldsToTheRule) {
  Desc d = Desc::row<double>(0);
  zor_blas_cgemm_set_blks_size(512, 0, 128, d.get());
  int64_t m = 3000, n = 77, k = 3000;
  zor_blas_dgemm_get_blks_size(&m, &n, &k, d.get());
  EXPECT_EQ(d->block_m, 512);
  EXPECT_EQ(d->block_n, 77);
  EXPECT_EQ(d->block_k, 128);
  zor_blas_dgemm_set_blks_size(0, 0, 0, d.get());
  zor_blas_dgemm_get_blks_size(&m, &n, &k, d.get());
  EXPECT_EQ(d->block_k, 256);
}

TEST(GemmBuffers, SizesByRequestAndMode) {
  Desc d = Desc::row<float>(0);  // unrolls 8, 4, 4; dup 4; e = 4
  zor_blas_cgemm_set_blks_size(1024, 5000, 256, d.get());
  int64_t m = 13, n = 9, k = 7;
  ASSERT_EQ(zor_blas_sgemm_get_bufs_size(100, 107, &m, &n, &k, d.get()), 0);
  EXPECT_EQ(d->a_bytes, 16 * 8 * 4 + 4096);
  EXPECT_EQ(d->a_panel_stride, 8 * 8);
  EXPECT_EQ(d->b_bytes, 12 * 8 * 4 + 4096);
  EXPECT_EQ(d->b_panel_stride, 8 * 4);
  EXPECT_EQ(d->dup_bytes, 8 * 4 * 4 * 4 + 4096);
  EXPECT_EQ(d->a_align_log2, 12);
  EXPECT_EQ(d->b_align_log2, 12);
  EXPECT_EQ(d->dup_align_log2, 7);
  ASSERT_EQ(zor_blas_sgemm_get_bufs_size(101, 108, &m, &n, &k, d.get()), 0);  // the blocks themselves
  EXPECT_EQ(d->a_bytes, 1024 * 256 * 4 + 4096);
  EXPECT_EQ(d->b_bytes, 12 * 8 * 4 + 4096);  // B not asked: unchanged
  EXPECT_EQ(zor_blas_sgemm_get_bufs_size(99, 107, &m, &n, &k, d.get()), 1);
  EXPECT_EQ(zor_blas_sgemm_get_bufs_size(107, 107, &m, &n, &k, d.get()), 1);
  EXPECT_EQ(zor_blas_sgemm_get_bufs_size(100, 106, &m, &n, &k, d.get()), 1);
  EXPECT_EQ(zor_blas_sgemm_get_bufs_size(103, 107, &m, &n, &k, d.get()), 0);  // sized, not allocated
}

TEST(GemmBuffers, OneAllocationLaidOutADupB) {
  Desc d = Desc::row<double>(0);
  int64_t m = 300, n = 70, k = 600;
  zor_blas_dgemm_get_blks_size(&m, &n, &k, d.get());
  zor_blas_dgemm_get_bufs_size(100, 107, &m, &n, &k, d.get());
  void *base = reinterpret_cast<void *>(1);
  ASSERT_EQ(zor_blas_dgemm_get_bufs(100, &base, d.get()), 0);
  ASSERT_NE(base, nullptr);
  auto addr = [](void *p) { return reinterpret_cast<uintptr_t>(p); };
  EXPECT_EQ(addr(d->a_buffer) % 4096, 0u);
  EXPECT_EQ(addr(d->dup_buffer) % 128, 0u);
  EXPECT_EQ(addr(d->b_buffer) % 4096, 0u);
  EXPECT_GE(addr(d->a_buffer), addr(base));
  EXPECT_GE(addr(d->dup_buffer), addr(d->a_buffer) + uint64_t(d->a_bytes));
  EXPECT_GE(addr(d->b_buffer), addr(d->dup_buffer) + uint64_t(d->dup_bytes));
  // The buffers can be written in full.
  std::memset(d->a_buffer, 1, size_t(d->a_bytes));
  std::memset(d->dup_buffer, 2, size_t(d->dup_bytes));
  std::memset(d->b_buffer, 3, size_t(d->b_bytes));
  zor_blas_dgemm_free_bufs(base);

  base = reinterpret_cast<void *>(1);
  EXPECT_EQ(zor_blas_dgemm_get_bufs(103, &base, d.get()), 1);
  EXPECT_EQ(base, nullptr);
  EXPECT_EQ(zor_blas_dgemm_get_bufs(42, &base, d.get()), 1);
}

// The later generation's buffer sizing is an export of the tier that jumps
// into the provider, which calls row 0's sizing back.
TEST(GemmBuffers, LaterGenerationSizingArrivesInProviderAndAgreesWithRowZero) {
  void *tier = dlopen("libzor_tier2.so.2", RTLD_NOW | RTLD_NOLOAD);
  if (!tier) tier = dlopen("libzor_tier2.so", RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(tier, nullptr);
  using Fn = int32_t (*)(int32_t, int32_t, const int64_t *, const int64_t *, const int64_t *, zor_gemm_desc *);
  auto bvr = reinterpret_cast<Fn>(dlsym(tier, "zor_blas_dgemm_get_bufs_size_bvr"));
  ASSERT_NE(bvr, nullptr);
  int64_t m = 77, n = 55, k = 33;
  Desc a = Desc::row<double>(1), b = Desc::row<double>(1);
  zor_blas_cgemm_set_blks_size(448, 100, 128, a.get());
  zor_blas_cgemm_set_blks_size(448, 100, 128, b.get());
  const int64_t hits = zor_core_passthrough_hits("zor_blas_dgemm_get_bufs_size_bvr");
  EXPECT_EQ(bvr(100, 107, &m, &n, &k, a.get()), 0);
  EXPECT_EQ(zor_core_passthrough_hits("zor_blas_dgemm_get_bufs_size_bvr"), hits + 1);
  EXPECT_EQ(zor_blas_dgemm_get_bufs_size(100, 107, &m, &n, &k, b.get()), 0);
  EXPECT_EQ(a->a_bytes, b->a_bytes);
  EXPECT_EQ(a->a_panel_stride, b->a_panel_stride);
  EXPECT_EQ(a->b_bytes, b->b_bytes);
  EXPECT_EQ(a->b_panel_stride, b->b_panel_stride);
  EXPECT_EQ(a->dup_bytes, b->dup_bytes);
  EXPECT_EQ(a->dup_bytes, 36 * 8 * 4 + 4096);
  EXPECT_EQ(bvr(100, 109, &m, &n, &k, a.get()), 1);
  dlclose(tier);
}

}  // namespace
