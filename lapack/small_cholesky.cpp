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
// in groups of four columns (k = 4g .. 4g+3, from j = 5 on), each group in
// one pass over the rows with the four subtractions in ascending k, and the
// j mod 4 columns left over after the groups, one at a time, ascending: so
// every element takes its subtractions in ascending k. The pass over the
// rows peels to the 16-byte alignment of the column and runs four
// registers a step (8 rows for d). The "nest" (s from 50, c from 20) is the
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
template <class T>
int64_t lower_left(int64_t n, typename T::elem *a, int64_t lda, bool scale_by_blas) {
  using E = typename T::elem;
  using R = real_t<E>;
  for (int64_t j = 0; j < n; ++j) {
    E *col = a + j * lda;
    const E *row = a + j;  // row j, columns ahead at stride lda
    int64_t k = 0;
    for (; k + 4 <= j; k += 4) {
      const E t[4] = {conj_if<true>(row[k * lda]), conj_if<true>(row[(k + 1) * lda]),
                      conj_if<true>(row[(k + 2) * lda]), conj_if<true>(row[(k + 3) * lda])};
      subtract_columns<E, 4>(n - j, col + j, row + k * lda, lda, t);
    }
    for (; k < j; ++k) {
      const E t[1] = {conj_if<true>(row[k * lda])};
      subtract_columns<E, 1>(n - j, col + j, row + k * lda, lda, t);
    }
    R r;
    if (int64_t bad = take_pivot(col + j, real_part(col[j]), j, &r)) return bad;
    zor_int below = n - j - 1, one = 1;
    if (scale_by_blas) imports<T>::rscal(&below, &r, col + j + 1, &one);
    else scale_column(below, col + j + 1, r);
  }
  return 0;
}

// d: the column, diagonal included, by one gemv against the columns to
// its left.
template <class T>
int64_t lower_gemv(int64_t n, typename T::elem *a, int64_t lda) {
  using E = typename T::elem;
  using R = real_t<E>;
  const E minus_one = E(-1), one = E(1);
  const zor_int ld = lda, inc = 1;
  for (int64_t j = 0; j < n; ++j) {
    E *col = a + j * lda;
    if (j > 0) {
      const zor_int rows = n - j, cols = j;
      imports<T>::gemv("No traspose", &rows, &cols, &minus_one, a + j, &ld, a + j, &ld, &one, col + j, &inc, 11);
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
