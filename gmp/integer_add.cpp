// Signed addition and subtraction, with limb and product operands.
//
// The magnitudes are added or subtracted with the longer one first; the
// result's allocation is first raised to the longer size plus one.
#include "gmp/integer.hpp"

namespace zor::gmp {

len abs_add(limb *r, const limb *a, len an, const limb *b, len bn) {
  limb c = add_n(r, a, b, bn);
  c = add_1(r + bn, a + bn, an - bn, c);
  r[an] = c;
  return an + len(c);
}

len abs_sub(limb *r, const limb *a, len an, const limb *b, len bn) {
  limb c = sub_n(r, a, b, bn);
  sub_1(r + bn, a + bn, an - bn, c);
  return normalized(r, an);
}

namespace {

// r := a + (negate ? -b : b).
void add_impl(mpz *r, const mpz *a, const mpz *b, bool negate) {
  len as = a->size, bs = negate ? -b->size : b->size;
  len an = size_of(a), bn = size_of(b);
  if (an < bn) {
    std::swap(a, b);
    std::swap(as, bs);
    std::swap(an, bn);
  }
  limb *rp = grow(r, an + 1);
  const limb *ap = a->limbs, *bp = b->limbs;
  if ((as < 0) == (bs < 0) || bn == 0) {
    len n = abs_add(rp, ap, an, bp, bn);
    r->size = as < 0 ? -n : n;
  } else if (abs_cmp(ap, an, bp, bn) >= 0) {
    len n = abs_sub(rp, ap, an, bp, bn);
    r->size = as < 0 ? -n : n;
  } else {  // equal lengths, |b| larger
    len n = abs_sub(rp, bp, bn, ap, an);
    r->size = bs < 0 ? -n : n;
  }
}

// r := a + (negative ? -b : b) for a limb b.
void add_limb(mpz *r, const mpz *a, limb b, bool negative) {
  len as = a->size, an = size_of(a);
  limb *rp = grow(r, an + 1);
  const limb *ap = a->limbs;
  if (an == 0) {
    rp[0] = b;
    r->size = b == 0 ? 0 : negative ? -1 : 1;
  } else if ((as < 0) == negative) {
    rp[an] = add_1(rp, ap, an, b);
    len n = an + len(rp[an]);
    r->size = as < 0 ? -n : n;
  } else if (sub_1(rp, ap, an, b)) {
    // b exceeded the one-limb magnitude: the result changes sign.
    rp[0] = 0 - rp[0];
    r->size = as < 0 ? 1 : -1;
  } else {
    len n = normalized(rp, an);
    r->size = as < 0 ? -n : n;
  }
}

}  // namespace
}  // namespace zor::gmp

using namespace zor::gmp;

ZOR_API void zor_gmp___gmpz_add(mpz *r, const mpz *a, const mpz *b) { add_impl(r, a, b, false); }
ZOR_API void zor_gmp___gmpz_sub(mpz *r, const mpz *a, const mpz *b) { add_impl(r, a, b, true); }
ZOR_API void zor_gmp___gmpz_add_ui(mpz *r, const mpz *a, uint64_t b) { add_limb(r, a, b, false); }
ZOR_API void zor_gmp___gmpz_sub_ui(mpz *r, const mpz *a, uint64_t b) { add_limb(r, a, b, true); }

ZOR_API void zor_gmp___gmpz_ui_sub(mpz *r, uint64_t a, const mpz *b) {
  add_limb(r, b, a, true);
  r->size = -r->size;
}

ZOR_API void zor_gmp___gmpz_addmul(mpz *r, const mpz *a, const mpz *b) {
  Integer t;
  zor_gmp___gmpz_mul(t, a, b);
  add_impl(r, r, t, false);
}
ZOR_API void zor_gmp___gmpz_submul(mpz *r, const mpz *a, const mpz *b) {
  Integer t;
  zor_gmp___gmpz_mul(t, a, b);
  add_impl(r, r, t, true);
}
ZOR_API void zor_gmp___gmpz_addmul_ui(mpz *r, const mpz *a, uint64_t b) {
  Integer t(size_of(a) + 1);
  zor_gmp___gmpz_mul_ui(t, a, b);
  add_impl(r, r, t, false);
}
ZOR_API void zor_gmp___gmpz_submul_ui(mpz *r, const mpz *a, uint64_t b) {
  Integer t(size_of(a) + 1);
  zor_gmp___gmpz_mul_ui(t, a, b);
  add_impl(r, r, t, true);
}
