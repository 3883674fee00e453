// The pooled allocator's rules, observed through the addresses it returns
// and the statistics of zor_serv_zor_memstat. Each scenario runs on a fresh
// thread so that it starts with an empty record.

#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include <zor/serv.h>

#include "common/testing.hpp"

namespace {

using zor::test::on_new_thread;
using zor::test::pool_stat;
using zor::test::PoolStat;

constexpr uint64_t kLimit = 41943040;

TEST(Pool, ZeroSizeGivesNullAndNoSlot) {
  on_new_thread([] {
    PoolStat before = pool_stat();
    for (int32_t a : {0, 1, 3, 4, 6, 8, 12, 64, 128}) EXPECT_EQ(zor_serv_allocate(0, a), nullptr);
    EXPECT_EQ(zor_serv_zor_malloc(0, 64), nullptr);
    EXPECT_EQ(zor_serv_zor_calloc(0, 8, 64), nullptr);
    EXPECT_EQ(zor_serv_zor_realloc(nullptr, 0), nullptr);
    PoolStat after = pool_stat();
    EXPECT_EQ(after.count, before.count);
    EXPECT_EQ(after.bytes, before.bytes);
  });
}

TEST(Pool, ReusesTheSameBlock) {
  on_new_thread([] {
    void *p = zor_serv_allocate(1 << 20, 128);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 128, 0u);
    std::memset(p, 1, 1 << 20);
    zor_serv_deallocate(p);
    EXPECT_EQ(zor_serv_allocate(1 << 20, 128), p);
    zor_serv_deallocate(p);
  });
}

// Pooled blocks cost exactly their capacity; direct ones 16 bytes of header more.
TEST(Pool, LimitIsInclusive) {
  on_new_thread([] {
    PoolStat s0 = pool_stat();
    void *pooled = zor_serv_allocate(kLimit, 0);
    PoolStat s1 = pool_stat();
    EXPECT_EQ(s1.bytes - s0.bytes, int64_t(kLimit));
    void *direct = zor_serv_allocate(kLimit + 1, 0);
    PoolStat s2 = pool_stat();
    EXPECT_EQ(s2.bytes - s1.bytes, int64_t(kLimit + 1 + 16));
    EXPECT_EQ(s2.count - s1.count, 1);
    zor_serv_deallocate(direct);
    EXPECT_EQ(pool_stat().bytes, s1.bytes);  // the direct block is gone, the pooled one stays
    zor_serv_deallocate(pooled);
    zor_serv_zor_thread_free_buffers();
  });
}

TEST(Pool, SixthBufferIsDirect) {
  on_new_thread([] {
    PoolStat s0 = pool_stat();
    void *p[6];
    for (int i = 0; i < 6; ++i) p[i] = zor_serv_allocate(1000, 0);
    PoolStat s1 = pool_stat();
    EXPECT_EQ(s1.count - s0.count, 6);
    EXPECT_EQ(s1.bytes - s0.bytes, 6 * 1000 + 16);
    for (void *q : p) zor_serv_deallocate(q);
    PoolStat s2 = pool_stat();
    EXPECT_EQ(s2.count - s0.count, 5);
    EXPECT_EQ(s2.bytes - s0.bytes, 5 * 1000);
    zor_serv_zor_thread_free_buffers();
  });
}

TEST(Pool, ExactFitThenFirstLargerThenFirstSmaller) {
  on_new_thread([] {
    void *small = zor_serv_allocate(100, 0);
    void *large = zor_serv_allocate(200, 0);
    zor_serv_deallocate(small);
    zor_serv_deallocate(large);
    void *p = zor_serv_allocate(200, 0);
    EXPECT_EQ(p, large);  // exact fit
    zor_serv_deallocate(p);
    p = zor_serv_allocate(150, 0);
    EXPECT_EQ(p, large);  // first larger
    zor_serv_deallocate(p);
    p = zor_serv_allocate(50, 0);
    EXPECT_EQ(p, small);  // the larger 100 comes first
    zor_serv_deallocate(p);
    // Exact fit wins over a larger slot seen earlier.
    void *a = zor_serv_allocate(100, 0), *b = zor_serv_allocate(200, 0);
    zor_serv_deallocate(a);
    zor_serv_deallocate(b);
    p = zor_serv_allocate(200, 0);
    EXPECT_EQ(p, large);
    zor_serv_deallocate(p);
    zor_serv_zor_thread_free_buffers();
  });
}

TEST(Pool, FullTableReallocatesTheFirstSmallerSlot) {
  on_new_thread([] {
    PoolStat s0 = pool_stat();
    void *p[5];
    for (int i = 0; i < 5; ++i) p[i] = zor_serv_allocate(10 * (i + 1), 0);
    for (void *q : p) zor_serv_deallocate(q);
    void *big = zor_serv_allocate(1000, 0);
    PoolStat s1 = pool_stat();
    EXPECT_EQ(s1.count - s0.count, 5);
    EXPECT_EQ(s1.bytes - s0.bytes, 20 + 30 + 40 + 50 + 1000);
    zor_serv_deallocate(big);
    zor_serv_zor_thread_free_buffers();
  });
}

TEST(Pool, PadsDifferBetweenPooledAndDirectPaths) {
  on_new_thread([] {
    const int64_t size = 1000;
    struct Case {
      int32_t alignment;
      int64_t pooled_pad, direct_pad;
      uintptr_t result_alignment;
    };
    for (Case c : {Case{3, 0, 0, 1}, Case{4, 4, 0, 4}, Case{6, 64, 0, 64}, Case{12, 64, 64, 64},
                   Case{256, 256, 256, 256}}) {
      PoolStat s0 = pool_stat();
      void *p = zor_serv_allocate(size, c.alignment);
      PoolStat s1 = pool_stat();
      EXPECT_EQ(s1.bytes - s0.bytes, size + c.pooled_pad) << c.alignment;
      EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % c.result_alignment, 0u) << c.alignment;
      zor_serv_deallocate(p);
      zor_serv_zor_thread_free_buffers();

      s0 = pool_stat();
      void *q = zor_serv_zor_malloc(size, c.alignment);
      s1 = pool_stat();
      EXPECT_EQ(s1.bytes - s0.bytes, size + c.direct_pad + 16) << c.alignment;
      if (c.direct_pad) EXPECT_EQ(reinterpret_cast<uintptr_t>(q) % c.direct_pad, 0u) << c.alignment;
      zor_serv_zor_free(q);
      EXPECT_EQ(pool_stat().bytes, s0.bytes);
    }
  });
}

TEST(Pool, BlockReturnedFromAnotherThreadIsReusedByItsOwner) {
  on_new_thread([] {
    void *p = zor_serv_allocate(4096, 64);
    on_new_thread([p] { zor_serv_deallocate(p); });
    EXPECT_EQ(zor_serv_allocate(4096, 64), p);
    zor_serv_deallocate(p);
    zor_serv_zor_thread_free_buffers();
  });
}

TEST(Pool, DisableAfterFirstUseChangesNothing) {
  void *p = zor_serv_allocate(64, 0);
  zor_serv_deallocate(p);
  EXPECT_EQ(zor_serv_disable_fast_mm(), 0);
  PoolStat s = pool_stat();
  EXPECT_GE(s.count, 0);  // still pooled: -1 would mean disabled
}

TEST(PlainAllocator, ReallocKeepsContentsAndOffset) {
  auto p = static_cast<unsigned char *>(zor_serv_zor_realloc(nullptr, 100));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
  for (int i = 0; i < 100; ++i) p[i] = static_cast<unsigned char>(i);
  PoolStat s0 = pool_stat();
  auto q = static_cast<unsigned char *>(zor_serv_zor_realloc(p, 1 << 20));
  ASSERT_NE(q, nullptr);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(q[i], i);
  PoolStat s1 = pool_stat();
  EXPECT_EQ(s1.count, s0.count);
  // The old total (100 + 80) goes, the new one (size + the kept offset of 16..80) comes.
  EXPECT_GE(s1.bytes - s0.bytes, (1 << 20) + 16 - 180);
  EXPECT_LE(s1.bytes - s0.bytes, (1 << 20) + 80 - 180);
  auto c = static_cast<unsigned char *>(zor_serv_zor_calloc(10, 10, 16));
  for (int i = 0; i < 100; ++i) ASSERT_EQ(c[i], 0);
  zor_serv_zor_free(c);
  zor_serv_zor_free(q);
  zor_serv_zor_free(nullptr);
}

// Runs last within this program (name order is not guaranteed, so it leaves
// the registry empty for whatever follows).
TEST(Registry, FreeBuffersKeepsRecordsWhileABlockIsBusyThenEmptiesThem) {
  void *busy = nullptr;
  on_new_thread([&] { busy = zor_serv_allocate(5000, 0); });
  on_new_thread([] {
    void *p = zor_serv_allocate(3000, 0);
    zor_serv_deallocate(p);
  });
  zor_serv_freebuffers();
  PoolStat s = pool_stat();
  EXPECT_GE(s.count, 1);  // the busy slot keeps its record and its count
  EXPECT_GE(s.bytes, 5000);
  zor_serv_deallocate(busy);  // from another thread than its owner
  zor_serv_freebuffers();
  s = pool_stat();
  EXPECT_EQ(s.count, 0);
  EXPECT_EQ(s.bytes, 0);
}

// With the registry full, new threads get header-prefixed blocks.
TEST(Registry, HoldsAtMost1024Threads) {
  zor_serv_freebuffers();
  int direct = 0;
  for (int i = 0; i < 1100; ++i) {
    on_new_thread([&] {
      PoolStat s0 = pool_stat();
      void *p = zor_serv_allocate(64, 0);
      PoolStat s1 = pool_stat();
      if (s1.bytes - s0.bytes == 64 + 16) ++direct;
      zor_serv_deallocate(p);
    });
  }
  EXPECT_EQ(direct, 1100 - 1024);
  zor_serv_freebuffers();
  PoolStat s = pool_stat();
  EXPECT_EQ(s.count, 0);
  EXPECT_EQ(s.bytes, 0);
}

}  // namespace
