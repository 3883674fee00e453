// The constants of the block (BSR) solves.
//
// Tuned constants only move speed and name the benchmark run that chose
// them (see parameters.hpp).
#pragma once
#include <cstdint>

namespace zor::spblas {

namespace tuned {

// The block solves sum a block row's solved side into a frame array of this
// many rows at a time (any lb is safe; the sums are those of a full row).
inline constexpr int64_t kGaussRows = 16;

}  // namespace tuned

}  // namespace zor::spblas
