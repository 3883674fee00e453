// Rank-2k updates of one triangle of C, one body for the symmetric and the
// Hermitian forms of every precision:
//   ?syr2k  C := alpha op(A) op(B)^T + alpha op(B) op(A)^T + beta C,
//   ?her2k  C := alpha op(A) op(B)^H + conj(alpha) op(B) op(A)^H + beta C,
//           alpha complex, beta real, the diagonal of C left real;
// op(X) = X (n x k) for 'N', its transpose ('T', 'C', either case;
// conjugate transpose in ?her2k) otherwise.
//
// beta goes to the triangle first (zeros without reading C for beta 0,
// nothing for 1); alpha 0 or k 0 ends the call there. Then the diagonal in
// blocks of 128: D = alpha op(A_J) op(B_J)^T into a 128 x 128 array on the
// stack by one product with beta 0, the triangle of the diagonal block takes
// D + D^T (D + D^H, the diagonal's imaginary part dropped), and the
// rectangle beyond the block takes the two products alpha op(A) op(B)^T and
// alpha op(B) op(A)^T (conj(alpha) in the second for ?her2k) with beta 1.
// Nothing is allocated here.
#include <zor/level3.h>

#include "gemm/level3.hpp"

namespace zor::gemm {
namespace {

// The triangle of C takes D + D^T (Herm: D + D^H, a real diagonal).
template <bool Herm, class E>
void add_both(bool upper, int64_t nb, const E *d, int64_t ldd, E *c, int64_t ldc) {
  for (int64_t j = 0; j < nb; ++j) {
    const int64_t i0 = upper ? 0 : j, i1 = upper ? j + 1 : nb;
    E *col = c + j * ldc;
    for (int64_t i = i0; i < i1; ++i) col[i] = col[i] + (d[i + j * ldd] + conj_if(d[j + i * ldd], Herm));
    if constexpr (Herm) real_diagonal(col[j]);
  }
}

template <class T, bool Herm>
void syr2k(const char *uplo, const char *trans, const int64_t *n_, const int64_t *k_, const void *alpha_,
           const void *a_, const int64_t *lda_, const void *b_, const int64_t *ldb_,
           const Factor<T, Herm> *beta_, void *c_, const int64_t *ldc_) {
  using E = typename T::elem;
  constexpr int64_t kB = fixed::kStackBlock;
  constexpr char t = kTransposed<Herm>;
  const int64_t n = *n_, k = *k_, lda = *lda_, ldb = *ldb_, ldc = *ldc_;
  if (n < 1) return;
  const E alpha = load_any(static_cast<const E *>(alpha_));
  const E alpha2 = conj_if(alpha, Herm);
  const auto beta = load_any(beta_);
  const E *a = static_cast<const E *>(a_), *b = static_cast<const E *>(b_);
  E *c = static_cast<E *>(c_);
  const bool upper = is_letter(uplo, 'U'), tr = rank_k_transposed(trans);
  const bool no_product = is_zero(alpha) || k == 0;
  if (no_product && is_one(beta)) return;
  if (!is_one(beta)) scale_triangle<Herm>(upper, n, beta, c, ldc);
  if (no_product) return;

  static constexpr E kOne = one_of<E>();
  // op(X) from row r: the element (r, 0) of op(X).
  auto from = [tr](const E *x, int64_t ld, int64_t r) { return tr ? x + r * ld : x + r; };
  // C(rows r0.., cols c0..) += s op(X)(r0..) op(Y)(c0..)^T.
  auto product = [&](int64_t r0, int64_t rows, int64_t c0, int64_t cols, E s, const E *x, int64_t ldx, const E *y,
                     int64_t ldy, E beta_d, E *out, int64_t ldo) {
    if (tr) gemm<T>(t, 'N', rows, cols, k, s, from(x, ldx, r0), ldx, from(y, ldy, c0), ldy, beta_d, out, ldo);
    else gemm<T>('N', t, rows, cols, k, s, from(x, ldx, r0), ldx, from(y, ldy, c0), ldy, beta_d, out, ldo);
  };
  alignas(16) E d[kB * kB];
  for (int64_t j0 = 0; j0 < n; j0 += kB) {
    const int64_t nb = n - j0 < kB ? n - j0 : kB, e = j0 + nb;
    product(j0, nb, j0, nb, alpha, a, lda, b, ldb, E{}, d, kB);
    add_both<Herm>(upper, nb, d, kB, c + j0 + j0 * ldc, ldc);
    if (e == n) continue;
    if (upper) {
      E *out = c + j0 + e * ldc;
      product(j0, nb, e, n - e, alpha, a, lda, b, ldb, kOne, out, ldc);
      product(j0, nb, e, n - e, alpha2, b, ldb, a, lda, kOne, out, ldc);
    } else {
      E *out = c + e + j0 * ldc;
      product(e, n - e, j0, nb, alpha, a, lda, b, ldb, kOne, out, ldc);
      product(e, n - e, j0, nb, alpha2, b, ldb, a, lda, kOne, out, ldc);
    }
  }
}

}  // namespace
}  // namespace zor::gemm

using zor::S;
using zor::D;
using zor::C;
using zor::Z;
using zor::gemm::syr2k;
using I = const int64_t *;
using P = const void *;

// clang-format off
ZOR_API void zor_blas_xssyr2k(const char *u, const char *t, I n, I k, const float *alpha, const float *a, I lda, const float *b, I ldb, const float *beta, float *c, I ldc) { syr2k<S, false>(u, t, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xdsyr2k(const char *u, const char *t, I n, I k, const double *alpha, const double *a, I lda, const double *b, I ldb, const double *beta, double *c, I ldc) { syr2k<D, false>(u, t, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xcsyr2k(const char *u, const char *t, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { syr2k<C, false>(u, t, n, k, alpha, a, lda, b, ldb, static_cast<const zor::cplx<float> *>(beta), c, ldc); }
ZOR_API void zor_blas_xzsyr2k(const char *u, const char *t, I n, I k, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { syr2k<Z, false>(u, t, n, k, alpha, a, lda, b, ldb, static_cast<const zor::cplx<double> *>(beta), c, ldc); }
ZOR_API void zor_blas_xcher2k(const char *u, const char *t, I n, I k, P alpha, P a, I lda, P b, I ldb, const float *beta, void *c, I ldc) { syr2k<C, true>(u, t, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xzher2k(const char *u, const char *t, I n, I k, P alpha, P a, I lda, P b, I ldb, const double *beta, void *c, I ldc) { syr2k<Z, true>(u, t, n, k, alpha, a, lda, b, ldb, beta, c, ldc); }
// clang-format on
