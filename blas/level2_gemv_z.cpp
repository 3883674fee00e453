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

#include "blas/level2_gemv.hpp"

namespace zor::blas::gemv {
namespace {

using simd::f64x2;
using Z = cplx<double>;

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

template <int Cols, bool AAl, bool VAl>
void n_group(int64_t m, const Z *a, int64_t lda, const Z *x, Z alpha, Z *y) {
  simd::Csplat<double> t[Cols];
  const Z *c[Cols];
  for (int k = 0; k < Cols; ++k) {
    t[k] = simd::csplat(alpha * x[k]);
    c[k] = a + k * lda;
  }
  int64_t i = 0;
  auto rows = [&]<int Count>() ZOR_HOT {
#pragma GCC unroll 4
    for (int u = 0; u < Count; ++u, ++i) {
      f64x2 v = load<VAl>(y + i);
      for (int k = 0; k < Cols; ++k) v = simd::add(v, simd::cmul(t[k], load<AAl>(c[k] + i)));
      store<VAl>(y + i, v);
    }
  };
  ladder<4>(m, rows);
}

template <int Cols, bool Conj, bool AAl, bool VAl>
void t_group(int64_t m, const Z *a, int64_t lda, const Z *x, Z alpha, Z *y) {
  // Per column p := sum a[i] re(x[i]) and q := sum a[i] im(x[i]), lane by
  // lane; the products join only at the end, so no row needs a shuffle of
  // the matrix.
  f64x2 p[Cols], q[Cols];
  const Z *c[Cols];
  for (int k = 0; k < Cols; ++k) p[k] = q[k] = simd::zero<f64x2>(), c[k] = a + k * lda;
  int64_t i = 0;
  auto rows = [&]<int Count>() ZOR_HOT {
#pragma GCC unroll 4
    for (int u = 0; u < Count; ++u, ++i) {
      const f64x2 xv = load<VAl>(x + i), xr = simd::dup_re(xv), xi = simd::dup_im(xv);
      for (int k = 0; k < Cols; ++k) {
        const f64x2 av = load<AAl>(c[k] + i);
        p[k] = simd::add(p[k], simd::mul(av, xr));
        q[k] = simd::add(q[k], simd::mul(av, xi));
      }
    }
  };
  ladder<4>(m, rows);
  const simd::Csplat<double> al = simd::csplat(alpha);
  for (int k = 0; k < Cols; ++k) {
    // a x = [p0 - q1, p1 + q0]; conj(a) x = [p0 + q1, q0 - p1].
    const f64x2 qs = simd::flip(q[k]);
    const f64x2 acc = Conj ? simd::add(qs, simd::conj(p[k])) : simd::addsub(p[k], qs);
    f64x2 v = simd::add(load<false>(y + k), simd::cmul(al, acc));
    store<false>(y + k, v);
  }
}

template <Trans O, bool AAl, bool VAl>
void columns(int64_t m, int64_t n, Z alpha, const Z *a, int64_t lda, const Z *x, Z *y) {
  int64_t j = 0;
  auto group = [&]<int Cols>() {
    if constexpr (O == Trans::N) n_group<Cols, AAl, VAl>(m, a + j * lda, lda, x + j, alpha, y);
    else t_group<Cols, O == Trans::C, AAl, VAl>(m, a + j * lda, lda, x, alpha, y + j);
  };
  for (; j + 4 <= n; j += 4) group.template operator()<4>();
  if (j + 2 <= n) group.template operator()<2>(), j += 2;
  if (j < n) group.template operator()<1>();
}

// One kernel per operation: the variant by the 16-byte phase of the matrix
// and of the vector the rows run over (y for 'N', x transposed).
template <Trans O>
void kernel(int64_t m, int64_t n, Z alpha, const Z *a, int64_t lda, const Z *x, Z *y) {
  const bool aal = aligned_to(a, 16), val = aligned_to(O == Trans::N ? static_cast<const void *>(y) : x, 16);
  if (aal && val) columns<O, true, true>(m, n, alpha, a, lda, x, y);
  else if (aal) columns<O, true, false>(m, n, alpha, a, lda, x, y);
  else if (val) columns<O, false, true>(m, n, alpha, a, lda, x, y);
  else columns<O, false, false>(m, n, alpha, a, lda, x, y);
}

}  // namespace

template <>
struct GemvShape<zor::Z> {
  static bool kernel_path(const Z *a, const Z *x, const Z *y, int64_t, int64_t) {
    return aligned_to(a, 8) && aligned_to(x, 8) && aligned_to(y, 8);
  }
  static Kernel<Z> kernel(Trans op, int64_t) {
    return op == Trans::N ? gemv::kernel<Trans::N> : op == Trans::T ? gemv::kernel<Trans::T> : gemv::kernel<Trans::C>;
  }
  static constexpr auto plain = plain_complex<Z>;
};

}  // namespace zor::blas::gemv

// clang-format off
ZOR_API void zor_blas_xzgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const void *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y, const zor_int *incy) { zor::blas::gemv::gemv<zor::Z>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
// clang-format on
