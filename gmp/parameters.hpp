// Constants of the integer family, in two groups.
//
// fixed: what the system prescribes: the points where a path changes (the
// multiplication ladder, the switch to the recursive division, the frame or
// the hook for scratch). They are behaviour, down to which memory a routine
// takes and whether a failing hook is survived.
//
// tuned: choices made here for speed alone, each with the benchmark that
// chose it (bench/gmp); changing one changes no result.
#pragma once
#include <cstdint>

namespace zor::gmp {

namespace fixed {

// The multiplication ladder of mul_n, by the equal length n:
//   1..9 schoolbook, 10..200 Karatsuba, 201..8192 three-way Toom,
//   8193..32768 the floating-point transform, above Karatsuba over the
//   ladder.
inline constexpr int32_t kMulBasecaseMax = 9;
inline constexpr int32_t kMulKaratsubaMax = 200;
inline constexpr int32_t kMulToom3Max = 8192;
inline constexpr int32_t kMulTransformMax = 32768;

// Karatsuba's 4h limbs of scratch lie in the frame up to this many limbs,
// else come from the allocate hook (whose null it tolerates). Toom's
// 18k + 18 limbs always come from the hook: k >= 67 on its range.
inline constexpr int32_t kKaratsubaFrameLimbs = 256;

// mul: an + bn below this goes to the schoolbook product whatever the shape.
inline constexpr int32_t kMulUnbalancedBasecase = 18;

// Division of integers: divisors from this many limbs go to the recursive
// division, below it to long division.
inline constexpr int32_t kDivRecMin = 33;

// The recursive division pads the divisor to 2^p blocks, with 2^p the first
// power of two from 2 at which kDivRecBlockRatio 2^p exceeds its length.
inline constexpr int32_t kDivRecBlockRatio = 16;

// Montgomery powers take moduli up to this many limbs; longer ones go to
// the 4-bit window product by mul and mod.
inline constexpr int32_t kPowmMontgomeryMaxLimbs = 30;

}  // namespace fixed

namespace tuned {

// The recursive division's windows of at most this many quotient limbs are
// done by long division (bench_gmp, tdiv_q of 2n by n limbs).
inline constexpr int32_t kDivRecLeafLimbs = 16;

}  // namespace tuned

}  // namespace zor::gmp
