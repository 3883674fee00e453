// Accuracy of the double-double sums against quad precision (__float128):
// at 214 every result lies within one unit in the last place of the quad
// value, on random data and on rows built to cancel (condition above 1e20),
// where the double sums of 212 are far off.
#include <quadmath.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "common/testing.hpp"
#include "xblas/xblas_testing.hpp"

namespace {

using namespace zor::test::xblas;
using zor::test::Rng;
using Q = __float128;

Q qabs(Q v) { return v < 0 ? -v : v; }
template <class R> Q ulp(R v) {
  const R a = std::fabs(v);
  return Q(std::nextafter(a, std::numeric_limits<R>::infinity())) - Q(a);
}
template <class R> Q part(R v, int k) { return k == 0 ? Q(v) : Q(0); }
template <class R> Q part(std::complex<R> v, int k) { return k == 0 ? Q(v.real()) : Q(v.imag()); }

// Distance from y to the quad value q, in units of y's last place.
template <class R> double ulps(R y, Q q) { return double(qabs(Q(y) - q) / ulp(y)); }

// y := alpha op(A) x + beta y in quad, part k of row i.
template <class E>
Q quad_result(const Call &c, const E *a, const E *x, E alpha, E beta, E y, int64_t i, int k) {
  Q re = 0, im = 0;
  const Q conj = c.op == blas_conj_trans ? -1 : 1;
  for (int64_t j = 0; j < c.lenx(); ++j) {
    const E aij = c.no_trans() ? a[i + j * c.lda] : a[j + i * c.lda];
    const E xj = x[first(c.lenx(), c.incx) + j * c.incx];
    const Q air = part(aij, 0), aii = conj * part(aij, 1);
    re += air * part(xj, 0) - aii * part(xj, 1);
    im += aii * part(xj, 0) + air * part(xj, 1);
  }
  const Q ar = part(alpha, 0), ai = part(alpha, 1), br = part(beta, 0), bi = part(beta, 1);
  if (k == 0) return ar * re - ai * im + br * part(y, 0) - bi * part(y, 1);
  return ar * im + ai * re + br * part(y, 1) + bi * part(y, 0);
}

template <class E>
void random_rows(uint64_t seed) {
  using R = real_of<E>;
  Rng rng(seed);
  for (int32_t trans : {111, 112, 113}) {
    for (int64_t lenx : {5, 100, 1000}) {
      const int64_t leny = 7, incx = trans == 111 ? 1 : -2;
      const bool plain = trans == 111;
      const Call c{Fam::gemv, false, trans, plain ? leny : lenx, plain ? lenx : leny, 0, 0,
                   plain ? leny : lenx, incx, 1, 214};
      SCOPED_TRACE(testing::Message() << "seed " << seed << " trans " << trans << " length " << lenx);
      std::vector<E> a(c.lda * c.n), x(span(lenx, incx)), y(leny);
      for (auto *v : {&a, &x, &y})
        for (auto &e : *v) e = random_value<E>(rng);
      const E alpha = random_value<E>(rng), beta = random_value<E>(rng);
      const std::vector<E> y0 = y;
      call<E>(c, &alpha, a.data(), x.data(), x.data(), &beta, y.data());
      for (int64_t i = 0; i < leny; ++i) {
        for (int k = 0; k < (is_complex_v<E> ? 2 : 1); ++k) {
          const Q q = quad_result<E>(c, a.data(), x.data(), alpha, beta, y0[i], i, k);
          R got;
          if constexpr (is_complex_v<E>) got = k == 0 ? y[i].real() : y[i].imag();
          else got = y[i];
          ASSERT_LE(ulps(got, q), 1.0) << "row " << i << " part " << k;
        }
      }
    }
  }
}

TEST(XblasAccuracy, RandomRowsWithinOneUlp) {
  random_rows<float>(61);
  random_rows<double>(62);
  random_rows<std::complex<float>>(63);
  random_rows<std::complex<double>>(64);
}

// Rows of terms that cancel: big ones (multiples of 2^20 near 2^66), their
// negatives and ones below 1 (multiples of 2^-40), shuffled; x holds powers
// of two, so every product is exact and the quad sum is exact too.
template <class E>
void cancelling_rows(uint64_t seed) {
  using R = real_of<E>;
  Rng rng(seed);
  const int64_t leny = 16, lenx = 61;
  for (int32_t trans : {111, 112}) {
    const bool plain = trans == 111;
    Call c{Fam::gemv, false, trans, plain ? leny : lenx, plain ? lenx : leny, 0, 0, plain ? leny : lenx, 1, 1, 214};
    SCOPED_TRACE(testing::Message() << "seed " << seed << " trans " << trans);
    std::vector<E> a(c.lda * c.n), x(lenx), y(leny);
    for (auto &v : x) v = R(std::ldexp(rng.integer(0, 1) ? 1.0 : -1.0, int(rng.integer(-3, 3))));
    for (int64_t i = 0; i < leny; ++i) {
      std::vector<R> row[2];
      for (auto &terms : row) {
        for (int64_t j = 0; j < 20; ++j) {
          const double sign = rng.integer(0, 1) ? 1 : -1;
          const R big = R(std::ldexp(sign * double(rng.integer(1LL << 30, (1LL << 31) - 1)), 36));
          terms.push_back(big), terms.push_back(-big);
        }
        while (int64_t(terms.size()) < lenx)
          terms.push_back(R(std::ldexp(double(rng.integer(-(1LL << 40), 1LL << 40)), -40)));
        std::shuffle(terms.begin(), terms.end(), rng.engine);
      }
      for (int64_t j = 0; j < lenx; ++j) {
        const R xj = part(x[j], 0) > 0 ? R(part(x[j], 0)) : R(-part(x[j], 0));
        const R sign = part(x[j], 0) > 0 ? R(1) : R(-1);
        E v;
        if constexpr (is_complex_v<E>) v = E(row[0][j] / xj * sign, row[1][j] / xj * sign);
        else v = row[0][j] / xj * sign;
        a[plain ? i + j * c.lda : j + i * c.lda] = v;
      }
    }
    const E one(1), zero(0);
    std::vector<E> extra = y, dbl = y;
    call<E>(c, &one, a.data(), x.data(), x.data(), &zero, extra.data());
    c.prec = 212;
    call<E>(c, &one, a.data(), x.data(), x.data(), &zero, dbl.data());
    int far_off = 0;
    for (int64_t i = 0; i < leny; ++i) {
      for (int k = 0; k < (is_complex_v<E> ? 2 : 1); ++k) {
        const Q q = quad_result<E>(c, a.data(), x.data(), one, zero, zero, i, k);
        Q magnitude = 0;
        for (int64_t j = 0; j < lenx; ++j)
          magnitude += qabs(part(c.no_trans() ? a[i + j * c.lda] : a[j + i * c.lda], k) * part(x[j], 0));
        ASSERT_GT(double(magnitude / qabs(q)), 1e20) << "row " << i;
        auto at = [&](const std::vector<E> &v) { return R(part(v[i], k)); };
        ASSERT_LE(ulps(at(extra), q), 1.0) << "row " << i << " part " << k;
        far_off += ulps(at(dbl), q) > 1e6;
      }
    }
    EXPECT_GT(far_off, leny / 2);
  }
}

TEST(XblasAccuracy, CancellingRowsWithinOneUlp) {
  cancelling_rows<double>(71);
  cancelling_rows<std::complex<double>>(72);
}

// One row (1e16, 1, -1e16) times (1, 1, 1): the double-double sum keeps the 1.
TEST(XblasAccuracy, DoubleDoubleKeepsWhatDoubleLoses) {
  const double a[3] = {1e16, 1, -1e16}, x[3] = {1, 1, 1}, alpha = 1, beta = 0;
  const int32_t trans = blas_no_trans;
  const zor_int m = 1, n = 3, lda = 1, inc = 1;
  for (int32_t prec : {214, 212}) {
    double y = 7;
    zor_xblas_blas_dgemv_x(&trans, &m, &n, &alpha, a, &lda, x, &inc, &beta, &y, &inc, &prec);
    EXPECT_EQ(y, prec == 214 ? 1.0 : 0.0);
  }
}

}  // namespace
