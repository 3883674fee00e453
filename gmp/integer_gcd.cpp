// Greatest common divisors, cofactors, least common multiples, modular
// inverses and factor removal.
//
// gcd is Euclid's algorithm on the absolute values by tdiv_r, two steps a
// pass, on 64-bit values once both fit in a limb. gcdext runs the extended
// algorithm on the absolute values and then chooses the cofactors as the
// interface defines them: |s| < |b| / 2g and |t| < |a| / 2g, with s = 0,
// t = sgn(b) when |a| = |b|; s = sgn(a) when b = 0 or |b| = 2g; t = sgn(b)
// when a = 0; t = (g - a s) / b otherwise.
#include <csignal>

#include "gmp/integer.hpp"

using namespace zor::gmp;

namespace {

limb gcd_limb(limb a, limb b) {
  while (b) {
    a %= b;
    std::swap(a, b);
  }
  return a;
}

// g := gcd(|x|, |y|); x and y are worked on.
void euclid(mpz *g, mpz *x, mpz *y) {
  for (;;) {
    if (y->size == 0) return zor_gmp___gmpz_set(g, x);
    if (size_of(x) <= 1 && size_of(y) <= 1) {
      limb v = gcd_limb(x->size ? x->limbs[0] : 0, y->limbs[0]);
      return zor_gmp___gmpz_set_ui(g, v);
    }
    zor_gmp___gmpz_tdiv_r(x, x, y);
    if (x->size == 0) return zor_gmp___gmpz_set(g, y);
    zor_gmp___gmpz_tdiv_r(y, y, x);
  }
}

// g := gcd(x, y) and s with s x = g modulo y, for x, y > 0.
void extended_euclid(mpz *g, mpz *s, const mpz *x, const mpz *y) {
  Integer r0, r1, s0, s1, q, t;
  zor_gmp___gmpz_set(r0, x);
  zor_gmp___gmpz_set(r1, y);
  zor_gmp___gmpz_set_ui(s0, 1);
  while (r1->size != 0) {
    zor_gmp___gmpz_tdiv_qr(q, t, r0, r1);
    zor_gmp___gmpz_swap(r0, r1);
    zor_gmp___gmpz_swap(r1, t);
    zor_gmp___gmpz_submul(s0, q, s1);
    zor_gmp___gmpz_swap(s0, s1);
  }
  zor_gmp___gmpz_set(g, r0);
  zor_gmp___gmpz_set(s, s0);
}

}  // namespace

ZOR_API void zor_gmp___gmpz_gcd(mpz *g, const mpz *a, const mpz *b) {
  if (a->size == 0 || b->size == 0) {
    zor_gmp___gmpz_abs(g, a->size == 0 ? b : a);
    return;
  }
  Integer x, y;
  zor_gmp___gmpz_abs(x, a);
  zor_gmp___gmpz_abs(y, b);
  euclid(g, x, y);
}

ZOR_API uint64_t zor_gmp___gmpz_gcd_ui(mpz *g, const mpz *a, uint64_t b) {
  limb v;
  if (b == 0) {
    if (g) zor_gmp___gmpz_abs(g, a);
    return size_of(a) <= 1 ? zor_gmp___gmpz_get_ui(a) : 0;
  }
  v = a->size == 0 ? b : gcd_limb(b, abs_mod_limb(a, b));
  if (g) zor_gmp___gmpz_set_ui(g, v);
  return v;
}

ZOR_API void zor_gmp___gmpz_gcdext(mpz *g, mpz *s, mpz *t, const mpz *a, const mpz *b) {
  Integer gg, ss, tt;
  const int sa = sign_of(a), sb = sign_of(b);
  if (zor_gmp___gmpz_cmpabs(a, b) == 0) {  // includes a = b = 0
    zor_gmp___gmpz_abs(gg, b);
    zor_gmp___gmpz_set_si(tt, sb);
  } else if (sb == 0) {
    zor_gmp___gmpz_abs(gg, a);
    zor_gmp___gmpz_set_si(ss, sa);
  } else if (sa == 0) {
    zor_gmp___gmpz_abs(gg, b);
    zor_gmp___gmpz_set_si(tt, sb);
  } else {
    Integer x, y, period, half;
    zor_gmp___gmpz_abs(x, a);
    zor_gmp___gmpz_abs(y, b);
    extended_euclid(gg, ss, x, y);
    if (sa < 0) zor_gmp___gmpz_neg(ss, ss);  // s a = g modulo b
    zor_gmp___gmpz_divexact(period, y, gg);  // the cofactor repeats by |b| / g
    if (zor_gmp___gmpz_cmp_ui(period, 1) == 0) {
      zor_gmp___gmpz_set_ui(ss, 0);
    } else if (zor_gmp___gmpz_cmp_ui(period, 2) == 0) {
      zor_gmp___gmpz_set_si(ss, sa);
    } else {
      zor_gmp___gmpz_mod(ss, ss, period);
      zor_gmp___gmpz_mul_2exp(half, ss, 1);
      if (zor_gmp___gmpz_cmp(half, period) > 0) zor_gmp___gmpz_sub(ss, ss, period);
    }
    if (t) {  // t = (g - a s) / b
      zor_gmp___gmpz_set(tt, gg);
      zor_gmp___gmpz_submul(tt, a, ss);
      zor_gmp___gmpz_divexact(tt, tt, b);
    }
  }
  if (s) zor_gmp___gmpz_set(s, ss);
  if (t) zor_gmp___gmpz_set(t, tt);
  zor_gmp___gmpz_set(g, gg);
}

ZOR_API void zor_gmp___gmpz_lcm(mpz *r, const mpz *a, const mpz *b) {
  if (a->size == 0 || b->size == 0) {
    r->size = 0;
    return;
  }
  Integer g, t;
  zor_gmp___gmpz_gcd(g, a, b);
  zor_gmp___gmpz_divexact(t, a, g);
  zor_gmp___gmpz_mul(r, t, b);
  if (r->size < 0) r->size = -r->size;
}

ZOR_API void zor_gmp___gmpz_lcm_ui(mpz *r, const mpz *a, uint64_t b) {
  if (a->size == 0 || b == 0) {
    r->size = 0;
    return;
  }
  limb g = zor_gmp___gmpz_gcd_ui(nullptr, a, b);
  zor_gmp___gmpz_mul_ui(r, a, b / g);
  if (r->size < 0) r->size = -r->size;
}

// Modulo +-1 every number is its own inverse class: r = 0, success.
ZOR_API int zor_gmp___gmpz_invert(mpz *r, const mpz *a, const mpz *m) {
  if (zor_gmp___gmpz_cmpabs_ui(m, 1) == 0) {
    r->size = 0;
    return 1;
  }
  if (m->size == 0) {
    std::raise(SIGFPE);
    return 0;
  }
  Integer mm, x, g, s;
  zor_gmp___gmpz_abs(mm, m);
  zor_gmp___gmpz_mod(x, a, mm);
  if (x->size == 0) return 0;
  extended_euclid(g, s, x, mm);
  if (zor_gmp___gmpz_cmp_ui(g, 1) != 0) return 0;
  zor_gmp___gmpz_mod(r, s, mm);
  return 1;
}

ZOR_API uint64_t zor_gmp___gmpz_remove(mpz *r, const mpz *n, const mpz *f) {
  if (f->size == 0) {
    std::raise(SIGFPE);
    return 0;
  }
  if (n->size == 0 || zor_gmp___gmpz_cmpabs_ui(f, 1) == 0) {
    zor_gmp___gmpz_set(r, n);
    return 0;
  }
  Integer x, q, rem, ff;
  zor_gmp___gmpz_set(ff, f);
  zor_gmp___gmpz_set(x, n);
  uint64_t count = 0;
  for (;;) {
    zor_gmp___gmpz_tdiv_qr(q, rem, x, ff);
    if (rem->size != 0) break;
    zor_gmp___gmpz_swap(x, q);
    ++count;
  }
  zor_gmp___gmpz_set(r, x);
  return count;
}
