// The general matrix-vector product y := alpha op(A) x + beta y: one entry
// for the four precisions, over the element traits T. What differs by
// precision (the kernels, their choice, the plain loops) is a GemvShape<T>,
// defined in level2_gemv_<letter>.cpp; everything else is here.
//
// The entry, in order:
//  1. Return when m or n equals 0 (a negative size passes on and its loops
//     do nothing), or when alpha is 0 and beta is 1 (complex: both parts).
//  2. Scale y by beta over its logical length: real types through scale_y
//     below (a zero beta stores zeros without reading y); complex types
//     store zeros for a zero beta, else call the level-1 scal.
//  3. Return when alpha is 0: neither a nor x is read, and x's far end is
//     never formed.
//  4. The shape's kernel path, when its alignment test passes: with unit
//     strides one kernel call on the whole matrix, else the packed product
//     below. Otherwise the shape's plain loops.
// The start of a vector with a negative increment is its far end:
// x + (1 - len) * inc. op is read from the first byte of trans: 'N', 'T',
// and any other byte the conjugate transpose (complex) or the transpose.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <zor/blas.h>

#include "blas/level1_skeleton.hpp"
#include "blas/parameters.hpp"
#include "frame/element.hpp"
#include "frame/imports.hpp"
#include "frame/letters.hpp"
#include "frame/simd.hpp"

namespace zor::blas::gemv {

// First element of a vector of len elements walked with inc.
template <class E>
inline E *vector_start(E *p, int64_t len, int64_t inc) {
  return inc < 0 ? p + (1 - len) * inc : p;
}

// y := beta y over len real elements at inc (y at its logical start).
// FillFrom is the length from which a zero beta with unit stride becomes a
// plain fill of bytes; below it, and for multiplication, vectors run from 8
// elements on after a peel of single elements up to the 16-byte boundary.
// A strided y goes eight elements a pass when inc is not 0 and at least 8
// are left; an inc of 0 scales the one element len times. y may stand at any
// byte offset (then no vectors).
template <class R, int FillFrom>
void scale_y(int64_t len, R beta, R *y, int64_t inc) {
  constexpr int L = lanes<R>;
  const bool zero = beta == R(0);
  auto one = [&](R *p) { store_any(p, zero ? R(0) : beta * load_any(p)); };
  if (inc == 1) {
    if (zero && len >= FillFrom) {
      std::memset(y, 0, size_t(len) * sizeof(R));
      return;
    }
    int64_t i = 0;
    if (len >= fixed::kScaleVectorFrom && aligned_to(y, sizeof(R))) {
      for (; i < len && !aligned_to(y + i, 16); ++i) one(y + i);
      const auto b = simd::splat(beta), z = simd::splat(R(0));
      for (; i + 8 <= len; i += 8)
        for (int k = 0; k < 8; k += L) simd::store_a(y + i + k, zero ? z : simd::mul(b, simd::load_a(y + i + k)));
    }
    for (; i < len; ++i) one(y + i);
    return;
  }
  int64_t i = 0;
  if (zero) {
    for (; i + 2 <= len; i += 2) store_any(y + i * inc, R(0)), store_any(y + (i + 1) * inc, R(0));
  } else if (inc != 0) {
    for (; i + 8 <= len; i += 8)
      for (int k = 0; k < 8; ++k) one(y + (i + k) * inc);
  }
  for (; i < len; ++i) one(y + i * inc);
}

// Copies between a strided vector and a packed buffer: eight elements a pass
// when inc is not 0 and at least 8 are left, then one by one.
template <class E>
inline void gather(int64_t len, const E *x, int64_t inc, E *buf) {
  int64_t i = 0;
  if (inc != 0)
    for (; i + 8 <= len; i += 8)
      for (int k = 0; k < 8; ++k) buf[i + k] = x[(i + k) * inc];
  for (; i < len; ++i) buf[i] = x[i * inc];
}
template <class E>
inline void scatter(int64_t len, const E *buf, E *y, int64_t inc) {
  int64_t i = 0;
  if (inc != 0)
    for (; i + 8 <= len; i += 8)
      for (int k = 0; k < 8; ++k) y[(i + k) * inc] = buf[i + k];
  for (; i < len; ++i) y[i * inc] = buf[i];
}

// Columns in groups of four, then one group of the 3, 2 or 1 left:
// group.template operator()<Cols>(j) for the group from column j.
template <class Group>
ZOR_HOT inline void column_groups(int64_t n, Group &&group) {
  int64_t j = 0;
  for (; j + 4 <= n; j += 4) group.template operator()<4>(j);
  switch (n - j) {
    case 3: group.template operator()<3>(j); break;
    case 2: group.template operator()<2>(j); break;
    case 1: group.template operator()<1>(j); break;
    default: break;
  }
}

// The column readers of a group of Cols columns (at most four), from a row
// at which column 0 stands on a 16-byte boundary to row m, for elements two
// to a vector: with an odd lda the odd columns stand 8 bytes off and are
// read by shift-merge (Column<true>), the others by aligned loads. Unused
// readers point at column 0. A shift-merged read reaches one vector ahead,
// so when no single row follows the vectors the last pair of rows is read
// apart (last_pair_apart) and `vectors` counts the rest.
template <template <bool> class Column, bool OddLda, int Cols>
struct ColumnGroup {
  static constexpr bool shifted = OddLda && Cols > 1;
  Column<false> r0;
  Column<OddLda && (Cols > 1)> r1;
  Column<false> r2;
  Column<OddLda && (Cols > 3)> r3;
  int64_t vectors;
  bool last_pair_apart;
  template <class E>
  ColumnGroup(const E *const *c, int64_t i, int64_t m)
      : r0(c[0] + i, c[0] + m), r1(c[Cols > 1 ? 1 : 0] + i, c[Cols > 1 ? 1 : 0] + m),
        r2(c[Cols > 2 ? 2 : 0] + i, c[Cols > 2 ? 2 : 0] + m), r3(c[Cols > 3 ? 3 : 0] + i, c[Cols > 3 ? 3 : 0] + m),
        vectors((m - i) / 2), last_pair_apart(shifted && vectors > 0 && ((m - i) & 1) == 0) {
    vectors -= last_pair_apart;
  }
};

// A kernel: y := y + alpha op(A) x on unit-stride x and y, m rows, n columns.
template <class E>
using Kernel = void (*)(int64_t m, int64_t n, E alpha, const E *a, int64_t lda, const E *x, E *y);

// A product on strided vectors, through the two stack buffers: the
// column-block one holds the block's part of x ('N') or of y (transposed),
// the row-chunk one the chunk's part of the other vector. The kernel never
// sees a stride; a transposed sum reaches y one row chunk at a time.
template <class E>
void strided_product(bool no_trans, int64_t m, int64_t n, E alpha, const E *a, int64_t lda, const E *xs,
                     int64_t incx, E *ys, int64_t incy, Kernel<E> kernel) {
  constexpr int64_t NB = fixed::kColumnBlock, MB = fixed::kRowChunk;
  alignas(16) E cols[NB];
  alignas(16) E rows[MB];
  for (int64_t jb = 0; jb < n; jb += NB) {
    const int64_t nc = n - jb < NB ? n - jb : NB;
    if (no_trans) gather(nc, xs + jb * incx, incx, cols);
    else gather(nc, ys + jb * incy, incy, cols);
    for (int64_t ib = 0; ib < m; ib += MB) {
      const int64_t mr = m - ib < MB ? m - ib : MB;
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

// Plain loops of the complex products, for bases off their element
// alignment: one column at a time; 'N' adds (alpha x[j]) a[i, j] to y[i],
// transposed y[j] gets alpha times the column's sum in row order.
template <class E>
void plain_complex(Trans op, int64_t m, int64_t n, E alpha, const E *a, int64_t lda, const E *x, int64_t incx,
                   E *y, int64_t incy) {
  for (int64_t j = 0; j < n; ++j) {
    const E *c = a + j * lda;
    if (op == Trans::N) {
      const E t = alpha * load_any(x + j * incx);
      for (int64_t i = 0; i < m; ++i) store_any(y + i * incy, load_any(y + i * incy) + t * load_any(c + i));
    } else {
      E s{0, 0};
      for (int64_t i = 0; i < m; ++i) s = s + conj_if(load_any(c + i), op == Trans::C) * load_any(x + i * incx);
      store_any(y + j * incy, load_any(y + j * incy) + alpha * s);
    }
  }
}

// What a precision supplies:
//   kernel_path(a, x, y, incx, incy)  whether the kernels may run
//   kernel(op, lda)                   the kernel for the operation and lda
//   plain(op, m, n, alpha, a, lda, xs, incx, ys, incy)   the other calls,
//                                     x and y at their logical starts
//   kFillFrom                         (real types) scale_y's fill threshold
template <class T> struct GemvShape;

template <class T>
void gemv(const char *trans, const zor_int *m_, const zor_int *n_, const void *alpha_, const void *a_,
          const zor_int *lda_, const void *x_, const zor_int *incx_, const void *beta_, void *y_,
          const zor_int *incy_) {
  using E = typename T::elem;
  using Shape = GemvShape<T>;
  const int64_t m = *m_, n = *n_, lda = *lda_, incx = *incx_, incy = *incy_;
  const E alpha = load_any(static_cast<const E *>(alpha_)), beta = load_any(static_cast<const E *>(beta_));
  const E *a = static_cast<const E *>(a_), *x = static_cast<const E *>(x_);
  E *y = static_cast<E *>(y_);
  if (m == 0 || n == 0) return;
  if (is_zero(alpha) && is_one(beta)) return;
  const Trans op = product_trans<T::complex>(trans);
  const bool no_trans = op == Trans::N;
  const int64_t leny = no_trans ? m : n, lenx = no_trans ? n : m;
  E *ys = vector_start(y, leny, incy);
  if constexpr (T::complex) {
    if (is_zero(beta)) {
      for (int64_t i = 0; i < leny; ++i) store_any(ys + i * incy, E{0, 0});
    } else if (!is_one(beta)) {
      imports<T>::scal(&leny, &beta, y, &incy);
    }
  } else if (beta != E(1)) {
    scale_y<E, Shape::kFillFrom>(leny, beta, ys, incy);
  }
  if (is_zero(alpha)) return;
  const E *xs = vector_start(x, lenx, incx);
  if (!Shape::kernel_path(a, x, y, incx, incy)) {
    Shape::plain(op, m, n, alpha, a, lda, xs, incx, ys, incy);
    return;
  }
  const Kernel<E> kernel = Shape::kernel(op, lda);
  if (incx == 1 && incy == 1) kernel(m, n, alpha, a, lda, x, y);
  else strided_product(no_trans, m, n, alpha, a, lda, xs, incx, ys, incy, kernel);
}

}  // namespace zor::blas::gemv
