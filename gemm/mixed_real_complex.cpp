// Real matrix times complex matrix: C = alpha op(A) op(B) + beta C with A
// real, B and C complex (xdzgemm in double, xscgemm in single precision).
//
// alpha x op(B) is split into its real and its imaginary part, each part is
// multiplied by op(A) on the real engine, and the two real results are joined
// back into C, which takes beta in the join: there is no separate scaling
// pass. Column blocks of 5000, row blocks of 500, depth blocks of 128.
//   panel route: the parts of B go straight into the real row's packed
//     panels, A is packed by the row's copy, and the products run as
//     pre-packed plan 64;
//   plain route (taller than a million rows against a small K x N): the parts
//     of B go into plain arrays and the products run through the real xgemm
//     on A in place.
// Problems below 4 in any dimension, and every allocation failure, take the
// direct loops of the `pst` routine, with the same result.
#include <cstdint>

#include <zor/core.h>
#include <zor/gemm_complex.h>
#include <zor/serv.h>

#include "frame/letters.hpp"
#include "frame/memory.hpp"
#include "gemm/blocking.hpp"
#include "gemm/driver.hpp"

namespace zor::gemm {
namespace {

template <class RT> struct MixedEngine;
template <> struct MixedEngine<D> {
  using complex_traits = Z;
  static constexpr const char *name = "xdzgemm";
  static constexpr auto xgemm = zor_blas_xdgemm;
  static constexpr auto xgemm_par = zor_blas_xdgemm_par;
  static constexpr auto optimal_kernel = zor_blas_dgemm_get_optimal_kernel;
};
template <> struct MixedEngine<S> {
  using complex_traits = C;
  static constexpr const char *name = "xscgemm";
  static constexpr auto xgemm = zor_blas_xsgemm;
  static constexpr auto xgemm_par = zor_blas_xsgemm_par;
  static constexpr auto optimal_kernel = zor_blas_sgemm_get_optimal_kernel;
};

constexpr int64_t kBlockM = fixed::kMixedBlockM, kBlockN = fixed::kMixedBlockN, kBlockK = fixed::kMixedBlockK;

}  // namespace

// Element (l, j) of op(B), conjugated for 'C'.
template <class R>
inline cplx<R> op_b(const R *b, int64_t ldb, char tb, int64_t l, int64_t j) {
  const R *x = tb == 'N' ? b + 2 * (l + j * ldb) : b + 2 * (j + l * ldb);
  return {x[0], tb == 'C' ? -x[1] : x[1]};
}

// alpha x op(B) of a k x n block, split into plain arrays re and im (ld).
template <class RT>
void mixed_copyb(const char *transb, int64_t k, int64_t n, const void *b_, int64_t ldb, const void *alpha_,
                 typename RT::real *re, typename RT::real *im, int64_t ld) {
  using R = typename RT::real;
  const R *b = static_cast<const R *>(b_);
  const cplx<R> alpha = load_any(static_cast<const cplx<R> *>(alpha_));
  const char tb = letter_of(transb);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t l = 0; l < k; ++l) {
      const cplx<R> x = alpha * op_b(b, ldb, tb, l, j);
      re[l + j * ld] = x.re;
      im[l + j * ld] = x.im;
    }
}

// alpha x op(B) of a k x n block, split straight into two packed B blocks of
// the real row in `desc`: panels of unroll_n columns, depth padded to
// unroll_k with zeros, a tail panel compact in row 0 and a whole number of
// vectors wide in row 1.
template <class RT>
void mixed_copyb_packed(const char *transb, int64_t k, int64_t n, const void *b_, int64_t ldb, const void *alpha_,
                        typename RT::real *re, typename RT::real *im, const GemmDesc *d) {
  using R = typename RT::real;
  const R *b = static_cast<const R *>(b_);
  const cplx<R> alpha = load_any(static_cast<const cplx<R> *>(alpha_));
  const char tb = letter_of(transb);
  const int64_t un = d->unroll_n, kp = round_up(k, d->unroll_k), stride = d->b_panel_stride;
  for (int64_t q = 0; q * un < n; ++q) {
    const int64_t cols = n - q * un < un ? n - q * un : un;
    const int64_t width = cols == un ? un : d->kernel_index == 0 ? cols : round_up(cols, RT::real_lanes);
    R *pr = re + q * stride, *pi = im + q * stride;
    for (int64_t l = 0; l < kp; ++l)
      for (int64_t x = 0; x < width; ++x) {
        cplx<R> v{0, 0};
        if (l < k && x < cols) v = alpha * op_b(b, ldb, tb, l, q * un + x);
        pr[l * width + x] = v.re;
        pi[l * width + x] = v.im;
      }
  }
}

// C split into two real arrays and joined again.
template <class RT>
void mixed_copyc_fwd(int64_t m, int64_t n, const void *c_, int64_t ldc, typename RT::real *re, typename RT::real *im,
                     int64_t ld) {
  using R = typename RT::real;
  const R *c = static_cast<const R *>(c_);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < m; ++i) {
      re[i + j * ld] = c[2 * (i + j * ldc)];
      im[i + j * ld] = c[2 * (i + j * ldc) + 1];
    }
}
template <class RT>
void mixed_copyc_bwd(int64_t m, int64_t n, const typename RT::real *re, const typename RT::real *im, int64_t ld,
                     void *c_, int64_t ldc) {
  using R = typename RT::real;
  R *c = static_cast<R *>(c_);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < m; ++i) {
      c[2 * (i + j * ldc)] = re[i + j * ld];
      c[2 * (i + j * ldc) + 1] = im[i + j * ld];
    }
}

// C = beta C + (re + i im); beta zero does not read C.
template <class RT>
void mixed_join_beta(int64_t m, int64_t n, const typename RT::real *re, int64_t ld_re, const typename RT::real *im,
                     int64_t ld_im, const void *beta_, void *c_, int64_t ldc) {
  using R = typename RT::real;
  const cplx<R> beta = load_any(static_cast<const cplx<R> *>(beta_));
  cplx<R> *c = static_cast<cplx<R> *>(c_);
  const bool zero = is_zero(beta), one = is_one(beta);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < m; ++i) {
      const cplx<R> x{re[i + j * ld_re], im[i + j * ld_im]};
      cplx<R> &cij = c[i + j * ldc];
      cij = zero ? x : one ? cij + x : beta * cij + x;
    }
}

// The direct loops: per element a real-by-complex dot product in depth
// order, then alpha (a real alpha multiplies both parts alone) and beta.
template <class RT>
void mixed_pst(const char *transa, const char *transb, int64_t m, int64_t n, int64_t k, const void *alpha_,
               const typename RT::real *a, int64_t lda, const void *b_, int64_t ldb, const void *beta_, void *c_,
               int64_t ldc) {
  using R = typename RT::real;
  if (m < 1 || n < 1) return;
  const R *b = static_cast<const R *>(b_);
  const cplx<R> alpha = load_any(static_cast<const cplx<R> *>(alpha_)), beta = load_any(static_cast<const cplx<R> *>(beta_));
  cplx<R> *c = static_cast<cplx<R> *>(c_);
  const bool an = letter_of(transa) == 'N';
  const char tb = letter_of(transb);
  const bool real_alpha = alpha.im == R(0), beta_zero = is_zero(beta), beta_one = is_one(beta);
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < m; ++i) {
      R sr = 0, si = 0;
      for (int64_t l = 0; l < k; ++l) {
        const R x = an ? a[i + l * lda] : a[l + i * lda];
        const cplx<R> y = op_b(b, ldb, tb, l, j);
        sr = sr + x * y.re;
        si = si + x * y.im;
      }
      const cplx<R> s = real_alpha ? cplx<R>{alpha.re * sr, alpha.re * si} : alpha * cplx<R>{sr, si};
      cplx<R> &cij = c[i + j * ldc];
      cij = beta_zero ? s : beta_one ? cij + s : beta * cij + s;
    }
}

// Two real arrays of rows x cols, each at a 4096-byte boundary, in one
// pooled allocation; returns its base (null on failure).
template <class RT>
void *mixed_getbufs(int64_t rows, int64_t cols, typename RT::real **re, typename RT::real **im) {
  using R = typename RT::real;
  const uint64_t part = uint64_t(rows) * uint64_t(cols) * sizeof(R);
  void *base = zor_serv_allocate(2 * part + fixed::kMixedSplitSlack, fixed::kAreaAlignment);
  *re = *im = nullptr;
  if (!base) return nullptr;
  char *p = align_up(static_cast<char *>(base), fixed::kPanelAlignLog2);
  *re = reinterpret_cast<R *>(p);
  *im = reinterpret_cast<R *>(align_up(p + part, fixed::kPanelAlignLog2));
  return base;
}

namespace {

// The blocked routes. Returns false before touching C if its buffers could
// not be had; a block whose product fails later is done by the direct loops.
template <class RT>
bool mixed_blocked(bool packed, const char *transa, const char *transb, int64_t M, int64_t N, int64_t K,
                   const void *alpha, const typename RT::real *a, int64_t lda, const void *b, int64_t ldb,
                   const void *beta, void *c_, int64_t ldc, GemmDesc *d) {
  using R = typename RT::real;
  using E = MixedEngine<RT>;
  const bool an = letter_of(transa) == 'N', bn = letter_of(transb) == 'N';
  const int64_t mt = M < kBlockM ? M : kBlockM, nt = N < kBlockN ? N : kBlockN;
  const int64_t m = M, n = N, k = K;
  // Two parts of B: packed panels of the real row at 4096 bytes, or plain
  // arrays of kBlockK rows.
  if (packed) d->get_bufs_size(kReqAB, kModeWorking, &m, &n, &k, d);
  const uint64_t b_part = packed ? uint64_t(d->b_bytes) : uint64_t(kBlockK) * uint64_t(nt) * sizeof(R);
  const frame::PooledBuffer b_area(2 * b_part + (packed ? fixed::kMixedSplitSlack : 2 * fixed::kAreaAlignment), fixed::kAreaAlignment);
  if (zor_serv_check_ptr(b_area.get(), E::name) != 0) return false;
  const int32_t b_align = packed ? fixed::kPanelAlignLog2 : fixed::kAreaAlignLog2;
  R *const bre = reinterpret_cast<R *>(align_up(static_cast<char *>(b_area.get()), b_align));
  R *const bim = packed ? reinterpret_cast<R *>(align_up(reinterpret_cast<char *>(bre) + b_part, b_align))
                        : bre + kBlockK * nt;
  const int64_t b_ld = packed ? d->b_panel_stride : kBlockK;
  void *a_base = nullptr;
  if (packed) d->get_bufs(kReqA, &a_base, d);
  const frame::PooledBuffer a_bufs(a_base);
  if (packed && zor_serv_check_ptr(a_base, E::name) != 0) return false;
  R *tre, *tim;
  const frame::PooledBuffer t_area(mixed_getbufs<RT>(mt, nt, &tre, &tim));
  if (zor_serv_check_ptr(t_area.get(), E::name) != 0) return false;
  const R one = 1, zero = 0;
  R *c = static_cast<R *>(c_);
  const CopyAFn copy_a = an ? d->copy_an : d->copy_at;
  for (int64_t j = 0; j < N; j += kBlockN) {
    int64_t nb = N - j < kBlockN ? N - j : kBlockN;
    for (int64_t i = 0; i < M; i += kBlockM) {
      int64_t mb = M - i < kBlockM ? M - i : kBlockM;
      bool ok = true;
      for (int64_t l = 0; l < K && ok; l += kBlockK) {
        int64_t kb = K - l < kBlockK ? K - l : kBlockK;
        const R *asrc = an ? a + i + l * lda : a + l + i * lda;
        const R *bsrc = static_cast<const R *>(b) + 2 * (bn ? l + j * ldb : j + l * ldb);
        const R *beta_t = l == 0 ? &zero : &one;
        if (packed) {
          copy_a(&mb, &kb, asrc, &lda, d->a_buffer, &d->a_panel_stride, &one);
          mixed_copyb_packed<RT>(transb, kb, nb, bsrc, ldb, alpha, bre, bim, d);
          ok = E::xgemm_par("N", "N", &mb, &nb, &kb, &one, static_cast<R *>(d->a_buffer), &d->a_panel_stride, bre,
                            &b_ld, beta_t, tre, &mt, kPlanPrepackedAB, d) == 0 &&
               E::xgemm_par("N", "N", &mb, &nb, &kb, &one, static_cast<R *>(d->a_buffer), &d->a_panel_stride, bim,
                            &b_ld, beta_t, tim, &mt, kPlanPrepackedAB, d) == 0;
        } else {
          mixed_copyb<RT>(transb, kb, nb, bsrc, ldb, alpha, bre, bim, b_ld);
          E::xgemm(transa, "N", &mb, &nb, &kb, &one, asrc, &lda, bre, &b_ld, beta_t, tre, &mt);
          E::xgemm(transa, "N", &mb, &nb, &kb, &one, asrc, &lda, bim, &b_ld, beta_t, tim, &mt);
        }
      }
      R *cblock = c + 2 * (i + j * ldc);
      if (ok) {
        mixed_join_beta<RT>(mb, nb, tre, mt, tim, mt, beta, cblock, ldc);
      } else {
        const R *ablock = an ? a + i : a + i * lda;
        const R *bblock = static_cast<const R *>(b) + 2 * (bn ? j * ldb : j);
        mixed_pst<RT>(transa, transb, mb, nb, K, alpha, ablock, lda, bblock, ldb, beta, cblock, ldc);
      }
    }
  }
  return true;
}

}  // namespace

template <class RT>
void xmixed_gemm(const char *transa, const char *transb, const int64_t *m_, const int64_t *n_, const int64_t *k_,
                 const void *alpha, const typename RT::real *a, const int64_t *lda, const void *b,
                 const int64_t *ldb, const void *beta, void *c, const int64_t *ldc) {
  using R = typename RT::real;
  using CT = typename MixedEngine<RT>::complex_traits;
  using E = MixedEngine<RT>;
  const int64_t M = *m_, N = *n_, K = *k_;
  if (M < 1 || N < 1) return;
  const cplx<R> al = load_any(static_cast<const cplx<R> *>(alpha)), be = load_any(static_cast<const cplx<R> *>(beta));
  if (K == 0 || is_zero(al)) {
    if (!is_one(be)) mscale<CT>(m_, n_, static_cast<const cplx<R> *>(beta), static_cast<cplx<R> *>(c), ldc);
    return;
  }
  if (M < fixed::kMixedMin || N < fixed::kMixedMin || K < fixed::kMixedMin) {
    mixed_pst<RT>(transa, transb, M, N, K, alpha, a, *lda, b, *ldb, beta, c, *ldc);
    return;
  }
  GemmDesc d;
  zor_blas_cgemm_zero_desc(&d);
  E::optimal_kernel(&d);
  zor_blas_cgemm_set_blks_size(kBlockM, kBlockN, kBlockK, &d);
  const bool plain = (d.plan_mask & kPlanPackA) != 0 && M > fixed::kMixedPlainRows && K * N < fixed::kMixedPlainDepthCols;
  // Every real row packs B for plan 64; one without it would take the plain
  // route as well.
  const bool packed = !plain && (d.plan_mask & kPlanPrepackedAB) != 0;
  if (!mixed_blocked<RT>(packed, transa, transb, M, N, K, alpha, a, *lda, b, *ldb, beta, c, *ldc, &d))
    mixed_pst<RT>(transa, transb, M, N, K, alpha, a, *lda, b, *ldb, beta, c, *ldc);
}

}  // namespace zor::gemm

// ---- exports
using zor::D;
using zor::S;
using I = const int64_t *;
using P = const void *;
namespace g = zor::gemm;

// clang-format off
ZOR_API void zor_blas_xdzgemm(const char *ta, const char *tb, I m, I n, I k, P alpha, const double *a, I lda, P b, I ldb, P beta, void *c, I ldc) { g::xmixed_gemm<D>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xscgemm(const char *ta, const char *tb, I m, I n, I k, P alpha, const float *a, I lda, P b, I ldb, P beta, void *c, I ldc) { g::xmixed_gemm<S>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }

ZOR_API void zor_blas_dzgemm_pst(const char *ta, const char *tb, I m, I n, I k, P alpha, const double *a, I lda, P b, I ldb, P beta, void *c, I ldc) { g::mixed_pst<D>(ta, tb, *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc); }
ZOR_API void zor_blas_scgemm_pst(const char *ta, const char *tb, I m, I n, I k, P alpha, const float *a, I lda, P b, I ldb, P beta, void *c, I ldc) { g::mixed_pst<S>(ta, tb, *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc); }
ZOR_API void zor_blas_dzgemm_mscale(I m, I n, P beta, void *c, I ldc) { zor_blas_zgemm_mscale(m, n, beta, c, ldc); }
ZOR_API void zor_blas_scgemm_mscale(I m, I n, P beta, void *c, I ldc) { zor_blas_cgemm_mscale(m, n, beta, c, ldc); }

ZOR_API void zor_blas_dzgemm_copyb(const char *tb, int64_t k, int64_t n, P b, int64_t ldb, P alpha, double *re, double *im, int64_t ld) { g::mixed_copyb<D>(tb, k, n, b, ldb, alpha, re, im, ld); }
ZOR_API void zor_blas_scgemm_copyb(const char *tb, int64_t k, int64_t n, P b, int64_t ldb, P alpha, float *re, float *im, int64_t ld) { g::mixed_copyb<S>(tb, k, n, b, ldb, alpha, re, im, ld); }
ZOR_API void zor_blas_dzgemm1_copyb(const char *tb, int64_t k, int64_t n, P b, int64_t ldb, P alpha, double *re, double *im, const zor_gemm_desc *d) { g::mixed_copyb_packed<D>(tb, k, n, b, ldb, alpha, re, im, d); }
ZOR_API void zor_blas_scgemm1_copyb(const char *tb, int64_t k, int64_t n, P b, int64_t ldb, P alpha, float *re, float *im, const zor_gemm_desc *d) { g::mixed_copyb_packed<S>(tb, k, n, b, ldb, alpha, re, im, d); }
ZOR_API void zor_blas_dzgemm_copyc_fwd(int64_t m, int64_t n, P c, int64_t ldc, double *re, double *im, int64_t ld) { g::mixed_copyc_fwd<D>(m, n, c, ldc, re, im, ld); }
ZOR_API void zor_blas_scgemm_copyc_fwd(int64_t m, int64_t n, P c, int64_t ldc, float *re, float *im, int64_t ld) { g::mixed_copyc_fwd<S>(m, n, c, ldc, re, im, ld); }
ZOR_API void zor_blas_dzgemm_copyc_bwd(int64_t m, int64_t n, const double *re, const double *im, int64_t ld, void *c, int64_t ldc) { g::mixed_copyc_bwd<D>(m, n, re, im, ld, c, ldc); }
ZOR_API void zor_blas_scgemm_copyc_bwd(int64_t m, int64_t n, const float *re, const float *im, int64_t ld, void *c, int64_t ldc) { g::mixed_copyc_bwd<S>(m, n, re, im, ld, c, ldc); }
ZOR_API void zor_blas_dzgemm1_copyc_b_bwd(int64_t m, int64_t n, const double *t, int64_t ld, P beta, void *c, int64_t ldc) { g::mixed_join_beta<D>(m, n, t, ld, t + ld * n, ld, beta, c, ldc); }
ZOR_API void zor_blas_scgemm1_copyc_b_bwd(int64_t m, int64_t n, const float *t, int64_t ld, P beta, void *c, int64_t ldc) { g::mixed_join_beta<S>(m, n, t, ld, t + ld * n, ld, beta, c, ldc); }
ZOR_API void zor_blas_dzgemm2_copyc_b_bwd(int64_t m, int64_t n, const double *re, int64_t ld_re, const double *im, int64_t ld_im, P beta, void *c, int64_t ldc) { g::mixed_join_beta<D>(m, n, re, ld_re, im, ld_im, beta, c, ldc); }
ZOR_API void zor_blas_scgemm2_copyc_b_bwd(int64_t m, int64_t n, const float *re, int64_t ld_re, const float *im, int64_t ld_im, P beta, void *c, int64_t ldc) { g::mixed_join_beta<S>(m, n, re, ld_re, im, ld_im, beta, c, ldc); }
ZOR_API void *zor_blas_dzgemm_getbufs(int64_t rows, int64_t cols, double **re, double **im) { return g::mixed_getbufs<D>(rows, cols, re, im); }
ZOR_API void *zor_blas_scgemm_getbufs(int64_t rows, int64_t cols, float **re, float **im) { return g::mixed_getbufs<S>(rows, cols, re, im); }
ZOR_API void zor_blas_dzgemm_freebufs(void *base) { zor_serv_deallocate(base); }
ZOR_API void zor_blas_scgemm_freebufs(void *base) { zor_serv_deallocate(base); }
// clang-format on
