// The constants of the CSR and COO kernels (and of the conversions and
// sums that share their scratch and prefetch rules), in two groups; those of
// the diagonal format, of CSR to CSC and of the block solves stand in
// dia_parameters.hpp, conversion_parameters.hpp and block_parameters.hpp, so
// that tuning one format recompiles only its own units.
//
// Fixed: row chunks, block sizes, thresholds and rules that are part of the
// kernels' behaviour (an order of work the results depend on, or the point
// where a path changes). Changing one changes what the exports do.
//
// Tuned: choices of this implementation that only move speed (prefetch
// distances, samples). Each names the benchmark run that chose it; re-run
// that benchmark before changing one.
#pragma once
#include <cstdint>

namespace zor::spblas {

namespace fixed {

// Row chunks of the CSR loops (rows R at a time, the last chunk taking the
// rest; an order of the loops only, but R belongs to the family):
//   solves with op n or s, part l                                kChunkLower
//   solves with op n or s, part u; sm with op t or c, part u;
//   sv with op t or c, part u, base 0                            kChunkUpper
//   sv with op t or c, part u, base 1                            kChunkLower
//   mv in c, z of the pairs cs, nh, th, base 0 (of the range)    kChunkComplexPairs
//   dcsrsymmvs                                                   kChunkSymmetricOneOff
inline constexpr int64_t kChunkLower = 10000;
inline constexpr int64_t kChunkUpper = 2000;
inline constexpr int64_t kChunkComplexPairs = 20000;
inline constexpr int64_t kChunkSymmetricOneOff = 30000;

// The cache rule of the base-1 general mm kernels (csr_mm_plan.hpp): work
// below kMmWorkLimit goes column by column, above it rows go in blocks of
// kMmBlockShare * kMmWorkLimit / (q A + p K). The weights (p, q) by kernel:
//   s 8, 12;  d and c 20, 12;  z, and c and z with op s, 36, 20.
inline constexpr int64_t kMmWorkLimit = 17000000;
inline constexpr double kMmBlockShare = 0.25;
template <char Letter, char Op>
struct MmWeights {
  static constexpr int p = Letter == 's' ? 8 : (Letter == 'z' || Op == 's') ? 36 : 20;
  static constexpr int q = (Letter == 'z' || Op == 's') ? 20 : 12;
};

// The scratch of the sm kernels and of the COO solves is aligned to this
// many bytes.
inline constexpr uint64_t kScratchAlignment = 128;

// The summing routines of symmetric copies take four elements at a time in
// registers from this many elements on.
inline constexpr int64_t kSplitFourFrom = 100;

}  // namespace fixed

namespace tuned {

// Entries between the product and the cursor that prefetches x[col] in the
// general mv and mm (column-major) products. Chosen with bench_spblas on the
// random 1e6 x 1e6 matrix of 10 entries a row (AMD EPYC, 2-core VM): 1.4 to
// 1.6 times a plain row loop, where 16 and 32 gave less and 128 no more.
inline constexpr int64_t kGatherAhead = 64;

// The test that turns the cursor on: pairs of neighbouring rows sampled at
// the start of the range, and the distance in x below which two reads count
// as one stream (four lines). Chosen with bench_spblas: the Laplacian's
// reads (1 and 1000 elements apart) stay streams, the random matrix's not.
inline constexpr int64_t kSampleRows = 16;
inline constexpr int64_t kNearBytes = 256;

// Entries ahead at which each row start touches the value and column
// streams. Chosen with bench_spblas on the 5-point Laplacian, where the
// product is bound by the streams: 0.85 to 0.92 of the bandwidth bound
// without, 0.94 to 1.0 with 128 or 256 (64 gave 0.90 to 0.97).
inline constexpr int64_t kStreamAhead = 128;

// Rows ahead whose dense-operand rows the row-major mm kernels touch.
// Chosen with bench_spblas, dcsr0ng__c__mmout_par with 8 columns.
inline constexpr int64_t kMmRowsAhead = 16;

}  // namespace tuned

}  // namespace zor::spblas
