// Commit: the methods of the one-dimensional complex creators, the commit
// core that chooses per axis between fixed kernels, plans and the chirp, and
// the node-level chirp.
//
// Decisions kept here:
// - A method that takes a node frees what any earlier commit built (uncommit),
//   except the small plan, which keeps a plan of the same length and scale
//   mode. So a second commit after a setter never leaks or reuses stale
//   pointers.
// - Empty services slots are never called (slot 0 reads 0, slot 1 reads 1).
// - The four-step path lets the kernel be called directly only when one user
//   thread shares the node (several would share its workspace).
// - A failed node-level chirp returns its own status (1 for memory) instead
//   of falling through to the length limit.
#include <cmath>
#include <cstring>

#include <zor/core.h>
#include <zor/dft_tier.h>
#include <zor/serv.h>

#include "dft/compute.hpp"
#include "dft/fixed.hpp"
#include "dft/four_step.hpp"
#include "dft/late.hpp"
#include "dft/multi.hpp"
#include "dft/node.hpp"
#include "dft/plan.hpp"

namespace zor::dft {

void set_nio_args(DftNode *n) {
  bool split = n->forward_domain == DFT_COMPLEX && n->complex_storage == DFT_REAL_REAL;
  bool out = n->placement == DFT_NOT_INPLACE;
  n->nio_args = split ? (out ? 4 : 2) : (out ? 2 : 1);
}

void take(DftMethod *m, DftNode *n) {
  if (n->owner_method) uncommit(n);
  n->owner_method = m;
}

void finish(DftNode *n, dft_compute_fn forward, dft_compute_fn backward) {
  n->compute_forward = forward;
  n->compute_backward = backward;
  set_nio_args(n);
  n->commit_status = DFT_COMMITTED;
}

int64_t reserve_user_slots(DftNode *root) {
  if (root->user_threads <= 1) return DFT_NO_ERROR;
  if (root->user_threads >= 0x7ffffff) return DFT_MEMORY_ERROR;
  uint64_t words = 2 * uint64_t(root->user_threads) + 2;
  if (root->thread_slots) node_free(root->thread_slots);
  root->thread_slots = static_cast<int64_t *>(node_calloc(words * sizeof(int64_t), 16));
  if (!root->thread_slots) return DFT_MEMORY_ERROR;
  root->threads = 1;
  return DFT_NO_ERROR;
}

int64_t allocate_workspace(DftNode *root) {
  if (root->max_work_size <= 0) return DFT_NO_ERROR;
  int32_t align = work_alignment();
  root->max_work_size = (root->max_work_size + align - 1) / align * align;
  int64_t copies = root->user_threads >= 2 ? root->user_threads : root->threads;
  root->workspace = node_alloc(uint64_t(root->max_work_size * copies), align);
  if (root->workspace) return DFT_NO_ERROR;
  uncommit(root);
  return DFT_MEMORY_ERROR;
}

namespace {

bool scales_are_one(const DftNode *n) { return n->forward_scale == 1.0 && n->backward_scale == 1.0; }

// One transform of one contiguous line, no offsets: the shape that the fixed
// kernels and the small plan take.
bool single_contiguous_line(const DftNode *n, int32_t precision) {
  bool out = n->placement == DFT_NOT_INPLACE;
  bool batch_one = n->batch.count == 0 || (n->batch.count == 1 && n->batch.entries[0].length == 1);
  return n->precision == precision && n->forward_domain == DFT_COMPLEX && n->dims.count == 1 &&
         n->complex_storage == DFT_COMPLEX_COMPLEX && !(n->flags & DFT_FLAG_CHILD_NODE) && n->input_offset == 0 &&
         (!out || n->output_offset == 0) && batch_one && n->input_stride == 1 && (!out || n->output_stride == 1);
}

// ---------------------------------------------------------------- split methods

int64_t split_release(DftMethod *, DftNode *) { return DFT_NO_ERROR; }

bool split_candidate(const DftNode *n) {
  return n->forward_domain == DFT_COMPLEX && n->complex_storage == DFT_REAL_REAL && !(n->flags & DFT_FLAG_CHILD_NODE);
}

// One axis and one batch level of split data: a split plan of the length,
// the batch walked by the driver with the node's workspace.
template <class R>
int64_t commit_split_direct(DftMethod *m, DftNode *n) {
  constexpr int32_t prec = sizeof(R) == 8 ? DFT_DOUBLE : DFT_SINGLE;
  if (n->precision != prec || !split_candidate(n) || n->dims.count != 1 || n->batch.count != 1)
    return DFT_METHOD_SPLIT_NOT_APPLICABLE;
  take(m, n);
  if (n->length > (sizeof(R) == 8 ? 0x4000000 : 0x8000000)) return DFT_1D_LENGTH_EXCEEDS_INT32;
  DftPlan *p = nullptr;
  if (int32_t s = plan_create_split<R>(&p, n->length, DFT_SCALE_NONE, 0)) return node_status_of_plan(s);
  n->plans[DFT_PLAN_SPLIT + precision_index<R>] = p;
  n->uses_plan = 1;
  n->kernels[kernel_slot<R>(true, false)] = plan_split_kernel<R, true>;
  n->kernels[kernel_slot<R>(false, false)] = plan_split_kernel<R, false>;
  n->work_size = n->max_work_size = p->work_size;
  n->threads = 1;
  n->flags &= uint8_t(~(DFT_FLAG_SINGLE_THREAD_DIRECT | DFT_FLAG_DIRECT_2D | DFT_FLAG_CALL_KERNEL_DIRECTLY));
  if (n->max_work_size > 0) {
    int32_t align = work_alignment();
    n->max_work_size = (n->max_work_size + align - 1) / align * align;
    n->workspace = node_alloc(uint64_t(n->max_work_size), align);
    if (!n->workspace) {
      uncommit(n);
      return DFT_MEMORY_ERROR;
    }
  }
  if (n->placement == DFT_NOT_INPLACE) finish(n, entry_split_out<R, true>, entry_split_out<R, false>);
  else finish(n, entry_split_in<R, true>, entry_split_in<R, false>);
  return DFT_NO_ERROR;
}

// ---------------------------------------------------------------- fixed-length methods

struct FixedMethod {
  DftMethod method;
  DftFixedRow rows[7];
};

template <class R>
int64_t commit_fixed(DftMethod *m, DftNode *n) {
  constexpr int32_t prec = sizeof(R) == 8 ? DFT_DOUBLE : DFT_SINGLE;
  if (!single_contiguous_line(n, prec) || !scales_are_one(n)) return DFT_METHOD_NOT_APPLICABLE;
  const DftFixedRow *row = reinterpret_cast<const FixedMethod *>(m)->rows;
  for (; row->length; ++row)
    if (row->length == n->length) break;
  if (!row->length) return DFT_METHOD_NOT_APPLICABLE;
  take(m, n);
  if (n->placement == DFT_NOT_INPLACE) finish(n, row->forward_out, row->backward_out);
  else finish(n, row->forward_in, row->backward_in);
  return DFT_NO_ERROR;
}

template <class R, int N>
constexpr DftFixedRow fixed_row() {
  return {N, fixed_entry_out<R, true, N>, fixed_entry_out<R, false, N>, fixed_entry_in<R, true, N>,
          fixed_entry_in<R, false, N>};
}

template <class R>
FixedMethod fixed_8_128 = {{commit_fixed<R>, nullptr},
                           {fixed_row<R, 8>(), fixed_row<R, 16>(), fixed_row<R, 32>(), fixed_row<R, 64>(),
                            fixed_row<R, 128>(), {0, nullptr, nullptr, nullptr, nullptr}}};
template <class R>
FixedMethod fixed_2_64 = {{commit_fixed<R>, nullptr},
                          {fixed_row<R, 2>(), fixed_row<R, 4>(), fixed_row<R, 8>(), fixed_row<R, 16>(),
                           fixed_row<R, 32>(), fixed_row<R, 64>(), {0, nullptr, nullptr, nullptr, nullptr}}};

// ---------------------------------------------------------------- the small plan

template <class R>
int64_t commit_small_plan(DftMethod *m, DftNode *n) {
  constexpr int32_t prec = sizeof(R) == 8 ? DFT_DOUBLE : DFT_SINGLE;
  if (!single_contiguous_line(n, prec) || n->length < 1 || n->length > 4096) return DFT_METHOD_NOT_APPLICABLE;
  const double f = n->forward_scale, b = n->backward_scale, inv = 1.0 / double(n->length),
               root = 1.0 / std::sqrt(double(n->length));
  int32_t mode;
  if (f == 1.0 && b == 1.0) mode = DFT_SCALE_NONE;
  else if (f == inv && b == 1.0) mode = DFT_SCALE_FORWARD;
  else if (f == 1.0 && b == inv) mode = DFT_SCALE_BACKWARD;
  else if (f == root && b == root) mode = DFT_SCALE_SQRT_BOTH;
  else return DFT_METHOD_NOT_APPLICABLE;
  DftPlan *&slot = n->plans[DFT_PLAN_ORDERED + precision_index<R>];
  int32_t held_mode = !slot                                        ? 0
                      : slot->scale_forward && slot->scale_backward ? DFT_SCALE_SQRT_BOTH
                      : slot->scale_forward                         ? DFT_SCALE_FORWARD
                      : slot->scale_backward                        ? DFT_SCALE_BACKWARD
                                                                    : DFT_SCALE_NONE;
  bool reuse = n->owner_method == m && slot && slot->length == n->length && held_mode == mode;
  if (!reuse) {
    DftPlan *p = nullptr;
    if (int32_t s = plan_create_ordered<R>(&p, n->length, mode, 0)) return node_status_of_plan(s);
    int32_t work = 0;
    plan_work_size(p, &work);
    if (work >= 2049) {
      plan_destroy(p);
      return DFT_METHOD_NOT_APPLICABLE;
    }
    take(m, n);
    if (slot) plan_destroy(slot);
    slot = p;
  }
  if (n->placement == DFT_NOT_INPLACE) finish(n, small_plan_out<R, true>, small_plan_out<R, false>);
  else finish(n, small_plan_in<R, true>, small_plan_in<R, false>);
  return DFT_NO_ERROR;
}

// ---------------------------------------------------------------- the threaded node

template <class R>
int64_t commit_threaded(DftMethod *m, DftNode *n) {
  return commit_through(m, n, sizeof(R) == 8 ? commit_node_d_c2c_1d_cell : commit_node_s_c2c_1d_cell);
}
template <class R>
int64_t commit_threaded_md(DftMethod *m, DftNode *n) {
  return commit_through(m, n, sizeof(R) == 8 ? commit_node_d_c2c_md_cell : commit_node_s_c2c_md_cell);
}

DftMethod split_per_axis = {commit_split_per_axis, split_release};
DftMethod split_batch = {commit_split_batch, split_release};
template <class R> DftMethod split_direct = {commit_split_direct<R>, split_release};
template <class R> DftMethod small_plan = {commit_small_plan<R>, nullptr};
template <class R> DftMethod threaded_node = {commit_threaded<R>, nullptr};
template <class R> DftMethod threaded_node_md = {commit_threaded_md<R>, nullptr};

// ---------------------------------------------------------------- the core

// Thread-limit functions of the one-dimensional cores.
int64_t working_bytes(const DftNode *n, int64_t element) {
  return n->total_size * n->transforms * (n->placement == DFT_NOT_INPLACE ? 2 : 1) * element;
}
int64_t limit_none(DftNode *, int64_t) { return 0; }
int64_t limit_sqrt_rule(DftNode *n, int64_t element) {
  double bytes = double(working_bytes(n, element));
  if (bytes < 2) return 0;
  int64_t t = int64_t(std::floor(std::sqrt(bytes * std::log(bytes) / 313600.0) + 0.5));
  return t * (n->rank >= 2 ? n->rank : (n->four_step_state ? 2 : 1));
}
int64_t limit_small_batch(DftNode *n, int64_t element) {
  if (n->transforms < 2) return 0;
  int32_t info[8] = {};
  zor_serv_cache_info(info);
  int64_t l1 = (info[0] <= 0 || info[1] < 1) ? 8192 : info[1];
  return working_bytes(n, element) < l1 ? 1 : 0;
}
using ThreadLimit = int64_t (*)(DftNode *, int64_t);
constexpr ThreadLimit kLimits1d[] = {limit_none, limit_sqrt_rule, limit_small_batch, limit_none, limit_none};

template <class R>
int64_t free_chirp(DftNode *n) {
  auto *rec = static_cast<ChirpRecord<R> *>(n->extra_state);
  if (rec) {
    if (rec->child && rec->child->destroy) rec->child->destroy(rec->child);
    node_free(rec->w);
    node_free(rec->big);
    node_free(rec);
  }
  n->extra_state = nullptr;
  return DFT_NO_ERROR;
}

template <class R>
int64_t commit_chirp(DftNode *root, DftNode *ax) {
  using E = cplx<R>;
  const int64_t n = ax->length;
  auto *rec = static_cast<ChirpRecord<R> *>(node_calloc(sizeof(ChirpRecord<R>), 256));
  if (!rec) return DFT_MEMORY_ERROR;
  ax->extra_state = rec;
  ax->extra_free = free_chirp<R>;
  int64_t bits = floor_log2(n) + 1;
  rec->n = n;
  rec->m = int64_t(1) << (bits + 1);
  const int64_t M = rec->m;
  rec->w = static_cast<E *>(node_alloc(uint64_t(M) * sizeof(E), 256));
  rec->big = static_cast<E *>(node_alloc(uint64_t(M) * sizeof(E), 256));
  if (!rec->w || !rec->big) return DFT_MEMORY_ERROR;
  DftNode *child = nullptr;
  int64_t s = zor_dft_dfti_create_node(&child, ax->precision, DFT_COMPLEX, 1, &M);
  if (s) return s;
  rec->child = child;
  child->method_list = root->method_list;
  bless(child);
  if ((s = child->ops->commit(child))) return s;
  E *w = rec->w, *big = rec->big;
  std::memset(static_cast<void *>(w), 0, sizeof(E) * size_t(M));
  w[0] = {R(1), R(0)};
  const double pi = 3.14159265358979323846;
  int64_t q = 0;
  for (int64_t k = 1; k < n; ++k) {
    q += 2 * k - 1;  // k^2 mod 2n
    while (q >= 2 * n) q -= 2 * n;
    double sn, cs;
    zor_serv_libm_sincos(pi * double(q) / double(n), &sn, &cs);
    w[k] = w[M - k] = {R(cs), R(-sn)};
  }
  for (int64_t k = 0; k < M; ++k) big[k] = conj(w[k]);
  if ((s = child->compute_forward(child, big, nullptr, nullptr, nullptr))) return s;
  const R inv = R(1.0 / double(M));
  for (int64_t k = 0; k < M; ++k) big[k] = inv * big[k];
  return DFT_NO_ERROR;
}

template <class R>
int64_t build_axis_plan(DftNode *ax, int kind) {
  const int64_t n = ax->length;
  const bool pow2 = is_pow2(n);
  const int64_t limit = sizeof(R) == 8 ? (pow2 ? 0x4000000 : 0x1000000) : (pow2 ? 0x8000000 : 0x2000000);
  if (n > limit) return DFT_1D_LENGTH_EXCEEDS_INT32;
  DftPlan *p = nullptr;
  int32_t s = kind == DFT_PLAN_SPLIT       ? plan_create_split<R>(&p, n, DFT_SCALE_NONE, 0)
              : kind == DFT_PLAN_UNORDERED ? plan_create_unordered<R>(&p, n, DFT_SCALE_NONE, 0)
                                           : plan_create_ordered<R>(&p, n, DFT_SCALE_NONE, 0);
  if (s) return node_status_of_plan(s);
  DftPlan *&slot = ax->plans[kind + precision_index<R>];
  if (slot) plan_destroy(slot);
  slot = p;
  ax->work_size = p->work_size;
  return DFT_NO_ERROR;
}

// Largest power of two the fixed kernels take on an axis. One dimension:
// out of place with unit strides 1024 alone, else 128 below rank 3 and
// 64 / 32 above; in place or strided 1024 alone, else 128. Several axes
// (axes count from 0, as axis_index does): out of place with unit strides,
// alone 1024 / 256 at rank 1 / 2, else 128 below rank 3; in place or
// strided, alone 1024 at rank 1, 512 on axis 0 and 256 on axis 1 at rank 2;
// else 128 / 64 at rank 1 / 2. From rank 3 on, 64 on axis 1 and 32 on the
// others, except in place alone: 256 on axis 1 and 512 on the others.
int64_t fixed_limit(const DftNode *root, const DftNode *ax, int64_t index, bool md, bool out_unit) {
  const bool alone = root->threads < 2 && root->user_threads < 2;
  const int32_t rank = root->rank;
  const int64_t deep = index == 1 ? 64 : 32;
  if (!md) return out_unit ? (alone ? 1024 : rank < 3 ? 128 : deep) : (alone ? 1024 : 128);
  (void)ax;
  if (out_unit) {
    if (alone) return rank == 1 ? 1024 : rank == 2 ? 256 : deep;
    return rank < 3 ? 128 : deep;
  }
  if (alone) return rank == 1 ? 1024 : rank == 2 ? (index == 0 ? 512 : 256) : (index == 1 ? 256 : 512);
  return rank == 1 ? 128 : rank == 2 ? 64 : deep;
}

template <class R>
int64_t commit_axis(DftNode *root, DftNode *ax, int64_t index, bool md) {
  constexpr bool dbl = sizeof(R) == 8;
  if (ax != root) {
    ax->input_offset = root->input_offset;
    ax->output_offset = root->output_offset;
    ax->complex_storage = root->complex_storage;
    ax->real_storage = root->real_storage;
    ax->conjugate_even_storage = root->conjugate_even_storage;
    ax->packed_format = root->packed_format;
    ax->transforms = root->transforms;
    ax->placement = root->placement;
    ax->inherited_word = root->inherited_word;
    ax->inherited_word_2 = root->inherited_word_2;
    ax->forward_domain = root->forward_domain;
    ax->precision = root->precision;
    ax->transpose = root->transpose;
    ax->force_four_step = root->force_four_step;
    ax->ordering = root->ordering;
    ax->input_distance = root->input_distance;
    ax->output_distance = root->output_distance;
  }
  ax->axis_index = index;
  ax->work_size = 0;
  const int fwd = kernel_slot<R>(true, false), bwd = kernel_slot<R>(false, false);
  dft_axis_kernel plan_f, plan_b;
  int kind;
  if (ax->complex_storage == DFT_REAL_REAL) {
    plan_f = plan_split_kernel<R, true>, plan_b = plan_split_kernel<R, false>, kind = DFT_PLAN_SPLIT;
  } else if (ax->ordering == DFT_BACKWARD_SCRAMBLED) {
    plan_f = plan_unordered_kernel<R, true>, plan_b = plan_unordered_kernel<R, false>, kind = DFT_PLAN_UNORDERED;
  } else {
    plan_f = plan_ordered_kernel<R, true>, plan_b = plan_ordered_kernel<R, false>, kind = DFT_PLAN_ORDERED;
  }
  ax->kernels[kernel_slot<R>(true, true)] = nullptr;
  ax->kernels[kernel_slot<R>(false, true)] = nullptr;
  ax->kernels[fwd] = plan_f;
  ax->kernels[bwd] = plan_b;
  ax->uses_plan = 1;
  if (ax->complex_storage == DFT_REAL_REAL) return build_axis_plan<R>(ax, kind);

  const int64_t n = ax->length;
  const bool pow2 = is_pow2(n);
  const bool unit = ax->input_stride == 1 && ax->output_stride == 1;
  const bool natural =
      ax->ordering == DFT_ORDERED && ax->complex_storage == DFT_COMPLEX_COMPLEX && root->rank == 1 && unit;
  // Long lines, or on request, as an m2-by-m1 problem; a length with no
  // usable split goes on.
  const int64_t limit = dbl ? (pow2 ? 0x4000000 : 0x1000000) : (pow2 ? 0x8000000 : 0x2000000);
  if (natural && ax->length_log2 >= 16 && (n > limit || ax->force_four_step == 1)) {
    int64_t s = four_step_setup<R>(ax, root);
    if (s == DFT_NO_ERROR) {
      ax->uses_plan = 0;
      ax->kernels[fwd] = four_step_kernel<R, true>;
      ax->kernels[bwd] = four_step_kernel<R, false>;
      ax->work_size = static_cast<const DftFourStep *>(ax->four_step_state)->work_size;
      if (root->transforms == 1 && root->user_threads == 1) root->flags |= DFT_FLAG_CALL_KERNEL_DIRECTLY;
      return DFT_NO_ERROR;
    }
    if (s != DFT_NO_TWO_FACTOR_SPLIT) return s;
  }
  if (natural && !pow2 && n > (dbl ? 0x1000000 : 0x2000000)) {
    int64_t s = commit_chirp<R>(root, ax);
    if (s) return s;
    ax->uses_plan = 0;
    ax->kernels[kernel_slot<R>(true, true)] = ax->kernels[fwd] = chirp_kernel<R, true>;
    ax->kernels[kernel_slot<R>(false, true)] = ax->kernels[bwd] = chirp_kernel<R, false>;
    return DFT_NO_ERROR;
  }
  if (pow2) {
    // Several axes: the lines of the other axes reach the kernels through
    // buffers, so the first axis's strides decide.
    const bool root_unit = root->input_stride == 1 && root->output_stride == 1;
    const bool fixed_ok = md ? root_unit : unit;
    const bool out_unit = ax->placement == DFT_NOT_INPLACE && (md ? root_unit : unit);
    const int64_t limit_here = dbl ? fixed_limit(root, ax, index, md, out_unit) : 4;
    if (fixed_ok && n >= 2 && n <= limit_here) {
      ax->uses_plan = 0;
      ax->kernels[fwd] = fixed_axis_kernel<R, true>(n);
      ax->kernels[bwd] = fixed_axis_kernel<R, false>(n);
      // In place, lengths above 32 run through a buffer of n values, the
      // workspace when one is given (a parent's share, as in four steps).
      if (n > 32) ax->work_size = n * int64_t(sizeof(cplx<R>));
      if (dbl && n >= 256) {
        ax->kernel_tables = node_alloc(uint64_t(fixed_table_bytes(n)), 16);
        if (!ax->kernel_tables) return DFT_MEMORY_ERROR;
        fixed_table_fill(ax->kernel_tables, n);
        ax->work_size = n * 16;
      }
      return DFT_NO_ERROR;
    }
  } else if (dbl && n >= 2 && n <= 64 && ax->ordering == DFT_ORDERED) {
    ax->kernels[fwd] = table_kernel<true>;
    ax->kernels[bwd] = table_kernel<false>;
  }
  return build_axis_plan<R>(ax, kind);
}

// Thread-limit functions of the multi-dimensional cores.
int64_t limit_small_md(DftNode *n, int64_t element) {
  if (n->transforms >= 2) return limit_small_batch(n, element);
  return n->rank >= 2 && n->total_size < 343 ? 1 : 0;
}
int64_t limit_md_sqrt(DftNode *n, int64_t element) {
  if (n->rank != 1 && n->total_size >= 343) {
    int64_t processors = service_or(n, 2, 1);
    int64_t t = processors >= 4 ? 8192 : 32000;
    if (n->total_size < t && processors >= 2) return processors;
  }
  return limit_sqrt_rule(n, element);
}
int64_t limit_2d_single(DftNode *n, int64_t) {
  if (n->rank != 2 || n->user_threads != 1 || n->transforms != 1) return 0;
  const int64_t t = n->total_size;
  return (!is_pow2(t) && t < 343) || (is_pow2(t) && t < 2048) ? 1 : 0;
}
constexpr ThreadLimit kLimitsMd[] = {limit_2d_single, limit_md_sqrt, limit_small_md, limit_none, limit_none};

template <class R, bool Md>
int64_t core_c2c(DftNode *root) {
  const int p = precision_index<R>;
  const bool no_2d = !root->kernels_2d[2 * p] && !root->kernels_2d[2 * p + 1];
  if (Md ? root->rank == 1 && root->transforms == 1 && no_2d
         : root->transforms == 1 && !root->kernels[4 + 2 * p] && !root->kernels[5 + 2 * p] && no_2d)
    root->threads = 1;
  if (Md && root->rank > kMaxAxes) return DFT_UNIMPLEMENTED;
  if (int64_t s = reserve_user_slots(root)) return s;
  if (root->commit_hooks_enabled)
    for (ThreadLimit f : Md ? kLimitsMd : kLimits1d) {
      if (root->threads == 1) break;
      int64_t t = f(root, int64_t(2 * sizeof(R)));
      if (t >= 1 && t < root->threads) root->threads = int32_t(t);
    }
  root->flags &= uint8_t(~DFT_FLAG_DIRECT_2D);
  if (Md && root->rank == 2 && root->user_threads == 1 && root->threads == 1 && root->transforms == 1)
    root->flags |= DFT_FLAG_DIRECT_2D;
  if (root->rank == 1 && root->input_stride == 1 && root->output_stride == 1 && root->transforms == 1) {
    if (root->threads == 1) root->flags |= DFT_FLAG_SINGLE_THREAD_DIRECT;
    else root->flags &= uint8_t(~DFT_FLAG_SINGLE_THREAD_DIRECT);
    if (root->user_threads == 1) {
      if (root->flags & DFT_FLAG_SINGLE_THREAD_DIRECT) root->flags |= DFT_FLAG_CALL_KERNEL_DIRECTLY;
      else root->flags &= uint8_t(~DFT_FLAG_CALL_KERNEL_DIRECTLY);
    }
  } else {
    root->flags &= uint8_t(~DFT_FLAG_SINGLE_THREAD_DIRECT);
    if (root->user_threads == 1) root->flags &= uint8_t(~DFT_FLAG_CALL_KERNEL_DIRECTLY);
  }
  root->max_work_size = 0;
  if (!(root->rank == 1 && root->transforms < 2 && root->threads != 1)) {
    int64_t index = 0;
    for (DftNode *ax = root; ax; ax = ax->next_axis, ++index) {
      int64_t s = commit_axis<R>(root, ax, index, Md);
      if (s) {
        // The axes after this one exist already (the threading layer built
        // the chain): the root's uncommit frees them all.
        uncommit(root);
        return s;
      }
      if (ax->work_size > root->max_work_size) root->max_work_size = ax->work_size;
      ax->commit_status = DFT_COMMITTED;
    }
  }
  if (int64_t s = allocate_workspace(root)) return s;
  if (root->complex_storage == DFT_REAL_REAL) {
    if (root->placement == DFT_NOT_INPLACE) finish(root, entry_split_out<R, true>, entry_split_out<R, false>);
    else finish(root, entry_split_in<R, true>, entry_split_in<R, false>);
  } else if (Md && root->rank != 1) {
    const bool out = root->placement == DFT_NOT_INPLACE;
    if (root->rank == 2)
      root->kernels_2d[2 * p] = root->kernels_2d[2 * p + 1] = out ? dft2d_out_routine<R>() : dft2d_in_routine<R>();
    if (out) finish(root, md_entry_out<R, true>, md_entry_out<R, false>);
    else finish(root, md_entry_in<R, true>, md_entry_in<R, false>);
  } else {
    if (root->placement == DFT_NOT_INPLACE) finish(root, entry_out<R, true>, entry_out<R, false>);
    else finish(root, entry_in<R, true>, entry_in<R, false>);
  }
  return DFT_NO_ERROR;
}

}  // namespace

template <class R>
int64_t commit_complex_axis(DftNode *root, DftNode *axis, int64_t index) {
  return commit_axis<R>(root, axis, index, true);
}
template int64_t commit_complex_axis<double>(DftNode *, DftNode *, int64_t);
template int64_t commit_complex_axis<float>(DftNode *, DftNode *, int64_t);

DftMethod *const method_list_dc1d[] = {
    &split_per_axis,
    &split_batch,
    &split_direct<double>,
    &fixed_8_128<double>.method,
    &fixed_2_64<double>.method,
    &small_plan<double>,
    &threaded_node<double>,
    nullptr,
};
DftMethod *const method_list_sc1d[] = {
    &split_per_axis,
    &split_batch,
    &split_direct<float>,
    &fixed_8_128<float>.method,
    &fixed_2_64<float>.method,
    &small_plan<float>,
    &threaded_node<float>,
    nullptr,
};
DftMethod *const method_list_dcmd[] = {
    &split_per_axis, &split_batch, &split_direct<double>, &cube_double, &threaded_node_md<double>, nullptr,
};
DftMethod *const method_list_scmd[] = {
    &split_per_axis, &split_batch, &split_direct<float>, &cube_single, &threaded_node_md<float>, nullptr,
};

}  // namespace zor::dft

ZOR_API int64_t zor_dft_commit_descriptor_core_d_c2c_1d(DftNode *root) {
  return zor::dft::core_c2c<double, false>(root);
}
ZOR_API int64_t zor_dft_commit_descriptor_core_s_c2c_1d(DftNode *root) {
  return zor::dft::core_c2c<float, false>(root);
}
ZOR_API int64_t zor_dft_commit_descriptor_core_d_c2c_md(DftNode *root) {
  return zor::dft::core_c2c<double, true>(root);
}
ZOR_API int64_t zor_dft_commit_descriptor_core_s_c2c_md(DftNode *root) {
  return zor::dft::core_c2c<float, true>(root);
}
