// Rotations and reflectors applied across two or three vectors.
//
// ?lartv: a vector of rotations, one per element pair:
//   x[i] := c[i] x[i] + s[i] y[i];  y[i] := c[i] y[i] - conj(s[i]) x[i]
// with the old x[i] in the second (c real; s complex in the complex forms,
// whose one increment incc walks both c and s). Increments start at the
// first element whatever their sign, as the published routine walks them.
//
// ?rot2: the reflector H = I - tau u u^T, u = (1, v), applied to the rows
// x and y of n columns: t := (v y[i] + x[i]) tau; x[i] -= t; y[i] -= t v.
// Complex: t := (x[i] + v y[i]) tau; x[i] -= t; y[i] -= conj(v) t.
// ?rot3: the order-3 form with u = (1, p, q):
//   t := ((x[i] + p y[i]) + q z[i]) tau; x[i] -= t; y[i] -= p t; z[i] -= q t
// and in the complex forms, like ?rot2, y[i] -= conj(p) t, z[i] -= conj(q) t.
// Both vectors (three) are contiguous whatever the increments say: the
// increments stand in the argument lists and are not read.
//
// Vector paths (real forms): ?lartv with all increments 1, ?rot2 and ?rot3
// always, from two elements on: elements are peeled one by one until the
// last vector (y; z for ?rot3) stands on a 16-byte boundary, then whole
// vectors run, that one aligned and the others read (and written) unaligned,
// then a scalar tail. Each element sees the same operations on every path,
// so the paths agree bit for bit. Complex forms and other increments run a
// plain loop.
#include <zor/lapack.h>

#include <cstdint>

#include "frame/simd.hpp"
#include "lapack/elements.hpp"

namespace zor::lapack {
namespace {

// Runs op over elements [0, n): scalar until `anchor` + i is 16-byte
// aligned (if it can be), then whole vectors, then the scalar tail.
// op.one(i) does one element, op.vec(i) lanes<R> elements from i on, with
// `anchor` + i aligned.
template <class R, class Op>
void peeled(int64_t n, const R *anchor, const Op &op) {
  int64_t i = 0;
  if (aligned_to(anchor, sizeof(R))) {
    for (; i < n && phase(anchor + i) != 0; ++i) op.one(i);
    for (; i + lanes<R> <= n; i += lanes<R>) op.vec(i);
  }
  for (; i < n; ++i) op.one(i);
}

// ---------------------------------------------------------------- lartv
template <class E>
void lartv(int64_t n, E *x, int64_t incx, E *y, int64_t incy, const real_t<E> *c, const E *s, int64_t incc) {
  using R = real_t<E>;
  if constexpr (!is_complex_v<E>) {
    if (incx == 1 && incy == 1 && incc == 1 && n >= 2) {
      struct Op {
        R *x, *y;
        const R *c, *s;
        void one(int64_t i) const {
          R xi = x[i], yi = y[i];
          x[i] = c[i] * xi + s[i] * yi;
          y[i] = c[i] * yi - s[i] * xi;
        }
        void vec(int64_t i) const {
          vec_t<R> xi = simd::load_u(x + i), yi = simd::load_a(y + i), ci = simd::load_u(c + i),
                 si = simd::load_u(s + i);
          simd::store_u(x + i, simd::add(simd::mul(ci, xi), simd::mul(si, yi)));
          simd::store_a(y + i, simd::sub(simd::mul(ci, yi), simd::mul(si, xi)));
        }
      };
      peeled<R>(n, y, Op{x, y, c, s});
      return;
    }
  }
  for (int64_t i = 0, ix = 0, iy = 0, ic = 0; i < n; ++i, ix += incx, iy += incy, ic += incc) {
    E xi = x[ix], yi = y[iy];
    x[ix] = times_real(xi, c[ic]) + s[ic] * yi;
    y[iy] = times_real(yi, c[ic]) - conj_if<true>(s[ic]) * xi;
  }
}

// ---------------------------------------------------------------- rot2, rot3
template <class E>
void rot2(int64_t n, E *x, E *y, E tau, E v) {
  using R = real_t<E>;
  if (n < 1) return;
  if constexpr (!is_complex_v<E>) {
    if (n >= 2) {
      struct Op {
        R *x, *y;
        R tau, v;
        vec_t<R> vtau, vv;
        void one(int64_t i) const {
          R t = (v * y[i] + x[i]) * tau;
          x[i] = x[i] - t;
          y[i] = y[i] - t * v;
        }
        void vec(int64_t i) const {
          vec_t<R> xi = simd::load_u(x + i), yi = simd::load_a(y + i);
          vec_t<R> t = simd::mul(simd::add(simd::mul(vv, yi), xi), vtau);
          simd::store_u(x + i, simd::sub(xi, t));
          simd::store_a(y + i, simd::sub(yi, simd::mul(t, vv)));
        }
      };
      peeled<R>(n, y, Op{x, y, tau, v, simd::splat(tau), simd::splat(v)});
      return;
    }
  }
  const E cv = conj_if<true>(v);
  for (int64_t i = 0; i < n; ++i) {
    E t = (x[i] + v * y[i]) * tau;
    x[i] = x[i] - t;
    y[i] = y[i] - cv * t;
  }
}

template <class E>
void rot3(int64_t n, E *x, E *y, E *z, E tau, E p, E q) {
  using R = real_t<E>;
  if (n < 1) return;
  if constexpr (!is_complex_v<E>) {
    if (n >= 2) {
      struct Op {
        R *x, *y, *z;
        R tau, p, q;
        vec_t<R> vtau, vp, vq;
        void one(int64_t i) const {
          R t = ((x[i] + p * y[i]) + q * z[i]) * tau;
          x[i] = x[i] - t;
          y[i] = y[i] - p * t;
          z[i] = z[i] - q * t;
        }
        void vec(int64_t i) const {
          vec_t<R> xi = simd::load_u(x + i), yi = simd::load_u(y + i), zi = simd::load_a(z + i);
          vec_t<R> t = simd::mul(simd::add(simd::add(xi, simd::mul(vp, yi)), simd::mul(vq, zi)), vtau);
          simd::store_u(x + i, simd::sub(xi, t));
          simd::store_u(y + i, simd::sub(yi, simd::mul(vp, t)));
          simd::store_a(z + i, simd::sub(zi, simd::mul(vq, t)));
        }
      };
      peeled<R>(n, z, Op{x, y, z, tau, p, q, simd::splat(tau), simd::splat(p), simd::splat(q)});
      return;
    }
  }
  const E cp = conj_if<true>(p), cq = conj_if<true>(q);
  for (int64_t i = 0; i < n; ++i) {
    E t = ((x[i] + p * y[i]) + q * z[i]) * tau;
    x[i] = x[i] - t;
    y[i] = y[i] - cp * t;
    z[i] = z[i] - cq * t;
  }
}

}  // namespace
}  // namespace zor::lapack

using namespace zor::lapack;
using C8 = zor::cplx<float>;
using C16 = zor::cplx<double>;
template <class E> static E *el(void *p) { return static_cast<E *>(p); }
template <class E> static E val(const void *p) { return *static_cast<const E *>(p); }
// clang-format off
ZOR_API void zor_lapack_ps_slartv(const zor_int *n, float *x, const zor_int *incx, float *y, const zor_int *incy, const float *c, const float *s, const zor_int *incc) { lartv(*n, x, *incx, y, *incy, c, s, *incc); }
ZOR_API void zor_lapack_ps_dlartv(const zor_int *n, double *x, const zor_int *incx, double *y, const zor_int *incy, const double *c, const double *s, const zor_int *incc) { lartv(*n, x, *incx, y, *incy, c, s, *incc); }
ZOR_API void zor_lapack_ps_clartv(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy, const float *c, const void *s, const zor_int *incc) { lartv(*n, el<C8>(x), *incx, el<C8>(y), *incy, c, static_cast<const C8 *>(s), *incc); }
ZOR_API void zor_lapack_ps_zlartv(const zor_int *n, void *x, const zor_int *incx, void *y, const zor_int *incy, const double *c, const void *s, const zor_int *incc) { lartv(*n, el<C16>(x), *incx, el<C16>(y), *incy, c, static_cast<const C16 *>(s), *incc); }
ZOR_API void zor_lapack_ps_srot2(const zor_int *n, float *x, const zor_int *, float *y, const zor_int *, const float *tau, const float *v) { rot2(*n, x, y, *tau, *v); }
ZOR_API void zor_lapack_ps_drot2(const zor_int *n, double *x, const zor_int *, double *y, const zor_int *, const double *tau, const double *v) { rot2(*n, x, y, *tau, *v); }
ZOR_API void zor_lapack_ps_crot2(const zor_int *n, void *x, const zor_int *, void *y, const zor_int *, const void *tau, const void *v) { rot2(*n, el<C8>(x), el<C8>(y), val<C8>(tau), val<C8>(v)); }
ZOR_API void zor_lapack_ps_zrot2(const zor_int *n, void *x, const zor_int *, void *y, const zor_int *, const void *tau, const void *v) { rot2(*n, el<C16>(x), el<C16>(y), val<C16>(tau), val<C16>(v)); }
ZOR_API void zor_lapack_ps_srot3(const zor_int *n, float *x, const zor_int *, float *y, const zor_int *, float *z, const zor_int *, const float *tau, const float *p, const float *q) { rot3(*n, x, y, z, *tau, *p, *q); }
ZOR_API void zor_lapack_ps_drot3(const zor_int *n, double *x, const zor_int *, double *y, const zor_int *, double *z, const zor_int *, const double *tau, const double *p, const double *q) { rot3(*n, x, y, z, *tau, *p, *q); }
ZOR_API void zor_lapack_ps_crot3(const zor_int *n, void *x, const zor_int *, void *y, const zor_int *, void *z, const zor_int *, const void *tau, const void *p, const void *q) { rot3(*n, el<C8>(x), el<C8>(y), el<C8>(z), val<C8>(tau), val<C8>(p), val<C8>(q)); }
ZOR_API void zor_lapack_ps_zrot3(const zor_int *n, void *x, const zor_int *, void *y, const zor_int *, void *z, const zor_int *, const void *tau, const void *p, const void *q) { rot3(*n, el<C16>(x), el<C16>(y), el<C16>(z), val<C16>(tau), val<C16>(p), val<C16>(q)); }
// clang-format on
