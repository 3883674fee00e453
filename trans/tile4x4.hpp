// Register transposition of one 4 x 4 tile with unit strides:
//   b[j ldb + i] := op(a[i lda + j]) alpha,  i, j < 4.
//
// The element operation is applied to whole source rows before the lanes
// move (it is elementwise, so the order does not matter), then the lanes are
// permuted per element size: floats by the two-round 4 x 4 shuffle, doubles
// and single-complex numbers as 2 x 2 blocks of 64-bit lanes, double-complex
// numbers as whole vectors. The arithmetic is the scalar formula lane by
// lane, so the stored bits equal those of the scalar loop.
#pragma once
#include "frame/simd.hpp"
#include "trans/element.hpp"

namespace zor::trans {

// op(x) alpha over a vector of whole elements: conjugation first, then the
// complex layer's product by the broadcast factor (or the real product), the
// bits of the scalar op(x) alpha.
template <class T, bool Scale, bool Conj>
struct VecOp {
  using V = typename T::vec;
  using R = typename T::real;
  simd::Csplat<R> f;  // alpha (real types: re only)

  explicit VecOp(typename T::elem alpha) {
    if constexpr (T::complex) f = simd::csplat(alpha);
    else f.re = simd::splat(alpha);
  }
  V operator()(V x) const {
    if constexpr (T::complex && Conj) x = simd::conj(x);
    if constexpr (!Scale) return x;
    else if constexpr (T::complex) return simd::cmul(f, x);
    else return simd::mul(x, f.re);
  }
};

template <int ElemBytes> struct LaneVec { using type = simd::f64x2; };
template <> struct LaneVec<4> { using type = simd::f32x4; };

template <class T, bool Scale, bool Conj>
struct Tile4x4 {
  using E = typename T::elem;
  using R = typename T::real;
  // Lanes are moved as floats (s) or as 64-bit halves (d, c, z).
  using L = typename LaneVec<sizeof(E)>::type;
  static constexpr int per_row = int(4 * sizeof(E) / 16);  // vectors in a row of 4 elements
  struct Regs {
    L row[4][per_row];  // rows of the transposed tile
  };

  // op(a) alpha, transposed, into registers.
  static Regs load_transposed(const VecOp<T, Scale, Conj> &op, const E *a, u64 lda) {
    Regs t;
    if constexpr (sizeof(E) == 4) {
      simd::f32x4 r0 = op(simd::load_u(a)), r1 = op(simd::load_u(a + lda));
      simd::f32x4 r2 = op(simd::load_u(a + 2 * lda)), r3 = op(simd::load_u(a + 3 * lda));
      simd::f32x4 t0 = simd::unpack_lo(r0, r1), t1 = simd::unpack_lo(r2, r3);
      simd::f32x4 t2 = simd::unpack_hi(r0, r1), t3 = simd::unpack_hi(r2, r3);
      t.row[0][0] = simd::move_lh(t0, t1);
      t.row[1][0] = simd::move_hl(t0, t1);
      t.row[2][0] = simd::move_lh(t2, t3);
      t.row[3][0] = simd::move_hl(t2, t3);
    } else if constexpr (sizeof(E) == 8) {
      // Doubles or single-complex numbers: a row is two vectors of two
      // 64-bit elements; the tile is four 2 x 2 blocks.
      simd::f64x2 lo[4], hi[4];
      for (int i = 0; i < 4; ++i) {
        const R *row = reinterpret_cast<const R *>(a + i * lda);
        lo[i] = as64(op(simd::load_u(row)));
        hi[i] = as64(op(simd::load_u(row + 16 / sizeof(R))));
      }
      t.row[0][0] = simd::unpack_lo(lo[0], lo[1]), t.row[0][1] = simd::unpack_lo(lo[2], lo[3]);
      t.row[1][0] = simd::unpack_hi(lo[0], lo[1]), t.row[1][1] = simd::unpack_hi(lo[2], lo[3]);
      t.row[2][0] = simd::unpack_lo(hi[0], hi[1]), t.row[2][1] = simd::unpack_lo(hi[2], hi[3]);
      t.row[3][0] = simd::unpack_hi(hi[0], hi[1]), t.row[3][1] = simd::unpack_hi(hi[2], hi[3]);
    } else {
      // Double-complex: one element per vector.
      for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) t.row[j][i] = op(simd::load_u(reinterpret_cast<const double *>(a + i * lda + j)));
    }
    return t;
  }

  // Row j of the transposed tile to b[0..3].
  static void store_row(const Regs &t, int j, E *b) {
    for (int k = 0; k < per_row; ++k) {
      if constexpr (sizeof(E) == 4) simd::store_u(b + 4 * k, t.row[j][k]);
      else simd::store_u(reinterpret_cast<double *>(b) + 2 * k, t.row[j][k]);
    }
  }
  static void store(const Regs &t, E *b, u64 ldb) {
    for (int j = 0; j < 4; ++j) store_row(t, j, b + j * ldb);
  }

  // b := op(a)^T alpha
  static void transpose(E alpha, const E *a, u64 lda, E *b, u64 ldb) {
    VecOp<T, Scale, Conj> op(alpha);
    store(load_transposed(op, a, lda), b, ldb);
  }

  // The tiles at p and q (distinct, same leading dimension) exchanged, each
  // transposed: p := op(q)^T alpha, q := op(p)^T alpha.
  static void swap(const VecOp<T, Scale, Conj> &op, E *p, E *q, u64 ld) {
    Regs tp = load_transposed(op, p, ld), tq = load_transposed(op, q, ld);
    store(tq, p, ld);
    store(tp, q, ld);
  }

 private:
  static simd::f64x2 as64(simd::f64x2 v) { return v; }
  static simd::f64x2 as64(simd::f32x4 v) { return simd::as_f64(v); }
};

}  // namespace zor::trans
