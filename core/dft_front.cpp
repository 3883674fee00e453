// The public front of the transforms (<zor/dft.h>): descriptors of the tier
// created and blessed here, configured through the same setter rules as the
// tier's own entry and through the node's operations, committed and computed
// through the pointers commit leaves in the node.
#include <zor/core.h>
#include <zor/dft.h>
#include <zor/dft_tier.h>

#include "core/dft_threading.hpp"
#include "core/tier_lookup.h"
#include "dft/shared_rules.hpp"

namespace {

using Create1d = int64_t (*)(DftNode **, int64_t);
using CreateMd = int64_t (*)(DftNode **, int64_t, const int64_t *);

bool valid(const DftNode *d) { return d && d->magic == DFT_MAGIC; }

// A compute through the entry commit chose, with `arrays` data pointers.
int64_t compute(DftNode *d, bool forward, int32_t arrays, void *a, void *b, void *c, void *e) {
  if (!valid(d)) return DFT_BAD_DESCRIPTOR;
  if (d->commit_status != DFT_COMMITTED) return DFT_INVALID_CONFIGURATION;
  if (d->nio_args != arrays) return DFT_INCONSISTENT_CONFIGURATION;
  dft_compute_fn f = forward ? d->compute_forward : d->compute_backward;
  if (!f) return DFT_INVALID_CONFIGURATION;
  return f(d, a, b, c, e);
}

}  // namespace

ZOR_API int64_t zor_fft_create(DftNode **handle, int32_t precision, int32_t domain, int64_t rank,
                               const int64_t *lengths) {
  if (!handle) return DFT_INCONSISTENT_CONFIGURATION;
  *handle = nullptr;
  if (rank < 1 || !lengths) return DFT_INVALID_CONFIGURATION;
  if (precision != DFT_SINGLE && precision != DFT_DOUBLE) return DFT_INCONSISTENT_CONFIGURATION;
  if (domain != DFT_COMPLEX && domain != DFT_REAL) return DFT_INCONSISTENT_CONFIGURATION;
  const bool dbl = precision == DFT_DOUBLE;
  if (rank != 1) {
    auto create_md = zor_core::tier_function<CreateMd>(
        domain == DFT_COMPLEX ? (dbl ? "zor_dft_dfti_create_dcmd" : "zor_dft_dfti_create_scmd")
                              : (dbl ? "zor_dft_dfti_create_drmd" : "zor_dft_dfti_create_srmd"));
    if (!create_md) return DFT_INTERNAL_ERROR;
    if (int64_t s = create_md(handle, rank, lengths)) return s;
    return zor_core::dft_bless_node(*handle);
  }
  auto create = zor_core::tier_function<Create1d>(domain == DFT_COMPLEX ? (dbl ? "zor_dft_dfti_create_dc1d" : "zor_dft_dfti_create_sc1d")
                                                                       : (dbl ? "zor_dft_dfti_create_dr1d" : "zor_dft_dfti_create_sr1d"));
  if (!create) return DFT_INTERNAL_ERROR;
  int64_t s = create(handle, lengths[0]);
  if (s) return s;
  return zor_core::dft_bless_node(*handle);
}

ZOR_API int64_t zor_fft_set_value(DftNode *d, int64_t parameter, int64_t value) {
  if (!valid(d)) return DFT_BAD_DESCRIPTOR;
  return zor::dft::apply_setting(d, parameter, value);
}

ZOR_API int64_t zor_fft_set_scale(DftNode *d, int64_t parameter, double value) {
  return valid(d) ? d->ops->set_scale(d, parameter, value) : int64_t(DFT_BAD_DESCRIPTOR);
}
ZOR_API int64_t zor_fft_get_scale(DftNode *d, int64_t parameter, double *value) {
  return valid(d) ? d->ops->get_scale(d, parameter, value) : int64_t(DFT_BAD_DESCRIPTOR);
}
ZOR_API int64_t zor_fft_set_input_strides(DftNode *d, const int64_t *strides) {
  return valid(d) ? d->ops->set_input_strides(d, strides) : int64_t(DFT_BAD_DESCRIPTOR);
}
ZOR_API int64_t zor_fft_set_output_strides(DftNode *d, const int64_t *strides) {
  return valid(d) ? d->ops->set_output_strides(d, strides) : int64_t(DFT_BAD_DESCRIPTOR);
}
ZOR_API int64_t zor_fft_set_input_distance(DftNode *d, int64_t distance) {
  return zor_fft_set_value(d, DFT_INPUT_DISTANCE, distance);
}
ZOR_API int64_t zor_fft_set_output_distance(DftNode *d, int64_t distance) {
  return zor_fft_set_value(d, DFT_OUTPUT_DISTANCE, distance);
}
ZOR_API int64_t zor_fft_set_number_of_transforms(DftNode *d, int64_t count) {
  return zor_fft_set_value(d, DFT_NUMBER_OF_TRANSFORMS, count);
}

ZOR_API int64_t zor_fft_commit(DftNode *d) {
  if (!valid(d)) return DFT_BAD_DESCRIPTOR;
  return d->ops && d->ops->commit ? d->ops->commit(d) : int64_t(DFT_INTERNAL_ERROR);
}

ZOR_API int64_t zor_fft_forward(DftNode *d, void *x) { return compute(d, true, 1, x, nullptr, nullptr, nullptr); }
ZOR_API int64_t zor_fft_backward(DftNode *d, void *x) { return compute(d, false, 1, x, nullptr, nullptr, nullptr); }
ZOR_API int64_t zor_fft_forward_out(DftNode *d, const void *in, void *out) {
  return compute(d, true, 2, const_cast<void *>(in), out, nullptr, nullptr);
}
ZOR_API int64_t zor_fft_backward_out(DftNode *d, const void *in, void *out) {
  return compute(d, false, 2, const_cast<void *>(in), out, nullptr, nullptr);
}
ZOR_API int64_t zor_fft_forward_split(DftNode *d, void *re, void *im) {
  return compute(d, true, 2, re, im, nullptr, nullptr);
}
ZOR_API int64_t zor_fft_backward_split(DftNode *d, void *re, void *im) {
  return compute(d, false, 2, re, im, nullptr, nullptr);
}
ZOR_API int64_t zor_fft_forward_split_out(DftNode *d, const void *ire, const void *iim, void *ore, void *oim) {
  return compute(d, true, 4, const_cast<void *>(ire), const_cast<void *>(iim), ore, oim);
}
ZOR_API int64_t zor_fft_backward_split_out(DftNode *d, const void *ire, const void *iim, void *ore, void *oim) {
  return compute(d, false, 4, const_cast<void *>(ire), const_cast<void *>(iim), ore, oim);
}

ZOR_API int64_t zor_fft_free(DftNode **handle) {
  if (!handle) return DFT_INCONSISTENT_CONFIGURATION;
  DftNode *d = *handle;
  if (!valid(d)) return DFT_BAD_DESCRIPTOR;
  if (d->destroy) d->destroy(d);
  *handle = nullptr;
  return DFT_NO_ERROR;
}

ZOR_API const char *zor_fft_status_text(int64_t status) {
  return zor_serv_zor_get_msg(zor::dft::status_message_number(status), 0);
}
