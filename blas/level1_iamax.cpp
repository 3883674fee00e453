// 1-based position of the element of largest (i?amax) or smallest (i?amin)
// magnitude. n < 1 or incx < 1 gives 0 (a negative increment does not walk
// backwards); n = 1 gives 1. Among equal magnitudes the lowest position
// wins, in every path.
//
// Real forms: the first element is the start; elements from the second on
// are taken one by one until the second element's address is 16-byte
// aligned (with a base not aligned to the element, all of them). Then each
// vector lane (four sets of lanes taking successive vectors in turn) keeps a
// running extreme and its position, replaced when the
// candidate is not less than or equal to the lane's value (amin: not greater
// than or equal); the lane value itself is the vector max (min), which keeps
// the numeric value against a NaN candidate while recording its position.
// After the loop the lanes not holding the extreme get the largest position
// and the smallest position wins. (Lanes record the pass of their last
// change; positions are formed from it at the end.) Remaining elements run one by one: the
// best is kept when best >= candidate (amin: <=), so a NaN candidate
// replaces it. A stride other than 1 runs the same lanes on gathered
// vectors. Passes are carried as doubles (two lanes) or 32-bit integers
// (four float lanes; float vectors of 2^31 elements and more run one by one).
//
// Complex forms: magnitude |re| + |im| in the element's precision, a scalar
// loop unrolled by two.
#include <zor/blas.h>

#include <cmath>
#include <limits>

#include "blas/level1_skeleton.hpp"

namespace zor::blas {
namespace {

using simd::f32x4;
using simd::f64x2;

// Position lanes beside value lanes: doubles beside doubles, 32-bit
// integers beside floats.
template <class R> struct Positions;
template <> struct Positions<double> {
  using P = f64x2;
  static P add(P a, P b) { return simd::add(a, b); }
  static P splat(int64_t v) { return simd::splat(double(v)); }
  static void lanes(P p, int64_t *out) {
    alignas(16) double t[2];
    simd::store_a(t, p);
    out[0] = int64_t(t[0]), out[1] = int64_t(t[1]);
  }
};
template <> struct Positions<float> {
  using P = simd::i32x4;
  static P add(P a, P b) { return simd::add_i32(a, b); }
  static P splat(int64_t v) { return simd::splat_i32(int(v)); }
  static void lanes(P p, int64_t *out) {
    alignas(16) int32_t t[4];
    simd::store_a(t, p);
    for (int j = 0; j < 4; ++j) out[j] = t[j];
  }
};

// Scalar step: keeps the best when best >= candidate (amin: <=).
template <bool Max, class R>
inline void scalar_step(R v, int64_t pos, R &best, int64_t &at) {
  bool keep = Max ? best >= v : best <= v;
  if (!keep) best = v, at = pos;
}

template <bool Max, class R>
int64_t real_extreme(int64_t n, const R *x, int64_t incx) {
  using V = vec_t<R>;
  using Pos = Positions<R>;
  constexpr int L = lanes<R>;
  if (n < 1 || incx < 1) return 0;
  if (n == 1) return 1;
  R best = std::fabs(load_any(x));
  int64_t at = 1, i = 1;  // i: 0-based index of the next element
  bool lanes_ok = aligned_to(x, sizeof(R)) && (sizeof(R) == 8 || n < fixed::kFloatLanesBelow);
  if (incx == 1 && lanes_ok)
    while (i < n && !aligned_to(x + i, 16)) scalar_step<Max>(std::fabs(x[i]), i + 1, best, at), ++i;
  if (lanes_ok && n - i >= L) {
    // Four independent sets of lanes take successive vectors in turn, so
    // that the running extremes are not one chain of dependent compares.
    // A lane records the pass in which it last changed (-1: the start); the
    // position follows from the pass, the set and the lane.
    constexpr int Sets = tuned::kExtremeSets;
    static_assert(Sets == 4, "the steps below name four sets");
    const int64_t first = i;
    V m[Sets];
    typename Pos::P p[Sets];
    typename Pos::P pass = Pos::splat(0);
    const typename Pos::P one = Pos::splat(1);
    for (int k = 0; k < Sets; ++k) {
      m[k] = simd::splat(best);
      p[k] = Pos::splat(-1);
    }
    // (Set numbers are constants everywhere, so that the sets stay in registers.)
    auto lane_step = [&]<int K>(V v) ZOR_HOT {
      V keep = Max ? simd::cmp_le(v, m[K]) : simd::cmp_le(m[K], v);
      p[K] = simd::select(keep, p[K], pass);
      m[K] = Max ? simd::max(v, m[K]) : simd::min(v, m[K]);
    };
    auto load = [&](int64_t j) ZOR_HOT {
      if (incx == 1) return simd::abs(simd::load_a(x + j));
      alignas(16) R g[L];
      for (int l = 0; l < L; ++l) g[l] = x[(j + l) * incx];
      return simd::abs(simd::load_a(g));
    };
    for (; i + Sets * L <= n; i += Sets * L, pass = Pos::add(pass, one)) {
      lane_step.template operator()<0>(load(i));
      lane_step.template operator()<1>(load(i + L));
      lane_step.template operator()<2>(load(i + 2 * L));
      lane_step.template operator()<3>(load(i + 3 * L));
    }
    if (i + L <= n) lane_step.template operator()<0>(load(i)), i += L;
    if (i + L <= n) lane_step.template operator()<1>(load(i)), i += L;
    if (i + L <= n) lane_step.template operator()<2>(load(i)), i += L;
    alignas(16) R mv[Sets * L];
    int64_t pv[Sets * L];
    for (int k = 0; k < Sets; ++k) {
      simd::store_a(mv + k * L, m[k]);
      Pos::lanes(p[k], pv + k * L);
    }
    R ext = mv[0];
    for (int j = 1; j < Sets * L; ++j) ext = Max ? (mv[j] > ext ? mv[j] : ext) : (mv[j] < ext ? mv[j] : ext);
    int64_t start_at = at;
    best = ext, at = std::numeric_limits<int64_t>::max();
    for (int j = 0; j < Sets * L; ++j) {
      if (mv[j] != ext) continue;
      int64_t position = pv[j] < 0 ? start_at : first + pv[j] * Sets * L + j + 1;
      if (position < at) at = position;
    }
  }
  for (; i < n; ++i) scalar_step<Max>(std::fabs(load_any(x + i * incx)), i + 1, best, at);
  return at;
}

template <bool Max, class R>
int64_t complex_extreme(int64_t n, const cplx<R> *x, int64_t incx) {
  if (n < 1 || incx < 1) return 0;
  if (n == 1) return 1;
  auto mag = [&](int64_t i) {
    const cplx<R> e = load_any(x + i * incx);
    return std::fabs(e.re) + std::fabs(e.im);
  };
  R best = mag(0);
  int64_t at = 1, i = 1;
  for (; i + 2 <= n; i += 2) {
    scalar_step<Max>(mag(i), i + 1, best, at);
    scalar_step<Max>(mag(i + 1), i + 2, best, at);
  }
  if (i < n) scalar_step<Max>(mag(i), i + 1, best, at);
  return at;
}

}  // namespace
}  // namespace zor::blas

using namespace zor::blas;
using zor::cplx;

// clang-format off
ZOR_API zor_int zor_blas_isamax(const zor_int *n, const float *x, const zor_int *incx) { return real_extreme<true>(*n, x, *incx); }
ZOR_API zor_int zor_blas_idamax(const zor_int *n, const double *x, const zor_int *incx) { return real_extreme<true>(*n, x, *incx); }
ZOR_API zor_int zor_blas_icamax(const zor_int *n, const void *x, const zor_int *incx) { return complex_extreme<true>(*n, static_cast<const cplx<float> *>(x), *incx); }
ZOR_API zor_int zor_blas_izamax(const zor_int *n, const void *x, const zor_int *incx) { return complex_extreme<true>(*n, static_cast<const cplx<double> *>(x), *incx); }
ZOR_API zor_int zor_blas_isamin(const zor_int *n, const float *x, const zor_int *incx) { return real_extreme<false>(*n, x, *incx); }
ZOR_API zor_int zor_blas_idamin(const zor_int *n, const double *x, const zor_int *incx) { return real_extreme<false>(*n, x, *incx); }
ZOR_API zor_int zor_blas_icamin(const zor_int *n, const void *x, const zor_int *incx) { return complex_extreme<false>(*n, static_cast<const cplx<float> *>(x), *incx); }
ZOR_API zor_int zor_blas_izamin(const zor_int *n, const void *x, const zor_int *incx) { return complex_extreme<false>(*n, static_cast<const cplx<double> *>(x), *incx); }
// clang-format on
