// Limb arithmetic inside the library: the loops every multi-precision routine
// is built from, and the internal entry points of the multiplication and
// division. The exported zor_gmp___gmpn_* routines are thin wrappers over
// these, so that internal calls do not go through the dynamic linker.
//
// Limbs are unsigned 64-bit; products and two-limb values are unsigned
// __int128 (mul, add, adc; no mulx/adcx). Lengths are int32_t.
#pragma once
#include <x86intrin.h>
#include <zor/gmp.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

namespace zor::gmp {

using limb = uint64_t;
using dlimb = unsigned __int128;
using len = int32_t;

constexpr int kLimbBits = 64;

inline limb hi(dlimb x) { return limb(x >> 64); }
inline int clz(limb x) { return __builtin_clzll(x); }  // x != 0, by bsr

// Trailing zeros of x != 0 by a de Bruijn product: the compiler's own
// builtin becomes tzcnt, an instruction past this tier's set.
inline int ctz(limb x) {
  constexpr limb kDeBruijn = 0x03F79D71B4CB0A89ull;
  constexpr auto table = [] {
    std::array<unsigned char, 64> t{};
    for (int i = 0; i < 64; ++i) t[((limb(1) << i) * kDeBruijn) >> 58] = static_cast<unsigned char>(i);
    return t;
  }();
  return table[((x & (0 - x)) * kDeBruijn) >> 58];
}

// ------------------------------------------------------------ add, subtract

// r := a + b (Carry = _addcarry_u64) or a - b (_subborrow_u64) over n limbs,
// carry or borrow out. r may be a or b. Results go straight to r: through
// locals the compiler would gather them into vector stores.
using CarryStep = unsigned char (*)(unsigned char, unsigned long long, unsigned long long, unsigned long long *);
template <CarryStep Carry>
inline limb carry_loop(limb *r, const limb *a, const limb *b, len n) {
  using u = unsigned long long;
  unsigned char c = 0;
  long i = 0;
  for (; i + 4 <= n; i += 4) {
    c = Carry(c, a[i], b[i], reinterpret_cast<u *>(r + i));
    c = Carry(c, a[i + 1], b[i + 1], reinterpret_cast<u *>(r + i + 1));
    c = Carry(c, a[i + 2], b[i + 2], reinterpret_cast<u *>(r + i + 2));
    c = Carry(c, a[i + 3], b[i + 3], reinterpret_cast<u *>(r + i + 3));
  }
  for (; i < n; ++i) c = Carry(c, a[i], b[i], reinterpret_cast<u *>(r + i));
  return c;
}
inline limb add_n(limb *r, const limb *a, const limb *b, len n) { return carry_loop<_addcarry_u64>(r, a, b, n); }
inline limb sub_n(limb *r, const limb *a, const limb *b, len n) { return carry_loop<_subborrow_u64>(r, a, b, n); }

// r := a + b (one limb) over n limbs, carry out; the limbs past the carry
// are copied when r is not a.
inline limb add_1(limb *r, const limb *a, len n, limb b) {
  len i = 0;
  for (; i < n; ++i) {
    limb s = a[i] + b;
    r[i] = s;
    if (s >= b) {  // no carry: the rest is a copy
      if (r != a) std::memmove(r + i + 1, a + i + 1, size_t(n - i - 1) * sizeof(limb));
      return 0;
    }
    b = 1;
  }
  return n > 0 ? 1 : (b != 0);
}

inline limb sub_1(limb *r, const limb *a, len n, limb b) {
  len i = 0;
  for (; i < n; ++i) {
    limb x = a[i];
    r[i] = x - b;
    if (x >= b) {
      if (r != a) std::memmove(r + i + 1, a + i + 1, size_t(n - i - 1) * sizeof(limb));
      return 0;
    }
    b = 1;
  }
  return n > 0 ? 1 : (b != 0);
}

// Adds b at p with the carry passed on; the caller knows it ends.
inline void incr(limb *p, limb b) {
  limb x = *p + b;
  *p = x;
  if (x < b)
    while (++*++p == 0) {
    }
}
inline void decr(limb *p, limb b) {
  limb x = *p;
  *p = x - b;
  if (x < b)
    while ((*++p)-- == 0) {
    }
}

// Sign of a - b over n limbs.
inline int cmp(const limb *a, const limb *b, len n) {
  for (len i = n - 1; i >= 0; --i)
    if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
  return 0;
}

// n with the high zero limbs left out.
inline len normalized(const limb *p, len n) {
  while (n > 0 && p[n - 1] == 0) --n;
  return n;
}

inline void zero(limb *p, len n) {
  if (n > 0) std::memset(p, 0, size_t(n) * sizeof(limb));
}
inline void copy(limb *r, const limb *a, len n) {
  if (n > 0) std::memmove(r, a, size_t(n) * sizeof(limb));
}

// r := a << s (0 < s < 64) over n limbs; returns the bits shifted out.
// r may be a, or lie above it.
inline limb lshift(limb *r, const limb *a, len n, int s) {
  limb out = a[n - 1] >> (64 - s);
  for (len i = n - 1; i > 0; --i) r[i] = (a[i] << s) | (a[i - 1] >> (64 - s));
  r[0] = a[0] << s;
  return out;
}
// r := a >> s (0 < s < 64); returns the bits shifted out, at the top of a
// limb. r may be a, or lie below it.
inline limb rshift(limb *r, const limb *a, len n, int s) {
  limb out = a[0] << (64 - s);
  for (len i = 0; i + 1 < n; ++i) r[i] = (a[i] >> s) | (a[i + 1] << (64 - s));
  r[n - 1] = a[n - 1] >> s;
  return out;
}

// ------------------------------------------------------------ one-limb products
// One limb of r := a b (+ r) with the carry limb c passed through. The
// product's low half takes r first (off the carry chain), then c; each
// addition's carry goes to the high half, which cannot overflow.
template <bool AddR>
inline void product_step(limb *r, const limb *a, limb b, limb &c) {
  dlimb p = dlimb(*a) * b;
  limb lo = limb(p), h = hi(p);
  if constexpr (AddR) {
    limb x = *r;
    lo += x;
    h += lo < x;
  }
  lo += c;
  h += lo < c;
  *r = lo;
  c = h;
}
inline void mul_step(limb *r, const limb *a, limb b, limb &c) { product_step<false>(r, a, b, c); }
inline void addmul_step(limb *r, const limb *a, limb b, limb &c) { product_step<true>(r, a, b, c); }
inline void submul_step(limb *r, const limb *a, limb b, limb &c) {
  dlimb p = dlimb(*a) * b;
  limb lo = limb(p), h = hi(p), x = *r;
  lo += c;
  h += lo < c;
  *r = x - lo;
  c = h + (x < lo);
}

limb mul_1(limb *r, const limb *a, len n, limb b);     // r := a b, high limb out
limb addmul_1(limb *r, const limb *a, len n, limb b);  // r += a b
limb submul_1(limb *r, const limb *a, len n, limb b);  // r -= a b, borrow limb out

// ------------------------------------------------------------ products
// r (2n limbs) := a b by the ladder; r overlaps neither operand.
void mul_n(limb *r, const limb *a, const limb *b, len n);
// r (an + bn limbs) := a b, an >= bn >= 0.
limb mul(limb *r, const limb *a, len an, const limb *b, len bn);
void mul_basecase(limb *r, const limb *a, len an, const limb *b, len bn);
void mul_karatsuba(limb *r, const limb *a, const limb *b, len n);
void mul_toom3(limb *r, const limb *a, const limb *b, len n);
// r (2n limbs) := a^2.
inline void sqr(limb *r, const limb *a, len n) { mul_n(r, a, a, n); }

// ------------------------------------------------------------ division
// Reciprocal of a normalised limb d (top bit set): floor((B^2 - 1) / d) - B.
inline limb reciprocal(limb d) { return limb(((dlimb(~d) << 64) | ~limb(0)) / d); }

// (u1 u0) / d for a normalised d, u1 < d, by the reciprocal v of d:
// quotient out, remainder in r.
inline limb div_2by1(limb &r, limb u1, limb u0, limb d, limb v) {
  dlimb q = dlimb(v) * u1 + ((dlimb(u1 + 1) << 64) | u0);
  limb q1 = hi(q), q0 = limb(q);
  limb rr = u0 - q1 * d;
  if (rr > q0) {
    --q1;
    rr += d;
  }
  if (rr >= d) {
    ++q1;
    rr -= d;
  }
  r = rr;
  return q1;
}

// q (n limbs) := a / d, remainder out; q may be a, or null.
limb divmod_1(limb *q, const limb *a, len n, limb d);

// Long division of a (an limbs) by d (dn limbs, top limb non-zero, an >= dn):
// q (an - dn + 1 limbs, or null) and the remainder rem (dn limbs). q and rem
// overlap nothing; a is not changed.
void div_base(limb *q, limb *rem, const limb *a, len an, const limb *d, len dn);
// The same by recursive blocks, for long divisors.
void div_rec(limb *q, limb *rem, const limb *a, len an, const limb *d, len dn);
// div_base below the recursion threshold, else div_rec.
void div_qr(limb *q, limb *rem, const limb *a, len an, const limb *d, len dn);

// ------------------------------------------------------------ memory
// The current hooks.
void *allocate(size_t bytes);  // ends the process with a message on null
void release(void *p, size_t bytes);
void *reallocate(void *p, size_t old_bytes, size_t new_bytes);  // likewise
// The allocate hook as it is: null passed back to the caller.
void *try_allocate(size_t bytes);
[[noreturn]] void out_of_memory(size_t bytes);

inline limb *allocate_limbs(len n) { return static_cast<limb *>(allocate(size_t(n) * sizeof(limb))); }
inline void release_limbs(limb *p, len n) { release(p, size_t(n) * sizeof(limb)); }

// Limbs from the allocate hook for one scope.
class Scratch {
 public:
  explicit Scratch(len n) : n_(n > 0 ? n : 1), p_(allocate_limbs(n_)) {}
  ~Scratch() { release_limbs(p_, n_); }
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;
  limb *get() const { return p_; }
  operator limb *() const { return p_; }

 private:
  len n_;
  limb *p_;
};

}  // namespace zor::gmp
