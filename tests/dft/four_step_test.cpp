// Long one-dimensional transforms by four steps. The path is forced on
// lengths from 2^16 up and checked against the ordinary plan path and the
// naive transform in long double on sampled bins; every placement of the
// scratch gives the same bits; the pieces compose as the scheme says, bit
// for bit; the two-level twiddle table holds every root; lengths with no
// split and short lengths take the other paths; misaligned data.
#include <algorithm>
#include <cstring>

#include <zor/dft_tier.h>

#include "dft_testing.hpp"

namespace {

using namespace zor::test;

const DftFourStep *state(DftNode *d) { return static_cast<const DftFourStep *>(d->four_step_state); }

// A descriptor of n points with the four steps asked for, committed.
struct Forced : Descriptor {
  Forced(int32_t precision, int64_t n, int32_t placement, double fs, double bs) : Descriptor(precision, n) {
    EXPECT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, placement), 0);
    EXPECT_EQ(zor_fft_set_scale(d, DFT_FORWARD_SCALE, fs), 0);
    EXPECT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, bs), 0);
    d->force_four_step = 1;
    EXPECT_EQ(zor_fft_commit(d), 0);
  }
};

// One transform through the front, in place or out of place.
template <class T>
std::vector<std::complex<T>> run(DftNode *d, const std::vector<std::complex<T>> &x, bool forward) {
  std::vector<std::complex<T>> y = x;
  int64_t s;
  if (d->placement == DFT_INPLACE) s = forward ? zor_fft_forward(d, y.data()) : zor_fft_backward(d, y.data());
  else s = forward ? zor_fft_forward_out(d, x.data(), y.data()) : zor_fft_backward_out(d, x.data(), y.data());
  EXPECT_EQ(s, 0);
  return y;
}

template <class T>
std::vector<std::complex<T>> pick(const std::vector<std::complex<T>> &y, const std::vector<int64_t> &bins) {
  std::vector<std::complex<T>> p;
  for (int64_t k : bins) p.push_back(y[size_t(k)]);
  return p;
}

template <class T>
double distance(const std::vector<std::complex<T>> &y, const std::vector<std::complex<T>> &ref, long double scale) {
  std::vector<cl> r(ref.begin(), ref.end());
  return relative_error(y, r, scale);
}

struct Split {
  int64_t n, m1, m2;
  bool every_mode;  // all three scratch modes and both scales, or mode 1 and 1/n
};

template <class T>
void check_forced(const Split &c, const std::vector<cf> &x32, const std::vector<int64_t> &bins,
                  const std::vector<cl> &fwd_bins, const std::vector<cl> &bwd_bins) {
  const int64_t n = c.n;
  const std::vector<std::complex<T>> x(x32.begin(), x32.end());
  const double bound = error_bound<T>(n);
  Descriptor plan(precision_of<T>, n);
  ASSERT_EQ(zor_fft_commit(plan), 0);
  ASSERT_EQ(plan->four_step_state, nullptr);
  const auto plan_fwd = run(plan, x, true), plan_bwd = run(plan, x, false);
  const double inv = 1.0 / double(n);
  for (double scale : {inv, 1.0}) {
    if (!c.every_mode && scale == 1.0) break;
    std::vector<std::complex<T>> first_fwd, first_bwd;
    for (int32_t placement : {DFT_INPLACE, DFT_NOT_INPLACE})
      for (int32_t mode : {1, 0, -1}) {
        if (!c.every_mode && mode != 1) break;
        SCOPED_TRACE(testing::Message() << "n " << n << " precision " << precision_of<T> << " scale " << scale
                                        << " placement " << placement << " mode " << mode);
        Forced d(precision_of<T>, n, placement, scale, scale);
        const DftFourStep *st = state(d);
        ASSERT_NE(st, nullptr);
        EXPECT_EQ(st->rows, c.m1);
        EXPECT_EQ(st->cols, c.m2);
        EXPECT_EQ(st->row_node == st->col_node, c.m1 == c.m2);
        EXPECT_EQ(st->transpose_mode, 1);
        const_cast<DftFourStep *>(st)->transpose_mode = mode;
        const auto y = run(d, x, true), z = run(d, x, false);
        if (first_fwd.empty()) {
          EXPECT_LE(distance(y, plan_fwd, scale), bound);
          EXPECT_LE(distance(z, plan_bwd, scale), bound);
          EXPECT_LE(relative_error(pick(y, bins), fwd_bins, scale), bound);
          EXPECT_LE(relative_error(pick(z, bins), bwd_bins, scale), bound);
          // Forward then backward gives the input back, times n without scales.
          const auto back = run(d, y, false);
          std::vector<cl> xl(x.begin(), x.end());
          EXPECT_LE(relative_error(back, xl, scale == 1.0 ? (long double)n : inv), bound);
          first_fwd = y, first_bwd = z;
        } else {
          // Each scratch and placement runs the same arithmetic.
          EXPECT_TRUE(y == first_fwd);
          EXPECT_TRUE(z == first_bwd);
        }
      }
  }
}

TEST(DftFourStep, ForcedAgainstPlanAndNaive) {
  const Split cases[] = {
      {65536, 256, 256, false}, {1 << 20, 1024, 1024, false}, {1 << 17, 256, 512, true},
      {177147, 243, 729, true}, {1000000, 1000, 1000, false}, {131074, 2, 65537, false},
  };
  Rng rng(17);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (const Split &c : cases) {
    auto x = random_line<float>(c.n, rng);  // exact in both precisions
    std::vector<int64_t> bins = {0, 1, c.n - 1, c.m1, c.m2};
    while (bins.size() < 48) bins.push_back(rng.integer(0, c.n - 1));
    const auto fwd = naive_bins(x, bins, true), bwd = naive_bins(x, bins, false);
    check_forced<double>(c, x, bins, fwd, bwd);
    check_forced<float>(c, x, bins, fwd, bwd);
  }
}

// The exported pieces on a prepared node against the scheme, bit for bit:
// steps 1 and 2 are the row child's transform times first[j mod T] *
// second[j / T]; steps 3 and 4 the column child's transform written to
// k1 + m1 k2, times the scale when it is not 1.
template <class T>
void check_pieces(int64_t n) {
  using E = std::complex<T>;
  constexpr bool dbl = sizeof(T) == 8;
  Forced d(precision_of<T>, n, DFT_NOT_INPLACE, 1.0, 1.0);
  const DftFourStep *st = state(d);
  ASSERT_NE(st, nullptr);
  const int64_t m1 = st->rows, m2 = st->cols, pitch = st->row_pitch, T2 = st->twiddle_count;
  const E *lo = static_cast<const E *>(st->twiddles), *hi = lo + T2;
  std::vector<char> ws_storage(size_t(st->work_size) + 64);
  void *ws = reinterpret_cast<void *>((reinterpret_cast<uintptr_t>(ws_storage.data()) + 63) & ~uintptr_t(63));
  Rng rng(18);
  const auto x = random_line<T>(n, rng);
  auto child = [&](DftNode *c, std::vector<E> line, bool fwd) {
    dft_axis_kernel k = c->kernels[(dbl ? 2 : 0) + (fwd ? 1 : 0)];
    EXPECT_EQ(k(line.data(), line.data(), c, ws), 0);
    return line;
  };
  for (bool fwd : {true, false}) {
    SCOPED_TRACE(testing::Message() << "n " << n << " precision " << precision_of<T> << " forward " << fwd);
    std::vector<E> lines(size_t(m2 * pitch)), want(lines.size());
    auto step_1_2 = dbl ? zor_dft_xz_4step_1_2 : zor_dft_xc_4step_1_2;
    ASSERT_EQ(step_1_2(d, 0, m2, x.data(), 1, m2, lines.data(), pitch, nullptr, fwd), 0);
    for (int64_t j2 = 0; j2 < m2; ++j2) {
      std::vector<E> line(static_cast<size_t>(m1));
      for (int64_t j1 = 0; j1 < m1; ++j1) line[size_t(j1)] = x[size_t(j2 + m2 * j1)];
      line = child(st->row_node, line, fwd);
      for (int64_t k1 = 0; k1 < m1; ++k1) {
        const int64_t j = j2 * k1;
        const E w = lo[j % T2] * hi[j / T2];
        want[size_t(j2 * pitch + k1)] = line[size_t(k1)] * (fwd ? w : std::conj(w));
      }
    }
    for (int64_t j2 = 0; j2 < m2; ++j2)
      ASSERT_EQ(std::memcmp(&lines[size_t(j2 * pitch)], &want[size_t(j2 * pitch)], sizeof(E) * size_t(m1)), 0)
          << "line " << j2;
    // Step 4 alone and scaled: the m2 lines written transposed.
    std::vector<E> t4(static_cast<size_t>(n)), t4s(t4.size());
    if constexpr (dbl) {
      zor_dft_xz_4step_4(m2, lines.data(), pitch, t4.data(), m1, m2);
      zor_dft_xz_4step_scale_4(m2, lines.data(), pitch, t4s.data(), m1, m2, 0.25);
    } else {
      zor_dft_xc_4step_4(m2, lines.data(), pitch, t4.data(), m1, m2);
      zor_dft_xc_4step_scale_4(m2, lines.data(), pitch, t4s.data(), m1, m2, 0.25f);
    }
    for (int64_t i = 0; i < m2; ++i)
      for (int64_t k = 0; k < m1; ++k) {
        ASSERT_EQ(t4[size_t(i + k * m2)], lines[size_t(i * pitch + k)]);
        ASSERT_EQ(t4s[size_t(i + k * m2)], T(0.25) * lines[size_t(i * pitch + k)]);
      }
    for (double scale : {1.0, 0.5}) {
      (fwd ? d->kernel_forward_scale : d->kernel_backward_scale) = scale;
      (fwd ? d->kernel_forward_scale_s : d->kernel_backward_scale_s) = float(scale);
      std::vector<E> out(static_cast<size_t>(n)), expect(static_cast<size_t>(n));
      auto step_3 = dbl ? zor_dft_xz_4step_3 : zor_dft_xc_4step_3;
      // Two calls over parts of the columns make the whole.
      ASSERT_EQ(step_3(d, 0, 37, lines.data(), pitch, out.data(), ws, fwd), 0);
      ASSERT_EQ(step_3(d, 37, m1 - 37, lines.data(), pitch, out.data(), ws, fwd), 0);
      for (int64_t k1 = 0; k1 < m1; ++k1) {
        std::vector<E> column(static_cast<size_t>(m2));
        for (int64_t j2 = 0; j2 < m2; ++j2) column[size_t(j2)] = lines[size_t(j2 * pitch + k1)];
        column = child(st->col_node, column, fwd);
        for (int64_t k2 = 0; k2 < m2; ++k2)
          expect[size_t(k1 + m1 * k2)] = scale == 1.0 ? column[size_t(k2)] : T(scale) * column[size_t(k2)];
      }
      EXPECT_EQ(std::memcmp(out.data(), expect.data(), sizeof(E) * size_t(n)), 0) << "scale " << scale;
    }
  }
}

TEST(DftFourStep, PiecesComposeAsTheScheme) {
  check_pieces<double>(1 << 17);
  check_pieces<float>(1 << 17);
  check_pieces<double>(177147);
}

// Every root of 2^20 points from the two levels, against long double.
TEST(DftFourStep, TwoLevelTable) {
  const int64_t n = 1 << 20;
  Forced d(DFT_DOUBLE, n, DFT_INPLACE, 1.0, 1.0);
  const DftFourStep *st = state(d);
  ASSERT_NE(st, nullptr);
  const int64_t T = st->twiddle_count;
  EXPECT_EQ(T, 2048);
  const cd *lo = static_cast<const cd *>(st->twiddles), *hi = lo + T;
  const long double pi = 3.14159265358979323846264338327950288L;
  long double worst = 0;
  for (int64_t j = 0; j < n; ++j) {
    const cd w = lo[j % T] * hi[j / T];
    const cl ref = std::polar(1.0L, -2 * pi * j / n);
    worst = std::max(worst, std::abs(cl(w) - ref));
  }
  EXPECT_LE(double(worst), 3 * std::numeric_limits<double>::epsilon());
}

// The split, the pitches (a line of a multiple of 4096 bytes is moved on by
// 64), and lengths that take the other paths.
TEST(DftFourStep, SplitsAndOtherPaths) {
  struct Expect {
    int64_t n, m1, m2, row_pitch, col_pitch;
  };
  for (const Expect &e : {Expect{1 << 17, 256, 512, 260, 516}, Expect{177147, 243, 729, 244, 732},
                          Expect{1 << 26, 8192, 8192, 8196, 8196}}) {
    SCOPED_TRACE(e.n);
    Descriptor d(DFT_DOUBLE, e.n);
    d->length_log2 = int64_t(std::floor(std::log2(double(e.n))));
    d->force_four_step = -1;
    ASSERT_EQ(zor_dft_xz_init_data_1d_via_2d(d, d), 0);
    const DftFourStep *st = state(d);
    EXPECT_EQ(st->rows, e.m1);
    EXPECT_EQ(st->cols, e.m2);
    EXPECT_EQ(st->row_pitch, e.row_pitch);
    EXPECT_EQ(st->col_pitch, e.col_pitch);
    EXPECT_EQ(st->transpose_mode, -1);
    EXPECT_EQ(st->row_node == st->col_node, e.m1 == e.m2);
    EXPECT_EQ(st->row_node->workspace, nullptr);
    d->uncommit(d);
    EXPECT_EQ(d->four_step_state, nullptr);
  }
  // A prime has no split: setup leaves the node alone, the plan path runs.
  for (int32_t precision : {DFT_DOUBLE, DFT_SINGLE}) {
    const int64_t n = 65537;
    Descriptor d(precision, n);
    d->length_log2 = 16;
    auto setup = precision == DFT_DOUBLE ? zor_dft_xz_init_data_1d_via_2d : zor_dft_xc_init_data_1d_via_2d;
    EXPECT_EQ(setup(d, d), DFT_NO_TWO_FACTOR_SPLIT);
    EXPECT_EQ(d->four_step_state, nullptr);
    d->force_four_step = 1;
    ASSERT_EQ(zor_fft_commit(d), 0);
    EXPECT_EQ(d->four_step_state, nullptr);
    EXPECT_EQ(d->uses_plan, 1);
  }
  // Below 2^16 forcing does nothing, even for a length that splits.
  Forced small(DFT_DOUBLE, 40000, DFT_INPLACE, 1.0, 1.0);
  EXPECT_EQ(small->four_step_state, nullptr);
  Rng rng(20);
  auto x = random_line<double>(65537, rng);
  Descriptor d(DFT_DOUBLE, 65537);
  d->force_four_step = 1;
  ASSERT_EQ(zor_fft_commit(d), 0);
  std::vector<int64_t> bins = {0, 1, 2, 65536, 4000};
  EXPECT_LE(relative_error(pick(run(d, x, true), bins), naive_bins(x, bins, true)), error_bound<double>(65537));
}

// Data 8 bytes off a 16-byte boundary, in place and out of place, gives the
// bits of aligned data.
TEST(DftFourStep, MisalignedData) {
  const int64_t n = 1 << 16;
  Rng rng(22);
  const auto x = random_line<double>(n, rng);
  for (int32_t placement : {DFT_INPLACE, DFT_NOT_INPLACE}) {
    Forced d(DFT_DOUBLE, n, placement, 1.0, 1.0);
    ASSERT_NE(state(d), nullptr);
    const auto want = run(d, x, true);
    GuardedBuffer<cd> in(size_t(n), 8), out(size_t(n), 8);
    for (int64_t k = 0; k < n; ++k) in.set(size_t(k), x[size_t(k)]);
    if (placement == DFT_INPLACE) ASSERT_EQ(zor_fft_forward(d, in.data()), 0);
    else ASSERT_EQ(zor_fft_forward_out(d, in.data(), out.data()), 0);
    GuardedBuffer<cd> &y = placement == DFT_INPLACE ? in : out;
    EXPECT_TRUE(y.copy() == want) << "placement " << placement;
    EXPECT_TRUE(y.guards_intact());
  }
}

}  // namespace

namespace {

// Above the length limits (several GiB: long label). The input is a few
// hundred random points, so that sampled bins of the naive transform cost
// little; forward then backward with 1/n gives the input back.
template <class T>
void check_beyond_limit(int64_t n, int64_t m1, int64_t m2) {
  SCOPED_TRACE(testing::Message() << "n " << n << " precision " << precision_of<T>);
  Descriptor d(precision_of<T>, n);
  ASSERT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 1.0 / double(n)), 0);
  ASSERT_EQ(zor_fft_commit(d), 0);
  const DftFourStep *st = state(d);
  ASSERT_NE(st, nullptr);
  EXPECT_EQ(st->rows, m1);
  EXPECT_EQ(st->cols, m2);
  EXPECT_EQ(st->transpose_mode, 0);
  Rng rng(21);
  std::vector<std::pair<int64_t, cl>> points;
  std::vector<std::complex<T>> y(static_cast<size_t>(n));
  for (int i = 0; i < 300; ++i) {
    const int64_t j = rng.integer(0, n - 1);
    y[size_t(j)] = {T(rng.uniform()), T(rng.uniform())};
  }
  for (int64_t j = 0; j < n; ++j)
    if (y[size_t(j)] != std::complex<T>()) points.push_back({j, cl(y[size_t(j)])});
  ASSERT_EQ(zor_fft_forward(d, y.data()), 0);
  const long double pi = 3.14159265358979323846264338327950288L;
  long double e = 0, r = 0;
  for (int b = 0; b < 64; ++b) {
    const int64_t k = b == 0 ? 0 : rng.integer(1, n - 1);
    cl s = 0;
    for (auto &[j, v] : points) s += v * std::polar(1.0L, -2 * pi * (long double)((__int128)j * k % n) / n);
    e += std::norm(cl(y[size_t(k)]) - s);
    r += std::norm(s);
  }
  EXPECT_LE(double(std::sqrt(e / r)), error_bound<T>(n));
  ASSERT_EQ(zor_fft_backward(d, y.data()), 0);
  long double back = 0, size = 0;
  size_t p = 0;
  for (int64_t j = 0; j < n; ++j) {
    cl want = p < points.size() && points[p].first == j ? points[p++].second : cl(0);
    back += std::norm(cl(y[size_t(j)]) - want);
    size += std::norm(want);
  }
  EXPECT_LE(double(std::sqrt(back / size)), error_bound<T>(n, 10));
}

TEST(DftFourStepLong, DoubleTwoToThe27) { check_beyond_limit<double>(int64_t(1) << 27, 8192, 16384); }
TEST(DftFourStepLong, SingleTwoToThe28) { check_beyond_limit<float>(int64_t(1) << 28, 16384, 16384); }

}  // namespace
