// Driver routines of the sparse family (clearing and testing scalars, and
// the sums of per-thread copies of y a threaded caller folds together) and
// the two CSR one-offs: the symmetric product with one row-pointer array and
// the rows of a sparse-times-sparse product into a dense matrix.
#pragma once
#include <cstring>

#include "frame/simd.hpp"
#include "spblas/csr_common.hpp"
#include "spblas/parameters.hpp"

namespace zor::spblas {

template <class T, class P, class I>
void zeros(P *p, const I *n) {
  int64_t count = *n;
  if (count > 0) std::memset(p, 0, size_t(count) * sizeof(typename T::elem));
}

template <class T, class P, class I>
void zerocheck(const P *a, I *flag) {
  auto v = *elems(a);
  bool zero;
  if constexpr (T::complex) zero = v.re == 0 && v.im == 0;
  else zero = v == 0;
  *flag = zero ? 0 : 1;
}

template <class T, class P>
void ones(P *a) {
  auto *v = elems(a);
  if constexpr (T::complex) *v = {1, 0};
  else *v = 1;
}

template <class T, class P>
void neones(P *a) {
  auto *v = elems(a);
  *v = negate_from_zero(*v);
}

// y[0..n) += src[0..n): in the real precisions eight elements a pass after
// a scalar prologue to the alignment of y, then a scalar tail.
template <class E>
inline void add_into(E *y, const E *src, int64_t n) {
  int64_t i = 0;
  if constexpr (std::is_same_v<E, double> || std::is_same_v<E, float>) {
    using namespace zor::simd;
    constexpr int lanes = 16 / sizeof(E);
    constexpr int per_pass = 8;
    while (i < n && (reinterpret_cast<uintptr_t>(y + i) & 15) != 0) {
      y[i] = y[i] + src[i];
      ++i;
    }
    for (; i + per_pass <= n; i += per_pass)
      for (int l = 0; l < per_pass; l += lanes) store_a(y + i + l, add(load_a(y + i + l), load_u(src + i + l)));
  }
  for (; i < n; ++i) y[i] = y[i] + src[i];
}

// For t = 0..ncopies-2 in that order: y[i-1] += buf[t*ld + i-1], i = first..last.
template <class T, class I, class P>
void split_par(const I *first, const I *last, const I *ncopies, const I *ld, const P *buf, P *y) {
  int64_t lo = *first, hi = *last, nc = *ncopies, l = *ld;
  if (nc < 2 || hi < lo) return;
  auto *yy = elems(y);
  auto *bb = elems(buf);
  for (int64_t t = 0; t <= nc - 2; ++t) add_into(yy + (lo - 1), bb + t * l + (lo - 1), hi - lo + 1);
}

// Each y[j], j < n, adds element (begin-1)*n + j of the copies table[t-1],
// t = begin..end-1: four elements at a time in registers from kSplitFourFrom on.
template <class T, class I, class P>
void split_syml_par(const I *end, const I *n, const I *begin, const void *, P *const *table, P *y) {
  using E = typename T::elem;
  int64_t e = *end, len = *n, bg = *begin;
  E *yy = elems(y);
  int64_t off = (bg - 1) * len;
  int64_t j = 0;
  if (len >= fixed::kSplitFourFrom) {
    for (; j + 4 <= len; j += 4) {
      E r0 = yy[j], r1 = yy[j + 1], r2 = yy[j + 2], r3 = yy[j + 3];
      for (int64_t t = bg; t <= e - 1; ++t) {
        const E *src = elems(table[t - 1]) + off + j;
        r0 = r0 + src[0];
        r1 = r1 + src[1];
        r2 = r2 + src[2];
        r3 = r3 + src[3];
      }
      yy[j] = r0, yy[j + 1] = r1, yy[j + 2] = r2, yy[j + 3] = r3;
    }
  }
  for (; j < len; ++j) {
    E r = yy[j];
    for (int64_t t = bg; t <= e - 1; ++t) r = r + elems(table[t - 1])[off + j];
    yy[j] = r;
  }
}

// Each y[j], j < n, adds element (count-1-t)*ld + j of the copies
// table[t+1], t = 0..count-1: the walk steps down by ld.
template <class T, class I, class P>
void split_symu_par(const I *n, const I *ld, const I *count, const void *, P *const *table, P *y) {
  using E = typename T::elem;
  int64_t len = *n, l = *ld, cnt = *count;
  E *yy = elems(y);
  auto element = [&](int64_t t, int64_t j) -> const E * { return elems(table[t + 1]) + (cnt - 1 - t) * l + j; };
  int64_t j = 0;
  if (len >= fixed::kSplitFourFrom) {
    for (; j + 4 <= len; j += 4) {
      E r0 = yy[j], r1 = yy[j + 1], r2 = yy[j + 2], r3 = yy[j + 3];
      for (int64_t t = 0; t < cnt; ++t) {
        const E *src = element(t, j);
        r0 = r0 + src[0];
        r1 = r1 + src[1];
        r2 = r2 + src[2];
        r3 = r3 + src[3];
      }
      yy[j] = r0, yy[j + 1] = r1, yy[j + 2] = r2, yy[j + 3] = r3;
    }
  }
  for (; j + 2 <= len; j += 2) {
    E r0 = yy[j], r1 = yy[j + 1];
    for (int64_t t = 0; t < cnt; ++t) {
      const E *src = element(t, j);
      r0 = r0 + src[0];
      r1 = r1 + src[1];
    }
    yy[j] = r0, yy[j + 1] = r1;
  }
  for (; j < len; ++j) {
    E r = yy[j];
    for (int64_t t = 0; t < cnt; ++t) r = r + *element(t, j);
    yy[j] = r;
  }
}

// y += A x for a symmetric A with one triangle stored in zero-based rows
// ia[i]..ia[i+1]-1 (uplo 0: the diagonal, if stored, first in the row; else
// last). No alpha. Rows in chunks of kChunkSymmetricOneOff.
template <class T, class I, class P>
void csrsymmvs(const I *uplo, const I *m, const P *vals, const I *cols, const I *ia, const P *x, P *y,
               const void *, const I *base) {
  using E = typename T::elem;
  int64_t rows = *m, b = *base;
  bool diag_first = *uplo == 0;
  const E *v = elems(vals), *xp = elems(x);
  E *yp = elems(y);
  for_row_chunks<fixed::kChunkSymmetricOneOff>(1, rows, [&](int64_t r0, int64_t r1) {
    for (int64_t i = r0 - 1; i <= r1 - 1; ++i) {
      int64_t p = ia[i], q = ia[i + 1];
      E xi = xp[i];
      if (diag_first) {
        if (p < q && int64_t(cols[p]) - b == i) yp[i] = yp[i] + v[p] * xi, ++p;
      } else {
        if (p < q && int64_t(cols[q - 1]) - b == i) yp[i] = yp[i] + v[q - 1] * xi, --q;
      }
      E s0 = E{}, s1 = E{}, s2 = E{}, s3 = E{};
      int64_t k = p;
      for (; k + 4 <= q; k += 4) {
        int64_t c0 = int64_t(cols[k]) - b, c1 = int64_t(cols[k + 1]) - b;
        int64_t c2 = int64_t(cols[k + 2]) - b, c3 = int64_t(cols[k + 3]) - b;
        s0 = s0 + xp[c0] * v[k];
        yp[c0] = yp[c0] + v[k] * xi;
        s1 = s1 + xp[c1] * v[k + 1];
        yp[c1] = yp[c1] + v[k + 1] * xi;
        s2 = s2 + xp[c2] * v[k + 2];
        yp[c2] = yp[c2] + v[k + 2] * xi;
        s3 = s3 + xp[c3] * v[k + 3];
        yp[c3] = yp[c3] + v[k + 3] * xi;
      }
      E s = ((s0 + s1) + s2) + s3;
      for (; k < q; ++k) {
        int64_t c = int64_t(cols[k]) - b;
        s = s + xp[c] * v[k];
        yp[c] = yp[c] + v[k] * xi;
      }
      yp[i] = yp[i] + s;
    }
  });
}

// Rows first..last of C = op(A) B, A and B one-based CSR, C column-major:
// row i of C is cleared over n columns, then each entry (col, a) of row i of
// A adds a * B(col, :) along the entries of row col of B.
template <class T, class I, class P>
void csrmultd_ker(const I *conj, const I *first, const I *last, const I *n, const P *a, const I *ja, const I *ia,
                  const P *b, const I *jb, const I *ib, P *c, const I *ldc) {
  using E = typename T::elem;
  int64_t lo = *first, hi = *last, ncols = *n, ld = *ldc;
  bool cj = *conj != 0;
  const E *av = elems(a), *bv = elems(b);
  E *cc = elems(c);
  for (int64_t i = lo; i <= hi; ++i) {
    for (int64_t j = 0; j < ncols; ++j) cc[j * ld + (i - 1)] = E{};
    for (int64_t k = int64_t(ia[i - 1]) - 1; k < int64_t(ia[i]) - 1; ++k) {
      E aik = cj ? conj_if<true>(av[k]) : av[k];
      int64_t row = int64_t(ja[k]);
      for (int64_t l = int64_t(ib[row - 1]) - 1; l < int64_t(ib[row]) - 1; ++l) {
        E &e = cc[(int64_t(jb[l]) - 1) * ld + (i - 1)];
        e = e + aik * bv[l];
      }
    }
  }
}

// The parts of a sorted dist for the solves: p is the first one-based
// position whose distance is not negative. When there is none, p is
// ndiag + 1, and that position counts as a non-zero distance without being
// read (the search stops at the end of the list).
template <class P, char Part, char Diag, class I>
void find_diag(const I *dist, const I *ndiag, I *strict_first, I *strict_last, I *all_first, I *all_last,
               I *status) {
  const int64_t n = *ndiag;
  int64_t p = 1;
  while (p <= n && dist[p - 1] < 0) ++p;
  const bool main = p <= n && dist[p - 1] == 0;
  if constexpr (Part == 'l') {
    *strict_first = 1;
    *strict_last = I(Diag == 'n' || main ? p - 1 : p);
    *all_first = 1;
    *all_last = I(p);
  } else {
    *strict_first = I(Diag == 'u' || p + 1 <= n ? p + 1 : n);
    *strict_last = I(n);
    *all_first = I(p);
    *all_last = I(n);
  }
  *status = I(Diag == 'u' || main ? 0 : -1);
}

}  // namespace zor::spblas
