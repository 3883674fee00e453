// Compute: the axis kernels that commit chooses, the compute entries, the
// drivers that walk a batch, and the workspace slots of nodes shared by
// several user threads.
//
// An axis kernel transforms one contiguous line (in may equal out). A driver
// walks `transforms` lines: in place, lines one element apart go through the
// strided block worker (gathered 8 or 4 at a time into rows of a buffer);
// other strided lines through one line buffer; contiguous lines directly.
// Buffers are aligned to 4096 bytes when the processor class is 4, else 256.
#include "dft/compute.hpp"

#include <atomic>
#include <cstring>

#include <zor/core.h>
#include <zor/dft_tier.h>
#include <zor/serv.h>

#include "dft/fixed.hpp"
#include "frame/memory.hpp"
#include "dft/late.hpp"
#include "dft/lines.hpp"
#include "dft/multi.hpp"
#include "dft/node.hpp"
#include "dft/plan.hpp"

namespace zor::dft {

namespace {

// ---------------------------------------------------------------- block worker

// W lines, neighbours `distance` apart, elements `stride` apart, to and from
// W rows of the buffer `pitch` elements apart. Each step moves W consecutive
// elements of memory when the lines are neighbours.
template <class E, int W>
void gather_lines(const E *src, int64_t distance, int64_t stride, int64_t n, E *rows, int64_t pitch) {
  for (int64_t i = 0; i < n; ++i) {
    const E *s = src + i * stride;
    for (int r = 0; r < W; ++r) rows[r * pitch + i] = s[r * distance];
  }
}
template <class E, int W>
void scatter_lines(const E *rows, int64_t pitch, int64_t n, E *dst, int64_t distance, int64_t stride) {
  for (int64_t i = 0; i < n; ++i) {
    E *d = dst + i * stride;
    for (int r = 0; r < W; ++r) d[r * distance] = rows[r * pitch + i];
  }
}

template <class R, int W>
int64_t block_group(DftNode *node, const cplx<R> *in, int64_t in_dist, int64_t in_stride, cplx<R> *out,
                    int64_t out_dist, int64_t out_stride, dft_axis_kernel k, cplx<R> *rows, int64_t pitch, void *ws) {
  const int64_t n = node->length;
  gather_lines<cplx<R>, W>(in, in_dist, in_stride, n, rows, pitch);
  for (int r = 0; r < W; ++r)
    if (int64_t s = k(rows + r * pitch, rows + r * pitch, node, ws)) return s;
  scatter_lines<cplx<R>, W>(rows, pitch, n, out, out_dist, out_stride);
  return DFT_NO_ERROR;
}

}  // namespace

template <class R>
int64_t block_lines(DftNode *node, const cplx<R> *in, int64_t in_dist, int64_t in_stride, cplx<R> *out,
                    int64_t out_dist, int64_t out_stride, dft_axis_kernel k, int64_t count, int block, cplx<R> *rows,
                    int64_t pitch, void *ws) {
  int64_t l = 0, s = 0;
  auto at_in = [&](int64_t line) { return in + line * in_dist; };
  auto at_out = [&](int64_t line) { return out + line * out_dist; };
  auto group = [&](int w) {
    switch (w) {
      case 8: return block_group<R, 8>(node, at_in(l), in_dist, in_stride, at_out(l), out_dist, out_stride, k, rows, pitch, ws);
      case 4: return block_group<R, 4>(node, at_in(l), in_dist, in_stride, at_out(l), out_dist, out_stride, k, rows, pitch, ws);
      case 2: return block_group<R, 2>(node, at_in(l), in_dist, in_stride, at_out(l), out_dist, out_stride, k, rows, pitch, ws);
      default: return block_group<R, 1>(node, at_in(l), in_dist, in_stride, at_out(l), out_dist, out_stride, k, rows, pitch, ws);
    }
  };
  if (block > 1)
    for (; count - l >= block; l += block)
      if ((s = group(block))) return s;
  if (block == 8 && count - l >= 4) {
    if ((s = group(4))) return s;
    l += 4;
  }
  if (block > 1)
    for (; count - l >= 2; l += 2)
      if ((s = group(2))) return s;
  for (; l < count; ++l)
    if ((s = group(1))) return s;
  return s;
}

namespace {

// `count` lines of `length` elements: line l starts at in + l in_dist
// (out + l out_dist), its elements `stride` apart.
template <class R>
int64_t block_worker(DftNode *node, const cplx<R> *in, int64_t in_dist, int64_t in_stride, cplx<R> *out,
                     int64_t out_dist, int64_t out_stride, dft_axis_kernel k, int64_t count, void *ws) {
  using E = cplx<R>;
  const int64_t n = node->length;
  const int block = count <= 16384 && n <= 32 ? 4 : 8;
  const int64_t pitch = row_pitch<R>(n);
  const int64_t rows_count = count < block ? count : block;
  frame::PooledBuffer buffer(uint64_t(rows_count * pitch) * sizeof(E) + 16, work_alignment());
  if (!buffer.get()) return DFT_MEMORY_ERROR;
  return block_lines<R>(node, in, in_dist, in_stride, out, out_dist, out_stride, k, count, block,
                        align_up<E>(buffer.get(), 16), pitch, ws);
}

// ---------------------------------------------------------------- split lines

// Split data: pairs {real, imaginary} of line pointers. Strided lines go
// through one buffer holding both parts.
template <class R>
int64_t split_lines(DftNode *node, R *ire, R *iim, int64_t in_dist, int64_t in_stride, R *ore, R *oim,
                    int64_t out_dist, int64_t out_stride, int64_t transforms, dft_axis_kernel k, void *ws) {
  const int64_t n = node->length;
  if (in_stride == 1 && out_stride == 1) {
    for (int64_t t = 0; t < transforms; ++t) {
      R *a[2] = {ire + t * in_dist, iim + t * in_dist}, *b[2] = {ore + t * out_dist, oim + t * out_dist};
      if (int64_t s = k(a, b, node, ws)) return s;
    }
    return DFT_NO_ERROR;
  }
  const int32_t align = work_alignment();
  frame::PooledBuffer buffer(uint64_t(n) * 16 + uint64_t(align), align);
  if (!buffer.get()) return DFT_MEMORY_ERROR;
  R *bre = static_cast<R *>(buffer.get());
  R *bim = align_up<R>(bre + n, align);
  for (int64_t t = 0; t < transforms; ++t) {
    gather_real(n, ire + t * in_dist, in_stride, bre);
    gather_real(n, iim + t * in_dist, in_stride, bim);
    R *pair[2] = {bre, bim};
    if (int64_t s = k(pair, pair, node, ws)) return s;
    scatter_real(n, bre, ore + t * out_dist, out_stride);
    scatter_real(n, bim, oim + t * out_dist, out_stride);
  }
  return DFT_NO_ERROR;
}

// ---------------------------------------------------------------- fixed kernels on an axis

// The fixed kernels have no scaling step of their own, and commit chooses
// them whatever the scales: the scale is applied after them.
template <class R, bool Fwd, int N>
int64_t fixed_axis(void *in, void *out, DftNode *node, void *ws) {
  static const FixedKernel<R> kernel = fixed_kernel<R>(N, Fwd);
  kernel(static_cast<const cplx<R> *>(in), static_cast<cplx<R> *>(out), node->kernel_tables,
         static_cast<cplx<R> *>(ws));
  scale_complex(static_cast<cplx<R> *>(out), N, kernel_scale<R>(node, Fwd));
  return DFT_NO_ERROR;
}

}  // namespace

// ---------------------------------------------------------------- axis kernels

template <class R, bool Fwd>
static int64_t run_plan_kernel(void *in, void *out, DftNode *node, void *ws, int kind) {
  const DftPlan *p = node->plans[kind + precision_index<R>];
  auto *i = static_cast<const cplx<R> *>(in);
  auto *o = static_cast<cplx<R> *>(out);
  int32_t s = Fwd ? plan_forward<R>(i, o, p, ws) : plan_backward<R>(i, o, p, ws);
  if (s) return node_status_of_plan(s);
  scale_complex(o, node->length, kernel_scale<R>(node, Fwd));
  return DFT_NO_ERROR;
}

template <class R, bool Fwd>
int64_t plan_ordered_kernel(void *in, void *out, DftNode *node, void *ws) {
  return run_plan_kernel<R, Fwd>(in, out, node, ws, DFT_PLAN_ORDERED);
}
template <class R, bool Fwd>
int64_t plan_unordered_kernel(void *in, void *out, DftNode *node, void *ws) {
  return run_plan_kernel<R, Fwd>(in, out, node, ws, DFT_PLAN_UNORDERED);
}
template <class R, bool Fwd>
int64_t plan_split_kernel(void *in, void *out, DftNode *node, void *ws) {
  const DftPlan *p = node->plans[DFT_PLAN_SPLIT + precision_index<R>];
  R **a = static_cast<R **>(in), **b = static_cast<R **>(out);
  int32_t s = Fwd ? plan_forward_split<R>(a[0], a[1], b[0], b[1], p, ws)
                  : plan_backward_split<R>(a[0], a[1], b[0], b[1], p, ws);
  if (s) return node_status_of_plan(s);
  R scale = kernel_scale<R>(node, Fwd);
  scale_real(b[0], node->length, scale);
  scale_real(b[1], node->length, scale);
  return DFT_NO_ERROR;
}

template <class R, bool Fwd>
dft_axis_kernel fixed_axis_kernel(int64_t n) {
  switch (n) {
    case 2: return fixed_axis<R, Fwd, 2>;
    case 4: return fixed_axis<R, Fwd, 4>;
    case 8: return fixed_axis<R, Fwd, 8>;
    case 16: return fixed_axis<R, Fwd, 16>;
    case 32: return fixed_axis<R, Fwd, 32>;
    case 64: return fixed_axis<R, Fwd, 64>;
    case 128: return fixed_axis<R, Fwd, 128>;
    case 256: return fixed_axis<R, Fwd, 256>;
    case 512: return fixed_axis<R, Fwd, 512>;
    case 1024: return fixed_axis<R, Fwd, 1024>;
    default: return nullptr;
  }
}

// The table kernels of the lengths 2 to 64 that are not powers of two: a
// straight-line kernel up to 16 points, the plan's passes above, each
// multiplying every output by the scale; misaligned data goes to the plan
// function.
template <bool Fwd>
int64_t table_kernel(void *in, void *out, DftNode *node, void *ws) {
  if (((reinterpret_cast<uintptr_t>(in) | reinterpret_cast<uintptr_t>(out)) & 15) || node->length > 16)
    return plan_ordered_kernel<double, Fwd>(in, out, node, ws);
  small_kernel<double>(node->length, Fwd, true)(static_cast<const cplx<double> *>(in), static_cast<cplx<double> *>(out),
                                                kernel_scale<double>(node, Fwd));
  return DFT_NO_ERROR;
}

// The node-level chirp (see ChirpRecord): multiply by the chirp, convolve
// through the child's forward and backward entries, multiply again. The
// backward transform uses the conjugates.
template <class R, bool Fwd>
int64_t chirp_kernel(void *in, void *out, DftNode *node, void *) {
  using E = cplx<R>;
  auto *rec = static_cast<const ChirpRecord<R> *>(node->extra_state);
  const int64_t n = rec->n, M = rec->m;
  frame::PooledBuffer buffer(uint64_t(M) * sizeof(E), 256);
  if (!buffer.get()) return DFT_MEMORY_ERROR;
  E *b = static_cast<E *>(buffer.get());
  auto *x = static_cast<const E *>(in);
  auto *y = static_cast<E *>(out);
  auto turn = [](E a, E w) { return Fwd ? a * w : a * conj(w); };
  for (int64_t k = 0; k < n; ++k) b[k] = turn(x[k], rec->w[k]);
  std::memset(static_cast<void *>(b + n), 0, sizeof(E) * size_t(M - n));
  DftNode *child = rec->child;
  if (int64_t s = child->compute_forward(child, b, nullptr, nullptr, nullptr)) return s;
  for (int64_t k = 0; k < M; ++k) b[k] = turn(b[k], rec->big[k]);
  if (int64_t s = child->compute_backward(child, b, nullptr, nullptr, nullptr)) return s;
  for (int64_t k = 0; k < n; ++k) y[k] = turn(b[k], rec->w[k]);
  scale_complex(y, n, kernel_scale<R>(node, Fwd));
  return DFT_NO_ERROR;
}

// ---------------------------------------------------------------- drivers

template <class R, bool Fwd>
int64_t driver_in(DftNode *node, void *data, int64_t transforms, void *ws) {
  using E = cplx<R>;
  const int64_t n = node->length, stride = node->input_stride, dist = node->input_distance;
  dft_axis_kernel k = node->kernels[kernel_slot<R>(Fwd, false)];
  if (node->complex_storage == DFT_REAL_REAL) {
    if (node->rank != 1) return DFT_UNIMPLEMENTED;
    R **pair = static_cast<R **>(data);
    R *re = pair[0] + node->input_offset, *im = pair[1] + node->input_offset;
    return split_lines<R>(node, re, im, dist, stride, re, im, dist, stride, transforms, k, ws);
  }
  if (node->rank != 1) return md_driver<R, Fwd>(node, data, nullptr, transforms, ws);
  E *x = static_cast<E *>(data) + node->input_offset;
  if (dist == 1 && n != 1) return block_worker<R>(node, x, 1, stride, x, 1, stride, k, transforms, ws);
  if (stride == 1) {
    for (int64_t t = 0; t < transforms; ++t)
      if (int64_t s = k(x + t * dist, x + t * dist, node, ws)) return s;
    return DFT_NO_ERROR;
  }
  frame::PooledBuffer line(uint64_t(n) * sizeof(E), work_alignment());
  if (!line.get()) return DFT_MEMORY_ERROR;
  E *b = static_cast<E *>(line.get());
  for (int64_t t = 0; t < transforms; ++t) {
    gather_complex(n, x + t * dist, stride, b);
    if (int64_t s = k(b, b, node, ws)) return s;
    scatter_complex(n, b, x + t * dist, stride);
  }
  return DFT_NO_ERROR;
}

template <class R, bool Fwd>
int64_t driver_out(DftNode *node, void *in, void *out, int64_t transforms, void *ws) {
  using E = cplx<R>;
  const int64_t n = node->length;
  const int64_t is = node->input_stride, os = node->output_stride;
  const int64_t id = node->input_distance, od = node->output_distance;
  dft_axis_kernel k = node->kernels[kernel_slot<R>(Fwd, false)];
  if (node->complex_storage == DFT_REAL_REAL) {
    if (node->rank != 1) return DFT_UNIMPLEMENTED;
    R **a = static_cast<R **>(in), **b = static_cast<R **>(out);
    return split_lines<R>(node, a[0] + node->input_offset, a[1] + node->input_offset, id, is,
                          b[0] + node->output_offset, b[1] + node->output_offset, od, os, transforms, k, ws);
  }
  if (node->rank != 1) return md_driver<R, Fwd>(node, in, out, transforms, ws);
  const E *x = static_cast<const E *>(in) + node->input_offset;
  E *y = static_cast<E *>(out) + node->output_offset;
  if (id == 1 && n != 1) return block_worker<R>(node, x, id, is, y, od, os, k, transforms, ws);
  if (is == 1 && os == 1) {
    for (int64_t t = 0; t < transforms; ++t) {
      const E *xi = x + t * id;
      E *yo = y + t * od;
      if (n == 1) {
        // One point needs no kernel; the copy still takes the scale.
        zor_int len = 1, one = 1;
        imports<ComplexOf<R>>::xcopy(&len, xi, &one, yo, &one);
        scale_complex(yo, 1, kernel_scale<R>(node, Fwd));
      } else if (int64_t s = k(const_cast<E *>(xi), yo, node, ws)) {
        return s;
      }
    }
    return DFT_NO_ERROR;
  }
  frame::PooledBuffer line(uint64_t(n) * sizeof(E), work_alignment());
  if (!line.get()) return DFT_MEMORY_ERROR;
  E *b = static_cast<E *>(line.get());
  for (int64_t t = 0; t < transforms; ++t) {
    gather_complex(n, x + t * id, is, b);
    if (int64_t s = k(b, b, node, ws)) return s;
    scatter_complex(n, b, y + t * od, os);
  }
  return DFT_NO_ERROR;
}

// ---------------------------------------------------------------- workspace slots

namespace {

int64_t thread_id() {
  static thread_local char marker;
  return int64_t(reinterpret_cast<uintptr_t>(&marker));
}

constexpr int64_t kSlotsFull = 0x7fffffff;

}  // namespace

int64_t claim_slot(DftNode *node) {
  if (!node->workspace) return 0;
  int64_t *t = node->thread_slots;
  const int64_t users = node->user_threads;
  std::atomic_ref<int64_t> header(t[0]);
  int64_t *ids = t + 1, *busy = t + 1 + users;
  const int64_t me = thread_id();
  int64_t h = header.load(std::memory_order_acquire);
  if ((h & 0xffffffff) != kSlotsFull) {
    for (int64_t i = 0; i < (h & 0xffffffff); ++i)
      if (std::atomic_ref<int64_t>(ids[i]).load(std::memory_order_relaxed) == me) {
        std::atomic_ref<int64_t>(busy[i]).store(1, std::memory_order_relaxed);
        return i;
      }
    zor_serv_lock();
    h = header.load(std::memory_order_relaxed);
    if ((h & 0xffffffff) != kSlotsFull && (h & 0xffffffff) < users) {
      int64_t i = h & 0xffffffff;
      std::atomic_ref<int64_t>(ids[i]).store(me, std::memory_order_relaxed);
      std::atomic_ref<int64_t>(busy[i]).store(1, std::memory_order_relaxed);
      header.store(i + 1, std::memory_order_release);
      zor_serv_unlock();
      return i;
    }
    header.store(kSlotsFull, std::memory_order_release);
    zor_serv_unlock();
  }
  for (int64_t i = 0;; i = (i + 1) % users) {
    std::atomic_ref<int64_t> word(busy[i]);
    if (word.load(std::memory_order_relaxed) != 0) continue;
    zor_serv_lock();
    bool free_now = word.load(std::memory_order_relaxed) == 0;
    if (free_now) word.store(1, std::memory_order_relaxed);
    zor_serv_unlock();
    if (free_now) return i;
  }
}

void release_slot(DftNode *node, int64_t slot) {
  if (!node->workspace) return;
  std::atomic_ref<int64_t>(node->thread_slots[1 + node->user_threads + slot]).store(0, std::memory_order_release);
}

// ---------------------------------------------------------------- compute entries

namespace {

// The common tail of the entries: user threads with their slots, the driver
// on one thread, the whole-transform routine, or the threading layer.
template <class R, bool Fwd, bool Out>
int64_t entry(DftNode *node, void *in, void *out) {
  using E = cplx<R>;
  dft_axis_kernel k = node->kernels[kernel_slot<R>(Fwd, false)];
  auto offset_in = [&] { return static_cast<E *>(in) + node->input_offset; };
  auto offset_out = [&] { return static_cast<E *>(Out ? out : in) + (Out ? node->output_offset : node->input_offset); };
  auto driver = [&](void *ws) {
    return Out ? driver_out<R, Fwd>(node, in, out, node->transforms, ws)
               : driver_in<R, Fwd>(node, in, node->transforms, ws);
  };
  if (node->flags & DFT_FLAG_CALL_KERNEL_DIRECTLY) return k(offset_in(), offset_out(), node, node->workspace);
  if (node->user_threads > 1)
    return in_user_slot(node, [&](void *mine) {
      return (node->flags & DFT_FLAG_SINGLE_THREAD_DIRECT) ? k(offset_in(), offset_out(), node, mine) : driver(mine);
    });
  if (node->threads == 1) return driver(node->workspace);
  dft_axis_kernel whole = node->kernels[kernel_slot<R>(Fwd, true)];
  if (node->transforms == 1 && whole) {
    E *a = offset_in(), *b = offset_out();
    if (!node->four_step_state && ((reinterpret_cast<uintptr_t>(a) | reinterpret_cast<uintptr_t>(b)) & 15)) {
      const int64_t n = node->length;
      frame::PooledBuffer buffer(uint64_t(n) * sizeof(E), 16);
      if (!buffer.get()) return DFT_MEMORY_ERROR;
      R *t = static_cast<R *>(buffer.get());
      zor_int len = 2 * n, one = 1;
      imports<RealOf<R>>::xcopy(&len, reinterpret_cast<R *>(a), &one, t, &one);
      int64_t s = whole(t, t, node, node->kernel_tables);
      if (!s) imports<RealOf<R>>::xcopy(&len, t, &one, reinterpret_cast<R *>(b), &one);
      return s;
    }
    return whole(a, b, node, node->workspace);
  }
  DftNode *holder = node;
  return frame::call_late<int64_t>(compute_par_cell<R, Fwd, Out>(), &holder, in, Out ? out : nullptr,
                                   static_cast<void *>(nullptr), static_cast<void *>(nullptr));
}

template <class R, bool Fwd, bool Out>
int64_t split_entry(DftNode *node, R *ire, R *iim, R *ore, R *oim) {
  dft_axis_kernel k = node->kernels[kernel_slot<R>(Fwd, false)];
  R *a[2] = {ire, iim}, *b[2] = {ore, oim};
  auto driver = [&](void *ws) {
    return Out ? driver_out<R, Fwd>(node, a, b, node->transforms, ws) : driver_in<R, Fwd>(node, a, node->transforms, ws);
  };
  auto direct = [&](void *ws) {
    R *x[2] = {ire + node->input_offset, iim + node->input_offset};
    R *y[2] = {ore + node->output_offset, oim + node->output_offset};
    if (!Out) y[0] = x[0], y[1] = x[1];
    return k(x, y, node, ws);
  };
  if (node->flags & DFT_FLAG_CALL_KERNEL_DIRECTLY) return direct(node->workspace);
  if (node->user_threads > 1)
    return in_user_slot(node, [&](void *mine) {
      return (node->flags & DFT_FLAG_SINGLE_THREAD_DIRECT) ? direct(mine) : driver(mine);
    });
  return driver(node->workspace);
}

}  // namespace

template <class R, bool Fwd>
int64_t entry_in(DftNode *node, void *a, void *, void *, void *) {
  return entry<R, Fwd, false>(node, a, nullptr);
}
template <class R, bool Fwd>
int64_t entry_out(DftNode *node, void *a, void *b, void *, void *) {
  return entry<R, Fwd, true>(node, a, b);
}
template <class R, bool Fwd>
int64_t entry_split_in(DftNode *node, void *a, void *b, void *, void *) {
  return split_entry<R, Fwd, false>(node, static_cast<R *>(a), static_cast<R *>(b), static_cast<R *>(a),
                                    static_cast<R *>(b));
}
template <class R, bool Fwd>
int64_t entry_split_out(DftNode *node, void *a, void *b, void *c, void *d) {
  return split_entry<R, Fwd, true>(node, static_cast<R *>(a), static_cast<R *>(b), static_cast<R *>(c),
                                   static_cast<R *>(d));
}

template <class R, bool Fwd>
int64_t small_plan_in(DftNode *node, void *a, void *, void *, void *) {
  auto *x = static_cast<cplx<R> *>(a);
  const DftPlan *p = node->plans[DFT_PLAN_ORDERED + precision_index<R>];
  int32_t s = Fwd ? plan_forward<R>(x, x, p, nullptr) : plan_backward<R>(x, x, p, nullptr);
  return s ? node_status_of_plan(s) : int64_t(DFT_NO_ERROR);
}
template <class R, bool Fwd>
int64_t small_plan_out(DftNode *node, void *a, void *b, void *, void *) {
  auto *x = static_cast<const cplx<R> *>(a);
  auto *y = static_cast<cplx<R> *>(b);
  const DftPlan *p = node->plans[DFT_PLAN_ORDERED + precision_index<R>];
  int32_t s = Fwd ? plan_forward<R>(x, y, p, nullptr) : plan_backward<R>(x, y, p, nullptr);
  return s ? node_status_of_plan(s) : int64_t(DFT_NO_ERROR);
}

template <class R, bool Fwd, int N>
int64_t fixed_entry_in(DftNode *, void *a, void *, void *, void *) {
  static const FixedKernel<R> kernel = fixed_kernel<R>(N, Fwd);
  kernel(static_cast<cplx<R> *>(a), static_cast<cplx<R> *>(a), nullptr, nullptr);
  return DFT_NO_ERROR;
}
template <class R, bool Fwd, int N>
int64_t fixed_entry_out(DftNode *, void *a, void *b, void *, void *) {
  static const FixedKernel<R> kernel = fixed_kernel<R>(N, Fwd);
  kernel(static_cast<const cplx<R> *>(a), static_cast<cplx<R> *>(b), nullptr, nullptr);
  return DFT_NO_ERROR;
}

// ---------------------------------------------------------------- instances

#define ZOR_DFT_COMPUTE_INSTANCES(R, F)                                                         \
  template int64_t plan_ordered_kernel<R, F>(void *, void *, DftNode *, void *);               \
  template int64_t plan_unordered_kernel<R, F>(void *, void *, DftNode *, void *);             \
  template int64_t plan_split_kernel<R, F>(void *, void *, DftNode *, void *);                 \
  template dft_axis_kernel fixed_axis_kernel<R, F>(int64_t);                                   \
  template int64_t chirp_kernel<R, F>(void *, void *, DftNode *, void *);                      \
  template int64_t entry_in<R, F>(DftNode *, void *, void *, void *, void *);                  \
  template int64_t entry_out<R, F>(DftNode *, void *, void *, void *, void *);                 \
  template int64_t entry_split_in<R, F>(DftNode *, void *, void *, void *, void *);            \
  template int64_t entry_split_out<R, F>(DftNode *, void *, void *, void *, void *);           \
  template int64_t driver_in<R, F>(DftNode *, void *, int64_t, void *);                        \
  template int64_t driver_out<R, F>(DftNode *, void *, void *, int64_t, void *);               \
  template int64_t small_plan_in<R, F>(DftNode *, void *, void *, void *, void *);             \
  template int64_t small_plan_out<R, F>(DftNode *, void *, void *, void *, void *);            \
  template int64_t fixed_entry_in<R, F, 2>(DftNode *, void *, void *, void *, void *);         \
  template int64_t fixed_entry_in<R, F, 4>(DftNode *, void *, void *, void *, void *);         \
  template int64_t fixed_entry_in<R, F, 8>(DftNode *, void *, void *, void *, void *);         \
  template int64_t fixed_entry_in<R, F, 16>(DftNode *, void *, void *, void *, void *);        \
  template int64_t fixed_entry_in<R, F, 32>(DftNode *, void *, void *, void *, void *);        \
  template int64_t fixed_entry_in<R, F, 64>(DftNode *, void *, void *, void *, void *);        \
  template int64_t fixed_entry_in<R, F, 128>(DftNode *, void *, void *, void *, void *);       \
  template int64_t fixed_entry_out<R, F, 2>(DftNode *, void *, void *, void *, void *);        \
  template int64_t fixed_entry_out<R, F, 4>(DftNode *, void *, void *, void *, void *);        \
  template int64_t fixed_entry_out<R, F, 8>(DftNode *, void *, void *, void *, void *);        \
  template int64_t fixed_entry_out<R, F, 16>(DftNode *, void *, void *, void *, void *);       \
  template int64_t fixed_entry_out<R, F, 32>(DftNode *, void *, void *, void *, void *);       \
  template int64_t fixed_entry_out<R, F, 64>(DftNode *, void *, void *, void *, void *);       \
  template int64_t fixed_entry_out<R, F, 128>(DftNode *, void *, void *, void *, void *);
ZOR_DFT_COMPUTE_INSTANCES(double, true)
ZOR_DFT_COMPUTE_INSTANCES(double, false)
ZOR_DFT_COMPUTE_INSTANCES(float, true)
ZOR_DFT_COMPUTE_INSTANCES(float, false)
#undef ZOR_DFT_COMPUTE_INSTANCES
template int64_t block_lines<double>(DftNode *, const cplx<double> *, int64_t, int64_t, cplx<double> *, int64_t,
                                     int64_t, dft_axis_kernel, int64_t, int, cplx<double> *, int64_t, void *);
template int64_t block_lines<float>(DftNode *, const cplx<float> *, int64_t, int64_t, cplx<float> *, int64_t, int64_t,
                                    dft_axis_kernel, int64_t, int, cplx<float> *, int64_t, void *);
template int64_t table_kernel<true>(void *, void *, DftNode *, void *);
template int64_t table_kernel<false>(void *, void *, DftNode *, void *);

}  // namespace zor::dft

using namespace zor::dft;

// ---------------------------------------------------------------- exported drivers

ZOR_API int64_t zor_dft_xzforward(DftNode *n, void *d, int64_t t, void *w) { return driver_in<double, true>(n, d, t, w); }
ZOR_API int64_t zor_dft_xzbackward(DftNode *n, void *d, int64_t t, void *w) {
  return driver_in<double, false>(n, d, t, w);
}
ZOR_API int64_t zor_dft_xcforward(DftNode *n, void *d, int64_t t, void *w) { return driver_in<float, true>(n, d, t, w); }
ZOR_API int64_t zor_dft_xcbackward(DftNode *n, void *d, int64_t t, void *w) {
  return driver_in<float, false>(n, d, t, w);
}
ZOR_API int64_t zor_dft_xzforward_out(DftNode *n, void *i, void *o, int64_t t, void *w) {
  return driver_out<double, true>(n, i, o, t, w);
}
ZOR_API int64_t zor_dft_xzbackward_out(DftNode *n, void *i, void *o, int64_t t, void *w) {
  return driver_out<double, false>(n, i, o, t, w);
}
ZOR_API int64_t zor_dft_xcforward_out(DftNode *n, void *i, void *o, int64_t t, void *w) {
  return driver_out<float, true>(n, i, o, t, w);
}
ZOR_API int64_t zor_dft_xcbackward_out(DftNode *n, void *i, void *o, int64_t t, void *w) {
  return driver_out<float, false>(n, i, o, t, w);
}
