// Constants of the GEMM engine, in two groups.
//
// fixed: what the system prescribes: buffer sizes and alignments callers size
// against, the points where a path changes, the block rules. Changing one
// changes results or a documented contract.
//
// tuned: choices made here for speed alone, each with the benchmark that
// chose it (bench/gemm/gemm_bench.cpp); changing one changes no result.
#pragma once
#include <cstdint>

#include "frame/traits.hpp"

namespace zor::gemm {

namespace fixed {

// Buffers of a descriptor: bytes added to each buffer, and the alignments
// (log2) of the panel buffers and of the duplication buffer. One pooled
// allocation holds them, itself at kBufsAlignment.
inline constexpr int64_t kBufferSlack = 4096;
inline constexpr int32_t kPanelAlignLog2 = 12;
inline constexpr int32_t kDupAlignLog2 = 7;
inline constexpr int32_t kBufsAlignment = 128;

// The plan chooser reads B in place when its block takes at most 4 MiB.
inline constexpr int64_t kInPlaceBBytesLimit = 0x400000;

// Row 1's row block follows the second-level cache: small when a level is
// known and it holds at most this many bytes (compared as signed 32-bit).
inline constexpr int32_t kSmallSecondLevelBytes = 0x300000;

// Depth blocks. Real rows (both) and the complex rows 0 and 1:
//   real: K below kDepthFull rounded up to the unroll and at least
//     kDepthFloor; kDepthFull < K < 2 kDepthFull split in halves; else
//     kDepthFull;
//   complex row 0: the precision's full block (BlockRule::k_complex) if it
//     divides K, else kDepthFloor if that does, else halves or the full block;
//   complex row 1: K below kDepthFull as for real; up to
//     kComplexRow1DepthSplit kDepthFloor, above kDepthFull.
inline constexpr int64_t kDepthFloor = 128;
inline constexpr int64_t kDepthFull = 256;
inline constexpr int64_t kComplexRow1DepthSplit = 1024;

// Per-precision constants of the block rules:
//                 block_m    block_n  block_m row 1      block_k, block_m numerator
//                 row 0      limit    small L2 / other   of the complex row 0 rule
template <class T> struct BlockRule;
template <> struct BlockRule<S> { static constexpr int64_t m0 = 1024, n_limit0 = 5000, m1_small = 1024, m1 = 2000, n_limit1 = 5000, k_complex = 0, m_numerator = 0; };
template <> struct BlockRule<D> { static constexpr int64_t m0 = 512, n_limit0 = 10000, m1_small = 448, m1 = 1000, n_limit1 = 10000, k_complex = 0, m_numerator = 0; };
template <> struct BlockRule<C> { static constexpr int64_t m0 = 0, n_limit0 = 5000, m1_small = 448, m1 = 1000, n_limit1 = 5000, k_complex = 256, m_numerator = 112640; };
template <> struct BlockRule<Z> { static constexpr int64_t m0 = 0, n_limit0 = 2000, m1_small = 256, m1 = 512, n_limit1 = 5000, k_complex = 224, m_numerator = 56320; };

// Request codes of the extended copies: kExtSplit splits a complex block into
// real, imaginary and sum panels; the complex rows' routine also answers 0 to
// kExtQuery, and 1 to anything else.
inline constexpr int32_t kExtSplit = 256;
inline constexpr int32_t kExtQuery = 4096;

// The working areas of the three-multiplication and real-by-complex products
// are aligned to this many bytes.
inline constexpr int32_t kAreaAlignLog2 = 7;
inline constexpr int32_t kAreaAlignment = 1 << kAreaAlignLog2;

// Three-multiplication products: below kGemm3mMin in any dimension the
// four-multiplication product runs; blocks of rows, columns and depth; each
// area of three panels adds kGemm3mAreaSlack bytes, the packed route's
// product arrays kGemm3mTColumnsSlack columns.
inline constexpr int64_t kGemm3mMin = 9;
inline constexpr int64_t kGemm3mBlockM = 1000, kGemm3mBlockN = 1000, kGemm3mBlockK = 128;
inline constexpr int64_t kGemm3mAreaSlack = 384;
inline constexpr int64_t kGemm3mTColumnsSlack = 4;

// Real-by-complex products: below kMixedMin in any dimension the direct
// loops run; blocks; the plain route is taken above kMixedPlainRows rows
// when K x N stays below kMixedPlainDepthCols. Its split arrays align to
// 4096 bytes with kMixedSplitSlack bytes of room.
inline constexpr int64_t kMixedMin = 4;
inline constexpr int64_t kMixedBlockM = 500, kMixedBlockN = 5000, kMixedBlockK = 128;
inline constexpr int64_t kMixedPlainRows = 1000000, kMixedPlainDepthCols = 16384;
inline constexpr int64_t kMixedSplitSlack = 8192;

}  // namespace fixed

namespace tuned {

// Row 1 forms the lane swaps of a column group's B once, into a stack buffer
// of this many depth steps (two vectors each: 16 KiB); deeper groups swap at
// every step, with the same results. A stack budget rather than a measured
// optimum: it covers twice the deepest block the block rules give (256).
inline constexpr int64_t kMaxSwapDepth = 512;

// The next column group's B is brought in during this many last tiles of the
// current group. Set, not yet tuned: on the loaded development machine the
// spread of bench/gemm/gemm_bench.cpp (dgemm and sgemm, n = 1000 and 2000,
// both rows) was wider than any difference this could make; tune it there.
inline constexpr int64_t kNextGroupTiles = 8;

}  // namespace tuned

}  // namespace zor::gemm
