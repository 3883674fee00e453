// Bit operations on the two's complement view of integers: a negative z
// reads as ...111 followed by the bits of 2^N - |z|. From the lowest
// non-zero limb of |z| up, its limbs are negated, then complemented.
#include "gmp/integer.hpp"

using namespace zor::gmp;

namespace {

constexpr uint64_t kNone = ~uint64_t(0);

// Index of the lowest non-zero limb of a non-zero z.
len lowest_limb(const mpz *z) {
  len i = 0;
  while (z->limbs[i] == 0) ++i;
  return i;
}

// Limb i of the two's complement view of z; low is lowest_limb(z) when z < 0.
limb view_limb(const mpz *z, len i, len low) {
  const len n = size_of(z);
  if (z->size >= 0) return i < n ? z->limbs[i] : 0;
  if (i >= n) return ~limb(0);
  if (i < low) return 0;
  return i == low ? 0 - z->limbs[i] : ~z->limbs[i];
}

enum class Op { and_, ior, xor_ };

void logical(mpz *r, const mpz *a, const mpz *b, Op op) {
  const len n = std::max(size_of(a), size_of(b)) + 1;
  const len la = a->size < 0 ? lowest_limb(a) : 0, lb = b->size < 0 ? lowest_limb(b) : 0;
  Scratch t(n);
  for (len i = 0; i < n; ++i) {
    limb x = view_limb(a, i, la), y = view_limb(b, i, lb);
    t[i] = op == Op::and_ ? x & y : op == Op::ior ? x | y : x ^ y;
  }
  const bool negative = t[n - 1] >> 63;
  if (negative) {  // back to the magnitude
    for (len i = 0; i < n; ++i) t[i] = ~t[i];
    add_1(t, t, n, 1);
  }
  copy(grow(r, n), t, n);
  set_size(r, n, negative);
}

uint64_t popcount_limbs(const limb *p, len n) {
  uint64_t c = 0;
  for (len i = 0; i < n; ++i) c += uint64_t(__builtin_popcountll(p[i]));
  return c;
}

// First bit equal to `one` at or after start in the view of z.
uint64_t scan(const mpz *z, uint64_t start, bool one) {
  const len n = size_of(z);
  const limb flip = one ? 0 : ~limb(0);
  const len low = z->size < 0 ? lowest_limb(z) : 0;
  // Past the limbs the view repeats its sign: 0s for z >= 0, 1s for z < 0.
  const bool beyond_matches = (z->size < 0) == one;
  uint64_t i = start / 64;
  if (i >= uint64_t(n)) return beyond_matches ? start : kNone;
  limb x = (view_limb(z, len(i), low) ^ flip) & (~limb(0) << (start % 64));
  while (x == 0) {
    if (++i >= uint64_t(n)) return beyond_matches ? uint64_t(n) * 64 : kNone;
    x = view_limb(z, len(i), low) ^ flip;
  }
  return i * 64 + uint64_t(ctz(x));
}

// z := z + sign 2^bit.
void add_power(mpz *z, uint64_t bit, bool subtract) {
  const len n = len(bit / 64) + 1;
  Scratch p(n);
  zero(p, n);
  p[n - 1] = limb(1) << (bit % 64);
  mpz power = view(p, n);
  if (subtract)
    zor_gmp___gmpz_sub(z, z, &power);
  else
    zor_gmp___gmpz_add(z, z, &power);
}

}  // namespace

ZOR_API void zor_gmp___gmpz_and(mpz *r, const mpz *a, const mpz *b) { logical(r, a, b, Op::and_); }
ZOR_API void zor_gmp___gmpz_ior(mpz *r, const mpz *a, const mpz *b) { logical(r, a, b, Op::ior); }
ZOR_API void zor_gmp___gmpz_xor(mpz *r, const mpz *a, const mpz *b) { logical(r, a, b, Op::xor_); }

// ~a = -a - 1
ZOR_API void zor_gmp___gmpz_com(mpz *r, const mpz *a) {
  zor_gmp___gmpz_add_ui(r, a, 1);
  r->size = -r->size;
}

ZOR_API int zor_gmp___gmpz_tstbit(const mpz *z, uint64_t bit) {
  const len n = size_of(z);
  const uint64_t i = bit / 64;
  if (i >= uint64_t(n)) return z->size < 0;
  return int(view_limb(z, len(i), z->size < 0 ? lowest_limb(z) : 0) >> (bit % 64) & 1);
}

// Setting a clear bit adds its power, clearing a set one subtracts it.
ZOR_API void zor_gmp___gmpz_setbit(mpz *z, uint64_t bit) {
  if (zor_gmp___gmpz_tstbit(z, bit)) return;
  if (z->size >= 0) {
    const len i = len(bit / 64), n = size_of(z);
    limb *p = grow(z, i + 1);
    if (i >= n) zero(p + n, i + 1 - n);
    p[i] |= limb(1) << (bit % 64);
    if (i >= n) z->size = i + 1;
    return;
  }
  add_power(z, bit, false);
}

ZOR_API void zor_gmp___gmpz_clrbit(mpz *z, uint64_t bit) {
  if (!zor_gmp___gmpz_tstbit(z, bit)) return;
  if (z->size > 0) {
    const len i = len(bit / 64);
    z->limbs[i] &= ~(limb(1) << (bit % 64));
    set_size(z, z->size, false);
    return;
  }
  add_power(z, bit, true);
}

ZOR_API uint64_t zor_gmp___gmpz_popcount(const mpz *z) {
  return z->size < 0 ? kNone : popcount_limbs(z->limbs, z->size);
}

ZOR_API uint64_t zor_gmp___gmpz_hamdist(const mpz *a, const mpz *b) {
  if ((a->size < 0) != (b->size < 0)) return kNone;
  const len n = std::max(size_of(a), size_of(b)) + 1;
  const len la = a->size < 0 ? lowest_limb(a) : 0, lb = b->size < 0 ? lowest_limb(b) : 0;
  uint64_t c = 0;
  for (len i = 0; i < n; ++i) c += uint64_t(__builtin_popcountll(view_limb(a, i, la) ^ view_limb(b, i, lb)));
  return c;
}

ZOR_API uint64_t zor_gmp___gmpz_scan0(const mpz *z, uint64_t start) { return scan(z, start, false); }
ZOR_API uint64_t zor_gmp___gmpz_scan1(const mpz *z, uint64_t start) { return scan(z, start, true); }
