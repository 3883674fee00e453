// Rank-k updates of one triangle of C, in the four precisions and the two
// Hermitian ones (one body over the element traits):
//   ?syrk  C := alpha op(A) op(A)^T + beta C,
//   ?herk  C := alpha op(A) op(A)^H + beta C, alpha and beta real,
// op(A) = A (n x k) for 'N' and its transpose for 'T', 'C', 't', 'c' (in
// ?herk the conjugate transpose). Every element of the triangle takes beta
// exactly once: in the direct kernel that covers it or in the one rectangle
// product that covers it. In ?herk the diagonal leaves with a zero imaginary
// part, also where it held one on entry.
//
// Route (uplo mirrors everything):
//   k = 0: the direct kernel, which only scales by beta; k below 1: nothing.
//   order 4: zor_blas_dsyrk_4k in d, the direct kernel elsewhere;
//   below 20: the small driver; from 20 the five-way split: nb = n / 5
//   rounded down to a multiple of 4, the small driver on four diagonal
//   blocks of nb with a rectangle product between the blocks done so far and
//   the next block after each, then on the last block of n - 4 nb (order 20:
//   four blocks of 4 and a last of 4; 21: a last of 5).
//   The small driver, order n:
//     d: 4 -> dsyrk_4k; from 12 three-way (blocks of n / 3 rounded down to 4,
//        and the rest), the direct kernel on each block, a rectangle product
//        after each of the first two; else the direct kernel.
//     s: 4 -> the direct kernel; from 12 three-way as d, and each of the
//        three blocks of order 16 or more cut again into blocks of 8 (the last
//        one taking the 8 to 15 left over), a rectangle product after each
//        block of 8; else the direct kernel.
//     c, z: 4 -> the direct kernel; from 12 in two (a first block of n / 2
//        rounded down to 4, and the rest) around one rectangle product; else
//        the direct kernel.
//   Rectangles are zor_blas_x?gemm with the caller's alpha and beta and the
//   flags 'N', 'T' / 'T', 'N' ('C' in place of 'T' for ?herk).
//
// The direct kernel (zor_blas_?syrk_pst, ?herk_pst): squares of 32 x 32 of
// the triangle, column squares from the end of the triangle and row squares
// from the end within each; the depth in blocks that fill 18,432 bytes of
// stage (72 in d and c, 144 in s, 36 in z). For each column square and depth
// block, op(A) of the square's 32 columns is staged on the stack
// and every tile of the square's rows is formed from it and from A read in
// place (gemm/level3.hpp). The first depth block applies the caller's beta
// (beta 0 stores without reading C), the later ones add.
#include <zor/level3.h>

#include "gemm/level3.hpp"

namespace zor::gemm {
namespace {

template <class T, bool Herm>
struct Syrk {
  using E = typename T::elem;
  using S = Factor<T, Herm>;
  static constexpr int UM = TileShape<T>::UM, UB = TileShape<T>::UB;
  static constexpr int64_t kBlock = fixed::kPstBlock, kDepth = fixed::kPstStageBytes / (kBlock * int64_t(sizeof(E)));

  bool upper, trans;
  int64_t k;
  S alpha, beta;
  const E *a;
  int64_t lda;
  E *c;
  int64_t ldc;

  E elem_alpha() const {
    if constexpr (Herm) return E{alpha, 0};
    else return alpha;
  }
  E elem_beta() const {
    if constexpr (Herm) return E{beta, 0};
    else return beta;
  }

  // C(r0 .. r0 + rows, c0 .. c0 + cols) = alpha op(A)(r0..) op(A)(c0..)^T + beta C.
  void rect(int64_t r0, int64_t rows, int64_t c0, int64_t cols) const {
    constexpr char t = kTransposed<Herm>;
    E *cc = c + r0 + c0 * ldc;
    if (trans) gemm<T>(t, 'N', rows, cols, k, elem_alpha(), a + r0 * lda, lda, a + c0 * lda, lda, elem_beta(), cc, ldc);
    else gemm<T>('N', t, rows, cols, k, elem_alpha(), a + r0, lda, a + c0, lda, elem_beta(), cc, ldc);
  }
  // The part of the triangle between the diagonal range [lo, mid) and the
  // range [mid, hi).
  void between(int64_t lo, int64_t mid, int64_t hi) const {
    if (upper) rect(lo, mid - lo, mid, hi - mid);
    else rect(mid, hi - mid, lo, mid - lo);
  }

  // Adds a finished tile of alpha op(A) op(A)^T to C within the triangle:
  // d(u, v) belongs to C(i0 + u, j0 + v), or to C(i0 + v, j0 + u) when
  // swapped. The first depth block applies beta.
  void update(const E *d, int64_t um, int64_t ub, int64_t i0, int64_t j0, bool swapped, bool first) const {
    const bool beta_zero = is_zero(beta);
    for (int64_t v = 0; v < ub; ++v)
      for (int64_t u = 0; u < um; ++u) {
        const int64_t i = swapped ? i0 + v : i0 + u, j = swapped ? j0 + u : j0 + v;
        if (upper ? i > j : i < j) continue;
        E &x = c[i + j * ldc];
        const E term = times(alpha, d[u + v * UM]);
        x = !first ? x + term : beta_zero ? term : times(beta, x) + term;
        if constexpr (Herm)
          if (i == j) real_diagonal(x);
      }
  }

  // The direct kernel on the diagonal block of order n at o.
  void direct(int64_t o, int64_t n) const {
    if (n < 1) return;
    const Syrk s = shifted(o);
    if (is_zero(alpha) || k == 0) {
      if (!is_one(beta)) scale_triangle<Herm>(upper, n, beta, s.c, ldc);
      return;
    }
    alignas(16) E stage[kBlock * kDepth];
    E tile[UM * UB];
    for (int64_t j0 = round_down(n - 1, kBlock); j0 >= 0; j0 -= kBlock) {
      const int64_t nj = n - j0 < kBlock ? n - j0 : kBlock;
      // The rows of this column square: the diagonal square and those below
      // (lower) or above (upper) it.
      const int64_t rows_lo = upper ? 0 : j0, rows_hi = upper ? j0 + nj : n;
      for (int64_t l0 = 0; l0 < k; l0 += kDepth) {
        const int64_t kb = k - l0 < kDepth ? k - l0 : kDepth;
        // op(A) of the square's columns at stage[j + kBlock l], zero up to
        // the width the tiles read.
        const int64_t width = round_up(nj, trans ? UM : UB);
        if (trans) {
          for (int64_t j = 0; j < nj; ++j)
            for (int64_t l = 0; l < kb; ++l) stage[j + kBlock * l] = s.a[l0 + l + (j0 + j) * lda];
        } else {
          for (int64_t l = 0; l < kb; ++l)
            for (int64_t j = 0; j < nj; ++j) stage[j + kBlock * l] = s.a[j0 + j + (l0 + l) * lda];
        }
        for (int64_t l = 0; l < kb; ++l)
          for (int64_t j = nj; j < width; ++j) stage[j + kBlock * l] = E{};
        for (int64_t r0 = round_down(rows_hi - 1 - rows_lo, kBlock) + rows_lo; r0 >= rows_lo; r0 -= kBlock) {
          const int64_t r1 = rows_hi - r0 < kBlock ? rows_hi : r0 + kBlock;
          s.square(stage, r0, r1, j0, nj, l0, kb, tile);
        }
      }
    }
  }

  // One square: rows [r0, r1) against the staged columns j0 .. j0 + nj at
  // depth l0 .. l0 + kb. Tiles wholly outside the triangle are skipped.
  void square(const E *stage, int64_t r0, int64_t r1, int64_t j0, int64_t nj, int64_t l0, int64_t kb,
              E *tile) const {
    const bool first = l0 == 0;
    auto outside = [&](int64_t i0, int64_t ni, int64_t jt, int64_t njt) {
      return upper ? i0 > jt + njt - 1 : i0 + ni - 1 < jt;
    };
    if (!trans) {
      // Rows of A in place are the vector side, the staged columns broadcast.
      for (int64_t i0 = r0; i0 < r1; i0 += UM) {
        const int64_t um = r1 - i0 < UM ? r1 - i0 : UM;
        for (int64_t jt = 0; jt < nj; jt += UB) {
          const int64_t ub = nj - jt < UB ? nj - jt : UB;
          if (outside(i0, um, j0 + jt, ub)) continue;
          product<T, Herm>(um, ub, kb, a + i0 + l0 * lda, lda, stage + jt, 1, kBlock, tile);
          update(tile, um, ub, i0, j0 + jt, false, first);
        }
      }
    } else {
      // The staged columns are the vector side, columns of A broadcast.
      for (int64_t i0 = r0; i0 < r1; i0 += UB) {
        const int64_t ub = r1 - i0 < UB ? r1 - i0 : UB;
        for (int64_t jt = 0; jt < nj; jt += UM) {
          const int64_t um = nj - jt < UM ? nj - jt : UM;
          if (outside(i0, ub, j0 + jt, um)) continue;
          const E *y = a + l0 + i0 * lda;
          if (ub == UB) product_full<T, Herm>(kb, stage + jt, kBlock, y, lda, 1, tile);
          else product_part<T, Herm>(um, ub, kb, stage + jt, 1, kBlock, y, lda, 1, tile);
          update(tile, um, ub, i0, j0 + jt, true, first);
        }
      }
    }
  }

  // The same update on the diagonal block at o.
  Syrk shifted(int64_t o) const {
    Syrk s = *this;
    s.a = trans ? a + o * lda : a + o;
    s.c = c + o + o * ldc;
    return s;
  }

  // Order 4 in one depth loop (d).
  void order4(int64_t o) const {
    if constexpr (T::letter != 'd') {
      direct(o, 4);
    } else {
      const Syrk s = shifted(o);
      if (is_zero(alpha) || k == 0) {
        if (!is_one(beta)) scale_triangle<Herm>(upper, 4, beta, s.c, ldc);
        return;
      }
      E tile[UM * UB];
      if (trans) product_part<T, false>(4, 4, k, s.a, lda, 1, s.a, lda, 1, tile);
      else product_full<T, false>(k, s.a, lda, s.a, 1, lda, tile);
      s.update(tile, 4, 4, 0, 0, false, true);
    }
  }

  // Single precision's second stage: blocks of 8 with rectangles between.
  void second(int64_t o, int64_t n) const {
    if constexpr (T::letter == 's') {
      int64_t x = 0;
      for (; n >= fixed::kSyrkSecondStage && n - x >= fixed::kSyrkSecondStage; x += fixed::kSyrkSecondBlock) {
        direct(o + x, fixed::kSyrkSecondBlock);
        between(o + x, o + x + fixed::kSyrkSecondBlock, o + n);
      }
      direct(o + x, n - x);
    } else {
      direct(o, n);
    }
  }

  void small(int64_t o, int64_t n) const {
    if (n == fixed::kSyrkOrder4) return order4(o);
    if (n < fixed::kSyrkSmallSplit) return direct(o, n);
    const int ways = T::complex ? 2 : 3;
    const int64_t nb = round_down(n / ways, fixed::kSyrkBlockMultiple);
    for (int i = 0; i + 1 < ways; ++i) {
      second(o + i * nb, nb);
      between(o + i * nb, o + (i + 1) * nb, o + n);
    }
    second(o + (ways - 1) * nb, n - (ways - 1) * nb);
  }

  void blocked(int64_t n) const {
    if (n == fixed::kSyrkOrder4) return order4(0);
    if (n < fixed::kSyrkFiveWay) return small(0, n);
    const int64_t nb = round_down(n / 5, fixed::kSyrkBlockMultiple);
    for (int64_t i = 0; i < 4; ++i) {
      small(i * nb, nb);
      between(0, (i + 1) * nb, i < 3 ? (i + 2) * nb : n);
    }
    small(4 * nb, n - 4 * nb);
  }
};

template <class T, bool Herm>
Syrk<T, Herm> make(const char *uplo, const char *trans, const int64_t *k, const Factor<T, Herm> *alpha,
                   const void *a, const int64_t *lda, const Factor<T, Herm> *beta, void *c, const int64_t *ldc) {
  using E = typename T::elem;
  return {is_letter(uplo, 'U'), rank_k_transposed(trans), *k, load_any(alpha), load_any(beta), static_cast<const E *>(a), *lda,
          static_cast<E *>(c), *ldc};
}

template <class T, bool Herm>
void syrk(const char *uplo, const char *trans, const int64_t *n, const int64_t *k, const Factor<T, Herm> *alpha,
          const void *a, const int64_t *lda, const Factor<T, Herm> *beta, void *c, const int64_t *ldc) {
  const auto s = make<T, Herm>(uplo, trans, k, alpha, a, lda, beta, c, ldc);
  if (*k == 0) return s.direct(0, *n);
  if (*k < 1) return;
  s.blocked(*n);
}

template <class T, bool Herm>
void syrk_direct(const char *uplo, const char *trans, const int64_t *n, const int64_t *k,
                 const Factor<T, Herm> *alpha, const void *a, const int64_t *lda, const Factor<T, Herm> *beta,
                 void *c, const int64_t *ldc) {
  make<T, Herm>(uplo, trans, k, alpha, a, lda, beta, c, ldc).direct(0, *n);
}

}  // namespace
}  // namespace zor::gemm

using zor::S;
using zor::D;
using zor::C;
using zor::Z;
using zor::gemm::syrk;
using zor::gemm::syrk_direct;
using I = const int64_t *;
using P = const void *;

// clang-format off
ZOR_API void zor_blas_xssyrk(const char *u, const char *t, I n, I k, const float *alpha, const float *a, I lda, const float *beta, float *c, I ldc) { syrk<S, false>(u, t, n, k, alpha, a, lda, beta, c, ldc); }
ZOR_API void zor_blas_xdsyrk(const char *u, const char *t, I n, I k, const double *alpha, const double *a, I lda, const double *beta, double *c, I ldc) { syrk<D, false>(u, t, n, k, alpha, a, lda, beta, c, ldc); }
ZOR_API void zor_blas_xcsyrk(const char *u, const char *t, I n, I k, P alpha, P a, I lda, P beta, void *c, I ldc) { syrk<C, false>(u, t, n, k, static_cast<const zor::cplx<float> *>(alpha), a, lda, static_cast<const zor::cplx<float> *>(beta), c, ldc); }
ZOR_API void zor_blas_xzsyrk(const char *u, const char *t, I n, I k, P alpha, P a, I lda, P beta, void *c, I ldc) { syrk<Z, false>(u, t, n, k, static_cast<const zor::cplx<double> *>(alpha), a, lda, static_cast<const zor::cplx<double> *>(beta), c, ldc); }
ZOR_API void zor_blas_xcherk(const char *u, const char *t, I n, I k, const float *alpha, P a, I lda, const float *beta, void *c, I ldc) { syrk<C, true>(u, t, n, k, alpha, a, lda, beta, c, ldc); }
ZOR_API void zor_blas_xzherk(const char *u, const char *t, I n, I k, const double *alpha, P a, I lda, const double *beta, void *c, I ldc) { syrk<Z, true>(u, t, n, k, alpha, a, lda, beta, c, ldc); }
ZOR_API void zor_blas_ssyrk_pst(const char *u, const char *t, I n, I k, const float *alpha, const float *a, I lda, const float *beta, float *c, I ldc) { syrk_direct<S, false>(u, t, n, k, alpha, a, lda, beta, c, ldc); }
ZOR_API void zor_blas_dsyrk_pst(const char *u, const char *t, I n, I k, const double *alpha, const double *a, I lda, const double *beta, double *c, I ldc) { syrk_direct<D, false>(u, t, n, k, alpha, a, lda, beta, c, ldc); }
ZOR_API void zor_blas_csyrk_pst(const char *u, const char *t, I n, I k, P alpha, P a, I lda, P beta, void *c, I ldc) { syrk_direct<C, false>(u, t, n, k, static_cast<const zor::cplx<float> *>(alpha), a, lda, static_cast<const zor::cplx<float> *>(beta), c, ldc); }
ZOR_API void zor_blas_zsyrk_pst(const char *u, const char *t, I n, I k, P alpha, P a, I lda, P beta, void *c, I ldc) { syrk_direct<Z, false>(u, t, n, k, static_cast<const zor::cplx<double> *>(alpha), a, lda, static_cast<const zor::cplx<double> *>(beta), c, ldc); }
ZOR_API void zor_blas_cherk_pst(const char *u, const char *t, I n, I k, const float *alpha, P a, I lda, const float *beta, void *c, I ldc) { syrk_direct<C, true>(u, t, n, k, alpha, a, lda, beta, c, ldc); }
ZOR_API void zor_blas_zherk_pst(const char *u, const char *t, I n, I k, const double *alpha, P a, I lda, const double *beta, void *c, I ldc) { syrk_direct<Z, true>(u, t, n, k, alpha, a, lda, beta, c, ldc); }
// clang-format on

// The kernel of order 4 (the rank-k updates of d reach it for every block of
// that order; it reads n as 4).
ZOR_API void zor_blas_dsyrk_4k(const char *u, const char *t, I n, I k, const double *alpha, const double *a, I lda,
                              const double *beta, double *c, I ldc) {
  (void)n;
  zor::gemm::make<D, false>(u, t, k, alpha, a, lda, beta, c, ldc).order4(0);
}
