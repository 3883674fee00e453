// Transform nodes: the common creator, the one-dimensional creators, the
// per-node operations, uncommit and destroy.
//
// A node and its four axis lists are plain heap blocks. Commit builds plans,
// tables, workspace and (for several axes) a chain of axis nodes; uncommit
// drops all of it and leaves the configuration.
#include "dft/node.hpp"

#include <cstring>

#include <zor/core.h>
#include <zor/dft_tier.h>
#include <zor/serv.h>

#include "dft/plan.hpp"

namespace zor::dft {

void *node_alloc(uint64_t bytes, int32_t alignment) { return zor_serv_zor_malloc(bytes, alignment); }
void *node_calloc(uint64_t bytes, int32_t alignment) { return zor_serv_zor_calloc(1, bytes, alignment); }
void node_free(void *p) {
  if (p) zor_serv_zor_free(p);
}

int32_t work_alignment() { return zor_serv_cpu_detect() == 4 ? 4096 : 256; }

namespace {

DftServices g_services{};

int64_t cache_size_service() { return zor_serv_get_cache_size(0); }

}  // namespace

DftServices *services_table() { return &g_services; }

int64_t service_or(const DftNode *node, int slot, int64_t otherwise) {
  dft_service_fn f = node->services ? node->services->slot[slot] : nullptr;
  return f ? f() : otherwise;
}

// ---------------------------------------------------------------- lists

namespace {

bool copy_list(const DftAxisList &from, DftAxisList &to) {
  if (!to.entries) {
    to.entries = static_cast<DftAxis *>(node_calloc(sizeof(DftAxis) * uint64_t(from.count > 0 ? from.count : 1), 16));
    if (!to.entries) return false;
  }
  std::memcpy(to.entries, from.entries, sizeof(DftAxis) * uint64_t(from.count));
  to.count = from.count;
  return true;
}

// An unset stride becomes the running product of the lengths before it; the
// product goes on from a stride that was set.
void fill_default_strides(DftAxisList &list) {
  int64_t in = 1, out = 1;
  for (int32_t k = 0; k < list.count; ++k) {
    DftAxis &a = list.entries[k];
    if (a.input_stride == DFT_STRIDE_UNSET) a.input_stride = in;
    if (a.output_stride == DFT_STRIDE_UNSET) a.output_stride = out;
    in = a.input_stride * a.length;
    out = a.output_stride * a.length;
  }
}

// ---------------------------------------------------------------- operations

int64_t op_commit(DftNode *node);
int64_t op_recommit(DftNode *node);

int64_t get_strides(DftNode *node, int64_t *strides, bool input) {
  strides[0] = input ? node->input_offset : node->output_offset;
  for (int32_t k = 0; k < node->dims_user.count; ++k)
    strides[k + 1] = input ? node->dims_user.entries[k].input_stride : node->dims_user.entries[k].output_stride;
  return DFT_NO_ERROR;
}

int64_t set_strides(DftNode *node, const int64_t *strides, bool input) {
  uncommit(node);
  (input ? node->input_offset : node->output_offset) = strides[0];
  for (int32_t k = 0; k < node->dims_user.count; ++k)
    (input ? node->dims_user.entries[k].input_stride : node->dims_user.entries[k].output_stride) = strides[k + 1];
  fill_default_strides(node->dims_user);
  return DFT_NO_ERROR;
}

int64_t op_get_input_strides(DftNode *n, int64_t *s) { return get_strides(n, s, true); }
int64_t op_get_output_strides(DftNode *n, int64_t *s) { return get_strides(n, s, false); }
int64_t op_set_input_strides(DftNode *n, const int64_t *s) { return set_strides(n, s, true); }
int64_t op_set_output_strides(DftNode *n, const int64_t *s) { return set_strides(n, s, false); }

int64_t op_get_lengths(DftNode *node, int64_t *lengths) {
  for (int32_t k = 0; k < node->dims_user.count; ++k) lengths[k] = node->dims_user.entries[k].length;
  return DFT_NO_ERROR;
}

int64_t op_get_descriptor_name(DftNode *node, char *name, int64_t length) {
  std::memcpy(name, node->descriptor_name, size_t(length < 10 ? (length > 0 ? length : 0) : 10));
  return DFT_NO_ERROR;
}

int64_t op_set_descriptor_name(DftNode *node, const char *name, int64_t length, char pad) {
  int64_t n = length < 10 ? (length > 0 ? length : 0) : 10;
  std::memcpy(node->descriptor_name, name, size_t(n));
  std::memset(node->descriptor_name + n, pad, size_t(10 - n));
  return DFT_NO_ERROR;
}

int64_t op_get_scale(DftNode *node, int64_t parameter, double *value) {
  if (parameter == DFT_FORWARD_SCALE) *value = node->forward_scale;
  else if (parameter == DFT_BACKWARD_SCALE) *value = node->backward_scale;
  else return DFT_INCONSISTENT_CONFIGURATION;
  return DFT_NO_ERROR;
}

int64_t op_set_scale(DftNode *node, int64_t parameter, double value) {
  double *field = parameter == DFT_FORWARD_SCALE    ? &node->forward_scale
                  : parameter == DFT_BACKWARD_SCALE ? &node->backward_scale
                                                    : nullptr;
  if (!field) return DFT_INCONSISTENT_CONFIGURATION;
  if (std::memcmp(field, &value, sizeof value) != 0) {
    uncommit(node);
    *field = value;
  }
  return DFT_NO_ERROR;
}

int64_t op_get_input_distance(DftNode *n, int64_t *d) {
  *d = n->batch_user.entries[0].input_stride;
  return DFT_NO_ERROR;
}
int64_t op_get_output_distance(DftNode *n, int64_t *d) {
  *d = n->batch_user.entries[0].output_stride;
  return DFT_NO_ERROR;
}
int64_t op_get_number_of_transforms(DftNode *n, int64_t *c) {
  *c = n->batch_user.entries[0].length;
  return DFT_NO_ERROR;
}
int64_t op_set_input_distance(DftNode *n, int64_t d) {
  n->batch_user.entries[0].input_stride = d;
  n->input_distance = d;
  return DFT_NO_ERROR;
}
int64_t op_set_output_distance(DftNode *n, int64_t d) {
  n->batch_user.entries[0].output_stride = d;
  n->output_distance = d;
  return DFT_NO_ERROR;
}
// A batch needs at least one transform.
int64_t op_set_number_of_transforms(DftNode *n, int64_t c) {
  if (c < 1) return DFT_INCONSISTENT_CONFIGURATION;
  n->batch_user.entries[0].length = c;
  n->transforms = c;
  return DFT_NO_ERROR;
}

int64_t op_copy(DftNode *node, DftNode **copy);

const DftOps kOps = {
    op_commit,          op_recommit,          op_get_input_strides,        op_get_output_strides,
    op_set_input_strides, op_set_output_strides, op_get_lengths,          op_get_descriptor_name,
    op_set_descriptor_name, op_get_scale,       op_set_scale,                op_copy,
    op_get_input_distance, op_get_output_distance, op_get_number_of_transforms, op_set_input_distance,
    op_set_output_distance, op_set_number_of_transforms,
};

// Configuration fields: everything a caller sets, nothing commit builds.
void copy_configuration(const DftNode *from, DftNode *to) {
  std::memcpy(to->descriptor_name, from->descriptor_name, sizeof to->descriptor_name);
  to->method_list = from->method_list;
  to->inherited_word = from->inherited_word;
  to->inherited_word_2 = from->inherited_word_2;
  to->transforms = from->transforms;
  to->complex_storage = from->complex_storage;
  to->real_storage = from->real_storage;
  to->conjugate_even_storage = from->conjugate_even_storage;
  to->placement = from->placement;
  to->packed_format = from->packed_format;
  to->force_four_step = from->force_four_step;
  to->ordering = from->ordering;
  to->transpose = from->transpose;
  to->forward_scale = from->forward_scale;
  to->backward_scale = from->backward_scale;
  to->input_offset = from->input_offset;
  to->output_offset = from->output_offset;
  to->input_distance = from->input_distance;
  to->output_distance = from->output_distance;
  to->user_threads = from->user_threads;
  to->thread_limit = from->thread_limit;
  to->flags = from->flags & DFT_FLAG_CHILD_NODE;
}

int64_t op_copy(DftNode *node, DftNode **copy) {
  *copy = nullptr;
  int64_t *lengths = static_cast<int64_t *>(node_alloc(sizeof(int64_t) * uint64_t(node->dims_user.count), 16));
  if (!lengths) return DFT_MEMORY_ERROR;
  for (int32_t k = 0; k < node->dims_user.count; ++k) lengths[k] = node->dims_user.entries[k].length;
  DftNode *c = nullptr;
  int64_t s = zor_dft_dfti_create_node(&c, node->precision, node->forward_domain, node->dims_user.count, lengths);
  node_free(lengths);
  if (s != DFT_NO_ERROR) return s;
  if (node->batch_user.count > c->batch_user.count) {
    DftAxis *b = static_cast<DftAxis *>(node_calloc(sizeof(DftAxis) * uint64_t(node->batch_user.count), 16));
    DftAxis *bn = static_cast<DftAxis *>(node_calloc(sizeof(DftAxis) * uint64_t(node->batch_user.count), 16));
    if (!b || !bn) {
      node_free(b);
      node_free(bn);
      destroy(c);
      return DFT_MEMORY_ERROR;
    }
    node_free(c->batch_user.entries);
    node_free(c->batch.entries);
    c->batch_user.entries = b;
    c->batch.entries = bn;
  }
  copy_list(node->dims_user, c->dims_user);
  copy_list(node->dims_user, c->dims);
  copy_list(node->batch_user, c->batch_user);
  copy_list(node->batch_user, c->batch);
  copy_configuration(node, c);
  *copy = c;
  return DFT_NO_ERROR;
}

}  // namespace

// ---------------------------------------------------------------- uncommit, destroy

int64_t uncommit(DftNode *node) {
  if (node->thread_slots) node_free(node->thread_slots), node->thread_slots = nullptr;
  if (node->workspace) node_free(node->workspace), node->workspace = nullptr;
  if (node->kernel_tables) node_free(node->kernel_tables), node->kernel_tables = nullptr;
  if (DftNode *next = node->next_axis) {
    node->next_axis = nullptr;
    if (next->destroy) next->destroy(next);
  }
  if (DftMethod *m = node->owner_method) {
    node->owner_method = nullptr;
    if (m->release) m->release(m, node);
  }
  if (node->four_step_state && node->four_step_free) node->four_step_free(node);
  node->four_step_state = nullptr;
  node->four_step_free = nullptr;
  if (node->extra_state && node->extra_free) node->extra_free(node);
  node->extra_state = nullptr;
  node->extra_free = nullptr;
  node->max_work_size = 0;
  node->work_size = 0;
  node->real_fast_flag = 0;
  for (DftPlan *&p : node->plans)
    if (p) plan_destroy(p), p = nullptr;
  for (void *&b : node->aux_buffers)
    if (b) node_free(b), b = nullptr;
  node->commit_status = DFT_UNCOMMITTED;
  node->compute_forward = nullptr;
  node->compute_backward = nullptr;
  node->flags &= uint8_t(~DFT_FLAG_SINGLE_THREAD_DIRECT);
  return DFT_NO_ERROR;
}

int64_t destroy(DftNode *node) {
  if (node->uncommit) node->uncommit(node);
  node_free(node->dims_user.entries);
  node_free(node->batch_user.entries);
  node_free(node->dims.entries);
  node_free(node->batch.entries);
  node_free(node);
  return DFT_NO_ERROR;
}

}  // namespace zor::dft

using namespace zor::dft;

// ---------------------------------------------------------------- creators

ZOR_API int64_t zor_dft_dfti_create_node(DftNode **handle, int32_t precision, int32_t domain, int64_t rank,
                                         const int64_t *lengths) {
  if (!handle) return DFT_INCONSISTENT_CONFIGURATION;
  if (rank < 1) return DFT_INVALID_CONFIGURATION;
  for (int64_t k = 0; k < rank; ++k)
    if (lengths[k] == 0) return DFT_INVALID_CONFIGURATION;
  auto *node = static_cast<DftNode *>(node_calloc(sizeof(DftNode), 16));
  if (!node) return DFT_MEMORY_ERROR;
  node->precision = precision;
  node->forward_domain = domain;
  node->rank_user = int32_t(rank);
  node->uncommit = uncommit;
  node->destroy = destroy;
  node->ops = &kOps;
  node->services = services_table();
  node->dims_user.entries = static_cast<DftAxis *>(node_calloc(sizeof(DftAxis) * uint64_t(rank), 16));
  node->batch_user.entries = static_cast<DftAxis *>(node_calloc(sizeof(DftAxis), 16));
  if (!node->dims_user.entries || !node->batch_user.entries) {
    destroy(node);
    return DFT_MEMORY_ERROR;
  }
  node->dims_user.count = int32_t(rank);
  for (int64_t k = 0; k < rank; ++k)
    node->dims_user.entries[k] = {lengths[k], DFT_STRIDE_UNSET, DFT_STRIDE_UNSET};
  node->batch_user.count = 1;
  node->batch_user.entries[0] = {1, 0, 0};
  node->transforms = 1;
  node->complex_storage = DFT_COMPLEX_COMPLEX;
  node->real_storage = DFT_REAL_REAL;
  node->conjugate_even_storage = DFT_COMPLEX_REAL;
  node->placement = DFT_INPLACE;
  node->packed_format = DFT_CCS_FORMAT;
  node->ordering = DFT_ORDERED;
  node->transpose = DFT_NONE;
  node->commit_status = DFT_UNCOMMITTED;
  node->magic = DFT_MAGIC;
  node->thread_limit = 0;
  node->user_threads = 1;
  node->forward_scale = node->backward_scale = 1.0;
  node->kernel_forward_scale = node->kernel_backward_scale = 1.0;
  node->kernel_forward_scale_s = node->kernel_backward_scale_s = 1.0f;
  node->length = lengths[0];
  fill_default_strides(node->dims_user);
  if (!copy_list(node->dims_user, node->dims) || !copy_list(node->batch_user, node->batch)) {
    destroy(node);
    return DFT_MEMORY_ERROR;
  }
  *handle = node;
  if (!node->services->slot[4]) node->services->slot[4] = cache_size_service;
  return DFT_NO_ERROR;
}

namespace {
int64_t create_1d(DftNode **handle, int64_t length, int32_t precision, int32_t domain, DftMethod *const *list) {
  if (!handle) return DFT_INCONSISTENT_CONFIGURATION;
  if (length == 0) return DFT_INVALID_CONFIGURATION;
  int64_t s = zor_dft_dfti_create_node(handle, precision, domain, 1, &length);
  if (s == DFT_NO_ERROR) (*handle)->method_list = const_cast<DftMethod **>(list);
  return s;
}
int64_t create_md(DftNode **handle, int64_t rank, const int64_t *lengths, int32_t precision, int32_t domain,
                  DftMethod *const *list) {
  if (!handle) return DFT_INCONSISTENT_CONFIGURATION;
  if (rank < 1 || !lengths) return DFT_INVALID_CONFIGURATION;
  int64_t s = zor_dft_dfti_create_node(handle, precision, domain, rank, lengths);
  if (s == DFT_NO_ERROR) (*handle)->method_list = const_cast<DftMethod **>(list);
  return s;
}
}  // namespace

ZOR_API int64_t zor_dft_dfti_create_dcmd(DftNode **handle, int64_t rank, const int64_t *lengths) {
  return create_md(handle, rank, lengths, DFT_DOUBLE, DFT_COMPLEX, method_list_dcmd);
}
ZOR_API int64_t zor_dft_dfti_create_scmd(DftNode **handle, int64_t rank, const int64_t *lengths) {
  return create_md(handle, rank, lengths, DFT_SINGLE, DFT_COMPLEX, method_list_scmd);
}
ZOR_API int64_t zor_dft_dfti_create_drmd(DftNode **handle, int64_t rank, const int64_t *lengths) {
  return create_md(handle, rank, lengths, DFT_DOUBLE, DFT_REAL, method_list_drmd);
}
ZOR_API int64_t zor_dft_dfti_create_srmd(DftNode **handle, int64_t rank, const int64_t *lengths) {
  return create_md(handle, rank, lengths, DFT_SINGLE, DFT_REAL, method_list_srmd);
}
ZOR_API int64_t zor_dft_dfti_create_dc1d(DftNode **handle, int64_t length) {
  return create_1d(handle, length, DFT_DOUBLE, DFT_COMPLEX, method_list_dc1d);
}
ZOR_API int64_t zor_dft_dfti_create_sc1d(DftNode **handle, int64_t length) {
  return create_1d(handle, length, DFT_SINGLE, DFT_COMPLEX, method_list_sc1d);
}
ZOR_API int64_t zor_dft_dfti_create_dr1d(DftNode **handle, int64_t length) {
  return create_1d(handle, length, DFT_DOUBLE, DFT_REAL, method_list_dr1d);
}
ZOR_API int64_t zor_dft_dfti_create_sr1d(DftNode **handle, int64_t length) {
  return create_1d(handle, length, DFT_SINGLE, DFT_REAL, method_list_sr1d);
}

ZOR_API int64_t zor_dft_free_allocated_buffers(DftNode *node) {
  if (node && node->method_state) {
    auto *held = static_cast<DftNode *>(node->method_state);
    if (held->destroy) held->destroy(held);
    node->method_state = nullptr;
  }
  return DFT_NO_ERROR;
}

// ---------------------------------------------------------------- ops.commit

namespace zor::dft {

// Entries ascending by input stride (an exchange sort), then length-1
// entries dropped while more than one remains.
void sort_and_drop(DftAxisList &list) {
  for (int32_t i = 0; i < list.count; ++i)
    for (int32_t j = i + 1; j < list.count; ++j)
      if (list.entries[j].input_stride < list.entries[i].input_stride) {
        DftAxis t = list.entries[i];
        list.entries[i] = list.entries[j];
        list.entries[j] = t;
      }
  for (int32_t i = 0; i < list.count && list.count > 1;) {
    if (list.entries[i].length == 1) {
      for (int32_t j = i + 1; j < list.count; ++j) list.entries[j - 1] = list.entries[j];
      --list.count;
    } else {
      ++i;
    }
  }
}

// Neighbouring batch entries that walk memory as one merge, from the end.
void merge_batch(DftAxisList &list) {
  for (int32_t k = list.count - 1; k >= 1; --k) {
    DftAxis &a = list.entries[k - 1], &b = list.entries[k];
    if (a.length * a.input_stride == b.input_stride && a.length * a.output_stride == b.output_stride) {
      a.length *= b.length;
      for (int32_t j = k + 1; j < list.count; ++j) list.entries[j - 1] = list.entries[j];
      --list.count;
    }
  }
}

namespace {

int64_t run_methods(DftNode *node) {
  node->rank = node->dims.count;
  node->length = node->dims.entries[0].length;
  node->input_stride = node->dims.entries[0].input_stride;
  node->output_stride = node->dims.entries[0].output_stride;
  node->transforms = node->batch.entries[0].length;
  node->input_distance = node->batch.entries[0].input_stride;
  node->output_distance = node->batch.entries[0].output_stride;
  node->kernel_forward_scale = node->forward_scale;
  node->kernel_backward_scale = node->backward_scale;
  node->kernel_forward_scale_s = float(node->forward_scale);
  node->kernel_backward_scale_s = float(node->backward_scale);
  node->threads = node->thread_limit ? node->thread_limit : int32_t(service_or(node, 1, 1));
  node->commit_hooks_enabled = int32_t(service_or(node, 0, 0));
  // A method that does not apply says so (100, 101) and the next is tried;
  // any other answer ends the walk: a method that took the node and failed
  // makes the commit fail.
  int64_t status = DFT_INTERNAL_ERROR;
  if (node->method_list)
    for (DftMethod **m = node->method_list; *m; ++m) {
      status = (*m)->commit(*m, node);
      if (status != DFT_METHOD_SPLIT_NOT_APPLICABLE && status != DFT_METHOD_NOT_APPLICABLE) return status;
    }
  return status;
}

int64_t op_commit(DftNode *node) {
  bool in_place_complex = node->forward_domain == DFT_COMPLEX && node->placement == DFT_INPLACE;
  node->dims.count = node->dims_user.count;
  node->batch.count = node->batch_user.count;
  for (int32_t k = 0; k < node->dims.count; ++k) node->dims.entries[k] = node->dims_user.entries[k];
  for (int32_t k = 0; k < node->batch.count; ++k) node->batch.entries[k] = node->batch_user.entries[k];
  if (in_place_complex) {
    for (int32_t k = 0; k < node->dims.count; ++k)
      node->dims.entries[k].output_stride = node->dims.entries[k].input_stride;
    for (int32_t k = 0; k < node->batch.count; ++k)
      node->batch.entries[k].output_stride = node->batch.entries[k].input_stride;
  }
  if (node->forward_domain == DFT_COMPLEX) {
    sort_and_drop(node->dims);
    sort_and_drop(node->batch);
    merge_batch(node->batch);
  }
  return run_methods(node);
}

int64_t op_recommit(DftNode *node) { return run_methods(node); }

}  // namespace
}  // namespace zor::dft
