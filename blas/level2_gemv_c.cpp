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

#include <type_traits>

#include "blas/level2_gemv.hpp"

namespace zor::blas::gemv {
namespace {

using simd::f32x4;
using Cx = cplx<float>;

inline const float *re(const Cx *p) { return &p->re; }

struct AlignedColumn {
  const float *a;
  AlignedColumn(const Cx *p, const Cx *) : a(re(p)) {}
  ZOR_HOT f32x4 next() {
    const f32x4 v = simd::load_a(a);
    a += 4;
    return v;
  }
};
// A column 8 bytes out of phase: the high element of one aligned vector and
// the low element of the next. Its reads reach one element past the pair;
// a reader with no rows left reads nothing (its first vector would hold the
// element after the column).
struct ShiftedColumn {
  const float *a;
  f32x4 prev;
  ShiftedColumn(const Cx *p, const Cx *end)
      : a(re(p) - 2), prev(p < end ? simd::load_a(re(p) - 2) : simd::zero<f32x4>()) {}
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

// Per column, the matrix times the real parts of x and times the imaginary
// parts, lane by lane; they are joined into the complex sum at the end, so
// no row needs a shuffle of the matrix.
template <int Cols>
ZOR_HOT inline void accumulate(const f32x4 *col, f32x4 xv, f32x4 *pr, f32x4 *pi) {
  const f32x4 xr = simd::dup_re(xv), xi = simd::dup_im(xv);
  for (int k = 0; k < Cols; ++k) {
    pr[k] = simd::add(pr[k], simd::mul(col[k], xr));
    pi[k] = simd::add(pi[k], simd::mul(col[k], xi));
  }
}

// Rows [i, m) of Cols columns, column 0 aligned at row i.
template <Trans O, bool OddLda, int Cols>
ZOR_HOT inline void rows(int64_t i, int64_t m, const Cx *const *c, const simd::Csplat<float> *t, Cx *v,
                         f32x4 *pr, f32x4 *pi) {
  ColumnGroup<Column, OddLda, Cols> g(c, i, m);
  Cx *p = v + i;  // y for 'N', x transposed
  f32x4 a[4];
  auto step = [&]() ZOR_HOT {
    a[0] = g.r0.next();
    if constexpr (Cols > 1) a[1] = g.r1.next();
    if constexpr (Cols > 2) a[2] = g.r2.next();
    if constexpr (Cols > 3) a[3] = g.r3.next();
  };
  auto apply = [&](f32x4 *col, int64_t at, bool one) ZOR_HOT {
    if constexpr (O == Trans::N) {
      f32x4 w = one ? one_at(v + at) : pair_at(v + at);
      for (int k = 0; k < Cols; ++k) w = simd::add(w, simd::cmul(t[k], col[k]));
      if (one) simd::store_pair(&v[at].re, w);
      else simd::store_u(&v[at].re, w);
    } else {
      const f32x4 xv = one ? one_at(v + at) : pair_at(v + at);
      accumulate<Cols>(col, xv, pr, pi);
    }
  };
  for (int64_t nv = g.vectors; nv > 0; --nv) {
    step();
    apply(a, p - v, false);
    p += 2;
  }
  if (g.last_pair_apart) {
    for (int k = 0; k < Cols; ++k) a[k] = pair_at(c[k] + m - 2);
    apply(a, m - 2, false);
  }
  if ((m - i) & 1) {
    for (int k = 0; k < Cols; ++k) a[k] = one_at(c[k] + m - 1);
    apply(a, m - 1, true);
  }
}

template <Trans O, bool OddLda, int Cols>
void group(int64_t m, const Cx *a, int64_t lda, const Cx *x, Cx alpha, Cx *y) {
  const Cx *c[Cols];
  simd::Csplat<float> t[4];
  f32x4 pr[4], pi[4];
  for (int k = 0; k < Cols; ++k) {
    c[k] = a + k * lda;
    pr[k] = pi[k] = simd::zero<f32x4>();
    if constexpr (O == Trans::N) t[k] = simd::csplat(alpha * x[k]);
  }
  Cx *v = O == Trans::N ? y : const_cast<Cx *>(x);  // the vector along the rows; read only when transposed
  if (m >= 1) {
    int64_t i = 0;
    if (!aligned_to(c[0], 16)) {
      f32x4 col[4];
      for (int k = 0; k < Cols; ++k) col[k] = one_at(c[k]);
      if constexpr (O == Trans::N) {
        f32x4 w = one_at(v);
        for (int k = 0; k < Cols; ++k) w = simd::add(w, simd::cmul(t[k], col[k]));
        simd::store_pair(&v[0].re, w);
      } else {
        accumulate<Cols>(col, one_at(v), pr, pi);
      }
      i = 1;
    }
    rows<O, OddLda, Cols>(i, m, c, t, v, pr, pi);
  }
  if constexpr (O != Trans::N) {
    for (int k = 0; k < Cols; ++k) {
      alignas(16) float p[4], q[4];
      simd::store_a(p, pr[k]);
      simd::store_a(q, pi[k]);
      const float p0 = p[0] + p[2], p1 = p[1] + p[3], q0 = q[0] + q[2], q1 = q[1] + q[3];
      // a x = (p0 - q1, p1 + q0); conj(a) x = (p0 + q1, q0 - p1)
      const Cx s = O == Trans::C ? Cx{p0 + q1, q0 - p1} : Cx{p0 - q1, p1 + q0};
      y[k] = y[k] + alpha * s;
    }
  }
}

template <Trans O, bool OddLda>
void kernel(int64_t m, int64_t n, Cx alpha, const Cx *a, int64_t lda, const Cx *x, Cx *y) {
  column_groups(n, [&]<int Cols>(int64_t j) {
    if constexpr (O == Trans::N) group<O, OddLda, Cols>(m, a + j * lda, lda, x + j, alpha, y);
    else group<O, OddLda, Cols>(m, a + j * lda, lda, x, alpha, y + j);
  });
}

}  // namespace

// Six kernels: 'N', transposed and conjugate, each for an even and an odd lda.
template <>
struct GemvShape<C> {
  static bool kernel_path(const Cx *a, const Cx *x, const Cx *y, int64_t, int64_t) {
    return aligned_to(a, 8) && aligned_to(x, 8) && aligned_to(y, 8);
  }
  static Kernel<Cx> kernel(Trans op, int64_t lda) {
    static constexpr Kernel<Cx> kernels[3][2] = {{gemv::kernel<Trans::N, false>, gemv::kernel<Trans::N, true>},
                                                 {gemv::kernel<Trans::T, false>, gemv::kernel<Trans::T, true>},
                                                 {gemv::kernel<Trans::C, false>, gemv::kernel<Trans::C, true>}};
    return kernels[op == Trans::N ? 0 : op == Trans::T ? 1 : 2][lda & 1];
  }
  static constexpr auto plain = plain_complex<Cx>;
};

}  // namespace zor::blas::gemv

// clang-format off
ZOR_API void zor_blas_xcgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const void *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y, const zor_int *incy) { zor::blas::gemv::gemv<zor::C>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
// clang-format on
