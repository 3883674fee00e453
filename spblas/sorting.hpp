// Sorting the rows of a CSR matrix by column: insertion by adjacent swaps,
// value and column moving together, stable (an entry moves left past
// strictly greater columns only); a row of fewer than two entries is left
// alone.
#pragma once
#include <cstdint>
#include <utility>

namespace zor::spblas {

template <class V, class I>
inline void sort_row(V *vals, I *ja, int64_t p, int64_t q) {
  for (int64_t k = p + 1; k < q; ++k)
    for (int64_t t = k; t > p && ja[t - 1] > ja[t]; --t) {
      std::swap(ja[t - 1], ja[t]);
      std::swap(vals[t - 1], vals[t]);
    }
}

// Rows 0..n-1 of pointers ia of the given base.
template <class V, class I>
inline void sort_rows(V *vals, I *ja, const I *ia, int64_t n, int64_t base) {
  for (int64_t i = 0; i < n; ++i) sort_row(vals, ja, int64_t(ia[i]) - base, int64_t(ia[i + 1]) - base);
}

}  // namespace zor::spblas
