// Triangular solve, one body over the element traits:
//   op(A) X = alpha B (side 'L', A m x m) or X op(A) = alpha B (side 'R',
//   A n x n), X overwriting B; A upper or lower triangular, op(A) = A, A^T
//   or A^H ('C', complex only), unit diagonal ('U': never read).
//
// Order of events: empty shapes return; alpha 0 clears B (nothing is
// allocated, A unread). The row block is read from the processor answer
// (d: 1000 on the later generation, 512 on the earlier; s 1024; c, z 192)
// and a descriptor filled (d: the optimal kernel row; s, c, z: row 0). Two
// pooled buffers at 128 bytes are taken: the leaf's (a 32 x 32 block of A
// and its 32 inverse diagonal elements: 8,448 bytes in d) and the packed
// solved rows' (d 8,000,000 bytes; s 524,288, c 196,608, z 393,216: a row
// block times a diagonal block). Only then is B scaled by alpha, so a failed
// allocation leaves B as it was. When the second allocation fails the first
// block is not given back: it stays marked in use in the thread's pool, as
// it always has.
//
// Two levels of diagonal blocks, then the leaf:
//   side 'R': level 0 blocks of 128 (d: 256 when the order is 2000 or more),
//     level 1 blocks of 32; B in row blocks. The first level whose block is
//     smaller than the order is where the walk starts, else level 0: an
//     order of 32 starts at level 0, whose one block of 32 goes to level 1
//     and at once to the leaf; no rectangle is formed on the way.
//   side 'L': level 0 blocks of 128, level 1 blocks of 32, the first level
//     whose block is at most the order starting (else level 0); B in column
//     chunks of 1000 (512 below 500 rows).
// At each level the diagonal is walked in the order op(A) asks for (forward
// for an upper op(A) on the right and a lower one on the left); after each
// block is solved the rest of the level's range on the far side takes
// -1 x the product of the solved block with the rectangle of A, by the
// engine's blocked driver after its block sizes are cleared. On the right
// the solved rows are first packed (times -1, by the descriptor's A copy)
// into the second buffer, at their depth within the level-0 block (panel
// stride: A panel width x the level-0 block), so the level-1 and the level-0
// products both run on plan 8 without packing them again; a plan 8 product
// that cannot get its own buffers is replaced by the plain product on B.
// On the left the rectangle is the product's A operand, packed by the
// driver (plan chosen by it).
//
// The leaf, order nb <= 32: the diagonal block of op(A) packed into the
// first buffer with its inverse diagonal (solves multiply). On the right,
// columns in groups of the B panel width (d 4), rows in tiles of the A
// panel width (d 4): each tile takes the product of the solved columns with
// the packed block (gemm/level3.hpp's tile), then its small triangle is
// solved; on the left the same with rows and columns exchanged. Partial tiles
// take the element-wise form of the same sums.
#include <zor/level3.h>

#include "frame/memory.hpp"
#include "gemm/level3.hpp"

namespace zor::gemm {
namespace {

template <class E>
constexpr E minus_one_of() {
  if constexpr (is_complex_v<E>) return E{-1, 0};
  else return E(-1);
}

template <class T>
struct Trsm {
  using E = typename T::elem;
  static constexpr int UM = TileShape<T>::UM, UB = TileShape<T>::UB;
  static constexpr int64_t kLeaf = fixed::kTrsmLeaf;
  static constexpr E kOne = one_of<E>(), kMinusOne = minus_one_of<E>();

  TriLetters f;
  const E *a;
  int64_t lda;
  E *b;
  int64_t ldb;
  GemmDesc *d;
  E *leaf;            // kLeaf x kLeaf block of op(A), then its inverse diagonal
  E *packed;          // -X of a row block, panels of the descriptor's row
  int64_t stride;     // elements from one packed panel to the next
  int64_t diag0;      // level-0 diagonal block

  // op(A)(i, j), the triangle of op(A) only.
  E op_a(int64_t i, int64_t j) const {
    if (f.unit && i == j) return kOne;
    return f.trans ? conj_if(a[j + i * lda], f.conj) : a[i + j * lda];
  }
  // op(A)(i0, j0) as the corner of a block the engine reads with op_letter().
  const E *block(int64_t i0, int64_t j0) const { return f.trans ? a + j0 + i0 * lda : a + i0 + j0 * lda; }
  int64_t block_of(int level) const { return level == 0 ? diag0 : kLeaf; }

  // leaf[r + c kLeaf] = op(A)(o + r, o + c) in the triangle, zero elsewhere;
  // leaf[kLeaf^2 + r] = 1 / op(A)(o + r, o + r).
  void pack_leaf(int64_t o, int64_t nb) const {
    const bool up = f.op_upper();
    for (int64_t c = 0; c < kLeaf; ++c)
      for (int64_t r = 0; r < kLeaf; ++r)
        leaf[r + c * kLeaf] = r < nb && c < nb && (up ? r <= c : r >= c) ? op_a(o + r, o + c) : E{};
    E *inv = leaf + kLeaf * kLeaf;
    for (int64_t r = 0; r < nb; ++r) inv[r] = f.unit ? kOne : quotient(kOne, op_a(o + r, o + r));
  }

  // ---- side 'R': X op(A) = B on rows i0 .. i0 + mb
  // B(rows, f0 .. f0 + nf) -= X(rows, s0 .. s0 + k) op(A)(s0.., f0..), the
  // packed -X at depth s0 - base.
  void subtract_right(int64_t i0, int64_t mb, int64_t s0, int64_t k, int64_t f0, int64_t nf, int64_t base) const {
    const char tb[2] = {f.op_letter(), 0};
    E *out = b + i0 + f0 * ldb;
    zor_blas_cgemm_set_blks_size(0, 0, 0, d);
    d->get_blks_size(&mb, &nf, &k, d);
    ZOR_ASSERT(d->block_k >= k);  // plan 8 takes the whole depth in one block
    if (xgemm_par<T>("N", tb, &mb, &nf, &k, &kMinusOne, packed + (s0 - base) * UM, &stride, block(s0, f0), &lda,
                     &kOne, out, &ldb, kPlanPrepackedA, d) != 0)
      gemm<T>('N', tb[0], mb, nf, k, kMinusOne, b + i0 + s0 * ldb, ldb, block(s0, f0), lda, kOne, out, ldb);
  }

  void solve_right(int level, int64_t i0, int64_t mb, int64_t c0, int64_t c1, int64_t base) const {
    const int64_t blk = block_of(level), blocks = (c1 - c0 + blk - 1) / blk;
    const bool fwd = f.op_upper();
    for (int64_t x = 0; x < blocks; ++x) {
      const int64_t j0 = c0 + (fwd ? x : blocks - 1 - x) * blk, nb = c1 - j0 < blk ? c1 - j0 : blk;
      // A level-0 block is packed from depth 0 on, its level-1 blocks at
      // their depth within it.
      const int64_t at = level == 1 ? base : j0;
      if (level == 1) leaf_right(i0, mb, j0, nb, base);
      else solve_right(1, i0, mb, j0, j0 + nb, j0);
      if (fwd && j0 + nb < c1) subtract_right(i0, mb, j0, nb, j0 + nb, c1 - j0 - nb, at);
      if (!fwd && j0 > c0) subtract_right(i0, mb, j0, nb, c0, j0 - c0, at);
    }
  }

  void leaf_right(int64_t i0, int64_t mb, int64_t j0, int64_t nb, int64_t base) const {
    pack_leaf(j0, nb);
    const E *inv = leaf + kLeaf * kLeaf;
    const bool fwd = f.op_upper();
    const int64_t groups = (nb + UB - 1) / UB;
    E tile[UM * UB];
    for (int64_t x = 0; x < groups; ++x) {
      const int64_t c = (fwd ? x : groups - 1 - x) * UB, w = nb - c < UB ? nb - c : UB;
      const int64_t ls = fwd ? 0 : c + w, k = fwd ? c : nb - c - w;  // the solved columns
      for (int64_t r = i0; r < i0 + mb; r += UM) {
        const int64_t um = i0 + mb - r < UM ? i0 + mb - r : UM;
        E *bt = b + r + (j0 + c) * ldb;
        product<T, false>(um, w, k, b + r + (j0 + ls) * ldb, ldb, leaf + ls + c * kLeaf, kLeaf, 1, tile);
        for (int64_t u = 0; u < um; ++u)
          for (int64_t y = 0; y < w; ++y) {
            const int64_t v = fwd ? y : w - 1 - y;
            E s = bt[u + v * ldb] - tile[u + v * UM];
            for (int64_t z = 0; z < y; ++z) {
              const int64_t q = fwd ? z : w - 1 - z;  // solved before v in this group
              s = s - bt[u + q * ldb] * leaf[(c + q) + (c + v) * kLeaf];
            }
            bt[u + v * ldb] = s * inv[c + v];
          }
      }
    }
    int64_t rows = mb, cols = nb;
    d->copy_an(&rows, &cols, b + i0 + j0 * ldb, &ldb, packed + (j0 - base) * UM, &stride, &kMinusOne);
  }

  // ---- side 'L': op(A) X = B on columns c0 .. c0 + nc
  void solve_left(int level, int64_t r0, int64_t r1, int64_t c0, int64_t nc) const {
    const int64_t blk = block_of(level), blocks = (r1 - r0 + blk - 1) / blk;
    const bool fwd = !f.op_upper();
    const char ta[2] = {f.op_letter(), 0};
    for (int64_t x = 0; x < blocks; ++x) {
      const int64_t i0 = r0 + (fwd ? x : blocks - 1 - x) * blk;
      int64_t nb = r1 - i0 < blk ? r1 - i0 : blk;
      if (level == 1) leaf_left(i0, nb, c0, nc);
      else solve_left(1, i0, i0 + nb, c0, nc);
      int64_t f0 = fwd ? i0 + nb : r0, nf = fwd ? r1 - i0 - nb : i0 - r0, cols = nc;
      if (nf < 1) continue;
      zor_blas_cgemm_set_blks_size(0, 0, 0, d);
      xgemm_par<T>(ta, "N", &nf, &cols, &nb, &kMinusOne, block(f0, i0), &lda, b + i0 + c0 * ldb, &ldb, &kOne,
                   b + f0 + c0 * ldb, &ldb, kPlanChoose, d);
    }
  }

  void leaf_left(int64_t i0, int64_t nb, int64_t c0, int64_t nc) const {
    pack_leaf(i0, nb);
    const E *inv = leaf + kLeaf * kLeaf;
    const bool fwd = !f.op_upper();
    const int64_t tiles = (nb + UM - 1) / UM;
    E tile[UM * UB];
    for (int64_t x = 0; x < tiles; ++x) {
      const int64_t r = (fwd ? x : tiles - 1 - x) * UM, um = nb - r < UM ? nb - r : UM;
      const int64_t ls = fwd ? 0 : r + um, k = fwd ? r : nb - r - um;  // the solved rows
      for (int64_t v0 = 0; v0 < nc; v0 += UB) {
        const int64_t ub = nc - v0 < UB ? nc - v0 : UB;
        E *bt = b + i0 + r + (c0 + v0) * ldb;
        const E *y = b + i0 + ls + (c0 + v0) * ldb;
        if (ub == UB) product_full<T, false>(k, leaf + r + ls * kLeaf, kLeaf, y, ldb, 1, tile);
        else product_part<T, false>(UM, ub, k, leaf + r + ls * kLeaf, 1, kLeaf, y, ldb, 1, tile);
        for (int64_t v = 0; v < ub; ++v)
          for (int64_t z = 0; z < um; ++z) {
            const int64_t u = fwd ? z : um - 1 - z;
            E s = bt[u + v * ldb] - tile[u + v * UM];
            for (int64_t q = 0; q < z; ++q) {
              const int64_t p = fwd ? q : um - 1 - q;  // solved before u in this tile
              s = s - leaf[(r + u) + (r + p) * kLeaf] * bt[p + v * ldb];
            }
            bt[u + v * ldb] = s * inv[r + u];
          }
      }
    }
  }
};

template <class T>
void trsm(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m_,
          const int64_t *n_, const void *alpha_, const void *a_, const int64_t *lda_, void *b_, const int64_t *ldb_) {
  using E = typename T::elem;
  using Rule = fixed::Level3Rule<T>;
  constexpr int64_t kLeaf = fixed::kTrsmLeaf;
  const int64_t m = *m_, n = *n_, ldb = *ldb_;
  if (m < 1 || n < 1) return;
  const E alpha = load_any(static_cast<const E *>(alpha_));
  E *b = static_cast<E *>(b_);
  if (is_zero(alpha)) return mscale<T>(m_, n_, &alpha, b, ldb_);
  const int64_t row_block = zor_serv_cpuhasqlx() != 0 ? Rule::trsm_rows1 : Rule::trsm_rows0;
  GemmDesc d;
  zor_blas_cgemm_zero_desc(&d);
  if (Rule::trsm_optimal_row) get_optimal_kernel<T>(&d);
  else get_kernel<T>(0, &d);
  const TriLetters f = read_tri<T>(side, uplo, transa, diag);

  void *leaf = zor_serv_allocate((kLeaf * kLeaf + kLeaf) * sizeof(E), fixed::kTrsmAlignment);
  if (zor_serv_check_ptr(leaf, "xtrsm") != 0) return;
  void *rows = zor_serv_allocate(Rule::trsm_bytes, fixed::kTrsmAlignment);
  if (zor_serv_check_ptr(rows, "xtrsm") != 0) return;  // the leaf's block stays taken
  const frame::PooledBuffer hold_leaf(leaf), hold_rows(rows);
  if (!is_one(alpha)) mscale<T>(m_, n_, &alpha, b, ldb_);

  const int64_t order = f.left ? m : n;
  const int64_t wide = Rule::trsm_wide ? fixed::kTrsmWideDepth : fixed::kTriDepth;
  const int64_t diag0 = !f.left && Rule::trsm_wide && order >= fixed::kTrsmWideFrom ? wide : fixed::kTriDepth;
  // Panels as deep as the level-0 block: consecutive panels of the packed
  // rows stay contiguous for the engine's kernel, which streams them.
  const Trsm<T> t{f, static_cast<const E *>(a_), *lda_, b, ldb, &d, static_cast<E *>(leaf), static_cast<E *>(rows),
                  TileShape<T>::UM * diag0, diag0};
  if (f.left) {
    const int start = order >= diag0 ? 0 : order >= kLeaf ? 1 : 0;
    const int64_t chunk = m < fixed::kTrsmLeftSmallRows ? fixed::kTrsmLeftChunkSmall : fixed::kTrsmLeftChunk;
    for (int64_t c0 = 0; c0 < n; c0 += chunk) t.solve_left(start, 0, m, c0, n - c0 < chunk ? n - c0 : chunk);
  } else {
    const int start = order > diag0 ? 0 : order > kLeaf ? 1 : 0;
    ZOR_ASSERT((row_block + TileShape<T>::UM - 1) / TileShape<T>::UM * t.stride * int64_t(sizeof(E)) <=
               int64_t(Rule::trsm_bytes));
    for (int64_t i0 = 0; i0 < m; i0 += row_block)
      t.solve_right(start, i0, m - i0 < row_block ? m - i0 : row_block, 0, n, 0);
  }
}

}  // namespace
}  // namespace zor::gemm

using zor::S;
using zor::D;
using zor::C;
using zor::Z;
using zor::gemm::trsm;
using I = const int64_t *;
using P = const void *;

// clang-format off
ZOR_API void zor_blas_xstrsm(const char *s, const char *u, const char *t, const char *d, I m, I n, const float *alpha, const float *a, I lda, float *b, I ldb) { trsm<S>(s, u, t, d, m, n, alpha, a, lda, b, ldb); }
ZOR_API void zor_blas_xdtrsm(const char *s, const char *u, const char *t, const char *d, I m, I n, const double *alpha, const double *a, I lda, double *b, I ldb) { trsm<D>(s, u, t, d, m, n, alpha, a, lda, b, ldb); }
ZOR_API void zor_blas_xctrsm(const char *s, const char *u, const char *t, const char *d, I m, I n, P alpha, P a, I lda, void *b, I ldb) { trsm<C>(s, u, t, d, m, n, alpha, a, lda, b, ldb); }
ZOR_API void zor_blas_xztrsm(const char *s, const char *u, const char *t, const char *d, I m, I n, P alpha, P a, I lda, void *b, I ldb) { trsm<Z>(s, u, t, d, m, n, alpha, a, lda, b, ldb); }
// clang-format on
