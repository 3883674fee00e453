// Shared shapes of the vector layer.
//
// Unit-stride skeleton (element-wise kernels): elements are peeled one by one
// until the written stream `y` stands on a 16-byte boundary; then whole
// vectors run in a main step of Main vectors and a ladder of halved steps
// (each run at most once); a scalar tail finishes the last partial vector.
// A stream that stays out of phase (4, 8 or 12 bytes) is read by shift-merge
// of consecutive aligned vectors and, when it is written, written back by the
// same merge, so that every load and store in the loop is an aligned one.
// Nothing outside the stream's own elements is written; a shifted stream's
// first aligned read takes the bytes of its 16-byte block before the stream
// (which cannot fault), and its reads end inside the stream.
//
// Strided skeleton: a negative increment starts at the far end; four
// elements per pass, then the rest one by one, in element order (so that an
// increment of 0 on the written operand accumulates in order).
//
// An operation supplies:
//   reads_x, writes_x, reads_y, writes_y   which streams it touches
//   void vec(V &x, V &y) const             one vector of each stream, in place
//   void one(E &x, E &y) const             one element of each, in place
#pragma once
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include <zor/core.h>

#include "blas/parameters.hpp"
#include "frame/element.hpp"
#include "frame/simd.hpp"

namespace zor::blas {

// Runs `count` units of work as a main step and a ladder: blocks of Main
// units while they last, then at most one block of each halved size Main/2,
// Main/4, ... down to Min; returns the units left (fewer than Min).
// block.template operator()<Size>() does one block of Size units, Size a
// constant.
template <int Step, int Min, class Block>
ZOR_HOT inline void halving_steps(int64_t &count, Block &block) {
  if constexpr (Step >= Min && Step >= 1) {
    if (count >= Step) {
      block.template operator()<Step>();
      count -= Step;
    }
    halving_steps<Step / 2, Min>(count, block);
  }
}
template <int Main, int Min = 1, class Block>
ZOR_HOT inline int64_t ladder(int64_t count, Block &&block) {
  for (; count >= Main; count -= Main) block.template operator()<Main>();
  halving_steps<Main / 2, Min>(count, block);
  return count;
}

// A scalar factor in vector form: real broadcast, or (re, im) broadcasts.
// The frame of an element-wise operation: its element, real and register
// types, and which of the two streams it reads and writes.
template <class Elem, bool ReadsX, bool WritesX, bool ReadsY, bool WritesY>
struct Streams {
  using E = Elem;
  using R = real_t<Elem>;
  using V = vec_t<Elem>;
  static constexpr bool reads_x = ReadsX, writes_x = WritesX, reads_y = ReadsY, writes_y = WritesY;
  // Whether the unit path asks for lines ahead of the streams it reads, when
  // they are long (prefetch_next_chunk).
  static constexpr bool hinted = false;
};

// times(x) multiplies a register of elements, s * x one element: the same
// arithmetic, so vector body and scalar tail agree bit for bit.
template <class E> struct FactorForm { using type = vec_t<E>; };
template <class R> struct FactorForm<cplx<R>> { using type = simd::Csplat<R>; };
template <class E>
struct Factor {
  using V = vec_t<E>;
  E s;
  typename FactorForm<E>::type v;
  explicit Factor(E a) : s(a) {
    if constexpr (is_complex_v<E>) v = simd::csplat(a);
    else v = simd::splat(a);
  }
  ZOR_HOT V times(V x) const {
    if constexpr (is_complex_v<E>) return simd::cmul(v, x);
    else return simd::mul(v, x);
  }
};

// The double-complex entries have two kernels, chosen by the processor's
// micro-architecture answer (33: the alternative); the single-complex ones
// make the same query and have one kernel.
inline bool alternative_kernel() { return zor_serv_get_microarchitecture() == fixed::kSecondKernelAnswer; }

// Asks for the part of the next tuned::kChunk-byte chunk that matches p's
// place in its own chunk, one line in each of tuned::kChunkStreams walks:
// a caller that calls once a pass of 64 * kChunkStreams bytes has the whole
// next chunk asked for when it leaves the current one. Several walks keep
// more lines on their way from memory than one walk ahead of the reads. A
// hint: it never faults, wherever the stream ends.
ZOR_HOT inline void prefetch_next_chunk(const void *p) {
  constexpr uintptr_t C = uintptr_t(tuned::kChunk), S = uintptr_t(tuned::kChunkStreams);
  static_assert((C & (C - 1)) == 0 && C % (64 * S) == 0, "a chunk is a power of two of whole walks");
  const uintptr_t a = reinterpret_cast<uintptr_t>(p), offset = a & (C - 1), next = a - offset + C;
  for (uintptr_t s = 0; s < S; ++s) simd::prefetch_t0(reinterpret_cast<const void *>(next + s * (C / S) + offset / S));
}

// Consecutive vectors of a stream that starts K bytes past a 16-byte
// boundary, read with aligned loads only. With Bounded, the aligned vector
// that would reach past `end` (one past the stream's last real) is read
// element by element instead, so that nothing outside the stream is read at
// the far end.
template <class R, int K, bool Bounded = false>
struct InStream {
  using V = vec_t<R>;
  static constexpr int L = lanes<R>;
  const R *a;
  const R *end;
  V prev;
  explicit InStream(const R *p, const R *stream_end = nullptr) : a(p - K / int(sizeof(R))), end(stream_end) {
    prev = load_within(a);
  }
  ZOR_HOT V load_within(const R *block) const {
    if (!Bounded || block + L <= end) return simd::load_a(block);
    alignas(16) R t[L] = {};
    for (int j = 0; j < L && block + j < end; ++j) t[j] = block[j];
    return simd::load_a(t);
  }
  ZOR_HOT V next() {
    V nx = load_within(a + L);
    V v = simd::shift_merge<K>(prev, nx);
    prev = nx;
    a += L;
    return v;
  }
};
template <class R, bool Bounded>
struct InStream<R, 0, Bounded> {
  using V = vec_t<R>;
  const R *a;
  explicit InStream(const R *p, const R * = nullptr) : a(p) {}
  ZOR_HOT V next() {
    V v = simd::load_a(a);
    a += lanes<R>;
    return v;
  }
};

// The matching writer: each aligned block is formed from the tail of the
// previous logical vector and the head of the current one. The block that
// straddles the start and the one that straddles the end are written element
// by element.
template <class R, int K>
struct OutStream {
  using V = vec_t<R>;
  static constexpr int L = lanes<R>;
  static constexpr int S = K / int(sizeof(R));  // reals before the stream in its first block
  R *a;
  V pend;
  bool first = true;
  explicit OutStream(R *p) : a(p - S) {}
  ZOR_HOT void put(V o) {
    if (first) {
      alignas(16) R t[L];
      simd::store_a(t, o);
      for (int j = 0; j < L - S; ++j) a[S + j] = t[j];
      first = false;
    } else {
      simd::store_a(a, simd::shift_merge<16 - K>(pend, o));
    }
    pend = o;
    a += L;
  }
  void finish() {
    if (first) return;
    alignas(16) R t[L];
    simd::store_a(t, pend);
    for (int j = 0; j < S; ++j) a[j] = t[L - S + j];
  }
};
template <class R>
struct OutStream<R, 0> {
  using V = vec_t<R>;
  R *a;
  explicit OutStream(R *p) : a(p) {}
  ZOR_HOT void put(V o) {
    simd::store_a(a, o);
    a += lanes<R>;
  }
  void finish() {}
};

// Runs `nv` vectors of both streams: main step Main, then Main/2, ..., 1;
// returns how many it ran. A shifted stream's last vector is left to the
// scalar tail, so that its reads end inside the stream. With `ahead`, the
// streams it reads ask for their next chunk as they go.
template <class Op, int Kx, int Ky, int Main>
int64_t run_vectors(const Op &op, int64_t nv, typename Op::R *x, typename Op::R *y, bool ahead) {
  using R = typename Op::R;
  using V = vec_t<R>;
  if constexpr ((Op::reads_x && Kx != 0) || (Op::reads_y && Ky != 0)) --nv;
  const int64_t done = nv;
  InStream<R, Op::reads_x ? Kx : 0> xi(x);
  InStream<R, Op::reads_y ? Ky : 0> yi(y);
  OutStream<R, Op::writes_x ? Kx : 0> xo(x);
  OutStream<R, Op::writes_y ? Ky : 0> yo(y);
  // Each block works on local copies of the streams and the operation: the
  // vector stores may alias any memory, and would otherwise force every
  // pointer and factor to be reloaded after each store.
  auto block = [&]<int... J>(std::integer_sequence<int, J...>) ZOR_HOT {
    const Op o = op;
    auto xi_ = xi;
    auto yi_ = yi;
    auto xo_ = xo;
    auto yo_ = yo;
    // Groups of up to four vectors: all loads, then the arithmetic, then
    // the stores, so that no load waits behind a store it cannot pass.
    constexpr int G = sizeof...(J) < tuned::kLoadGroup ? int(sizeof...(J)) : tuned::kLoadGroup;
    auto group = [&]() ZOR_HOT {
      if constexpr (Op::hinted) {
        // One call a 256-byte pass of a stream asks for the matching part
        // of its next chunk (prefetch_next_chunk).
        if (ahead) {
          if constexpr (Op::reads_x)
            if ((reinterpret_cast<uintptr_t>(xi_.a) & (64 * tuned::kChunkStreams - 1)) < 64) prefetch_next_chunk(xi_.a);
          if constexpr (Op::reads_y)
            if ((reinterpret_cast<uintptr_t>(yi_.a) & (64 * tuned::kChunkStreams - 1)) < 64) prefetch_next_chunk(yi_.a);
        }
      }
      V xv[G], yv[G];
#pragma GCC unroll 4
      for (int j = 0; j < G; ++j) {
        if constexpr (Op::reads_x) xv[j] = xi_.next();
        else xv[j] = V{};
      }
#pragma GCC unroll 4
      for (int j = 0; j < G; ++j) {
        if constexpr (Op::reads_y) yv[j] = yi_.next();
        else yv[j] = V{};
      }
#pragma GCC unroll 4
      for (int j = 0; j < G; ++j) o.vec(xv[j], yv[j]);
#pragma GCC unroll 4
      for (int j = 0; j < G; ++j) {
        if constexpr (Op::writes_x) xo_.put(xv[j]);
        if constexpr (Op::writes_y) yo_.put(yv[j]);
      }
    };
    (((void)J, (J % G == 0 ? group() : void())), ...);
    xi = xi_, yi = yi_, xo = xo_, yo = yo_;
  };
  ladder<Main>(nv, [&]<int Step>() ZOR_HOT { block(std::make_integer_sequence<int, Step>{}); });
  if constexpr (Op::writes_x) xo.finish();
  if constexpr (Op::writes_y) yo.finish();
  return done;
}

template <class Op, int Kx, int Main>
int64_t dispatch_y(const Op &op, int64_t nv, typename Op::R *x, typename Op::R *y, bool ahead) {
  switch (phase(y)) {
    case 0: return run_vectors<Op, Kx, 0, Main>(op, nv, x, y, ahead);
    case 8:
      if constexpr (sizeof(typename Op::E) == 16) return run_vectors<Op, Kx, 8, Main>(op, nv, x, y, ahead);
      [[fallthrough]];
    default: ZOR_ASSERT(false && "y is aligned to 16 bytes, or 8 for double complex"); return 0;
  }
}

// Unit-stride path over n elements (both bases aligned to the real type).
// Peels on y; then x may be in any phase. Double-complex elements cannot be
// peeled: both streams may then be 8 bytes off. A one-stream operation
// (scaling) passes its vector as y and the same pointer as x.
template <class Op, int Main>
void unit_path(const Op &op, int64_t n, typename Op::E *x, typename Op::E *y) {
  using E = typename Op::E;
  using R = typename Op::R;
  constexpr int per_vec = int(16 / sizeof(E));
  if constexpr (per_vec > 1) {
    while (n > 0 && !aligned_to(y, 16)) {
      op.one(*x, *y);
      ++x, ++y, --n;
    }
  }
  int64_t nv = n / per_vec;
  if (nv > 0) {
    R *xr = reinterpret_cast<R *>(x), *yr = reinterpret_cast<R *>(y);
    int kx = (Op::reads_x || Op::writes_x) ? phase(x) : 0;
    const bool ahead = Op::hinted && n * int64_t(sizeof(E)) >= tuned::kLongStream;
    switch (kx) {
      case 0: nv = dispatch_y<Op, 0, Main>(op, nv, xr, yr, ahead); break;
      case 4:
        if constexpr (sizeof(R) == 4) nv = dispatch_y<Op, 4, Main>(op, nv, xr, yr, ahead);
        break;
      case 8: nv = dispatch_y<Op, 8, Main>(op, nv, xr, yr, ahead); break;
      case 12:
        if constexpr (sizeof(R) == 4) nv = dispatch_y<Op, 12, Main>(op, nv, xr, yr, ahead);
        break;
      default: break;
    }
    x += nv * per_vec;
    y += nv * per_vec;
    n -= nv * per_vec;
  }
  for (; n > 0; --n, ++x, ++y) op.one(*x, *y);
}

// The operation on the elements at x and y. Direct: in place. Otherwise the
// elements may stand off their alignment (doubles 4 bytes off): read into
// registers, worked on, written back.
template <bool Direct, class Op>
ZOR_HOT inline void one_at(const Op &op, typename Op::E *x, typename Op::E *y) {
  if constexpr (Direct) {
    op.one(*x, *y);
  } else {
    auto u = load_any(x), v = load_any(y);
    op.one(u, v);
    if constexpr (Op::writes_x) store_any(x, u);
    if constexpr (Op::writes_y) store_any(y, v);
  }
}

// Strided path: far-end start for negative increments, four per pass.
template <bool Direct, class Op>
void strided_loop(const Op &op, int64_t n, typename Op::E *x, int64_t incx, typename Op::E *y, int64_t incy) {
  if (incx < 0) x += (1 - n) * incx;
  if (incy < 0) y += (1 - n) * incy;
  int64_t i = 0;
  for (; i + 4 <= n; i += 4, x += 4 * incx, y += 4 * incy) {
    one_at<Direct>(op, x, y);
    one_at<Direct>(op, x + incx, y + incy);
    one_at<Direct>(op, x + 2 * incx, y + 2 * incy);
    one_at<Direct>(op, x + 3 * incx, y + 3 * incy);
  }
  for (; i < n; ++i, x += incx, y += incy) one_at<Direct>(op, x, y);
}
template <class Op>
void strided_path(const Op &op, int64_t n, typename Op::E *x, int64_t incx, typename Op::E *y, int64_t incy) {
  using E = typename Op::E;
  if (aligned_to(x, alignof(E)) && aligned_to(y, alignof(E))) strided_loop<true>(op, n, x, incx, y, incy);
  else strided_loop<false>(op, n, x, incx, y, incy);
}

// The two-vector unit test: (1, 1) and (-1, -1) pair the same elements, and
// both then run forward from the bases as they stand.
inline bool unit_pair(int64_t incx, int64_t incy) { return (incx == 1 && incy == 1) || (incx == -1 && incy == -1); }

}  // namespace zor::blas
