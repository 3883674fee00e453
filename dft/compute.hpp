// The compute side of the transforms, as commit wires it: axis kernels (plan
// functions, fixed and table kernels, the chirp), compute entries, and the
// per-precision level-1 routines they use.
#pragma once
#include <cstdint>

#include <type_traits>

#include <zor/dft_records.h>

#include "frame/imports.hpp"
#include "frame/traits.hpp"

namespace zor::dft {

// The traits of the complex and the real elements of a precision, for the
// level-1 routines of frame/imports.hpp (scaling and copies).
template <class R> using ComplexOf = std::conditional_t<sizeof(R) == 8, Z, C>;
template <class R> using RealOf = std::conditional_t<sizeof(R) == 8, D, S>;

// The kernel scale of a direction in the node's copies for the precision.
template <class R> inline R kernel_scale(const DftNode *node, bool forward);
template <> inline double kernel_scale<double>(const DftNode *n, bool f) {
  return f ? n->kernel_forward_scale : n->kernel_backward_scale;
}
template <> inline float kernel_scale<float>(const DftNode *n, bool f) {
  return f ? n->kernel_forward_scale_s : n->kernel_backward_scale_s;
}

template <class R> constexpr int precision_index = sizeof(R) == 8 ? 1 : 0;
template <class R> constexpr int kernel_slot(bool forward, bool whole) {
  return (whole ? 4 : 0) + 2 * precision_index<R> + (forward ? 1 : 0);
}

// Axis kernels chosen by the commit core.
template <class R, bool Fwd> int64_t plan_ordered_kernel(void *in, void *out, DftNode *node, void *ws);
template <class R, bool Fwd> int64_t plan_unordered_kernel(void *in, void *out, DftNode *node, void *ws);
template <class R, bool Fwd> int64_t plan_split_kernel(void *in, void *out, DftNode *node, void *ws);
template <class R, bool Fwd> dft_axis_kernel fixed_axis_kernel(int64_t n);
template <bool Fwd> int64_t table_kernel(void *in, void *out, DftNode *node, void *ws);
template <class R, bool Fwd> int64_t chirp_kernel(void *in, void *out, DftNode *node, void *ws);

// Lines through a buffer, `block` at a time (8, 4, 2 or 1): `count` lines of
// node->length elements, line l at in + l in_dist (out + l out_dist), its
// elements `stride` apart; each group is gathered into rows `pitch` elements
// apart, transformed row by row with k, and scattered. A block of 8 leaves a
// group of 4 first when four or more lines remain; then pairs, then one line.
// rows holds block * pitch elements, 16-byte aligned.
template <class R>
int64_t block_lines(DftNode *node, const cplx<R> *in, int64_t in_dist, int64_t in_stride, cplx<R> *out,
                    int64_t out_dist, int64_t out_stride, dft_axis_kernel k, int64_t count, int block, cplx<R> *rows,
                    int64_t pitch, void *ws);
// Elements between buffer rows of n elements: rows never share 16 bytes.
template <class R>
constexpr int64_t row_pitch(int64_t n) {
  return (n * int64_t(sizeof(cplx<R>)) + 15) / 16 * 16 / int64_t(sizeof(cplx<R>));
}

// Compute entries. Complex interleaved: in place (node, data), out of place
// (node, in, out); split: (node, re, im) and (node, in re, in im, out re,
// out im).
template <class R, bool Fwd> int64_t entry_in(DftNode *node, void *a, void *, void *, void *);
template <class R, bool Fwd> int64_t entry_out(DftNode *node, void *a, void *b, void *, void *);
template <class R, bool Fwd> int64_t entry_split_in(DftNode *node, void *a, void *b, void *, void *);
template <class R, bool Fwd> int64_t entry_split_out(DftNode *node, void *a, void *b, void *c, void *d);

// The drivers behind the exports zor_dft_x{c,z}{forward,backward}[_out].
template <class R, bool Fwd> int64_t driver_in(DftNode *node, void *data, int64_t transforms, void *ws);
template <class R, bool Fwd>
int64_t driver_out(DftNode *node, void *in, void *out, int64_t transforms, void *ws);

// The small plan's entries: the plan with its scale, null workspace.
template <class R, bool Fwd> int64_t small_plan_in(DftNode *node, void *a, void *, void *, void *);
template <class R, bool Fwd> int64_t small_plan_out(DftNode *node, void *a, void *b, void *, void *);

// The fixed-length method tables' entries for length N.
template <class R, bool Fwd, int N> int64_t fixed_entry_in(DftNode *node, void *a, void *, void *, void *);
template <class R, bool Fwd, int N> int64_t fixed_entry_out(DftNode *node, void *a, void *b, void *, void *);

// The record of the node-level chirp: n points as a convolution of
// M = 2^(b + 1) points, b the bit length of n, through a child node of
// length M.
template <class R>
struct ChirpRecord {
  int64_t n;
  DftNode *child;
  int64_t m;
  cplx<R> *w;    // exp(-i pi k^2 / n), mirrored around the circle of M points
  cplx<R> *big;  // the transform of the conjugate of w, divided by M
};

// The commit of one complex axis of a multi-dimensional root (kernels,
// plan or fixed kernel, work size); the real cores use it for the axes after
// the first.
template <class R> int64_t commit_complex_axis(DftNode *root, DftNode *axis, int64_t index);

// Several axes, or several batch levels, of split data: child nodes per axis
// or per batch level (dft/md_split.cpp).
int64_t commit_split_per_axis(DftMethod *m, DftNode *n);
int64_t commit_split_batch(DftMethod *m, DftNode *n);

// The methods of small cubes, complex and real (dft/md_cube.cpp).
extern DftMethod cube_double, cube_single, real_cube_double, real_cube_single;

// The large-real method of the one-dimensional real creators (four steps
// over half the points, then the even sweep).
extern DftMethod large_real_double, large_real_single;

// Pieces every commit core shares. take: the node goes to this method, and
// whatever another commit built goes. finish: compute pointers, nio_args,
// committed. reserve_user_slots: the slot table of a node shared by several
// user threads (which then runs one thread per call). allocate_workspace:
// max_work_size rounded up to the alignment, one copy per thread; on failure
// the node is uncommitted and 1 returned.
void set_nio_args(DftNode *node);
void take(DftMethod *method, DftNode *node);
void finish(DftNode *node, dft_compute_fn forward, dft_compute_fn backward);
int64_t reserve_user_slots(DftNode *root);
int64_t allocate_workspace(DftNode *root);

// A workspace slot of the calling thread for nodes with several user
// threads: 0 and up, or negative when none can be had.
int64_t claim_slot(DftNode *node);
void release_slot(DftNode *node, int64_t slot);

// run(workspace) with the calling thread's share of the workspace, between
// claiming a slot and releasing it; 8 when no slot can be had.
template <class Run>
int64_t in_user_slot(DftNode *node, Run &&run) {
  int64_t slot = claim_slot(node);
  if (slot < 0) return DFT_NUMBER_OF_THREADS_ERROR;
  void *mine = node->workspace ? static_cast<char *>(node->workspace) + slot * node->max_work_size : nullptr;
  int64_t s = run(mine);
  release_slot(node, slot);
  return s;
}

}  // namespace zor::dft
