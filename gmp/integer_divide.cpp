// Division of integers: truncating, floor and ceiling forms by integers,
// limbs and powers of two; exact division, divisibility and congruence.
//
// The core divides magnitudes: a one-limb divisor by divmod_1; a dividend
// shorter than the divisor gives q = 0 and r = n; divisors of 2 to 32 limbs
// by long division, from 33 limbs by the recursive division. The quotient
// takes the product of the signs, the remainder the sign of n. The floor
// forms then move q down by one and add d to r when r is non-zero with the
// other sign than d; the ceiling forms move q up and subtract d when the
// signs are equal. A zero divisor raises SIGFPE.
#include <csignal>

#include "gmp/integer.hpp"

namespace zor::gmp {

void tdiv_qr_core(mpz *q, mpz *r, const mpz *n, const mpz *d) {
  const len nn = size_of(n), dn = size_of(d);
  if (dn == 0) {
    std::raise(SIGFPE);
    return;
  }
  const bool qneg = (n->size < 0) != (d->size < 0), rneg = n->size < 0;
  if (nn < dn) {
    if (r) zor_gmp___gmpz_set(r, n);
    if (q) q->size = 0;
    return;
  }
  const len qn = nn - dn + 1;
  Scratch t(qn + dn);
  limb *qt = t, *rt = t + qn;
  if (dn == 1)
    rt[0] = divmod_1(qt, n->limbs, nn, d->limbs[0]);
  else
    div_qr(qt, rt, n->limbs, nn, d->limbs, dn);
  if (q) {
    copy(grow(q, qn), qt, qn);
    set_size(q, qn, qneg);
  }
  if (r) {
    copy(grow(r, dn), rt, dn);
    set_size(r, dn, rneg);
  }
}

limb abs_mod_limb(const mpz *n, limb d) { return divmod_1(nullptr, n->limbs, size_of(n), d); }

}  // namespace zor::gmp

using namespace zor::gmp;

namespace {

enum class Round { toward_zero, floor, ceiling };

void div_qr(mpz *q, mpz *r, const mpz *n, const mpz *d, Round mode) {
  Integer dcopy, rtmp;
  const mpz *dd = d;
  if (mode != Round::toward_zero && (d == q || d == r)) {
    zor_gmp___gmpz_set(dcopy, d);
    dd = dcopy;
  }
  mpz *rr = r ? r : (mode == Round::toward_zero ? nullptr : rtmp.get());
  tdiv_qr_core(q, rr, n, d);
  if (mode == Round::toward_zero || rr->size == 0) return;
  const bool differ = (rr->size < 0) != (dd->size < 0);
  if (mode == Round::floor && differ) {
    if (q) zor_gmp___gmpz_sub_ui(q, q, 1);
    zor_gmp___gmpz_add(rr, rr, dd);
  } else if (mode == Round::ceiling && !differ) {
    if (q) zor_gmp___gmpz_add_ui(q, q, 1);
    zor_gmp___gmpz_sub(rr, rr, dd);
  }
}

// By a limb d > 0: returns |r|, stores q and r when given.
uint64_t div_ui(mpz *q, mpz *r, const mpz *n, uint64_t d, Round mode) {
  if (d == 0) {
    std::raise(SIGFPE);
    return 0;
  }
  const len nn = size_of(n);
  const int ns = sign_of(n);
  limb rem;
  if (q) {
    limb *qp = grow(q, nn);
    rem = divmod_1(qp, n->limbs, nn, d);
    set_size(q, nn, ns < 0);
  } else {
    rem = divmod_1(nullptr, n->limbs, nn, d);
  }
  int rs = rem ? ns : 0;  // sign of the remainder
  if (rem && ((mode == Round::floor && ns < 0) || (mode == Round::ceiling && ns > 0))) {
    if (q) {
      if (mode == Round::floor)
        zor_gmp___gmpz_sub_ui(q, q, 1);
      else
        zor_gmp___gmpz_add_ui(q, q, 1);
    }
    rem = d - rem;
    rs = -rs;
  }
  if (r) {
    r->limbs[0] = rem;
    r->size = rs;
  }
  return rem;
}

// |q| := |n| >> bits with the sign of n; true when non-zero bits fell off.
bool shift_down(mpz *q, const mpz *n, uint64_t bits) {
  const len nn = size_of(n);
  const bool negative = n->size < 0;
  const uint64_t whole = bits / 64;
  const int s = int(bits % 64);
  bool lost = false;
  for (uint64_t i = 0; i < whole && i < uint64_t(nn); ++i) lost |= n->limbs[i] != 0;
  if (whole >= uint64_t(nn)) {
    if (q) q->size = 0;
    return lost;
  }
  lost |= s && (n->limbs[whole] << (64 - s)) != 0;
  if (!q) return lost;
  const len qn = nn - len(whole);
  limb *qp = grow(q, qn);
  const limb *np = n->limbs + whole;
  if (s)
    rshift(qp, np, qn, s);
  else
    copy(qp, np, qn);
  set_size(q, qn, negative);
  return lost;
}

// |r| := |n| mod 2^bits with the given sign (true: negative).
void low_bits(mpz *r, const mpz *n, uint64_t bits, bool negative) {
  const len nn = size_of(n);
  uint64_t whole = bits / 64;
  const int s = int(bits % 64);
  len rn = whole >= uint64_t(nn) ? nn : len(whole) + (s ? 1 : 0);
  limb *rp = grow(r, rn);
  copy(rp, n->limbs, rn);
  if (s && whole < uint64_t(nn)) rp[whole] &= (limb(1) << s) - 1;
  set_size(r, rn, negative);
}

// r := 2^bits - |r| for 0 < |r| < 2^bits, with the given sign.
void complement_to_power(mpz *r, uint64_t bits, bool negative) {
  const len n = len((bits + 63) / 64);
  limb *rp = grow(r, n);
  const len rn = size_of(r);
  zero(rp + rn, n - rn);
  for (len i = 0; i < n; ++i) rp[i] = ~rp[i];
  add_1(rp, rp, n, 1);
  if (bits % 64) rp[n - 1] &= (limb(1) << (bits % 64)) - 1;
  set_size(r, n, negative);
}

}  // namespace

ZOR_API void zor_gmp___gmpz_tdiv_q(mpz *q, const mpz *n, const mpz *d) { div_qr(q, nullptr, n, d, Round::toward_zero); }
ZOR_API void zor_gmp___gmpz_tdiv_r(mpz *r, const mpz *n, const mpz *d) { div_qr(nullptr, r, n, d, Round::toward_zero); }
ZOR_API void zor_gmp___gmpz_tdiv_qr(mpz *q, mpz *r, const mpz *n, const mpz *d) { div_qr(q, r, n, d, Round::toward_zero); }
ZOR_API uint64_t zor_gmp___gmpz_tdiv_q_ui(mpz *q, const mpz *n, uint64_t d) { return div_ui(q, nullptr, n, d, Round::toward_zero); }
ZOR_API uint64_t zor_gmp___gmpz_tdiv_r_ui(mpz *r, const mpz *n, uint64_t d) { return div_ui(nullptr, r, n, d, Round::toward_zero); }
ZOR_API uint64_t zor_gmp___gmpz_tdiv_qr_ui(mpz *q, mpz *r, const mpz *n, uint64_t d) { return div_ui(q, r, n, d, Round::toward_zero); }
ZOR_API uint64_t zor_gmp___gmpz_tdiv_ui(const mpz *n, uint64_t d) { return div_ui(nullptr, nullptr, n, d, Round::toward_zero); }

ZOR_API void zor_gmp___gmpz_fdiv_q(mpz *q, const mpz *n, const mpz *d) { div_qr(q, nullptr, n, d, Round::floor); }
ZOR_API void zor_gmp___gmpz_fdiv_r(mpz *r, const mpz *n, const mpz *d) { div_qr(nullptr, r, n, d, Round::floor); }
ZOR_API void zor_gmp___gmpz_fdiv_qr(mpz *q, mpz *r, const mpz *n, const mpz *d) { div_qr(q, r, n, d, Round::floor); }
ZOR_API uint64_t zor_gmp___gmpz_fdiv_q_ui(mpz *q, const mpz *n, uint64_t d) { return div_ui(q, nullptr, n, d, Round::floor); }
ZOR_API uint64_t zor_gmp___gmpz_fdiv_r_ui(mpz *r, const mpz *n, uint64_t d) { return div_ui(nullptr, r, n, d, Round::floor); }
ZOR_API uint64_t zor_gmp___gmpz_fdiv_qr_ui(mpz *q, mpz *r, const mpz *n, uint64_t d) { return div_ui(q, r, n, d, Round::floor); }
ZOR_API uint64_t zor_gmp___gmpz_fdiv_ui(const mpz *n, uint64_t d) { return div_ui(nullptr, nullptr, n, d, Round::floor); }

ZOR_API void zor_gmp___gmpz_cdiv_q(mpz *q, const mpz *n, const mpz *d) { div_qr(q, nullptr, n, d, Round::ceiling); }
ZOR_API void zor_gmp___gmpz_cdiv_r(mpz *r, const mpz *n, const mpz *d) { div_qr(nullptr, r, n, d, Round::ceiling); }
ZOR_API void zor_gmp___gmpz_cdiv_qr(mpz *q, mpz *r, const mpz *n, const mpz *d) { div_qr(q, r, n, d, Round::ceiling); }
ZOR_API uint64_t zor_gmp___gmpz_cdiv_q_ui(mpz *q, const mpz *n, uint64_t d) { return div_ui(q, nullptr, n, d, Round::ceiling); }
ZOR_API uint64_t zor_gmp___gmpz_cdiv_r_ui(mpz *r, const mpz *n, uint64_t d) { return div_ui(nullptr, r, n, d, Round::ceiling); }
ZOR_API uint64_t zor_gmp___gmpz_cdiv_qr_ui(mpz *q, mpz *r, const mpz *n, uint64_t d) { return div_ui(q, r, n, d, Round::ceiling); }
ZOR_API uint64_t zor_gmp___gmpz_cdiv_ui(const mpz *n, uint64_t d) { return div_ui(nullptr, nullptr, n, d, Round::ceiling); }

ZOR_API void zor_gmp___gmpz_tdiv_q_2exp(mpz *q, const mpz *n, uint64_t bits) { shift_down(q, n, bits); }

ZOR_API void zor_gmp___gmpz_fdiv_q_2exp(mpz *q, const mpz *n, uint64_t bits) {
  const bool negative = n->size < 0;
  if (shift_down(q, n, bits) && negative) zor_gmp___gmpz_sub_ui(q, q, 1);
}

ZOR_API void zor_gmp___gmpz_cdiv_q_2exp(mpz *q, const mpz *n, uint64_t bits) {
  const bool positive = n->size > 0;
  if (shift_down(q, n, bits) && positive) zor_gmp___gmpz_add_ui(q, q, 1);
}

ZOR_API void zor_gmp___gmpz_tdiv_r_2exp(mpz *r, const mpz *n, uint64_t bits) { low_bits(r, n, bits, n->size < 0); }

ZOR_API void zor_gmp___gmpz_fdiv_r_2exp(mpz *r, const mpz *n, uint64_t bits) {
  const bool negative = n->size < 0;
  low_bits(r, n, bits, false);
  if (negative && r->size) complement_to_power(r, bits, false);
}

ZOR_API void zor_gmp___gmpz_cdiv_r_2exp(mpz *r, const mpz *n, uint64_t bits) {
  const bool positive = n->size > 0;
  low_bits(r, n, bits, true);
  if (positive && r->size) complement_to_power(r, bits, true);
}

ZOR_API void zor_gmp___gmpz_mod(mpz *r, const mpz *n, const mpz *d) {
  Integer dcopy;
  const mpz *dd = d;
  if (d == r) {
    zor_gmp___gmpz_set(dcopy, d);
    dd = dcopy;
  }
  tdiv_qr_core(nullptr, r, n, d);
  if (r->size < 0) {
    if (dd->size < 0)
      zor_gmp___gmpz_sub(r, r, dd);
    else
      zor_gmp___gmpz_add(r, r, dd);
  }
}

ZOR_API uint64_t zor_gmp___gmpz_mod_ui(mpz *r, const mpz *n, uint64_t d) { return div_ui(nullptr, r, n, d, Round::floor); }

ZOR_API void zor_gmp___gmpz_divexact(mpz *q, const mpz *n, const mpz *d) { tdiv_qr_core(q, nullptr, n, d); }
ZOR_API void zor_gmp___gmpz_divexact_ui(mpz *q, const mpz *n, uint64_t d) { div_ui(q, nullptr, n, d, Round::toward_zero); }

ZOR_API int zor_gmp___gmpz_divisible_p(const mpz *n, const mpz *d) {
  if (d->size == 0) return n->size == 0;
  if (size_of(d) == 1) return abs_mod_limb(n, d->limbs[0]) == 0;
  Integer r;
  tdiv_qr_core(nullptr, r, n, d);
  return r->size == 0;
}

ZOR_API int zor_gmp___gmpz_divisible_ui_p(const mpz *n, uint64_t d) {
  if (d == 0) return n->size == 0;
  return abs_mod_limb(n, d) == 0;
}

ZOR_API int zor_gmp___gmpz_divisible_2exp_p(const mpz *n, uint64_t bits) {
  const len nn = size_of(n);
  const uint64_t whole = bits / 64;
  for (uint64_t i = 0; i < whole; ++i)
    if (i >= uint64_t(nn))
      return 1;
    else if (n->limbs[i])
      return 0;
  if (whole >= uint64_t(nn) || bits % 64 == 0) return 1;
  return (n->limbs[whole] & ((limb(1) << (bits % 64)) - 1)) == 0;
}

ZOR_API int zor_gmp___gmpz_congruent_p(const mpz *n, const mpz *c, const mpz *d) {
  if (d->size == 0) return zor_gmp___gmpz_cmp(n, c) == 0;
  Integer t;
  zor_gmp___gmpz_sub(t, n, c);
  return zor_gmp___gmpz_divisible_p(t, d);
}

ZOR_API int zor_gmp___gmpz_congruent_ui_p(const mpz *n, uint64_t c, uint64_t d) {
  if (d == 0) return zor_gmp___gmpz_cmp_ui(n, c) == 0;
  limb r = abs_mod_limb(n, d);
  if (n->size < 0 && r) r = d - r;
  return r == c % d;
}

ZOR_API int zor_gmp___gmpz_congruent_2exp_p(const mpz *n, const mpz *c, uint64_t bits) {
  Integer t;
  zor_gmp___gmpz_sub(t, n, c);
  return zor_gmp___gmpz_divisible_2exp_p(t, bits);
}
