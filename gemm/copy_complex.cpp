// Complex panel copies (layouts in copy_complex.hpp) and their exports.
#include "gemm/copy_complex.hpp"

#include <zor/gemm_complex.h>

#include "frame/simd.hpp"
#include "gemm/parameters.hpp"

namespace zor::gemm {
namespace {

using namespace zor::simd;

// alpha x v for each complex number of v: one product with the real part of
// alpha, one with the imaginary part on the re/im-swapped vector, and an
// alternating subtract/add.
template <class V>
inline V times_alpha(V v, V ar, V ai) {
  return addsub(mul(v, ar), mul(flip(v), ai));
}

// The same on one complex number, giving the same bits as the vector form.
template <class R>
inline void times_alpha(const R *x, bool conj, R ar, R ai, R *out) {
  const R xr = x[0], xi = conj ? -x[1] : x[1];
  out[0] = xr * ar - xi * ai;
  out[1] = xi * ar + xr * ai;
}

// One vector of a panel: the per_vector elements of op(A) in rows
// row0, row0 + 1, ... at depth l, read from their own addresses.
template <class T, Trans F>
inline typename T::vec load_rows(const typename T::real *src, int64_t lda, int64_t row0, int64_t l) {
  using R = typename T::real;
  if constexpr (F == Trans::N) {
    return load_u(src + 2 * (row0 + l * lda));
  } else if constexpr (T::elem_lanes == 1) {
    return load_u(src + 2 * (l + row0 * lda));
  } else {
    const R *e0 = src + 2 * (l + row0 * lda);
    const R *e1 = src + 2 * (l + (row0 + 1) * lda);
    return move_lh(load_pair(e0), load_pair(e1));
  }
}

}  // namespace

template <class T, int Row, Trans F>
void complex_copy_a(const int64_t *m_, const int64_t *k_, const void *src_, const int64_t *lda_, void *buffer,
                    const int64_t *panel_stride, const void *alpha_) {
  using R = typename T::real;
  using V = typename T::vec;
  constexpr int L = T::real_lanes;
  constexpr int PV = T::elem_lanes;
  constexpr int UM = Panels<T>::UM;
  constexpr int UnrollK = Panels<T>::depth_multiple(Row);
  constexpr bool conjugate = F == Trans::C;
  const int64_t m = *m_, k = *k_, lda = *lda_, stride = *panel_stride;
  if (m < 1 || k < 1) return;
  const R *src = static_cast<const R *>(src_);
  const R *alpha = static_cast<const R *>(alpha_);
  R *buf = static_cast<R *>(buffer);
  const int64_t kp = (k + UnrollK - 1) / UnrollK * UnrollK;
  const V ar = splat(alpha[0]), ai = splat(alpha[1]);
  const int64_t m_full = m / UM * UM;

  for (int64_t i = 0; i < m_full; i += UM) {
    R *panel = buf + 2 * stride * (i / UM);
    for (int64_t l = 0; l < k; ++l) {
      V v0 = load_rows<T, F>(src, lda, i, l);
      V v1 = load_rows<T, F>(src, lda, i + PV, l);
      if constexpr (conjugate) {
        v0 = conj(v0);
        v1 = conj(v1);
      }
      store_a(panel + 2 * L * l, times_alpha(v0, ar, ai));
      store_a(panel + 2 * L * l + L, times_alpha(v1, ar, ai));
    }
    for (int64_t l = k; l < kp; ++l) {
      store_a(panel + 2 * L * l, zero<V>());
      store_a(panel + 2 * L * l + L, zero<V>());
    }
  }
  if (m_full < m) {  // the last panel: r rows and zero lanes
    const int64_t r = m - m_full;
    R *panel = buf + 2 * stride * (m_full / UM);
    for (int64_t l = 0; l < kp; ++l) {
      R *step = panel + 2 * UM * l;
      for (int64_t i = 0; i < UM; ++i) {
        if (i < r && l < k) {
          const int64_t row = m_full + i;
          const R *x = F == Trans::N ? src + 2 * (row + l * lda) : src + 2 * (l + row * lda);
          times_alpha(x, conjugate, alpha[0], alpha[1], step + 2 * i);
        } else {
          step[2 * i] = step[2 * i + 1] = R(0);
        }
      }
    }
  }
}

template <class T, int Row, Trans F>
void complex_copy_b(const int64_t *k_, const int64_t *n_, const void *src_, const int64_t *ldb_, void *buffer,
                    const int64_t *panel_stride, const void *) {
  using R = typename T::real;
  const int64_t k = *k_, n = *n_, ldb = *ldb_, stride = *panel_stride;
  if (k < 1 || n < 1) return;
  const R *src = static_cast<const R *>(src_);
  R *buf = static_cast<R *>(buffer);
  constexpr int UnrollK = Panels<T>::depth_multiple(Row);
  constexpr int TailWidth = Panels<T>::tail_width(1, Row);
  const int64_t kp = (k + UnrollK - 1) / UnrollK * UnrollK;
  // Element (l, j) of op(B), conjugated for the 'c' form.
  auto put = [&](R *out, int64_t l, int64_t j) {
    const R *x = F == Trans::N ? src + 2 * (l + j * ldb) : src + 2 * (j + l * ldb);
    out[0] = x[0];
    out[1] = F == Trans::C ? -x[1] : x[1];
  };
  const int64_t n_full = n / 2 * 2;
  for (int64_t j = 0; j < n_full; j += 2) {
    R *panel = buf + 2 * stride * (j / 2);
    for (int64_t l = 0; l < k; ++l) {
      put(panel + 4 * l, l, j);
      put(panel + 4 * l + 2, l, j + 1);
    }
    for (int64_t x = 4 * k; x < 4 * kp; ++x) panel[x] = R(0);
  }
  if (n_full < n) {
    R *panel = buf + 2 * stride * (n_full / 2);
    constexpr int W = 2 * TailWidth;  // reals per depth step
    for (int64_t l = 0; l < kp; ++l) {
      R *step = panel + W * l;
      for (int x = 0; x < W; ++x) step[x] = R(0);
      if (l < k) put(step, l, n_full);
    }
  }
}

}  // namespace zor::gemm

// ---- exports
using zor::gemm::complex_copy_a;
using zor::gemm::complex_copy_b;
using zor::Trans;
using I = const int64_t *;
using P = const void *;
using zor::C;
using zor::Z;

// clang-format off
ZOR_API void zor_blas_cgemm_copyan(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<C, 0, Trans::N>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_zgemm_copyan(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<Z, 0, Trans::N>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_cgemm_copyat(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<C, 0, Trans::T>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_zgemm_copyat(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<Z, 0, Trans::T>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_cgemm_copyac(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<C, 0, Trans::C>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_zgemm_copyac(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<Z, 0, Trans::C>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_cgemm_copyan_bvr(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<C, 1, Trans::N>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_zgemm_copyan_bvr(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<Z, 1, Trans::N>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_cgemm_copyat_bvr(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<C, 1, Trans::T>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_zgemm_copyat_bvr(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<Z, 1, Trans::T>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_cgemm_copyac_bvr(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<C, 1, Trans::C>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_zgemm_copyac_bvr(I m, I k, P a, I lda, void *buf, I ps, P alpha) { complex_copy_a<Z, 1, Trans::C>(m, k, a, lda, buf, ps, alpha); }
ZOR_API void zor_blas_cgemm_copybn(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<C, 0, Trans::N>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_zgemm_copybn(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<Z, 0, Trans::N>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_cgemm_copybt(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<C, 0, Trans::T>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_zgemm_copybt(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<Z, 0, Trans::T>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_cgemm_copybc(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<C, 0, Trans::C>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_zgemm_copybc(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<Z, 0, Trans::C>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_cgemm_copybn_bvr(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<C, 1, Trans::N>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_zgemm_copybn_bvr(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<Z, 1, Trans::N>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_cgemm_copybt_bvr(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<C, 1, Trans::T>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_zgemm_copybt_bvr(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<Z, 1, Trans::T>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_cgemm_copybc_bvr(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<C, 1, Trans::C>(k, n, b, ldb, buf, ps, u); }
ZOR_API void zor_blas_zgemm_copybc_bvr(I k, I n, P b, I ldb, void *buf, I ps, P u) { complex_copy_b<Z, 1, Trans::C>(k, n, b, ldb, buf, ps, u); }

// The complex rows' extended copy: one routine under four names. It copies
// nothing; it answers 0 for the split and query request codes and 1 otherwise.
#define ZOR_EXT_ARGS int32_t request, const char *, I, I, P, I, void *, void *, void *, I
ZOR_API int32_t zor_blas_cgemm_copya_ext(ZOR_EXT_ARGS) { return request == zor::gemm::fixed::kExtSplit || request == zor::gemm::fixed::kExtQuery ? 0 : 1; }
ZOR_API int32_t zor_blas_cgemm_copyb_ext(ZOR_EXT_ARGS) __attribute__((alias("zor_blas_cgemm_copya_ext")));
ZOR_API int32_t zor_blas_zgemm_copya_ext(ZOR_EXT_ARGS) __attribute__((alias("zor_blas_cgemm_copya_ext")));
ZOR_API int32_t zor_blas_zgemm_copyb_ext(ZOR_EXT_ARGS) __attribute__((alias("zor_blas_cgemm_copya_ext")));
#undef ZOR_EXT_ARGS
// clang-format on
