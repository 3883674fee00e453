// In-place scaled copy and transposition: AB := alpha op(AB), read with
// leading dimension lda and written with ldb (row-major view; column-major
// exchanges rows and cols).
//
// The square case (rows = cols = lda = ldb) has its own kernels: 'N'/'R'
// scale every row; 'T'/'C' exchange the pairs (i, j), (j, i). Every other
// shape is a rectangular copy ('N'/'R') or the cycle-following
// transposition ('T'/'C'), both in constant extra space.
//
// Measured on the development machine (shared, 2 cores): the square double
// transposition of 4096 x 4096 moves about 6 GB/s (a memcpy of the same
// bytes 10 to 11); the rectangle 3000 x 5000 about 0.2 GB/s, spent in the
// leader tests and the walk's cache misses.
#include <algorithm>

#include "frame/simd.hpp"
#include "trans/element.hpp"
#include "trans/tile4x4.hpp"

namespace zor::trans {
namespace {

// ---- square 'N' and 'R': each row scaled, after a peel to a 16-byte
// boundary (from 8 columns on), eight elements a pass, then a scalar tail.
template <class T, bool Conj>
void scale_square(u64 n, typename T::elem alpha, typename T::elem *a, u64 ld) {
  using E = typename T::elem;
  using R = typename T::real;
  constexpr int vectors = int(8 * sizeof(E) / 16);  // vectors in eight elements
  VecOp<T, true, Conj> op(alpha);
  for (u64 i = 0; i < n; ++i) {
    E *row = a + i * ld;
    u64 j = 0;
    if (n >= 8)
      for (; j < n && j + 1 < T::elem_lanes && reinterpret_cast<uintptr_t>(row + j) % 16 != 0; ++j)
        row[j] = scaled<T, Conj>(row[j], alpha);
    for (; j + 8 <= n; j += 8) {
      R *p = reinterpret_cast<R *>(row + j);
      for (int k = 0; k < vectors; ++k) simd::store_u(p + k * T::real_lanes, op(simd::load_u(p + k * T::real_lanes)));
    }
    for (; j < n; ++j) row[j] = scaled<T, Conj>(row[j], alpha);
  }
}

// ---- square 'T' and 'C': the pairs a[i, j], a[j, i] with j < i exchanged
// and both scaled, the diagonal scaled. Pairs are taken by 4 x 4 tiles in
// bands of 32 rows and columns, so that both tiles of a pair come from lines
// still in cache; the last rows beyond a multiple of 4 pair by element.
template <class T, bool Conj>
void transpose_square(u64 n, typename T::elem alpha, typename T::elem *a, u64 ld) {
  using E = typename T::elem;
  using Tile = Tile4x4<T, true, Conj>;
  constexpr u64 band = 32;
  VecOp<T, true, Conj> op(alpha);
  auto pairs_of_row = [&](u64 i, u64 j0) {  // (i, j), j0 <= j < i, then the diagonal
    for (u64 j = j0; j < i; ++j) {
      E x = a[i * ld + j], y = a[j * ld + i];
      a[i * ld + j] = scaled<T, Conj>(y, alpha);
      a[j * ld + i] = scaled<T, Conj>(x, alpha);
    }
    a[i * ld + i] = scaled<T, Conj>(a[i * ld + i], alpha);
  };
  u64 n4 = n & ~u64(3);
  for (u64 bi = 0; bi < n4; bi += band) {
    u64 ie = std::min(bi + band, n4);
    for (u64 bj = 0; bj <= bi; bj += band)
      for (u64 i = bi; i < ie; i += 4) {
        u64 je = std::min(bj + band, i);
        for (u64 j = bj; j < je; j += 4) Tile::swap(op, a + i * ld + j, a + j * ld + i, ld);
      }
    for (u64 i = bi; i < ie; i += 4)
      for (u64 k = i; k < i + 4; ++k) pairs_of_row(k, i);
  }
  for (u64 i = n4; i < n; ++i) pairs_of_row(i, 0);
}

// ---- rectangular 'N' and 'R': rows of width C moved from lda to ldb one at
// a time, scaled. Moving down (lda >= ldb) runs from the first row, left to
// right, two elements a pass; moving up runs from the last row, right to
// left, one element a pass. Either way no element is overwritten before it
// has been read.
template <class T, bool Conj>
void copy_rows_in_place(u64 R, u64 C, typename T::elem alpha, typename T::elem *ab, u64 lda, u64 ldb) {
  using E = typename T::elem;
  if (lda >= ldb) {
    for (u64 i = 0; i < R; ++i) {
      const E *s = ab + i * lda;
      E *d = ab + i * ldb;
      u64 j = 0;
      for (; j + 1 < C; j += 2) {
        E x0 = s[j], x1 = s[j + 1];
        d[j] = scaled<T, Conj>(x0, alpha);
        d[j + 1] = scaled<T, Conj>(x1, alpha);
      }
      if (j < C) d[j] = scaled<T, Conj>(s[j], alpha);
    }
  } else {
    for (u64 i = R; i-- > 0;)
      for (u64 j = C; j-- > 0;) ab[i * ldb + j] = scaled<T, Conj>(ab[i * lda + j], alpha);
  }
}

// ---- rectangular 'T' and 'C': cycle following on the linear index.
// Position p stands for row p / lda, column p % lda of the source; its
// element goes to next(p) = p / lda + (p % lda) ldb. Each cycle is walked
// once, from its smallest source position (the leader). Positions outside
// the source (the gap when lda > C, or beyond the last row) pass through the
// walk: their old content is not read, and nothing follows them. alpha is
// applied once per element, at the store, fixed points included. No tile,
// no scratch: constant extra space.
//
// The cost is one division per step, mostly in the leader tests. When every position of the walk fits
// in 32 bits the quotient comes from a 64-bit reciprocal (exact for all
// 32-bit dividends and divisors from 2 up); otherwise from the divide
// instruction.
struct DivideBy {
  u64 d;
  u64 operator()(u64 t) const { return t / d; }
};
struct DivideBy32 {
  u64 m;
  explicit DivideBy32(u64 d) : m(~u64(0) / d + 1) {}
  u64 operator()(u64 t) const { return u64((unsigned __int128)m * t >> 64); }
};

template <class T, bool Conj, class Div>
void transpose_cycles(u64 R, u64 C, typename T::elem alpha, typename T::elem *ab, u64 lda, u64 ldb, Div div) {
  using E = typename T::elem;
  // With q = t / lda and r = t % lda, next(t) = q + r ldb = t ldb - q (lda ldb - 1)
  // in wrapping arithmetic: one multiply after the division instead of two.
  const u64 m1 = lda * ldb - 1;
  auto next = [&](u64 t, u64 q) { return t * ldb - q * m1; };

  // The walk from a leader p: carry each element to its place. A scout
  // runs eight positions ahead and prefetches; positions are arithmetic,
  // so only the elements are waited for.
  auto walk = [&](u64 p) {
    E v = ab[p];
    bool carrying = true;
    u64 t = p, q = div(p), s = p, qs = q;
    for (int k = 0; k < 8; ++k) s = next(s, qs), qs = div(s);
    do {
      s = next(s, qs);
      qs = div(s);
      simd::prefetch_t0(ab + s);
      t = next(t, q);
      q = div(t);
      bool in_source = t - q * lda < C && q < R;
      E w = in_source ? ab[t] : E{};
      if (carrying) ab[t] = scaled<T, Conj>(v, alpha);
      v = w;
      carrying = in_source;
    } while (t != p);
  };

  // Leader test of p: follow the cycle until a source position not above
  // p; p leads when that is p itself. The tests only compute, so four run
  // side by side, each lane taking the next source position (row by row)
  // when its test ends, and a walk is made as soon as its leader is known.
  struct Lane {
    u64 p, t;
    bool busy;
  };
  u64 i = 0, j = 0;
  auto take = [&](Lane &l) {
    l.busy = i < R;
    if (!l.busy) return;
    l.p = i * lda + j;
    l.t = i + j * ldb;
    if (++j == C) j = 0, ++i;
  };
  auto step = [&](Lane &l) {
    if (!l.busy) return;
    u64 q = div(l.t);
    if (l.t <= l.p && l.t - q * lda < C) {
      if (l.t == l.p) walk(l.p);
      take(l);
    } else {
      l.t = next(l.t, q);
    }
  };
  Lane l0{}, l1{}, l2{}, l3{};  // separate variables, so that they live in registers
  take(l0), take(l1), take(l2), take(l3);
  while (l0.busy || l1.busy || l2.busy || l3.busy) step(l0), step(l1), step(l2), step(l3);
}

template <class T, bool Conj>
void transpose_rectangle(u64 R, u64 C, typename T::elem alpha, typename T::elem *ab, u64 lda, u64 ldb) {
  // Every position of a walk is below max(R, ldb) lda.
  unsigned __int128 reach = (unsigned __int128)std::max(R, ldb) * lda;
  if (lda >= 2 && lda < (u64(1) << 32) && reach <= (u64(1) << 32))
    transpose_cycles<T, Conj>(R, C, alpha, ab, lda, ldb, DivideBy32(lda));
  else
    transpose_cycles<T, Conj>(R, C, alpha, ab, lda, ldb, DivideBy{lda});
}

template <class T>
void imatcopy(char ordering, char trans, u64 rows, u64 cols, typename T::elem alpha, typename T::elem *ab, u64 lda,
              u64 ldb) {
  if (!row_major_view(ordering, rows, cols)) return;
  if (rows == 0 || cols == 0) return;
  const bool square = rows == cols && lda == ldb && lda == rows;
  switch (trans_letter<T>(trans)) {
    case Letter::N:
      return square ? scale_square<T, false>(rows, alpha, ab, lda)
                    : copy_rows_in_place<T, false>(rows, cols, alpha, ab, lda, ldb);
    case Letter::R:
      return square ? scale_square<T, true>(rows, alpha, ab, lda)
                    : copy_rows_in_place<T, true>(rows, cols, alpha, ab, lda, ldb);
    case Letter::T:
      return square ? transpose_square<T, false>(rows, alpha, ab, lda)
                    : transpose_rectangle<T, false>(rows, cols, alpha, ab, lda, ldb);
    case Letter::C:
      return square ? transpose_square<T, true>(rows, alpha, ab, lda)
                    : transpose_rectangle<T, true>(rows, cols, alpha, ab, lda, ldb);
    case Letter::none: return;
  }
}

}  // namespace
}  // namespace zor::trans

using namespace zor::trans;
using zor::S, zor::D, zor::C, zor::Z;

ZOR_API void zor_trans_zor_simatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, float alpha,
                                     float *ab, uint64_t lda, uint64_t ldb) {
  imatcopy<S>(ordering, trans, rows, cols, from_c(alpha), elems(ab), lda, ldb);
}
ZOR_API void zor_trans_zor_dimatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, double alpha,
                                     double *ab, uint64_t lda, uint64_t ldb) {
  imatcopy<D>(ordering, trans, rows, cols, from_c(alpha), elems(ab), lda, ldb);
}
ZOR_API void zor_trans_zor_cimatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, zor_complex8 alpha,
                                     zor_complex8 *ab, uint64_t lda, uint64_t ldb) {
  imatcopy<C>(ordering, trans, rows, cols, from_c(alpha), elems(ab), lda, ldb);
}
ZOR_API void zor_trans_zor_zimatcopy(char ordering, char trans, uint64_t rows, uint64_t cols,
                                     const zor_complex16 *alpha, zor_complex16 *ab, uint64_t lda, uint64_t ldb) {
  imatcopy<Z>(ordering, trans, rows, cols, from_c(alpha), elems(ab), lda, ldb);
}
