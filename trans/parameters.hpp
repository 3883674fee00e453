// The constants of the copy and transposition routines.
#pragma once

namespace zor::trans {

// ---- Tuned here: speed only.

// Positions between the in-place walk and its prefetching scout. Chosen with
// bench_trans, dimatcopy 'T' on 3000 x 5000 (AMD EPYC, 2-core VM).
constexpr int kWalkAhead = 32;

}  // namespace zor::trans
