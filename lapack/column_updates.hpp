// Column operations shared by the small factorisations: a column less a
// few other columns times factors, a column times a real factor, a
// triangle less columns times factors, and the first largest magnitude of a
// column. The
// vector bodies and the scalar ends do the same arithmetic per element, so
// results do not depend on where a column starts.
#pragma once
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

#include "blas/level1_skeleton.hpp"
#include "frame/element.hpp"
#include "frame/simd.hpp"
#include "lapack/elements.hpp"

namespace zor::lapack {

template <class E, size_t... I>
inline std::array<blas::Factor<E>, sizeof...(I)> factors(const E *t, std::index_sequence<I...>) {
  return {blas::Factor<E>(t[I])...};
}

// y[i] -= x_0[i] t_0, then x_1[i] t_1, ... for i < len: the K columns
// x_k = x + k lda, each with its factor.
template <class E, int K>
inline void subtract_columns(int64_t len, E *y, const E *x, int64_t lda, const E *t) {
  using V = vec_t<E>;
  using R = real_t<E>;
  constexpr int L = 16 / sizeof(E);  // elements a register
  const auto f = factors(t, std::make_index_sequence<K>{});
  auto one = [&](int64_t i) {
    E v = y[i];
    for (int k = 0; k < K; ++k) v = v - x[i + k * lda] * t[k];
    y[i] = v;
  };
  int64_t i = 0;
  if (aligned_to(y, sizeof(R)))
    for (; i < len && phase(y + i) != 0; ++i) one(i);
  R *yr = reals(y);
  const R *xr = reals(x);
  constexpr int P = sizeof(E) / sizeof(R);  // reals an element
  for (; i + 4 * L <= len; i += 4 * L) {
    V v[4];
    for (int u = 0; u < 4; ++u) v[u] = simd::load_u(yr + P * (i + u * L));
    for (int k = 0; k < K; ++k)
      for (int u = 0; u < 4; ++u) v[u] = simd::sub(v[u], f[k].times(simd::load_u(xr + P * (i + u * L + k * lda))));
    for (int u = 0; u < 4; ++u) simd::store_u(yr + P * (i + u * L), v[u]);
  }
  for (; i + L <= len; i += L) {
    V v = simd::load_u(yr + P * i);
    for (int k = 0; k < K; ++k) v = simd::sub(v, f[k].times(simd::load_u(xr + P * (i + k * lda))));
    simd::store_u(yr + P * i, v);
  }
  for (; i < len; ++i) one(i);
}

// x[i] := x[i] r for i < len, unit stride, by registers after a peel.
// Both loops run four registers a step, then single registers, then the
// scalar end.
template <class E>
inline void scale_column(int64_t len, E *x, real_t<E> r) {
  using R = real_t<E>;
  constexpr int L = 16 / sizeof(R);
  R *xr = reals(x);
  const int64_t count = len * int64_t(sizeof(E) / sizeof(R));
  int64_t i = 0;
  if (aligned_to(xr, sizeof(R)))
    for (; i < count && phase(xr + i) != 0; ++i) xr[i] = xr[i] * r;
  const vec_t<R> vr = simd::splat(r);
  for (; i + 4 * L <= count; i += 4 * L)
    for (int u = 0; u < 4; ++u) simd::store_u(xr + i + u * L, simd::mul(simd::load_u(xr + i + u * L), vr));
  for (; i + L <= count; i += L) simd::store_u(xr + i, simd::mul(simd::load_u(xr + i), vr));
  for (; i < count; ++i) xr[i] = xr[i] * r;
}

// The triangle of an m by m block a (lda) less K columns times factors,
// real: element a[i, j] := a[i, j] - s_0[i] t_0(j) - ... - s_K-1[i] t_K-1(j)
// over the lower (i >= j) or upper (i <= j) triangle, in that order of
// subtraction. factor(j, t) fills t for column j and returns false to skip
// the column; done(j) runs once column j is finished (it may then change
// row j of the sources). Columns go in pairs that share the loads of the
// sources: lower ascending, upper descending, so that a finished column's
// row is never read again.
template <class R, bool Lower, int K, class Factor, class Done>
inline void triangle_update(int64_t m, const R *const *src, R *a, int64_t lda, Factor &&factor, Done &&done) {
  using V = vec_t<R>;
  constexpr int L = 16 / sizeof(R);
  // Rows [from, to) of column c0 with factors t0 and, if c1, c1 with t1.
  auto rows = [&](int64_t from, int64_t to, R *c0, const R *t0, R *c1, const R *t1) {
    V v0[K], v1[K];
    for (int k = 0; k < K; ++k) v0[k] = simd::splat(t0[k]), v1[k] = simd::splat(c1 ? t1[k] : R(0));
    int64_t i = from;
    for (; i + L <= to; i += L) {
      V s[K];
      for (int k = 0; k < K; ++k) s[k] = simd::load_u(src[k] + i);
      V u = simd::load_u(c0 + i);
      for (int k = 0; k < K; ++k) u = simd::sub(u, simd::mul(s[k], v0[k]));
      simd::store_u(c0 + i, u);
      if (c1) {
        V w = simd::load_u(c1 + i);
        for (int k = 0; k < K; ++k) w = simd::sub(w, simd::mul(s[k], v1[k]));
        simd::store_u(c1 + i, w);
      }
    }
    for (; i < to; ++i) {
      R u = c0[i];
      for (int k = 0; k < K; ++k) u = u - src[k][i] * t0[k];
      c0[i] = u;
      if (c1) {
        R w = c1[i];
        for (int k = 0; k < K; ++k) w = w - src[k][i] * t1[k];
        c1[i] = w;
      }
    }
  };
  auto alone = [&](int64_t j) {
    R t[K];
    if (factor(j, t)) rows(Lower ? j : 0, Lower ? m : j + 1, a + j * lda, t, nullptr, t);
    done(j);
  };
  // Columns p and p + 1.
  auto pair = [&](int64_t p) {
    R t0[K], t1[K];
    const bool use0 = factor(p, t0), use1 = factor(p + 1, t1);
    R *c0 = a + p * lda, *c1 = c0 + lda;
    if (use0 && use1) {
      if (Lower) {
        rows(p, p + 1, c0, t0, nullptr, t0);
        rows(p + 1, m, c0, t0, c1, t1);
      } else {
        rows(0, p + 1, c0, t0, c1, t1);
        rows(p + 1, p + 2, c1, t1, nullptr, t1);
      }
    } else {
      if (use0) rows(Lower ? p : 0, Lower ? m : p + 1, c0, t0, nullptr, t0);
      if (use1) rows(Lower ? p + 1 : 0, Lower ? m : p + 2, c1, t1, nullptr, t1);
    }
    done(p);
    done(p + 1);
  };
  if (Lower) {
    int64_t j = 0;
    for (; j + 2 <= m; j += 2) pair(j);
    if (j < m) alone(j);
  } else {
    int64_t j = m - 2;
    for (; j >= 0; j -= 2) pair(j);
    if (j == -1) alone(0);
  }
}

// The largest |x[i]| for i < len at stride inc, from |x[0]| on (max keeps
// the running value when the new one is NaN, so a NaN after the first
// element is never larger; unit-stride doubles by registers in two chains).
template <class R>
R largest_from_first(int64_t len, const R *x, int64_t inc) {
  R m = std::fabs(x[0]);
  int64_t i = 1;
  if constexpr (sizeof(R) == 8) {
    if (inc == 1 && len >= 5) {
      using V = vec_t<R>;
      V m0 = simd::splat(m), m1 = m0;
      for (; i + 4 <= len; i += 4) {
        m0 = simd::max(simd::abs(simd::load_u(x + i)), m0);
        m1 = simd::max(simd::abs(simd::load_u(x + i + 2)), m1);
      }
      m0 = simd::max(m1, m0);
      m0 = simd::max(simd::swap_lanes(m0), m0);
      m = simd::lane0(m0);
    }
  }
  for (; i < len; ++i) {
    const R v = std::fabs(x[i * inc]);
    m = v > m ? v : m;
  }
  return m;
}

// The first largest |x[i]| for i < len (len >= 1) at stride inc: the first
// maximum a strict scan finds, NaNs included (never greater, and a NaN first
// element stays the answer). The largest value first, then its first place.
template <class R>
void first_max(int64_t len, const R *x, int64_t inc, int64_t *at, R *value) {
  const R first = std::fabs(x[0]);
  *at = 0;
  *value = first;
  if (!(first == first)) return;
  const R m = largest_from_first(len, x, inc);
  if (!(m > first)) return;
  int64_t i = 1;
  while (!(std::fabs(x[i * inc]) == m)) ++i;
  *at = i;
  *value = m;
}

// The largest |x[i]| for i < len, 0 for none (the value of first_max).
template <class R>
R largest(int64_t len, const R *x, int64_t inc) {
  return len > 0 ? largest_from_first(len, x, inc) : R(0);
}

}  // namespace zor::lapack
