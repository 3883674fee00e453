// Complex micro-kernels (single and double complex), both kernel rows.
//
// Contract, in complex elements unless told otherwise:
//   C(0:m, 0:n) += Apacked * Bpacked
// where Apacked is ceil(m / unroll_m) panels of unroll_m rows, panel p at
// a + p * a_stride, each depth step holding unroll_m consecutive elements
// (padding lanes zero), and Bpacked is ceil(n / 2) panels, panel q at
// b + q * b_stride, each depth step holding two consecutive elements of the
// panel's two columns. The depth k is already padded to the row's depth
// multiple, and the padding steps are zero in both operands.
//   A tail panel of B (odd n) is compact in row 0 (one element per depth
// step) and a whole vector wide in row 1 (two elements in single precision,
// the second zero; one in double).
//   Alpha has been applied by the A copy; the kernels always accumulate into
// C, which may sit at any 8-byte boundary with any ldc.
//
// Shapes, in vectors of 16 bytes: a tile is two A vectors (4 single or 2
// double complex rows) by two columns, eight accumulators.
//   row 0: B widened into `dup`, per depth step and column the real part and
//     the imaginary part each filling a vector; accumulators hold A x Re(b)
//     and A x Im(b) apart; the epilogue swaps re/im lanes of the second and
//     combines by an alternating subtract/add.
//   row 1: B as (re, im) pairs filling a vector (widened into `dup` in single
//     precision, read from the panel in double) and its re/im lane swap
//     formed on the fly; accumulators hold A x B and A x swap(B); after the
//     depth loop a horizontal subtract gives the real parts, a horizontal add
//     the imaginary parts. No sign flips happen in the depth loop.
// Both rows form every element as (sum ar*br - sum ai*bi) + i (sum ai*br +
// sum ar*bi), each sum taken in depth order, so the two rows and the scalar
// row-tail kernel agree to the last bit.
#pragma once
#include <cstdint>

#include "frame/simd.hpp"
#include "frame/traits.hpp"

namespace zor::gemm {

// C is read and written with aligned moves when the kernel knows it may.
template <class V, bool Aligned, class R>
inline V load_c(const R *p) {
  if constexpr (Aligned) return simd::load_a(p);
  else return simd::load_u(p);
}
template <bool Aligned, class R, class V>
inline void store_c(R *p, V v) {
  if constexpr (Aligned) simd::store_a(p, v);
  else simd::store_u(p, v);
}

template <class T>
struct ComplexShape {
  static constexpr int lanes = T::real_lanes;        // reals per vector
  static constexpr int per_vector = lanes / 2;       // complex elements per vector
  static constexpr int unroll_m = 2 * per_vector;    // rows of a tile
  static constexpr int unroll_n = 2;                 // columns of a tile
};

// The main kernels run over the full A panels (m a multiple of unroll_m);
// the row-tail kernel over the r < unroll_m rows of one padded panel.
// Pointers are to the real parts; strides and ldc in complex elements.
template <class T>
void complex_main_row0(int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
                       const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
                       typename T::real *dup);
template <class T>
void complex_main_row1(int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
                       const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
                       typename T::real *dup);
// tail_width: elements per depth step in B's tail panel (1 in row 0; a
// whole vector in row 1).
template <class T>
void complex_row_tail(int64_t r, int64_t n, int64_t k, const typename T::real *a, const typename T::real *b,
                      int64_t b_stride, int tail_width, typename T::real *c, int64_t ldc);

// The whole product over m rows: main kernel on the full panels, then the
// row tail. Row is 0 or 1.
template <class T, int Row>
void complex_kernel(int64_t m, int64_t n, int64_t k, const typename T::real *a, int64_t a_stride,
                    const typename T::real *b, int64_t b_stride, typename T::real *c, int64_t ldc,
                    typename T::real *dup);

// The entries bound in the kernel tables (KernelFn of gemm/desc.hpp): m, n,
// k, strides and ldc by reference; alpha, beta and flag are not looked at,
// since the complex rows' plans always pack B.
void gemm_kernel_c(const char *, const char *, const int64_t *m, const int64_t *n, const int64_t *k, const void *,
                   const void *a, const int64_t *a_stride, const void *b, const int64_t *b_stride, const void *,
                   void *c, const int64_t *ldc, void *dup, int32_t);
void gemm_kernel_z(const char *, const char *, const int64_t *m, const int64_t *n, const int64_t *k, const void *,
                   const void *a, const int64_t *a_stride, const void *b, const int64_t *b_stride, const void *,
                   void *c, const int64_t *ldc, void *dup, int32_t);
void gemm_kernel_c_bvr(const char *, const char *, const int64_t *m, const int64_t *n, const int64_t *k,
                       const void *, const void *a, const int64_t *a_stride, const void *b,
                       const int64_t *b_stride, const void *, void *c, const int64_t *ldc, void *dup, int32_t);
void gemm_kernel_z_bvr(const char *, const char *, const int64_t *m, const int64_t *n, const int64_t *k,
                       const void *, const void *a, const int64_t *a_stride, const void *b,
                       const int64_t *b_stride, const void *, void *c, const int64_t *ldc, void *dup, int32_t);

}  // namespace zor::gemm
