// Sorting, sums and products of one-based CSR matrices, row by row over the
// rows first..last. The request codes: 1 counts (ic[i] := the length of row
// i, for the caller's prefix sum), 0 counts and fills with the capacity
// nzmax (ic as pointers; info := the row that would pass it), any other
// value fills rows whose pointers ic already holds. Scratch comes from the
// pool; without it info := -1. info 0 is success.
#pragma once
#include <algorithm>
#include <cstring>

#include "frame/memory.hpp"
#include "spblas/csr_common.hpp"
#include "spblas/parameters.hpp"
#include "spblas/sorting.hpp"

namespace zor::spblas {

// Rows first..last of a one-based CSR matrix sorted by column.
template <class T, class I, class P>
void sortrow(const I *first, const I *last, const I *ia, I *ja, P *a) {
  for (int64_t i = *first; i <= *last; ++i) sort_row(elems(a), ja, int64_t(ia[i - 1]) - 1, int64_t(ia[i]) - 1);
}

template <class E, class I>
struct OneBased {
  const E *v;
  const I *j, *i;
  int64_t begin(int64_t r) const { return int64_t(i[r - 1]) - 1; }  // row r one-based
  int64_t end(int64_t r) const { return int64_t(i[r]) - 1; }
};

// The rows of C = A B by a marker per column of C (marker[c] = the one-based
// position of c in the row being built, 0 when not yet seen): columns in
// order of first sight, a first sight stores a b, later ones add.
template <class E, class I>
struct RowProducts {
  OneBased<E, I> a, b;
  bool conj_a;
  E *c;
  I *jc, *ic, *marker;
  int64_t n;

  // Columns of row r only: its length.
  int64_t count(int64_t r) {
    int64_t len = 0;
    I *list = marker + n;
    for (int64_t k = a.begin(r); k < a.end(r); ++k)
      for (int64_t l = b.begin(a.j[k]); l < b.end(a.j[k]); ++l) {
        const int64_t col = int64_t(b.j[l]) - 1;
        if (marker[col] == 0) marker[col] = 1, list[len++] = I(col);
      }
    for (int64_t t = 0; t < len; ++t) marker[list[t]] = 0;
    return len;
  }
  // Row r from position pos (zero-based); false when it would pass cap.
  bool fill(int64_t r, int64_t &pos, int64_t cap) {
    const int64_t start = pos;
    for (int64_t k = a.begin(r); k < a.end(r); ++k) {
      const E av = conj_if(a.v[k], conj_a);
      for (int64_t l = b.begin(a.j[k]); l < b.end(a.j[k]); ++l) {
        const int64_t col = int64_t(b.j[l]) - 1;
        if (marker[col] == 0) {
          if (pos + 1 > cap) {
            for (int64_t t = start; t < pos; ++t) marker[int64_t(jc[t]) - 1] = 0;
            return false;
          }
          c[pos] = av * b.v[l], jc[pos] = I(col + 1), marker[col] = I(++pos);
        } else {
          E &e = c[int64_t(marker[col]) - 1];
          e = e + av * b.v[l];
        }
      }
    }
    for (int64_t t = start; t < pos; ++t) marker[int64_t(jc[t]) - 1] = 0;
    return true;
  }
  // Rows lo..hi by the request; false with info set.
  bool rows(int64_t lo, int64_t hi, int64_t request, int64_t cap, int64_t &pos, I *info) {
    for (int64_t r = lo; r <= hi; ++r) {
      if (request == 1) {
        ic[r] = I(count(r));
      } else if (request == 0) {
        ic[r - 1] = I(pos + 1);
        if (!fill(r, pos, cap)) {
          *info = I(r);
          return false;
        }
        ic[r] = I(pos + 1);
      } else {
        int64_t p = int64_t(ic[r - 1]) - 1;
        fill(r, p, INT64_MAX);
      }
    }
    return true;
  }
};

// C := A B for rows first..last; position is the count of entries of C
// before row first (request 0), updated on return.
template <class T, class I, class P>
void mcsr_notr(const I *first, const I *last, const I *n, const I *request, const void *, const P *a, const I *ja,
               const I *ia, const P *b, const I *jb, const I *ib, P *c, I *jc, I *ic, const I *nzmax, I *position,
               const void *, I *info) {
  using E = typename T::elem;
  const int64_t cols = *n;
  frame::PooledBuffer marker(uint64_t(std::max<int64_t>(2 * cols, 1)) * sizeof(I), int32_t(fixed::kScratchAlignment));
  if (!marker) {
    *info = -1;
    return;
  }
  std::memset(marker.get(), 0, size_t(cols) * sizeof(I));
  RowProducts<E, I> rp{{elems(a), ja, ia}, {elems(b), jb, ib}, false, elems(c), jc, ic,
                       static_cast<I *>(marker.get()), cols};
  int64_t pos = *position;
  *info = 0;
  rp.rows(*first, *last, *request, *nzmax, pos, info);
  if (*request == 0) *position = I(pos);
}

// The transpose of a one-based CSR matrix of `rows` rows and `cols` columns
// into p (cols + 1 one-based pointers), j and v by a counting pass: each row
// of the transpose lists its entries in ascending source row.
template <class E, class I>
void transpose_csr(int64_t rows, int64_t cols, const E *a, const I *ja, const I *ia, I *p, I *j, E *v) {
  std::memset(static_cast<void *>(p), 0, size_t(cols + 1) * sizeof(I));
  const int64_t entries = int64_t(ia[rows]) - 1;
  for (int64_t k = 0; k < entries; ++k) p[ja[k]] = I(p[ja[k]] + 1);  // column c counted at c (one-based)
  p[0] = 1;
  for (int64_t r = 1; r <= cols; ++r) p[r] = I(p[r] + p[r - 1]);
  for (int64_t r = 1; r <= rows; ++r)
    for (int64_t k = int64_t(ia[r - 1]) - 1; k < int64_t(ia[r]) - 1; ++k) {
      const int64_t at = int64_t(p[int64_t(ja[k]) - 1]) - 1;
      j[at] = I(r), v[at] = a[k], p[int64_t(ja[k]) - 1] = I(at + 2);
    }
  for (int64_t r = cols; r > 0; --r) p[r] = p[r - 1];
  p[0] = 1;
}

// C := A + beta B (B^T when Transposed: rows 1..last of B, which is taken
// as square of order last, transposed into scratch first), merging each
// pair of sorted rows: the smaller column copied (a, or beta b), equal
// columns giving a + beta b at one position even when it cancels to zero.
// sort 1, 2, 3 sorts the rows of A, B or both just before their use.
template <class T, bool Transposed, class I, class P>
void mcsradd(const I *first, const I *last, const I *request, const I *sort, P *a_, I *ja, const I *ia,
             const P *beta_, P *b_, I *jb, const I *ib, P *c_, I *jc, I *ic, const I *nzmax, I *info) {
  using E = typename T::elem;
  const int64_t lo = *first, hi = *last, req = *request, srt = *sort, cap = *nzmax;
  const E beta = *elems(beta_);
  E *a = elems(a_), *b = elems(b_), *c = elems(c_);
  // B^T into scratch: pointers, columns, values.
  const int64_t order = hi, nb = Transposed ? int64_t(ib[order]) - 1 : 0;
  frame::PooledBuffer tp(uint64_t(order + 1) * sizeof(I), int32_t(fixed::kScratchAlignment));
  frame::PooledBuffer tj(uint64_t(std::max<int64_t>(nb, 1)) * sizeof(I), int32_t(fixed::kScratchAlignment));
  frame::PooledBuffer tv(uint64_t(std::max<int64_t>(nb, 1)) * sizeof(E), int32_t(fixed::kScratchAlignment));
  const I *bj = jb, *bi = ib;
  E *bv = b;
  if constexpr (Transposed) {
    if (!tp || !tj || !tv) {
      *info = -1;
      return;
    }
    I *p = static_cast<I *>(tp.get()), *j = static_cast<I *>(tj.get());
    E *v = static_cast<E *>(tv.get());
    transpose_csr(order, order, b, jb, ib, p, j, v);
    bj = j, bi = p, bv = v;
  }
  int64_t pos = req == 0 ? (lo == 1 ? 0 : int64_t(ic[lo - 1]) - 1) : 0;
  *info = 0;
  for (int64_t r = lo; r <= hi; ++r) {
    int64_t pa = int64_t(ia[r - 1]) - 1, qa = int64_t(ia[r]) - 1, pb = int64_t(bi[r - 1]) - 1, qb = int64_t(bi[r]) - 1;
    if ((srt == 1 || srt == 3)) sort_row(a, ja, pa, qa);
    if (!Transposed && (srt == 2 || srt == 3)) sort_row(bv, jb, pb, qb);
    int64_t out = req == 0 ? pos : req == 1 ? 0 : int64_t(ic[r - 1]) - 1;
    if (req == 0) ic[r - 1] = I(out + 1);
    auto put = [&](int64_t col, E v) {
      if (req == 0 && out + 1 > cap) return false;
      if (req != 1) jc[out] = I(col), c[out] = v;
      ++out;
      return true;
    };
    bool ok = true;
    while (ok && (pa < qa || pb < qb)) {
      if (pb >= qb || (pa < qa && ja[pa] < bj[pb])) ok = put(ja[pa], a[pa]), ++pa;
      else if (pa >= qa || bj[pb] < ja[pa]) ok = put(bj[pb], beta * bv[pb]), ++pb;
      else ok = put(ja[pa], a[pa] + beta * bv[pb]), ++pa, ++pb;
    }
    if (!ok) {
      *info = I(r);
      return;
    }
    if (req == 1) ic[r] = I(out);
    else if (req == 0) ic[r] = I(out + 1), pos = out;
  }
}

// C := op(A)^T B (A m x k, B m x n, C k x n; flag != 0 conjugates A in c
// and z) by dense blocks of `block` rows of C, element (r, j) of a block at
// j*block + r: each block cleared, then each row of A, from a copy of its
// pointer on while the column lies inside the block (rows of A sorted by
// column), adds a (row of B) into it; the block's non-zero elements are
// then gathered into C by rows, ic[0] = 1. Requests 0 and 2 write values,
// others only ic; request 0 tests nzmax.
template <class T, class I, class P>
void multcsr_tr(const I *flag, const I *m_, const I *k_, const I *n_, const I *request, const I *block_, const P *a_,
                const I *ja, const I *ia, const P *b_, const I *jb, const I *ib, P *c_, I *jc, I *ic, const I *nzmax,
                I *info) {
  using E = typename T::elem;
  const int64_t m = *m_, k = *k_, n = *n_, req = *request, cap = *nzmax;
  const int64_t block = *block_ > 0 ? int64_t(*block_) : std::max<int64_t>(k, 1);
  const bool cj = *flag != 0;
  const E *a = elems(a_), *b = elems(b_);
  E *c = elems(c_);
  frame::PooledBuffer dense(uint64_t(std::max<int64_t>(block * n, 1)) * sizeof(E), int32_t(fixed::kScratchAlignment));
  frame::PooledBuffer ptr(uint64_t(std::max<int64_t>(m, 1)) * sizeof(I), int32_t(fixed::kScratchAlignment));
  if (!dense || !ptr) {
    *info = -1;
    return;
  }
  E *acc = static_cast<E *>(dense.get());
  I *p = static_cast<I *>(ptr.get());
  for (int64_t i = 0; i < m; ++i) p[i] = ia[i];
  int64_t count = 0;
  ic[0] = 1;
  for (int64_t r0 = 0; r0 < k; r0 += block) {
    const int64_t r1 = std::min(r0 + block, k);
    for (int64_t t = 0; t < block * n; ++t) acc[t] = E{};
    for (int64_t i = 0; i < m; ++i) {
      int64_t q = int64_t(p[i]) - 1;
      for (; q < int64_t(ia[i + 1]) - 1 && int64_t(ja[q]) - 1 < r1; ++q) {
        const E av = conj_if(a[q], cj);
        const int64_t row = int64_t(ja[q]) - 1 - r0;
        for (int64_t l = int64_t(ib[i]) - 1; l < int64_t(ib[i + 1]) - 1; ++l) {
          E &e = acc[(int64_t(jb[l]) - 1) * block + row];
          e = e + av * b[l];
        }
      }
      p[i] = I(q + 1);
    }
    for (int64_t r = r0; r < r1; ++r) {
      for (int64_t j = 0; j < n; ++j) {
        const E v = acc[j * block + (r - r0)];
        if (is_zero(v)) continue;
        if (req == 0 && count + 1 > cap) {
          *info = I(r + 1);
          return;
        }
        if (req == 0 || req == 2) jc[count] = I(j + 1), c[count] = v;
        ++count;
      }
      ic[r + 1] = I(count + 1);
    }
  }
  *info = 0;
}

// The same product by transposing A (scratch) and taking the row products
// of mcsr_notr over rows 1..k, then sorting C's rows.
template <class T, class I, class P>
void multcsr_trom(const I *flag, const I *m_, const I *k_, const I *n_, const I *request, const I *, const P *a_,
                  const I *ja, const I *ia, const P *b_, const I *jb, const I *ib, P *c_, I *jc, I *ic,
                  const I *nzmax, I *info) {
  using E = typename T::elem;
  const int64_t m = *m_, k = *k_, n = *n_, req = *request, na = int64_t(ia[m]) - 1;
  const E *a = elems(a_);
  frame::PooledBuffer tp(uint64_t(k + 1) * sizeof(I), int32_t(fixed::kScratchAlignment));
  frame::PooledBuffer tj(uint64_t(std::max<int64_t>(na, 1)) * sizeof(I), int32_t(fixed::kScratchAlignment));
  frame::PooledBuffer tv(uint64_t(std::max<int64_t>(na, 1)) * sizeof(E), int32_t(fixed::kScratchAlignment));
  frame::PooledBuffer marker(uint64_t(std::max<int64_t>(2 * n, 1)) * sizeof(I), int32_t(fixed::kScratchAlignment));
  if (!tp || !tj || !tv || !marker) {
    *info = -1;
    return;
  }
  I *p = static_cast<I *>(tp.get()), *j = static_cast<I *>(tj.get());
  E *v = static_cast<E *>(tv.get());
  transpose_csr(m, k, a, ja, ia, p, j, v);
  std::memset(marker.get(), 0, size_t(n) * sizeof(I));
  RowProducts<E, I> rp{{v, j, p}, {elems(b_), jb, ib}, *flag != 0, elems(c_), jc, ic, static_cast<I *>(marker.get()),
                       n};
  int64_t pos = 0;
  *info = 0;
  if (!rp.rows(1, k, req, *nzmax, pos, info)) return;
  if (req != 1) sort_rows(elems(c_), jc, ic, k, 1);
}

}  // namespace zor::spblas
