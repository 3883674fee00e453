// The reductions against the definition, and their exact order of
// summation: each expected value comes from a model of the stated order
// (level1_order_models.cpp); the data mixes magnitudes over many binades
// with both signs, so that another order gives other bits (the test also
// counts how often a plain sequential sum would have matched, and requires
// that to be rare). Unit, peeled, out-of-phase and strided paths are all
// reached through the case list's offsets and increments.
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

// Runs ours over the case list with data over 2 span binades: the result
// must equal the model's bit for bit, and agree with the sequential sum of
// the same terms (the definition) within a few units of its mass. Counts the
// cases (n >= 8) where that sequential sum gives the same bits, which must
// stay below max_agree of them. (Sums of positive terms, and double sums
// rounded to single at the end, hide their order more often.)
template <class E, class Ours, class Model, class Plain>
void exact(uint64_t seed, Ours ours, Model model, Plain plain, double max_agree = 0.25,
           int span = sizeof(real_of<E>) == 8 ? 6 : 3) {
  int64_t informative = 0, plain_agrees = 0;
  for_each_vector_case(seed, 400, [&](const VectorCase &c, Rng &rng) {
    Strided<E> x(c.n, c.incx, c.offx, rng), y(c.n, c.incy, c.offy, rng);
    for (size_t i = 0; i < x.len; ++i) x.buf.set(i, wide_value<E>(rng, span));
    for (size_t i = 0; i < y.len; ++i) y.buf.set(i, wide_value<E>(rng, span));
    const auto got = ours(c.n, x.data(), c.incx, y.data(), c.incy);
    const auto expect = model(c.n, x.data(), c.incx, y.data(), c.incy);
    ASSERT_TRUE(same_bits(got, expect)) << got << " vs model " << expect;
    const auto [sum, mass] = plain(c.n, x, y);
    ASSERT_TRUE(close(got, decltype(got)(sum), real_of<decltype(got)>(4 * mass * double(c.n + 1)), 1)) << got << " vs " << sum;
    if (c.n >= 8) ++informative, plain_agrees += same_bits(got, decltype(got)(sum));
  });
  EXPECT_LT(double(plain_agrees), max_agree * double(informative)) << "the data does not tell orders apart";
}

// The sequential sum in Acc of x y, conj(x) y, |x|^2 (then the square root)
// or |re| + |im| over the logical elements, and the sum of the terms' sizes.
enum class Terms { dot, dotc, squares, magnitudes };
template <Terms T, class E, class Acc = std::conditional_t<T == Terms::squares || T == Terms::magnitudes, real_of<E>, E>>
auto sequential() {
  return [](int64_t n, Strided<E> &x, Strided<E> &y) {
    Acc s{};
    double mass = 0;
    for (int64_t i = 0; i < n; ++i) {
      const E a = x.at(i);
      if constexpr (T == Terms::squares) s += std::norm(a), mass += std::norm(a);
      else if constexpr (T == Terms::magnitudes) s += std::fabs(std::real(a)) + std::fabs(std::imag(a)), mass += std::abs(a) * 2;
      else if constexpr (T == Terms::dotc) s += std::conj(a) * y.at(i), mass += std::abs(a) * std::abs(y.at(i)) * 2;
      else s += Acc(a) * Acc(y.at(i)), mass += std::abs(a) * std::abs(y.at(i)) * 2;
    }
    if constexpr (T == Terms::squares) return std::pair(std::sqrt(s), std::sqrt(mass));
    else return std::pair(s, mass);
  };
}
// A kernel of the form f(n, x, incx), or f(result, n, x, incx, y, incy),
// as the driver calls it.
template <class F>
auto one_vector(F f) {
  return [f](int64_t n, auto *x, int64_t ix, auto *, int64_t) { return f(&n, x, &ix); };
}
template <class E, class F>
auto complex_dot(F f) {
  return [f](int64_t n, E *x, int64_t ix, E *y, int64_t iy) {
    E r;
    f(&r, &n, x, &ix, y, &iy);
    return r;
  };
}

TEST(Order, RealDots) {
  exact<double>(51, [](int64_t n, double *x, int64_t ix, double *y, int64_t iy) { return zor_blas_xddot(&n, x, &ix, y, &iy); },
                ddot_model, sequential<Terms::dot, double>());
  exact<float>(52, [](int64_t n, float *x, int64_t ix, float *y, int64_t iy) { return zor_blas_xsdot(&n, x, &ix, y, &iy); },
               sdot_model, sequential<Terms::dot, float>());
  exact<float>(53, [](int64_t n, float *x, int64_t ix, float *y, int64_t iy) { return zor_blas_dsdot(&n, x, &ix, y, &iy); },
               dsdot_model, sequential<Terms::dot, float, double>(), 0.5, 8);
}

template <class E>
auto plain(bool conj) {
  return [conj](int64_t n, Strided<E> &x, Strided<E> &y) {
    return conj ? sequential<Terms::dotc, E>()(n, x, y) : sequential<Terms::dot, E>()(n, x, y);
  };
}

TEST(Order, ComplexDots) {
  for (bool conj : {true, false}) {
    SCOPED_TRACE(conj ? "conjugated" : "unconjugated");
    exact<cfloat>(54, complex_dot<cfloat>(conj ? zor_blas_xcdotc : zor_blas_cdotu),
                  [&](auto... p) { return cdot_model(p..., conj); }, plain<cfloat>(conj));
    for (int answer : {0, 33}) {
      SCOPED_TRACE(answer);
      ForcedAnswer forced(ZOR_CORE_MICROARCH, answer);
      exact<cdouble>(55, complex_dot<cdouble>(conj ? zor_blas_zdotc : zor_blas_zdotu),
                     [&](auto... p) { return zdot_model(p..., conj, answer == 33); }, plain<cdouble>(conj));
    }
  }
}

TEST(Order, NormsAndSums) {
  auto reals = [](auto model, bool complex) {
    return [=](int64_t n, auto *x, int64_t ix, auto *, int64_t) { return model(n, reinterpret_cast<decltype(std::real(*x)) *>(x), ix, complex); };
  };
  exact<float>(56, one_vector(zor_blas_snrm2), reals(snrm2_model, false), sequential<Terms::squares, float>(), 0.7, 8);
  exact<cfloat>(57, one_vector(ZOR_TEST_FN(zor_blas_scnrm2)), reals(snrm2_model, true), sequential<Terms::squares, cfloat>(), 0.7, 8);
  exact<double>(58, one_vector(zor_blas_dnrm2), reals(dnrm2_model, false), sequential<Terms::squares, double>(), 0.5);
  exact<cdouble>(59, one_vector(ZOR_TEST_FN(zor_blas_dznrm2)), reals(dnrm2_model, true), sequential<Terms::squares, cdouble>(), 0.5);
  exact<double>(60, one_vector(zor_blas_dasum), [](int64_t n, double *x, int64_t ix, double *, int64_t) { return dasum_model(n, x, ix); },
                sequential<Terms::magnitudes, double>(), 0.5);
  exact<float>(61, one_vector(zor_blas_sasum), [](int64_t n, float *x, int64_t ix, float *, int64_t) { return sasum_model(n, x, ix); },
               sequential<Terms::magnitudes, float>(), 0.6);
}

// Cases named in the contract.
TEST(Order, NamedCases) {
  GuardedBuffer<double> x(40, 8), y(40, 8);
  Rng rng(62);
  for (size_t i = 0; i < 40; ++i) x[i] = wide_value<double>(rng), y[i] = wide_value<double>(rng);
  int64_t one = 1, minus = -1, n = 1;
  EXPECT_TRUE(same_bits(zor_blas_xddot(&n, x.data(), &one, y.data(), &one), x[0] * y[0]));
  n = 33;  // bases 8 bytes off: the peeled product closes the sum
  EXPECT_TRUE(same_bits(zor_blas_xddot(&n, x.data(), &one, y.data(), &one), ddot_model(33, x.data(), 1, y.data(), 1)));
  EXPECT_TRUE(same_bits(zor_blas_xddot(&n, x.data(), &minus, y.data(), &minus), zor_blas_xddot(&n, x.data(), &one, y.data(), &one)));
}

}  // namespace
}  // namespace zor::test
