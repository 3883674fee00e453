// y += alpha op(A) x for every structure of the CSR family: one body per
// combination of op, structure, part and diagonal, over any dense vector
// view, so that the mm kernels run the same body on one dense column at a
// time. Rows are one-based, columns zero-based as read (csr_common.hpp).
//
//   g  op n, s   row dot: y[i] += alpha * s, s the four-sum dot
//      op t, c   row scatter: v = x[i] * alpha; y[c] += vals[k] * v
//   t  op n, s   add, then take away: s = row dot over all entries, then
//                s -= vals[k] x[c] for entries of the other triangle
//                (two a pass); unit: y[i] := (alpha t + y[i]) - (w - x[i]) alpha
//      op t, c   scatter every entry, then take back the other triangle
//                (and, unit, the diagonal, after adding alpha x[i])
//   s, h         non-unit: one pass, the mirrored entry first; unit: the
//                plain row dot, then a second pass that takes back the
//                diagonal and the ignored triangle and scatters the mirror
//   a            two passes as the unit symmetric form; the mirror is taken away;
//                op c runs op n on the conjugated values with alpha negated
//   d            every stored diagonal entry, two entries a pass
//
// The two-pass forms round differently from the one-pass ones and let a
// value of the ignored triangle (a NaN) reach the result; they avoid a
// branch in the long first pass and are kept so.
#pragma once
#include "spblas/csr_rowdot.hpp"

namespace zor::spblas {

// An entry of column c (zero-based) in row i (one-based) lies strictly in
// the triangle of the part letter.
template <char Part>
inline bool strictly_inside(int64_t c, int64_t i) {
  if constexpr (Part == 'l') return c < i - 1;
  else return c > i - 1;
}

// Rows of mv in the complex precisions of the Hermitian and conjugated
// symmetric kernels of base 0 go in chunks of the range.
template <class T, Kind K>
constexpr int64_t mv_chunk_rows() {
  bool pair = (K.op == 'c' && K.structure == 's') || (K.op == 'n' && K.structure == 'h') ||
              (K.op == 't' && K.structure == 'h');
  return (T::complex && K.base == 0 && pair) ? fixed::kChunkComplexPairs : INT64_MAX;
}

// Rows lo..hi of a kernel whose rows are independent in what they read
// (everything but the triangular scatter and the diagonal structure).
template <class T, Kind K, class E, class I, class X, class Y>
inline void mv_rows(const Csr<E, I, K.base> &a, E alpha, X x, Y y, int64_t lo, int64_t hi) {
  constexpr bool conj_read = K.op == 'c' || K.op == 's';
  constexpr char S = K.structure;
  if constexpr (S == 'g' && (K.op == 'n' || K.op == 's')) {
    auto rows = [&](auto &&ahead) {
      for (int64_t i = lo; i <= hi; ++i) {
        int64_t p = a.begin(i), q = a.end(i);
        if (q - p < 1) continue;
        touch_streams(a, p);
        E s = row_dot<conj_read>(a, p, q, x, ahead);
        y(i - 1) = y(i - 1) + alpha * s;
      }
    };
    if constexpr (std::is_same_v<X, Contiguous<const E>>) {
      if (gathered_x(a, lo, hi)) return rows(GatherAhead<E, I, K.base>(a, x.p, lo, hi, tuned::kGatherAhead));
    }
    rows(NoAhead{});
  } else if constexpr (S == 'g') {
    for (int64_t i = lo; i <= hi; ++i) {
      int64_t p = a.begin(i), q = a.end(i);
      E v = x(i - 1) * alpha;
      for (int64_t k = p; k < q; ++k) {
        int64_t c = a.col(k);
        y(c) = y(c) + conj_if<conj_read>(a.vals[k]) * v;
      }
    }
  } else if constexpr (S == 't') {
    static_assert(K.op == 'n' || K.op == 's');
    for (int64_t i = lo; i <= hi; ++i) {
      int64_t p = a.begin(i), q = a.end(i);
      E t = row_dot<conj_read>(a, p, q, x);
      if constexpr (K.diag == 'n') {
        for (int64_t k = p; k < q; ++k) {
          int64_t c = a.col(k);
          if (!strictly_inside<K.part>(c, i) && c != i - 1) t = t - conj_if<conj_read>(a.vals[k]) * x(c);
        }
        y(i - 1) = y(i - 1) + alpha * t;
      } else {
        E w = E{};
        for (int64_t k = p; k < q; ++k) {
          int64_t c = a.col(k);
          if (!strictly_inside<K.part>(c, i)) w = w + conj_if<conj_read>(a.vals[k]) * x(c);
        }
        y(i - 1) = (alpha * t + y(i - 1)) - (w - x(i - 1)) * alpha;
      }
    }
  } else if constexpr (S == 's' || S == 'h') {
    // Conjugation of the direct term and of the mirrored one.
    constexpr bool conj_direct = (S == 's') ? K.op == 'c' : K.op == 't';
    constexpr bool conj_mirror = (S == 's') ? K.op == 'c' : K.op == 'n';
    for_row_chunks<mv_chunk_rows<T, K>()>(lo, hi, [&](int64_t r0, int64_t r1) {
      for (int64_t i = r0; i <= r1; ++i) {
        int64_t p = a.begin(i), q = a.end(i);
        if constexpr (K.diag == 'n') {
          E v = x(i - 1) * alpha;
          E s = E{};
          for (int64_t k = p; k < q; ++k) {
            int64_t c = a.col(k);
            if (strictly_inside<K.part>(c, i)) {
              y(c) = y(c) + v * conj_if<conj_mirror>(a.vals[k]);
              s = s + conj_if<conj_direct>(a.vals[k]) * x(c);
            } else if (c == i - 1) {
              s = s + conj_if<conj_direct>(a.vals[k]) * x(c);
            }
          }
          y(i - 1) = y(i - 1) + alpha * s;
        } else {
          E t = row_dot<conj_direct>(a, p, q, x);
          y(i - 1) = alpha * t + y(i - 1);
          E w = E{};
          E v = alpha * x(i - 1);
          for (int64_t k = p; k < q; ++k) {
            int64_t c = a.col(k);
            if (strictly_inside<K.part>(c, i)) y(c) = y(c) + conj_if<conj_mirror>(a.vals[k]) * v;
            else w = w + conj_if<conj_direct>(a.vals[k]) * alpha * x(c);
          }
          y(i - 1) = y(i - 1) - w + alpha * x(i - 1);
        }
      }
    });
  } else if constexpr (S == 'a') {
    // op c: A^H = conj(L^T - L) = -conj(A), the conjugated kernel with alpha
    // negated (a change of sign is exact, so the rounding is that of conj(A)).
    if constexpr (K.op == 'c') alpha = negated(alpha);
    for (int64_t i = lo; i <= hi; ++i) {
      int64_t p = a.begin(i), q = a.end(i);
      E t = row_dot<conj_read>(a, p, q, x);
      y(i - 1) = alpha * t + y(i - 1);
      E w = E{};
      E v = x(i - 1) * alpha;
      for (int64_t k = p; k < q; ++k) {
        int64_t c = a.col(k);
        if (strictly_inside<K.part>(c, i)) y(c) = y(c) - v * conj_if<conj_read>(a.vals[k]);
        else w = w + conj_if<conj_read>(a.vals[k]) * alpha * x(c);
      }
      y(i - 1) = y(i - 1) - w;
    }
  } else {
    static_assert(S == 'g', "no row-independent body for this structure");
  }
}

// The whole matrix, rows 1..m, for the kernels that write outside any row
// range: triangular with op t or c, and the diagonal structure (non-unit).
template <class T, Kind K, class E, class I, class X, class Y>
inline void mv_all(const Csr<E, I, K.base> &a, E alpha, X x, Y y, int64_t m) {
  constexpr bool conj_read = K.op == 'c' || K.op == 's';
  if constexpr (K.structure == 't' && (K.op == 't' || K.op == 'c')) {
    for (int64_t i = 1; i <= m; ++i) {
      int64_t p = a.begin(i), q = a.end(i);
      E v = alpha * x(i - 1);
      for (int64_t k = p; k < q; ++k) {
        int64_t c = a.col(k);
        y(c) = y(c) + conj_if<conj_read>(a.vals[k]) * v;
      }
      if constexpr (K.diag == 'u') y(i - 1) = y(i - 1) + alpha * x(i - 1);
      for (int64_t k = p; k < q; ++k) {
        int64_t c = a.col(k);
        bool back = !strictly_inside<K.part>(c, i) && (K.diag == 'u' || c != i - 1);
        if (back) y(c) = y(c) - v * conj_if<conj_read>(a.vals[k]);
      }
    }
  } else if constexpr (K.structure == 'd') {
    static_assert(K.diag == 'n');
    for (int64_t i = 1; i <= m; ++i) {
      int64_t p = a.begin(i), q = a.end(i);
      for (int64_t k = p; k < q; ++k)
        if (a.col(k) == i - 1) y(i - 1) = y(i - 1) + conj_if<conj_read>(a.vals[k]) * alpha * x(i - 1);
    }
  } else {
    mv_rows<T, K>(a, alpha, x, y, 1, m);
  }
}

// True when op(A) runs over the whole matrix even for a row range.
template <Kind K>
constexpr bool whole_matrix() {
  return K.structure == 'd' || (K.structure == 't' && (K.op == 't' || K.op == 'c'));
}

}  // namespace zor::spblas
