// The depth loop of every main kernel, and the walk over the tiles of one
// column group, shared by the real and complex kernels of both rows.
//
// A tile is two A vectors (rows 0..L-1 and L..2L-1 of an A panel, L reals a
// vector) by W B vectors; accumulator acc[w][h] sums, over the depth in order
// from zero, the products of A vector h with B vector w. The B vectors of a
// depth step come from two streams: WP vectors at p + l * SV * L and WQ more
// at q + l * SV * L (SV vectors a step). Row 0 reads both streams from its
// widened B (q = p + 2L); row 1 reads its B vectors from p and their lane
// swaps, formed once per column group, from q. What the accumulators mean,
// and how they reach C, is each kernel's epilogue.
//
// The full tile (WP = WQ = 2) runs in assembly, the one place where the
// schedule is written by hand. Register budget, all sixteen xmm registers:
//   8 accumulators (xmm0..xmm7, chosen by the compiler); A0, A1, B0, B1
//   loaded per depth step (xmm8..xmm11); four temporaries for the products
//   (xmm12..xmm15). B0 and B1 multiply from registers; the two q vectors are
//   memory operands of their two multiplies each, so a step issues 4 vector
//   loads, 4 folded loads, 8 multiplies, 8 adds and 4 register copies (the
//   copies cost no execution port). Four depth steps a turn; no prefetch in
//   the loop, where it would take a load slot: C is prefetched per tile and
//   the next column group's B during the last tiles of the group.
// Narrower tiles (the column tails) and the depth steps left over by the four
// a turn use the intrinsic form of the same loop; the order of additions of
// each accumulator is the same either way.
//
// A step of the loop above takes 4.1 cycles in llvm-mca's model of the
// development machine's processor (AMD EPYC, Zen 3: two vector loads, two
// multiplies and two adds a cycle, so 4.0 is the limit). The machine itself
// (a virtual machine, shared and loaded) does not give that rate: timed
// against a chain of dependent integer adds in the same run, eight mulpd and
// eight addpd on registers alone take 5.5-6.6 cycles, this loop on operands
// in the first-level cache 5.7-6.7, and the whole kernel on blocks of 64 to
// 512 rows 7.1-7.9 (about 98% of its samples inside the loop). Against the
// former kernels in the same process (448 x 256 x 256, 15 interleaved rounds,
// medians): row 1 1.04-1.18x, row 0 0.99-1.05x. The whole products are in
// docs/performance.
#pragma once
#include <cstdint>

#include <xmmintrin.h>

#include "frame/simd.hpp"
#include "gemm/panels.hpp"
#include "gemm/parameters.hpp"

namespace zor::gemm {

// The intrinsic depth loop over steps [l0, l1).
template <class T, int WP, int WQ, int SV>
inline void depth_steps(int64_t l0, int64_t l1, const typename T::real *a, const typename T::real *p,
                        const typename T::real *q, typename T::vec (&acc)[WP + WQ][2]) {
  using namespace zor::simd;
  using V = typename T::vec;
  constexpr int L = T::real_lanes;
  for (int64_t l = l0; l < l1; ++l) {
    const V a0 = load_a(a + 2 * L * l), a1 = load_a(a + 2 * L * l + L);
#pragma GCC unroll 4
    for (int w = 0; w < WP + WQ; ++w) {
      const V b = w < WP ? load_a(p + (SV * l + w) * L) : load_a(q + (SV * l + w - WP) * L);
      acc[w][0] = add(acc[w][0], mul(a0, b));
      acc[w][1] = add(acc[w][1], mul(a1, b));
    }
  }
}

// One depth step of the full tile: A0, A1, B0, B1 are xmm8..xmm11, the
// product temporaries xmm12..xmm15, the accumulators the operands c00..c31.
#define ZOR_TILE_STEP(X, AO, SO)                                     \
  "movaps " AO "(%[a]), %%xmm8\n\t"                                   \
  "movaps " AO "+16(%[a]), %%xmm9\n\t"                                \
  "movaps " SO "(%[p]), %%xmm10\n\t"                                  \
  "movaps " SO "+16(%[p]), %%xmm11\n\t"                               \
  "movaps %%xmm10, %%xmm12\n\t"                                       \
  "mul" X " %%xmm8, %%xmm12\n\t"                                      \
  "movaps %%xmm11, %%xmm13\n\t"                                       \
  "mul" X " %%xmm8, %%xmm13\n\t"                                      \
  "movaps %%xmm8, %%xmm14\n\t"                                        \
  "mul" X " " SO "(%[q]), %%xmm14\n\t"                                \
  "movaps %%xmm9, %%xmm15\n\t"                                        \
  "mul" X " " SO "(%[q]), %%xmm15\n\t"                                \
  "mul" X " %%xmm9, %%xmm10\n\t"                                      \
  "mul" X " %%xmm9, %%xmm11\n\t"                                      \
  "mul" X " " SO "+16(%[q]), %%xmm8\n\t"                              \
  "mul" X " " SO "+16(%[q]), %%xmm9\n\t"                              \
  "add" X " %%xmm12, %[c00]\n\t"                                      \
  "add" X " %%xmm13, %[c10]\n\t"                                      \
  "add" X " %%xmm14, %[c20]\n\t"                                      \
  "add" X " %%xmm15, %[c21]\n\t"                                      \
  "add" X " %%xmm10, %[c01]\n\t"                                      \
  "add" X " %%xmm11, %[c11]\n\t"                                      \
  "add" X " %%xmm8, %[c30]\n\t"                                       \
  "add" X " %%xmm9, %[c31]\n\t"

// turns x 4 depth steps of the full tile; the streams advance S1 bytes a
// step (S2, S3, S4: two, three, four steps).
#define ZOR_TILE_ASM(X, S1, S2, S3, S4)                                                                        \
  asm volatile("1:\n\t" ZOR_TILE_STEP(X, "0", "0") ZOR_TILE_STEP(X, "32", S1) ZOR_TILE_STEP(X, "64", S2)       \
                   ZOR_TILE_STEP(X, "96", S3)                                                                  \
               "add $128, %[a]\n\t"                                                                            \
               "add $" S4 ", %[p]\n\t"                                                                         \
               "add $" S4 ", %[q]\n\t"                                                                         \
               "dec %[n]\n\t"                                                                                  \
               "jnz 1b\n\t"                                                                                    \
               : [c00] "+x"(acc[0][0]), [c01] "+x"(acc[0][1]), [c10] "+x"(acc[1][0]), [c11] "+x"(acc[1][1]),   \
                 [c20] "+x"(acc[2][0]), [c21] "+x"(acc[2][1]), [c30] "+x"(acc[3][0]), [c31] "+x"(acc[3][1]),   \
                 [a] "+r"(a), [p] "+r"(p), [q] "+r"(q), [n] "+r"(turns)                                        \
               :                                                                                               \
               : "cc", "memory", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15")
#define ZOR_TILE_TURNS(X)                                                  \
  if constexpr (SB == 32) ZOR_TILE_ASM(X, "32", "64", "96", "128");        \
  else ZOR_TILE_ASM(X, "64", "128", "192", "256")

template <int SB>
inline void depth_turns(int64_t turns, const double *a, const double *p, const double *q, simd::f64x2 (&acc)[4][2]) {
  static_assert(SB == 32 || SB == 64);
  ZOR_TILE_TURNS("pd");
}
template <int SB>
inline void depth_turns(int64_t turns, const float *a, const float *p, const float *q, simd::f32x4 (&acc)[4][2]) {
  static_assert(SB == 32 || SB == 64);
  ZOR_TILE_TURNS("ps");
}
#undef ZOR_TILE_TURNS
#undef ZOR_TILE_ASM
#undef ZOR_TILE_STEP

// The depth loop of one tile over kp steps.
template <class T, int WP, int WQ, int SV>
inline void depth_loop(int64_t kp, const typename T::real *a, const typename T::real *p, const typename T::real *q,
                       typename T::vec (&acc)[WP + WQ][2]) {
  constexpr int L = T::real_lanes;
  if constexpr (WP == 2 && WQ == 2) {
    const int64_t turns = kp / 4, done = 4 * turns;
    if (turns > 0) depth_turns<SV * L * int(sizeof(typename T::real))>(turns, a, p, q, acc);
    depth_steps<T, WP, WQ, SV>(done, kp, a, p, q, acc);
  } else {
    depth_steps<T, WP, WQ, SV>(0, kp, a, p, q, acc);
  }
}

// Row 1's swap-per-step form, for depths beyond the stack buffer of swaps:
// NV B vectors a step from p; acc[v] takes B vector v, acc[NV + v] its swap.
template <class T, int NV>
inline void depth_loop_swapping(int64_t kp, const typename T::real *a, const typename T::real *p,
                                typename T::vec (&acc)[2 * NV][2]) {
  using namespace zor::simd;
  using V = typename T::vec;
  constexpr int L = T::real_lanes;
  for (int64_t l = 0; l < kp; ++l) {
    const V a0 = load_a(a + 2 * L * l), a1 = load_a(a + 2 * L * l + L);
#pragma GCC unroll 2
    for (int v = 0; v < NV; ++v) {
      const V b = load_a(p + (NV * l + v) * L), s = flip(b);
      acc[v][0] = add(acc[v][0], mul(a0, b));
      acc[NV + v][0] = add(acc[NV + v][0], mul(a0, s));
      acc[v][1] = add(acc[v][1], mul(a1, b));
      acc[NV + v][1] = add(acc[NV + v][1], mul(a1, s));
    }
  }
}

// The next column group's B source, brought towards the cache during the
// last tiles of the current group: `ranges` byte ranges of `bytes` each,
// `stride` bytes apart (a packed panel is one range; B in place one range per
// column, or per depth step when transposed). Null base: no next group.
struct NextB {
  const char *base = nullptr;
  int64_t ranges = 0, stride = 0, bytes = 0;
};

// The B source of the column group that starts at column j0 (none at or past
// n): its packed panel, kp steps of the panel's width, or (real rows, flag 3)
// its columns of B in place.
template <class T, int Row>
inline NextB group_source(int64_t j0, int64_t n, int64_t k, int64_t kp, const typename T::real *b, int64_t ldb,
                          bool in_place, bool transb) {
  using P = Panels<T>;
  using R = typename T::real;
  if (j0 >= n) return {};
  const int64_t cw = n - j0 < P::UN ? n - j0 : P::UN;
  const int64_t eb = int64_t(sizeof(R)) * P::E;  // bytes an element
  const char *base = reinterpret_cast<const char *>(b);
  if (!in_place) {
    const int64_t w = cw == P::UN ? P::UN : P::tail_width(cw, Row);
    return {base + (j0 / P::UN) * ldb * eb, 1, 0, kp * w * eb};
  }
  if (transb) return {base + j0 * eb, k, ldb * eb, cw * eb};
  return {base + j0 * ldb * eb, cw, ldb * eb, k * eb};
}

// Slice `slice` of `slices` of the next group's lines. The first slice also
// touches one line of each page the ranges cover, so that the prefetches
// that follow find their address translations.
inline void prefetch_next_b(const NextB &nb, int64_t slice, int64_t slices) {
  if (nb.base == nullptr) return;
  constexpr int64_t kLine = 64, kPage = 4096;
  if (slice == 0) {
    for (int64_t r = 0; r < nb.ranges; ++r) {
      const char *range = nb.base + r * nb.stride;
      for (int64_t at = 0; at < nb.bytes; at += kPage) *static_cast<const volatile char *>(range + at);
    }
  }
  const int64_t per = (nb.bytes + 2 * kLine - 1) / kLine;  // lines a range can touch
  const int64_t total = nb.ranges * per;
  for (int64_t i = slice * total / slices, end = (slice + 1) * total / slices; i < end; ++i)
    _mm_prefetch(nb.base + (i / per) * nb.stride + (i % per) * kLine, _MM_HINT_T0);
}

// The tiles of one column group: for each of `panels` A panels (a_step reals
// apart), the C tile prefetched (ccols columns of two vectors, ldc reals
// apart), the accumulators cleared, the depth loop run (Swapping: row 1's
// swap-per-step form on p) and the epilogue given the accumulators and the
// tile's C. The last tuned::kNextGroupTiles tiles bring in the next group's B.
template <class T, int WP, int WQ, int SV, bool Swapping, class Epilogue>
inline void group_tiles(int64_t panels, int64_t kp, const typename T::real *a, int64_t a_step,
                        const typename T::real *p, const typename T::real *q, typename T::real *c, int64_t ldc,
                        int ccols, const NextB &next, Epilogue &&epilogue) {
  using V = typename T::vec;
  using R = typename T::real;
  constexpr int L = T::real_lanes;
  const int64_t slices = panels < tuned::kNextGroupTiles ? panels : tuned::kNextGroupTiles;
  for (int64_t t = 0; t < panels; ++t) {
    R *ct = c + t * 2 * L;
    for (int j = 0; j < ccols; ++j) {
      _mm_prefetch(reinterpret_cast<const char *>(ct + j * ldc), _MM_HINT_T0);
      _mm_prefetch(reinterpret_cast<const char *>(ct + j * ldc + 2 * L - 1), _MM_HINT_T0);
    }
    V acc[WP + WQ][2];
    for (auto &x : acc) x[0] = x[1] = simd::zero<V>();
    if constexpr (Swapping) depth_loop_swapping<T, WP>(kp, a + t * a_step, p, acc);
    else depth_loop<T, WP, WQ, SV>(kp, a + t * a_step, p, q, acc);
    epilogue(acc, ct);
    const int64_t after = panels - 1 - t;
    if (after < slices) prefetch_next_b(next, slices - 1 - after, slices);
  }
}

}  // namespace zor::gemm
