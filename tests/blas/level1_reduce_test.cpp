// Reductions and set-ups against the reference BLAS: dot products, norms,
// sums, positions of extremes, rotation set-ups, within tolerances that grow
// with n; the order of summation is held exactly in level1_order_test.cpp.
#include <zor/blas.h>

#include <algorithm>

#include "common/reference_blas.h"
#include "common/testing.hpp"

namespace zor::test {
namespace {

using cfloat = std::complex<float>;
using cdouble = std::complex<double>;

// ours(n, x, incx, y, incy) and ref(...) over the case list; the tolerance
// is `ulps` times n times the sum of |x||y|.
template <class E, class Ours, class Ref>
void dot_against_reference(uint64_t seed, double ulps, Ours ours, Ref ref) {
  using R = real_of<E>;
  auto cases = vector_cases(seed);
  for (size_t k = 0; k < cases.size(); ++k) {
    const VectorCase &c = cases[k];
    SCOPED_TRACE(testing::Message() << "seed " << seed << " case " << k << ": " << c);
    Rng rng(seed * 1000 + k);
    Strided<E> x(c.n, c.incx, c.offx, rng), y(c.n, c.incy, c.offy, rng);
    f_int n32 = f_int(c.n), ix = f_int(c.incx), iy = f_int(c.incy);
    auto expect = ref(&n32, x.data(), &ix, y.data(), &iy);
    auto got = ours(c.n, x.data(), c.incx, y.data(), c.incy);
    double mass = 0;
    for (int64_t i = 0; i < c.n; ++i) mass += std::abs(x.at(i)) * std::abs(y.at(i));
    ASSERT_TRUE(close(got, decltype(got)(expect), R(mass * double(std::max<int64_t>(c.n, 1))), ulps))
        << got << " vs " << expect;
  }
}

TEST(Dot, RealAndComplexAgainstReference) {
  dot_against_reference<float>(21, 2, [](int64_t n, float *x, int64_t ix, float *y, int64_t iy) { return zor_blas_xsdot(&n, x, &ix, y, &iy); }, sdot_);
  dot_against_reference<double>(22, 2, [](int64_t n, double *x, int64_t ix, double *y, int64_t iy) { return zor_blas_xddot(&n, x, &ix, y, &iy); }, ddot_);
  dot_against_reference<cfloat>(23, 2, [](int64_t n, cfloat *x, int64_t ix, cfloat *y, int64_t iy) { cfloat r; zor_blas_xcdotc(&r, &n, x, &ix, y, &iy); return r; },
                                [](auto... p) { return cdotc_(p...); });
  dot_against_reference<cfloat>(24, 2, [](int64_t n, cfloat *x, int64_t ix, cfloat *y, int64_t iy) { cfloat r; zor_blas_cdotu(&r, &n, x, &ix, y, &iy); return r; },
                                [](auto... p) { return cdotu_(p...); });
  for_both_kernels([] {
    dot_against_reference<cdouble>(25, 2, [](int64_t n, cdouble *x, int64_t ix, cdouble *y, int64_t iy) { cdouble r; zor_blas_zdotc(&r, &n, x, &ix, y, &iy); return r; },
                                   [](auto... p) { return zdotc_(p...); });
    dot_against_reference<cdouble>(26, 2, [](int64_t n, cdouble *x, int64_t ix, cdouble *y, int64_t iy) { cdouble r; zor_blas_zdotu(&r, &n, x, &ix, y, &iy); return r; },
                                   [](auto... p) { return zdotu_(p...); });
  });
}

TEST(Dot, WideningAgainstReference) {
  // Accumulated in double: as close as the double result allows.
  dot_against_reference<float>(27, 4e-9, [](int64_t n, float *x, int64_t ix, float *y, int64_t iy) { return float(zor_blas_dsdot(&n, x, &ix, y, &iy)); },
                               [](auto... p) { return float(dsdot_(p...)); });
  float sb = 0.375f;
  dot_against_reference<float>(28, 1, [&](int64_t n, float *x, int64_t ix, float *y, int64_t iy) { return zor_blas_sdsdot(&n, &sb, x, &ix, y, &iy) - sb; },
                               [&](const f_int *n, float *x, const f_int *ix, float *y, const f_int *iy) { return sdsdot_(n, &sb, x, ix, y, iy) - sb; });
  int64_t zero = 0, one = 1;
  float v = 1;
  EXPECT_EQ(zor_blas_sdsdot(&zero, &sb, &v, &one, &v, &one), sb);
  EXPECT_EQ(zor_blas_dsdot(&zero, &v, &one, &v, &one), 0.0);
}

// One-vector reductions: the reference for positive increments (it returns 0
// for others); `model` (a plain sum from the definition) for all increments.
template <class E, class Ours, class Ref, class Model>
void one_vector(uint64_t seed, double ulps, Ours ours, Ref ref, Model model) {
  using R = real_of<E>;
  auto cases = vector_cases(seed);
  for (size_t k = 0; k < cases.size(); ++k) {
    const VectorCase &c = cases[k];
    SCOPED_TRACE(testing::Message() << "seed " << seed << " case " << k << ": " << c);
    Rng rng(seed * 1000 + k);
    Strided<E> x(c.n, c.incx, c.offx, rng);
    auto got = ours(c.n, x.data(), c.incx);
    auto model_value = model(c.n, x, c.incx);
    double mass = double(std::max<int64_t>(c.n, 1)) * (std::fabs(double(model_value)) + 1e-30);
    if (c.incx > 0) {
      f_int n32 = f_int(c.n), ix = f_int(c.incx);
      auto expect = ref(&n32, x.data(), &ix);
      ASSERT_TRUE(close(R(got), R(expect), R(mass), ulps)) << got << " vs " << expect;
    }
    ASSERT_TRUE(close(R(got), R(model_value), R(mass), ulps)) << got << " vs model " << model_value;
  }
}

template <class E>
real_of<E> magnitude_sum(int64_t n, Strided<E> &x, int64_t, bool squares) {
  double s = 0;
  for (int64_t i = 0; i < n; ++i) {
    E v = x.at(i);
    if constexpr (std::is_floating_point_v<E>) s += squares ? double(v) * v : std::fabs(v);
    else s += squares ? double(v.real()) * v.real() + double(v.imag()) * v.imag() : std::fabs(v.real()) + std::fabs(v.imag());
  }
  return real_of<E>(squares ? std::sqrt(s) : s);
}

TEST(Norms, Nrm2AndAsumAgainstReferenceAndDefinition) {
  auto nrm = [](int64_t n, auto &x, int64_t inc) { return magnitude_sum(n, x, inc, true); };
  auto asum = [](int64_t n, auto &x, int64_t inc) { return magnitude_sum(n, x, inc, false); };
  auto call = [](auto fn) { return [fn](int64_t n, auto *x, int64_t inc) { return fn(&n, x, &inc); }; };
  one_vector<float>(31, 2, call(zor_blas_snrm2), snrm2_, nrm);
  one_vector<double>(32, 2, call(zor_blas_dnrm2), dnrm2_, nrm);
  one_vector<cfloat>(33, 2, call([](auto... p) { return zor_blas_scnrm2(p...); }), [](auto... p) { return scnrm2_(p...); }, nrm);
  one_vector<cdouble>(34, 2, call([](auto... p) { return zor_blas_dznrm2(p...); }), [](auto... p) { return dznrm2_(p...); }, nrm);
  one_vector<float>(35, 2, call(zor_blas_sasum), sasum_, asum);
  one_vector<double>(36, 2, call(zor_blas_dasum), dasum_, asum);
  one_vector<cfloat>(37, 2, call([](auto... p) { return zor_blas_scasum(p...); }), [](auto... p) { return scasum_(p...); }, asum);
  one_vector<cdouble>(38, 2, call([](auto... p) { return zor_blas_dzasum(p...); }), [](auto... p) { return dzasum_(p...); }, asum);
  cfloat e(-3.0f, 4.5f);
  cdouble d(2.0, -0.25);
  EXPECT_EQ(zor_blas_scabs1(&e), 7.5f);
  EXPECT_EQ(zor_blas_dcabs1(&d), 2.25);
}

// Scaled recurrence of dnrm2 and dznrm2: walks forward from x[0] with |incx|
// and survives magnitudes whose squares overflow or underflow.
TEST(Norms, DoubleNormsWalkForwardAndScale) {
  double x[7] = {3e200, -1, 4e200, -1, 0, -1, 1e-300};
  int64_t n = 3, minus2 = -2, plus2 = 2, one = 1;
  EXPECT_EQ(zor_blas_dnrm2(&n, x, &minus2), zor_blas_dnrm2(&n, x, &plus2));
  EXPECT_DOUBLE_EQ(zor_blas_dnrm2(&n, x, &plus2), 5e200);
  EXPECT_EQ(zor_blas_dnrm2(&one, x + 1, &minus2), 1.0);
  double tiny[2] = {3e-300, 4e-300};
  int64_t two = 2;
  EXPECT_DOUBLE_EQ(zor_blas_dnrm2(&two, tiny, &one), 5e-300);
  cdouble z[3] = {{3e200, 0}, {7, 7}, {0, 4e200}};
  EXPECT_EQ(zor_blas_dznrm2(&two, z, &minus2), zor_blas_dznrm2(&two, z, &plus2));
  EXPECT_DOUBLE_EQ(zor_blas_dznrm2(&two, z, &plus2), 5e200);
  float big[2] = {3e30f, 4e30f};
  EXPECT_FLOAT_EQ(zor_blas_snrm2(&two, big, &one), 5e30f);
}

// Positions: the reference for positive increments; ties and the special
// answers by hand.
TEST(Extreme, AmaxAgainstReferenceAndTies) {
  auto pos = [](auto fn) { return [fn](int64_t n, auto *x, int64_t inc) { return double(fn(&n, x, &inc)); }; };
  auto check = [&](auto tag, auto ours, auto ref) {
    using E = decltype(tag);
    auto cases = vector_cases(41);
    for (size_t k = 0; k < cases.size(); ++k) {
      const VectorCase &c = cases[k];
      if (c.incx < 1) continue;
      SCOPED_TRACE(testing::Message() << "case " << k << ": " << c);
      Rng rng(41000 + k);
      Strided<E> x(c.n, c.incx, c.offx, rng);
      // plant ties of the maximum at random places
      if (c.n > 3) {
        E top = E(real_of<E>(2.5));
        for (int t = 0; t < 3; ++t) x.set(rng.integer(0, c.n - 1), (t & 1) ? top : -top);
      }
      f_int n32 = f_int(c.n), ix = f_int(c.incx);
      ASSERT_EQ(pos(ours)(c.n, x.data(), c.incx), double(ref(&n32, x.data(), &ix)));
    }
  };
  check(float(), zor_blas_isamax, isamax_);
  check(double(), zor_blas_idamax, idamax_);
  check(cfloat(), [](auto... p) { return zor_blas_icamax(p...); }, [](auto... p) { return icamax_(p...); });
  check(cdouble(), [](auto... p) { return zor_blas_izamax(p...); }, [](auto... p) { return izamax_(p...); });

  // the minimum against a plain scan (first of equal magnitudes)
  Rng rng(42);
  for (int trial = 0; trial < 200; ++trial) {
    int64_t n = rng.integer(1, 90), inc = rng.integer(1, 3);
    Strided<double> x(n, inc, size_t(rng.integer(0, 3) * 4), rng);
    Strided<float> f(n, inc, size_t(rng.integer(0, 3) * 4), rng);
    for (int64_t i = 0; i < n; ++i) {
      x.set(i, double(rng.integer(-9, 9))), f.set(i, float(rng.integer(-9, 9)));
    }
    int64_t ed = 1, ef = 1;
    for (int64_t i = 1; i < n; ++i) {
      if (std::fabs(x.at(i)) < std::fabs(x.at(ed - 1))) ed = i + 1;
      if (std::fabs(f.at(i)) < std::fabs(f.at(ef - 1))) ef = i + 1;
    }
    ASSERT_EQ(zor_blas_idamin(&n, x.data(), &inc), ed);
    ASSERT_EQ(zor_blas_isamin(&n, f.data(), &inc), ef);
  }
  double d[4] = {1, -4, 4, 2};
  cfloat c[3] = {{3, 4}, {4, 4}, {1, 5.5f}};
  cdouble z[3] = {{1, 1}, {0.5, 0.5}, {-1, 1}};
  int64_t four = 4, three = 3, one = 1, minus = -1, zero = 0;
  EXPECT_EQ(zor_blas_idamax(&four, d, &one), 2);
  EXPECT_EQ(zor_blas_idamax(&four, d, &minus), 0);
  EXPECT_EQ(zor_blas_idamax(&four, d, &zero), 0);
  EXPECT_EQ(zor_blas_idamax(&zero, d, &one), 0);
  EXPECT_EQ(zor_blas_idamax(&one, d, &minus), 0);
  EXPECT_EQ(zor_blas_idamin(&four, d, &one), 1);
  EXPECT_EQ(zor_blas_icamax(&three, c, &one), 2);  // |re| + |im|, not the modulus
  EXPECT_EQ(zor_blas_icamin(&three, c, &one), 3);
  EXPECT_EQ(zor_blas_izamax(&three, z, &one), 1);
  EXPECT_EQ(zor_blas_izamin(&three, z, &one), 2);
}

// Set-up of rotations against the reference (which computes them in another
// way: within a few ulps), and the special values.
TEST(RotationSetup, AgainstReference) {
  Rng rng(43);
  for (int trial = 0; trial < 400; ++trial) {
    double scale = std::pow(10.0, double(rng.integer(-30, 30)));
    double a = rng.uniform() * scale, b = rng.uniform() * (trial % 7 ? scale : 1.0);
    if (trial % 11 == 0) a = 0;
    if (trial % 13 == 0) b = 0;
    double oa = a, ob = b, oc, os, ra = a, rb = b, rc, rs;
    zor_blas_drotg(&oa, &ob, &oc, &os);
    drotg_(&ra, &rb, &rc, &rs);
    ASSERT_TRUE(close(oa, ra, std::fabs(ra), 8) && close(oc, rc, 1.0, 8) && close(os, rs, 1.0, 8)) << a << " " << b;
    ASSERT_TRUE(close(ob, rb, std::fabs(rb), 8)) << a << " " << b;
    float fa = float(a / scale), fb = float(b / scale), fc, fs, ga = fa, gb = fb, gc, gs;
    zor_blas_srotg(&fa, &fb, &fc, &fs);
    srotg_(&ga, &gb, &gc, &gs);
    ASSERT_TRUE(close(fa, ga, std::fabs(ga), 8) && close(fc, gc, 1.0f, 8) && close(fs, gs, 1.0f, 8));
    cdouble za(a, rng.uniform() * scale), zb(b, rng.uniform() * scale), zs, zra = za, zrs;
    if (trial % 11 == 0) za = zra = 0;
    double zc, zrc;
    zor_blas_zrotg(&za, &zb, &zc, &zs);
    if (zra == cdouble(0)) {
      EXPECT_EQ(zc, 0.0);
      EXPECT_EQ(zs, cdouble(1, 0));
      EXPECT_EQ(za, zb);
      continue;
    }
    zrotg_(&zra, &zb, &zrc, &zrs);
    ASSERT_TRUE(close(za, zra, std::abs(zra), 8) && close(zc, zrc, 1.0, 8) && close(zs, zrs, 1.0, 8)) << za << zra;
    cfloat ca(float(a / scale), 0.5f), cb(float(b / scale), -0.25f), cs, cra = ca, crs;
    float cc, crc;
    zor_blas_crotg(&ca, &cb, &cc, &cs);
    crotg_(&cra, &cb, &crc, &crs);
    ASSERT_TRUE(close(ca, cra, std::abs(cra), 8) && close(cc, crc, 1.0f, 8) && close(cs, crs, 1.0f, 8));
  }
  double a = 0, b = 0, c, s;
  zor_blas_drotg(&a, &b, &c, &s);
  EXPECT_TRUE(c == 1 && s == 0 && a == 0 && b == 0);
}

TEST(RotationSetup, RotmgAgainstReferenceAndFlags) {
  Rng rng(44);
  for (int trial = 0; trial < 2000; ++trial) {
    // within one rescaling step of the limits: the reference resets the
    // matrix on every further step, which is not our behaviour (below)
    auto pick = [&]() { return rng.uniform(0.0, 1.0) * std::pow(2.0, double(rng.integer(-12, 12))); };
    double d1 = pick(), d2 = pick() * (trial % 5 ? 1 : -1), x1 = rng.uniform() * 4, y1 = rng.uniform() * 4;
    if (trial % 17 == 0) y1 = 0;
    double p[5] = {9, 9, 9, 9, 9}, q[5] = {9, 9, 9, 9, 9};
    double e1 = d1, e2 = d2, ex = x1;
    zor_blas_drotmg(&d1, &d2, &x1, &y1, p);
    drotmg_(&e1, &e2, &ex, &y1, q);
    SCOPED_TRACE(trial);
    ASSERT_EQ(p[0], q[0]);
    // entries the flag uses
    for (int i = 1; i < 5; ++i) {
      bool used = p[0] < 0 || (p[0] == 0 && (i == 2 || i == 3)) || (p[0] == 1 && (i == 1 || i == 4));
      if (used) ASSERT_TRUE(close(p[i], q[i], std::fabs(q[i]) + 1e-300, 2000)) << i << ": " << p[i] << " vs " << q[i];
      else ASSERT_EQ(p[i], 9.0);
    }
    // the rescaling multiplies by decimal reciprocals that are not exact
    // powers of two (the reference divides): a few hundred ulps apart
    ASSERT_TRUE(close(d1, e1, std::fabs(e1), 2000) && close(d2, e2, std::fabs(e2), 2000) && close(x1, ex, std::fabs(ex), 2000))
        << d1 << " " << e1 << " " << d2 << " " << e2 << " " << x1 << " " << ex;
    float f1 = float(d1), f2 = float(d2), fx = float(x1), fy = float(y1), fp[5] = {9, 9, 9, 9, 9}, fq[5] = {9, 9, 9, 9, 9};
    float g1 = f1, g2 = f2, gx = fx;
    zor_blas_srotmg(&f1, &f2, &fx, &fy, fp);
    srotmg_(&g1, &g2, &gx, &fy, fq);
    ASSERT_EQ(fp[0], fq[0]);
  }
  // Two rescaling steps of d2: the matrix made full at the first step is
  // scaled again at the second, by the decimal reciprocal.
  {
    double d1 = 1e-20, d2 = 1, x1 = 1, y1 = 1, p[5] = {7, 7, 7, 7, 7};
    zor_blas_drotmg(&d1, &d2, &x1, &y1, p);
    const double rgam = 0.000244140625;
    EXPECT_EQ(p[0], -1.0);
    EXPECT_EQ(p[2], -1.0 * rgam * rgam);
    EXPECT_EQ(p[3], 1.0);
    EXPECT_EQ(p[4], 1.0 * rgam * rgam);
    double u = 1e-20 * 1.0 + 1.0;
    EXPECT_EQ(d2, (1e-20 * (1.0 / u)) * 16777216.0 * 16777216.0);
  }
  // One step down by rgamsq (the decimal 5.960464477539e-08, not 2^-24).
  {
    double d1 = 3e7, d2 = 1, x1 = 1, y1 = 1e-6, p[5];
    zor_blas_drotmg(&d1, &d2, &x1, &y1, p);
    double t = 1e-6 / (3e7 * 1.0), h12 = t * 1.0, h21 = -(3e7 * t), u = 1.0 - h21 * h12;
    EXPECT_EQ(d1, (3e7 * (1.0 / u)) * 5.960464477539e-08);
    EXPECT_NE(d1, (3e7 * (1.0 / u)) / 16777216.0);
    EXPECT_EQ(p[0], -1.0);
  }
  double d1 = -1, d2 = 2, x1 = 3, y1 = 4, p[5] = {7, 7, 7, 7, 7};
  zor_blas_drotmg(&d1, &d2, &x1, &y1, p);
  EXPECT_TRUE(p[0] == -1 && p[1] == 0 && p[2] == 0 && p[3] == 0 && p[4] == 0 && d1 == 0 && d2 == 0 && x1 == 0);
  d1 = 1, d2 = 0, p[1] = 7;
  zor_blas_drotmg(&d1, &d2, &x1, &y1, p);
  EXPECT_TRUE(p[0] == -2 && p[1] == 7);
}

}  // namespace
}  // namespace zor::test
