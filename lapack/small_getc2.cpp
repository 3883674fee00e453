// ?getc2: LU factorisation with complete pivoting, A = P L U Q, in one
// routine, for the small systems of the generalised eigenvalue and Sylvester
// solvers.
//
// eps := ?lamch('P') and smlnum := ?lamch('S') / eps of the precision (c
// takes single's constants, z double's), bignum := 1 / smlnum, both passed
// through ?labad. For i = 1 .. n-1:
//   the pivot is the largest magnitude of the trailing block A[i:n, i:n],
//   scanned column by column, each column from row i down, starting from
//   (i, i) and moving only on a strictly greater value: so of equal values
//   the first in column order wins (the diagonal before all others).
//   Magnitudes are |x| for real elements (each column's largest found by
//   registers, then the first place of the winning column's) and
//   hypot(re, im) for complex.
//   At i = 1, smin := max(eps xmax, smlnum).
//   Rows i and ipiv[i] change places over all n columns, then columns i and
//   jpiv[i] over all n rows (the provider's ?swap, skipped when equal).
//   If |a[i, i]| < smin: info := i, a[i, i] := smin (later ones overwrite).
//   a[j, i] := a[j, i] / a[i, i] for j below i (complex: the scaled
//   quotient), and the trailing block takes the rank-one update
//   A[i+1:n, i+1:n] -= a[i+1:n, i] a[i, i+1:n] (?ger, ?geru, alpha -1).
// Then |a[n, n]| < smin gives info := n, a[n, n] := smin, and ipiv[n] :=
// jpiv[n] := n. With n = 1 there is no scan: smin is smlnum, ipiv[1] =
// jpiv[1] = 1. info is cleared first; pivots are 1-based and 64-bit.
#include <zor/lapack.h>

#include <cmath>
#include <cstdint>

#include "frame/element.hpp"
#include "frame/imports.hpp"
#include "frame/simd.hpp"
#include "lapack/column_updates.hpp"
#include "lapack/elements.hpp"

namespace zor::lapack {
namespace {

template <class R> R machine(const char *letter) {
  if constexpr (sizeof(R) == 4) return zor_lapack_slamch(letter);
  else return zor_lapack_dlamch(letter);
}
template <class R> void range_adjust(R *small, R *large) {
  if constexpr (sizeof(R) == 4) zor_lapack_slabad(small, large);
  else zor_lapack_dlabad(small, large);
}

// The pivot of step i, real elements: each column's largest |a| of the
// trailing block A[i:n, i:n] by registers in two chains (max keeps the
// running value when the new one is NaN, so NaN is never larger); the first
// column whose largest beats those before it and the diagonal, and that
// column's first element with it. That is where a strict scan from (i, i)
// in column order stops: every element before the first maximum is smaller.
// A NaN on the diagonal is kept, as a strict scan from it keeps it.
template <class R>
void real_pivot(int64_t i, int64_t n, const R *a, int64_t lda, int64_t *ipv, int64_t *jpv, R *xmax) {
  using V = vec_t<R>;
  constexpr int L = 16 / sizeof(R);
  R top = std::fabs(a[i + i * lda]);
  *ipv = *jpv = i;
  *xmax = top;
  if (!(top == top)) return;
  const int64_t rows = n - i;
  int64_t best = -1;
  for (int64_t c = i; c < n; ++c) {
    const R *col = a + i + c * lda;
    V m0 = simd::zero<V>(), m1 = m0;
    R m = 0;
    int64_t r = 0;
    for (; r + 2 * L <= rows; r += 2 * L) {
      m0 = simd::max(simd::abs(simd::load_u(col + r)), m0);
      m1 = simd::max(simd::abs(simd::load_u(col + r + L)), m1);
    }
    for (; r + L <= rows; r += L) m0 = simd::max(simd::abs(simd::load_u(col + r)), m0);
    for (; r < rows; ++r) m = std::fabs(col[r]) > m ? std::fabs(col[r]) : m;
    alignas(16) R lane[L];
    simd::store_a(lane, simd::max(m1, m0));
    for (int l = 0; l < L; ++l) m = lane[l] > m ? lane[l] : m;
    if (m > top) top = m, best = c;
  }
  if (best < 0) return;
  *xmax = top;
  const R *col = a + i + best * lda;
  int64_t r = 0;
  while (!(std::fabs(col[r]) == top)) ++r;
  *ipv = i + r, *jpv = best;
}

template <class T>
void getc2(int64_t n, typename T::elem *a, int64_t lda, int64_t *ipiv, int64_t *jpiv, int64_t *info) {
  using E = typename T::elem;
  using R = real_t<E>;
  *info = 0;
  if (n <= 0) return;
  const R eps = machine<R>("P");
  R smlnum = machine<R>("S") / eps, bignum = R(1) / smlnum;
  range_adjust(&smlnum, &bignum);
  auto A = [&](int64_t i, int64_t j) -> E & { return a[i + j * lda]; };
  auto small_pivot = [&](int64_t i, R smin) {
    if (magnitude(A(i, i)) < smin) {
      *info = i + 1;
      A(i, i) = from_real<E>(smin);
    }
  };
  if (n == 1) {
    ipiv[0] = jpiv[0] = 1;
    small_pivot(0, smlnum);
    return;
  }
  const zor_int nn = n, ld = lda, one = 1;
  const E minus_one = from_real<E>(R(-1));
  R smin = 0;
  for (int64_t i = 0; i + 1 < n; ++i) {
    int64_t ipv = i, jpv = i;
    R xmax = magnitude(A(i, i));
    if constexpr (T::complex) {
      for (int64_t jp = i; jp < n; ++jp)
        for (int64_t ip = i; ip < n; ++ip) {
          const R v = magnitude(A(ip, jp));
          if (v > xmax) xmax = v, ipv = ip, jpv = jp;
        }
    } else {
      real_pivot(i, n, a, lda, &ipv, &jpv, &xmax);
    }
    if (i == 0) smin = std::max(eps * xmax, smlnum);
    if (ipv != i) imports<T>::swap(&nn, &A(ipv, 0), &ld, &A(i, 0), &ld);
    ipiv[i] = ipv + 1;
    if (jpv != i) imports<T>::swap(&nn, &A(0, jpv), &one, &A(0, i), &one);
    jpiv[i] = jpv + 1;
    small_pivot(i, smin);
    const E pivot = A(i, i);
    for (int64_t j = i + 1; j < n; ++j) A(j, i) = quotient(A(j, i), pivot);
    const zor_int rest = n - i - 1;
    imports<T>::geru(&rest, &rest, &minus_one, &A(i + 1, i), &one, &A(i, i + 1), &ld, &A(i + 1, i + 1), &ld);
  }
  small_pivot(n - 1, smin);
  ipiv[n - 1] = jpiv[n - 1] = n;
}

}  // namespace
}  // namespace zor::lapack

using namespace zor::lapack;
using zor::S;
using zor::D;
using zor::C;
using zor::Z;
// clang-format off
ZOR_API void zor_lapack_ps_sgetc2(const zor_int *n, float *a, const zor_int *lda, zor_int *ipiv, zor_int *jpiv, zor_int *info) { getc2<S>(*n, a, *lda, ipiv, jpiv, info); }
ZOR_API void zor_lapack_ps_dgetc2(const zor_int *n, double *a, const zor_int *lda, zor_int *ipiv, zor_int *jpiv, zor_int *info) { getc2<D>(*n, a, *lda, ipiv, jpiv, info); }
ZOR_API void zor_lapack_ps_cgetc2(const zor_int *n, void *a, const zor_int *lda, zor_int *ipiv, zor_int *jpiv, zor_int *info) { getc2<C>(*n, as_elems<C>(a), *lda, ipiv, jpiv, info); }
ZOR_API void zor_lapack_ps_zgetc2(const zor_int *n, void *a, const zor_int *lda, zor_int *ipiv, zor_int *jpiv, zor_int *info) { getc2<Z>(*n, as_elems<Z>(a), *lda, ipiv, jpiv, info); }
// clang-format on
