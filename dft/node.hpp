// The transform node inside the tier: creation, the per-node operations,
// uncommit and destroy, the commit methods, and the by-reference entries
// that the convolution and trigonometric families call.
#pragma once
#include <cstdint>

#include <zor/dft_records.h>

#include "frame/traits.hpp"

namespace zor::dft {

// ---- memory of the node layer: plain heap blocks (headers in front)
void *node_alloc(uint64_t bytes, int32_t alignment);
void *node_calloc(uint64_t bytes, int32_t alignment);
void node_free(void *p);

// The process-wide services table and its reads: an empty slot is never
// called; slot 0 then reads as 0 and slot 1 as 1.
DftServices *services_table();
int64_t service_or(const DftNode *node, int slot, int64_t otherwise);

int64_t uncommit(DftNode *node);
// The normalisation of commit: entries ascending by input stride, entries
// of length 1 dropped while more than one remains; neighbouring batch
// entries that walk memory as one merged.
void sort_and_drop(DftAxisList &list);
void merge_batch(DftAxisList &list);
int64_t destroy(DftNode *node);

// The creator's method lists (null-terminated).
extern DftMethod *const method_list_dc1d[];
extern DftMethod *const method_list_sc1d[];
extern DftMethod *const method_list_dr1d[];
extern DftMethod *const method_list_sr1d[];
extern DftMethod *const method_list_dcmd[];
extern DftMethod *const method_list_scmd[];
extern DftMethod *const method_list_drmd[];
extern DftMethod *const method_list_srmd[];

// Status of the plan layer to node status: -9 to 1, any other to 7.
inline int64_t node_status_of_plan(int64_t s) {
  return s == DFT_PLAN_NO_MEMORY ? DFT_MEMORY_ERROR : DFT_INTERNAL_ERROR;
}

inline bool is_pow2(int64_t n) { return n > 0 && (n & (n - 1)) == 0; }
inline int64_t floor_log2(int64_t n) {
  int64_t b = -1;
  while (n > 0) n >>= 1, ++b;
  return b;
}

// The workspace alignment: 4096 when the processor class is 4, else 256.
int32_t work_alignment();

// ---- the by-reference entries for the families built on the transforms
int64_t dft_create_d(DftNode **handle, const double *precision, const int32_t *domain, const int64_t *one,
                     const int64_t *length);
int64_t dft_create_s(DftNode **handle, const double *precision, const int32_t *domain, const int64_t *one,
                     const int64_t *length);
int64_t dft_set_value(DftNode **handle, const int64_t *parameter, const int64_t *value);
int64_t dft_commit(DftNode **handle);
int64_t dft_free(DftNode **handle);
int64_t dft_compute_forward_d(DftNode **handle, cplx<double> *data);
int64_t dft_compute_backward_d(DftNode **handle, cplx<double> *data);
int64_t dft_compute_forward_s(DftNode **handle, cplx<float> *data);
int64_t dft_compute_backward_s(DftNode **handle, cplx<float> *data);
int64_t dft_status_text(char *buffer, const int64_t *length, const int64_t *status);

}  // namespace zor::dft
