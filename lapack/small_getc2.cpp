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

// The pivot of step i, real elements: the largest |a| of the trailing
// block A[i:n, i:n] and its first place in column order, which is where a
// strict scan from (i, i) in column order stops (equal values later do not
// move it, so the diagonal comes before all others).
//
// One pass over the block, by registers, keeps each column's largest
// magnitudes (a register of lanes a column) and the block's: the rows go in
// strips of up to kStrip registers, each register a fixed set of rows (max
// is the same over repeated elements, so the last register of a strip reads
// back from the strip's end and overlaps the one before it). max keeps the
// running value when the new one is NaN, so a NaN is never larger. Then,
// only if the block's largest beats the diagonal, its first place: the
// first column whose kept lanes hold it, and in it the first row. Columns
// go kChunk at a time so that the kept lanes stay in a small local array;
// a later chunk takes the place only on a strictly greater value. A NaN on
// the diagonal is kept, as a strict scan from it keeps it.
constexpr int kStrip = 8;
constexpr int64_t kChunk = 32;

// Registers k of a strip of `rows` rows (rows >= L) start at these rows.
template <int L>
inline int64_t strip_row(int k, int64_t rows) {
  return std::min<int64_t>(int64_t(k) * L, rows - L);
}

// Each column's largest magnitude over a strip of K registers, into
// most[c] (merged with what is there unless first); returns the largest of
// all, lane by lane. Two chains from zero a column, so that no NaN enters.
template <class R, int K>
vec_t<R> strip_columns(const R *a, int64_t lda, int64_t cols, int64_t rows, vec_t<R> *most, bool first) {
  using V = vec_t<R>;
  constexpr int L = 16 / sizeof(R);
  V all = simd::zero<V>();
  for (int64_t c = 0; c < cols; ++c, a += lda) {
    V m[2] = {simd::zero<V>(), simd::zero<V>()};
    for (int k = 0; k < K; ++k) m[k & 1] = simd::max(simd::abs(simd::load_u(a + strip_row<L>(k, rows))), m[k & 1]);
    V v = simd::max(m[1], m[0]);
    if (!first) v = simd::max(most[c], v);
    most[c] = v;
    all = simd::max(v, all);
  }
  return all;
}

template <class R, int K = kStrip>
vec_t<R> strip_columns_of(int k, const R *a, int64_t lda, int64_t cols, int64_t rows, vec_t<R> *most, bool first) {
  if constexpr (K > 1)
    if (k < K) return strip_columns_of<R, K - 1>(k, a, lda, cols, rows, most, first);
  return strip_columns<R, K>(a, lda, cols, rows, most, first);
}

template <class R>
inline R lanes_max(vec_t<R> m) {
  if constexpr (sizeof(R) == 4) {
    m = simd::max(simd::high_pair(m), m);
    m = simd::max(simd::swap_pairs(m), m);
  } else {
    m = simd::max(simd::swap_lanes(m), m);
  }
  return simd::lane0(m);
}

template <class R>
void real_pivot(int64_t i, int64_t n, const R *a, int64_t lda, int64_t *ipv, int64_t *jpv, R *xmax) {
  constexpr int L = 16 / sizeof(R);
  constexpr int64_t kRows = int64_t(kStrip) * L;
  const R top = std::fabs(a[i + i * lda]);
  *ipv = *jpv = i;
  *xmax = top;
  if (!(top == top)) return;
  const int64_t m = n - i;
  const R *block = a + i + i * lda;
  R best = top;
  int64_t col = -1;
  if (m < L) {
    for (int64_t c = 0; c < m; ++c)
      for (int64_t r = 0; r < m; ++r)
        if (std::fabs(block[r + c * lda]) > best) best = std::fabs(block[r + c * lda]), col = c;
  } else {
    vec_t<R> most[kChunk];
    for (int64_t c0 = 0; c0 < m; c0 += kChunk) {
      const int64_t cols = std::min(kChunk, m - c0);
      vec_t<R> all = simd::zero<vec_t<R>>();
      for (int64_t r0 = 0; r0 < m; r0 += kRows) {
        // a last strip shorter than a register reads back from the block's end
        const int64_t s = std::min(r0, m - L), rows = std::min(kRows, m - s);
        all = strip_columns_of<R>(int((rows + L - 1) / L), block + s + c0 * lda, lda, cols, rows, most, r0 == 0);
      }
      const R chunk = lanes_max<R>(all);
      if (!(chunk > best)) continue;
      best = chunk;
      const vec_t<R> v = simd::splat(best);
      col = c0;
      while (!simd::mask_bits(simd::cmp_eq(most[col - c0], v))) ++col;
    }
  }
  if (col < 0) return;
  int64_t r = 0;
  while (!(std::fabs(block[r + col * lda]) == best)) ++r;
  *xmax = best;
  *ipv = i + r, *jpv = i + col;
}

// x[j] := x[j] / d for j < len (complex: the scaled quotient); real
// elements two or four a division.
template <class E>
void divide_column(int64_t len, E *x, E d) {
  int64_t j = 0;
  if constexpr (!is_complex_v<E>) {
    constexpr int L = 16 / sizeof(E);
    const vec_t<E> dv = simd::splat(d);
    for (; j + L <= len; j += L) simd::store_u(x + j, simd::div(simd::load_u(x + j), dv));
  }
  for (; j < len; ++j) x[j] = quotient(x[j], d);
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
    divide_column<E>(n - i - 1, &A(i + 1, i), A(i, i));
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
