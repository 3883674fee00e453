// Format conversions driven by a job array: job[0] the direction, job[1]
// the base of the CSR arrays, job[2] the base of the other format, job[3]
// routine-specific, job[4] the capacity of the output arrays (nzmax),
// job[5] what to produce. info 0 is success; -1 no memory, 1 (or a row
// number) capacity reached, 2 a bad job value or leading dimension. Arrays
// are left partly filled on a failure. A value is zero when all its parts
// are (a NaN is not).
//
// Also the solve with an incomplete LDL^T factor with 1 x 1 and 2 x 2
// pivots, zor_ildlt_sv (double, 32-bit integers in both widths).
#pragma once
#include <algorithm>
#include <cstring>

#include "frame/memory.hpp"
#include "frame/simd.hpp"
#include "spblas/conversion_parameters.hpp"
#include "spblas/csr_common.hpp"
#include "spblas/parameters.hpp"
#include "spblas/sorting.hpp"

namespace zor::spblas {

template <class I>
struct Job {
  int64_t v[6];
  explicit Job(const I *job) {
    for (int t = 0; t < 6; ++t) v[t] = job[t];
  }
  int64_t operator[](int t) const { return v[t]; }
};

// The pool's block for n integers (at least one), released with the scope.
template <class I>
struct IntScratch {
  frame::PooledBuffer block;
  explicit IntScratch(int64_t n) : block(uint64_t(std::max<int64_t>(n, 1)) * sizeof(I), int32_t(fixed::kScratchAlignment)) {}
  I *get() const { return static_cast<I *>(block.get()); }
  explicit operator bool() const { return bool(block); }
};

// ---------------------------------------------------------------- coo

// job[0] = 0: CSR to COO. The count ia[n] - ia[0] is tested against job[4]
// (info 1) before job[5] (3: values, rows, columns; 2: rows and columns; 1:
// rows; else info 2). job[0] != 0: COO to CSR, rows keeping list order;
// job[5] = 2 copies values and columns only, 1 builds ia only, 0 tests the
// running count against job[4] (info 1); job[0] = 2 then sorts each row
// (the double routine in z, which keeps the columns and moves 8-byte halves
// of the values at the entries' positions, as the family has it; rows are
// taken in the CSR's own base).
template <class T, class I, class P>
void csrcoo(const I *job_, const I *n_, P *acsr_, I *ja, I *ia, I *nnz, P *acoo_, I *rowind, I *colind, I *info) {
  using E = typename T::elem;
  const Job<I> job(job_);
  const int64_t n = *n_, bc = job[1], bo = job[2], shift = bo - bc;
  E *acsr = elems(acsr_), *acoo = elems(acoo_);
  if (job[0] == 0) {
    const int64_t count = int64_t(ia[n]) - int64_t(ia[0]);
    if (count > job[4]) {
      *info = 1;
      return;
    }
    const int64_t what = job[5];
    if (what < 1 || what > 3) {
      *info = 2;
      return;
    }
    for (int64_t i = n - 1; i >= 0; --i)
      for (int64_t k = int64_t(ia[i]) - bc; k < int64_t(ia[i + 1]) - bc; ++k) {
        rowind[k] = I(i + bo);
        if (what >= 2) colind[k] = I(ja[k] + shift);
        if (what == 3) acoo[k] = acsr[k];
      }
    *nnz = I(count);
    *info = 0;
    return;
  }
  const int64_t entries = *nnz;
  if (job[5] == 2) {
    for (int64_t k = 0; k < entries; ++k) acsr[k] = acoo[k], ja[k] = I(colind[k] - shift);
    *info = 0;
    return;
  }
  for (int64_t i = 0; i <= n; ++i) ia[i] = 0;
  for (int64_t k = 0; k < entries; ++k) ia[int64_t(rowind[k]) - bo] = I(ia[int64_t(rowind[k]) - bo] + 1);
  for (int64_t i = 0, start = bc; i < n; ++i) {  // counts to starts
    const int64_t c = ia[i];
    ia[i] = I(start);
    start += c;
  }
  const bool moves = job[5] != 1, capped = job[5] == 0;
  for (int64_t k = 0; k < entries; ++k) {
    const int64_t r = int64_t(rowind[k]) - bo, pos = int64_t(ia[r]) - bc;
    if (capped && k + 1 > job[4]) {
      *info = 1;
      return;
    }
    if (moves) acsr[pos] = acoo[k], ja[pos] = I(colind[k] - shift);
    ia[r] = I(ia[r] + 1);
  }
  for (int64_t i = n; i > 0; --i) ia[i] = ia[i - 1];
  ia[0] = I(bc);
  if (job[0] == 2) {
    if constexpr (T::letter == 'z') sort_rows(reinterpret_cast<double *>(acsr), ja, ia, n, bc);
    else sort_rows(acsr, ja, ia, n, bc);
  }
  *info = 0;
}

// ---------------------------------------------------------------- csc

// CSR to CSC (job[0] = 0) or back (the same counting sort with the roles
// exchanged): columns counted, summed, and each row's entries placed in
// stored order, so that the entries of an output row come in ascending
// source row. n, job[1], job[2] and job[5] are read as their low 32 bits.
// The placement of csrcsc by column groups, for large matrices: the
// entries first go, in source order, to the stretch of the output that
// their group of 2^shift columns will fill (row and column packed in one
// 64-bit key: n is read as 32 bits), then each stretch is copied aside and
// placed by column from the copy. Each column gets its entries in source
// order, as with the direct placement, but the random writes stay inside
// one group's stretch at a time. False (nothing written) when the scratch
// cannot be had; di holds the column starts.
template <bool Values, class E, class I>
bool csc_place_grouped(int64_t n, int64_t bin, int64_t bout, const E *src, const I *sj, const I *si, E *dst, I *dj,
                       I *di) {
  constexpr int64_t groups = tuned::kCscGroups;
  int shift = 0;
  while (((n - 1) >> shift) >= groups) ++shift;
  const int64_t ng = ((n - 1) >> shift) + 1, total = int64_t(di[n]);
  int64_t largest = 0, cursor[groups];
  for (int64_t g = 0; g < ng; ++g) {
    cursor[g] = int64_t(di[g << shift]);
    largest = std::max(largest, int64_t(di[std::min(n, (g + 1) << shift)]) - cursor[g]);
  }
  // The keys go to dj itself when it is 64 bits wide.
  frame::PooledBuffer key_block(sizeof(I) == 8 ? 1 : uint64_t(std::max<int64_t>(total, 1)) * 8,
                                int32_t(fixed::kScratchAlignment));
  frame::PooledBuffer aside(uint64_t(std::max<int64_t>(largest, 1)) * (8 + (Values ? sizeof(E) : 0)),
                            int32_t(fixed::kScratchAlignment));
  if (!key_block || !aside) return false;
  uint64_t *key = sizeof(I) == 8 ? reinterpret_cast<uint64_t *>(dj) : static_cast<uint64_t *>(key_block.get());
  uint64_t *key_aside = static_cast<uint64_t *>(aside.get());
  E *val_aside = reinterpret_cast<E *>(key_aside + std::max<int64_t>(largest, 1));
  for (int64_t i = 0; i < n; ++i)
    for (int64_t k = int64_t(si[i]) - bin; k < int64_t(si[i + 1]) - bin; ++k) {
      const int64_t c = int64_t(sj[k]) - bin, q = cursor[c >> shift]++;
      key[q] = uint64_t(i) << 32 | uint64_t(c);
      if constexpr (Values) dst[q] = src[k];
    }
  for (int64_t g = 0; g < ng; ++g) {
    const int64_t q0 = int64_t(di[g << shift]), count = cursor[g] - q0;
    std::memcpy(key_aside, key + q0, size_t(count) * 8);
    if constexpr (Values) std::memcpy(static_cast<void *>(val_aside), dst + q0, size_t(count) * sizeof(E));
    for (int64_t e = 0; e < count; ++e) {
      const int64_t c = int64_t(key_aside[e] & 0xFFFFFFFFu), p = di[c];
      dj[p] = I(int64_t(key_aside[e] >> 32) + bout);
      if constexpr (Values) dst[p] = val_aside[e];
      di[c] = I(p + 1);
    }
  }
  return true;
}

// The counts and the placement of csrcsc. Both passes land on columns at
// random: the column's counter kGatherAhead entries on is prefetched, and
// the destination of the entry half as far on from its counter as it stands
// then (a prefetch only, so a later move of that counter does no harm).
// From tuned::kCscGroupedFrom entries on, the placement goes by column
// groups (same result).
template <bool Values, class E, class I>
void csc_pass(int64_t n, int64_t bin, int64_t bout, const E *src, const I *sj, const I *si, E *dst, I *dj, I *di) {
  constexpr int64_t ahead = tuned::kGatherAhead;
  const int64_t k0 = int64_t(si[0]) - bin, k1 = int64_t(si[n]) - bin;
  for (int64_t c = 0; c <= n; ++c) di[c] = 0;
  for (int64_t k = k0; k < k1; ++k) {
    if (k + ahead < k1) zor::simd::prefetch_t0(di + (int64_t(sj[k + ahead]) - bin + 1));
    const int64_t c = int64_t(sj[k]) - bin;
    di[c + 1] = I(di[c + 1] + 1);
  }
  for (int64_t c = 1; c <= n; ++c) di[c] = I(di[c] + di[c - 1]);
  if (n < 1 || k1 - k0 < tuned::kCscGroupedFrom ||
      !csc_place_grouped<Values>(n, bin, bout, src, sj, si, dst, dj, di))
    for (int64_t i = 0; i < n; ++i)
      for (int64_t k = int64_t(si[i]) - bin; k < int64_t(si[i + 1]) - bin; ++k) {
        if (k + ahead < k1) {
          zor::simd::prefetch_t0(di + (int64_t(sj[k + ahead]) - bin));
          const int64_t q = di[int64_t(sj[k + ahead / 2]) - bin];
          zor::simd::prefetch_t0(dj + q);
          if constexpr (Values) zor::simd::prefetch_t0(dst + q);
        }
        const int64_t c = int64_t(sj[k]) - bin, p = di[c];
        dj[p] = I(i + bout);
        if constexpr (Values) dst[p] = src[k];
        di[c] = I(p + 1);
      }
  for (int64_t c = n; c > 0; --c) di[c] = I(di[c - 1] + bout);
  di[0] = I(bout);
}

template <class T, class I, class P>
void csrcsc(const I *job_, const I *n_, P *acsr_, I *ja0, I *ia0, P *acsc_, I *ja1, I *ia1, I *info) {
  using E = typename T::elem;
  const int64_t n = int32_t(*n_), bin = int32_t(job_[1]), bout = int32_t(job_[2]);
  const bool values = int32_t(job_[5]) != 0;
  E *src = elems(acsr_), *dst = elems(acsc_);
  I *sj = ja0, *si = ia0, *dj = ja1, *di = ia1;
  if (job_[0] != 0) std::swap(src, dst), std::swap(sj, dj), std::swap(si, di);
  if (values) csc_pass<true>(n, bin, bout, src, sj, si, dst, dj, di);
  else csc_pass<false>(n, bin, bout, src, sj, si, dst, dj, di);
  *info = 0;
}

// ---------------------------------------------------------------- dia

// job[5] = 10 t + u. job[0] != 0: DIA to CSR, each row walking the
// diagonals in list order, zeros left out when job[5] is 0. job[0] = 0: CSR
// to DIA; t != 0 chooses the diagonals, by falling population, lowest index
// first on a tie, every diagonal with an entry (ndiag := their number);
// entries off the chosen diagonals go to the remainder CSR when u != 0 and
// are dropped without notice when u = 0. Scratch from the pool (info -1).
template <class T, class I, class P>
void csrdia(const I *job_, const I *n_, P *acsr_, I *ja, I *ia, P *adia_, const I *lval_, I *dist, I *ndiag,
            P *rem_, I *ja_rem, I *ia_rem, I *info) {
  using E = typename T::elem;
  const Job<I> job(job_);
  const int64_t n = *n_, lval = *lval_, bc = job[1], bo = job[2], tens = job[5] / 10, units = job[5] % 10;
  E *acsr = elems(acsr_), *adia = elems(adia_), *rem = elems(rem_);
  if (job[0] != 0) {
    ia[0] = I(bc);
    int64_t count = 0;
    for (int64_t i = 0; i < n; ++i) {
      for (int64_t t = 0; t < *ndiag; ++t) {
        const int64_t c = i + int64_t(dist[t]);
        if (c < 0 || c >= n) continue;
        const E v = adia[t * lval + i];
        if (job[5] == 0 && is_zero(v)) continue;
        acsr[count] = v, ja[count] = I(c + bc), ++count;
      }
      ia[i + 1] = I(bc + count);
    }
    *info = 0;
    return;
  }
  IntScratch<I> work(std::max<int64_t>(2 * n - 1, n + 1));
  if (!work) {
    *info = -1;
    return;
  }
  I *w = work.get();
  auto row_entries = [&](auto &&each) {
    for (int64_t i = 0; i < n; ++i)
      for (int64_t k = int64_t(ia[i]) - bc; k < int64_t(ia[i + 1]) - bc; ++k) each(i, int64_t(ja[k]) - bc, k);
  };
  if (tens != 0) {
    for (int64_t d = 0; d < 2 * n - 1; ++d) w[d] = 0;
    int64_t used = 0;
    row_entries([&](int64_t i, int64_t c, int64_t) {
      I &cnt = w[c - i + n - 1];
      if (cnt == 0) ++used;
      cnt = I(cnt + 1);
    });
    for (int64_t t = 0; t < used; ++t) {
      int64_t best = 0;
      for (int64_t d = 1; d < 2 * n - 1; ++d)
        if (w[d] > w[best]) best = d;
      dist[t] = I(best - (n - 1));
      w[best] = I(-w[best]);
    }
    *ndiag = I(used);
  }
  const int64_t nd = *ndiag;
  for (int64_t t = 0; t < nd; ++t) std::memset(static_cast<void *>(adia + t * lval), 0, size_t(lval) * sizeof(E));
  int64_t rcount = 0;
  for (int64_t i = 0; i < n; ++i) {
    for (int64_t k = int64_t(ia[i]) - bc; k < int64_t(ia[i + 1]) - bc; ++k) {
      const int64_t c = int64_t(ja[k]) - bc;
      int64_t t = 0;
      while (t < nd && int64_t(dist[t]) != c - i) ++t;
      if (t < nd) adia[t * lval + i] = acsr[k];
      else if (units != 0) rem[rcount] = acsr[k], ja_rem[rcount] = I(c + bo), ++rcount;
    }
    w[i + 1] = I(rcount);
  }
  if (units != 0) {
    ia_rem[0] = I(bo);
    for (int64_t i = 0; i < n; ++i) ia_rem[i + 1] = I(w[i + 1] + bo);
  }
  *info = 0;
}

// ---------------------------------------------------------------- skyline

// job[0] = 0: CSR to skyline, job[3] = 0 the lower triangle by rows (a row
// reaches back to its first entry's column), else the upper by columns (a
// column up to its highest entry); job[5] = 0 also stores the values (info 1
// when they exceed job[4]), else pointers only. job[0] != 0: skyline to
// CSR, non-zero elements only, columns ascending.
template <class T, class I, class P>
void csrsky(const I *job_, const I *m_, P *acsr_, I *ja, I *ia, P *asky_, I *pntr, I *info) {
  using E = typename T::elem;
  const Job<I> job(job_);
  const int64_t m = *m_, bc = job[1], bs = job[2];
  const bool lower = job[3] == 0;
  E *acsr = elems(acsr_), *asky = elems(asky_);
  if (job[0] == 0) {
    for (int64_t i = 0; i < m; ++i) pntr[i + 1] = 1;
    for (int64_t i = 0; i < m; ++i) {
      const int64_t p = int64_t(ia[i]) - bc, q = int64_t(ia[i + 1]) - bc;
      if (lower) {
        if (p < q && i - (int64_t(ja[p]) - bc) >= 0)
          pntr[i + 1] = I(std::max<int64_t>(pntr[i + 1], i - (int64_t(ja[p]) - bc) + 1));
      } else {
        for (int64_t k = p; k < q; ++k) {
          const int64_t c = int64_t(ja[k]) - bc;
          if (c >= i) pntr[c + 1] = I(std::max<int64_t>(pntr[c + 1], c - i + 1));
        }
      }
    }
    pntr[0] = I(bs);
    for (int64_t i = 0; i < m; ++i) pntr[i + 1] = I(pntr[i + 1] + pntr[i]);
    if (job[5] != 0) {
      *info = 0;
      return;
    }
    const int64_t total = int64_t(pntr[m]) - int64_t(pntr[0]);
    if (total > job[4]) {
      *info = 1;
      return;
    }
    *info = 0;
    std::memset(static_cast<void *>(asky), 0, size_t(total) * sizeof(E));
    for (int64_t i = 0; i < m; ++i)
      for (int64_t k = int64_t(ia[i]) - bc; k < int64_t(ia[i + 1]) - bc; ++k) {
        const int64_t c = int64_t(ja[k]) - bc;
        const int64_t line = lower ? i : c, back = lower ? i - c : c - i;  // row (l) or column (u) and reach
        const int64_t len = int64_t(pntr[line + 1]) - int64_t(pntr[line]);
        if (back < 0 || back >= len) continue;  // the other triangle, or out of the profile
        asky[int64_t(pntr[line + 1]) - bs - 1 - back] = acsr[k];
      }
    return;
  }
  int64_t count = 0;
  if (lower) {
    ia[0] = I(bc);
    for (int64_t i = 0; i < m; ++i) {
      const int64_t start = int64_t(pntr[i]) - bs, len = int64_t(pntr[i + 1]) - int64_t(pntr[i]);
      for (int64_t t = 0; t < len; ++t)
        if (!is_zero(asky[start + t])) acsr[count] = asky[start + t], ja[count] = I(i - len + 1 + t + bc), ++count;
      ia[i + 1] = I(bc + count);
    }
  } else {
    for (int64_t i = 0; i <= m; ++i) ia[i] = 0;
    for (int64_t c = 0; c < m; ++c) {  // count the rows
      const int64_t start = int64_t(pntr[c]) - bs, len = int64_t(pntr[c + 1]) - int64_t(pntr[c]);
      for (int64_t t = 0; t < len; ++t)
        if (!is_zero(asky[start + t])) ia[c - len + 1 + t + 1] = I(ia[c - len + 1 + t + 1] + 1);
    }
    for (int64_t i = 1; i <= m; ++i) ia[i] = I(ia[i] + ia[i - 1]);
    for (int64_t c = 0; c < m; ++c) {  // place, columns ascending within each row
      const int64_t start = int64_t(pntr[c]) - bs, len = int64_t(pntr[c + 1]) - int64_t(pntr[c]);
      for (int64_t t = 0; t < len; ++t) {
        if (is_zero(asky[start + t])) continue;
        const int64_t r = c - len + 1 + t, p = ia[r];
        acsr[p] = asky[start + t], ja[p] = I(c + bc), ia[r] = I(p + 1);
      }
    }
    for (int64_t i = m; i > 0; --i) ia[i] = I(ia[i - 1] + bc);
    ia[0] = I(bc);
  }
  *info = 0;
}

// ---------------------------------------------------------------- bsr

// job[0] = 0: CSR to BSR with blocks of mblk, each block ldabsr elements
// apart in absr; job[5] > 0 also the values (blocks by columns for job[2] =
// 1, by rows for 0), 0 block columns and pointers, -1 the number of blocks
// only (iab[0]). Blocks of a block row come in order of first sight. mblk
// below 1 is refused first (info 1); then the marker array from the pool
// (info -1); ldabsr below mblk^2 gives info 2. Every status hands the marker
// block back, so no call leaves a pool slot in use.
// job[0] != 0: BSR to CSR, job[3] = 1 keeping non-zero elements only,
// job[5] = 0 writing ja and ia only.
template <class T, class I, class P>
void csrbsr(const I *job_, const I *m_, const I *mblk_, const I *ldabsr_, P *acsr_, I *ja, I *ia, P *absr_, I *jab,
            I *iab, I *info) {
  using E = typename T::elem;
  const Job<I> job(job_);
  const int64_t m = *m_, mb = *mblk_, ld = *ldabsr_, bc = job[1], bb = job[2];
  E *acsr = elems(acsr_), *absr = elems(absr_);
  auto at = [&](int64_t r, int64_t c) { return bb == 1 ? r + c * mb : c + r * mb; };  // in a block
  if (job[0] == 0) {
    if (mb < 1) {
      *info = 1;
      return;
    }
    const int64_t nb = (m - 1) / mb + 1, what = job[5];
    void *marker_block = zor_serv_allocate(uint64_t(what == -1 ? 2 * nb : nb) * sizeof(I),
                                          int32_t(fixed::kScratchAlignment));
    if (!marker_block) {
      *info = -1;
      return;
    }
    if (ld < mb * mb) {
      zor_serv_deallocate(marker_block);
      *info = 2;
      return;
    }
    I *marker = static_cast<I *>(marker_block), *seen = what == -1 ? marker + nb : nullptr;
    std::memset(static_cast<void *>(marker), 0, size_t(nb) * sizeof(I));
    int64_t blocks = 0;
    if (what != -1) iab[0] = I(bb);
    for (int64_t br = 0; br < nb; ++br) {
      const int64_t first_block = blocks;
      for (int64_t r = 0; r < mb && br * mb + r < m; ++r) {
        const int64_t i = br * mb + r;
        for (int64_t k = int64_t(ia[i]) - bc; k < int64_t(ia[i + 1]) - bc; ++k) {
          const int64_t col = int64_t(ja[k]) - bc, bcol = col / mb, off = col % mb;
          if (marker[bcol] == 0) {
            marker[bcol] = I(++blocks);
            if (what == -1) seen[blocks - first_block - 1] = I(bcol);
            else jab[blocks - 1] = I(bcol + bb);
            if (what > 0) std::memset(static_cast<void *>(absr + (blocks - 1) * ld), 0, size_t(mb * mb) * sizeof(E));
          }
          if (what > 0) absr[(int64_t(marker[bcol]) - 1) * ld + at(r, off)] = acsr[k];
        }
      }
      for (int64_t b = first_block; b < blocks; ++b)
        marker[what == -1 ? int64_t(seen[b - first_block]) : int64_t(jab[b]) - bb] = 0;
      if (what != -1) iab[br + 1] = I(bb + blocks);
    }
    if (what == -1) iab[0] = I(blocks);
    zor_serv_deallocate(marker_block);
    *info = 0;
    return;
  }
  const int64_t nb = (m - 1) / mb + 1;
  const bool nonzero_only = job[3] == 1, values = job[5] != 0;
  int64_t count = 0;
  ia[0] = I(bc);
  for (int64_t br = 0; br < nb; ++br)
    for (int64_t r = 0; r < mb && br * mb + r < m; ++r) {
      for (int64_t k = int64_t(iab[br]) - bb; k < int64_t(iab[br + 1]) - bb; ++k)
        for (int64_t c = 0; c < mb; ++c) {
          const E v = absr[k * ld + at(r, c)];
          if (nonzero_only && is_zero(v)) continue;
          if (values) acsr[count] = v;
          ja[count] = I(int64_t(jab[k]) * mb + c + bc - bb * mb);
          ++count;
        }
      ia[br * mb + r + 1] = I(bc + count);
    }
  *info = 0;
}

// ---------------------------------------------------------------- dense

// job[0] = 0: dense (job[1] = 0 row-major, else column-major) to CSR over
// the triangle of job[3] (0 lower, 1 upper, else whole), non-zero elements,
// info := the row when the stored count reaches job[4]; job[5] = 0 counts
// only (ia). job[0] = 1: CSR to dense, the triangle cleared first, info :=
// the row of a column number at or beyond n; entries of the other triangle
// are passed over. Other job[0]: nothing.
template <class T, class I, class P>
void dnscsr(const I *job_, const I *m_, const I *n_, P *adns_, const I *lda_, P *acsr_, I *ja, I *ia, I *info) {
  using E = typename T::elem;
  const Job<I> job(job_);
  const int64_t m = *m_, n = *n_, lda = *lda_, base = job[2];
  E *adns = elems(adns_), *acsr = elems(acsr_);
  auto at = [&](int64_t i, int64_t j) -> E & { return job[1] == 0 ? adns[i * lda + j] : adns[j * lda + i]; };
  auto in_triangle = [&](int64_t i, int64_t j) { return job[3] == 0 ? j <= i : job[3] == 1 ? j >= i : true; };
  *info = 0;
  if (job[0] == 0) {
    const bool store = job[5] != 0;
    int64_t count = 0;
    ia[0] = I(base);
    for (int64_t i = 0; i < m; ++i) {
      for (int64_t j = 0; j < n; ++j) {
        if (!in_triangle(i, j) || is_zero(at(i, j))) continue;
        if (store) {
          if (count >= job[4]) {
            *info = I(i + 1);
            return;
          }
          acsr[count] = at(i, j), ja[count] = I(j + base);
        }
        ++count;
      }
      ia[i + 1] = I(count + base);
    }
  } else if (job[0] == 1) {
    for (int64_t i = 0; i < m; ++i)
      for (int64_t j = 0; j < n; ++j)
        if (in_triangle(i, j)) at(i, j) = E{};
    for (int64_t i = 0; i < m; ++i)
      for (int64_t k = int64_t(ia[i]) - base; k < int64_t(ia[i + 1]) - base; ++k) {
        const int64_t j = int64_t(ja[k]) - base;
        if (j >= n) {
          *info = I(i + 1);
          return;
        }
        if (in_triangle(i, j)) at(i, j) = acsr[k];
      }
  }
}

// ---------------------------------------------------------------- ildlt

// Solve with L D L^T, L unit lower stored by columns (row i of the arrays,
// zero-based pointers, holds column i of L below the diagonal), D with 1 x 1
// pivots d1[i] and 2 x 2 pivots [[d1[i], d2[i]], [d2[i], d1[i+1]]] where bit
// i of the bitmap is set; a 2 x 2 pivot's column pairs stand interleaved in
// row i (the values of columns i and i+1 at k, k+1, one column number).
// request 0: with the bitmap (set to 2 on return when no 2 x 2 pivot was
// met); 1: nothing; other: every pivot 1 x 1.
template <class T, class P>
void ildlt_sv(const int32_t *n_, const P *values_, const int32_t *ia, const int32_t *ja, const P *d1_, const P *d2_,
              const void *, const int32_t *bitmap, P *b_, P *x_, int32_t *request) {
  const int64_t n = *n_;
  const int32_t req = *request;
  if (req == 1) return;
  const double *v = values_, *d1 = d1_, *d2 = d2_;
  double *b = b_, *x = x_;
  auto block = [&](int64_t i) { return req == 0 && i + 1 < n && ((bitmap[i / 32] >> (i % 32)) & 1); };
  int64_t blocks = 0;
  for (int64_t i = 0; i < n;) {
    if (block(i)) {
      for (int64_t k = ia[i]; k + 1 < ia[i + 1]; k += 2) b[ja[k]] -= v[k] * b[i] + v[k + 1] * b[i + 1];
      ++blocks;
      i += 2;
    } else {
      const double t = b[i];
      for (int64_t k = ia[i]; k < ia[i + 1]; ++k) b[ja[k]] -= v[k] * t;
      ++i;
    }
  }
  for (int64_t i = n - 1; i >= 0;) {
    if (i >= 1 && block(i - 1)) {
      const double p = d1[i] / d2[i - 1], q = d1[i - 1] / d2[i - 1], r = (1.0 / (p * q - 1.0)) / d2[i - 1];
      double x0 = (p * b[i - 1] - b[i]) * r, x1 = r * (q * b[i] - b[i - 1]);
      double s0 = 0, s1 = 0;
      for (int64_t k = ia[i - 1]; k + 1 < ia[i]; k += 2) s0 += v[k] * x[ja[k]], s1 += v[k + 1] * x[ja[k]];
      x[i - 1] = x0 - s0, x[i] = x1 - s1;
      i -= 2;
    } else {
      double s = 0;
      for (int64_t k = ia[i]; k < ia[i + 1]; ++k) s += v[k] * x[ja[k]];
      x[i] = b[i] / d1[i] - s;
      --i;
    }
  }
  if (req == 0 && blocks == 0) *request = 2;
}

}  // namespace zor::spblas
