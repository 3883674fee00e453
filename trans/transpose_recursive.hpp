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

  static void run(u64 r, u64 c, E alpha, const E *a, u64 lda, u64 sa, E *b, u64 ldb, u64 sb) {
    while (r > 4 || c > 4) {
      if (r <= c) {
        u64 h = c / 2;
        run(r, h, alpha, a, lda, sa, b, ldb, sb);
        a += h * sa;
        b += h * ldb;
        c -= h;
      } else {
        u64 h = r / 2;
        run(h, c, alpha, a, lda, sa, b, ldb, sb);
        a += h * lda;
        b += h * sb;
        r -= h;
      }
    }
    if (r == 4 && c == 4 && sa == 1 && sb == 1)
      Tile4x4<T, Scale, Conj>::transpose(alpha, a, lda, b, ldb);
    else
      base(r, c, alpha, a, lda, sa, b, ldb, sb);
  }
};

}  // namespace zor::trans
