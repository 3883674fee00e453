// 2-norms, sums of magnitudes and |re| + |im|. Orders of summation:
//
// dnrm2, dznrm2: the scaled recurrence, strictly in sequence, over the
// elements at |incx| upwards from x[0] whatever the sign of incx (dznrm2:
// real part, then imaginary part of each element). n = 1 gives |x[0]| in
// dnrm2 only.
//
// snrm2, scnrm2: squares widened to double, no scaling. Unit path (incx 1 or
// -1, base as it stands): leading elements into lane 0 of accumulator 0
// (scnrm2: one element as a pair) until the base is 16-byte aligned; then
// eight two-lane accumulators, a pass of 32 floats giving accumulator j the
// floats 2j, 2j+1 and 16+2j, 17+2j; then 16 floats one pair each, 8 floats to
// 0..3, 4 floats to 0, 1, 2 floats to 0, a last float to lane 0 of 0.
// Strided: four accumulators take the elements in turn (far end first for a
// negative increment), a pair to the first two, a last one to the first.
// Increment 0: one accumulator. Result ((a0 + a1) + (a2 + a3)) + ((a4 + a5)
// + (a6 + a7)), lane 0 + lane 1, square root in double, rounded once.
//
// dasum: four accumulators a0..a3 take successive vectors in turn; unit for
// incx 1 or -1 with an 8-byte aligned base: leading elements to lane 0 of a0
// until aligned, main 16 vectors, then 8, 4, 2, 1 vectors (each starting at
// a0), a last element to lane 0 of a0; long streams ask for the next chunk
// while they read one.
// Strided: increment 0 a scalar loop; four elements a pass gathered into a0
// (elements 0, 1) and a1 (2, 3), a pair into a0, a last element into lane 0
// of a0. Result (a0 + a1) + (a2 + a3), lane 0 + lane 1.
// sasum: unit for incx 1 or -1; main 8 vectors, then 4, 2, 1; scalars to
// lane 0 of a0. Strided: one scalar loop. Result ((a0 + a1) + a2) + a3, then
// a horizontal add twice.
// scasum, dzasum: with incx 1 the real sum over 2n reals; otherwise two
// sums of |re| + |im| taking elements alternately, s0 + s1.
#include <zor/blas.h>

#include <cmath>

#include "blas/level1_skeleton.hpp"

namespace zor::blas {
namespace {

using simd::add;
using simd::f32x4;
using simd::f64x2;
using simd::mul;

// ---------------------------------------------------------------- dnrm2
struct ScaledSquares {
  double scale = 0.0, ssq = 1.0;
  void take(double v) {
    if (v == 0.0) return;
    double t = std::fabs(v);
    if (t > scale) {
      double r = scale / t;
      ssq = ssq * r;
      ssq = ssq * r;
      scale = t;
      ssq = ssq + 1.0;
    } else {
      double u = t / scale;
      ssq = ssq + u * u;
    }
  }
  double result() const { return scale * std::sqrt(ssq); }
};

double dnrm2(int64_t n, const double *x, int64_t incx) {
  if (n < 1) return 0.0;
  if (n == 1) return std::fabs(load_any(x));
  int64_t step = incx < 0 ? -incx : incx;
  ScaledSquares s;
  for (int64_t i = 0; i < n; ++i) s.take(load_any(x + i * step));
  return s.result();
}

double dznrm2(int64_t n, const cplx<double> *x, int64_t incx) {
  if (n < 1) return 0.0;
  int64_t step = incx < 0 ? -incx : incx;
  ScaledSquares s;
  for (int64_t i = 0; i < n; ++i) {
    const cplx<double> e = load_any(x + i * step);
    s.take(e.re);
    s.take(e.im);
  }
  return s.result();
}

// ---------------------------------------------------------------- snrm2
inline f64x2 squares(f64x2 v) { return mul(v, v); }
// Floats p[0], p[1] widened (p 8-byte aligned or better).
inline f64x2 wide_pair(const float *p) { return simd::widen_lo(simd::load_pair(p)); }

struct EightSums {
  f64x2 a[8];
  EightSums() {
    for (auto &v : a) v = simd::zero<f64x2>();
  }
  // Four aligned float vectors: pairs to accumulators 0..7 in turn.
  void pass16(const float *p, int first = 0) {
    for (int k = 0; k < 4; ++k) {
      f32x4 v = simd::load_a(p + 4 * k);
      int j = first + 2 * k;
      a[j] = add(a[j], squares(simd::widen_lo(v)));
      a[j + 1] = add(a[j + 1], squares(simd::widen_lo(simd::high_pair(v))));
    }
  }
  double result() const {
    f64x2 t = add(add(add(a[0], a[1]), add(a[2], a[3])), add(add(a[4], a[5]), add(a[6], a[7])));
    return simd::hsum(t);
  }
};

// n floats from x (a 16-byte walk); with Pairs the leading element is a
// complex one (two floats into lanes 0, 1).
template <bool Pairs>
double sum_squares_unit(int64_t n, const float *x) {
  EightSums s;
  while (n > 0 && !aligned_to(x, 16)) {
    if (Pairs) {
      s.a[0] = add(s.a[0], squares(wide_pair(x)));
      x += 2, n -= 2;
    } else {
      double v = double(*x);
      s.a[0] = simd::add_lo(s.a[0], simd::set_lo(v * v));
      ++x, --n;
    }
  }
  for (; n >= 32; n -= 32, x += 32) {
    s.pass16(x);
    s.pass16(x + 16);
  }
  if (n >= 16) s.pass16(x), x += 16, n -= 16;
  if (n >= 8) {
    for (int k = 0; k < 2; ++k) {
      f32x4 v = simd::load_a(x + 4 * k);
      s.a[2 * k] = add(s.a[2 * k], squares(simd::widen_lo(v)));
      s.a[2 * k + 1] = add(s.a[2 * k + 1], squares(simd::widen_lo(simd::high_pair(v))));
    }
    x += 8, n -= 8;
  }
  if (n >= 4) {
    f32x4 v = simd::load_a(x);
    s.a[0] = add(s.a[0], squares(simd::widen_lo(v)));
    s.a[1] = add(s.a[1], squares(simd::widen_lo(simd::high_pair(v))));
    x += 4, n -= 4;
  }
  if (n >= 2) s.a[0] = add(s.a[0], squares(wide_pair(x))), x += 2, n -= 2;
  if (n >= 1) {
    double v = double(*x);
    s.a[0] = simd::add_lo(s.a[0], simd::set_lo(v * v));
  }
  return s.result();
}

float snrm2(int64_t n, const float *x, int64_t incx) {
  if (n < 1) return 0.0f;
  if ((incx == 1 || incx == -1) && aligned_to(x, 4)) return float(std::sqrt(sum_squares_unit<false>(n, x)));
  if (incx == 0) {
    double s = 0, v = double(*x);
    for (int64_t i = 0; i < n; ++i) s += v * v;
    return float(std::sqrt(s));
  }
  if (incx < 0) x += (1 - n) * incx;
  double s[4] = {0, 0, 0, 0};
  auto sq = [&](int64_t i) { double v = double(x[i * incx]); return v * v; };
  int64_t i = 0;
  for (; i + 4 <= n; i += 4)
    for (int j = 0; j < 4; ++j) s[j] += sq(i + j);
  if (i + 2 <= n) s[0] += sq(i), s[1] += sq(i + 1), i += 2;
  if (i < n) s[0] += sq(i);
  return float(std::sqrt((s[0] + s[1]) + (s[2] + s[3])));
}

float scnrm2(int64_t n, const cplx<float> *x, int64_t incx) {
  if (n < 1) return 0.0f;
  const float *r = reals(x);
  if ((incx == 1 || incx == -1) && aligned_to(x, 8)) return float(std::sqrt(sum_squares_unit<true>(2 * n, r)));
  if (incx == 0) {
    f64x2 s = simd::zero<f64x2>(), v = squares(simd::make(double(x->re), double(x->im)));
    for (int64_t i = 0; i < n; ++i) s = add(s, v);
    return float(std::sqrt(simd::hsum(s)));
  }
  if (incx < 0) x += (1 - n) * incx;
  f64x2 s[4] = {simd::zero<f64x2>(), simd::zero<f64x2>(), simd::zero<f64x2>(), simd::zero<f64x2>()};
  auto sq = [&](int64_t i) { return squares(simd::make(double(x[i * incx].re), double(x[i * incx].im))); };
  int64_t i = 0;
  for (; i + 4 <= n; i += 4)
    for (int j = 0; j < 4; ++j) s[j] = add(s[j], sq(i + j));
  if (i + 2 <= n) s[0] = add(s[0], sq(i)), s[1] = add(s[1], sq(i + 1)), i += 2;
  if (i < n) s[0] = add(s[0], sq(i));
  return float(std::sqrt(simd::hsum(add(add(s[0], s[1]), add(s[2], s[3])))));
}

// ---------------------------------------------------------------- asum
double dasum(int64_t n, const double *x, int64_t incx) {
  if (n < 1) return 0.0;
  f64x2 a[4] = {simd::zero<f64x2>(), simd::zero<f64x2>(), simd::zero<f64x2>(), simd::zero<f64x2>()};
  auto lane0 = [&](double v) { a[0] = simd::add_lo(a[0], simd::set_lo(std::fabs(v))); };
  if ((incx == 1 || incx == -1) && aligned_to(x, 8)) {
    if (!aligned_to(x, 16)) lane0(*x++), --n;
    const bool far = n * int64_t(sizeof(double)) >= tuned::kLongStream;
    static_assert(16 * 16 == 64 * tuned::kChunkStreams, "one walk step a main pass");
    const int64_t left = ladder<16>(n / 2, [&]<int Count>() ZOR_HOT {
      if (Count == 16 && far) prefetch_next_chunk(x);
      for (int k = 0; k < Count; ++k) a[k & 3] = add(a[k & 3], simd::abs(simd::load_a(x + 2 * k)));
      x += 2 * Count;
    });
    n = 2 * left + (n & 1);
    if (n >= 1) lane0(*x);
  } else if (incx == 0) {
    for (int64_t i = 0; i < n; ++i) lane0(load_any(x));
  } else {
    // The base may stand 4 bytes off: elements are read at any offset.
    if (incx < 0) x += (1 - n) * incx;
    auto at = [&](int64_t i) { return load_any(x + i * incx); };
    auto pair = [&](int64_t i) { return simd::abs(simd::make(at(i), at(i + 1))); };
    int64_t i = 0;
    for (; i + 4 <= n; i += 4) a[0] = add(a[0], pair(i)), a[1] = add(a[1], pair(i + 2));
    if (i + 2 <= n) a[0] = add(a[0], pair(i)), i += 2;
    if (i < n) lane0(at(i));
  }
  return simd::hsum(add(add(a[0], a[1]), add(a[2], a[3])));
}

float sasum(int64_t n, const float *x, int64_t incx) {
  if (n < 1) return 0.0f;
  f32x4 a[4] = {simd::zero<f32x4>(), simd::zero<f32x4>(), simd::zero<f32x4>(), simd::zero<f32x4>()};
  auto lane0 = [&](float v) { a[0] = simd::add_lo(a[0], simd::set_lo(std::fabs(v))); };
  if ((incx == 1 || incx == -1) && aligned_to(x, 4)) {
    while (n > 0 && !aligned_to(x, 16)) lane0(*x++), --n;
    ladder<8>(n / 4, [&]<int Count>() ZOR_HOT {
      for (int k = 0; k < Count; ++k) a[k & 3] = add(a[k & 3], simd::abs(simd::load_a(x + 4 * k)));
      x += 4 * Count;
    });
    for (n &= 3; n > 0; --n) lane0(*x++);
  } else {
    if (incx < 0) x += (1 - n) * incx;
    for (int64_t i = 0; i < n; ++i) lane0(x[i * incx]);
  }
  f32x4 t = add(add(add(a[0], a[1]), a[2]), a[3]);
  t = simd::hadd(t, t);
  return simd::lane0(simd::hadd(t, t));
}

template <class R>
R complex_asum(int64_t n, const cplx<R> *x, int64_t incx) {
  if (n < 1) return R(0);
  if (incx == 1) {
    if constexpr (sizeof(R) == 8) return dasum(2 * n, reals(x), 1);
    else return sasum(2 * n, reals(x), 1);
  }
  if (incx < 0) x += (1 - n) * incx;
  auto mag = [&](int64_t i) {
    const cplx<R> e = load_any(x + i * incx);
    return std::fabs(e.re) + std::fabs(e.im);
  };
  R s0 = 0, s1 = 0;
  int64_t i = 0;
  for (; i + 2 <= n; i += 2) s0 += mag(i), s1 += mag(i + 1);
  if (i < n) s0 += mag(i);
  return s0 + s1;
}

template <class R>
R cabs1(const void *z) {
  const cplx<R> e = load_any(static_cast<const cplx<R> *>(z));
  return std::fabs(e.re) + std::fabs(e.im);
}

}  // namespace
}  // namespace zor::blas

using namespace zor::blas;
using zor::cplx;

// clang-format off
ZOR_API float zor_blas_snrm2(const zor_int *n, const float *x, const zor_int *incx) { return snrm2(*n, x, *incx); }
ZOR_API double zor_blas_dnrm2(const zor_int *n, const double *x, const zor_int *incx) { return dnrm2(*n, x, *incx); }
ZOR_API float zor_blas_scnrm2(const zor_int *n, const void *x, const zor_int *incx) { return scnrm2(*n, static_cast<const cplx<float> *>(x), *incx); }
ZOR_API double zor_blas_dznrm2(const zor_int *n, const void *x, const zor_int *incx) { return dznrm2(*n, static_cast<const cplx<double> *>(x), *incx); }
ZOR_API float zor_blas_sasum(const zor_int *n, const float *x, const zor_int *incx) { return sasum(*n, x, *incx); }
ZOR_API double zor_blas_dasum(const zor_int *n, const double *x, const zor_int *incx) { return dasum(*n, x, *incx); }
ZOR_API float zor_blas_scasum(const zor_int *n, const void *x, const zor_int *incx) { return complex_asum(*n, static_cast<const cplx<float> *>(x), *incx); }
ZOR_API double zor_blas_dzasum(const zor_int *n, const void *x, const zor_int *incx) { return complex_asum(*n, static_cast<const cplx<double> *>(x), *incx); }
ZOR_API float zor_blas_scabs1(const void *z) { return cabs1<float>(z); }
ZOR_API double zor_blas_dcabs1(const void *z) { return cabs1<double>(z); }
// clang-format on
