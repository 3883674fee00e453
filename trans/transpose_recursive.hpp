// Out-of-place transposition by cache-oblivious recursion.
//
//   b[j ldb + i strideb] := op(a[i lda + j stridea]) alpha,  i < r, j < c
//
// The block is cut in two along its longer side (columns when r <= c) until
// both sides are at most 4; the first half is a recursive call, the rest is
// taken by the loop, so the depth grows only on first halves. Source and
// target lines of every level stay in cache without knowing cache sizes;
// the one constant is the 4 x 4 base.
//
// Scale false is the copy-only family, chosen when alpha is one: it never
// multiplies (conjugation in 'C' still happens). The full 4 x 4 tile with
// unit strides goes through the register transpose of tile4x4.hpp; every
// other base block through the scalar double loop. Both store the same bits.
//
// With unit strides, three things serve the memory system and change no
// stored value. Above the line block (target rows of 64 bytes: 16 x 16
// floats, 8 x 8 doubles or single-complex numbers, 4 x 4 double-complex
// numbers) a cut falls on the line boundary nearest the half, so that the
// blocks below start on lines whatever the matrix's offset. Within it, the
// lines of the block two widths further along the source row are
// prefetched. A full line block is written a target line at a time, by
// consecutive stores.
//
// Measured on the development machine (shared, 2 cores), 4096 x 4096
// doubles: 1.5 GB/s for the bare recursion, 3.5 with line blocks and
// prefetch, 3.8-5.3 with line-aligned cuts (0.42-0.50 of a memcpy of the
// same bytes timed in turn with it; OpenBLAS 0.65-0.7). A transposition with ordinary
// stores moves three bytes for every two a memcpy moves (the target line
// is read before it is written); streaming stores measured slower here.
#pragma once
#include <algorithm>

#include "trans/element.hpp"
#include "trans/parameters.hpp"
#include "trans/tile4x4.hpp"

namespace zor::trans {

template <class T, bool Scale, bool Conj>
struct RecursiveTranspose {
  using E = typename T::elem;

  static E op(E x, E alpha) {
    if constexpr (Scale) return scaled<T, Conj>(x, alpha);
    else return conj_if<Conj>(x);
  }

  // The base double loop: along a source row, two elements a pass.
  static void base(u64 r, u64 c, E alpha, const E *a, u64 lda, u64 sa, E *b, u64 ldb, u64 sb) {
    for (u64 i = 0; i < r; ++i) {
      const E *ai = a + i * lda;
      E *bi = b + i * sb;
      u64 j = 0;
      for (; j + 1 < c; j += 2) {
        E x0 = ai[j * sa], x1 = ai[(j + 1) * sa];
        bi[j * ldb] = op(x0, alpha);
        bi[(j + 1) * ldb] = op(x1, alpha);
      }
      if (j < c) bi[j * ldb] = op(ai[j * sa], alpha);
    }
  }

  // The block whose target rows are one 64-byte line: 16 x 16 floats, 8 x 8
  // doubles or single-complex numbers, 4 x 4 double-complex numbers.
  static constexpr u64 line_block = tuned::kLineBytes / sizeof(E);

  static void leaf(u64 r, u64 c, E alpha, const E *a, u64 lda, u64 sa, E *b, u64 ldb, u64 sb) {
    if (r == fixed::kBase && c == fixed::kBase && sa == 1 && sb == 1) Tile4x4<T, Scale, Conj>::transpose(alpha, a, lda, b, ldb);
    else base(r, c, alpha, a, lda, sa, b, ldb, sb);
  }

  // The full line block with unit strides: four source columns at a time
  // become four target rows, each written whole (its 4 x 4 tiles from top
  // to bottom) by consecutive stores.
  static void full_line_block(E alpha, const E *a, u64 lda, E *b, u64 ldb) {
    using Tile = Tile4x4<T, Scale, Conj>;
    constexpr int tiles = int(line_block / 4);
    VecOp<T, Scale, Conj> op(alpha);
    for (u64 j = 0; j < line_block; j += 4) {
      typename Tile::Regs t[tiles];
      for (int k = 0; k < tiles; ++k) t[k] = Tile::load_transposed(op, a + 4 * k * lda + j, lda);
      for (int row = 0; row < 4; ++row)
        for (int k = 0; k < tiles; ++k) Tile::store_row(t[k], row, b + (j + row) * ldb + 4 * k);
    }
  }

  // A block within the line block, unit strides: prefetch the source rows
  // and target rows of the block two widths further along the source row,
  // then finish it.
  static void line_block_transpose(u64 r, u64 c, E alpha, const E *a, u64 lda, E *b, u64 ldb) {
    for (u64 k = 0; k < r; ++k) simd::prefetch_t0(a + k * lda + tuned::kPrefetchWidths * c);
    for (u64 k = 0; k < c; ++k) simd::prefetch_t0(b + (tuned::kPrefetchWidths * c + k) * ldb);
    if (line_block > fixed::kBase && r == line_block && c == line_block) full_line_block(alpha, a, lda, b, ldb);
    else recurse<false>(r, c, alpha, a, lda, 1, b, ldb, 1);
  }

  // Where to cut n contiguous elements starting at p: the half, or with
  // Aligned the 64-byte line boundary nearest to the half inside the block,
  // so that the blocks below start on lines (when a block lies within one
  // line, the half).
  template <bool Aligned>
  static u64 cut(u64 n, const E *p) {
    u64 half = n / 2;
    if constexpr (!Aligned) return half;
    u64 past = (reinterpret_cast<uintptr_t>(p + half) % tuned::kLineBytes) / sizeof(E);  // elements past a boundary
    u64 down = half - std::min(past, half), up = half + (line_block - past);
    if (down > 0 && (past <= line_block / 2 || up >= n)) return down;
    if (up < n) return up;
    return half;
  }

  // Above the line block (Top), blocks of unit stride within it go to
  // line_block_transpose, and cuts fall on line boundaries: of a source row
  // when columns are cut, of a target row when rows are cut. Below, the
  // plain recursion.
  template <bool Top>
  static void recurse(u64 r, u64 c, E alpha, const E *a, u64 lda, u64 sa, E *b, u64 ldb, u64 sb) {
    const bool unit = sa == 1 && sb == 1;
    for (;;) {
      if (Top && r <= line_block && c <= line_block && unit) return line_block_transpose(r, c, alpha, a, lda, b, ldb);
      if (r <= fixed::kBase && c <= fixed::kBase) return leaf(r, c, alpha, a, lda, sa, b, ldb, sb);
      if (r <= c) {
        u64 h = Top && unit ? cut<true>(c, a) : cut<false>(c, a);
        recurse<Top>(r, h, alpha, a, lda, sa, b, ldb, sb);
        a += h * sa;
        b += h * ldb;
        c -= h;
      } else {
        u64 h = Top && unit ? cut<true>(r, b) : cut<false>(r, b);
        recurse<Top>(h, c, alpha, a, lda, sa, b, ldb, sb);
        a += h * lda;
        b += h * sb;
        r -= h;
      }
    }
  }

  static void run(u64 r, u64 c, E alpha, const E *a, u64 lda, u64 sa, E *b, u64 ldb, u64 sb) {
    recurse<true>(r, c, alpha, a, lda, sa, b, ldb, sb);
  }
};

}  // namespace zor::trans
