// Constants of the vector and matrix-vector kernels, in two groups.
//
// fixed: what the system prescribes. Main steps and ladders, fill
// thresholds and buffer sizes decide orders of summation and rounding, so
// they are behaviour: changing one changes results or a documented contract.
//
// tuned: choices made here for speed alone, each with the benchmark that
// chose it (bench/blas/...); changing one changes no result.
//
// Every family keeps one such header (its name: <family>/parameters.hpp).
#pragma once
#include <cstdint>

namespace zor::blas {

namespace fixed {

// Main steps of the unit-stride skeleton, in 16-byte vectors; the ladder
// below each runs halves of it down to one vector. The double-complex
// entries with two kernels name the second kernel's step apart.
struct Steps {
  int s, d, c, z;
};
//                          s   d   c   z
inline constexpr Steps kAxpy{16, 32, 16, 8};
inline constexpr Steps kAxpby{16, 8, 8, 8};
inline constexpr Steps kScal{8, 16, 16, 16};
inline constexpr Steps kCopySwap{8, 16, 8, 16};  // c, z: the real kernels on 2n reals
inline constexpr Steps kRot{8, 4, 8, 4};         // c, z with real c and s
inline constexpr int kRotComplexS = 4;           // c, z with complex s
inline constexpr int kRotm[2] = {8, 4};          // s, d
inline constexpr int kAxpyZSecond = 16, kAxpbyZSecond = 16, kScalZSecond = 16;
// The modified rotation takes its vector path from this many elements on:
// a positive flag, another flag.
inline constexpr int64_t kRotmVectorFromPositive = 8, kRotmVectorFromOther = 2;

// Dot products: main step in vectors, same phase / shift-merged phase.
inline constexpr int kDdotMain = 16, kSdotMain = 8;
inline constexpr int kCdotMainSamePhase = 16, kCdotMainOtherPhase = 8;
inline constexpr int kZdotMainSamePhase = 16, kZdotMainOtherPhase = 8, kZdotSecondStep = 8;
// Widening dots: elements a pass of the paired path.
inline constexpr int kWideningPass = 8;

// The micro-architecture answer that selects the second double-complex kernels.
inline constexpr int32_t kSecondKernelAnswer = 33;

// gemv: the byte fill of a zero beta with unit stride from this many
// elements on (double 13, single 25); below, and for other betas, vectors
// from 8 elements on.
inline constexpr int kFillFromDouble = 13, kFillFromSingle = 25;
inline constexpr int kScaleVectorFrom = 8;
// gemv: the packing buffers of the strided path, in elements: column block
// and row chunk (the transposed sums are added to y one chunk at a time).
inline constexpr int64_t kColumnBlock = 128, kRowChunk = 1000;
// gemv: strided gathers and scatters, elements a pass.
inline constexpr int kGatherPass = 8;
// dzgemv, scgemv: below this many rows or columns the direct pass; the
// scratch vectors' alignment.
inline constexpr int64_t kMixedDirectBelow = 4;
inline constexpr int32_t kMixedScratchAlignment = 128;

// Triangular products and solves: the diagonal block of ?trsv and of
// x?trmv (and its slices); everything off it goes through gemv.
inline constexpr int64_t kSolveBlock = 32, kProductBlock = 64;
// Complex triangular band routines: the order and width thresholds that
// choose between the general inner form and the dot-based one.
inline constexpr int64_t kBandSmall = 64, kBandMiddle = 256, kBandLarge = 1001, kBandWide = 500;

// Modified-Givens set-up: gam and gamsq, and their reciprocals as the
// decimal constants they are (not exact powers of two).
template <class R> struct Rotmg;
template <> struct Rotmg<double> {
  static constexpr double gam = 4096.0, gamsq = 16777216.0, rgamsq = 5.960464477539e-08, rgam = 0.000244140625;
};
template <> struct Rotmg<float> {
  static constexpr float gam = 4096.0f, gamsq = 16777216.0f, rgamsq = 5.960464477539063e-08f, rgam = 2.44141e-04f;
};

}  // namespace fixed

namespace tuned {

// Unit-stride skeleton: vectors loaded before any is stored, per group
// (bench/blas/level1_bench.cpp, daxpy and dcopy rows at n = 1e3).
inline constexpr int kLoadGroup = 4;
// Streams of at least kLongStream bytes are taken to come from memory, and
// the hints below are given for them only; shorter ones are likely in a
// cache, where a hint costs a load slot and gains nothing (dasum at n = 1e5:
// a fifth of the time).
inline constexpr int64_t kLongStream = int64_t(8) << 20;
// dasum's unit-stride loop asks for the next aligned chunk of kChunk bytes
// while it reads the current one, as kChunkStreams interleaved walks that
// each cover a part of the chunk: one line of each a pass of 16 vectors
// (bench/blas/level1_bench.cpp, dasum at n = 1e7: one walk a page ahead ran
// at 0.57-0.68 of the triad, four walks over the next 64 KiB at 0.88-1.07;
// 32 KiB and 128 KiB alike, two walks less).
inline constexpr int64_t kChunk = 65536, kChunkStreams = 4;
// The skeleton's scaling and axpy loops ask, once a group, for the line
// kAhead bytes on in each stream they read (bench/blas/level1_bench.cpp,
// zaxpy at n = 1e7: 1.03-1.24 of the triad without, 1.08-1.36 at 512 or
// 1024 bytes, less at 256 and 2048; dscal alike or slightly ahead).
inline constexpr int64_t kAhead = 1024;
// i?amax, i?amin: vectors of magnitudes a block; a block is one compare
// against the best and, rarely, a new best (bench/blas/level1_bench.cpp,
// the i?amax rows at n = 1e3 and 1e5).
inline constexpr int64_t kExtremeBlock = 32;
// ?ger: columns of at most this many rows are updated in the routine, not by
// a call of x?axpy each (bench/lapack, dgetc2 at n = 16; bench/blas/
// level2_bench.cpp, dger).
inline constexpr int64_t kGerInlineRows = 64;
// ?ger, those short columns: this many a pass over x, the rest singly
// (bench/lapack, dgetc2 at n = 16: 1.64 -> 1.44 us; pairs after the
// groups, 1.49).
inline constexpr int kGerShortColumns = 4;
// ?ger, longer columns: this many a pass over x (bench/blas/level2_bench.cpp,
// dger at n = 4000).
inline constexpr int kGerColumns = 8;

// ?gbmv 'N', unit strides: the columns whose band is cut at neither end go
// this many a pass over y (bench/blas/level2_bench.cpp, dgbmv k = 16).
// The same in the real triangular band routines' whole columns, 'N' and
// transposed (bench/blas/level2_bench.cpp, dtbmv and dtbsv k = 16).
inline constexpr int kBandGroup = 4;
// ?gbmv and the triangular band products 'N': groups whose factors are
// formed before a run of them.
inline constexpr int64_t kBandRun = 16;

}  // namespace tuned

}  // namespace zor::blas
