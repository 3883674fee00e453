// One-limb products, the carry loops as exports, the two-limb helpers and
// the bit scans.
//
// The one-limb products are the inner loop of every schoolbook product and
// division: one 64 x 64 -> 128-bit multiply per limb (mul), and add/adc
// pairs that keep the carry limb's chain at two instructions a limb; four
// limbs a pass through pointers, which lets the compiler keep everything in
// registers (the same loop over __int128 sums spills and runs 1.5x slower).
#include "gmp/limbs.hpp"

namespace zor::gmp {
namespace {

// Four limbs a pass by pointer, then the rest.
template <void (*Step)(limb *, const limb *, limb, limb &)>
inline limb one_limb_product(limb *r, const limb *a, len n, limb b) {
  limb c = 0;
  const limb *end4 = a + (n & ~3), *end = a + (n > 0 ? n : 0);
  while (a != end4) {
    Step(r, a, b, c);
    Step(r + 1, a + 1, b, c);
    Step(r + 2, a + 2, b, c);
    Step(r + 3, a + 3, b, c);
    a += 4;
    r += 4;
  }
  while (a != end) Step(r++, a++, b, c);
  return c;
}

}  // namespace

limb mul_1(limb *r, const limb *a, len n, limb b) { return one_limb_product<mul_step>(r, a, n, b); }
limb addmul_1(limb *r, const limb *a, len n, limb b) { return one_limb_product<addmul_step>(r, a, n, b); }
limb submul_1(limb *r, const limb *a, len n, limb b) { return one_limb_product<submul_step>(r, a, n, b); }

}  // namespace zor::gmp

using namespace zor::gmp;

ZOR_API limb zor_gmp___gmpn_add_n(limb *r, const limb *a, const limb *b, int32_t n) { return add_n(r, a, b, n); }
ZOR_API limb zor_gmp___gmpn_sub_n(limb *r, const limb *a, const limb *b, int32_t n) { return sub_n(r, a, b, n); }
ZOR_API limb zor_gmp___gmpn_add_1(limb *r, const limb *a, int32_t n, limb b) { return add_1(r, a, n, b); }
ZOR_API limb zor_gmp___gmpn_sub_1(limb *r, const limb *a, int32_t n, limb b) { return sub_1(r, a, n, b); }
ZOR_API limb zor_gmp___gmpn_addmul_1(limb *r, const limb *a, int32_t n, limb b) { return addmul_1(r, a, n, b); }
ZOR_API limb zor_gmp___gmpn_submul_1(limb *r, const limb *a, int32_t n, limb b) { return submul_1(r, a, n, b); }
ZOR_API int zor_gmp___gmpn_cmp(const limb *a, const limb *b, int32_t n) { return cmp(a, b, n); }
ZOR_API void zor_gmp_mpn_incr_u(limb *p, limb b) { incr(p, b); }

ZOR_API void zor_gmp_mpl_add_ssaaaa(limb *h, limb *l, limb ah, limb al, limb bh, limb bl) {
  dlimb s = ((dlimb(ah) << 64) | al) + ((dlimb(bh) << 64) | bl);
  *h = hi(s);
  *l = limb(s);
}

ZOR_API limb zor_gmp_mpl_umul_ppmm(limb *h, limb a, limb b) {
  dlimb p = dlimb(a) * b;
  *h = hi(p);
  return limb(p);
}

namespace {

constexpr uint32_t kNone = 0xFFFFFFFFu;

// First set bit at or after start in the limbs p[0..n) xor'ed with flip.
uint32_t scan(const limb *p, int32_t n, uint32_t start, limb flip) {
  uint32_t i = start / 64;
  if (n <= 0 || i >= uint32_t(n)) return kNone;
  limb x = (p[i] ^ flip) & (~limb(0) << (start % 64));
  while (x == 0) {
    if (++i >= uint32_t(n)) return kNone;
    x = p[i] ^ flip;
  }
  return i * 64 + uint32_t(ctz(x));
}

}  // namespace

ZOR_API uint32_t zor_gmp_zor_gmp_scan1(const limb *p, int32_t n, uint32_t start) { return scan(p, n, start, 0); }
ZOR_API uint32_t zor_gmp_zor_gmp_scan0(const limb *p, int32_t n, uint32_t start) { return scan(p, n, start, ~limb(0)); }
