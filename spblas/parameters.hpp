// The constants of the sparse family.
#pragma once
#include <cstdint>

namespace zor::spblas {

// ---- Fixed by the family: changing one changes results or the documented
// order of work.

// ---- Tuned here: speed only, the results do not depend on them.

// Entries between the product and the cursor that prefetches x[col] in the
// general mv and mm (column-major) products; the column numbers themselves
// kIndexAhead entries further. Chosen with bench_spblas on the random 1e6 x 1e6
// matrix of 10 entries a row (AMD EPYC, 2-core VM).
constexpr int64_t kGatherAhead = 64;
constexpr int64_t kIndexAhead = 128;
// The test that turns the cursor on: pairs of neighbouring rows sampled, and
// the distance in x below which two reads count as one stream.
constexpr int64_t kSampleRows = 16;
constexpr int64_t kNearBytes = 256;

}  // namespace zor::spblas
