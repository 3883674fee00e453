// The floating-point transform product of two n-limb numbers, the ladder's
// rung from 8193 to 32768 limbs.
//
// Each limb is cut into four 16-bit digits, each a double; the 4n digits of
// an operand stand at the head of L doubles, the rest zero, where L is the
// first power of two at or above 8n (the length of the product in digits, so
// the cyclic convolution does not wrap). Both lines go through the real
// power-of-two transform of the Fourier family (perm layout), are multiplied
// point by point, and come back through its inverse, which divides by L.
// Each value is rounded to the nearest integer and the carries pass from
// digit to digit, four digits to a limb.
//
// Digits are balanced, -2^15 to 2^15 - 1 (the top one 0 to 2^16), a borrow
// carried into the next: the digit sums of the product then stay below
// 2^47 at 32768 limbs, and the rounding error of the transform, which grows
// with the size of the digits, stays far from one half (all-ones operands,
// the worst case of plain digits, become -1, 0, ..., 0, 2^16).
#pragma once
#include <zor/dft_records.h>

#include "gmp/limbs.hpp"

namespace zor::gmp::transform {

// The order of the transform for n limbs: 2^order >= 8n.
int order_for(len n);

// Bytes of the one block the product works in: two lines of 2^order doubles
// and the transform's workspace of work_bytes, each 32-byte aligned, from
// any 8-byte-aligned start.
size_t block_bytes(int order, int32_t work_bytes);

// r (2n limbs) := a b through a real power-of-two plan of order_for(n)
// (a == b transforms once), in a block of block_bytes.
// Returns the largest distance of a value of the inverse from its integer,
// the margin left to the rounding.
double product(limb *r, const limb *a, const limb *b, len n, const DftPlan *plan, void *block);

}  // namespace zor::gmp::transform
