// Registers of complex numbers for the radix kernels. A kernel body is written
// once over CVec<R, Lanes>, which holds Lanes interleaved complex values of
// real type R: one double complex (CVec<double, 1>), two single complex
// (CVec<float, 2>), or one single complex in the low half (CVec<float, 1>,
// for odd tails). Twiddle factors are held in the form the register
// multiplies best: for doubles the complex value itself, read as two
// broadcasts; for floats a pair of registers with the real parts and the
// imaginary parts spread over each element.
//
// Direction is a template flag: Fwd multiplies by exp(-i t), backward by
// exp(+i t), from the same tables (the backward twiddle is the conjugate).
#pragma once
#include <cstddef>
#include <cstdint>

#include "frame/simd.hpp"
#include "frame/traits.hpp"

// The building blocks of the kernels are always inlined: a butterfly left
// out of line passes its registers through memory.
#define ZOR_DFT_INLINE inline __attribute__((always_inline))

namespace zor::dft {

template <class R, int Lanes>
struct CVec;

template <>
struct CVec<double, 1> {
  using real = double;
  using elem = cplx<double>;
  using V = __m128d;
  static constexpr int lanes = 1;
  static V load(const elem *p) { return _mm_loadu_pd(&p->re); }
  static void store(elem *p, V v) { _mm_storeu_pd(&p->re, v); }
  // Lanes gathered from / spread to separate addresses.
  static V load2(const elem *p, const elem *) { return load(p); }
  static void store2(elem *p, elem *, V v) { store(p, v); }
  static V splat(double x) { return _mm_set1_pd(x); }
  static V mask_re() { return _mm_castsi128_pd(_mm_set_epi64x(0, INT64_MIN)); }
  // A twiddle: the complex value, read as [re, re] and [im, im].
  using Tw = cplx<double>;
  static V tw_re(const Tw &w) { return _mm_loaddup_pd(&w.re); }
  static V tw_im(const Tw &w) { return _mm_loaddup_pd(&w.im); }
  static void set_tw(Tw *t, const cplx<double> *w) { *t = w[0]; }
};

// What the two float forms share: the register and its lane operations.
struct FloatRegister {
  using real = float;
  using elem = cplx<float>;
  using V = __m128;
  static V splat(float x) { return _mm_set1_ps(x); }
  static V mask_re() { return _mm_castsi128_ps(_mm_set_epi32(0, INT32_MIN, 0, INT32_MIN)); }
  // A twiddle for each of the two complex values, spread.
  struct alignas(16) Tw {
    float re[4], im[4];
  };
  static V tw_re(const Tw &w) { return _mm_load_ps(w.re); }
  static V tw_im(const Tw &w) { return _mm_load_ps(w.im); }
  // Lane l takes w[l], or w[0] in the narrow form.
  static void spread_tw(Tw *t, const cplx<double> *w, int lanes) {
    for (int l = 0; l < 2; ++l) {
      const cplx<double> &v = w[lanes == 2 ? l : 0];
      t->re[2 * l] = t->re[2 * l + 1] = float(v.re);
      t->im[2 * l] = t->im[2 * l + 1] = float(v.im);
    }
  }
};

template <>
struct CVec<float, 2> : FloatRegister {
  static constexpr int lanes = 2;
  static V load(const elem *p) { return _mm_loadu_ps(&p->re); }
  static void store(elem *p, V v) { _mm_storeu_ps(&p->re, v); }
  static V load2(const elem *p, const elem *q) {
    __m128d lo = _mm_load_sd(reinterpret_cast<const double *>(p));
    return _mm_castpd_ps(_mm_loadh_pd(lo, reinterpret_cast<const double *>(q)));
  }
  static void store2(elem *p, elem *q, V v) {
    _mm_store_sd(reinterpret_cast<double *>(p), _mm_castps_pd(v));
    _mm_storeh_pd(reinterpret_cast<double *>(q), _mm_castps_pd(v));
  }
  static void set_tw(Tw *t, const cplx<double> *w) { spread_tw(t, w, 2); }
};

template <>
struct CVec<float, 1> : FloatRegister {
  static constexpr int lanes = 1;
  static V load(const elem *p) { return _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double *>(p))); }
  static void store(elem *p, V v) { _mm_store_sd(reinterpret_cast<double *>(p), _mm_castps_pd(v)); }
  static V load2(const elem *p, const elem *) { return load(p); }
  static void store2(elem *p, elem *, V v) { store(p, v); }
  static void set_tw(Tw *t, const cplx<double> *w) { spread_tw(t, w, 1); }
};

// The wide register of a precision (two float complexes, one double) and the
// narrow one for tails.
template <class R> using Wide = CVec<R, sizeof(R) == 4 ? 2 : 1>;
template <class R> using Narrow = CVec<R, 1>;

// ---- arithmetic on the register of CV
template <class CV> ZOR_DFT_INLINE typename CV::V add(typename CV::V a, typename CV::V b) { return simd::add(a, b); }
template <class CV> ZOR_DFT_INLINE typename CV::V sub(typename CV::V a, typename CV::V b) { return simd::sub(a, b); }

// a times -i (forward) or +i (backward).
template <class CV, bool Fwd>
ZOR_DFT_INLINE typename CV::V rot(typename CV::V a) {
  if constexpr (Fwd) return simd::conj(simd::flip_copy(a));
  else return simd::xor_(simd::flip_copy(a), CV::mask_re());
}

// a times the twiddle w (forward) or its conjugate (backward).
template <class CV, bool Fwd>
ZOR_DFT_INLINE typename CV::V twiddle(typename CV::V a, const typename CV::Tw &w) {
  auto t = simd::mul(a, CV::tw_re(w));
  auto u = simd::mul(simd::flip_copy(a), CV::tw_im(w));
  if constexpr (Fwd) return simd::addsub(t, u);
  else return simd::add(t, simd::conj(u));
}

// a times the constant c + i s in the direction of the transform: c - i s
// forward, c + i s backward (s given as the sine of a positive angle).
template <class CV, bool Fwd>
ZOR_DFT_INLINE typename CV::V times_root(typename CV::V a, typename CV::real c, typename CV::real s) {
  auto t = simd::mul(a, CV::splat(c));
  auto u = simd::mul(simd::flip_copy(a), CV::splat(s));
  // forward: (ar c + ai s, ai c - ar s); backward: (ar c - ai s, ai c + ar s)
  if constexpr (Fwd) return simd::add(t, simd::conj(u));
  else return simd::addsub(t, u);
}

template <class CV>
ZOR_DFT_INLINE typename CV::V scale_by(typename CV::V a, typename CV::real s) {
  return simd::mul(a, CV::splat(s));
}

}  // namespace zor::dft

namespace zor::dft {

// A twiddle held as two broadcast pairs, [c, c] and [s, s] (doubles) or the
// same four floats: the layout of the fixed kernels' tables. Read by the
// register of one complex value.
template <class R>
struct alignas(16) DupRoot {
  R re[2], im[2];
};

template <class CV, bool Fwd>
ZOR_DFT_INLINE typename CV::V twiddle(typename CV::V a, const DupRoot<typename CV::real> &w) {
  static_assert(CV::lanes == 1);
  typename CV::V wr, wi;
  if constexpr (sizeof(typename CV::real) == 8) {
    wr = _mm_load_pd(w.re), wi = _mm_load_pd(w.im);
  } else {
    wr = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double *>(w.re)));
    wi = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double *>(w.im)));
  }
  auto t = simd::mul(a, wr);
  auto u = simd::mul(simd::flip_copy(a), wi);
  if constexpr (Fwd) return simd::addsub(t, u);
  else return simd::add(t, simd::conj(u));
}

}  // namespace zor::dft
