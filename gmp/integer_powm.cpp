// Modular powers.
//
// powm(r, b, e, m):
//  1. e < 0: the base becomes the inverse of b modulo m; without one the
//     routine returns and r keeps its value.
//  2. With b, e, m > 0 and m under 31 limbs: m = 2^s m' with m' odd,
//     b' = b mod m'. If b' != 0 and e <= m', the power modulo m' is taken by
//     Montgomery multiplication (limbs, 4-bit windows); for s > 0 the
//     residue u = b^e mod 2^s (square and multiply, reduced at each step)
//     is joined by r := r + m' (((u - r) / m') mod 2^s).
//  3. Otherwise, and for b' = 0 or e > m': powm_mary, with 4-bit windows
//     over the exponent and each product by mul and mod.
// Results lie in [0, |m|); modulo +-1 everything is 0. A zero m raises
// SIGFPE.
#include "gmp/integer.hpp"
#include "gmp/parameters.hpp"

using namespace zor::gmp;

namespace {



// Nibble i (from the bottom) of the exponent's limbs.
unsigned nibble(const limb *e, uint64_t i) { return unsigned(e[i / 16] >> (4 * (i % 16))) & 15; }

uint64_t nibble_count(const mpz *e) {
  len n = size_of(e);
  uint64_t bits = uint64_t(n) * 64 - uint64_t(clz(e->limbs[n - 1]));
  return (bits + 3) / 4;
}

// -m^-1 modulo B for odd m.
limb negated_inverse(limb m) {
  limb x = m;  // correct to 3 bits
  for (int i = 0; i < 5; ++i) x *= 2 - m * x;
  return 0 - x;
}

struct Montgomery {
  const limb *m;
  len n;
  limb minv;
  limb *t;  // 2n + 1 limbs of product

  // r := a b / B^n mod m for a, b < m; r may be a or b.
  void mul(limb *r, const limb *a, const limb *b) {
    mul_n(t, a, b, n);
    t[2 * n] = 0;
    for (len i = 0; i < n; ++i) {
      limb c = addmul_1(t + i, m, n, t[i] * minv);
      incr(t + i + n, c);
    }
    if (t[2 * n] || cmp(t + n, m, n) >= 0)
      sub_n(r, t + n, m, n);
    else
      copy(r, t + n, n);
  }
};

// r := b^e mod m for odd m of n limbs, 0 < b < m, e > 0.
void montgomery_power(mpz *r, const mpz *b, const mpz *e, const mpz *m) {
  const len n = size_of(m);
  Scratch block((2 * n + 1) + 17 * n + n);
  Montgomery mont{m->limbs, n, negated_inverse(m->limbs[0]), block};
  limb *table = block + (2 * n + 1), *x = table + 16 * n;
  // Montgomery forms: one is B^n mod m, b is b B^n mod m.
  {
    Integer t, q;
    zor_gmp___gmpz_set_ui(t, 1);
    zor_gmp___gmpz_mul_2exp(t, t, uint64_t(n) * 64);
    zor_gmp___gmpz_tdiv_r(q, t, m);
    zero(table, n);
    copy(table, q->limbs, size_of(q));
    zor_gmp___gmpz_mul_2exp(t, b, uint64_t(n) * 64);
    zor_gmp___gmpz_tdiv_r(q, t, m);
    zero(table + n, n);
    copy(table + n, q->limbs, size_of(q));
  }
  for (int i = 2; i < 16; ++i) mont.mul(table + i * n, table + (i - 1) * n, table + n);
  uint64_t count = nibble_count(e);
  copy(x, table + nibble(e->limbs, count - 1) * n, n);
  for (uint64_t i = count - 1; i-- > 0;) {
    for (int s = 0; s < 4; ++s) mont.mul(x, x, x);
    if (unsigned d = nibble(e->limbs, i)) mont.mul(x, x, table + d * n);
  }
  // back from the Montgomery form: times 1
  zero(table, n);
  table[0] = 1;
  mont.mul(x, x, table);
  copy(grow(r, n), x, n);
  set_size(r, n, false);
}

// u := b^e mod 2^s for b, e > 0.
void power_mod_power_of_two(mpz *u, const mpz *b, const mpz *e, uint64_t s) {
  Integer base, x;
  zor_gmp___gmpz_tdiv_r_2exp(base, b, s);
  zor_gmp___gmpz_set_ui(x, 1);
  len en = size_of(e);
  for (uint64_t bit = uint64_t(en) * 64; bit-- > 0;) {
    zor_gmp___gmpz_mul(x, x, x);
    zor_gmp___gmpz_tdiv_r_2exp(x, x, s);
    if (zor_gmp___gmpz_tstbit(e, bit)) {
      zor_gmp___gmpz_mul(x, x, base);
      zor_gmp___gmpz_tdiv_r_2exp(x, x, s);
    }
  }
  zor_gmp___gmpz_swap(u, x);
}

// v := m^-1 mod 2^s for odd m, by Newton's iteration v := v (2 - m v).
void inverse_mod_power_of_two(mpz *v, const mpz *m, uint64_t s) {
  Integer t;
  zor_gmp___gmpz_set_ui(v, 1);
  for (uint64_t bits = 1; bits < s; bits *= 2) {
    zor_gmp___gmpz_mul(t, m, v);
    zor_gmp___gmpz_ui_sub(t, 2, t);
    zor_gmp___gmpz_mul(v, v, t);
    zor_gmp___gmpz_fdiv_r_2exp(v, v, s);
  }
  zor_gmp___gmpz_fdiv_r_2exp(v, v, s);
}

// base^exponent equal to b^e with exponent >= 0: for e < 0 the base is the
// inverse of b modulo m; false when there is none.
bool positive_exponent(mpz *base, mpz *exponent, const mpz *b, const mpz *e, const mpz *m) {
  if (e->size < 0) {
    if (!zor_gmp___gmpz_invert(base, b, m)) return false;
    zor_gmp___gmpz_neg(exponent, e);
  } else {
    zor_gmp___gmpz_set(base, b);
    zor_gmp___gmpz_set(exponent, e);
  }
  return true;
}

}  // namespace

ZOR_API void zor_gmp_mpz_powm_mary(mpz *r, const mpz *b, const mpz *e, const mpz *m) {
  Integer base, exponent;
  if (!positive_exponent(base, exponent, b, e, m)) return;
  if (exponent->size == 0) {
    zor_gmp___gmpz_set_ui(r, zor_gmp___gmpz_cmpabs_ui(m, 1) == 0 ? 0 : 1);
    return;
  }
  const len width = size_of(m) + 2 * size_of(base) + 1;
  Integer table[16], x(width), t(width);
  zor_gmp___gmpz_set_ui(table[0], 1);
  zor_gmp___gmpz_mod(table[1], base, m);
  for (int i = 1; i < 8; ++i) {
    zor_gmp___gmpz_mul(t, table[i], table[i]);
    zor_gmp___gmpz_mod(table[2 * i], t, m);
    zor_gmp___gmpz_mul(t, table[2 * i], base);
    zor_gmp___gmpz_mod(table[2 * i + 1], t, m);
  }
  uint64_t count = nibble_count(exponent);
  zor_gmp___gmpz_set(x, table[nibble(exponent->limbs, count - 1)]);
  for (uint64_t i = count - 1; i-- > 0;) {
    for (int s = 0; s < 4; ++s) {
      zor_gmp___gmpz_mul(t, x, x);
      zor_gmp___gmpz_mod(x, t, m);
    }
    if (unsigned d = nibble(exponent->limbs, i)) {
      zor_gmp___gmpz_mul(t, x, table[d]);
      zor_gmp___gmpz_mod(x, t, m);
    }
  }
  zor_gmp___gmpz_swap(r, x);
}

ZOR_API void zor_gmp___gmpz_powm(mpz *r, const mpz *b, const mpz *e, const mpz *m) {
  Integer base, exponent;
  if (!positive_exponent(base, exponent, b, e, m)) return;
  if (base->size > 0 && exponent->size > 0 && m->size > 0 && m->size <= fixed::kPowmMontgomeryMaxLimbs) {
    Integer odd, reduced;
    const uint64_t s = zor_gmp___gmpz_scan1(m, 0);
    zor_gmp___gmpz_tdiv_q_2exp(odd, m, s);
    zor_gmp___gmpz_tdiv_r(reduced, base, odd);
    if (reduced->size != 0 && zor_gmp___gmpz_cmp(exponent, odd) <= 0) {
      Integer x;
      montgomery_power(x, reduced, exponent, odd);
      if (s > 0) {
        Integer u, v;
        power_mod_power_of_two(u, base, exponent, s);
        inverse_mod_power_of_two(v, odd, s);
        zor_gmp___gmpz_sub(u, u, x);
        zor_gmp___gmpz_mul(u, u, v);
        zor_gmp___gmpz_fdiv_r_2exp(u, u, s);
        zor_gmp___gmpz_addmul(x, odd, u);
      }
      zor_gmp___gmpz_swap(r, x);
      return;
    }
  }
  zor_gmp_mpz_powm_mary(r, base, exponent, m);
}

ZOR_API void zor_gmp___gmpz_powm_ui(mpz *r, const mpz *b, uint64_t e, const mpz *m) {
  limb storage = e;
  mpz exponent{1, e != 0, &storage};
  zor_gmp___gmpz_powm(r, b, &exponent, m);
}
