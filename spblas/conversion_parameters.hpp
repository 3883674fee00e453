// The constants of CSR to CSC.
//
// Tuned constants only move speed and name the benchmark run that chose
// them (see parameters.hpp).
#pragma once
#include <cstdint>

namespace zor::spblas {

namespace tuned {

// CSR to CSC places the entries by groups of columns (at most kCscGroups of
// them) from kCscGroupedFrom entries on. Chosen with bench_spblas_formats on
// the random 1e6 x 1e6 matrix of 10 entries a row.
inline constexpr int64_t kCscGroups = 512;
inline constexpr int64_t kCscGroupedFrom = 1 << 18;

}  // namespace tuned

}  // namespace zor::spblas
