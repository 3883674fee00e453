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


// ---- symmetric, Hermitian and triangular operations over the engine
//
// Symmetric multiply: one pooled buffer of kSymmBufferBytes (at
// kSymmBufferAlignment) holds a diagonal block of A expanded to a dense
// square; the long side of C goes in slices of kSymmSlice. Hermitian multiply
// and the rank-2k updates use a kStackBlock square array on the stack instead.
inline constexpr uint64_t kSymmBufferBytes = 0x80000;
inline constexpr int32_t kSymmBufferAlignment = 64;
inline constexpr int64_t kSymmSlice = 5000;
inline constexpr int64_t kStackBlock = 128;

// Rank-k updates: order 4 has its own kernel (d) or the direct kernel; the
// five-way split from kSyrkFiveWay, the small driver's split from
// kSyrkSmallSplit; block orders are multiples of kSyrkBlockMultiple. The
// direct kernel walks the triangle in squares of kPstBlock and stages a
// square's columns on the stack, kPstStageBytes at a time: depth blocks of
// 72 in d and c, 144 in s, 36 in z.
inline constexpr int64_t kSyrkOrder4 = 4;
inline constexpr int64_t kSyrkFiveWay = 20;
inline constexpr int64_t kSyrkSmallSplit = 12;
inline constexpr int64_t kSyrkBlockMultiple = 4;
inline constexpr int64_t kPstBlock = 32;
inline constexpr int64_t kPstStageBytes = 18432;
// Single precision's second stage: blocks of 16 and more are cut into
// blocks of kSyrkSecondBlock.
inline constexpr int64_t kSyrkSecondStage = 16;
inline constexpr int64_t kSyrkSecondBlock = 8;

// Triangular multiply: diagonal blocks of kTriDepth; below kTrmmDirectBelow
// columns (right side) the direct kernel does all of B, and a diagonal block
// below kTrmmBlockDirectBelow is done by it alone. Left side: B's columns in
// chunks of kTrmmLeftChunk, rows split off by kTrmmSplitLarge (from
// kTrmmSplitLarge + 1 rows) or kTrmmLeaf, the packed kernel at kTrmmLeaf rows
// and below. Left side's descriptor blocks: row block, kTrmmLeftChunk,
// kTriDepth.
inline constexpr int64_t kTriDepth = 128;
inline constexpr int64_t kTrmmDirectBelow = 9;
inline constexpr int64_t kTrmmBlockDirectBelow = 5;
inline constexpr int64_t kTrmmLeftChunk = 1000;
inline constexpr int64_t kTrmmSplitLarge = 128;
inline constexpr int64_t kTrmmLeaf = 64;

// Triangular solve: two pooled buffers at kTrsmAlignment, the leaf's (a
// kTrsmLeaf square of A and its inverse diagonal) and the packed solved
// rows'; diagonal blocks kTriDepth (d: kTrsmWideDepth when the order is at
// least kTrsmWideFrom) above leaves of kTrsmLeaf. Left side: B's columns in
// chunks of kTrsmLeftChunk, kTrsmLeftChunkSmall below kTrsmLeftSmallRows rows.
inline constexpr int32_t kTrsmAlignment = 128;
inline constexpr int64_t kTrsmLeaf = 32;
inline constexpr int64_t kTrsmWideDepth = 256;
inline constexpr int64_t kTrsmWideFrom = 2000;
inline constexpr int64_t kTrsmLeftChunk = 1000;
inline constexpr int64_t kTrsmLeftChunkSmall = 512;
inline constexpr int64_t kTrsmLeftSmallRows = 500;

// Packed triangular multiply: below kPtrmmDirectBelow rows or columns the
// direct kernel; a pooled buffer of kPtrmmBufferBytes (at kTrsmAlignment)
// takes the dense copies of diagonal blocks of kTriDepth and of rectangles in
// chunks of kPtrmmChunk; the left side above kPtrmmLargeRows rows uses a
// descriptor of its own and the blocked driver directly.
inline constexpr int64_t kPtrmmDirectBelow = 4;
inline constexpr uint64_t kPtrmmBufferBytes = 0xfa000;
inline constexpr int64_t kPtrmmChunk = 1000;
inline constexpr int64_t kPtrmmLargeRows = 1024;

// Per precision: the symmetric multiply's diagonal block (a square of 256
// fits the buffer in s, d and c; z takes 128); the row block of the
// triangular multiply's right side; the solve's row block on the earlier and
// the later processor generation, the bytes of its packed-rows buffer (the
// leaf's is kTrsmLeaf^2 + kTrsmLeaf elements), whether it takes the optimal
// kernel row (else row 0) and whether its diagonal block widens to
// kTrsmWideDepth.
template <class T> struct Level3Rule;
template <> struct Level3Rule<S> { static constexpr int64_t symm_block = 256, trmm_rows = 512, trsm_rows0 = 1024, trsm_rows1 = 1024; static constexpr uint64_t trsm_bytes = 524288; static constexpr bool trsm_optimal_row = false, trsm_wide = false; };
template <> struct Level3Rule<D> { static constexpr int64_t symm_block = 256, trmm_rows = 512, trsm_rows0 = 512, trsm_rows1 = 1000; static constexpr uint64_t trsm_bytes = 8000000; static constexpr bool trsm_optimal_row = true, trsm_wide = true; };
template <> struct Level3Rule<C> { static constexpr int64_t symm_block = 256, trmm_rows = 192, trsm_rows0 = 192, trsm_rows1 = 192; static constexpr uint64_t trsm_bytes = 196608; static constexpr bool trsm_optimal_row = false, trsm_wide = false; };
template <> struct Level3Rule<Z> { static constexpr int64_t symm_block = 128, trmm_rows = 192, trsm_rows0 = 192, trsm_rows1 = 192; static constexpr uint64_t trsm_bytes = 393216; static constexpr bool trsm_optimal_row = false, trsm_wide = false; };

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
