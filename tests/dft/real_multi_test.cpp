// Real transforms of rank 2 and above: the half spectrum as complex values
// (storage 39) or in a real ccs array (storage 40), in place and out of
// place, padded strides, batches, both precisions, against the long-double
// transform taken axis by axis; the round trip; the refused layouts.
#include <numeric>

#include <zor/dft_tier.h>

#include "dft_testing.hpp"

namespace {

using namespace zor::test;

struct Task {
  std::vector<int64_t> len;
  bool cce = true, out = true;
  int64_t transforms = 1;
  // Strides in the units of each side: reals, and complex values (storage
  // 39) or reals (storage 40); padding after each row and slab.
  std::vector<int64_t> rs, cs;
  int64_t roff = 0, coff = 0, rdist = 0, cdist = 0;
  int64_t h() const { return len[0] / 2 + 1; }
  int64_t points() const { return std::accumulate(len.begin(), len.end(), int64_t(1), std::multiplies<>()); }
};

Task make_task(Rng &rng, std::vector<int64_t> len, bool cce, bool out) {
  Task t;
  t.len = len, t.cce = cce, t.out = out;
  t.transforms = 1 + rng.integer(0, 1);
  const int64_t h = len[0] / 2 + 1;
  // In place the rows of both sides start together: a real row holds 2h values.
  int64_t rstep = out ? len[0] + rng.integer(0, 2) : 2 * h + 2 * rng.integer(0, 1);
  int64_t cstep = out ? h + rng.integer(0, 2) : rstep / 2;
  t.rs = {1}, t.cs = {1};
  for (size_t k = 1; k < len.size(); ++k) {
    t.rs.push_back(rstep), t.cs.push_back(cstep);
    rstep *= len[k], cstep *= len[k];
  }
  t.rdist = rstep, t.cdist = cstep;
  if (out) t.roff = rng.integer(0, 3), t.coff = rng.integer(0, 3);
  if (!cce) {  // the complex side in reals
    for (size_t k = 1; k < t.cs.size(); ++k) t.cs[k] *= 2;
    t.cdist *= 2, t.coff *= 2;
  }
  return t;
}

template <class T>
void check(const Task &t, Rng &rng) {
  using C = std::complex<T>;
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed << " bytes " << sizeof(T) << " shape "
                                  << ::testing::PrintToString(t.len) << " cce " << t.cce << " out " << t.out
                                  << " transforms " << t.transforms);
  DftNode *d = nullptr;
  ASSERT_EQ(zor_fft_create(&d, precision_of<T>, DFT_REAL, int64_t(t.len.size()), t.len.data()), 0);
  if (t.cce) ASSERT_EQ(zor_fft_set_value(d, DFT_CONJUGATE_EVEN_STORAGE, DFT_COMPLEX_COMPLEX), 0);
  if (t.out) ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  ASSERT_EQ(zor_fft_set_number_of_transforms(d, t.transforms), 0);
  const double scale = 0.5;
  ASSERT_EQ(zor_fft_set_scale(d, DFT_FORWARD_SCALE, scale), 0);
  auto strides = [](int64_t off, const std::vector<int64_t> &s) {
    std::vector<int64_t> v{off};
    v.insert(v.end(), s.begin(), s.end());
    return v;
  };
  // Forward: reads the reals, writes the spectrum. In place with storage 40
  // both use the input strides (those of the reals).
  std::vector<int64_t> ri = strides(t.roff, t.rs), co = strides(t.coff, t.cs);
  ASSERT_EQ(zor_fft_set_input_strides(d, ri.data()), 0);
  ASSERT_EQ(zor_fft_set_output_strides(d, co.data()), 0);
  ASSERT_EQ(zor_fft_set_input_distance(d, t.rdist), 0);
  ASSERT_EQ(zor_fft_set_output_distance(d, t.cdist), 0);
  ASSERT_EQ(zor_fft_commit(d), 0);

  const int64_t unit = t.cce ? 2 : 1;  // reals per complex-side element
  const int64_t real_span = t.roff + t.transforms * t.rdist + 2;
  const int64_t spec_span = (t.coff + t.transforms * t.cdist) * unit + 2;
  std::vector<T> a(size_t(std::max(real_span, t.out ? 0 : spec_span)), T(3)), b(size_t(t.out ? spec_span : 0), T(3));
  const int64_t P = t.points(), rows = P / t.len[0];
  auto real_at = [&](int64_t p, int64_t tr) {
    int64_t o = t.roff + tr * t.rdist, rest = p;
    for (size_t k = 0; k < t.len.size(); ++k) o += (rest % t.len[k]) * t.rs[k], rest /= t.len[k];
    return o;
  };
  // The real index (of T) of half-spectrum entry (k0, row) of transform tr.
  auto spec_at = [&](int64_t k0, int64_t row, int64_t tr) {
    int64_t o = (t.coff + tr * t.cdist) * unit + 2 * k0, rest = row;
    for (size_t k = 1; k < t.len.size(); ++k) o += (rest % t.len[k]) * t.cs[k] * unit, rest /= t.len[k];
    return o;
  };
  std::vector<std::vector<cl>> x(size_t(t.transforms), std::vector<cl>(size_t(P)));
  for (int64_t tr = 0; tr < t.transforms; ++tr)
    for (int64_t p = 0; p < P; ++p) {
      T v = T(rng.uniform());
      a[size_t(real_at(p, tr))] = v;
      x[size_t(tr)][size_t(p)] = cl(v);
    }
  std::vector<T> keep = a;
  ASSERT_EQ(t.out ? zor_fft_forward_out(d, a.data(), b.data()) : zor_fft_forward(d, a.data()), 0);
  std::vector<T> &spectrum = t.out ? b : a;
  if (t.out) EXPECT_TRUE(a == keep);
  for (int64_t tr = 0; tr < t.transforms; ++tr) {
    std::vector<cl> X = naive_md(x[size_t(tr)], t.len), want;
    std::vector<C> have;
    for (int64_t row = 0; row < rows; ++row)
      for (int64_t k0 = 0; k0 < t.h(); ++k0) {
        want.push_back(X[size_t(row * t.len[0] + k0)]);
        const int64_t o = spec_at(k0, row, tr);
        have.push_back(C(spectrum[size_t(o)], spectrum[size_t(o + 1)]));
      }
    EXPECT_LT(relative_error(have, want, scale), error_bound<T>(P, 10)) << "transform " << tr;
  }
  // Backward: reads the spectrum (input strides), writes the reals.
  ASSERT_EQ(zor_fft_set_input_strides(d, co.data()), 0);
  ASSERT_EQ(zor_fft_set_output_strides(d, ri.data()), 0);
  ASSERT_EQ(zor_fft_set_input_distance(d, t.cdist), 0);
  ASSERT_EQ(zor_fft_set_output_distance(d, t.rdist), 0);
  if (!t.cce && !t.out) {  // storage 40 in place: the input fields, those of the reals
    ASSERT_EQ(zor_fft_set_input_strides(d, ri.data()), 0);
    ASSERT_EQ(zor_fft_set_input_distance(d, t.rdist), 0);
  }
  ASSERT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 1.0 / double(P)), 0);
  ASSERT_EQ(zor_fft_commit(d), 0);
  std::vector<T> back(a.size(), T(3)), spectrum_copy = spectrum;
  ASSERT_EQ(t.out ? zor_fft_backward_out(d, b.data(), back.data()) : zor_fft_backward(d, a.data()), 0);
  const std::vector<T> &got = t.out ? back : a;
  if (t.out) EXPECT_TRUE(b == spectrum_copy) << "input changed";
  double worst = 0;
  for (int64_t tr = 0; tr < t.transforms; ++tr)
    for (int64_t p = 0; p < P; ++p)
      worst = std::max(worst, double(std::fabs(cl(got[size_t(real_at(p, tr))]).real() -
                                               scale * x[size_t(tr)][size_t(p)].real())));
  EXPECT_LT(worst, 20 * error_bound<T>(P));
  zor_fft_free(&d);
}

const std::vector<std::vector<int64_t>> kShapes = {{4, 3},  {5, 4},   {2, 3, 4}, {1, 5},  {6, 1},    {16, 16},
                                                   {7, 2, 3}, {33, 5}, {8, 4, 2, 3}, {64, 9}, {3, 3, 3, 2}};

template <class T>
void all_tasks(uint64_t seed) {
  Rng rng(seed);
  for (const auto &shape : kShapes)
    for (bool cce : {true, false})
      for (bool out : {true, false}) check<T>(make_task(rng, shape, cce, out), rng);
}

// The plane routines give the descriptor's numbers, and refuse a node of
// the other storage.
template <class T>
void plane_routines() {
  constexpr bool dbl = sizeof(T) == 8;
  int64_t len[2] = {12, 5}, spectrum[3] = {0, 1, 7};
  Rng rng(503);
  for (bool cce : {true, false}) {
    DftNode *d = nullptr;
    ASSERT_EQ(zor_fft_create(&d, precision_of<T>, DFT_REAL, 2, len), 0);
    if (cce) ASSERT_EQ(zor_fft_set_value(d, DFT_CONJUGATE_EVEN_STORAGE, DFT_COMPLEX_COMPLEX), 0);
    else spectrum[2] = 14;
    ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
    ASSERT_EQ(zor_fft_set_output_strides(d, spectrum), 0);
    ASSERT_EQ(zor_fft_commit(d), 0);
    std::vector<T> x(60), a(80, T(0)), b(80, T(0));
    for (auto &v : x) v = T(rng.uniform());
    ASSERT_EQ(zor_fft_forward_out(d, x.data(), a.data()), 0);
    auto forward = cce ? (dbl ? zor_dft_xdzzdft2d : zor_dft_xsccdft2d) : (dbl ? zor_dft_xdzdft2d : zor_dft_xscdft2d);
    auto other = cce ? (dbl ? zor_dft_xdzdft2d : zor_dft_xscdft2d) : (dbl ? zor_dft_xdzzdft2d : zor_dft_xsccdft2d);
    ASSERT_EQ(forward(d, x.data(), b.data(), d->workspace), 0);
    EXPECT_TRUE(same_bits(a, b)) << "cce " << cce;
    EXPECT_EQ(other(d, x.data(), b.data(), d->workspace), 3);
    // Backward through the plane routine with the spectrum read by the input
    // strides: the scaled round trip.
    ASSERT_EQ(zor_fft_set_input_strides(d, spectrum), 0);
    int64_t dense[3] = {0, 1, 12};
    ASSERT_EQ(zor_fft_set_output_strides(d, dense), 0);
    ASSERT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 1.0 / 60), 0);
    ASSERT_EQ(zor_fft_commit(d), 0);
    std::vector<T> back(60);
    auto backward = cce ? (dbl ? zor_dft_xzzddft2d : zor_dft_xccsdft2d) : (dbl ? zor_dft_xzddft2d : zor_dft_xcsdft2d);
    ASSERT_EQ(backward(d, a.data(), back.data(), d->workspace), 0);
    for (size_t i = 0; i < 60; ++i) EXPECT_NEAR(double(back[i]), double(x[i]), 100 * error_bound<T>(60)) << i;
    zor_fft_free(&d);
  }
}

TEST(DftRealMulti, PlaneRoutines) {
  plane_routines<double>();
  plane_routines<float>();
}

TEST(DftRealMulti, AgainstNaiveDouble) { all_tasks<double>(501); }
TEST(DftRealMulti, AgainstNaiveSingle) { all_tasks<float>(502); }

// Pack and Perm keep no complex half spectrum: refused at rank 2 (6);
// storage 40 needs a unit first stride and even strides after it on the
// spectrum's side (3).
TEST(DftRealMulti, Statuses) {
  int64_t len[2] = {8, 4};
  DftNode *d = nullptr;
  ASSERT_EQ(zor_fft_create(&d, DFT_DOUBLE, DFT_REAL, 2, len), 0);
  ASSERT_EQ(zor_fft_set_value(d, DFT_PACKED_FORMAT, DFT_PACK_FORMAT), 0);
  EXPECT_EQ(zor_fft_commit(d), 6);
  ASSERT_EQ(zor_fft_set_value(d, DFT_PACKED_FORMAT, DFT_CCS_FORMAT), 0);
  ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  // An odd stride on the spectrum's side: forward writes there (3), while
  // backward, which reads the input fields, is still possible.
  int64_t odd[3] = {0, 1, 9};
  ASSERT_EQ(zor_fft_set_output_strides(d, odd), 0);
  ASSERT_EQ(zor_fft_commit(d), 0);
  std::vector<double> x(64, 1.0), y(64, 0.0);
  EXPECT_EQ(zor_fft_forward_out(d, x.data(), y.data()), 3);
  ASSERT_EQ(zor_fft_set_input_strides(d, odd), 0);
  EXPECT_EQ(zor_fft_commit(d), 3);
  odd[2] = 10;
  ASSERT_EQ(zor_fft_set_output_strides(d, odd), 0);
  ASSERT_EQ(zor_fft_set_input_strides(d, odd), 0);
  EXPECT_EQ(zor_fft_commit(d), 0);
  zor_fft_free(&d);
  EXPECT_EQ(zor_dft_dfti_create_drmd(&d, 0, len), 2);
  EXPECT_EQ(zor_dft_dfti_create_srmd(nullptr, 2, len), 3);
}

}  // namespace
