// Element helpers shared by every family, over the traits of frame/traits.hpp:
// what an element type is (real type, register, lanes), its special values,
// conditional conjugation, alignment tests, and reads and writes of elements
// that may stand at any byte offset.
//
// Kernels accept vectors whose doubles stand 4 bytes off their natural
// alignment (they then take their strided paths). Reading such an element as
// a `double` lvalue is undefined behaviour, so every path that may meet one
// reads and writes through load_any / store_any, which compile to the same
// single move as a plain access.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include <zor/export.h>

#include "frame/traits.hpp"

namespace zor {

// ---- the traits of an element type: traits_of<float> is S, <cplx<double>> Z
template <class E> struct TraitsOf;
template <> struct TraitsOf<float> { using type = S; };
template <> struct TraitsOf<double> { using type = D; };
template <> struct TraitsOf<cplx<float>> { using type = C; };
template <> struct TraitsOf<cplx<double>> { using type = Z; };
template <class E> using traits_of = typename TraitsOf<std::remove_cv_t<E>>::type;

template <class E> using real_t = typename traits_of<E>::real;     // float for cplx<float>
template <class E> using vec_t = typename traits_of<E>::vec;       // __m128 or __m128d
template <class E> inline constexpr int lanes = traits_of<E>::real_lanes;  // reals per register
template <class E> inline constexpr bool is_complex_v = traits_of<E>::complex;

// ---- special values; a complex value is zero or one only if both parts are
template <class R> inline bool is_zero(R a) { return R(0) == a; }
template <class R> inline bool is_zero(cplx<R> a) { return R(0) == a.re && R(0) == a.im; }
template <class R> inline bool is_one(R a) { return R(1) == a; }
template <class R> inline bool is_one(cplx<R> a) { return R(1) == a.re && R(0) == a.im; }

template <class E> inline constexpr E one_of() {
  if constexpr (is_complex_v<E>) return E{1, 0};
  else return E(1);
}

// ---- conjugation when asked for; real values pass unchanged
template <bool Conj, class E>
inline E conj_if(E v) {
  if constexpr (Conj && is_complex_v<E>) return conj(v);
  else return v;
}
template <class E>
inline E conj_if(E v, bool c) {
  if constexpr (is_complex_v<E>) return c ? conj(v) : v;
  else return v;
}

// ---- alignment: byte offset from the 16-byte boundary below, and the test
inline int phase(const void *p) { return int(reinterpret_cast<uintptr_t>(p) & 15); }
inline bool aligned_to(const void *p, size_t bytes) { return (reinterpret_cast<uintptr_t>(p) & (bytes - 1)) == 0; }

// ---- elements at any byte offset
template <class E>
inline E load_any(const E *p) {
  E v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
template <class E>
inline void store_any(E *p, E v) {
  std::memcpy(p, &v, sizeof v);
}

// The reals of an element array: a complex array as its interleaved parts
// (no member access, so the array may stand at any byte offset).
template <class R> inline R *reals(cplx<R> *p) { return reinterpret_cast<R *>(p); }
template <class R> inline const R *reals(const cplx<R> *p) { return reinterpret_cast<const R *>(p); }
template <class R> inline R *reals(R *p) { return p; }

// ---- the element arrays and scalars of the C boundary as the kernels'
// types: zor_complex8 and zor_complex16 of <zor/export.h> are the bytes of
// cplx<float> and cplx<double>; float and double stand as they are.
template <class P> struct ElemOf { using type = P; };
template <> struct ElemOf<zor_complex8> { using type = cplx<float>; };
template <> struct ElemOf<zor_complex16> { using type = cplx<double>; };
template <class P>
inline auto elems(P *p) {
  using E = typename ElemOf<std::remove_const_t<P>>::type;
  if constexpr (std::is_const_v<P>) return reinterpret_cast<const E *>(p);
  else return reinterpret_cast<E *>(p);
}
template <class P>
inline auto elem_value(P v) {
  return std::bit_cast<typename ElemOf<P>::type>(v);
}

}  // namespace zor

// ---- preconditions of kernels
// ZOR_ASSERT(cond) states what a kernel relies on. In builds with checks
// (the sanitizer preset defines ZOR_CHECKED) a broken one stops the program
// with its place; otherwise it is a hint the optimiser may rely on.
#ifdef ZOR_CHECKED
#define ZOR_ASSERT(cond) \
  ((cond) ? void(0) : ::zor::assert_failed(#cond, __FILE__, __LINE__))
namespace zor {
[[noreturn]] inline void assert_failed(const char *what, const char *file, int line) {
  std::fprintf(stderr, "zor: %s:%d: precondition failed: %s\n", file, line, what);
  std::abort();
}
}  // namespace zor
#else
#define ZOR_ASSERT(cond) ((cond) ? void(0) : __builtin_unreachable())
#endif

// Hot-loop pieces forced inline: the compiler's own limits give up on wide
// unrolled blocks otherwise.
#define ZOR_HOT __attribute__((always_inline))
