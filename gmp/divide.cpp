// Division of limb arrays.
//
// By one limb: the divisor is normalised (shifted to set its top bit) and
// each step divides two limbs by it with a precomputed reciprocal, so no
// divide instruction runs in the loop.
//
// div_base, long division: d and a are shifted to the normal form; each
// quotient limb comes from the top three limbs of the partial remainder
// divided by the top two of d (again by a reciprocal, exact for those three
// limbs), then q d is subtracted with submul_1, and d is added back when a
// borrow comes out. Two-limb divisors need only the three-by-two steps.
//
// div_rec, for divisors from 33 limbs: d is padded with zero limbs below to
// n = j 2^p limbs (2^p blocks; 2^p the first power of two from 2 at which
// 16 2^p exceeds the length) and both are normalised. The quotient is found
// n limbs at a time. Each window of n + b limbs (top n below d) gives b
// quotient limbs: b = n splits into two halves; b < n takes an estimate from
// the top 2b limbs divided recursively by the top b limbs of d, subtracts the
// estimate times the rest of d (a product by mul), and adds d back while the
// remainder is negative, at most twice; b up to 16 is long division.
#include <csignal>

#include "gmp/limbs.hpp"
#include "gmp/parameters.hpp"

namespace zor::gmp {
namespace {

void divide_by_zero() {
  std::raise(SIGFPE);
}

// Reciprocal of the normalised two-limb (d1 d0) for three-by-two steps:
// floor((B^3 - 1) / (d1 B + d0)) - B.
limb reciprocal_3by2(limb d1, limb d0) {
  limb v = reciprocal(d1);
  limb p = d1 * v + d0;
  if (p < d0) {
    --v;
    if (p >= d1) {
      --v;
      p -= d1;
    }
    p -= d1;
  }
  dlimb t = dlimb(v) * d0;
  limb t1 = hi(t), t0 = limb(t);
  p += t1;
  if (p < t1) {
    --v;
    if (p > d1 || (p == d1 && t0 >= d0)) --v;
  }
  return v;
}

// (u2 u1 u0) / (d1 d0), with (u2 u1) < (d1 d0), d normalised: quotient out,
// remainder in (r1 r0).
limb div_3by2(limb &r1, limb &r0, limb u2, limb u1, limb u0, limb d1, limb d0, limb v) {
  dlimb q = dlimb(v) * u2 + ((dlimb(u2) << 64) | u1);
  limb q1 = hi(q), q0 = limb(q);
  limb a1 = u1 - q1 * d1;
  dlimb rr = ((dlimb(a1) << 64) | u0) - dlimb(d0) * q1 - ((dlimb(d1) << 64) | d0);
  ++q1;
  const dlimb dd = (dlimb(d1) << 64) | d0;
  if (hi(rr) >= q0) {
    --q1;
    rr += dd;
  }
  if (rr >= dd) {
    ++q1;
    rr -= dd;
  }
  r1 = hi(rr);
  r0 = limb(rr);
  return q1;
}

}  // namespace

limb divmod_1(limb *q, const limb *a, len n, limb d) {
  if (d == 0) return divide_by_zero(), 0;
  if (n <= 0) return 0;
  const int s = clz(d);
  const limb dn = d << s, v = reciprocal(dn);
  limb r = s ? a[n - 1] >> (64 - s) : 0;
  for (len i = n - 1; i >= 0; --i) {
    limb u0 = s ? (a[i] << s) | (i > 0 ? a[i - 1] >> (64 - s) : 0) : a[i];
    limb qi = div_2by1(r, r, u0, dn, v);
    if (q) q[i] = qi;
  }
  return r >> s;
}

// w (wn limbs) by the normalised d (dn >= 2 limbs), with the top dn limbs of
// w below d: q (wn - dn limbs, or null) and the remainder in w[0 .. dn).
void div_normalized(limb *q, limb *w, len wn, const limb *d, len dn) {
  const limb d1 = d[dn - 1], d0 = d[dn - 2];
  const limb v = reciprocal_3by2(d1, d0);
  for (len j = wn - dn - 1; j >= 0; --j) {
    limb *x = w + j;
    limb u2 = x[dn], u1 = x[dn - 1], u0 = x[dn - 2], qj;
    if (u2 == d1 && u1 == d0) {
      // The three-limb quotient would overflow: take B - 1 and correct.
      qj = ~limb(0);
      limb top = u2 - submul_1(x, d, dn, qj);
      while (top != 0) {
        top += add_n(x, x, d, dn);
        --qj;
      }
    } else {
      limb r1, r0;
      qj = div_3by2(r1, r0, u2, u1, u0, d1, d0, v);
      limb c = dn > 2 ? submul_1(x, d, dn - 2, qj) : 0;
      limb c1 = r0 < c;
      r0 -= c;
      limb c2 = r1 < c1;
      r1 -= c1;
      x[dn - 2] = r0;
      x[dn - 1] = r1;
      if (c2) {  // the estimate was one too large
        add_n(x, x, d, dn);
        --qj;
      }
    }
    x[dn] = 0;
    if (q) q[j] = qj;
  }
}

void div_base(limb *q, limb *rem, const limb *a, len an, const limb *d, len dn) {
  if (dn == 1) {
    rem[0] = divmod_1(q, a, an, d[0]);
    return;
  }
  const int s = clz(d[dn - 1]);
  Scratch scratch(an + 1 + dn);
  limb *w = scratch, *dd = w + an + 1;
  if (s) {
    lshift(dd, d, dn, s);
    w[an] = lshift(w, a, an, s);
  } else {
    copy(dd, d, dn);
    copy(w, a, an);
    w[an] = 0;
  }
  div_normalized(q, w, an + 1, dd, dn);
  if (s)
    rshift(rem, w, dn, s);
  else
    copy(rem, w, dn);
}

namespace {

// The window w[0 .. n + b) by d (n limbs, normalised), top n limbs of w
// below d: b quotient limbs to q, the remainder left in w[0 .. n).
// tmp holds 2n limbs.
void div_window(limb *q, limb *w, const limb *d, len n, len b, limb *tmp) {
  if (b <= tuned::kDivRecLeafLimbs) return div_normalized(q, w, n + b, d, n);
  if (b == n) {
    const len lo = n / 2;
    div_window(q + lo, w + lo, d, n, n - lo, tmp);
    div_window(q, w, d, n, lo, tmp);
    return;
  }
  // Estimate from the top 2b limbs of w by the top b limbs of d.
  limb *top = w + (n - b);
  const limb *dtop = d + (n - b);
  limb extra = 0;
  if (cmp(top + b, dtop, b) == 0) {
    // The estimate would need b + 1 limbs: take B^b - 1, whose remainder
    // against the top of d is top_low + dtop.
    for (len i = 0; i < b; ++i) q[i] = ~limb(0);
    extra = add_n(top, top, dtop, b);
  } else {
    div_window(q, top, dtop, b, b, tmp);
  }
  zero(top + b, b);
  // Subtract the estimate times the low n - b limbs of d.
  const len rest = n - b;
  if (rest >= b)
    mul(tmp, d, rest, q, b);
  else
    mul(tmp, q, b, d, rest);
  limb t = extra - sub_n(w, w, tmp, n);
  while (t != 0) {  // negative: the estimate was too large
    t += add_n(w, w, d, n);
    sub_1(q, q, b, 1);
  }
}

}  // namespace

void div_rec(limb *q, limb *rem, const limb *a, len an, const limb *d, len dn) {
  len blocks = 2;
  while (fixed::kDivRecBlockRatio * blocks <= dn) blocks *= 2;
  const len j = (dn + blocks - 1) / blocks, n = j * blocks, pad = n - dn;
  const len wn = an + pad + 1, qn = wn - n;
  const int s = clz(d[dn - 1]);
  Scratch scratch(n + wn + 2 * n + (q ? 0 : qn));
  limb *dd = scratch, *w = dd + n, *tmp = w + wn, *qq = q ? q : tmp + 2 * n;
  zero(dd, pad);
  zero(w, pad);
  if (s) {
    lshift(dd + pad, d, dn, s);
    w[pad + an] = lshift(w + pad, a, an, s);
  } else {
    copy(dd + pad, d, dn);
    copy(w + pad, a, an);
    w[pad + an] = 0;
  }
  len left = qn;
  len b = left % n ? left % n : n;
  while (left > 0) {
    div_window(qq + left - b, w + left - b, dd, n, b, tmp);
    left -= b;
    b = n;
  }
  if (s)
    rshift(rem, w + pad, dn, s);
  else
    copy(rem, w + pad, dn);
}

void div_qr(limb *q, limb *rem, const limb *a, len an, const limb *d, len dn) {
  if (dn < fixed::kDivRecMin)
    div_base(q, rem, a, an, d, dn);
  else
    div_rec(q, rem, a, an, d, dn);
}

}  // namespace zor::gmp

using namespace zor::gmp;

ZOR_API limb zor_gmp_mpn_divmod_1(limb *q, const limb *a, int32_t n, limb d) { return divmod_1(q, a, n, d); }
ZOR_API limb zor_gmp_mpn_mod_1(const limb *a, int32_t n, limb d) { return divmod_1(nullptr, a, n, d); }

ZOR_API int zor_gmp_mpn_jacobi_base(limb a, limb b) {
  if (a == 0) return 0;
  if (b == 1) return 1;
  int sign = 1;
  for (;;) {
    int twos = ctz(a);
    a >>= twos;
    if ((twos & 1) && ((b & 7) == 3 || (b & 7) == 5)) sign = -sign;
    if (a < 3) break;
    if (a < b) {
      std::swap(a, b);
      if ((a & 3) == 3 && (b & 3) == 3) sign = -sign;
    }
    a %= b;
    if (a == 0) return b == 1 ? sign : 0;
  }
  return a == 1 ? sign : 0;
}
