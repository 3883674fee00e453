// The passes of the radix plans, one body per pass kind over the precision.
//
// A plan of n = f_0 f_1 ... f_L points runs by decimation in time: the first
// pass (radix f_L, no twiddles) reads the input through the `order` table of
// digit-reversed positions, with stride n / f_L, and writes groups of f_L
// consecutive values; pass k (from L-1 down to 0) joins f_k transforms of
// `remaining` points into one of f_k * remaining points, in `done` groups,
// after turning input j of butterfly q by w_n^(j q done). Pass 0 writes the
// output. The unordered plans run the same passes in reverse (decimation in
// frequency: butterfly, then the turn of output j) and leave the spectrum in
// the order the first pass would read it.
//
// Registers: doubles hold one complex value, floats two, so the float passes
// run two butterflies side by side (two q of one group, or two groups when a
// group has a single butterfly) and finish an odd count with a narrow one.
// Twiddles of a pass are stored in the order of use: for each q (each pair of
// q for floats, then the odd one) the f_k - 1 factors of inputs 1 .. f_k - 1.
#pragma once
#include <cstddef>
#include <cstdint>

#include "dft/butterfly.hpp"
#include "dft/plan.hpp"

namespace zor::dft {

// The roots of a radix without its own kernel: cos and sin of 2 pi m / p for
// m below p, each spread over a register; sines after the cosines.
template <class CV, bool Fwd>
ZOR_DFT_INLINE void bf_generic(typename CV::V *x, int p, const void *table) {
  using V = typename CV::V;
  auto c = static_cast<const V *>(table), s = c + p;
  const int h = (p - 1) / 2;
  V sv[80], dv[80];
  V x0 = x[0], sum = x[0];
  for (int k = 0; k < h; ++k) {
    sv[k] = add<CV>(x[k + 1], x[p - 1 - k]);
    dv[k] = sub<CV>(x[k + 1], x[p - 1 - k]);
    sum = add<CV>(sum, sv[k]);
  }
  for (int j = 1; j <= h; ++j) {
    V a = x0, b = simd::zero<V>();
    int m = 0;
    for (int k = 0; k < h; ++k) {
      m += j;
      if (m >= p) m -= p;
      a = add<CV>(a, simd::mul(sv[k], c[m]));
      b = add<CV>(b, simd::mul(dv[k], s[m]));
    }
    V r = rot<CV, Fwd>(b);
    x[j] = add<CV>(a, r);
    x[p - j] = sub<CV>(a, r);
  }
  x[0] = sum;
}

// A butterfly of compile-time radix P, or of the plan's runtime radix p
// (P = 0) with its table.
template <class CV, bool Fwd, int P>
ZOR_DFT_INLINE void run_butterfly(typename CV::V *x, int p, const void *table) {
  if constexpr (P == 0) bf_generic<CV, Fwd>(x, p, table);
  else butterfly<CV, Fwd, P>(x);
}

template <class R>
struct Passes {
  using E = cplx<R>;
  using W = Wide<R>;
  using N = Narrow<R>;
  using WV = typename W::V;
  using NV = typename N::V;
  using Tw = typename W::Tw;
  static constexpr int L = W::lanes;

  // Twiddle entries a pass of radix p over `rem` butterflies per group holds.
  static int64_t twiddle_count(int p, int64_t rem) {
    return rem == 1 ? 0 : ((rem + L - 1) / L) * (p - 1);
  }

  // First pass on groups [g0, g1): group g reads src[base + j stride],
  // base = order[g] (or g p without an order), and writes dst[g p + m].
  template <bool Fwd, int P>
  static void first(const E *src, int64_t stride, const int32_t *order, E *dst, int64_t g0, int64_t g1, int p,
                    const void *table) {
    constexpr int Pc = P ? P : 160;
    const int r = P ? P : p;
    auto base = [&](int64_t g) { return order ? int64_t(order[g]) : g * r; };
    int64_t g = g0;
    if constexpr (L == 2) {
      for (; g + 2 <= g1; g += 2) {
        WV x[Pc];
        const E *a = src + base(g), *b = src + base(g + 1);
        for (int j = 0; j < r; ++j) x[j] = W::load2(a + j * stride, b + j * stride);
        run_butterfly<W, Fwd, P>(x, r, table);
        E *da = dst + g * r, *db = dst + (g + 1) * r;
        for (int j = 0; j < r; ++j) W::store2(da + j, db + j, x[j]);
      }
    }
    for (; g < g1; ++g) {
      NV x[Pc];
      const E *a = src + base(g);
      for (int j = 0; j < r; ++j) x[j] = N::load(a + j * stride);
      run_butterfly<N, Fwd, P>(x, r, table);
      E *da = dst + g * r;
      for (int j = 0; j < r; ++j) N::store(da + j, x[j]);
    }
  }

  // The leaves of a long power-of-two line, taken in the order of their
  // inputs so that the reads stream: the group at g reads src[g + j stride]
  // and writes dst[order[g] P + m] (the digit reversal is its own inverse).
  // The inputs of the groups that share cache lines are copied to the stack
  // first: at a stride of a power of two few of those lines would stay in
  // the cache from one group to the next. count is a multiple of C.
  template <bool Fwd, int P>
  static void leaves_by_input(const E *src, int64_t stride, const int32_t *order, E *dst, int64_t count) {
    constexpr int C = int(64 / sizeof(E));
    alignas(64) E buf[P * C];
    for (int64_t g = 0; g < count; g += C) {
      for (int j = 0; j < P; ++j)
        for (int c = 0; c < C; ++c) buf[j * C + c] = src[g + c + j * stride];
      for (int c = 0; c < C; c += L) {
        WV x[P];
        for (int j = 0; j < P; ++j) x[j] = W::load(buf + j * C + c);
        butterfly<W, Fwd, P>(x);
        E *da = dst + int64_t(order[g + c]) * P, *db = dst + int64_t(order[g + c + L - 1]) * P;
        for (int j = 0; j < P; ++j) W::store2(da + j, db + j, x[j]);
      }
    }
  }

  template <bool Fwd>
  static void leaves_by_input_any(int radix, const E *src, int64_t stride, const int32_t *order, E *dst,
                                  int64_t count) {
    if (radix == 8) leaves_by_input<Fwd, 8>(src, stride, order, dst, count);
    else if (radix == 16) leaves_by_input<Fwd, 16>(src, stride, order, dst, count);
    else leaves_by_input<Fwd, 32>(src, stride, order, dst, count);
  }

  // The butterflies q of [q0, q1) of one group (q0 a multiple of the lanes,
  // t at its twiddles), inputs and outputs j at q + j rem: load(cv, q, j)
  // gives input j in the register of CVec cv (wide, or narrow for the last
  // odd q of floats), store(cv, q, j, v) takes output j. Dif: the turn
  // follows the butterfly (on outputs) instead of preceding it. In > 0: the
  // inputs from In on are zero and not loaded; Out > 0: only the outputs
  // below Out are stored (a power-of-two P).
  template <bool Fwd, bool Dif, int P, int In = 0, int Out = 0, class Load, class Store>
  ZOR_DFT_INLINE static void butterflies(int64_t q0, int64_t q1, const Tw *t, int p, const void *table, Load &&load,
                                         Store &&store) {
    constexpr int Pc = P ? P : 160;
    const int r = P ? P : p;
    const int loaded = In ? In : r, stored = Out ? Out : r;
    auto one = [&](auto cv, int64_t q) __attribute__((always_inline)) {
      using CV = decltype(cv);
      typename CV::V x[Pc];
      for (int j = 0; j < loaded; ++j) x[j] = load(cv, q, j);
      if constexpr (!Dif)
        for (int j = 1; j < loaded; ++j) x[j] = twiddle<CV, Fwd>(x[j], t[j - 1]);
      if constexpr (In > 0) bf_split_pruned<CV, Fwd, P, In, true>(x);
      else if constexpr (Out > 0) bf_split_pruned<CV, Fwd, P, Out, false>(x);
      else run_butterfly<CV, Fwd, P>(x, r, table);
      if constexpr (Dif)
        for (int j = 1; j < stored; ++j) x[j] = twiddle<CV, Fwd>(x[j], t[j - 1]);
      for (int j = 0; j < stored; ++j) store(cv, q, j, x[j]);
    };
    int64_t q = q0;
    for (; q + L <= q1; q += L, t += r - 1) one(W{}, q);
    if constexpr (L == 2)
      if (q < q1) one(N{}, q);
  }

  // The innermost step of a convolution in place, on `count` groups of P
  // consecutive values: the forward transform of the group (the last pass
  // by decimation in frequency), the product with the spectrum, the backward
  // transform (the first pass by decimation in time).
  template <int P>
  static void leaf_product(E *b, const E *kernel, int64_t count) {
    auto one = [&](auto cv, int64_t g) __attribute__((always_inline)) {
      using CV = decltype(cv);
      typename CV::V x[P];
      E *u = b + g * P, *v = u + (CV::lanes - 1) * P;
      const E *s = kernel + g * P, *t = s + (CV::lanes - 1) * P;
      for (int j = 0; j < P; ++j) x[j] = CV::load2(u + j, v + j);
      butterfly<CV, true, P>(x);
      for (int j = 0; j < P; ++j) x[j] = simd::cmul(x[j], CV::load2(s + j, t + j));
      butterfly<CV, false, P>(x);
      for (int j = 0; j < P; ++j) CV::store2(u + j, v + j, x[j]);
    };
    int64_t g = 0;
    for (; g + L <= count; g += L) one(W{}, g);
    if constexpr (L == 2)
      if (g < count) one(N{}, g);
  }

  // The same for any leaf radix: the three steps apart where the radix has
  // no fused form.
  static void leaf_product(int radix, E *b, const E *kernel, int64_t count, const void *table) {
    if (radix == 8) return leaf_product<8>(b, kernel, count);
    if (radix == 16) return leaf_product<16>(b, kernel, count);
    if (radix == 32) return leaf_product<32>(b, kernel, count);
    first_any<true>(radix, b, 1, nullptr, b, 0, count, table);
    for (int64_t k = 0; k < count * radix; ++k) N::store(b + k, simd::cmul(N::load(b + k), N::load(kernel + k)));
    first_any<false>(radix, b, 1, nullptr, b, 0, count, table);
  }

  // Butterflies q of groups [g0, g1), each group p * rem values.
  template <bool Fwd, bool Dif, int P>
  static void twiddle_pass(const E *src, E *dst, int64_t g0, int64_t g1, int64_t rem, const Tw *tw, int p,
                           const void *table) {
    const int r = P ? P : p;
    const int64_t span = r * rem;
    if (rem == 1) {  // no turns: groups side by side
      first<Fwd, P>(src + g0 * r, 1, nullptr, dst + g0 * r, 0, g1 - g0, p, table);
      return;
    }
    for (int64_t g = g0; g < g1; ++g) {
      const E *s = src + g * span;
      E *d = dst + g * span;
      butterflies<Fwd, Dif, P>(
          0, rem, tw, p, table,
          [&](auto cv, int64_t q, int j) __attribute__((always_inline)) { return decltype(cv)::load(s + q + j * rem); },
          [&](auto cv, int64_t q, int j, auto v)
              __attribute__((always_inline)) { decltype(cv)::store(d + q + j * rem, v); });
    }
  }

  // Dispatch by radix: the radices with their own butterflies, else the
  // generic odd kernel over the factor's table.
  template <bool Fwd>
  static void first_any(int radix, const E *src, int64_t stride, const int32_t *order, E *dst, int64_t g0,
                        int64_t g1, const void *table) {
    switch (radix) {
      case 2: return first<Fwd, 2>(src, stride, order, dst, g0, g1, 2, table);
      case 3: return first<Fwd, 3>(src, stride, order, dst, g0, g1, 3, table);
      case 4: return first<Fwd, 4>(src, stride, order, dst, g0, g1, 4, table);
      case 5: return first<Fwd, 5>(src, stride, order, dst, g0, g1, 5, table);
      case 7: return first<Fwd, 7>(src, stride, order, dst, g0, g1, 7, table);
      case 8: return first<Fwd, 8>(src, stride, order, dst, g0, g1, 8, table);
      case 11: return first<Fwd, 11>(src, stride, order, dst, g0, g1, 11, table);
      case 13: return first<Fwd, 13>(src, stride, order, dst, g0, g1, 13, table);
      case 16: return first<Fwd, 16>(src, stride, order, dst, g0, g1, 16, table);
      case 32: return first<Fwd, 32>(src, stride, order, dst, g0, g1, 32, table);
      default: return first<Fwd, 0>(src, stride, order, dst, g0, g1, radix, table);
    }
  }

  template <bool Fwd, bool Dif>
  static void twiddle_any(int radix, const E *src, E *dst, int64_t g0, int64_t g1, int64_t rem, const Tw *tw,
                          const void *table) {
    switch (radix) {
      case 2: return twiddle_pass<Fwd, Dif, 2>(src, dst, g0, g1, rem, tw, 2, table);
      case 3: return twiddle_pass<Fwd, Dif, 3>(src, dst, g0, g1, rem, tw, 3, table);
      case 4: return twiddle_pass<Fwd, Dif, 4>(src, dst, g0, g1, rem, tw, 4, table);
      case 5: return twiddle_pass<Fwd, Dif, 5>(src, dst, g0, g1, rem, tw, 5, table);
      case 7: return twiddle_pass<Fwd, Dif, 7>(src, dst, g0, g1, rem, tw, 7, table);
      case 8: return twiddle_pass<Fwd, Dif, 8>(src, dst, g0, g1, rem, tw, 8, table);
      case 11: return twiddle_pass<Fwd, Dif, 11>(src, dst, g0, g1, rem, tw, 11, table);
      case 13: return twiddle_pass<Fwd, Dif, 13>(src, dst, g0, g1, rem, tw, 13, table);
      case 16: return twiddle_pass<Fwd, Dif, 16>(src, dst, g0, g1, rem, tw, 16, table);
      default: return twiddle_pass<Fwd, Dif, 0>(src, dst, g0, g1, rem, tw, radix, table);
    }
  }
};

}  // namespace zor::dft
