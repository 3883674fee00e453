// Failed allocations, injected through the allocator module with pooling off
// (this program runs with ZOR_DISABLE_FAST_MM set, so every buffer is a raw
// allocation): the k-th allocation of create, of commit on each path and of
// compute fails, for every k. Each gives status 1, leaves the descriptor as
// it was and the live blocks as they were, and a retry computes the same
// numbers as a run without failure.
#include <functional>

#include "dft_testing.hpp"
#include "qalloc_module.h"

namespace {

using namespace zor::test;

long injected = 0;
long live_blocks() { return qalloc_count(QALLOC_MALLOC) - qalloc_count(QALLOC_FREE) - injected; }

// Raw allocations made by `body`.
long allocations_of(const std::function<void()> &body) {
  long before = qalloc_count(QALLOC_MALLOC);
  body();
  return qalloc_count(QALLOC_MALLOC) - before;
}

// `body` with its k-th allocation failing.
int64_t failing(long k, const std::function<int64_t()> &body) {
  qalloc_fail_nth(k);
  int64_t s = body();
  qalloc_fail_nth(0);
  ++injected;
  return s;
}

TEST(DftFaults, Create) {
  for (int32_t precision : {DFT_DOUBLE, DFT_SINGLE}) {
    int64_t n = 100;
    long count = allocations_of([&] {
      DftNode *d = nullptr;
      ASSERT_EQ(zor_fft_create(&d, precision, DFT_COMPLEX, 1, &n), 0);
      zor_fft_free(&d);
    });
    ASSERT_GT(count, 0);
    for (long k = 1; k <= count; ++k) {
      long live = live_blocks();
      DftNode *d = nullptr;
      EXPECT_EQ(failing(k, [&] { return zor_fft_create(&d, precision, DFT_COMPLEX, 1, &n); }), DFT_MEMORY_ERROR);
      EXPECT_EQ(d, nullptr);
      EXPECT_EQ(live_blocks(), live) << k;
    }
  }
}

struct Path {
  const char *name;
  int32_t precision;
  int64_t n;
  std::function<void(DftNode *)> configure;
  int32_t placement = DFT_INPLACE;
};

void no_settings(DftNode *) {}

// One transform of the line x (in place, or out of place into y).
template <class T>
std::vector<std::complex<T>> run(DftNode *d, const Path &p, const std::vector<std::complex<T>> &x, int64_t *status) {
  std::vector<std::complex<T>> y = x, out(x.size());
  *status = p.placement == DFT_INPLACE ? zor_fft_forward(d, y.data()) : zor_fft_forward_out(d, x.data(), out.data());
  return p.placement == DFT_INPLACE ? y : out;
}

template <class T>
void check_commit(const Path &p) {
  SCOPED_TRACE(p.name);
  Rng rng(11);
  auto x = random_line<T>(p.n * 8, rng);  // room for the strided paths
  auto make = [&] {
    Descriptor *d = new Descriptor(p.precision, p.n);
    EXPECT_EQ(zor_fft_set_value(*d, DFT_PLACEMENT, p.placement), 0);
    p.configure(*d);
    return d;
  };
  std::vector<std::complex<T>> want;
  long count = allocations_of([&] {
    Descriptor *d = make();
    ASSERT_EQ(zor_fft_commit(*d), 0);
    int64_t s;
    want = run<T>(*d, p, x, &s);
    ASSERT_EQ(s, 0);
    delete d;
  });
  Descriptor *d = make();
  DftNode *node = *d;
  long commit_count = allocations_of([&] { EXPECT_EQ(zor_fft_commit(node), 0); });
  ASSERT_LE(commit_count, count);
  for (long k = 1; k <= commit_count; ++k) {
    node->uncommit(node);  // nothing built: every allocation happens again
    long live = live_blocks();
    EXPECT_EQ(failing(k, [&] { return zor_fft_commit(node); }), DFT_MEMORY_ERROR) << "allocation " << k;
    EXPECT_EQ(node->commit_status, DFT_UNCOMMITTED);
    EXPECT_EQ(node->compute_forward, nullptr);
    EXPECT_EQ(live_blocks(), live) << "allocation " << k;
  }
  ASSERT_EQ(zor_fft_commit(*d), 0);
  int64_t s;
  auto again = run<T>(*d, p, x, &s);
  ASSERT_EQ(s, 0);
  EXPECT_EQ(again, want);

  // Compute: every allocation of one transform fails in turn.
  long compute_count = allocations_of([&] { run<T>(*d, p, x, &s); });
  for (long k = 1; k <= compute_count; ++k) {
    long live = live_blocks();
    failing(k, [&] {
      run<T>(*d, p, x, &s);
      return s;
    });
    EXPECT_EQ(s, DFT_MEMORY_ERROR) << "compute allocation " << k;
    EXPECT_EQ((*d)->commit_status, DFT_COMMITTED);
    EXPECT_EQ(live_blocks(), live);
  }
  auto last = run<T>(*d, p, x, &s);
  EXPECT_EQ(s, 0);
  EXPECT_EQ(last, want);
  delete d;
}

TEST(DftFaults, CommitAndComputeOnEachPath) {
  auto strided = [](DftNode *d) {
    int64_t s[2] = {0, 2};
    zor_fft_set_input_strides(d, s);
    zor_fft_set_output_strides(d, s);
  };
  auto interleaved = [](int64_t count) {
    return [count](DftNode *d) {
      int64_t s[2] = {0, count};
      zor_fft_set_input_strides(d, s);
      zor_fft_set_output_strides(d, s);
      zor_fft_set_number_of_transforms(d, count);
      zor_fft_set_input_distance(d, 1);
      zor_fft_set_output_distance(d, 1);
    };
  };
  auto scaled = [](DftNode *d) { zor_fft_set_scale(d, DFT_FORWARD_SCALE, 1.0 / 100); };
  auto two_users = [](DftNode *d) { zor_fft_set_value(d, DFT_NUMBER_OF_USER_THREADS, 2); };
  auto scrambled = [](DftNode *d) { zor_fft_set_value(d, DFT_ORDERING, DFT_BACKWARD_SCRAMBLED); };
  auto half = [](DftNode *d) { zor_fft_set_scale(d, DFT_BACKWARD_SCALE, 0.5); };
  auto four_steps = [](DftNode *d) { d->force_four_step = 1; };
  const Path paths[] = {
      {"small plan with its scale", DFT_DOUBLE, 100, scaled},
      {"fixed kernel with a table", DFT_DOUBLE, 1024, no_settings},
      {"power-of-two plan", DFT_DOUBLE, 4096, no_settings},
      {"mixed plan, strided lines", DFT_DOUBLE, 1000, strided, DFT_NOT_INPLACE},
      {"chirp plan", DFT_DOUBLE, 4097, no_settings},
      {"direct plan through the core", DFT_DOUBLE, 53, half},
      {"block worker", DFT_DOUBLE, 96, interleaved(4)},
      {"unordered plan", DFT_DOUBLE, 6000, scrambled},
      {"user threads", DFT_DOUBLE, 2048, two_users},
      {"single precision plan", DFT_SINGLE, 4096, no_settings},
      {"single precision block worker", DFT_SINGLE, 40, interleaved(5)},
      {"four steps", DFT_DOUBLE, 65536, four_steps},
      {"single precision four steps", DFT_SINGLE, 1 << 17, four_steps, DFT_NOT_INPLACE},
  };
  long before = injected;
  for (const Path &p : paths) {
    if (p.precision == DFT_DOUBLE) check_commit<double>(p);
    else check_commit<float>(p);
  }
  EXPECT_GT(injected - before, 2 * long(sizeof paths / sizeof paths[0]));
}

// The four steps with their scratch: each of its allocations fails in turn.
TEST(DftFaults, FourStepScratch) {
  for (int32_t placement : {DFT_INPLACE, DFT_NOT_INPLACE}) {
    const Path p{"four steps, scratch", DFT_DOUBLE, 65536, no_settings, placement};
    Descriptor d(DFT_DOUBLE, p.n);
    ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, placement), 0);
    d->force_four_step = 1;
    ASSERT_EQ(zor_fft_commit(d), 0);
    ASSERT_NE(d->four_step_state, nullptr);
    static_cast<DftFourStep *>(d->four_step_state)->transpose_mode = 0;
    Rng rng(13);
    auto x = random_line<double>(p.n, rng);
    int64_t s;
    auto want = run<double>(d, p, x, &s);
    ASSERT_EQ(s, 0);
    long count = allocations_of([&] { run<double>(d, p, x, &s); });
    ASSERT_GT(count, 0);
    for (long k = 1; k <= count; ++k) {
      long live = live_blocks();
      failing(k, [&] {
        run<double>(d, p, x, &s);
        return s;
      });
      EXPECT_EQ(s, DFT_MEMORY_ERROR) << k;
      EXPECT_EQ(live_blocks(), live);
    }
    EXPECT_EQ(run<double>(d, p, x, &s), want);
  }
}

// Split storage: one strided line, and three axes (a child per axis, split
// batch below the middle one).
void check_split(std::vector<int64_t> len, int64_t stride) {
  SCOPED_TRACE(testing::Message() << "split rank " << len.size());
  DftNode *d = nullptr;
  ASSERT_EQ(zor_fft_create(&d, DFT_DOUBLE, DFT_COMPLEX, int64_t(len.size()), len.data()), 0);
  zor_fft_set_value(d, DFT_COMPLEX_STORAGE, DFT_REAL_REAL);
  if (len.size() == 1) {
    int64_t s[2] = {0, stride};
    zor_fft_set_input_strides(d, s);
  }
  int64_t n = stride;
  for (int64_t l : len) n *= l;
  long count = allocations_of([&] { ASSERT_EQ(zor_fft_commit(d), 0); });
  for (long k = 1; k <= count; ++k) {
    d->uncommit(d);
    long live = live_blocks();
    EXPECT_EQ(failing(k, [&] { return zor_fft_commit(d); }), DFT_MEMORY_ERROR);
    d->uncommit(d);
    EXPECT_EQ(live_blocks(), live);
  }
  ASSERT_EQ(zor_fft_commit(d), 0);
  Rng rng(12);
  std::vector<double> re(static_cast<size_t>(n)), im(static_cast<size_t>(n));
  for (auto &v : re) v = rng.uniform();
  for (auto &v : im) v = rng.uniform();
  auto re0 = re, im0 = im;
  ASSERT_EQ(zor_fft_forward_split(d, re.data(), im.data()), 0);
  auto want_re = re, want_im = im;
  long compute_count = allocations_of([&] {
    re = re0, im = im0;
    zor_fft_forward_split(d, re.data(), im.data());
  });
  ASSERT_GT(compute_count, 0);
  for (long k = 1; k <= compute_count; ++k) {
    re = re0, im = im0;
    EXPECT_EQ(failing(k, [&] { return zor_fft_forward_split(d, re.data(), im.data()); }), DFT_MEMORY_ERROR);
  }
  re = re0, im = im0;
  ASSERT_EQ(zor_fft_forward_split(d, re.data(), im.data()), 0);
  EXPECT_EQ(re, want_re);
  EXPECT_EQ(im, want_im);
  zor_fft_free(&d);
}

TEST(DftFaults, SplitStorage) {
  check_split({300}, 3);
  check_split({6, 5, 4}, 1);
}

// Threads the provider's policy offers while in scope.
struct Policy {
  explicit Policy(int32_t t) { zor_core_dft_policy(0, t, t); }
  ~Policy() { zor_core_dft_policy(0, 1, 1); }
};

// Each allocation of a commit from scratch fails in turn: status 1, the node
// uncommitted, no block left behind.

void commit_faults(DftNode *d) {
  long count = allocations_of([&] { ASSERT_EQ(zor_fft_commit(d), 0); });
  ASSERT_GT(count, 0);
  for (long k = 1; k <= count; ++k) {
    d->uncommit(d);
    long live = live_blocks();
    EXPECT_EQ(failing(k, [&] { return zor_fft_commit(d); }), DFT_MEMORY_ERROR) << "allocation " << k;
    EXPECT_EQ(d->commit_status, DFT_UNCOMMITTED);
    EXPECT_EQ(live_blocks(), live) << "allocation " << k;
  }
}

// Real descriptors out of place: every allocation of commit (a power of two,
// an even and an odd mixed length; with four threads the large-real method,
// its child by four steps) and of a strided compute fails in turn.
template <class T>
void check_real(int64_t n, int64_t stride, int32_t threads = 1) {
  SCOPED_TRACE(testing::Message() << "real n " << n << " stride " << stride << " " << sizeof(T));
  const Policy policy(threads);
  DftNode *d = nullptr;
  ASSERT_EQ(zor_fft_create(&d, precision_of<T>, DFT_REAL, 1, &n), 0);
  const int64_t strides[2] = {0, stride};
  ASSERT_EQ(zor_fft_set_input_strides(d, strides), 0);
  ASSERT_EQ(zor_fft_set_output_strides(d, strides), 0);
  ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE), 0);
  commit_faults(d);
  ASSERT_EQ(zor_fft_commit(d), 0);
  EXPECT_EQ(d->extra_state != nullptr, threads >= 4);
  Rng rng(13);
  std::vector<T> x(static_cast<size_t>(stride * (n + 2))), want(x.size()), y(x.size());
  for (auto &v : x) v = T(rng.uniform());
  ASSERT_EQ(zor_fft_forward_out(d, x.data(), want.data()), 0);
  long compute_count = allocations_of([&] { zor_fft_forward_out(d, x.data(), y.data()); });
  EXPECT_EQ(compute_count, stride == 1 ? 0 : 1);
  for (long k = 1; k <= compute_count; ++k) {
    long live = live_blocks();
    EXPECT_EQ(failing(k, [&] { return zor_fft_forward_out(d, x.data(), y.data()); }), DFT_MEMORY_ERROR);
    EXPECT_EQ(live_blocks(), live);
  }
  std::fill(y.begin(), y.end(), T(0));
  ASSERT_EQ(zor_fft_forward_out(d, x.data(), y.data()), 0);
  EXPECT_EQ(y, want);
  zor_fft_free(&d);
}

TEST(DftFaults, RealTransforms) {
  check_real<double>(4096, 1);
  check_real<double>(1000, 3);
  check_real<float>(301, 2);
  check_real<double>(16384, 1, 4);
}

}  // namespace

namespace {

// Several dimensions, default strides: every allocation of commit (the axis
// chain, plans, workspace) and of one compute fails in turn. Real tasks run
// out of place with the spectrum as complex values, in both directions (the
// backward one copies the spectrum). With two threads the provider's
// stand-in runs the task as shares (backward out of place on its own copy).
template <class T>
void check_md(int32_t domain, std::vector<int64_t> len, int32_t placement, bool forward, int32_t threads = 1) {
  SCOPED_TRACE(testing::Message() << "domain " << domain << " rank " << len.size() << " placement " << placement
                                  << " forward " << forward << " bytes " << sizeof(T) << " threads " << threads);
  const Policy policy(threads);
  DftNode *d = nullptr;
  ASSERT_EQ(zor_fft_create(&d, precision_of<T>, domain, int64_t(len.size()), len.data()), 0);
  ASSERT_EQ(zor_fft_set_value(d, DFT_PLACEMENT, placement), 0);
  if (domain == DFT_REAL) ASSERT_EQ(zor_fft_set_value(d, DFT_CONJUGATE_EVEN_STORAGE, DFT_COMPLEX_COMPLEX), 0);
  commit_faults(d);
  ASSERT_EQ(zor_fft_commit(d), 0);
  int64_t total = 1;
  for (int64_t n : len) total *= n;
  Rng rng(14);
  const std::vector<std::complex<T>> x = random_line<T>(total, rng);
  auto run = [&](std::vector<std::complex<T>> &y) {
    std::vector<std::complex<T>> a = x;
    y.assign(x.size(), {});
    if (placement == DFT_INPLACE) {
      int64_t s = forward ? zor_fft_forward(d, a.data()) : zor_fft_backward(d, a.data());
      y = a;
      return s;
    }
    return forward ? zor_fft_forward_out(d, a.data(), y.data()) : zor_fft_backward_out(d, a.data(), y.data());
  };
  std::vector<std::complex<T>> want, y;
  ASSERT_EQ(run(want), 0);
  long compute_count = allocations_of([&] { run(y); });
  ASSERT_GT(compute_count, 0);
  for (long k = 1; k <= compute_count; ++k) {
    long live = live_blocks();
    EXPECT_EQ(failing(k, [&] { return run(y); }), DFT_MEMORY_ERROR) << "compute allocation " << k;
    EXPECT_EQ(live_blocks(), live);
  }
  ASSERT_EQ(run(y), 0);
  EXPECT_EQ(y, want);
  zor_fft_free(&d);
}

TEST(DftFaults, SeveralDimensions) {
  check_md<double>(DFT_COMPLEX, {12, 10, 3}, DFT_INPLACE, true);
  check_md<double>(DFT_COMPLEX, {40, 6}, DFT_NOT_INPLACE, false);
  check_md<float>(DFT_COMPLEX, {8, 5, 3, 2}, DFT_NOT_INPLACE, true);
  check_md<double>(DFT_REAL, {10, 6, 3}, DFT_NOT_INPLACE, true);
  check_md<double>(DFT_REAL, {10, 6}, DFT_NOT_INPLACE, false);
  check_md<float>(DFT_REAL, {9, 4}, DFT_NOT_INPLACE, false);
  check_md<double>(DFT_REAL, {10, 6, 3}, DFT_NOT_INPLACE, false, 2);
  check_md<float>(DFT_REAL, {8, 6}, DFT_NOT_INPLACE, true, 2);
}

}  // namespace
