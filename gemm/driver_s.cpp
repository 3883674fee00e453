// The float drivers (bodies in gemm/driver.hpp).
#include <zor/gemm.h>

#include "gemm/driver.hpp"

using zor::S;
using I = const int64_t *;
using E = const float *;

// clang-format off
ZOR_API void zor_blas_xsgemm(const char *ta, const char *tb, I m, I n, I k, E alpha, E a, I lda, E b, I ldb, E beta, float *c, I ldc) { zor::gemm::xgemm<S>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API int32_t zor_blas_xsgemm_par(const char *ta, const char *tb, I m, I n, I k, E alpha, E a, I lda, E b, I ldb, E beta, float *c, I ldc, int32_t plan, zor_gemm_desc *d) { return zor::gemm::xgemm_par<S>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, plan, d); }
ZOR_API void zor_blas_sgemm_mscale(I m, I n, E beta, float *c, I ldc) { zor::gemm::mscale<S>(m, n, beta, c, ldc); }
// clang-format on
