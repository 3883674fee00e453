// One-dimensional complex transforms against the naive transform in long
// double: every length up to 300 and the lengths that reach each algorithm
// (fixed kernels, plans, mixed radix, direct, chirp inside a plan, an
// abandoned factorisation), both directions, both precisions, in place and
// out of place, every scale the small plan knows and one it does not. Long
// lengths by linearity, impulse, shift and the round trip.
#include <numeric>

#include "dft_testing.hpp"

namespace {

using namespace zor::test;

struct ScalePair {
  const char *name;
  double forward, backward;
};

std::vector<ScalePair> scales_of(int64_t n) {
  double inv = 1.0 / double(n), root = 1.0 / std::sqrt(double(n));
  return {{"none", 1, 1}, {"forward 1/n", inv, 1}, {"backward 1/n", 1, inv}, {"both 1/sqrt n", root, root},
          {"other", 0.75, 2.5}};
}

// Forward and backward of x by a descriptor of the given settings, against
// the references.
template <class T>
void check_length(int64_t n, const std::vector<cf> &x32, const std::vector<cl> &fwd, const std::vector<cl> &bwd,
                  double factor) {
  std::vector<std::complex<T>> x(x32.begin(), x32.end());
  for (const ScalePair &s : scales_of(n))
    for (int32_t placement : {DFT_INPLACE, DFT_NOT_INPLACE}) {
      SCOPED_TRACE(testing::Message() << "n " << n << " precision " << precision_of<T> << " scales " << s.name
                                      << " placement " << placement);
      Descriptor d(precision_of<T>, n);
      ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, placement), 0);
      ASSERT_EQ(zor_fft_set_scale(d, DFT_FORWARD_SCALE, s.forward), 0);
      ASSERT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, s.backward), 0);
      ASSERT_EQ(zor_fft_commit(d), 0);
      std::vector<std::complex<T>> y = x, z(x.size());
      if (placement == DFT_INPLACE) {
        ASSERT_EQ(zor_fft_forward(d, y.data()), 0);
        z = x;
        ASSERT_EQ(zor_fft_backward(d, z.data()), 0);
      } else {
        ASSERT_EQ(zor_fft_forward_out(d, x.data(), y.data()), 0);
        ASSERT_EQ(zor_fft_backward_out(d, x.data(), z.data()), 0);
      }
      EXPECT_LE(relative_error(y, fwd, s.forward), error_bound<T>(n, factor));
      EXPECT_LE(relative_error(z, bwd, s.backward), error_bound<T>(n, factor));
    }
}

void check_lengths(const std::vector<int64_t> &lengths, double factor = 6) {
  Rng rng(15);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (int64_t n : lengths) {
    std::vector<cf> x = random_line<float>(n, rng);  // exact in both precisions
    std::vector<cl> fwd = naive_dft(x, true), bwd = naive_dft(x, false);
    check_length<double>(n, x, fwd, bwd, factor);
    check_length<float>(n, x, fwd, bwd, factor);
  }
}

TEST(DftAccuracy, EveryLengthUpTo300) {
  std::vector<int64_t> lengths(300);
  std::iota(lengths.begin(), lengths.end(), 1);
  check_lengths(lengths);
}

// 194 = 2 * 97 is a mixed plan with a generic radix; 302 = 2 * 151 goes to
// the chirp (151 is above 150); 9797 = 97 * 101 abandons its factorisation
// past candidate 90; 4097 = 17 * 241 abandons on its last factor. The chirps
// of 4097 and 9797 convolve over powers of two, that of the prime 3001 over
// 6144 = 2 * 4^5 * 3 (first pass of radix 2, leaves of 3).
TEST(DftAccuracy, LengthsOfEachAlgorithm) { check_lengths({194, 302, 1000, 1024, 3001, 4096, 4097, 9797}, 10); }

// Ordering 49: natural order up to 5000 points; above, the forward output is
// a fixed permutation of the spectrum, which the backward transform takes.
TEST(DftAccuracy, BackwardScrambledOrdering) {
  Rng rng(49);
  for (int64_t n : {4000, 6000}) {
    SCOPED_TRACE(testing::Message() << "n " << n << " seed " << rng.seed);
    Descriptor d(DFT_DOUBLE, n);
    ASSERT_EQ(zor_fft_set_value(d, DFT_ORDERING, DFT_BACKWARD_SCRAMBLED), 0);
    ASSERT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 1.0 / double(n)), 0);
    ASSERT_EQ(zor_fft_commit(d), 0);
    // The permutation, read from the spectrum of an impulse at 1: bin k is
    // exp(-2 pi i k / n), all different.
    std::vector<cd> e(static_cast<size_t>(n));
    e[1] = 1;
    ASSERT_EQ(zor_fft_forward(d, e.data()), 0);
    std::vector<int64_t> bin(static_cast<size_t>(n));
    std::vector<bool> seen(static_cast<size_t>(n));
    for (int64_t p = 0; p < n; ++p) {
      double turns = -std::arg(e[size_t(p)]) / (2 * M_PI);
      int64_t k = (int64_t(std::llround(turns * double(n))) % n + n) % n;
      bin[size_t(p)] = k;
      ASSERT_FALSE(seen[size_t(k)]);
      seen[size_t(k)] = true;
      if (n <= 5000) EXPECT_EQ(k, p);
    }
    std::vector<cd> x = random_line<double>(n, rng), y = x;
    std::vector<cl> ref = naive_dft(x, true), moved(static_cast<size_t>(n));
    ASSERT_EQ(zor_fft_forward(d, y.data()), 0);
    for (int64_t p = 0; p < n; ++p) moved[size_t(p)] = ref[size_t(bin[size_t(p)])];
    EXPECT_LE(relative_error(y, moved), error_bound<double>(n));
    ASSERT_EQ(zor_fft_backward(d, y.data()), 0);
    std::vector<cl> xl(x.begin(), x.end());
    EXPECT_LE(relative_error(y, xl), error_bound<double>(n));
  }
}

// Long lengths: a linear map that sends an impulse to the roots, turns a
// shift into a product with the roots, and comes back with the scale 1/n.
template <class T>
void check_properties(int64_t n) {
  using C = std::complex<T>;
  Rng rng(static_cast<uint64_t>(n));
  SCOPED_TRACE(testing::Message() << "n " << n << " precision " << precision_of<T> << " seed " << rng.seed);
  Descriptor d(precision_of<T>, n);
  ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  ASSERT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 1.0 / double(n)), 0);
  ASSERT_EQ(zor_fft_commit(d), 0);
  const double bound = error_bound<T>(n, 10);
  auto fft = [&](const std::vector<C> &x) {
    std::vector<C> y(x.size());
    EXPECT_EQ(zor_fft_forward_out(d, x.data(), y.data()), 0);
    return y;
  };
  auto distance = [](const std::vector<C> &a, const std::vector<cl> &b) { return relative_error(a, b); };
  std::vector<C> x = random_line<T>(n, rng), y = random_line<T>(n, rng), mix(static_cast<size_t>(n));
  const T a = T(0.75), b = T(-1.25);
  for (int64_t k = 0; k < n; ++k) mix[size_t(k)] = a * x[size_t(k)] + b * y[size_t(k)];
  std::vector<C> fx = fft(x), fy = fft(y), fmix = fft(mix);
  std::vector<cl> sum(static_cast<size_t>(n));
  for (int64_t k = 0; k < n; ++k) sum[size_t(k)] = cl(a) * cl(fx[size_t(k)]) + cl(b) * cl(fy[size_t(k)]);
  EXPECT_LE(distance(fmix, sum), bound) << "linearity";

  const int64_t j = n / 3 + 1, shift = n / 5 + 2;
  const long double pi = 3.14159265358979323846264338327950288L;
  auto root = [&](int64_t e) { return std::polar(1.0L, -2 * pi * (long double)(e % n) / (long double)n); };
  std::vector<C> impulse(static_cast<size_t>(n));
  impulse[size_t(j)] = 1;
  std::vector<cl> roots(static_cast<size_t>(n));
  for (int64_t k = 0; k < n; ++k) roots[size_t(k)] = root(j * k % n);
  EXPECT_LE(distance(fft(impulse), roots), bound) << "impulse";

  std::vector<C> shifted(static_cast<size_t>(n));
  for (int64_t k = 0; k < n; ++k) shifted[size_t((k + shift) % n)] = x[size_t(k)];
  std::vector<cl> turned(static_cast<size_t>(n));
  for (int64_t k = 0; k < n; ++k) turned[size_t(k)] = cl(fx[size_t(k)]) * root(shift * k % n);
  EXPECT_LE(distance(fft(shifted), turned), bound) << "shift";

  std::vector<C> back(static_cast<size_t>(n));
  ASSERT_EQ(zor_fft_backward_out(d, fx.data(), back.data()), 0);
  EXPECT_LE(distance(back, std::vector<cl>(x.begin(), x.end())), bound) << "round trip";
}

TEST(DftAccuracy, LongLengthsByTheirProperties) {
  for (int64_t n : {int64_t(1) << 16, int64_t(1) << 20, int64_t(59049), int64_t(10007)}) {
    check_properties<double>(n);
    check_properties<float>(n);
  }
}

}  // namespace
