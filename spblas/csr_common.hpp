// What all CSR kernels share: the kind a kernel name spells, the view of the
// caller's row arrays, dense operands seen as strided vectors, and the
// complex reciprocal of the pivots. A stored value is conjugated where it is
// read (conj_if of frame/element.hpp).
//
// Row i (one-based) occupies positions row_begin[i-1]-b .. row_end[i-1]-b-1
// where b = row_begin[0] is read from the data; the base of the kernel name
// applies to the numbers in cols only. Columns are turned zero-based on
// reading, so "column c against row i" is always c against i-1.
#pragma once
#include <cstdint>
#include <type_traits>

#include "frame/element.hpp"

namespace zor::spblas {

// The letters of a kernel name after the precision and format.
struct Kind {
  int base;        // 0 or 1: numbers in cols are zero- or one-based
  char op;         // n, t (transposed), c (conjugate transposed), s (conjugated)
  char structure;  // g, s, h, t, a, d
  char part;       // l, u or _
  char diag;       // n, u or _
};

// 0 - v in each part: +0 stays +0.
template <class E>
inline E negate_from_zero(E v) {
  if constexpr (is_complex_v<E>) return {decltype(v.re)(0) - v.re, decltype(v.re)(0) - v.im};
  else return E(0) - v;
}

// -v in each part: the sign bits flipped.
template <class E>
inline E negated(E v) {
  if constexpr (is_complex_v<E>) return {-v.re, -v.im};
  else return -v;
}

// The reciprocal of a pivot. Complex: one real reciprocal d = 1/(re^2 + im^2)
// and the conjugate scaled by it; no guard against overflow.
template <class E>
inline E reciprocal(E v) {
  if constexpr (is_complex_v<E>) {
    auto d = decltype(v.re)(1) / (v.re * v.re + v.im * v.im);
    return {v.re * d, -v.im * d};
  } else {
    return E(1) / v;
  }
}

// a / b: a true division in the real precisions, multiplication by the
// reciprocal of b in the complex ones.
template <class E>
inline E divide(E a, E b) {
  if constexpr (is_complex_v<E>) return a * reciprocal(b);
  else return a / b;
}

// The caller's CSR arrays.
template <class E, class I, int Base>
struct Csr {
  const E *vals;
  const I *cols;
  const I *row_begin;
  const I *row_end;
  int64_t b;  // base of the row arrays, from the data

  Csr(const E *v, const I *c, const I *rb, const I *re) : vals(v), cols(c), row_begin(rb), row_end(re), b(*rb) {}
  int64_t begin(int64_t i) const { return int64_t(row_begin[i - 1]) - b; }  // i one-based
  int64_t end(int64_t i) const { return int64_t(row_end[i - 1]) - b; }
  int64_t col(int64_t k) const { return int64_t(cols[k]) - Base; }  // zero-based column of entry k
};

// A dense vector: x(i) = p[i * inc]. mv kernels see x and y with inc 1; mm
// and sm kernels see one dense column (c: inc = ld) or one row of them.
template <class E>
struct Strided {
  E *p;
  int64_t inc;
  E &operator()(int64_t i) const { return p[i * inc]; }
};
template <class E>
struct Contiguous {
  E *p;
  E &operator()(int64_t i) const { return p[i]; }
};

// Column j (zero-based) of a dense operand in convention c (row-major,
// strided) or f (column-major, contiguous).
template <int Base, class E>
inline auto dense_column(E *a, int64_t ld, int64_t j) {
  if constexpr (Base == 0) return Strided<E>{a + j, ld};
  else return Contiguous<E>{a + j * ld};
}

// Rows of a chunked loop: count = rows / min(rows, R) chunks, the last one
// taking the rest. No work is added between chunks, so the chunking is an
// order of the loops only; rows < 1 does nothing (no chunk length exists).
template <int64_t R, class F>
inline void for_row_chunks(int64_t lo, int64_t hi, F &&body) {
  int64_t rows = hi - lo + 1;
  if (rows < 1) return;
  int64_t len = rows < R ? rows : R;
  int64_t count = rows / len;
  for (int64_t c = 0; c < count; ++c) {
    int64_t a = lo + c * len, z = (c == count - 1) ? hi : a + len - 1;
    body(a, z);
  }
}

}  // namespace zor::spblas
