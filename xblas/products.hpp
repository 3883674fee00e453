// What the three kernels share: the precision switch, the running sums of
// one result (or two), the walk along a strip of the matrix, the end of a
// result, and the loop over the results with its quick cases.
//
// A result is one dot in ascending column index j: each element of A, with
// its imaginary part negated (conjugated strips) or read as 0 (the diagonal
// of a Hermitian matrix), times x_j, added into the running sums by the
// policy's join. A complex element product is joined first into one value,
//   re: ar xr and -(ai xi)      im: ai xr and ar xi
// and then added. A "2" form keeps the sums over head_x and tail_x apart and
// joins them at the end.
//
// The end of a result, with the sum s (y's element read only when beta is
// not 0; complex scalars multiply in the same way as elements):
//   alpha 0, beta 0   y := 0, a and x unread
//   alpha 0           y := beta y
//   alpha 1, beta 0   y := s
//   beta 0            y := alpha s
//   alpha 1           y := s + beta y
//   otherwise         y := alpha s + beta y
// alpha multiplies the finished sum, never a term; beta y is a product of
// the policy joined to it; the value is rounded once (for float data: to
// double, then to float).
//
// Two lanes: when neither increment is 0, results are taken in pairs, lane 0
// and lane 1 of one register walking the same x_j together; a lane whose
// strip has not begun or has ended keeps its sums by a blend. A last single
// result, and every result when an increment is 0, runs in scalars, each
// reading y after the previous one wrote it.
#pragma once
#include <cstdint>
#include <type_traits>
#include <zor/xblas.h>

#include "frame/element.hpp"
#include "xblas/arithmetic.hpp"

namespace zor::xblas {

using i64 = int64_t;

// The error routine: the routine's name, the negative position of the bad
// argument and its value. It returns, and the call goes on.
using ErrorRoutine = void (*)(const char *name, int position, int64_t value);

// Runs body.operator()<Policy>() for prec and tells whether prec was known.
//            211              212, 213          214
//   s, c     Plain<float>     Plain<double>     DoubleDouble<float>
//   d, z     Plain<double>    Plain<double>     DoubleDouble<double>
template <class T, class F>
inline bool with_precision(int32_t prec, F &&body) {
  using R = typename T::real;
  if (prec == blas_prec_extra) {
    body.template operator()<DoubleDouble<R>>();
    return true;
  }
  if constexpr (std::is_same_v<R, float>) {
    if (prec == blas_prec_single) {
      body.template operator()<Plain<float>>();
      return true;
    }
  }
  if (prec >= blas_prec_single && prec <= blas_prec_indigenous) {
    body.template operator()<Plain<double>>();
    return true;
  }
  return false;
}

// How an element of A enters a product.
enum class Entry { as_stored, conjugated, real_part };

// The parts of one element, as W.
template <class T, Entry M, class W>
ZOR_HOT inline void parts(const typename T::elem *p, W &re, W &im) {
  const auto v = load_any(p);
  if constexpr (T::complex) {
    re = W(v.re);
    im = M == Entry::as_stored ? W(v.im) : M == Entry::conjugated ? -W(v.im) : W(0);
  } else {
    re = W(v);
    im = W(0);
  }
}

// A vector operand: element j of the walk at head + j inc (the far end first
// for a negative increment); tail is the second part of a "2" form's x.
template <class T>
struct Operand {
  using E = typename T::elem;
  const E *head, *tail;
  i64 inc;
  Operand(const E *x, const E *x_tail, i64 len, i64 inc)
      : head(x + first(len, inc)), tail(x_tail + first(len, inc)), inc(inc) {}
  static i64 first(i64 len, i64 inc) { return inc < 0 && len > 0 ? (1 - len) * inc : 0; }
};

// The running sums of one result (V scalar) or two (V = Pair): real and
// imaginary parts over head_x and, in a "2" form, over tail_x.
template <class T, class P, class V, bool Two>
struct Dot {
  using E = typename T::elem;
  using W = typename P::work;
  using Sum = typename P::template Sum<V>;
  static constexpr int lanes = LaneOf<V>::count;
  Sum s[4] = {P::template zero<V>(), P::template zero<V>(), P::template zero<V>(), P::template zero<V>()};

  // Adds the element (ar, ai) times x_j.
  ZOR_HOT void add(V ar, V ai, const Operand<T> &x, i64 j) {
    add_one(s[0], s[1], ar, ai, x.head + j * x.inc);
    if constexpr (Two) add_one(s[2], s[3], ar, ai, x.tail + j * x.inc);
  }
  ZOR_HOT static void add_one(Sum &re, Sum &im, V ar, V ai, const E *xj) {
    W xr, xi;
    parts<T, Entry::as_stored>(xj, xr, xi);
    if constexpr (T::complex) {
      V vr = splat<V>(xr), vi = splat<V>(xi);
      re = P::join(re, P::join(P::product(ar, vr), P::neg(P::product(ai, vi))));
      im = P::join(im, P::join(P::product(ai, vr), P::product(ar, vi)));
    } else {
      re = P::join(re, P::product(ar, splat<V>(xr)));
    }
  }
  // Lane K of d, the other lane kept.
  template <int K> void take_lane(const Dot &d) {
    for (int k = 0; k < 4; ++k) s[k] = P::template blend<K>(s[k], d.s[k]);
  }
};

// Elements j .. j + count - 1 of a strip: lane k reads A at ak, ak + step, ...
template <Entry M, class T, class P, class V, bool Two>
[[gnu::flatten]] inline void walk(Dot<T, P, V, Two> &d, const typename T::elem *a0, const typename T::elem *a1,
                                  i64 step, const Operand<T> &x, i64 j, i64 count) {
  using W = typename P::work;
  for (; count > 0; --count, ++j, a0 += step, a1 += step) {
    W r0, i0, r1, i1;
    parts<T, M>(a0, r0, i0);
    if constexpr (LaneOf<V>::count == 2) parts<T, M>(a1, r1, i1);
    else r1 = r0, i1 = i0;
    d.add(lanes<V>(r0, r1), lanes<V>(i0, i1), x, j);
  }
}

// One element j for lane K only: the element (read by both lanes) is added,
// and the other lane keeps its sums.
template <int K, Entry M, class T, class P, class V, bool Two>
inline void step_lane(Dot<T, P, V, Two> &d, const typename T::elem *a, const Operand<T> &x, i64 j) {
  Dot<T, P, V, Two> next = d;
  walk<M>(next, a, a, 0, x, j, 1);
  d.template take_lane<K>(next);
}

// One element j for both lanes, each with its own entry: where a pair crosses
// the diagonal of a symmetric or Hermitian matrix.
template <Entry M0, Entry M1, class T, class P, class V, bool Two>
inline void step_mixed(Dot<T, P, V, Two> &d, const typename T::elem *a0, const typename T::elem *a1,
                       const Operand<T> &x, i64 j) {
  typename P::work r0, i0, r1, i1;
  parts<T, M0>(a0, r0, i0);
  parts<T, M1>(a1, r1, i1);
  d.add(lanes<V>(r0, r1), lanes<V>(i0, i1), x, j);
}

// Prepared alpha and beta.
template <class T, class P>
struct Scalars {
  typename P::Scalar ar, ai, br, bi;
  bool alpha_zero, alpha_one, beta_zero;
  Scalars(const typename T::elem *alpha, const typename T::elem *beta)
      : alpha_zero(is_zero(load_any(alpha))), alpha_one(is_one(load_any(alpha))), beta_zero(is_zero(load_any(beta))) {
    using W = typename P::work;
    W re, im;
    parts<T, Entry::as_stored>(alpha, re, im);
    ar = P::prepare(re), ai = P::prepare(im);
    parts<T, Entry::as_stored>(beta, re, im);
    br = P::prepare(re), bi = P::prepare(im);
  }
};

// The complex product of a prepared scalar (sr, si) and (re, im), each part
// joined from two products as an element product is.
template <class P, class V, class F>
inline void complex_product(F product, typename P::template Sum<V> &re, typename P::template Sum<V> &im) {
  auto r = P::join(product(0, 0), P::neg(product(1, 1)));
  im = P::join(product(1, 0), product(0, 1));
  re = r;
}

// The end of the results in d: lane k is written to yk.
template <class T, class P, class V, bool Two>
inline void finish(Dot<T, P, V, Two> &d, const Scalars<T, P> &sc, typename T::elem *y0, typename T::elem *y1) {
  using W = typename P::work;
  using R = typename T::real;
  auto re = d.s[0], im = d.s[1];
  if constexpr (Two) re = P::join(re, d.s[2]), im = P::join(im, d.s[3]);
  if (!sc.alpha_one) {
    if constexpr (T::complex) {
      auto sr = re, si = im;
      complex_product<P, V>(
          [&](int a, int s) { return P::scaled(s ? si : sr, a ? sc.ai : sc.ar); }, re, im);
    } else {
      re = P::scaled(re, sc.ar);
    }
  }
  if (!sc.beta_zero) {
    W r0, i0, r1, i1;
    parts<T, Entry::as_stored>(y0, r0, i0);
    parts<T, Entry::as_stored>(y1, r1, i1);
    V yr = lanes<V>(r0, r1), yi = lanes<V>(i0, i1);
    if constexpr (T::complex) {
      typename P::template Sum<V> br, bi;
      complex_product<P, V>([&](int b, int y) { return P::product(b ? sc.bi : sc.br, y ? yi : yr); }, br, bi);
      re = P::join(re, br), im = P::join(im, bi);
    } else {
      re = P::join(re, P::product(sc.br, yr));
    }
  }
  V vr = P::value(re), vi = P::value(im);
  auto store = [&](typename T::elem *y, W r, W i) {
    if constexpr (T::complex) store_any(y, typename T::elem{R(r), R(i)});
    else store_any(y, R(r));
  };
  store(y0, lane<0>(vr), lane<0>(vi));
  if constexpr (LaneOf<V>::count == 2) store(y1, lane<1>(vr), lane<1>(vi));
}

// y := beta y, one element at a time.
template <class T, class P>
inline void scale_y(const Scalars<T, P> &sc, typename T::elem *y, i64 leny, i64 incy) {
  using W = typename P::work;
  using R = typename T::real;
  y += Operand<T>::first(leny, incy);
  for (i64 i = 0; i < leny; ++i, y += incy) {
    W r, im;
    parts<T, Entry::as_stored>(y, r, im);
    typename P::template Sum<W> br, bi;
    if constexpr (T::complex) {
      complex_product<P, W>([&](int b, int v) { return P::product(b ? sc.bi : sc.br, v ? im : r); }, br, bi);
      store_any(y, typename T::elem{R(P::value(br)), R(P::value(bi))});
    } else {
      store_any(y, R(P::value(P::product(sc.br, r))));
    }
  }
}

// The leny results of a kernel; shape.result(dot, i) adds the products of
// result i (and i + 1 for a pair) into dot.
template <class T, class P, bool Two, class Shape>
inline void results(const Shape &shape, const typename T::elem *alpha, const typename T::elem *beta,
                    typename T::elem *y, i64 leny, i64 incy, bool pairs) {
  using W = typename P::work;
  const Scalars<T, P> sc(alpha, beta);
  if (sc.alpha_zero) {
    if (sc.beta_zero) {
      y += Operand<T>::first(leny, incy);
      for (i64 i = 0; i < leny; ++i, y += incy) store_any(y, typename T::elem{});
    } else {
      scale_y(sc, y, leny, incy);
    }
    return;
  }
  y += Operand<T>::first(leny, incy);
  i64 i = 0;
  if (pairs) {
    for (; i + fixed::kLanes <= leny; i += fixed::kLanes, y += fixed::kLanes * incy) {
      Dot<T, P, Pair<W>, Two> d;
      shape.result(d, i);
      finish(d, sc, y, y + incy);
    }
  }
  for (; i < leny; ++i, y += incy) {
    Dot<T, P, W, Two> d;
    shape.result(d, i);
    finish(d, sc, y, y);
  }
}

}  // namespace zor::xblas
