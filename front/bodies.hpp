// The routines of the BLAS front, one body per routine family for all
// precisions: integers arrive widened to 64 bits and letters as their first
// byte. A body tests its arguments by the shared rules (core/blas_rules.hpp)
// and returns the position of the first bad one without touching anything,
// or makes the published routine's quick returns and hands the call to the
// tier's kernel, returning 0. Reporting a bad argument is the caller's
// business (the Fortran names call xerbla_, the C names cblas_xerbla).
#pragma once
#include <zor/blas.h>

#include "cblas/threads.hpp"
#include "core/blas_rules.hpp"
#include "frame/element.hpp"
#include "frame/imports.hpp"
#include "front/gemm_order.hpp"

namespace zor::front {

template <class E> using imp = zor::imports<traits_of<E>>;
using rules::first_bad;

// ------------------------------------------------------------------ level 1
// No argument is ever illegal; n < 1 returns at once (the kernels agree).
template <class E>
inline void axpy(zor_int n, const E *alpha, const E *x, zor_int incx, E *y, zor_int incy) {
  if (n <= 0 || is_zero(load_any(alpha))) return;
  imp<E>::xaxpy(&n, alpha, x, &incx, y, &incy);
}
template <class E>
inline void axpby(zor_int n, const E *alpha, const E *x, zor_int incx, const E *beta, E *y, zor_int incy) {
  if (n <= 0) return;
  imp<E>::axpby(&n, alpha, x, &incx, beta, y, &incy);
}
template <class E>
inline void copy(zor_int n, const E *x, zor_int incx, E *y, zor_int incy) {
  if (n > 0) imp<E>::xcopy(&n, x, &incx, y, &incy);
}
template <class E>
inline void swap(zor_int n, E *x, zor_int incx, E *y, zor_int incy) {
  if (n > 0) imp<E>::xswap(&n, x, &incx, y, &incy);
}
// x := alpha x; a non-positive increment does nothing.
template <class E>
inline void scal(zor_int n, const E *alpha, E *x, zor_int incx) {
  if (n > 0 && incx > 0) imp<E>::scal(&n, alpha, x, &incx);
}
template <class E>
inline void rscal(zor_int n, const real_t<E> *alpha, E *x, zor_int incx) {
  if (n > 0 && incx > 0) imp<E>::rscal(&n, alpha, x, &incx);
}
template <class E>
inline E dotu(zor_int n, const E *x, zor_int incx, const E *y, zor_int incy) {
  if (n <= 0) return E{};
  return imp<E>::dotu_of(&n, x, &incx, y, &incy);
}
template <class E>
inline E dotc(zor_int n, const E *x, zor_int incx, const E *y, zor_int incy) {
  if (n <= 0) return E{};
  return imp<E>::dotc_of(&n, x, &incx, y, &incy);
}
inline double dsdot(zor_int n, const float *x, zor_int incx, const float *y, zor_int incy) {
  return n <= 0 ? 0.0 : zor_blas_dsdot(&n, x, &incx, y, &incy);
}
inline float sdsdot(zor_int n, const float *sb, const float *x, zor_int incx, const float *y, zor_int incy) {
  return n <= 0 ? *sb : zor_blas_sdsdot(&n, sb, x, &incx, y, &incy);
}
template <class E>
inline real_t<E> nrm2(zor_int n, const E *x, zor_int incx) {
  return n <= 0 ? real_t<E>(0) : imp<E>::nrm2(&n, x, &incx);
}
template <class E>
inline real_t<E> asum(zor_int n, const E *x, zor_int incx) {
  return n <= 0 || incx <= 0 ? real_t<E>(0) : imp<E>::asum(&n, x, &incx);
}
// The 1-based position of the largest (smallest) magnitude, 0 for no
// elements or a non-positive increment.
template <class E>
inline zor_int iamax(zor_int n, const E *x, zor_int incx) {
  return n <= 0 || incx <= 0 ? 0 : imp<E>::iamax(&n, x, &incx);
}
template <class E>
inline zor_int iamin(zor_int n, const E *x, zor_int incx) {
  return n <= 0 || incx <= 0 ? 0 : imp<E>::iamin(&n, x, &incx);
}
template <class R>
inline R cabs1(const cplx<R> *z) {
  return imp<cplx<R>>::cabs1(z);
}
template <class E>
inline void rot(zor_int n, E *x, zor_int incx, E *y, zor_int incy, const real_t<E> *c, const real_t<E> *s) {
  if (n > 0) imp<E>::xrot(&n, x, &incx, y, &incy, c, s);
}
template <class E>
inline void rotg(E *a, E *b, real_t<E> *c, E *s) {
  imp<E>::rotg(a, b, c, s);
}
template <class R>
inline void rotm(zor_int n, R *x, zor_int incx, R *y, zor_int incy, const R *param) {
  if (n > 0 && load_any(param) != R(-2)) imp<R>::rotm(&n, x, &incx, y, &incy, param);
}
template <class R>
inline void rotmg(R *d1, R *d2, R *x1, const R *y1, R *param) {
  imp<R>::rotmg(d1, d2, x1, y1, param);
}

// ------------------------------------------------------------------ level 2
template <class E>
inline bool no_update(const E *alpha, const E *beta) {
  return is_zero(load_any(alpha)) && is_one(load_any(beta));
}

template <class E>
inline int gemv(char trans, zor_int m, zor_int n, const E *alpha, const E *a, zor_int lda, const E *x, zor_int incx,
                const E *beta, E *y, zor_int incy) {
  const zor_int v[12] = {0, trans, m, n, 0, 0, lda, 0, incx, 0, 0, incy};
  if (int bad = first_bad<rules::kGemv>(v)) return bad;
  if (m == 0 || n == 0 || no_update(alpha, beta)) return 0;
  imp<E>::xgemv(&trans, &m, &n, alpha, a, &lda, x, &incx, beta, y, &incy);
  return 0;
}
template <class E>
inline int gbmv(char trans, zor_int m, zor_int n, zor_int kl, zor_int ku, const E *alpha, const E *a, zor_int lda,
                const E *x, zor_int incx, const E *beta, E *y, zor_int incy) {
  const zor_int v[14] = {0, trans, m, n, kl, ku, 0, 0, lda, 0, incx, 0, 0, incy};
  if (int bad = first_bad<rules::kGbmv>(v)) return bad;
  if (m == 0 || n == 0 || no_update(alpha, beta)) return 0;
  imp<E>::gbmv(&trans, &m, &n, &kl, &ku, alpha, a, &lda, x, &incx, beta, y, &incy);
  return 0;
}
// ?symv of real data, ?hemv of complex
template <class E>
inline int hemv(char uplo, zor_int n, const E *alpha, const E *a, zor_int lda, const E *x, zor_int incx,
                const E *beta, E *y, zor_int incy) {
  const zor_int v[11] = {0, uplo, n, 0, 0, lda, 0, incx, 0, 0, incy};
  if (int bad = first_bad<rules::kSymv>(v)) return bad;
  if (n == 0 || no_update(alpha, beta)) return 0;
  imp<E>::hemv(&uplo, &n, alpha, a, &lda, x, &incx, beta, y, &incy);
  return 0;
}
template <class E>
inline int hbmv(char uplo, zor_int n, zor_int k, const E *alpha, const E *a, zor_int lda, const E *x, zor_int incx,
                const E *beta, E *y, zor_int incy) {
  const zor_int v[12] = {0, uplo, n, k, 0, 0, lda, 0, incx, 0, 0, incy};
  if (int bad = first_bad<rules::kSbmv>(v)) return bad;
  if (n == 0 || no_update(alpha, beta)) return 0;
  imp<E>::hbmv(&uplo, &n, &k, alpha, a, &lda, x, &incx, beta, y, &incy);
  return 0;
}
template <class E>
inline int hpmv(char uplo, zor_int n, const E *alpha, const E *ap, const E *x, zor_int incx, const E *beta, E *y,
                zor_int incy) {
  const zor_int v[10] = {0, uplo, n, 0, 0, 0, incx, 0, 0, incy};
  if (int bad = first_bad<rules::kSpmv>(v)) return bad;
  if (n == 0 || no_update(alpha, beta)) return 0;
  imp<E>::hpmv(&uplo, &n, alpha, ap, x, &incx, beta, y, &incy);
  return 0;
}

// Triangular products and solves: dense, band, packed.
enum class Tri { mv, sv };
template <Tri Op, class E>
inline int trxv(char uplo, char trans, char diag, zor_int n, const E *a, zor_int lda, E *x, zor_int incx) {
  const zor_int v[9] = {0, uplo, trans, diag, n, 0, lda, 0, incx};
  if (int bad = first_bad<rules::kTrmv>(v)) return bad;
  if (n == 0) return 0;
  if constexpr (Op == Tri::mv) imp<E>::xtrmv(&uplo, &trans, &diag, &n, a, &lda, x, &incx);
  else imp<E>::trsv(&uplo, &trans, &diag, &n, a, &lda, x, &incx);
  return 0;
}
template <Tri Op, class E>
inline int tbxv(char uplo, char trans, char diag, zor_int n, zor_int k, const E *a, zor_int lda, E *x,
                zor_int incx) {
  const zor_int v[10] = {0, uplo, trans, diag, n, k, 0, lda, 0, incx};
  if (int bad = first_bad<rules::kTbmv>(v)) return bad;
  if (n == 0) return 0;
  if constexpr (Op == Tri::mv) imp<E>::tbmv(&uplo, &trans, &diag, &n, &k, a, &lda, x, &incx);
  else imp<E>::tbsv(&uplo, &trans, &diag, &n, &k, a, &lda, x, &incx);
  return 0;
}
template <Tri Op, class E>
inline int tpxv(char uplo, char trans, char diag, zor_int n, const E *ap, E *x, zor_int incx) {
  const zor_int v[8] = {0, uplo, trans, diag, n, 0, 0, incx};
  if (int bad = first_bad<rules::kTpmv>(v)) return bad;
  if (n == 0) return 0;
  if constexpr (Op == Tri::mv) imp<E>::tpmv(&uplo, &trans, &diag, &n, ap, x, &incx);
  else imp<E>::tpsv(&uplo, &trans, &diag, &n, ap, x, &incx);
  return 0;
}

// Rank-one updates A := alpha x y^T (geru) or alpha x y^H (gerc); the
// real ger is both.
template <bool Conj, class E>
inline int ger(zor_int m, zor_int n, const E *alpha, const E *x, zor_int incx, const E *y, zor_int incy, E *a,
               zor_int lda) {
  const zor_int v[10] = {0, m, n, 0, 0, incx, 0, incy, 0, lda};
  if (int bad = first_bad<rules::kGer>(v)) return bad;
  if (m == 0 || n == 0 || is_zero(load_any(alpha))) return 0;
  if constexpr (Conj) imp<E>::gerc(&m, &n, alpha, x, &incx, y, &incy, a, &lda);
  else imp<E>::geru(&m, &n, alpha, x, &incx, y, &incy, a, &lda);
  return 0;
}
// ?syr of real data, ?her of complex (alpha real)
template <class E>
inline int her(char uplo, zor_int n, const real_t<E> *alpha, const E *x, zor_int incx, E *a, zor_int lda) {
  const zor_int v[8] = {0, uplo, n, 0, 0, incx, 0, lda};
  if (int bad = first_bad<rules::kSyr>(v)) return bad;
  if (n == 0 || load_any(alpha) == 0) return 0;
  imp<E>::her(&uplo, &n, alpha, x, &incx, a, &lda);
  return 0;
}
template <class E>
inline int hpr(char uplo, zor_int n, const real_t<E> *alpha, const E *x, zor_int incx, E *ap) {
  const zor_int v[6] = {0, uplo, n, 0, 0, incx};
  if (int bad = first_bad<rules::kSpr>(v)) return bad;
  if (n == 0 || load_any(alpha) == 0) return 0;
  imp<E>::hpr(&uplo, &n, alpha, x, &incx, ap);
  return 0;
}
template <class E>
inline int her2(char uplo, zor_int n, const E *alpha, const E *x, zor_int incx, const E *y, zor_int incy, E *a,
                zor_int lda) {
  const zor_int v[10] = {0, uplo, n, 0, 0, incx, 0, incy, 0, lda};
  if (int bad = first_bad<rules::kSyr2>(v)) return bad;
  if (n == 0 || is_zero(load_any(alpha))) return 0;
  imp<E>::her2(&uplo, &n, alpha, x, &incx, y, &incy, a, &lda);
  return 0;
}
template <class E>
inline int hpr2(char uplo, zor_int n, const E *alpha, const E *x, zor_int incx, const E *y, zor_int incy, E *ap) {
  const zor_int v[8] = {0, uplo, n, 0, 0, incx, 0, incy};
  if (int bad = first_bad<rules::kSpr2>(v)) return bad;
  if (n == 0 || is_zero(load_any(alpha))) return 0;
  imp<E>::hpr2(&uplo, &n, alpha, x, &incx, y, &incy, ap);
  return 0;
}

// ------------------------------------------------------------------ level 3
// gemm, and for complex data gemm3m (the same product by three real ones)
template <bool ThreeM, class E>
inline int gemm(char ta, char tb, zor_int m, zor_int n, zor_int k, const E *alpha, const E *a, zor_int lda,
                const E *b, zor_int ldb, const E *beta, E *c, zor_int ldc) {
  const zor_int v[14] = {0, ta, tb, m, n, k, 0, 0, lda, 0, ldb, 0, 0, ldc};
  if (int bad = first_bad<rules::kGemm>(v)) return bad;
  if (m == 0 || n == 0 || ((is_zero(load_any(alpha)) || k == 0) && is_one(load_any(beta)))) return 0;
  if constexpr (ThreeM) imp<E>::xgemm3m(&ta, &tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
  else gemm_one_order(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  return 0;
}
// symm, and hemm (Hermitian A) of complex data
template <bool Hermitian, class E>
inline int symm(char side, char uplo, zor_int m, zor_int n, const E *alpha, const E *a, zor_int lda, const E *b,
                zor_int ldb, const E *beta, E *c, zor_int ldc) {
  const zor_int v[13] = {0, side, uplo, m, n, 0, 0, lda, 0, ldb, 0, 0, ldc};
  if (int bad = first_bad<rules::kSymm>(v)) return bad;
  if (m == 0 || n == 0 || no_update(alpha, beta)) return 0;
  threaded_symm<traits_of<E>, Hermitian>(&side, &uplo, &m, &n, alpha, a, &lda, b, &ldb, beta, c, &ldc);
  return 0;
}
// C := alpha op(A) op(A)^T + beta C; Hermitian: op(A) op(A)^H with alpha
// and beta real (S is the scalar type: E, or the real of E).
template <bool Hermitian, class E, class S>
inline int syrk(char uplo, char trans, zor_int n, zor_int k, const S *alpha, const E *a, zor_int lda, const S *beta,
                E *c, zor_int ldc) {
  const zor_int v[11] = {0, uplo, trans, n, k, 0, 0, lda, 0, 0, ldc};
  constexpr auto &table = Hermitian           ? rules::kSyrkOf<rules::kHermitianSyrk>
                          : is_complex_v<E>   ? rules::kSyrkOf<rules::kComplexSyrk>
                                              : rules::kSyrkOf<rules::kRealSyrk>;
  if (int bad = first_bad<table>(v)) return bad;
  if (n == 0 || ((is_zero(load_any(alpha)) || k == 0) && is_one(load_any(beta)))) return 0;
  threaded_syrk<traits_of<E>, Hermitian>(&uplo, &trans, &n, &k, alpha, a, &lda, beta, c, &ldc);
  return 0;
}
// C := alpha op(A) op(B)^T + alpha op(B) op(A)^T + beta C; Hermitian with
// conj(alpha) on the second term and beta real (B is the type of beta).
template <bool Hermitian, class E, class B>
inline int syr2k(char uplo, char trans, zor_int n, zor_int k, const E *alpha, const E *a, zor_int lda, const E *b,
                 zor_int ldb, const B *beta, E *c, zor_int ldc) {
  const zor_int v[13] = {0, uplo, trans, n, k, 0, 0, lda, 0, ldb, 0, 0, ldc};
  constexpr auto &table = Hermitian           ? rules::kSyr2kOf<rules::kHermitianSyrk>
                          : is_complex_v<E>   ? rules::kSyr2kOf<rules::kComplexSyrk>
                                              : rules::kSyr2kOf<rules::kRealSyrk>;
  if (int bad = first_bad<table>(v)) return bad;
  if (n == 0 || ((is_zero(load_any(alpha)) || k == 0) && is_one(load_any(beta)))) return 0;
  threaded_syr2k<traits_of<E>, Hermitian>(&uplo, &trans, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
  return 0;
}
// B := alpha op(A) B, alpha B op(A) (trmm) or the solves (trsm)
template <Tri Op, class E>
inline int trxm(char side, char uplo, char transa, char diag, zor_int m, zor_int n, const E *alpha, const E *a,
                zor_int lda, E *b, zor_int ldb) {
  const zor_int v[12] = {0, side, uplo, transa, diag, m, n, 0, 0, lda, 0, ldb};
  if (int bad = first_bad<rules::kTrmm>(v)) return bad;
  if (m == 0 || n == 0) return 0;
  if constexpr (Op == Tri::mv) threaded_trmm<traits_of<E>>(&side, &uplo, &transa, &diag, &m, &n, alpha, a, &lda, b, &ldb);
  else threaded_trsm<traits_of<E>>(&side, &uplo, &transa, &diag, &m, &n, alpha, a, &lda, b, &ldb);
  return 0;
}

}  // namespace zor::front
