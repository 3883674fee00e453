// Kernel-row selection, block-size rules, buffer sizing and buffer allocation,
// written once over the element traits. A precision's export file
// instantiates these with one line per export.
#pragma once
#include <cstdint>

#include <zor/core.h>
#include <zor/serv.h>

#include "gemm/desc.hpp"
#include "gemm/panels.hpp"
#include "gemm/parameters.hpp"

namespace zor::gemm {

// Depth block of the real rows: K below 256 rounded up to the unroll and at
// least 128; 257..511 split in two halves; 256 itself and 512 or more: 256.
inline int64_t real_block_k(int64_t k, int64_t unroll_k) {
  if (k < fixed::kDepthFull) {
    int64_t b = round_up(k, unroll_k);
    return b < fixed::kDepthFloor ? fixed::kDepthFloor : b;
  }
  if (k > fixed::kDepthFull && k < 2 * fixed::kDepthFull) return round_up(k / 2, unroll_k);
  return fixed::kDepthFull;
}

// Row 0. Real: block_k as above, block_m fixed, block_n = max(N, unroll_n)
// limited. Complex: block_k prefers a divisor of K (the precision's full
// block, else 128), block_m follows from a fixed product block_m x K'.
template <class T>
void get_blks_size(const int64_t *m, const int64_t *n, const int64_t *k, GemmDesc *d) {
  using R = fixed::BlockRule<T>;
  const int64_t M = *m, N = *n, K = *k;
  if constexpr (!T::complex) {
    if (d->block_k == 0) d->block_k = real_block_k(K, d->unroll_k);
    if (d->block_m == 0) d->block_m = R::m0;
  } else {
    int64_t kp = round_up(K, d->unroll_k);
    if (d->block_k == 0) {
      const int64_t full = R::k_complex;
      int64_t bk;
      if (K % full == 0) bk = full;
      else if (K % fixed::kDepthFloor == 0) bk = fixed::kDepthFloor;
      else if (K > full && K < 2 * full) bk = round_up(K / 2, d->unroll_k);
      else bk = full;
      d->block_k = bk;
      if (bk < kp) kp = bk;
    }
    if (kp < 1) kp = d->unroll_k;
    if (d->block_m == 0) {
      int64_t bm = round_down(R::m_numerator / kp, d->unroll_m);
      if (bm < d->unroll_m) bm = d->unroll_m;
      const int64_t limit = M < d->unroll_m ? d->unroll_m : M;
      d->block_m = bm < limit ? bm : limit;
    }
  }
  if (d->block_n == 0) {
    int64_t bn = N > d->unroll_n ? N : d->unroll_n;
    d->block_n = bn > R::n_limit0 ? R::n_limit0 : bn;
  }
}

// The second-level cache counts as small when a level is known and its size,
// compared as a signed 32-bit value, is at most fixed::kSmallSecondLevelBytes.
inline bool small_second_level_cache() {
  int32_t info[8] = {};
  zor_serv_cache_info(info);
  return info[0] != 0 && info[2] <= fixed::kSmallSecondLevelBytes;
}

// Row 1: the row block follows the second-level cache size.
template <class T>
void get_blks_size_bvr(const int64_t *m, const int64_t *n, const int64_t *k, GemmDesc *d) {
  using R = fixed::BlockRule<T>;
  (void)m;
  const int64_t N = *n, K = *k;
  if (d->block_k == 0) {
    if constexpr (!T::complex) {
      d->block_k = real_block_k(K, d->unroll_k);
    } else if (K < fixed::kDepthFull) {
      int64_t b = round_up(K, d->unroll_k);
      d->block_k = b < fixed::kDepthFloor ? fixed::kDepthFloor : b;
    } else {
      d->block_k = K <= fixed::kComplexRow1DepthSplit ? fixed::kDepthFloor : fixed::kDepthFull;
    }
  }
  if (d->block_m == 0) d->block_m = small_second_level_cache() ? R::m1_small : R::m1;
  if (d->block_n == 0) {
    int64_t bn = N > d->unroll_n ? N : d->unroll_n;
    if (bn > R::n_limit1) bn = R::n_limit1;
    d->block_n = round_up(bn, d->unroll_n);
  }
}

// Which buffers a request wants: A, B, duplication.
struct Wanted {
  bool a, b, dup;
};
inline bool wanted_by(int32_t request, Wanted *w) {
  switch (request) {
    case kReqABDup: *w = {true, true, true}; return true;
    case kReqA: *w = {true, false, false}; return true;
    case kReqB: *w = {false, true, false}; return true;
    case kReqAB: *w = {true, true, false}; return true;
    case kReqBDup: *w = {false, true, true}; return true;
    case kReqADup: *w = {true, false, true}; return true;
    case kReqDup: *w = {false, false, true}; return true;
    default: return false;
  }
}

template <class T>
int32_t get_bufs_size(int32_t request, int32_t mode, const int64_t *m, const int64_t *n, const int64_t *k,
                      GemmDesc *d) {
  int64_t mw, nw, kw;
  if (mode == kModeWorking) {
    mw = d->block_m < *m ? d->block_m : *m;
    nw = d->block_n < *n ? d->block_n : *n;
    kw = d->block_k < *k ? d->block_k : *k;
  } else if (mode == kModeBlocks) {
    mw = d->block_m;
    nw = d->block_n;
    kw = d->block_k;
  } else {
    return 1;
  }
  mw = round_up(mw, d->unroll_m);
  nw = round_up(nw, d->unroll_n);
  kw = round_up(kw, d->unroll_k);
  Wanted w;
  if (!wanted_by(request, &w)) return 1;
  constexpr int64_t e = T::elem_bytes;
  if (w.a) {
    d->a_bytes = mw * kw * e + fixed::kBufferSlack;
    d->a_panel_stride = d->unroll_m * kw;
    d->a_align_log2 = fixed::kPanelAlignLog2;
  }
  if (w.b) {
    d->b_bytes = nw * kw * e + fixed::kBufferSlack;
    d->b_panel_stride = kw * d->unroll_n;
    d->b_align_log2 = fixed::kPanelAlignLog2;
  }
  if (w.dup) {
    d->dup_bytes = kw * e * d->unroll_n * d->b_dup + fixed::kBufferSlack;
    d->dup_align_log2 = fixed::kDupAlignLog2;
  }
  return 0;
}

inline char *align_up(char *p, int32_t log2) {
  uintptr_t unit = uintptr_t(1) << log2;
  return reinterpret_cast<char *>((reinterpret_cast<uintptr_t>(p) + unit - 1) & ~(unit - 1));
}

// One allocation holds the wanted buffers, laid out A, duplication, B, each
// at its own alignment; the sizes allow twice each alignment as slack.
// Request 103 is sized by get_bufs_size but refused here.
template <class T>
int32_t get_bufs(int32_t request, void **base, GemmDesc *d) {
  *base = nullptr;
  Wanted w;
  if (request == kReqAB || !wanted_by(request, &w)) return 1;
  uint64_t total = 0;
  if (w.a) total += uint64_t(d->a_bytes) + (uint64_t(2) << d->a_align_log2);
  if (w.dup) total += uint64_t(d->dup_bytes) + (uint64_t(2) << d->dup_align_log2);
  if (w.b) total += uint64_t(d->b_bytes) + (uint64_t(2) << d->b_align_log2);
  void *p = zor_serv_allocate(total, fixed::kBufsAlignment);
  *base = p;
  if (!p) return 0;
  char *at = static_cast<char *>(p);
  if (w.a) {
    at = align_up(at, d->a_align_log2);
    d->a_buffer = at;
    at += d->a_bytes;
  }
  if (w.dup) {
    at = align_up(at, d->dup_align_log2);
    d->dup_buffer = at;
    at += d->dup_bytes;
  }
  if (w.b) {
    at = align_up(at, d->b_align_log2);
    d->b_buffer = at;
  }
  return 0;
}

inline void free_bufs(void *base) { zor_serv_deallocate(base); }

inline void copy_row(const KernelRow &r, GemmDesc *d) {
  d->unroll_m = r.unroll_m;
  d->unroll_n = r.unroll_n;
  d->unroll_k = r.unroll_k;
  d->b_dup = r.b_dup;
  d->min_m = r.min_m;
  d->min_n = r.min_n;
  d->min_k = r.min_k;
  d->plan_mask = r.plan_mask;
  d->get_blks_size = r.get_blks_size;
  d->get_bufs_size = r.get_bufs_size;
  d->get_bufs = r.get_bufs;
  d->copy_an = r.copy_an;
  d->copy_at = r.copy_at;
  d->copy_ac = r.copy_ac;
  d->copy_bn = r.copy_bn;
  d->copy_bt = r.copy_bt;
  d->copy_bc = r.copy_bc;
  d->kernel = r.kernel;
  d->copy_a_ext = r.copy_a_ext;
  d->copy_b_ext = r.copy_b_ext;
}

template <class T>
int32_t get_kernel(int32_t row, GemmDesc *d) {
  if (uint32_t(row) >= 2) return 1;
  d->kernel_index = row;
  copy_row(GemmTable<T>::rows[row], d);
  return 0;
}

// The table row the processor's answer selects.
template <class T>
int32_t optimal_row() {
  return GemmTable<T>::row_of_answer[zor_serv_cpuhasqlx() != 0 ? 1 : 0];
}

template <class T>
void get_optimal_kernel(GemmDesc *d) {
  const int32_t row = optimal_row<T>();
  d->kernel_index = row;
  copy_row(GemmTable<T>::rows[row], d);
}

}  // namespace zor::gemm
