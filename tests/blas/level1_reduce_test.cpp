// Reductions against the reference BLAS: dot products of all kinds, within
// a tolerance that grows with n; the order of summation is held exactly in
// level1_order_test.cpp.
#include "level1_testing.hpp"

namespace zor::test {
namespace {

using cfloat = std::complex<float>;
using cdouble = std::complex<double>;

// ours(n, x, incx, y, incy) and ref(...) over the case list; the tolerance
// is `ulps` times n times the sum of |x||y|.
template <class E, class Ours, class Ref>
void dot_against_reference(uint64_t seed, double ulps, Ours ours, Ref ref) {
  using R = real_of<E>;
  auto cases = level1_cases(seed);
  for (size_t k = 0; k < cases.size(); ++k) {
    const Case &c = cases[k];
    SCOPED_TRACE(testing::Message() << "seed " << seed << " case " << k << ": " << c);
    Rng rng(seed * 1000 + k);
    Strided<E> x(c.n, c.incx, c.offx, rng), y(c.n, c.incy, c.offy, rng);
    f_int n32 = f_int(c.n), ix = f_int(c.incx), iy = f_int(c.incy);
    auto expect = ref(&n32, x.data(), &ix, y.data(), &iy);
    auto got = ours(c.n, x.data(), c.incx, y.data(), c.incy);
    double mass = 0;
    for (int64_t i = 0; i < c.n; ++i) mass += std::abs(x.at(c.n, i)) * std::abs(y.at(c.n, i));
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

}  // namespace
}  // namespace zor::test
