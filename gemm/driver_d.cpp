// The double drivers (bodies in gemm/driver.hpp).
#include <zor/gemm.h>

#include "gemm/driver.hpp"

using zor::D;
using I = const int64_t *;
using E = const double *;

// clang-format off
ZOR_API void zor_blas_xdgemm(const char *ta, const char *tb, I m, I n, I k, E alpha, E a, I lda, E b, I ldb, E beta, double *c, I ldc) { zor::gemm::xgemm<D>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API int32_t zor_blas_xdgemm_par(const char *ta, const char *tb, I m, I n, I k, E alpha, E a, I lda, E b, I ldb, E beta, double *c, I ldc, int32_t plan, zor_gemm_desc *d) { return zor::gemm::xgemm_par<D>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, plan, d); }
ZOR_API void zor_blas_dgemm_mscale(I m, I n, E beta, double *c, I ldc) { zor::gemm::mscale<D>(m, n, beta, c, ldc); }
// clang-format on
