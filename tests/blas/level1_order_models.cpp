// The order models; see level1_order_models.hpp.
#include "level1_order_models.hpp"

#include <algorithm>
#include <cmath>

namespace zor::test {

static int phase_of(const void *p) { return int(reinterpret_cast<uintptr_t>(p) & 15); }
static bool unit_pair(int64_t a, int64_t b) { return (a == 1 && b == 1) || (a == -1 && b == -1); }

// Logical element i of a vector walked from its far end for a negative step.
template <class T>
const T &elem(const T *p, int64_t n, int64_t inc, int64_t i) {
  return p[inc < 0 ? (i - n + 1) * inc : i * inc];
}

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

}  // namespace zor::test
