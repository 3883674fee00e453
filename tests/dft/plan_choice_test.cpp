// What commit chose, read from the node: the method that took it (by its
// place in the creator's list), fixed kernel or plan, tables and workspace;
// the 2049-byte rule of the small plan, the fixed limits with user threads
// and in single precision, the threading layer's hand-over, and the limits
// of one-dimensional lengths.
#include <zor/dft_tier.h>

#include "dft_testing.hpp"

namespace {

using namespace zor::test;

enum Method { kSplitAxis, kSplitBatch, kSplitDirect, kFixed8to128, kFixed2to64, kSmallPlan, kThreaded };

int method_of(const DftNode *d) {
  for (int k = 0; d->method_list[k]; ++k)
    if (d->method_list[k] == d->owner_method) return k;
  return -1;
}

struct Committed : Descriptor {
  Committed(int32_t precision, int64_t n, double forward_scale = 1.0, int32_t user_threads = 1)
      : Descriptor(precision, n) {
    EXPECT_EQ(zor_fft_set_scale(d, DFT_FORWARD_SCALE, forward_scale), 0);
    EXPECT_EQ(zor_fft_set_value(d, DFT_NUMBER_OF_USER_THREADS, user_threads), 0);
    EXPECT_EQ(zor_fft_commit(d), 0);
  }
};

TEST(DftPlanChoice, ByLength) {
  {
    Committed c(DFT_DOUBLE, 1);
    EXPECT_EQ(method_of(c), kSmallPlan);
    ASSERT_NE(c->plans[DFT_PLAN_ORDERED + 1], nullptr);
    EXPECT_EQ(c->plans[DFT_PLAN_ORDERED + 1]->work_size, 0);
  }
  for (int64_t n : {2, 4}) EXPECT_EQ(method_of(Committed(DFT_DOUBLE, n)), kFixed2to64) << n;
  EXPECT_EQ(method_of(Committed(DFT_DOUBLE, 64)), kFixed8to128);
  {
    Committed c(DFT_DOUBLE, 1024);
    EXPECT_EQ(method_of(c), kThreaded);
    EXPECT_EQ(c->uses_plan, 0);
    EXPECT_NE(c->kernel_tables, nullptr);
    EXPECT_EQ(c->work_size, 16384);
    EXPECT_NE(c->workspace, nullptr);
    EXPECT_EQ(c->flags & (DFT_FLAG_SINGLE_THREAD_DIRECT | DFT_FLAG_CALL_KERNEL_DIRECTLY),
              DFT_FLAG_SINGLE_THREAD_DIRECT | DFT_FLAG_CALL_KERNEL_DIRECTLY);
  }
  for (int64_t n : {2048, 4096}) {
    Committed c(DFT_DOUBLE, n);
    EXPECT_EQ(method_of(c), kThreaded);
    EXPECT_EQ(c->uses_plan, 1);
    const DftPlan *p = c->plans[DFT_PLAN_ORDERED + 1];
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->tag, DFT_PLAN_TAG_COMPLEX);
    ASSERT_NE(p->fft, nullptr);
    EXPECT_EQ(p->fft->tag, DFT_PLAN_TAG_POW2_COMPLEX);
    EXPECT_EQ(c->work_size, 16 * n + 32);
  }
  {
    Committed c(DFT_DOUBLE, 4097);  // 17 * 241: the chirp inside the plan
    const DftPlan *p = c->plans[DFT_PLAN_ORDERED + 1];
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->mixed, 0);
    EXPECT_EQ(p->conv_length, 16384);
    EXPECT_NE(p->sub_plan, nullptr);
  }
}

// The small plan keeps plans whose work is below 2049 bytes: a power of two
// of 64 (1056 bytes) or a mixed 120 (1984), not 128 (2080) or 125 (2064).
TEST(DftPlanChoice, SmallPlanBelow2049Bytes) {
  for (int64_t n : {64, 120, 128, 125}) {
    Committed c(DFT_DOUBLE, n, 1.0 / double(n));
    bool small = n == 64 || n == 120;
    EXPECT_EQ(method_of(c), small ? kSmallPlan : kThreaded) << n;
    if (small) EXPECT_EQ(c->plans[DFT_PLAN_ORDERED + 1]->scale_forward, 1);
  }
  // Scale modes match by exact equality with 1/n and 1/sqrt n.
  EXPECT_EQ(method_of(Committed(DFT_DOUBLE, 60, 1.0 / 60.0)), kSmallPlan);
  EXPECT_EQ(method_of(Committed(DFT_DOUBLE, 60, std::nextafter(1.0 / 60.0, 1.0))), kThreaded);
}

TEST(DftPlanChoice, FixedLimits) {
  // Two user threads: the fixed limit is 128; the workspace holds two blocks.
  Committed one(DFT_DOUBLE, 256, 0.5), two(DFT_DOUBLE, 256, 0.5, 2);
  EXPECT_EQ(one->uses_plan, 0);
  EXPECT_EQ(two->uses_plan, 1);
  EXPECT_EQ(two->threads, 1);
  EXPECT_NE(two->thread_slots, nullptr);
  EXPECT_GE(two->max_work_size, two->work_size);
  // Single precision keeps fixed kernels of lengths 2 and 4 only.
  EXPECT_EQ(Committed(DFT_SINGLE, 4, 0.5)->uses_plan, 0);
  EXPECT_EQ(Committed(DFT_SINGLE, 8, 0.5)->uses_plan, 1);
  EXPECT_EQ(method_of(Committed(DFT_SINGLE, 8)), kFixed8to128);
}

// With the commit hooks on and two threads, a batch keeps two threads and
// its compute is handed to the threading layer (whose lines take the plan,
// not the fixed kernel of one thread).
// Both precisions, both directions, in place and out of place: the threading
// layer's drivers against the same transforms on one thread.
template <class T>
void hand_over(bool out_of_place) {
  const int64_t n = 1024, count = 64;
  Rng rng(7);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed << " size " << sizeof(T) << " out " << out_of_place);
  auto x = random_line<T>(n * count, rng);
  std::vector<std::vector<std::complex<T>>> spectra, round_trips;
  for (int32_t threads : {1, 2}) {
    zor_core_dft_policy(threads > 1, threads, threads);
    Descriptor d(precision_of<T>, n);
    ASSERT_EQ(zor_fft_set_number_of_transforms(d, count), 0);
    ASSERT_EQ(zor_fft_set_input_distance(d, n), 0);
    ASSERT_EQ(zor_fft_set_output_distance(d, n), 0);
    if (out_of_place) ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
    ASSERT_EQ(zor_fft_commit(d), 0);
    EXPECT_EQ(d->threads, threads);
    EXPECT_EQ(d->commit_hooks_enabled, threads > 1);
    auto y = x, z = x;
    if (out_of_place) {
      ASSERT_EQ(zor_fft_forward_out(d, x.data(), y.data()), 0);
      ASSERT_EQ(zor_fft_backward_out(d, y.data(), z.data()), 0);
    } else {
      ASSERT_EQ(zor_fft_forward(d, y.data()), 0);
      z = y;
      ASSERT_EQ(zor_fft_backward(d, z.data()), 0);
    }
    spectra.push_back(y);
    round_trips.push_back(z);
  }
  zor_core_dft_policy(0, 1, 1);
  EXPECT_LE(relative_error(spectra[1], std::vector<cl>(spectra[0].begin(), spectra[0].end())), error_bound<T>(n));
  EXPECT_LE(relative_error(round_trips[1], std::vector<cl>(x.begin(), x.end()), n), 2 * error_bound<T>(n));
}

TEST(DftPlanChoice, ThreadingLayerHandOver) {
  for (bool out : {false, true}) {
    hand_over<double>(out);
    hand_over<float>(out);
  }
}

TEST(DftPlanChoice, LengthLimits) {
  // 2^26 + 1 is above the plan limit of other lengths: ordering 49 has no
  // path for it.
  Descriptor d(DFT_DOUBLE, 0x1000001);
  ASSERT_EQ(zor_fft_set_value(d, DFT_ORDERING, DFT_BACKWARD_SCRAMBLED), 0);
  EXPECT_EQ(zor_fft_commit(d), DFT_1D_LENGTH_EXCEEDS_INT32);
  EXPECT_EQ(d->commit_status, DFT_UNCOMMITTED);
  // A power of two above 2^26 commits by four steps in natural order only.
  Descriptor big(DFT_DOUBLE, 0x8000000);
  ASSERT_EQ(zor_fft_set_value(big, DFT_ORDERING, DFT_BACKWARD_SCRAMBLED), 0);
  EXPECT_EQ(zor_fft_commit(big), DFT_1D_LENGTH_EXCEEDS_INT32);
  ASSERT_EQ(zor_fft_set_value(big, DFT_ORDERING, DFT_ORDERED), 0);
  EXPECT_EQ(zor_fft_commit(big), 0);
  EXPECT_NE(big->four_step_state, nullptr);
}

// A prime above that limit in natural order, out of place, has no split for
// the four steps and goes to the node-level chirp through a child of 2^26
// points (several GiB: long label).
TEST(DftPlanChoiceLong, NodeLevelChirp) {
  const int64_t n = 0x100002b;
  Descriptor d(DFT_DOUBLE, n);
  ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  ASSERT_EQ(zor_fft_commit(d), 0);
  EXPECT_EQ(d->four_step_state, nullptr);
  EXPECT_NE(d->extra_state, nullptr);
  EXPECT_NE(d->kernels[DFT_WHOLE_D_FORWARD], nullptr);
  std::vector<cd> x(static_cast<size_t>(n)), y(static_cast<size_t>(n));
  x[3] = 1;
  ASSERT_EQ(zor_fft_forward_out(d, x.data(), y.data()), 0);
  double worst = 0;
  for (int64_t k = 0; k < n; k += 4099)
    worst = std::max(worst, std::abs(y[size_t(k)] - std::polar(1.0, -2 * M_PI * double(3 * k % n) / double(n))));
  EXPECT_LE(worst, 1e-9);
}

}  // namespace
