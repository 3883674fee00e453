// Transforms of rank 2 and above, axis by axis on the node chain.
//
// Two axes at a time go through the two-dimensional routine: the row pass
// (first axis), then, when the second axis is longer than 1, the column pass
// by blocks of 4 or 8 columns. Further axes are swept line by line: the lines
// of an axis are numbered over the other axes and the batch, the neighbour
// with the smallest distance moving fastest, so that lines one element apart
// are gathered together into the rows of a buffer.
//
// Decisions kept here:
// - Shares count whole slices and whole lines, by an odometer started at the
//   share's first index.
// - A share takes its data with the offsets already added; the passes that
//   work in place on the output use the output strides and distance (in
//   place they equal the input ones).
// - The column passes gather their columns whatever the cache holds: the
//   axis kernels take contiguous lines only.
// - Sweep width from the third axis on: 8 when axis 1 is longer than 32, or
//   when (axis 2 is longer than 32 or the first two axes hold fewer than 4096
//   points) and (they hold more than 16, or axis 1 is longer than 16, or
//   axis 2 is longer than 2048); otherwise 4; 1 when the lines are not one
//   element apart.
#include "dft/multi.hpp"

#include <utility>

#include <zor/core.h>
#include <zor/dft_tier.h>
#include <zor/serv.h>

#include "dft/late.hpp"
#include "dft/lines.hpp"
#include "dft/node.hpp"
#include "frame/memory.hpp"

namespace zor::dft {
namespace {

struct Digit {
  int64_t length, in, out;
};

// The axes and the batch of a task, with the strides of the side each pass
// reads and writes.
struct Frame {
  int32_t rank = 0;
  DftNode *axis[kMaxAxes];
  Digit dim[kMaxAxes];
  Digit batch;
};

enum class Sides { in_in, in_out, out_out };

Frame frame_of(DftNode *root, Sides sides, int64_t transforms) {
  Frame f;
  for (DftNode *a = root; a && f.rank < kMaxAxes; a = a->next_axis, ++f.rank) {
    f.axis[f.rank] = a;
    f.dim[f.rank] = {a->length, sides == Sides::out_out ? a->output_stride : a->input_stride,
                     sides == Sides::in_in ? a->input_stride : a->output_stride};
  }
  f.batch = {transforms, sides == Sides::out_out ? root->output_distance : root->input_distance,
             sides == Sides::in_in ? root->input_distance : root->output_distance};
  return f;
}

int64_t magnitude(int64_t v) { return v < 0 ? -v : v; }

template <class R>
using E = cplx<R>;

template <class R, bool Fwd>
dft_axis_kernel kernel_of(const DftNode *axis) {
  return axis->kernels[kernel_slot<R>(Fwd, false)];
}

// A buffer of `elements` complex values, 16-byte aligned inside a block of
// the workspace alignment.
template <class R>
struct LineBuffer {
  frame::PooledBuffer block;
  explicit LineBuffer(int64_t elements) : block(uint64_t(elements) * sizeof(E<R>) + 16, work_alignment()) {}
  E<R> *get() const { return block.get() ? align_up<E<R>>(block.get(), 16) : nullptr; }
};

// ---------------------------------------------------------------- two axes

// Rows first .. first + count - 1: row j at in + j is1 (out + j os1), its
// points is0 (os0) apart. In place, a planned row with natural order is
// gathered even at unit stride (its plan would copy it anyway), and a fixed
// kernel runs in place only while the whole array fits the cache.
template <class R>
int64_t rows_pass(DftNode *node, dft_axis_kernel k, const E<R> *in, int64_t is0, int64_t is1, E<R> *out, int64_t os0,
                  int64_t os1, int64_t first, int64_t count, E<R> *buf, void *ws) {
  const int64_t L0 = node->length, L1 = node->next_axis ? node->next_axis->length : 1;
  const bool same = in == out && is0 == os0 && is1 == os1;
  bool direct = is0 == 1 && os0 == 1;
  if (direct && same)
    direct = node->uses_plan ? node->ordering != DFT_ORDERED
                             : zor_serv_get_cache_size(0) > L0 * int64_t(sizeof(E<R>)) * L1;
  for (int64_t j = first; j < first + count; ++j) {
    const E<R> *x = in + j * is1;
    E<R> *y = out + j * os1;
    if (direct) {
      if (int64_t s = k(const_cast<E<R> *>(x), y, node, ws)) return s;
      continue;
    }
    gather_complex<R>(L0, x, is0, buf);
    if (int64_t s = k(buf, buf, node, ws)) return s;
    scatter_complex<R>(L0, buf, y, os0);
  }
  return DFT_NO_ERROR;
}

// Columns first .. first + count - 1 along the second axis: column i at
// in + i is0, its points is1 apart; blocks of `width` columns when the
// columns are one element apart.
template <class R>
int64_t columns_pass(DftNode *node, dft_axis_kernel k, const E<R> *in, int64_t is0, int64_t is1, E<R> *out,
                     int64_t os0, int64_t os1, int64_t first, int64_t count, int width, E<R> *buf, void *ws) {
  DftNode *second = node->next_axis;
  const int w = is0 == 1 && os0 == 1 ? width : 1;
  return block_lines<R>(second, in + first * is0, is0, is1, out + first * os0, os0, os1, k, count, w, buf,
                        row_pitch<R>(second->length), ws);
}

int block_width(int64_t mode) { return mode == 3 ? 8 : 4; }

template <class R>
int64_t buffer_2d(const DftNode *node, int width) {
  const int64_t L0 = node->length, L1 = node->next_axis ? node->next_axis->length : 1;
  const int64_t columns = width * row_pitch<R>(L1);
  return columns > L0 ? columns : L0;
}

template <class R>
int64_t dft2d(const E<R> *in, E<R> *out, int64_t is0, int64_t is1, int64_t os0, int64_t os1, dft_axis_kernel k0,
              dft_axis_kernel k1, DftNode *node, void *ws, int64_t mode, E<R> *buf) {
  const int64_t L0 = node->length, L1 = node->next_axis ? node->next_axis->length : 1;
  if (int64_t s = rows_pass<R>(node, k0, in, is0, is1, out, os0, os1, 0, L1, buf, ws)) return s;
  if (L1 <= 1) return DFT_NO_ERROR;
  return columns_pass<R>(node, k1, out, os0, os1, out, os0, os1, 0, L0, block_width(mode), buf, ws);
}

template <class R>
int64_t dft2d_in(void *data, const int64_t *s0, const int64_t *s1, dft_axis_kernel k0, dft_axis_kernel k1,
                 DftNode *node, void *ws, int64_t mode) {
  const int width = *s0 == 1 ? block_width(2) : 1;
  LineBuffer<R> buf(buffer_2d<R>(node, width));
  if (!buf.get()) return DFT_MEMORY_ERROR;
  auto *x = static_cast<E<R> *>(data);
  return dft2d<R>(x, x, *s0, *s1, *s0, *s1, k0, k1, node, ws, *s0 == 1 ? 2 : mode, buf.get());
}

template <class R>
int64_t dft2d_out(const void *in, void *out, const int64_t *is, const int64_t *os, dft_axis_kernel k0,
                  dft_axis_kernel k1, DftNode *node, void *ws, int64_t mode) {
  LineBuffer<R> buf(buffer_2d<R>(node, block_width(mode)));
  if (!buf.get()) return DFT_MEMORY_ERROR;
  return dft2d<R>(static_cast<const E<R> *>(in), static_cast<E<R> *>(out), is[0], is[1], os[0], os[1], k0, k1, node,
                  ws, mode, buf.get());
}

// ---------------------------------------------------------------- odometers

// Digits of a walk, the fastest first; position `first` as digit values.
struct Odometer {
  Digit d[kMaxAxes + 1];
  int64_t at[kMaxAxes + 1] = {};
  int32_t count = 0;
  void add(Digit g) { d[count++] = g; }
  void start(int64_t first) {
    for (int32_t j = 0; j < count; ++j) {
      at[j] = d[j].length ? first % d[j].length : 0;
      first = d[j].length ? first / d[j].length : 0;
    }
  }
  int64_t in() const {
    int64_t o = 0;
    for (int32_t j = 0; j < count; ++j) o += at[j] * d[j].in;
    return o;
  }
  int64_t out() const {
    int64_t o = 0;
    for (int32_t j = 0; j < count; ++j) o += at[j] * d[j].out;
    return o;
  }
  // Moves the fastest digit by `step` (never past its length) and carries.
  void advance(int64_t step) {
    at[0] += step;
    for (int32_t j = 0; j + 1 < count && at[j] >= d[j].length; ++j) at[j] = 0, ++at[j + 1];
  }
};

// Slices of a frame of rank 2 or more: axes 2 on, then the batch.
Odometer slice_odometer(const Frame &f) {
  Odometer o;
  for (int32_t k = 2; k < f.rank; ++k) o.add(f.dim[k]);
  o.add(f.batch);
  return o;
}

template <class R, bool Fwd>
int64_t slices(const Frame &f, const E<R> *in, E<R> *out, int64_t first, int64_t count, void *ws) {
  DftNode *node = f.axis[0];
  LineBuffer<R> buf(buffer_2d<R>(node, 4));
  if (!buf.get()) return DFT_MEMORY_ERROR;
  Odometer o = slice_odometer(f);
  o.start(first);
  const dft_axis_kernel k0 = kernel_of<R, Fwd>(f.axis[0]), k1 = kernel_of<R, Fwd>(f.axis[1]);
  for (int64_t s = 0; s < count; ++s, o.advance(1))
    if (int64_t st = dft2d<R>(in + o.in(), out + o.out(), f.dim[0].in, f.dim[1].in, f.dim[0].out, f.dim[1].out, k0,
                              k1, node, ws, 2, buf.get()))
      return st;
  return DFT_NO_ERROR;
}

// Lines of axis a: the other axes and the batch as digits, the one with the
// smallest input distance fastest. Digits of one value are left out (a lone
// transform's distance would otherwise come first and cut every run of
// neighbouring lines to one).
Odometer line_odometer(const Frame &f, int32_t a) {
  Odometer o;
  for (int32_t k = 0; k < f.rank; ++k)
    if (k != a && f.dim[k].length > 1) o.add(f.dim[k]);
  if (f.batch.length > 1 || o.count == 0) o.add(f.batch);
  for (int32_t i = 1; i < o.count; ++i)
    for (int32_t j = i; j > 0 && magnitude(o.d[j].in) < magnitude(o.d[j - 1].in); --j) std::swap(o.d[j], o.d[j - 1]);
  return o;
}

int sweep_width(const Frame &f, int32_t a, const Odometer &o, int64_t lines) {
  if (o.d[0].in != 1 && o.d[0].out != 1) return 1;
  if (f.rank < 3) return lines <= 16384 && f.dim[a].length <= 32 ? 4 : 8;
  const int64_t a1 = f.dim[1].length, a2 = f.dim[2].length, c = f.dim[0].length * a1;
  return a1 > 32 || ((a2 > 32 || c < 4096) && (c > 16 || a1 > 16 || a2 > 2048)) ? 8 : 4;
}

int64_t line_count(const Odometer &o) {
  int64_t n = 1;
  for (int32_t j = 0; j < o.count; ++j) n *= o.d[j].length;
  return n;
}

template <class R, bool Fwd>
int64_t lines(const Frame &f, int32_t a, const E<R> *in, E<R> *out, int64_t first, int64_t count, void *ws) {
  DftNode *node = f.axis[a];
  const int64_t n = node->length, is = f.dim[a].in, os = f.dim[a].out;
  const dft_axis_kernel k = kernel_of<R, Fwd>(node);
  Odometer o = line_odometer(f, a);
  const int width = sweep_width(f, a, o, line_count(o));
  const bool contiguous = is == 1 && os == 1;
  LineBuffer<R> buf(contiguous ? 0 : width * row_pitch<R>(n));
  if (!buf.get()) return DFT_MEMORY_ERROR;
  o.start(first);
  while (count > 0) {
    const int64_t left = o.d[0].length - o.at[0], run = count < left ? count : left;
    const E<R> *x = in + o.in();
    E<R> *y = out + o.out();
    const int64_t id = o.d[0].in, od = o.d[0].out;
    if (contiguous) {
      for (int64_t l = 0; l < run; ++l) {
        if (n == 1) {
          y[l * od] = x[l * id];
          scale_complex<R>(y + l * od, 1, kernel_scale<R>(node, Fwd));
        } else if (int64_t s = k(const_cast<E<R> *>(x + l * id), y + l * od, node, ws)) {
          return s;
        }
      }
    } else if (int64_t s = block_lines<R>(node, x, id, is, y, od, os, k, run, width, buf.get(), row_pitch<R>(n), ws)) {
      return s;
    }
    count -= run;
    o.advance(run);
  }
  return DFT_NO_ERROR;
}

int64_t slice_total(const Frame &f) {
  int64_t n = f.batch.length;
  for (int32_t k = 2; k < f.rank; ++k) n *= f.dim[k].length;
  return n;
}

int64_t line_total(const Frame &f, int32_t a) {
  int64_t n = f.batch.length;
  for (int32_t k = 0; k < f.rank; ++k)
    if (k != a) n *= f.dim[k].length;
  return n;
}

}  // namespace

// ---------------------------------------------------------------- drivers and entries

template <class R>
dft_generic_fn dft2d_in_routine() {
  return reinterpret_cast<dft_generic_fn>(static_cast<Dft2dIn>(dft2d_in<R>));
}
template <class R>
dft_generic_fn dft2d_out_routine() {
  return reinterpret_cast<dft_generic_fn>(static_cast<Dft2dOut>(dft2d_out<R>));
}

// The first two axes for every slice, then each further axis; in place when
// out is null. A batch of two-dimensional transforms whose neighbours are one
// element apart goes as two sweeps of lines across the batch instead.
template <class R, bool Fwd>
int64_t md_driver(DftNode *node, void *in, void *out, int64_t transforms, void *ws) {
  const bool out_of_place = out != nullptr;
  auto *x = static_cast<E<R> *>(in) + node->input_offset;
  auto *y = out_of_place ? static_cast<E<R> *>(out) + node->output_offset : x;
  const Frame f = frame_of(node, out_of_place ? Sides::in_out : Sides::in_in, transforms);
  const Frame g = out_of_place ? frame_of(node, Sides::out_out, transforms) : f;
  if (transforms <= 0) return DFT_NO_ERROR;
  if (f.rank == 2 && transforms > 1 && f.batch.in == 1) {
    if (int64_t s = lines<R, Fwd>(f, 0, x, y, 0, line_total(f, 0), ws)) return s;
    return lines<R, Fwd>(g, 1, y, y, 0, line_total(g, 1), ws);
  }
  if (int64_t s = slices<R, Fwd>(f, x, y, 0, slice_total(f), ws)) return s;
  for (int32_t a = 2; a < g.rank; ++a)
    if (int64_t s = lines<R, Fwd>(g, a, y, y, 0, line_total(g, a), ws)) return s;
  return DFT_NO_ERROR;
}

template <class R, bool Fwd>
int64_t sweep_later_axes(DftNode *root, cplx<R> *data, int64_t h, const int64_t *strides, int64_t transforms,
                         int64_t distance, void *ws, int32_t first_axis) {
  Frame f = frame_of(root, Sides::in_in, transforms);
  for (int32_t k = 0; k < f.rank; ++k) f.dim[k] = {k ? f.dim[k].length : h, strides[k], strides[k]};
  f.batch = {transforms, distance, distance};
  for (int32_t j = first_axis; j < f.rank; ++j) {
    const int32_t a = Fwd ? j : f.rank - 1 + first_axis - j;
    if (int64_t s = lines<R, Fwd>(f, a, data, data, 0, line_total(f, a), ws)) return s;
  }
  return DFT_NO_ERROR;
}

template <class R, bool Fwd>
int64_t half_spectrum_lines(DftNode *root, cplx<R> *data, int64_t h, const int64_t *strides, int64_t transforms,
                            int64_t distance, int32_t axis, int64_t first, int64_t count, void *ws) {
  Frame f = frame_of(root, Sides::in_in, transforms);
  if (axis < 1 || axis >= f.rank) return DFT_INCONSISTENT_CONFIGURATION;
  for (int32_t k = 0; k < f.rank; ++k) f.dim[k] = {k ? f.dim[k].length : h, strides[k], strides[k]};
  f.batch = {transforms, distance, distance};
  return lines<R, Fwd>(f, axis, data, data, first, count, ws);
}

namespace {

template <class R, bool Fwd, bool Out>
int64_t md_entry(DftNode *node, void *in, void *out) {
  if (node->flags & DFT_FLAG_DIRECT_2D) {
    const dft_axis_kernel k0 = kernel_of<R, Fwd>(node), k1 = kernel_of<R, Fwd>(node->next_axis);
    auto *x = static_cast<E<R> *>(in) + node->input_offset;
    if (!Out) return dft2d_in<R>(x, &node->input_stride, &node->next_axis->input_stride, k0, k1, node, node->workspace, 2);
    const int64_t is[2] = {node->input_stride, node->next_axis->input_stride};
    const int64_t os[2] = {node->output_stride, node->next_axis->output_stride};
    return dft2d_out<R>(x, static_cast<E<R> *>(out) + node->output_offset, is, os, k0, k1, node, node->workspace, 2);
  }
  auto driver = [&](void *ws) { return md_driver<R, Fwd>(node, in, Out ? out : nullptr, node->transforms, ws); };
  if (node->user_threads > 1) return in_user_slot(node, driver);
  if (node->threads == 1) return driver(node->workspace);
  DftNode *holder = node;
  return frame::call_late<int64_t>(compute_par_cell<R, Fwd, Out>(), &holder, in, Out ? out : nullptr,
                                   static_cast<void *>(nullptr), static_cast<void *>(nullptr));
}

}  // namespace

template <class R, bool Fwd>
int64_t md_entry_in(DftNode *node, void *a, void *, void *, void *) {
  return md_entry<R, Fwd, false>(node, a, nullptr);
}
template <class R, bool Fwd>
int64_t md_entry_out(DftNode *node, void *a, void *b, void *, void *) {
  return md_entry<R, Fwd, true>(node, a, b);
}

#define ZOR_DFT_MD_INSTANCES(R, F)                                                  \
  template int64_t md_driver<R, F>(DftNode *, void *, void *, int64_t, void *);     \
  template int64_t sweep_later_axes<R, F>(DftNode *, cplx<R> *, int64_t, const int64_t *, int64_t, int64_t, void *, \
                                          int32_t);                                                                \
  template int64_t half_spectrum_lines<R, F>(DftNode *, cplx<R> *, int64_t, const int64_t *, int64_t, int64_t,      \
                                             int32_t, int64_t, int64_t, void *);                                    \
  template int64_t md_entry_in<R, F>(DftNode *, void *, void *, void *, void *);    \
  template int64_t md_entry_out<R, F>(DftNode *, void *, void *, void *, void *);
ZOR_DFT_MD_INSTANCES(double, true)
ZOR_DFT_MD_INSTANCES(double, false)
ZOR_DFT_MD_INSTANCES(float, true)
ZOR_DFT_MD_INSTANCES(float, false)
#undef ZOR_DFT_MD_INSTANCES
template dft_generic_fn dft2d_in_routine<double>();
template dft_generic_fn dft2d_in_routine<float>();
template dft_generic_fn dft2d_out_routine<double>();
template dft_generic_fn dft2d_out_routine<float>();

// ---------------------------------------------------------------- shares

template <class R>
void columns_share(const void *in, void *out, const int64_t *is, const int64_t *os, int64_t first, int64_t count,
                   dft_axis_kernel k, DftNode *node, int64_t *status, void *ws) {
  LineBuffer<R> buf(4 * row_pitch<R>(node->next_axis->length));
  if (!buf.get()) {
    *status = DFT_MEMORY_ERROR;
    return;
  }
  *status = columns_pass<R>(node, k, static_cast<const E<R> *>(in), is[0], is[1], static_cast<E<R> *>(out), os[0],
                            os[1], first, count, 4, buf.get(), ws);
}
template void columns_share<double>(const void *, void *, const int64_t *, const int64_t *, int64_t, int64_t,
                                    dft_axis_kernel, DftNode *, int64_t *, void *);
template void columns_share<float>(const void *, void *, const int64_t *, const int64_t *, int64_t, int64_t,
                                   dft_axis_kernel, DftNode *, int64_t *, void *);

namespace {

template <class R>
int64_t rows_share(const void *in, void *out, const int64_t *is, const int64_t *os, int64_t first, int64_t count,
                   dft_axis_kernel k, DftNode *node, void *ws) {
  LineBuffer<R> buf(node->length);
  if (!buf.get()) return DFT_MEMORY_ERROR;
  return rows_pass<R>(node, k, static_cast<const E<R> *>(in), is[0], is[1], static_cast<E<R> *>(out), os[0], os[1],
                      first, count, buf.get(), ws);
}


template <class R>
int64_t slice_share(DftNode *root, const void *in, void *out, Sides sides, int64_t first, int64_t count, void *ws,
                    int32_t forward) {
  const Frame f = frame_of(root, sides, root->transforms);
  auto *x = static_cast<const E<R> *>(in);
  auto *y = static_cast<E<R> *>(out);
  return forward ? slices<R, true>(f, x, y, first, count, ws) : slices<R, false>(f, x, y, first, count, ws);
}

template <class R>
int64_t line_share(DftNode *root, int64_t axis, const void *in, void *out, Sides sides, int64_t first, int64_t count,
                   void *ws, int32_t forward) {
  const Frame f = frame_of(root, sides, root->transforms);
  if (axis < 0 || axis >= f.rank) return DFT_INCONSISTENT_CONFIGURATION;
  auto *x = static_cast<const E<R> *>(in);
  auto *y = static_cast<E<R> *>(out);
  const int32_t a = int32_t(axis);
  return forward ? lines<R, true>(f, a, x, y, first, count, ws) : lines<R, false>(f, a, x, y, first, count, ws);
}

}  // namespace

}  // namespace zor::dft

using namespace zor::dft;

ZOR_API int64_t zor_dft_xzdft2d(void *data, const int64_t *first_stride, const int64_t *second_stride,
                                dft_axis_kernel first_kernel, dft_axis_kernel second_kernel, DftNode *node,
                                void *workspace, int64_t block_mode) {
  return dft2d_in<double>(data, first_stride, second_stride, first_kernel, second_kernel, node, workspace, block_mode);
}
ZOR_API int64_t zor_dft_xcdft2d(void *data, const int64_t *first_stride, const int64_t *second_stride,
                                dft_axis_kernel first_kernel, dft_axis_kernel second_kernel, DftNode *node,
                                void *workspace, int64_t block_mode) {
  return dft2d_in<float>(data, first_stride, second_stride, first_kernel, second_kernel, node, workspace, block_mode);
}

#define ZOR_DFT_COMPLEX_SHARES(P, R)                                                                                  \
  ZOR_API int64_t zor_dft_##P##1_nd_par(DftNode *root, int64_t axis, void *data, int64_t first, int64_t count,       \
                                        void *workspace, int32_t forward) {                                          \
    return line_share<R>(root, axis, data, data, Sides::out_out, first, count, workspace, forward);                  \
  }                                                                                                                  \
  ZOR_API int64_t zor_dft_##P##1_nd_out_par(DftNode *root, int64_t axis, const void *in, void *out, int64_t first,   \
                                            int64_t count, void *workspace, int32_t forward) {                       \
    return line_share<R>(root, axis, in, out, Sides::in_out, first, count, workspace, forward);                      \
  }                                                                                                                  \
  ZOR_API int64_t zor_dft_##P##2_nd_par(DftNode *root, void *data, int64_t first, int64_t count, void *workspace,     \
                                        int32_t forward) {                                                           \
    return slice_share<R>(root, data, data, Sides::out_out, first, count, workspace, forward);                        \
  }                                                                                                                  \
  ZOR_API int64_t zor_dft_##P##2_nd_out_par(DftNode *root, const void *in, void *out, int64_t first, int64_t count,  \
                                            void *workspace, int32_t forward) {                                      \
    return slice_share<R>(root, in, out, Sides::in_out, first, count, workspace, forward);                           \
  }                                                                                                                  \
  ZOR_API int64_t zor_dft_##P##2_r_dft(const void *in, void *out, const int64_t *in_strides,                         \
                                       const int64_t *out_strides, int64_t first, int64_t count,                    \
                                       dft_axis_kernel kernel, DftNode *node, void *workspace) {                     \
    return rows_share<R>(in, out, in_strides, out_strides, first, count, kernel, node, workspace);                   \
  }                                                                                                                  \
  ZOR_API void zor_dft_##P##2_c_dft(void *data, const int64_t *first_stride, const int64_t *second_stride,           \
                                    int64_t first, int64_t count, dft_axis_kernel kernel, DftNode *node,             \
                                    int64_t *status, void *workspace) {                                              \
    const int64_t s[2] = {*first_stride, *second_stride};                                                            \
    columns_share<R>(data, data, s, s, first, count, kernel, node, status, workspace);                               \
  }                                                                                                                  \
  ZOR_API void zor_dft_##P##2_c_out_dft(const void *in, void *out, const int64_t *in_strides,                        \
                                        const int64_t *out_strides, int64_t first, int64_t count,                   \
                                        dft_axis_kernel kernel, DftNode *node, int64_t *status, void *workspace) {   \
    columns_share<R>(in, out, in_strides, out_strides, first, count, kernel, node, status, workspace);               \
  }
ZOR_DFT_COMPLEX_SHARES(z, double)
ZOR_DFT_COMPLEX_SHARES(c, float)
#undef ZOR_DFT_COMPLEX_SHARES
