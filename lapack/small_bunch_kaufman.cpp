// Small symmetric indefinite factorisations, A = L D L^T (?sytrf_l_small)
// or A = U D U^T (?sytrf_u_small), by Bunch-Kaufman diagonal pivoting with
// 1 by 1 and 2 by 2 blocks, in one routine without blocking. The first
// argument stands for uplo and is not read.
//
// Step k (lower: k = 1, 2, ... forwards; upper: k = n, n-1, ... backwards),
// alpha = (1 + sqrt(17)) / 8:
//   absakk := |a[k, k]|; colmax, imax := the largest magnitude off the
//   diagonal in column k of the trailing (leading) block and its row: the
//   first one a strict comparison finds scanning down the column (lower:
//   from the diagonal down; upper: from row 1 down to the diagonal). The
//   scan takes two elements a pass in two lanes, each keeping its first
//   maximum; the lanes are merged by value and, on equal values, by the
//   lower position, which is the first maximum of the whole scan.
//   If max(absakk, colmax) = 0, or absakk is NaN (counted as a zero
//   column, as the published routine does): info := k unless info already
//   holds a non-zero value (it is read first and only the first zero column
//   is recorded), ipiv[k] := k, nothing else changes.
//   Else if absakk >= alpha colmax: a 1 by 1 pivot, no interchange.
//   Else rowmax := the largest magnitude off the diagonal in row imax of
//   the trailing block; absakk >= alpha colmax (colmax / rowmax): no
//   interchange; else |a[imax, imax]| >= alpha rowmax: interchange k and
//   imax, 1 by 1; else a 2 by 2 pivot on k and k+1 (k-1 upper), with imax
//   moved to k+1 (k-1). ipiv holds the 1-based row, negated for both rows of
//   a 2 by 2 block.
//   1 by 1: with x the column below (above) the pivot and d := 1 / a[k, k],
//   the trailing block takes -d x x^T (its triangle, column by column,
//   columns with x[j] = 0 skipped, element a[i, j] += x[i] (-d x[j]),
//   computed as a[i, j] - x[i] (d x[j]), the same bits), then x := d x.
//   2 by 2: the two columns' update as in the published routine,
//   a[i, j] := a[i, j] - a[i, k] w_k - a[i, k+1] w_k+1 in that order.
//   Both run down the columns in registers (the rank-one update two
//   columns a pass), the same arithmetic per element.
// These are the published routine's operations in its order, so results
// agree with it bit for bit on the same pivots.
//
// Paths, one table row per precision: the rank-one update by loops, or (s
// lower) by the provider's syr "Lower" with alpha -d (which skips the same
// columns and forms the same products); the scaling of x by a loop, or by the
// level-1 scaling from the n in the table on (d lower from 45; s upper
// always). The loop scaling rides on the update's loop: x[j] is scaled once
// the pair of columns that last reads it is done.
#include <zor/lapack.h>

#include <cmath>
#include <cstdint>

#include "frame/imports.hpp"
#include "frame/simd.hpp"
#include "lapack/column_updates.hpp"
#include "lapack/elements.hpp"

namespace zor::lapack {
namespace {

constexpr int64_t kNever = INT64_MAX;

struct BunchKaufmanPlan {
  int64_t lower_scal, upper_scal;  // n from which x is scaled by the level-1 scaling
  bool lower_syr;                  // the lower rank-one update by the provider's syr
};
template <class T> constexpr BunchKaufmanPlan kBunchKaufman{};
// clang-format off
//                                               lower_scal  upper_scal  lower_syr
template <> constexpr BunchKaufmanPlan kBunchKaufman<S>{45,         0,          true};
template <> constexpr BunchKaufmanPlan kBunchKaufman<D>{45,         kNever,     false};
// clang-format on

template <class R> constexpr R kAlpha = R(0.6403882032022076);  // (1 + sqrt(17)) / 8

template <class R>
void swap_runs(int64_t len, R *x, int64_t incx, R *y, int64_t incy) {
  for (int64_t i = 0; i < len; ++i) std::swap(x[i * incx], y[i * incy]);
}

template <class T>
void scale(int64_t len, typename T::real d, typename T::real *x, bool by_blas) {
  if (by_blas) {
    const zor_int n = len, one = 1;
    imports<T>::scal(&n, &d, x, &one);
  } else {
    scale_column(len, x, d);
  }
}

// The trailing (leading) triangle less d x x^T, columns with x[j] = 0
// skipped: a[i, j] += x[i] (-d x[j]) is computed as a[i, j] - x[i] (d x[j]),
// the same bits. With scale, x[j] := x[j] d as soon as the columns that
// read it are done (the triangle's columns from j on read x from row j on,
// upper: up to row j), which is the loop scaling of x after the update.
template <class R, bool Lower>
void rank_one(int64_t m, R *x, R d, R *a, int64_t lda, bool scale) {
  const R *const src[1] = {x};
  triangle_update<R, Lower, 1>(
      m, src, a, lda,
      [&](int64_t j, R *t) {
        t[0] = d * x[j];
        return x[j] != R(0);
      },
      [&](int64_t j) {
        if (scale) x[j] = x[j] * d;
      });
}

// ---------------------------------------------------------------- lower
template <class T>
void lower(int64_t n, typename T::real *a, int64_t lda, int64_t *ipiv, int64_t *info) {
  using R = typename T::real;
  const bool by_blas = n >= kBunchKaufman<T>.lower_scal;
  auto A = [&](int64_t i, int64_t j) -> R & { return a[i + j * lda]; };
  int64_t k = 0;
  while (k < n) {
    int64_t kstep = 1, kp = k, imax = k;
    const R absakk = std::fabs(A(k, k));
    R colmax = 0;
    if (k + 1 < n) {
      first_max(n - k - 1, &A(k + 1, k), 1, &imax, &colmax);
      imax += k + 1;
    }
    if (std::max(absakk, colmax) == R(0) || std::isnan(absakk)) {
      if (*info == 0) *info = k + 1;
      ipiv[k] = k + 1;
      ++k;
      continue;
    }
    if (!(absakk >= kAlpha<R> * colmax)) {
      const R rowmax = std::max(largest(imax - k, &A(imax, k), lda), largest(n - imax - 1, &A(imax + 1, imax), 1));
      if (absakk >= kAlpha<R> * colmax * (colmax / rowmax)) kp = k;
      else if (std::fabs(A(imax, imax)) >= kAlpha<R> * rowmax) kp = imax;
      else kp = imax, kstep = 2;
    }
    const int64_t kk = k + kstep - 1;
    if (kp != kk) {
      swap_runs(n - kp - 1, &A(kp + 1, kk), 1, &A(kp + 1, kp), 1);
      swap_runs(kp - kk - 1, &A(kk + 1, kk), 1, &A(kp, kk + 1), lda);
      std::swap(A(kk, kk), A(kp, kp));
      if (kstep == 2) std::swap(A(k + 1, k), A(kp, k));
    }
    if (kstep == 1) {
      if (k + 1 < n) {
        const R d11 = R(1) / A(k, k);
        R *x = &A(k + 1, k);
        if constexpr (kBunchKaufman<T>.lower_syr) {
          const zor_int m = n - k - 1, one = 1, ld = lda;
          const R minus_d11 = -d11;
          imports<T>::syr("Lower", &m, &minus_d11, x, &one, &A(k + 1, k + 1), &ld, 5);
        } else {
          rank_one<R, true>(n - k - 1, x, d11, &A(k + 1, k + 1), lda, !by_blas);
        }
        if (by_blas || kBunchKaufman<T>.lower_syr) scale<T>(n - k - 1, d11, x, by_blas);
      }
      ipiv[k] = kp + 1;
    } else {
      if (k + 2 < n) {
        R d21 = A(k + 1, k);
        const R d11 = A(k + 1, k + 1) / d21, d22 = A(k, k) / d21, t = R(1) / (d11 * d22 - R(1));
        d21 = t / d21;
        R *s0 = &A(k + 2, k), *s1 = &A(k + 2, k + 1);
        const R *const src[2] = {s0, s1};
        R w0 = 0, w1 = 0, w2 = 0, w3 = 0;  // the factors of the current pair
        triangle_update<R, true, 2>(
            n - k - 2, src, &A(k + 2, k + 2), lda,
            [&](int64_t j, R *t) {
              t[0] = d21 * (d11 * s0[j] - s1[j]);
              t[1] = d21 * (d22 * s1[j] - s0[j]);
              ((j & 1) ? w2 : w0) = t[0], ((j & 1) ? w3 : w1) = t[1];
              return true;
            },
            [&](int64_t j) { s0[j] = (j & 1) ? w2 : w0, s1[j] = (j & 1) ? w3 : w1; });
      }
      ipiv[k] = ipiv[k + 1] = -(kp + 1);
    }
    k += kstep;
  }
}

// ---------------------------------------------------------------- upper
template <class T>
void upper(int64_t n, typename T::real *a, int64_t lda, int64_t *ipiv, int64_t *info) {
  using R = typename T::real;
  const bool by_blas = n >= kBunchKaufman<T>.upper_scal;
  auto A = [&](int64_t i, int64_t j) -> R & { return a[i + j * lda]; };
  int64_t k = n - 1;
  while (k >= 0) {
    int64_t kstep = 1, kp = k, imax = k;
    const R absakk = std::fabs(A(k, k));
    R colmax = 0;
    if (k > 0) first_max(k, &A(0, k), 1, &imax, &colmax);
    if (std::max(absakk, colmax) == R(0) || std::isnan(absakk)) {
      if (*info == 0) *info = k + 1;
      ipiv[k] = k + 1;
      --k;
      continue;
    }
    if (!(absakk >= kAlpha<R> * colmax)) {
      const R rowmax = std::max(largest(k - imax, &A(imax, imax + 1), lda), largest(imax, &A(0, imax), 1));
      if (absakk >= kAlpha<R> * colmax * (colmax / rowmax)) kp = k;
      else if (std::fabs(A(imax, imax)) >= kAlpha<R> * rowmax) kp = imax;
      else kp = imax, kstep = 2;
    }
    const int64_t kk = k - kstep + 1;
    if (kp != kk) {
      swap_runs(kp, &A(0, kk), 1, &A(0, kp), 1);
      swap_runs(kk - kp - 1, &A(kp + 1, kk), 1, &A(kp, kp + 1), lda);
      std::swap(A(kk, kk), A(kp, kp));
      if (kstep == 2) std::swap(A(k - 1, k), A(kp, k));
    }
    if (kstep == 1) {
      const R r1 = R(1) / A(k, k);
      R *x = &A(0, k);
      rank_one<R, false>(k, x, r1, a, lda, !by_blas);
      if (by_blas) scale<T>(k, r1, x, by_blas);
      ipiv[k] = kp + 1;
    } else {
      if (k > 1) {
        R d12 = A(k - 1, k);
        const R d22 = A(k - 1, k - 1) / d12, d11 = A(k, k) / d12, t = R(1) / (d11 * d22 - R(1));
        d12 = t / d12;
        R *sk = &A(0, k), *sk1 = &A(0, k - 1);
        const R *const src[2] = {sk, sk1};
        R w0 = 0, w1 = 0, w2 = 0, w3 = 0;
        triangle_update<R, false, 2>(
            k - 1, src, a, lda,
            [&](int64_t j, R *t) {
              t[1] = d12 * (d11 * sk1[j] - sk[j]);  // w_k-1
              t[0] = d12 * (d22 * sk[j] - sk1[j]);  // w_k
              ((j & 1) ? w2 : w0) = t[0], ((j & 1) ? w3 : w1) = t[1];
              return true;
            },
            [&](int64_t j) { sk[j] = (j & 1) ? w2 : w0, sk1[j] = (j & 1) ? w3 : w1; });
      }
      ipiv[k] = ipiv[k - 1] = -(kp + 1);
    }
    k -= kstep;
  }
}

template <class T, bool Lower>
void sytrf(int64_t n, typename T::real *a, int64_t lda, int64_t *ipiv, int64_t *info) {
  if (n <= 0) return;
  if constexpr (Lower) lower<T>(n, a, lda, ipiv, info);
  else upper<T>(n, a, lda, ipiv, info);
}

}  // namespace
}  // namespace zor::lapack

using namespace zor::lapack;
using zor::S;
using zor::D;
// clang-format off
ZOR_API void zor_lapack_ps_ssytrf_l_small(const char *, const zor_int *n, float *a, const zor_int *lda, zor_int *ipiv, zor_int *info) { sytrf<S, true>(*n, a, *lda, ipiv, info); }
ZOR_API void zor_lapack_ps_dsytrf_l_small(const char *, const zor_int *n, double *a, const zor_int *lda, zor_int *ipiv, zor_int *info) { sytrf<D, true>(*n, a, *lda, ipiv, info); }
ZOR_API void zor_lapack_ps_ssytrf_u_small(const char *, const zor_int *n, float *a, const zor_int *lda, zor_int *ipiv, zor_int *info) { sytrf<S, false>(*n, a, *lda, ipiv, info); }
ZOR_API void zor_lapack_ps_dsytrf_u_small(const char *, const zor_int *n, double *a, const zor_int *lda, zor_int *ipiv, zor_int *info) { sytrf<D, false>(*n, a, *lda, ipiv, info); }
// clang-format on
