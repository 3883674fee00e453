// Symmetric and Hermitian multiply, one body over the element traits:
//   C := alpha A B + beta C (side 'L', A m x m) or alpha B A + beta C
//   (side 'R', A n x n), A symmetric (?symm) or Hermitian (?hemm) and read
//   from the triangle uplo names only; alpha and beta are of the element
//   type in both.
//
// ?symm takes its pooled buffer (512 KiB at 64 bytes) before anything else;
// without it the call returns with C untouched and beta not applied. Empty
// shapes then return. beta goes to all of C once (zeros without reading C
// for beta 0, nothing for beta 1); with alpha 0 the call ends there, A and B
// unread. Every product after that has beta 1.
// The long side of C (columns for 'L', rows for 'R') goes in slices of 5000;
// within a slice the order of A in diagonal blocks J of at most 256 (128 in
// z: a square of 256 double complex elements would need 1 MiB). A diagonal
// block is expanded to a dense square times alpha in the buffer, used by one
// product with alpha 1 and flags 'N', 'N'. The rest of block J's rows
// ('L') or columns ('R') of A come from the stored triangle in two products:
// the part before J and the part after it, each read directly or
// transposed as the triangle stores it (left-looking).
//
// ?hemm: blocks of 128 and the expanded square in a 128 x 128 array on the
// stack, so nothing is allocated and nothing can fail; the diagonal's
// imaginary parts are taken as zero and the mirrored triangle conjugated.
// The loop is right-looking over the stored triangle: the rectangle of it
// beside block J (above J for uplo 'U', left of J for 'L') serves two
// products, one as it stands and one conjugate-transposed ('C').
#include <zor/level3.h>

#include "frame/memory.hpp"
#include "gemm/level3.hpp"

namespace zor::gemm {
namespace {

// w := alpha times the dense nb x nb square of the symmetric (Hermitian)
// diagonal block at ad: each stored element written at (i, j) and, mirrored
// (conjugated for Herm), at (j, i).
template <bool Herm, class E>
void expand(bool upper, int64_t nb, const E *ad, int64_t lda, E alpha, E *w) {
  for (int64_t j = 0; j < nb; ++j) {
    const int64_t i0 = upper ? 0 : j, i1 = upper ? j + 1 : nb;
    for (int64_t i = i0; i < i1; ++i) {
      E v = ad[i + j * lda];
      if (i == j) {
        if constexpr (Herm) real_diagonal(v);
        w[i + j * nb] = alpha * v;
        continue;
      }
      w[i + j * nb] = alpha * v;
      w[j + i * nb] = alpha * conj_if(v, Herm);
    }
  }
}

template <class T, bool Herm>
void symm(const char *side, const char *uplo, const int64_t *m_, const int64_t *n_, const void *alpha_,
          const void *a_, const int64_t *lda_, const void *b_, const int64_t *ldb_, const void *beta_, void *c_,
          const int64_t *ldc_) {
  using E = typename T::elem;
  constexpr int64_t kBlock = Herm ? fixed::kStackBlock : fixed::Level3Rule<T>::symm_block;
  static_assert(Herm || kBlock * kBlock * sizeof(E) <= fixed::kSymmBufferBytes, "a diagonal block fits the buffer");
  frame::PooledBuffer buffer(Herm ? nullptr : zor_serv_allocate(fixed::kSymmBufferBytes, fixed::kSymmBufferAlignment));
  if (!Herm && zor_serv_check_ptr(buffer.get(), "xsymm") != 0) return;
  const int64_t m = *m_, n = *n_, lda = *lda_, ldb = *ldb_, ldc = *ldc_;
  if (m < 1 || n < 1) return;
  const E alpha = load_any(static_cast<const E *>(alpha_)), beta = load_any(static_cast<const E *>(beta_));
  const E *a = static_cast<const E *>(a_), *b = static_cast<const E *>(b_);
  E *c = static_cast<E *>(c_);
  if (!is_one(beta)) mscale<T>(m_, n_, &beta, c, ldc_);
  if (is_zero(alpha)) return;

  const bool left = is_letter(side, 'L'), upper = is_letter(uplo, 'U');
  constexpr E one = one_of<E>();
  constexpr char h = Herm ? 'C' : 'T';
  alignas(16) E stack[Herm ? kBlock * kBlock : 1];
  E *w = Herm ? stack : static_cast<E *>(buffer.get());
  const int64_t order = left ? m : n, length = left ? n : m;
  for (int64_t s0 = 0; s0 < length; s0 += fixed::kSymmSlice) {
    const int64_t ls = length - s0 < fixed::kSymmSlice ? length - s0 : fixed::kSymmSlice;
    const E *bs = left ? b + s0 * ldb : b + s0;
    E *cs = left ? c + s0 * ldc : c + s0;
    // into(j0, nj, x, ldx, tx, p0, np, s): C's rows j0 .. j0 + nj ('L') take
    // s op(X) B(p0 .. p0 + np, :) with op(X) nj x np, or C's columns ('R')
    // take s B(:, p0 .. p0 + np) op(X) with op(X) np x nj.
    auto into = [&](int64_t j0, int64_t nj, const E *x, int64_t ldx, char tx, int64_t p0, int64_t np, E s) {
      if (left) gemm<T>(tx, 'N', nj, ls, np, s, x, ldx, bs + p0, ldb, one, cs + j0, ldc);
      else gemm<T>('N', tx, ls, nj, np, s, bs + p0 * ldb, ldb, x, ldx, one, cs + j0 * ldc, ldc);
    };
    for (int64_t j0 = 0; j0 < order; j0 += kBlock) {
      const int64_t nb = order - j0 < kBlock ? order - j0 : kBlock, e = j0 + nb;
      expand<Herm>(upper, nb, a + j0 + j0 * lda, lda, alpha, w);
      into(j0, nb, w, nb, 'N', j0, nb, one);
      // Block J's other rows of A, from the stored triangle: for 'L' the
      // lower triangle's A(J, 0:j0) as it stands, the upper's A(0:j0, J)
      // transposed; 'R' needs the columns, so the two letters swap.
      const bool l = left;
      if constexpr (!Herm) {
        if (j0 > 0) {
          if (upper) into(j0, nb, a + j0 * lda, lda, l ? h : 'N', 0, j0, alpha);
          else into(j0, nb, a + j0, lda, l ? 'N' : h, 0, j0, alpha);
        }
        if (e < order) {
          if (upper) into(j0, nb, a + j0 + e * lda, lda, l ? 'N' : h, e, order - e, alpha);
          else into(j0, nb, a + e + j0 * lda, lda, l ? h : 'N', e, order - e, alpha);
        }
      } else if (j0 > 0) {
        // R: A(0:j0, J) (upper) or A(J, 0:j0) (lower), used as it stands and
        // conjugate-transposed.
        const char as_is = l ? 'N' : 'C', mirrored = l ? 'C' : 'N';
        if (upper) {
          const E *r = a + j0 * lda;  // j0 x nb
          into(0, j0, r, lda, as_is, j0, nb, alpha);
          into(j0, nb, r, lda, mirrored, 0, j0, alpha);
        } else {
          const E *r = a + j0;  // nb x j0
          into(j0, nb, r, lda, as_is, 0, j0, alpha);
          into(0, j0, r, lda, mirrored, j0, nb, alpha);
        }
      }
    }
  }
}

}  // namespace
}  // namespace zor::gemm

using zor::S;
using zor::D;
using zor::C;
using zor::Z;
using zor::gemm::symm;
using I = const int64_t *;
using P = const void *;

// clang-format off
ZOR_API void zor_blas_xssymm(const char *s, const char *u, I m, I n, const float *alpha, const float *a, I lda, const float *b, I ldb, const float *beta, float *c, I ldc) { symm<S, false>(s, u, m, n, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xdsymm(const char *s, const char *u, I m, I n, const double *alpha, const double *a, I lda, const double *b, I ldb, const double *beta, double *c, I ldc) { symm<D, false>(s, u, m, n, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xcsymm(const char *s, const char *u, I m, I n, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { symm<C, false>(s, u, m, n, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xzsymm(const char *s, const char *u, I m, I n, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { symm<Z, false>(s, u, m, n, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xchemm(const char *s, const char *u, I m, I n, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { symm<C, true>(s, u, m, n, alpha, a, lda, b, ldb, beta, c, ldc); }
ZOR_API void zor_blas_xzhemm(const char *s, const char *u, I m, I n, P alpha, P a, I lda, P b, I ldb, P beta, void *c, I ldc) { symm<Z, true>(s, u, m, n, alpha, a, lda, b, ldb, beta, c, ldc); }
// clang-format on
