// The diagonal structure. mv and mm use every stored entry whose column is
// its row (a row may hold several); sv and sm use the first entry of the row
// with column >= row and scale by the quotient alpha / d, formed first (the
// diagonal solves read alpha, unlike the triangular ones). A unit diagonal
// is y += alpha x, done by the provider's checked axpy.
#pragma once
#include "spblas/csr_common.hpp"

extern "C" {
// The provider's checked level-1 entries.
void zor_blas_saxpy(const int64_t *n, const float *a, const float *x, const int64_t *incx, float *y,
                    const int64_t *incy);
void zor_blas_daxpy(const int64_t *n, const double *a, const double *x, const int64_t *incx, double *y,
                    const int64_t *incy);
void zor_blas_caxpy(const int64_t *n, const void *a, const void *x, const int64_t *incx, void *y,
                    const int64_t *incy);
void zor_blas_zaxpy(const int64_t *n, const void *a, const void *x, const int64_t *incx, void *y,
                    const int64_t *incy);
}

namespace zor::spblas {

template <class T, class E>
inline void diagonal_unit_axpy(int64_t n, E alpha, const E *x, E *y) {
  const int64_t one = 1;
  if constexpr (T::letter == 's') zor_blas_saxpy(&n, &alpha, x, &one, y, &one);
  else if constexpr (T::letter == 'd') zor_blas_daxpy(&n, &alpha, x, &one, y, &one);
  else if constexpr (T::letter == 'c') zor_blas_caxpy(&n, &alpha, x, &one, y, &one);
  else zor_blas_zaxpy(&n, &alpha, x, &one, y, &one);
}

// The quotient alpha / d of row i, d the first entry with column >= row.
template <Kind K, class E, class I>
inline E diagonal_quotient(const Csr<E, I, K.base> &a, E alpha, int64_t i) {
  int64_t k = a.begin(i), q = a.end(i);
  while (k < q && a.col(k) < i - 1) ++k;
  return divide(alpha, rd<K.op == 'c'>(a.vals[k]));
}

template <Kind K, class E, class I, class Y>
inline void diagonal_sv(const Csr<E, I, K.base> &a, E alpha, Y y, int64_t m) {
  for (int64_t i = 1; i <= m; ++i) y(i - 1) = y(i - 1) * diagonal_quotient<K>(a, alpha, i);
}

// Row i of y over the columns lo..hi times the quotient.
template <Kind K, class E, class I>
inline void diagonal_sm(const Csr<E, I, K.base> &a, E alpha, E *y, int64_t ld, int64_t m, int64_t lo,
                        int64_t hi) {
  for (int64_t i = 1; i <= m; ++i) {
    E r = diagonal_quotient<K>(a, alpha, i);
    for (int64_t j = lo - 1; j < hi; ++j) {
      E &e = K.base == 0 ? y[(i - 1) * ld + j] : y[j * ld + (i - 1)];
      e = e * r;
    }
  }
}

}  // namespace zor::spblas
