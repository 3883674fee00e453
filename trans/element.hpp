// What every copy and transposition routine shares: the mode letters, the
// view of a column-major call as a row-major one, and the one operation
// applied to an element on its way, op(x) alpha.
#pragma once
#include <bit>
#include <cstdint>
#include <utility>
#include <zor/trans.h>

#include "frame/traits.hpp"

namespace zor::trans {

using u64 = uint64_t;

enum class Letter { none, N, T, R, C };

// 'N', 'T', 'R', 'C' in either case. Real types read 'R' as 'N' and 'C' as
// 'T': conjugation is the only thing that tells them apart.
template <class T>
inline Letter trans_letter(char t) {
  switch (t) {
    case 'N': case 'n': return Letter::N;
    case 'T': case 't': return Letter::T;
    case 'R': case 'r': return T::complex ? Letter::R : Letter::N;
    case 'C': case 'c': return T::complex ? Letter::C : Letter::T;
    default: return Letter::none;
  }
}

// The routines are written for row-major data. A column-major call is the
// same call with rows and cols exchanged. False for any other letter.
inline bool row_major_view(char ordering, u64 &rows, u64 &cols) {
  if (ordering == 'R' || ordering == 'r') return true;
  if (ordering == 'C' || ordering == 'c') {
    std::swap(rows, cols);
    return true;
  }
  return false;
}

template <class T>
inline bool is_one(typename T::elem a) {
  if constexpr (T::complex) return a.re == 1 && a.im == 0;
  else return a == 1;
}

// x, conjugated when Conj (complex types only).
template <class T, bool Conj>
inline typename T::elem load_op(typename T::elem x) {
  if constexpr (T::complex && Conj) return conj(x);
  else return x;
}

// op(x) alpha: the product is taken as x times alpha, conjugation first.
template <class T, bool Conj>
inline typename T::elem scaled(typename T::elem x, typename T::elem alpha) {
  return load_op<T, Conj>(x) * alpha;
}

// The C types of the boundary and the element types inside are the same
// bytes.
inline float from_c(float x) { return x; }
inline double from_c(double x) { return x; }
inline cplx<float> from_c(zor_complex8 x) { return std::bit_cast<cplx<float>>(x); }
inline cplx<double> from_c(const zor_complex16 *x) { return {x->re, x->im}; }

inline float *elems(float *p) { return p; }
inline double *elems(double *p) { return p; }
inline cplx<float> *elems(zor_complex8 *p) { return reinterpret_cast<cplx<float> *>(p); }
inline cplx<double> *elems(zor_complex16 *p) { return reinterpret_cast<cplx<double> *>(p); }
inline const float *elems(const float *p) { return p; }
inline const double *elems(const double *p) { return p; }
inline const cplx<float> *elems(const zor_complex8 *p) { return reinterpret_cast<const cplx<float> *>(p); }
inline const cplx<double> *elems(const zor_complex16 *p) { return reinterpret_cast<const cplx<double> *>(p); }

}  // namespace zor::trans
