// Long one-dimensional transforms by four steps: the setup that commit runs
// on an axis, and the axis kernels it installs on success.
#pragma once
#include <cstdint>

#include <zor/dft_records.h>

namespace zor::dft {

// Split, pitches, twiddle table and children of the axis `node` of `root`
// (see zor_dft_x?_init_data_1d_via_2d). DFT_NO_TWO_FACTOR_SPLIT leaves the
// node as it was.
template <class R> int64_t four_step_setup(DftNode *node, DftNode *root);

// The axis kernel of a node that four_step_setup took: in == out in place.
template <class R, bool Fwd> int64_t four_step_kernel(void *in, void *out, DftNode *node, void *workspace);

}  // namespace zor::dft
