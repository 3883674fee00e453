// The floating-point transform product (see transform.hpp): digits in, one
// forward transform per operand, the point-by-point product in perm layout,
// the inverse, and the rounding with its carry chain back into limbs.
#include "gmp/transform.hpp"

#include <algorithm>
#include <cstring>

#include "dft/plan.hpp"
#include "frame/simd.hpp"

namespace zor::gmp::transform {
namespace {

constexpr int kDigitBits = 16;
constexpr int kDigitsPerLimb = kLimbBits / kDigitBits;
constexpr int64_t kDigitBase = int64_t(1) << kDigitBits;
constexpr size_t kAlign = 32;

size_t aligned(size_t bytes) { return (bytes + kAlign - 1) & ~(kAlign - 1); }

// The 4n balanced digits of a at the head of x, zeros to L: a digit of 2^15
// or more becomes itself less 2^16 and lends one to the next; the top digit
// takes its borrow unbalanced, so that nothing passes beyond 4n digits.
void split(double *x, const limb *a, len n, size_t L) {
  int64_t borrow = 0;
  size_t d = 0;
  for (len i = 0; i < n; ++i) {
    limb w = a[i];
    for (int k = 0; k < kDigitsPerLimb; ++k, ++d) {
      int64_t t = int64_t(w >> (kDigitBits * k) & (kDigitBase - 1)) + borrow;
      borrow = t >= kDigitBase / 2;
      x[d] = double(t - (borrow ? kDigitBase : 0));
    }
  }
  x[d - 1] += double(borrow * kDigitBase);
  std::memset(x + d, 0, (L - d) * sizeof(double));
}

// y := x y on two perm-layout spectra: the zero and half-rate terms are
// real, the others complex pairs. y may be x (a square).
void multiply(const double *x, double *y, size_t L) {
  using namespace zor::simd;
  double y0 = x[0] * y[0], y1 = x[1] * y[1];
  for (size_t j = 2; j < L; j += 2) store_a(y + j, cmul(load_a(x + j), load_a(y + j)));
  y[0] = y0;
  y[1] = y1;
}

// r (2n limbs) from the 8n values of the inverse. First each value is
// rounded to the nearest integer in place (adding and taking away 1.5 2^52,
// exact below 2^51 in magnitude), two a step, the largest distance kept;
// then four digits make a limb, with the carry passed on as a signed
// 128-bit sum. Returns that largest distance.
double carry(limb *r, double *v, len n) {
  using namespace zor::simd;
  const f64x2 round = splat(6755399441055744.0);  // 1.5 2^52
  f64x2 worst0 = splat(0.0), worst1 = worst0;
  const size_t values = size_t(n) * 2 * kDigitsPerLimb;
  for (size_t d = 0; d < values; d += 4) {
    f64x2 x0 = load_a(v + d), x1 = load_a(v + d + 2);
    f64x2 t0 = sub(add(x0, round), round), t1 = sub(add(x1, round), round);
    worst0 = max(worst0, abs(sub(x0, t0)));
    worst1 = max(worst1, abs(sub(x1, t1)));
    store_a(v + d, t0);
    store_a(v + d + 2, t1);
  }
  worst0 = max(worst0, worst1);
  __int128 c = 0;
  for (len i = 0; i < 2 * n; ++i) {
    const double *q = v + size_t(i) * kDigitsPerLimb;
    c += __int128(int64_t(q[0])) + __int128(int64_t(q[1])) * kDigitBase +
         __int128(int64_t(q[2])) * (kDigitBase << kDigitBits) + __int128(int64_t(q[3])) * (kDigitBase << (2 * kDigitBits));
    r[i] = limb(c);
    c >>= kLimbBits;  // arithmetic: a negative sum borrows
  }
  return std::max(lane0(worst0), lane0(flip_copy(worst0)));
}

}  // namespace

int order_for(len n) {
  int order = 0;
  while ((int64_t(1) << order) < int64_t(8) * n) ++order;
  return order;
}

size_t block_bytes(int order, int32_t work_bytes) {
  return 2 * aligned((size_t(1) << order) * sizeof(double)) + aligned(size_t(work_bytes > 0 ? work_bytes : 0)) +
         kAlign;
}

double product(limb *r, const limb *a, const limb *b, len n, const DftPlan *plan, void *block) {
  size_t L = size_t(1) << order_for(n);
  size_t line = aligned(L * sizeof(double));
  auto *base = reinterpret_cast<unsigned char *>(aligned(reinterpret_cast<uintptr_t>(block)));
  auto *x = reinterpret_cast<double *>(base);
  auto *y = reinterpret_cast<double *>(base + line);
  void *work = plan->work_size > 0 ? base + 2 * line : nullptr;
  split(x, a, n, L);
  dft::real_pow2_forward<double>(x, x, plan, work);
  if (a != b) {
    split(y, b, n, L);
    dft::real_pow2_forward<double>(y, y, plan, work);
  } else {
    y = x;
  }
  multiply(x, y, L);
  dft::real_pow2_inverse<double>(y, y, plan, work);
  return carry(r, y, n);
}

}  // namespace zor::gmp::transform
