// y := alpha op(A) x + beta y in single precision.
//
// One routine with its loops in place: no separate kernels and no packing.
// The frame is the double product's, with the byte fill of a zero beta from
// 25 elements on and a peel of up to three single elements.
//
// 'N', unit strides: four columns share one pass over y, t_k = alpha x[j + k],
// each element updated as ((((y + t0 a0) + t1 a1) + t2 a2) + t3 a3); rows are
// peeled one by one until column 0 of the group stands on a 16-byte
// boundary, then go 8 a step, then singly. A tail of 3, 2 or 1 columns has
// the same body.
//
// Transposed, unit strides: each column's sum starts with its first row;
// the next rows are peeled into it until column 0 of the group is aligned;
// then four lanes take the rows 8 a step, their total ((l0 + l1) + (l2 + l3))
// joins the sum, and the last rows are added singly. y[j] := y[j] + sum alpha.
//
// Strided forms are plain loops over the columns in order, eight elements a
// pass when the increment is not 0 and at least 8 are left.
#include <zor/blas.h>

#include "blas/level2_gemv.hpp"

namespace zor::blas::gemv {
namespace {

using simd::f32x4;

// First row at which column 0 (4-byte aligned) stands on a 16-byte boundary.
inline int64_t peel_rows(const float *c, int64_t m) {
  const int64_t p = int64_t((16 - (reinterpret_cast<uintptr_t>(c) & 15)) & 15) / 4;
  return p < m ? p : m;
}

template <int Cols>
void n_columns(int64_t m, const float *a, int64_t lda, const float *x, float alpha, float *y) {
  const float *c[Cols];
  float ts[Cols];
  f32x4 t[Cols];
  for (int k = 0; k < Cols; ++k) {
    c[k] = a + k * lda;
    ts[k] = alpha * x[k];
    t[k] = simd::splat(ts[k]);
  }
  auto row = [&](int64_t i) {
    float v = y[i];
    for (int k = 0; k < Cols; ++k) v = v + ts[k] * c[k][i];
    y[i] = v;
  };
  int64_t i = 0;
  for (const int64_t p = peel_rows(c[0], m); i < p; ++i) row(i);
  for (; i + 8 <= m; i += 8) {
#pragma GCC unroll 2
    for (int h = 0; h < 8; h += 4) {
      f32x4 v = simd::load_u(y + i + h);
      v = simd::add(v, simd::mul(t[0], simd::load_a(c[0] + i + h)));
      for (int k = 1; k < Cols; ++k) v = simd::add(v, simd::mul(t[k], simd::load_u(c[k] + i + h)));
      simd::store_u(y + i + h, v);
    }
  }
  for (; i < m; ++i) row(i);
}

template <int Cols>
void t_columns(int64_t m, const float *a, int64_t lda, const float *x, float alpha, float *y) {
  if (m < 1) return;
  const float *c[Cols];
  float s[Cols];
  f32x4 acc[Cols];
  for (int k = 0; k < Cols; ++k) {
    c[k] = a + k * lda;
    s[k] = c[k][0] * x[0];
    acc[k] = simd::zero<f32x4>();
  }
  int64_t i = 1;
  for (const int64_t p = peel_rows(c[0] + 1, m - 1) + 1; i < p; ++i)
    for (int k = 0; k < Cols; ++k) s[k] = s[k] + c[k][i] * x[i];
  if (i + 8 <= m) {
    for (; i + 8 <= m; i += 8) {
#pragma GCC unroll 2
      for (int h = 0; h < 8; h += 4) {
        const f32x4 xv = simd::load_u(x + i + h);
        acc[0] = simd::add(acc[0], simd::mul(simd::load_a(c[0] + i + h), xv));
        for (int k = 1; k < Cols; ++k) acc[k] = simd::add(acc[k], simd::mul(simd::load_u(c[k] + i + h), xv));
      }
    }
    for (int k = 0; k < Cols; ++k) {
      const f32x4 pairs = simd::hadd(acc[k], acc[k]);
      s[k] = s[k] + simd::lane0(simd::hadd(pairs, pairs));
    }
  }
  for (; i < m; ++i)
    for (int k = 0; k < Cols; ++k) s[k] = s[k] + c[k][i] * x[i];
  for (int k = 0; k < Cols; ++k) y[k] = y[k] + s[k] * alpha;
}

template <bool NoTrans>
void unit(int64_t m, int64_t n, float alpha, const float *a, int64_t lda, const float *x, float *y) {
  column_groups(n, [&]<int Cols>(int64_t j) {
    if constexpr (NoTrans) n_columns<Cols>(m, a + j * lda, lda, x + j, alpha, y);
    else t_columns<Cols>(m, a + j * lda, lda, x, alpha, y + j);
  });
}

void strided(Trans op, int64_t m, int64_t n, float alpha, const float *a, int64_t lda, const float *x,
             int64_t incx, float *y, int64_t incy) {
  for (int64_t j = 0; j < n; ++j) {
    const float *c = a + j * lda;
    int64_t i = 0;
    if (op == Trans::N) {
      const float t = alpha * x[j * incx];
      if (incy != 0)
        for (; i + 8 <= m; i += 8)
          for (int k = 0; k < 8; ++k) y[(i + k) * incy] = y[(i + k) * incy] + t * c[i + k];
      for (; i < m; ++i) y[i * incy] = y[i * incy] + t * c[i];
    } else {
      float s = 0.0f;
      if (incx != 0)
        for (; i + 8 <= m; i += 8)
          for (int k = 0; k < 8; ++k) s = s + c[i + k] * x[(i + k) * incx];
      for (; i < m; ++i) s = s + c[i] * x[i * incx];
      y[j * incy] = y[j * incy] + s * alpha;
    }
  }
}

}  // namespace

// No kernels of its own: the unit-stride loops run when both increments are
// 1 and the bases lie on float boundaries, the strided loops otherwise.
template <>
struct GemvShape<S> {
  static constexpr int kFillFrom = fixed::kFillFromSingle;
  static bool kernel_path(const float *a, const float *x, const float *y, int64_t incx, int64_t incy) {
    return incx == 1 && incy == 1 && aligned_to(a, 4) && aligned_to(x, 4) && aligned_to(y, 4);
  }
  static Kernel<float> kernel(Trans op, int64_t) { return op == Trans::N ? unit<true> : unit<false>; }
  static constexpr auto plain = strided;
};

}  // namespace zor::blas::gemv

// clang-format off
ZOR_API void zor_blas_xsgemv(const char *trans, const zor_int *m, const zor_int *n, const float *alpha, const float *a, const zor_int *lda, const float *x, const zor_int *incx, const float *beta, float *y, const zor_int *incy) { zor::blas::gemv::gemv<zor::S>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
// clang-format on
