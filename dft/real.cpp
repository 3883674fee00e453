// Real transforms: the commit core of real data, the axis kernels over the
// real plans, the compute entries, and the drivers of both conjugate-even
// storages, in one dimension and in several (the first axis real, the others
// complex over the half spectrum).
//
// Decisions kept here:
// - The real plan runs unscaled; a kernel scale that is not exactly 1.0 is
//   applied after it: forward over length + 1 values in ccs (so the last
//   zero of an even length is left alone), backward over length values.
// - Every length, the powers of two from 2 to 64 too, takes the real plan,
//   whose lengths up to 16 run straight-line kernels.
// - The real core keeps one thread: real tasks are not handed to the
//   threading layer, and the creators' lists hold the threaded node alone.
// - Several dimensions keep the half spectrum as complex values: storage 39,
//   or the ccs layout of storage 40 read as complex values; Pack and Perm
//   are refused there (6).
#include <algorithm>

#include <zor/dft_tier.h>

#include "dft/compute.hpp"
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

template <class R, bool Fwd>
int64_t real_kernel(void *in, void *out, DftNode *node, void *ws) {
  using Routine = int32_t (*)(const R *, R *, const DftPlan *, void *);
  const Layout l = layout_of(node);
  Routine r = l == Layout::ccs    ? (Fwd ? plan_ccs_forward<R> : plan_ccs_backward<R>)
              : l == Layout::pack ? (Fwd ? plan_pack_forward<R> : plan_pack_backward<R>)
                                  : (Fwd ? plan_perm_forward<R> : plan_perm_backward<R>);
  R *y = static_cast<R *>(out);
  if (int32_t s = r(static_cast<const R *>(in), y, node->plans[DFT_PLAN_REAL + precision_index<R>], ws))
    return node_status_of_plan(s);
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

// `transforms` lines; in place when out is null. Contiguous lines go to the
// kernel as they lie, others through a line buffer of length + 2 values.
template <class R, bool Fwd, bool Cce>
int64_t real_driver(DftNode *node, void *in, void *out, int64_t transforms, void *ws) {
  if (node->rank != 1) return real_md_driver<R, Fwd>(node, in, out, transforms, ws);
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
  if (x.stride == 1 && y.stride == 1 && (!in_place || x.base == y.base)) {
    for (int64_t t = 0; t < transforms; ++t)
      if (int64_t s = k(x.line(t), y.line(t), node, ws)) return s;
    return DFT_NO_ERROR;
  }
  frame::PooledBuffer line(uint64_t(n + 2) * sizeof(R), work_alignment());
  if (!line.get()) return DFT_MEMORY_ERROR;
  R *b = static_cast<R *>(line.get());
  for (int64_t t = 0; t < transforms; ++t) {
    x.gather(t, b);
    if (int64_t s = k(b, b, node, ws)) return s;
    y.scatter(t, b);
  }
  return DFT_NO_ERROR;
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

// Rows (lines of the first axis) of transforms first_t .. first_t + count - 1:
// forward, the real row through the real kernel into its half spectrum;
// backward, the reverse. Through a buffer of length + 2 values.
template <class R, bool Fwd>
int64_t md_rows(DftNode *root, R *real, const int64_t *rs, int64_t rdist, cplx<R> *spectrum, const int64_t *cs,
                int64_t cdist, int64_t transforms, R *buf, void *ws) {
  const int64_t n = root->length, h = n / 2 + 1;
  const int32_t rank = root->rank;
  int64_t at[kMaxAxes] = {};
  int64_t lengths[kMaxAxes];
  int64_t k = 0;
  for (const DftNode *a = root; a && k < kMaxAxes; a = a->next_axis, ++k) lengths[k] = a->length;
  dft_axis_kernel kernel = root->real_kernels[real_slot<R>(Fwd)];
  for (int64_t t = 0; t < transforms; ++t) {
    std::fill(at, at + rank, int64_t(0));
    for (;;) {
      int64_t ro = t * rdist, co = t * cdist;
      for (int32_t j = 1; j < rank; ++j) ro += at[j] * rs[j], co += at[j] * cs[j];
      if (Fwd) {
        gather_real<R>(n, real + ro, rs[0], buf);
        if (int64_t s = kernel(buf, buf, root, ws)) return s;
        scatter_complex<R>(h, reinterpret_cast<const cplx<R> *>(buf), spectrum + co, cs[0]);
      } else {
        gather_complex<R>(h, spectrum + co, cs[0], reinterpret_cast<cplx<R> *>(buf));
        if (int64_t s = kernel(buf, buf, root, ws)) return s;
        scatter_real<R>(n, buf, real + ro, rs[0]);
      }
      int32_t j = 1;
      for (; j < rank && ++at[j] >= lengths[j]; ++j) at[j] = 0;
      if (j >= rank) break;
    }
  }
  return DFT_NO_ERROR;
}

// Rank 2 and above. Forward: the rows into the half spectrum, then the
// complex axes over it in place. Backward: the complex axes first, in place
// when the task is, else on a dense copy of each transform's half spectrum
// (the input is left as it was), then the rows.
template <class R, bool Fwd>
int64_t real_md_driver(DftNode *node, void *in, void *out, int64_t transforms, void *ws) {
  if (!complex_view_ok(node, Fwd)) return DFT_INCONSISTENT_CONFIGURATION;
  const MdSides<R> m = md_sides<R, Fwd>(node);
  const int64_t n = node->length, h = n / 2 + 1;
  void *real_base = Fwd ? in : (out ? out : in);
  void *spectrum_base = Fwd ? (out ? out : in) : in;
  R *real = static_cast<R *>(real_base) + m.real_offset;
  cplx<R> *spectrum = static_cast<cplx<R> *>(spectrum_base) + m.complex_offset;
  frame::PooledBuffer line(uint64_t(n + 2) * sizeof(R) + 16, work_alignment());
  if (!line.get()) return DFT_MEMORY_ERROR;
  R *buf = align_up<R>(line.get(), 16);
  if (Fwd) {
    if (int64_t s = md_rows<R, true>(node, real, m.real_stride, m.real_distance, spectrum, m.complex_stride,
                                     m.complex_distance, transforms, buf, ws))
      return s;
    return sweep_later_axes<R, true>(node, spectrum, h, m.complex_stride, transforms, m.complex_distance, ws);
  }
  if (!out) {
    if (int64_t s = sweep_later_axes<R, false>(node, spectrum, h, m.complex_stride, transforms, m.complex_distance, ws))
      return s;
    return md_rows<R, false>(node, real, m.real_stride, m.real_distance, spectrum, m.complex_stride, m.complex_distance,
                             transforms, buf, ws);
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
    if (int64_t s = sweep_later_axes<R, false>(node, c, h, dense, 1, 0, ws)) return s;
    if (int64_t s = md_rows<R, false>(node, real + t * m.real_distance, m.real_stride, 0, c, dense, 0, 1, buf, ws))
      return s;
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

template <class R, bool Fwd, bool Out>
int64_t real_entry(DftNode *node, void *a, void *b, void *, void *) {
  const bool cce = node->conjugate_even_storage == DFT_COMPLEX_COMPLEX;
  auto driver = [&](void *ws) {
    return cce ? real_driver<R, Fwd, true>(node, a, Out ? b : nullptr, node->transforms, ws)
               : real_driver<R, Fwd, false>(node, a, Out ? b : nullptr, node->transforms, ws);
  };
  return node->user_threads > 1 ? in_user_slot(node, driver) : driver(node->workspace);
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
  root->threads = 1;
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
  DftPlan *p = nullptr;
  if (int32_t s = plan_create_real<R>(&p, n, DFT_SCALE_NONE, 0)) {
    uncommit(root);
    return node_status_of_plan(s);
  }
  DftPlan *&slot = root->plans[DFT_PLAN_REAL + precision_index<R>];
  if (slot) plan_destroy(slot);
  slot = p;
  root->axis_index = 0;
  root->uses_plan = 1;
  root->work_size = root->max_work_size = p->work_size;
  root->real_kernels[real_slot<R>(true)] = real_kernel<R, true>;
  root->real_kernels[real_slot<R>(false)] = real_kernel<R, false>;
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

DftMethod *const method_list_dr1d[] = {&threaded_real<double>, nullptr};
DftMethod *const method_list_sr1d[] = {&threaded_real<float>, nullptr};
DftMethod *const method_list_drmd[] = {&threaded_real_md<double>, nullptr};
DftMethod *const method_list_srmd[] = {&threaded_real_md<float>, nullptr};

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
