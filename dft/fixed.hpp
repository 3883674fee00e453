// Fixed-length kernels of the powers of two: straight-line transforms up to
// 32 points, and radix-8 decimation in time above, from 64 to 1024 points.
//
// Above 32 points a transform of N = 8 m points runs its eight m-point
// halves-of-halves into a buffer (the output, or the workspace when in and out
// are the same array) and joins them by one radix-8 pass. The pass turns
// butterfly k and butterfly m - k with the same row of twiddles: for m - k the
// factors are the conjugates times w_8^j, and w_8^j only moves the outputs of
// the butterfly round by one place. So a table of n / 16 - 1 rows of seven
// twiddles serves every level of a transform of n points: the row of
// butterfly k at level N is (n / N) k - 1, entry j is w_n^(row+1)j, held as
// the pairs [c, c] and [-s, -s]. The 64- and 128-point kernels read a
// constant table; 256, 512 and 1024 read a table built at commit.
#pragma once
#include <cstdint>

#include "dft/cvec.hpp"

namespace zor::dft {

// Bytes of the table of n points (n = 256, 512, 1024), and its filling.
int64_t fixed_table_bytes(int64_t n);
void fixed_table_fill(void *table, int64_t n);

// The kernel of n points (2 to 1024), one direction. rows: the table of n
// points, or null below 256. buffer: n complex values, used when in == out
// (null: a buffer on the stack, up to 128 points).
template <class R>
using FixedKernel = void (*)(const cplx<R> *in, cplx<R> *out, const void *rows, cplx<R> *buffer);
template <class R> FixedKernel<R> fixed_kernel(int64_t n, bool forward);

}  // namespace zor::dft
