// y := alpha op(A) x + beta y in double precision.
//
// The entry sorts a call onto four kernels by transposition and by the
// parity of lda (an odd lda puts consecutive columns in alternating 16-byte
// phase). With unit strides the chosen kernel runs once on the whole
// matrix. Any other increment goes through two packing buffers in this
// frame, 128 and 1000 elements: blocks of 128 columns, and in each chunks of
// 1000 rows; the kernel never sees a stride. A transposed product's sum is
// therefore added to y one chunk of 1000 rows at a time. A base of a, x or y
// that is not 8-byte aligned takes plain loops instead.
//
// Column-update kernel ('N'): four columns a pass, t_k = alpha x[j + k]
// broadcast; each element of y is read and written once per pass as
// ((((y + t0 a0) + t1 a1) + t2 a2) + t3 a3), which is also the order of the
// single peeled row when column 0 starts 8 bytes off a 16-byte boundary.
// Rows go 16 a step, then 8, 4, 2 and a last one; a tail of 3, 2 or 1
// columns goes 8, 4, 2, 1. The matrix is read with aligned loads only (odd
// columns of an odd lda by shift-merge); y in 8-byte halves when it is out
// of the columns' phase.
//
// Dot kernel (transposed): one two-lane accumulator per column. If column 0
// of the group is 8 bytes off, its first row goes to lane 0 alone; then the
// rows in pairs (lane 0 the first of each pair), and a last odd row to lane
// 0. At the end y[j] := y[j] + (alpha acc[0] + alpha acc[1]): alpha is
// applied before the two lanes are added.
//
// Both kernels are memory bound: the matrix streams once at full rate.
// Measured on this machine against the serial OpenBLAS (its own kernel
// choice), unit strides: n = 1000 from memory 1.02x to 1.03x for 'N' and
// 'T', even and odd lda; n = 300 in cache 0.92x to 1.01x ('T' with odd lda,
// where two of four columns are merged, 0.93x).
#include <zor/blas.h>

#include <algorithm>
#include <type_traits>

#include "blas/level2_gemv.hpp"

namespace zor::blas::gemv {
namespace {

using simd::f64x2;

// Reader of one column from a 16-byte boundary of column 0 on: aligned, or
// (Shifted) by shift-merge. A shifted vector's second aligned read reaches
// one row past it, so when no single row follows the vectors the last pair
// of rows is read element by element (same arithmetic). A group of fewer
// columns points its unused readers at column 0. A reader with no rows left
// (the one row of m = 1 taken before the vectors) reads nothing: its first
// aligned vector would hold the element after the column.
// The merge of two doubles is a shuffle in the floating-point domain.
struct ShiftedColumn {
  const double *a;  // the aligned vector that holds the next row in its high lane
  f64x2 prev;
  ShiftedColumn(const double *p, const double *end)
      : a(p - 1), prev(p < end ? simd::load_a(p - 1) : simd::zero<f64x2>()) {}
  ZOR_HOT f64x2 next() {
    const f64x2 nx = simd::load_a(a + 2);
    const f64x2 v = simd::high_low(prev, nx);
    prev = nx;
    a += 2;
    return v;
  }
};
template <bool Shifted>
using Column = std::conditional_t<Shifted, ShiftedColumn, InStream<double, 0>>;

ZOR_HOT inline f64x2 pair_at(const double *p) { return simd::make(p[0], p[1]); }

ZOR_HOT inline f64x2 load_y(const double *p, bool in_phase) {
  return in_phase ? simd::load_a(p) : simd::load_half_hi(simd::load_lo(p), p + 1);
}
ZOR_HOT inline void store_y(double *p, f64x2 v, bool in_phase) {
  if (in_phase) {
    simd::store_a(p, v);
  } else {
    simd::store_lo(p, v);
    simd::store_hi(p + 1, v);
  }
}

// Rows [i, m) of Cols columns; column 0 is 16-byte aligned at row i.
template <bool OddLda, bool YInPhase, int Cols>
ZOR_HOT inline void n_rows(int64_t i, int64_t m, const double *const *c, const f64x2 *t, const double *ts,
                           double *y) {
  constexpr int Main = Cols == 4 ? 8 : 4;  // vectors a step
  ColumnGroup<Column, OddLda, Cols> g(c, i, m);
  double *yp = y + i;
  auto step = [&]() ZOR_HOT {
    f64x2 v = load_y(yp, YInPhase);
    v = simd::add(v, simd::mul(t[0], g.r0.next()));
    if constexpr (Cols > 1) v = simd::add(v, simd::mul(t[1], g.r1.next()));
    if constexpr (Cols > 2) v = simd::add(v, simd::mul(t[2], g.r2.next()));
    if constexpr (Cols > 3) v = simd::add(v, simd::mul(t[3], g.r3.next()));
    store_y(yp, v, YInPhase);
    yp += 2;
  };
  ladder<Main>(g.vectors, [&]<int Count>() ZOR_HOT {
#pragma GCC unroll 8
    for (int u = 0; u < Count; ++u) step();
  });
  if (g.last_pair_apart) {
    f64x2 v = load_y(yp, YInPhase);
    for (int k = 0; k < Cols; ++k) v = simd::add(v, simd::mul(t[k], pair_at(c[k] + m - 2)));
    store_y(yp, v, YInPhase);
  }
  if ((m - i) & 1) {
    const int64_t r = m - 1;
    double v = y[r];
    for (int k = 0; k < Cols; ++k) v = v + ts[k] * c[k][r];
    y[r] = v;
  }
}

template <bool OddLda, int Cols>
void n_columns(int64_t m, const double *a, int64_t lda, const double *x, double alpha, double *y) {
  const double *c[Cols];
  double ts[Cols];
  f64x2 t[4];
  for (int k = 0; k < Cols; ++k) {
    c[k] = a + k * lda;
    ts[k] = alpha * x[k];
    t[k] = simd::splat(ts[k]);
  }
  if (m < 1) return;
  int64_t i = 0;
  if (!aligned_to(c[0], 16)) {
    double v = y[0];
    for (int k = 0; k < Cols; ++k) v = v + ts[k] * c[k][0];
    y[0] = v;
    i = 1;
  }
  if (aligned_to(y + i, 16)) n_rows<OddLda, true, Cols>(i, m, c, t, ts, y);
  else n_rows<OddLda, false, Cols>(i, m, c, t, ts, y);
}

template <bool OddLda, bool XInPhase, int Cols>
ZOR_HOT inline void t_rows(int64_t i, int64_t m, const double *const *c, const double *x, f64x2 *acc) {
  constexpr int Main = Cols == 4 ? 8 : 4;
  ColumnGroup<Column, OddLda, Cols> g(c, i, m);
  const double *xp = x + i;
  f64x2 s0 = acc[0], s1 = acc[Cols > 1 ? 1 : 0], s2 = acc[Cols > 2 ? 2 : 0], s3 = acc[Cols > 3 ? 3 : 0];
  auto step = [&]() ZOR_HOT {
    const f64x2 xv = load_y(xp, XInPhase);
    s0 = simd::add(s0, simd::mul(g.r0.next(), xv));
    if constexpr (Cols > 1) s1 = simd::add(s1, simd::mul(g.r1.next(), xv));
    if constexpr (Cols > 2) s2 = simd::add(s2, simd::mul(g.r2.next(), xv));
    if constexpr (Cols > 3) s3 = simd::add(s3, simd::mul(g.r3.next(), xv));
    xp += 2;
  };
  ladder<Main>(g.vectors, [&]<int Count>() ZOR_HOT {
#pragma GCC unroll 8
    for (int u = 0; u < Count; ++u) step();
  });
  acc[0] = s0;
  if constexpr (Cols > 1) acc[1] = s1;
  if constexpr (Cols > 2) acc[2] = s2;
  if constexpr (Cols > 3) acc[3] = s3;
  if (g.last_pair_apart) {
    const f64x2 xv = load_y(xp, XInPhase);
    for (int k = 0; k < Cols; ++k) acc[k] = simd::add(acc[k], simd::mul(pair_at(c[k] + m - 2), xv));
  }
  if ((m - i) & 1) {
    const int64_t r = m - 1;
    for (int k = 0; k < Cols; ++k) acc[k] = simd::add_lo(acc[k], simd::set_lo(c[k][r] * x[r]));
  }
}

template <bool OddLda, int Cols>
void t_columns(int64_t m, const double *a, int64_t lda, const double *x, double alpha, double *y) {
  const double *c[Cols];
  f64x2 acc[Cols];
  for (int k = 0; k < Cols; ++k) {
    c[k] = a + k * lda;
    acc[k] = simd::zero<f64x2>();
  }
  if (m >= 1) {
    int64_t i = 0;
    if (!aligned_to(c[0], 16)) {
      for (int k = 0; k < Cols; ++k) acc[k] = simd::add_lo(acc[k], simd::set_lo(c[k][0] * x[0]));
      i = 1;
    }
    if (aligned_to(x + i, 16)) t_rows<OddLda, true, Cols>(i, m, c, x, acc);
    else t_rows<OddLda, false, Cols>(i, m, c, x, acc);
  }
  const f64x2 al = simd::splat(alpha);
  for (int k = 0; k < Cols; ++k) y[k] = y[k] + simd::hsum(simd::mul(acc[k], al));
}

// Plain loops for a base that is not 8-byte aligned (elements are read and
// written at any byte offset): columns two a pass.
void plain(Trans op, int64_t m, int64_t n, double alpha, const double *a, int64_t lda, const double *x,
           int64_t incx, double *y, int64_t incy) {
  auto at = [](const double *p, int64_t i) { return load_any(p + i); };
  int64_t j = 0;
  if (op == Trans::N) {
    for (; j + 2 <= n; j += 2) {
      const double t0 = alpha * at(x, j * incx), t1 = alpha * at(x, (j + 1) * incx);
      const double *a0 = a + j * lda, *a1 = a0 + lda;
      for (int64_t i = 0; i < m; ++i) store_any(y + i * incy, (at(y, i * incy) + t0 * at(a0, i)) + t1 * at(a1, i));
    }
    for (; j < n; ++j) {
      const double t0 = alpha * at(x, j * incx), *a0 = a + j * lda;
      for (int64_t i = 0; i < m; ++i) store_any(y + i * incy, at(y, i * incy) + t0 * at(a0, i));
    }
    return;
  }
  for (; j + 2 <= n; j += 2) {
    const double *a0 = a + j * lda, *a1 = a0 + lda;
    double s0 = 0.0, s1 = 0.0;
    for (int64_t i = 0; i < m; ++i) {
      s0 = s0 + at(a0, i) * at(x, i * incx);
      s1 = s1 + at(a1, i) * at(x, i * incx);
    }
    store_any(y + j * incy, at(y, j * incy) + alpha * s0);
    store_any(y + (j + 1) * incy, at(y, (j + 1) * incy) + alpha * s1);
  }
  for (; j < n; ++j) {
    const double *a0 = a + j * lda;
    double s0 = 0.0;
    for (int64_t i = 0; i < m; ++i) s0 = s0 + at(a0, i) * at(x, i * incx);
    store_any(y + j * incy, at(y, j * incy) + alpha * s0);
  }
}

// Four-column groups, then a variant for the 3, 2 or 1 columns left.
template <bool OddLda, bool NoTrans>
void run_kernel(int64_t m, int64_t n, double alpha, const double *a, int64_t lda, const double *x, double *y) {
  // 'N' walks x by column and y by row; transposed the other way round.
  column_groups(n, [&]<int Cols>(int64_t j) {
    if constexpr (NoTrans) n_columns<OddLda, Cols>(m, a + j * lda, lda, x + j, alpha, y);
    else t_columns<OddLda, Cols>(m, a + j * lda, lda, x, alpha, y + j);
  });
}

}  // namespace

template <>
struct GemvShape<D> {
  static constexpr int kFillFrom = fixed::kFillFromDouble;
  static bool kernel_path(const double *a, const double *x, const double *y, int64_t, int64_t) {
    return aligned_to(a, 8) && aligned_to(x, 8) && aligned_to(y, 8);
  }
  // By transposition and by the parity of lda.
  static Kernel<double> kernel(Trans op, int64_t lda) {
    const bool odd = (lda & 1) != 0;
    if (op == Trans::N) return odd ? run_kernel<true, true> : run_kernel<false, true>;
    return odd ? run_kernel<true, false> : run_kernel<false, false>;
  }
  static constexpr auto plain = gemv::plain;
};

}  // namespace zor::blas::gemv

// clang-format off
ZOR_API void zor_blas_xdgemv(const char *trans, const zor_int *m, const zor_int *n, const double *alpha, const double *a, const zor_int *lda, const double *x, const zor_int *incx, const double *beta, double *y, const zor_int *incy) { zor::blas::gemv::gemv<zor::D>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
// clang-format on
