// Small complex cubes: three axes of one length L up to 10, laid out densely
// (strides 1, L, L^2 on both sides), one transform, scales of 1. One routine
// takes the whole cube: the rows with the straight-line kernel of L points
// where they lie, then the lines of the two other axes gathered one at a
// time into a line on the stack. No plan, no workspace, no allocation.
//
// Decision kept here: the method is built for both precisions.
#include <zor/dft_tier.h>

#include "dft/compute.hpp"
#include "dft/plan.hpp"

namespace zor::dft {
namespace {

constexpr int64_t kCubeMax = 10;

template <class R>
bool cube_applies(const DftNode *n) {
  constexpr int32_t prec = sizeof(R) == 8 ? DFT_DOUBLE : DFT_SINGLE;
  if (n->precision != prec || n->forward_domain != DFT_COMPLEX || n->complex_storage != DFT_COMPLEX_COMPLEX ||
      (n->flags & DFT_FLAG_CHILD_NODE) || n->dims.count != 3 || n->transforms != 1 || n->forward_scale != 1.0 ||
      n->backward_scale != 1.0)
    return false;
  const int64_t L = n->dims.entries[0].length;
  if (L > kCubeMax) return false;
  const bool out = n->placement == DFT_NOT_INPLACE;
  int64_t step = 1;
  for (int32_t k = 0; k < 3; ++k, step *= L) {
    const DftAxis &a = n->dims.entries[k];
    if (a.length != L || a.input_stride != step || (out && a.output_stride != step)) return false;
  }
  return true;
}

template <class R, bool Fwd>
int64_t cube_entry(DftNode *node, void *a, void *b, void *, void *) {
  const int64_t L = node->length, L2 = L * L;
  const SmallKernel<R> k = small_kernel<R>(L, Fwd, false);
  const auto *x = static_cast<const cplx<R> *>(a) + node->input_offset;
  auto *y = b ? static_cast<cplx<R> *>(b) + node->output_offset : const_cast<cplx<R> *>(x);
  for (int64_t r = 0; r < L2; ++r) k(x + r * L, y + r * L, R(1));
  cplx<R> line[kCubeMax];
  auto across = [&](int64_t start, int64_t step) {
    for (int64_t j = 0; j < L; ++j) line[j] = y[start + j * step];
    k(line, line, R(1));
    for (int64_t j = 0; j < L; ++j) y[start + j * step] = line[j];
  };
  for (int64_t z = 0; z < L; ++z)
    for (int64_t i = 0; i < L; ++i) across(z * L2 + i, L);
  for (int64_t i = 0; i < L2; ++i) across(i, L2);
  return DFT_NO_ERROR;
}

template <class R, bool Fwd>
int64_t cube_entry_in(DftNode *node, void *a, void *, void *, void *) {
  return cube_entry<R, Fwd>(node, a, nullptr, nullptr, nullptr);
}

template <class R>
int64_t commit_cube(DftMethod *m, DftNode *n) {
  if (!cube_applies<R>(n)) return DFT_METHOD_SPLIT_NOT_APPLICABLE;
  take(m, n);
  n->flags &= uint8_t(~(DFT_FLAG_SINGLE_THREAD_DIRECT | DFT_FLAG_DIRECT_2D | DFT_FLAG_CALL_KERNEL_DIRECTLY));
  if (n->placement == DFT_NOT_INPLACE) finish(n, cube_entry<R, true>, cube_entry<R, false>);
  else finish(n, cube_entry_in<R, true>, cube_entry_in<R, false>);
  return DFT_NO_ERROR;
}

}  // namespace

DftMethod cube_double = {commit_cube<double>, nullptr};
DftMethod cube_single = {commit_cube<float>, nullptr};

}  // namespace zor::dft
