#include <gtest/gtest.h>
#include <zor/serv.h>
TEST(Identity, Tier) { EXPECT_EQ(dll_cpu_version(), 2); }
