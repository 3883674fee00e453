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

}  // namespace

void mul_karatsuba(limb *r, const limb *a, const limb *b, len n) {
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
