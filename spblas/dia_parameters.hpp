// The diagonal format's constants.
//
// Fixed constants are part of the kernels' behaviour; tuned ones only move
// speed and name the benchmark run that chose them (see parameters.hpp).
#pragma once
#include <cstdint>

namespace zor::spblas {

namespace fixed {

// The diagonal-format products go over blocks of this many rows and columns
// (the last block of each taking the rest); a row's terms come by column
// block, then in the list order of the diagonals.
inline constexpr int64_t kDiaRowBlock = 20000;
inline constexpr int64_t kDiaColumnBlock = 5000;

}  // namespace fixed

namespace tuned {

// The diagonal-format g and t products (op n) take up to kDiaGroup
// diagonals of the walk in one pass over the rows they all cross, and touch
// each diagonal's values kDiaAheadBytes ahead once a cache line. Chosen with
// bench_spblas_formats on the 5-point Laplacian and the band of 9.
inline constexpr int kDiaGroup = 8;
inline constexpr int64_t kDiaAheadBytes = 1024;

}  // namespace tuned

}  // namespace zor::spblas
