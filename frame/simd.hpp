// The tier's 128-bit vector vocabulary: one named wrapper per operation over
// SSE2, SSE3 and SSSE3 intrinsics, overloaded for two doubles (__m128d) and
// four floats (__m128). Multiply and add stay separate operations; the build
// forbids contracting them.
#pragma once
#include <emmintrin.h>
#include <pmmintrin.h>
#include <tmmintrin.h>

namespace zor::simd {

using f64x2 = __m128d;
using f32x4 = __m128;

// ---- loads and stores (aligned: 16-byte boundary required)
inline f64x2 load_a(const double *p) { return _mm_load_pd(p); }
inline f32x4 load_a(const float *p) { return _mm_load_ps(p); }
inline f64x2 load_u(const double *p) { return _mm_loadu_pd(p); }
inline f32x4 load_u(const float *p) { return _mm_loadu_ps(p); }
inline void store_a(double *p, f64x2 v) { _mm_store_pd(p, v); }
inline void store_a(float *p, f32x4 v) { _mm_store_ps(p, v); }
inline void store_u(double *p, f64x2 v) { _mm_storeu_pd(p, v); }
inline void store_u(float *p, f32x4 v) { _mm_storeu_ps(p, v); }
inline f64x2 load_lo(const double *p) { return _mm_load_sd(p); }      // [p0, 0]
inline void store_lo(double *p, f64x2 v) { _mm_store_sd(p, v); }
inline void store_hi(double *p, f64x2 v) { _mm_storeh_pd(p, v); }
inline f64x2 load_half_lo(f64x2 v, const double *p) { return _mm_loadl_pd(v, p); }
inline f64x2 load_half_hi(f64x2 v, const double *p) { return _mm_loadh_pd(v, p); }
inline f32x4 load_lo(const float *p) { return _mm_load_ss(p); }
inline void store_lo(float *p, f32x4 v) { _mm_store_ss(p, v); }
inline f32x4 load_pair(const float *p) {  // [p0, p1, 0, 0]
  return _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double *>(p)));
}
inline void store_pair(float *p, f32x4 v) { _mm_store_sd(reinterpret_cast<double *>(p), _mm_castps_pd(v)); }

// ---- broadcast and constants
inline f64x2 splat(double x) { return _mm_set1_pd(x); }
inline f32x4 splat(float x) { return _mm_set1_ps(x); }
inline f64x2 dup_load(const double *p) { return _mm_loaddup_pd(p); }  // [p0, p0]
inline f64x2 zero(f64x2) { return _mm_setzero_pd(); }
inline f32x4 zero(f32x4) { return _mm_setzero_ps(); }
template <class V> V zero();
template <> inline f64x2 zero<f64x2>() { return _mm_setzero_pd(); }
template <> inline f32x4 zero<f32x4>() { return _mm_setzero_ps(); }

// ---- arithmetic
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
// [a0 - b0, a1 + b1, ...]: the complex product's combining step
inline f64x2 addsub(f64x2 a, f64x2 b) { return _mm_addsub_pd(a, b); }
inline f32x4 addsub(f32x4 a, f32x4 b) { return _mm_addsub_ps(a, b); }
// horizontal pairs: [a0 + a1, b0 + b1] (floats: [a0+a1, a2+a3, b0+b1, b2+b3])
inline f64x2 hadd(f64x2 a, f64x2 b) { return _mm_hadd_pd(a, b); }
inline f32x4 hadd(f32x4 a, f32x4 b) { return _mm_hadd_ps(a, b); }
inline f64x2 hsub(f64x2 a, f64x2 b) { return _mm_hsub_pd(a, b); }
inline f32x4 hsub(f32x4 a, f32x4 b) { return _mm_hsub_ps(a, b); }

// ---- bit operations
inline f64x2 and_(f64x2 a, f64x2 b) { return _mm_and_pd(a, b); }
inline f32x4 and_(f32x4 a, f32x4 b) { return _mm_and_ps(a, b); }
inline f64x2 xor_(f64x2 a, f64x2 b) { return _mm_xor_pd(a, b); }
inline f32x4 xor_(f32x4 a, f32x4 b) { return _mm_xor_ps(a, b); }
inline f64x2 abs(f64x2 a) { return _mm_andnot_pd(_mm_set1_pd(-0.0), a); }
inline f32x4 abs(f32x4 a) { return _mm_andnot_ps(_mm_set1_ps(-0.0f), a); }

// ---- lane movement
inline f64x2 swap_lanes(f64x2 a) { return _mm_shuffle_pd(a, a, 1); }              // [a1, a0]
inline f32x4 swap_pairs(f32x4 a) { return _mm_shuffle_ps(a, a, 0xB1); }           // [a1, a0, a3, a2]
inline f64x2 dup_lo(f64x2 a) { return _mm_movedup_pd(a); }                        // [a0, a0]
inline f64x2 dup_hi(f64x2 a) { return _mm_unpackhi_pd(a, a); }                    // [a1, a1]
inline f32x4 dup_even(f32x4 a) { return _mm_moveldup_ps(a); }                     // [a0, a0, a2, a2]
inline f32x4 dup_odd(f32x4 a) { return _mm_movehdup_ps(a); }                      // [a1, a1, a3, a3]
inline f64x2 unpack_lo(f64x2 a, f64x2 b) { return _mm_unpacklo_pd(a, b); }        // [a0, b0]
inline f64x2 unpack_hi(f64x2 a, f64x2 b) { return _mm_unpackhi_pd(a, b); }        // [a1, b1]
inline f64x2 high_low(f64x2 a, f64x2 b) { return _mm_shuffle_pd(a, b, 1); }       // [a1, b0]
inline double lane0(f64x2 a) { return _mm_cvtsd_f64(a); }
inline float lane0(f32x4 a) { return _mm_cvtss_f32(a); }

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

// Sum of the two lanes, low lane first.
inline double hsum(f64x2 a) { return lane0(a) + lane0(dup_hi(a)); }

}  // namespace zor::simd

// ---- appended for the vector layer: lane-0 arithmetic, widening, compares
#include <cstdint>
namespace zor::simd {

// [a0 + b0, a1] / [a0 + b0, a1, a2, a3]: a scalar added into lane 0 only.
inline f64x2 add_lo(f64x2 a, f64x2 b) { return _mm_add_sd(a, b); }
inline f32x4 add_lo(f32x4 a, f32x4 b) { return _mm_add_ss(a, b); }
inline f32x4 set_lo(float x) { return _mm_set_ss(x); }                         // [x, 0, 0, 0]
inline f64x2 set_lo(double x) { return _mm_set_sd(x); }                        // [x, 0]
inline f64x2 set_hi(double x) { return _mm_set_pd(x, 0.0); }                   // [0, x]
inline f64x2 make(double lo, double hi) { return _mm_set_pd(hi, lo); }         // [lo, hi]
inline f32x4 make(float a, float b, float c, float d) { return _mm_set_ps(d, c, b, a); }
// The two low floats widened to doubles.
inline f64x2 widen_lo(f32x4 a) { return _mm_cvtps_pd(a); }
// [a2, a3, a2, a3]
inline f32x4 high_pair(f32x4 a) { return _mm_movehl_ps(a, a); }
// Lane masks (all ones where true) and selection by mask.
inline f64x2 cmp_le(f64x2 a, f64x2 b) { return _mm_cmple_pd(a, b); }
inline f32x4 cmp_le(f32x4 a, f32x4 b) { return _mm_cmple_ps(a, b); }
inline f64x2 cmp_lt(f64x2 a, f64x2 b) { return _mm_cmplt_pd(a, b); }
inline f32x4 cmp_lt(f32x4 a, f32x4 b) { return _mm_cmplt_ps(a, b); }
inline f64x2 cmp_eq(f64x2 a, f64x2 b) { return _mm_cmpeq_pd(a, b); }
inline f32x4 cmp_eq(f32x4 a, f32x4 b) { return _mm_cmpeq_ps(a, b); }
inline f64x2 or_(f64x2 a, f64x2 b) { return _mm_or_pd(a, b); }
inline f32x4 or_(f32x4 a, f32x4 b) { return _mm_or_ps(a, b); }
inline f64x2 andnot_(f64x2 mask, f64x2 b) { return _mm_andnot_pd(mask, b); }   // ~mask & b
inline f32x4 andnot_(f32x4 mask, f32x4 b) { return _mm_andnot_ps(mask, b); }
inline f64x2 select(f64x2 mask, f64x2 a, f64x2 b) { return or_(and_(mask, a), andnot_(mask, b)); }
inline f32x4 select(f32x4 mask, f32x4 a, f32x4 b) { return or_(and_(mask, a), andnot_(mask, b)); }
// Four 32-bit integer lanes, for positions carried beside float lanes.
using i32x4 = __m128i;
inline i32x4 splat_i32(int x) { return _mm_set1_epi32(x); }
inline i32x4 make_i32(int a, int b, int c, int d) { return _mm_set_epi32(d, c, b, a); }
inline i32x4 add_i32(i32x4 a, i32x4 b) { return _mm_add_epi32(a, b); }
inline i32x4 select(f32x4 mask, i32x4 a, i32x4 b) {
  __m128i m = _mm_castps_si128(mask);
  return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b));
}
inline void store_a(int32_t *p, i32x4 v) { _mm_store_si128(reinterpret_cast<__m128i *>(p), v); }

}  // namespace zor::simd

// ---- appended for the complex kernels: interleaved (re, im) lanes
namespace zor::simd {

// [a0, b0, a1, b1] / [a2, b2, a3, b3]: interleave, e.g. real and imaginary parts
inline f32x4 unpack_lo(f32x4 a, f32x4 b) { return _mm_unpacklo_ps(a, b); }
inline f32x4 unpack_hi(f32x4 a, f32x4 b) { return _mm_unpackhi_ps(a, b); }
// [a0, a1, a0, a1]: the low complex float repeated
inline f32x4 low_pair(f32x4 a) { return _mm_movelh_ps(a, a); }
// Real and imaginary lanes of each complex number exchanged.
inline f64x2 swap_re_im(f64x2 a) { return swap_lanes(a); }
inline f32x4 swap_re_im(f32x4 a) { return swap_pairs(a); }
// Each complex number conjugated (sign of the imaginary lanes flipped).
inline f64x2 conj_lanes(f64x2 a) { return _mm_xor_pd(a, _mm_set_pd(-0.0, 0.0)); }
inline f32x4 conj_lanes(f32x4 a) { return _mm_xor_ps(a, _mm_set_ps(-0.0f, 0.0f, -0.0f, 0.0f)); }
// Cache hints.
inline void prefetch_t0(const void *p) { _mm_prefetch(static_cast<const char *>(p), _MM_HINT_T0); }
inline void prefetch_nta(const void *p) { _mm_prefetch(static_cast<const char *>(p), _MM_HINT_NTA); }

}  // namespace zor::simd

// ---- appended for the transpositions: 4 x 4 float transpose and 64-bit lane
// movement of single-complex pairs
namespace zor::simd {

inline f32x4 move_lh(f32x4 a, f32x4 b) { return _mm_movelh_ps(a, b); }  // [a0, a1, b0, b1]
inline f32x4 move_hl(f32x4 a, f32x4 b) { return _mm_movehl_ps(b, a); }  // [a2, a3, b2, b3]
inline f64x2 as_f64(f32x4 a) { return _mm_castps_pd(a); }
inline f32x4 as_f32(f64x2 a) { return _mm_castpd_ps(a); }

}  // namespace zor::simd

// ---- appended for the complex kernels: the re/im exchange through the
// integer shuffle, which writes a new register (no copy before it) and is
// faster than the float shuffles in a loop that is short of registers.
namespace zor::simd {

inline f64x2 swapped_re_im(f64x2 a) { return _mm_castsi128_pd(_mm_shuffle_epi32(_mm_castpd_si128(a), 0x4E)); }
inline f32x4 swapped_re_im(f32x4 a) { return _mm_castsi128_ps(_mm_shuffle_epi32(_mm_castps_si128(a), 0xB1)); }

}  // namespace zor::simd
