// Entries of the complex micro-kernels: the main kernel of the row on the
// full A panels, then the row-tail kernel on the remaining rows.
#include <cstdint>

#include "gemm/kernel_complex.hpp"

namespace zor::gemm {

// Row tail: r < unroll_m rows of one padded A panel against every B panel,
// in scalar code that forms the same four depth-ordered sums per element as
// the vector kernels, so its rows equal theirs bit for bit.
template <class T>
void complex_row_tail(int64_t r, int64_t n, int64_t k, const typename T::real *a, const typename T::real *b,
                      int64_t b_stride, int tail_width, typename T::real *c, int64_t ldc) {
  using R = typename T::real;
  constexpr int UM = ComplexShape<T>::unroll_m;
  for (int64_t j = 0; j < n; ++j) {
    const R *panel = b + 2 * b_stride * (j / 2);
    const int width = n - j / 2 * 2 >= 2 ? 2 : tail_width;  // elements per depth step
    const R *bj = panel + 2 * (j % 2);
    for (int64_t i = 0; i < r; ++i) {
      const R *ai = a + 2 * i;
      R rr = 0, ii = 0, ir = 0, ri = 0;  // sums of ar*br, ai*bi, ai*br, ar*bi
      for (int64_t l = 0; l < k; ++l) {
        const R ar = ai[2 * UM * l], aim = ai[2 * UM * l + 1];
        const R br = bj[2 * width * l], bi = bj[2 * width * l + 1];
        rr = rr + ar * br;
        ii = ii + aim * bi;
        ir = ir + aim * br;
        ri = ri + ar * bi;
      }
      R *cij = c + 2 * (i + j * ldc);
      cij[0] = cij[0] + (rr - ii);
      cij[1] = cij[1] + (ir + ri);
    }
  }
}

template <class T, int Row>
void complex_kernel(int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
                    const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
                    typename T::real *dup) {
  constexpr int UM = ComplexShape<T>::unroll_m;
  if (m < 1 || n < 1) return;
  const int64_t m4 = m / UM * UM, r = m - m4;
  if (m4 > 0) {
    if constexpr (Row == 0) complex_main_row0<T>(m4, n, k, a, a_stride, b, b_stride, c, ldc, dup);
    else complex_main_row1<T>(m4, n, k, a, a_stride, b, b_stride, c, ldc, dup);
  }
  if (r > 0) {
    const int tail_width = Row == 0 ? 1 : ComplexShape<T>::per_vector;
    complex_row_tail<T>(r, n, k, a + 2 * a_stride * (m4 / UM), b, b_stride, tail_width, c + 2 * m4, ldc);
  }
}

template void complex_kernel<C, 0>(int64_t, int64_t, int64_t, const float *, int64_t, const float *, int64_t,
                                   float *, int64_t, float *);
template void complex_kernel<C, 1>(int64_t, int64_t, int64_t, const float *, int64_t, const float *, int64_t,
                                   float *, int64_t, float *);
template void complex_kernel<Z, 0>(int64_t, int64_t, int64_t, const double *, int64_t, const double *, int64_t,
                                   double *, int64_t, double *);
template void complex_kernel<Z, 1>(int64_t, int64_t, int64_t, const double *, int64_t, const double *, int64_t,
                                   double *, int64_t, double *);

namespace {
template <class T, int Row>
inline void entry(const int64_t *m, const int64_t *n, const int64_t *k, const void *a, const int64_t *a_stride,
                  const void *b, const int64_t *b_stride, void *c, const int64_t *ldc, void *dup) {
  using R = typename T::real;
  complex_kernel<T, Row>(*m, *n, *k, static_cast<const R *>(a), *a_stride, static_cast<const R *>(b), *b_stride,
                         static_cast<R *>(c), *ldc, static_cast<R *>(dup));
}
}  // namespace

// clang-format off
void gemm_kernel_c(const char *, const char *, const int64_t *m, const int64_t *n, const int64_t *k, const void *, const void *a, const int64_t *as, const void *b, const int64_t *bs, const void *, void *c, const int64_t *ldc, void *dup, int32_t) { entry<C, 0>(m, n, k, a, as, b, bs, c, ldc, dup); }
void gemm_kernel_z(const char *, const char *, const int64_t *m, const int64_t *n, const int64_t *k, const void *, const void *a, const int64_t *as, const void *b, const int64_t *bs, const void *, void *c, const int64_t *ldc, void *dup, int32_t) { entry<Z, 0>(m, n, k, a, as, b, bs, c, ldc, dup); }
void gemm_kernel_c_bvr(const char *, const char *, const int64_t *m, const int64_t *n, const int64_t *k, const void *, const void *a, const int64_t *as, const void *b, const int64_t *bs, const void *, void *c, const int64_t *ldc, void *dup, int32_t) { entry<C, 1>(m, n, k, a, as, b, bs, c, ldc, dup); }
void gemm_kernel_z_bvr(const char *, const char *, const int64_t *m, const int64_t *n, const int64_t *k, const void *, const void *a, const int64_t *as, const void *b, const int64_t *bs, const void *, void *c, const int64_t *ldc, void *dup, int32_t) { entry<Z, 1>(m, n, k, a, as, b, bs, c, ldc, dup); }
// clang-format on

}  // namespace zor::gemm
