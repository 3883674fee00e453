// Complex transforms of rank 2 and above: random shapes, axis orders in
// memory, padded strides, offsets and batches, in place and out of place,
// against the long-double transform taken axis by axis; the tier's shares,
// cut anywhere, against the whole task bit for bit; the two-dimensional
// routine's own cases; statuses of the creators.
#include <cstring>
#include <numeric>

#include <zor/dft_tier.h>

#include "dft_testing.hpp"

namespace {

using namespace zor::test;

// A task's layout: lengths, strides of each side (axis k steps by stride[k]),
// offsets, batch.
struct Layout {
  std::vector<int64_t> len, is, os;
  int64_t ioff = 0, ooff = 0, transforms = 1, idist = 0, odist = 0;
  bool out = false;
  int64_t total() const { return std::accumulate(len.begin(), len.end(), int64_t(1), std::multiplies<>()); }
  // Element index of point p (dense, axis 0 fastest) of transform t.
  int64_t at(int64_t p, int64_t t, bool input) const {
    int64_t o = input ? ioff + t * idist : ooff + t * odist;
    for (size_t k = 0; k < len.size(); ++k, p /= len[k - 1]) o += (p % len[k]) * (input ? is[k] : os[k]);
    return o;
  }
  int64_t span(bool input) const {
    int64_t m = 0;
    for (int64_t t = 0; t < transforms; ++t) m = std::max(m, at(total() - 1, t, input));
    return m + 1;
  }
};

// Strides of the axes in a random order of memory, each padded by 0 to 2
// elements; batches interleaved (distance 1) or one after another.
Layout random_layout(Rng &rng, std::vector<int64_t> len, bool out) {
  Layout l;
  l.len = len;
  l.out = out;
  const size_t r = len.size();
  l.transforms = 1 + int64_t(rng.integer(0, int64_t(3) - 1));
  const bool interleaved = l.transforms > 1 && rng.integer(0, int64_t(3) - 1) == 0;
  for (int side = 0; side < 2; ++side) {
    std::vector<size_t> order(r);
    std::iota(order.begin(), order.end(), 0);
    for (size_t i = r; i > 1; --i) std::swap(order[i - 1], order[size_t(rng.integer(0, int64_t(i) - 1))]);
    std::vector<int64_t> s(r);
    int64_t step = interleaved ? l.transforms : 1;
    for (size_t i : order) {
      s[i] = step;
      step *= len[i];
      step += int64_t(rng.integer(0, int64_t(3) - 1)) * (interleaved ? l.transforms : 1);
    }
    (side ? l.os : l.is) = s;
    (side ? l.odist : l.idist) = interleaved ? 1 : step + int64_t(rng.integer(0, int64_t(4) - 1));
    (side ? l.ooff : l.ioff) = int64_t(rng.integer(0, int64_t(3) - 1));
  }
  if (!out) l.os = l.is, l.odist = l.idist, l.ooff = l.ioff;
  return l;
}

template <class T>
DftNode *make(const Layout &l, double fscale, double bscale) {
  DftNode *d = nullptr;
  const int64_t rank = int64_t(l.len.size());
  EXPECT_EQ(zor_fft_create(&d, precision_of<T>, DFT_COMPLEX, rank, l.len.data()), 0);
  std::vector<int64_t> si{l.ioff}, so{l.ooff};
  si.insert(si.end(), l.is.begin(), l.is.end());
  so.insert(so.end(), l.os.begin(), l.os.end());
  EXPECT_EQ(zor_fft_set_input_strides(d, si.data()), 0);
  EXPECT_EQ(zor_fft_set_output_strides(d, so.data()), 0);
  EXPECT_EQ(zor_fft_set_number_of_transforms(d, l.transforms), 0);
  EXPECT_EQ(zor_fft_set_input_distance(d, l.idist), 0);
  EXPECT_EQ(zor_fft_set_output_distance(d, l.odist), 0);
  if (l.out) EXPECT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  EXPECT_EQ(zor_fft_set_scale(d, DFT_FORWARD_SCALE, fscale), 0);
  EXPECT_EQ(zor_fft_set_scale(d, DFT_BACKWARD_SCALE, bscale), 0);
  return d;
}

template <class T>
void check(const Layout &l, Rng &rng, bool forward, double scale) {
  using C = std::complex<T>;
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed << " bytes " << sizeof(T) << " out " << l.out << " fwd "
                                  << forward << " transforms " << l.transforms << " idist " << l.idist);
  DftNode *d = make<T>(l, forward ? scale : 1.0, forward ? 1.0 : scale);
  ASSERT_EQ(zor_fft_commit(d), 0);
  std::vector<C> x = random_line<T>(std::max(l.span(true), l.out ? 0 : l.span(false)), rng), keep = x;
  std::vector<C> y(size_t(l.out ? l.span(false) : 0), C(7, 7));
  ASSERT_EQ(l.out ? (forward ? zor_fft_forward_out(d, x.data(), y.data()) : zor_fft_backward_out(d, x.data(), y.data()))
                  : (forward ? zor_fft_forward(d, x.data()) : zor_fft_backward(d, x.data())),
            0);
  const std::vector<C> &got = l.out ? y : x;
  if (l.out) EXPECT_TRUE(x == keep) << "input changed";
  const int64_t total = l.total();
  for (int64_t t = 0; t < l.transforms; ++t) {
    std::vector<cl> dense(static_cast<size_t>(total));
    for (int64_t p = 0; p < total; ++p) dense[size_t(p)] = cl(keep[size_t(l.at(p, t, true))]);
    std::vector<cl> want = naive_md(dense, l.len, forward);
    std::vector<C> have(static_cast<size_t>(total));
    for (int64_t p = 0; p < total; ++p) have[size_t(p)] = got[size_t(l.at(p, t, false))];
    EXPECT_LT(relative_error(have, want, scale), error_bound<T>(total, 8)) << "transform " << t;
  }
  zor_fft_free(&d);
}

const std::vector<std::vector<int64_t>> kShapes = {
    {2, 3},   {3, 2},    {7, 5},   {16, 8},   {4, 4, 4}, {2, 3, 4}, {5, 1, 3}, {1, 6},   {13, 11},  {64, 8},
    {256, 3}, {512, 2},  {32, 32}, {6, 10},   {2, 2, 2, 2}, {3, 4, 2, 5}, {8, 40, 3}, {9, 7, 2}, {1024, 2}, {17, 2, 2, 3},
};

template <class T>
void random_tasks(uint64_t seed) {
  Rng rng(seed);
  for (const auto &shape : kShapes)
    for (bool out : {false, true}) {
      SCOPED_TRACE(testing::Message() << "shape " << ::testing::PrintToString(shape));
      Layout l = random_layout(rng, shape, out);
      check<T>(l, rng, true, 1.0);
      check<T>(l, rng, false, 1.0 / double(l.total()));
    }
}

TEST(DftMulti, RandomShapesAgainstNaiveDouble) { random_tasks<double>(401); }
TEST(DftMulti, RandomShapesAgainstNaiveSingle) { random_tasks<float>(402); }

// Dense cubes of up to 10 points a side, one transform, scales of 1: one
// routine for the whole cube (no axis chain), in place and out of place.
TEST(DftMulti, SmallCubes) {
  Rng rng(413);
  for (int64_t n = 2; n <= 11; ++n)
    for (bool out : {false, true}) {
      SCOPED_TRACE(testing::Message() << "cube " << n << " out " << out);
      Layout l;
      l.len = {n, n, n};
      l.is = l.os = {1, n, n * n};
      l.out = out;
      DftNode *d = make<double>(l, 1.0, 1.0);
      ASSERT_EQ(zor_fft_commit(d), 0);
      EXPECT_EQ(d->next_axis == nullptr, n <= 10);
      zor_fft_free(&d);
      check<double>(l, rng, true, 1.0);
      check<double>(l, rng, false, 1.0);
      check<float>(l, rng, true, 1.0);
    }
}

// Split storage over several axes (a child per axis, per batch level below
// it): every random layout against the interleaved transform of the same
// layout, both directions.
template <class T>
void split_tasks(uint64_t seed) {
  using C = std::complex<T>;
  Rng rng(seed);
  for (const auto &shape : kShapes)
    for (bool out : {false, true})
      for (bool forward : {true, false}) {
        const Layout l = random_layout(rng, shape, out);
        SCOPED_TRACE(testing::Message() << "seed " << seed << " shape " << ::testing::PrintToString(shape) << " out "
                                        << out << " forward " << forward << " transforms " << l.transforms);
        const double scale = forward ? 0.5 : 1.0 / double(l.total());
        DftNode *d = make<T>(l, forward ? scale : 1.0, forward ? 1.0 : scale), *s = make<T>(l, forward ? scale : 1.0,
                                                                                        forward ? 1.0 : scale);
        ASSERT_EQ(zor_fft_set_value(s, DFT_COMPLEX_STORAGE, DFT_REAL_REAL), 0);
        ASSERT_EQ(zor_fft_commit(d), 0);
        ASSERT_EQ(zor_fft_commit(s), 0);
        if (std::count_if(shape.begin(), shape.end(), [](int64_t n) { return n > 1; }) > 1)
          EXPECT_NE(s->extra_state, nullptr) << "no children";
        const size_t n_in = size_t(std::max(l.span(true), out ? 0 : l.span(false))), n_out = size_t(l.span(false));
        std::vector<C> x = random_line<T>(int64_t(n_in), rng), y(n_out, C(7, 7));
        std::vector<T> re(n_in), im(n_in), ore(n_out, T(7)), oim(n_out, T(7));
        for (size_t i = 0; i < n_in; ++i) re[i] = x[i].real(), im[i] = x[i].imag();
        if (forward) {
          ASSERT_EQ(out ? zor_fft_forward_out(d, x.data(), y.data()) : zor_fft_forward(d, x.data()), 0);
          ASSERT_EQ(out ? zor_fft_forward_split_out(s, re.data(), im.data(), ore.data(), oim.data())
                        : zor_fft_forward_split(s, re.data(), im.data()),
                    0);
        } else {
          ASSERT_EQ(out ? zor_fft_backward_out(d, x.data(), y.data()) : zor_fft_backward(d, x.data()), 0);
          ASSERT_EQ(out ? zor_fft_backward_split_out(s, re.data(), im.data(), ore.data(), oim.data())
                        : zor_fft_backward_split(s, re.data(), im.data()),
                    0);
        }
        const std::vector<C> &want = out ? y : x;
        const std::vector<T> &gr = out ? ore : re, &gi = out ? oim : im;
        std::vector<C> have, ref;
        for (int64_t t = 0; t < l.transforms; ++t)
          for (int64_t p = 0; p < l.total(); ++p) {
            const size_t i = size_t(l.at(p, t, false));
            have.push_back(C(gr[i], gi[i]));
            ref.push_back(want[i]);
          }
        EXPECT_LT(relative_error(have, std::vector<cl>(ref.begin(), ref.end())), error_bound<T>(l.total(), 8));
        zor_fft_free(&d);
        zor_fft_free(&s);
      }
}

TEST(DftMulti, SplitStorageByAxes) {
  split_tasks<double>(411);
  split_tasks<float>(412);
}

// Two threads allowed: the provider's stand-in runs every task cut into
// shares through the tier's share entries (and commit takes the fixed limits
// of several threads).
TEST(DftMulti, TasksRunAsShares) {
  struct Policy {
    Policy() { zor_core_dft_policy(0, 2, 2); }
    ~Policy() { zor_core_dft_policy(0, 1, 1); }
  } two_threads;
  Rng rng(410);
  DftNode *d = make<double>(random_layout(rng, {4, 6}, false), 1.0, 1.0);
  ASSERT_EQ(zor_fft_commit(d), 0);
  EXPECT_EQ(d->threads, 2);
  zor_fft_free(&d);
  random_tasks<double>(408);
  random_tasks<float>(409);
  for (int64_t n : {1, 5, 64}) {
    Layout l = random_layout(rng, {n}, true);
    l.transforms = 3;
    l.is = {1}, l.os = {1}, l.idist = n + 1, l.odist = n + 2;
    check<double>(l, rng, true, 1.0);
  }
}

// Unit strides, no padding, one transform: the direct two-dimensional path
// and the fixed kernels of every length up to 1024 on the first axis.
TEST(DftMulti, DenseTwoDimensional) {
  Rng rng(403);
  for (int64_t n0 : {2, 4, 64, 128, 512})
    for (int64_t n1 : {2, 8, 3}) {
      SCOPED_TRACE(testing::Message() << n0 << " x " << n1);
      Layout l;
      l.len = {n0, n1};
      l.is = l.os = {1, n0};
      check<double>(l, rng, true, 1.0);
      l.out = true;
      check<double>(l, rng, false, 0.5);
      check<float>(l, rng, true, 1.0);
    }
}

// ---------------------------------------------------------------- shares

template <class T>
struct Committed {
  DftNode *d;
  std::vector<std::complex<T>> in, out;
  Committed(const Layout &l, Rng &rng) : d(make<T>(l, 1.0, 1.0)) {
    EXPECT_EQ(zor_fft_commit(d), 0);
    in = random_line<T>(std::max(l.span(true), l.out ? 0 : l.span(false)), rng);
    out.assign(size_t(l.out ? l.span(false) : 0), {});
  }
  ~Committed() { zor_fft_free(&d); }
};

// The shares of a task in the order a threading layer runs them, each pass
// cut at `cut` (a fraction of its count).
template <class T>
int64_t by_shares(DftNode *d, std::complex<T> *in, std::complex<T> *out, bool out_of_place, double cut) {
  constexpr bool dbl = sizeof(T) == 8;
  auto two = [&](int64_t count, auto &&run) {
    int64_t c = int64_t(double(count) * cut);
    if (int64_t s = run(0, c)) return s;
    return run(c, count - c);
  };
  int64_t lengths[64], rank = 0, total = 1;
  for (DftNode *a = d; a; a = a->next_axis) total *= (lengths[rank++] = a->length);
  void *x = in + d->input_offset, *y = out_of_place ? static_cast<void *>(out + d->output_offset) : x;
  void *ws = d->workspace;
  auto lines = [&](int64_t axis, bool from_input) {
    return two(total / lengths[axis] * d->transforms, [&](int64_t f, int64_t c) {
      if (from_input && out_of_place)
        return (dbl ? zor_dft_z1_nd_out_par : zor_dft_c1_nd_out_par)(d, axis, x, y, f, c, ws, 1);
      return (dbl ? zor_dft_z1_nd_par : zor_dft_c1_nd_par)(d, axis, y, f, c, ws, 1);
    });
  };
  if (rank == 1) return lines(0, true);
  int64_t s = two(total / (lengths[0] * lengths[1]) * d->transforms, [&](int64_t f, int64_t c) {
    return out_of_place ? (dbl ? zor_dft_z2_nd_out_par : zor_dft_c2_nd_out_par)(d, x, y, f, c, ws, 1)
                        : (dbl ? zor_dft_z2_nd_par : zor_dft_c2_nd_par)(d, y, f, c, ws, 1);
  });
  for (int64_t a = 2; a < rank && !s; ++a) s = lines(a, false);
  return s;
}

template <class T>
void shares_match(uint64_t seed) {
  Rng rng(seed);
  for (const auto &shape : kShapes)
    for (bool out : {false, true}) {
      Layout l = random_layout(rng, shape, out);
      if (l.len.size() == 2 && l.transforms > 1 && l.idist == 1) continue;  // two sweeps of lines: below
      SCOPED_TRACE(testing::Message() << "seed " << seed << " shape " << ::testing::PrintToString(shape) << " out "
                                      << out);
      Committed<T> whole(l, rng), cut(l, rng);
      cut.in = whole.in;
      ASSERT_EQ(out ? zor_fft_forward_out(whole.d, whole.in.data(), whole.out.data())
                    : zor_fft_forward(whole.d, whole.in.data()),
                0);
      for (double f : {0.0, 0.3, 0.5, 1.0}) {
        std::vector<std::complex<T>> in = cut.in;
        ASSERT_EQ(by_shares<T>(cut.d, in.data(), cut.out.data(), out, f), 0);
        EXPECT_TRUE(same_bits(out ? cut.out : in, out ? whole.out : whole.in)) << "cut " << f;
      }
    }
}

TEST(DftMultiShares, EveryCutMatchesTheWholeTask) {
  shares_match<double>(404);
  shares_match<float>(405);
}

// Rows and columns of one two-dimensional transform, cut anywhere, against
// the whole routine; the column pass from one array to another too.
TEST(DftMultiShares, RowsAndColumns) {
  Rng rng(406);
  for (auto [n0, n1] : {std::pair<int64_t, int64_t>{16, 8}, {7, 9}, {64, 5}, {3, 33}}) {
    Layout l;
    l.len = {n0, n1};
    l.is = l.os = {1, n0 + 1};
    Committed<double> c(l, rng);
    std::vector<cd> whole = c.in;
    int64_t s0 = 1, s1 = n0 + 1, strides[2] = {1, n0 + 1};
    dft_axis_kernel k0 = c.d->kernels[3], k1 = c.d->next_axis->kernels[3];
    ASSERT_EQ(zor_dft_xzdft2d(whole.data(), &s0, &s1, k0, k1, c.d, c.d->workspace, 2), 0);
    for (int64_t r : {int64_t(0), n1 / 2, n1})
      for (int64_t col : {int64_t(0), n0 / 3, n0}) {
        std::vector<cd> x = c.in;
        int64_t st = -1;
        ASSERT_EQ(zor_dft_z2_r_dft(x.data(), x.data(), strides, strides, 0, r, k0, c.d, c.d->workspace), 0);
        ASSERT_EQ(zor_dft_z2_r_dft(x.data(), x.data(), strides, strides, r, n1 - r, k0, c.d, c.d->workspace), 0);
        zor_dft_z2_c_dft(x.data(), &s0, &s1, 0, col, k1, c.d, &st, c.d->workspace);
        EXPECT_EQ(st, 0);
        zor_dft_z2_c_dft(x.data(), &s0, &s1, col, n0 - col, k1, c.d, &st, c.d->workspace);
        EXPECT_EQ(st, 0);
        EXPECT_TRUE(same_bits(x, whole)) << n0 << "x" << n1 << " rows " << r << " columns " << col;
      }
    // Columns from the input into another array, then rows there (the
    // padding between rows is not written: it starts as the input's).
    std::vector<cd> y = c.in;
    for (int64_t j = 0; j < n1; ++j)
      for (int64_t i = 0; i < n0; ++i) y[size_t(j * s1 + i)] = cd(9, 9);
    int64_t st = -1;
    zor_dft_z2_c_out_dft(c.in.data(), y.data(), strides, strides, 0, n0, k1, c.d, &st, c.d->workspace);
    EXPECT_EQ(st, 0);
    ASSERT_EQ(zor_dft_z2_r_dft(y.data(), y.data(), strides, strides, 0, n1, k0, c.d, c.d->workspace), 0);
    EXPECT_LT(relative_error(y, std::vector<cl>(whole.begin(), whole.end())), error_bound<double>(n0 * n1));
  }
}

// ---------------------------------------------------------------- the two-dimensional routine

// A second axis of length 1 leaves the rows alone; with ordering 49 and
// unit stride the rows run in place (the unordered plan's order).
TEST(DftMulti2d, SingleRowAndUnorderedRows) {
  Rng rng(407);
  Layout l;
  l.len = {12, 5};
  l.is = l.os = {1, 12};
  Committed<double> c(l, rng);
  dft_axis_kernel k0 = c.d->kernels[3];
  std::vector<cd> x = c.in;
  int64_t s0 = 1, s1 = 12;
  DftNode one = *c.d->next_axis;
  one.length = 1;
  DftNode root = *c.d;
  root.next_axis = &one;
  ASSERT_EQ(zor_dft_xzdft2d(x.data(), &s0, &s1, k0, nullptr, &root, c.d->workspace, 2), 0);
  std::vector<cd> row(c.in.begin(), c.in.begin() + 12);
  EXPECT_LT(relative_error(std::vector<cd>(x.begin(), x.begin() + 12), naive_dft(row, true)), error_bound<double>(12));
  EXPECT_TRUE(std::equal(x.begin() + 12, x.end(), c.in.begin() + 12));

  // Unordered: a forward and a backward transform in place give n0 n1 x.
  DftNode *d = make<double>(l, 1.0, 1.0 / 60);
  ASSERT_EQ(zor_fft_set_value(d, DFT_ORDERING, DFT_BACKWARD_SCRAMBLED), 0);
  ASSERT_EQ(zor_fft_commit(d), 0);
  x = c.in;
  ASSERT_EQ(zor_fft_forward(d, x.data()), 0);
  ASSERT_EQ(zor_fft_backward(d, x.data()), 0);
  EXPECT_LT(relative_error(x, std::vector<cl>(c.in.begin(), c.in.end())), error_bound<double>(60));
  zor_fft_free(&d);
}

TEST(DftMultiStatus, Creators) {
  DftNode *d = nullptr;
  int64_t len[3] = {4, 0, 2};
  EXPECT_EQ(zor_dft_dfti_create_dcmd(nullptr, 2, len), 3);
  EXPECT_EQ(zor_dft_dfti_create_scmd(&d, 0, len), 2);
  EXPECT_EQ(zor_dft_dfti_create_dcmd(&d, 3, len), 2);
  len[1] = 3;
  ASSERT_EQ(zor_dft_dfti_create_scmd(&d, 3, len), 0);
  EXPECT_EQ(d->rank_user, 3);
  d->destroy(d);
}

}  // namespace
