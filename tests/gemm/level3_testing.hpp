// Shared pieces of the symmetric, Hermitian and triangular tests: the
// reference routines, ours and theirs per element type behind one call, and
// the comparison of a result with the reference's within a bound formed by
// the same operation on magnitudes (in double).
#pragma once
#include <zor/level3.h>

#include <cmath>
#include <string>
#include <vector>

#include "gemm_testing.hpp"

extern "C" {
// clang-format off
#define ZOR_REF_SYMM(f, E, S) void f(const char *, const char *, const f_int *, const f_int *, const S *, const E *, const f_int *, const E *, const f_int *, const S *, E *, const f_int *, f_len, f_len);
#define ZOR_REF_SYRK(f, E, S) void f(const char *, const char *, const f_int *, const f_int *, const S *, const E *, const f_int *, const S *, E *, const f_int *, f_len, f_len);
#define ZOR_REF_SYR2K(f, E, SA, SB) void f(const char *, const char *, const f_int *, const f_int *, const SA *, const E *, const f_int *, const E *, const f_int *, const SB *, E *, const f_int *, f_len, f_len);
#define ZOR_REF_TRI(f, E) void f(const char *, const char *, const char *, const char *, const f_int *, const f_int *, const E *, const E *, const f_int *, E *, const f_int *, f_len, f_len, f_len, f_len);
ZOR_REF_SYMM(ssymm_, float, float) ZOR_REF_SYMM(dsymm_, double, double) ZOR_REF_SYMM(csymm_, void, void) ZOR_REF_SYMM(zsymm_, void, void) ZOR_REF_SYMM(chemm_, void, void) ZOR_REF_SYMM(zhemm_, void, void)
ZOR_REF_SYRK(ssyrk_, float, float) ZOR_REF_SYRK(dsyrk_, double, double) ZOR_REF_SYRK(csyrk_, void, void) ZOR_REF_SYRK(zsyrk_, void, void) ZOR_REF_SYRK(cherk_, void, float) ZOR_REF_SYRK(zherk_, void, double)
ZOR_REF_SYR2K(ssyr2k_, float, float, float) ZOR_REF_SYR2K(dsyr2k_, double, double, double) ZOR_REF_SYR2K(csyr2k_, void, void, void) ZOR_REF_SYR2K(zsyr2k_, void, void, void) ZOR_REF_SYR2K(cher2k_, void, void, float) ZOR_REF_SYR2K(zher2k_, void, void, double)
ZOR_REF_TRI(strmm_, float) ZOR_REF_TRI(dtrmm_, double) ZOR_REF_TRI(ctrmm_, void) ZOR_REF_TRI(ztrmm_, void)
ZOR_REF_TRI(strsm_, float) ZOR_REF_TRI(dtrsm_, double) ZOR_REF_TRI(ctrsm_, void) ZOR_REF_TRI(ztrsm_, void)
// clang-format on
}

namespace zor::test {

// An element pointer as the routines take it: typed real, untyped complex.
template <class E>
auto arg(E *p) {
  if constexpr (is_complex_v<std::remove_const_t<E>>) {
    if constexpr (std::is_const_v<E>) return static_cast<const void *>(p);
    else return static_cast<void *>(p);
  } else {
    return p;
  }
}

inline const char *str(const char &c) { return &c; }

// A complex value with its imaginary part replaced; reals pass.
template <class E>
E with_imag(E x, double im) {
  if constexpr (is_complex_v<E>) return E(x.real(), real_of<E>(im));
  else return x;
}

// One operation, ours or the reference, on operands of E; the Hermitian forms
// take real factors where the published interface has them.
template <class E>
struct L3 {
  using R = real_of<E>;
  // clang-format off
  static void symm(bool ours, bool herm, char side, char uplo, int64_t m, int64_t n, E alpha, const E *a, int64_t lda, const E *b, int64_t ldb, E beta, E *c, int64_t ldc) {
    if (ours) {
      auto f = herm ? pick<E>(nullptr, nullptr, zor_blas_xchemm, zor_blas_xzhemm) : pick<E>(zor_blas_xssymm, zor_blas_xdsymm, zor_blas_xcsymm, zor_blas_xzsymm);
      if constexpr (!std::is_same_v<decltype(f), std::nullptr_t>) f(str(side), str(uplo), &m, &n, arg(&alpha), arg(a), &lda, arg(b), &ldb, arg(&beta), arg(c), &ldc);
      return;
    }
    f_int M = f_int(m), N = f_int(n), LA = f_int(lda), LB = f_int(ldb), LC = f_int(ldc);
    auto f = herm ? pick<E>(nullptr, nullptr, chemm_, zhemm_) : pick<E>(ssymm_, dsymm_, csymm_, zsymm_);
    if constexpr (!std::is_same_v<decltype(f), std::nullptr_t>) f(&side, &uplo, &M, &N, arg(&alpha), arg(a), &LA, arg(b), &LB, arg(&beta), arg(c), &LC, 1, 1);
  }
  // syrk (herk with the real parts of alpha and beta when herm)
  static void syrk(bool ours, bool herm, char uplo, char trans, int64_t n, int64_t k, E alpha, const E *a, int64_t lda, E beta, E *c, int64_t ldc) {
    const R ra = std::real(alpha), rb = std::real(beta);
    f_int N = f_int(n), K = f_int(k), LA = f_int(lda), LC = f_int(ldc);
    if constexpr (is_complex_v<E>) if (herm) {
      if (ours) pick<E>(nullptr, nullptr, zor_blas_xcherk, zor_blas_xzherk)(str(uplo), str(trans), &n, &k, &ra, arg(a), &lda, &rb, arg(c), &ldc);
      else pick<E>(nullptr, nullptr, cherk_, zherk_)(&uplo, &trans, &N, &K, &ra, arg(a), &LA, &rb, arg(c), &LC, 1, 1);
      return;
    }
    if (ours) pick<E>(zor_blas_xssyrk, zor_blas_xdsyrk, zor_blas_xcsyrk, zor_blas_xzsyrk)(str(uplo), str(trans), &n, &k, arg(&alpha), arg(a), &lda, arg(&beta), arg(c), &ldc);
    else pick<E>(ssyrk_, dsyrk_, csyrk_, zsyrk_)(&uplo, &trans, &N, &K, arg(&alpha), arg(a), &LA, arg(&beta), arg(c), &LC, 1, 1);
  }
  static void syr2k(bool ours, bool herm, char uplo, char trans, int64_t n, int64_t k, E alpha, const E *a, int64_t lda, const E *b, int64_t ldb, E beta, E *c, int64_t ldc) {
    const R rb = std::real(beta);
    f_int N = f_int(n), K = f_int(k), LA = f_int(lda), LB = f_int(ldb), LC = f_int(ldc);
    if constexpr (is_complex_v<E>) if (herm) {
      if (ours) pick<E>(nullptr, nullptr, zor_blas_xcher2k, zor_blas_xzher2k)(str(uplo), str(trans), &n, &k, arg(&alpha), arg(a), &lda, arg(b), &ldb, &rb, arg(c), &ldc);
      else pick<E>(nullptr, nullptr, cher2k_, zher2k_)(&uplo, &trans, &N, &K, arg(&alpha), arg(a), &LA, arg(b), &LB, &rb, arg(c), &LC, 1, 1);
      return;
    }
    if (ours) pick<E>(zor_blas_xssyr2k, zor_blas_xdsyr2k, zor_blas_xcsyr2k, zor_blas_xzsyr2k)(str(uplo), str(trans), &n, &k, arg(&alpha), arg(a), &lda, arg(b), &ldb, arg(&beta), arg(c), &ldc);
    else pick<E>(ssyr2k_, dsyr2k_, csyr2k_, zsyr2k_)(&uplo, &trans, &N, &K, arg(&alpha), arg(a), &LA, arg(b), &LB, arg(&beta), arg(c), &LC, 1, 1);
  }
  // solve false: trmm, true: trsm
  static void tri(bool ours, bool solve, const char *letters, int64_t m, int64_t n, E alpha, const E *a, int64_t lda, E *b, int64_t ldb) {
    const char *l = letters;
    if (ours) {
      auto f = solve ? pick<E>(zor_blas_xstrsm, zor_blas_xdtrsm, zor_blas_xctrsm, zor_blas_xztrsm) : pick<E>(zor_blas_xstrmm, zor_blas_xdtrmm, zor_blas_xctrmm, zor_blas_xztrmm);
      f(l, l + 1, l + 2, l + 3, &m, &n, arg(&alpha), arg(a), &lda, arg(b), &ldb);
      return;
    }
    f_int M = f_int(m), N = f_int(n), LA = f_int(lda), LB = f_int(ldb);
    auto f = solve ? pick<E>(strsm_, dtrsm_, ctrsm_, ztrsm_) : pick<E>(strmm_, dtrmm_, ctrmm_, ztrmm_);
    f(l, l + 1, l + 2, l + 3, &M, &N, arg(&alpha), arg(a), &LA, arg(b), &LB, 1, 1, 1, 1);
  }
  // clang-format on
};

// |x| elementwise as doubles (|re| + |im|), NaN kept.
template <class E>
std::vector<double> magnitudes(const E *x, size_t count) {
  std::vector<double> out(count);
  for (size_t i = 0; i < count; ++i) out[i] = magnitude(x[i]);
  return out;
}

// got against want over the rows x cols of a matrix with leading dimension
// ld: within factor x eps x scale, NaN where want has NaN, and a real
// diagonal where want's is (Hermitian results); bitwise equal where the
// reference left the input as it was (untouched parts).
template <class E>
::testing::AssertionResult agree(const E *got, const std::vector<E> &want, const std::vector<E> &before,
                                 const std::vector<double> &scale, int64_t rows, int64_t cols, int64_t ld,
                                 double factor) {
  using R = real_of<E>;
  for (int64_t j = 0; j < cols; ++j)
    for (int64_t i = 0; i < ld; ++i) {
      const size_t at = size_t(i + j * ld);
      const E g = got[at], w = want[at];
      const bool kept = same_bits(w, before[at]);
      if (i >= rows || kept) {
        if (!same_bits(g, w) && !(i < rows && kept && std::abs(std::complex<double>(g) - std::complex<double>(w)) <=
                                                             factor * double(eps<R>()) * scale[at]))
          return ::testing::AssertionFailure() << "element (" << i << "," << j << ") changed to " << g << ", want "
                                               << w;
        continue;
      }
      if constexpr (is_complex_v<E>)
        if (i == j && w.imag() == R(0) && g.imag() != R(0))
          return ::testing::AssertionFailure() << "diagonal (" << i << ") keeps an imaginary part " << g;
      const double err = std::abs(std::complex<double>(g) - std::complex<double>(w));
      if (!(err <= factor * double(eps<R>()) * scale[at] + 1e-300))
        return ::testing::AssertionFailure() << "at (" << i << "," << j << ") got " << g << " want " << w
                                             << " bound " << factor * double(eps<R>()) * scale[at];
    }
  return ::testing::AssertionSuccess();
}

// Scalars worth trying: random, 0, 1 and 3 (a second application of beta 3
// is far outside any bound).
template <class E>
std::vector<std::pair<E, E>> scalar_pairs(Rng &rng) {
  return {{rng.value<E>(), E(3)}, {rng.value<E>(), E(0)}, {E(0), rng.value<E>()}, {rng.value<E>(), E(1)},
          {E(0), E(1)}};
}

}  // namespace zor::test
