// Diagonal-format kernels (base 1, column-major dense operands): the matrix
// as ndiag full-length diagonals, row r of diagonal t at vals[t*lval + r-1],
// dist[t] = col - row. Rows and columns are one-based below.
//
// Multiply: rows in blocks of kDiaRowBlock, columns in blocks of
// kDiaColumnBlock (the last block of each taking the rest); for each block
// pair, each diagonal in list order that crosses it (c0 - r1 + 1 <= d <=
// c1 - r0 - 1) is walked over its overlap, so the terms of a row come by
// column block, then in list order. Per element v of row r on distance d
// (v conjugated first where the letter says so):
//   g   y[r] += (v alpha) x[r+d]; t, c: y[r+d] += (v alpha) x[r]
//   t   as g, diagonals d <= 0 (l) / d >= 0 (u) only, the strict tests with
//       a unit diagonal, whose term alpha x comes before the blocks
//   s   d <= 0 (l) / d >= 0 (u): for d != 0, a = v alpha,
//       y[r] += x[r+d] a, y[r+d] += x[r] a; the main diagonal as g
//   h   as s with the mirror's value conjugated (op t: the direct one)
//   a   d < 0 (l) / d > 0 (u): a = v alpha, y[r] += x[r+d] a, y[r+d] -= x[r] a;
//       op t (A^T = -A) and c (A^H = -conj(A)) with alpha negated
//   d   main diagonals only: y[r] += (x[r] alpha) v
// mm: the same on every dense column of the range, inside the rows.
#pragma once
#include <algorithm>

#include "frame/simd.hpp"
#include "spblas/csr_common.hpp"
#include "spblas/dia_parameters.hpp"

namespace zor::spblas {

// The crossings of a block pair gathered before its rows are walked.
inline constexpr int kDiaHeld = 16;

template <class E, class I>
struct Dia {
  const E *vals;
  int64_t lval;
  const I *dist;
  int64_t ndiag;
  E at(int64_t t, int64_t r) const { return vals[t * lval + r - 1]; }  // row r of diagonal t
};

// The block pairs and the diagonals that cross them: body(t, d, lo, hi)
// for rows lo..hi of diagonal t. m and k must be positive.
template <class E, class I, class F, class Done = void (*)()>
inline void dia_blocks(const Dia<E, I> &a, int64_t m, int64_t k, F &&body, Done pair_done = [] {}) {
  const int64_t rb = std::min(m, fixed::kDiaRowBlock), nr = m / rb;
  const int64_t cb = std::min(k, fixed::kDiaColumnBlock), nc = k / cb;
  for (int64_t bi = 0; bi < nr; ++bi) {
    const int64_t r0 = bi * rb, r1 = bi == nr - 1 ? m : r0 + rb;
    for (int64_t bj = 0; bj < nc; ++bj) {
      const int64_t c0 = bj * cb, c1 = bj == nc - 1 ? k : c0 + cb;
      for (int64_t t = 0; t < a.ndiag; ++t) {
        const int64_t d = a.dist[t];
        if (d < c0 - r1 + 1 || d > c1 - r0 - 1) continue;
        const int64_t lo = std::max(r0 + 1, c0 - d + 1), hi = std::min(c1 - d, r1);
        if (lo <= hi) body(t, d, lo, hi);
      }
      pair_done();
    }
  }
}

// Whether diagonal d takes part in the structure's product.
template <Kind K>
inline bool dia_used(int64_t d) {
  constexpr char S = K.structure;
  constexpr bool lower = K.part == 'l', unit = K.diag == 'u';
  if constexpr (S == 'g') return true;
  else if constexpr (S == 'd') return d == 0;
  else if constexpr (S == 'a') return lower ? d < 0 : d > 0;
  else if (unit) return lower ? d < 0 : d > 0;
  else return lower ? d <= 0 : d >= 0;
}

// Rows lo..hi of diagonal t (distance d) into y, x and y any views.
template <Kind K, class E, class I, class X, class Y>
inline void dia_rows(const Dia<E, I> &a, E alpha, int64_t t, int64_t d, int64_t lo, int64_t hi, X x, Y y) {
  constexpr char S = K.structure, op = K.op;
  constexpr bool conj_read = op == 'c';
  if constexpr (S == 'g' || S == 't') {
    for (int64_t r = lo; r <= hi; ++r) {
      const E v = conj_if<conj_read>(a.at(t, r)) * alpha;
      if constexpr (op == 'n') y(r - 1) = y(r - 1) + v * x(r + d - 1);
      else y(r + d - 1) = y(r + d - 1) + v * x(r - 1);
    }
  } else if constexpr (S == 'd') {
    for (int64_t r = lo; r <= hi; ++r) y(r - 1) = y(r - 1) + (x(r - 1) * alpha) * conj_if<conj_read>(a.at(t, r));
  } else if (d == 0) {  // the main diagonal of s and h
    constexpr bool cj = S == 'h' ? op == 't' : conj_read;
    for (int64_t r = lo; r <= hi; ++r) y(r - 1) = y(r - 1) + (conj_if<cj>(a.at(t, r)) * alpha) * x(r - 1);
  } else {
    // s, h, a: both halves in one pass, the row's own update first.
    constexpr bool cj_direct = S == 'h' ? op == 't' : conj_read;
    constexpr bool cj_mirror = S == 'h' ? op == 'n' : conj_read;
    for (int64_t r = lo; r <= hi; ++r) {
      const E v = a.at(t, r);
      const E direct = conj_if<cj_direct>(v) * alpha;
      y(r - 1) = y(r - 1) + x(r + d - 1) * direct;
      if constexpr (S == 'a') {
        y(r + d - 1) = y(r + d - 1) - x(r - 1) * direct;
      } else {
        const E mirror = cj_mirror == cj_direct ? direct : conj_if<cj_mirror>(v) * alpha;
        y(r + d - 1) = y(r + d - 1) + x(r - 1) * mirror;
      }
    }
  }
}

// One pass over rows lo..hi for G diagonals (values v[g] by row, x offsets
// dx[g]): each row takes the G terms in that order, y read and written once;
// the values are touched tuned::kDiaAheadBytes ahead once a cache line.
// Real elements with unit strides go a register of rows at a time, each lane
// summing its own row in the same order.
template <int G, class E, class X, class Y>
inline void dia_pass(const E *const *v, const int64_t *dx, E alpha, int64_t lo, int64_t hi, X x, Y y) {
  auto row = [&](int64_t r) {
    E s = y(r - 1);
#pragma GCC unroll 8
    for (int g = 0; g < G; ++g) s = s + (v[g][r] * alpha) * x(r + dx[g]);
    y(r - 1) = s;
  };
  constexpr int64_t line = std::max<int64_t>(1, 64 / int64_t(sizeof(E)));
  constexpr int64_t ahead = tuned::kDiaAheadBytes / int64_t(sizeof(E));
  constexpr bool lanes = !is_complex_v<E> && std::is_same_v<X, Contiguous<const E>> && std::is_same_v<Y, Contiguous<E>>;
  int64_t r = lo;
  for (; r + line - 1 <= hi; r += line) {
    for (int g = 0; g < G; ++g) zor::simd::prefetch_t0(v[g] + r + ahead);
    if constexpr (lanes) {
      namespace vs = zor::simd;
      constexpr int64_t L = 16 / int64_t(sizeof(E));
      const auto al = vs::splat(alpha);
#pragma GCC unroll 4
      for (int64_t j = 0; j < line; j += L) {
        auto s = vs::load_u(y.p + r + j - 1);
#pragma GCC unroll 8
        for (int g = 0; g < G; ++g)
          s = vs::add(s, vs::mul(vs::mul(vs::load_u(v[g] + r + j), al), vs::load_u(x.p + r + j + dx[g])));
        vs::store_u(y.p + r + j - 1, s);
      }
    } else {
#pragma GCC unroll 8
      for (int64_t j = 0; j < line; ++j) row(r + j);
    }
  }
  for (; r <= hi; ++r) row(r);
}

// The crossings of one block pair (each {t, d, lo, hi}, in list order), for
// g and t with op n (which update y's own rows). Their row ranges cut the
// rows into stretches crossed by the same diagonals; each stretch takes its
// diagonals in list order, up to tuned::kDiaGroup in one pass, so each row
// sums as with one diagonal at a time.
template <class E, class I, class X, class Y>
inline void dia_pair_rows(const Dia<E, I> &a, E alpha, const int64_t (*held)[4], int count, X x, Y y) {
  constexpr int G = tuned::kDiaGroup;
  static_assert(G >= 1 && G <= 8, "dia_pair_rows dispatches passes of 1 to 8 diagonals");
  int64_t cuts[2 * kDiaHeld];
  int nc = 0;
  for (int g = 0; g < count; ++g) cuts[nc++] = held[g][2], cuts[nc++] = held[g][3] + 1;
  std::sort(cuts, cuts + nc);
  nc = int(std::unique(cuts, cuts + nc) - cuts);
  for (int c = 0; c + 1 < nc; ++c) {
    const int64_t lo = cuts[c], hi = cuts[c + 1] - 1;
    const E *v[kDiaHeld];
    int64_t dx[kDiaHeld];
    int n = 0;
    for (int g = 0; g < count; ++g)
      if (held[g][2] <= lo && held[g][3] >= hi)
        v[n] = a.vals + held[g][0] * a.lval - 1, dx[n] = held[g][1] - 1, ++n;
    for (int f = 0; f < n; f += G) {
      switch (std::min(G, n - f)) {
        case 1: dia_pass<1>(v + f, dx + f, alpha, lo, hi, x, y); break;
        case 2: dia_pass<2>(v + f, dx + f, alpha, lo, hi, x, y); break;
        case 3: dia_pass<3>(v + f, dx + f, alpha, lo, hi, x, y); break;
        case 4: dia_pass<4>(v + f, dx + f, alpha, lo, hi, x, y); break;
        case 5: dia_pass<5>(v + f, dx + f, alpha, lo, hi, x, y); break;
        case 6: dia_pass<6>(v + f, dx + f, alpha, lo, hi, x, y); break;
        case 7: dia_pass<7>(v + f, dx + f, alpha, lo, hi, x, y); break;
        default: dia_pass<8>(v + f, dx + f, alpha, lo, hi, x, y); break;
      }
    }
  }
}

// y += alpha op(A) x over the blocks; x and y are views (one dense column).
template <Kind K, class E, class I, class X, class Y>
inline void dia_multiply(const Dia<E, I> &a, E alpha, int64_t m, int64_t k, X x, Y y) {
  if (m < 1 || k < 1) return;
  if constexpr (K.structure == 'a' && K.op != 'n') alpha = negated(alpha);
  if constexpr (K.diag == 'u')
    for (int64_t i = 0; i < m; ++i) y(i) = y(i) + x(i) * alpha;
  if constexpr ((K.structure == 'g' || K.structure == 't') && K.op == 'n') {
    // A block pair's crossings are gathered, kDiaHeld at most at a time.
    int64_t held[kDiaHeld][4];
    int have = 0;
    auto flush = [&] {
      if (have) dia_pair_rows(a, alpha, held, have, x, y);
      have = 0;
    };
    dia_blocks(
        a, m, k,
        [&](int64_t t, int64_t d, int64_t lo, int64_t hi) {
          if (!dia_used<K>(d)) return;
          held[have][0] = t, held[have][1] = d, held[have][2] = lo, held[have][3] = hi;
          if (++have == kDiaHeld) flush();
        },
        flush);
  } else {
    dia_blocks(a, m, k, [&](int64_t t, int64_t d, int64_t lo, int64_t hi) {
      if (dia_used<K>(d)) dia_rows<K>(a, alpha, t, d, lo, hi, x, y);
    });
  }
}

// ---------------------------------------------------------------- solves

// The diagonal structure: y[r] /= v for every main diagonal (alpha is not
// an argument; a list without distance 0 does nothing).
template <Kind K, class E, class I, class Y>
inline void dia_diagonal_solve(const Dia<E, I> &a, int64_t m, Y y) {
  for (int64_t t = 0; t < a.ndiag; ++t)
    if (a.dist[t] == 0)
      for (int64_t r = 1; r <= m; ++r) y(r - 1) = divide(y(r - 1), conj_if<K.op == 'c'>(a.at(t, r)));
}

// The triangular solve by blocks of B rows, B the distance of the nearest
// off-diagonal of the triangle (-dist[strict_last-1] for l, dist[strict_first-1]
// for u; m when that is 0 or strict_last is 0): no diagonal reaches within a
// block, so its rows are independent. Blocks run forward for (l, n) and
// (u, t or c), backward otherwise. Per block: the rows divided by the main
// diagonal (non-unit), then, before the next block, each strict diagonal in
// list order carries the block's solution to the rows it reaches:
//   op n   y[q] -= v[q] y[q+d] for the rows q whose q+d lies in the block
//   op t   y[q+d] -= v[q] y[q] for the rows q of the block
template <Kind K, class E, class I, class Y>
inline void dia_triangular_solve(const Dia<E, I> &a, int64_t m, int64_t strict_first, int64_t strict_last,
                                 int64_t main, Y y) {
  if (m < 1) return;
  constexpr bool lower = K.part == 'l', cj = K.op == 'c', transposed = K.op != 'n';
  int64_t B = m;
  // An empty strict part (strict last 0, or in part u a strict first past
  // the list, as a unit solve of the main diagonal alone has) reads no
  // distance and leaves one block.
  if (strict_last != 0 && strict_first <= strict_last) {
    const int64_t d = lower ? -int64_t(a.dist[strict_last - 1]) : int64_t(a.dist[strict_first - 1]);
    if (d > 0) B = d;  // 0 (and a list out of order) leaves one block
  }
  const int64_t nb = (m + B - 1) / B;
  const bool forward = lower != transposed;
  for (int64_t s = 0; s < nb; ++s) {
    const int64_t bi = forward ? s : nb - 1 - s;
    const int64_t r0 = bi * B, r1 = std::min(r0 + B, m);  // rows r0+1..r1
    if constexpr (K.diag == 'n')
      for (int64_t r = r0 + 1; r <= r1; ++r) y(r - 1) = divide(y(r - 1), conj_if<cj>(a.at(main, r)));
    if (s == nb - 1) break;
    for (int64_t t = strict_first - 1; t < strict_last; ++t) {
      const int64_t d = a.dist[t];
      if constexpr (!transposed) {
        const int64_t q0 = std::max<int64_t>(r0 + 1 - d, 1), q1 = std::min(r1 - d, m);
        for (int64_t q = q0; q <= q1; ++q) y(q - 1) = y(q - 1) - conj_if<cj>(a.at(t, q)) * y(q + d - 1);
      } else {
        const int64_t q0 = std::max<int64_t>(r0 + 1, 1 - d), q1 = std::min(r1, m - d);
        for (int64_t q = q0; q <= q1; ++q) y(q + d - 1) = y(q + d - 1) - conj_if<cj>(a.at(t, q)) * y(q - 1);
      }
    }
  }
}

}  // namespace zor::spblas
