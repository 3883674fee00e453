// The diagonal structure. mv and mm use every stored entry whose column is
// its row (a row may hold several); sv and sm use the first entry of the row
// with column >= row and scale by the quotient alpha / d, formed first (the
// diagonal solves read alpha, unlike the triangular ones). A unit diagonal
// is y += alpha x, done by the provider's checked axpy.
#pragma once
#include "frame/imports.hpp"
#include "spblas/csr_common.hpp"

namespace zor::spblas {

// y[0..n) += alpha x[0..n) by the provider's checked axpy of the precision.
template <class T, class E>
inline void diagonal_unit_axpy(int64_t n, E alpha, const E *x, E *y) {
  const zor_int len = n, one = 1;
  imports<T>::axpy(&len, &alpha, x, &one, y, &one);
}

// The quotient alpha / d of row i, d the first entry with column >= row.
template <Kind K, class E, class I>
inline E diagonal_quotient(const Csr<E, I, K.base> &a, E alpha, int64_t i) {
  int64_t k = a.begin(i), q = a.end(i);
  while (k < q && a.col(k) < i - 1) ++k;
  return divide(alpha, conj_if<K.op == 'c'>(a.vals[k]));
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
