// Plane rotations, their set-up, and the modified (fast) Givens rotations.
//
// x?rot: x := c x + s y, y := c y - s x (complex s: y := c y - conj(s) x).
// Vector path for increments exactly 1 and bases aligned to the real type:
// y peeled to 16 bytes, x shift-merged and written back by the same merge;
// otherwise a strided loop. No early return for c = 1, s = 0.
//
// ?rotm: returns for n < 1 or a flag of -2 (tested as 2 + flag == 0). Flag
// > 0: x := h11 x + y, y := -x + h22 y; flag 0: x := x + h12 y,
// y := h21 x + y; flag < 0: the full matrix. Increments 1, 1 take the vector
// path (from 8 elements for a positive flag, from 2 otherwise); other equal
// positive increments and the rest a loop, far end first for a negative one.
//
// ?rotmg: the modified-Givens set-up with gam 4096 and gamsq 16777216; the
// reciprocals are the decimal constants below, applied by multiplication.
#include <zor/blas.h>

#include <cmath>

#include "blas/level1_skeleton.hpp"

namespace zor::blas {
namespace {

// c real; s real or complex.
template <class E, class S>
struct RotOp : Streams<E, true, true, true, true> {
  using V = vec_t<E>;
  Factor<real_t<E>> c;
  Factor<S> s, sc;  // s and conj(s)
  ZOR_HOT void vec(V &x, V &y) const {
    V nx = simd::add(c.times(x), s.times(y));
    y = simd::sub(c.times(y), sc.times(x));
    x = nx;
  }
  void one(E &x, E &y) const {
    E nx = c.s * x + s.s * y;
    y = c.s * y - sc.s * x;
    x = nx;
  }
};

template <class E, class S, int Main>
void rot(int64_t n, void *x, int64_t incx, void *y, int64_t incy, real_t<E> c, S s) {
  if (n < 1) return;
  using Op = RotOp<E, S>;
  Op op{{}, Factor<real_t<E>>(c), Factor<S>(s), Factor<S>(conj_if<true>(s))};
  E *xp = static_cast<E *>(x), *yp = static_cast<E *>(y);
  if (incx == 1 && incy == 1 && aligned_to(xp, sizeof(real_t<E>)) && aligned_to(yp, sizeof(real_t<E>)))
    unit_path<Op, Main>(op, n, xp, yp);
  else
    strided_path(op, n, xp, incx, yp, incy);
}

// ---------------------------------------------------------------- rotg
// The in/out scalars may stand at any byte offset: they are read once and
// written once through load_any / store_any.
template <class R>
void rotg(R *pa, R *pb, R *pc, R *ps) {
  const R a = load_any(pa), b = load_any(pb);
  R aa = std::fabs(a), ab = std::fabs(b);
  R roe = aa > ab ? a : b;
  R scale = aa + ab;
  if (scale == R(0)) {
    store_any(pc, R(1)), store_any(ps, R(0)), store_any(pa, R(0)), store_any(pb, R(0));
    return;
  }
  R ra = a / scale, rb = b / scale;
  R r = scale * std::sqrt(ra * ra + rb * rb);
  if (roe < R(0)) r = -r;
  R c = a / r, s = b / r;
  R z = R(1);
  if (aa > ab) z = s;
  if (ab >= aa && c != R(0)) z = R(1) / c;
  store_any(pc, c), store_any(ps, s), store_any(pa, r), store_any(pb, z);
}

template <class R>
void crotg(cplx<R> *pa, const cplx<R> *pb, R *pc, cplx<R> *ps) {
  const cplx<R> a = load_any(pa), b = load_any(pb);
  R aa = std::hypot(a.re, a.im);
  if (aa == R(0)) {
    store_any(pc, R(0)), store_any(ps, cplx<R>{1, 0}), store_any(pa, b);
    return;
  }
  R ab = std::hypot(b.re, b.im);
  R scale = aa + ab;
  R qa = std::hypot(a.re / scale, a.im / scale), qb = std::hypot(b.re / scale, b.im / scale);
  R norm = scale * std::sqrt(qa * qa + qb * qb);
  cplx<R> alpha{a.re / aa, a.im / aa};
  cplx<R> t = alpha * conj(b);
  store_any(pc, aa / norm);
  store_any(ps, cplx<R>{t.re / norm, t.im / norm});
  store_any(pa, cplx<R>{alpha.re * norm, alpha.im * norm});
}

// ---------------------------------------------------------------- rotm
template <class R>
struct RotmOp : Streams<R, true, true, true, true> {
  using V = vec_t<R>;
  int kind;  // > 0, 0, < 0 as the flag
  R h11, h21, h12, h22;
  V v11, v21, v12, v22;
  ZOR_HOT void vec(V &x, V &y) const {
    V w = x, z = y;
    if (kind > 0) {
      x = simd::add(simd::mul(w, v11), z);
      y = simd::add(simd::xor_(w, simd::splat(R(-0.0))), simd::mul(v22, z));
    } else if (kind == 0) {
      x = simd::add(w, simd::mul(z, v12));
      y = simd::add(simd::mul(w, v21), z);
    } else {
      x = simd::add(simd::mul(w, v11), simd::mul(z, v12));
      y = simd::add(simd::mul(w, v21), simd::mul(z, v22));
    }
  }
  void one(R &x, R &y) const {
    R w = x, z = y;
    if (kind > 0) x = w * h11 + z, y = -w + h22 * z;
    else if (kind == 0) x = w + z * h12, y = w * h21 + z;
    else x = w * h11 + z * h12, y = w * h21 + z * h22;
  }
};

template <class R, int Main>
void rotm(int64_t n, R *x, int64_t incx, R *y, int64_t incy, const R *param) {
  R flag = load_any(param);
  if (n < 1 || R(2) + flag == R(0)) return;
  const R h11 = load_any(param + 1), h21 = load_any(param + 2), h12 = load_any(param + 3), h22 = load_any(param + 4);
  const RotmOp<R> op{{}, flag > 0 ? 1 : (flag == 0 ? 0 : -1), h11, h21, h12, h22,
                     simd::splat(h11), simd::splat(h21), simd::splat(h12), simd::splat(h22)};
  int64_t from = op.kind > 0 ? fixed::kRotmVectorFromPositive : fixed::kRotmVectorFromOther;
  if (incx == 1 && incy == 1 && n >= from && aligned_to(x, sizeof(R)) && aligned_to(y, sizeof(R)))
    unit_path<RotmOp<R>, Main>(op, n, x, y);
  else
    strided_path(op, n, x, incx, y, incy);
}

// ---------------------------------------------------------------- rotmg
template <class R>
void rotmg(R *pd1, R *pd2, R *px1, const R *py1, R *param) {
  using K = fixed::Rotmg<R>;
  // The scalars may stand at any byte offset: read once, written once.
  R d1 = load_any(pd1), d2 = load_any(pd2), x1 = load_any(px1);
  const R y1 = load_any(py1);
  R flag, h11 = 0, h12 = 0, h21 = 0, h22 = 0;
  if (d1 < R(0)) {
    flag = -1;
    d1 = 0, d2 = 0, x1 = 0;
  } else {
    R p2 = d2 * y1;
    if (p2 == R(0)) {
      store_any(param, R(-2));
      return;
    }
    R p1 = d1 * x1, q2 = p2 * y1, q1 = p1 * x1;
    if (std::fabs(q1) > std::fabs(q2)) {
      R t = y1 / p1;
      h12 = t * d2;
      h21 = -(d1 * t);
      R u = R(1) - h21 * h12, ru = R(1) / u;
      flag = 0;
      x1 = x1 * u;
      d1 = d1 * ru;
      d2 = d2 * ru;
    } else if (q2 < R(0)) {
      flag = -1;
      d1 = 0, d2 = 0, x1 = 0;
    } else {
      R t = x1 / p2;
      h11 = d1 * t;
      h22 = d2 * t;
      R u = h11 * h22 + R(1), ru = R(1) / u;
      flag = 1;
      x1 = u * y1;
      R old_d1 = d1;
      d1 = d2 * ru;
      d2 = old_d1 * ru;
    }
    auto to_full = [&]() {
      if (flag == R(0)) h11 = 1, h22 = 1;
      else if (flag > R(0)) h21 = -1, h12 = 1;
      flag = -1;
    };
    if (d1 != R(0)) {
      while (d1 <= K::rgamsq || d1 >= K::gamsq) {
        to_full();
        if (d1 <= K::rgamsq) {
          d1 = d1 * K::gamsq;
          x1 = x1 * K::rgam, h11 = h11 * K::rgam, h12 = h12 * K::rgam;
        } else {
          d1 = d1 * K::rgamsq;
          x1 = x1 * K::gam, h11 = h11 * K::gam, h12 = h12 * K::gam;
        }
      }
    }
    if (d2 != R(0)) {
      while (std::fabs(d2) <= K::rgamsq || std::fabs(d2) >= K::gamsq) {
        to_full();
        if (std::fabs(d2) <= K::rgamsq) {
          d2 = d2 * K::gamsq;
          h21 = h21 * K::rgam, h22 = h22 * K::rgam;
        } else {
          d2 = d2 * K::rgamsq;
          h21 = h21 * K::gam, h22 = h22 * K::gam;
        }
      }
    }
  }
  store_any(pd1, d1), store_any(pd2, d2), store_any(px1, x1);
  if (flag < R(0)) store_any(param + 1, h11), store_any(param + 2, h21), store_any(param + 3, h12), store_any(param + 4, h22);
  else if (flag == R(0)) store_any(param + 2, h21), store_any(param + 3, h12);
  else store_any(param + 1, h11), store_any(param + 4, h22);
  store_any(param, flag);
}

}  // namespace
}  // namespace zor::blas

using namespace zor::blas;
using zor::cplx;
using zor::load_any;

// clang-format off
ZOR_API void zor_blas_xsrot(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy, const float *c, const float *s) { rot<float, float, fixed::kRot.s>(*n, x, *incx, y, *incy, *c, *s); }
ZOR_API void zor_blas_xdrot(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy, const double *c, const double *s) { rot<double, double, fixed::kRot.d>(*n, x, *incx, y, *incy, load_any(c), load_any(s)); }
ZOR_API void zor_blas_xcsrot(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy, const float *c, const float *s) { rot<cplx<float>, float, fixed::kRot.c>(*n, x, *incx, y, *incy, *c, *s); }
ZOR_API void zor_blas_xzdrot(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy, const double *c, const double *s) { rot<cplx<double>, double, fixed::kRot.z>(*n, x, *incx, y, *incy, load_any(c), load_any(s)); }
ZOR_API void zor_blas_xcrot(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy, const float *c, const void *s) { rot<cplx<float>, cplx<float>, fixed::kRotComplexS>(*n, x, *incx, y, *incy, *c, *static_cast<const cplx<float> *>(s)); }
ZOR_API void zor_blas_xzrot(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy, const double *c, const void *s) { rot<cplx<double>, cplx<double>, fixed::kRotComplexS>(*n, x, *incx, y, *incy, load_any(c), load_any(static_cast<const cplx<double> *>(s))); }
ZOR_API void zor_blas_srotg(float *a, float *b, float *c, float *s) { rotg(a, b, c, s); }
ZOR_API void zor_blas_drotg(double *a, double *b, double *c, double *s) { rotg(a, b, c, s); }
ZOR_API void zor_blas_crotg(void *a, const void *b, float *c, void *s) { crotg(static_cast<cplx<float> *>(a), static_cast<const cplx<float> *>(b), c, static_cast<cplx<float> *>(s)); }
ZOR_API void zor_blas_zrotg(void *a, const void *b, double *c, void *s) { crotg(static_cast<cplx<double> *>(a), static_cast<const cplx<double> *>(b), c, static_cast<cplx<double> *>(s)); }
ZOR_API void zor_blas_srotm(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy, const float *param) { rotm<float, fixed::kRotm[0]>(*n, x, *incx, y, *incy, param); }
ZOR_API void zor_blas_drotm(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy, const double *param) { rotm<double, fixed::kRotm[1]>(*n, x, *incx, y, *incy, param); }
ZOR_API void zor_blas_srotmg(float *d1, float *d2, float *x1, const float *y1, float *param) { rotmg(d1, d2, x1, y1, param); }
ZOR_API void zor_blas_drotmg(double *d1, double *d2, double *x1, const double *y1, double *param) { rotmg(d1, d2, x1, y1, param); }
// clang-format on
