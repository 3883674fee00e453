// Exact order of summation of the reductions. Each expected value comes from
// a model of the stated order written here; the data mixes magnitudes over
// many binades with both signs, so that another order gives other bits (the
// test also counts how often a plain sequential sum would have matched, and
// requires that to be rare). Unit, peeled, out-of-phase and strided paths
// are all reached through the case list's offsets and increments.
#include <zor/blas.h>

#include <algorithm>

#include "common/reference_blas.h"
#include "common/testing.hpp"
#include "level1_order_models.hpp"

namespace zor::test {
namespace {

// A value of wide dynamic range: +-2^k (1 + u), k in [-span, span].
template <class R>
R wide(Rng &rng, int span) {
  return R(std::ldexp(1.0 + rng.uniform(0, 1), int(rng.integer(-span, span))) * (rng.integer(0, 1) ? 1 : -1));
}
template <class E>
E wide_value(Rng &rng, int span = sizeof(real_of<E>) == 8 ? 6 : 3) {
  using R = real_of<E>;
  if constexpr (std::is_floating_point_v<E>) return wide<R>(rng, span);
  else return E(wide<R>(rng, span), wide<R>(rng, span));
}

// ------------------------------------------------------------------ driver
// Runs ours and the model over the case list with data over 2 span binades;
// counts the cases (n >= 8) where a sequential sum would give the same bits,
// which must stay below max_agree of them. (Sums of positive terms, and
// double sums rounded to single at the end, hide their order more often.)
template <class E, class Ours, class Model, class Plain>
void exact(uint64_t seed, Ours ours, Model model, Plain plain, bool two_vectors = true, double max_agree = 0.25,
           int span = sizeof(real_of<E>) == 8 ? 6 : 3) {
  auto cases = vector_cases(seed, 400);
  int64_t informative = 0, plain_agrees = 0;
  for (size_t k = 0; k < cases.size(); ++k) {
    const VectorCase &c = cases[k];
    SCOPED_TRACE(testing::Message() << "seed " << seed << " case " << k << ": " << c);
    Rng rng(seed * 1000 + k);
    Strided<E> x(c.n, c.incx, c.offx, rng), y(c.n, two_vectors ? c.incy : 1, c.offy, rng);
    for (size_t i = 0; i < x.len; ++i) x.buf.set(i, wide_value<E>(rng, span));
    for (size_t i = 0; i < y.len; ++i) y.buf.set(i, wide_value<E>(rng, span));
    auto got = ours(c.n, x.data(), c.incx, y.data(), c.incy);
    auto expect = model(c.n, x.data(), c.incx, y.data(), c.incy);
    ASSERT_TRUE(same_bits(got, expect)) << got << " vs model " << expect;
    if (c.n >= 8) {
      ++informative;
      plain_agrees += same_bits(got, decltype(got)(plain(c.n, x, y, c.incx, c.incy)));
    }
  }
  EXPECT_LT(double(plain_agrees), max_agree * double(informative)) << "the data does not tell orders apart";
}

// A sequential sum of the same terms, for the discrimination count.
template <class E>
auto sequential(bool conj_x, bool squares = false, bool magnitudes = false) {
  return [=](int64_t n, Strided<E> &x, Strided<E> &y, int64_t, int64_t) {
    E s{};
    for (int64_t i = 0; i < n; ++i) {
      E a = x.at(i);
      if (squares || magnitudes) {
        if constexpr (std::is_floating_point_v<E>) s += squares ? a * a : std::fabs(a);
        else s += E(squares ? std::norm(a) : std::fabs(a.real()) + std::fabs(a.imag()));
      } else {
        if constexpr (!std::is_floating_point_v<E>)
          if (conj_x) a = std::conj(a);
        s += a * y.at(i);
      }
    }
    if constexpr (std::is_floating_point_v<E>) return squares ? std::sqrt(s) : s;
    else return squares ? std::sqrt(s.real()) : (magnitudes ? s.real() : s);
  };
}

TEST(Order, RealDots) {
  exact<double>(51, [](int64_t n, double *x, int64_t ix, double *y, int64_t iy) { return zor_blas_xddot(&n, x, &ix, y, &iy); },
                ddot_model, sequential<double>(false));
  exact<float>(52, [](int64_t n, float *x, int64_t ix, float *y, int64_t iy) { return zor_blas_xsdot(&n, x, &ix, y, &iy); },
               sdot_model, sequential<float>(false));
  exact<float>(53, [](int64_t n, float *x, int64_t ix, float *y, int64_t iy) { return zor_blas_dsdot(&n, x, &ix, y, &iy); },
               dsdot_model, [](int64_t n, auto &x, auto &y, int64_t, int64_t) {
                 double s = 0;
                 for (int64_t i = 0; i < n; ++i) s += double(x.at(i)) * double(y.at(i));
                 return s;
               }, true, 0.5, 8);
}

TEST(Order, ComplexDots) {
  for (bool conj : {true, false}) {
    SCOPED_TRACE(conj ? "conjugated" : "unconjugated");
    exact<cfloat>(54, [&](int64_t n, cfloat *x, int64_t ix, cfloat *y, int64_t iy) {
          cfloat r;
          (conj ? zor_blas_xcdotc : zor_blas_cdotu)(&r, &n, x, &ix, y, &iy);
          return r;
        }, [&](auto... p) { return cdot_model(p..., conj); }, sequential<cfloat>(conj));
    for (int answer : {0, 33}) {
      SCOPED_TRACE(answer);
      ForcedAnswer forced(ZOR_CORE_MICROARCH, answer);
      exact<cdouble>(55, [&](int64_t n, cdouble *x, int64_t ix, cdouble *y, int64_t iy) {
            cdouble r;
            (conj ? zor_blas_zdotc : zor_blas_zdotu)(&r, &n, x, &ix, y, &iy);
            return r;
          }, [&](auto... p) { return zdot_model(p..., conj, answer == 33); }, sequential<cdouble>(conj));
    }
  }
}

TEST(Order, NormsAndSums) {
  auto one = [](auto fn) { return [fn](int64_t n, auto *x, int64_t ix, auto *, int64_t) { return fn(&n, x, &ix); }; };
  exact<float>(56, one(zor_blas_snrm2), [](int64_t n, float *x, int64_t ix, float *, int64_t) { return snrm2_model(n, x, ix, false); },
               [](int64_t n, auto &x, auto &, int64_t, int64_t) {
                 float s = 0;
                 for (int64_t i = 0; i < n; ++i) s += x.at(i) * x.at(i);
                 return std::sqrt(s);
               }, false, 0.7, 8);
  exact<cfloat>(57, one([](auto... p) { return zor_blas_scnrm2(p...); }),
                [](int64_t n, cfloat *x, int64_t ix, cfloat *, int64_t) { return snrm2_model(n, reinterpret_cast<float *>(x), ix, true); },
                [](int64_t n, auto &x, auto &, int64_t, int64_t) {
                  float s = 0;
                  for (int64_t i = 0; i < n; ++i) s += std::norm(x.at(i));
                  return std::sqrt(s);
                }, false, 0.7, 8);
  exact<double>(58, one(zor_blas_dnrm2), [](int64_t n, double *x, int64_t ix, double *, int64_t) { return dnrm2_model(n, x, ix, false); },
                [](int64_t n, auto &x, auto &, int64_t, int64_t) {
                  double s = 0;
                  for (int64_t i = 0; i < n; ++i) s += x.at(i) * x.at(i);
                  return std::sqrt(s);
                }, false, 0.5);
  exact<cdouble>(59, one([](auto... p) { return zor_blas_dznrm2(p...); }),
                 [](int64_t n, cdouble *x, int64_t ix, cdouble *, int64_t) { return dnrm2_model(n, reinterpret_cast<double *>(x), ix, true); },
                 [](int64_t n, auto &x, auto &, int64_t, int64_t) {
                   double s = 0;
                   for (int64_t i = 0; i < n; ++i) s += std::norm(x.at(i));
                   return std::sqrt(s);
                 }, false, 0.5);
  auto plain_abs = [](int64_t n, auto &x, auto &, int64_t, int64_t) {
    auto s = std::fabs(x.at(0)) * 0;
    for (int64_t i = 0; i < n; ++i) s += std::fabs(x.at(i));
    return s;
  };
  exact<double>(60, one(zor_blas_dasum), [](int64_t n, double *x, int64_t ix, double *, int64_t) { return dasum_model(n, x, ix); }, plain_abs, false, 0.5);
  exact<float>(61, one(zor_blas_sasum), [](int64_t n, float *x, int64_t ix, float *, int64_t) { return sasum_model(n, x, ix); }, plain_abs, false, 0.6);
}

// Cases named in the contract.
TEST(Order, NamedCases) {
  GuardedBuffer<double> x(40, 8), y(40, 8);
  Rng rng(62);
  for (int i = 0; i < 40; ++i) x[i] = wide_value<double>(rng), y[i] = wide_value<double>(rng);
  int64_t one = 1, minus = -1, n = 1;
  EXPECT_TRUE(same_bits(zor_blas_xddot(&n, x.data(), &one, y.data(), &one), x[0] * y[0]));
  n = 33;  // bases 8 bytes off: the peeled product closes the sum
  EXPECT_TRUE(same_bits(zor_blas_xddot(&n, x.data(), &one, y.data(), &one), ddot_model(33, x.data(), 1, y.data(), 1)));
  EXPECT_TRUE(same_bits(zor_blas_xddot(&n, x.data(), &minus, y.data(), &minus), zor_blas_xddot(&n, x.data(), &one, y.data(), &one)));
}

}  // namespace
}  // namespace zor::test
