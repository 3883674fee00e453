// Element traits: one kernel body per family is instantiated for the four
// precisions s, d, c, z through these.
#pragma once
#include <cstdint>
#include <emmintrin.h>

namespace zor {

// A complex number as the library stores it: real part first. Arithmetic is
// the plain textbook formula; no special handling of infinities.
template <class R>
struct cplx {
  R re, im;
};
template <class R> inline cplx<R> operator+(cplx<R> a, cplx<R> b) { return {a.re + b.re, a.im + b.im}; }
template <class R> inline cplx<R> operator-(cplx<R> a, cplx<R> b) { return {a.re - b.re, a.im - b.im}; }
template <class R> inline cplx<R> operator*(cplx<R> a, cplx<R> b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
template <class R> inline cplx<R> operator*(R a, cplx<R> b) { return {a * b.re, a * b.im}; }
template <class R> inline cplx<R> conj(cplx<R> a) { return {a.re, -a.im}; }
template <class R> inline bool operator==(cplx<R> a, cplx<R> b) { return a.re == b.re && a.im == b.im; }

// The 128-bit register type that holds reals of one precision.
template <class Real> struct VectorOf;
template <> struct VectorOf<float> { using type = __m128; };
template <> struct VectorOf<double> { using type = __m128d; };

template <class Real, class Elem, bool Complex, char Letter>
struct Traits {
  using real = Real;
  using elem = Elem;
  using vec = typename VectorOf<Real>::type;  // the register of the real parts
  static constexpr bool complex = Complex;
  static constexpr char letter = Letter;
  static constexpr int elem_bytes = sizeof(Elem);
  static constexpr int real_lanes = 16 / sizeof(Real);   // reals per vector
  static constexpr int elem_lanes = 16 / sizeof(Elem);   // elements per vector
};

using S = Traits<float, float, false, 's'>;
using D = Traits<double, double, false, 'd'>;
using C = Traits<float, cplx<float>, true, 'c'>;
using Z = Traits<double, cplx<double>, true, 'z'>;

}  // namespace zor
