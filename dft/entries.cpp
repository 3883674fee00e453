// The by-reference entries of the transforms for the families built on them
// (create, set, commit, compute, free, status text), the flat record of the
// older callers, and the version query.
#include <cstring>

#include <zor/core.h>
#include <zor/dft_tier.h>
#include <zor/serv.h>

#include "dft/late.hpp"
#include "dft/node.hpp"
#include "dft/shared_rules.hpp"

namespace zor::dft {

namespace {

int64_t create_by_reference(DftNode **handle, const double *precision, const int32_t *domain, const int64_t *one,
                            const int64_t *length, double expected) {
  if (!handle) return DFT_INCONSISTENT_CONFIGURATION;
  *handle = nullptr;
  if (!precision || !domain || !one || !length) return DFT_INVALID_CONFIGURATION;
  if (*precision != expected || *one != 1 || *length < 1) return DFT_INVALID_CONFIGURATION;
  if (*domain != DFT_COMPLEX && *domain != DFT_REAL) return DFT_INVALID_CONFIGURATION;
  // Real one-dimensional nodes come with the real transforms.
  if (*domain == DFT_REAL) return DFT_UNIMPLEMENTED;
  int64_t s = expected == 36.0 ? zor_dft_dfti_create_dc1d(handle, *length) : zor_dft_dfti_create_sc1d(handle, *length);
  if (s != DFT_NO_ERROR) return s;
  return bless(*handle);
}

template <class E>
int64_t compute_by_reference(DftNode **handle, E *data, bool forward) {
  if (!handle || !*handle) return DFT_BAD_DESCRIPTOR;
  DftNode *node = *handle;
  dft_compute_fn f = forward ? node->compute_forward : node->compute_backward;
  if (node->nio_args == 1 && f) return f(node, data, nullptr, nullptr, nullptr);
  if (node->magic != DFT_MAGIC) return DFT_BAD_DESCRIPTOR;
  if (node->nio_args != 1) return DFT_INCONSISTENT_CONFIGURATION;
  return DFT_INVALID_CONFIGURATION;
}

}  // namespace

int64_t dft_create_d(DftNode **h, const double *p, const int32_t *d, const int64_t *o, const int64_t *n) {
  return create_by_reference(h, p, d, o, n, 36.0);
}
int64_t dft_create_s(DftNode **h, const double *p, const int32_t *d, const int64_t *o, const int64_t *n) {
  return create_by_reference(h, p, d, o, n, 35.0);
}

int64_t dft_set_value(DftNode **handle, const int64_t *parameter, const int64_t *value) {
  if (!handle) return DFT_INCONSISTENT_CONFIGURATION;
  DftNode *node = *handle;
  if (!node || node->magic != DFT_MAGIC) return DFT_BAD_DESCRIPTOR;
  return apply_setting(node, *parameter, *value);
}

int64_t dft_commit(DftNode **handle) {
  if (!handle || !*handle) return DFT_BAD_DESCRIPTOR;
  DftNode *node = *handle;
  if (!node->ops || !node->ops->commit) return node->magic != DFT_MAGIC ? DFT_BAD_DESCRIPTOR : DFT_INTERNAL_ERROR;
  return node->ops->commit(node);
}

int64_t dft_free(DftNode **handle) {
  if (!handle) return DFT_INCONSISTENT_CONFIGURATION;
  DftNode *node = *handle;
  if (!node || node->magic != DFT_MAGIC) return DFT_BAD_DESCRIPTOR;
  if (node->destroy) node->destroy(node);
  *handle = nullptr;
  return DFT_NO_ERROR;
}

int64_t dft_compute_forward_d(DftNode **h, cplx<double> *x) { return compute_by_reference(h, x, true); }
int64_t dft_compute_backward_d(DftNode **h, cplx<double> *x) { return compute_by_reference(h, x, false); }
int64_t dft_compute_forward_s(DftNode **h, cplx<float> *x) { return compute_by_reference(h, x, true); }
int64_t dft_compute_backward_s(DftNode **h, cplx<float> *x) { return compute_by_reference(h, x, false); }

// The status's catalogue text, blank-filled to `length`, no terminator.
int64_t dft_status_text(char *buffer, const int64_t *length, const int64_t *status) {
  const char *text = zor_serv_zor_get_msg(status_message_number(*status), 0);
  size_t n = text ? std::strlen(text) : 0, room = *length > 0 ? size_t(*length) : 0;
  if (n > room) n = room;
  std::memcpy(buffer, text, n);
  std::memset(buffer + n, ' ', room - n);
  return DFT_NO_ERROR;
}

}  // namespace zor::dft

using namespace zor::dft;

// ---------------------------------------------------------------- the flat record

ZOR_API int64_t zor_dft_create_descriptor_md(DftFlatRecord **handle, int32_t precision, int32_t domain,
                                             int64_t rank, const int64_t *lengths) {
  if (!handle) return DFT_INCONSISTENT_CONFIGURATION;
  if (rank < 1) return DFT_INVALID_CONFIGURATION;
  uint64_t bytes = sizeof(DftFlatRecord) * uint64_t(rank);
  auto *r = static_cast<DftFlatRecord *>(zor_serv_zor_malloc(bytes, 16));
  // The record is cleared before the allocation is tested, and never through
  // a null pointer: a failed allocation gives 1 before the domain is looked at.
  if (r) std::memset(r, 0, bytes);
  if (!r) return DFT_MEMORY_ERROR;
  if (domain == DFT_REAL && rank >= 4) {
    zor_serv_zor_free(r);
    return DFT_UNIMPLEMENTED;
  }
  int64_t running = 1, half = 1, stride = 1;
  for (int64_t k = 0; k < rank; ++k) {
    DftFlatRecord &a = r[k];
    a.magic = DFT_MAGIC;
    a.commit_status = DFT_UNCOMMITTED;
    a.forward_domain = domain;
    a.precision = precision;
    a.transforms = 1;
    a.complex_storage = DFT_COMPLEX_COMPLEX;
    a.real_storage = DFT_REAL_REAL;
    a.conjugate_even_storage = DFT_COMPLEX_REAL;
    a.placement = DFT_INPLACE;
    a.packed_format = DFT_CCS_FORMAT;
    a.input_stride = a.output_stride = stride;
    a.ordering = DFT_ORDERED;
    a.transpose = DFT_NONE;
    a.position[0] = rank;
    a.position[1] = k;
    a.position[2] = lengths[k];
    a.position[3] = k == 0 ? lengths[k] / 2 + 1 : lengths[k];
    a.forward_scale_s = a.backward_scale_s = 1.0f;
    a.forward_scale = a.backward_scale = 1.0;
    running *= lengths[k];
    half *= k == 0 ? lengths[k] / 2 + 1 : lengths[k];
    a.running_length = running;
    a.running_half_length = half;
    a.previous = k > 0 ? &r[k - 1] : nullptr;
    a.next = k + 1 < rank ? &r[k + 1] : nullptr;
    stride *= lengths[k];
  }
  r[0].first_words[0] = r[0].first_words[1] = 1;
  *handle = r;
  return DFT_NO_ERROR;
}

ZOR_API int64_t zor_dft_determine_nioargs(const DftFlatRecord *record) {
  int64_t n = record->placement == DFT_NOT_INPLACE ? 2 : 1;
  if (record->forward_domain == DFT_COMPLEX && record->complex_storage == DFT_REAL_REAL) n *= 2;
  return n;
}

ZOR_API int64_t zor_dft_dfti_get_version_string(char *buffer, int64_t length) {
  char text[198] = {};
  zor_serv_getversionstring_c(text, 198);
  int64_t limit = length < 198 ? length : 198;
  for (int64_t i = 0; i < limit && text[i]; ++i) buffer[i] = text[i];
  return DFT_NO_ERROR;
}
