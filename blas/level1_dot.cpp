// Real dot products. The order of summation is part of the result and
// depends on the alignment of the data.
//
// xddot: two accumulators A, B of two lanes.
//  - strided (not (1,1)/(-1,-1), or a base not 8-byte aligned): four elements
//    a pass, elements 0,1 to A lanes 0,1 and 2,3 to B lanes 0,1; a pair to A;
//    a last element to A lane 0. Result (A0 + A1) + (B0 + B1).
//  - unit, equal phases: if both are 8 bytes off the first product goes to
//    B lane 1. Vector products p0, p1, ... alternate A, B within each block
//    (main 16 vectors, ladder 8, 4, 2 vectors, then one vector to A); a last
//    element goes to B lane 0 if the one-vector step ran, else A lane 0.
//    Result (A0 + A1) + (B0 + B1), or (B1 + A0) + (A1 + B0) after a peel.
//  - unit, phases differ: the stream 8 bytes off is shift-merged; the same
//    blocks and tail, result (A0 + A1) + (B0 + B1).
//
// xsdot: the same plan with four-lane single accumulators. Up to three
// elements are peeled until x is aligned; peeled element j of p goes to B
// lane 4 - p + j. Blocks of 8, 4, 2 vectors alternate A, B; one vector goes
// to A; then a pair goes to lanes 0, 1 of B if the one-vector step ran, else
// of A; a last element to lane 0 of the accumulator the pair would take.
// y in another phase is shift-merged. Result: hadd twice of A + B. Strided:
// two scalar sums taking elements alternately, s0 + s1.
//
// dsdot, sdsdot: elements widened to double. Equal positive increments:
// eight a pass, A takes elements 0, 1, 4, 5 and B 2, 3, 6, 7; after the last
// pass (A + B) lane 0 + lane 1, then the rest one by one. Other increments:
// the same with two strides if neither is 0 and n >= 8, else a plain loop.
#include <zor/blas.h>

#include "blas/level1_skeleton.hpp"

namespace zor::blas {
namespace {

using simd::add;
using simd::mul;

// Alternating accumulation of vector products of two streams.
template <class R, class XS, class YS>
struct PairSum {
  using V = vec_t<R>;
  XS &xs;
  YS &ys;
  V a, b;
  template <int Count>
  ZOR_HOT void block() {
    static_assert(Count % 2 == 0);
    for (int j = 0; j < Count; j += 2) {
      a = add(a, mul(xs.next(), ys.next()));
      b = add(b, mul(xs.next(), ys.next()));
    }
  }
};

// Main block and ladder on vectors down to pairs, then a last single vector
// into A; returns whether that one-vector step ran.
template <int Main, class Sum>
bool vector_ladder(Sum &s, int64_t &nv) {
  nv = ladder<Main, 2>(nv, [&]<int Count>() ZOR_HOT { s.template block<Count>(); });
  if (nv >= 1) {
    s.a = add(s.a, mul(s.xs.next(), s.ys.next()));
    nv -= 1;
    return true;
  }
  return false;
}

// ---------------------------------------------------------------- double
template <int KX, int KY>
double ddot_vectors(int64_t n, const double *x, const double *y, simd::f64x2 b, bool peeled) {
  InStream<double, KX, true> xs(x, x + n);
  InStream<double, KY, true> ys(y, y + n);
  PairSum<double, decltype(xs), decltype(ys)> s{xs, ys, simd::zero<simd::f64x2>(), b};
  int64_t nv = n / 2;
  bool one_ran = vector_ladder<fixed::kDdotMain>(s, nv);
  if (n & 1) {
    simd::f64x2 p = simd::set_lo(x[n - 1] * y[n - 1]);
    if (one_ran) s.b = simd::add_lo(s.b, p);
    else s.a = simd::add_lo(s.a, p);
  }
  double a0 = simd::lane0(s.a), a1 = simd::lane0(simd::dup_hi(s.a));
  double b0 = simd::lane0(s.b), b1 = simd::lane0(simd::dup_hi(s.b));
  return peeled ? (b1 + a0) + (a1 + b0) : (a0 + a1) + (b0 + b1);
}

double ddot_strided(int64_t n, const double *x, int64_t incx, const double *y, int64_t incy) {
  if (incx < 0) x += (1 - n) * incx;
  if (incy < 0) y += (1 - n) * incy;
  // The bases may stand 4 bytes off: elements are read at any offset.
  auto p = [&](int64_t k) { return load_any(x + k * incx) * load_any(y + k * incy); };
  double a0 = 0, a1 = 0, b0 = 0, b1 = 0;
  int64_t i = 0;
  for (; i + 4 <= n; i += 4, x += 4 * incx, y += 4 * incy) {
    a0 += p(0);
    a1 += p(1);
    b0 += p(2);
    b1 += p(3);
  }
  if (i + 2 <= n) {
    a0 += p(0);
    a1 += p(1);
    x += 2 * incx, y += 2 * incy, i += 2;
  }
  if (i < n) a0 += p(0);
  return (a0 + a1) + (b0 + b1);
}

double ddot(int64_t n, const double *x, int64_t incx, const double *y, int64_t incy) {
  if (n < 1) return 0.0;
  if (!unit_pair(incx, incy) || !aligned_to(x, 8) || !aligned_to(y, 8)) return ddot_strided(n, x, incx, y, incy);
  int px = phase(x), py = phase(y);
  if (px == py) {
    simd::f64x2 b = simd::zero<simd::f64x2>();
    if (px == 0) return ddot_vectors<0, 0>(n, x, y, b, false);
    b = add(b, simd::set_hi(x[0] * y[0]));
    return ddot_vectors<0, 0>(n - 1, x + 1, y + 1, b, true);
  }
  // One stream is 8 bytes off: the aligned one leads (products commute).
  if (px == 0) return ddot_vectors<0, 8>(n, x, y, simd::zero<simd::f64x2>(), false);
  return ddot_vectors<0, 8>(n, y, x, simd::zero<simd::f64x2>(), false);
}

// ---------------------------------------------------------------- single
template <int KY>
float sdot_vectors(int64_t n, const float *x, const float *y, simd::f32x4 b) {
  InStream<float, 0> xs(x);
  InStream<float, KY, true> ys(y, y + n);
  PairSum<float, decltype(xs), decltype(ys)> s{xs, ys, simd::zero<simd::f32x4>(), b};
  int64_t nv = n / 4;
  bool one_ran = vector_ladder<fixed::kSdotMain>(s, nv);
  int64_t i = n & ~int64_t(3);
  simd::f32x4 &tail = one_ran ? s.b : s.a;
  if (n - i >= 2) {
    tail = add(tail, simd::make(x[i] * y[i], x[i + 1] * y[i + 1], 0.0f, 0.0f));
    i += 2;
  }
  if (i < n) tail = simd::add_lo(tail, simd::set_lo(x[i] * y[i]));
  simd::f32x4 t = add(s.a, s.b);
  t = simd::hadd(t, t);
  t = simd::hadd(t, t);
  return simd::lane0(t);
}

float sdot_strided(int64_t n, const float *x, int64_t incx, const float *y, int64_t incy) {
  if (incx < 0) x += (1 - n) * incx;
  if (incy < 0) y += (1 - n) * incy;
  float s0 = 0, s1 = 0;
  int64_t i = 0;
  for (; i + 2 <= n; i += 2, x += 2 * incx, y += 2 * incy) {
    s0 += x[0] * y[0];
    s1 += x[incx] * y[incy];
  }
  if (i < n) s0 += x[0] * y[0];
  return s0 + s1;
}

float sdot(int64_t n, const float *x, int64_t incx, const float *y, int64_t incy) {
  if (n < 1) return 0.0f;
  if (!unit_pair(incx, incy) || !aligned_to(x, 4) || !aligned_to(y, 4)) return sdot_strided(n, x, incx, y, incy);
  int p = (4 - phase(x) / 4) % 4;
  if (p > n) p = int(n);
  float lane[4] = {0, 0, 0, 0};
  for (int j = 0; j < p; ++j) lane[4 - p + j] = x[j] * y[j];
  simd::f32x4 b = add(simd::zero<simd::f32x4>(), simd::make(lane[0], lane[1], lane[2], lane[3]));
  x += p, y += p, n -= p;
  switch (phase(y)) {
    case 0: return sdot_vectors<0>(n, x, y, b);
    case 4: return sdot_vectors<4>(n, x, y, b);
    case 8: return sdot_vectors<8>(n, x, y, b);
    default: return sdot_vectors<12>(n, x, y, b);
  }
}

// ---------------------------------------------------------------- widening
double widening_dot(int64_t n, const float *x, int64_t incx, const float *y, int64_t incy) {
  if (n < 1) return 0.0;
  bool paired = (incx == incy && incx > 0) || (incx != 0 && incy != 0 && n >= fixed::kWideningPass);
  if (!paired) {
    if (incx < 0) x += (1 - n) * incx;
    if (incy < 0) y += (1 - n) * incy;
    double s = 0;
    for (int64_t i = 0; i < n; ++i) s += double(x[i * incx]) * double(y[i * incy]);
    return s;
  }
  if (incx < 0) x += (1 - n) * incx;
  if (incy < 0) y += (1 - n) * incy;
  auto pair = [&](int64_t i) {
    return mul(simd::make(double(x[i * incx]), double(x[(i + 1) * incx])),
               simd::make(double(y[i * incy]), double(y[(i + 1) * incy])));
  };
  simd::f64x2 a = simd::zero<simd::f64x2>(), b = a;
  int64_t i = 0;
  for (; i + fixed::kWideningPass <= n; i += fixed::kWideningPass) {
    a = add(a, pair(i));
    b = add(b, pair(i + 2));
    a = add(a, pair(i + 4));
    b = add(b, pair(i + 6));
  }
  double s = simd::hsum(add(a, b));
  for (; i < n; ++i) s += double(x[i * incx]) * double(y[i * incy]);
  return s;
}

}  // namespace
}  // namespace zor::blas

using namespace zor::blas;

// clang-format off
ZOR_API double zor_blas_xddot(const zor_int *n, const double *x, const zor_int *incx, const double *y, const zor_int *incy) { return ddot(*n, x, *incx, y, *incy); }
ZOR_API float zor_blas_xsdot(const zor_int *n, const float *x, const zor_int *incx, const float *y, const zor_int *incy) { return sdot(*n, x, *incx, y, *incy); }
ZOR_API double zor_blas_dsdot(const zor_int *n, const float *x, const zor_int *incx, const float *y, const zor_int *incy) { return widening_dot(*n, x, *incx, y, *incy); }
ZOR_API float zor_blas_sdsdot(const zor_int *n, const float *sb, const float *x, const zor_int *incx, const float *y, const zor_int *incy) {
  if (*n < 1) return *sb;
  return float(widening_dot(*n, x, *incx, y, *incy) + double(*sb));
}
// clang-format on
