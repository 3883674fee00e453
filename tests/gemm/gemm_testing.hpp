// Shared pieces of the GEMM tests: the real exports gathered per precision,
// a descriptor on the stack, operands in guarded buffers, and the error bound
// of a product against an oracle.
#pragma once
#include <cmath>
#include <cstdint>
#include <vector>

#include <zor/core.h>
#include <zor/gemm.h>

#include "common/testing.hpp"
#include "gemm/desc.hpp"

namespace zor::test {

template <class R> struct Gemm;
#define ZOR_TEST_GEMM_API(R, p)                                                    \
  template <> struct Gemm<R> {                                                     \
    static constexpr auto xgemm = zor_blas_x##p##gemm;                             \
    static constexpr auto xgemm_par = zor_blas_x##p##gemm_par;                     \
    static constexpr auto get_kernel = zor_blas_##p##gemm_get_kernel;              \
    static constexpr auto get_blks_size = zor_blas_##p##gemm_get_blks_size;        \
    static constexpr auto get_blks_size_bvr = zor_blas_##p##gemm_get_blks_size_bvr; \
    static constexpr auto copyan = zor_blas_##p##gemm_copyan;                      \
    static constexpr auto copyat = zor_blas_##p##gemm_copyat;                      \
    static constexpr auto copybn = zor_blas_##p##gemm_copybn;                      \
    static constexpr auto copybt = zor_blas_##p##gemm_copybt;                      \
    static constexpr auto copyan_bvr = zor_blas_##p##gemm_copyan_bvr;              \
    static constexpr auto copyat_bvr = zor_blas_##p##gemm_copyat_bvr;              \
    static constexpr auto copybn_bvr = zor_blas_##p##gemm_copybn_bvr;              \
    static constexpr auto copybt_bvr = zor_blas_##p##gemm_copybt_bvr;              \
  };
ZOR_TEST_GEMM_API(double, d)
ZOR_TEST_GEMM_API(float, s)
#undef ZOR_TEST_GEMM_API

// A cleared descriptor filled from the given kernel row.
struct Desc {
  zor_gemm_desc_storage storage;
  zor_gemm_desc *get() { return reinterpret_cast<zor_gemm_desc *>(&storage); }
  zor_gemm_desc *operator->() { return get(); }
  template <class R>
  static Desc row(int32_t index) {
    Desc d;
    zor_blas_dgemm_zero_desc(d.get());
    Gemm<R>::get_kernel(index, d.get());
    return d;
  }
};

// Forces the kernel row for the extent of a scope.
struct ForceRow {
  explicit ForceRow(int row) { zor_core_force(ZOR_CORE_CPUHASQLX, row); }
  ~ForceRow() { zor_core_unforce(ZOR_CORE_CPUHASQLX); }
};

// Column-major M x N operand with leading dimension ld, in a guarded buffer
// at a byte offset from a 16-byte boundary.
template <class R>
struct Matrix {
  int64_t rows, cols, ld;
  GuardedBuffer<R> buf;
  Matrix(int64_t rows, int64_t cols, int64_t ld, size_t offset_bytes = 0)
      : rows(rows), cols(cols), ld(ld), buf(size_t(ld * (cols > 0 ? cols : 1)), offset_bytes) {}
  R *data() { return buf.data(); }
  R &at(int64_t i, int64_t j) { return buf[size_t(i + j * ld)]; }
  void fill(Rng &rng) {
    for (size_t i = 0; i < buf.size(); ++i) buf[i] = R(rng.uniform());
  }
};

// |C - Cref| bound for C = alpha op(A) op(B) + beta C computed in precision
// R: a few units of rounding per term of the dot product and of the update.
template <class R>
double gemm_bound(int64_t k, double abs_sum, double beta_c) {
  return 4.0 * double(k + 3) * double(std::numeric_limits<R>::epsilon()) * (abs_sum + beta_c) + 1e-300;
}

// op(X)(i, j) of a column-major operand.
template <class R>
R op_at(const R *x, int64_t ld, bool trans, int64_t i, int64_t j) {
  return trans ? x[j + i * ld] : x[i + j * ld];
}

}  // namespace zor::test
