// The cache rule of the base-1 general mm kernels with op n or s: when the
// work is large, rows are cut into blocks whose entries stay in cache while
// every dense column of the range passes over them. Both paths form each sum
// in the same order, so the rule changes speed only.
//
//   A := (row_end[m-1] - 1) / m (integer division), K := k
//   work  := trunc(m * (p*A + q*K)), in double precision
//   block := trunc(kMmBlockShare * (kMmWorkLimit / (q*A + p*K)))
//   nblocks := m / block, at least 1
//   work < kMmWorkLimit: column by column; else block, column, row, entries
//
// The 32-bit twins truncate work to 32 bits (a product beyond the range
// comes out negative and so selects the column path) and compare it in single
// precision. A block of 0 rows (q*A + p*K above 4250000) would divide by
// zero; it takes the blocked path with one block of all rows. The weights
// (p, q) per kernel stand in parameters.hpp.
#pragma once
#include <cstdint>
#include <limits>

#include "spblas/parameters.hpp"

namespace zor::spblas {

struct MmPlan {
  bool blocked;
  int64_t block;    // rows per block (the last block takes the rest)
  int64_t nblocks;
};

// Truncation as the processor's conversion does it: a value out of range
// (or NaN) becomes the most negative integer of the width.
template <class Int>
inline Int truncate(double v) {
  constexpr double low = double(std::numeric_limits<Int>::min());  // -2^(bits-1), exact
  if (!(v >= low && v < -low)) return std::numeric_limits<Int>::min();
  return Int(v);
}

template <bool Lp64>
inline MmPlan mm_plan(int64_t m, int64_t last_row_end, int64_t k, int p, int q) {
  int64_t A = (last_row_end - 1) / m;
  double work_d = double(m) * (double(p) * double(A) + double(q) * double(k));
  double block_d = fixed::kMmBlockShare * (double(fixed::kMmWorkLimit) / (double(q) * double(A) + double(p) * double(k)));
  int64_t block, nblocks;
  bool small;
  if constexpr (Lp64) {
    int32_t work = truncate<int32_t>(work_d);
    block = truncate<int32_t>(block_d);
    small = float(work) < float(fixed::kMmWorkLimit);
  } else {
    int64_t work = truncate<int64_t>(work_d);
    block = truncate<int64_t>(block_d);
    small = work < fixed::kMmWorkLimit;
  }
  if (block == 0) return {true, m, 1};
  nblocks = m / block;
  if (nblocks < 1) nblocks = 1;
  return {!small, block, nblocks};
}

}  // namespace zor::spblas
