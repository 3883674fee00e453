// Constants of the front's threaded level-3 routines, in two groups.
//
// fixed: how a large call is cut into pieces. The pieces depend on the shape
// alone, never on the number of threads, so changing one of these changes
// the order of summation of large calls (the results of every thread count
// stay equal to one another).
//
// tuned: choices made here for speed alone, each with the benchmark that
// chose it (bench/blas/threads_bench.cpp); changing one changes no result.
#pragma once
#include <cstdint>

namespace zor::front {

namespace fixed {

// A dimension of length len is cut into ceil(len / target) pieces, target =
// len / kPieces held between kPieceMin and kPieceMax, at most
// len / kPieceMin of them (one piece below 2 kPieceMin); the pieces start at
// the even shares of len rounded down to kUnit.
inline constexpr int64_t kPieces = 8;
inline constexpr int64_t kPieceMin = 64;
inline constexpr int64_t kPieceMax = 512;
inline constexpr int64_t kUnit = 16;

}  // namespace fixed

namespace tuned {

// A call runs on a team from this much work on (multiply-adds: m n k for
// ?gemm, the order squared times the other side for ?symm/?hemm, half of
// that for ?trmm/?trsm, n^2 k / 2 for ?syrk/?herk and n^2 k for
// ?syr2k/?her2k); below it the tier's
// routine is called once, directly. At this size one thread takes about a
// quarter of a millisecond (dgemm of order 128: 276 us on AMD EPYC), a
// hundred times what a team costs to start on idle cores; on busy cores a
// team waits for its slowest member (`bench_cblas_threads scan`).
inline constexpr double kTeamWork = 2.0e6;

}  // namespace tuned

}  // namespace zor::front
