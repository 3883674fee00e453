// Transforms of rank 2 and above: the two-dimensional routines, the walks
// over slices and lines, and the compute entries of multi-dimensional nodes.
#pragma once
#include <cstdint>

#include <zor/dft_records.h>

#include "dft/compute.hpp"

namespace zor::dft {

// Axes a multi-dimensional node may have (lengths of 1 are dropped, so no
// real task comes near).
constexpr int32_t kMaxAxes = 64;

// The two-dimensional routines as kernels_2d holds them: in place
// (data, &first_stride, &second_stride, first_kernel, second_kernel, node,
// workspace, block_mode) and out of place (in, out, in_strides[2],
// out_strides[2], first_kernel, second_kernel, node, workspace, block_mode).
using Dft2dIn = int64_t (*)(void *, const int64_t *, const int64_t *, dft_axis_kernel, dft_axis_kernel, DftNode *,
                            void *, int64_t);
using Dft2dOut = int64_t (*)(const void *, void *, const int64_t *, const int64_t *, dft_axis_kernel, dft_axis_kernel,
                             DftNode *, void *, int64_t);
template <class R> dft_generic_fn dft2d_in_routine();
template <class R> dft_generic_fn dft2d_out_routine();

// The batch of a multi-dimensional node on the calling thread (the drivers
// x{z,c}{forward,backward}[_out] at rank 2 and above).
template <class R, bool Fwd> int64_t md_driver(DftNode *node, void *in, void *out, int64_t transforms, void *ws);

// Axes first_axis on of a task whose first axis has already been transformed into
// h complex values (the half spectrum of real data), in place on data:
// strides[k] of axis k (axis 0 with length h) and the batch `transforms` at
// `distance`, all in complex elements. Forward takes the axes upwards,
// backward downwards (the reverse order, so that the first two axes of a
// slice can go last together).
template <class R, bool Fwd>
int64_t sweep_later_axes(DftNode *root, cplx<R> *data, int64_t h, const int64_t *strides, int64_t transforms,
                         int64_t distance, void *ws, int32_t first_axis = 1);
// Lines first .. first + count - 1 of axis `axis` (1 on) of such a task,
// numbered as the complex line shares number them.
template <class R, bool Fwd>
int64_t half_spectrum_lines(DftNode *root, cplx<R> *data, int64_t h, const int64_t *strides, int64_t transforms,
                            int64_t distance, int32_t axis, int64_t first, int64_t count, void *ws);

// Columns first .. first + count - 1 along node->next_axis (column i at
// in + i is[0], its points is[1] apart; likewise out), by blocks of 4 when
// the columns are one element apart; the status through `status`.
template <class R>
void columns_share(const void *in, void *out, const int64_t *is, const int64_t *os, int64_t first, int64_t count,
                   dft_axis_kernel k, DftNode *node, int64_t *status, void *ws);

// Compute entries of multi-dimensional nodes.
template <class R, bool Fwd> int64_t md_entry_in(DftNode *node, void *a, void *, void *, void *);
template <class R, bool Fwd> int64_t md_entry_out(DftNode *node, void *a, void *b, void *, void *);

}  // namespace zor::dft
