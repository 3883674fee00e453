// The constants of the sparse family.
#pragma once
#include <cstdint>

namespace zor::spblas {

// ---- Fixed by the family: changing one changes results or the documented
// order of work.

// ---- Tuned here: speed only, the results do not depend on them.

// Entries between the product and the cursor that prefetches x[col] in the
// general mv and mm (column-major) products. Chosen with bench_spblas on the
// random 1e6 x 1e6 matrix of 10 entries a row (AMD EPYC, 2-core VM): 1.4 to
// 1.6 times a plain row loop, where 16 and 32 gave less and 128 no more.
constexpr int64_t kGatherAhead = 64;
// Entries ahead at which each row start touches the value and column
// streams. Chosen on the 5-point Laplacian, where the product is bound by
// the streams: 0.85 to 0.92 of the bandwidth bound without, 0.94 to 1.0
// with 128 or 256 (64 gave 0.90 to 0.97).
constexpr int64_t kStreamAhead = 128;
// The test that turns the cursor on: pairs of neighbouring rows sampled, and
// the distance in x below which two reads count as one stream.
constexpr int64_t kSampleRows = 16;
constexpr int64_t kNearBytes = 256;

}  // namespace zor::spblas
