// The raw allocator comes from the allocator module when it is present;
// every allocation failure of the manager is provoked through it.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include <zor/serv.h>

#include "qalloc_module.h"

namespace {

struct Stat {
  int32_t count;
  int64_t bytes;
};
Stat stat() {
  Stat s{};
  s.bytes = zor_serv_zor_memstat(&s.count);
  return s;
}

template <class F>
void on_new_thread(F &&f) {
  std::thread(std::forward<F>(f)).join();
}

TEST(AllocatorModule, HooksAreTakenAndCallocIsNeverCalled) {
  long mallocs = qalloc_count(QALLOC_MALLOC), frees = qalloc_count(QALLOC_FREE);
  void *p = zor_serv_zor_malloc(100, 16);
  void *c = zor_serv_zor_calloc(4, 25, 16);
  ASSERT_NE(p, nullptr);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(qalloc_count(QALLOC_MALLOC), mallocs + 2);
  EXPECT_EQ(qalloc_count(QALLOC_CALLOC), 0);
  zor_serv_zor_free(p);
  zor_serv_zor_free(c);
  EXPECT_EQ(qalloc_count(QALLOC_FREE), frees + 2);
}

TEST(AllocatorModule, FailedRegistrationTakesTheDirectPath) {
  on_new_thread([] {
    Stat s0 = stat();
    qalloc_fail_next(1);  // the thread record
    void *p = zor_serv_allocate(500, 0);
    ASSERT_NE(p, nullptr);
    Stat s1 = stat();
    EXPECT_EQ(s1.bytes - s0.bytes, 500 + 16);
    zor_serv_deallocate(p);
    EXPECT_EQ(stat().bytes, s0.bytes);
  });
}

TEST(AllocatorModule, FailedSlotAllocationReturnsNullAndKeepsTheSlot) {
  on_new_thread([] {
    void *first = zor_serv_allocate(100, 0);  // registers the thread
    zor_serv_deallocate(first);
    qalloc_fail_next(1);
    EXPECT_EQ(zor_serv_allocate(300, 0), nullptr);  // appended slot, block failed
    Stat s0 = stat();
    void *again = zor_serv_allocate(300, 0);  // the failed slot stays in use: a new slot
    ASSERT_NE(again, nullptr);
    EXPECT_NE(again, first);
    Stat s1 = stat();
    EXPECT_EQ(s1.count - s0.count, 1);
    zor_serv_deallocate(again);
    zor_serv_zor_thread_free_buffers();
  });
}

TEST(AllocatorModule, DirectFailureReturnsNullAndCountsNothing) {
  Stat s0 = stat();
  qalloc_fail_next(1);
  EXPECT_EQ(zor_serv_zor_malloc(100, 64), nullptr);
  qalloc_fail_next(1);
  EXPECT_EQ(zor_serv_zor_calloc(10, 10, 64), nullptr);
  qalloc_fail_next(1);
  EXPECT_EQ(zor_serv_allocate(41943041, 0), nullptr);  // above the pooling limit
  Stat s1 = stat();
  EXPECT_EQ(s1.count, s0.count);
  EXPECT_EQ(s1.bytes, s0.bytes);
}

TEST(AllocatorModule, FailedReallocKeepsTheOldBlock) {
  auto p = static_cast<char *>(zor_serv_zor_malloc(64, 16));
  ASSERT_NE(p, nullptr);
  std::strcpy(p, "kept");
  Stat s0 = stat();
  qalloc_fail_next(1);
  EXPECT_EQ(zor_serv_zor_realloc(p, 1 << 20), nullptr);
  EXPECT_STREQ(p, "kept");
  Stat s1 = stat();
  // The statistic was lowered before the attempt and stays lowered.
  EXPECT_EQ(s1.count, s0.count);
  EXPECT_LT(s1.bytes, s0.bytes);
  zor_serv_zor_free(p);
}

}  // namespace
