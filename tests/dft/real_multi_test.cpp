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

// A committed node of the task for one direction: forward reads the reals
// and writes the spectrum, backward the reverse; in place with storage 40
// both use the fields of the reals. Null when a call fails.
template <class T>
DftNode *node_of(const Task &t, bool forward, double scale) {
  DftNode *d = nullptr;
  if (zor_fft_create(&d, precision_of<T>, DFT_REAL, int64_t(t.len.size()), t.len.data())) return nullptr;
  auto strides = [](int64_t off, const std::vector<int64_t> &s) {
    std::vector<int64_t> v{off};
    v.insert(v.end(), s.begin(), s.end());
    return v;
  };
  std::vector<int64_t> ri = strides(t.roff, t.rs), co = strides(t.coff, t.cs);
  const bool one_frame = !t.cce && !t.out;
  const std::vector<int64_t> &is = forward || one_frame ? ri : co, &os = forward ? co : ri;
  const int64_t id = forward || one_frame ? t.rdist : t.cdist, od = forward ? t.cdist : t.rdist;
  if ((t.cce && zor_fft_set_value(d, DFT_CONJUGATE_EVEN_STORAGE, DFT_COMPLEX_COMPLEX)) ||
      (t.out && zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE)) ||
      zor_fft_set_number_of_transforms(d, t.transforms) ||
      zor_fft_set_scale(d, forward ? DFT_FORWARD_SCALE : DFT_BACKWARD_SCALE, scale) ||
      zor_fft_set_input_strides(d, is.data()) || zor_fft_set_output_strides(d, os.data()) ||
      zor_fft_set_input_distance(d, id) || zor_fft_set_output_distance(d, od) || zor_fft_commit(d)) {
    zor_fft_free(&d);
    return nullptr;
  }
  return d;
}

// Reals of each side of a task: the real array and the spectrum's.
int64_t real_span(const Task &t) { return t.roff + t.transforms * t.rdist + 2; }
int64_t spectrum_span(const Task &t) { return (t.coff + t.transforms * t.cdist) * (t.cce ? 2 : 1) + 2; }

// Forward scale 0.5 and backward 1 / points, or both 1 with unit_scales.
template <class T>
void check(const Task &t, Rng &rng, bool unit_scales = false) {
  using C = std::complex<T>;
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed << " bytes " << sizeof(T) << " shape "
                                  << ::testing::PrintToString(t.len) << " cce " << t.cce << " out " << t.out
                                  << " transforms " << t.transforms);
  const double scale = unit_scales ? 1.0 : 0.5;
  DftNode *d = node_of<T>(t, true, scale);
  ASSERT_NE(d, nullptr);

  const int64_t unit = t.cce ? 2 : 1;  // reals per complex-side element
  std::vector<T> a(size_t(std::max(real_span(t), t.out ? 0 : spectrum_span(t))), T(3)),
      b(size_t(t.out ? spectrum_span(t) : 0), T(3));
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
  zor_fft_free(&d);
  const double back_scale = unit_scales ? 1.0 : 1.0 / double(P), round = scale * back_scale * double(P);
  d = node_of<T>(t, false, back_scale);
  ASSERT_NE(d, nullptr);
  std::vector<T> back(a.size(), T(3)), spectrum_copy = spectrum;
  ASSERT_EQ(t.out ? zor_fft_backward_out(d, b.data(), back.data()) : zor_fft_backward(d, a.data()), 0);
  const std::vector<T> &got = t.out ? back : a;
  if (t.out) EXPECT_TRUE(b == spectrum_copy) << "input changed";
  double worst = 0;
  for (int64_t tr = 0; tr < t.transforms; ++tr)
    for (int64_t p = 0; p < P; ++p)
      worst = std::max(worst, double(std::fabs(cl(got[size_t(real_at(p, tr))]).real() -
                                               round * x[size_t(tr)][size_t(p)].real())));
  EXPECT_LT(worst, 20 * error_bound<T>(P) * round);
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
    EXPECT_TRUE(d->kernels_2d[2 * dbl] && d->kernels_2d[2 * dbl + 1]);  // a lone plane runs them
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

// Cubes of up to 10 points a side with rows of 2 (L / 2) + 2 reals against
// L / 2 + 1 complex values, one transform, scales of 1: one routine for the
// whole cube (no axis chain), in place and out of place.
TEST(DftRealMulti, SmallCubes) {
  Rng rng(504);
  for (int64_t n = 1; n <= 11; ++n)
    for (bool out : {false, true}) {
      Task t;
      t.len = {n, n, n}, t.out = out;
      const int64_t h = n / 2 + 1;
      t.rs = {1, 2 * h, 2 * h * n}, t.cs = {1, h, h * n};
      t.rdist = 2 * h * n * n, t.cdist = h * n * n;
      for (bool forward : {true, false}) {
        DftNode *d = node_of<double>(t, forward, 1.0);
        ASSERT_NE(d, nullptr);
        EXPECT_EQ(d->next_axis == nullptr, n <= 10) << "cube " << n;
        zor_fft_free(&d);
      }
      check<double>(t, rng, true);
      check<float>(t, rng, true);
    }
}

TEST(DftRealMulti, AgainstNaive) {
  all_tasks<double>(501);
  all_tasks<float>(502);
}

// ---------------------------------------------------------------- shares

struct TwoThreads {
  TwoThreads() { zor_core_dft_policy(0, 2, 2); }
  ~TwoThreads() { zor_core_dft_policy(0, 1, 1); }
};

// The shares of a real task in the order a threading layer runs them, each
// pass cut at `cut` (a fraction of its count); the first two axes as slices
// or as two sweeps of lines.
template <class T>
int64_t by_shares(DftNode *d, T *in, T *out, bool forward, double cut, bool as_slices) {
  constexpr bool dbl = sizeof(T) == 8;
  auto two = [&](int64_t count, auto &&run) {
    const int64_t c = int64_t(double(count) * cut);
    if (int64_t s = run(0, c)) return s;
    return run(c, count - c);
  };
  auto line_share = forward ? (dbl ? zor_dft_ddz1_nd_out_par : zor_dft_ssc1_nd_out_par)
                            : (dbl ? zor_dft_zzd1_nd_out_par : zor_dft_ccs1_nd_out_par);
  auto slice_share = forward ? (dbl ? zor_dft_ddz2_nd_out_par : zor_dft_ssc2_nd_out_par)
                             : (dbl ? zor_dft_zzd2_nd_out_par : zor_dft_ccs2_nd_out_par);
  std::vector<int64_t> len;
  for (DftNode *a = d; a; a = a->next_axis) len.push_back(a->length);
  const int64_t rank = int64_t(len.size());
  auto lines = [&](int64_t axis) {
    int64_t count = d->transforms * (axis ? len[0] / 2 + 1 : 1);
    for (int64_t k = 1; k < rank; ++k) count *= k == axis ? 1 : len[size_t(k)];
    return two(count, [&](int64_t f, int64_t c) { return line_share(d, axis, in, out, f, c, d->workspace); });
  };
  auto first_two = [&] {
    if (as_slices) {
      int64_t slices = d->transforms;
      for (int64_t k = 2; k < rank; ++k) slices *= len[size_t(k)];
      return two(slices, [&](int64_t f, int64_t c) { return slice_share(d, in, out, f, c, d->workspace); });
    }
    if (int64_t s = lines(forward ? 0 : 1)) return s;
    return lines(forward ? 1 : 0);
  };
  if (rank == 1) return lines(0);
  int64_t s = forward ? first_two() : 0;
  for (int64_t j = 2; j < rank && !s; ++j) s = lines(forward ? j : rank + 1 - j);
  return s ? s : forward ? 0 : first_two();
}

// Every cut of every task into shares gives the whole task's bits, and so
// does the provider's stand-in with two threads allowed (every real task as
// shares, rank 1 batches too); backward out of place the shares work on a
// copy of the spectrum.
template <class T>
void shares_match(uint64_t seed) {
  Rng rng(seed);
  std::vector<std::vector<int64_t>> shapes = kShapes;
  shapes.push_back({10});
  for (const auto &shape : shapes)
    for (bool cce : {true, false})
      for (bool out : {true, false})
        for (bool forward : {true, false}) {
          const Task t = make_task(rng, shape, cce, out);
          SCOPED_TRACE(testing::Message() << "seed " << seed << " shape " << ::testing::PrintToString(shape)
                                          << " cce " << cce << " out " << out << " forward " << forward);
          DftNode *d = node_of<T>(t, forward, 0.25);
          ASSERT_NE(d, nullptr);
          const int64_t in_span = forward || !out ? std::max(real_span(t), out ? 0 : spectrum_span(t))
                                                  : spectrum_span(t);
          const int64_t out_span = !out ? 0 : forward ? spectrum_span(t) : real_span(t);
          std::vector<T> in(static_cast<size_t>(in_span), T(0)), out_whole(static_cast<size_t>(out_span), T(7));
          for (auto &v : in) v = T(rng.uniform());
          std::vector<T> in_whole = in;
          auto fft = forward ? (out ? zor_fft_forward_out : nullptr) : (out ? zor_fft_backward_out : nullptr);
          ASSERT_EQ(fft ? fft(d, in_whole.data(), out_whole.data())
                        : (forward ? zor_fft_forward : zor_fft_backward)(d, in_whole.data()),
                    0);
          const std::vector<T> &want = out ? out_whole : in_whole;
          for (bool as_slices : {true, false})
            for (double cut : {0.0, 0.3, 0.5, 1.0}) {
              std::vector<T> x = in, y(size_t(out_span), T(7));
              ASSERT_EQ(by_shares<T>(d, x.data(), out ? y.data() : nullptr, forward, cut, as_slices && shape.size() > 1), 0);
              EXPECT_TRUE(same_bits(out ? y : x, want)) << "cut " << cut << " slices " << as_slices;
            }
          zor_fft_free(&d);
          TwoThreads two;
          d = node_of<T>(t, forward, 0.25);
          ASSERT_NE(d, nullptr);
          EXPECT_EQ(d->threads, shape.size() > 1 || t.transforms > 1 ? 2 : 1);
          std::vector<T> x = in, y(size_t(out_span), T(7));
          ASSERT_EQ(fft ? fft(d, x.data(), y.data()) : (forward ? zor_fft_forward : zor_fft_backward)(d, x.data()), 0);
          EXPECT_TRUE(same_bits(out ? y : x, want)) << "two threads";
          if (out) EXPECT_TRUE(same_bits(x, in)) << "input changed";
          zor_fft_free(&d);
        }
}

TEST(DftRealMultiShares, EveryCutMatchesTheWholeTask) {
  shares_match<double>(507);
  shares_match<float>(508);
}

// Rows and columns of one plane, cut anywhere, against the plane routine;
// backward rows from a spectrum the column pass wrote out of place.
template <class T>
void plane_passes() {
  using C = std::complex<T>;
  constexpr bool dbl = sizeof(T) == 8;
  Rng rng(509);
  for (auto [n0, n1] : {std::pair<int64_t, int64_t>{16, 8}, {7, 9}, {10, 5}}) {
    SCOPED_TRACE(testing::Message() << n0 << " x " << n1);
    const int64_t h = n0 / 2 + 1, rp = n0 + 1, cp = h + 1;
    Task t;
    t.len = {n0, n1}, t.rs = {1, rp}, t.cs = {1, cp}, t.rdist = rp * n1, t.cdist = cp * n1;
    DftNode *f = node_of<T>(t, true, 1.0), *b = node_of<T>(t, false, 1.0 / double(n0 * n1));
    ASSERT_TRUE(f && b);
    std::vector<T> x(size_t(rp * n1));
    for (auto &v : x) v = T(rng.uniform());
    std::vector<C> whole(size_t(cp * n1));
    ASSERT_EQ((dbl ? zor_dft_xdzzdft2d : zor_dft_xsccdft2d)(f, x.data(), whole.data(), f->workspace), 0);
    const int64_t rs[2] = {1, rp}, cs[2] = {1, cp};
    const int slot = 2 * dbl;  // real kernels: forward, then backward
    auto rows_f = dbl ? zor_dft_dz2_r_dft : zor_dft_sc2_r_dft;
    auto cols_f = dbl ? zor_dft_dz2_c_dft : zor_dft_sc2_c_dft;
    const dft_axis_kernel kf = f->next_axis->kernels[2 * dbl + 1], kb = b->next_axis->kernels[2 * dbl];
    for (int64_t r : {int64_t(0), n1 / 2, n1})
      for (int64_t c : {int64_t(0), h / 3, h}) {
        std::vector<C> z(whole.size());
        int64_t st = -1;
        ASSERT_EQ(rows_f(x.data(), z.data(), rs, cs, 0, r, f->real_kernels[slot], f, f->workspace), 0);
        ASSERT_EQ(rows_f(x.data(), z.data(), rs, cs, r, n1 - r, f->real_kernels[slot], f, f->workspace), 0);
        cols_f(z.data(), &cs[0], &cs[1], 0, c, kf, f, &st, f->workspace);
        EXPECT_EQ(st, 0);
        cols_f(z.data(), &cs[0], &cs[1], c, h - c, kf, f, &st, f->workspace);
        EXPECT_EQ(st, 0);
        EXPECT_TRUE(same_bits(z, whole)) << "rows " << r << " columns " << c;
      }
    // Backward: the plane routine against every row name after the column
    // pass out of place, and every in-place column name before the rows.
    std::vector<T> want(x.size(), T(5));
    ASSERT_EQ((dbl ? zor_dft_xzzddft2d : zor_dft_xccsdft2d)(b, whole.data(), want.data(), b->workspace), 0);
    std::vector<C> z(whole.size());
    int64_t st = -1;
    (dbl ? zor_dft_ddz2_c_out_dft : zor_dft_ssc2_c_out_dft)(whole.data(), z.data(), cs, cs, 0, h, kb, b, &st,
                                                           b->workspace);
    EXPECT_EQ(st, 0);
    std::vector<T> got(x.size(), T(5));
    auto rows_b = {dbl ? zor_dft_zd2_r_dft : zor_dft_cs2_r_dft, dbl ? zor_dft_zd2_r_out_dft : zor_dft_cs2_r_out_dft,
                   dbl ? zor_dft_zzd2_r_out_dft : zor_dft_ccs2_r_out_dft};
    for (auto rows : rows_b) {
      ASSERT_EQ(rows(z.data(), got.data(), cs, rs, 0, n1, b->real_kernels[slot + 1], b, b->workspace), 0);
      EXPECT_TRUE(same_bits(got, want));
    }
    for (auto cols : {dbl ? zor_dft_zd2_c_dft : zor_dft_cs2_c_dft, dbl ? zor_dft_zzd2_c_dft : zor_dft_ccs2_c_dft}) {
      z = whole;
      cols(z.data(), &cs[0], &cs[1], 0, h, kb, b, &st, b->workspace);
      EXPECT_EQ(st, 0);
      got.assign(x.size(), T(5));
      ASSERT_EQ((dbl ? zor_dft_zd2_r_out_dft : zor_dft_cs2_r_out_dft)(z.data(), got.data(), cs, rs, 0, n1,
                                                                     b->real_kernels[slot + 1], b, b->workspace),
                0);
      EXPECT_TRUE(same_bits(got, want));
    }
    zor_fft_free(&f);
    zor_fft_free(&b);
  }
}

TEST(DftRealMultiShares, PlaneRowsAndColumns) {
  plane_passes<double>();
  plane_passes<float>();
}

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
