// The arithmetic of the extended-precision products: lanes, the
// double-double sequences and the three arithmetic policies.
//
// Lanes. A kernel computes one result in scalars (V = float or double) or two
// results side by side in lanes 0 and 1 of one register (V = Pair<W>). The
// operators of Pair are the lane-wise IEEE operations, so every lane performs
// exactly the operations of the scalar code, and two results computed together
// have the bits they have when computed one at a time.
//
// Double-double. A value is an unevaluated sum (h, t) of two doubles. The
// sequences below are fixed operation by operation; they rely on exact
// rounding and must not be rearranged (the build forbids contraction and
// reassociation):
//   split(a):           c := K a, K = 2^27 + 1; a_hi := c - (c - a); a_lo := a - a_hi
//   two-product(a, b):  p := a b; e := (((a_hi b_hi - p) + a_hi b_lo) + a_lo b_hi) + a_lo b_lo
//   (h, t) += (p, e):   s1 := h + p; bv := s1 - h; s2 := (p - bv) + (h - (s1 - bv));
//                       t1 := t + e; bv := t1 - t; t2 := (e - bv) + (t - (t1 - bv));
//                       s2 := s2 + t1; u := s1 + s2; s2 := s2 - (u - s1);
//                       t2 := t2 + s2; h := u + t2; t := t2 - (h - u)
//   (h, t) *= a:        (p, e) := two-product(h, a); e := e + t a;
//                       u := p + e; t := e - (u - p); h := u
// The addition is exact on both two-sums, hence commutative bit for bit: only
// the grouping of terms decides a result.
//
// Policies. Each gives a Sum (the running value of one real component), the
// product of two elements and of a prepared scalar and an element, the
// product of a Sum by a prepared scalar, negation, the join of two Sums and
// the final value:
//   Plain<float>         single: float products and sums
//   Plain<double>        double; for float data the elements are widened
//                        first, so products are exact and only sums round
//   DoubleDouble<double> products by two-product of split elements, sums by
//                        the double-double addition
//   DoubleDouble<float>  the same for widened floats, whose product is exact
//                        in double: it enters as (p, 0), with no split
// Scalars (alpha, beta) are prepared, and split, once a call; elements are
// split where they are used.
#pragma once
#include <cstdint>

#include "frame/element.hpp"
#include "frame/simd.hpp"
#include "xblas/parameters.hpp"

namespace zor::xblas {

// ---- lanes

template <class W> struct Pair;
template <> struct Pair<double> { simd::f64x2 v; };
template <> struct Pair<float> { simd::f32x4 v; };  // lanes 2 and 3 stay 0

template <class W> ZOR_HOT inline Pair<W> operator+(Pair<W> a, Pair<W> b) { return {simd::add(a.v, b.v)}; }
template <class W> ZOR_HOT inline Pair<W> operator-(Pair<W> a, Pair<W> b) { return {simd::sub(a.v, b.v)}; }
template <class W> ZOR_HOT inline Pair<W> operator*(Pair<W> a, Pair<W> b) { return {simd::mul(a.v, b.v)}; }
template <class W> ZOR_HOT inline Pair<W> operator-(Pair<W> a) { return {simd::xor_(a.v, simd::splat(W(-0.0)))}; }

// The real type of a lane and the number of results a value carries.
template <class V> struct LaneOf { using work = V; static constexpr int count = 1; };
template <class W> struct LaneOf<Pair<W>> { using work = W; static constexpr int count = 2; };

template <class V> ZOR_HOT inline V splat(typename LaneOf<V>::work s) {
  if constexpr (LaneOf<V>::count == 1) return s;
  else return {simd::splat(s)};
}

// (l0, l1) in the lanes of V; a scalar takes l0.
template <class V> ZOR_HOT inline V lanes(typename LaneOf<V>::work l0, typename LaneOf<V>::work l1) {
  if constexpr (LaneOf<V>::count == 1) return l0;
  else if constexpr (sizeof(l0) == 8) return {simd::make(l0, l1)};
  else return {simd::make(l0, l1, 0.0f, 0.0f)};
}

template <int K, class V> ZOR_HOT inline typename LaneOf<V>::work lane(V v) {
  if constexpr (LaneOf<V>::count == 1) return v;
  else if constexpr (K == 0) return simd::lane0(v.v);
  else if constexpr (sizeof(typename LaneOf<V>::work) == 8) return simd::lane0(simd::dup_hi(v.v));
  else return simd::lane0(simd::swap_pairs(v.v));
}

// `into` with lane K taken from `from`.
template <int K, class W> ZOR_HOT inline Pair<W> blend(Pair<W> into, Pair<W> from) {
  auto mask = simd::cmp_eq(lanes<Pair<W>>(W(0), W(1)).v, simd::splat(W(K)));
  return {simd::select(mask, from.v, into.v)};
}

// ---- double-double sequences (V: double or Pair<double>)

template <class V> ZOR_HOT inline void split(V a, V &hi, V &lo) {
  V c = splat<V>(fixed::kSplitFactor) * a;
  hi = c - (c - a);
  lo = a - hi;
}

template <class V> ZOR_HOT inline void two_product(V a, V a_hi, V a_lo, V b, V b_hi, V b_lo, V &p, V &e) {
  p = a * b;
  e = (((a_hi * b_hi - p) + a_hi * b_lo) + a_lo * b_hi) + a_lo * b_lo;
}

template <class V> ZOR_HOT inline void dd_add(V &h, V &t, V p, V e) {
  V s1 = h + p;
  V bv = s1 - h;
  V s2 = (p - bv) + (h - (s1 - bv));
  V t1 = t + e;
  bv = t1 - t;
  V t2 = (e - bv) + (t - (t1 - bv));
  s2 = s2 + t1;
  V u = s1 + s2;
  s2 = s2 - (u - s1);
  t2 = t2 + s2;
  h = u + t2;
  t = t2 - (h - u);
}

template <class V> ZOR_HOT inline void dd_mul(V &h, V &t, V a, V a_hi, V a_lo) {
  V h_hi, h_lo, p, e;
  split(h, h_hi, h_lo);
  two_product(h, h_hi, h_lo, a, a_hi, a_lo, p, e);
  e = e + t * a;
  V u = p + e;
  t = e - (u - p);
  h = u;
}

// ---- policies

template <class W>
struct Plain {
  using work = W;
  template <class V> struct Sum { V v; };
  struct Scalar { W v; };
  ZOR_HOT static Scalar prepare(W s) { return {s}; }

  template <class V> ZOR_HOT static Sum<V> zero() { return {splat<V>(W(0))}; }
  template <class V> ZOR_HOT static Sum<V> product(V a, V b) { return {a * b}; }
  template <class V> ZOR_HOT static Sum<V> product(const Scalar &s, V b) { return {splat<V>(s.v) * b}; }
  template <class V> ZOR_HOT static Sum<V> scaled(Sum<V> s, const Scalar &a) { return {splat<V>(a.v) * s.v}; }
  template <class V> ZOR_HOT static Sum<V> neg(Sum<V> s) { return {-s.v}; }
  template <class V> ZOR_HOT static Sum<V> join(Sum<V> s, Sum<V> o) { return {s.v + o.v}; }
  template <class V> ZOR_HOT static V value(Sum<V> s) { return s.v; }
  template <int K, class V> ZOR_HOT static Sum<V> blend(Sum<V> into, Sum<V> from) {
    return {xblas::blend<K>(into.v, from.v)};
  }
};

template <class In>
struct DoubleDouble {
  using work = double;
  static constexpr bool exact_products = sizeof(In) == 4;  // widened floats
  template <class V> struct Sum { V h, t; };
  struct Scalar { double v, hi, lo; };
  ZOR_HOT static Scalar prepare(double s) {
    Scalar r{s, 0, 0};
    split(s, r.hi, r.lo);
    return r;
  }

  template <class V> ZOR_HOT static Sum<V> zero() { return {splat<V>(0.0), splat<V>(0.0)}; }
  template <class V> ZOR_HOT static Sum<V> product(V a, V b) {
    if constexpr (exact_products) {
      return {a * b, splat<V>(0.0)};
    } else {
      V a_hi, a_lo, b_hi, b_lo, p, e;
      split(a, a_hi, a_lo);
      split(b, b_hi, b_lo);
      two_product(a, a_hi, a_lo, b, b_hi, b_lo, p, e);
      return {p, e};
    }
  }
  template <class V> ZOR_HOT static Sum<V> product(const Scalar &s, V b) {
    if constexpr (exact_products) {
      return {splat<V>(s.v) * b, splat<V>(0.0)};
    } else {
      V b_hi, b_lo, p, e;
      split(b, b_hi, b_lo);
      two_product(splat<V>(s.v), splat<V>(s.hi), splat<V>(s.lo), b, b_hi, b_lo, p, e);
      return {p, e};
    }
  }
  template <class V> ZOR_HOT static Sum<V> scaled(Sum<V> s, const Scalar &a) {
    dd_mul(s.h, s.t, splat<V>(a.v), splat<V>(a.hi), splat<V>(a.lo));
    return s;
  }
  template <class V> ZOR_HOT static Sum<V> neg(Sum<V> s) { return {-s.h, -s.t}; }
  template <class V> ZOR_HOT static Sum<V> join(Sum<V> s, Sum<V> o) {
    dd_add(s.h, s.t, o.h, o.t);
    return s;
  }
  template <class V> ZOR_HOT static V value(Sum<V> s) { return s.h + s.t; }
  template <int K, class V> ZOR_HOT static Sum<V> blend(Sum<V> into, Sum<V> from) {
    return {xblas::blend<K>(into.h, from.h), xblas::blend<K>(into.t, from.t)};
  }
};

}  // namespace zor::xblas
