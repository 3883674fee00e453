// Reductions and set-ups against the reference BLAS: the sums without an
// order model, positions of extremes, rotation set-ups, within tolerances
// that grow with n. The modelled dots, norms and sums are held, exactly and
// against their definitions, in level1_order_test.cpp.
#include <zor/blas.h>

#include <algorithm>

#include "common/reference_blas.h"
#include "common/testing.hpp"

namespace zor::test {
namespace {

// The reductions that have no order model in level1_order_test.cpp, against
// the reference over the case list: sdsdot (sb enters the double sum at the
// end) within 1 unit of the mass of its terms, and the complex sums of
// magnitudes (the reference returns 0 for increments below 1).
TEST(Reduce, UnmodelledAgainstReference) {
  const float sb = 0.375f;
  for_each_vector_case(28, 600, [&](const VectorCase &c, Rng &rng) {
    Strided<float> x(c.n, c.incx, c.offx, rng), y(c.n, c.incy, c.offy, rng);
    f_int n32 = f_int(c.n), ix = f_int(c.incx), iy = f_int(c.incy);
    const float got = zor_blas_sdsdot(&c.n, &sb, x.data(), &c.incx, y.data(), &c.incy);
    double mass = 1;
    for (int64_t i = 0; i < c.n; ++i) mass += std::fabs(x.at(i) * y.at(i));
    ASSERT_TRUE(close(got, sdsdot_(&n32, &sb, x.data(), &ix, y.data(), &iy), float(mass), 1)) << got;
  });
  auto asum = [](auto tag, auto ours, auto ref) {
    using E = decltype(tag);
    for_each_vector_case(37, 600, [&](const VectorCase &c, Rng &rng) {
      Strided<E> x(c.n, c.incx, c.offx, rng);
      f_int n32 = f_int(c.n), ix = f_int(c.incx);
      const auto got = ours(&c.n, x.data(), &c.incx);
      const auto want = c.incx > 0 ? ref(&n32, x.data(), &ix) : decltype(got)(0);
      double s = 0;
      for (int64_t i = 0; i < c.n; ++i) s += std::fabs(x.at(i).real()) + std::fabs(x.at(i).imag());
      ASSERT_TRUE(close(got, c.incx > 0 ? want : decltype(got)(s), decltype(got)(s + 1) * decltype(got)(c.n + 1), 2)) << got;
    });
  };
  asum(cfloat(), ZOR_TEST_FN(zor_blas_scasum), ZOR_TEST_FN(scasum_));
  asum(cdouble(), ZOR_TEST_FN(zor_blas_dzasum), ZOR_TEST_FN(dzasum_));
  int64_t zero = 0, one = 1;
  float v = 1;
  EXPECT_EQ(zor_blas_sdsdot(&zero, &sb, &v, &one, &v, &one), sb);
  EXPECT_EQ(zor_blas_dsdot(&zero, &v, &one, &v, &one), 0.0);
  cfloat e(-3.0f, 4.5f);
  cdouble d(2.0, -0.25);
  EXPECT_EQ(zor_blas_scabs1(&e), 7.5f);
  EXPECT_EQ(zor_blas_dcabs1(&d), 2.25);
}

// The scaled recurrence of dnrm2 and dznrm2 walks forward from x[0] with
// |incx| and survives magnitudes whose squares overflow or underflow.
TEST(Reduce, NormsScale) {
  double x[7] = {3e200, -1, 4e200, -1, 0, -1, 1e-300}, tiny[2] = {3e-300, 4e-300};
  int64_t n = 3, minus2 = -2, plus2 = 2, one = 1, two = 2;
  EXPECT_EQ(zor_blas_dnrm2(&n, x, &minus2), zor_blas_dnrm2(&n, x, &plus2));
  EXPECT_DOUBLE_EQ(zor_blas_dnrm2(&n, x, &plus2), 5e200);
  EXPECT_EQ(zor_blas_dnrm2(&one, x + 1, &minus2), 1.0);
  EXPECT_DOUBLE_EQ(zor_blas_dnrm2(&two, tiny, &one), 5e-300);
  cdouble z[3] = {{3e200, 0}, {7, 7}, {0, 4e200}};
  EXPECT_EQ(zor_blas_dznrm2(&two, z, &minus2), zor_blas_dznrm2(&two, z, &plus2));
  EXPECT_DOUBLE_EQ(zor_blas_dznrm2(&two, z, &plus2), 5e200);
  float big[2] = {3e30f, 4e30f};
  EXPECT_FLOAT_EQ(zor_blas_snrm2(&two, big, &one), 5e30f);
}

// Positions: the largest magnitude against the reference (0 for an
// increment below 1), with ties planted; the smallest against a scan of
// small integers, where ties are common (the first wins). Then monotone and
// constant magnitudes: ascending, every later stretch holds a new extreme
// (amax n, amin 1); descending, the first holds both; constant, every
// element ties with the first. A complex magnitude is split between its
// parts at random. Last the special answers.
TEST(Reduce, Extremes) {
  auto check = [](auto tag, auto amax, auto amin, auto ref) {
    using E = decltype(tag);
    using R = real_of<E>;
    for_each_vector_case(41, 600, [&](const VectorCase &c, Rng &rng) {
      Strided<E> x(c.n, c.incx, c.offx, rng);
      if (c.n > 3)
        for (int t = 0; t < 3; ++t) x.set(rng.integer(0, c.n - 1), E(R(t & 1 ? 2.5 : -2.5)));
      int64_t n = c.n, inc = c.incx, first = 0;
      f_int n32 = f_int(c.n), ix = f_int(c.incx);
      ASSERT_EQ(amax(&n, x.data(), &inc), int64_t(ref(&n32, x.data(), &ix)));
      auto mag = [&](int64_t i) { return std::fabs(std::real(x.at(i))) + std::fabs(std::imag(x.at(i))); };
      for (int64_t i = 0; i < c.n; ++i) x.set(i, E(R(rng.integer(-9, 9))));
      if (c.n > 0 && c.incx > 0) {
        first = 1;
        for (int64_t i = 1; i < c.n; ++i) first = mag(i) < mag(first - 1) ? i + 1 : first;
      }
      ASSERT_EQ(amin(&n, x.data(), &inc), first);
      const bool none = c.n < 1 || c.incx < 1;
      for (int shape = 0; shape < 3; ++shape) {
        for (int64_t i = 0; i < c.n; ++i) {
          const R m = shape == 0 ? R(i + 1) : shape == 1 ? R(c.n - i) : R(3), sign = rng.integer(0, 1) ? R(1) : R(-1);
          if constexpr (is_complex_v<E>) {
            const R re = R(rng.integer(0, 4)) * m / R(4);  // exact: m is a small integer
            x.set(i, E(sign * re, -(m - re)));
          } else {
            x.set(i, sign * m);
          }
        }
        ASSERT_EQ(amax(&n, x.data(), &inc), none ? 0 : shape == 0 ? c.n : 1) << "shape " << shape;
        ASSERT_EQ(amin(&n, x.data(), &inc), none ? 0 : shape == 1 ? c.n : 1) << "shape " << shape;
      }
    });
  };
  check(float(), ZOR_TEST_FN(zor_blas_isamax), ZOR_TEST_FN(zor_blas_isamin), ZOR_TEST_FN(isamax_));
  check(double(), ZOR_TEST_FN(zor_blas_idamax), ZOR_TEST_FN(zor_blas_idamin), ZOR_TEST_FN(idamax_));
  check(cfloat(), ZOR_TEST_FN(zor_blas_icamax), ZOR_TEST_FN(zor_blas_icamin), ZOR_TEST_FN(icamax_));
  check(cdouble(), ZOR_TEST_FN(zor_blas_izamax), ZOR_TEST_FN(zor_blas_izamin), ZOR_TEST_FN(izamax_));
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
TEST(Reduce, RotationSetupAgainstReference) {
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

TEST(Reduce, RotmgAgainstReferenceAndFlags) {
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
