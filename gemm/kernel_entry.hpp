// The micro-kernel entry of every precision and row, and the pieces both
// halves (real and complex) share: the choice of the main kernel, the C
// update of a finished tile, the row-tail kernel and the two widening passes
// of B.
//
// An entry (gemm_kernel<T, Row>) splits M into the rows that full A panels
// cover and a remainder: the full panels go to the main kernel that the call's
// variant selects from the row's table kMainKernels<T, Row>, the remaining
// rows to the row-tail kernel. Variants: the real rows look at the flag (B
// packed or in place), beta (zero: store without reading C) and whether C
// allows aligned vector access; the complex rows look only at C's alignment,
// since their plans always pack B and they always add into C.
#pragma once
#include <array>
#include <cstdint>

#include "frame/element.hpp"
#include "frame/simd.hpp"
#include "gemm/desc.hpp"
#include "gemm/panels.hpp"

namespace zor::gemm {

// The flag byte of an in-place B says "not transposed" when its bits 0x4E are
// all set: 'N' and 'n' do, 'T', 't', 'C', 'c' do not.
inline bool b_transposed(const char *transb) { return (static_cast<unsigned char>(*transb) & 0x4E) != 0x4E; }

// Element (l, j) of op(B) read in place, zero past the true depth k.
template <class R>
inline R in_place_b(const R *b, int64_t ldb, bool trans, int64_t k, int64_t l, int64_t j) {
  if (l >= k) return R(0);
  return trans ? b[j + l * ldb] : b[l + j * ldb];
}

// C allows aligned vector access when c and the column stride in bytes are
// both multiples of 16.
template <class T>
inline bool c_aligned(const void *c, int64_t ldc) {
  return aligned_to(c, 16) && (uint64_t(ldc) * T::elem_bytes) % 16 == 0;
}

// One vector of C updated with an accumulator: C + acc, or acc alone when
// beta is zero (C is then not read). The general form reads and writes
// doubles in two 64-bit halves, floats as an unaligned vector.
inline simd::f64x2 load_c_general(const double *p) { return simd::load_half_hi(simd::load_lo(p), p + 1); }
inline void store_c_general(double *p, simd::f64x2 v) {
  simd::store_lo(p, v);
  simd::store_hi(p + 1, v);
}
inline simd::f32x4 load_c_general(const float *p) { return simd::load_u(p); }
inline void store_c_general(float *p, simd::f32x4 v) { simd::store_u(p, v); }

template <bool BetaZero, bool AlignedC, class R, class V>
inline void update_c(R *p, V acc) {
  using namespace zor::simd;
  if constexpr (AlignedC) {
    store_a(p, BetaZero ? acc : add(load_a(p), acc));
  } else {
    store_c_general(p, BetaZero ? acc : add(load_c_general(p), acc));
  }
}

// Row 0's widening of one column group of B into dup: each real of a depth
// step becomes a full vector, W vectors per step, kp steps. The source is a
// packed group of W reals per step, or (real rows, flag 3) W columns of B in
// place, zero past the true depth k.
template <class T, int W, bool InPlace>
void widen_splat(int64_t k, int64_t kp, const typename T::real *b, int64_t ldb, bool transb,
                 typename T::real *dup) {
  using namespace zor::simd;
  using V = typename T::vec;
  constexpr int L = T::real_lanes;
  int64_t done = 0;  // reals written
  if constexpr (!InPlace) {
    for (; done < kp * W; ++done) store_a(dup + done * L, splat(b[done]));
    return;
  } else if (transb) {
    for (int64_t l = 0; l < k; ++l, done += W)
      for (int j = 0; j < W; ++j) store_a(dup + (done + j) * L, splat(b[j + l * ldb]));
  } else {
    for (int64_t l = 0; l < k; ++l, done += W)
      for (int j = 0; j < W; ++j) store_a(dup + (done + j) * L, splat(b[l + j * ldb]));
  }
  for (; done < kp * W; ++done) store_a(dup + done * L, zero<V>());
}

// A vector of a pair of reals, repeated across it; from two values, or from
// two adjacent ones in memory.
inline simd::f64x2 pair_vector(double x0, double x1) { return simd::make(x0, x1); }
inline simd::f32x4 pair_vector(float x0, float x1) { return simd::make(x0, x1, x0, x1); }
inline simd::f64x2 pair_at(const double *p) { return simd::load_u(p); }
inline simd::f32x4 pair_at(const float *p) { return simd::low_pair(simd::load_pair(p)); }

// Row 1's widening of one column group of B into dup: NV vectors per depth
// step, vector v holding the pair of reals 2v, 2v + 1 of the step (zero past
// the first cw reals) repeated across the vector: s [b0 b1 b0 b1], c one
// complex element twice, d (in place) [b0 b1]. The source is a packed group
// of four floats per step (s and c, whose tail panels are a whole vector), or
// (real rows, flag 3) cw columns of B in place. With swaps not null, the same
// sweep writes there the lane swap of every vector it writes to dup.
template <class T, int NV, bool InPlace>
void widen_pairs(int64_t cw, int64_t k, int64_t kp, const typename T::real *b, int64_t ldb, bool transb,
                 typename T::real *dup, typename T::real *swaps) {
  using namespace zor::simd;
  using R = typename T::real;
  using V = typename T::vec;
  constexpr int L = T::real_lanes;
  auto put = [&](int64_t i, V v) {
    store_a(dup + i * L, v);
    if (swaps) store_a(swaps + i * L, flip(v));
  };
  int64_t l = 0;
  if constexpr (!InPlace) {
    static_assert(L == 4, "packed pairs are widened in single precision only");
    for (; l < kp; ++l) {
      const V v = load_a(b + 4 * l);
      put(NV * l, low_pair(v));
      if constexpr (NV == 2) put(NV * l + 1, high_pair(v));
    }
  } else if (NV == 2 && cw == 4 && transb) {  // a full group, each step's four reals side by side
    for (const R *row = b; l < k; ++l, row += ldb) {
      put(2 * l, pair_at(row));
      put(2 * l + 1, pair_at(row + 2));
    }
  } else if (NV == 2 && cw == 4) {  // a full group, one column after another
    const R *c0 = b, *c1 = b + ldb, *c2 = b + 2 * ldb, *c3 = b + 3 * ldb;
    for (; l < k; ++l) {
      put(2 * l, pair_vector(c0[l], c1[l]));
      put(2 * l + 1, pair_vector(c2[l], c3[l]));
    }
  } else {
    for (; l < k; ++l) {
      R col[4] = {};
      for (int64_t j = 0; j < cw; ++j) col[j] = transb ? b[j + l * ldb] : b[l + j * ldb];
      for (int v = 0; v < NV; ++v) put(NV * l + v, pair_vector(col[2 * v], col[2 * v + 1]));
    }
  }
  for (; l < kp; ++l)
    for (int v = 0; v < NV; ++v) put(NV * l + v, zero<V>());
}

// Row 1's lane swaps of a packed group read in place (d and z): `vectors`
// vectors of p, swapped into q.
template <class T>
void lane_swaps(int64_t vectors, const typename T::real *p, typename T::real *q) {
  using namespace zor::simd;
  constexpr int L = T::real_lanes;
  for (int64_t i = 0; i < vectors; ++i) store_a(q + i * L, flip(load_a(p + i * L)));
}

// The sum over depth of one element of a row tail, in the order a lane of
// the main kernels forms it, so that the two agree bit for bit. Real: one
// running sum. Complex: the four sums ar br, ai bi, ai br, ar bi, joined at
// the end as (rr - ii) + i (ir + ri).
template <class T>
struct DepthSum {
  using R = typename T::real;
  R s = R(0);
  void add(const R *a, const R *b) { s = s + a[0] * b[0]; }
  void put(R *c, bool beta_zero) const { c[0] = beta_zero ? s : c[0] + s; }
};
template <class T>
  requires(T::complex)
struct DepthSum<T> {
  using R = typename T::real;
  R rr = R(0), ii = R(0), ir = R(0), ri = R(0);
  void add(const R *a, const R *b) {
    rr = rr + a[0] * b[0];
    ii = ii + a[1] * b[1];
    ir = ir + a[1] * b[0];
    ri = ri + a[0] * b[1];
  }
  void put(R *c, bool) const {
    c[0] = c[0] + (rr - ii);
    c[1] = c[1] + (ir + ri);
  }
};

// Row-tail kernel: the r < UM last rows of the block, on the zero-padded last
// A panel, against every B panel (packed, or in place for flag 3 in the real
// rows), summed over the padded depth in order from zero.
template <class T, int Row>
void row_tail(int64_t r, int64_t n, int64_t k, const typename T::real *a, const typename T::real *b, int64_t ldb,
              bool in_place, bool transb, bool beta_zero, typename T::real *c, int64_t ldc) {
  using R = typename T::real;
  using P = Panels<T>;
  constexpr int E = P::E;
  const int64_t kp = round_up(k, P::depth_multiple(Row));
  for (int64_t j0 = 0; j0 < n; j0 += P::UN) {
    const int64_t cw = n - j0 < P::UN ? n - j0 : P::UN;
    const int64_t w = cw == P::UN ? P::UN : P::tail_width(cw, Row);
    const R *panel = b + (j0 / P::UN) * ldb * E;
    for (int64_t j = 0; j < cw; ++j) {
      for (int64_t i = 0; i < r; ++i) {
        DepthSum<T> sum;
        for (int64_t l = 0; l < kp; ++l) {
          R in_place_value;
          const R *bv = panel + (l * w + j) * E;
          if (!T::complex && in_place) {
            in_place_value = in_place_b(b, ldb, transb, k, l, j0 + j);
            bv = &in_place_value;
          }
          sum.add(a + (l * P::UM + i) * E, bv);
        }
        sum.put(c + (i + (j0 + j) * ldc) * E, beta_zero);
      }
    }
  }
}

// A main kernel: the full panels (m4 rows) of one row's tile shape, with its
// variant fixed. a_stride, ldb and ldc count elements.
template <class T>
using MainKernel = void (*)(bool transb, int64_t m4, int64_t n, int64_t k, const typename T::real *a,
                            int64_t a_stride, const typename T::real *b, int64_t ldb, typename T::real *c,
                            int64_t ldc, typename T::real *dup);

// Index of the call's variant in a table of main kernels: real rows
// in_place * 4 + beta_zero * 2 + aligned, complex rows aligned.
template <class T>
inline int variant_of(int32_t flag, bool beta_zero, const void *c, int64_t ldc) {
  const int aligned = c_aligned<T>(c, ldc) ? 1 : 0;
  if constexpr (T::complex) return aligned;
  else return (flag != kFlagPackedB ? 4 : 0) + (beta_zero ? 2 : 0) + aligned;
}

// A row's main kernels, Mains<T, Row>::run<InPlace, BetaZero, AlignedC>,
// are defined beside the row's tiles (the complex rows read only AlignedC);
// the entry finds them in this table, indexed by variant_of.
template <class T, int Row>
struct Mains;

template <class T, int Row>
inline constexpr auto kMainKernels = [] {
  using M = Mains<T, Row>;
  if constexpr (T::complex) {
    return std::array<MainKernel<T>, 2>{M::template run<false, false, false>, M::template run<false, false, true>};
  } else {
    return std::array<MainKernel<T>, 8>{M::template run<false, false, false>, M::template run<false, false, true>,
                                        M::template run<false, true, false>,  M::template run<false, true, true>,
                                        M::template run<true, false, false>,  M::template run<true, false, true>,
                                        M::template run<true, true, false>,   M::template run<true, true, true>};
  }
}();

template <class T, int Row>
void gemm_kernel(const char *, const char *transb, const int64_t *m, const int64_t *n, const int64_t *k,
                 const void *, const void *a_, const int64_t *a_stride, const void *b_, const int64_t *ldb,
                 const void *beta, void *c_, const int64_t *ldc, void *dup, int32_t flag) {
  using R = typename T::real;
  using P = Panels<T>;
  if (*m < 1 || *n < 1) return;
  const R *a = static_cast<const R *>(a_);
  const R *b = static_cast<const R *>(b_);
  R *c = static_cast<R *>(c_);
  const int64_t m4 = *m / P::UM * P::UM, r = *m - m4;
  const bool in_place = !T::complex && flag != kFlagPackedB;
  const bool beta_zero = !T::complex && load_any(static_cast<const R *>(beta)) == R(0);
  const bool bt = in_place && b_transposed(transb);
  if (m4 != 0)
    kMainKernels<T, Row>[variant_of<T>(flag, beta_zero, c, *ldc)](bt, m4, *n, *k, a, *a_stride, b, *ldb, c,
                                                                         *ldc, static_cast<R *>(dup));
  if (r != 0)
    row_tail<T, Row>(r, *n, *k, a + (m4 / P::UM) * *a_stride * P::E, b, *ldb, in_place, bt, beta_zero,
                     c + m4 * P::E, *ldc);
}

// The eight entries, bound by the kernel tables (gemm_kernel_d is
// gemm_kernel<D, 0>, gemm_kernel_d_bvr gemm_kernel<D, 1>, ...); each row's
// file instantiates its two.
#define ZOR_GEMM_KERNEL_ENTRY(T, Row)                                                                             \
  template void gemm_kernel<T, Row>(const char *, const char *, const int64_t *, const int64_t *, const int64_t *, \
                                    const void *, const void *, const int64_t *, const void *, const int64_t *,    \
                                    const void *, void *, const int64_t *, void *, int32_t)
extern ZOR_GEMM_KERNEL_ENTRY(S, 0);
extern ZOR_GEMM_KERNEL_ENTRY(D, 0);
extern ZOR_GEMM_KERNEL_ENTRY(C, 0);
extern ZOR_GEMM_KERNEL_ENTRY(Z, 0);
extern ZOR_GEMM_KERNEL_ENTRY(S, 1);
extern ZOR_GEMM_KERNEL_ENTRY(D, 1);
extern ZOR_GEMM_KERNEL_ENTRY(C, 1);
extern ZOR_GEMM_KERNEL_ENTRY(Z, 1);

}  // namespace zor::gemm
