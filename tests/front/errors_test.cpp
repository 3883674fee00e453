// The error machinery around the front's names: the handler a program sets
// (atomic exchange, precedence over xerbla_), each thread's last error, and
// the default xerbla_, which prints the reference's line and returns.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include <zor/fortran_blas.h>

namespace {

std::atomic<int> handled{0};
std::string handled_routine;
int64_t handled_position = 0;
void recording_handler(const char *routine, int64_t position) {
  handled_routine = routine;
  handled_position = position;
  ++handled;
}
void other_handler(const char *, int64_t) {}

// dgemm_ with the leading dimension of A (position 8) too small.
void bad_dgemm(double *c) {
  const int two = 2, one = 1;
  const double a[4] = {1, 2, 3, 4}, alpha = 1, beta = 0;
  dgemm_("N", "N", &two, &two, &two, &alpha, a, &one, a, &two, &beta, c, &two);
}

TEST(FrontErrors, DefaultXerblaPrintsTheLineAndReturns) {
  double c[4] = {9, 9, 9, 9};
  testing::internal::CaptureStderr();
  bad_dgemm(c);
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(printed, "Parameter 8 to routine DGEMM  was incorrect\n");
  EXPECT_EQ(c[0], 9);  // nothing written
  const char *routine = nullptr;
  EXPECT_EQ(zor_blas_last_error(&routine), 8);
  EXPECT_STREQ(routine, "DGEMM");
  zor_blas_clear_last_error();
  EXPECT_EQ(zor_blas_last_error(nullptr), 0);
}

TEST(FrontErrors, HandlerTakesPrecedenceAndIsExchangedAtomically) {
  EXPECT_EQ(zor_blas_set_error_handler(recording_handler), nullptr);
  double c[4] = {9, 9, 9, 9};
  testing::internal::CaptureStderr();
  bad_dgemm(c);
  const int64_t n = -3, one = 1;
  const double x = 1;
  double y = 0;
  dgemv_64_("T", &one, &n, &x, &x, &one, &x, &one, &x, &y, &one);  // n negative: position 3
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");  // xerbla_ was not called
  EXPECT_EQ(handled.load(), 2);
  EXPECT_EQ(handled_routine, "DGEMV");
  EXPECT_EQ(handled_position, 3);
  EXPECT_EQ(zor_blas_set_error_handler(other_handler), recording_handler);
  EXPECT_EQ(zor_blas_set_error_handler(nullptr), other_handler);
}

TEST(FrontErrors, LastErrorIsPerThread) {
  zor_blas_set_error_handler(other_handler);
  double c[4];
  bad_dgemm(c);
  int64_t seen_elsewhere = -1, after_own = -1;
  std::thread t([&] {
    seen_elsewhere = zor_blas_last_error(nullptr);
    const int m = -1, one = 1;
    const double x = 1;
    double a = 0;
    dger_(&m, &one, &x, &x, &one, &x, &one, &a, &one);  // m negative: position 1
    after_own = zor_blas_last_error(nullptr);
  });
  t.join();
  EXPECT_EQ(seen_elsewhere, 0);
  EXPECT_EQ(after_own, 1);
  EXPECT_EQ(zor_blas_last_error(nullptr), 8);
  zor_blas_set_error_handler(nullptr);
}

TEST(FrontErrors, LsameAndXerblaArray) {
  EXPECT_TRUE(lsame_("a", "A", 1, 1));
  EXPECT_TRUE(lsame_("Q", "q", 1, 1));
  EXPECT_FALSE(lsame_("a", "b", 1, 1));
  EXPECT_FALSE(lsame_("@", "`", 1, 1));  // not letters: no case to fold
  testing::internal::CaptureStderr();
  const int length = 8, info = 3;
  xerbla_array_("DGEMMXYZ", &length, &info, 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Parameter 3 to routine DGEMMXYZ                         was incorrect\n");
}

}  // namespace
