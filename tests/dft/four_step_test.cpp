// Long one-dimensional transforms by four steps, forced from 2^16 up: against
// the plan path and the naive transform in long double on sampled bins; every
// scratch mode, placement and data offset gives the same bits; the exported
// pieces make the transform; the two-level table; the splits.
#include <algorithm>
#include <array>
#include <cstring>

#include <zor/dft_tier.h>

#include "dft_testing.hpp"

namespace {

using namespace zor::test;

DftFourStep *state(DftNode *d) { return static_cast<DftFourStep *>(d->four_step_state); }

struct Forced : Descriptor {
  Forced(int32_t precision, int64_t n, int32_t placement, double scale) : Descriptor(precision, n) {
    EXPECT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, placement), 0);
    EXPECT_EQ(zor_fft_set_scale(d, DFT_FORWARD_SCALE, scale), 0);
    EXPECT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, scale), 0);
    d->force_four_step = 1;
    EXPECT_EQ(zor_fft_commit(d), 0);
  }
};

// One transform through the front, the data `offset` bytes off 16.
template <class T>
std::vector<std::complex<T>> run(DftNode *d, const std::vector<std::complex<T>> &x, bool fwd, size_t offset = 0) {
  GuardedBuffer<std::complex<T>> in(x.size(), offset), out(x.size(), offset);
  for (size_t k = 0; k < x.size(); ++k) in.set(k, x[k]);
  const bool inplace = d->placement == DFT_INPLACE;
  EXPECT_EQ(inplace ? (fwd ? zor_fft_forward : zor_fft_backward)(d, in.data())
                    : (fwd ? zor_fft_forward_out : zor_fft_backward_out)(d, in.data(), out.data()),
            0);
  EXPECT_TRUE(in.guards_intact() && out.guards_intact());
  return inplace ? in.copy() : out.copy();
}

struct Split {
  int64_t n, m1, m2;
  bool every_mode;  // all three scratch modes, both placements and scales
};

template <class T>
void check_forced(const Split &c, const std::vector<cf> &x32, const std::vector<int64_t> &bins,
                  const std::vector<cl> (&naive)[2]) {
  const std::vector<std::complex<T>> x(x32.begin(), x32.end());
  const double bound = error_bound<T>(c.n);
  Descriptor plan(precision_of<T>, c.n);
  ASSERT_EQ(zor_fft_commit(plan), 0);
  ASSERT_EQ(plan->four_step_state, nullptr);
  const std::vector<std::complex<T>> by_plan[2] = {run(plan, x, false), run(plan, x, true)};
  for (double scale : {1.0 / double(c.n), 1.0}) {
    std::vector<std::complex<T>> first[2];
    for (int32_t placement : {DFT_INPLACE, DFT_NOT_INPLACE})
      for (int32_t mode : {1, 0, -1}) {
        SCOPED_TRACE(testing::Message() << "n " << c.n << " precision " << precision_of<T> << " scale " << scale
                                        << " placement " << placement << " mode " << mode);
        Forced d(precision_of<T>, c.n, placement, scale);
        ASSERT_NE(state(d), nullptr);
        EXPECT_EQ(state(d)->rows, c.m1);
        EXPECT_EQ(state(d)->cols, c.m2);
        EXPECT_EQ(state(d)->row_node == state(d)->col_node, c.m1 == c.m2);
        EXPECT_EQ(state(d)->transpose_mode, 1);
        state(d)->transpose_mode = mode;
        for (bool fwd : {false, true}) {
          const auto y = run(d, x, fwd, first[fwd].empty() ? 0 : 8);
          if (!first[fwd].empty()) {
            EXPECT_TRUE(y == first[fwd]) << "forward " << fwd;  // same arithmetic everywhere
            continue;
          }
          first[fwd] = y;
          EXPECT_LE(relative_error(y, std::vector<cl>(by_plan[fwd].begin(), by_plan[fwd].end()), scale), bound);
          std::vector<std::complex<T>> at;
          for (int64_t k : bins) at.push_back(y[size_t(k)]);
          EXPECT_LE(relative_error(at, naive[fwd], scale), bound);
        }
        // Forward then backward gives the input back, times n without scales.
        const auto back = run(d, first[1], false);
        EXPECT_LE(relative_error(back, std::vector<cl>(x.begin(), x.end()), scale == 1.0 ? c.n : 1.0 / c.n), bound);
        if (!c.every_mode) return;
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
    const std::vector<cl> naive[2] = {naive_bins(x, bins, false), naive_bins(x, bins, true)};
    check_forced<double>(c, x, bins, naive);
    check_forced<float>(c, x, bins, naive);
  }
}

// The exported pieces on a prepared node: steps 1 and 2 into lines, step 3 in
// two calls over parts of the columns, give the kernel's bits (mode 0 runs the
// same pieces on its scratch); a scale of 1/2 halves them exactly; step 4
// transposes the lines and scale_4 scales them.
template <class T>
void check_pieces(int64_t n) {
  using E = std::complex<T>;
  constexpr bool dbl = sizeof(T) == 8;
  Forced d(precision_of<T>, n, DFT_NOT_INPLACE, 1.0);
  DftFourStep *st = state(d);
  ASSERT_NE(st, nullptr);
  st->transpose_mode = 0;
  const int64_t m1 = st->rows, m2 = st->cols, pitch = st->row_pitch;
  Rng rng(18);
  const auto x = random_line<T>(n, rng);
  for (bool fwd : {true, false}) {
    SCOPED_TRACE(testing::Message() << "n " << n << " precision " << precision_of<T> << " forward " << fwd);
    const auto want = run(d, x, fwd);
    std::vector<E> lines(static_cast<size_t>(m2 * pitch)), out(want.size()), half(want.size()), t4(want.size()),
        t4s(want.size());
    ASSERT_EQ((dbl ? zor_dft_xz_4step_1_2 : zor_dft_xc_4step_1_2)(d, 0, m2, x.data(), 1, m2, lines.data(), pitch,
                                                                  nullptr, fwd),
              0);
    auto step_3 = dbl ? zor_dft_xz_4step_3 : zor_dft_xc_4step_3;
    ASSERT_EQ(step_3(d, 0, 37, lines.data(), pitch, out.data(), nullptr, fwd), 0);
    ASSERT_EQ(step_3(d, 37, m1 - 37, lines.data(), pitch, out.data(), nullptr, fwd), 0);
    EXPECT_TRUE(out == want);
    (fwd ? d->kernel_forward_scale : d->kernel_backward_scale) = 0.5;
    (fwd ? d->kernel_forward_scale_s : d->kernel_backward_scale_s) = 0.5f;
    ASSERT_EQ(step_3(d, 0, m1, lines.data(), pitch, half.data(), nullptr, fwd), 0);
    for (int64_t k = 0; k < n; ++k) ASSERT_EQ(half[size_t(k)], T(0.5) * want[size_t(k)]) << k;
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
  }
}

TEST(DftFourStep, PiecesMakeTheTransform) {
  check_pieces<double>(1 << 17);
  check_pieces<float>(1 << 17);
  check_pieces<double>(177147);
}

// Every root of 2^20 points from the two levels, against long double.
TEST(DftFourStep, TwoLevelTable) {
  const int64_t n = 1 << 20;
  Forced d(DFT_DOUBLE, n, DFT_INPLACE, 1.0);
  ASSERT_NE(state(d), nullptr);
  const int64_t T = state(d)->twiddle_count;
  EXPECT_EQ(T, 2048);
  const cd *lo = static_cast<const cd *>(state(d)->twiddles), *hi = lo + T;
  long double worst = 0;
  for (int64_t j = 0; j < n; ++j)
    worst = std::max(worst, std::abs(cl(lo[j % T] * hi[j / T]) - std::polar(1.0L, -2 * M_PIl * j / n)));
  EXPECT_LE(double(worst), 3 * std::numeric_limits<double>::epsilon());
}

// The split and the pitches (a line of a multiple of 4096 bytes moves on by
// 64); a prime has no split and takes the plan path; below 2^16 forcing does
// nothing.
TEST(DftFourStep, SplitsAndOtherPaths) {
  for (auto [n, m1, m2, row_pitch, col_pitch] : {std::array<int64_t, 5>{1 << 17, 256, 512, 260, 516},
                                                 std::array<int64_t, 5>{177147, 243, 729, 244, 732}}) {
    SCOPED_TRACE(n);
    Descriptor d(DFT_DOUBLE, n);
    d->length_log2 = int64_t(std::floor(std::log2(double(n))));
    d->force_four_step = -1;
    ASSERT_EQ(zor_dft_xz_init_data_1d_via_2d(d, d), 0);
    const DftFourStep *st = state(d);
    EXPECT_EQ(std::vector<int64_t>({st->rows, st->cols, st->row_pitch, st->col_pitch}),
              std::vector<int64_t>({m1, m2, row_pitch, col_pitch}));
    EXPECT_EQ(st->transpose_mode, -1);
    EXPECT_EQ(st->row_node->workspace, nullptr);
    d->uncommit(d);
    EXPECT_EQ(d->four_step_state, nullptr);
  }
  for (int32_t precision : {DFT_DOUBLE, DFT_SINGLE}) {
    Descriptor d(precision, 65537);
    d->length_log2 = 16;
    auto setup = precision == DFT_DOUBLE ? zor_dft_xz_init_data_1d_via_2d : zor_dft_xc_init_data_1d_via_2d;
    EXPECT_EQ(setup(d, d), DFT_NO_TWO_FACTOR_SPLIT);
    EXPECT_EQ(d->four_step_state, nullptr);
    d->force_four_step = 1;
    ASSERT_EQ(zor_fft_commit(d), 0);
    EXPECT_EQ(d->four_step_state, nullptr);
    EXPECT_EQ(d->uses_plan, 1);
  }
  Forced small(DFT_DOUBLE, 40000, DFT_INPLACE, 1.0);
  EXPECT_EQ(small->four_step_state, nullptr);
}

// Above the length limits (several GiB: long label). A few hundred random
// points, so that sampled bins of the naive transform cost little; forward
// then backward with 1/n gives them back.
template <class T>
void check_beyond_limit(int64_t n, int64_t m1, int64_t m2) {
  SCOPED_TRACE(testing::Message() << "n " << n << " precision " << precision_of<T>);
  Descriptor d(precision_of<T>, n);
  ASSERT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 1.0 / double(n)), 0);
  ASSERT_EQ(zor_fft_commit(d), 0);
  ASSERT_NE(state(d), nullptr);
  EXPECT_EQ(std::vector<int64_t>({state(d)->rows, state(d)->cols, state(d)->transpose_mode}),
            std::vector<int64_t>({m1, m2, 0}));
  Rng rng(21);
  std::vector<std::complex<T>> y(static_cast<size_t>(n)), x;
  std::vector<int64_t> at;
  for (int i = 0; i < 300; ++i) at.push_back(rng.integer(0, n - 1));
  for (int64_t j : at) y[size_t(j)] = {T(rng.uniform()), T(rng.uniform())};
  x = y;
  ASSERT_EQ(zor_fft_forward(d, y.data()), 0);
  std::sort(at.begin(), at.end());
  at.erase(std::unique(at.begin(), at.end()), at.end());
  std::vector<cl> want;
  std::vector<std::complex<T>> got;
  for (int b = 0; b < 64; ++b) {
    const int64_t k = b == 0 ? 0 : rng.integer(1, n - 1);
    cl s = 0;
    for (int64_t j : at) s += cl(x[size_t(j)]) * std::polar(1.0L, -2 * M_PIl * (long double)((__int128)j * k % n) / n);
    want.push_back(s), got.push_back(y[size_t(k)]);
  }
  EXPECT_LE(relative_error(got, want), error_bound<T>(n));
  ASSERT_EQ(zor_fft_backward(d, y.data()), 0);
  EXPECT_LE(relative_error(y, std::vector<cl>(x.begin(), x.end())), error_bound<T>(n, 10));
}

TEST(DftFourStepLong, DoubleTwoToThe27) { check_beyond_limit<double>(int64_t(1) << 27, 8192, 16384); }
TEST(DftFourStepLong, SingleTwoToThe28) { check_beyond_limit<float>(int64_t(1) << 28, 16384, 16384); }

}  // namespace
