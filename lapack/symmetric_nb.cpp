// The symmetric (Hermitian) product and rank-two update of a trapezoid, the
// inner steps of the reduction to tridiagonal form: ?symv_nb / ?hemv_nb
// (y := beta y + alpha S x) and ?syr2_nb / ?her2_nb
// (A := A + alpha x y^H + conj(alpha) y x^H on the trapezoid).
//
// The trapezoid: lower ('U' or 'u' is upper, anything else lower), the
// first nb columns from the diagonal down to row n; upper, the mirror: the
// last nb columns, from row 1 down to the diagonal. S is the symmetric
// (Hermitian) matrix of order n that the trapezoid and its mirror image
// define, zero elsewhere; with nb = n it is the whole matrix. All
// increments must be 1 and are not read. A Hermitian diagonal's imaginary
// part is not read, and the updates store it as 0.
//
// Alignment class of a call, computed once at its start: with every
// leading dimension a whole number of 16-byte vectors (doubles and complex:
// even; floats: a multiple of 4), 2 if every base stands on a 16-byte
// boundary, 1 if every base stands 8 bytes past one (not for floats),
// otherwise -1. Classes 2 and 1 take the vector row passes (class 1 peels
// one row, single complex and doubles; a double complex element stays 8
// bytes off and is read unaligned); class -1 takes scalar row passes with
// the same grouping. The two differ only in rounding: a vector pass keeps
// the lanes of each dot apart and adds them at the end.
//
// ?symv_nb: n or nb below 1 returns (alpha is not tested). y := beta y on
// its n elements first, as the matrix-vector frame does it (1: nothing; 0:
// zeros, y not read). Then columns in groups of four (double complex: two),
// each with t_k := alpha x[j+k] and running dots s_k: the diagonal block in
// scalars (y[j+k] gets t_k a[j+k, j+k] first), then one pass over the rows
// below (upper: above) the group, y[i] += t_k a[i, j+k] over the group and
// s_k += conj(a[i, j+k]) x[i]; at the end y[j+k] += alpha s_k. The columns
// that do not fill a group go one at a time after the groups.
//
// ?syr2_nb: n or nb below 1 returns (alpha is not tested). Columns in
// pairs, then one alone; with t1 := alpha conj(y[j]) and
// t2 := conj(alpha x[j]), a[i, j] := (a[i, j] + x[i] t1) + y[i] t2 in one
// pass over both columns' rows, and, Hermitian, a[j, j] := re(a[j, j]) + re(x[j] t1 + y[j] t2). No
// column is skipped. These are the products and sums of the published
// ?syr2 / ?her2 in their order, so with nb = n results agree bit for bit.
#include <zor/lapack.h>

#include <cstdint>

#include "blas/level1_skeleton.hpp"
#include "frame/element.hpp"
#include "frame/imports.hpp"
#include "frame/letters.hpp"
#include "frame/simd.hpp"
#include "lapack/column_updates.hpp"
#include "lapack/elements.hpp"
#include "lapack/symmetric_nb.hpp"

namespace zor::lapack {
namespace {

// ---------------------------------------------------------------- symv, hemv
// The dot term of a row: conj(a) x (Hermitian) or a x.
template <class E, bool Herm>
inline E dot_term(E a, E x) {
  if constexpr (Herm && is_complex_v<E>) return simd::cmulc(a, x);
  else return a * x;
}
template <class E, bool Herm>
inline vec_t<E> dot_term(vec_t<E> a, vec_t<E> x) {
  if constexpr (!is_complex_v<E>) return simd::mul(a, x);
  else if constexpr (Herm) return simd::cmulc(a, x);
  else return simd::cmul(a, x);
}
// The diagonal's contribution t a[j, j]: its real part only, if Hermitian.
template <class E, bool Herm>
inline E diagonal_term(E t, E d) {
  if constexpr (Herm && is_complex_v<E>) return times_real(t, d.re);
  else return t * d;
}

// Rows [from, to) of G columns starting at a (lda): y[i] += t_k a[i, k],
// s_k += conj(a[i, k]) x[i].
template <class E, int G, bool Herm, bool Vector>
void product_rows(int64_t from, int64_t to, const E *a, int64_t lda, const E *x, E *y, const E *t, E *s) {
  auto one = [&](int64_t i) {
    E v = y[i];
    for (int k = 0; k < G; ++k) {
      const E aik = a[i + k * lda];
      v = v + t[k] * aik;
      s[k] = s[k] + dot_term<E, Herm>(aik, x[i]);
    }
    y[i] = v;
  };
  int64_t i = from;
  if constexpr (Vector) {
    using V = vec_t<E>;
    constexpr int L = 16 / sizeof(E);
    if (aligned_to(y, sizeof(real_t<E>)))
      for (; i < to && phase(y + i) != 0; ++i) one(i);
    if (i + L <= to) {
      const auto f = factors(t, std::make_index_sequence<G>{});
      V acc[G];
      for (int k = 0; k < G; ++k) acc[k] = simd::zero<V>();
      for (; i + L <= to; i += L) {
        const V xi = simd::load_u(reals(x + i));
        V v = simd::load_u(reals(y + i));
        // Each column's vector is loaded once and serves both sums (the
        // empty asm keeps the compiler from loading it again for the second).
        V aik[G];
        for (int k = 0; k < G; ++k) {
          aik[k] = simd::load_u(reals(a + i + k * lda));
          asm("" : "+x"(aik[k]));
        }
        for (int k = 0; k < G; ++k) {
          v = simd::add(v, f[k].times(aik[k]));
          acc[k] = simd::add(acc[k], dot_term<E, Herm>(aik[k], xi));
        }
        simd::store_u(reals(y + i), v);
      }
      for (int k = 0; k < G; ++k) s[k] = s[k] + lanes_sum<E>(acc[k]);
    }
  }
  for (; i < to; ++i) one(i);
}

// The G by G diagonal block at (j, j) with its contributions to y and s.
template <class E, int G, bool Herm, bool Lower>
void diagonal_block(int64_t j, const E *a, int64_t lda, const E *x, E *y, const E *t, E *s) {
  auto at = [&](int64_t p, int64_t q) { return a[j + p + (j + q) * lda]; };
  for (int q = 0; q < G; ++q) {
    if constexpr (Lower) y[j + q] = y[j + q] + diagonal_term<E, Herm>(t[q], at(q, q));
    for (int p = Lower ? q + 1 : 0; p < (Lower ? G : q); ++p) {
      y[j + p] = y[j + p] + t[q] * at(p, q);
      s[q] = s[q] + dot_term<E, Herm>(at(p, q), x[j + p]);
    }
    if constexpr (!Lower) y[j + q] = y[j + q] + diagonal_term<E, Herm>(t[q], at(q, q));
  }
}

template <class E, int G, bool Herm, bool Lower, bool Vector>
void product_group(int64_t n, int64_t j, E alpha, const E *a, int64_t lda, const E *x, E *y) {
  E t[G], s[G];
  for (int k = 0; k < G; ++k) t[k] = alpha * x[j + k], s[k] = E{};
  const E *col = a + j * lda;
  if constexpr (Lower) {
    diagonal_block<E, G, Herm, true>(j, a, lda, x, y, t, s);
    product_rows<E, G, Herm, Vector>(j + G, n, col, lda, x, y, t, s);
  } else {
    product_rows<E, G, Herm, Vector>(0, j, col, lda, x, y, t, s);
    diagonal_block<E, G, Herm, false>(j, a, lda, x, y, t, s);
  }
  for (int k = 0; k < G; ++k) y[j + k] = y[j + k] + alpha * s[k];
}

template <class T, bool Herm, bool Lower, bool Vector>
void product_columns(int64_t n, int64_t nb, typename T::elem alpha, const typename T::elem *a, int64_t lda,
                     const typename T::elem *x, typename T::elem *y) {
  using E = typename T::elem;
  constexpr int G = kProductGroup<E>;
  const int64_t first = Lower ? 0 : n - nb;
  int64_t j = first;
  for (; j + G <= first + nb; j += G) product_group<E, G, Herm, Lower, Vector>(n, j, alpha, a, lda, x, y);
  for (; j < first + nb; ++j) product_group<E, 1, Herm, Lower, Vector>(n, j, alpha, a, lda, x, y);
}

template <class T, bool Herm>
void symv_nb(const char *uplo, int64_t n, int64_t nb, typename T::elem alpha, const typename T::elem *a,
             int64_t lda, const typename T::elem *x, typename T::elem beta, typename T::elem *y) {
  using E = typename T::elem;
  if (n < 1 || nb < 1) return;
  scale_by_beta<T>(n, beta, y);
  const bool lower = read_uplo(uplo) != Uplo::U;
  const bool vector = alignment_class<E>({a, x, y}, {lda}) > 0;
  if (lower) {
    if (vector) product_columns<T, Herm, true, true>(n, nb, alpha, a, lda, x, y);
    else product_columns<T, Herm, true, false>(n, nb, alpha, a, lda, x, y);
  } else {
    if (vector) product_columns<T, Herm, false, true>(n, nb, alpha, a, lda, x, y);
    else product_columns<T, Herm, false, false>(n, nb, alpha, a, lda, x, y);
  }
}

// ---------------------------------------------------------------- syr2, her2
// Rows [from, to) of one or two columns c0, c1 (c1 may be null):
// c[i] := (c[i] + x[i] t1) + y[i] t2.
template <class E, bool Vector>
void update_rows(int64_t from, int64_t to, const E *x, const E *y, E *c0, const E *t0, E *c1, const E *t1) {
  auto one = [&](int64_t i) {
    c0[i] = (c0[i] + x[i] * t0[0]) + y[i] * t0[1];
    if (c1) c1[i] = (c1[i] + x[i] * t1[0]) + y[i] * t1[1];
  };
  int64_t i = from;
  if constexpr (Vector) {
    using V = vec_t<E>;
    constexpr int L = 16 / sizeof(E);
    if (aligned_to(c0, sizeof(real_t<E>)))
      for (; i < to && phase(c0 + i) != 0; ++i) one(i);
    const blas::Factor<E> f00(t0[0]), f01(t0[1]), f10(c1 ? t1[0] : E{}), f11(c1 ? t1[1] : E{});
    for (; i + L <= to; i += L) {
      const V xi = simd::load_u(reals(x + i)), yi = simd::load_u(reals(y + i));
      simd::store_u(reals(c0 + i), simd::add(simd::add(simd::load_u(reals(c0 + i)), f00.times(xi)), f01.times(yi)));
      if (c1)
        simd::store_u(reals(c1 + i), simd::add(simd::add(simd::load_u(reals(c1 + i)), f10.times(xi)), f11.times(yi)));
    }
  }
  for (; i < to; ++i) one(i);
}

// t1 := alpha conj(y[j]), t2 := conj(alpha x[j]) (real: alpha y[j], alpha x[j]).
template <class E>
inline void rank_two_factors(E alpha, E xj, E yj, E *t) {
  t[0] = alpha * conj_if<true>(yj);
  t[1] = conj_if<true>(alpha * xj);
}

// The diagonal element of column j in the Hermitian form.
template <class E, bool Herm>
inline void rank_two_diagonal(E *d, E xj, E yj, const E *t) {
  if constexpr (Herm && is_complex_v<E>) *d = E{d->re + (xj * t[0] + yj * t[1]).re, 0};
  else *d = (*d + xj * t[0]) + yj * t[1];
}

template <class T, bool Herm, bool Lower, bool Vector>
void rank_two_columns(int64_t n, int64_t nb, typename T::elem alpha, const typename T::elem *x,
                      const typename T::elem *y, typename T::elem *a, int64_t lda) {
  using E = typename T::elem;
  const int64_t first = Lower ? 0 : n - nb;
  auto column = [&](int64_t j) { return a + j * lda; };
  int64_t j = first;
  for (; j + 2 <= first + nb; j += 2) {
    E t0[2], t1[2];
    rank_two_factors(alpha, x[j], y[j], t0);
    rank_two_factors(alpha, x[j + 1], y[j + 1], t1);
    E *c0 = column(j), *c1 = column(j + 1);
    if constexpr (Lower) {
      rank_two_diagonal<E, Herm>(c0 + j, x[j], y[j], t0);
      update_rows<E, false>(j + 1, j + 2, x, y, c0, t0, nullptr, t0);
      rank_two_diagonal<E, Herm>(c1 + j + 1, x[j + 1], y[j + 1], t1);
      update_rows<E, Vector>(j + 2, n, x, y, c0, t0, c1, t1);
    } else {
      update_rows<E, Vector>(0, j, x, y, c0, t0, c1, t1);
      rank_two_diagonal<E, Herm>(c0 + j, x[j], y[j], t0);
      update_rows<E, false>(j, j + 1, x, y, c1, t1, nullptr, t1);
      rank_two_diagonal<E, Herm>(c1 + j + 1, x[j + 1], y[j + 1], t1);
    }
  }
  if (j < first + nb) {
    E t[2];
    rank_two_factors(alpha, x[j], y[j], t);
    E *c = column(j);
    if (!Lower) update_rows<E, Vector>(0, j, x, y, c, t, nullptr, t);
    rank_two_diagonal<E, Herm>(c + j, x[j], y[j], t);
    if (Lower) update_rows<E, Vector>(j + 1, n, x, y, c, t, nullptr, t);
  }
}

template <class T, bool Herm>
void syr2_nb(const char *uplo, int64_t n, int64_t nb, typename T::elem alpha, const typename T::elem *x,
             const typename T::elem *y, typename T::elem *a, int64_t lda) {
  using E = typename T::elem;
  if (n < 1 || nb < 1) return;
  const bool lower = read_uplo(uplo) != Uplo::U;
  const bool vector = alignment_class<E>({a, x, y}, {lda}) > 0;
  if (lower) {
    if (vector) rank_two_columns<T, Herm, true, true>(n, nb, alpha, x, y, a, lda);
    else rank_two_columns<T, Herm, true, false>(n, nb, alpha, x, y, a, lda);
  } else {
    if (vector) rank_two_columns<T, Herm, false, true>(n, nb, alpha, x, y, a, lda);
    else rank_two_columns<T, Herm, false, false>(n, nb, alpha, x, y, a, lda);
  }
}

}  // namespace
}  // namespace zor::lapack

using namespace zor::lapack;
using zor::S;
using zor::D;
using zor::C;
using zor::Z;
// clang-format off
ZOR_API void zor_lapack_ps_ssymv_nb(const char *uplo, const zor_int *n, const zor_int *nb, const float *alpha, const float *a, const zor_int *lda, const float *x, const zor_int *, const float *beta, float *y, const zor_int *) { symv_nb<S, false>(uplo, *n, *nb, *alpha, a, *lda, x, *beta, y); }
ZOR_API void zor_lapack_ps_dsymv_nb(const char *uplo, const zor_int *n, const zor_int *nb, const double *alpha, const double *a, const zor_int *lda, const double *x, const zor_int *, const double *beta, double *y, const zor_int *) { symv_nb<D, false>(uplo, *n, *nb, *alpha, a, *lda, x, *beta, y); }
ZOR_API void zor_lapack_ps_chemv_nb(const char *uplo, const zor_int *n, const zor_int *nb, const void *alpha, const void *a, const zor_int *lda, const void *x, const zor_int *, const void *beta, void *y, const zor_int *) { symv_nb<C, true>(uplo, *n, *nb, elem_at<C>(alpha), as_elems<C>(a), *lda, as_elems<C>(x), elem_at<C>(beta), as_elems<C>(y)); }
ZOR_API void zor_lapack_ps_zhemv_nb(const char *uplo, const zor_int *n, const zor_int *nb, const void *alpha, const void *a, const zor_int *lda, const void *x, const zor_int *, const void *beta, void *y, const zor_int *) { symv_nb<Z, true>(uplo, *n, *nb, elem_at<Z>(alpha), as_elems<Z>(a), *lda, as_elems<Z>(x), elem_at<Z>(beta), as_elems<Z>(y)); }
ZOR_API void zor_lapack_ps_ssyr2_nb(const char *uplo, const zor_int *n, const zor_int *nb, const float *alpha, const float *x, const zor_int *, const float *y, const zor_int *, float *a, const zor_int *lda) { syr2_nb<S, false>(uplo, *n, *nb, *alpha, x, y, a, *lda); }
ZOR_API void zor_lapack_ps_dsyr2_nb(const char *uplo, const zor_int *n, const zor_int *nb, const double *alpha, const double *x, const zor_int *, const double *y, const zor_int *, double *a, const zor_int *lda) { syr2_nb<D, false>(uplo, *n, *nb, *alpha, x, y, a, *lda); }
ZOR_API void zor_lapack_ps_cher2_nb(const char *uplo, const zor_int *n, const zor_int *nb, const void *alpha, const void *x, const zor_int *, const void *y, const zor_int *, void *a, const zor_int *lda) { syr2_nb<C, true>(uplo, *n, *nb, elem_at<C>(alpha), as_elems<C>(x), as_elems<C>(y), as_elems<C>(a), *lda); }
ZOR_API void zor_lapack_ps_zher2_nb(const char *uplo, const zor_int *n, const zor_int *nb, const void *alpha, const void *x, const zor_int *, const void *y, const zor_int *, void *a, const zor_int *lda) { syr2_nb<Z, true>(uplo, *n, *nb, elem_at<Z>(alpha), as_elems<Z>(x), as_elems<Z>(y), as_elems<Z>(a), *lda); }
// clang-format on
