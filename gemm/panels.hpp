// Geometry of the packed panels, one description for the four precisions.
//
// Packed A: ceil(m / UM) panels, panel p at p x a_stride elements; within it,
// for each depth l in [0, k'), UM consecutive elements of alpha x op(A) at
// rows p UM + 0, 1, ...; lanes past m and depths past k are zero. UM is two
// vectors of elements (d 4, s 8, c 4, z 2).
//
// Packed B: ceil(n / UN) panels (UN: 4 real, 2 complex), panel q at
// q x b_stride elements; within it, for each depth l, the elements of op(B) at
// (l, q UN + j). A tail panel of c < UN columns holds tail_width(c, row)
// elements per depth step: c in row 0 (compact), a whole number of vectors in
// row 1, the added lanes zero. Depths past k are zero in every panel.
//
// k' is the depth rounded up to depth_multiple(row): 4, except 2 in the
// complex row 0. Complex elements are two reals, real part first; pointers
// inside the kernels are to reals, strides and leading dimensions count
// elements.
#pragma once
#include <cstdint>

#include "frame/traits.hpp"

namespace zor::gemm {

inline constexpr int64_t round_up(int64_t x, int64_t unit) { return (x + unit - 1) / unit * unit; }
inline constexpr int64_t round_down(int64_t x, int64_t unit) { return x / unit * unit; }

template <class T>
struct Panels {
  static constexpr int E = T::complex ? 2 : 1;   // reals per element
  static constexpr int L = T::real_lanes;        // reals per vector
  static constexpr int UM = 2 * T::elem_lanes;   // A panel width (elements)
  static constexpr int UN = T::complex ? 2 : 4;  // B panel width (elements)
  static constexpr int depth_multiple(int row) { return T::complex && row == 0 ? 2 : 4; }
  static constexpr int64_t tail_width(int64_t c, int row) { return row == 0 ? c : round_up(c, T::elem_lanes); }
};

}  // namespace zor::gemm
