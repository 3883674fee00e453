// The integer layer's own pieces: record helpers, temporaries, and the
// shared cores of the division and the signed additions.
#pragma once
#include <algorithm>

#include "gmp/limbs.hpp"

namespace zor::gmp {

using mpz = zor_mpz_struct;

constexpr len kMinAlloc = 8;

inline len size_of(const mpz *z) { return z->size >= 0 ? z->size : -z->size; }
inline int sign_of(const mpz *z) { return (z->size > 0) - (z->size < 0); }

// Makes room for n limbs (alloc only grows; the value is kept).
limb *grow(mpz *z, len n);
// Sets the size from the first n limbs, high zeros left out.
inline void set_size(mpz *z, len n, bool negative) {
  n = normalized(z->limbs, n);
  z->size = negative ? -n : n;
}

// An integer for the extent of a scope.
class Integer {
 public:
  Integer();
  explicit Integer(len limbs);
  ~Integer();
  Integer(const Integer &) = delete;
  Integer &operator=(const Integer &) = delete;
  mpz *get() { return &z_; }
  operator mpz *() { return &z_; }
  mpz *operator->() { return &z_; }

 private:
  mpz z_;
};

// A read-only view of limbs as an integer record (for constants and copies).
inline mpz view(const limb *p, len n, bool negative = false) {
  n = normalized(p, n);
  return mpz{n, negative ? -n : n, const_cast<limb *>(p)};
}

// r := a + b, with signs; r may be a or b.
void add_signed(mpz *r, const limb *a, len as, const limb *b, len bs);
// |r| := |a| + |b| (an >= bn), r has an + 1 limbs; the new length.
len abs_add(limb *r, const limb *a, len an, const limb *b, len bn);
// |r| := |a| - |b| for |a| >= |b|; the new length.
len abs_sub(limb *r, const limb *a, len an, const limb *b, len bn);
// Sign of |a| - |b|.
int abs_cmp(const limb *a, len an, const limb *b, len bn);

// Truncating division: q (or null) := n / d, r (or null) := n - q d, the
// quotient with the product of the signs, the remainder with the sign of n.
// Any of q, r may alias n or d.
void tdiv_qr_core(mpz *q, mpz *r, const mpz *n, const mpz *d);
// |n| mod d as a limb, d non-zero.
limb abs_mod_limb(const mpz *n, limb d);

// Kronecker symbol (a/b) for any integers.
int kronecker(const mpz *a, const mpz *b);

void raise_invalid();  // SIGFPE, for NaN and similar operands

}  // namespace zor::gmp
