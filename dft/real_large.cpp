// Long real transforms by four steps: the n real values, read as h = n / 2
// complex ones, go through a complex child of h points set up for the
// four-step scheme, and one sweep splits its result into the spectra of the
// even and odd samples (perm form), which then takes the node's layout.
// Backward: the layout back to perm form, the joining sweep, the child's
// backward transform in place.
//
// The method takes a lone transform of even length of at least 16384 points,
// out of place with unit strides, scales of exactly 1, a layout that keeps
// the half spectrum whole (ccs, perm, or storage 39), no user threads, and
// at least four threads.
//
// Decisions kept here:
// - The split of h and the twiddles of the four steps are the four-step
//   setup's own (factors near the square root, two levels of roots); the
//   sweep takes one table of h / 2 + 1 cosines and one of sines, as the real
//   plans do.
// - The steps run on the calling thread, in the child's kernel; the threaded
//   split of the steps is left to a threading layer that calls the step
//   entries of the four-step scheme.
// - A length whose half has no split into two factors is left to the next
//   method.
#include <zor/dft_tier.h>

#include "dft/compute.hpp"
#include "dft/four_step.hpp"
#include "dft/node.hpp"
#include "dft/plan.hpp"

namespace zor::dft {
namespace {

constexpr int64_t kLargeRealMin = 16384;

template <class R>
struct LargeReal {
  DftNode *child;  // h complex points, four steps
  R *half_cos, *half_sin;
};

template <class R>
int64_t free_large_real(DftNode *node) {
  auto *st = static_cast<LargeReal<R> *>(node->extra_state);
  if (st) {
    if (st->child) st->child->destroy(st->child);
    node_free(st->half_cos);
    node_free(st);
  }
  node->extra_state = nullptr;
  node->extra_free = nullptr;
  return DFT_NO_ERROR;
}

bool has_split(int64_t h) {
  for (int64_t f = 2; f * f <= h; ++f)
    if (h % f == 0) return true;
  return false;
}

template <class R>
bool large_real_applies(const DftNode *n) {
  constexpr int32_t prec = sizeof(R) == 8 ? DFT_DOUBLE : DFT_SINGLE;
  const bool layout = n->conjugate_even_storage == DFT_COMPLEX_COMPLEX || n->packed_format == DFT_CCS_FORMAT ||
                      n->packed_format == DFT_PERM_FORMAT;
  return n->forward_domain == DFT_REAL && n->precision == prec && layout && n->dims.count == 1 &&
         n->transforms == 1 && n->user_threads == 1 && n->forward_scale == 1.0 && n->backward_scale == 1.0 &&
         n->input_stride == 1 && n->output_stride == 1 && n->length % 2 == 0 && n->length >= kLargeRealMin &&
         n->length <= (sizeof(R) == 8 ? 0x4000000 : 0x8000000) && n->placement == DFT_NOT_INPLACE &&
         n->threads >= 4 && has_split(n->length / 2);
}

// Offsets count complex values on the spectrum side of storage 39.
template <class R, bool Fwd>
int64_t large_real_entry(DftNode *node, void *a, void *b, void *, void *) {
  const auto *st = static_cast<const LargeReal<R> *>(node->extra_state);
  const int64_t n = node->length, h = n / 2;
  const int64_t cce = node->conjugate_even_storage == DFT_COMPLEX_COMPLEX ? 2 : 1;
  R *in = static_cast<R *>(a) + node->input_offset * (Fwd ? 1 : cce);
  R *out = static_cast<R *>(b) + node->output_offset * (Fwd ? cce : 1);
  auto *z = reinterpret_cast<cplx<R> *>(out);
  const int32_t format = cce == 2 ? DFT_CCS_FORMAT : node->packed_format;
  if (Fwd) {
    if (int64_t s = four_step_kernel<R, true>(in, out, st->child, node->workspace)) return s;
    even_split<R>(z, h, st->half_cos, st->half_sin);
    perm_to_format<R>(format, out, n);
    return DFT_NO_ERROR;
  }
  perm_from_format<R>(format, in, out, n);
  even_join<R>(z, h, st->half_cos, st->half_sin);
  return four_step_kernel<R, false>(out, out, st->child, node->workspace);
}

template <class R>
int64_t commit_large_real(DftMethod *m, DftNode *n) {
  if (!large_real_applies<R>(n)) return DFT_METHOD_NOT_APPLICABLE;
  take(m, n);
  const int64_t h = n->length / 2, half = h / 2 + 1;
  auto *st = static_cast<LargeReal<R> *>(node_calloc(sizeof(LargeReal<R>), 16));
  if (!st) return DFT_MEMORY_ERROR;
  n->extra_state = st;
  n->extra_free = free_large_real<R>;
  auto fail = [&](int64_t status) {
    uncommit(n);  // frees the record through extra_free
    return status;
  };
  st->half_cos = static_cast<R *>(node_alloc(uint64_t(2 * half) * sizeof(R), 64));
  if (!st->half_cos) return fail(DFT_MEMORY_ERROR);
  st->half_sin = st->half_cos + half;
  for (int64_t k = 0; k < half; ++k) {
    const cplx<double> w = unit_root(k, n->length);  // cos, -sin
    st->half_cos[k] = R(0.5 * w.re);
    st->half_sin[k] = R(-0.5 * w.im);
  }
  DftNode *c = nullptr;
  if (int64_t s = sizeof(R) == 8 ? zor_dft_dfti_create_dc1d(&c, h) : zor_dft_dfti_create_sc1d(&c, h)) return fail(s);
  st->child = c;
  c->thread_limit = 1;
  c->flags |= DFT_FLAG_CHILD_NODE;
  if (int64_t s = c->ops->commit(c)) return fail(s);
  node_free(c->workspace);  // the four steps take the parent's workspace
  c->workspace = nullptr;
  c->force_four_step = 1;  // step 2 writes its lines into the output
  if (int64_t s = four_step_setup<R>(c, c)) return fail(s);
  n->work_size = n->max_work_size = static_cast<const DftFourStep *>(c->four_step_state)->work_size;
  n->flags &= uint8_t(~(DFT_FLAG_SINGLE_THREAD_DIRECT | DFT_FLAG_DIRECT_2D | DFT_FLAG_CALL_KERNEL_DIRECTLY));
  if (int64_t s = allocate_workspace(n)) return s;
  finish(n, large_real_entry<R, true>, large_real_entry<R, false>);
  return DFT_NO_ERROR;
}

}  // namespace

DftMethod large_real_double = {commit_large_real<double>, nullptr};
DftMethod large_real_single = {commit_large_real<float>, nullptr};

}  // namespace zor::dft
