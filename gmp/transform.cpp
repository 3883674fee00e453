// The floating-point transform product (see transform.hpp): digits in, one
// forward transform per operand, the point-by-point product in perm layout,
// the inverse, and the rounding with its carry chain back into limbs.
#include "gmp/transform.hpp"

#include <algorithm>
#include <bit>
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

// The 4n balanced digits of a at the head of x, zeros to L. A digit of 2^15
// or more becomes itself less 2^16 and lends one to the next, which is the
// same as taking the digits of a + (2^15, 2^15, ...) less 2^15 each: one
// 64-bit add with carry per limb instead of a borrow per digit. The top
// digit takes the last carry unbalanced, so that nothing passes beyond 4n
// digits.
void split(double *x, const limb *a, len n, size_t L) {
  constexpr limb kHalves = 0x8000800080008000ull;
  constexpr int64_t kMask = kDigitBase - 1, kHalf = kDigitBase / 2;
  limb carry = 0;
  for (len i = 0; i < n; ++i, x += kDigitsPerLimb) {
    const unsigned __int128 u = (unsigned __int128)a[i] + kHalves + carry;
    const limb w = limb(u);
    carry = limb(u >> kLimbBits);
    x[0] = double(int64_t(w & kMask) - kHalf);
    x[1] = double(int64_t(w >> kDigitBits & kMask) - kHalf);
    x[2] = double(int64_t(w >> 2 * kDigitBits & kMask) - kHalf);
    x[3] = double(int64_t(w >> 3 * kDigitBits) - kHalf);
  }
  x[-1] += double(carry) * double(kDigitBase);
  std::memset(x, 0, (L - size_t(n) * kDigitsPerLimb) * sizeof(double));
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

// r (2n limbs) from the 8n values of the inverse, in one sweep. Each value
// is rounded to the nearest integer by adding 1.5 2^52 (exact below 2^51
// in magnitude), which leaves the integer in the low bits of the sum: its
// bits less those of 1.5 2^52 are the integer as a 64-bit value. The
// largest distance of a value from its integer is kept; four digits make a
// limb, the carry passed on as a signed 128-bit sum. Returns that distance.
double carry(limb *r, const double *v, len n) {
  using namespace zor::simd;
  constexpr double kRound = 6755399441055744.0;  // 1.5 2^52
  const int64_t round_bits = std::bit_cast<int64_t>(kRound);
  const f64x2 round = splat(kRound);
  f64x2 worst = splat(0.0);
  __int128 c = 0;
  alignas(16) double t[kDigitsPerLimb];
  for (len i = 0; i < 2 * n; ++i, v += kDigitsPerLimb) {
    const f64x2 x0 = load_a(v), x1 = load_a(v + 2);
    const f64x2 t0 = add(x0, round), t1 = add(x1, round);
    worst = max(worst, max(abs(sub(x0, sub(t0, round))), abs(sub(x1, sub(t1, round)))));
    store_a(t, t0);
    store_a(t + 2, t1);
    int64_t q[kDigitsPerLimb];
    for (int k = 0; k < kDigitsPerLimb; ++k) q[k] = std::bit_cast<int64_t>(t[k]) - round_bits;
    c += __int128(q[0]) + __int128(q[1]) * kDigitBase + __int128(q[2]) * (kDigitBase << kDigitBits) +
         __int128(q[3]) * (kDigitBase << (2 * kDigitBits));
    r[i] = limb(c);
    c >>= kLimbBits;  // arithmetic: a negative sum borrows
  }
  return std::max(lane0(worst), lane0(flip_copy(worst)));
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
