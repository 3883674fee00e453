// y := alpha op(A) x + beta y with a real matrix A and complex alpha, beta,
// x, y (dzgemv in double, scgemv in single precision). A is real, so every
// transposition but 'N' is the plain transpose.
//
// y is first scaled by beta through the complex scal of the level-1 family
// (or cleared for beta = 0, without being read); alpha = 0 ends there.
// Below 4 rows or 4 columns one direct pass over the interleaved data does
// the product. Otherwise the product alpha x is split into its real and
// imaginary parts, y likewise, into four scratch vectors from the pool; the
// real product runs twice on A with alpha 1 and beta 1, once for each part,
// and the parts of y are joined again. A scratch vector that cannot be had
// sends the call to the direct pass: the same product, with the same bits
// for 'N' (every element of y takes its columns in order either way); a
// transposed sum there runs the rows in order, where the real product's dot
// keeps two lanes, so it rounds apart from the split path by a few units.
#include <zor/blas.h>

#include "blas/level2_gemv.hpp"
#include "frame/memory.hpp"

namespace zor::blas::gemv {
namespace {

// The product in one pass over A; x and y at their logical starts.
template <class R>
void direct(bool no_trans, int64_t m, int64_t n, cplx<R> alpha, const R *a, int64_t lda, const cplx<R> *x,
            int64_t incx, cplx<R> *y, int64_t incy) {
  for (int64_t j = 0; j < n; ++j) {
    const R *c = a + j * lda;
    if (no_trans) {
      const cplx<R> t = alpha * load_any(x + j * incx);
      for (int64_t i = 0; i < m; ++i) store_any(y + i * incy, load_any(y + i * incy) + load_any(c + i) * t);
    } else {
      cplx<R> s{R(0), R(0)};
      for (int64_t i = 0; i < m; ++i) s = s + load_any(c + i) * load_any(x + i * incx);
      store_any(y + j * incy, load_any(y + j * incy) + alpha * s);
    }
  }
}

template <class R>
void mixed_gemv(const char *trans, int64_t m, int64_t n, cplx<R> alpha, const R *a, int64_t lda, const cplx<R> *x,
                int64_t incx, cplx<R> beta, cplx<R> *y, int64_t incy) {
  using Complex = traits_of<cplx<R>>;
  if (m == 0 || n == 0) return;
  if (is_zero(alpha) && is_one(beta)) return;
  const bool no_trans = read_trans(trans) == Trans::N;
  const int64_t leny = no_trans ? m : n, lenx = no_trans ? n : m;
  cplx<R> *ys = vector_start(y, leny, incy);
  if (is_zero(beta)) {
    for (int64_t i = 0; i < leny; ++i) store_any(ys + i * incy, cplx<R>{R(0), R(0)});
  } else if (!is_one(beta)) {
    imports<Complex>::scal(&leny, &beta, y, &incy);
  }
  if (is_zero(alpha)) return;
  const cplx<R> *xs = vector_start(x, lenx, incx);
  if (m < fixed::kMixedDirectBelow || n < fixed::kMixedDirectBelow) {
    direct(no_trans, m, n, alpha, a, lda, xs, incx, ys, incy);
    return;
  }
  constexpr int32_t align = fixed::kMixedScratchAlignment;
  frame::PooledBuffer xr_buf(uint64_t(lenx) * sizeof(R), align), xi_buf(uint64_t(lenx) * sizeof(R), align);
  frame::PooledBuffer yr_buf(uint64_t(leny) * sizeof(R), align), yi_buf(uint64_t(leny) * sizeof(R), align);
  if (!xr_buf || !xi_buf || !yr_buf || !yi_buf) {
    direct(no_trans, m, n, alpha, a, lda, xs, incx, ys, incy);
    return;
  }
  R *xr = static_cast<R *>(xr_buf.get()), *xi = static_cast<R *>(xi_buf.get());
  R *yr = static_cast<R *>(yr_buf.get()), *yi = static_cast<R *>(yi_buf.get());
  int64_t i = 0;
  for (; i + 2 <= lenx; i += 2) {
    const cplx<R> u = alpha * load_any(xs + i * incx), v = alpha * load_any(xs + (i + 1) * incx);
    xr[i] = u.re, xi[i] = u.im, xr[i + 1] = v.re, xi[i + 1] = v.im;
  }
  if (i < lenx) {
    const cplx<R> u = alpha * load_any(xs + i * incx);
    xr[i] = u.re, xi[i] = u.im;
  }
  for (i = 0; i + 2 <= leny; i += 2) {
    const cplx<R> u = load_any(ys + i * incy), v = load_any(ys + (i + 1) * incy);
    yr[i] = u.re, yi[i] = u.im, yr[i + 1] = v.re, yi[i + 1] = v.im;
  }
  if (i < leny) {
    const cplx<R> u = load_any(ys + i * incy);
    yr[i] = u.re, yi[i] = u.im;
  }
  const zor_int mm = m, nn = n, ld = lda, one = 1;
  const R unit = R(1);
  imports<traits_of<R>>::xgemv(trans, &mm, &nn, &unit, a, &ld, xr, &one, &unit, yr, &one);
  imports<traits_of<R>>::xgemv(trans, &mm, &nn, &unit, a, &ld, xi, &one, &unit, yi, &one);
  for (i = 0; i + 2 <= leny; i += 2) {
    store_any(ys + i * incy, cplx<R>{yr[i], yi[i]});
    store_any(ys + (i + 1) * incy, cplx<R>{yr[i + 1], yi[i + 1]});
  }
  if (i < leny) store_any(ys + i * incy, cplx<R>{yr[i], yi[i]});
}

template <class R>
void entry(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const R *a, const zor_int *lda,
           const void *x, const zor_int *incx, const void *beta, void *y, const zor_int *incy) {
  mixed_gemv<R>(trans, *m, *n, load_any(static_cast<const cplx<R> *>(alpha)), a, *lda, static_cast<const cplx<R> *>(x),
                *incx, load_any(static_cast<const cplx<R> *>(beta)), static_cast<cplx<R> *>(y), *incy);
}

}  // namespace
}  // namespace zor::blas::gemv

// clang-format off
ZOR_API void zor_blas_dzgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const double *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y, const zor_int *incy) { zor::blas::gemv::entry<double>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
ZOR_API void zor_blas_scgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const float *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y, const zor_int *incy) { zor::blas::gemv::entry<float>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
// clang-format on
