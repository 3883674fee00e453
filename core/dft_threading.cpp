// Sequential stand-ins for the threading layer of the transforms: the
// blessing of a node (its thread-policy services), the commit functions that
// build the axis chain and end in the tier's commit core, and the hand-over
// of a whole task (complex or real), which runs on the calling thread cut
// into shares through the tier's share entries, so that the share arithmetic
// is exercised the way a threading layer uses it.
#include <atomic>
#include <cstring>
#include <string>

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
constexpr char kCoreDr2cMd[] = "zor_dft_commit_descriptor_core_d_r2c_md";
constexpr char kCoreSr2cMd[] = "zor_dft_commit_descriptor_core_s_r2c_md";

// The tier's shares of a multi-dimensional task (see <zor/dft_tier.h>).
using Lines = int64_t (*)(DftNode *, int64_t, void *, int64_t, int64_t, void *, int32_t);
using LinesOut = int64_t (*)(DftNode *, int64_t, const void *, void *, int64_t, int64_t, void *, int32_t);
using Slices = int64_t (*)(DftNode *, void *, int64_t, int64_t, void *, int32_t);
using SlicesOut = int64_t (*)(DftNode *, const void *, void *, int64_t, int64_t, void *, int32_t);
using Rows = int64_t (*)(const void *, void *, const int64_t *, const int64_t *, int64_t, int64_t, dft_axis_kernel,
                         DftNode *, void *);
using Columns = void (*)(void *, const int64_t *, const int64_t *, int64_t, int64_t, dft_axis_kernel, DftNode *,
                         int64_t *, void *);

// Runs [0, count) as two shares in turn, the way two threads would split it.
template <class Run>
int64_t in_two_shares(int64_t count, Run &&run) {
  const int64_t half = count / 2;
  if (int64_t s = run(0, half)) return s;
  return run(half, count - half);
}

// A whole task as a threading layer runs it: each pass cut into shares, the
// passes one after another (the barrier between them). Split storage goes to
// the driver.
template <bool Double, bool Fwd, bool Out>
int64_t compute_in_shares(DftNode **holder, void *in, void *out, void *, void *) {
  DftNode *node = *holder;
  const char p = Double ? 'z' : 'c';
  auto name = [p](const char *rest) { return std::string("zor_dft_") + p + rest; };
  if (node->complex_storage == DFT_REAL_REAL) {
    if (Out) {
      auto driver = zor_core::tier_function<DriverOut>(
          (std::string("zor_dft_x") + p + (Fwd ? "forward_out" : "backward_out")).c_str());
      return driver(node, in, out, node->transforms, node->workspace);
    }
    auto driver = zor_core::tier_function<Driver>((std::string("zor_dft_x") + p + (Fwd ? "forward" : "backward")).c_str());
    return driver(node, in, node->transforms, node->workspace);
  }
  const int64_t element = Double ? 16 : 8;
  char *x = static_cast<char *>(in) + node->input_offset * element;
  char *y = Out ? static_cast<char *>(out) + node->output_offset * element : x;
  void *ws = node->workspace;
  const int32_t fwd = Fwd ? 1 : 0;
  DftNode *axis[64];
  int64_t rank = 0;
  for (DftNode *a = node; a && rank < 64; a = a->next_axis) axis[rank++] = a;
  auto lines_of = [&](int64_t a, bool from_input) {
    const int64_t count = node->total_size / axis[a]->length * node->transforms;
    if (from_input && Out) {
      auto f = zor_core::tier_function<LinesOut>(name("1_nd_out_par").c_str());
      return in_two_shares(count, [&](int64_t first, int64_t c) { return f(node, a, x, y, first, c, ws, fwd); });
    }
    auto f = zor_core::tier_function<Lines>(name("1_nd_par").c_str());
    return in_two_shares(count, [&](int64_t first, int64_t c) { return f(node, a, y, first, c, ws, fwd); });
  };
  if (rank == 1) return lines_of(0, true);
  if (rank == 2 && node->transforms > 1 && node->input_distance == 1) {
    if (int64_t s = lines_of(0, true)) return s;
    return lines_of(1, false);
  }
  if (rank == 2 && node->transforms == 1) {
    const int slot = (Double ? 2 : 0) + (Fwd ? 1 : 0);
    const int64_t is[2] = {node->input_stride, axis[1]->input_stride};
    const int64_t os[2] = {node->output_stride, axis[1]->output_stride};
    auto rows = zor_core::tier_function<Rows>(name("2_r_dft").c_str());
    auto columns = zor_core::tier_function<Columns>(name("2_c_dft").c_str());
    if (int64_t s = in_two_shares(axis[1]->length, [&](int64_t first, int64_t c) {
          return rows(x, y, is, os, first, c, node->kernels[slot], node, ws);
        }))
      return s;
    if (axis[1]->length <= 1) return DFT_NO_ERROR;
    return in_two_shares(node->length, [&](int64_t first, int64_t c) {
      int64_t status = 0;
      columns(y, &os[0], &os[1], first, c, axis[1]->kernels[slot], node, &status, ws);
      return status;
    });
  }
  const int64_t slices = node->total_size / (node->length * axis[1]->length) * node->transforms;
  int64_t s;
  if (Out) {
    auto f = zor_core::tier_function<SlicesOut>(name("2_nd_out_par").c_str());
    s = in_two_shares(slices, [&](int64_t first, int64_t c) { return f(node, x, y, first, c, ws, fwd); });
  } else {
    auto f = zor_core::tier_function<Slices>(name("2_nd_par").c_str());
    s = in_two_shares(slices, [&](int64_t first, int64_t c) { return f(node, y, first, c, ws, fwd); });
  }
  for (int64_t a = 2; a < rank && !s; ++a) s = lines_of(a, false);
  return s;
}

// The tier's shares of a real task (see <zor/dft_tier.h>).
using RealLines = int64_t (*)(DftNode *, int64_t, void *, void *, int64_t, int64_t, void *);
using RealSlices = int64_t (*)(DftNode *, void *, void *, int64_t, int64_t, void *);
using Allocate = void *(*)(uint64_t, int32_t);
using Deallocate = void (*)(void *);

// Bytes from the start of the spectrum a backward real task reads to the end
// of its last value (the offset keeps every index at or above 0).
uint64_t spectrum_bytes(const DftNode *node, bool cce, uint64_t real_bytes) {
  const int64_t h = node->length / 2 + 1;
  int64_t end = node->input_offset, k = 0;
  for (const DftNode *a = node; a; a = a->next_axis, ++k) {
    const int64_t points = k == 0 ? (cce ? h : 2 * h) : a->length;
    const int64_t stride = k == 0 && !cce ? 1 : a->input_stride;
    if (stride > 0) end += (points - 1) * stride;
  }
  if (node->input_distance > 0) end += (node->transforms - 1) * node->input_distance;
  return uint64_t(end + 1) * (cce ? 2 * real_bytes : real_bytes);
}

// A whole real task as shares: forward the slices (or, with a single slice,
// the rows and then the lines of axis 1), then the lines of axes 2 on;
// backward the lines of the last axis down to axis 2, then the slices (or
// axes 1 and 0). Backward out of place the shares work on a copy of the
// spectrum, so that the caller's input is kept.
template <bool Double, bool Fwd, bool Out>
int64_t real_in_shares(DftNode **holder, void *in, void *out, void *, void *) {
  DftNode *node = *holder;
  const std::string p = Double ? (Fwd ? "ddz" : "zzd") : (Fwd ? "ssc" : "ccs");
  auto lines = zor_core::tier_function<RealLines>(("zor_dft_" + p + "1_nd_out_par").c_str());
  auto slices = zor_core::tier_function<RealSlices>(("zor_dft_" + p + "2_nd_out_par").c_str());
  void *ws = node->workspace, *o = Out ? out : nullptr;
  int64_t lengths[64], rank = 0;
  for (DftNode *a = node; a && rank < 64; a = a->next_axis) lengths[rank++] = a->length;
  const int64_t h = node->length / 2 + 1;
  auto axis_lines = [&](int64_t axis) {
    int64_t count = node->transforms * (axis == 0 ? 1 : h);
    for (int64_t k = 1; k < rank; ++k)
      if (k != axis) count *= lengths[k];
    return in_two_shares(count, [&](int64_t first, int64_t c) { return lines(node, axis, in, o, first, c, ws); });
  };
  if (rank == 1) return axis_lines(0);
  int64_t slice_count = node->transforms;
  for (int64_t k = 2; k < rank; ++k) slice_count *= lengths[k];
  auto first_two = [&](bool reverse) -> int64_t {
    if (slice_count >= 2)
      return in_two_shares(slice_count, [&](int64_t first, int64_t c) { return slices(node, in, o, first, c, ws); });
    if (int64_t s = axis_lines(reverse ? 1 : 0)) return s;
    return axis_lines(reverse ? 0 : 1);
  };
  if (Fwd) {
    int64_t s = first_two(false);
    for (int64_t a = 2; a < rank && !s; ++a) s = axis_lines(a);
    return s;
  }
  void *copy = nullptr;
  if (Out) {
    const bool cce = node->conjugate_even_storage == DFT_COMPLEX_COMPLEX;
    const uint64_t bytes = spectrum_bytes(node, cce, Double ? 8 : 4);
    copy = zor_core::tier_function<Allocate>("zor_serv_allocate")(bytes, 64);
    if (!copy) return DFT_MEMORY_ERROR;
    std::memcpy(copy, in, bytes);
    in = copy;
  }
  int64_t s = DFT_NO_ERROR;
  for (int64_t a = rank - 1; a >= 2 && !s; --a) s = axis_lines(a);
  if (!s) s = first_two(true);
  if (copy) zor_core::tier_function<Deallocate>("zor_serv_deallocate")(copy);
  return s;
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
    {"zor_dft_commit_node_d_r2c_md_omp", as_thread_fun(commit_node<kCoreDr2cMd>)},
    {"zor_dft_commit_node_s_r2c_md_omp", as_thread_fun(commit_node<kCoreSr2cMd>)},
    {"zor_dft_compute_forward_z_par", as_thread_fun(compute_in_shares<true, true, false>)},
    {"zor_dft_compute_backward_z_par", as_thread_fun(compute_in_shares<true, false, false>)},
    {"zor_dft_compute_forward_c_par", as_thread_fun(compute_in_shares<false, true, false>)},
    {"zor_dft_compute_backward_c_par", as_thread_fun(compute_in_shares<false, false, false>)},
    {"zor_dft_compute_forward_z_out_par", as_thread_fun(compute_in_shares<true, true, true>)},
    {"zor_dft_compute_backward_z_out_par", as_thread_fun(compute_in_shares<true, false, true>)},
    {"zor_dft_compute_forward_c_out_par", as_thread_fun(compute_in_shares<false, true, true>)},
    {"zor_dft_compute_backward_c_out_par", as_thread_fun(compute_in_shares<false, false, true>)},
    {"zor_dft_compute_forward_d_par", as_thread_fun(real_in_shares<true, true, false>)},
    {"zor_dft_compute_backward_d_par", as_thread_fun(real_in_shares<true, false, false>)},
    {"zor_dft_compute_forward_d_out_par", as_thread_fun(real_in_shares<true, true, true>)},
    {"zor_dft_compute_backward_d_out_par", as_thread_fun(real_in_shares<true, false, true>)},
    {"zor_dft_compute_forward_dz_par", as_thread_fun(real_in_shares<true, true, false>)},
    {"zor_dft_compute_backward_zd_par", as_thread_fun(real_in_shares<true, false, false>)},
    {"zor_dft_compute_forward_dz_out_par", as_thread_fun(real_in_shares<true, true, true>)},
    {"zor_dft_compute_backward_zd_out_par", as_thread_fun(real_in_shares<true, false, true>)},
    {"zor_dft_compute_forward_s_par", as_thread_fun(real_in_shares<false, true, false>)},
    {"zor_dft_compute_forward_s_out_par", as_thread_fun(real_in_shares<false, true, true>)},
    {"zor_dft_compute_backward_s_out_par", as_thread_fun(real_in_shares<false, false, true>)},
    {"zor_dft_compute_forward_sc_par", as_thread_fun(real_in_shares<false, true, false>)},
    {"zor_dft_compute_backward_cs_par", as_thread_fun(real_in_shares<false, false, false>)},
    {"zor_dft_compute_forward_sc_out_par", as_thread_fun(real_in_shares<false, true, true>)},
    {"zor_dft_compute_backward_cs_out_par", as_thread_fun(real_in_shares<false, false, true>)},
    {nullptr, nullptr},
};

}  // namespace zor_core
