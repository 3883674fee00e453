// ?lasr_l??: a sequence of plane rotations applied from the left to an m by
// n matrix, A := P A, P = P(z) ... P(1) (forward) or P(1) ... P(z)
// (backward), rotation k being (c[k], s[k]) in the plane of
//   v (variable): rows k, k + 1    t (top): rows 1, k + 1    b (bottom): rows k, m
// with [row_a; row_b] := [c s; -s c] [row_a; row_b] for its two rows
// (row_a the upper one).
//
// The matrix is walked by columns, all m - 1 rotations inside a column: each
// column carries one element from a rotation to the next in a register (the
// pivot row for t and b, the row shared by consecutive rotations for v), so
// that every other element is read and written once per sweep. With x the
// element read at a step and t the carried one:
//   lvf  row k   := s x + c t,  t := c x - s t   (x = row k + 1)
//   lvb  row k+1 := c t - s x,  t := s t + c x   (x = row k)
//   lt?  row k+1 := c x - s t,  t := s x + c t   (x = row k + 1)
//   lb?  row k   := s t + c x,  t := c t - s x   (x = row k)
// These are the published routine's products and sums, so results agree bit
// for bit, with one deliberate difference: a rotation with c = 1, s = 0 is
// computed like any other (the published routine skips it), so infinities,
// NaNs and signed zeros go through it.
//
// Columns go eight at a time, as two interleaved groups of four, so that
// eight independent carried chains hide the latency of each step's
// multiply and add; c[k] and s[k] are loaded once per step for all eight.
// Then a last group of four, then pairs, then one column. Two columns of
// double or single complex share a vector (one 8-byte element each, loaded
// and stored by halves); a double complex column fills one; a single column
// runs in scalar registers. Complex matrices take the real c and s on both
// parts. Returns for m < 2 or n < 1.
#include <zor/lapack.h>

#include <cstdint>

#include "frame/simd.hpp"
#include "lapack/elements.hpp"

namespace zor::lapack {
namespace {

enum class Pivot { variable, top, bottom };

// A unit: the part of one step that one register holds, Cols columns wide.
// load/store reach row `row` of the unit's columns, which start at p and
// lie lda apart.
template <class E, int Cols> struct Unit;

template <> struct Unit<double, 1> {
  using V = double;
  static V splat(double v) { return v; }
  static V load(const double *p, int64_t, int64_t row) { return p[row]; }
  static void store(double *p, int64_t, int64_t row, V v) { p[row] = v; }
};
template <> struct Unit<float, 1> {
  using V = float;
  static V splat(float v) { return v; }
  static V load(const float *p, int64_t, int64_t row) { return p[row]; }
  static void store(float *p, int64_t, int64_t row, V v) { p[row] = v; }
};
template <> struct Unit<double, 2> {
  using V = simd::f64x2;
  static V splat(double v) { return simd::splat(v); }
  static V load(const double *p, int64_t lda, int64_t row) {
    return simd::load_half_hi(simd::load_lo(p + row), p + lda + row);
  }
  static void store(double *p, int64_t lda, int64_t row, V v) {
    simd::store_lo(p + row, v);
    simd::store_hi(p + lda + row, v);
  }
};
template <> struct Unit<cplx<double>, 1> {
  using V = simd::f64x2;
  static V splat(double v) { return simd::splat(v); }
  static V load(const cplx<double> *p, int64_t, int64_t row) { return simd::load_u(&p[row].re); }
  static void store(cplx<double> *p, int64_t, int64_t row, V v) { simd::store_u(&p[row].re, v); }
};
template <> struct Unit<cplx<float>, 1> {
  using V = simd::f32x4;
  static V splat(float v) { return simd::splat(v); }
  static V load(const cplx<float> *p, int64_t, int64_t row) { return simd::load_pair(&p[row].re); }
  static void store(cplx<float> *p, int64_t, int64_t row, V v) { simd::store_pair(&p[row].re, v); }
};
template <> struct Unit<cplx<float>, 2> {
  using V = simd::f32x4;
  static V splat(float v) { return simd::splat(v); }
  static V load(const cplx<float> *p, int64_t lda, int64_t row) {
    return simd::move_lh(simd::load_pair(&p[row].re), simd::load_pair(&p[lda + row].re));
  }
  static void store(cplx<float> *p, int64_t lda, int64_t row, V v) {
    simd::store_pair(&p[row].re, v);
    simd::store_pair(&p[lda + row].re, simd::high_pair(v));
  }
};

template <class V> inline V mul(V a, V b) {
  if constexpr (std::is_arithmetic_v<V>) return a * b;
  else return simd::mul(a, b);
}
template <class V> inline V add(V a, V b) {
  if constexpr (std::is_arithmetic_v<V>) return a + b;
  else return simd::add(a, b);
}
template <class V> inline V sub(V a, V b) {
  if constexpr (std::is_arithmetic_v<V>) return a - b;
  else return simd::sub(a, b);
}

// Which rows a step reads and writes, and where the carried element lives.
template <Pivot P, bool Forward>
struct Walk {
  int64_t m;
  int64_t read_row(int64_t k) const { return P == Pivot::bottom || (P == Pivot::variable && !Forward) ? k : k + 1; }
  int64_t write_row(int64_t k) const { return P == Pivot::bottom || (P == Pivot::variable && Forward) ? k : k + 1; }
  int64_t carried_start() const { return P == Pivot::top || (P == Pivot::variable && Forward) ? 0 : m - 1; }
  int64_t carried_end() const { return P == Pivot::top || (P == Pivot::variable && !Forward) ? 0 : m - 1; }

  // The written element and the new carried one, from x and t.
  template <class V>
  static void rotate(V c, V s, V x, V &t, V &out) {
    if constexpr (P == Pivot::variable && Forward) {
      out = add(mul(s, x), mul(c, t));
      t = sub(mul(c, x), mul(s, t));
    } else if constexpr (P == Pivot::variable) {
      out = sub(mul(c, t), mul(s, x));
      t = add(mul(s, t), mul(c, x));
    } else if constexpr (P == Pivot::top) {
      out = sub(mul(c, x), mul(s, t));
      t = add(mul(s, x), mul(c, t));
    } else {
      out = add(mul(s, t), mul(c, x));
      t = sub(mul(c, t), mul(s, x));
    }
  }
};

// Count units of Cols columns each, side by side from column a.
template <class E, int Cols, int Count, Pivot P, bool Forward>
void sweep(int64_t m, const real_t<E> *c, const real_t<E> *s, E *a, int64_t lda) {
  using U = Unit<E, Cols>;
  using V = typename U::V;
  const Walk<P, Forward> w{m};
  V t[Count];
  for (int u = 0; u < Count; ++u) t[u] = U::load(a + u * Cols * lda, lda, w.carried_start());
  auto step = [&](int64_t k) {
    const V ck = U::splat(c[k]), sk = U::splat(s[k]);
    const int64_t r = w.read_row(k), o = w.write_row(k);
    for (int u = 0; u < Count; ++u) {
      V out;
      Walk<P, Forward>::rotate(ck, sk, U::load(a + u * Cols * lda, lda, r), t[u], out);
      U::store(a + u * Cols * lda, lda, o, out);
    }
  };
  if constexpr (Forward)
    for (int64_t k = 0; k < m - 1; ++k) step(k);
  else
    for (int64_t k = m - 2; k >= 0; --k) step(k);
  for (int u = 0; u < Count; ++u) U::store(a + u * Cols * lda, lda, w.carried_end(), t[u]);
}

// Columns a register pair holds: two 8-byte elements, or one 16-byte one.
template <class E> inline constexpr int kPair = sizeof(E) == 8 ? 2 : 1;

template <class E, Pivot P, bool Forward>
void lasr(int64_t m, int64_t n, const real_t<E> *c, const real_t<E> *s, E *a, int64_t lda) {
  if (m < 2 || n < 1) return;
  constexpr int W = kPair<E>;
  int64_t j = 0;
  for (; j + 8 <= n; j += 8) sweep<E, W, 8 / W, P, Forward>(m, c, s, a + j * lda, lda);
  if (j + 4 <= n) {
    sweep<E, W, 4 / W, P, Forward>(m, c, s, a + j * lda, lda);
    j += 4;
  }
  if (j + 2 <= n) {
    sweep<E, W, 2 / W, P, Forward>(m, c, s, a + j * lda, lda);
    j += 2;
  }
  if (j < n) sweep<E, 1, 1, P, Forward>(m, c, s, a + j * lda, lda);
}

}  // namespace
}  // namespace zor::lapack

using namespace zor::lapack;
using C8 = zor::cplx<float>;
using C16 = zor::cplx<double>;
// clang-format off
ZOR_API void zor_lapack_ps_slasr_lvf(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a, const zor_int *lda) { lasr<float, Pivot::variable, true>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_dlasr_lvf(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a, const zor_int *lda) { lasr<double, Pivot::variable, true>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_clasr_lvf(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a, const zor_int *lda) { lasr<C8, Pivot::variable, true>(*m, *n, c, s, static_cast<C8 *>(a), *lda); }
ZOR_API void zor_lapack_ps_zlasr_lvf(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a, const zor_int *lda) { lasr<C16, Pivot::variable, true>(*m, *n, c, s, static_cast<C16 *>(a), *lda); }
ZOR_API void zor_lapack_ps_slasr_lvb(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a, const zor_int *lda) { lasr<float, Pivot::variable, false>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_dlasr_lvb(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a, const zor_int *lda) { lasr<double, Pivot::variable, false>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_clasr_lvb(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a, const zor_int *lda) { lasr<C8, Pivot::variable, false>(*m, *n, c, s, static_cast<C8 *>(a), *lda); }
ZOR_API void zor_lapack_ps_zlasr_lvb(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a, const zor_int *lda) { lasr<C16, Pivot::variable, false>(*m, *n, c, s, static_cast<C16 *>(a), *lda); }
ZOR_API void zor_lapack_ps_slasr_ltf(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a, const zor_int *lda) { lasr<float, Pivot::top, true>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_dlasr_ltf(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a, const zor_int *lda) { lasr<double, Pivot::top, true>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_clasr_ltf(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a, const zor_int *lda) { lasr<C8, Pivot::top, true>(*m, *n, c, s, static_cast<C8 *>(a), *lda); }
ZOR_API void zor_lapack_ps_zlasr_ltf(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a, const zor_int *lda) { lasr<C16, Pivot::top, true>(*m, *n, c, s, static_cast<C16 *>(a), *lda); }
ZOR_API void zor_lapack_ps_slasr_ltb(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a, const zor_int *lda) { lasr<float, Pivot::top, false>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_dlasr_ltb(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a, const zor_int *lda) { lasr<double, Pivot::top, false>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_clasr_ltb(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a, const zor_int *lda) { lasr<C8, Pivot::top, false>(*m, *n, c, s, static_cast<C8 *>(a), *lda); }
ZOR_API void zor_lapack_ps_zlasr_ltb(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a, const zor_int *lda) { lasr<C16, Pivot::top, false>(*m, *n, c, s, static_cast<C16 *>(a), *lda); }
ZOR_API void zor_lapack_ps_slasr_lbf(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a, const zor_int *lda) { lasr<float, Pivot::bottom, true>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_dlasr_lbf(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a, const zor_int *lda) { lasr<double, Pivot::bottom, true>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_clasr_lbf(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a, const zor_int *lda) { lasr<C8, Pivot::bottom, true>(*m, *n, c, s, static_cast<C8 *>(a), *lda); }
ZOR_API void zor_lapack_ps_zlasr_lbf(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a, const zor_int *lda) { lasr<C16, Pivot::bottom, true>(*m, *n, c, s, static_cast<C16 *>(a), *lda); }
ZOR_API void zor_lapack_ps_slasr_lbb(const zor_int *m, const zor_int *n, const float *c, const float *s, float *a, const zor_int *lda) { lasr<float, Pivot::bottom, false>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_dlasr_lbb(const zor_int *m, const zor_int *n, const double *c, const double *s, double *a, const zor_int *lda) { lasr<double, Pivot::bottom, false>(*m, *n, c, s, a, *lda); }
ZOR_API void zor_lapack_ps_clasr_lbb(const zor_int *m, const zor_int *n, const float *c, const float *s, void *a, const zor_int *lda) { lasr<C8, Pivot::bottom, false>(*m, *n, c, s, static_cast<C8 *>(a), *lda); }
ZOR_API void zor_lapack_ps_zlasr_lbb(const zor_int *m, const zor_int *n, const double *c, const double *s, void *a, const zor_int *lda) { lasr<C16, Pivot::bottom, false>(*m, *n, c, s, static_cast<C16 *>(a), *lda); }
// clang-format on
