// y := alpha op(A) x + beta y in double complex; op is A, A^T, or A^H for
// any transposition byte other than N, n, T, t.
//
// The frame is the double product's: m or n of 0, or alpha 0 (both parts)
// with beta 1, return at once; y is scaled (beta 0 stores zeros without
// reading y); alpha 0 returns. With a, x and y on 8-byte boundaries the
// kernels run, on unit strides directly and on any other increment through
// the packing buffers of 128 and 1000 elements in this frame (blocks of 128
// columns, chunks of 1000 rows). Otherwise plain loops.
//
// A double complex number fills one vector, so every column is in the
// phase of the matrix base whatever lda is: each kernel is one body with
// aligned and 8-byte-off loads as template variants. Columns go in groups
// of four, then two, then one; in each group the rows go 4, 2, 1 a step.
// 'N': y[i] := (((y[i] + t0 a0[i]) + t1 a1[i]) + ...), t_k = alpha x[j + k].
// Transposed: per column the real and imaginary parts of x are each summed
// against the column, lane by lane, and joined into sum a[i] x[i] (or
// conj(a[i]) x[i]) at the end; then y[j] := y[j] + alpha sum.
#include <zor/blas.h>

#include <algorithm>

#include "blas/level1_skeleton.hpp"
#include "blas/level2_gemv.hpp"

namespace zor::blas::gemv {
namespace {

using simd::f64x2;
using Z = cplx<double>;

enum class Op { N, T, C };

template <bool Aligned>
ZOR_HOT inline f64x2 load(const Z *p) {
  if constexpr (Aligned) return simd::load_a(&p->re);
  else return simd::load_u(&p->re);
}
template <bool Aligned>
ZOR_HOT inline void store(Z *p, f64x2 v) {
  if constexpr (Aligned) simd::store_a(&p->re, v);
  else simd::store_u(&p->re, v);
}

// t a for t held as (re broadcast, im broadcast).
ZOR_HOT inline f64x2 times(f64x2 tr, f64x2 ti, f64x2 a) {
  return simd::addsub(simd::mul(tr, a), simd::mul(ti, simd::swap_lanes(a)));
}
template <int Cols, bool AAl, bool VAl>
void n_group(int64_t m, const Z *a, int64_t lda, const Z *x, Z alpha, Z *y) {
  f64x2 tr[Cols], ti[Cols];
  const Z *c[Cols];
  for (int k = 0; k < Cols; ++k) {
    const Z t = alpha * x[k];
    tr[k] = simd::splat(t.re), ti[k] = simd::splat(t.im);
    c[k] = a + k * lda;
  }
  auto row = [&](int64_t i) ZOR_HOT {
    f64x2 v = load<VAl>(y + i);
    for (int k = 0; k < Cols; ++k) v = simd::add(v, times(tr[k], ti[k], load<AAl>(c[k] + i)));
    store<VAl>(y + i, v);
  };
  int64_t i = 0;
  for (; i + 4 <= m; i += 4) {
#pragma GCC unroll 4
    for (int u = 0; u < 4; ++u) row(i + u);
  }
  if (i + 2 <= m) row(i), row(i + 1), i += 2;
  if (i < m) row(i);
}

template <int Cols, bool Conj, bool AAl, bool VAl>
void t_group(int64_t m, const Z *a, int64_t lda, const Z *x, Z alpha, Z *y) {
  // Per column p := sum a[i] re(x[i]) and q := sum a[i] im(x[i]), lane by
  // lane; the products join only at the end, so no row needs a shuffle of
  // the matrix.
  f64x2 p[Cols], q[Cols];
  const Z *c[Cols];
  for (int k = 0; k < Cols; ++k) p[k] = q[k] = simd::zero<f64x2>(), c[k] = a + k * lda;
  auto row = [&](int64_t i) ZOR_HOT {
    const f64x2 xv = load<VAl>(x + i), xr = simd::dup_lo(xv), xi = simd::dup_hi(xv);
    for (int k = 0; k < Cols; ++k) {
      const f64x2 av = load<AAl>(c[k] + i);
      p[k] = simd::add(p[k], simd::mul(av, xr));
      q[k] = simd::add(q[k], simd::mul(av, xi));
    }
  };
  int64_t i = 0;
  for (; i + 4 <= m; i += 4) {
#pragma GCC unroll 4
    for (int u = 0; u < 4; ++u) row(i + u);
  }
  if (i + 2 <= m) row(i), row(i + 1), i += 2;
  if (i < m) row(i);
  const f64x2 ar = simd::splat(alpha.re), ai = simd::splat(alpha.im);
  for (int k = 0; k < Cols; ++k) {
    // a x = [p0 - q1, p1 + q0]; conj(a) x = [p0 + q1, q0 - p1].
    const f64x2 qs = simd::swap_lanes(q[k]);
    const f64x2 acc = Conj ? simd::add(qs, simd::conj_lanes(p[k])) : simd::addsub(p[k], qs);
    f64x2 v = simd::add(load<false>(y + k), times(ar, ai, acc));
    store<false>(y + k, v);
  }
}

template <Op O, bool AAl, bool VAl>
void columns(int64_t m, int64_t n, Z alpha, const Z *a, int64_t lda, const Z *x, Z *y) {
  int64_t j = 0;
  auto group = [&]<int Cols>() {
    if constexpr (O == Op::N) n_group<Cols, AAl, VAl>(m, a + j * lda, lda, x + j, alpha, y);
    else t_group<Cols, O == Op::C, AAl, VAl>(m, a + j * lda, lda, x, alpha, y + j);
  };
  for (; j + 4 <= n; j += 4) group.template operator()<4>();
  if (j + 2 <= n) group.template operator()<2>(), j += 2;
  if (j < n) group.template operator()<1>();
}

// One kernel per operation: the variant by the 16-byte phase of the matrix
// and of the vector the rows run over (y for 'N', x transposed).
template <Op O>
void kernel(int64_t m, int64_t n, Z alpha, const Z *a, int64_t lda, const Z *x, Z *y) {
  const bool aal = aligned(a, 16), val = aligned(O == Op::N ? static_cast<const void *>(y) : x, 16);
  if (aal && val) columns<O, true, true>(m, n, alpha, a, lda, x, y);
  else if (aal) columns<O, true, false>(m, n, alpha, a, lda, x, y);
  else if (val) columns<O, false, true>(m, n, alpha, a, lda, x, y);
  else columns<O, false, false>(m, n, alpha, a, lda, x, y);
}

void plain(Op op, int64_t m, int64_t n, Z alpha, const Z *a, int64_t lda, const Z *x, int64_t incx, Z *y,
           int64_t incy) {
  for (int64_t j = 0; j < n; ++j) {
    const Z *c = a + j * lda;
    if (op == Op::N) {
      const Z t = alpha * x[j * incx];
      for (int64_t i = 0; i < m; ++i) y[i * incy] = y[i * incy] + t * c[i];
    } else {
      Z s{0.0, 0.0};
      for (int64_t i = 0; i < m; ++i) s = s + (op == Op::C ? conj(c[i]) : c[i]) * x[i * incx];
      y[j * incy] = y[j * incy] + alpha * s;
    }
  }
}

inline bool zero(Z a) { return a.re == 0.0 && a.im == 0.0; }

void xzgemv(char trans, int64_t m, int64_t n, Z alpha, const Z *a, int64_t lda, const Z *x, int64_t incx, Z beta,
            Z *y, int64_t incy) {
  if (m == 0 || n == 0) return;
  const bool beta_one = beta.re == 1.0 && beta.im == 0.0;
  if (zero(alpha) && beta_one) return;
  const Op op = is_no_trans(trans) ? Op::N : (trans == 'T' || trans == 't') ? Op::T : Op::C;
  const int64_t leny = op == Op::N ? m : n, lenx = op == Op::N ? n : m;
  const Z *xs = vector_start(x, lenx, incx);
  Z *ys = vector_start(y, leny, incy);
  if (zero(beta)) {
    for (int64_t i = 0; i < leny; ++i) ys[i * incy] = Z{0.0, 0.0};
  } else if (!beta_one) {
    const zor_int len = leny, inc = incy;
    zor_blas_zscal(&len, &beta, y, &inc);
  }
  if (zero(alpha)) return;
  if (!aligned(a, 8) || !aligned(x, 8) || !aligned(y, 8)) {
    plain(op, m, n, alpha, a, lda, xs, incx, ys, incy);
    return;
  }
  const auto run = op == Op::N ? kernel<Op::N> : op == Op::T ? kernel<Op::T> : kernel<Op::C>;
  if (incx == 1 && incy == 1) {
    run(m, n, alpha, a, lda, x, y);
    return;
  }
  strided_product(op == Op::N, m, n, alpha, a, lda, xs, incx, ys, incy, run);
}

}  // namespace
}  // namespace zor::blas::gemv

// clang-format off
ZOR_API void zor_blas_xzgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const void *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y, const zor_int *incy) {
  using zor::cplx;
  zor::blas::gemv::xzgemv(*trans, *m, *n, *static_cast<const cplx<double> *>(alpha), static_cast<const cplx<double> *>(a), *lda, static_cast<const cplx<double> *>(x), *incx, *static_cast<const cplx<double> *>(beta), static_cast<cplx<double> *>(y), *incy);
}
// clang-format on
