// The driver exports of the four precisions (bodies in gemm/driver.hpp): the
// real ones take typed element pointers, the complex ones untyped pointers to
// interleaved pairs.
#include <zor/gemm.h>
#include <zor/gemm_complex.h>

#include "gemm/driver.hpp"

namespace {
using I = const int64_t *;
using P = const void *;
using zor::gemm::mscale;
using zor::gemm::xgemm;
using zor::gemm::xgemm_par;
using Cf = zor::cplx<float>;
using Zd = zor::cplx<double>;
template <class E> const E *in(P p) { return static_cast<const E *>(p); }
template <class E> E *out(void *p) { return static_cast<E *>(p); }
}  // namespace
using zor::S;
using zor::D;
using zor::C;
using zor::Z;

// clang-format off
ZOR_API void zor_blas_xsgemm(const char *ta, const char *tb, I m, I n, I k, const float *alpha, const float *a, I lda, const float *b, I ldb, const float *beta, float *c, I ldc) { xgemm<S>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xdgemm(const char *ta, const char *tb, I m, I n, I k, const double *alpha, const double *a, I lda, const double *b, I ldb, const double *beta, double *c, I ldc) { xgemm<D>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xcgemm(const char *ta, const char *tb, I m, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { xgemm<C>(ta, tb, m, n, k, in<Cf>(alpha), in<Cf>(a), lda, in<Cf>(b), ldb, in<Cf>(beta), out<Cf>(c), ldc); }
ZOR_API void zor_blas_xzgemm(const char *ta, const char *tb, I m, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { xgemm<Z>(ta, tb, m, n, k, in<Zd>(alpha), in<Zd>(a), lda, in<Zd>(b), ldb, in<Zd>(beta), out<Zd>(c), ldc); }
ZOR_API int32_t zor_blas_xsgemm_par(const char *ta, const char *tb, I m, I n, I k, const float *alpha, const float *a, I lda, const float *b, I ldb, const float *beta, float *c, I ldc, int32_t plan, zor_gemm_desc *d) { return xgemm_par<S>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, plan, d); }
ZOR_API int32_t zor_blas_xdgemm_par(const char *ta, const char *tb, I m, I n, I k, const double *alpha, const double *a, I lda, const double *b, I ldb, const double *beta, double *c, I ldc, int32_t plan, zor_gemm_desc *d) { return xgemm_par<D>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, plan, d); }
ZOR_API int32_t zor_blas_xcgemm_par(const char *ta, const char *tb, I m, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc, int32_t plan, zor_gemm_desc *d) { return xgemm_par<C>(ta, tb, m, n, k, in<Cf>(alpha), in<Cf>(a), lda, in<Cf>(b), ldb, in<Cf>(beta), out<Cf>(c), ldc, plan, d); }
ZOR_API int32_t zor_blas_xzgemm_par(const char *ta, const char *tb, I m, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc, int32_t plan, zor_gemm_desc *d) { return xgemm_par<Z>(ta, tb, m, n, k, in<Zd>(alpha), in<Zd>(a), lda, in<Zd>(b), ldb, in<Zd>(beta), out<Zd>(c), ldc, plan, d); }
ZOR_API void zor_blas_sgemm_mscale(I m, I n, const float *beta, float *c, I ldc) { mscale<S>(m, n, beta, c, ldc); }
ZOR_API void zor_blas_dgemm_mscale(I m, I n, const double *beta, double *c, I ldc) { mscale<D>(m, n, beta, c, ldc); }
ZOR_API void zor_blas_cgemm_mscale(I m, I n, P beta, void *c, I ldc) { mscale<C>(m, n, in<Cf>(beta), out<Cf>(c), ldc); }
ZOR_API void zor_blas_zgemm_mscale(I m, I n, P beta, void *c, I ldc) { mscale<Z>(m, n, in<Zd>(beta), out<Zd>(c), ldc); }
// clang-format on
