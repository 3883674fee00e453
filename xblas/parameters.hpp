// Constants of the extended-precision products.
//
// fixed: what the arithmetic prescribes; changing one changes results.
// tuned: none. The kernels have no blocking, peeling or packing: the only
// device for speed is the pair of results per register, which is fixed
// because it is part of how every result is formed (a lane does exactly the
// work of a lone result).
#pragma once

namespace zor::xblas::fixed {

// The factor of the split of a double into two halves of 26 bits whose
// products are exact: 2^27 + 1.
inline constexpr double kSplitFactor = 134217729.0;

// Results taken together, one in each lane of a register, when neither
// increment is 0.
inline constexpr int kLanes = 2;

}  // namespace zor::xblas::fixed
