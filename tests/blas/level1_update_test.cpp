// y := a x + y, y := a x + b y, copy and swap against the reference BLAS (or,
// for axpby, against the formula), over sizes around the unroll widths,
// every offset pair, zero and negative increments; guards checked after
// every call.
#include <zor/blas.h>

#include <algorithm>

#include "common/reference_blas.h"
#include "common/testing.hpp"

namespace zor::test {
namespace {

using cfloat = std::complex<float>;
using cdouble = std::complex<double>;

// Runs ours and the reference on copies of the same data and compares both
// vectors element by element within `ulps` (0: bit for bit).
template <class E, class Ours, class Ref>
void against_reference(uint64_t seed, double ulps, Ours ours, Ref ref) {
  using R = real_of<E>;
  auto cases = vector_cases(seed);
  for (size_t k = 0; k < cases.size(); ++k) {
    const VectorCase &c = cases[k];
    SCOPED_TRACE(testing::Message() << "seed " << seed << " case " << k << ": " << c);
    Rng rng(seed * 1000 + k);
    Strided<E> x(c.n, c.incx, c.offx, rng), y(c.n, c.incy, c.offy, rng);
    std::vector<E> xr = x.copy(), yr = y.copy();
    ours(c.n, x.data(), c.incx, y.data(), c.incy);
    f_int n32 = f_int(c.n), ix = f_int(c.incx), iy = f_int(c.incy);
    ref(&n32, xr.data(), &ix, yr.data(), &iy);
    ASSERT_TRUE(x.buf.guards_intact());
    ASSERT_TRUE(y.buf.guards_intact());
    for (size_t i = 0; i < x.len; ++i)
      ASSERT_TRUE(ulps == 0 ? same_bits(x.buf.get(i), xr[i]) : close(x.buf.get(i), xr[i], R(4), ulps)) << "x[" << i << "]";
    for (size_t i = 0; i < y.len; ++i)
      ASSERT_TRUE(ulps == 0 ? same_bits(y.buf.get(i), yr[i]) : close(y.buf.get(i), yr[i], R(4), ulps))
          << "y[" << i << "] " << y.buf.get(i) << " vs " << yr[i];
  }
}

template <class E>
E alpha_value() {
  if constexpr (std::is_floating_point_v<E>) return E(0.75);
  else return E(0.75, -1.25);
}

TEST(Axpy, AllPrecisionsAgainstReference) {
  auto run = [](auto tag, auto ours, auto ref) {
    using E = decltype(tag);
    E a = alpha_value<E>();
    against_reference<E>(11, 0,
        [&](int64_t n, E *x, int64_t incx, E *y, int64_t incy) { ours(&n, &a, x, &incx, y, &incy); },
        [&](f_int *n, E *x, f_int *incx, E *y, f_int *incy) { ref(n, &a, x, incx, y, incy); });
  };
  run(float(), zor_blas_xsaxpy, saxpy_);
  run(double(), zor_blas_xdaxpy, daxpy_);
  run(cfloat(), [](auto... p) { zor_blas_xcaxpy(p...); }, [](auto... p) { caxpy_(p...); });
  for_both_kernels([&] { run(cdouble(), [](auto... p) { zor_blas_xzaxpy(p...); }, [](auto... p) { zaxpy_(p...); }); });
}

TEST(Axpy, ZeroAlphaTouchesNothingAndNanAlphaIsApplied) {
  double y[3] = {1.0, std::nan(""), -0.0}, x[3] = {1, 2, 3};
  int64_t n = 3, one = 1;
  double zero = 0.0, minus_zero = -0.0;
  zor_blas_xdaxpy(&n, &zero, x, &one, y, &one);
  zor_blas_xdaxpy(&n, &minus_zero, x, &one, y, &one);
  EXPECT_TRUE(same_bits(y[2], -0.0) && std::isnan(y[1]));
  double nan = std::nan("");
  zor_blas_xdaxpy(&n, &nan, x, &one, y, &one);
  EXPECT_TRUE(std::isnan(y[0]) && std::isnan(y[2]));
  cfloat ca(0.0f, 1.0f), cy[2] = {{1, 1}, {2, 2}}, cx[2] = {{1, 0}, {0, 1}};
  int64_t two = 2;
  zor_blas_xcaxpy(&two, &ca, cx, &one, cy, &one);  // zero only if both parts are
  EXPECT_EQ(cy[0], cfloat(1, 2));
}

TEST(Axpy, ZeroIncrementOnYAccumulatesInOrder) {
  std::vector<double> x = {1e16, 1.0, -1e16, 1.0, 3.0};
  double y = 0.5, a = 1.0;
  int64_t n = 5, one = 1, zero = 0;
  zor_blas_xdaxpy(&n, &a, x.data(), &one, &y, &zero);
  double expect = 0.5;
  for (double v : x) expect = a * v + expect;
  EXPECT_TRUE(same_bits(y, expect));
}

// y := a x + b y from the formula; b = 0 never reads y (NaN there is lost).
TEST(Axpby, AllPrecisionsAgainstFormula) {
  auto run = [](auto tag, auto ours, auto a, auto b) {
    using E = decltype(tag);
    against_reference<E>(12, 0, [&](int64_t n, E *x, int64_t incx, E *y, int64_t incy) { ours(&n, &a, x, &incx, &b, y, &incy); },
        [&](f_int *n, E *x, f_int *incx, E *y, f_int *incy) {
          if (*n < 1 || (a == E(0) && b == E(1))) return;
          int64_t nn = *n, ix = *incx, iy = *incy;
          E *xs = ix < 0 ? x + (1 - nn) * ix : x, *ys = iy < 0 ? y + (1 - nn) * iy : y;
          for (int64_t i = 0; i < nn; ++i) {
            E &t = ys[i * iy];
            t = b == E(0) ? a * xs[i * ix] : a * xs[i * ix] + b * t;
          }
        });
  };
  for (int k = 0; k < 2; ++k) {
    float bs = k ? 0.0f : -0.5f;
    double bd = k ? 0.0 : 1.5;
    run(float(), zor_blas_saxpby, 0.75f, bs);
    run(double(), zor_blas_daxpby, -1.25, bd);
    run(cfloat(), [](auto... p) { zor_blas_caxpby(p...); }, cfloat(0.5f, 2.0f), cfloat(bs, k ? 0.0f : 0.25f));
    for_both_kernels([&] {
      run(cdouble(), [](auto... p) { zor_blas_zaxpby(p...); }, cdouble(0.5, 2.0), cdouble(bd, k ? 0.0 : 0.25));
    });
  }
}

TEST(Axpby, ZeroBetaIgnoresNanInY) {
  double x[5] = {1, 2, 3, 4, 5}, y[5], a = 2.0, b = 0.0;
  std::fill(y, y + 5, std::nan(""));
  int64_t n = 5, one = 1;
  zor_blas_daxpby(&n, &a, x, &one, &b, y, &one);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(y[i], 2.0 * x[i]);
}

TEST(CopySwap, AllPrecisionsAgainstReference) {
  auto run = [](auto tag, auto ours, auto ref) {
    using E = decltype(tag);
    against_reference<E>(13, 0, [&](int64_t n, E *x, int64_t incx, E *y, int64_t incy) { ours(&n, x, &incx, y, &incy); },
                         [&](f_int *n, E *x, f_int *incx, E *y, f_int *incy) { ref(n, x, incx, y, incy); });
  };
  run(float(), zor_blas_xscopy, scopy_);
  run(double(), zor_blas_xdcopy, dcopy_);
  run(cfloat(), [](auto... p) { zor_blas_xccopy(p...); }, [](auto... p) { ccopy_(p...); });
  run(cdouble(), [](auto... p) { zor_blas_xzcopy(p...); }, [](auto... p) { zcopy_(p...); });
  run(float(), zor_blas_xsswap, sswap_);
  run(double(), zor_blas_xdswap, dswap_);
  run(cfloat(), [](auto... p) { zor_blas_xcswap(p...); }, [](auto... p) { cswap_(p...); });
  run(cdouble(), [](auto... p) { zor_blas_xzswap(p...); }, [](auto... p) { zswap_(p...); });
}

// Scaling: reference for positive increments; for 0 and negative ones (where
// the reference does nothing) the same set of elements scaled in place, the
// one element of increment 0 scaled n times.
TEST(Scal, AllFormsAgainstReferenceAndModel) {
  auto run = [](auto tag, auto factor, auto ours, auto ref) {
    using E = decltype(tag);
    using F = decltype(factor);
    against_reference<E>(14, 0, [&](int64_t n, E *, int64_t, E *y, int64_t incy) { ours(&n, &factor, y, &incy); },
        [&](f_int *n, E *, f_int *, E *y, f_int *incy) {
          if (*incy > 0) return ref(n, &factor, y, incy);
          int64_t step = -int64_t(*incy);
          if (*incy == 0)
            for (f_int i = 0; i < *n; ++i) y[0] = tmul(F(factor), y[0]);
          else
            for (int64_t i = 0; i < *n; ++i) y[i * step] = tmul(F(factor), y[i * step]);
        });
  };
  run(float(), -1.5f, zor_blas_sscal, sscal_);
  run(double(), 0.625, zor_blas_dscal, dscal_);
  run(cfloat(), cfloat(0.5f, -2.0f), [](auto... p) { zor_blas_cscal(p...); }, [](auto... p) { cscal_(p...); });
  run(cfloat(), 3.0f, [](auto... p) { zor_blas_csscal(p...); }, [](auto... p) { csscal_(p...); });
  run(cdouble(), -0.75, [](auto... p) { zor_blas_zdscal(p...); }, [](auto... p) { zdscal_(p...); });
  for_both_kernels([&] {
    run(cdouble(), cdouble(1.25, 0.5), [](auto... p) { zor_blas_zscal(p...); }, [](auto... p) { zscal_(p...); });
  });
}

TEST(Scal, DscalByOneTouchesNothingSscalByOneWrites) {
  double d[3] = {std::nan(""), -0.0, 1.0}, one_d = 1.0, zero_d = 0.0;
  int64_t n = 3, one = 1;
  const std::vector<unsigned char> guard(sizeof d, 0);
  zor_blas_dscal(&n, &one_d, d, &one);
  EXPECT_TRUE(std::isnan(d[0]) && same_bits(d[1], -0.0));
  zor_blas_dscal(&n, &zero_d, d, &one);  // 0 times NaN stays NaN
  EXPECT_TRUE(std::isnan(d[0]) && d[2] == 0.0);
  // sscal writes every element for 1.0: a signalling NaN comes back quiet.
  float f[2];
  uint32_t snan = 0x7f800001u;
  std::memcpy(&f[0], &snan, 4);
  f[1] = 2.0f;
  float one_f = 1.0f;
  int64_t two = 2;
  zor_blas_sscal(&two, &one_f, f, &one);
  uint32_t after;
  std::memcpy(&after, &f[0], 4);
  EXPECT_EQ(after, 0x7fc00001u);
}

TEST(Rot, AllFormsAgainstReference) {
  auto run = [](auto tag, auto c, auto s, auto ours, auto ref) {
    using E = decltype(tag);
    against_reference<E>(15, 0, [&](int64_t n, E *x, int64_t incx, E *y, int64_t incy) { ours(&n, x, &incx, y, &incy, &c, &s); },
                         [&](f_int *n, E *x, f_int *incx, E *y, f_int *incy) { ref(n, x, incx, y, incy, &c, &s); });
  };
  run(float(), 0.6f, -0.8f, zor_blas_xsrot, srot_);
  run(double(), 0.28, 0.96, zor_blas_xdrot, drot_);
  run(cfloat(), 0.6f, 0.8f, [](auto... p) { zor_blas_xcsrot(p...); }, [](auto... p) { csrot_(p...); });
  run(cdouble(), -0.6, 0.8, [](auto... p) { zor_blas_xzdrot(p...); }, [](auto... p) { zdrot_(p...); });
  run(cfloat(), 0.6f, cfloat(0.48f, 0.64f), [](auto... p) { zor_blas_xcrot(p...); }, [](auto... p) { crot_(p...); });
  run(cdouble(), 0.6, cdouble(-0.48, 0.64), [](auto... p) { zor_blas_xzrot(p...); }, [](auto... p) { zrot_(p...); });
}

TEST(Rotm, EveryFlagAgainstReference) {
  for (double flag : {-2.0, -1.0, 0.0, 1.0}) {
    SCOPED_TRACE(flag);
    double dp[5] = {flag, 0.5, -1.25, 2.0, 0.75};
    float sp[5] = {float(flag), 0.5f, -1.25f, 2.0f, 0.75f};
    against_reference<double>(16, 0, [&](int64_t n, double *x, int64_t incx, double *y, int64_t incy) { zor_blas_drotm(&n, x, &incx, y, &incy, dp); },
                              [&](f_int *n, double *x, f_int *incx, double *y, f_int *incy) { drotm_(n, x, incx, y, incy, dp); });
    against_reference<float>(17, 0, [&](int64_t n, float *x, int64_t incx, float *y, int64_t incy) { zor_blas_srotm(&n, x, &incx, y, &incy, sp); },
                             [&](f_int *n, float *x, f_int *incx, float *y, f_int *incy) { srotm_(n, x, incx, y, incy, sp); });
  }
}

// Sparse operations against loops written from their definitions, with
// repeated indices.
TEST(Sparse, AgainstDefinitions) {
  Rng rng(18);
  for (int trial = 0; trial < 50; ++trial) {
    int64_t nz = rng.integer(0, 40), m = 50;
    std::vector<int64_t> indx(size_t(nz + 1));
    for (auto &j : indx) j = rng.integer(1, m);
    std::vector<double> x(size_t(nz + 1)), y(static_cast<size_t>(m));
    for (auto &v : x) v = rng.uniform();
    for (auto &v : y) v = rng.uniform();
    auto y0 = y, x0 = x;
    // axpyi, doti
    double a = 0.5;
    zor_blas_daxpyi(&nz, &a, x.data(), indx.data(), y.data());
    auto ye = y0;
    for (int64_t i = 0; i < nz; ++i) ye[indx[i] - 1] = a * x[i] + ye[indx[i] - 1];
    ASSERT_EQ(y, ye);
    double s0 = 0, s1 = 0;
    for (int64_t i = 0; i + 1 < nz; i += 2) s0 += x[i] * y[indx[i] - 1], s1 += x[i + 1] * y[indx[i + 1] - 1];
    double expect = s0 + s1;
    if (nz % 2) expect += x[nz - 1] * y[indx[nz - 1] - 1];
    ASSERT_TRUE(same_bits(zor_blas_ddoti(&nz, x.data(), indx.data(), y.data()), nz > 0 ? expect : 0.0));
    // gthrz: a repeated index gathers 0 the second time
    auto yz = y;
    std::vector<double> g(size_t(nz + 1), -7.0);
    zor_blas_dgthrz(&nz, g.data(), indx.data(), yz.data());
    auto yy = y;
    for (int64_t i = 0; i < nz; ++i) {
      ASSERT_EQ(g[i], yy[indx[i] - 1]);
      yy[indx[i] - 1] = 0;
    }
    ASSERT_EQ(yz, yy);
    ASSERT_EQ(g[nz], -7.0);
    // sctr: later duplicates win; gthr reads back
    zor_blas_dsctr(&nz, x.data(), indx.data(), yz.data());
    for (int64_t i = 0; i < nz; ++i) yy[indx[i] - 1] = x[i];
    ASSERT_EQ(yz, yy);
    zor_blas_dgthr(&nz, g.data(), indx.data(), yz.data());
    for (int64_t i = 0; i < nz; ++i) ASSERT_EQ(g[i], yz[indx[i] - 1]);
    // droti
    double c = 0.6, s = 0.8;
    auto xr = x, yr = y;
    zor_blas_droti(&nz, xr.data(), indx.data(), yr.data(), &c, &s);
    auto xe = x, ye2 = y;
    for (int64_t i = 0; i < nz; ++i) {
      double t = xe[i], &v = ye2[indx[i] - 1];
      xe[i] = c * t + s * v;
      v = (-(s * t)) + c * v;
    }
    ASSERT_EQ(xr, xe);
    ASSERT_EQ(yr, ye2);
    // complex forms: one running sum in order; conjugated x for dotci
    std::vector<cdouble> cx(size_t(nz + 1)), cy(static_cast<size_t>(m));
    for (auto &v : cx) v = cdouble(rng.uniform(), rng.uniform());
    for (auto &v : cy) v = cdouble(rng.uniform(), rng.uniform());
    cdouble ru, rc, eu = 0, ec = 0;
    zor_blas_zdotui(&ru, &nz, cx.data(), indx.data(), cy.data());
    zor_blas_zdotci(&rc, &nz, cx.data(), indx.data(), cy.data());
    for (int64_t i = 0; i < nz; ++i) {
      cdouble p = cx[i], q = cy[indx[i] - 1];
      eu += cdouble(p.real() * q.real() - p.imag() * q.imag(), p.real() * q.imag() + p.imag() * q.real());
      ec += cdouble(p.real() * q.real() + p.imag() * q.imag(), p.real() * q.imag() - p.imag() * q.real());
    }
    ASSERT_EQ(ru, eu);
    ASSERT_EQ(rc, ec);
    std::vector<cfloat> fx(size_t(nz + 1)), fy(static_cast<size_t>(m));
    for (auto &v : fx) v = cfloat(float(rng.uniform()), float(rng.uniform()));
    for (auto &v : fy) v = cfloat(float(rng.uniform()), float(rng.uniform()));
    auto fye = fy;
    cfloat fa(0.5f, -1.0f);
    zor_blas_caxpyi(&nz, &fa, fx.data(), indx.data(), fy.data());
    for (int64_t i = 0; i < nz; ++i) {
      cfloat p = fx[i], &q = fye[indx[i] - 1];
      q = cfloat(fa.real() * p.real() - fa.imag() * p.imag(), fa.real() * p.imag() + fa.imag() * p.real()) + q;
    }
    ASSERT_EQ(fy, fye);
  }
}

// Vectors that end exactly where their heap block ends, one stream shifted
// by one element: under the address sanitizer, a read past the end fails.
TEST(Streams, ShiftedStreamsReadNothingPastTheirEnd) {
  for (int64_t k = 2; k < 48; ++k) {
    std::vector<double> ref(size_t(k - 1));
    auto *a = new double[size_t(k)], *b = new double[size_t(k)];
    auto *f = new float[size_t(k)], *g = new float[size_t(k)];
    auto *z = new cdouble[size_t(k)], *w = new cdouble[size_t(k)];
    for (int64_t i = 0; i < k; ++i) a[i] = double(i), b[i] = 1.0, f[i] = float(i), g[i] = 2.0f, z[i] = w[i] = cdouble(1, 1);
    int64_t n = k - 1, one = 1;
    double alpha = 2.0, d = 0;
    float fa = 1.0f, fd = 0;
    cdouble za(1, 0), zr;
    cfloat cr;
    zor_blas_xdaxpy(&n, &alpha, a + 1, &one, b, &one);
    zor_blas_xdaxpy(&n, &alpha, a, &one, b + 1, &one);
    d += zor_blas_xddot(&n, a + 1, &one, b, &one) + zor_blas_xddot(&n, a, &one, b + 1, &one);
    zor_blas_xdswap(&n, a + 1, &one, b, &one);
    zor_blas_xdcopy(&n, a + 1, &one, b, &one);
    zor_blas_xsaxpy(&n, &fa, f + 1, &one, g, &one);
    fd += zor_blas_xsdot(&n, f + 1, &one, g, &one) + zor_blas_xsdot(&n, f, &one, g + 1, &one);
    int64_t cm = (k - 1) / 2;  // single complex, y 4 bytes off
    zor_blas_xcdotc(&cr, &cm, reinterpret_cast<cfloat *>(f), &one, reinterpret_cast<cfloat *>(g + 1), &one);
    for_both_kernels([&] {
      int64_t m = k / 2;  // complex elements 8 bytes off: the doubles at offset 1
      auto zs = reinterpret_cast<cdouble *>(reinterpret_cast<double *>(z) + 1);
      zor_blas_zdotc(&zr, &n, z + 1, &one, w, &one);
      if (m > 1) {
        int64_t m1 = m - 1;
        zor_blas_zdotu(&zr, &m1, zs, &one, w, &one);
        zor_blas_xzaxpy(&m1, &za, zs, &one, w, &one);
      }
    });
    EXPECT_TRUE(std::isfinite(d) && std::isfinite(fd));
    delete[] a, delete[] b, delete[] f, delete[] g, delete[] z, delete[] w;
  }
}

// The provider's entries forward to the kernels, return at once for n < 1,
// and report a missing argument without writing.
TEST(CheckedEntries, ForwardAndRefuseMissingArguments) {
  double x[4] = {1, 2, 3, 4}, y[4] = {1, 1, 1, 1}, a = 2;
  int64_t n = 4, one = 1, zero = 0;
  zor_blas_daxpy(&n, &a, x, &one, y, &one);
  EXPECT_EQ(y[3], 9.0);
  EXPECT_EQ(zor_blas_ddot(&n, x, &one, y, &one), 1 * 3 + 2 * 5 + 3 * 7 + 4 * 9);
  zor_blas_dswap(&n, x, &one, y, &one);
  EXPECT_EQ(x[0], 3.0);
  zor_blas_daxpy(&zero, &a, x, &one, y, &one);
  EXPECT_EQ(y[0], 1.0);
  testing::internal::CaptureStderr();
  zor_blas_daxpy(&n, &a, x, nullptr, y, &one);
  zor_blas_sdot(&n, nullptr, &one, nullptr, &one);
  std::string text = testing::internal::GetCapturedStderr();
  EXPECT_NE(text.find("DAXPY parameter number 4"), std::string::npos) << text;
  EXPECT_NE(text.find("SDOT parameter number 2"), std::string::npos) << text;
  EXPECT_EQ(y[0], 1.0);
  float fx[3] = {1, 2, 3}, fy[3] = {1, 1, 1}, fa = 1;
  int64_t three = 3;
  zor_blas_saxpy(&three, &fa, fx, &one, fy, &zero);
  EXPECT_EQ(fy[0], 7.0f);
  cfloat cx[2] = {{1, 2}, {3, 4}}, cy[2] = {{1, 0}, {0, 1}}, r;
  int64_t two = 2;
  zor_blas_cdotc(&r, &two, cx, &one, cy, &one);
  EXPECT_EQ(r, std::conj(cx[0]) * cy[0] + std::conj(cx[1]) * cy[1]);
  cdouble zx[1] = {{1, 1}}, zy[1] = {{0, 0}}, za(2, 0);
  zor_blas_zaxpy(&one, &za, zx, &one, zy, &one);
  zor_blas_zswap(&one, zx, &one, zy, &one);
  EXPECT_EQ(zx[0], cdouble(2, 2));
}

}  // namespace
}  // namespace zor::test
