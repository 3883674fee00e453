// Shared pieces of the GEMM tests: the exports gathered per element type,
// a descriptor on the stack, operands in guarded buffers, and one product
// checked against the reference BLAS within its rounding bound.
#pragma once
#include <cmath>
#include <complex>
#include <cstdint>
#include <vector>

#include <zor/core.h>
#include <zor/gemm.h>
#include <zor/gemm_complex.h>

#include "common/reference_blas.h"
#include "common/testing.hpp"
#include "gemm/desc.hpp"

namespace zor::test {

template <class R>
using Cx = std::complex<R>;

// Ours and the reference per element type, with untyped operands.
template <class E> struct Gemm;
#define ZOR_TEST_GEMM_API(E, p, Ref)                                                                                  \
  template <> struct Gemm<E> {                                                                                        \
    static void xgemm(const char *ta, const char *tb, int64_t m, int64_t n, int64_t k, const E *alpha, const E *a,    \
                      int64_t lda, const E *b, int64_t ldb, const E *beta, E *c, int64_t ldc) {                      \
      zor_blas_x##p##gemm(ta, tb, &m, &n, &k, (const Ref *)alpha, (const Ref *)a, &lda, (const Ref *)b, &ldb,        \
                          (const Ref *)beta, (Ref *)c, &ldc);                                                         \
    }                                                                                                                 \
    static void reference(char ta, char tb, int64_t m, int64_t n, int64_t k, const E *alpha, const E *a, int64_t lda, \
                          const E *b, int64_t ldb, const E *beta, E *c, int64_t ldc) {                                \
      f_int M = f_int(m), N = f_int(n), K = f_int(k), LA = f_int(lda), LB = f_int(ldb), LC = f_int(ldc);              \
      p##gemm_(&ta, &tb, &M, &N, &K, (const Ref *)alpha, (const Ref *)a, &LA, (const Ref *)b, &LB, (const Ref *)beta, \
               (Ref *)c, &LC, 1, 1);                                                                                  \
    }                                                                                                                 \
    static constexpr auto xgemm_par = zor_blas_x##p##gemm_par;                                                        \
    static constexpr auto get_kernel = zor_blas_##p##gemm_get_kernel;                                                 \
    static constexpr auto get_blks_size = zor_blas_##p##gemm_get_blks_size;                                           \
    static constexpr auto get_blks_size_bvr = zor_blas_##p##gemm_get_blks_size_bvr;                                   \
    static constexpr auto copyan = zor_blas_##p##gemm_copyan;                                                         \
    static constexpr auto copyat = zor_blas_##p##gemm_copyat;                                                         \
    static constexpr auto copybn = zor_blas_##p##gemm_copybn;                                                         \
    static constexpr auto copybt = zor_blas_##p##gemm_copybt;                                                         \
    static constexpr auto copyan_bvr = zor_blas_##p##gemm_copyan_bvr;                                                 \
    static constexpr auto copyat_bvr = zor_blas_##p##gemm_copyat_bvr;                                                 \
    static constexpr auto copybn_bvr = zor_blas_##p##gemm_copybn_bvr;                                                 \
    static constexpr auto copybt_bvr = zor_blas_##p##gemm_copybt_bvr;                                                 \
  };
ZOR_TEST_GEMM_API(float, s, float)
ZOR_TEST_GEMM_API(double, d, double)
ZOR_TEST_GEMM_API(Cx<float>, c, void)
ZOR_TEST_GEMM_API(Cx<double>, z, void)
#undef ZOR_TEST_GEMM_API

// A cleared descriptor filled from the given kernel row.
struct Desc {
  zor_gemm_desc_storage storage;
  zor_gemm_desc *get() { return reinterpret_cast<zor_gemm_desc *>(&storage); }
  zor_gemm_desc *operator->() { return get(); }
  template <class E>
  static Desc row(int32_t index) {
    Desc d;
    zor_blas_dgemm_zero_desc(d.get());
    Gemm<E>::get_kernel(index, d.get());
    return d;
  }
};

// Column-major M x N operand with leading dimension ld, in a guarded buffer
// at a byte offset from a 16-byte boundary.
template <class E>
struct Matrix {
  int64_t rows, cols, ld;
  GuardedBuffer<E> buf;
  Matrix(int64_t rows, int64_t cols, int64_t ld, size_t offset_bytes = 0)
      : rows(rows), cols(cols), ld(ld), buf(size_t(ld * (cols > 0 ? cols : 1)), offset_bytes) {}
  E *data() { return buf.data(); }
  E &at(int64_t i, int64_t j) { return buf[size_t(i + j * ld)]; }
  void fill(Rng &rng) {
    for (size_t i = 0; i < buf.size(); ++i) buf[i] = rng.value<E>();
  }
};

// |C - Cref| bound for C = alpha op(A) op(B) + beta C computed in precision
// R: a few units of rounding per term of the dot product and of the update.
template <class R>
double gemm_bound(int64_t k, double abs_sum, double beta_c) {
  return 4.0 * double(k + 3) * double(std::numeric_limits<R>::epsilon()) * (abs_sum + beta_c) + 1e-300;
}

// A cheap bound of |x|: |re| + |im| for complex elements.
template <class E>
double magnitude(const E &x) {
  if constexpr (is_complex_v<E>) return std::fabs(double(x.real())) + std::fabs(double(x.imag()));
  else return std::fabs(double(x));
}

// op(X)(i, j) of a column-major operand ('C': conjugated).
template <class E>
E op_at(const E *x, int64_t ld, char trans, int64_t i, int64_t j) {
  if (trans == 'N') return x[i + j * ld];
  if constexpr (is_complex_v<E>)
    if (trans == 'C') return std::conj(x[j + i * ld]);
  return x[j + i * ld];
}

// One product: ours through run_ours() or any other call on the operands,
// then check() against the reference on a copy of C: the rounding bound in
// rows below M, untouched rows from M to ldc, intact guards.
template <class E>
struct Problem {
  using R = real_of<E>;
  char ta, tb;
  int64_t m, n, k, lda, ldb, ldc;
  E alpha, beta;
  size_t c_offset;
  Matrix<E> a, b, c;
  std::vector<E> c_before;
  Problem(char ta, char tb, int64_t m, int64_t n, int64_t k, int64_t pad, E alpha, E beta, size_t c_offset, Rng &rng,
          bool nan_c = false)
      : ta(ta), tb(tb), m(m), n(n), k(k),
        lda((ta == 'N' ? m : k) + pad > 0 ? (ta == 'N' ? m : k) + pad : 1),
        ldb((tb == 'N' ? k : n) + pad > 0 ? (tb == 'N' ? k : n) + pad : 1), ldc(m + pad > 0 ? m + pad : 1),
        alpha(alpha), beta(beta), c_offset(c_offset),
        a(lda, ta == 'N' ? k : m, lda), b(ldb, tb == 'N' ? n : k, ldb), c(ldc, n, ldc, c_offset) {
    a.fill(rng);
    b.fill(rng);
    c.fill(rng);
    if (nan_c)
      for (int64_t j = 0; j < n; ++j)
        for (int64_t i = 0; i < m; ++i) c.at(i, j) = E(std::numeric_limits<R>::quiet_NaN());
    c_before.assign(c.data(), c.data() + c.buf.size());
  }
  void run_ours() {
    const char sa[2] = {ta, 0}, sb[2] = {tb, 0};
    Gemm<E>::xgemm(sa, sb, m, n, k, &alpha, a.data(), lda, b.data(), ldb, &beta, c.data(), ldc);
  }
  ::testing::AssertionResult check() {
    std::vector<E> want = c_before;
    if (beta == E(0))  // the reference need not read C either; give it zeros
      for (auto &x : want) x = E(0);
    if (m > 0 && n > 0) Gemm<E>::reference(ta, tb, m, n, k, &alpha, a.data(), lda, b.data(), ldb, &beta, want.data(), ldc);
    if (!c.buf.guards_intact()) return ::testing::AssertionFailure() << "guards around C changed";
    for (int64_t j = 0; j < n; ++j)
      for (int64_t i = 0; i < ldc; ++i) {
        const size_t at = size_t(i + j * ldc);
        const E got = c.at(i, j);
        if (i >= m) {
          if (!same_bits(got, c_before[at])) return ::testing::AssertionFailure() << "row " << i << " past M written";
          continue;
        }
        double abs_sum = 0;
        for (int64_t l = 0; l < k; ++l)
          abs_sum += magnitude(op_at(a.data(), lda, ta, i, l)) * magnitude(op_at(b.data(), ldb, tb, l, j));
        const double beta_c = beta == E(0) ? 0.0 : magnitude(beta) * magnitude(c_before[at]);
        const double bound = gemm_bound<R>(k, magnitude(alpha) * abs_sum, beta_c);
        if (!(std::abs(std::complex<double>(got) - std::complex<double>(want[at])) <= bound))
          return ::testing::AssertionFailure()
                 << ta << tb << " m " << m << " n " << n << " k " << k << " ld " << lda << "," << ldb << "," << ldc
                 << " alpha " << alpha << " beta " << beta << " C+" << c_offset << " at (" << i << "," << j
                 << ") got " << got << " want " << want[at];
      }
    return ::testing::AssertionSuccess();
  }
};

}  // namespace zor::test
