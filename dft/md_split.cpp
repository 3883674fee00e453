// Split storage (real and imaginary parts in two arrays) over several axes or
// several batch levels, by child nodes that each hold one axis and one batch
// level in the end.
//
// Per axis: one child per axis; its batch is the node's batch and the other
// axes. The first child reads the input (out of place when the node is) and
// carries the node's scales; the others run in place on the output with the
// output strides. Per batch level: one child without the last level, which
// becomes a loop around it.
//
// Decisions kept here:
// - The children take the one-dimensional creator's list from split batch
//   on, so that a child whose batch keeps two levels after normalisation is
//   walked by split batch, and one level goes to split direct.
// - The first child takes the node's scales before it commits, so that its
//   own children (a split batch) carry them too.
#include <zor/dft_tier.h>

#include "dft/compute.hpp"
#include "dft/multi.hpp"
#include "dft/node.hpp"

namespace zor::dft {
namespace {

struct SplitChildren {
  int32_t count;
  int64_t outer, in_step, out_step;  // split batch: the last level as a loop
  DftNode *child[kMaxAxes];
};

int64_t free_children(DftNode *node) {
  auto *st = static_cast<SplitChildren *>(node->extra_state);
  if (st) {
    for (int32_t k = 0; k < st->count; ++k)
      if (st->child[k]) st->child[k]->destroy(st->child[k]);
    node_free(st);
  }
  node->extra_state = nullptr;
  node->extra_free = nullptr;
  return DFT_NO_ERROR;
}

bool split_node(const DftNode *n) {
  return n->forward_domain == DFT_COMPLEX && n->complex_storage == DFT_REAL_REAL && !(n->flags & DFT_FLAG_CHILD_NODE);
}

// A child of one axis (`axis`) and the batch levels `batch` (count of
// them), committed. `in_place_on_output`: both sides take the output fields.
int64_t make_child(DftNode *parent, DftAxis axis, const DftAxis *batch, int32_t count, bool out_of_place,
                   bool in_place_on_output, bool scaled, DftMethod *const *methods, DftNode **out) {
  DftNode *c = nullptr;
  if (int64_t s = zor_dft_dfti_create_node(&c, parent->precision, DFT_COMPLEX, 1, &axis.length)) return s;
  *out = c;
  auto *entries = static_cast<DftAxis *>(node_calloc(sizeof(DftAxis) * uint64_t(count), 16));
  if (!entries) return DFT_MEMORY_ERROR;
  node_free(c->batch.entries);
  c->batch.entries = entries;
  c->batch.count = count;
  for (int32_t k = 0; k < count; ++k) {
    entries[k] = batch[k];
    if (in_place_on_output) entries[k].input_stride = entries[k].output_stride;
  }
  if (in_place_on_output) axis.input_stride = axis.output_stride;
  c->dims.entries[0] = axis;
  c->dims.count = 1;
  sort_and_drop(c->batch);
  merge_batch(c->batch);
  c->complex_storage = DFT_REAL_REAL;
  c->placement = out_of_place ? DFT_NOT_INPLACE : DFT_INPLACE;
  c->input_offset = in_place_on_output ? parent->output_offset : parent->input_offset;
  c->output_offset = out_of_place || in_place_on_output ? parent->output_offset : parent->input_offset;
  c->thread_limit = parent->threads;
  c->user_threads = parent->user_threads;
  if (scaled) c->forward_scale = parent->forward_scale, c->backward_scale = parent->backward_scale;
  c->method_list = const_cast<DftMethod **>(methods);
  return c->ops->recommit(c);
}

// The list from split batch on, for the node's precision.
DftMethod *const *child_methods(const DftNode *n) {
  return (n->precision == DFT_DOUBLE ? method_list_dc1d : method_list_sc1d) + 1;
}

template <bool Fwd>
int64_t run(DftNode *c, void *a, void *b, void *x, void *y) {
  return (Fwd ? c->compute_forward : c->compute_backward)(c, a, b, x, y);
}

// Compute: the children in turn (per axis), or the child over the last
// level (per batch level). Pointers are pairs of arrays of R.
template <class R, bool Fwd, bool Out>
int64_t children_entry(DftNode *node, void *a, void *b, void *c, void *d) {
  const auto *st = static_cast<const SplitChildren *>(node->extra_state);
  if (st->outer == 0) {
    DftNode *first = st->child[0];
    if (int64_t s = Out ? run<Fwd>(first, a, b, c, d) : run<Fwd>(first, a, b, nullptr, nullptr)) return s;
    for (int32_t k = 1; k < st->count; ++k)
      if (int64_t s = run<Fwd>(st->child[k], Out ? c : a, Out ? d : b, nullptr, nullptr)) return s;
    return DFT_NO_ERROR;
  }
  auto at = [](void *p, int64_t off) { return p ? static_cast<void *>(static_cast<R *>(p) + off) : nullptr; };
  for (int64_t t = 0; t < st->outer; ++t) {
    const int64_t i = t * st->in_step, o = t * st->out_step;
    const int64_t s = Out ? run<Fwd>(st->child[0], at(a, i), at(b, i), at(c, o), at(d, o))
                          : run<Fwd>(st->child[0], at(a, i), at(b, i), nullptr, nullptr);
    if (s) return s;
  }
  return DFT_NO_ERROR;
}

template <class R>
void finish_children(DftNode *n) {
  n->flags &= uint8_t(~(DFT_FLAG_SINGLE_THREAD_DIRECT | DFT_FLAG_DIRECT_2D | DFT_FLAG_CALL_KERNEL_DIRECTLY));
  if (n->placement == DFT_NOT_INPLACE) finish(n, children_entry<R, true, true>, children_entry<R, false, true>);
  else finish(n, children_entry<R, true, false>, children_entry<R, false, false>);
}

SplitChildren *start(DftMethod *m, DftNode *n) {
  take(m, n);
  auto *st = static_cast<SplitChildren *>(node_calloc(sizeof(SplitChildren), 16));
  if (st) n->extra_state = st, n->extra_free = free_children;
  return st;
}

int64_t failed(DftNode *n, int64_t s) {
  uncommit(n);  // the children go with the record
  return s;
}

}  // namespace

int64_t commit_split_per_axis(DftMethod *m, DftNode *n) {
  if (!split_node(n) || n->dims.count == 1) return DFT_METHOD_SPLIT_NOT_APPLICABLE;
  if (n->dims.count > kMaxAxes || n->dims.count + n->batch.count > kMaxAxes) return DFT_UNIMPLEMENTED;
  SplitChildren *st = start(m, n);
  if (!st) return failed(n, DFT_MEMORY_ERROR);
  const bool out = n->placement == DFT_NOT_INPLACE;
  DftAxis batch[kMaxAxes];
  for (int32_t k = 0; k < n->dims.count; ++k) {
    int32_t count = 0;
    for (int32_t j = 0; j < n->batch.count; ++j) batch[count++] = n->batch.entries[j];
    for (int32_t j = 0; j < n->dims.count; ++j)
      if (j != k) batch[count++] = n->dims.entries[j];
    const bool first = k == 0;
    int64_t s = make_child(n, n->dims.entries[k], batch, count, first && out, !first && out, first, child_methods(n),
                           &st->child[k]);
    st->count = k + 1;
    if (s) return failed(n, s);
  }
  if (n->precision == DFT_DOUBLE) finish_children<double>(n);
  else finish_children<float>(n);
  return DFT_NO_ERROR;
}

int64_t commit_split_batch(DftMethod *m, DftNode *n) {
  if (!split_node(n) || n->dims.count != 1 || n->batch.count < 2) return DFT_METHOD_SPLIT_NOT_APPLICABLE;
  SplitChildren *st = start(m, n);
  if (!st) return failed(n, DFT_MEMORY_ERROR);
  const DftAxis last = n->batch.entries[n->batch.count - 1];
  st->outer = last.length;
  st->in_step = last.input_stride;
  st->out_step = n->placement == DFT_NOT_INPLACE ? last.output_stride : last.input_stride;
  st->count = 1;
  const bool out = n->placement == DFT_NOT_INPLACE;
  if (int64_t s = make_child(n, n->dims.entries[0], n->batch.entries, n->batch.count - 1, out, false, true,
                             n->method_list, &st->child[0]))
    return failed(n, s);
  if (n->precision == DFT_DOUBLE) finish_children<double>(n);
  else finish_children<float>(n);
  return DFT_NO_ERROR;
}

}  // namespace zor::dft
