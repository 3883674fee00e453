// The provider's services as the tier relies on them.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <thread>

#include <zor/core.h>

namespace {

TEST(Provider, ForcedAnswersOverrideAndReturn) {
  int32_t measured = zor_serv_cpuhasqlx();
  EXPECT_EQ(zor_serv_cpuhasqlx(), measured);  // stable
  zor_core_force(ZOR_CORE_CPUHASQLX, 1 - measured);
  EXPECT_EQ(zor_serv_cpuhasqlx(), 1 - measured);
  zor_core_unforce(ZOR_CORE_CPUHASQLX);
  EXPECT_EQ(zor_serv_cpuhasqlx(), measured);

  zor_core_force(ZOR_CORE_MICROARCH, 33);
  EXPECT_EQ(zor_serv_get_microarchitecture(), 33);
  zor_core_unforce(ZOR_CORE_MICROARCH);
  zor_core_force(ZOR_CORE_CPU_DETECT, 4);
  EXPECT_EQ(zor_serv_cpu_detect(), 4);
  zor_core_unforce(ZOR_CORE_CPU_DETECT);
}

TEST(Provider, CacheInfoIsSaneAndClamped) {
  int32_t info[3] = {-1, -1, -1};
  zor_serv_cache_info(info);
  EXPECT_GE(info[0], 0);
  EXPECT_LE(info[0], 2);
  if (info[0] >= 1) EXPECT_GE(info[1], 4096);
  if (info[0] >= 2) EXPECT_GE(info[2], info[1]);
  EXPECT_GT(zor_serv_get_cache_size(0), 0);

  zor_core_force(ZOR_CORE_L2_SIZE, int64_t(1) << 40);  // beyond 32 bits: clamped
  zor_serv_cache_info(info);
  EXPECT_EQ(info[2], INT32_MAX);
  zor_core_force(ZOR_CORE_CACHE_LEVELS, 0);
  zor_serv_cache_info(info);
  EXPECT_EQ(info[0], 0);
  zor_core_unforce(ZOR_CORE_L2_SIZE);
  zor_core_unforce(ZOR_CORE_CACHE_LEVELS);
}

TEST(Provider, CheckPtrNamesTheRoutine) {
  int anything = 0;
  EXPECT_EQ(zor_serv_check_ptr(&anything, "xgemm"), 0);
  testing::internal::CaptureStderr();
  EXPECT_NE(zor_serv_check_ptr(nullptr, "xgemm3m"), 0);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("xgemm3m"), std::string::npos);
}

TEST(Provider, ThreadFunctionLookupNeverFails) {
  zor_thread_fun f = zor_serv_load_thread_fun("zor_dft_no_such_thing");
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(f(), 7);
  EXPECT_NE(zor_serv_load_thread_fun(nullptr), nullptr);
}

TEST(Provider, MessagesArePerThreadAndFormatted) {
  std::string here = zor_serv_zor_get_msg(1001, 1, "bad length");
  EXPECT_NE(here.find("bad length"), std::string::npos);
  std::string unknown = zor_serv_zor_get_msg(987654, 0);
  EXPECT_NE(unknown.find("987654"), std::string::npos);
  const char *mine = zor_serv_zor_get_msg(771, 0);
  std::thread([&] { zor_serv_zor_get_msg(1001, 1, "other thread"); }).join();
  EXPECT_STREQ(mine, "Internal error");  // another thread's call did not overwrite it
}

TEST(Provider, VersionSinCosAndThreadCount) {
  char text[198];
  zor_serv_getversionstring_c(text, sizeof text);
  EXPECT_GT(std::strlen(text), 10u);
  char tiny[8];
  zor_serv_getversionstring_c(tiny, sizeof tiny);
  EXPECT_EQ(std::strlen(tiny), 7u);
  double s, c;
  zor_serv_libm_sincos(0.5, &s, &c);
  EXPECT_DOUBLE_EQ(s, std::sin(0.5));
  EXPECT_DOUBLE_EQ(c, std::cos(0.5));
  float sf, cf;
  zor_serv_libm_sincosf(0.5f, &sf, &cf);
  EXPECT_FLOAT_EQ(sf, std::sin(0.5f));
  int64_t threads = 0;
  zor_pdepl_pl_get_max_thread(&threads);
  EXPECT_GE(threads, 1);
}

}  // namespace
