// Real plans of the radix layer (built into this program): the three layouts
// against the long-double transform, both directions, in place and out of
// place, every scale mode; the power-of-two plan by order; statuses.
#include <cstring>

#include "dft/plan.hpp"
#include "dft_testing.hpp"

namespace {

using namespace zor::test;
using namespace zor::dft;

template <class T>
using RealRoutine = int32_t (*)(const T *, T *, const DftPlan *, void *);
template <class T>
RealRoutine<T> routine(RealLayout l, bool forward) {
  switch (l) {
    case kCcs: return forward ? plan_ccs_forward<T> : plan_ccs_backward<T>;
    case kPack: return forward ? plan_pack_forward<T> : plan_pack_backward<T>;
    default: return forward ? plan_perm_forward<T> : plan_perm_backward<T>;
  }
}

// One length: every layout, both placements, each scale mode.
template <class T>
void check_length(int64_t n) {
  Rng rng(static_cast<uint64_t>(n) * 7 + sizeof(T));
  SCOPED_TRACE(testing::Message() << "n " << n << " seed " << rng.seed << " " << sizeof(T));
  std::vector<std::complex<T>> x(static_cast<size_t>(n));
  for (auto &v : x) v = {T(rng.uniform()), T(0)};
  const std::vector<cl> X = naive_dft(x, true);
  const double bound = error_bound<T>(n, 8);
  const int32_t modes[] = {DFT_SCALE_NONE, DFT_SCALE_FORWARD, DFT_SCALE_BACKWARD, DFT_SCALE_SQRT_BOTH};
  for (int32_t mode : modes) {
    DftPlan *p = nullptr;
    ASSERT_EQ(plan_create_real<T>(&p, n, mode, 0), 0);
    EXPECT_EQ(p->tag, DFT_PLAN_TAG_REAL);
    const long double fs = p->scale_forward ? (long double)p->scale : 1, bs = p->scale_backward ? p->scale : 1;
    for (RealLayout l : {kCcs, kPack, kPerm}) {
      SCOPED_TRACE(testing::Message() << kLayoutName[l] << " mode " << mode);
      const std::vector<long double> want = stored_spectrum(X, n, l);
      std::vector<T> in(static_cast<size_t>(n)), out(static_cast<size_t>(n) + 2, T(7)), inplace(static_cast<size_t>(n) + 2);
      for (int64_t j = 0; j < n; ++j) in[size_t(j)] = inplace[size_t(j)] = x[size_t(j)].real();
      ASSERT_EQ(routine<T>(l, true)(in.data(), out.data(), p, nullptr), 0);
      EXPECT_LE(max_relative(out.data(), want, fs), bound);
      if (l != kCcs) EXPECT_EQ(out[size_t(n)], T(7));  // nothing past n values
      ASSERT_EQ(routine<T>(l, true)(inplace.data(), inplace.data(), p, nullptr), 0);
      EXPECT_EQ(std::memcmp(out.data(), inplace.data(), sizeof(T) * want.size()), 0);
      // backward of the stored spectrum, out of place then in place
      std::vector<T> back(static_cast<size_t>(n) + 2);
      const std::vector<T> spectrum = out;
      ASSERT_EQ(routine<T>(l, false)(spectrum.data(), back.data(), p, nullptr), 0);
      ASSERT_EQ(routine<T>(l, false)(out.data(), out.data(), p, nullptr), 0);
      EXPECT_EQ(std::memcmp(out.data(), back.data(), sizeof(T) * size_t(n)), 0);
      std::vector<long double> orig(static_cast<size_t>(n));
      for (int64_t j = 0; j < n; ++j) orig[size_t(j)] = (long double)n * x[size_t(j)].real();
      EXPECT_LE(max_relative(back.data(), orig, fs * bs), 2 * bound);
    }
    plan_destroy(p);
  }
}

TEST(DftRealPlan, LayoutsAgainstNaive) {
  for (int64_t n = 1; n <= 300; ++n) {
    check_length<double>(n);
    check_length<float>(n);
  }
  for (int64_t n : {1000, 4096, 6006, 10007}) {
    check_length<double>(n);
    check_length<float>(n);
  }
}

// The plan by order: perm layout forward, inverse divided by the length, for
// every order up to 20; in place and the round trip.
template <class T>
void by_order(int32_t order) {
  const int64_t n = int64_t(1) << order;
  Rng rng(static_cast<uint64_t>(order));
  SCOPED_TRACE(testing::Message() << "order " << order << " seed " << rng.seed);
  DftPlan *p = nullptr;
  ASSERT_EQ(real_pow2_create<T>(&p, order), 0);
  EXPECT_EQ(p->tag, DFT_PLAN_TAG_POW2_REAL);
  int32_t work = -1;
  ASSERT_EQ(plan_work_size(p, &work), 0);
  std::vector<char> ws(static_cast<size_t>(work) + 1);
  std::vector<std::complex<T>> x(static_cast<size_t>(n));
  std::vector<T> line(static_cast<size_t>(n)), bins(static_cast<size_t>(n)), back(static_cast<size_t>(n));
  for (int64_t j = 0; j < n; ++j) line[size_t(j)] = T(rng.uniform()), x[size_t(j)] = line[size_t(j)];
  ASSERT_EQ(real_pow2_forward<T>(line.data(), bins.data(), p, work ? ws.data() : nullptr), 0);
  if (order <= 12) EXPECT_LE(max_relative(bins.data(), stored_spectrum(naive_dft(x, true), n, kPerm), 1), error_bound<T>(n, 8));
  ASSERT_EQ(real_pow2_inverse<T>(bins.data(), back.data(), p, nullptr), 0);
  std::vector<long double> orig(line.begin(), line.end());
  EXPECT_LE(max_relative(back.data(), orig, 1), error_bound<T>(n, 16));
  ASSERT_EQ(real_pow2_forward<T>(line.data(), line.data(), p, nullptr), 0);
  EXPECT_EQ(std::memcmp(line.data(), bins.data(), sizeof(T) * size_t(n)), 0);
  plan_destroy(p);
}

TEST(DftRealPlan, PowerOfTwoByOrder) {
  for (int32_t order = 0; order <= 20; ++order) {
    by_order<double>(order);
    by_order<float>(order);
  }
}

TEST(DftRealPlan, Statuses) {
  DftPlan *p = nullptr;
  EXPECT_EQ(plan_create_real<double>(&p, 0, DFT_SCALE_NONE, 0), DFT_PLAN_BAD_SIZE);
  EXPECT_EQ(plan_create_real<double>(&p, 64, 3, 0), DFT_PLAN_BAD_FLAG);
  EXPECT_EQ(plan_create_real<double>(&p, int64_t(1) << 28, DFT_SCALE_NONE, 0), DFT_PLAN_BAD_ORDER);
  EXPECT_EQ(plan_create_real<float>(&p, 0x4000001, DFT_SCALE_NONE, 0), DFT_PLAN_BAD_SIZE);
  EXPECT_EQ(real_pow2_create<double>(&p, 28), DFT_PLAN_BAD_ORDER);
  EXPECT_EQ(real_pow2_create<double>(&p, -1), DFT_PLAN_BAD_SIZE);
  EXPECT_EQ(plan_create_real<double>(nullptr, 64, DFT_SCALE_NONE, 0), DFT_PLAN_NULL_POINTER);
  EXPECT_EQ(p, nullptr);
  double x[66] = {};
  ASSERT_EQ(plan_create_real<double>(&p, 64, DFT_SCALE_NONE, 0), 0);
  EXPECT_EQ(p->fft->tag, DFT_PLAN_TAG_POW2_REAL);
  EXPECT_EQ(plan_ccs_forward<double>(nullptr, x, p, nullptr), DFT_PLAN_NULL_POINTER);
  EXPECT_EQ(plan_perm_backward<double>(x, x, nullptr, nullptr), DFT_PLAN_NULL_POINTER);
  EXPECT_EQ(real_pow2_forward<double>(x, x, p, nullptr), DFT_PLAN_WRONG_TAG);
  DftPlan *c = nullptr;
  ASSERT_EQ(plan_create_ordered<double>(&c, 64, DFT_SCALE_NONE, 0), 0);
  EXPECT_EQ(plan_pack_forward<double>(x, x, c, nullptr), DFT_PLAN_WRONG_TAG);
  plan_destroy(c);
  plan_destroy(p);
}

}  // namespace
