// Karatsuba's product of two n-limb numbers, the ladder's step for 10..200
// limbs and, above the transform rung, the step whose halves come back to
// the ladder.
//
// With h = ceil(n / 2) low limbs and n - h high ones, a = a0 + a1 B^h:
//   L = a0 b0, H = a1 b1, W = |a0 - a1| |b0 - b1| (signed by the two
//   differences), and the middle term M = L + H - W.
// L and H are formed in place in r; W in the scratch, after the two
// differences. With L = L0 + L1 B^h and H = H0 + H1 B^h (h-limb pieces,
// H1 shorter by 0 or 2), T = L1 + H0 appears in both middle pieces:
//   r = L0 + (T + L0 - W0) B^h + (T + H1 - W1) B^2h + H1 B^3h,
// so the middle costs three h-limb additions and one 2h-limb subtraction
// (or addition), plus the carries at 2h and 3h.
// The 4h limbs of scratch lie in the frame up to 256 limbs (n <= 128) and
// come from the allocate hook above; a null from the hook returns with r
// unwritten.
#include "gmp/limbs.hpp"
#include "gmp/mul_fixed.hpp"
#include "gmp/parameters.hpp"

namespace zor::gmp {
namespace {

// d := |x - y| for x of h limbs and y of m = h or h - 1 limbs; true when
// x < y. A whole-limb memmove or loop call costs more than these small
// differences at the leaves, so the odd top limb is handled in line.
bool abs_difference(limb *d, const limb *x, len h, const limb *y, len m) {
  if (h > m) {
    limb top = x[m];
    if (top != 0) {
      d[m] = top - sub_n(d, x, y, m);
      return false;
    }
    d[m] = 0;
  }
  if (cmp(x, y, m) < 0) {
    sub_n(d, y, x, m);
    return true;
  }
  sub_n(d, x, y, m);
  return false;
}

void karatsuba(limb *r, const limb *a, const limb *b, len n, limb *ws) {
  const len h = n - n / 2, m = n / 2;  // low and high lengths, m = h or h - 1
  limb *da = ws, *db = ws + h, *w = ws + 2 * h;
  const bool negative = abs_difference(da, a, h, a + h, m) != abs_difference(db, b, h, b + h, m);
  mul_n(w, da, db, h);
  mul_n(r, a, b, h);                    // L in r[0, 2h)
  mul_n(r + 2 * h, a + h, b + h, m);    // H in r[2h, 2n)

  limb *L0 = r, *L1 = r + h, *H0 = r + 2 * h, *H1 = r + 3 * h;
  const len h1 = 2 * m - h;  // length of H1: h or h - 2
  limb cT = add_n(H0, L1, H0, h);  // T, over H0
  limb cL = add_n(L1, H0, L0, h);  // T + L0
  limb cH = add_n(H0, H0, H1, h1);  // T + H1
  cH = add_1(H0 + h1, H0 + h1, h - h1, cH);
  // The middle term's W: subtracted when the differences had equal signs.
  int64_t at3h = int64_t(cT + cH);
  if (negative)
    at3h += int64_t(add_n(L1, L1, w, 2 * h));
  else
    at3h -= int64_t(sub_n(L1, L1, w, 2 * h));
  // r is below B^2n, so the carries die out inside it.
  add_1(r + 2 * h, r + 2 * h, 2 * n - 2 * h, cT + cL);
  if (at3h > 0)
    add_1(H1, H1, h1, limb(at3h));
  else if (at3h < 0)
    sub_1(H1, H1, h1, limb(-at3h));
}

// The smallest Karatsuba products, n = 10 to 18, whose three products are
// written-out squares: the steps of karatsuba() with every length known
// when compiled, so that each addition runs as straight code.
template <int N>
inline limb add_fixed(limb *r, const limb *a, const limb *b, limb c = 0) {
  using u = unsigned long long;
  unsigned char k = static_cast<unsigned char>(c);
#pragma GCC unroll 32
  for (int i = 0; i < N; ++i) k = _addcarry_u64(k, a[i], b[i], reinterpret_cast<u *>(r + i));
  return k;
}
template <int N>
inline limb sub_fixed(limb *r, const limb *a, const limb *b) {
  using u = unsigned long long;
  unsigned char k = 0;
#pragma GCC unroll 32
  for (int i = 0; i < N; ++i) k = _subborrow_u64(k, a[i], b[i], reinterpret_cast<u *>(r + i));
  return k;
}
// Adds the carry c at p over N limbs (bounded).
template <int N>
inline void carry_fixed(limb *p, limb c) {
#pragma GCC unroll 32
  for (int i = 0; i < N && c; ++i) {
    limb x = p[i] + c;
    c = x < c;
    p[i] = x;
  }
}
template <int N>
inline void borrow_fixed(limb *p, limb c) {
#pragma GCC unroll 32
  for (int i = 0; i < N && c; ++i) {
    limb x = p[i];
    p[i] = x - c;
    c = x < c;
  }
}

template <int H, int M>
inline bool abs_difference_fixed(limb *d, const limb *x, const limb *y) {
  if constexpr (H > M) {
    if (x[M] != 0) {
      d[M] = x[M] - sub_fixed<M>(d, x, y);
      return false;
    }
    d[M] = 0;
  }
  if (cmp(x, y, M) < 0) {
    sub_fixed<M>(d, y, x);
    return true;
  }
  sub_fixed<M>(d, x, y);
  return false;
}

template <int N>
void karatsuba_fixed(limb *r, const limb *a, const limb *b) {
  constexpr int H = N - N / 2, M = N / 2, H1 = 2 * M - H;
  limb ws[4 * H];
  limb *da = ws, *db = ws + H, *w = ws + 2 * H;
  const bool negative = abs_difference_fixed<H, M>(da, a, a + H) != abs_difference_fixed<H, M>(db, b, b + H);
  mul_fixed<H, H>(w, da, db);
  mul_fixed<H, H>(r, a, b);
  mul_fixed<M, M>(r + 2 * H, a + H, b + H);
  limb *L0 = r, *L1 = r + H, *H0 = r + 2 * H, *Hi = r + 3 * H;
  limb cT = add_fixed<H>(H0, L1, H0);
  limb cL = add_fixed<H>(L1, H0, L0);
  limb cH = add_fixed<H1>(H0, H0, Hi);
  if constexpr (H > H1) {
    limb *p = H0 + H1;
    for (int i = 0; i < H - H1 && cH; ++i) {
      limb x = p[i] + cH;
      cH = x < cH;
      p[i] = x;
    }
  }
  int64_t at3h = int64_t(cT + cH);
  if (negative)
    at3h += int64_t(add_fixed<2 * H>(L1, L1, w));
  else
    at3h -= int64_t(sub_fixed<2 * H>(L1, L1, w));
  carry_fixed<2 * N - 2 * H>(r + 2 * H, cT + cL);
  if (at3h > 0)
    carry_fixed<H1>(Hi, limb(at3h));
  else if (at3h < 0)
    borrow_fixed<H1>(Hi, limb(-at3h));
}

using FixedKaratsuba = void (*)(limb *, const limb *, const limb *);
constexpr FixedKaratsuba kFixedKaratsuba[9] = {karatsuba_fixed<10>, karatsuba_fixed<11>, karatsuba_fixed<12>,
                                               karatsuba_fixed<13>, karatsuba_fixed<14>, karatsuba_fixed<15>,
                                               karatsuba_fixed<16>, karatsuba_fixed<17>, karatsuba_fixed<18>};

}  // namespace

void mul_karatsuba(limb *r, const limb *a, const limb *b, len n) {
  if (n <= 18) return kFixedKaratsuba[n - 10](r, a, b);
  const len h = n - n / 2;
  if (4 * h <= fixed::kKaratsubaFrameLimbs) {
    limb frame[fixed::kKaratsubaFrameLimbs];
    return karatsuba(r, a, b, n, frame);
  }
  const size_t bytes = size_t(h) * 32;
  auto *ws = static_cast<limb *>(try_allocate(bytes));
  if (!ws) return;  // r stays unwritten
  karatsuba(r, a, b, n, ws);
  release(ws, bytes);
}

}  // namespace zor::gmp
