// Written-out schoolbook products: a first row, then addmul rows, every loop
// with constant bounds so that each is straight code. The ladder's squares
// up to 9 limbs and the smallest Karatsuba products are made of them.
#pragma once
#include "gmp/limbs.hpp"

namespace zor::gmp {

template <int AN, int BN>
__attribute__((noinline)) void mul_fixed(limb *r, const limb *a, const limb *b) {
  limb c = 0;
#pragma GCC unroll 16
  for (int i = 0; i < AN; ++i) mul_step(r + i, a + i, b[0], c);
  r[AN] = c;
#pragma GCC unroll 16
  for (int j = 1; j < BN; ++j) {
    c = 0;
#pragma GCC unroll 16
    for (int i = 0; i < AN; ++i) addmul_step(r + i + j, a + i, b[j], c);
    r[AN + j] = c;
  }
}

}  // namespace zor::gmp
