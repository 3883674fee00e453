// ?syr2k_nb / ?her2k_nb: the rank-2k update of a trapezoid of C,
// C := C + alpha A B^H + conj(alpha) B A^H (A, B n by k, no transposition),
// the panel update of the reduction to tridiagonal form. The trapezoid is
// that of the products (lower: the first nb columns from the diagonal down;
// upper: the last nb columns from row 1 to the diagonal). trans and beta
// stand in the argument list and are not read: the update always adds to C.
// n, nb or k below 1 returns (alpha is not tested).
//
// Element order, that of the published ?syr2k / ?her2k, so that with nb = n
// results agree with them bit for bit: for l = 1 .. k ascending,
//   c[i, j] := (c[i, j] + a[i, l] t1) + b[i, l] t2,
//   t1 := alpha conj(b[j, l]),  t2 := conj(alpha a[j, l]);
// Hermitian: c[j, j] first loses its imaginary part, then for each l
// c[j, j] := re(c[j, j]) + re(a[j, l] t1 + b[j, l] t2). No rank step is
// skipped.
//
// Columns of C in groups of four (double complex: two), then one at a
// time. The rows every column of a group has run as one pass: each row
// block holds its C elements in registers across all k rank steps, with the
// group's factors for up to 32 rank steps laid out beforehand; rows in the
// group's own triangle go element by element. Alignment classes as for the
// products (over a, b and c with lda, ldb, ldc): the vector pass for classes
// 2 and 1, a scalar one for -1.
#include <zor/lapack.h>

#include <cstdint>

#include "blas/level1_skeleton.hpp"
#include "frame/element.hpp"
#include "frame/letters.hpp"
#include "frame/simd.hpp"
#include "lapack/elements.hpp"
#include "lapack/symmetric_nb.hpp"

namespace zor::lapack {
namespace {

constexpr int64_t kRankChunk = 32;  // rank steps whose factors are laid out at once

// A factor broadcast for a stream of elements, and its product with a
// register, as blas::Factor forms it (the scalar formula's bits).
template <class E> using FormOf = typename blas::FactorForm<E>::type;
template <class V> inline V times(V f, V x) { return simd::mul(f, x); }
template <class R> inline vec_t<R> times(simd::Csplat<R> f, vec_t<R> x) { return simd::cmul(f, x); }

template <class E, bool Herm>
struct Rank2k {
  using Form = FormOf<E>;
  int64_t n, k;
  E alpha;
  const E *a, *b;
  int64_t lda, ldb;
  E *c;
  int64_t ldc;

  void factors_of(int64_t j, int64_t l, E *t) const {
    t[0] = alpha * conj_if<true>(b[j + l * ldb]);
    t[1] = conj_if<true>(alpha * a[j + l * lda]);
  }
  // One element of column j away from the diagonal.
  void element(int64_t i, int64_t j) const {
    E v = c[i + j * ldc];
    for (int64_t l = 0; l < k; ++l) {
      E t[2];
      factors_of(j, l, t);
      v = (v + a[i + l * lda] * t[0]) + b[i + l * ldb] * t[1];
    }
    c[i + j * ldc] = v;
  }
  void diagonal(int64_t j) const {
    if constexpr (Herm && is_complex_v<E>) {
      E &d = c[j + j * ldc];
      d.im = 0;
      for (int64_t l = 0; l < k; ++l) {
        E t[2];
        factors_of(j, l, t);
        d.re = d.re + (a[j + l * lda] * t[0] + b[j + l * ldb] * t[1]).re;
      }
    } else {
      element(j, j);
    }
  }

  // Rows [from, to) of the G columns from j, all k rank steps.
  template <int G, bool Vector>
  void rows(int64_t from, int64_t to, int64_t j) const {
    if constexpr (!Vector) {
      for (int64_t i = from; i < to; ++i)
        for (int q = 0; q < G; ++q) element(i, j + q);
      return;
    } else {
      using V = vec_t<E>;
      constexpr int L = 16 / sizeof(E);  // elements a register
      constexpr int U = 2;               // registers of rows a block
      int64_t i = from;
      if (aligned_to(c + j * ldc, sizeof(real_t<E>)))
        for (; i < to && phase(c + i + j * ldc) != 0; ++i)
          for (int q = 0; q < G; ++q) element(i, j + q);
      const int64_t vec_end = i + (to - i) / (U * L) * (U * L);
      for (int64_t l0 = 0; l0 < k; l0 += kRankChunk) {
        const int64_t l1 = l0 + kRankChunk < k ? l0 + kRankChunk : k;
        // The factors of the chunk in register form (broadcasts): [l][q][0 or 1].
        Form f[kRankChunk][G][2];
        for (int64_t l = l0; l < l1; ++l)
          for (int q = 0; q < G; ++q) {
            E t[2];
            factors_of(j + q, l, t);
            f[l - l0][q][0] = blas::Factor<E>(t[0]).v;
            f[l - l0][q][1] = blas::Factor<E>(t[1]).v;
          }
        for (int64_t r = i; r < vec_end; r += U * L) {
          V acc[G][U];
          for (int q = 0; q < G; ++q)
            for (int u = 0; u < U; ++u) acc[q][u] = simd::load_u(reals(c + r + u * L + (j + q) * ldc));
          for (int64_t l = l0; l < l1; ++l) {
            V av[U], bv[U];
            for (int u = 0; u < U; ++u) {
              av[u] = simd::load_u(reals(a + r + u * L + l * lda));
              bv[u] = simd::load_u(reals(b + r + u * L + l * ldb));
            }
            for (int q = 0; q < G; ++q)
              for (int u = 0; u < U; ++u)
                acc[q][u] = simd::add(simd::add(acc[q][u], times(f[l - l0][q][0], av[u])), times(f[l - l0][q][1], bv[u]));
          }
          for (int q = 0; q < G; ++q)
            for (int u = 0; u < U; ++u) simd::store_u(reals(c + r + u * L + (j + q) * ldc), acc[q][u]);
        }
      }
      for (i = vec_end; i < to; ++i)
        for (int q = 0; q < G; ++q) element(i, j + q);
    }
  }

  // The group of G columns from j: its triangle element by element, the
  // rows all its columns share as one pass.
  template <int G, bool Lower, bool Vector>
  void group(int64_t j) const {
    for (int q = 0; q < G; ++q) {
      if (!Lower)
        for (int64_t i = j; i < j + q; ++i) element(i, j + q);
      diagonal(j + q);
      if (Lower)
        for (int64_t i = j + q + 1; i < j + G; ++i) element(i, j + q);
    }
    if (Lower) rows<G, Vector>(j + G, n, j);
    else rows<G, Vector>(0, j, j);
  }

  template <bool Lower, bool Vector>
  void run(int64_t nb) const {
    constexpr int G = kProductGroup<E>;
    const int64_t first = Lower ? 0 : n - nb;
    int64_t j = first;
    for (; j + G <= first + nb; j += G) group<G, Lower, Vector>(j);
    for (; j < first + nb; ++j) group<1, Lower, Vector>(j);
  }
};

template <class T, bool Herm>
void syr2k_nb(const char *uplo, int64_t n, int64_t nb, int64_t k, typename T::elem alpha,
              const typename T::elem *a, int64_t lda, const typename T::elem *b, int64_t ldb, typename T::elem *c,
              int64_t ldc) {
  using E = typename T::elem;
  if (n < 1 || nb < 1 || k < 1) return;
  const Rank2k<E, Herm> op{n, k, alpha, a, b, lda, ldb, c, ldc};
  const bool lower = read_uplo(uplo) != Uplo::U;
  const bool vector = alignment_class<E>({a, b, c}, {lda, ldb, ldc}) > 0;
  if (lower) {
    if (vector) op.template run<true, true>(nb);
    else op.template run<true, false>(nb);
  } else {
    if (vector) op.template run<false, true>(nb);
    else op.template run<false, false>(nb);
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
ZOR_API void zor_lapack_ps_ssyr2k_nb(const char *uplo, const char *, const zor_int *n, const zor_int *nb, const zor_int *k, const float *alpha, const float *a, const zor_int *lda, const float *b, const zor_int *ldb, const float *, float *c, const zor_int *ldc) { syr2k_nb<S, false>(uplo, *n, *nb, *k, *alpha, a, *lda, b, *ldb, c, *ldc); }
ZOR_API void zor_lapack_ps_dsyr2k_nb(const char *uplo, const char *, const zor_int *n, const zor_int *nb, const zor_int *k, const double *alpha, const double *a, const zor_int *lda, const double *b, const zor_int *ldb, const double *, double *c, const zor_int *ldc) { syr2k_nb<D, false>(uplo, *n, *nb, *k, *alpha, a, *lda, b, *ldb, c, *ldc); }
ZOR_API void zor_lapack_ps_cher2k_nb(const char *uplo, const char *, const zor_int *n, const zor_int *nb, const zor_int *k, const void *alpha, const void *a, const zor_int *lda, const void *b, const zor_int *ldb, const void *, void *c, const zor_int *ldc) { syr2k_nb<C, true>(uplo, *n, *nb, *k, elem_at<C>(alpha), as_elems<C>(a), *lda, as_elems<C>(b), *ldb, as_elems<C>(c), *ldc); }
ZOR_API void zor_lapack_ps_zher2k_nb(const char *uplo, const char *, const zor_int *n, const zor_int *nb, const zor_int *k, const void *alpha, const void *a, const zor_int *lda, const void *b, const zor_int *ldb, const void *, void *c, const zor_int *ldc) { syr2k_nb<Z, true>(uplo, *n, *nb, *k, elem_at<Z>(alpha), as_elems<Z>(a), *lda, as_elems<Z>(b), *ldb, as_elems<Z>(c), *ldc); }
// clang-format on
