// Load and unload as functions: the exit table, its retry schedule, the
// attachment count and the order of exit functions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "frame/attach.hpp"

namespace {

using zor::frame::AttachPlatform;
using zor::frame::FrameState;

int failures_left = 0;
std::vector<uint32_t> pauses;
void *failing_malloc(size_t n) {
  if (failures_left > 0) {
    --failures_left;
    return nullptr;
  }
  return std::malloc(n);
}
void record_pause(uint32_t ms) { pauses.push_back(ms); }
const AttachPlatform platform{&failing_malloc, &std::free, &record_pause};

TEST(Attach, CountsAndDetachesOnce) {
  FrameState s;
  failures_left = 0;
  ASSERT_TRUE(zor::frame::attach(s, platform));
  EXPECT_EQ(s.attachments, 1);
  ASSERT_NE(s.exit_table, nullptr);
  EXPECT_EQ(s.exit_table[0], nullptr);
  EXPECT_TRUE(zor::frame::detach(s, platform));  // nothing registered: success
  EXPECT_EQ(s.exit_table, nullptr);
  EXPECT_FALSE(zor::frame::detach(s, platform));  // a second detach fails
}

std::vector<int> order;
TEST(Attach, ExitFunctionsRunLastFirst) {
  FrameState s;
  failures_left = 0;
  ASSERT_TRUE(zor::frame::attach(s, platform));
  order.clear();
  ASSERT_TRUE(zor::frame::register_exit(s, [] { order.push_back(1); }));
  ASSERT_TRUE(zor::frame::register_exit(s, [] { order.push_back(2); }));
  ASSERT_TRUE(zor::frame::register_exit(s, nullptr));
  ASSERT_TRUE(zor::frame::detach(s, platform));
  EXPECT_EQ(order, (std::vector<int>{2, 1}));
}

TEST(Attach, RetriesThenSucceeds) {
  FrameState s;
  failures_left = 3;
  pauses.clear();
  ASSERT_TRUE(zor::frame::attach(s, platform));
  EXPECT_EQ(pauses, (std::vector<uint32_t>{0, 1000, 2000}));
  zor::frame::detach(s, platform);
}

TEST(Attach, GivesUpPastOneMinute) {
  FrameState s;
  failures_left = 1 << 30;
  pauses.clear();
  EXPECT_FALSE(zor::frame::attach(s, platform));
  EXPECT_EQ(s.attachments, 0);
  ASSERT_EQ(pauses.size(), 61u);  // 0, 1000, ..., 60000
  for (size_t i = 0; i < pauses.size(); ++i) EXPECT_EQ(pauses[i], 1000 * i);
}

}  // namespace
