// The radix layer: plans per length and the passes over data. It knows
// nothing of nodes; its statuses are the DFT_PLAN_* codes of
// <zor/dft_records.h>.
//
// Kinds, in each precision: complex ordered (tag 16), complex unordered
// (forward output and backward input in digit-reversed order above 5000
// points), split (separate real and imaginary arrays). A power-of-two length
// of 17 or more runs through an inner power-of-two plan (tag 7, or 8 inside a
// split plan).
//
// Length to algorithm: up to 16 a straight-line kernel; a power of two the
// radix-8 passes over a leaf of 8, 16 or 32; a length that factors (see
// factorise) the mixed-radix passes; other lengths below 91 a direct
// transform; other lengths below 0x2000000 a chirp convolution through a plan
// of a smooth length; longer ones -6.
#pragma once
#include <cstdint>

#include <zor/dft_records.h>

#include "frame/traits.hpp"

namespace zor::dft {

// 32-byte-aligned blocks of the plan layer, on the plain heap.
void *plan_alloc(int64_t bytes);
void plan_free(void *p);

// Build a plan. mode: DFT_SCALE_FORWARD (forward scaled by 1/n),
// DFT_SCALE_BACKWARD, DFT_SCALE_SQRT_BOTH (both by 1/sqrt n) or
// DFT_SCALE_NONE. On failure *out stays untouched and nothing is left behind.
template <class R> int32_t plan_create_ordered(DftPlan **out, int64_t length, int32_t mode, int32_t hint);
template <class R> int32_t plan_create_unordered(DftPlan **out, int64_t length, int32_t mode, int32_t hint);
template <class R> int32_t plan_create_split(DftPlan **out, int64_t length, int32_t mode, int32_t hint);
int32_t plan_work_size(const DftPlan *plan, int32_t *out);
void plan_destroy(DftPlan *plan);

// Transforms of one line. in and out may be equal. A null workspace means
// one is taken for this call. Split plans take the real and imaginary arrays.
template <class R>
int32_t plan_forward(const cplx<R> *in, cplx<R> *out, const DftPlan *plan, void *workspace);
template <class R>
int32_t plan_backward(const cplx<R> *in, cplx<R> *out, const DftPlan *plan, void *workspace);
template <class R>
int32_t plan_forward_split(const R *in_re, const R *in_im, R *out_re, R *out_im, const DftPlan *plan,
                           void *workspace);
template <class R>
int32_t plan_backward_split(const R *in_re, const R *in_im, R *out_re, R *out_im, const DftPlan *plan,
                            void *workspace);

// The factor list of a length that is not a power of two, as commit and the
// plans share it: 0 factors when the factorisation is abandoned.
int32_t factorise(int64_t n, int32_t *factors);

// exp(-2 pi i e / n) in double, from exact integer angles reduced to the
// first octant.
cplx<double> unit_root(int64_t e, int64_t n);

// The length of the chirp convolution for n points.
int64_t chirp_length(int64_t n);

// Straight-line transforms of up to 16 points, contiguous, in and out may be
// equal; the scaled table multiplies every output by `scale`.
template <class R> using SmallKernel = void (*)(const cplx<R> *in, cplx<R> *out, R scale);
template <class R> SmallKernel<R> small_kernel(int64_t n, bool forward, bool scaled);

}  // namespace zor::dft
