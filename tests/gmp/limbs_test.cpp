// Limb routines against GMP's mpn layer: carries, one-limb products, the
// multiplication ladder on both sides of each step, the transform rung and
// its rounding margin, unbalanced products, division by a limb, the bit
// scans and the two-limb helpers. Outputs sit between guard limbs; operands
// are uniform, bit runs or all ones.
#include <algorithm>

#include "dft/plan.hpp"
#include "gmp/gmp_testing.hpp"
#include "gmp/transform.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::gmp;

constexpr size_t kGuard = 4;

std::vector<int32_t> sizes(std::initializer_list<std::pair<int32_t, int32_t>> ranges) {
  std::vector<int32_t> out;
  for (auto [lo, hi] : ranges)
    for (int32_t n = lo; n <= hi; ++n) out.push_back(n);
  return out;
}

const Pattern kPatterns[] = {Pattern::uniform, Pattern::runs, Pattern::ones};

// Carry loops and one-limb products, in place and out of place.
TEST(Limbs, AddSubtractAndOneLimbProducts) {
  Rng rng(101);
  for (int32_t n : sizes({{0, 40}, {127, 130}, {199, 202}, {8191, 8194}, {32767, 32770}, {65536, 65536}})) {
    for (Pattern pattern : kPatterns) {
      SCOPED_TRACE(::testing::Message() << "seed 101, n " << n << ", pattern " << int(pattern));
      auto a = random_limbs(rng, n, pattern), b = random_limbs(rng, n, Pattern::uniform);
      limb v = pattern == Pattern::ones ? ~limb(0) : limb(rng.engine());
      GuardedBuffer<limb> r(n, 0, kGuard);
      std::vector<limb> want(n + 1);
      auto check = [&](const char *what, limb got, limb expected) {
        EXPECT_EQ(got, expected) << what;
        EXPECT_TRUE(std::equal(want.begin(), want.begin() + n, r.data())) << what;
        EXPECT_TRUE(r.guards_intact()) << what;
      };
      if (n == 0) {
        EXPECT_EQ(zor_gmp___gmpn_add_n(r.data(), a.data(), b.data(), 0), 0u);
        EXPECT_EQ(zor_gmp___gmpn_sub_n(r.data(), a.data(), b.data(), 0), 0u);
        EXPECT_TRUE(r.guards_intact());
      } else {
        check("add_n", zor_gmp___gmpn_add_n(r.data(), a.data(), b.data(), n), mpn_add_n(want.data(), a.data(), b.data(), n));
        check("sub_n", zor_gmp___gmpn_sub_n(r.data(), a.data(), b.data(), n), mpn_sub_n(want.data(), a.data(), b.data(), n));
        check("add_1", zor_gmp___gmpn_add_1(r.data(), a.data(), n, v), mpn_add_1(want.data(), a.data(), n, v));
        check("sub_1", zor_gmp___gmpn_sub_1(r.data(), a.data(), n, v), mpn_sub_1(want.data(), a.data(), n, v));
        std::copy(b.begin(), b.end(), r.data());
        std::copy(b.begin(), b.end(), want.begin());
        check("addmul_1", zor_gmp___gmpn_addmul_1(r.data(), a.data(), n, v), mpn_addmul_1(want.data(), a.data(), n, v));
        check("submul_1", zor_gmp___gmpn_submul_1(r.data(), a.data(), n, v), mpn_submul_1(want.data(), a.data(), n, v));
        // in place: r is a
        std::copy(a.begin(), a.end(), r.data());
        check("add_n in place", zor_gmp___gmpn_add_n(r.data(), r.data(), b.data(), n),
              mpn_add_n(want.data(), a.data(), b.data(), n));
        std::copy(a.begin(), a.end(), r.data());
        check("sub_1 in place", zor_gmp___gmpn_sub_1(r.data(), r.data(), n, v), mpn_sub_1(want.data(), a.data(), n, v));
        EXPECT_EQ(sign(zor_gmp___gmpn_cmp(a.data(), b.data(), n)), sign(mpn_cmp(a.data(), b.data(), n)));
        EXPECT_EQ(zor_gmp___gmpn_cmp(a.data(), a.data(), n), 0);
      }
    }
  }
}

void check_product(Rng &rng, int32_t an, int32_t bn, Pattern pattern, bool balanced) {
  SCOPED_TRACE(::testing::Message() << "seed " << rng.seed << ", an " << an << ", bn " << bn << ", pattern "
                                    << int(pattern));
  auto a = random_limbs(rng, an, pattern), b = random_limbs(rng, bn, pattern);
  GuardedBuffer<limb> r(an + bn, 0, kGuard);
  std::vector<limb> want(an + bn);
  if (balanced) {
    zor_gmp___gmpn_mul_n(r.data(), a.data(), b.data(), an);
    mpn_mul_n(want.data(), a.data(), b.data(), an);
  } else {
    limb top = zor_gmp___gmpn_mul(r.data(), a.data(), an, b.data(), bn);
    if (bn > 0) {
      mpn_mul(want.data(), a.data(), an, b.data(), bn);
      EXPECT_EQ(top, want[an + bn - 1]);
    }
  }
  EXPECT_TRUE(std::equal(want.begin(), want.end(), r.data()));
  EXPECT_TRUE(r.guards_intact());
}

// Every step of the ladder and both sides of each switch, up to Karatsuba
// over the transform at 10^5 limbs.
TEST(Limbs, BalancedProductsOverTheLadder) {
  Rng rng(202);
  for (int32_t n : sizes({{1, 40}, {127, 130}, {199, 202}, {255, 258}, {8191, 8194}, {32767, 32770}, {65536, 65536},
                          {100000, 100000}}))
    for (Pattern pattern : kPatterns) check_product(rng, n, n, pattern, true);
}

// The four patterns of the transform's tests: the three above, and limbs
// whose balanced 16-bit digits are all -2^15, the largest in magnitude,
// where the rounding margin is smallest.
std::vector<limb> transform_operand(Rng &rng, int32_t n, int kind) {
  if (kind < 3) return random_limbs(rng, n, kPatterns[kind]);
  std::vector<limb> a(n, 0x7FFF7FFF7FFF7FFFull);
  a[0] = 0x7FFF7FFF7FFF8000ull;
  return a;
}

// The transform product itself, at the rung's ends and where its order
// changes (16384 / 16385), products and squares, its block 8 bytes off a
// 32-byte boundary; the largest distance of a value from its integer is
// logged and must stay far from one half. Then squares through the
// ladder on both sides of the rung's ends.
TEST(Limbs, TransformProductsAndTheirRoundingMargin) {
  namespace transform = zor::gmp::transform;
  Rng rng(204);
  for (int32_t n : {8193, 16384, 16385, 32768}) {
    int order = transform::order_for(n);
    ASSERT_GE(int64_t(1) << order, int64_t(8) * n);
    ASSERT_LT(int64_t(1) << order, int64_t(16) * n);
    DftPlan *plan = nullptr;
    ASSERT_EQ(zor::dft::real_pow2_create<double>(&plan, order), 0);
    int32_t work = 0;
    zor::dft::plan_work_size(plan, &work);
    std::vector<double> block(transform::block_bytes(order, work) / sizeof(double) + 8);
    double worst = 0;
    int worst_kind = 0;
    for (int kind = 0; kind < 4; ++kind)
      for (bool square : {false, true}) {
        SCOPED_TRACE(::testing::Message() << "seed 204, n " << n << ", pattern " << kind << ", square " << square);
        auto a = transform_operand(rng, n, kind), b = square ? a : transform_operand(rng, n, kind);
        GuardedBuffer<limb> r(2 * n, 0, kGuard);
        std::vector<limb> want(2 * n);
        double distance = transform::product(r.data(), a.data(), square ? a.data() : b.data(), n, plan, block.data() + 1);
        mpn_mul_n(want.data(), a.data(), b.data(), n);
        EXPECT_TRUE(std::equal(want.begin(), want.end(), r.data()));
        EXPECT_TRUE(r.guards_intact());
        EXPECT_LT(distance, 0.125);
        if (distance > worst) worst = distance, worst_kind = kind;
      }
    zor::dft::plan_destroy(plan);
    std::printf("transform product, n %d (order %d): worst rounding distance %.4f (pattern %d)\n", n, order, worst,
                worst_kind);
    RecordProperty("worst_rounding_distance_" + std::to_string(n), std::to_string(worst));
  }
  for (int32_t n : {8192, 8193, 32768, 32769}) {
    auto a = transform_operand(rng, n, 3);
    std::vector<limb> r(2 * n), want(2 * n);
    zor_gmp___gmpn_mul_n(r.data(), a.data(), a.data(), n);
    mpn_sqr(want.data(), a.data(), n);
    EXPECT_EQ(r, want) << "square, n " << n;
  }
}

// Unbalanced shapes: the schoolbook bound an + bn < 18, bn = 0 (clears an
// limbs), chunks of bn limbs with and without a short last chunk.
TEST(Limbs, UnbalancedProducts) {
  Rng rng(305);
  const std::pair<int32_t, int32_t> shapes[] = {
      {9, 8},     {10, 8},     {16, 1},     {17, 1},     {12, 5},    {13, 5},   {20, 1},    {40, 39},
      {41, 20},   {80, 20},    {85, 20},    {100, 33},   {1000, 333}, {1000, 1}, {999, 500}, {3000, 201},
      {5000, 1024}, {4096, 4095}, {20000, 9000}, {40000, 16385}, {70000, 32768}, {70000, 2}};
  for (auto [an, bn] : shapes)
    for (Pattern pattern : kPatterns) check_product(rng, an, bn, pattern, false);
  for (int32_t an : {1, 5, 40}) {
    GuardedBuffer<limb> r(an, 0, kGuard);
    std::fill(r.data(), r.data() + an, ~limb(0));
    limb dummy = 7;
    EXPECT_EQ(zor_gmp___gmpn_mul(r.data(), &dummy, an, &dummy, 0), 0u);
    EXPECT_TRUE(std::all_of(r.data(), r.data() + an, [](limb x) { return x == 0; }));
    EXPECT_TRUE(r.guards_intact());
  }
  for (int32_t an = 1; an <= 12; ++an)
    for (int32_t bn = 1; bn <= an; ++bn) {
      auto a = random_limbs(rng, an, Pattern::uniform), b = random_limbs(rng, bn, Pattern::ones);
      std::vector<limb> r(an + bn), want(an + bn);
      zor_gmp_mpn_mul_basecase(r.data(), a.data(), an, b.data(), bn);
      mpn_mul(want.data(), a.data(), an, b.data(), bn);
      EXPECT_EQ(r, want) << an << " x " << bn;
    }
}

// Division by a limb: normalised and not, 1, the largest limb; q in place.
TEST(Limbs, DivisionByALimb) {
  Rng rng(406);
  const limb divisors[] = {1, 2, 3, 10, 0x8000000000000000ull, ~limb(0), 0x7FFFFFFFFFFFFFFFull, 0x100000001ull};
  for (int32_t n : {1, 2, 3, 17, 200, 1001})
    for (Pattern pattern : kPatterns)
      for (int k = 0; k < 10; ++k) {
        limb d = k < 8 ? divisors[k] : limb(rng.engine()) >> rng.integer(0, 63);
        if (d == 0) d = 5;
        auto a = random_limbs(rng, n, pattern);
        std::vector<limb> q(n), want(n);
        limb rem = zor_gmp_mpn_divmod_1(q.data(), a.data(), n, d);
        EXPECT_EQ(rem, mpn_divrem_1(want.data(), 0, a.data(), n, d)) << "n " << n << " d " << d;
        EXPECT_EQ(q, want) << "n " << n << " d " << d;
        EXPECT_EQ(zor_gmp_mpn_mod_1(a.data(), n, d), rem);
        zor_gmp_mpn_divmod_1(a.data(), a.data(), n, d);
        EXPECT_EQ(a, want) << "in place";
      }
}

uint32_t scan_reference(const std::vector<limb> &p, uint32_t start, bool one) {
  for (uint64_t b = start; b < p.size() * 64; ++b)
    if (bool(p[b / 64] >> (b % 64) & 1) == one) return uint32_t(b);
  return 0xFFFFFFFFu;
}

TEST(Limbs, BitScans) {
  Rng rng(507);
  for (int32_t n : {1, 2, 5}) {
    for (Pattern pattern : kPatterns) {
      auto p = random_limbs(rng, n, pattern);
      for (limb &x : p)
        if (rng.integer(0, 2) == 0) x = 0;
      for (uint32_t start = 0; start < uint32_t(n) * 64 + 70; start += uint32_t(rng.integer(1, 9))) {
        EXPECT_EQ(zor_gmp_zor_gmp_scan1(p.data(), n, start), scan_reference(p, start, true)) << start;
        EXPECT_EQ(zor_gmp_zor_gmp_scan0(p.data(), n, start), scan_reference(p, start, false)) << start;
      }
    }
  }
  std::vector<limb> zeros(3, 0);
  EXPECT_EQ(zor_gmp_zor_gmp_scan1(zeros.data(), 3, 0), 0xFFFFFFFFu);
  EXPECT_EQ(zor_gmp_zor_gmp_scan0(zeros.data(), 3, 0), 0u);
}

TEST(Limbs, TwoLimbHelpersAndJacobi) {
  Rng rng(608);
  for (int k = 0; k < 2000; ++k) {
    limb a = rng.engine(), b = k % 3 ? limb(rng.engine()) : ~limb(0), c = rng.engine(), d = rng.engine();
    limb h, l;
    zor_gmp_mpl_add_ssaaaa(&h, &l, a, b, c, d);
    unsigned __int128 s = ((unsigned __int128)a << 64 | b) + ((unsigned __int128)c << 64 | d);
    EXPECT_EQ(h, limb(s >> 64));
    EXPECT_EQ(l, limb(s));
    l = zor_gmp_mpl_umul_ppmm(&h, a, c);
    unsigned __int128 p = (unsigned __int128)a * c;
    EXPECT_EQ(h, limb(p >> 64));
    EXPECT_EQ(l, limb(p));
    // Jacobi symbol of two limbs, b odd, against GMP's on integers
    limb x = k < 200 ? limb(k) : limb(rng.engine()) >> rng.integer(0, 63);
    limb y = (k < 200 ? limb(rng.integer(1, 99)) : limb(rng.engine()) >> rng.integer(0, 62)) | 1;
    G gx, gy;
    mpz_set_ui(gx, x);
    mpz_set_ui(gy, y);
    int want = x == 0 ? 0 : mpz_jacobi(gx, gy);
    EXPECT_EQ(zor_gmp_mpn_jacobi_base(x, y), want) << x << " / " << y;
  }
  // incr_u passes the carry over whole limbs of ones
  limb p[4] = {~limb(0), ~limb(0), 5, 9};
  zor_gmp_mpn_incr_u(p, 1);
  EXPECT_EQ(p[0], 0u);
  EXPECT_EQ(p[1], 0u);
  EXPECT_EQ(p[2], 6u);
  EXPECT_EQ(p[3], 9u);
}

}  // namespace
