// Real transforms: the commit core of real data, the axis kernels over the
// real plans, the compute entries, and the drivers of both conjugate-even
// storages, in one dimension and in several (the first axis real, the others
// complex over the half spectrum).
//
// Decisions kept here:
// - The real plan runs unscaled; a kernel scale that is not exactly 1.0 is
//   applied after it: forward over length + 1 values in ccs (so the last
//   zero of an even length is left alone), backward over length values.
// - The powers of two from 2 to 64 with unit strides take fixed kernels
//   (the half-length complex fixed kernel and the even sweep, no plan); they
//   scale like the plan kernels, a scale that is not exactly 1 applied
//   after. Other lengths take the real plan.
// - With several threads a real task goes to the threading layer (except a
//   lone transform of rank 1, which has nothing to share), which runs it as
//   the shares below; single precision backward in place has no hand-over
//   entry and runs on the calling thread. No thread limits of the commit
//   hooks apply to real nodes.
// - Backward, the complex axes go from the last down to axis 1, then the
//   rows: the first two axes of a slice then go together, as the slice
//   shares take them.
// - Several dimensions keep the half spectrum as complex values: storage 39,
//   or the ccs layout of storage 40 read as complex values; Pack and Perm
//   are refused there (6).
#include <algorithm>
#include <cstring>

#include <zor/dft_tier.h>

#include "dft/compute.hpp"
#include "dft/fixed.hpp"
#include "dft/late.hpp"
#include "dft/lines.hpp"
#include "dft/multi.hpp"
#include "dft/node.hpp"
#include "dft/plan.hpp"
#include "frame/memory.hpp"

namespace zor::dft {
namespace {

enum class Layout { ccs, pack, perm, none };

// Storage 39 reads the ccs values as complex numbers.
Layout layout_of(const DftNode *n) {
  if (n->conjugate_even_storage == DFT_COMPLEX_COMPLEX || n->packed_format == DFT_CCS_FORMAT) return Layout::ccs;
  if (n->packed_format == DFT_PACK_FORMAT) return Layout::pack;
  if (n->packed_format == DFT_PERM_FORMAT) return Layout::perm;
  return Layout::none;
}

// Real values of one spectrum in the node's layout.
int64_t spectrum_values(const DftNode *n) {
  return layout_of(n) == Layout::ccs ? 2 * (n->length / 2 + 1) : n->length;
}

template <class R> constexpr int real_slot(bool forward) { return 2 * precision_index<R> + (forward ? 0 : 1); }

// The end of a transformed line: its scale, and the clearing below.
template <class R, bool Fwd>
int64_t finish_line(const DftNode *node, R *y, Layout l) {
  const int64_t n = node->length;
  if constexpr (Fwd) {
    scale_real(y, n + (l == Layout::ccs ? 1 : 0), kernel_scale<R>(node, true));
  } else {
    // In place the ccs line holds length + 2 values; the one past the
    // transform is cleared.
    if (node->packed_format == DFT_CCS_FORMAT && node->placement == DFT_INPLACE) y[n] = R(0);
    scale_real(y, n, kernel_scale<R>(node, false));
  }
  return DFT_NO_ERROR;
}

// Out of place at rank 2 and above in ccs (real_fast_flag), the rows reach
// the backward kernels already in perm form: the plane routine rearranges
// each row as it gathers it.
template <class R, bool Fwd>
int64_t real_kernel(void *in, void *out, DftNode *node, void *ws) {
  using Routine = int32_t (*)(const R *, R *, const DftPlan *, void *);
  const Layout l = layout_of(node);
  Routine r = !Fwd && node->real_fast_flag ? plan_perm_backward<R>
              : l == Layout::ccs          ? (Fwd ? plan_ccs_forward<R> : plan_ccs_backward<R>)
              : l == Layout::pack ? (Fwd ? plan_pack_forward<R> : plan_pack_backward<R>)
                                  : (Fwd ? plan_perm_forward<R> : plan_perm_backward<R>);
  R *y = static_cast<R *>(out);
  if (int32_t s = r(static_cast<const R *>(in), y, node->plans[DFT_PLAN_REAL + precision_index<R>], ws))
    return node_status_of_plan(s);
  return finish_line<R, Fwd>(node, y, l);
}

// ---------------------------------------------------------------- fixed real kernels

// 0.5 cos and 0.5 sin of 2 pi k / N for k up to N / 4.
template <class R, int N>
struct HalfTables {
  R c[N / 4 + 1], s[N / 4 + 1];
  HalfTables() {
    for (int k = 0; k <= N / 4; ++k) {
      const cplx<double> w = unit_root(k, N);  // cos, -sin
      c[k] = R(0.5 * w.re);
      s[k] = R(-0.5 * w.im);
    }
  }
};

// N reals in place to their perm form (forward), or back from it: the
// complex fixed kernel of N / 2 points and the even sweep; two points are
// their sum and difference either way.
template <class R, bool Fwd, int N>
void fixed_perm(R *x) {
  if constexpr (N == 2) {
    const R a = x[0], b = x[1];
    x[0] = a + b;
    x[1] = a - b;
  } else {
    static const HalfTables<R, N> t;
    static const FixedKernel<R> k = fixed_kernel<R>(N / 2, Fwd);
    auto *z = reinterpret_cast<cplx<R> *>(x);
    if (!Fwd) even_join<R>(z, N / 2, t.c, t.s);
    k(z, z, nullptr, nullptr);
    if (Fwd) even_split<R>(z, N / 2, t.c, t.s);
  }
}

template <class R, bool Fwd, int N>
int64_t fixed_real_kernel(void *in, void *out, DftNode *node, void *) {
  const Layout l = layout_of(node);
  const int32_t format = !Fwd && node->real_fast_flag ? DFT_PERM_FORMAT
                         : l == Layout::ccs           ? DFT_CCS_FORMAT
                                                      : node->packed_format;
  R *y = static_cast<R *>(out);
  if (Fwd) {
    if (in != out) std::memcpy(y, in, sizeof(R) * N);
    fixed_perm<R, true, N>(y);
    perm_to_format<R>(format, y, N);
  } else {
    perm_from_format<R>(format, static_cast<const R *>(in), y, N);
    fixed_perm<R, false, N>(y);
  }
  return finish_line<R, Fwd>(node, y, l);
}

template <class R, bool Fwd>
dft_axis_kernel fixed_real(int64_t n) {
  switch (n) {
    case 2: return fixed_real_kernel<R, Fwd, 2>;
    case 4: return fixed_real_kernel<R, Fwd, 4>;
    case 8: return fixed_real_kernel<R, Fwd, 8>;
    case 16: return fixed_real_kernel<R, Fwd, 16>;
    case 32: return fixed_real_kernel<R, Fwd, 32>;
    case 64: return fixed_real_kernel<R, Fwd, 64>;
    default: return nullptr;
  }
}

// One side of a task: values of R per line, and offset, stride and distance
// in elements of `unit` values (2 for the complex side of storage 39).
template <class R>
struct Side {
  R *base;
  int64_t count, stride, distance, unit;
  R *line(int64_t t) const { return base + t * distance * unit; }
  void gather(int64_t t, R *to) const {
    if (unit == 2)
      gather_complex<R>(count / 2, reinterpret_cast<const cplx<R> *>(line(t)), stride, reinterpret_cast<cplx<R> *>(to));
    else
      gather_real<R>(count, line(t), stride, to);
  }
  void scatter(int64_t t, const R *from) const {
    if (unit == 2)
      scatter_complex<R>(count / 2, reinterpret_cast<const cplx<R> *>(from), reinterpret_cast<cplx<R> *>(line(t)),
                         stride);
    else
      scatter_real<R>(count, from, line(t), stride);
  }
};

template <class R, bool Fwd>
int64_t real_md_driver(DftNode *node, void *in, void *out, int64_t transforms, void *ws);

// Transforms first .. first + count - 1 of rank 1; in place when out is
// null. Contiguous lines go to the kernel as they lie, others through a line
// buffer of length + 2 values.
template <class R, bool Fwd, bool Cce>
int64_t real_lines_1d(DftNode *node, void *in, void *out, int64_t first, int64_t count, void *ws) {
  const bool in_place = out == nullptr;
  const int64_t n = node->length, bins = spectrum_values(node), su = Cce ? 2 : 1;
  const bool one_frame = in_place && !Cce;  // storage 40 in place: the input's offset, stride, distance
  const int64_t iu = Fwd ? 1 : su, ou = Fwd ? su : 1;
  const bool zero_past_end = in_place && !Fwd && node->packed_format == DFT_CCS_FORMAT;
  Side<R> x{static_cast<R *>(in) + node->input_offset * iu, Fwd ? n : bins, node->input_stride,
            node->input_distance, iu};
  Side<R> y{static_cast<R *>(in_place ? in : out) + (one_frame ? node->input_offset : node->output_offset) * ou,
            Fwd ? bins : n + (zero_past_end ? 1 : 0), one_frame ? node->input_stride : node->output_stride,
            one_frame ? node->input_distance : node->output_distance, ou};
  dft_axis_kernel k = node->real_kernels[real_slot<R>(Fwd)];
  const int64_t end = first + count;
  if (x.stride == 1 && y.stride == 1 && (!in_place || x.base == y.base)) {
    for (int64_t t = first; t < end; ++t)
      if (int64_t s = k(x.line(t), y.line(t), node, ws)) return s;
    return DFT_NO_ERROR;
  }
  frame::PooledBuffer line(uint64_t(n + 2) * sizeof(R), work_alignment());
  if (!line.get()) return DFT_MEMORY_ERROR;
  R *b = static_cast<R *>(line.get());
  for (int64_t t = first; t < end; ++t) {
    x.gather(t, b);
    if (int64_t s = k(b, b, node, ws)) return s;
    y.scatter(t, b);
  }
  return DFT_NO_ERROR;
}

// `transforms` lines (or the whole task of rank 2 and above); in place when
// out is null.
template <class R, bool Fwd, bool Cce>
int64_t real_driver(DftNode *node, void *in, void *out, int64_t transforms, void *ws) {
  if (node->rank != 1) return real_md_driver<R, Fwd>(node, in, out, transforms, ws);
  return real_lines_1d<R, Fwd, Cce>(node, in, out, 0, transforms, ws);
}

// ---------------------------------------------------------------- several dimensions

// The two sides of a real task of several dimensions: the real array, and
// the half spectrum as complex values (h = L0 / 2 + 1 along axis 0). The
// input fields describe what a call reads and the output fields what it
// writes; with storage 40 in place both sides use the input fields, and the
// ccs values are read as complex values at half the real offset, strides
// and distance.
template <class R>
struct MdSides {
  int32_t rank = 0;
  int64_t real_offset, real_distance, complex_offset, complex_distance;
  int64_t real_stride[kMaxAxes], complex_stride[kMaxAxes];
};

// Storage 40 read as complex values needs a unit stride on the first axis
// and even offsets, strides and distances elsewhere, on the side that holds
// the spectrum: what forward writes (the output fields) or backward reads
// (the input fields); in place, the input fields.
bool complex_view_ok(const DftNode *root, bool forward) {
  if (root->conjugate_even_storage == DFT_COMPLEX_COMPLEX) return true;
  const bool input = root->placement == DFT_INPLACE || !forward;
  auto even = [](int64_t v) { return v % 2 == 0; };
  if (!even(input ? root->input_offset : root->output_offset)) return false;
  if (root->transforms > 1 && !even(input ? root->input_distance : root->output_distance)) return false;
  int64_t k = 0;
  for (const DftNode *a = root; a; a = a->next_axis, ++k) {
    const int64_t st = input ? a->input_stride : a->output_stride;
    if (k == 0 ? st != 1 : !even(st)) return false;
  }
  return true;
}

template <class R, bool Fwd>
MdSides<R> md_sides(const DftNode *root) {
  MdSides<R> m;
  const bool cce = root->conjugate_even_storage == DFT_COMPLEX_COMPLEX;
  const bool one_frame = !cce && root->placement == DFT_INPLACE;
  // read: input fields; written: output fields (input ones for storage 40 in place)
  const bool real_reads = Fwd, complex_reads = !Fwd;
  auto offset = [&](bool reads) { return reads || one_frame ? root->input_offset : root->output_offset; };
  auto distance = [&](bool reads) { return reads || one_frame ? root->input_distance : root->output_distance; };
  auto stride = [&](const DftNode *a, bool reads) { return reads || one_frame ? a->input_stride : a->output_stride; };
  const int64_t div = cce ? 1 : 2;
  m.real_offset = offset(real_reads);
  m.real_distance = distance(real_reads);
  m.complex_offset = offset(complex_reads) / div;
  m.complex_distance = distance(complex_reads) / div;
  for (const DftNode *a = root; a && m.rank < kMaxAxes; a = a->next_axis, ++m.rank) {
    m.real_stride[m.rank] = stride(a, real_reads);
    m.complex_stride[m.rank] = m.rank == 0 && !cce ? 1 : stride(a, complex_reads) / div;
  }
  return m;
}

// Rows first .. first + count - 1 (lines of the first axis, numbered over
// axes 1 to rank - 1, axis 1 fastest, then the transforms at rdist and
// cdist): forward, the real row through `kernel` into its half spectrum;
// backward, the reverse. Through a buffer of length + 2 values.
template <class R, bool Fwd>
int64_t md_rows(DftNode *root, dft_axis_kernel kernel, R *real, const int64_t *rs, int64_t rdist, cplx<R> *spectrum,
                const int64_t *cs, int64_t cdist, const int64_t *lengths, int32_t rank, int64_t first, int64_t count,
                R *buf, void *ws) {
  const int64_t n = root->length, h = n / 2 + 1;
  int64_t at[kMaxAxes] = {}, t = first;
  for (int32_t j = 1; j < rank; ++j) at[j] = t % lengths[j], t /= lengths[j];
  for (int64_t c = 0; c < count; ++c) {
    int64_t ro = t * rdist, co = t * cdist;
    for (int32_t j = 1; j < rank; ++j) ro += at[j] * rs[j], co += at[j] * cs[j];
    if (Fwd) {
      gather_real<R>(n, real + ro, rs[0], buf);
      if (int64_t s = kernel(buf, buf, root, ws)) return s;
      scatter_complex<R>(h, reinterpret_cast<const cplx<R> *>(buf), spectrum + co, cs[0]);
    } else {
      gather_complex<R>(h, spectrum + co, cs[0], reinterpret_cast<cplx<R> *>(buf));
      if (root->real_fast_flag) perm_from_format<R>(DFT_CCS_FORMAT, buf, buf, n);
      if (int64_t s = kernel(buf, buf, root, ws)) return s;
      scatter_real<R>(n, buf, real + ro, rs[0]);
    }
    int32_t j = 1;
    for (; j < rank && ++at[j] >= lengths[j]; ++j) at[j] = 0;
    if (j >= rank) ++t;
  }
  return DFT_NO_ERROR;
}

// A line buffer of length + 2 reals, 16-byte aligned.
template <class R>
struct RowBuffer {
  frame::PooledBuffer block;
  explicit RowBuffer(int64_t n) : block(uint64_t(n + 2) * sizeof(R) + 16, work_alignment()) {}
  R *get() const { return block.get() ? align_up<R>(block.get(), 16) : nullptr; }
};

// A real task of rank 2 and above: both sides with their bases, the lengths
// of the chain, h = L0 / 2 + 1. In place when out is null.
template <class R, bool Fwd>
struct MdTask {
  MdSides<R> m;
  R *real;
  cplx<R> *spectrum;
  int64_t h, rows, lengths[kMaxAxes];
  dft_axis_kernel row_kernel;
  MdTask(DftNode *node, void *in, void *out, int64_t transforms) : m(md_sides<R, Fwd>(node)) {
    void *real_base = Fwd ? in : (out ? out : in);
    void *spectrum_base = Fwd ? (out ? out : in) : in;
    real = static_cast<R *>(real_base) + m.real_offset;
    spectrum = static_cast<cplx<R> *>(spectrum_base) + m.complex_offset;
    h = node->length / 2 + 1;
    rows = transforms;
    int32_t k = 0;
    for (const DftNode *a = node; a && k < kMaxAxes; a = a->next_axis, ++k) {
      lengths[k] = a->length;
      if (k) rows *= a->length;
    }
    row_kernel = node->real_kernels[real_slot<R>(Fwd)];
  }
  int64_t rows_of(DftNode *node, int64_t first, int64_t count, R *buf, void *ws) const {
    return md_rows<R, Fwd>(node, row_kernel, real, m.real_stride, m.real_distance, spectrum, m.complex_stride,
                           m.complex_distance, lengths, m.rank, first, count, buf, ws);
  }
};

// The buffer of the planes of a task: max(8 L1, longest axis + 2) complex
// values, L1 rounded up to the pitch of the column rows. The rows of a plane
// go through it one at a time, then its columns eight at a time.
template <class R>
struct PlaneBuffer {
  frame::PooledBuffer block;
  static int64_t values(const int64_t *lengths, int32_t rank) {
    const int64_t longest = *std::max_element(lengths, lengths + rank);
    return std::max(8 * row_pitch<R>(lengths[1]), longest + 2);
  }
  PlaneBuffer(const int64_t *lengths, int32_t rank)
      : block(uint64_t(values(lengths, rank)) * sizeof(cplx<R>) + 16, work_alignment()) {}
  cplx<R> *get() const { return block.get() ? align_up<cplx<R>>(block.get(), 16) : nullptr; }
};

// Planes first .. first + count - 1 (over axes 2 on, then the transforms at
// rdist and cdist): forward the plane's rows into its half spectrum, then
// its h columns along axis 1; backward the reverse. Columns go by blocks of
// eight when they are one element apart, else one by one.
template <class R, bool Fwd>
int64_t planes(DftNode *root, dft_axis_kernel row_kernel, R *real, const int64_t *rs, int64_t rdist,
               cplx<R> *spectrum, const int64_t *cs, int64_t cdist, const int64_t *lengths, int32_t rank,
               int64_t first, int64_t count, cplx<R> *buf, void *ws) {
  DftNode *second = root->next_axis;
  const int64_t h = root->length / 2 + 1, L1 = lengths[1];
  const dft_axis_kernel k1 = second->kernels[kernel_slot<R>(Fwd, false)];
  const int width = cs[0] == 1 ? 8 : 1;
  int64_t at[kMaxAxes] = {}, t = first;
  for (int32_t j = 2; j < rank; ++j) at[j] = t % lengths[j], t /= lengths[j];
  for (int64_t c = 0; c < count; ++c) {
    int64_t ro = t * rdist, co = t * cdist;
    for (int32_t j = 2; j < rank; ++j) ro += at[j] * rs[j], co += at[j] * cs[j];
    R *x = real + ro;
    cplx<R> *z = spectrum + co;
    auto rows = [&] {
      return md_rows<R, Fwd>(root, row_kernel, x, rs, 0, z, cs, 0, lengths, 2, 0, L1, reinterpret_cast<R *>(buf), ws);
    };
    auto cols = [&]() -> int64_t {
      if (L1 <= 1) return DFT_NO_ERROR;  // axes after the first carry no scale
      return block_lines<R>(second, z, cs[0], cs[1], z, cs[0], cs[1], k1, h, width, buf, row_pitch<R>(L1), ws);
    };
    if (int64_t s = Fwd ? rows() : cols()) return s;
    if (int64_t s = Fwd ? cols() : rows()) return s;
    int32_t j = 2;
    for (; j < rank && ++at[j] >= lengths[j]; ++j) at[j] = 0;
    if (j >= rank) ++t;
  }
  return DFT_NO_ERROR;
}

// Rank 2 and above: the planes, and the axes from the third on over the
// half spectrum in place (forward after the planes, backward before them).
// Backward out of place works on a dense copy of each transform's half
// spectrum, so the input is left as it was.
template <class R, bool Fwd>
int64_t real_md_driver(DftNode *node, void *in, void *out, int64_t transforms, void *ws) {
  if (!complex_view_ok(node, Fwd)) return DFT_INCONSISTENT_CONFIGURATION;
  const MdTask<R, Fwd> task(node, in, out, transforms);
  const MdSides<R> &m = task.m;
  const int64_t h = task.h, per_transform = task.rows / std::max<int64_t>(transforms, 1) / task.lengths[1];
  PlaneBuffer<R> buffer(task.lengths, m.rank);
  cplx<R> *buf = buffer.get();
  if (!buf) return DFT_MEMORY_ERROR;
  cplx<R> *spectrum = task.spectrum;
  auto all_planes = [&](R *real, cplx<R> *z, const int64_t *cs, int64_t cdist, int64_t count) {
    return planes<R, Fwd>(node, task.row_kernel, real, m.real_stride, m.real_distance, z, cs, cdist, task.lengths,
                          m.rank, 0, count, buf, ws);
  };
  auto later_axes = [&](cplx<R> *z, const int64_t *cs, int64_t count, int64_t cdist) {
    return sweep_later_axes<R, Fwd>(node, z, h, cs, count, cdist, ws, 2);
  };
  if (Fwd) {
    if (int64_t s = all_planes(task.real, spectrum, m.complex_stride, m.complex_distance, transforms * per_transform))
      return s;
    return later_axes(spectrum, m.complex_stride, transforms, m.complex_distance);
  }
  if (!out) {
    if (int64_t s = later_axes(spectrum, m.complex_stride, transforms, m.complex_distance)) return s;
    return all_planes(task.real, spectrum, m.complex_stride, m.complex_distance, transforms * per_transform);
  }
  int64_t dense[kMaxAxes], points = h;
  dense[0] = 1;
  for (int32_t k = 1; k < m.rank; ++k) dense[k] = points, points *= node->dims.entries[k].length;
  frame::PooledBuffer copy(uint64_t(points) * sizeof(cplx<R>) + 16, work_alignment());
  if (!copy.get()) return DFT_MEMORY_ERROR;
  cplx<R> *c = align_up<cplx<R>>(copy.get(), 16);
  for (int64_t t = 0; t < transforms; ++t) {
    // The half spectrum of transform t, line by line along the first axis.
    int64_t at[kMaxAxes] = {};
    for (int64_t p = 0; p < points; p += h) {
      int64_t o = t * m.complex_distance, rest = p / h;
      for (int32_t k = 1; k < m.rank; ++k) {
        const int64_t len = node->dims.entries[k].length;
        at[k] = rest % len, rest /= len;
        o += at[k] * m.complex_stride[k];
      }
      gather_complex<R>(h, spectrum + o, m.complex_stride[0], c + p);
    }
    if (int64_t s = later_axes(c, dense, 1, 0)) return s;
    if (int64_t s = all_planes(task.real + t * m.real_distance, c, dense, 0, per_transform)) return s;
  }
  return DFT_NO_ERROR;
}

// One plane of a committed real node of rank 2 whose conjugate-even storage
// is the one the routine names (39 when Cce, else 40); in place when out is
// in or null.
template <class R, bool Fwd, bool Cce>
int64_t real_dft2d(DftNode *node, void *in, void *out, void *ws) {
  if (!node || node->rank != 2 || node->forward_domain != DFT_REAL ||
      (node->conjugate_even_storage == DFT_COMPLEX_COMPLEX) != Cce)
    return DFT_INCONSISTENT_CONFIGURATION;
  return real_md_driver<R, Fwd>(node, in, out == in ? nullptr : out, 1, ws);
}

// ---------------------------------------------------------------- shares

template <class R, bool Fwd>
int64_t real_line_share(DftNode *root, int64_t axis, void *in, void *out, int64_t first, int64_t count, void *ws) {
  if (!root || axis < 0 || axis >= root->rank || root->rank > kMaxAxes) return DFT_INCONSISTENT_CONFIGURATION;
  if (out == in) out = nullptr;
  if (root->rank == 1)
    return root->conjugate_even_storage == DFT_COMPLEX_COMPLEX
               ? real_lines_1d<R, Fwd, true>(root, in, out, first, count, ws)
               : real_lines_1d<R, Fwd, false>(root, in, out, first, count, ws);
  if (!complex_view_ok(root, Fwd)) return DFT_INCONSISTENT_CONFIGURATION;
  const MdTask<R, Fwd> task(root, in, out, root->transforms);
  if (axis > 0)
    return half_spectrum_lines<R, Fwd>(root, task.spectrum, task.h, task.m.complex_stride, root->transforms,
                                       task.m.complex_distance, int32_t(axis), first, count, ws);
  RowBuffer<R> line(root->length);
  if (!line.get()) return DFT_MEMORY_ERROR;
  return task.rows_of(root, first, count, line.get(), ws);
}

// Slices first .. first + count - 1 over axes 2 on and the batch: forward
// the slice's rows then its h columns along axis 1, backward the reverse.
template <class R, bool Fwd>
int64_t real_slice_share(DftNode *root, void *in, void *out, int64_t first, int64_t count, void *ws) {
  if (!root || root->rank < 2 || root->rank > kMaxAxes) return DFT_INCONSISTENT_CONFIGURATION;
  if (out == in) out = nullptr;
  if (!complex_view_ok(root, Fwd)) return DFT_INCONSISTENT_CONFIGURATION;
  const MdTask<R, Fwd> task(root, in, out, root->transforms);
  const MdSides<R> &m = task.m;
  PlaneBuffer<R> buffer(task.lengths, m.rank);
  if (!buffer.get()) return DFT_MEMORY_ERROR;
  return planes<R, Fwd>(root, task.row_kernel, task.real, m.real_stride, m.real_distance, task.spectrum,
                        m.complex_stride, m.complex_distance, task.lengths, m.rank, first, count, buffer.get(), ws);
}

// Rows first .. first + count - 1 of one plane: forward real rows of in into
// spectrum rows of out, backward the reverse; strides in each side's units.
template <class R, bool Fwd>
int64_t real_row_share(const void *in, void *out, const int64_t *is, const int64_t *os, int64_t first, int64_t count,
                       dft_axis_kernel kernel, DftNode *node, void *ws) {
  RowBuffer<R> line(node->length);
  if (!line.get()) return DFT_MEMORY_ERROR;
  const int64_t lengths[2] = {node->length, node->next_axis ? node->next_axis->length : 1};
  auto *x = const_cast<void *>(in);
  R *real = static_cast<R *>(Fwd ? x : out);
  auto *spectrum = static_cast<cplx<R> *>(Fwd ? out : x);
  return md_rows<R, Fwd>(node, kernel, real, Fwd ? is : os, 0, spectrum, Fwd ? os : is, 0, lengths, 2, first, count,
                         line.get(), ws);
}

// ---------------------------------------------------------------- compute entries

// The hand-over of a whole real task, by precision, direction, placement
// and storage (single precision backward in place has none: null).
using RealPlane = int64_t (*)(DftNode *, void *, void *, void *);

// The plane routines of a precision: x{dz,sc}dft2d (storage 40) and
// x{dzz,scc}dft2d (39) forward, x{zd,cs} and x{zzd,ccs} backward.
template <class R>
RealPlane plane_routine(bool forward, bool cce) {
  if (forward) return cce ? real_dft2d<R, true, true> : real_dft2d<R, true, false>;
  return cce ? real_dft2d<R, false, true> : real_dft2d<R, false, false>;
}

template <class R, bool Fwd, bool Out, bool Cce>
frame::LateCell *real_compute_par_cell() {
  constexpr const char *names[2][2][2][2] = {
      // [double][forward][out][cce]
      {{{nullptr, "zor_dft_compute_backward_cs_par"},
        {"zor_dft_compute_backward_s_out_par", "zor_dft_compute_backward_cs_out_par"}},
       {{"zor_dft_compute_forward_s_par", "zor_dft_compute_forward_sc_par"},
        {"zor_dft_compute_forward_s_out_par", "zor_dft_compute_forward_sc_out_par"}}},
      {{{"zor_dft_compute_backward_d_par", "zor_dft_compute_backward_zd_par"},
        {"zor_dft_compute_backward_d_out_par", "zor_dft_compute_backward_zd_out_par"}},
       {{"zor_dft_compute_forward_d_par", "zor_dft_compute_forward_dz_par"},
        {"zor_dft_compute_forward_d_out_par", "zor_dft_compute_forward_dz_out_par"}}}};
  constexpr const char *name = names[sizeof(R) == 8][Fwd][Out][Cce];
  if constexpr (name == nullptr) {
    return nullptr;
  } else {
    static frame::LateCell cell{name};
    return &cell;
  }
}

// A lone plane on one thread goes to the node's two-dimensional routine.
template <class R, bool Fwd, bool Out, bool Cce>
int64_t real_entry_of(DftNode *node, void *a, void *b) {
  auto driver = [&](void *ws) { return real_driver<R, Fwd, Cce>(node, a, Out ? b : nullptr, node->transforms, ws); };
  if (node->user_threads > 1) return in_user_slot(node, driver);
  const dft_generic_fn plane = node->kernels_2d[2 * precision_index<R> + (Fwd ? 0 : 1)];
  if (plane && node->rank == 2 && node->transforms == 1 && node->threads == 1)
    return reinterpret_cast<RealPlane>(plane)(node, a, Out ? b : a, node->workspace);
  frame::LateCell *cell = real_compute_par_cell<R, Fwd, Out, Cce>();
  if (node->threads == 1 || !cell) return driver(node->workspace);
  DftNode *holder = node;
  return frame::call_late<int64_t>(*cell, &holder, a, Out ? b : nullptr, static_cast<void *>(nullptr),
                                   static_cast<void *>(nullptr));
}

template <class R, bool Fwd, bool Out>
int64_t real_entry(DftNode *node, void *a, void *b, void *, void *) {
  return node->conjugate_even_storage == DFT_COMPLEX_COMPLEX ? real_entry_of<R, Fwd, Out, true>(node, a, b)
                                                             : real_entry_of<R, Fwd, Out, false>(node, a, b);
}

bool twice_or_half(int64_t a, int64_t b) { return a == 2 * b || 2 * a == b; }

template <class R>
int64_t core_r2c_1d(DftNode *root) {
  // In place, the complex side of storage 39 must lie over the real one.
  if (root->placement == DFT_INPLACE && root->conjugate_even_storage == DFT_COMPLEX_COMPLEX) {
    if (!twice_or_half(root->output_offset, root->input_offset)) return DFT_INCONSISTENT_CONFIGURATION;
    for (int32_t k = 1; k < root->dims.count; ++k)
      if (!twice_or_half(root->dims.entries[k].output_stride, root->dims.entries[k].input_stride))
        return DFT_INCONSISTENT_CONFIGURATION;
  }
  if (root->rank > kMaxAxes) return DFT_UNIMPLEMENTED;
  if (root->rank == 1 && root->transforms == 1) root->threads = 1;
  if (int64_t s = reserve_user_slots(root)) return s;
  root->flags &= uint8_t(~(DFT_FLAG_SINGLE_THREAD_DIRECT | DFT_FLAG_DIRECT_2D | DFT_FLAG_CALL_KERNEL_DIRECTLY));
  // Several dimensions keep the half spectrum as complex values: ccs, or
  // storage 39.
  if (layout_of(root) == Layout::none || (root->rank > 1 && layout_of(root) != Layout::ccs)) {
    uncommit(root);
    return DFT_UNIMPLEMENTED;
  }
  if (root->rank > 1 && !complex_view_ok(root, true) && !complex_view_ok(root, false))
    return DFT_INCONSISTENT_CONFIGURATION;
  const int64_t n = root->length;
  const bool pow2 = is_pow2(n);
  const int64_t limit = sizeof(R) == 8 ? (pow2 ? 0x4000000 : 0x1000000) : (pow2 ? 0x8000000 : 0x2000000);
  if (n > limit) return DFT_1D_LENGTH_EXCEEDS_INT32;
  DftPlan *&slot = root->plans[DFT_PLAN_REAL + precision_index<R>];
  if (slot) plan_destroy(slot);
  slot = nullptr;
  root->axis_index = 0;
  // Out of place at rank 2 and above, backward rows go to the kernels in
  // perm form (see real_kernel).
  root->real_fast_flag = root->placement == DFT_NOT_INPLACE && root->rank >= 2 && layout_of(root) == Layout::ccs;
  if (fixed_real<R, true>(n) && root->input_stride == 1 && root->output_stride == 1) {
    root->uses_plan = 0;
    root->work_size = root->max_work_size = 0;
    root->real_kernels[real_slot<R>(true)] = fixed_real<R, true>(n);
    root->real_kernels[real_slot<R>(false)] = fixed_real<R, false>(n);
  } else {
    DftPlan *p = nullptr;
    if (int32_t s = plan_create_real<R>(&p, n, DFT_SCALE_NONE, 0)) {
      uncommit(root);
      return node_status_of_plan(s);
    }
    slot = p;
    root->uses_plan = 1;
    root->work_size = root->max_work_size = p->work_size;
    root->real_kernels[real_slot<R>(true)] = real_kernel<R, true>;
    root->real_kernels[real_slot<R>(false)] = real_kernel<R, false>;
  }
  int64_t index = 1;
  for (DftNode *ax = root->next_axis; ax; ax = ax->next_axis, ++index) {
    if (int64_t s = commit_complex_axis<R>(root, ax, index)) {
      uncommit(root);  // frees the whole chain, the axes after this one too
      return s;
    }
    if (ax->work_size > root->max_work_size) root->max_work_size = ax->work_size;
    ax->commit_status = DFT_COMMITTED;
  }
  if (int64_t s = allocate_workspace(root)) return s;
  if (root->rank == 2) {  // forward, then backward
    const bool cce = root->conjugate_even_storage == DFT_COMPLEX_COMPLEX;
    dft_generic_fn *k = root->kernels_2d + 2 * precision_index<R>;
    k[0] = reinterpret_cast<dft_generic_fn>(plane_routine<R>(true, cce));
    k[1] = reinterpret_cast<dft_generic_fn>(plane_routine<R>(false, cce));
  }
  if (root->placement == DFT_NOT_INPLACE) finish(root, real_entry<R, true, true>, real_entry<R, false, true>);
  else finish(root, real_entry<R, true, false>, real_entry<R, false, false>);
  return DFT_NO_ERROR;
}

template <class R>
int64_t commit_threaded_real(DftMethod *m, DftNode *n) {
  return commit_through(m, n, sizeof(R) == 8 ? commit_node_d_r2c_1d_cell : commit_node_s_r2c_1d_cell);
}
template <class R> DftMethod threaded_real = {commit_threaded_real<R>, nullptr};
template <class R>
int64_t commit_threaded_real_md(DftMethod *m, DftNode *n) {
  return commit_through(m, n, sizeof(R) == 8 ? commit_node_d_r2c_md_cell : commit_node_s_r2c_md_cell);
}
template <class R> DftMethod threaded_real_md = {commit_threaded_real_md<R>, nullptr};

}  // namespace

DftMethod *const method_list_dr1d[] = {&large_real_double, &threaded_real<double>, nullptr};
DftMethod *const method_list_sr1d[] = {&large_real_single, &threaded_real<float>, nullptr};
DftMethod *const method_list_drmd[] = {&real_cube_double, &threaded_real_md<double>, nullptr};
DftMethod *const method_list_srmd[] = {&real_cube_single, &threaded_real_md<float>, nullptr};

}  // namespace zor::dft

using zor::dft::real_driver;

ZOR_API int64_t zor_dft_commit_descriptor_core_d_r2c_1d(DftNode *root) { return zor::dft::core_r2c_1d<double>(root); }
ZOR_API int64_t zor_dft_commit_descriptor_core_s_r2c_1d(DftNode *root) { return zor::dft::core_r2c_1d<float>(root); }
ZOR_API int64_t zor_dft_commit_descriptor_core_d_r2c_md(DftNode *root) { return zor::dft::core_r2c_1d<double>(root); }
ZOR_API int64_t zor_dft_commit_descriptor_core_s_r2c_md(DftNode *root) { return zor::dft::core_r2c_1d<float>(root); }

#define ZOR_DFT_REAL_DRIVERS(name, R, Fwd, Cce)                                                   \
  ZOR_API int64_t name(DftNode *n, void *d, int64_t t, void *w) {                                 \
    return real_driver<R, Fwd, Cce>(n, d, nullptr, t, w);                                         \
  }                                                                                               \
  ZOR_API int64_t name##_out(DftNode *n, void *i, void *o, int64_t t, void *w) {                  \
    return real_driver<R, Fwd, Cce>(n, i, o, t, w);                                               \
  }
ZOR_DFT_REAL_DRIVERS(zor_dft_xdforward, double, true, false)
ZOR_DFT_REAL_DRIVERS(zor_dft_xdbackward, double, false, false)
ZOR_DFT_REAL_DRIVERS(zor_dft_xsforward, float, true, false)
ZOR_DFT_REAL_DRIVERS(zor_dft_xsbackward, float, false, false)
ZOR_DFT_REAL_DRIVERS(zor_dft_xdzforward, double, true, true)
ZOR_DFT_REAL_DRIVERS(zor_dft_xzdbackward, double, false, true)
ZOR_DFT_REAL_DRIVERS(zor_dft_xscforward, float, true, true)
ZOR_DFT_REAL_DRIVERS(zor_dft_xcsbackward, float, false, true)
#undef ZOR_DFT_REAL_DRIVERS

using zor::dft::real_dft2d;
#define ZOR_DFT_REAL_PLANE(name, R, Fwd, Cce) \
  ZOR_API int64_t name(DftNode *n, void *i, void *o, void *w) { return real_dft2d<R, Fwd, Cce>(n, i, o, w); }
ZOR_DFT_REAL_PLANE(zor_dft_xdzdft2d, double, true, false)
ZOR_DFT_REAL_PLANE(zor_dft_xzddft2d, double, false, false)
ZOR_DFT_REAL_PLANE(zor_dft_xdzzdft2d, double, true, true)
ZOR_DFT_REAL_PLANE(zor_dft_xzzddft2d, double, false, true)
ZOR_DFT_REAL_PLANE(zor_dft_xscdft2d, float, true, false)
ZOR_DFT_REAL_PLANE(zor_dft_xcsdft2d, float, false, false)
ZOR_DFT_REAL_PLANE(zor_dft_xsccdft2d, float, true, true)
ZOR_DFT_REAL_PLANE(zor_dft_xccsdft2d, float, false, true)
#undef ZOR_DFT_REAL_PLANE

// ---------------------------------------------------------------- shares

using zor::dft::real_line_share;
using zor::dft::real_row_share;
using zor::dft::real_slice_share;

#define ZOR_DFT_REAL_SHARES(fwd, bwd, R)                                                        \
  ZOR_DFT_REAL_LINES(zor_dft_##fwd##1_nd_out_par) {                                             \
    return real_line_share<R, true>(root, axis, in, out, first, count, workspace);              \
  }                                                                                             \
  ZOR_DFT_REAL_LINES(zor_dft_##bwd##1_nd_out_par) {                                             \
    return real_line_share<R, false>(root, axis, in, out, first, count, workspace);             \
  }                                                                                             \
  ZOR_DFT_REAL_SLICES(zor_dft_##fwd##2_nd_out_par) {                                            \
    return real_slice_share<R, true>(root, in, out, first, count, workspace);                   \
  }                                                                                             \
  ZOR_DFT_REAL_SLICES(zor_dft_##bwd##2_nd_out_par) {                                            \
    return real_slice_share<R, false>(root, in, out, first, count, workspace);                  \
  }
ZOR_DFT_REAL_SHARES(ddz, zzd, double)
ZOR_DFT_REAL_SHARES(ssc, ccs, float)
#undef ZOR_DFT_REAL_SHARES

// The passes of one plane: rows forward and backward, and the complex
// columns of the half spectrum (the complex column pass).
#define ZOR_DFT_FORWARD_ROWS(name, R) \
  ZOR_DFT_REAL_ROWS(name) { return real_row_share<R, true>(in, out, in_strides, out_strides, first, count, kernel, node, workspace); }
#define ZOR_DFT_BACKWARD_ROWS(name, R) \
  ZOR_DFT_REAL_ROWS(name) { return real_row_share<R, false>(in, out, in_strides, out_strides, first, count, kernel, node, workspace); }
#define ZOR_DFT_COLUMNS(name, R)                                                                \
  ZOR_DFT_REAL_COLUMNS(name) {                                                                  \
    const int64_t s[2] = {*first_stride, *second_stride};                                       \
    zor::dft::columns_share<R>(data, data, s, s, first, count, kernel, node, status, workspace); \
  }
#define ZOR_DFT_COLUMNS_OUT(name, R) \
  ZOR_DFT_REAL_COLUMNS_OUT(name) {   \
    zor::dft::columns_share<R>(in, out, in_strides, out_strides, first, count, kernel, node, status, workspace); \
  }
ZOR_DFT_FORWARD_ROWS(zor_dft_dz2_r_dft, double)
ZOR_DFT_BACKWARD_ROWS(zor_dft_zd2_r_dft, double)
ZOR_DFT_BACKWARD_ROWS(zor_dft_zd2_r_out_dft, double)
ZOR_DFT_BACKWARD_ROWS(zor_dft_zzd2_r_out_dft, double)
ZOR_DFT_FORWARD_ROWS(zor_dft_sc2_r_dft, float)
ZOR_DFT_BACKWARD_ROWS(zor_dft_cs2_r_dft, float)
ZOR_DFT_BACKWARD_ROWS(zor_dft_cs2_r_out_dft, float)
ZOR_DFT_BACKWARD_ROWS(zor_dft_ccs2_r_out_dft, float)
ZOR_DFT_COLUMNS(zor_dft_dz2_c_dft, double)
ZOR_DFT_COLUMNS(zor_dft_zd2_c_dft, double)
ZOR_DFT_COLUMNS(zor_dft_zzd2_c_dft, double)
ZOR_DFT_COLUMNS(zor_dft_sc2_c_dft, float)
ZOR_DFT_COLUMNS(zor_dft_cs2_c_dft, float)
ZOR_DFT_COLUMNS(zor_dft_ccs2_c_dft, float)
ZOR_DFT_COLUMNS_OUT(zor_dft_ddz2_c_out_dft, double)
ZOR_DFT_COLUMNS_OUT(zor_dft_ssc2_c_out_dft, float)
#undef ZOR_DFT_FORWARD_ROWS
#undef ZOR_DFT_BACKWARD_ROWS
#undef ZOR_DFT_COLUMNS
#undef ZOR_DFT_COLUMNS_OUT
