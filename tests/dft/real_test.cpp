// Real one-dimensional transforms through the front and the tier's drivers:
// every layout against the long-double transform, both directions and
// precisions, in place and out of place, each scale; strided and batched
// lines against lines one by one; the layout rules and statuses; long
// lengths by their properties.
#include <cstring>

#include <zor/dft_tier.h>

#include "dft_testing.hpp"

namespace {

using namespace zor::test;

struct RealDescriptor {
  DftNode *d = nullptr;
  RealDescriptor(int32_t precision, int64_t n, RealLayout l) {
    EXPECT_EQ(zor_fft_create(&d, precision, DFT_REAL, 1, &n), 0);
    if (l == kCce) EXPECT_EQ(zor_fft_set_value(d, DFT_CONJUGATE_EVEN_STORAGE, DFT_COMPLEX_COMPLEX), 0);
    else EXPECT_EQ(zor_fft_set_value(d, DFT_PACKED_FORMAT, int64_t(DFT_CCS_FORMAT) + int64_t(l)), 0);
  }
  ~RealDescriptor() {
    if (d) zor_fft_free(&d);
  }
  RealDescriptor(const RealDescriptor &) = delete;
  RealDescriptor &operator=(const RealDescriptor &) = delete;
  operator DftNode *() const { return d; }
  DftNode *operator->() const { return d; }
};

template <class T>
void check_length(int64_t n) {
  Rng rng(static_cast<uint64_t>(n) + 99);
  SCOPED_TRACE(testing::Message() << "n " << n << " seed " << rng.seed << " bytes " << sizeof(T));
  std::vector<std::complex<T>> x(static_cast<size_t>(n));
  for (auto &v : x) v = {T(rng.uniform()), T(0)};
  const std::vector<cl> X = naive_dft(x, true);
  const double bound = error_bound<T>(n, 8);
  const double scales[][2] = {{1, 1}, {1.0 / double(n), 1}, {0.5, 0.25}};
  for (RealLayout l : {kCcs, kPack, kPerm, kCce}) {
    const std::vector<long double> want = stored_spectrum(X, n, l);
    for (const auto &sc : scales)
      for (bool out : {false, true}) {
        SCOPED_TRACE(testing::Message() << kLayoutName[l] << " scales " << sc[0] << " " << sc[1] << " out " << out);
        RealDescriptor d(precision_of<T>, n, l);
        ASSERT_EQ(zor_fft_set_scale(d, DFT_FORWARD_SCALE, sc[0]), 0);
        ASSERT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, sc[1]), 0);
        if (out) ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
        ASSERT_EQ(zor_fft_commit(d), 0);
        EXPECT_EQ(d->uses_plan, n >= 2 && n <= 64 && (n & (n - 1)) == 0 ? 0 : 1);  // fixed kernels
        std::vector<T> a(static_cast<size_t>(n) + 2, T(5)), b(static_cast<size_t>(n) + 2, T(5));
        for (int64_t j = 0; j < n; ++j) a[size_t(j)] = x[size_t(j)].real();
        if (out) ASSERT_EQ(zor_fft_forward_out(d, a.data(), b.data()), 0);
        else ASSERT_EQ(zor_fft_forward(d, a.data()), 0);
        T *spectrum = out ? b.data() : a.data();
        EXPECT_LE(max_relative(spectrum, want, (long double)T(sc[0])), bound);
        if (out && want.size() < b.size()) EXPECT_EQ(b[want.size()], T(5));  // nothing past the layout
        std::vector<T> back(static_cast<size_t>(n) + 2, T(5));
        if (out) {
          ASSERT_EQ(zor_fft_backward_out(d, b.data(), back.data()), 0);
        } else {
          ASSERT_EQ(zor_fft_backward(d, a.data()), 0);
          back = a;
          // in place the ccs backward clears the value past the line
          if (l == kCcs) EXPECT_EQ(back[size_t(n)], T(0));
        }
        std::vector<long double> orig(static_cast<size_t>(n));
        for (int64_t j = 0; j < n; ++j) orig[size_t(j)] = (long double)n * x[size_t(j)].real();
        EXPECT_LE(max_relative(back.data(), orig, (long double)T(sc[0]) * T(sc[1])), 2 * bound);
      }
  }
}

TEST(DftReal, EveryLayoutAgainstNaive) {
  for (int64_t n = 1; n <= 300; n += (n < 70 ? 1 : 7)) {
    check_length<double>(n);
    check_length<float>(n);
  }
  check_length<double>(4096);
  check_length<float>(4096);
}

TEST(DftReal, LayoutRules) {
  {  // two points in ccs: R0, 0, R1, 0
    RealDescriptor d(DFT_DOUBLE, 2, kCcs);
    ASSERT_EQ(zor_fft_commit(d), 0);
    double x[4] = {3, 5, 9, 9};
    ASSERT_EQ(zor_fft_forward(d, x), 0);
    EXPECT_EQ(std::vector<double>(x, x + 4), (std::vector<double>{8, 0, -2, 0}));
  }
  {  // storage 39 turns perm into cce; cce with a real array is refused at commit
    RealDescriptor d(DFT_DOUBLE, 8, kPerm);
    ASSERT_EQ(zor_fft_set_value(d, DFT_CONJUGATE_EVEN_STORAGE, DFT_COMPLEX_COMPLEX), 0);
    EXPECT_EQ(d->packed_format, DFT_CCE_FORMAT);
    ASSERT_EQ(zor_fft_set_value(d, DFT_CONJUGATE_EVEN_STORAGE, DFT_COMPLEX_REAL), 0);
    EXPECT_EQ(zor_fft_commit(d), DFT_UNIMPLEMENTED);
    EXPECT_EQ(d->commit_status, DFT_UNCOMMITTED);
  }
  {  // in place, the complex side must lie over the real side
    RealDescriptor d(DFT_DOUBLE, 8, kCce);
    const int64_t in[2] = {1, 1}, out[2] = {1, 1};
    ASSERT_EQ(zor_fft_set_input_strides(d, in), 0);
    ASSERT_EQ(zor_fft_set_output_strides(d, out), 0);
    EXPECT_EQ(zor_fft_commit(d), DFT_INCONSISTENT_CONFIGURATION);
    const int64_t half[2] = {2, 1};
    ASSERT_EQ(zor_fft_set_input_strides(d, half), 0);
    EXPECT_EQ(zor_fft_commit(d), 0);
  }
  {  // lengths above the limits: 9
    RealDescriptor d(DFT_DOUBLE, 0x1000001, kCcs), s(DFT_SINGLE, 0x2000001, kPack);
    EXPECT_EQ(zor_fft_commit(d), DFT_1D_LENGTH_EXCEEDS_INT32);
    EXPECT_EQ(zor_fft_commit(s), DFT_1D_LENGTH_EXCEEDS_INT32);
  }
  {  // a real domain has no scrambled order
    RealDescriptor d(DFT_SINGLE, 8, kCcs);
    EXPECT_EQ(zor_fft_set_value(d, DFT_ORDERING, DFT_BACKWARD_SCRAMBLED), DFT_UNIMPLEMENTED);
  }
}

// Three lines with strides, offsets and distances, through the front and
// through the tier's drivers, against each line alone at unit stride.
template <class T>
void strided_against_alone(RealLayout l, bool out) {
  const int64_t n = 30, count = 3, is = 2, os = 3, idist = 70, odist = 100, ioff = 3, ooff = 5;
  Rng rng(static_cast<uint64_t>(l) * 2 + out);
  SCOPED_TRACE(testing::Message() << kLayoutName[l] << " out " << out << " seed " << rng.seed << " " << sizeof(T));
  const bool cce = l == kCce;
  const int64_t unit = cce ? 2 : 1;  // reals per element on the spectrum side
  RealDescriptor alone(precision_of<T>, n, l), d(precision_of<T>, n, l);
  ASSERT_EQ(zor_fft_set_value(alone, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  ASSERT_EQ(zor_fft_commit(alone), 0);
  const int64_t in_strides[2] = {ioff, is}, out_strides[2] = {ooff, os};
  if (out) ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  ASSERT_EQ(zor_fft_set_input_strides(d, in_strides), 0);
  ASSERT_EQ(zor_fft_set_output_strides(d, out ? out_strides : in_strides), 0);
  ASSERT_EQ(zor_fft_set_number_of_transforms(d, count), 0);
  ASSERT_EQ(zor_fft_set_input_distance(d, idist), 0);
  ASSERT_EQ(zor_fft_set_output_distance(d, out ? odist : idist), 0);
  if (cce && !out) return;  // in place storage 39 needs offsets that line up: LayoutRules
  ASSERT_EQ(zor_fft_commit(d), 0);
  const size_t size = size_t(unit * (odist * count + 2 * n * os) + 2 * n * is + idist * count + 64);
  std::vector<T> data(size), result(size, T(-1));
  for (auto &v : data) v = T(rng.uniform());
  std::vector<T> work = data;
  if (out) ASSERT_EQ(zor_fft_forward_out(d, data.data(), result.data()), 0);
  else ASSERT_EQ(zor_fft_forward(d, work.data()), 0);
  const T *bins = out ? result.data() : work.data();
  // the tier's driver alike, on copies
  std::vector<T> result2(size, T(-1)), work2 = data;
  using Driver = int64_t (*)(DftNode *, void *, int64_t, void *);
  using DriverOut = int64_t (*)(DftNode *, void *, void *, int64_t, void *);
  const bool dbl = sizeof(T) == 8;
  if (out) {
    DriverOut f = cce ? (dbl ? zor_dft_xdzforward_out : zor_dft_xscforward_out)
                      : (dbl ? zor_dft_xdforward_out : zor_dft_xsforward_out);
    ASSERT_EQ(f(d, data.data(), result2.data(), count, d->workspace), 0);
    EXPECT_EQ(std::memcmp(result.data(), result2.data(), sizeof(T) * size), 0);
  } else {
    Driver f = dbl ? zor_dft_xdforward : zor_dft_xsforward;
    ASSERT_EQ(f(d, work2.data(), count, d->workspace), 0);
    EXPECT_EQ(std::memcmp(work.data(), work2.data(), sizeof(T) * size), 0);
  }
  const int64_t values = l == kCcs || cce ? 2 * (n / 2 + 1) : n;
  const int64_t sd = out ? odist : idist, ss = out ? os : is, so = out ? ooff : ioff;
  for (int64_t t = 0; t < count; ++t) {
    std::vector<T> line(static_cast<size_t>(n)), want(static_cast<size_t>(n) + 2);
    for (int64_t j = 0; j < n; ++j) line[size_t(j)] = data[size_t(ioff + t * idist + j * is)];
    ASSERT_EQ(zor_fft_forward_out(alone, line.data(), want.data()), 0);
    for (int64_t v = 0; v < values; ++v) {
      size_t at = size_t(unit * (so + t * sd + (v / unit) * ss) + v % unit);
      ASSERT_EQ(bins[at], want[size_t(v)]) << "line " << t << " value " << v;
    }
  }
  // and back through the driver of the other direction
  if (out) {
    std::vector<T> back(size, T(0));
    const int64_t back_in[2] = {ooff, os}, back_out[2] = {ioff, is};
    ASSERT_EQ(zor_fft_set_input_strides(d, back_in), 0);
    ASSERT_EQ(zor_fft_set_output_strides(d, back_out), 0);
    ASSERT_EQ(zor_fft_set_input_distance(d, odist), 0);
    ASSERT_EQ(zor_fft_set_output_distance(d, idist), 0);
    ASSERT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 1.0 / double(n)), 0);
    ASSERT_EQ(zor_fft_commit(d), 0);
    DriverOut b = cce ? (dbl ? zor_dft_xzdbackward_out : zor_dft_xcsbackward_out)
                      : (dbl ? zor_dft_xdbackward_out : zor_dft_xsbackward_out);
    ASSERT_EQ(b(d, result.data(), back.data(), count, d->workspace), 0);
    for (int64_t t = 0; t < count; ++t)
      for (int64_t j = 0; j < n; ++j) {
        size_t at = size_t(ioff + t * idist + j * is);
        EXPECT_NEAR(back[at], data[at], 50 * std::numeric_limits<T>::epsilon()) << t << " " << j;
      }
  }
}

TEST(DftReal, StridedAndBatchedAgainstLinesAlone) {
  for (RealLayout l : {kCcs, kPack, kPerm, kCce})
    for (bool out : {false, true}) {
      strided_against_alone<double>(l, out);
      strided_against_alone<float>(l, out);
    }
}

// Long lengths: an impulse at 1 gives the roots exp(-2 pi i k / n); a
// forward and backward with the backward scale 1/n gives the line back.
template <class T>
void long_length(int64_t n) {
  Rng rng(static_cast<uint64_t>(n));
  SCOPED_TRACE(testing::Message() << "n " << n << " seed " << rng.seed << " " << sizeof(T));
  RealDescriptor d(precision_of<T>, n, kCce);
  ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  ASSERT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 1.0 / double(n)), 0);
  ASSERT_EQ(zor_fft_commit(d), 0);
  const int64_t half = n / 2 + 1;
  std::vector<T> x(static_cast<size_t>(n), T(0)), back(static_cast<size_t>(n));
  std::vector<std::complex<T>> X(static_cast<size_t>(half));
  x[1] = 1;
  ASSERT_EQ(zor_fft_forward_out(d, x.data(), X.data()), 0);
  double err = 0;
  const long double pi = 3.14159265358979323846264338327950288L;
  for (int64_t k = 0; k < half; ++k)
    err = std::max(err, double(std::abs(cl(X[size_t(k)]) - std::polar(1.0L, -2 * pi * k / n))));
  EXPECT_LE(err, error_bound<T>(n, 4));
  for (auto &v : x) v = T(rng.uniform());
  ASSERT_EQ(zor_fft_forward_out(d, x.data(), X.data()), 0);
  ASSERT_EQ(zor_fft_backward_out(d, X.data(), back.data()), 0);
  err = 0;
  for (int64_t j = 0; j < n; ++j) err = std::max(err, double(std::fabs(back[size_t(j)] - x[size_t(j)])));
  EXPECT_LE(err, error_bound<T>(n, 8));
}

TEST(DftReal, LongLengthsByTheirProperties) {
  for (int64_t n : {int64_t(1) << 20, int64_t(59049), int64_t(10007)}) {
    long_length<double>(n);
    long_length<float>(n);
  }
}

// Four threads allowed: even lengths from 16384 out of place go by four
// steps over half the points (the large-real method); every layout it takes
// against the ordinary path of one thread, both directions, and the node
// refused to it (in place) takes the ordinary path.
template <class T>
void large_real(int64_t n) {
  Rng rng(static_cast<uint64_t>(n));
  std::vector<T> x(static_cast<size_t>(n) + 2);
  for (auto &v : x) v = T(rng.uniform() - 0.5);
  for (RealLayout l : {kCcs, kPerm, kCce}) {
    SCOPED_TRACE(testing::Message() << "n " << n << " " << kLayoutName[l] << " bytes " << sizeof(T));
    std::vector<T> want(x.size(), T(0)), got(x.size(), T(0)), back(x.size(), T(0)), again(x.size(), T(0));
    {
      RealDescriptor d(precision_of<T>, n, l);
      ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
      ASSERT_EQ(zor_fft_commit(d), 0);
      ASSERT_EQ(d->extra_state, nullptr);
      ASSERT_EQ(zor_fft_forward_out(d, x.data(), want.data()), 0);
      ASSERT_EQ(zor_fft_backward_out(d, want.data(), back.data()), 0);
    }
    zor_core_dft_policy(0, 4, 4);
    RealDescriptor d(precision_of<T>, n, l);
    ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
    ASSERT_EQ(zor_fft_commit(d), 0);
    zor_core_dft_policy(0, 1, 1);
    ASSERT_NE(d->extra_state, nullptr) << "the large-real method was not taken";
    ASSERT_EQ(zor_fft_forward_out(d, x.data(), got.data()), 0);
    ASSERT_EQ(zor_fft_backward_out(d, want.data(), again.data()), 0);
    double spectrum = 0, line = 0, top = 0;
    for (size_t j = 0; j < x.size(); ++j) {
      spectrum = std::max(spectrum, double(std::fabs(got[j] - want[j])));
      line = std::max(line, double(std::fabs(again[j] - back[j])));
      top = std::max(top, double(std::fabs(want[j])));
    }
    EXPECT_LT(spectrum / top, error_bound<T>(n, 8));
    EXPECT_LT(line / double(n), error_bound<T>(n, 8));
    if (l != kPerm) EXPECT_EQ(got[size_t(n) + 1], T(0));
  }
  zor_core_dft_policy(0, 4, 4);
  RealDescriptor in_place(precision_of<T>, n, kCcs);
  ASSERT_EQ(zor_fft_commit(in_place), 0);
  zor_core_dft_policy(0, 1, 1);
  EXPECT_EQ(in_place->extra_state, nullptr);
}

TEST(DftReal, LargeRealByFourSteps) {
  large_real<double>(16384);
  large_real<float>(16384);
  large_real<double>(1 << 20);
  large_real<double>(3 * 8192);
}

}  // namespace
