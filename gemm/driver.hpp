// The GEMM drivers, written once over the element traits:
//   xgemm      C := alpha op(A) op(B) + beta C; picks the small path or the
//              blocked one;
//   xgemm_par  the blocked path under a copy plan (0: choose), also called by
//              the triangular routines and the threading layer with pre-packed
//              operands;
//   mscale     C := beta C, with beta zero storing zeros without reading C;
//   small_path plain loops without packing or buffers.
// Loop order of the blocked path: column blocks, then depth blocks (each
// giving C one accumulating pass), then row blocks; each B block is packed
// once and used for all of M.
#pragma once
#include <cstdint>

#include <zor/core.h>
#include <zor/gemm.h>

#include "frame/element.hpp"
#include "frame/letters.hpp"
#include "frame/memory.hpp"
#include "gemm/blocking.hpp"

namespace zor::gemm {

// C := beta C over an M x N matrix; beta zero stores zeros and reads nothing,
// so NaN in C does not survive.
template <class T>
void mscale(const int64_t *m_, const int64_t *n_, const typename T::elem *beta_, typename T::elem *c,
            const int64_t *ldc_) {
  using E = typename T::elem;
  const int64_t m = *m_, n = *n_, ldc = *ldc_;
  const E beta = *beta_;
  if (is_zero(beta)) {
    for (int64_t j = 0; j < n; ++j) {
      E *col = c + j * ldc;
      for (int64_t i = 0; i < m; ++i) col[i] = E{};
    }
    return;
  }
  for (int64_t j = 0; j < n; ++j) {
    E *col = c + j * ldc;
    for (int64_t i = 0; i < m; ++i) col[i] = beta * col[i];
  }
}

// The small path: operands in place. A not transposed: columns of C in
// pairs; each depth step of four adds a combination of four columns of A,
// the coefficients alpha x B taken first. A transposed: a dot product per
// element over four running sums, then alpha x sum (+ beta x C).
template <class T>
void small_path(const char *transa, const char *transb, int64_t m, int64_t n, int64_t k, typename T::elem alpha,
                const typename T::elem *a, int64_t lda, const typename T::elem *b, int64_t ldb,
                typename T::elem beta, typename T::elem *c, int64_t ldc) {
  using E = typename T::elem;
  const bool an = is_letter(transa, 'N'), bn = is_letter(transb, 'N');
  const bool ca = T::complex && is_letter(transa, 'C'), cb = T::complex && is_letter(transb, 'C');
  const auto B = [&](int64_t l, int64_t j) { return bn ? b[l + j * ldb] : conj_if(b[j + l * ldb], cb); };
  const bool beta_zero = is_zero(beta), beta_one = is_one(beta);
  if (an) {
    for (int64_t j = 0; j < n; j += 2) {
      const int64_t w = n - j < 2 ? n - j : 2;
      for (int64_t jj = 0; jj < w; ++jj) {
        E *col = c + (j + jj) * ldc;
        if (beta_zero)
          for (int64_t i = 0; i < m; ++i) col[i] = E{};
        else if (!beta_one)
          for (int64_t i = 0; i < m; ++i) col[i] = beta * col[i];
      }
      int64_t l = 0;
      for (; l + 4 <= k; l += 4) {
        const E *a0 = a + l * lda, *a1 = a0 + lda, *a2 = a1 + lda, *a3 = a2 + lda;
        for (int64_t jj = 0; jj < w; ++jj) {
          const E t0 = alpha * B(l, j + jj), t1 = alpha * B(l + 1, j + jj), t2 = alpha * B(l + 2, j + jj),
                  t3 = alpha * B(l + 3, j + jj);
          E *col = c + (j + jj) * ldc;
          for (int64_t i = 0; i < m; ++i) col[i] = col[i] + (((a0[i] * t0 + a1[i] * t1) + a2[i] * t2) + a3[i] * t3);
        }
      }
      for (; l < k; ++l) {
        const E *a0 = a + l * lda;
        for (int64_t jj = 0; jj < w; ++jj) {
          const E t0 = alpha * B(l, j + jj);
          E *col = c + (j + jj) * ldc;
          for (int64_t i = 0; i < m; ++i) col[i] = col[i] + a0[i] * t0;
        }
      }
    }
    return;
  }
  // op(A)(i, l) = a[l + i lda], conjugated for 'C'.
  for (int64_t j = 0; j < n; ++j) {
    for (int64_t i = 0; i < m; ++i) {
      const E *row = a + i * lda;
      E s0{}, s1{}, s2{}, s3{};
      int64_t l = 0;
      for (; l + 4 <= k; l += 4) {
        s0 = s0 + conj_if(row[l], ca) * B(l, j);
        s1 = s1 + conj_if(row[l + 1], ca) * B(l + 1, j);
        s2 = s2 + conj_if(row[l + 2], ca) * B(l + 2, j);
        s3 = s3 + conj_if(row[l + 3], ca) * B(l + 3, j);
      }
      E sum = (s0 + s1) + (s2 + s3);
      for (; l < k; ++l) sum = sum + conj_if(row[l], ca) * B(l, j);
      E *cc = c + i + j * ldc;
      *cc = beta_zero ? alpha * sum : beta * *cc + alpha * sum;
    }
  }
}

// The copy of A or B that a transposition flag asks for: 'N', 'T', and any
// other byte the conjugate copy (the transposed one in the real rows).
// (Of a descriptor or of a table row.)
template <class T, class Copies>
CopyAFn copy_a_for(const char *trans, const Copies &d) {
  switch (product_trans<T::complex>(trans)) {
    case Trans::N: return d.copy_an;
    case Trans::T: return d.copy_at;
    default: return d.copy_ac;
  }
}
template <class T, class Copies>
CopyBFn copy_b_for(const char *trans, const Copies &d) {
  switch (product_trans<T::complex>(trans)) {
    case Trans::N: return d.copy_bn;
    case Trans::T: return d.copy_bt;
    default: return d.copy_bc;
  }
}

// B block of a B operand at depth l, column j.
template <class E>
const E *b_at(const E *b, int64_t ldb, bool bn, int64_t l, int64_t j) {
  return bn ? b + l + j * ldb : b + j + l * ldb;
}
// A block at row i, depth l.
template <class E>
const E *a_at(const E *a, int64_t lda, bool an, int64_t i, int64_t l) {
  return an ? a + i + l * lda : a + l + i * lda;
}

// The plan chooser: B read in place when its block (min(block_k, K) deep,
// min(block_n, N) wide) takes at most 4 MiB; complex precisions always pack.
template <class T>
int32_t choose_plan(int64_t n, int64_t k, const GemmDesc *d) {
  if constexpr (T::complex) {
    return kPlanPackAB;
  } else {
    const int64_t kb = d->block_k < k ? d->block_k : k, nb = d->block_n < n ? d->block_n : n;
    return kb * T::elem_bytes * nb <= fixed::kInPlaceBBytesLimit ? kPlanPackA : kPlanPackAB;
  }
}

template <class T>
int32_t xgemm_par(const char *transa, const char *transb, const int64_t *m_, const int64_t *n_, const int64_t *k_,
                  const typename T::elem *alpha, const typename T::elem *a, const int64_t *lda_,
                  const typename T::elem *b, const int64_t *ldb_, const typename T::elem *beta,
                  typename T::elem *c, const int64_t *ldc_, int32_t plan, GemmDesc *d) {
  using E = typename T::elem;
  const int64_t M = *m_, N = *n_, K = *k_;
  if (M < 1 || N < 1) return 0;
  const bool an = is_letter(transa, 'N'), bn = is_letter(transb, 'N');
  if (d->block_m == 0 || d->block_n == 0 || d->block_k == 0) d->get_blks_size(m_, n_, k_, d);
  if (plan == kPlanChoose) plan = choose_plan<T>(N, K, d);
  switch (plan) {
    case kPlanPackAB: case kPlanPackA: case kPlanPrepackedA: case kPlanPrepackedANoB:
    case kPlanPrepackedB: case kPlanPrepackedAB: break;
    default: return 1;
  }
  // A plan the row's kernels cannot run (the complex rows have no in-place
  // B) is refused like an unknown one, with C untouched.
  if (!(d->plan_mask & plan)) return 1;
  // C takes beta first in every plan, before any allocation: a pre-packed
  // plan that then fails to get its buffers returns 1 with C already scaled.
  if (!is_one(*beta)) mscale<T>(m_, n_, beta, c, ldc_);
  if (is_zero(*alpha)) return 0;

  const int64_t lda = *lda_, ldb = *ldb_, ldc = *ldc_;
  static constexpr E kOne = one_of<E>();
  const E *one = &kOne;
  const int64_t bm = d->block_m, bnk = d->block_n, bk = d->block_k, uk = d->unroll_k;
  void *base = nullptr;

  if (plan == kPlanPackAB || plan == kPlanPackA) {
    if (M < d->min_m || N < d->min_n || K < d->min_k) {
      small_path<T>(transa, transb, M, N, K, *alpha, a, lda, b, ldb, *one, c, ldc);
      return 0;
    }
    const int32_t request = plan == kPlanPackAB ? kReqABDup : kReqADup;
    d->get_bufs_size(request, kModeWorking, m_, n_, k_, d);
    d->get_bufs(request, &base, d);
    const frame::PooledBuffer bufs(base);
    if (zor_serv_check_ptr(base, "xgemm") != 0) {
      // Out of memory costs speed, never the result.
      small_path<T>(transa, transb, M, N, K, *alpha, a, lda, b, ldb, *one, c, ldc);
      return 0;
    }
    const CopyAFn copy_a = copy_a_for<T>(transa, *d);
    const CopyBFn copy_b = copy_b_for<T>(transb, *d);
    for (int64_t j = 0; j < N; j += bnk) {
      int64_t nb = N - j < bnk ? N - j : bnk;
      for (int64_t l = 0; l < K; l += bk) {
        int64_t kb = K - l < bk ? K - l : bk;
        int64_t kbp = round_up(kb, uk);
        const E *bsrc = b_at(b, ldb, bn, l, j);
        if (plan == kPlanPackAB) copy_b(&kb, &nb, bsrc, ldb_, d->b_buffer, &d->b_panel_stride, nullptr);
        for (int64_t i = 0; i < M; i += bm) {
          int64_t mb = M - i < bm ? M - i : bm;
          copy_a(&mb, &kb, a_at(a, lda, an, i, l), lda_, d->a_buffer, &d->a_panel_stride, alpha);
          if (plan == kPlanPackAB)
            d->kernel(transa, transb, &mb, &nb, &kbp, one, d->a_buffer, &d->a_panel_stride, d->b_buffer,
                      &d->b_panel_stride, one, c + i + j * ldc, ldc_, d->dup_buffer, kFlagPackedB);
          else
            d->kernel(transa, transb, &mb, &nb, &kb, one, d->a_buffer, &d->a_panel_stride, bsrc, ldb_, one,
                      c + i + j * ldc, ldc_, d->dup_buffer, kFlagInPlaceB);
        }
      }
    }
    return 0;
  }

  // Pre-packed operands: no way round a failed allocation.
  const int32_t request = plan == kPlanPrepackedA ? kReqBDup
                          : plan == kPlanPrepackedB ? kReqADup
                                                    : kReqDup;
  d->get_bufs_size(request, kModeWorking, m_, n_, k_, d);
  d->get_bufs(request, &base, d);
  const frame::PooledBuffer bufs(base);
  if (zor_serv_check_ptr(base, "xgemm") != 0) return 1;
  int64_t kb = K < bk ? K : bk;
  int64_t kbp = round_up(kb, uk);
  if (plan == kPlanPrepackedA || plan == kPlanPrepackedANoB) {
    const CopyBFn copy_b = copy_b_for<T>(transb, *d);
    for (int64_t j = 0; j < N; j += bnk) {
      int64_t nb = N - j < bnk ? N - j : bnk;
      const E *bsrc = b_at(b, ldb, bn, 0, j);
      if (plan == kPlanPrepackedA) {
        copy_b(&kb, &nb, bsrc, ldb_, d->b_buffer, &d->b_panel_stride, nullptr);
        d->kernel(transa, transb, m_, &nb, &kbp, nullptr, a, lda_, d->b_buffer, &d->b_panel_stride, one,
                  c + j * ldc, ldc_, d->dup_buffer, kFlagPackedB);
      } else {
        d->kernel(transa, transb, m_, &nb, &kb, nullptr, a, lda_, bsrc, ldb_, one, c + j * ldc, ldc_,
                  d->dup_buffer, kFlagInPlaceB);
      }
    }
  } else if (plan == kPlanPrepackedB) {
    const CopyAFn copy_a = copy_a_for<T>(transa, *d);
    for (int64_t i = 0; i < M; i += bm) {
      int64_t mb = M - i < bm ? M - i : bm;
      copy_a(&mb, &kb, a_at(a, lda, an, i, 0), lda_, d->a_buffer, &d->a_panel_stride, alpha);
      d->kernel(transa, transb, &mb, n_, &kbp, nullptr, d->a_buffer, &d->a_panel_stride, b, ldb_, one, c + i,
                ldc_, d->dup_buffer, kFlagPackedB);
    }
  } else {
    int64_t kp = round_up(K, uk);
    d->kernel(transa, transb, m_, n_, &kp, alpha, a, lda_, b, ldb_, beta, c, ldc_, d->dup_buffer, kFlagPackedB);
  }
  return 0;
}

template <class T>
void xgemm(const char *transa, const char *transb, const int64_t *m, const int64_t *n, const int64_t *k,
           const typename T::elem *alpha, const typename T::elem *a, const int64_t *lda,
           const typename T::elem *b, const int64_t *ldb, const typename T::elem *beta, typename T::elem *c,
           const int64_t *ldc) {
  if (*m < 1 || *n < 1) return;
  const int32_t row = optimal_row<T>();
  const KernelRow &r = GemmTable<T>::rows[row];
  if (!is_one(*beta)) mscale<T>(m, n, beta, c, ldc);
  if (is_zero(*alpha)) return;
  static constexpr typename T::elem kOne = one_of<typename T::elem>();
  const typename T::elem *one = &kOne;
  if (*m >= r.unroll_m && *n >= r.unroll_n && *k >= r.unroll_k) {
    GemmDesc d;
    zor_blas_cgemm_zero_desc(&d);
    get_kernel<T>(row, &d);
    d.get_blks_size(m, n, k, &d);
    xgemm_par<T>(transa, transb, m, n, k, alpha, a, lda, b, ldb, one, c, ldc, kPlanChoose, &d);
  } else {
    small_path<T>(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *one, c, *ldc);
  }
}

}  // namespace zor::gemm
