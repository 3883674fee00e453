// Late-bound threading functions: looked up once, then called directly.
#include <gtest/gtest.h>

#include "frame/late_binding.hpp"

namespace {

int64_t calls = 0;
int64_t local_function(int64_t a, int64_t b) {
  ++calls;
  return a + b;
}

TEST(LateBinding, FilledCellIsCalledWithoutLookup) {
  zor::frame::LateCell cell{"zor_dft_bless_node_omp"};
  cell.fn.store(reinterpret_cast<void *>(&local_function));
  calls = 0;
  EXPECT_EQ((zor::frame::call_late<int64_t>(cell, int64_t(2), int64_t(3))), 5);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(cell.fn.load(), reinterpret_cast<void *>(&local_function));
}

TEST(LateBinding, UnknownNameYieldsStatusSevenAndStaysBound) {
  zor::frame::LateCell cell{"zor_dft_no_such_function"};
  EXPECT_EQ(zor::frame::call_late<int64_t>(cell), 7);
  void *bound = cell.fn.load();
  ASSERT_NE(bound, nullptr);
  EXPECT_EQ(zor::frame::call_late<int64_t>(cell), 7);
  EXPECT_EQ(cell.fn.load(), bound);
}

}  // namespace
