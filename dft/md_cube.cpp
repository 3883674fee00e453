// Small cubes: three axes of one length L up to 10, one transform, scales of
// 1. One routine takes the whole cube with the straight-line kernel of L
// points; no plan, no workspace, no allocation.
// - Complex: laid out densely (strides 1, L, L^2 on both sides); the rows
//   where they lie, then the lines of the two other axes gathered one at a
//   time into a line on the stack.
// - Real, half spectrum as complex values: rows of 2 (L / 2) + 2 reals on
//   one side and L / 2 + 1 complex values on the other (either way round),
//   unit strides along the rows. The half spectrum is held on the stack
//   (at most 10 x 10 x 6 values): the whole input is read before anything
//   is written, so in place and out of place go the same way.
//
// Decision kept here: both methods are built for both precisions.
#include <type_traits>

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

// ---------------------------------------------------------------- real cubes

template <class R>
bool real_cube_applies(const DftNode *n) {
  constexpr int32_t prec = sizeof(R) == 8 ? DFT_DOUBLE : DFT_SINGLE;
  if (n->precision != prec || n->forward_domain != DFT_REAL || n->conjugate_even_storage != DFT_COMPLEX_COMPLEX ||
      (n->flags & DFT_FLAG_CHILD_NODE) || n->dims.count != 3 || n->transforms != 1 || n->forward_scale != 1.0 ||
      n->backward_scale != 1.0)
    return false;
  const DftAxis *a = n->dims.entries;
  const int64_t L = a[0].length, h = L / 2 + 1;
  if (L > kCubeMax || a[1].length != L || a[2].length != L || a[0].input_stride != 1 || a[0].output_stride != 1)
    return false;
  const int64_t is = a[1].input_stride, os = a[1].output_stride;
  return ((is == 2 * h && os == h) || (is == h && os == 2 * h)) && a[2].input_stride == is * L &&
         a[2].output_stride == os * L;
}

// Forward: each real row as a complex line through the kernel, its first h
// values kept; then axes 1 and 2 over the h columns. Backward: axes 2 and 1,
// then each row completed by symmetry, X[L - k] = conj X[k], and its real
// part kept.
template <class R, bool Fwd>
int64_t real_cube_entry(DftNode *node, void *a, void *b, void *, void *) {
  const int64_t L = node->length, h = L / 2 + 1, plane = L * h;
  const DftAxis *ax = node->dims.entries;
  const int64_t is1 = ax[1].input_stride, is2 = ax[2].input_stride, os1 = ax[1].output_stride,
                os2 = ax[2].output_stride;
  using In = std::conditional_t<Fwd, R, cplx<R>>;
  using Out = std::conditional_t<Fwd, cplx<R>, R>;
  const In *x = static_cast<const In *>(a) + node->input_offset;
  Out *y = static_cast<Out *>(b ? b : a) + node->output_offset;
  const SmallKernel<R> k = small_kernel<R>(L, Fwd, false);
  cplx<R> cube[kCubeMax * kCubeMax * (kCubeMax / 2 + 1)], line[kCubeMax];
  auto across = [&](int64_t start, int64_t step) {
    for (int64_t j = 0; j < L; ++j) line[j] = cube[start + j * step];
    k(line, line, R(1));
    for (int64_t j = 0; j < L; ++j) cube[start + j * step] = line[j];
  };
  auto columns = [&] {
    for (int64_t z = 0; z < L; ++z)
      for (int64_t i = 0; i < h; ++i) across(z * plane + i, h);
  };
  auto slabs = [&] {
    for (int64_t i = 0; i < plane; ++i) across(i, plane);
  };
  for (int64_t z = 0; z < L; ++z)
    for (int64_t r = 0; r < L; ++r) {
      const In *row = x + r * is1 + z * is2;
      cplx<R> *c = cube + (z * L + r) * h;
      if constexpr (Fwd) {
        for (int64_t j = 0; j < L; ++j) line[j] = {row[j], R(0)};
        k(line, line, R(1));
        for (int64_t j = 0; j < h; ++j) c[j] = line[j];
      } else {
        for (int64_t j = 0; j < h; ++j) c[j] = row[j];
      }
    }
  if (Fwd) columns(), slabs();
  else slabs(), columns();
  for (int64_t z = 0; z < L; ++z)
    for (int64_t r = 0; r < L; ++r) {
      Out *row = y + r * os1 + z * os2;
      const cplx<R> *c = cube + (z * L + r) * h;
      if constexpr (Fwd) {
        for (int64_t j = 0; j < h; ++j) row[j] = c[j];
      } else {
        for (int64_t j = 0; j < h; ++j) line[j] = c[j];
        for (int64_t j = h; j < L; ++j) line[j] = {c[L - j].re, -c[L - j].im};
        k(line, line, R(1));
        for (int64_t j = 0; j < L; ++j) row[j] = line[j].re;
      }
    }
  return DFT_NO_ERROR;
}

template <class R>
int64_t commit_real_cube(DftMethod *m, DftNode *n) {
  if (!real_cube_applies<R>(n)) return DFT_METHOD_SPLIT_NOT_APPLICABLE;
  take(m, n);
  n->flags &= uint8_t(~(DFT_FLAG_SINGLE_THREAD_DIRECT | DFT_FLAG_DIRECT_2D | DFT_FLAG_CALL_KERNEL_DIRECTLY));
  finish(n, real_cube_entry<R, true>, real_cube_entry<R, false>);
  return DFT_NO_ERROR;
}

}  // namespace

DftMethod cube_double = {commit_cube<double>, nullptr};
DftMethod cube_single = {commit_cube<float>, nullptr};
DftMethod real_cube_double = {commit_real_cube<double>, nullptr};
DftMethod real_cube_single = {commit_real_cube<float>, nullptr};

}  // namespace zor::dft
