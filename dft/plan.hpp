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

// ---- real plans (tag 18). A real line of n values and its conjugate-even
// spectrum R[k] + i I[k], k = 0 .. n/2, in one of three layouts:
//   ccs  R0, 0, R1, I1, ..., with R(n/2), 0 at the end for even n (n + 2
//        values), n + 1 values for odd n;
//   pack R0, R1, I1, ..., and R(n/2) last for even n (n values);
//   perm R0, R(n/2), R1, I1, ... for even n; the same as pack for odd n.
// An even length runs as a complex transform of n/2 points followed by one
// sweep (a power of two through the inner plan of tag 9); an odd one as a
// complex transform of the line. Backward is unnormalised unless the plan
// scales it. in and out may be equal (in place the ccs buffer holds n + 2
// values). Statuses: -8 null pointer, -17 wrong tag, -9 no memory.
template <class R> int32_t plan_create_real(DftPlan **out, int64_t length, int32_t mode, int32_t hint);
template <class R> int32_t plan_ccs_forward(const R *in, R *out, const DftPlan *plan, void *workspace);
template <class R> int32_t plan_ccs_backward(const R *in, R *out, const DftPlan *plan, void *workspace);
template <class R> int32_t plan_pack_forward(const R *in, R *out, const DftPlan *plan, void *workspace);
template <class R> int32_t plan_pack_backward(const R *in, R *out, const DftPlan *plan, void *workspace);
template <class R> int32_t plan_perm_forward(const R *in, R *out, const DftPlan *plan, void *workspace);
template <class R> int32_t plan_perm_backward(const R *in, R *out, const DftPlan *plan, void *workspace);

// ---- the power-of-two real plan by order (tag 9), for the families that
// convolve (products of long integers): 2^order real values, order 0 to 27
// (above: -15). Forward leaves the spectrum in perm layout: element 0 the
// zero-frequency term, element 1 the term at half the sampling frequency,
// elements 2j, 2j + 1 the real and imaginary parts of frequency j. Inverse
// takes that layout back to real values divided by the length (scale mode 2,
// the only one offered here). The work size is plan_work_size; a null
// workspace takes one for the call. Destroy with plan_destroy.
template <class R> int32_t real_pow2_create(DftPlan **out, int32_t order);
template <class R> int32_t real_pow2_forward(const R *in, R *out, const DftPlan *plan, void *workspace);
template <class R> int32_t real_pow2_inverse(const R *in, R *out, const DftPlan *plan, void *workspace);

// ---- the pieces of an even real length around a complex transform of
// h = n / 2 points run elsewhere (the large-real method): the sweep from
// that transform to the perm form (forward, unscaled) and back (backward,
// ahead of the complex backward transform), with tables of h / 2 + 1 values
// 0.5 cos(2 pi k / n) and 0.5 sin(2 pi k / n); the move from the perm form
// to the layout of packed format 54 (n + 2 values), 55 or 56, and back
// (in may be out).
template <class R> void even_split(cplx<R> *z, int64_t h, const R *half_cos, const R *half_sin);
template <class R> void even_join(cplx<R> *z, int64_t h, const R *half_cos, const R *half_sin);
template <class R> void perm_to_format(int32_t format, R *out, int64_t n);
template <class R> void perm_from_format(int32_t format, const R *in, R *out, int64_t n);

// The factor list of a length that is not a power of two, as commit and the
// plans share it: 0 factors when the factorisation is abandoned.
int32_t factorise(int64_t n, int32_t *factors);

// exp(-2 pi i e / n) in double, from exact integer angles reduced to the
// first octant.
cplx<double> unit_root(int64_t e, int64_t n);

// exp(-2 pi i e / n) for e from 0 to n - 1 in bulk, for the tables of long
// plans, where a root of its own each would cost more than a transform:
// with m the power of two at or above sqrt n and e = hi m + lo, the root is
// the complex product of two exact ones from tables of m and n / m + 1
// entries, within about an ulp of the exact root. Lengths up to
// kExactRootsMax get exact roots. ok() is false when the tables could not be
// allocated.
class RootTable {
 public:
  static constexpr int64_t kExactRootsMax = 4096;
  explicit RootTable(int64_t n);
  ~RootTable();
  RootTable(const RootTable &) = delete;
  RootTable &operator=(const RootTable &) = delete;
  bool ok() const { return n_ <= kExactRootsMax || high_; }
  cplx<double> operator()(int64_t e) const {
    if (!high_) return unit_root(e, n_);
    const cplx<double> a = low_[e & mask_], b = high_[e >> shift_];
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
  }

 private:
  int64_t n_, mask_ = 0;
  int shift_ = 0;
  cplx<double> *low_ = nullptr, *high_ = nullptr;
};

// The length of the chirp convolution for n points.
int64_t chirp_length(int64_t n);

// Straight-line transforms of up to 16 points, contiguous, in and out may be
// equal; the scaled table multiplies every output by `scale`.
template <class R> using SmallKernel = void (*)(const cplx<R> *in, cplx<R> *out, R scale);
template <class R> SmallKernel<R> small_kernel(int64_t n, bool forward, bool scaled);

}  // namespace zor::dft
