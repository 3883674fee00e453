// Pieces shared by the trapezoidal symmetric and Hermitian kernels: the
// alignment class of a call, the column group of the products, the sum of a
// register's lanes, and y := beta y as the matrix-vector frame does it.
#pragma once
#include <cstdint>
#include <initializer_list>
#include <type_traits>

#include "blas/level2_gemv.hpp"
#include "blas/parameters.hpp"
#include "frame/element.hpp"
#include "frame/imports.hpp"
#include "frame/simd.hpp"

namespace zor::lapack {

// Columns a product takes together: four, two for double complex.
template <class E> inline constexpr int kProductGroup = std::is_same_v<E, cplx<double>> ? 2 : 4;

// 2 if every base stands on a 16-byte boundary, 1 if every one stands 8
// bytes past one (elements of 8 bytes or more), else -1; -1 too when a
// leading dimension is not a whole number of 16-byte vectors.
template <class E>
int alignment_class(std::initializer_list<const void *> bases, std::initializer_list<int64_t> lds) {
  for (int64_t ld : lds)
    if ((ld * int64_t(sizeof(E))) % 16 != 0) return -1;
  bool all0 = true, all8 = sizeof(E) >= 8;
  for (const void *p : bases) {
    all0 = all0 && phase(p) == 0;
    all8 = all8 && phase(p) == 8;
  }
  return all0 ? 2 : all8 ? 1 : -1;
}

// The elements of a register added in order: ((e0 + e1) + e2) + e3.
template <class E>
inline E lanes_sum(vec_t<E> v) {
  alignas(16) real_t<E> r[16 / sizeof(real_t<E>)];
  simd::store_a(r, v);
  if constexpr (is_complex_v<E>) {
    if constexpr (sizeof(E) == 16) return E{r[0], r[1]};
    else return E{r[0] + r[2], r[1] + r[3]};
  } else if constexpr (sizeof(E) == 8) {
    return r[0] + r[1];
  } else {
    return ((r[0] + r[1]) + r[2]) + r[3];
  }
}

// y := beta y over n unit-stride elements: nothing for 1; zeros without
// reading y for 0 (real: a fill of bytes from 13 doubles or 25 floats on);
// otherwise a multiplication (complex: the level-1 scaling).
template <class T>
void scale_by_beta(int64_t n, typename T::elem beta, typename T::elem *y) {
  using E = typename T::elem;
  if (is_one(beta)) return;
  if constexpr (T::complex) {
    if (is_zero(beta)) {
      for (int64_t i = 0; i < n; ++i) y[i] = E{0, 0};
    } else {
      const zor_int len = n, one = 1;
      imports<T>::scal(&len, &beta, y, &one);
    }
  } else {
    constexpr int fill = sizeof(E) == 8 ? blas::fixed::kFillFromDouble : blas::fixed::kFillFromSingle;
    blas::gemv::scale_y<E, fill>(n, beta, y, 1);
  }
}

}  // namespace zor::lapack
