// The complex drivers and C scaling: the engine's driver templates
// instantiated for single and double complex.
#include <zor/gemm_complex.h>

#include "gemm/driver.hpp"

namespace {
template <class E>
inline const E *in(const void *p) {
  return static_cast<const E *>(p);
}
template <class E>
inline E *out(void *p) {
  return static_cast<E *>(p);
}
using Cf = zor::cplx<float>;
using Zd = zor::cplx<double>;
using I = const int64_t *;
using P = const void *;
}  // namespace

using zor::C;
using zor::Z;

// clang-format off
ZOR_API void zor_blas_xcgemm(const char *ta, const char *tb, I m, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { zor::gemm::xgemm<C>(ta, tb, m, n, k, in<Cf>(alpha), in<Cf>(a), lda, in<Cf>(b), ldb, in<Cf>(beta), out<Cf>(c), ldc); }
ZOR_API void zor_blas_xzgemm(const char *ta, const char *tb, I m, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { zor::gemm::xgemm<Z>(ta, tb, m, n, k, in<Zd>(alpha), in<Zd>(a), lda, in<Zd>(b), ldb, in<Zd>(beta), out<Zd>(c), ldc); }
ZOR_API int32_t zor_blas_xcgemm_par(const char *ta, const char *tb, I m, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc, int32_t plan, zor_gemm_desc *d) { return zor::gemm::xgemm_par<C>(ta, tb, m, n, k, in<Cf>(alpha), in<Cf>(a), lda, in<Cf>(b), ldb, in<Cf>(beta), out<Cf>(c), ldc, plan, d); }
ZOR_API int32_t zor_blas_xzgemm_par(const char *ta, const char *tb, I m, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc, int32_t plan, zor_gemm_desc *d) { return zor::gemm::xgemm_par<Z>(ta, tb, m, n, k, in<Zd>(alpha), in<Zd>(a), lda, in<Zd>(b), ldb, in<Zd>(beta), out<Zd>(c), ldc, plan, d); }
ZOR_API void zor_blas_cgemm_mscale(I m, I n, P beta, void *c, I ldc) { zor::gemm::mscale<C>(m, n, in<Cf>(beta), out<Cf>(c), ldc); }
ZOR_API void zor_blas_zgemm_mscale(I m, I n, P beta, void *c, I ldc) { zor::gemm::mscale<Z>(m, n, in<Zd>(beta), out<Zd>(c), ldc); }
// clang-format on
