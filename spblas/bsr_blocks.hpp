// The block kernels without the grammar: dense products, solves and the
// diagonal division over a block-row matrix of mb block rows. Base 1 (the
// routines without cspblas in their name): blocks by columns, element (r, c)
// at c*lb + r, dense operands column-major; base 0 (cspblas): blocks by
// rows, dense operands row-major. Block columns are numbered from the base;
// the block rows' positions from row_begin[0]. Dense element (i, j): row i
// of mb*lb, column j of n.
//
// mode 1: C += alpha A B; other: C += alpha A^T B (A^T = A for the symmetric
// kernel, -A for the anti-symmetric one). part 0: the upper triangle, other:
// the lower one. Loops: dense column, block row, block, within the block.
//   gen     lb 2 and 3: C(r) += alpha (sum_c B(r,c) b(c)); other lb: t =
//           b(c) alpha, C(r) += B(r,c) t, block column by block column.
//           Transposed: C(c) += alpha (sum_r B(r,c) b(r)) for lb 2 and 3,
//           else C(c) += sum_r (B(r,c) alpha) b(r).
//   sym     a block of the triangle off the diagonal gives C(row) += alpha B
//           b(col) and C(col) += alpha B^T b(row); a diagonal block is read
//           in the triangle of the part and mirrored (the other half may hold
//           anything); blocks of the other triangle are passed over
//   tr      blocks of the triangle; in a diagonal block the triangle of the
//           part with its diagonal (the unit form is the caller's)
//   skew    every block off the diagonal: C(row) += alpha B b(col), C(col) -=
//           alpha B^T b(row); diagonal blocks are passed over
//   diag    mode 1: C(r) += (D(r,r) alpha) b(r), D the block whose block
//           column is its block row; other: C += alpha B (a unit diagonal)
// The sums run over their index in order from the first product.
#pragma once
#include <algorithm>

#include "spblas/block_parameters.hpp"
#include "spblas/csr_common.hpp"

namespace zor::spblas {

template <int Base, class E, class I>
struct BlockRows {
  const E *vals;
  const I *cols, *row_begin, *row_end;
  int64_t lb, b;
  BlockRows(const E *v, const I *c, const I *rb, const I *re, int64_t n)
      : vals(v), cols(c), row_begin(rb), row_end(re), lb(n), b(*rb) {}
  int64_t begin(int64_t i) const { return int64_t(row_begin[i]) - b; }  // i zero-based
  int64_t end(int64_t i) const { return int64_t(row_end[i]) - b; }
  int64_t col(int64_t k) const { return int64_t(cols[k]) - Base; }
  const E *block(int64_t k) const { return vals + k * lb * lb; }
  E at(const E *blk, int64_t r, int64_t c) const { return Base == 0 ? blk[r * lb + c] : blk[c * lb + r]; }
};

// Column j of a dense operand: element i.
template <int Base, class E>
inline auto dense_col(E *p, int64_t ld, int64_t j) {
  return dense_column<Base>(p, ld, j);
}

// C(rows of block row `to`) += alpha B x(block `from`), B or B^T.
template <bool Transposed, class Blocks, class E, class X, class Y>
inline void block_times(const Blocks &a, const E *blk, E alpha, X x, int64_t from, Y y, int64_t to) {
  const int64_t n = a.lb;
  for (int64_t r = 0; r < n; ++r) {
    auto el = [&](int64_t c) { return Transposed ? a.at(blk, c, r) : a.at(blk, r, c); };
    E s = el(0) * x(from * n);
    for (int64_t c = 1; c < n; ++c) s = s + el(c) * x(from * n + c);
    y(to * n + r) = y(to * n + r) + alpha * s;
  }
}

template <int Base, char Structure, class T, class I, class P>
void bsrmm_any(int64_t mode, bool lower, const I *mb, const I *n, const I *lb, const P *alpha, const P *vals,
               const I *cols, const I *row_begin, const I *row_end, const P *b, const I *ldb, P *c,
               const I *ldc) {
  using E = typename T::elem;
  const int64_t rows = *mb, ncol = *n, size = *lb;
  if (rows < 1 || ncol < 1 || size < 1) return;
  const BlockRows<Base, E, I> a(elems(vals), cols, row_begin, row_end, size);
  E al = *elems(alpha);
  const bool transposed = mode != 1;
  if (Structure == 'a' && transposed) al = negated(al);
  for (int64_t j = 0; j < ncol; ++j) {
    auto x = dense_col<Base>(elems(b), int64_t(*ldb), j);
    auto y = dense_col<Base>(elems(c), int64_t(*ldc), j);
    if (Structure == 'd' && transposed) {
      for (int64_t i = 0; i < rows * size; ++i) y(i) = y(i) + al * x(i);
      continue;
    }
    for (int64_t i = 0; i < rows; ++i)
      for (int64_t k = a.begin(i); k < a.end(i); ++k) {
        const int64_t bc = a.col(k);
        const E *blk = a.block(k);
        const bool diagonal = bc == i, in_triangle = lower ? bc < i : bc > i;
        if constexpr (Structure == 'g') {
          if (!transposed && (size == 2 || size == 3)) {
            block_times<false>(a, blk, al, x, bc, y, i);
          } else if (!transposed) {
            for (int64_t cc = 0; cc < size; ++cc) {
              const E t = x(bc * size + cc) * al;
              for (int64_t r = 0; r < size; ++r) y(i * size + r) = y(i * size + r) + a.at(blk, r, cc) * t;
            }
          } else if (size == 2 || size == 3) {
            block_times<true>(a, blk, al, x, i, y, bc);
          } else {
            for (int64_t cc = 0; cc < size; ++cc) {
              E s = (a.at(blk, 0, cc) * al) * x(i * size);
              for (int64_t r = 1; r < size; ++r) s = s + (a.at(blk, r, cc) * al) * x(i * size + r);
              y(bc * size + cc) = y(bc * size + cc) + s;
            }
          }
        } else if constexpr (Structure == 'd') {
          if (diagonal)
            for (int64_t r = 0; r < size; ++r)
              y(i * size + r) = y(i * size + r) + (a.at(blk, r, r) * al) * x(i * size + r);
        } else if (diagonal) {
          if (Structure == 'a') continue;
          // The part's triangle with its diagonal: mirrored (sym) or alone (tr).
          for (int64_t r = 0; r < size; ++r) {
            auto el = [&](int64_t cc) -> E {
              const bool stored = lower ? r >= cc : r <= cc;
              if (Structure == 's') return stored ? a.at(blk, r, cc) : a.at(blk, cc, r);
              const int64_t rr = transposed ? cc : r, c2 = transposed ? r : cc;
              return (lower ? rr >= c2 : rr <= c2) ? a.at(blk, rr, c2) : E{};
            };
            E s = el(0) * x(i * size);
            for (int64_t cc = 1; cc < size; ++cc) s = s + el(cc) * x(i * size + cc);
            y(i * size + r) = y(i * size + r) + al * s;
          }
        } else if (Structure == 'a' || in_triangle) {
          if (Structure == 't') {
            if (transposed) block_times<true>(a, blk, al, x, i, y, bc);
            else block_times<false>(a, blk, al, x, bc, y, i);
          } else {
            block_times<false>(a, blk, al, x, bc, y, i);
            block_times<true>(a, blk, Structure == 'a' ? negated(al) : al, x, i, y, bc);
          }
        }
      }
  }
}

template <class T, int Base, char Structure, class I, class P>
void bsrmm(const I *mode, const I *mb, const I *n, const I *lb, const P *alpha, const P *vals, const I *cols,
           const I *row_begin, const I *row_end, const P *b, const I *ldb, P *c, const I *ldc) {
  bsrmm_any<Base, Structure, T>(int64_t(*mode), true, mb, n, lb, alpha, vals, cols, row_begin, row_end, b, ldb, c,
                                ldc);
}

template <class T, int Base, char Structure, class I, class P>
void bsrmm_part(const I *mode, const I *part, const I *mb, const I *n, const I *lb, const P *alpha, const P *vals,
                const I *cols, const I *row_begin, const I *row_end, const P *b, const I *ldb, P *c,
                const I *ldc) {
  bsrmm_any<Base, Structure, T>(int64_t(*mode), *part != 0, mb, n, lb, alpha, vals, cols, row_begin, row_end, b, ldb,
                                c, ldc);
}

// y := y / diag(A): for each block row, the block whose block column is the
// block row (else the row's last block), its diagonal; y is mb*lb x n.
template <class T, int Base, class I, class P>
void block_invdiag(const I *mb, const I *n, const I *lb, const P *vals, const I *cols, const I *row_begin,
                   const I *row_end, P *y) {
  using E = typename T::elem;
  const int64_t rows = *mb, ncol = *n, size = *lb;
  if (rows < 1 || ncol < 1) return;
  const BlockRows<Base, E, I> a(elems(vals), cols, row_begin, row_end, size);
  const int64_t ld = Base == 0 ? ncol : rows * size;
  for (int64_t i = 0; i < rows; ++i) {
    const int64_t p = a.begin(i), q = a.end(i);
    if (q <= p) continue;  // no block to divide by
    int64_t k = p;
    while (k < q && a.col(k) != i) ++k;
    const E *blk = a.block(k < q ? k : q - 1);
    for (int64_t j = 0; j < ncol; ++j) {
      auto col = dense_col<Base>(elems(y), ld, j);
      for (int64_t r = 0; r < size; ++r) col(i * size + r) = divide(col(i * size + r), a.at(blk, r, r));
    }
  }
}

// The block triangular solve. Part 0 runs the block rows from the last to
// the first, other parts from the first to the last. Per block row i, for
// each dense column: the row's blocks are scanned from the start past those
// whose block column is below i; the scan stops at the diagonal block (taken
// as found with the non-unit flag; with the flag clear a block of block
// column i there is passed over). Then
//   by rows (bsr): t = the sum over the blocks of the solved side (before
//     the diagonal going forward, after it going backward) of B y(block
//     column), block column by block column; y(i) -= t; then the diagonal
//     block solved in place, row by row in the direction of the part: y(r)
//     := (y(r) - sum over solved c of D(r,c) y(c)) / D(r,r), without the
//     division when the flag is clear;
//   by columns (bsc, the operator is the stored matrix transposed): first
//     the diagonal block (its transpose) solved in place, then each block
//     of the other side applied to its block column: y(col)_c -= sum_r
//     B(r,c) y(i)_r.
// t is taken kGaussRows rows at a time, so any lb is safe.
template <class T, int Base, bool ByColumns, class I, class P>
void block_gauss(const I *part, const I *nonunit, const I *mb, const I *n, const I *lb, const P *vals, const I *cols,
                 const I *row_begin, const I *row_end, P *y, const I *ldy) {
  using E = typename T::elem;
  const int64_t rows = *mb, ncol = *n, size = *lb;
  if (rows < 1 || ncol < 1 || size < 1) return;
  const BlockRows<Base, E, I> a(elems(vals), cols, row_begin, row_end, size);
  const bool forward = *part != 0, divides = *nonunit != 0;
  // One dense column is a plain vector: ldy is not read.
  const int64_t ld = ncol == 1 ? (Base == 0 ? 1 : rows * size) : int64_t(*ldy);
  for (int64_t s = 0; s < rows; ++s) {
    const int64_t i = forward ? s : rows - 1 - s;
    const int64_t p = a.begin(i), q = a.end(i);
    int64_t d = p;
    while (d < q && a.col(d) < i) ++d;
    // With the non-unit flag the block at the scan position is the diagonal
    // one, whatever its block column; a row whose blocks all lie below i has
    // none to solve with. With the flag clear only a block of block column i
    // is the diagonal one: without it the diagonal block is the identity and
    // the scan position starts the upper side.
    const bool at_diag = d < q && a.col(d) == i;
    const bool has_diag = divides ? d < q : at_diag;
    const E *diag = has_diag ? a.block(d) : nullptr;
    const int64_t after = has_diag ? d + 1 : d;  // first block of the upper side
    for (int64_t j = 0; j < ncol; ++j) {
      auto x = dense_col<Base>(elems(y), ld, j);
      // The diagonal block: element (r, c) of the operator's diagonal block.
      auto D = [&](int64_t r, int64_t c) { return ByColumns ? a.at(diag, c, r) : a.at(diag, r, c); };
      auto solve_diagonal = [&] {
        if (!has_diag) return;
        for (int64_t t = 0; t < size; ++t) {
          const int64_t r = forward ? t : size - 1 - t;
          E sum{};
          bool any = false;
          for (int64_t c = forward ? 0 : r + 1; c < (forward ? r : size); ++c) {
            sum = any ? sum + D(r, c) * x(i * size + c) : D(r, c) * x(i * size + c);
            any = true;
          }
          E v = any ? x(i * size + r) - sum : x(i * size + r);
          if (divides) v = divide(v, D(r, r));
          x(i * size + r) = v;
        }
      };
      const int64_t k0 = forward != ByColumns ? p : after, k1 = forward != ByColumns ? d : q;
      if constexpr (!ByColumns) {
        for (int64_t r0 = 0; r0 < size; r0 += tuned::kGaussRows) {
          const int64_t r1 = std::min(size, r0 + tuned::kGaussRows);
          E t[tuned::kGaussRows] = {};
          for (int64_t k = k0; k < k1; ++k) {
            const E *blk = a.block(k);
            const int64_t bc = a.col(k);
            for (int64_t c = 0; c < size; ++c)
              for (int64_t r = r0; r < r1; ++r) t[r - r0] = t[r - r0] + a.at(blk, r, c) * x(bc * size + c);
          }
          for (int64_t r = r0; r < r1; ++r) x(i * size + r) = x(i * size + r) - t[r - r0];
        }
        solve_diagonal();
      } else {
        solve_diagonal();
        for (int64_t k = k0; k < k1; ++k) {
          const E *blk = a.block(k);
          const int64_t bc = a.col(k);
          for (int64_t c = 0; c < size; ++c) {
            E sum = a.at(blk, 0, c) * x(i * size);
            for (int64_t r = 1; r < size; ++r) sum = sum + a.at(blk, r, c) * x(i * size + r);
            x(bc * size + c) = x(bc * size + c) - sum;
          }
        }
      }
    }
  }
}

}  // namespace zor::spblas
