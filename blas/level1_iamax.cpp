// 1-based position of the element of largest (i?amax) or smallest (i?amin)
// magnitude. n < 1 or incx < 1 gives 0 (a negative increment does not walk
// backwards); n = 1 gives 1. Among equal magnitudes the lowest position
// wins, in every path. The magnitude of a real is |x|; of a complex number
// |re| + |im| in its own precision, not the modulus.
//
// The first element is the start. With unit stride the elements from the
// second on are taken one by one until the next one stands on a 16-byte
// boundary (at most one vector's worth; if it never does, as for single
// complex numbers 4 bytes off, the vectors are read unaligned). A base off
// its real type's alignment keeps the whole walk scalar. A scalar step keeps
// the best when best >= candidate (amin: <=), so a NaN candidate replaces
// it.
//
// Then blocks of vectors of magnitudes (a complex vector of magnitudes is
// two loads, their real parts added to their imaginary parts: |re| + |im|
// exactly as the scalar step forms it). A block's extreme is found by max (min) alone, in
// four registers that start from the best so far and take successive
// vectors in turn; only a block whose extreme is strictly better than the
// best replaces it, and remembers itself. At the end the remembered block
// is read once more for the first element equal to the best: ties thus go
// to the lowest position, across blocks and within one. A NaN inside the
// blocks is passed over (max and min keep their other operand). A stride
// other than 1 runs the same blocks on gathered vectors. The last elements,
// fewer than a vector, run scalar.
#include <zor/blas.h>

#include <cmath>

#include "blas/level1_skeleton.hpp"

namespace zor::blas {
namespace {

template <class R>
inline R magnitude(R v) {
  return std::fabs(v);
}
template <class R>
inline R magnitude(cplx<R> v) {
  return std::fabs(v.re) + std::fabs(v.im);
}

// Magnitudes of lanes<R> consecutive elements from logical element i on.
// Form 0: unit stride, aligned loads; 1: unit stride, unaligned; 2: strided.
template <class E, int Form>
struct Magnitudes {
  using R = real_t<E>;
  using V = vec_t<R>;
  static constexpr int L = lanes<R>;
  const E *x;
  int64_t inc;
  ZOR_HOT V load(const E *p) const {
    if constexpr (Form == 0) return simd::abs(simd::load_a(reals(p)));
    else return simd::abs(simd::load_u(reals(p)));
  }
  ZOR_HOT V at(int64_t i) const {
    if constexpr (Form == 2) {
      alignas(16) R g[L];
      for (int l = 0; l < L; ++l) g[l] = magnitude(x[(i + l) * inc]);
      return simd::load_a(g);
    } else if constexpr (is_complex_v<E>) {
      constexpr int per = L / 2;  // complex elements a vector
      const V a = load(x + i), b = load(x + i + per);
      return simd::add(simd::re_parts(a, b), simd::im_parts(a, b));
    } else {
      return load(x + i);
    }
  }
};

template <bool Max, class V>
ZOR_HOT inline V better(V candidate, V held) {
  return Max ? simd::max(candidate, held) : simd::min(candidate, held);
}

// Blocks of whole vectors from element i while they last; returns the
// element after them. best and at are updated as the scalar steps would
// leave them, NaNs aside.
template <bool Max, class Mag>
int64_t blocks(const Mag &mag, int64_t i, int64_t n, typename Mag::R &best, int64_t &at) {
  using R = typename Mag::R;
  using V = typename Mag::V;
  constexpr int L = Mag::L;
  constexpr int64_t B = tuned::kExtremeBlock;
  static_assert(B % 8 == 0, "a block is a whole number of turns");
  int64_t won = -1, won_count = 0;  // the block that holds the best, if any
  while (n - i >= L) {
    const int64_t count = (n - i) / L < B ? (n - i) / L : B;
    const V held = simd::splat(best);
    V e0 = held, e1 = held, e2 = held, e3 = held;
    int64_t k = 0;
    // Eight vectors a turn, the held extremes passing from one set of
    // registers to another and back, so that each result stays in the
    // register its candidate was loaded into.
    for (; k + 8 <= count; k += 8) {
      const V c0 = better<Max>(mag.at(i + k * L), e0), c1 = better<Max>(mag.at(i + (k + 1) * L), e1),
              c2 = better<Max>(mag.at(i + (k + 2) * L), e2), c3 = better<Max>(mag.at(i + (k + 3) * L), e3);
      e0 = better<Max>(mag.at(i + (k + 4) * L), c0);
      e1 = better<Max>(mag.at(i + (k + 5) * L), c1);
      e2 = better<Max>(mag.at(i + (k + 6) * L), c2);
      e3 = better<Max>(mag.at(i + (k + 7) * L), c3);
    }
    for (; k < count; ++k) e0 = better<Max>(mag.at(i + k * L), e0);
    const V e = better<Max>(better<Max>(e0, e1), better<Max>(e2, e3));
    if (simd::mask_bits(Max ? simd::cmp_lt(held, e) : simd::cmp_lt(e, held)) != 0) {
      alignas(16) R lane[L];
      simd::store_a(lane, e);
      for (int l = 0; l < L; ++l) best = Max ? (lane[l] > best ? lane[l] : best) : (lane[l] < best ? lane[l] : best);
      won = i, won_count = count * L;  // whole vectors
    }
    i += count * L;
  }
  if (won >= 0) {
    const V b = simd::splat(best);
    for (int64_t j = won; j < won + won_count; j += L)
      if (const int hit = simd::mask_bits(simd::cmp_eq(mag.at(j), b))) {
        int l = 0;
        while (!(hit >> l & 1)) ++l;
        at = j + l + 1;
        break;
      }
  }
  return i;
}

template <bool Max, class E>
int64_t extreme(int64_t n, const E *x, int64_t incx) {
  using R = real_t<E>;
  if (n < 1 || incx < 1) return 0;
  if (n == 1) return 1;
  const Magnitudes<E, 2> any{x, incx};
  R best = magnitude(load_any(x));
  int64_t at = 1, i = 1;  // i: 0-based index of the next element
  auto scalar = [&](int64_t i) {
    const R v = magnitude(load_any(x + i * incx));
    if (!(Max ? best >= v : best <= v)) best = v, at = i + 1;
  };
  if (aligned_to(x, sizeof(R))) {
    if (incx == 1) {
      for (int64_t p = 0; p + 1 < int64_t(16 / sizeof(E)) && i < n && !aligned_to(x + i, 16); ++p) scalar(i++);
      if (aligned_to(x + i, 16)) i = blocks<Max>(Magnitudes<E, 0>{x, 1}, i, n, best, at);
      else i = blocks<Max>(Magnitudes<E, 1>{x, 1}, i, n, best, at);
    } else {
      i = blocks<Max>(any, i, n, best, at);
    }
  }
  for (; i < n; ++i) scalar(i);
  return at;
}

}  // namespace
}  // namespace zor::blas

using namespace zor::blas;
using zor::cplx;

// clang-format off
ZOR_API zor_int zor_blas_isamax(const zor_int *n, const float *x, const zor_int *incx) { return extreme<true>(*n, x, *incx); }
ZOR_API zor_int zor_blas_idamax(const zor_int *n, const double *x, const zor_int *incx) { return extreme<true>(*n, x, *incx); }
ZOR_API zor_int zor_blas_icamax(const zor_int *n, const void *x, const zor_int *incx) { return extreme<true>(*n, static_cast<const cplx<float> *>(x), *incx); }
ZOR_API zor_int zor_blas_izamax(const zor_int *n, const void *x, const zor_int *incx) { return extreme<true>(*n, static_cast<const cplx<double> *>(x), *incx); }
ZOR_API zor_int zor_blas_isamin(const zor_int *n, const float *x, const zor_int *incx) { return extreme<false>(*n, x, *incx); }
ZOR_API zor_int zor_blas_idamin(const zor_int *n, const double *x, const zor_int *incx) { return extreme<false>(*n, x, *incx); }
ZOR_API zor_int zor_blas_icamin(const zor_int *n, const void *x, const zor_int *incx) { return extreme<false>(*n, static_cast<const cplx<float> *>(x), *incx); }
ZOR_API zor_int zor_blas_izamin(const zor_int *n, const void *x, const zor_int *incx) { return extreme<false>(*n, static_cast<const cplx<double> *>(x), *incx); }
// clang-format on
