// Three-way Toom product of two n-limb numbers, n > 200: the ladder's step
// up to 8192 limbs (and the transform's stand-in when no plan can be made).
//
// a = a0 + a1 X + a2 X^2 with X = B^k, k = (n - 1) / 3 + 1, pieces of k, k
// and m = n - 2k limbs; b likewise. Five products by mul_n at the points
// 0, 1, -1, -2 and infinity, of at most k + 1 limbs each:
//   v0 = a0 b0, v1 = a(1) b(1), vm1 = a(-1) b(-1), vm2 = a(-2) b(-2), vinf = a2 b2.
// Interpolation in two's complement over L = 2k + 2 limbs (every
// intermediate is far below B^L / 2 in magnitude):
//   r3 = (vm2 - v1) / 3, r1 = (v1 - vm1) / 2, r2 = vm1 - v0,
//   r3 = (r2 - r3) / 2 + 2 vinf, r2 = r2 + r1 - vinf, r1 = r1 - r3,
// and r = v0 + r1 X + r2 X^2 + r3 X^3 + vinf X^4. The division by 3 is
// exact: a product by the inverse of 3 modulo B with a carry chain.
// Scratch: 18k + 18 limbs from the allocate hook (k >= 67 here, so never
// the 256 limbs that could sit in the frame).
#include <algorithm>

#include "gmp/limbs.hpp"
#include "gmp/parameters.hpp"

namespace zor::gmp {
namespace {

constexpr limb kInverse3 = 0xAAAAAAAAAAAAAAABull;  // 3 * this = 1 modulo B

// r (L limbs) := r - x, x of xn <= L limbs, modulo B^L.
void sub_into(limb *r, len L, const limb *x, len xn) {
  limb c = sub_n(r, r, x, xn);
  if (c && xn < L) sub_1(r + xn, r + xn, L - xn, c);
}
void add_into(limb *r, len L, const limb *x, len xn) {
  limb c = add_n(r, r, x, xn);
  if (c && xn < L) add_1(r + xn, r + xn, L - xn, c);
}

void negate(limb *r, len L) {
  for (len i = 0; i < L; ++i) r[i] = ~r[i];
  add_1(r, r, L, 1);
}

// Exact division by 3 in two's complement, in place.
void divexact_3(limb *r, len L) {
  limb c = 0;
  for (len i = 0; i < L; ++i) {
    limb x = r[i], s = x - c;
    limb q = s * kInverse3;
    r[i] = q;
    c = hi(dlimb(q) * 3) + (x < c);
  }
}

// Arithmetic halving in two's complement, in place (the value is even).
void half(limb *r, len L) {
  rshift(r, r, L, 1);
  r[L - 1] |= r[L - 1] << 1 & (limb(1) << 63);
}

// r (k + 1 limbs) := |x - y| for x, y of k + 1 limbs; true when negative.
bool abs_diff(limb *r, const limb *x, const limb *y, len n) {
  if (cmp(x, y, n) >= 0) {
    sub_n(r, x, y, n);
    return false;
  }
  sub_n(r, y, x, n);
  return true;
}

struct Points {
  limb *p1, *pm1, *pm2;  // k + 1 limbs each
  bool neg1, neg2;
};

// The values at 1, -1 and -2 of x0 + x1 X + x2 X^2; tmp holds 2k + 2 limbs.
Points evaluate(limb *out, limb *tmp, const limb *x, len k, len m) {
  const limb *x0 = x, *x1 = x + k, *x2 = x + 2 * k;
  Points p{out, out + (k + 1), out + 2 * (k + 1), false, false};
  limb *t = tmp, *u = tmp + (k + 1);
  // t = x0 + x2
  limb c = add_n(t, x0, x2, m);
  t[k] = add_1(t + m, x0 + m, k - m, c);
  // p1 = t + x1, pm1 = |t - x1|
  c = add_n(p.p1, t, x1, k);
  p.p1[k] = t[k] + c;
  std::memcpy(u, x1, size_t(k) * sizeof(limb));
  u[k] = 0;
  p.neg1 = abs_diff(p.pm1, t, u, k + 1);
  // pm2 = |x0 + 4 x2 - 2 x1|; 4 x2 is put in pm2 first (m + 1 limbs)
  limb *w = p.pm2;
  std::memcpy(w, x2, size_t(m) * sizeof(limb));
  w[m] = lshift(w, w, m, 2);
  if (m < k) {
    c = add_n(t, x0, w, m + 1);
    t[k] = add_1(t + m + 1, x0 + m + 1, k - m - 1, c);
  } else {
    c = add_n(t, x0, w, k);
    t[k] = w[k] + c;
  }
  u[k] = lshift(u, x1, k, 1);
  p.neg2 = abs_diff(w, t, u, k + 1);
  return p;
}

}  // namespace

void mul_toom3(limb *r, const limb *a, const limb *b, len n) {
  if (n <= fixed::kMulKaratsubaMax) return mul_n(r, a, b, n);
  const len k = (n - 1) / 3 + 1, m = n - 2 * k, L = 2 * k + 2;
  Scratch scratch(18 * k + 18);
  limb *ea = scratch, *eb = ea + 3 * (k + 1), *tmp = eb + 3 * (k + 1);
  limb *v1 = tmp + 2 * (k + 1), *vm1 = v1 + L, *vm2 = vm1 + L;

  Points pa = evaluate(ea, tmp, a, k, m);
  Points pb = evaluate(eb, tmp, b, k, m);
  mul_n(v1, pa.p1, pb.p1, k + 1);
  mul_n(vm1, pa.pm1, pb.pm1, k + 1);
  if (pa.neg1 != pb.neg1) negate(vm1, L);
  mul_n(vm2, pa.pm2, pb.pm2, k + 1);
  if (pa.neg2 != pb.neg2) negate(vm2, L);
  limb *v0 = r, *vinf = r + 4 * k;
  mul_n(v0, a, b, k);
  mul_n(vinf, a + 2 * k, b + 2 * k, m);

  // r3 = (vm2 - v1) / 3, in vm2
  sub_n(vm2, vm2, v1, L);
  divexact_3(vm2, L);
  // r1 = (v1 - vm1) / 2, in v1
  sub_n(v1, v1, vm1, L);
  half(v1, L);
  // r2 = vm1 - v0, in vm1
  sub_into(vm1, L, v0, 2 * k);
  // r3 = (r2 - r3) / 2 + 2 vinf, in vm2
  sub_n(vm2, vm1, vm2, L);
  half(vm2, L);
  add_into(vm2, L, vinf, 2 * m);
  add_into(vm2, L, vinf, 2 * m);
  // r2 = r2 + r1 - vinf, in vm1
  add_n(vm1, vm1, v1, L);
  sub_into(vm1, L, vinf, 2 * m);
  // r1 = r1 - r3, in v1
  sub_n(v1, v1, vm2, L);

  // r = v0 + r1 X + r2 X^2 + r3 X^3 + vinf X^4
  zero(r + 2 * k, 2 * k);
  const len total = 2 * n;
  const limb *parts[3] = {v1, vm1, vm2};
  for (int j = 0; j < 3; ++j) {
    len at = (j + 1) * k, count = std::min(L, total - at);
    limb c = add_n(r + at, r + at, parts[j], count);
    if (c && at + count < total) add_1(r + at + count, r + at + count, total - at - count, c);
  }
}

}  // namespace zor::gmp
