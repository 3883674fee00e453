// Real transforms of one dimension: the commit core of real data, the axis
// kernels over the real plans, the compute entries, and the drivers of both
// conjugate-even storages.
//
// Decisions kept here:
// - The real plan runs unscaled; a kernel scale that is not exactly 1.0 is
//   applied after it: forward over length + 1 values in ccs (so the last
//   zero of an even length is left alone), backward over length values.
// - Every length, the powers of two from 2 to 64 too, takes the real plan,
//   whose lengths up to 16 run straight-line kernels.
// - The real core keeps one thread: real tasks are not handed to the
//   threading layer, and the creators' lists hold the threaded node alone.
#include <zor/dft_tier.h>

#include "dft/compute.hpp"
#include "dft/late.hpp"
#include "dft/lines.hpp"
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

// `transforms` lines; in place when out is null. Contiguous lines go to the
// kernel as they lie, others through a line buffer of length + 2 values.
template <class R, bool Fwd, bool Cce>
int64_t real_driver(DftNode *node, void *in, void *out, int64_t transforms, void *ws) {
  if (node->rank != 1) return DFT_UNIMPLEMENTED;
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
  if (root->rank != 1) return DFT_UNIMPLEMENTED;
  root->threads = 1;
  if (int64_t s = reserve_user_slots(root)) return s;
  root->flags &= uint8_t(~(DFT_FLAG_SINGLE_THREAD_DIRECT | DFT_FLAG_DIRECT_2D | DFT_FLAG_CALL_KERNEL_DIRECTLY));
  if (layout_of(root) == Layout::none) {
    uncommit(root);
    return DFT_UNIMPLEMENTED;
  }
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

}  // namespace

DftMethod *const method_list_dr1d[] = {&threaded_real<double>, nullptr};
DftMethod *const method_list_sr1d[] = {&threaded_real<float>, nullptr};

}  // namespace zor::dft

using zor::dft::real_driver;

ZOR_API int64_t zor_dft_commit_descriptor_core_d_r2c_1d(DftNode *root) { return zor::dft::core_r2c_1d<double>(root); }
ZOR_API int64_t zor_dft_commit_descriptor_core_s_r2c_1d(DftNode *root) { return zor::dft::core_r2c_1d<float>(root); }

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
