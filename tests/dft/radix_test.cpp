// The radix layer on its own (built into this program): factor lists and
// the chirp lengths, statuses of creation and compute, the kinds of plans,
// the unordered plan's permutation, split plans and in-place compute.
#include "dft/plan.hpp"
#include "dft_testing.hpp"

namespace {

using namespace zor::test;
using namespace zor::dft;

std::vector<int32_t> factors(int64_t n) {
  int32_t f[DFT_PLAN_MAX_FACTORS];
  int32_t count = factorise(n, f);
  return std::vector<int32_t>(f, f + count);
}

TEST(DftRadix, FactorListsAndChirpLengths) {
  using V = std::vector<int32_t>;
  EXPECT_EQ(factors(1000), (V{2, 4, 5, 5, 5}));
  EXPECT_EQ(factors(59049), V(10, 3));
  EXPECT_EQ(factors(34), (V{2, 17}));
  EXPECT_EQ(factors(12), (V{4, 3}));
  EXPECT_EQ(factors(17), V{});    // empty list: the direct transform
  EXPECT_EQ(factors(302), V{});   // 151 above 150
  EXPECT_EQ(factors(9797), V{});  // past candidate 90
  EXPECT_EQ(factors(2 * 149), (V{2, 149}));
  EXPECT_EQ(factors(3 * 97), V{});  // last factor above 90 in an odd length
  EXPECT_EQ(chirp_length(97), 200);
  EXPECT_EQ(chirp_length(4097), 16384);
  EXPECT_EQ(chirp_length(10007), 32768);
}

TEST(DftRadix, Statuses) {
  DftPlan *p = nullptr;
  EXPECT_EQ(plan_create_ordered<double>(&p, 0, DFT_SCALE_NONE, 0), DFT_PLAN_BAD_SIZE);
  EXPECT_EQ(plan_create_ordered<double>(&p, 16, 3, 0), DFT_PLAN_BAD_FLAG);
  EXPECT_EQ(plan_create_ordered<float>(&p, 0x4000001, DFT_SCALE_NONE, 0), DFT_PLAN_BAD_SIZE);
  EXPECT_EQ(plan_create_ordered<double>(&p, int64_t(1) << 28, DFT_SCALE_NONE, 0), DFT_PLAN_BAD_ORDER);
  EXPECT_EQ(plan_create_ordered<double>(nullptr, 16, DFT_SCALE_NONE, 0), DFT_PLAN_NULL_POINTER);
  EXPECT_EQ(p, nullptr);
  ASSERT_EQ(plan_create_split<double>(&p, 64, DFT_SCALE_NONE, 0), 0);
  std::vector<zor::cplx<double>> x(64);
  EXPECT_EQ(plan_forward<double>(x.data(), x.data(), p, nullptr), DFT_PLAN_WRONG_TAG);
  EXPECT_EQ(plan_forward<double>(nullptr, x.data(), p, nullptr), DFT_PLAN_NULL_POINTER);
  std::vector<double> re(64), im(64);
  EXPECT_EQ(plan_forward_split<double>(re.data(), im.data(), re.data(), im.data(), nullptr, nullptr),
            DFT_PLAN_NULL_POINTER);
  plan_destroy(p);
  int32_t work = -1;
  EXPECT_EQ(plan_work_size(nullptr, &work), DFT_PLAN_NULL_POINTER);
}

TEST(DftRadix, KindsAndWorkSizes) {
  struct Case {
    int64_t n;
    int32_t uses_fft, mixed, work;
  } cases[] = {{16, 0, 0, 0},     {17, 0, 0, 0},      {32, 1, 0, 16 * 32 + 32}, {34, 0, 1, (2 * 17 + 34) * 16 + 64},
               {1000, 0, 1, 1000 * 16 + 64}, {4096, 1, 0, 16 * 4096 + 32}};
  for (const Case &c : cases) {
    DftPlan *p = nullptr;
    ASSERT_EQ(plan_create_ordered<double>(&p, c.n, DFT_SCALE_NONE, 7), 0);
    EXPECT_EQ(p->tag, DFT_PLAN_TAG_COMPLEX);
    EXPECT_EQ(p->uses_fft, c.uses_fft) << c.n;
    EXPECT_EQ(p->mixed, c.mixed) << c.n;
    EXPECT_EQ(p->work_size, c.work) << c.n;
    EXPECT_EQ(p->hint, 7);
    if (c.uses_fft) EXPECT_EQ(p->fft->tag, DFT_PLAN_TAG_POW2_COMPLEX);
    plan_destroy(p);
  }
  DftPlan *p = nullptr;
  ASSERT_EQ(plan_create_ordered<float>(&p, 1000, DFT_SCALE_SQRT_BOTH, 0), 0);
  EXPECT_EQ(p->scale_forward + p->scale_backward, 2);
  EXPECT_DOUBLE_EQ(p->scale, 1 / std::sqrt(1000.0));
  // After the merge of 2 and 4, and the move of the power of two to the
  // last place: the pass without twiddles reads 8 points.
  EXPECT_EQ(p->factors[p->last_factor].radix, 8);
  plan_destroy(p);
}

// Above 5000 points the unordered plan leaves the forward output in a
// permutation that is not the natural order, and its backward transform
// takes that order back to the input; split plans and in-place compute
// agree with the ordered plan to the bit.
template <class T>
void kinds_agree(int64_t n) {
  using E = zor::cplx<T>;
  Rng rng(static_cast<uint64_t>(n));
  SCOPED_TRACE(testing::Message() << "n " << n << " seed " << rng.seed);
  std::vector<E> x(static_cast<size_t>(n));
  for (auto &v : x) v = {T(rng.uniform()), T(rng.uniform())};
  DftPlan *ordered = nullptr, *unordered = nullptr, *split = nullptr;
  ASSERT_EQ(plan_create_ordered<T>(&ordered, n, DFT_SCALE_NONE, 0), 0);
  ASSERT_EQ(plan_create_unordered<T>(&unordered, n, DFT_SCALE_BACKWARD, 0), 0);
  ASSERT_EQ(plan_create_split<T>(&split, n, DFT_SCALE_NONE, 0), 0);
  EXPECT_EQ(unordered->tag, DFT_PLAN_TAG_UNORDERED);
  std::vector<E> want(x.size()), in_place = x, scrambled(x.size()), back(x.size());
  ASSERT_EQ(plan_forward<T>(x.data(), want.data(), ordered, nullptr), 0);
  ASSERT_EQ(plan_forward<T>(in_place.data(), in_place.data(), ordered, nullptr), 0);
  EXPECT_EQ(std::memcmp(want.data(), in_place.data(), sizeof(E) * x.size()), 0);
  ASSERT_EQ(plan_forward<T>(x.data(), scrambled.data(), unordered, nullptr), 0);
  EXPECT_NE(std::memcmp(want.data(), scrambled.data(), sizeof(E) * x.size()), 0);
  ASSERT_EQ(plan_backward<T>(scrambled.data(), back.data(), unordered, nullptr), 0);
  double worst = 0;
  for (size_t k = 0; k < x.size(); ++k)
    worst = std::max(worst, double(std::abs(std::complex<T>(back[k].re - x[k].re, back[k].im - x[k].im))));
  EXPECT_LE(worst, 50 * std::numeric_limits<T>::epsilon());
  std::vector<T> re(x.size()), im(x.size());
  for (size_t k = 0; k < x.size(); ++k) re[k] = x[k].re, im[k] = x[k].im;
  ASSERT_EQ(plan_forward_split<T>(re.data(), im.data(), re.data(), im.data(), split, nullptr), 0);
  for (size_t k = 0; k < x.size(); ++k) EXPECT_TRUE(re[k] == want[k].re && im[k] == want[k].im) << k;
  plan_destroy(ordered);
  plan_destroy(unordered);
  plan_destroy(split);
}

TEST(DftRadix, KindsAgree) {
  for (int64_t n : {6000, 8192, 10240}) {
    kinds_agree<double>(n);
    kinds_agree<float>(n);
  }
}

}  // namespace
