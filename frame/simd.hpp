// The tier's 128-bit vector vocabulary: one named wrapper per operation over
// SSE2, SSE3 and SSSE3 intrinsics, overloaded for two doubles (f64x2) and
// four floats (f32x4), in sections by operation: loads and stores; building
// and broadcast; arithmetic; bits, compares and selection; lane movement;
// integer lanes; cache hints; and the complex layer, where a register holds
// interleaved (re, im) elements (one double complex, two single complex).
// Multiply and add stay separate operations; the build forbids contracting
// them.
//
// The complex layer has a scalar twin of each operation on cplx<R>, giving
// the same bits, so that a kernel's scalar tail reads like its vector body:
//   cmul(a, b)   a b                cmulc(a, b)  conj(a) b
//   flip(a)      (im, re)           conj(a)      (re, -im)   [scalar: zor::conj]
//   cmul(f, x)   f x, f a Csplat<R> (re and im broadcast), the form of a factor
//                that multiplies a whole stream.
#pragma once
#include <cstdint>
#include <cstring>
#include <emmintrin.h>
#include <pmmintrin.h>
#include <tmmintrin.h>

#include "frame/traits.hpp"

namespace zor::simd {

using f64x2 = __m128d;
using f32x4 = __m128;
using i32x4 = __m128i;

// ======================================================== loads and stores
// Whole registers: _a needs a 16-byte boundary, _u takes any address.
inline f64x2 load_a(const double *p) { return _mm_load_pd(p); }
inline f32x4 load_a(const float *p) { return _mm_load_ps(p); }
inline f64x2 load_u(const double *p) { return _mm_loadu_pd(p); }
inline f32x4 load_u(const float *p) { return _mm_loadu_ps(p); }
inline void store_a(double *p, f64x2 v) { _mm_store_pd(p, v); }
inline void store_a(float *p, f32x4 v) { _mm_store_ps(p, v); }
inline void store_a(int32_t *p, i32x4 v) { _mm_store_si128(reinterpret_cast<__m128i *>(p), v); }
inline void store_u(double *p, f64x2 v) { _mm_storeu_pd(p, v); }
inline void store_u(float *p, f32x4 v) { _mm_storeu_ps(p, v); }
// Lane 0 only: [p0, 0] / [p0, 0, 0, 0]; one 8-byte half of a double pair.
// A double may stand 4 bytes off its boundary: its bytes go through a copy
// (still one movq / movlpd / movhpd / movddup).
inline double read_double(const double *p) {
  double x;
  std::memcpy(&x, p, sizeof x);
  return x;
}
inline void write_double(double *p, double x) { std::memcpy(p, &x, sizeof x); }
inline f64x2 load_lo(const double *p) { return _mm_set_sd(read_double(p)); }
inline f32x4 load_lo(const float *p) { return _mm_load_ss(p); }
inline void store_lo(double *p, f64x2 v) { write_double(p, _mm_cvtsd_f64(v)); }
inline void store_lo(float *p, f32x4 v) { _mm_store_ss(p, v); }
inline void store_hi(double *p, f64x2 v) { write_double(p, _mm_cvtsd_f64(_mm_unpackhi_pd(v, v))); }
inline f64x2 load_half_lo(f64x2 v, const double *p) { return _mm_loadl_pd(v, p); }  // [p0, v1]
inline f64x2 load_half_hi(f64x2 v, const double *p) { return _mm_loadh_pd(v, p); }  // [v0, p0]
// Two floats (one single complex): [p0, p1, 0, 0]. The pair may stand 4
// bytes off an 8-byte boundary, so its bytes go through a double by copy
// (one 8-byte move all the same).
inline f32x4 load_pair(const float *p) {
  double d;
  std::memcpy(&d, p, sizeof d);
  return _mm_castpd_ps(_mm_set_sd(d));
}
inline void store_pair(float *p, f32x4 v) {
  const double d = _mm_cvtsd_f64(_mm_castps_pd(v));
  std::memcpy(p, &d, sizeof d);
}
inline f64x2 dup_load(const double *p) { return _mm_set1_pd(read_double(p)); }  // [p0, p0]

// ======================================================== building and broadcast
inline f64x2 splat(double x) { return _mm_set1_pd(x); }
inline f32x4 splat(float x) { return _mm_set1_ps(x); }
template <class V> V zero();
template <> inline f64x2 zero<f64x2>() { return _mm_setzero_pd(); }
template <> inline f32x4 zero<f32x4>() { return _mm_setzero_ps(); }
inline f64x2 zero(f64x2) { return _mm_setzero_pd(); }
inline f32x4 zero(f32x4) { return _mm_setzero_ps(); }
inline f64x2 make(double lo, double hi) { return _mm_set_pd(hi, lo); }  // [lo, hi]
inline f32x4 make(float a, float b, float c, float d) { return _mm_set_ps(d, c, b, a); }
inline f64x2 set_lo(double x) { return _mm_set_sd(x); }                 // [x, 0]
inline f32x4 set_lo(float x) { return _mm_set_ss(x); }                  // [x, 0, 0, 0]
inline f64x2 set_hi(double x) { return _mm_set_pd(x, 0.0); }            // [0, x]
inline double lane0(f64x2 a) { return _mm_cvtsd_f64(a); }
inline float lane0(f32x4 a) { return _mm_cvtss_f32(a); }
inline f64x2 widen_lo(f32x4 a) { return _mm_cvtps_pd(a); }  // the two low floats as doubles
inline f64x2 as_f64(f32x4 a) { return _mm_castps_pd(a); }
inline f32x4 as_f32(f64x2 a) { return _mm_castpd_ps(a); }

// ======================================================== arithmetic
inline f64x2 add(f64x2 a, f64x2 b) { return _mm_add_pd(a, b); }
inline f32x4 add(f32x4 a, f32x4 b) { return _mm_add_ps(a, b); }
inline f64x2 sub(f64x2 a, f64x2 b) { return _mm_sub_pd(a, b); }
inline f32x4 sub(f32x4 a, f32x4 b) { return _mm_sub_ps(a, b); }
inline f64x2 mul(f64x2 a, f64x2 b) { return _mm_mul_pd(a, b); }
inline f32x4 mul(f32x4 a, f32x4 b) { return _mm_mul_ps(a, b); }
inline f64x2 div(f64x2 a, f64x2 b) { return _mm_div_pd(a, b); }
inline f32x4 div(f32x4 a, f32x4 b) { return _mm_div_ps(a, b); }
inline f64x2 max(f64x2 a, f64x2 b) { return _mm_max_pd(a, b); }
inline f32x4 max(f32x4 a, f32x4 b) { return _mm_max_ps(a, b); }
inline f64x2 min(f64x2 a, f64x2 b) { return _mm_min_pd(a, b); }
inline f32x4 min(f32x4 a, f32x4 b) { return _mm_min_ps(a, b); }
inline f64x2 sqrt(f64x2 a) { return _mm_sqrt_pd(a); }
inline f32x4 sqrt(f32x4 a) { return _mm_sqrt_ps(a); }
// The sign bit cleared by an and with its complement, so that the value's
// own register takes the result (no copy of the mask a call).
inline f64x2 abs(f64x2 a) { return _mm_and_pd(a, _mm_castsi128_pd(_mm_set1_epi64x(0x7fffffffffffffffll))); }
inline f32x4 abs(f32x4 a) { return _mm_and_ps(a, _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff))); }
// [a0 + b0, a1] / [a0 + b0, a1, a2, a3]: a scalar added into lane 0 only.
inline f64x2 add_lo(f64x2 a, f64x2 b) { return _mm_add_sd(a, b); }
inline f32x4 add_lo(f32x4 a, f32x4 b) { return _mm_add_ss(a, b); }
// [a0 - b0, a1 + b1, ...]: the combining step of a complex product.
inline f64x2 addsub(f64x2 a, f64x2 b) { return _mm_addsub_pd(a, b); }
inline f32x4 addsub(f32x4 a, f32x4 b) { return _mm_addsub_ps(a, b); }
// Horizontal pairs: [a0 + a1, b0 + b1] (floats: [a0+a1, a2+a3, b0+b1, b2+b3]).
inline f64x2 hadd(f64x2 a, f64x2 b) { return _mm_hadd_pd(a, b); }
inline f32x4 hadd(f32x4 a, f32x4 b) { return _mm_hadd_ps(a, b); }
inline f64x2 hsub(f64x2 a, f64x2 b) { return _mm_hsub_pd(a, b); }
inline f32x4 hsub(f32x4 a, f32x4 b) { return _mm_hsub_ps(a, b); }
inline double hsum(f64x2 a) { return lane0(a) + lane0(_mm_unpackhi_pd(a, a)); }  // a0 + a1

// ======================================================== bits, compares, selection
inline f64x2 and_(f64x2 a, f64x2 b) { return _mm_and_pd(a, b); }
inline f32x4 and_(f32x4 a, f32x4 b) { return _mm_and_ps(a, b); }
inline f64x2 or_(f64x2 a, f64x2 b) { return _mm_or_pd(a, b); }
inline f32x4 or_(f32x4 a, f32x4 b) { return _mm_or_ps(a, b); }
inline f64x2 xor_(f64x2 a, f64x2 b) { return _mm_xor_pd(a, b); }
inline f32x4 xor_(f32x4 a, f32x4 b) { return _mm_xor_ps(a, b); }
inline f64x2 andnot_(f64x2 mask, f64x2 b) { return _mm_andnot_pd(mask, b); }  // ~mask & b
inline f32x4 andnot_(f32x4 mask, f32x4 b) { return _mm_andnot_ps(mask, b); }
// Lane masks: all ones where true.
inline f64x2 cmp_le(f64x2 a, f64x2 b) { return _mm_cmple_pd(a, b); }
inline f32x4 cmp_le(f32x4 a, f32x4 b) { return _mm_cmple_ps(a, b); }
inline f64x2 cmp_lt(f64x2 a, f64x2 b) { return _mm_cmplt_pd(a, b); }
inline f32x4 cmp_lt(f32x4 a, f32x4 b) { return _mm_cmplt_ps(a, b); }
inline f64x2 cmp_eq(f64x2 a, f64x2 b) { return _mm_cmpeq_pd(a, b); }
inline f32x4 cmp_eq(f32x4 a, f32x4 b) { return _mm_cmpeq_ps(a, b); }
// One bit a lane, lane 0 in bit 0: the sign bits (a mask's lanes).
inline int mask_bits(f64x2 m) { return _mm_movemask_pd(m); }
inline int mask_bits(f32x4 m) { return _mm_movemask_ps(m); }
// a where the mask is set, b elsewhere.
inline f64x2 select(f64x2 mask, f64x2 a, f64x2 b) { return or_(and_(mask, a), andnot_(mask, b)); }
inline f32x4 select(f32x4 mask, f32x4 a, f32x4 b) { return or_(and_(mask, a), andnot_(mask, b)); }
inline i32x4 select(f32x4 mask, i32x4 a, i32x4 b) {
  const __m128i m = _mm_castps_si128(mask);
  return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b));
}

// ======================================================== lane movement
inline f64x2 swap_lanes(f64x2 a) { return _mm_shuffle_pd(a, a, 1); }         // [a1, a0]
inline f32x4 swap_pairs(f32x4 a) { return _mm_shuffle_ps(a, a, 0xB1); }      // [a1, a0, a3, a2]
inline f64x2 dup_lo(f64x2 a) { return _mm_movedup_pd(a); }                   // [a0, a0]
inline f64x2 dup_hi(f64x2 a) { return _mm_unpackhi_pd(a, a); }               // [a1, a1]
inline f32x4 dup_even(f32x4 a) { return _mm_moveldup_ps(a); }                // [a0, a0, a2, a2]
inline f32x4 dup_odd(f32x4 a) { return _mm_movehdup_ps(a); }                 // [a1, a1, a3, a3]
inline f64x2 unpack_lo(f64x2 a, f64x2 b) { return _mm_unpacklo_pd(a, b); }   // [a0, b0]
inline f64x2 unpack_hi(f64x2 a, f64x2 b) { return _mm_unpackhi_pd(a, b); }   // [a1, b1]
inline f32x4 unpack_lo(f32x4 a, f32x4 b) { return _mm_unpacklo_ps(a, b); }   // [a0, b0, a1, b1]
inline f32x4 unpack_hi(f32x4 a, f32x4 b) { return _mm_unpackhi_ps(a, b); }   // [a2, b2, a3, b3]
inline f64x2 high_low(f64x2 a, f64x2 b) { return _mm_shuffle_pd(a, b, 1); }  // [a1, b0]
inline f32x4 move_lh(f32x4 a, f32x4 b) { return _mm_movelh_ps(a, b); }       // [a0, a1, b0, b1]
inline f32x4 move_hl(f32x4 a, f32x4 b) { return _mm_movehl_ps(b, a); }       // [a2, a3, b2, b3]
inline f32x4 low_pair(f32x4 a) { return _mm_movelh_ps(a, a); }               // [a0, a1, a0, a1]
inline f32x4 high_pair(f32x4 a) { return _mm_movehl_ps(a, a); }              // [a2, a3, a2, a3]

// Shift-merge: the 16 bytes that start Bytes into the pair (lo, hi) of
// consecutive aligned vectors; how a stream out of phase is read with
// aligned loads only.
template <int Bytes>
inline f64x2 shift_merge(f64x2 lo, f64x2 hi) {
  return _mm_castsi128_pd(_mm_alignr_epi8(_mm_castpd_si128(hi), _mm_castpd_si128(lo), Bytes));
}
template <int Bytes>
inline f32x4 shift_merge(f32x4 lo, f32x4 hi) {
  return _mm_castsi128_ps(_mm_alignr_epi8(_mm_castps_si128(hi), _mm_castps_si128(lo), Bytes));
}

// ======================================================== integer lanes
// Four 32-bit lanes, for positions carried beside float lanes.
inline i32x4 splat_i32(int x) { return _mm_set1_epi32(x); }
inline i32x4 make_i32(int a, int b, int c, int d) { return _mm_set_epi32(d, c, b, a); }
inline i32x4 add_i32(i32x4 a, i32x4 b) { return _mm_add_epi32(a, b); }

// ======================================================== cache hints
// Written as statements the compiler must keep: the built-in hint counts as
// no effect, and GCC drops a short loop of nothing but hints once it is
// inlined (a dasum that asked for four lines a pass asked for none).
inline void prefetch_t0(const void *p) { asm volatile("prefetcht0 %0" : : "m"(*static_cast<const char *>(p))); }
inline void prefetch_nta(const void *p) { asm volatile("prefetchnta %0" : : "m"(*static_cast<const char *>(p))); }

// ======================================================== complex layer
// Real parts, imaginary parts, spread over each complex element.
inline f64x2 dup_re(f64x2 a) { return dup_lo(a); }
inline f32x4 dup_re(f32x4 a) { return dup_even(a); }
inline f64x2 dup_im(f64x2 a) { return dup_hi(a); }
inline f32x4 dup_im(f32x4 a) { return dup_odd(a); }

// The real parts and the imaginary parts of the elements of two registers,
// a's first: [a.re..., b.re...] and [a.im..., b.im...].
inline f64x2 re_parts(f64x2 a, f64x2 b) { return unpack_lo(a, b); }
inline f32x4 re_parts(f32x4 a, f32x4 b) { return _mm_shuffle_ps(a, b, 0x88); }
inline f64x2 im_parts(f64x2 a, f64x2 b) { return unpack_hi(a, b); }
inline f32x4 im_parts(f32x4 a, f32x4 b) { return _mm_shuffle_ps(a, b, 0xDD); }

// (re, im) exchanged in each element. flip_copy does the same through the
// integer shuffle, which writes a new register (no copy before it): the
// faster one in a loop that is short of registers.
inline f64x2 flip(f64x2 a) { return swap_lanes(a); }
inline f32x4 flip(f32x4 a) { return swap_pairs(a); }
inline f64x2 flip_copy(f64x2 a) { return _mm_castsi128_pd(_mm_shuffle_epi32(_mm_castpd_si128(a), 0x4E)); }
inline f32x4 flip_copy(f32x4 a) { return _mm_castsi128_ps(_mm_shuffle_epi32(_mm_castps_si128(a), 0xB1)); }
template <class R> inline cplx<R> flip(cplx<R> a) { return {a.im, a.re}; }

// Each element conjugated: the sign bit of the imaginary parts flipped
// (scalar twin: zor::conj).
inline f64x2 conj(f64x2 a) { return _mm_xor_pd(a, _mm_set_pd(-0.0, 0.0)); }
inline f32x4 conj(f32x4 a) { return _mm_xor_ps(a, _mm_set_ps(-0.0f, 0.0f, -0.0f, 0.0f)); }

// a b = (ar br - ai bi, ar bi + ai br), element by element.
template <class V>
inline V cmul(V a, V b) {
  return addsub(mul(dup_re(a), b), mul(dup_im(a), flip(b)));
}
template <class R> inline cplx<R> cmul(cplx<R> a, cplx<R> b) { return a * b; }

// conj(a) b = (ar br + ai bi, ar bi - ai br): the second product enters
// negated, and x + (-y) rounds as x - y.
template <class V>
inline V cmulc(V a, V b) {
  return add(mul(dup_re(a), b), conj(mul(dup_im(a), flip(b))));
}
template <class R> inline cplx<R> cmulc(cplx<R> a, cplx<R> b) {
  return {a.re * b.re + a.im * b.im, a.re * b.im - a.im * b.re};
}

// A complex factor held as its real part and its imaginary part, each
// broadcast: the form in which one factor multiplies a whole stream.
template <class R>
struct Csplat {
  typename VectorOf<R>::type re, im;
};
inline Csplat<double> csplat(cplx<double> a) { return {splat(a.re), splat(a.im)}; }
inline Csplat<float> csplat(cplx<float> a) { return {splat(a.re), splat(a.im)}; }
// f x = (fr xr - fi xi, fr xi + fi xr); scalar twin: cmul(f, x) on cplx.
// The flip writes a new register: x is used twice, and a stream kernel
// would otherwise copy it first.
template <class R>
inline typename VectorOf<R>::type cmul(Csplat<R> f, typename VectorOf<R>::type x) {
  return addsub(mul(f.re, x), mul(f.im, flip_copy(x)));
}

}  // namespace zor::simd
