// Shared frame of the general matrix-vector products y := alpha op(A) x + beta y.
//
// Every real gemv opens the same way: nothing happens when m or n equals 0
// (a negative size passes on and its loops do nothing), nor when alpha is 0
// and beta is 1; then y is scaled by beta, with beta = 0 storing zeros
// without reading y; then alpha = 0 ends the call. The start of a vector
// with a negative increment is its far end: x + (1 - len) * inc.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/simd.hpp"

namespace zor::blas::gemv {

inline bool is_no_trans(char t) { return t == 'N' || t == 'n'; }

inline bool aligned(const void *p, size_t bytes) { return (reinterpret_cast<uintptr_t>(p) & (bytes - 1)) == 0; }

// First element of a vector of len elements walked with inc.
template <class T>
inline T *vector_start(T *p, int64_t len, int64_t inc) {
  return inc < 0 ? p + (1 - len) * inc : p;
}

// y := beta y over len elements at inc (y already at its logical start).
// FillFrom is the length from which a zero beta with unit stride becomes a
// plain fill of bytes (13 for doubles, 25 for floats); below it, and for
// multiplication, vectors run from 8 elements on after a peel of single
// elements up to the 16-byte boundary. A strided y goes eight elements a
// pass when inc is not 0 and at least 8 are left; an inc of 0 scales the one
// element len times.
template <class R, int FillFrom>
void scale_y(int64_t len, R beta, R *y, int64_t inc) {
  using V = decltype(simd::splat(R(0)));
  constexpr int L = int(16 / sizeof(R));
  const bool zero = beta == R(0);
  if (inc == 1) {
    if (zero && len >= FillFrom) {
      std::memset(y, 0, size_t(len) * sizeof(R));
      return;
    }
    int64_t i = 0;
    if (len >= 8 && aligned(y, sizeof(R))) {
      for (; i < len && !aligned(y + i, 16); ++i) y[i] = zero ? R(0) : beta * y[i];
      const V b = simd::splat(beta), z = simd::splat(R(0));
      for (; i + 8 <= len; i += 8)
        for (int k = 0; k < 8; k += L) simd::store_a(y + i + k, zero ? z : simd::mul(b, simd::load_a(y + i + k)));
    }
    for (; i < len; ++i) y[i] = zero ? R(0) : beta * y[i];
    return;
  }
  int64_t i = 0;
  if (zero) {
    for (; i + 2 <= len; i += 2) y[i * inc] = R(0), y[(i + 1) * inc] = R(0);
  } else if (inc != 0) {
    for (; i + 8 <= len; i += 8)
      for (int k = 0; k < 8; ++k) y[(i + k) * inc] = beta * y[(i + k) * inc];
  }
  for (; i < len; ++i) y[i * inc] = zero ? R(0) : beta * y[i * inc];
}

// The opening above, shared by every real gemv: true when the product itself
// remains to be added, with xs and ys at the vectors' logical starts.
template <class R, int FillFrom>
bool open_product(bool no_trans, int64_t m, int64_t n, R alpha, const R *x, int64_t incx, R beta, R *y,
                  int64_t incy, const R *&xs, R *&ys) {
  if (m == 0 || n == 0) return false;
  if (alpha == R(0) && beta == R(1)) return false;
  const int64_t leny = no_trans ? m : n, lenx = no_trans ? n : m;
  xs = vector_start(x, lenx, incx);
  ys = vector_start(y, leny, incy);
  if (beta != R(1)) scale_y<R, FillFrom>(leny, beta, ys, incy);
  return alpha != R(0);
}

// Copies between a strided vector and a packed buffer: eight elements a pass
// when inc is not 0 and at least 8 are left, then one by one.
template <class R>
inline void gather(int64_t len, const R *x, int64_t inc, R *buf) {
  int64_t i = 0;
  if (inc != 0)
    for (; i + 8 <= len; i += 8)
      for (int k = 0; k < 8; ++k) buf[i + k] = x[(i + k) * inc];
  for (; i < len; ++i) buf[i] = x[i * inc];
}
template <class R>
inline void scatter(int64_t len, const R *buf, R *y, int64_t inc) {
  int64_t i = 0;
  if (inc != 0)
    for (; i + 8 <= len; i += 8)
      for (int k = 0; k < 8; ++k) y[(i + k) * inc] = buf[i + k];
  for (; i < len; ++i) y[i * inc] = buf[i];
}

// A product on strided vectors, through the two stack buffers: the
// 128-element one holds the column block's part of x ('N') or of y
// (transposed), the 1000-element one the row chunk's part of the other
// vector. kernel(m, n, alpha, a, lda, x, y) runs on unit-stride vectors.
template <class E, class Alpha, class Kernel>
void strided_product(bool no_trans, int64_t m, int64_t n, Alpha alpha, const E *a, int64_t lda, const E *xs,
                     int64_t incx, E *ys, int64_t incy, Kernel kernel) {
  alignas(16) E cols[128];
  alignas(16) E rows[1000];
  for (int64_t jb = 0; jb < n; jb += 128) {
    const int64_t nc = n - jb < 128 ? n - jb : 128;
    if (no_trans) gather(nc, xs + jb * incx, incx, cols);
    else gather(nc, ys + jb * incy, incy, cols);
    for (int64_t ib = 0; ib < m; ib += 1000) {
      const int64_t mr = m - ib < 1000 ? m - ib : 1000;
      const E *block = a + ib + jb * lda;
      if (no_trans) {
        gather(mr, ys + ib * incy, incy, rows);
        kernel(mr, nc, alpha, block, lda, cols, rows);
        scatter(mr, rows, ys + ib * incy, incy);
      } else {
        gather(mr, xs + ib * incx, incx, rows);
        kernel(mr, nc, alpha, block, lda, rows, cols);
      }
    }
    if (!no_trans) scatter(nc, cols, ys + jb * incy, incy);
  }
}

// Column-update and dot kernels of the double product on unit-stride x and
// y: y := y + alpha A x ('N') and y := y + alpha A^T x (transposed), m rows,
// n columns. OddLda selects the form for columns in alternating 16-byte
// phase.
template <bool OddLda>
void dgemv_n_kernel(int64_t m, int64_t n, double alpha, const double *a, int64_t lda, const double *x, double *y);
template <bool OddLda>
void dgemv_t_kernel(int64_t m, int64_t n, double alpha, const double *a, int64_t lda, const double *x, double *y);

}  // namespace zor::blas::gemv
