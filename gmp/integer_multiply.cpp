// Products: by an integer, a limb, a signed value, a power of two.
//
// The product of an and bn limbs has an + bn limbs; when r is an operand it
// is formed in a temporary first. The longer operand goes first to mul.
#include "gmp/integer.hpp"

using namespace zor::gmp;

ZOR_API void zor_gmp___gmpz_mul(mpz *r, const mpz *a, const mpz *b) {
  len an = size_of(a), bn = size_of(b);
  if (an == 0 || bn == 0) {
    r->size = 0;
    return;
  }
  const bool negative = (a->size < 0) != (b->size < 0);
  if (an < bn) {
    std::swap(a, b);
    std::swap(an, bn);
  }
  const len n = an + bn;
  if (r == a || r == b) {
    Scratch t(n);
    mul(t, a->limbs, an, b->limbs, bn);
    limb *rp = grow(r, n);
    copy(rp, t, n);
  } else {
    limb *rp = grow(r, n);
    mul(rp, a->limbs, an, b->limbs, bn);
  }
  set_size(r, n, negative);
}

ZOR_API void zor_gmp___gmpz_mul_ui(mpz *r, const mpz *a, uint64_t b) {
  len an = size_of(a);
  if (an == 0 || b == 0) {
    r->size = 0;
    return;
  }
  const bool negative = a->size < 0;
  limb *rp = grow(r, an + 1);
  rp[an] = mul_1(rp, a->limbs, an, b);
  set_size(r, an + 1, negative);
}

ZOR_API void zor_gmp___gmpz_mul_si(mpz *r, const mpz *a, int64_t b) {
  const bool flip = b < 0;
  zor_gmp___gmpz_mul_ui(r, a, flip ? 0 - uint64_t(b) : uint64_t(b));
  if (flip) r->size = -r->size;
}

ZOR_API void zor_gmp___gmpz_mul_2exp(mpz *r, const mpz *a, uint64_t bits) {
  len an = size_of(a);
  if (an == 0) {
    r->size = 0;
    return;
  }
  const bool negative = a->size < 0;
  const len whole = len(bits / 64);
  const int s = int(bits % 64);
  limb *rp = grow(r, an + whole + 1);
  const limb *ap = a->limbs;
  if (s)
    rp[an + whole] = lshift(rp + whole, ap, an, s);
  else {
    copy(rp + whole, ap, an);
    rp[an + whole] = 0;
  }
  zero(rp, whole);
  set_size(r, an + whole + 1, negative);
}
