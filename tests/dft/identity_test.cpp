// Pairs of computations that take the same kernel and so must agree to the
// bit: data at 16- and 8-byte offsets, in place and out of place, a batch and
// its lines one by one, strided and contiguous lines, a node shared by user
// threads and the same node on one thread, both answers of the processor
// class, and a scaled transform against the unscaled one times the scale.
#include <cstring>
#include <thread>

#include <zor/core.h>

#include "dft_testing.hpp"

namespace {

using namespace zor::test;

template <class C>
bool same(const C *a, const C *b, int64_t n) {
  return std::memcmp(a, b, sizeof(C) * size_t(n)) == 0;
}

// Lengths that reach the fixed kernels, the plans (power of two, mixed,
// direct, chirp) and the table kernels.
const int64_t kLengths[] = {2, 8, 12, 17, 45, 64, 97, 256, 1000, 1024, 2048, 4096};

template <class T>
std::vector<std::complex<T>> transform(int64_t n, const std::vector<std::complex<T>> &x, int32_t placement,
                                       size_t offset_bytes, double scale = 1.0) {
  using C = std::complex<T>;
  Descriptor d(precision_of<T>, n);
  EXPECT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, placement), 0);
  EXPECT_EQ(zor_fft_set_scale(d, DFT_FORWARD_SCALE, scale), 0);
  EXPECT_EQ(zor_fft_commit(d), 0);
  GuardedBuffer<C> in(size_t(n), offset_bytes), out(size_t(n), offset_bytes);
  std::memcpy(in.data(), x.data(), sizeof(C) * size_t(n));
  if (placement == DFT_INPLACE) EXPECT_EQ(zor_fft_forward(d, in.data()), 0);
  else EXPECT_EQ(zor_fft_forward_out(d, in.data(), out.data()), 0);
  EXPECT_TRUE(in.guards_intact() && out.guards_intact());
  C *y = placement == DFT_INPLACE ? in.data() : out.data();
  return std::vector<C>(y, y + n);
}

template <class T>
void offsets_and_placement() {
  Rng rng(1);
  for (int64_t n : kLengths) {
    SCOPED_TRACE(testing::Message() << "n " << n << " precision " << precision_of<T> << " seed " << rng.seed);
    auto x = random_line<T>(n, rng);
    auto aligned = transform<T>(n, x, DFT_INPLACE, 0);
    EXPECT_TRUE(same(aligned.data(), transform<T>(n, x, DFT_INPLACE, 8).data(), n)) << "8-byte offset";
    EXPECT_TRUE(same(aligned.data(), transform<T>(n, x, DFT_NOT_INPLACE, 0).data(), n)) << "out of place";
    EXPECT_TRUE(same(aligned.data(), transform<T>(n, x, DFT_NOT_INPLACE, 8).data(), n)) << "out, 8 bytes";
  }
}
TEST(DftIdentity, OffsetsAndPlacement) {
  offsets_and_placement<double>();
  offsets_and_placement<float>();
}

// A scale that no fixed path takes: the scaled output is the unscaled one
// times the scale, element by element. (In single precision the scaled powers
// of two from 8 to 128 leave the fixed kernels for the plan, so they are not
// a pair.)
template <class T>
void scaled_against_unscaled() {
  Rng rng(2);
  for (int64_t n : kLengths) {
    if (sizeof(T) == 4 && n >= 8 && n <= 128 && (n & (n - 1)) == 0) continue;
    SCOPED_TRACE(testing::Message() << "n " << n);
    auto x = random_line<T>(n, rng);
    const double s = 0.375;
    auto plain = transform<T>(n, x, DFT_NOT_INPLACE, 0), scaled = transform<T>(n, x, DFT_NOT_INPLACE, 0, s);
    for (auto &v : plain) v = {T(s) * v.real(), T(s) * v.imag()};
    EXPECT_TRUE(same(plain.data(), scaled.data(), n));
  }
}
TEST(DftIdentity, ScaledAgainstUnscaledTimesTheScale) {
  scaled_against_unscaled<double>();
  scaled_against_unscaled<float>();
}

// A batch of lines at a distance, and lines with a stride (negative too),
// against the lines transformed one at a time, contiguously. The lengths are
// those that take the same kernel either way (powers of two up to 1024 take
// fixed kernels only for single contiguous lines).
template <class T>
void batch_and_strides(int32_t placement) {
  using C = std::complex<T>;
  Rng rng(3);
  for (int64_t n : {12, 17, 100, 2048}) {
    // Lines one element apart need a stride of at least the count.
    for (int64_t stride : {1, 13, -12})
      for (int64_t distance : {int64_t(1), n * 13 + 1}) {
        const int64_t count = 11;
        SCOPED_TRACE(testing::Message() << "n " << n << " stride " << stride << " distance " << distance
                                        << " placement " << placement);
        if (distance == 1 && stride == 1) continue;  // the lines would overlap
        const int64_t reach = (n - 1) * std::abs(stride) + (count - 1) * distance + 1;
        std::vector<C> data = random_line<T>(reach, rng), out(static_cast<size_t>(reach));
        const int64_t base = stride < 0 ? (n - 1) * -stride : 0;
        Descriptor d(precision_of<T>, n);
        int64_t strides[2] = {base, stride};
        ASSERT_EQ(zor_fft_set_input_strides(d, strides), 0);
        ASSERT_EQ(zor_fft_set_output_strides(d, strides), 0);
        ASSERT_EQ(zor_fft_set_number_of_transforms(d, count), 0);
        ASSERT_EQ(zor_fft_set_input_distance(d, distance), 0);
        ASSERT_EQ(zor_fft_set_output_distance(d, distance), 0);
        ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, placement), 0);
        ASSERT_EQ(zor_fft_commit(d), 0);
        std::vector<C> before = data;
        if (placement == DFT_INPLACE) ASSERT_EQ(zor_fft_forward(d, data.data()), 0);
        else ASSERT_EQ(zor_fft_forward_out(d, data.data(), out.data()), 0);
        const std::vector<C> &result = placement == DFT_INPLACE ? data : out;
        for (int64_t t = 0; t < count; ++t) {
          std::vector<C> line(static_cast<size_t>(n)), got(static_cast<size_t>(n));
          for (int64_t j = 0; j < n; ++j) {
            line[size_t(j)] = before[size_t(base + t * distance + j * stride)];
            got[size_t(j)] = result[size_t(base + t * distance + j * stride)];
          }
          auto want = transform<T>(n, line, DFT_INPLACE, 0);
          EXPECT_TRUE(same(want.data(), got.data(), n)) << "line " << t;
        }
      }
  }
}
TEST(DftIdentity, BatchAndStridesAgainstLinesOneByOne) {
  for (int32_t placement : {DFT_INPLACE, DFT_NOT_INPLACE}) {
    batch_and_strides<double>(placement);
    batch_and_strides<float>(placement);
  }
}

// Two user threads on one node: calls from two and four threads at once
// give what one thread gets.
TEST(DftIdentity, SharedNodeOnSeveralThreads) {
  for (int64_t n : {64, 1000, 4096}) {
    SCOPED_TRACE(testing::Message() << "n " << n);
    Rng rng(4);
    auto x = random_line<double>(n, rng);
    auto want = transform<double>(n, x, DFT_NOT_INPLACE, 0);
    Descriptor d(DFT_DOUBLE, n);
    ASSERT_EQ(zor_fft_set_value(d, DFT_NUMBER_OF_USER_THREADS, 2), 0);
    ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
    ASSERT_EQ(zor_fft_commit(d), 0);
    for (int threads : {2, 4}) {
      std::vector<std::vector<cd>> out(size_t(threads), std::vector<cd>(static_cast<size_t>(n)));
      std::vector<std::thread> pool;
      for (int t = 0; t < threads; ++t)
        pool.emplace_back([&, t] {
          for (int round = 0; round < 20; ++round) EXPECT_EQ(zor_fft_forward_out(d, x.data(), out[size_t(t)].data()), 0);
        });
      for (auto &t : pool) t.join();
      for (auto &o : out) EXPECT_TRUE(same(o.data(), want.data(), n)) << threads << " threads";
    }
  }
}

// The processor class only moves buffers between 256- and 4096-byte
// alignment.
TEST(DftIdentity, BothProcessorClassAnswers) {
  Rng rng(5);
  for (int64_t n : {64, 1000, 4096}) {
    auto x = random_line<double>(n, rng);
    std::vector<cd> page, small;
    {
      ForcedAnswer forced(ZOR_CORE_CPU_DETECT, 4);
      page = transform<double>(n, x, DFT_INPLACE, 8);
    }
    {
      ForcedAnswer forced(ZOR_CORE_CPU_DETECT, 2);
      small = transform<double>(n, x, DFT_INPLACE, 8);
    }
    EXPECT_TRUE(same(page.data(), small.data(), n)) << n;
  }
}

}  // namespace
