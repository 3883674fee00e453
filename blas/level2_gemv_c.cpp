// y := alpha op(A) x + beta y in single complex; op is A, A^T, or A^H for
// any transposition byte other than N, n, T, t.
//
// The frame is that of the double product: quick returns (alpha and beta
// are zero only when both parts are), y scaled with zeros stored for beta 0,
// alpha 0 returns; with a, x and y on 8-byte (element) boundaries the
// kernels run, on unit strides at once and on other increments through the
// packing buffers of 128 and 1000 elements; otherwise plain loops.
//
// A vector holds two elements, so the parity of lda decides the phase of
// the columns as for doubles: six kernels, 'N', transposed and conjugate,
// each for an even and an odd lda (odd columns of an odd lda merged from
// aligned vectors). If column 0 of a group is 8 bytes off, its first row is
// done alone. 'N': four columns a pass, y[i] := (((y[i] + t0 a0[i]) + t1
// a1[i]) + ...), t_k = alpha x[j + k]. Transposed: per column two
// accumulators of two complex lanes (the peeled row and a last odd row in
// lane 0), the column times the real and times the imaginary parts of x,
// joined into the complex sum at the end; y[j] := y[j] + alpha sum.
#include <zor/blas.h>

#include <algorithm>
#include <type_traits>

#include "blas/level1_skeleton.hpp"
#include "blas/level2_gemv.hpp"

namespace zor::blas::gemv {
namespace {

using simd::f32x4;
using Cx = cplx<float>;

enum class Op { N, T, C };

inline const float *re(const Cx *p) { return &p->re; }

struct AlignedColumn {
  const float *a;
  AlignedColumn(const Cx *p) : a(re(p)) {}
  ZOR_HOT f32x4 next() {
    const f32x4 v = simd::load_a(a);
    a += 4;
    return v;
  }
};
// A column 8 bytes out of phase: the high element of one aligned vector and
// the low element of the next. Its reads reach one element past the pair.
struct ShiftedColumn {
  const float *a;
  f32x4 prev;
  ShiftedColumn(const Cx *p) : a(re(p) - 2), prev(simd::load_a(re(p) - 2)) {}
  ZOR_HOT f32x4 next() {
    const f32x4 nx = simd::load_a(a + 4);
    const f32x4 v = simd::as_f32(simd::high_low(simd::as_f64(prev), simd::as_f64(nx)));
    prev = nx;
    a += 4;
    return v;
  }
};
template <bool Shifted>
using Column = std::conditional_t<Shifted, ShiftedColumn, AlignedColumn>;

ZOR_HOT inline f32x4 pair_at(const Cx *p) { return simd::load_u(re(p)); }
ZOR_HOT inline f32x4 one_at(const Cx *p) { return simd::load_pair(re(p)); }  // [re, im, 0, 0]

ZOR_HOT inline f32x4 times(f32x4 tr, f32x4 ti, f32x4 a) {
  return simd::addsub(simd::mul(tr, a), simd::mul(ti, simd::swap_pairs(a)));
}
// Per column, the matrix times the real parts of x and times the imaginary
// parts, lane by lane; they are joined into the complex sum at the end, so
// no row needs a shuffle of the matrix.
template <int Cols>
ZOR_HOT inline void accumulate(const f32x4 *col, f32x4 xv, f32x4 *pr, f32x4 *pi) {
  const f32x4 xr = simd::dup_even(xv), xi = simd::dup_odd(xv);
  for (int k = 0; k < Cols; ++k) {
    pr[k] = simd::add(pr[k], simd::mul(col[k], xr));
    pi[k] = simd::add(pi[k], simd::mul(col[k], xi));
  }
}

// Rows [i, m) of Cols columns, column 0 aligned at row i.
template <Op O, bool OddLda, int Cols>
ZOR_HOT inline void rows(int64_t i, int64_t m, const Cx *const *c, const f32x4 *tr, const f32x4 *ti, Cx *v,
                         f32x4 *pr, f32x4 *pi) {
  Column<false> r0(c[0] + i);
  Column<OddLda && (Cols > 1)> r1(c[Cols > 1 ? 1 : 0] + i);
  Column<false> r2(c[Cols > 2 ? 2 : 0] + i);
  Column<OddLda && (Cols > 3)> r3(c[Cols > 3 ? 3 : 0] + i);
  int64_t nv = (m - i) / 2;
  const bool last_pair_apart = OddLda && Cols > 1 && nv > 0 && ((m - i) & 1) == 0;
  nv -= last_pair_apart;
  Cx *p = v + i;  // y for 'N', x transposed
  f32x4 a[4];
  auto step = [&]() ZOR_HOT {
    a[0] = r0.next();
    if constexpr (Cols > 1) a[1] = r1.next();
    if constexpr (Cols > 2) a[2] = r2.next();
    if constexpr (Cols > 3) a[3] = r3.next();
  };
  auto apply = [&](f32x4 *col, int64_t at, bool one) ZOR_HOT {
    if constexpr (O == Op::N) {
      f32x4 w = one ? one_at(v + at) : pair_at(v + at);
      for (int k = 0; k < Cols; ++k) w = simd::add(w, times(tr[k], ti[k], col[k]));
      if (one) simd::store_pair(&v[at].re, w);
      else simd::store_u(&v[at].re, w);
    } else {
      const f32x4 xv = one ? one_at(v + at) : pair_at(v + at);
      accumulate<Cols>(col, xv, pr, pi);
    }
  };
  for (; nv > 0; --nv) {
    step();
    apply(a, p - v, false);
    p += 2;
  }
  if (last_pair_apart) {
    for (int k = 0; k < Cols; ++k) a[k] = pair_at(c[k] + m - 2);
    apply(a, m - 2, false);
  }
  if ((m - i) & 1) {
    for (int k = 0; k < Cols; ++k) a[k] = one_at(c[k] + m - 1);
    apply(a, m - 1, true);
  }
}

template <Op O, bool OddLda, int Cols>
void group(int64_t m, const Cx *a, int64_t lda, const Cx *x, Cx alpha, Cx *y) {
  const Cx *c[Cols];
  f32x4 tr[4], ti[4], pr[4], pi[4];
  for (int k = 0; k < Cols; ++k) {
    c[k] = a + k * lda;
    pr[k] = pi[k] = simd::zero<f32x4>();
    if constexpr (O == Op::N) {
      const Cx t = alpha * x[k];
      tr[k] = simd::splat(t.re), ti[k] = simd::splat(t.im);
    }
  }
  Cx *v = O == Op::N ? y : const_cast<Cx *>(x);  // the vector along the rows; read only when transposed
  if (m >= 1) {
    int64_t i = 0;
    if (!aligned(c[0], 16)) {
      f32x4 col[4];
      for (int k = 0; k < Cols; ++k) col[k] = one_at(c[k]);
      if constexpr (O == Op::N) {
        f32x4 w = one_at(v);
        for (int k = 0; k < Cols; ++k) w = simd::add(w, times(tr[k], ti[k], col[k]));
        simd::store_pair(&v[0].re, w);
      } else {
        accumulate<Cols>(col, one_at(v), pr, pi);
      }
      i = 1;
    }
    rows<O, OddLda, Cols>(i, m, c, tr, ti, v, pr, pi);
  }
  if constexpr (O != Op::N) {
    for (int k = 0; k < Cols; ++k) {
      alignas(16) float p[4], q[4];
      simd::store_a(p, pr[k]);
      simd::store_a(q, pi[k]);
      const float p0 = p[0] + p[2], p1 = p[1] + p[3], q0 = q[0] + q[2], q1 = q[1] + q[3];
      // a x = (p0 - q1, p1 + q0); conj(a) x = (p0 + q1, q0 - p1)
      const Cx s = O == Op::C ? Cx{p0 + q1, q0 - p1} : Cx{p0 - q1, p1 + q0};
      y[k] = y[k] + alpha * s;
    }
  }
}

template <Op O, bool OddLda>
void kernel(int64_t m, int64_t n, Cx alpha, const Cx *a, int64_t lda, const Cx *x, Cx *y) {
  int64_t j = 0;
  auto run = [&]<int Cols>() {
    if constexpr (O == Op::N) group<O, OddLda, Cols>(m, a + j * lda, lda, x + j, alpha, y);
    else group<O, OddLda, Cols>(m, a + j * lda, lda, x, alpha, y + j);
  };
  for (; j + 4 <= n; j += 4) run.template operator()<4>();
  switch (n - j) {
    case 3: run.template operator()<3>(); break;
    case 2: run.template operator()<2>(); break;
    case 1: run.template operator()<1>(); break;
    default: break;
  }
}

void plain(Op op, int64_t m, int64_t n, Cx alpha, const Cx *a, int64_t lda, const Cx *x, int64_t incx, Cx *y,
           int64_t incy) {
  for (int64_t j = 0; j < n; ++j) {
    const Cx *c = a + j * lda;
    if (op == Op::N) {
      const Cx t = alpha * x[j * incx];
      for (int64_t i = 0; i < m; ++i) y[i * incy] = y[i * incy] + t * c[i];
    } else {
      Cx s{0.0f, 0.0f};
      for (int64_t i = 0; i < m; ++i) s = s + (op == Op::C ? conj(c[i]) : c[i]) * x[i * incx];
      y[j * incy] = y[j * incy] + alpha * s;
    }
  }
}

inline bool zero(Cx a) { return a.re == 0.0f && a.im == 0.0f; }

using Kernel = void (*)(int64_t, int64_t, Cx, const Cx *, int64_t, const Cx *, Cx *);

void xcgemv(char trans, int64_t m, int64_t n, Cx alpha, const Cx *a, int64_t lda, const Cx *x, int64_t incx,
            Cx beta, Cx *y, int64_t incy) {
  if (m == 0 || n == 0) return;
  const bool beta_one = beta.re == 1.0f && beta.im == 0.0f;
  if (zero(alpha) && beta_one) return;
  const Op op = is_no_trans(trans) ? Op::N : (trans == 'T' || trans == 't') ? Op::T : Op::C;
  const bool no_trans = op == Op::N;
  const int64_t leny = no_trans ? m : n, lenx = no_trans ? n : m;
  const Cx *xs = vector_start(x, lenx, incx);
  Cx *ys = vector_start(y, leny, incy);
  if (zero(beta)) {
    for (int64_t i = 0; i < leny; ++i) ys[i * incy] = Cx{0.0f, 0.0f};
  } else if (!beta_one) {
    const zor_int len = leny, inc = incy;
    zor_blas_cscal(&len, &beta, y, &inc);
  }
  if (zero(alpha)) return;
  if (!aligned(a, 8) || !aligned(x, 8) || !aligned(y, 8)) {
    plain(op, m, n, alpha, a, lda, xs, incx, ys, incy);
    return;
  }
  static constexpr Kernel kernels[3][2] = {{kernel<Op::N, false>, kernel<Op::N, true>},
                                           {kernel<Op::T, false>, kernel<Op::T, true>},
                                           {kernel<Op::C, false>, kernel<Op::C, true>}};
  const Kernel run = kernels[int(op)][lda & 1];
  if (incx == 1 && incy == 1) {
    run(m, n, alpha, a, lda, x, y);
    return;
  }
  strided_product(no_trans, m, n, alpha, a, lda, xs, incx, ys, incy, run);
}

}  // namespace
}  // namespace zor::blas::gemv

// clang-format off
ZOR_API void zor_blas_xcgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const void *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y, const zor_int *incy) {
  using zor::cplx;
  zor::blas::gemv::xcgemv(*trans, *m, *n, *static_cast<const cplx<float> *>(alpha), static_cast<const cplx<float> *>(a), *lda, static_cast<const cplx<float> *>(x), *incx, *static_cast<const cplx<float> *>(beta), static_cast<cplx<float> *>(y), *incy);
}
// clang-format on
