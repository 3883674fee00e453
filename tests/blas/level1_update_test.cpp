// The updating vector kernels (axpy, axpby, copy, swap, scal, rot, rotm, the
// sparse forms) against the reference BLAS or their formulas, bit for bit,
// over sizes around the unroll widths, every offset pair, zero and negative
// increments, guards checked after every call; their special values; and
// the provider's checked entries.
#include <zor/blas.h>

#include <algorithm>
#include <bit>
#include <string>

#include "common/reference_blas.h"
#include "common/testing.hpp"
#include "frame/element.hpp"
#include "frame/imports.hpp"

namespace zor::test {
namespace {

// The tier's routines of an element type (std::complex for the complex ones).
template <class E> struct TraitsFor { using type = traits_of<E>; };
template <class R> struct TraitsFor<std::complex<R>> { using type = traits_of<cplx<R>>; };
template <class E> using tier = imports<typename TraitsFor<E>::type>;

// ours(n, x, incx, y, incy) and ref(...) (32-bit integers) on copies of the
// same data; both vectors must agree bit for bit.
template <class E, class Ours, class Ref>
void against_reference(uint64_t seed, Ours ours, Ref ref) {
  for_each_vector_case(seed, 600, [&](const VectorCase &c, Rng &rng) {
    Strided<E> x(c.n, c.incx, c.offx, rng), y(c.n, c.incy, c.offy, rng);
    std::vector<E> xr = x.copy(), yr = y.copy();
    ours(c.n, x.data(), c.incx, y.data(), c.incy);
    f_int n32 = f_int(c.n), ix = f_int(c.incx), iy = f_int(c.incy);
    ref(&n32, xr.data(), &ix, yr.data(), &iy);
    ASSERT_TRUE(x.buf.guards_intact() && y.buf.guards_intact());
    for (size_t i = 0; i < x.len; ++i) ASSERT_TRUE(same_bits(x.buf.get(i), xr[i])) << "x[" << i << "]";
    for (size_t i = 0; i < y.len; ++i) ASSERT_TRUE(same_bits(y.buf.get(i), yr[i])) << "y[" << i << "]";
  });
}
// The same for routines of the form f(n, <scalars...>, x, incx, y, incy).
template <class E, class Ours, class Ref, class... S>
void two_vectors(uint64_t seed, Ours ours, Ref ref, const S &...s) {
  against_reference<E>(
      seed, [&](int64_t n, E *x, int64_t ix, E *y, int64_t iy) { ours(&n, &s..., x, &ix, y, &iy); },
      [&](f_int *n, E *x, f_int *ix, E *y, f_int *iy) { ref(n, &s..., x, ix, y, iy); });
}

TEST(Update, AxpyCopySwapAgainstReference) {
  two_vectors<float>(11, ZOR_TEST_FN(zor_blas_xsaxpy), ZOR_TEST_FN(saxpy_), 0.75f);
  two_vectors<double>(11, ZOR_TEST_FN(zor_blas_xdaxpy), ZOR_TEST_FN(daxpy_), 0.75);
  two_vectors<cfloat>(11, ZOR_TEST_FN(zor_blas_xcaxpy), ZOR_TEST_FN(caxpy_), cfloat(0.75f, -1.25f));
  for_both_kernels([] { two_vectors<cdouble>(11, ZOR_TEST_FN(zor_blas_xzaxpy), ZOR_TEST_FN(zaxpy_), cdouble(0.75, -1.25)); });
  two_vectors<float>(13, ZOR_TEST_FN(zor_blas_xscopy), ZOR_TEST_FN(scopy_));
  two_vectors<double>(13, ZOR_TEST_FN(zor_blas_xdcopy), ZOR_TEST_FN(dcopy_));
  two_vectors<cfloat>(13, ZOR_TEST_FN(zor_blas_xccopy), ZOR_TEST_FN(ccopy_));
  two_vectors<cdouble>(13, ZOR_TEST_FN(zor_blas_xzcopy), ZOR_TEST_FN(zcopy_));
  two_vectors<float>(13, ZOR_TEST_FN(zor_blas_xsswap), ZOR_TEST_FN(sswap_));
  two_vectors<double>(13, ZOR_TEST_FN(zor_blas_xdswap), ZOR_TEST_FN(dswap_));
  two_vectors<cfloat>(13, ZOR_TEST_FN(zor_blas_xcswap), ZOR_TEST_FN(cswap_));
  two_vectors<cdouble>(13, ZOR_TEST_FN(zor_blas_xzswap), ZOR_TEST_FN(zswap_));
}

// y := a x + b y from the formula; b = 0 never reads y.
TEST(Update, AxpbyAgainstFormula) {
  auto run = [](auto ours, auto a, auto b) {
    using E = decltype(a);
    against_reference<E>(12, [&](int64_t n, E *x, int64_t ix, E *y, int64_t iy) { ours(&n, &a, x, &ix, &b, y, &iy); },
                         [&](f_int *n, E *x, f_int *ix, E *y, f_int *iy) {
                           if (*n < 1 || (a == E(0) && b == E(1))) return;
                           E *xs = *ix < 0 ? x + (1 - *n) * *ix : x, *ys = *iy < 0 ? y + (1 - *n) * *iy : y;
                           for (int64_t i = 0; i < *n; ++i) {
                             E &t = ys[i * *iy];
                             t = b == E(0) ? a * xs[i * *ix] : a * xs[i * *ix] + b * t;
                           }
                         });
  };
  for (int k = 0; k < 2; ++k) {
    run(ZOR_TEST_FN(zor_blas_saxpby), 0.75f, k ? 0.0f : -0.5f);
    run(ZOR_TEST_FN(zor_blas_daxpby), -1.25, k ? 0.0 : 1.5);
    run(ZOR_TEST_FN(zor_blas_caxpby), cfloat(0.5f, 2.0f), cfloat(k ? 0.0f : -0.5f, k ? 0.0f : 0.25f));
    for_both_kernels([&] { run(ZOR_TEST_FN(zor_blas_zaxpby), cdouble(0.5, 2.0), cdouble(k ? 0.0 : 1.5, k ? 0.0 : 0.25)); });
  }
}

// Scaling: the reference for positive increments; for 0 and negative ones
// (where the reference does nothing) the same set of elements scaled in
// place, the one element of increment 0 scaled n times.
TEST(Update, ScalAgainstReferenceAndModel) {
  auto run = [](auto tag, auto factor, auto ours, auto ref) {
    using E = decltype(tag);
    against_reference<E>(14, [&](int64_t n, E *, int64_t, E *y, int64_t iy) { ours(&n, &factor, y, &iy); },
                         [&](f_int *n, E *, f_int *, E *y, f_int *iy) {
                           if (*iy > 0) return ref(n, &factor, y, iy);
                           for (int64_t i = 0; i < *n; ++i) y[-i * *iy] = tmul(factor, y[-i * *iy]);
                         });
  };
  run(float(), -1.5f, ZOR_TEST_FN(zor_blas_sscal), ZOR_TEST_FN(sscal_));
  run(double(), 0.625, ZOR_TEST_FN(zor_blas_dscal), ZOR_TEST_FN(dscal_));
  run(cfloat(), cfloat(0.5f, -2.0f), ZOR_TEST_FN(zor_blas_cscal), ZOR_TEST_FN(cscal_));
  run(cfloat(), 3.0f, ZOR_TEST_FN(zor_blas_csscal), ZOR_TEST_FN(csscal_));
  run(cdouble(), -0.75, ZOR_TEST_FN(zor_blas_zdscal), ZOR_TEST_FN(zdscal_));
  for_both_kernels([&] { run(cdouble(), cdouble(1.25, 0.5), ZOR_TEST_FN(zor_blas_zscal), ZOR_TEST_FN(zscal_)); });
}

TEST(Update, RotationsAgainstReference) {
  auto rot = [](auto tag, auto c, auto s, auto ours, auto ref) {
    using E = decltype(tag);
    against_reference<E>(15, [&](int64_t n, E *x, int64_t ix, E *y, int64_t iy) { ours(&n, x, &ix, y, &iy, &c, &s); },
                         [&](f_int *n, E *x, f_int *ix, E *y, f_int *iy) { ref(n, x, ix, y, iy, &c, &s); });
  };
  rot(float(), 0.6f, -0.8f, ZOR_TEST_FN(zor_blas_xsrot), ZOR_TEST_FN(srot_));
  rot(double(), 0.28, 0.96, ZOR_TEST_FN(zor_blas_xdrot), ZOR_TEST_FN(drot_));
  rot(cfloat(), 0.6f, 0.8f, ZOR_TEST_FN(zor_blas_xcsrot), ZOR_TEST_FN(csrot_));
  rot(cdouble(), -0.6, 0.8, ZOR_TEST_FN(zor_blas_xzdrot), ZOR_TEST_FN(zdrot_));
  rot(cfloat(), 0.6f, cfloat(0.48f, 0.64f), ZOR_TEST_FN(zor_blas_xcrot), ZOR_TEST_FN(crot_));
  rot(cdouble(), 0.6, cdouble(-0.48, 0.64), ZOR_TEST_FN(zor_blas_xzrot), ZOR_TEST_FN(zrot_));
  for (double flag : {-2.0, -1.0, 0.0, 1.0}) {
    SCOPED_TRACE(flag);
    const double dp[5] = {flag, 0.5, -1.25, 2.0, 0.75};
    const float sp[5] = {float(flag), 0.5f, -1.25f, 2.0f, 0.75f};
    auto with = [](auto f, auto param) { return [=](auto... p) { return f(p..., param); }; };
    two_vectors<double>(16, with(ZOR_TEST_FN(zor_blas_drotm), dp), with(ZOR_TEST_FN(drotm_), dp));
    two_vectors<float>(17, with(ZOR_TEST_FN(zor_blas_srotm), sp), with(ZOR_TEST_FN(srotm_), sp));
  }
}

// Zero factors touch nothing (complex: only if both parts are zero), NaN
// factors are applied; an increment of 0 on y accumulates in order; beta 0
// never reads y; dscal by 1 returns at once, sscal by 1 writes every element.
TEST(Update, SpecialValues) {
  int64_t n = 3, one = 1, zero = 0, two = 2;
  double y[3] = {1.0, NAN, -0.0}, x[3] = {1, 2, 3}, a0 = 0.0, am0 = -0.0, nan = NAN;
  zor_blas_xdaxpy(&n, &a0, x, &one, y, &one);
  zor_blas_xdaxpy(&n, &am0, x, &one, y, &one);
  EXPECT_TRUE(same_bits(y[2], -0.0) && std::isnan(y[1]));
  zor_blas_xdaxpy(&n, &nan, x, &one, y, &one);
  EXPECT_TRUE(std::isnan(y[0]) && std::isnan(y[2]));
  cfloat ca(0.0f, 1.0f), cy[2] = {{1, 1}, {2, 2}}, cx[2] = {{1, 0}, {0, 1}};
  zor_blas_xcaxpy(&two, &ca, cx, &one, cy, &one);
  EXPECT_EQ(cy[0], cfloat(1, 2));

  const double terms[5] = {1e16, 1.0, -1e16, 1.0, 3.0};
  double acc = 0.5, expect = 0.5, unit = 1.0;
  int64_t five = 5;
  zor_blas_xdaxpy(&five, &unit, terms, &one, &acc, &zero);
  for (double v : terms) expect = unit * v + expect;
  EXPECT_TRUE(same_bits(acc, expect));

  double by[5] = {NAN, NAN, NAN, NAN, NAN}, b0 = 0.0, a2 = 2.0;
  zor_blas_daxpby(&five, &a2, terms, &one, &b0, by, &one);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(by[i], 2.0 * terms[i]);

  double d[3] = {NAN, -0.0, 1.0};
  zor_blas_dscal(&n, &unit, d, &one);
  EXPECT_TRUE(std::isnan(d[0]) && same_bits(d[1], -0.0));
  zor_blas_dscal(&n, &a0, d, &one);  // 0 times NaN stays NaN
  EXPECT_TRUE(std::isnan(d[0]) && d[2] == 0.0);
  float f[2] = {std::bit_cast<float>(0x7f800001u), 2.0f}, f1 = 1.0f;  // a signalling NaN comes back quiet
  zor_blas_sscal(&two, &f1, f, &one);
  EXPECT_EQ(std::bit_cast<uint32_t>(f[0]), 0x7fc00001u);
}

// The sparse operations against loops written from their definitions, with
// repeated indices and operands at every offset.
template <class E>
void sparse_against_definitions(uint64_t seed) {
  Rng rng(seed);
  for (int trial = 0; trial < 50; ++trial) {
    SCOPED_TRACE(trial);
    int64_t nz = rng.integer(0, 40), m = 50;
    std::vector<int64_t> indx(size_t(nz + 1));
    for (auto &j : indx) j = rng.integer(1, m);
    GuardedBuffer<E> x(size_t(nz + 1), size_t(rng.integer(0, 3) * 4)), y(size_t(m), size_t(rng.integer(0, 3) * 4));
    for (size_t i = 0; i < x.size(); ++i) x.set(i, rng.value<E>());
    for (size_t i = 0; i < y.size(); ++i) y.set(i, rng.value<E>());
    std::vector<E> xe = x.copy(), ye = y.copy();
    auto j = [&](int64_t i) { return size_t(indx[size_t(i)] - 1); };
    auto check = [&] { ASSERT_TRUE(same_bits(x.copy(), xe) && same_bits(y.copy(), ye) && x.guards_intact() && y.guards_intact()); };
    const E a = tmul(rng.value<E>(), real_of<E>(2));
    tier<E>::axpyi(&nz, &a, x.data(), indx.data(), y.data());
    for (int64_t i = 0; i < nz; ++i) ye[j(i)] = tmul(a, xe[size_t(i)]) + ye[j(i)];
    check();
    E dot{}, dotc{}, s0{}, s1{};
    if constexpr (is_complex_v<E>) {
      tier<E>::dotui(&dot, &nz, x.data(), indx.data(), y.data());
      tier<E>::dotci(&dotc, &nz, x.data(), indx.data(), y.data());
      for (int64_t i = 0; i < nz; ++i) s0 += tmul(xe[size_t(i)], ye[j(i)]), s1 += tmul(std::conj(xe[size_t(i)]), ye[j(i)]);
      ASSERT_TRUE(same_bits(dot, s0) && same_bits(dotc, s1));
    } else {
      dot = tier<E>::doti(&nz, x.data(), indx.data(), y.data());
      int64_t i = 0;
      for (; i + 2 <= nz; i += 2) s0 += xe[size_t(i)] * ye[j(i)], s1 += xe[size_t(i + 1)] * ye[j(i + 1)];
      E expect = s0 + s1;
      if (i < nz) expect += xe[size_t(i)] * ye[j(i)];
      ASSERT_TRUE(same_bits(dot, nz > 0 ? expect : E(0)));
    }
    tier<E>::gthrz(&nz, x.data(), indx.data(), y.data());  // a repeated index gathers 0 the second time
    for (int64_t i = 0; i < nz; ++i) xe[size_t(i)] = ye[j(i)], ye[j(i)] = E{};
    check();
    for (size_t i = 0; i < x.size(); ++i) x.set(i, xe[i] = rng.value<E>());
    tier<E>::sctr(&nz, x.data(), indx.data(), y.data());  // later duplicates win
    for (int64_t i = 0; i < nz; ++i) ye[j(i)] = xe[size_t(i)];
    check();
    tier<E>::gthr(&nz, x.data(), indx.data(), y.data());
    for (int64_t i = 0; i < nz; ++i) xe[size_t(i)] = ye[j(i)];
    check();
    if constexpr (!is_complex_v<E>) {
      const E c = E(0.6), s = E(0.8);
      tier<E>::roti(&nz, x.data(), indx.data(), y.data(), &c, &s);
      for (int64_t i = 0; i < nz; ++i) {
        const E t = xe[size_t(i)], v = ye[j(i)];
        xe[size_t(i)] = c * t + s * v, ye[j(i)] = (-(s * t)) + c * v;
      }
      check();
    }
  }
}

TEST(Update, SparseAgainstDefinitions) {
  sparse_against_definitions<float>(18);
  sparse_against_definitions<double>(18);
  sparse_against_definitions<cfloat>(18);
  sparse_against_definitions<cdouble>(18);
}

// Vectors that end exactly where their heap block ends, one stream shifted
// by one element: under the address sanitizer, a read past the end fails.
TEST(Update, ShiftedStreamsReadNothingPastTheirEnd) {
  for (int64_t k = 2; k < 48; ++k) {
    std::vector<double> a(static_cast<size_t>(k)), b(static_cast<size_t>(k), 1.0);
    std::vector<float> f(static_cast<size_t>(k)), g(static_cast<size_t>(k), 2.0f);
    std::vector<cdouble> z(size_t(k), cdouble(1, 1)), w(z);
    for (int64_t i = 0; i < k; ++i) a[size_t(i)] = double(i), f[size_t(i)] = float(i);
    int64_t n = k - 1, one = 1, cm = (k - 1) / 2, m1 = k / 2 - 1;
    double alpha = 2.0, d = 0;
    float fa = 1.0f, fd = 0;
    cdouble za(1, 0), zr;
    cfloat cr;
    zor_blas_xdaxpy(&n, &alpha, a.data() + 1, &one, b.data(), &one);
    zor_blas_xdaxpy(&n, &alpha, a.data(), &one, b.data() + 1, &one);
    d += zor_blas_xddot(&n, a.data() + 1, &one, b.data(), &one) + zor_blas_xddot(&n, a.data(), &one, b.data() + 1, &one);
    zor_blas_xdswap(&n, a.data() + 1, &one, b.data(), &one);
    zor_blas_xdcopy(&n, a.data() + 1, &one, b.data(), &one);
    zor_blas_xsaxpy(&n, &fa, f.data() + 1, &one, g.data(), &one);
    fd += zor_blas_xsdot(&n, f.data() + 1, &one, g.data(), &one) + zor_blas_xsdot(&n, f.data(), &one, g.data() + 1, &one);
    // single complex with y 4 bytes off; double complex 8 bytes off (the doubles at offset 1)
    zor_blas_xcdotc(&cr, &cm, reinterpret_cast<cfloat *>(f.data()), &one, reinterpret_cast<cfloat *>(g.data() + 1), &one);
    auto zs = reinterpret_cast<cdouble *>(reinterpret_cast<double *>(z.data()) + 1);
    for_both_kernels([&] {
      zor_blas_zdotc(&zr, &n, z.data() + 1, &one, w.data(), &one);
      if (m1 > 0) zor_blas_zdotu(&zr, &m1, zs, &one, w.data(), &one), zor_blas_xzaxpy(&m1, &za, zs, &one, w.data(), &one);
    });
    EXPECT_TRUE(std::isfinite(d) && std::isfinite(fd));
  }
}

// The provider's entries forward to the kernels, return at once for n < 1,
// and report a missing argument without writing.
TEST(Update, CheckedEntries) {
  double x[4] = {1, 2, 3, 4}, y[4] = {1, 1, 1, 1}, a = 2;
  int64_t n = 4, one = 1, zero = 0, two = 2, three = 3;
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
  const std::string text = testing::internal::GetCapturedStderr();
  EXPECT_NE(text.find("DAXPY parameter number 4"), std::string::npos) << text;
  EXPECT_NE(text.find("SDOT parameter number 2"), std::string::npos) << text;
  EXPECT_EQ(y[0], 1.0);
  float fx[3] = {1, 2, 3}, fy[3] = {1, 1, 1}, fa = 1;
  zor_blas_saxpy(&three, &fa, fx, &one, fy, &zero);
  EXPECT_EQ(fy[0], 7.0f);
  cfloat cx[2] = {{1, 2}, {3, 4}}, cy[2] = {{1, 0}, {0, 1}}, r;
  zor_blas_cdotc(&r, &two, cx, &one, cy, &one);
  EXPECT_EQ(r, std::conj(cx[0]) * cy[0] + std::conj(cx[1]) * cy[1]);
  cdouble zx[1] = {{1, 1}}, zy[1] = {{0, 0}}, za(2, 0);
  zor_blas_zaxpy(&one, &za, zx, &one, zy, &one);
  zor_blas_zswap(&one, zx, &one, zy, &one);
  EXPECT_EQ(zx[0], cdouble(2, 2));
}

}  // namespace
}  // namespace zor::test
