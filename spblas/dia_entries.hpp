// The argument lists of the diagonal-format kernels: each exported name is
// one call of one of these templates (tools/spblas_family.py).
#pragma once
#include "spblas/dia_kernels.hpp"

namespace zor::spblas {

template <class E, class I>
inline Dia<E, I> dia_of(const E *vals, const I *lval, const I *dist, int64_t ndiag) {
  return {vals, int64_t(*lval), dist, ndiag};
}

// mv does not read the range: one call per output copy.
template <class T, Kind K, class I, class P>
void dia_mv_par(const I *, const I *, const I *m, const I *k, const P *alpha, const P *vals, const I *lval,
                const I *dist, const I *ndiag, const P *x, P *y) {
  using E = typename T::elem;
  dia_multiply<K>(dia_of(elems(vals), lval, dist, *ndiag), *elems(alpha), int64_t(*m), int64_t(*k),
                  Contiguous<const E>{elems(x)}, Contiguous<E>{elems(y)});
}

// mm: the dense columns first..last, column by column.
template <class T, Kind K, class I, class P>
void dia_mm_par(const I *first, const I *last, const I *m, const I *k, const P *alpha, const P *vals, const I *lval,
                const I *dist, const I *ndiag, const P *b, const I *ldb, P *c, const I *ldc) {
  using E = typename T::elem;
  const int64_t lo = *first, hi = *last;
  if (hi < lo) return;
  const auto a = dia_of(elems(vals), lval, dist, *ndiag);
  const E *bb = elems(b);
  E *cc = elems(c);
  for (int64_t j = lo - 1; j < hi; ++j)
    dia_multiply<K>(a, *elems(alpha), int64_t(*m), int64_t(*k), Contiguous<const E>{bb + j * int64_t(*ldb)},
                    Contiguous<E>{cc + j * int64_t(*ldc)});
}

// The diagonal structure's solves (no alpha).
template <class T, Kind K, class I, class P>
void dia_sv_seq(const I *m, const P *vals, const I *lval, const I *dist, const I *ndiag, P *y) {
  using E = typename T::elem;
  dia_diagonal_solve<K>(dia_of(elems(vals), lval, dist, *ndiag), int64_t(*m), Contiguous<E>{elems(y)});
}

template <class T, Kind K, class I, class P>
void dia_sm_seq(const I *m, const I *n, const P *vals, const I *lval, const I *dist, const I *ndiag, P *y,
                const I *ldy) {
  using E = typename T::elem;
  const auto a = dia_of(elems(vals), lval, dist, *ndiag);
  for (int64_t j = 0; j < *n; ++j)
    dia_diagonal_solve<K>(a, int64_t(*m), Contiguous<E>{elems(y) + j * int64_t(*ldy)});
}

// The triangular solves, with the parts of dist that find_diag_par gives:
// the main diagonal is all_last (l) or all_first (u).
template <class T, Kind K, class I, class P>
void dia_sv_seq(const I *m, const P *vals, const I *lval, const I *dist, P *y, const I *strict_first,
                const I *strict_last, const I *all_first = nullptr, const I *all_last = nullptr) {
  using E = typename T::elem;
  int64_t main = 0;
  if constexpr (K.diag == 'n') main = (K.part == 'l' ? int64_t(*all_last) : int64_t(*all_first)) - 1;
  dia_triangular_solve<K>(dia_of(elems(vals), lval, dist, 0), int64_t(*m), int64_t(*strict_first),
                          int64_t(*strict_last), main, Contiguous<E>{elems(y)});
}

template <class T, Kind K, class I, class P>
void dia_sm_par(const I *first, const I *last, const I *m, const P *vals, const I *lval, const I *dist, const void *,
                P *y, const I *ldy, const I *strict_first, const I *strict_last, const I *all_first,
                const I *all_last) {
  using E = typename T::elem;
  const int64_t lo = *first, hi = *last;
  if (hi < lo) return;
  int64_t main = 0;
  if constexpr (K.diag == 'n') main = (K.part == 'l' ? int64_t(*all_last) : int64_t(*all_first)) - 1;
  const auto a = dia_of(elems(vals), lval, dist, 0);
  for (int64_t j = lo - 1; j < hi; ++j)
    dia_triangular_solve<K>(a, int64_t(*m), int64_t(*strict_first), int64_t(*strict_last), main,
                            Contiguous<E>{elems(y) + j * int64_t(*ldy)});
}

}  // namespace zor::spblas
