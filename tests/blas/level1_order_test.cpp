// Exact order of summation of the reductions. Each expected value comes from
// a model of the stated order written here; the data mixes magnitudes over
// many binades with both signs, so that another order gives other bits (the
// test also counts how often a plain sequential sum would have matched, and
// requires that to be rare). Unit, peeled, out-of-phase and strided paths
// are all reached through the case list's offsets and increments.
#include "level1_testing.hpp"

namespace zor::test {
namespace {

using cfloat = std::complex<float>;
using cdouble = std::complex<double>;

int phase_of(const void *p) { return int(reinterpret_cast<uintptr_t>(p) & 15); }
bool unit_pair(int64_t a, int64_t b) { return (a == 1 && b == 1) || (a == -1 && b == -1); }

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

// Logical element i of a vector walked from its far end for a negative step.
template <class T>
const T &elem(const T *p, int64_t n, int64_t inc, int64_t i) {
  return p[inc < 0 ? (i - n + 1) * inc : i * inc];
}

// ------------------------------------------------------------------ models
double ddot_model(int64_t n, const double *x, int64_t incx, const double *y, int64_t incy) {
  if (n < 1) return 0;
  double A[2] = {0, 0}, B[2] = {0, 0};
  if (!unit_pair(incx, incy) || phase_of(x) % 8 || phase_of(y) % 8) {
    int64_t i = 0;
    auto p = [&](int64_t k) { return elem(x, n, incx, k) * elem(y, n, incy, k); };
    for (; i + 4 <= n; i += 4) A[0] += p(i), A[1] += p(i + 1), B[0] += p(i + 2), B[1] += p(i + 3);
    if (i + 2 <= n) A[0] += p(i), A[1] += p(i + 1), i += 2;
    if (i < n) A[0] += p(i);
    return (A[0] + A[1]) + (B[0] + B[1]);
  }
  int64_t i = 0;
  bool peel = phase_of(x) == 8 && phase_of(y) == 8;
  if (peel) B[1] += x[0] * y[0], i = 1;
  int64_t nv = (n - i) / 2;
  auto block = [&](int64_t count) {
    for (int64_t j = 0; j < count; ++j, i += 2) {
      double *acc = j % 2 ? B : A;
      acc[0] += x[i] * y[i];
      acc[1] += x[i + 1] * y[i + 1];
    }
    nv -= count;
  };
  while (nv >= 16) block(16);
  for (int64_t c : {8, 4, 2})
    if (nv >= c) block(c);
  bool one = nv >= 1;
  if (one) block(1);
  if (i < n) (one ? B : A)[0] += x[i] * y[i];
  return peel ? (B[1] + A[0]) + (A[1] + B[0]) : (A[0] + A[1]) + (B[0] + B[1]);
}

float sdot_model(int64_t n, const float *x, int64_t incx, const float *y, int64_t incy) {
  if (n < 1) return 0;
  if (!unit_pair(incx, incy) || phase_of(x) % 4 || phase_of(y) % 4) {
    float s[2] = {0, 0};
    for (int64_t i = 0; i < n; ++i) s[i % 2] += elem(x, n, incx, i) * elem(y, n, incy, i);
    return s[0] + s[1];
  }
  float A[4] = {0, 0, 0, 0}, B[4] = {0, 0, 0, 0};
  int64_t p = std::min<int64_t>((4 - phase_of(x) / 4) % 4, n), i = 0;
  for (; i < p; ++i) B[4 - p + i] = 0.0f + x[i] * y[i];
  int64_t nv = (n - p) / 4;
  auto block = [&](int64_t count) {
    for (int64_t j = 0; j < count; ++j, i += 4)
      for (int l = 0; l < 4; ++l) (j % 2 ? B : A)[l] += x[i + l] * y[i + l];
    nv -= count;
  };
  while (nv >= 8) block(8);
  for (int64_t c : {4, 2})
    if (nv >= c) block(c);
  bool one = nv >= 1;
  if (one) block(1);
  float *tail = one ? B : A;
  if (n - i >= 2) tail[0] += x[i] * y[i], tail[1] += x[i + 1] * y[i + 1], i += 2;
  if (i < n) tail[0] += x[i] * y[i];
  float t[4];
  for (int l = 0; l < 4; ++l) t[l] = A[l] + B[l];
  return (t[0] + t[1]) + (t[2] + t[3]);
}

// The complex dots: four sums per parity (re x re y, re x im y, im x re y,
// im x im y) and per slot of the vector (single complex has two).
template <class R>
struct ComplexModel {
  R s[2][2][4] = {};  // [parity][slot][rr, ri, ir, ii]
  void take(int parity, int slot, std::complex<R> a, std::complex<R> b) {
    R *t = s[parity][slot];
    t[0] += a.real() * b.real(), t[1] += a.real() * b.imag(), t[2] += a.imag() * b.real(), t[3] += a.imag() * b.imag();
  }
  std::complex<R> result(bool conj) const {
    R v[4];
    for (int k = 0; k < 4; ++k) v[k] = (s[0][0][k] + s[1][0][k]) + (s[0][1][k] + s[1][1][k]);
    return conj ? std::complex<R>(v[0] + v[3], v[1] - v[2]) : std::complex<R>(v[0] - v[3], v[1] + v[2]);
  }
};
// (For double complex only slot 0 is used, and adding the empty slot 1,
// +0, changes nothing.)

// Blocks of `main` vectors, then halves down to 2, alternating parity from
// even; a last single vector even. `vec(parity, k)` takes vector k.
template <class F>
int64_t alternating(int64_t nv, int64_t main, F vec) {
  int64_t k = 0;
  auto block = [&](int64_t count) {
    for (int64_t j = 0; j < count; ++j) vec(int(j % 2), k++);
    nv -= count;
  };
  while (nv >= main) block(main);
  for (int64_t c = main / 2; c >= 2; c /= 2)
    if (nv >= c) block(c);
  if (nv >= 1) block(1);
  return k;
}

cfloat cdot_model(int64_t n, const cfloat *x, int64_t incx, const cfloat *y, int64_t incy, bool conj) {
  ComplexModel<float> m;
  if (n < 1) return 0;
  if (unit_pair(incx, incy) && phase_of(x) % 8 == 0 && phase_of(y) % 4 == 0) {
    if (phase_of(x) == 8) m.take(1, 1, x[0], y[0]), ++x, ++y, --n;
    int64_t main = phase_of(y) == 0 ? 16 : 8;
    int64_t k = alternating(n / 2, main, [&](int parity, int64_t v) {
      m.take(parity, 0, x[2 * v], y[2 * v]);
      m.take(parity, 1, x[2 * v + 1], y[2 * v + 1]);
    });
    if (n % 2) m.take(0, 0, x[2 * k], y[2 * k]);
    return m.result(conj);
  }
  for (int64_t i = 0; i < n; ++i) m.take(0, int(i % 2), elem(x, n, incx, i), elem(y, n, incy, i));
  return m.result(conj);
}

cdouble zdot_model(int64_t n, const cdouble *x, int64_t incx, const cdouble *y, int64_t incy, bool conj, bool second) {
  ComplexModel<double> m;
  if (n < 1) return 0;
  bool aligned8 = phase_of(x) % 8 == 0 && phase_of(y) % 8 == 0;
  if (second) {
    if (incx == 1 && incy == 1 && aligned8) {
      int64_t full = n / 8 * 8;
      for (int64_t i = 0; i < n; ++i) m.take(i < full ? int(i % 2) : 0, 0, x[i], y[i]);
      return m.result(conj);
    }
  } else if (unit_pair(incx, incy) && aligned8) {
    int64_t main = phase_of(x) == 0 && phase_of(y) == 0 ? 16 : 8;
    alternating(n, main, [&](int parity, int64_t v) { m.take(parity, 0, x[v], y[v]); });
    return m.result(conj);
  } else {
    const cdouble *xs = incx < 0 ? x + (1 - n) * incx : x, *ys = incy < 0 ? y + (1 - n) * incy : y;
    if (incy != 0 && phase_of(xs) == 0 && phase_of(ys) == 0) {
      int64_t full = n / 4 * 4;
      for (int64_t i = 0; i < n; ++i) m.take(i < full ? int(i % 2) : 0, 0, xs[i * incx], ys[i * incy]);
      return m.result(conj);
    }
  }
  for (int64_t i = 0; i < n; ++i) m.take(0, 0, elem(x, n, incx, i), elem(y, n, incy, i));
  return m.result(conj);
}

double dsdot_model(int64_t n, const float *x, int64_t incx, const float *y, int64_t incy) {
  if (n < 1) return 0;
  auto p = [&](int64_t i) { return double(elem(x, n, incx, i)) * double(elem(y, n, incy, i)); };
  bool paired = (incx == incy && incx > 0) || (incx != 0 && incy != 0 && n >= 8);
  double s = 0;
  int64_t i = 0;
  if (paired) {
    double A[2] = {0, 0}, B[2] = {0, 0};
    for (; i + 8 <= n; i += 8)
      for (int j = 0; j < 8; ++j) ((j / 2) % 2 ? B : A)[j % 2] += p(i + j);
    s = (A[0] + B[0]) + (A[1] + B[1]);
  }
  for (; i < n; ++i) s += p(i);
  return s;
}

// Squares widened to double in eight two-lane sums (see the norms' contract).
float snrm2_model(int64_t n, const float *x, int64_t incx, bool pairs) {
  if (n < 1) return 0;
  auto sq = [](float v) { return double(v) * double(v); };
  double a[8][2] = {};
  bool unit = (incx == 1 || incx == -1) && phase_of(x) % (pairs ? 8 : 4) == 0;
  int64_t m = pairs ? 2 * n : n;  // floats
  if (unit) {
    int64_t i = 0;
    while (i < m && phase_of(x + i) != 0) a[0][0] += sq(x[i]), a[0][1] += pairs ? sq(x[i + 1]) : 0.0, i += pairs ? 2 : 1;
    auto pair = [&](int acc) { a[acc][0] += sq(x[i]), a[acc][1] += sq(x[i + 1]), i += 2; };
    while (m - i >= 32)
      for (int half = 0; half < 2; ++half)
        for (int j = 0; j < 8; ++j) pair(j);
    for (int c : {8, 4, 2, 1})
      if (m - i >= 2 * c)
        for (int j = 0; j < c; ++j) pair(j);
    if (i < m) a[0][0] += sq(x[i]);
  } else if (incx == 0) {
    for (int64_t i = 0; i < n; ++i) a[0][0] += sq(x[0]), a[0][1] += pairs ? sq(x[1]) : 0.0;
  } else {
    int64_t step = pairs ? 2 * incx : incx;
    const float *b = incx < 0 ? x + (1 - n) * step : x;
    int64_t i = 0;
    auto take = [&](int acc) {
      a[acc][0] += sq(b[i * step]);
      if (pairs) a[acc][1] += sq(b[i * step + 1]);
      ++i;
    };
    for (; i + 4 <= n;) take(0), take(1), take(2), take(3);
    if (i + 2 <= n) take(0), take(1);
    if (i < n) take(0);
  }
  double t[2];
  for (int l = 0; l < 2; ++l) t[l] = ((a[0][l] + a[1][l]) + (a[2][l] + a[3][l])) + ((a[4][l] + a[5][l]) + (a[6][l] + a[7][l]));
  return float(std::sqrt(t[0] + t[1]));
}

double dnrm2_model(int64_t n, const double *x, int64_t incx, bool complex) {
  if (n < 1) return 0;
  if (n == 1 && !complex) return std::fabs(x[0]);
  double scale = 0, ssq = 1;
  int64_t step = std::abs(incx) * (complex ? 2 : 1);
  for (int64_t i = 0; i < n; ++i)
    for (int part = 0; part < (complex ? 2 : 1); ++part) {
      double v = x[i * step + part];
      if (v == 0) continue;
      double t = std::fabs(v);
      if (t > scale) {
        double r = scale / t;
        ssq = ssq * r * r + 1;
        scale = t;
      } else {
        ssq += (t / scale) * (t / scale);
      }
    }
  return scale * std::sqrt(ssq);
}

double dasum_model(int64_t n, const double *x, int64_t incx) {
  if (n < 1) return 0;
  double a[4][2] = {};
  if ((incx == 1 || incx == -1) && phase_of(x) % 8 == 0) {
    int64_t i = 0;
    if (phase_of(x) == 8) a[0][0] += std::fabs(x[0]), i = 1;
    auto block = [&](int count) {
      for (int k = 0; k < count; ++k, i += 2) a[k % 4][0] += std::fabs(x[i]), a[k % 4][1] += std::fabs(x[i + 1]);
    };
    while (n - i >= 32) block(16);
    for (int c : {8, 4, 2, 1})
      if (n - i >= 2 * c) block(c);
    if (i < n) a[0][0] += std::fabs(x[i]);
  } else if (incx == 0) {
    for (int64_t i = 0; i < n; ++i) a[0][0] += std::fabs(x[0]);
  } else {
    auto v = [&](int64_t i) { return std::fabs(elem(x, n, incx, i)); };
    int64_t i = 0;
    for (; i + 4 <= n; i += 4) a[0][0] += v(i), a[0][1] += v(i + 1), a[1][0] += v(i + 2), a[1][1] += v(i + 3);
    if (i + 2 <= n) a[0][0] += v(i), a[0][1] += v(i + 1), i += 2;
    if (i < n) a[0][0] += v(i);
  }
  double t[2];
  for (int l = 0; l < 2; ++l) t[l] = (a[0][l] + a[1][l]) + (a[2][l] + a[3][l]);
  return t[0] + t[1];
}

float sasum_model(int64_t n, const float *x, int64_t incx) {
  if (n < 1) return 0;
  float a[4][4] = {};
  if ((incx == 1 || incx == -1) && phase_of(x) % 4 == 0) {
    int64_t i = 0;
    while (i < n && phase_of(x + i) != 0) a[0][0] += std::fabs(x[i++]);
    auto block = [&](int count) {
      for (int k = 0; k < count; ++k, i += 4)
        for (int l = 0; l < 4; ++l) a[k % 4][l] += std::fabs(x[i + l]);
    };
    while (n - i >= 32) block(8);
    for (int c : {4, 2, 1})
      if (n - i >= 4 * c) block(c);
    while (i < n) a[0][0] += std::fabs(x[i++]);
  } else {
    for (int64_t i = 0; i < n; ++i) a[0][0] += std::fabs(elem(x, n, incx, i));
  }
  float t[4];
  for (int l = 0; l < 4; ++l) t[l] = ((a[0][l] + a[1][l]) + a[2][l]) + a[3][l];
  return (t[0] + t[1]) + (t[2] + t[3]);
}

// ------------------------------------------------------------------ driver
// Runs ours and the model over the case list with data over 2 span binades;
// counts the cases (n >= 8) where a sequential sum would give the same bits,
// which must stay below max_agree of them. (Sums of positive terms, and
// double sums rounded to single at the end, hide their order more often.)
template <class E, class Ours, class Model, class Plain>
void exact(uint64_t seed, Ours ours, Model model, Plain plain, bool two_vectors = true, double max_agree = 0.25,
           int span = sizeof(real_of<E>) == 8 ? 6 : 3) {
  auto cases = level1_cases(seed, 400);
  int64_t informative = 0, plain_agrees = 0;
  for (size_t k = 0; k < cases.size(); ++k) {
    const Case &c = cases[k];
    SCOPED_TRACE(testing::Message() << "seed " << seed << " case " << k << ": " << c);
    Rng rng(seed * 1000 + k);
    Strided<E> x(c.n, c.incx, c.offx, rng), y(c.n, two_vectors ? c.incy : 1, c.offy, rng);
    for (size_t i = 0; i < x.len; ++i) x.data()[i] = wide_value<E>(rng, span);
    for (size_t i = 0; i < y.len; ++i) y.data()[i] = wide_value<E>(rng, span);
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
      E a = x.at(n, i);
      if (squares || magnitudes) {
        if constexpr (std::is_floating_point_v<E>) s += squares ? a * a : std::fabs(a);
        else s += E(squares ? std::norm(a) : std::fabs(a.real()) + std::fabs(a.imag()));
      } else {
        if constexpr (!std::is_floating_point_v<E>)
          if (conj_x) a = std::conj(a);
        s += a * y.at(n, i);
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
                 for (int64_t i = 0; i < n; ++i) s += double(x.at(n, i)) * double(y.at(n, i));
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
      zor_core_force(ZOR_CORE_MICROARCH, answer);
      exact<cdouble>(55, [&](int64_t n, cdouble *x, int64_t ix, cdouble *y, int64_t iy) {
            cdouble r;
            (conj ? zor_blas_zdotc : zor_blas_zdotu)(&r, &n, x, &ix, y, &iy);
            return r;
          }, [&](auto... p) { return zdot_model(p..., conj, answer == 33); }, sequential<cdouble>(conj));
    }
    zor_core_unforce(ZOR_CORE_MICROARCH);
  }
}

TEST(Order, NormsAndSums) {
  auto one = [](auto fn) { return [fn](int64_t n, auto *x, int64_t ix, auto *, int64_t) { return fn(&n, x, &ix); }; };
  exact<float>(56, one(zor_blas_snrm2), [](int64_t n, float *x, int64_t ix, float *, int64_t) { return snrm2_model(n, x, ix, false); },
               [](int64_t n, auto &x, auto &, int64_t, int64_t) {
                 float s = 0;
                 for (int64_t i = 0; i < n; ++i) s += x.at(n, i) * x.at(n, i);
                 return std::sqrt(s);
               }, false, 0.7, 8);
  exact<cfloat>(57, one([](auto... p) { return zor_blas_scnrm2(p...); }),
                [](int64_t n, cfloat *x, int64_t ix, cfloat *, int64_t) { return snrm2_model(n, reinterpret_cast<float *>(x), ix, true); },
                [](int64_t n, auto &x, auto &, int64_t, int64_t) {
                  float s = 0;
                  for (int64_t i = 0; i < n; ++i) s += std::norm(x.at(n, i));
                  return std::sqrt(s);
                }, false, 0.7, 8);
  exact<double>(58, one(zor_blas_dnrm2), [](int64_t n, double *x, int64_t ix, double *, int64_t) { return dnrm2_model(n, x, ix, false); },
                [](int64_t n, auto &x, auto &, int64_t, int64_t) {
                  double s = 0;
                  for (int64_t i = 0; i < n; ++i) s += x.at(n, i) * x.at(n, i);
                  return std::sqrt(s);
                }, false, 0.5);
  exact<cdouble>(59, one([](auto... p) { return zor_blas_dznrm2(p...); }),
                 [](int64_t n, cdouble *x, int64_t ix, cdouble *, int64_t) { return dnrm2_model(n, reinterpret_cast<double *>(x), ix, true); },
                 [](int64_t n, auto &x, auto &, int64_t, int64_t) {
                   double s = 0;
                   for (int64_t i = 0; i < n; ++i) s += std::norm(x.at(n, i));
                   return std::sqrt(s);
                 }, false, 0.5);
  auto plain_abs = [](int64_t n, auto &x, auto &, int64_t, int64_t) {
    auto s = std::fabs(x.at(n, 0)) * 0;
    for (int64_t i = 0; i < n; ++i) s += std::fabs(x.at(n, i));
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
