// The constants of the copy and transposition routines, in two groups.
//
// Fixed: part of what the routines do (the base of the out-of-place
// recursion, whose blocks decide the order of the stores).
//
// Tuned: choices that only move speed. Each names the benchmark run that
// chose it; re-run bench_trans before changing one.
#pragma once
#include <cstdint>

namespace zor::trans {

namespace fixed {

// The out-of-place recursion cuts until both sides are at most kBase; a full
// kBase x kBase tile with unit strides is one register transposition.
inline constexpr uint64_t kBase = 4;

}  // namespace fixed

namespace tuned {

// The out-of-place recursion's line block: target rows of kLineBytes bytes,
// cuts above it on line boundaries; within it the lines of the block
// kPrefetchWidths block widths further along the source row are prefetched.
// Chosen with bench_trans, domatcopy 'T' 4096 x 4096: 1.5 GB/s bare, 3.5 with
// line blocks and prefetch, 3.8 to 5.3 with line-aligned cuts.
inline constexpr uint64_t kLineBytes = 64;
inline constexpr uint64_t kPrefetchWidths = 2;

// The in-place square transposition pairs 4 x 4 tiles within bands of
// kSquareBand rows and columns, so that both tiles of a pair come from lines
// still in cache. Chosen with bench_trans, dimatcopy 'T' 4096 x 4096.
inline constexpr uint64_t kSquareBand = 32;

// Positions between the in-place rectangular walk and its prefetching
// scout. Chosen with bench_trans, dimatcopy 'T' 3000 x 5000: 8 gave 0.47 s,
// 16 0.39 s, 32 to 96 0.32 to 0.34 s a call (thread time, before the ring).
inline constexpr int kWalkAhead = 32;

}  // namespace tuned

}  // namespace zor::trans
