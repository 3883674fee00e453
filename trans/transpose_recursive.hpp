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
// With unit strides, once a block is within 8 x 8 (4 x 4 for
// double-complex), the lines of the block two widths further along the
// source row are prefetched, and an 8 x 8 block is the recursion's last
// step unrolled: its 4 x 4 tiles in the same order, each target line (64
// bytes of doubles or single-complex numbers) written by consecutive
// stores. On a 4096 x 4096 double transposition this took the rate from 1.5
// to 3.5-4 GB/s on the development machine (a memcpy of the same bytes: 8
// to 11).
#pragma once
#include "trans/element.hpp"
#include "trans/tile4x4.hpp"

namespace zor::trans {

template <class T, bool Scale, bool Conj>
struct RecursiveTranspose {
  using E = typename T::elem;

  static E op(E x, E alpha) {
    if constexpr (Scale) return scaled<T, Conj>(x, alpha);
    else return load_op<T, Conj>(x);
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

  // Largest block whose target rows fit one 64-byte line: 8 x 8 for
  // elements up to 8 bytes, 4 x 4 for double-complex.
  static constexpr u64 line_block = sizeof(E) <= 8 ? 8 : 4;

  static void leaf(u64 r, u64 c, E alpha, const E *a, u64 lda, u64 sa, E *b, u64 ldb, u64 sb) {
    if (r == 4 && c == 4 && sa == 1 && sb == 1) Tile4x4<T, Scale, Conj>::transpose(alpha, a, lda, b, ldb);
    else base(r, c, alpha, a, lda, sa, b, ldb, sb);
  }

  // The 8 x 8 block with unit strides: the four 4 x 4 tiles in the
  // recursion's order (left columns top then bottom, right columns top then
  // bottom), each target row written whole by consecutive stores.
  static void full_line_block(E alpha, const E *a, u64 lda, E *b, u64 ldb) {
    using Tile = Tile4x4<T, Scale, Conj>;
    VecOp<T, Scale, Conj> op(alpha);
    for (u64 j = 0; j < 8; j += 4) {  // source columns j..j+3 become target rows j..j+3
      auto top = Tile::load_transposed(op, a + j, lda), bottom = Tile::load_transposed(op, a + 4 * lda + j, lda);
      for (int k = 0; k < 4; ++k) {
        Tile::store_row(top, k, b + (j + k) * ldb);
        Tile::store_row(bottom, k, b + (j + k) * ldb + 4);
      }
    }
  }

  // A block within the line block, unit strides: prefetch the source rows
  // and target rows of the block two widths further along the source row,
  // then finish it.
  static void line_block_transpose(u64 r, u64 c, E alpha, const E *a, u64 lda, E *b, u64 ldb) {
    for (u64 k = 0; k < r; ++k) simd::prefetch_t0(a + k * lda + 2 * c);
    for (u64 k = 0; k < c; ++k) simd::prefetch_t0(b + (2 * c + k) * ldb);
    if (line_block == 8 && r == 8 && c == 8) full_line_block(alpha, a, lda, b, ldb);
    else recurse<false>(r, c, alpha, a, lda, 1, b, ldb, 1);
  }

  // Above the line block (Top), blocks of unit stride within it go to
  // line_block_transpose; below, the plain recursion.
  template <bool Top>
  static void recurse(u64 r, u64 c, E alpha, const E *a, u64 lda, u64 sa, E *b, u64 ldb, u64 sb) {
    for (;;) {
      if (Top && r <= line_block && c <= line_block && sa == 1 && sb == 1)
        return line_block_transpose(r, c, alpha, a, lda, b, ldb);
      if (r <= 4 && c <= 4) return leaf(r, c, alpha, a, lda, sa, b, ldb, sb);
      if (r <= c) {
        u64 h = c / 2;
        recurse<Top>(r, h, alpha, a, lda, sa, b, ldb, sb);
        a += h * sa;
        b += h * ldb;
        c -= h;
      } else {
        u64 h = r / 2;
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
