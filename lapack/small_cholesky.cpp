// Small Cholesky factorisations in one routine, without blocking:
// ?potrf_l_small, A = L L^H (lower triangle), and ?potrf_u_small,
// A = U^H U (upper triangle). The first argument stands for uplo and is not
// read. info is written only on failure (the caller has cleared it).
//
// Paths, one table row per precision (n from which each path runs):
//
//          lower: nest   lower: level 2          upper: level 2
//   s      50            -                       -
//   d      -             40 (gemv)               50 (gemv)
//   c      20            50 (dotc, gemv)          50 (dotc, gemv)
//   z      -             40 (right-looking her)   40 (dotc, gemv)
//
// Lower, plain loops (left-looking, every precision below its thresholds):
// column j receives the update from the columns to its left,
//   a[r, j] -= L[r, k] conj(L[j, k])   for rows r = j .. n-1,
// with the columns in blocks of four (the n mod 4 left over form a last,
// narrower block). A block first takes the columns to its left: below its
// own rows in register tiles of two vectors of rows (d: 4) by the block's
// columns, each tile held through the whole loop over k; then each column
// of the block, in order, takes the block's columns before it, in one pass
// over the rows. So every element takes its subtractions in ascending k,
// one at a time. The "nest" (s from 50, c from 20) is the
// same loop with the column scaled by the level-1 real scaling instead of
// the loop. d from 40: column j (diagonal and below) by gemv "No traspose"
// (the text as the routine has always passed it: only the first letter
// counts) against the columns to the left, alpha -1, beta 1. c from 50, as
// the published unblocked routine: the diagonal by dotc of row j with
// itself, then row j conjugated, gemv "No traspose" for the rows below,
// row j conjugated back. z from 40, right-looking: the column below the
// pivot scaled by zdscal, then the trailing block by the rank-one
// zher "Lower", alpha -1.
//
// Upper, plain loops (row-wise): row j, columns k = j .. n-1,
//   a[j, k] -= conj(U[i, j]) U[i, k]   for i = 1 .. j-1 in order,
// each element's subtractions in ascending i (read, subtract, write; two
// terms a pass), eight columns side by side for independent chains. d from
// 50: row j (diagonal and right of it) by gemv "Transpose" on the block
// above it, alpha -1, beta 1. c from 50, z from 40: the diagonal by dotc of
// column j with itself, then column j conjugated, gemv "Transpose" for the
// rest of row j, column j conjugated back.
//
// Pivot: the real part of the reduced diagonal; if it is not greater than 0
// (NaN included) info := j and the routine returns; else its square root is
// stored (imaginary part 0) and the rest of column j (row j) is multiplied
// by 1 / sqrt (lower: a vector loop, or the level-1 scaling on the nest and
// level-2 paths; upper: two elements a pass at stride lda, or the level-1
// scaling on the level-2 paths of c and z).
//
// On failure at column j: columns (rows) before j are factorised; a[j, j]
// holds the reduced diagonal value, as the published unblocked routine
// leaves it (imaginary part 0); the rest of column (row) j holds whatever
// part of its update the path had made (all of it on the plain-loop paths
// and d's gemv paths, none on the dotc paths); the trailing block is as
// given, except on z's right-looking path, which has updated it with every
// column before j.
#include <zor/lapack.h>

#include <cmath>
#include <cstdint>

#include "frame/imports.hpp"
#include "lapack/column_updates.hpp"
#include "lapack/elements.hpp"

namespace zor::lapack {
namespace {

constexpr int64_t kNever = INT64_MAX;

// What a level-2 path does for each column: one gemv for the column (row)
// and its diagonal; the diagonal by dotc, then gemv between conjugations;
// or right-looking, the real scaling and her.
enum class Level2 { none, gemv, dotc_gemv, her };

// n from which each path runs, and what the level-2 paths are.
struct CholeskyPlan {
  int64_t lower_nest, lower_level2, upper_level2;
  Level2 lower_kind, upper_kind;
};
template <class T> constexpr CholeskyPlan kPlan{};
// clang-format off
//                                      lower_nest  lower_level2  upper_level2  lower_kind          upper_kind
template <> constexpr CholeskyPlan kPlan<S>{50,         kNever,       kNever,       Level2::none,       Level2::none};
template <> constexpr CholeskyPlan kPlan<D>{kNever,     40,           50,           Level2::gemv,       Level2::gemv};
template <> constexpr CholeskyPlan kPlan<C>{20,         50,           50,           Level2::dotc_gemv,  Level2::dotc_gemv};
template <> constexpr CholeskyPlan kPlan<Z>{kNever,     40,           40,           Level2::her,        Level2::dotc_gemv};
// clang-format on

// sum conj(x_i) x_i over len elements at stride inc: c through the
// provider's checked cdotc, z through the tier's zdotc.
template <class T>
typename T::elem self_dotc(int64_t len, const typename T::elem *x, int64_t inc) {
  typename T::elem r;
  const zor_int n = len, step = inc;
  if constexpr (T::letter == 'c') imports<T>::dotc(&r, &n, x, &step, x, &step);
  else imports<T>::xdotc(&r, &n, x, &step, x, &step);
  return r;
}

template <class E>
void conjugate(int64_t len, E *x, int64_t inc) {
  for (int64_t i = 0; i < len; ++i) x[i * inc] = conj_if<true>(x[i * inc]);
}

// The pivot test on the reduced diagonal d: on failure the diagonal keeps
// d (imaginary part 0) and the 1-based column comes back; otherwise it
// becomes sqrt(d) and r its reciprocal.
template <class E>
int64_t take_pivot(E *diag, real_t<E> d, int64_t j, real_t<E> *r) {
  using R = real_t<E>;
  if (!(d > R(0))) {
    *diag = from_real<E>(d);
    return j + 1;
  }
  const R s = std::sqrt(d);
  *diag = from_real<E>(s);
  *r = R(1) / s;
  return 0;
}

// ---------------------------------------------------------------- lower
// The W columns j0 .. j0 + W - 1, rows j0 .. n - 1 of their lower triangle,
// less the columns to their left: a[r, j] -= L[r, k] conj(L[j, k]) for
// k = 0 .. j0 - 1 in ascending order. Below the block's own W rows, register
// tiles of two vectors of rows by the W columns hold the elements through
// the whole k loop (one vector, then single elements, at the end); the
// block's own triangle goes element by element. Both do the same
// subtractions in the same order as subtract_columns.
template <class E, int W>
void left_update(int64_t n, E *a, int64_t lda, int64_t j0) {
  using V = vec_t<E>;
  constexpr int L = 16 / sizeof(E);
  E *const col = a + j0 * lda;
  auto one = [&](int64_t i, int c) {
    E v = col[i + c * lda];
    for (int64_t k = 0; k < j0; ++k) v = v - a[i + k * lda] * conj_if<true>(a[j0 + c + k * lda]);
    col[i + c * lda] = v;
  };
  for (int c = 0; c < W; ++c)
    for (int64_t i = j0 + c; i < j0 + W; ++i) one(i, c);
  auto tile = [&]<int H>(int64_t i) {
    V acc[W][H];
    for (int c = 0; c < W; ++c)
      for (int h = 0; h < H; ++h) acc[c][h] = simd::load_u(reals(col + i + h * L + c * lda));
    for (int64_t k = 0; k < j0; ++k) {
      const E *x = a + i + k * lda;
      V xv[H];
      for (int h = 0; h < H; ++h) xv[h] = simd::load_u(reals(x + h * L));
      for (int c = 0; c < W; ++c) {
        const blas::Factor<E> t(conj_if<true>(a[j0 + c + k * lda]));
        for (int h = 0; h < H; ++h) acc[c][h] = simd::sub(acc[c][h], t.times(xv[h]));
      }
    }
    for (int c = 0; c < W; ++c)
      for (int h = 0; h < H; ++h) simd::store_u(reals(col + i + h * L + c * lda), acc[c][h]);
  };
  int64_t i = j0 + W;
  for (; i + 2 * L <= n; i += 2 * L) tile.template operator()<2>(i);
  for (; i + L <= n; i += L) tile.template operator()<1>(i);
  for (; i < n; ++i)
    for (int c = 0; c < W; ++c) one(i, c);
}

// Column j of a block starting at j0 less the block's columns before it
// (K of them), rows j .. n - 1.
template <class E, int K>
void within_block(int64_t n, E *a, int64_t lda, int64_t j0, int64_t j) {
  if constexpr (K > 0) {
    E t[K];
    for (int q = 0; q < K; ++q) t[q] = conj_if<true>(a[j + (j0 + q) * lda]);
    subtract_columns<E, K>(n - j, a + j + j * lda, a + j + j0 * lda, lda, t);
  }
}

template <class T>
int64_t lower_left(int64_t n, typename T::elem *a, int64_t lda, bool scale_by_blas) {
  using E = typename T::elem;
  using R = real_t<E>;
  for (int64_t j0 = 0; j0 < n; j0 += 4) {
    const int64_t w = n - j0 < 4 ? n - j0 : 4;
    if (j0 > 0) {
      if (w == 4) left_update<E, 4>(n, a, lda, j0);
      else if (w == 3) left_update<E, 3>(n, a, lda, j0);
      else if (w == 2) left_update<E, 2>(n, a, lda, j0);
      else left_update<E, 1>(n, a, lda, j0);
    }
    for (int64_t j = j0; j < j0 + w; ++j) {
      E *col = a + j * lda;
      if (j - j0 == 1) within_block<E, 1>(n, a, lda, j0, j);
      else if (j - j0 == 2) within_block<E, 2>(n, a, lda, j0, j);
      else if (j - j0 == 3) within_block<E, 3>(n, a, lda, j0, j);
      R r;
      if (int64_t bad = take_pivot(col + j, real_part(col[j]), j, &r)) return bad;
      zor_int below = n - j - 1, one = 1;
      if (scale_by_blas) imports<T>::rscal(&below, &r, col + j + 1, &one);
      else scale_column(below, col + j + 1, r);
    }
  }
  return 0;
}

// Row j of L left of the diagonal, the vector of the lower gemv path, is
// handed over as a copy of unit stride up to this many columns: gemv reads
// a strided vector through a packing buffer of its own, which at these
// sizes costs as much as the product. Each y element takes the same
// products in the same order either way.
constexpr int64_t kRowCopy = 256;

// d: the column, diagonal included, by one gemv against the columns to
// its left.
template <class T>
int64_t lower_gemv(int64_t n, typename T::elem *a, int64_t lda) {
  using E = typename T::elem;
  using R = real_t<E>;
  const E minus_one = E(-1), one = E(1);
  const zor_int ld = lda, inc = 1;
  alignas(16) E row[kRowCopy];
  for (int64_t j = 0; j < n; ++j) {
    E *col = a + j * lda;
    if (j > 0) {
      const zor_int rows = n - j, cols = j;
      if (j <= kRowCopy) {
        for (int64_t k = 0; k < j; ++k) row[k] = a[j + k * lda];
        imports<T>::gemv("No traspose", &rows, &cols, &minus_one, a + j, &ld, row, &inc, &one, col + j, &inc, 11);
      } else {
        imports<T>::gemv("No traspose", &rows, &cols, &minus_one, a + j, &ld, a + j, &ld, &one, col + j, &inc, 11);
      }
    }
    R r;
    if (int64_t bad = take_pivot(col + j, col[j], j, &r)) return bad;
    scale_column(n - j - 1, col + j + 1, r);
  }
  return 0;
}

// c: the diagonal by dotc of row j, then row j conjugated, the rows below
// by gemv against the columns to the left, row j conjugated back.
template <class T>
int64_t lower_dotc_gemv(int64_t n, typename T::elem *a, int64_t lda) {
  using E = typename T::elem;
  using R = real_t<E>;
  const E minus_one = from_real<E>(R(-1)), one = from_real<E>(R(1));
  const zor_int ld = lda, inc = 1;
  for (int64_t j = 0; j < n; ++j) {
    E *row = a + j, *diag = a + j + j * lda;
    R r;
    if (int64_t bad = take_pivot(diag, real_part(*diag) - real_part(self_dotc<T>(j, row, lda)), j, &r)) return bad;
    if (j + 1 == n) break;
    const zor_int rows = n - j - 1, cols = j;
    conjugate(j, row, lda);
    imports<T>::gemv("No traspose", &rows, &cols, &minus_one, a + j + 1, &ld, row, &ld, &one, diag + 1, &inc, 11);
    conjugate(j, row, lda);
    imports<T>::rscal(&rows, &r, diag + 1, &inc);
  }
  return 0;
}

// z: right-looking; the column below the pivot scaled, then the trailing
// block less its outer product by her "Lower", alpha -1.
template <class T>
int64_t lower_her(int64_t n, typename T::elem *a, int64_t lda) {
  using E = typename T::elem;
  using R = real_t<E>;
  const R minus_one = -1;
  const zor_int ld = lda, inc = 1;
  for (int64_t j = 0; j < n; ++j) {
    E *diag = a + j + j * lda;
    R r;
    if (int64_t bad = take_pivot(diag, real_part(*diag), j, &r)) return bad;
    if (j + 1 == n) break;
    const zor_int rest = n - j - 1;
    imports<T>::rscal(&rest, &r, diag + 1, &inc);
    imports<T>::her("Lower", &rest, &minus_one, diag + 1, &inc, diag + 1 + lda, &ld);
  }
  return 0;
}

template <class T>
int64_t lower(int64_t n, typename T::elem *a, int64_t lda) {
  constexpr CholeskyPlan plan = kPlan<T>;
  if (n >= plan.lower_level2) {
    if constexpr (plan.lower_kind == Level2::gemv) return lower_gemv<T>(n, a, lda);
    if constexpr (plan.lower_kind == Level2::dotc_gemv) return lower_dotc_gemv<T>(n, a, lda);
    if constexpr (plan.lower_kind == Level2::her) return lower_her<T>(n, a, lda);
  }
  return lower_left<T>(n, a, lda, n >= plan.lower_nest);
}

// ---------------------------------------------------------------- upper
// a[j, k] for k in [k0, k0 + W): the subtractions over i < j in order, W
// columns side by side.
template <class E, int W>
void reduce_row(int64_t j, int64_t k0, E *a, int64_t lda) {
  const E *uj = a + j * lda;  // column j, rows above the diagonal
  E s[W];
  const E *u[W];
  for (int c = 0; c < W; ++c) u[c] = a + (k0 + c) * lda, s[c] = u[c][j];
  int64_t i = 0;
  for (; i + 2 <= j; i += 2) {
    const E x0 = conj_if<true>(uj[i]), x1 = conj_if<true>(uj[i + 1]);
    for (int c = 0; c < W; ++c) s[c] = s[c] - x0 * u[c][i];
    for (int c = 0; c < W; ++c) s[c] = s[c] - x1 * u[c][i + 1];
  }
  if (i < j) {
    const E x0 = conj_if<true>(uj[i]);
    for (int c = 0; c < W; ++c) s[c] = s[c] - x0 * u[c][i];
  }
  for (int c = 0; c < W; ++c) a[j + (k0 + c) * lda] = s[c];
}

// a[j, k] := a[j, k] r for k in (j, n), two a pass, one at the end.
template <class E>
void scale_row(int64_t n, int64_t j, E *a, int64_t lda, real_t<E> r) {
  int64_t k = j + 1;
  for (; k + 2 <= n; k += 2) {
    a[j + k * lda] = times_real(a[j + k * lda], r);
    a[j + (k + 1) * lda] = times_real(a[j + (k + 1) * lda], r);
  }
  if (k < n) a[j + k * lda] = times_real(a[j + k * lda], r);
}

template <class T>
int64_t upper_rows(int64_t n, typename T::elem *a, int64_t lda) {
  using E = typename T::elem;
  using R = real_t<E>;
  constexpr int W = is_complex_v<E> ? 4 : 8;
  for (int64_t j = 0; j < n; ++j) {
    int64_t k = j;
    for (; k + W <= n; k += W) reduce_row<E, W>(j, k, a, lda);
    for (; k < n; ++k) reduce_row<E, 1>(j, k, a, lda);
    R r;
    if (int64_t bad = take_pivot(a + j + j * lda, real_part(a[j + j * lda]), j, &r)) return bad;
    scale_row(n, j, a, lda, r);
  }
  return 0;
}

// d: row j, diagonal included, by one gemv on the block above it.
template <class T>
int64_t upper_gemv(int64_t n, typename T::elem *a, int64_t lda) {
  using E = typename T::elem;
  using R = real_t<E>;
  const E minus_one = E(-1), one = E(1);
  const zor_int ld = lda, inc = 1;
  for (int64_t j = 0; j < n; ++j) {
    E *diag = a + j + j * lda;
    if (j > 0) {
      const zor_int rows = j, cols = n - j;
      imports<T>::gemv("Transpose", &rows, &cols, &minus_one, a + j * lda, &ld, a + j * lda, &inc, &one, diag, &ld, 9);
    }
    R r;
    if (int64_t bad = take_pivot(diag, *diag, j, &r)) return bad;
    scale_row(n, j, a, lda, r);
  }
  return 0;
}

// c, z: the diagonal by dotc of column j, then column j conjugated, the
// rest of row j by gemv "Transpose" on the block above it, column j
// conjugated back.
template <class T>
int64_t upper_dotc_gemv(int64_t n, typename T::elem *a, int64_t lda) {
  using E = typename T::elem;
  using R = real_t<E>;
  const E minus_one = from_real<E>(R(-1)), one = from_real<E>(R(1));
  const zor_int ld = lda, inc = 1;
  for (int64_t j = 0; j < n; ++j) {
    E *col = a + j * lda, *diag = col + j;
    R r;
    if (int64_t bad = take_pivot(diag, real_part(*diag) - real_part(self_dotc<T>(j, col, 1)), j, &r)) return bad;
    if (j + 1 == n) break;
    const zor_int rows = j, cols = n - j - 1;
    conjugate(j, col, 1);
    imports<T>::gemv("Transpose", &rows, &cols, &minus_one, col + lda, &ld, col, &inc, &one, diag + lda, &ld, 9);
    conjugate(j, col, 1);
    imports<T>::rscal(&cols, &r, diag + lda, &ld);
  }
  return 0;
}

template <class T>
int64_t upper(int64_t n, typename T::elem *a, int64_t lda) {
  constexpr CholeskyPlan plan = kPlan<T>;
  if (n >= plan.upper_level2) {
    if constexpr (plan.upper_kind == Level2::gemv) return upper_gemv<T>(n, a, lda);
    if constexpr (plan.upper_kind == Level2::dotc_gemv) return upper_dotc_gemv<T>(n, a, lda);
  }
  return upper_rows<T>(n, a, lda);
}

template <class T, bool Lower>
void potrf(int64_t n, typename T::elem *a, int64_t lda, int64_t *info) {
  if (n <= 0) return;
  if (int64_t bad = Lower ? lower<T>(n, a, lda) : upper<T>(n, a, lda)) *info = bad;
}

}  // namespace
}  // namespace zor::lapack

using namespace zor::lapack;
using zor::S;
using zor::D;
using zor::C;
using zor::Z;
// clang-format off
ZOR_API void zor_lapack_ps_spotrf_l_small(const char *, const zor_int *n, float *a, const zor_int *lda, zor_int *info) { potrf<S, true>(*n, a, *lda, info); }
ZOR_API void zor_lapack_ps_dpotrf_l_small(const char *, const zor_int *n, double *a, const zor_int *lda, zor_int *info) { potrf<D, true>(*n, a, *lda, info); }
ZOR_API void zor_lapack_ps_spotrf_u_small(const char *, const zor_int *n, float *a, const zor_int *lda, zor_int *info) { potrf<S, false>(*n, a, *lda, info); }
ZOR_API void zor_lapack_ps_dpotrf_u_small(const char *, const zor_int *n, double *a, const zor_int *lda, zor_int *info) { potrf<D, false>(*n, a, *lda, info); }
ZOR_API void zor_lapack_ps_cpotrf_l_small(const char *, const zor_int *n, void *a, const zor_int *lda, zor_int *info) { potrf<C, true>(*n, as_elems<C>(a), *lda, info); }
ZOR_API void zor_lapack_ps_zpotrf_l_small(const char *, const zor_int *n, void *a, const zor_int *lda, zor_int *info) { potrf<Z, true>(*n, as_elems<Z>(a), *lda, info); }
ZOR_API void zor_lapack_ps_cpotrf_u_small(const char *, const zor_int *n, void *a, const zor_int *lda, zor_int *info) { potrf<C, false>(*n, as_elems<C>(a), *lda, info); }
ZOR_API void zor_lapack_ps_zpotrf_u_small(const char *, const zor_int *n, void *a, const zor_int *lda, zor_int *info) { potrf<Z, false>(*n, as_elems<Z>(a), *lda, info); }
// clang-format on
