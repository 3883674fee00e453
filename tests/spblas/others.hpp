// The exported routines without the grammar by element and integer type
// (generated from tools/spblas_family.py), a call that hands the test's
// element types to the C boundary, and small CSR helpers of their tests.
#pragma once
#include <algorithm>
#include <complex>
#include <cstdint>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <zor/spblas.h>

#include "spblas/csr_reference.hpp"

namespace zor::test::sparse {

template <class E, class I>
struct Others;
#include "spblas_others.inc"

template <class P, class A>
P as_param(A a) {
  if constexpr (std::is_null_pointer_v<A>) return nullptr;
  else return reinterpret_cast<P>(a);
}
template <class... P, class... A>
void call(void (*f)(P...), A... a) {
  f(as_param<P>(a)...);
}

// Every element type and integer width, for typed tests.
using AllTypes = ::testing::Types<std::pair<float, int64_t>, std::pair<double, int32_t>,
                                  std::pair<std::complex<float>, int64_t>, std::pair<std::complex<double>, int32_t>,
                                  std::pair<float, int32_t>, std::pair<double, int64_t>,
                                  std::pair<std::complex<float>, int32_t>, std::pair<std::complex<double>, int64_t>>;

// A dense m x n matrix of the given CSR arrays (duplicates summed), bases
// of pointers and columns given.
template <class E, class I>
Dense dense_of(int64_t m, int64_t n, const E *a, const I *ja, const I *ia, int64_t base) {
  Dense d{m, n, std::vector<W>(m * n)};
  for (int64_t i = 0; i < m; ++i)
    for (int64_t k = int64_t(ia[i]) - base; k < int64_t(ia[i + 1]) - base; ++k) d(i, int64_t(ja[k]) - base) += widen(a[k]);
  return d;
}

// Plain CSR arrays (pointers m+1) of rows of (column, value) pairs.
template <class E, class I>
struct Csr {
  std::vector<I> ia, ja;
  std::vector<E> a;
  Csr(const std::vector<std::vector<std::pair<int64_t, E>>> &rows, int64_t base) {
    ia.push_back(I(base));
    for (auto &row : rows) {
      for (auto &[c, v] : row) ja.push_back(I(c + base)), a.push_back(v);
      ia.push_back(I(base + int64_t(ja.size())));
    }
    ja.push_back(0), a.push_back(E{});  // never empty
  }
  int64_t nnz() const { return int64_t(ja.size()) - 1; }
};

inline bool operator==(const Dense &x, const Dense &y) { return x.rows == y.rows && x.cols == y.cols && x.a == y.a; }

}  // namespace zor::test::sparse
