// cspr: A := alpha x x^T + A for a complex symmetric (not Hermitian) matrix
// in packed storage, single precision; the routine the published LAPACK
// carries beside its BLAS.
//
// Returns for n < 1 or alpha = 0 (both parts). uplo 'U' (either case, by
// zor_serv_lsame) packs the upper triangle column by column (column j holds
// rows 1 .. j), anything else the lower one (rows j .. n). Columns with
// x[j] = 0 (both parts) are skipped; otherwise t := alpha x[j] and the
// column takes ap += x t over its rows; the diagonal is updated like the
// others (its imaginary part is not forced). With incx 1 the column runs as
// a vector loop: one element peeled when the packed column stands 8 bytes
// off a 16-byte boundary, then four elements a pass, x read unaligned; a
// product x t is formed as in the scalar formula, so every path gives the
// same bits. Other increments walk x with the stride, a negative one from
// the far end.
#include <zor/lapack.h>
#include <zor/serv.h>

#include <cstdint>

#include "frame/simd.hpp"
#include "lapack/elements.hpp"

namespace zor::lapack {
namespace {

using C8 = cplx<float>;

// col[i] += x[i] t for i < len, unit strides.
void column_update(int64_t len, C8 t, const C8 *x, C8 *col) {
  int64_t i = 0;
  if (aligned_to(col, 8)) {
    if (phase(col) != 0 && len > 0) {
      col[0] = col[0] + x[0] * t;
      i = 1;
    }
    const simd::Csplat<float> f = simd::csplat(t);
    auto product = [&](simd::f32x4 v) { return simd::cmul(f, v); };
    float *c = reinterpret_cast<float *>(col);
    const float *xs = reinterpret_cast<const float *>(x);
    for (; i + 4 <= len; i += 4) {
      simd::f32x4 p0 = product(simd::load_u(xs + 2 * i)), p1 = product(simd::load_u(xs + 2 * i + 4));
      simd::store_a(c + 2 * i, simd::add(simd::load_a(c + 2 * i), p0));
      simd::store_a(c + 2 * i + 4, simd::add(simd::load_a(c + 2 * i + 4), p1));
    }
  }
  for (; i < len; ++i) col[i] = col[i] + x[i] * t;
}

void spr(bool upper, int64_t n, C8 alpha, const C8 *x, int64_t incx, C8 *ap) {
  if (n < 1 || is_zero(alpha)) return;
  int64_t kk = 0;  // start of column j in ap
  if (incx == 1) {
    for (int64_t j = 0; j < n; ++j) {
      const int64_t first = upper ? 0 : j, len = upper ? j + 1 : n - j;
      if (!is_zero(x[j])) column_update(len, alpha * x[j], x + first, ap + kk);
      kk += len;
    }
    return;
  }
  const int64_t kx = incx > 0 ? 0 : -(n - 1) * incx;  // position of x[1]
  for (int64_t j = 0; j < n; ++j) {
    const int64_t first = upper ? 0 : j, len = upper ? j + 1 : n - j;
    const C8 xj = x[kx + j * incx];
    if (!is_zero(xj)) {
      const C8 t = alpha * xj;
      const C8 *xi = x + kx + first * incx;
      for (int64_t i = 0; i < len; ++i, xi += incx) ap[kk + i] = ap[kk + i] + *xi * t;
    }
    kk += len;
  }
}

}  // namespace
}  // namespace zor::lapack

ZOR_API void zor_lapack_ps_cspr(const char *uplo, const zor_int *n, const void *alpha, const void *x,
                                const zor_int *incx, void *ap) {
  using zor::lapack::C8;
  zor::lapack::spr(zor_serv_lsame(uplo, "U") != 0, *n, *static_cast<const C8 *>(alpha), static_cast<const C8 *>(x),
                   *incx, static_cast<C8 *>(ap));
}
