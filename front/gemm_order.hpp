// gemm with one order of summation for every shape. The tier's entry sends
// products narrower than its panels (M below unroll_m or N below unroll_n,
// with K at least unroll_k) to a small path whose order differs from the
// packed kernel's, so an element of C would take different bits in a
// narrow call than in a wide one. Callers of a BLAS expect the same bits
// for the same row of A and column of B (LAPACK's eigenvalue drivers compare
// results of two call sequences bit for bit), so such a product runs here
// on zero-padded copies of its narrow side: every element then takes the
// packed kernel's order, whose blocking in depth depends on K alone.
// Products with K below unroll_k take the small path whatever their other
// sizes, which is again one order.
#pragma once
#include <zor/gemm.h>
#include <zor/serv.h>

#include <algorithm>
#include <cstring>

#include "cblas/threads.hpp"
#include "frame/element.hpp"
#include "frame/imports.hpp"
#include "gemm/desc.hpp"

namespace zor::front {

// The largest panel widths over the kernel rows of each precision: wider
// products never need padding, and the descriptor is read only below them.
template <class E> inline constexpr zor_int kWidestM = traits_of<E>::letter == 's' ? 8 : traits_of<E>::letter == 'z' ? 2 : 4;
template <class E> inline constexpr zor_int kWidestN = traits_of<E>::letter == 's' || traits_of<E>::letter == 'd' ? 4 : 2;

template <class E>
inline void optimal_kernel(zor_gemm_desc *d) {
  constexpr char p = traits_of<E>::letter;
  zor_blas_dgemm_zero_desc(d);
  if constexpr (p == 's') zor_blas_sgemm_get_optimal_kernel(d);
  else if constexpr (p == 'd') zor_blas_dgemm_get_optimal_kernel(d);
  else if constexpr (p == 'c') zor_blas_cgemm_get_optimal_kernel(d);
  else zor_blas_zgemm_get_optimal_kernel(d);
}

// rows x cols of src (leading dimension ld) into a rows_to x cols_to block
// with zeros around it.
template <class E>
inline void padded_copy(const E *src, zor_int ld, zor_int rows, zor_int cols, E *dst, zor_int rows_to,
                        zor_int cols_to) {
  for (zor_int j = 0; j < cols_to; ++j)
    for (zor_int i = 0; i < rows_to; ++i) dst[i + j * rows_to] = i < rows && j < cols ? src[i + j * ld] : E{};
}

template <class E>
[[gnu::noinline]] void gemm_narrow(char ta, char tb, zor_int m, zor_int n, zor_int k, const E *alpha, const E *a,
                                   zor_int lda, const E *b, zor_int ldb, const E *beta, E *c, zor_int ldc) {
  using imp = zor::imports<traits_of<E>>;
  zor_gemm_desc_storage storage;
  zor_gemm_desc *d = reinterpret_cast<zor_gemm_desc *>(&storage);
  optimal_kernel<E>(d);
  const zor_int mp = std::max(m, d->unroll_m), np = std::max(n, d->unroll_n);
  const bool a_rows = letter_of(ta) == 'N', b_rows = letter_of(tb) == 'N';
  // op(A) is m x k: A itself m x k, or k x m; op(B) is k x n: B k x n, or n x k.
  const zor_int a_size = m < mp ? mp * k : 0, b_size = n < np ? np * k : 0;
  E *scratch = k < d->unroll_k || is_zero(load_any(alpha)) ? nullptr
               : static_cast<E *>(zor_serv_allocate(uint64_t(a_size + b_size + mp * np) * sizeof(E), 64));
  if (!scratch) {
    imp::xgemm(&ta, &tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
    return;
  }
  E *ap = scratch, *bp = scratch + a_size, *cp = bp + b_size;
  zor_int lda_p = lda, ldb_p = ldb;
  if (a_size) {
    if (a_rows) padded_copy(a, lda, m, k, ap, mp, k), lda_p = mp;
    else padded_copy(a, lda, k, m, ap, k, mp), lda_p = k;
    a = ap;
  }
  if (b_size) {
    if (b_rows) padded_copy(b, ldb, k, n, bp, k, np), ldb_p = k;
    else padded_copy(b, ldb, n, k, bp, np, k), ldb_p = np;
    b = bp;
  }
  padded_copy(c, ldc, m, n, cp, mp, np);
  imp::xgemm(&ta, &tb, &mp, &np, &k, alpha, a, &lda_p, b, &ldb_p, beta, cp, &mp);
  for (zor_int j = 0; j < n; ++j) std::memcpy(c + j * ldc, cp + j * mp, size_t(m) * sizeof(E));
  zor_serv_deallocate(scratch);
}

// Wide products go to the tier straight away, or to the team when large.
template <class E>
inline void gemm_one_order(char ta, char tb, zor_int m, zor_int n, zor_int k, const E *alpha, const E *a, zor_int lda,
                           const E *b, zor_int ldb, const E *beta, E *c, zor_int ldc) {
  if (m < kWidestM<E> || n < kWidestN<E>) [[unlikely]]
    return gemm_narrow(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  if (on_team(double(m) * double(n) * double(k)))
    return threaded_gemm<traits_of<E>>(&ta, &tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
  zor::imports<traits_of<E>>::xgemm(&ta, &tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
}

}  // namespace zor::front
