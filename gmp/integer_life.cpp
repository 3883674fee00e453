// Life of an integer record: initialisation, allocation, clearing, swap.
//
// alloc is never below 8 limbs, and every limb a record receives is cleared.
// realloc to more limbs takes a fresh block, copies the old alloc limbs and
// frees the old block; to fewer, it keeps the block and alloc, clears the
// limbs from the new count up and recomputes the size from what is left,
// keeping the sign. It returns null (the record is the result).
#include <algorithm>

#include "gmp/integer.hpp"

namespace zor::gmp {
namespace {

len limbs_for_bits(uint64_t bits) {
  uint64_t n = (bits + 63) / 64;
  return len(std::max<uint64_t>(n, kMinAlloc));
}

void init_limbs(mpz *z, len n) {
  z->limbs = allocate_limbs(n);
  zero(z->limbs, n);
  z->alloc = n;
  z->size = 0;
}

}  // namespace

limb *grow(mpz *z, len n) {
  if (n > z->alloc) zor_gmp___gmpz_realloc(z, n);
  return z->limbs;
}

Integer::Integer() { init_limbs(&z_, kMinAlloc); }
Integer::Integer(len limbs) { init_limbs(&z_, std::max(limbs, kMinAlloc)); }
Integer::~Integer() { release_limbs(z_.limbs, z_.alloc); }

}  // namespace zor::gmp

using namespace zor::gmp;

ZOR_API void zor_gmp___gmpz_init(mpz *z) { init_limbs(z, kMinAlloc); }
ZOR_API void zor_gmp___gmpz_init2(mpz *z, uint64_t bits) { init_limbs(z, limbs_for_bits(bits)); }
ZOR_API void zor_gmp___gmpz_clear(mpz *z) { release_limbs(z->limbs, z->alloc); }

ZOR_API void *zor_gmp___gmpz_realloc(mpz *z, int64_t limbs) {
  const len n = len(std::max<int64_t>(limbs, kMinAlloc));
  if (n > z->alloc) {
    limb *p = allocate_limbs(n);
    copy(p, z->limbs, z->alloc);
    zero(p + z->alloc, n - z->alloc);
    release_limbs(z->limbs, z->alloc);
    z->limbs = p;
    z->alloc = n;
  } else if (n < z->alloc) {
    zero(z->limbs + n, z->alloc - n);
    if (size_of(z) > n) set_size(z, n, z->size < 0);
  }
  return nullptr;
}

ZOR_API void zor_gmp___gmpz_realloc2(mpz *z, uint64_t bits) { zor_gmp___gmpz_realloc(z, int64_t((bits + 63) / 64)); }

ZOR_API void zor_gmp___gmpz_array_init(mpz *z, int64_t count, int64_t bits) {
  for (int64_t i = 0; i < count; ++i) zor_gmp___gmpz_init2(z + i, uint64_t(bits > 0 ? bits : 0));
}

ZOR_API void zor_gmp___gmpz_swap(mpz *a, mpz *b) { std::swap(*a, *b); }

ZOR_API void zor_gmp___gmpz_init_set(mpz *z, const mpz *x) {
  zor_gmp___gmpz_init2(z, uint64_t(size_of(x)) * 64);
  zor_gmp___gmpz_set(z, x);
}
ZOR_API void zor_gmp___gmpz_init_set_ui(mpz *z, uint64_t x) {
  zor_gmp___gmpz_init(z);
  zor_gmp___gmpz_set_ui(z, x);
}
ZOR_API void zor_gmp___gmpz_init_set_si(mpz *z, int64_t x) {
  zor_gmp___gmpz_init(z);
  zor_gmp___gmpz_set_si(z, x);
}
ZOR_API void zor_gmp___gmpz_init_set_d(mpz *z, double x) {
  zor_gmp___gmpz_init(z);
  zor_gmp___gmpz_set_d(z, x);
}
ZOR_API int zor_gmp___gmpz_init_set_str(mpz *z, const char *s, int base) {
  zor_gmp___gmpz_init(z);
  return zor_gmp___gmpz_set_str(z, s, base);
}
