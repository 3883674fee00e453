// Triangular solves in place, op(A) y_new = y, one right side (sv) or the
// dense columns first..last (sm). The columns of each row must ascend: the
// solve stops at, or starts from, the diagonal by a scan that relies on the
// order. The entry where the scan stops is taken as the pivot without a look
// at its column; there is no test of a zero or missing pivot.
//
//   op n, s, part l   rows 1..m: dot of the entries before the diagonal,
//                     y[i] := (y[i] - s) / pivot (sv) or * (1 / pivot) (sm)
//   op n, s, part u   rows m..1: four-sum dot of the entries behind the diagonal
//   op t, c, part l   rows m..1: divide, then scatter -y[i] to the entries
//                     before the diagonal, from the nearest one backward
//   op t, c, part u   rows 1..m: divide, then scatter behind the diagonal
//
// Row chunks (rows R at a time, the last taking the rest) are an order of the
// loops only; R stands in parameters.hpp (none for op t, c part l).
#pragma once
#include "frame/memory.hpp"
#include "spblas/csr_multiply.hpp"

namespace zor::spblas {

template <Kind K>
constexpr int64_t solve_chunk_rows(bool sv) {
  if (K.op == 'n' || K.op == 's') return K.part == 'l' ? fixed::kChunkLower : fixed::kChunkUpper;
  if (K.part == 'l') return INT64_MAX;
  return (sv && K.base == 1) ? fixed::kChunkLower : fixed::kChunkUpper;
}

// Chunks walked from the last one down, rows of each from the last one up.
template <int64_t R, class F>
inline void for_row_chunks_down(int64_t m, F &&body) {
  if (m < 1) return;
  int64_t len = m < R ? m : R;
  int64_t count = m / len;
  for (int64_t c = count - 1; c >= 0; --c) {
    int64_t a = 1 + c * len, z = (c == count - 1) ? m : a + len - 1;
    body(a, z);
  }
}

// Position of the diagonal when walking forward past columns below row i.
template <class E, class I, int Base>
inline int64_t diag_forward(const Csr<E, I, Base> &a, int64_t p, int64_t q, int64_t i) {
  int64_t k = p;
  while (k < q && a.col(k) < i - 1) ++k;
  return k;
}
// Position of the diagonal when walking backward from the end past columns above row i.
template <class E, class I, int Base>
inline int64_t diag_backward(const Csr<E, I, Base> &a, int64_t p, int64_t q, int64_t i) {
  int64_t k = q - 1;
  while (k >= p && a.col(k) > i - 1) --k;
  return k;
}

// One right side; y is any view (sv: contiguous, sm fallback: one column).
template <class T, Kind K, class E, class I, class Y>
inline void sv_triangular(const Csr<E, I, K.base> &a, Y y, int64_t m) {
  constexpr bool cj = K.op == 'c' || K.op == 's';
  constexpr bool unit = K.diag == 'u';
  constexpr int64_t R = solve_chunk_rows<K>(true);
  if constexpr ((K.op == 'n' || K.op == 's') && K.part == 'l') {
    for_row_chunks<R>(1, m, [&](int64_t r0, int64_t r1) {
      for (int64_t i = r0; i <= r1; ++i) {
        int64_t k = a.begin(i), q = a.end(i);
        E s = E{};
        // A column past the end of the row reads as m + 1 and ends the scan.
        while (k < q && a.col(k) < i - 1) {
          s = s + y(a.col(k)) * conj_if<cj>(a.vals[k]);
          ++k;
        }
        if constexpr (unit) y(i - 1) = y(i - 1) - s;
        else y(i - 1) = divide(y(i - 1) - s, conj_if<cj>(a.vals[k]));
      }
    });
  } else if constexpr (K.op == 'n' || K.op == 's') {
    for_row_chunks_down<R>(m, [&](int64_t r0, int64_t r1) {
      for (int64_t i = r1; i >= r0; --i) {
        int64_t p = a.begin(i), q = a.end(i);
        int64_t d = diag_forward(a, p, q, i);
        if constexpr (unit) {
          int64_t from = (d < q && a.col(d) == i - 1) ? d + 1 : d;
          y(i - 1) = y(i - 1) - row_dot<cj>(a, from, q, y);
        } else {
          E s = row_dot<cj>(a, d + 1, q, y);
          y(i - 1) = divide(y(i - 1) - s, conj_if<cj>(a.vals[d]));
        }
      }
    });
  } else if constexpr (K.part == 'l') {
    for (int64_t i = m; i >= 1; --i) {
      int64_t p = a.begin(i), q = a.end(i);
      int64_t d = diag_backward(a, p, q, i);
      int64_t from;
      if constexpr (unit) {
        from = (d >= p && a.col(d) == i - 1) ? d - 1 : d;
      } else {
        y(i - 1) = divide(y(i - 1), conj_if<cj>(a.vals[d]));
        from = d - 1;
      }
      E v = negate_from_zero(y(i - 1));
      for (int64_t k = from; k >= p; --k) y(a.col(k)) = y(a.col(k)) + conj_if<cj>(a.vals[k]) * v;
    }
  } else {
    for_row_chunks<R>(1, m, [&](int64_t r0, int64_t r1) {
      for (int64_t i = r0; i <= r1; ++i) {
        int64_t p = a.begin(i), q = a.end(i);
        int64_t d = diag_forward(a, p, q, i);
        int64_t from;
        if constexpr (unit) {
          from = (d < q && a.col(d) == i - 1) ? d + 1 : d;
        } else {
          y(i - 1) = divide(y(i - 1), conj_if<cj>(a.vals[d]));
          from = d + 1;
        }
        E v = negate_from_zero(y(i - 1));
        for (int64_t k = from; k < q; ++k) y(a.col(k)) = y(a.col(k)) + conj_if<cj>(a.vals[k]) * v;
      }
    });
  }
}

// Element (r, j) of the dense right sides, zero-based, in the kernel's convention.
template <int Base, class E>
inline E &at(E *y, int64_t ld, int64_t r, int64_t j) {
  if constexpr (Base == 0) return y[r * ld + j];
  else return y[j * ld + r];
}

// Many right sides, columns lo..hi (one-based) of y.
template <class T, Kind K, class E, class I>
inline void sm_triangular(const Csr<E, I, K.base> &a, E *y, int64_t ld, int64_t m, int64_t ncols, int64_t lo,
                          int64_t hi) {
  constexpr bool cj = K.op == 'c' || K.op == 's';
  constexpr bool unit = K.diag == 'u';
  constexpr int B = K.base;
  constexpr int64_t R = solve_chunk_rows<K>(false);
  if constexpr ((K.op == 'n' || K.op == 's') && K.part == 'l') {
    // The row is done for all columns of the range at once, with the sums in
    // a scratch row; the pivot's reciprocal multiplies where sv divides.
    int64_t len = ncols > hi ? ncols : hi;
    frame::PooledBuffer scratch(uint64_t(len) * sizeof(E), fixed::kScratchAlignment);
    if (!scratch) {
      for (int64_t j = lo; j <= hi; ++j) sv_triangular<T, K>(a, dense_column<B>(y, ld, j - 1), m);
      return;
    }
    E *acc = static_cast<E *>(scratch.get());
    for_row_chunks<R>(1, m, [&](int64_t r0, int64_t r1) {
      for (int64_t i = r0; i <= r1; ++i) {
        int64_t k = a.begin(i), q = a.end(i);
        for (int64_t j = lo - 1; j < hi; ++j) acc[j] = E{};
        for (; k < q && a.col(k) < i - 1; ++k) {
          E v = conj_if<cj>(a.vals[k]);
          int64_t c = a.col(k);
          for (int64_t j = lo - 1; j < hi; ++j) acc[j] = acc[j] + v * at<B>(y, ld, c, j);
        }
        if constexpr (unit) {
          for (int64_t j = lo - 1; j < hi; ++j) at<B>(y, ld, i - 1, j) = at<B>(y, ld, i - 1, j) - acc[j];
        } else {
          E r = reciprocal(conj_if<cj>(a.vals[k]));
          for (int64_t j = lo - 1; j < hi; ++j) at<B>(y, ld, i - 1, j) = (at<B>(y, ld, i - 1, j) - acc[j]) * r;
        }
      }
    });
  } else if constexpr (K.op == 'n' || K.op == 's') {
    for_row_chunks_down<R>(m, [&](int64_t r0, int64_t r1) {
      for (int64_t i = r1; i >= r0; --i) {
        int64_t p = a.begin(i), q = a.end(i);
        int64_t d = diag_forward(a, p, q, i);
        if constexpr (unit) {
          int64_t from = (d < q && a.col(d) == i - 1) ? d + 1 : d;
          for (int64_t j = lo - 1; j < hi; ++j) {
            auto col = dense_column<B>(y, ld, j);
            col(i - 1) = col(i - 1) - row_dot<cj>(a, from, q, col);
          }
        } else {
          E r = reciprocal(conj_if<cj>(a.vals[d]));
          for (int64_t j = lo - 1; j < hi; ++j) {
            auto col = dense_column<B>(y, ld, j);
            col(i - 1) = (col(i - 1) - row_dot<cj>(a, d + 1, q, col)) * r;
          }
        }
      }
    });
  } else {
    // op t, c: the pivot is found once per row; each column divides, then
    // the row is scattered to it.
    auto row = [&](int64_t i) {
      int64_t p = a.begin(i), q = a.end(i);
      int64_t d, from, to, step;
      if constexpr (K.part == 'l') {
        d = diag_backward(a, p, q, i);
        from = (unit && !(d >= p && a.col(d) == i - 1)) ? d : d - 1;
        to = p - 1;
        step = -1;
      } else {
        d = diag_forward(a, p, q, i);
        from = (unit && !(d < q && a.col(d) == i - 1)) ? d : d + 1;
        to = q;
        step = 1;
      }
      for (int64_t j = lo - 1; j < hi; ++j) {
        E &yi = at<B>(y, ld, i - 1, j);
        if constexpr (!unit) yi = divide(yi, conj_if<cj>(a.vals[d]));
        E v = negate_from_zero(yi);
        for (int64_t k = from; k != to; k += step) {
          E &yc = at<B>(y, ld, a.col(k), j);
          yc = yc + conj_if<cj>(a.vals[k]) * v;
        }
      }
    };
    if constexpr (K.part == 'l') {
      for (int64_t i = m; i >= 1; --i) row(i);
    } else {
      for_row_chunks<R>(1, m, [&](int64_t r0, int64_t r1) {
        for (int64_t i = r0; i <= r1; ++i) row(i);
      });
    }
  }
}

}  // namespace zor::spblas
