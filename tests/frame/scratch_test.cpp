// The tier-internal 32-byte-aligned scratch blocks (built into this program
// from the memory manager's source, since they are not exported).
#include <gtest/gtest.h>

#include <cstring>

#include "frame/memory.hpp"

namespace {

TEST(Scratch, AlignedWithRawPointerInFrontAndNoStatistics) {
  int32_t count0 = 0, count1 = 0;
  int64_t bytes0 = zor_serv_zor_memstat(&count0);
  EXPECT_EQ(zor::frame::scratch_malloc32(0), nullptr);
  EXPECT_EQ(zor::frame::scratch_malloc32(-5), nullptr);
  for (int32_t n : {1, 7, 32, 1000, 1 << 20}) {
    auto p = static_cast<unsigned char *>(zor::frame::scratch_malloc32(n));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 32, 0u);
    auto raw = static_cast<unsigned char *>(reinterpret_cast<void **>(p)[-1]);
    EXPECT_GE(p - raw, 8);  // room for the stored pointer
    EXPECT_LE(p - raw, 39);
    std::memset(p, 0x5a, size_t(n));
    zor::frame::scratch_free32(p);
  }
  zor::frame::scratch_free32(nullptr);
  EXPECT_EQ(zor_serv_zor_memstat(&count1), bytes0);
  EXPECT_EQ(count1, count0);
}

}  // namespace
