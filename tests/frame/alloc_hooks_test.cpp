// The raw allocator comes from the allocator module when it is present;
// every allocation failure of the manager is provoked through it.

#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <thread>

#include <zor/serv.h>

#include "common/testing.hpp"

#include "qalloc_module.h"

namespace {

using zor::test::on_new_thread;
using zor::test::pool_stat;
using zor::test::PoolStat;

// A thread that stays alive between the steps it is given; run() returns when
// the step is done.
class Thread {
 public:
  Thread() : thread_([this] { loop(); }) {}
  ~Thread() {
    run(nullptr);
    thread_.join();
  }
  void run(std::function<void()> step) {
    std::unique_lock<std::mutex> lock(mutex_);
    step_ = std::move(step);
    pending_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !pending_; });
  }

 private:
  void loop() {
    for (bool more = true; more;) {
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait(lock, [this] { return pending_; });
      more = bool(step_);
      if (step_) step_();
      pending_ = false;
      changed_.notify_all();
    }
  }
  std::mutex mutex_;
  std::condition_variable changed_;
  std::function<void()> step_;
  bool pending_ = false;
  std::thread thread_;
};

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
    PoolStat s0 = pool_stat();
    qalloc_fail_next(1);  // the thread record
    void *p = zor_serv_allocate(500, 0);
    ASSERT_NE(p, nullptr);
    PoolStat s1 = pool_stat();
    EXPECT_EQ(s1.bytes - s0.bytes, 500 + 16);
    zor_serv_deallocate(p);
    EXPECT_EQ(pool_stat().bytes, s0.bytes);
  });
}

TEST(AllocatorModule, FailedSlotAllocationReturnsNullAndKeepsTheSlot) {
  on_new_thread([] {
    void *first = zor_serv_allocate(100, 0);  // registers the thread
    zor_serv_deallocate(first);
    qalloc_fail_next(1);
    EXPECT_EQ(zor_serv_allocate(300, 0), nullptr);  // appended slot, block failed
    PoolStat s0 = pool_stat();
    void *again = zor_serv_allocate(300, 0);  // the failed slot stays in use: a new slot
    ASSERT_NE(again, nullptr);
    EXPECT_NE(again, first);
    PoolStat s1 = pool_stat();
    EXPECT_EQ(s1.count - s0.count, 1);
    zor_serv_deallocate(again);
    zor_serv_zor_thread_free_buffers();
  });
}

// A slot emptied by thread_free_buffers must not claim the address its old
// block had: when the allocator hands that address to another thread's slot
// and this thread frees it, the owner's slot is the one released.
TEST(AllocatorModule, FreeOfAReusedAddressReachesItsOwner) {
  Thread a, b;
  void *held = nullptr, *gone = nullptr, *reused = nullptr, *again = nullptr;
  b.run([] {  // b's record exists, empty
    zor_serv_zor_thread_free_buffers();
    zor_serv_deallocate(zor_serv_allocate(64, 0));
  });
  a.run([&] {
    zor_serv_zor_thread_free_buffers();
    held = zor_serv_allocate(1000, 0);  // keeps a's slots registered
    gone = zor_serv_allocate(3000, 0);
    zor_serv_deallocate(gone);
    qalloc_reuse_last_freed(1);
    zor_serv_zor_thread_free_buffers();
  });
  b.run([&] { reused = zor_serv_allocate(3000, 0); });
  qalloc_reuse_last_freed(0);
  ASSERT_EQ(reused, gone);  // the allocator gave the same block to b
  a.run([&] { zor_serv_deallocate(reused); });
  b.run([&] {
    again = zor_serv_allocate(3000, 0);
    zor_serv_deallocate(again);
    zor_serv_zor_thread_free_buffers();
  });
  EXPECT_EQ(again, reused);  // b's slot was released and is reused
  a.run([&] {
    zor_serv_deallocate(held);
    zor_serv_zor_thread_free_buffers();
  });
}

TEST(AllocatorModule, DirectFailureReturnsNullAndCountsNothing) {
  PoolStat s0 = pool_stat();
  qalloc_fail_next(1);
  EXPECT_EQ(zor_serv_zor_malloc(100, 64), nullptr);
  qalloc_fail_next(1);
  EXPECT_EQ(zor_serv_zor_calloc(10, 10, 64), nullptr);
  qalloc_fail_next(1);
  EXPECT_EQ(zor_serv_allocate(41943041, 0), nullptr);  // above the pooling limit
  PoolStat s1 = pool_stat();
  EXPECT_EQ(s1.count, s0.count);
  EXPECT_EQ(s1.bytes, s0.bytes);
}

TEST(AllocatorModule, FailedReallocKeepsTheOldBlock) {
  auto p = static_cast<char *>(zor_serv_zor_malloc(64, 16));
  ASSERT_NE(p, nullptr);
  std::strcpy(p, "kept");
  PoolStat s0 = pool_stat();
  qalloc_fail_next(1);
  EXPECT_EQ(zor_serv_zor_realloc(p, 1 << 20), nullptr);
  EXPECT_STREQ(p, "kept");
  PoolStat s1 = pool_stat();
  // The statistic was lowered before the attempt and stays lowered.
  EXPECT_EQ(s1.count, s0.count);
  EXPECT_LT(s1.bytes, s0.bytes);
  zor_serv_zor_free(p);
}

}  // namespace
