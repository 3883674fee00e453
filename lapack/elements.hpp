// Element arithmetic of the LAPACK kernels beyond the shared element
// helpers, written once for the real and the complex element types:
// reciprocals and quotients, products with a real factor, the pivot test.
//
// Complex quotients use the scaled (Smith) formula, so that neither the
// squared magnitude of the divisor nor its products overflow or underflow
// before the quotient does: with |re| >= |im|, ratio := im / re,
// den := re + im ratio, and a / b := ((a.re + a.im ratio) / den,
// (a.im - a.re ratio) / den); the other case mirrors it. A complex divided
// by a real divides both parts.
#pragma once
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "frame/element.hpp"

namespace zor::lapack {

template <class R> inline R real_part(R v) { return v; }
template <class R> inline R real_part(cplx<R> v) { return v.re; }
template <class E> inline E from_real(real_t<E> v) {
  if constexpr (is_complex_v<E>) return E{v, 0};
  else return v;
}
// |x|, and hypot(re, im) for complex elements (no overflow on the way).
template <class R> inline R magnitude(R v) { return std::fabs(v); }
template <class R> inline R magnitude(cplx<R> v) { return std::hypot(v.re, v.im); }

template <class R> inline R times_real(R a, R r) { return a * r; }
template <class R> inline cplx<R> times_real(cplx<R> a, R r) { return {a.re * r, a.im * r}; }

template <class R> inline R quotient(R a, R b) { return a / b; }
template <class R> inline cplx<R> quotient(cplx<R> a, R b) { return {a.re / b, a.im / b}; }
template <class R>
inline cplx<R> quotient(cplx<R> a, cplx<R> b) {
  if (std::fabs(b.re) >= std::fabs(b.im)) {
    R ratio = b.im / b.re, den = b.re + b.im * ratio;
    return {(a.re + a.im * ratio) / den, (a.im - a.re * ratio) / den};
  }
  R ratio = b.re / b.im, den = b.re * ratio + b.im;
  return {(a.re * ratio + a.im) / den, (a.im * ratio - a.re) / den};
}

template <class E> inline E reciprocal(E b) {
  if constexpr (is_complex_v<E>) return quotient(E{1, 0}, b);
  else return E(1) / b;
}

// A pivot that cannot be divided by: zero or NaN (for complex, both parts
// zero or either part NaN). Written as "neither positive nor negative", so
// that a NaN fails it.
template <class R> inline bool unusable_pivot(R d) { return !(d > R(0) || d < R(0)); }
template <class R> inline bool unusable_pivot(cplx<R> d) {
  return (d.re == R(0) && d.im == R(0)) || d.re != d.re || d.im != d.im;
}

// The interface passes complex arrays and scalars as void pointers: the
// elements of precision T behind them.
template <class T> inline typename T::elem *as_elems(void *p) { return static_cast<typename T::elem *>(p); }
template <class T> inline const typename T::elem *as_elems(const void *p) {
  return static_cast<const typename T::elem *>(p);
}
template <class T> inline typename T::elem elem_at(const void *p) { return *as_elems<T>(p); }

}  // namespace zor::lapack
