// The multiplication ladder and the unbalanced product.
//
//   mul_n, by n:  1..9 schoolbook; 10..200 Karatsuba; 201..8192 three-way
//                 Toom; 8193..32768 the floating-point transform
//                 (transform.hpp); above, Karatsuba whose halves come back
//                 to the ladder.
//   mul:          bn = 0 clears an limbs; an + bn < 18 schoolbook; an = bn
//                 the ladder; otherwise chunks of bn limbs of a, each a
//                 balanced product, and a last short chunk by recursion with
//                 the operands exchanged.
//
// The schoolbook product writes out the sizes up to 4 by 4, and the squares
// to 9 by 9; the others take a first row of 128-bit products and then one
// addmul row per limb of b.
#include "dft/plan.hpp"
#include "gmp/limbs.hpp"
#include "gmp/mul_fixed.hpp"
#include "gmp/parameters.hpp"
#include "gmp/transform.hpp"

namespace zor::gmp {
namespace {

using FixedProduct = void (*)(limb *, const limb *, const limb *);
// By (an - 1) * 4 + (bn - 1), bn <= an <= 4.
constexpr FixedProduct kFixed[16] = {
    mul_fixed<1, 1>, nullptr,         nullptr,         nullptr,
    mul_fixed<2, 1>, mul_fixed<2, 2>, nullptr,         nullptr,
    mul_fixed<3, 1>, mul_fixed<3, 2>, mul_fixed<3, 3>, nullptr,
    mul_fixed<4, 1>, mul_fixed<4, 2>, mul_fixed<4, 3>, mul_fixed<4, 4>};
// The ladder's squares of 5 to 9 limbs, which are the leaves of every
// Karatsuba product, written out as well.
constexpr FixedProduct kFixedSquare[5] = {mul_fixed<5, 5>, mul_fixed<6, 6>, mul_fixed<7, 7>, mul_fixed<8, 8>,
                                          mul_fixed<9, 9>};

// The transform rung. Each product makes its real plan, runs it (two
// forward transforms and one inverse) and frees it: nothing outlives the
// call. The digit lines and the plan's workspace are one block from the
// allocate hook (a null there ends the process, as every hook block
// outside Karatsuba does). The plan itself needs the plain allocator;
// when that fails, Toom makes the product instead.
void mul_transform(limb *r, const limb *a, const limb *b, len n) {
  int order = transform::order_for(n);
  DftPlan *plan = nullptr;
  if (dft::real_pow2_create<double>(&plan, order) != DFT_PLAN_OK) return mul_toom3(r, a, b, n);
  int32_t work = 0;
  dft::plan_work_size(plan, &work);
  size_t bytes = transform::block_bytes(order, work);
  void *block = allocate(bytes);
  transform::product(r, a, b, n, plan, block);
  release(block, bytes);
  dft::plan_destroy(plan);
}

}  // namespace

void mul_basecase(limb *r, const limb *a, len an, const limb *b, len bn) {
  if (an < bn) {
    std::swap(a, b);
    std::swap(an, bn);
  }
  if (bn <= 0) return;
  if (an <= 4) return kFixed[(an - 1) * 4 + (bn - 1)](r, a, b);
  r[an] = mul_1(r, a, an, b[0]);
  for (len j = 1; j < bn; ++j) r[an + j] = addmul_1(r + j, a, an, b[j]);
}

void mul_n(limb *r, const limb *a, const limb *b, len n) {
  if (n <= 0) return;
  if (n <= fixed::kMulBasecaseMax) return n > 4 ? kFixedSquare[n - 5](r, a, b) : kFixed[(n - 1) * 5](r, a, b);
  if (n <= fixed::kMulKaratsubaMax) return mul_karatsuba(r, a, b, n);
  if (n <= fixed::kMulToom3Max) return mul_toom3(r, a, b, n);
  if (n <= fixed::kMulTransformMax) return mul_transform(r, a, b, n);
  mul_karatsuba(r, a, b, n);
}

limb mul(limb *r, const limb *a, len an, const limb *b, len bn) {
  if (bn <= 0) {
    zero(r, an);
    return 0;
  }
  if (an + bn < fixed::kMulUnbalancedBasecase) {
    mul_basecase(r, a, an, b, bn);
  } else if (an == bn) {
    mul_n(r, a, b, an);
  } else {
    // Chunks i = 0, 2, 4, ... of a times b go straight to r at i bn; the odd
    // ones to the block at (i - 1) bn, which is then added to r at bn.
    len chunks = an / bn, rest = an - chunks * bn, total = an + bn;
    len odd_end = 0;
    for (len i = 0; i < chunks; i += 2) mul_n(r + i * bn, a + i * bn, b, bn);
    len written = (chunks % 2 ? chunks + 1 : chunks) * bn;
    zero(r + written, total - written);
    if (chunks > 1) {
      Scratch block(an);
      for (len i = 1; i < chunks; i += 2) {
        mul_n(block + (i - 1) * bn, a + i * bn, b, bn);
        odd_end = (i + 1) * bn;
      }
      limb c = add_n(r + bn, r + bn, block, odd_end);
      if (c) incr(r + bn + odd_end, c);
    }
    if (rest > 0) {
      // b by the short last chunk: exchanged, so that the longer one leads.
      Scratch last(bn + rest);
      mul(last, b, bn, a + chunks * bn, rest);
      limb c = add_n(r + chunks * bn, r + chunks * bn, last, bn + rest);
      (void)c;  // the product fits in an + bn limbs
    }
  }
  return r[an + bn - 1];
}

}  // namespace zor::gmp

using namespace zor::gmp;

ZOR_API void zor_gmp___gmpn_mul_n(limb *r, const limb *a, const limb *b, int32_t n) { mul_n(r, a, b, n); }
ZOR_API limb zor_gmp___gmpn_mul(limb *r, const limb *a, int32_t an, const limb *b, int32_t bn) {
  return mul(r, a, an, b, bn);
}
ZOR_API void zor_gmp_mpn_mul_basecase(limb *r, const limb *a, int32_t an, const limb *b, int32_t bn) {
  mul_basecase(r, a, an, b, bn);
}
