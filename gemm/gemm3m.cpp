// Complex products with three real multiplications:
//   T1 = Ar x Br,  T2 = Ai x Bi,  T3 = (Ar + Ai) x (Br + Bi)
//   C  = beta C + alpha ((T1 - T2) + i (T3 - T1 - T2))
// on the real engine of the matching precision (single for c, double for z).
//
// Row blocks of 1000, depth blocks of 128, column blocks of 1000. For each
// row block the three products of all columns accumulate over the depth
// blocks in T1, T2, T3; then one combination pass applies alpha and beta.
// Two routes: with a real row whose packed format serves this path (plan
// mask bits 256 and 64) the split goes straight into packed panels and the
// products run as pre-packed plan 64; otherwise the split goes into plain
// column-major arrays and the products run through the real xgemm.
// Every allocation failure ends in the four-multiplication product.
#include <cstdint>

#include <zor/core.h>
#include <zor/gemm_complex.h>

#include "frame/element.hpp"
#include "frame/letters.hpp"
#include "frame/memory.hpp"
#include "frame/simd.hpp"
#include "gemm/blocking.hpp"
#include "gemm/copy_complex.hpp"

namespace zor::gemm {
namespace {

using namespace zor::simd;

// The real engine under each complex precision.
template <class T> struct RealEngine;
template <> struct RealEngine<C> {
  static constexpr auto xgemm = zor_blas_xsgemm;
  static constexpr auto xgemm_par = zor_blas_xsgemm_par;
  static constexpr auto optimal_kernel = zor_blas_sgemm_get_optimal_kernel;
  static constexpr auto complex_xgemm = zor_blas_xcgemm;
  static constexpr auto complex_mscale = zor_blas_cgemm_mscale;
};
template <> struct RealEngine<Z> {
  static constexpr auto xgemm = zor_blas_xdgemm;
  static constexpr auto xgemm_par = zor_blas_xdgemm_par;
  static constexpr auto optimal_kernel = zor_blas_dgemm_get_optimal_kernel;
  static constexpr auto complex_xgemm = zor_blas_xzgemm;
  static constexpr auto complex_mscale = zor_blas_zgemm_mscale;
};

constexpr int64_t kBlockM = fixed::kGemm3mBlockM, kBlockN = fixed::kGemm3mBlockN, kBlockK = fixed::kGemm3mBlockK;

// 'N', 'T' or 'C' in either case; false for any other byte.
bool form_of(const char *flag, Trans *f) {
  *f = read_trans(flag);
  return *f == Trans::N || *f == Trans::T || *f == Trans::C;
}

}  // namespace

// Splits a rows x cols block of op(X) into its real parts, imaginary parts
// and their sums, column-major with leading dimension rows.
template <class T, Trans F>
void split3(int64_t rows, int64_t cols, const void *src_, int64_t ld, typename T::real *re, typename T::real *im,
            typename T::real *sum) {
  using R = typename T::real;
  const R *src = static_cast<const R *>(src_);
  for (int64_t j = 0; j < cols; ++j) {
    R *r = re + j * rows, *i = im + j * rows, *s = sum + j * rows;
    for (int64_t k = 0; k < rows; ++k) {
      const R *x = F == Trans::N ? src + 2 * (k + j * ld) : src + 2 * (j + k * ld);
      const R xr = x[0], xi = F == Trans::C ? -x[1] : x[1];
      r[k] = xr;
      i[k] = xi;
      s[k] = xr + xi;
    }
  }
}

template <class T>
void split3_by_form(Trans f, int64_t rows, int64_t cols, const void *src, int64_t ld, typename T::real *re,
                    typename T::real *im, typename T::real *sum) {
  if (f == Trans::N) split3<T, Trans::N>(rows, cols, src, ld, re, im, sum);
  else if (f == Trans::T) split3<T, Trans::T>(rows, cols, src, ld, re, im, sum);
  else split3<T, Trans::C>(rows, cols, src, ld, re, im, sum);
}

namespace {

enum class Combine { beta_zero, add_only, beta_one, general };

// C(0:m, 0:n) = beta C + alpha (R + i I), R = T1 - T2, I = T3 - T1 - T2:
// a vector loop (one vector of T gives two of C) and a scalar tail with the
// same operations.
template <class T, Combine K>
void combine(int64_t m, int64_t n, const typename T::real *t1, const typename T::real *t2,
             const typename T::real *t3, int64_t ldt, const typename T::real *alpha, const typename T::real *beta,
             typename T::real *c, int64_t ldc) {
  using R = typename T::real;
  using V = typename T::vec;
  constexpr int L = T::real_lanes;
  const V ar = splat(alpha[0]), ai = splat(alpha[1]), br = splat(beta[0]), bi = splat(beta[1]);
  for (int64_t j = 0; j < n; ++j) {
    const R *p1 = t1 + j * ldt, *p2 = t2 + j * ldt, *p3 = t3 + j * ldt;
    R *cj = c + 2 * j * ldc;
    int64_t i = 0;
    for (; i + L <= m; i += L) {
      const V v1 = load_u(p1 + i), v2 = load_u(p2 + i), v3 = load_u(p3 + i);
      const V re = sub(v1, v2), im = sub(sub(v3, v1), v2);
      V x[2] = {unpack_lo(re, im), unpack_hi(re, im)};
      for (int h = 0; h < 2; ++h) {
        R *at = cj + 2 * i + h * L;
        V v = x[h];
        if constexpr (K != Combine::add_only) v = addsub(mul(v, ar), mul(flip(v), ai));
        if constexpr (K == Combine::general) {
          const V old = load_u(at);
          v = add(addsub(mul(old, br), mul(flip(old), bi)), v);
        } else if constexpr (K != Combine::beta_zero) {
          v = add(load_u(at), v);
        }
        store_u(at, v);
      }
    }
    for (; i < m; ++i) {
      const R re = p1[i] - p2[i], im = (p3[i] - p1[i]) - p2[i];
      R xr = re, xi = im;
      if constexpr (K != Combine::add_only) {
        xr = re * alpha[0] - im * alpha[1];
        xi = im * alpha[0] + re * alpha[1];
      }
      R *at = cj + 2 * i;
      if constexpr (K == Combine::general) {
        const R cr = at[0], ci = at[1];
        xr = (cr * beta[0] - ci * beta[1]) + xr;
        xi = (ci * beta[0] + cr * beta[1]) + xi;
      } else if constexpr (K != Combine::beta_zero) {
        xr = at[0] + xr;
        xi = at[1] + xi;
      }
      at[0] = xr;
      at[1] = xi;
    }
  }
}

template <class T>
void combine_any(int64_t m, int64_t n, const typename T::real *t1, const typename T::real *t2,
                 const typename T::real *t3, int64_t ldt, const typename T::real *alpha,
                 const typename T::real *beta, typename T::real *c, int64_t ldc) {
  using R = typename T::real;
  const bool beta_zero = beta[0] == R(0) && beta[1] == R(0);
  const bool beta_one = beta[0] == R(1) && beta[1] == R(0);
  const bool alpha_one = alpha[0] == R(1) && alpha[1] == R(0);
  if (beta_zero) combine<T, Combine::beta_zero>(m, n, t1, t2, t3, ldt, alpha, beta, c, ldc);
  else if (beta_one && alpha_one) combine<T, Combine::add_only>(m, n, t1, t2, t3, ldt, alpha, beta, c, ldc);
  else if (beta_one) combine<T, Combine::beta_one>(m, n, t1, t2, t3, ldt, alpha, beta, c, ldc);
  else combine<T, Combine::general>(m, n, t1, t2, t3, ldt, alpha, beta, c, ldc);
}

// Address of element (i, l) of op(X), complex elements of R.
template <class R>
inline const R *at_op(const R *x, int64_t ld, Trans f, int64_t i, int64_t l) {
  return f == Trans::N ? x + 2 * (i + l * ld) : x + 2 * (l + i * ld);
}

// The packed route: three panel blocks of A and of B per block, pre-packed
// products. Returns false, with C untouched from row `*done` on, when an
// allocation failed.
template <class T>
bool packed_route(Trans fa, Trans fb, const char *transa, const char *transb, int64_t M, int64_t N, int64_t K,
                  const typename T::real *alpha, const typename T::real *a, int64_t lda, const typename T::real *b,
                  int64_t ldb, const typename T::real *beta, typename T::real *c, int64_t ldc, GemmDesc *d,
                  int64_t *done) {
  using R = typename T::real;
  using E = RealEngine<T>;
  *done = 0;
  zor_blas_cgemm_set_blks_size(kBlockM, kBlockN, kBlockK, d);
  const int64_t m = M, n = N, k = K;
  d->get_bufs_size(kReqAB, kModeWorking, &m, &n, &k, d);
  const int64_t ldt = M < kBlockM ? M : kBlockM, tcols = N + fixed::kGemm3mTColumnsSlack;
  const frame::PooledBuffer a_area(3 * uint64_t(d->a_bytes) + fixed::kGemm3mAreaSlack, fixed::kAreaAlignment);
  const frame::PooledBuffer b_area(3 * uint64_t(d->b_bytes) + fixed::kGemm3mAreaSlack, fixed::kAreaAlignment);
  const frame::PooledBuffer t_area(3 * uint64_t(ldt) * uint64_t(tcols) * sizeof(R) + fixed::kAreaAlignment,
                                   fixed::kAreaAlignment);
  if (zor_serv_check_ptr(a_area.get(), "xgemm3m") != 0 || zor_serv_check_ptr(b_area.get(), "xgemm3m") != 0 ||
      zor_serv_check_ptr(t_area.get(), "xgemm3m") != 0)
    return false;
  R *ap[3], *bp[3], *tp[3];
  char *at = static_cast<char *>(a_area.get());
  for (int t = 0; t < 3; ++t, at += d->a_bytes) ap[t] = reinterpret_cast<R *>(at = align_up(at, fixed::kAreaAlignLog2));
  at = static_cast<char *>(b_area.get());
  for (int t = 0; t < 3; ++t, at += d->b_bytes) bp[t] = reinterpret_cast<R *>(at = align_up(at, fixed::kAreaAlignLog2));
  R *tbase = reinterpret_cast<R *>(align_up(static_cast<char *>(t_area.get()), fixed::kAreaAlignLog2));
  for (int t = 0; t < 3; ++t) tp[t] = tbase + t * ldt * tcols;

  const R one = 1, zero = 0;
  const int64_t a_stride = d->a_panel_stride, b_stride = d->b_panel_stride;
  for (int64_t i = 0; i < M; i += kBlockM) {
    int64_t mb = M - i < kBlockM ? M - i : kBlockM;
    for (int64_t l = 0; l < K; l += kBlockK) {
      int64_t kb = K - l < kBlockK ? K - l : kBlockK;
      const R *asrc = at_op(a, lda, fa, i, l);
      d->copy_a_ext(fixed::kExtSplit, transa, &mb, &kb, asrc, &lda, ap[0], ap[1], ap[2], &a_stride);
      for (int64_t j = 0; j < N; j += kBlockN) {
        int64_t nb = N - j < kBlockN ? N - j : kBlockN;
        const R *bsrc = at_op(b, ldb, fb, l, j);
        d->copy_b_ext(fixed::kExtSplit, transb, &kb, &nb, bsrc, &ldb, bp[0], bp[1], bp[2], &b_stride);
        for (int t = 0; t < 3; ++t) {
          if (E::xgemm_par("N", "N", &mb, &nb, &kb, &one, ap[t], &a_stride, bp[t], &b_stride, l == 0 ? &zero : &one,
                           tp[t] + j * ldt, &ldt, kPlanPrepackedAB, d) != 0) {
            *done = i;
            return false;
          }
        }
      }
    }
    combine_any<T>(mb, N, tp[0], tp[1], tp[2], ldt, alpha, beta, c + 2 * i, ldc);
  }
  *done = M;
  return true;
}

// The plain route: split into column-major arrays, real xgemm 'N', 'N'.
template <class T>
bool plain_route(Trans fa, Trans fb, int64_t M, int64_t N, int64_t K, const typename T::real *alpha,
                 const typename T::real *a, int64_t lda, const typename T::real *b, int64_t ldb,
                 const typename T::real *beta, typename T::real *c, int64_t ldc) {
  using R = typename T::real;
  using E = RealEngine<T>;
  const int64_t ldt = M < kBlockM ? M : kBlockM;
  const frame::PooledBuffer a_area(3 * uint64_t(kBlockM) * kBlockK * sizeof(R), fixed::kAreaAlignment);
  const frame::PooledBuffer b_area(3 * uint64_t(kBlockK) * kBlockN * sizeof(R), fixed::kAreaAlignment);
  const frame::PooledBuffer t_area(3 * uint64_t(ldt) * uint64_t(N) * sizeof(R), fixed::kAreaAlignment);
  if (zor_serv_check_ptr(a_area.get(), "xgemm3m") != 0 || zor_serv_check_ptr(b_area.get(), "xgemm3m") != 0 ||
      zor_serv_check_ptr(t_area.get(), "xgemm3m") != 0)
    return false;
  R *ap[3], *bp[3], *tp[3];
  for (int t = 0; t < 3; ++t) {
    ap[t] = static_cast<R *>(a_area.get()) + t * kBlockM * kBlockK;
    bp[t] = static_cast<R *>(b_area.get()) + t * kBlockK * kBlockN;
    tp[t] = static_cast<R *>(t_area.get()) + t * ldt * N;
  }
  const R one = 1, zero = 0;
  for (int64_t i = 0; i < M; i += kBlockM) {
    int64_t mb = M - i < kBlockM ? M - i : kBlockM;
    for (int64_t l = 0; l < K; l += kBlockK) {
      int64_t kb = K - l < kBlockK ? K - l : kBlockK;
      split3_by_form<T>(fa, mb, kb, at_op(a, lda, fa, i, l), lda, ap[0], ap[1], ap[2]);
      for (int64_t j = 0; j < N; j += kBlockN) {
        int64_t nb = N - j < kBlockN ? N - j : kBlockN;
        split3_by_form<T>(fb, kb, nb, at_op(b, ldb, fb, l, j), ldb, bp[0], bp[1], bp[2]);
        for (int t = 0; t < 3; ++t)
          E::xgemm("N", "N", &mb, &nb, &kb, &one, ap[t], &mb, bp[t], &kb, l == 0 ? &zero : &one, tp[t] + j * ldt,
                   &ldt);
      }
    }
    combine_any<T>(mb, N, tp[0], tp[1], tp[2], ldt, alpha, beta, c + 2 * i, ldc);
  }
  return true;
}

}  // namespace

template <class T>
void xgemm3m(const char *transa, const char *transb, const int64_t *m_, const int64_t *n_, const int64_t *k_,
             const void *alpha_, const void *a_, const int64_t *lda_, const void *b_, const int64_t *ldb_,
             const void *beta_, void *c_, const int64_t *ldc_) {
  using R = typename T::real;
  using E = RealEngine<T>;
  const int64_t M = *m_, N = *n_, K = *k_;
  if (M < 1 || N < 1) return;
  // The scalars may stand at any byte offset: everything below reads aligned copies.
  const R *alpha_any = static_cast<const R *>(alpha_), *beta_any = static_cast<const R *>(beta_);
  const R scalars[4] = {zor::load_any(alpha_any), zor::load_any(alpha_any + 1), zor::load_any(beta_any), zor::load_any(beta_any + 1)};
  alpha_ = scalars;
  beta_ = scalars + 2;
  const R *alpha = scalars, *beta = scalars + 2;
  if (K == 0 || (alpha[0] == R(0) && alpha[1] == R(0))) {
    if (!(beta[0] == R(1) && beta[1] == R(0))) E::complex_mscale(m_, n_, beta_, c_, ldc_);
    return;
  }
  if (M < fixed::kGemm3mMin || N < fixed::kGemm3mMin || K < fixed::kGemm3mMin) {
    E::complex_xgemm(transa, transb, m_, n_, k_, alpha_, a_, lda_, b_, ldb_, beta_, c_, ldc_);
    return;
  }
  Trans fa, fb;
  const bool flags_known = form_of(transa, &fa) && form_of(transb, &fb);
  const R *a = static_cast<const R *>(a_), *b = static_cast<const R *>(b_);
  R *c = static_cast<R *>(c_);
  bool packed = false;
  GemmDesc d;
  if (zor_blas_cgemm_api_support() != 0) {
    zor_blas_cgemm_zero_desc(&d);
    E::optimal_kernel(&d);
    packed = (d.plan_mask & kPlanMask3m) != 0 && (d.plan_mask & kPlanPrepackedAB) != 0 && d.copy_a_ext != nullptr &&
             d.copy_b_ext != nullptr;
  }
  if (!flags_known) return;  // an unknown flag: no update of C
  if (packed) {
    int64_t done = 0;
    if (!packed_route<T>(fa, fb, transa, transb, M, N, K, alpha, a, *lda_, b, *ldb_, beta, c, *ldc_, &d, &done)) {
      // Finish the rows not yet combined with the four-multiplication product.
      const int64_t rest = M - done;
      const R *arest = at_op(a, *lda_, fa, done, 0);
      E::complex_xgemm(transa, transb, &rest, n_, k_, alpha_, arest, lda_, b_, ldb_, beta_, c + 2 * done, ldc_);
    }
    return;
  }
  if (!plain_route<T>(fa, fb, M, N, K, alpha, a, *lda_, b, *ldb_, beta, c, *ldc_))
    E::complex_xgemm(transa, transb, m_, n_, k_, alpha_, a_, lda_, b_, ldb_, beta_, c_, ldc_);
}

}  // namespace zor::gemm

// ---- exports
using zor::C;
using zor::Z;
using zor::Trans;
using zor::gemm::split3;
using I = const int64_t *;
using P = const void *;

// clang-format off
ZOR_API void zor_blas_xcgemm3m(const char *ta, const char *tb, I m, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { zor::gemm::xgemm3m<C>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xzgemm3m(const char *ta, const char *tb, I m, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { zor::gemm::xgemm3m<Z>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }

ZOR_API void zor_blas_cgemm3m_copyan(int64_t m, int64_t k, P a, int64_t lda, float *re, float *im, float *sum) { split3<C, Trans::N>(m, k, a, lda, re, im, sum); }
ZOR_API void zor_blas_cgemm3m_copyat(int64_t m, int64_t k, P a, int64_t lda, float *re, float *im, float *sum) { split3<C, Trans::T>(m, k, a, lda, re, im, sum); }
ZOR_API void zor_blas_cgemm3m_copyac(int64_t m, int64_t k, P a, int64_t lda, float *re, float *im, float *sum) { split3<C, Trans::C>(m, k, a, lda, re, im, sum); }
ZOR_API void zor_blas_cgemm3m_copybn(int64_t k, int64_t n, P b, int64_t ldb, float *re, float *im, float *sum) { split3<C, Trans::N>(k, n, b, ldb, re, im, sum); }
ZOR_API void zor_blas_cgemm3m_copybt(int64_t k, int64_t n, P b, int64_t ldb, float *re, float *im, float *sum) { split3<C, Trans::T>(k, n, b, ldb, re, im, sum); }
ZOR_API void zor_blas_cgemm3m_copybc(int64_t k, int64_t n, P b, int64_t ldb, float *re, float *im, float *sum) { split3<C, Trans::C>(k, n, b, ldb, re, im, sum); }
ZOR_API void zor_blas_zgemm3m_copyan(int64_t m, int64_t k, P a, int64_t lda, double *re, double *im, double *sum) { split3<Z, Trans::N>(m, k, a, lda, re, im, sum); }
ZOR_API void zor_blas_zgemm3m_copyat(int64_t m, int64_t k, P a, int64_t lda, double *re, double *im, double *sum) { split3<Z, Trans::T>(m, k, a, lda, re, im, sum); }
ZOR_API void zor_blas_zgemm3m_copyac(int64_t m, int64_t k, P a, int64_t lda, double *re, double *im, double *sum) { split3<Z, Trans::C>(m, k, a, lda, re, im, sum); }
ZOR_API void zor_blas_zgemm3m_copybn(int64_t k, int64_t n, P b, int64_t ldb, double *re, double *im, double *sum) { split3<Z, Trans::N>(k, n, b, ldb, re, im, sum); }
ZOR_API void zor_blas_zgemm3m_copybt(int64_t k, int64_t n, P b, int64_t ldb, double *re, double *im, double *sum) { split3<Z, Trans::T>(k, n, b, ldb, re, im, sum); }
ZOR_API void zor_blas_zgemm3m_copybc(int64_t k, int64_t n, P b, int64_t ldb, double *re, double *im, double *sum) { split3<Z, Trans::C>(k, n, b, ldb, re, im, sum); }
// clang-format on
