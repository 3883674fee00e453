// Sequential stand-ins for the threading layer of the transforms: the
// blessing of a node (its thread-policy services), the commit functions that
// build the axis chain and end in the tier's commit core, and the hand-over
// of a whole task, which runs on the calling thread through the tier's
// driver.
#include <atomic>

#include <zor/dft.h>
#include <zor/dft_tier.h>

#include "core/dft_threading.hpp"
#include "core/tier_lookup.h"

namespace {

std::atomic<int32_t> hooks{0}, threads{1}, processors{1};

int64_t hooks_service() { return hooks.load(std::memory_order_relaxed); }
int64_t threads_service() { return threads.load(std::memory_order_relaxed); }
int64_t processors_service() { return processors.load(std::memory_order_relaxed); }

int64_t floor_log2(int64_t n) {
  int64_t b = -1;
  for (; n > 0; n >>= 1) ++b;
  return b;
}

using CreateNode = int64_t (*)(DftNode **, int32_t, int32_t, int64_t, const int64_t *);
using CoreFn = int64_t (*)(DftNode *);
using Driver = int64_t (*)(DftNode *, void *, int64_t, void *);
using DriverOut = int64_t (*)(DftNode *, void *, void *, int64_t, void *);

// The axis chain: the root is axis 0; each further axis of the normalised
// list is a child node of rank 1 behind next_axis.
int64_t build_chain(DftNode *root) {
  const int32_t rank = root->dims.count;
  int64_t total = 1, longest = 0;
  for (int32_t k = 0; k < rank; ++k) {
    int64_t n = root->dims.entries[k].length;
    total *= n;
    if (n > longest) longest = n;
  }
  auto create = zor_core::tier_function<CreateNode>("zor_dft_dfti_create_node");
  DftNode *prev = root;
  for (int32_t k = 0; k < rank; ++k) {
    const DftAxis &a = root->dims.entries[k];
    DftNode *ax = root;
    if (k > 0) {
      ax = nullptr;
      if (int64_t s = create(&ax, root->precision, root->forward_domain, 1, &a.length)) {
        if (DftNode *first = root->next_axis) {
          root->next_axis = nullptr;
          first->destroy(first);
        }
        return s;
      }
      ax->flags |= DFT_FLAG_CHILD_NODE;
      ax->services = root->services;
      prev->next_axis = ax;
      prev = ax;
    }
    ax->length = a.length;
    ax->input_stride = a.input_stride;
    ax->output_stride = a.output_stride;
    ax->length_log2 = floor_log2(a.length);
    ax->total_size = total;
    ax->max_axis_length = longest;
  }
  root->rank = rank;
  return DFT_NO_ERROR;
}

// The chain, then the commit core of that name.
template <const char *Core>
int64_t commit_node(DftNode *root) {
  if (int64_t s = build_chain(root)) return s;
  return zor_core::tier_function<CoreFn>(Core)(root);
}
constexpr char kCoreDc2c1d[] = "zor_dft_commit_descriptor_core_d_c2c_1d";
constexpr char kCoreSc2c1d[] = "zor_dft_commit_descriptor_core_s_c2c_1d";
constexpr char kCoreDr2c1d[] = "zor_dft_commit_descriptor_core_d_r2c_1d";
constexpr char kCoreSr2c1d[] = "zor_dft_commit_descriptor_core_s_r2c_1d";
constexpr char kCoreDc2cMd[] = "zor_dft_commit_descriptor_core_d_c2c_md";
constexpr char kCoreSc2cMd[] = "zor_dft_commit_descriptor_core_s_c2c_md";

template <bool Double, bool Fwd>
int64_t compute_par(DftNode **holder, void *in, void *, void *, void *) {
  DftNode *node = *holder;
  auto driver = zor_core::tier_function<Driver>(Double ? (Fwd ? "zor_dft_xzforward" : "zor_dft_xzbackward")
                                                       : (Fwd ? "zor_dft_xcforward" : "zor_dft_xcbackward"));
  return driver(node, in, node->transforms, node->workspace);
}

template <bool Double, bool Fwd>
int64_t compute_out_par(DftNode **holder, void *in, void *out, void *, void *) {
  DftNode *node = *holder;
  auto driver = zor_core::tier_function<DriverOut>(
      Double ? (Fwd ? "zor_dft_xzforward_out" : "zor_dft_xzbackward_out")
             : (Fwd ? "zor_dft_xcforward_out" : "zor_dft_xcbackward_out"));
  return driver(node, in, out, node->transforms, node->workspace);
}

}  // namespace

ZOR_API void zor_core_dft_policy(int32_t h, int32_t t, int32_t p) {
  hooks.store(h, std::memory_order_relaxed);
  threads.store(t, std::memory_order_relaxed);
  processors.store(p, std::memory_order_relaxed);
}

namespace zor_core {

namespace {
// Thread functions are kept under one pointer type; each is called back
// through its own.
template <class F>
zor_thread_fun as_thread_fun(F f) {
  return reinterpret_cast<zor_thread_fun>(reinterpret_cast<void (*)()>(f));
}
}  // namespace

int64_t dft_bless_node(DftNode *node) {
  if (!node || !node->services) return DFT_BAD_DESCRIPTOR;
  node->services->slot[0] = hooks_service;
  node->services->slot[1] = threads_service;
  node->services->slot[2] = processors_service;
  return DFT_NO_ERROR;
}

const DftThreadFunction kDftThreadFunctions[] = {
    {"zor_dft_bless_node_omp", as_thread_fun(dft_bless_node)},
    {"zor_dft_commit_node_d_c2c_1d_omp", as_thread_fun(commit_node<kCoreDc2c1d>)},
    {"zor_dft_commit_node_s_c2c_1d_omp", as_thread_fun(commit_node<kCoreSc2c1d>)},
    {"zor_dft_commit_node_d_r2c_1d_omp", as_thread_fun(commit_node<kCoreDr2c1d>)},
    {"zor_dft_commit_node_s_r2c_1d_omp", as_thread_fun(commit_node<kCoreSr2c1d>)},
    {"zor_dft_commit_node_d_c2c_md_omp", as_thread_fun(commit_node<kCoreDc2cMd>)},
    {"zor_dft_commit_node_s_c2c_md_omp", as_thread_fun(commit_node<kCoreSc2cMd>)},
    {"zor_dft_compute_forward_z_par", as_thread_fun(compute_par<true, true>)},
    {"zor_dft_compute_backward_z_par", as_thread_fun(compute_par<true, false>)},
    {"zor_dft_compute_forward_c_par", as_thread_fun(compute_par<false, true>)},
    {"zor_dft_compute_backward_c_par", as_thread_fun(compute_par<false, false>)},
    {"zor_dft_compute_forward_z_out_par", as_thread_fun(compute_out_par<true, true>)},
    {"zor_dft_compute_backward_z_out_par", as_thread_fun(compute_out_par<true, false>)},
    {"zor_dft_compute_forward_c_out_par", as_thread_fun(compute_out_par<false, true>)},
    {"zor_dft_compute_backward_c_out_par", as_thread_fun(compute_out_par<false, false>)},
    {nullptr, nullptr},
};

}  // namespace zor_core
