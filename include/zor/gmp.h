/* Multi-precision integers of zor_tier2: limb arithmetic with the GMP
 * programming interface, under the prefix zor_gmp_.
 *
 * A limb is an unsigned 64-bit integer; numbers are little-endian arrays of
 * limbs. Limb counts are 32-bit. Arguments are passed by value, unlike the
 * rest of the library. Nothing is checked: a zero divisor raises SIGFPE,
 * and a memory hook that returns null ends the process with a message,
 * except in the first scratch block of the Karatsuba product (see
 * zor_gmp___gmpn_mul_n).
 *
 * Memory: one process-wide triple of hooks, allocate/reallocate/free, set by
 * zor_gmp___gmp_set_memory_functions exactly as given (a null stays null).
 * The defaults take blocks from zor_serv_zor_malloc: size + 73 bytes,
 * 32-byte aligned, with the offset byte at q[-9] and the size at q[-8];
 * the free hook ignores its size argument. Hooks are not locked.
 */
#ifndef ZOR_GMP_H
#define ZOR_GMP_H

#include <stddef.h>
#include <stdint.h>
#include <zor/export.h>

typedef uint64_t zor_limb;

/* The integer record: limbs allocated, signed limb count, the limbs. */
typedef struct {
  int32_t alloc;
  int32_t size;
  zor_limb *limbs;
} zor_mpz_struct;
typedef zor_mpz_struct zor_mpz_t[1];
typedef zor_mpz_struct *zor_mpz_ptr;
typedef const zor_mpz_struct *zor_mpz_srcptr;

/* A rational for output: numerator and denominator. */
typedef struct {
  zor_mpz_struct num, den;
} zor_mpq_struct;
typedef const zor_mpq_struct *zor_mpq_srcptr;

typedef void *(*zor_gmp_allocate_fn)(size_t);
typedef void *(*zor_gmp_reallocate_fn)(void *, size_t, size_t);
typedef void (*zor_gmp_free_fn)(void *, size_t);

/* ------------------------------------------------------------ memory */
ZOR_API void zor_gmp___gmp_set_memory_functions(zor_gmp_allocate_fn a, zor_gmp_reallocate_fn r, zor_gmp_free_fn f);
ZOR_API zor_gmp_allocate_fn zor_gmp___gmp_allocate_func_ptr(void);
ZOR_API zor_gmp_reallocate_fn zor_gmp___gmp_reallocate_func_ptr(void);
ZOR_API zor_gmp_free_fn zor_gmp___gmp_free_func_ptr(void);
/* Null when zor_serv_zor_malloc fails. */
ZOR_API void *zor_gmp___gmp_default_allocate(size_t size);
/* Copies min(stored size, new) bytes into a fresh block; old is not used. */
ZOR_API void *zor_gmp___gmp_default_reallocate(void *q, size_t old, size_t size);
ZOR_API void zor_gmp___gmp_default_free(void *q, size_t size);
/* A one-slot temporary: malloc records the block; mark frees it and clears
   the slot; free frees it and keeps the slot, so a second free frees again. */
ZOR_API void *zor_gmp__imptmpmalloc(size_t size);
ZOR_API void zor_gmp__imptmpmark(void);
ZOR_API void zor_gmp__imptmpfree(void);

/* ------------------------------------------------------------ limbs */
ZOR_API zor_limb zor_gmp___gmpn_add_n(zor_limb *r, const zor_limb *a, const zor_limb *b, int32_t n);
ZOR_API zor_limb zor_gmp___gmpn_sub_n(zor_limb *r, const zor_limb *a, const zor_limb *b, int32_t n);
ZOR_API zor_limb zor_gmp___gmpn_add_1(zor_limb *r, const zor_limb *a, int32_t n, zor_limb b);
ZOR_API zor_limb zor_gmp___gmpn_sub_1(zor_limb *r, const zor_limb *a, int32_t n, zor_limb b);
ZOR_API zor_limb zor_gmp___gmpn_addmul_1(zor_limb *r, const zor_limb *a, int32_t n, zor_limb b);
ZOR_API zor_limb zor_gmp___gmpn_submul_1(zor_limb *r, const zor_limb *a, int32_t n, zor_limb b);
ZOR_API int zor_gmp___gmpn_cmp(const zor_limb *a, const zor_limb *b, int32_t n);
/* r (2n limbs, not overlapping a or b) := a * b. Basecase to 9 limbs,
   Karatsuba to 200, three-way Toom above (the floating-point transform rung
   is not in this build). Karatsuba takes 4h limbs of scratch (h = n - n/2)
   from the allocate hook when n > 128; if that returns null the product
   returns with r unwritten. */
ZOR_API void zor_gmp___gmpn_mul_n(zor_limb *r, const zor_limb *a, const zor_limb *b, int32_t n);
/* r (an + bn limbs) := a * b, an >= bn; bn = 0 clears an limbs of r.
   Returns the top limb of r. */
ZOR_API zor_limb zor_gmp___gmpn_mul(zor_limb *r, const zor_limb *a, int32_t an, const zor_limb *b, int32_t bn);
ZOR_API void zor_gmp_mpn_mul_basecase(zor_limb *r, const zor_limb *a, int32_t an, const zor_limb *b, int32_t bn);
/* q (n limbs) := a / d; returns the remainder. q may be a. */
ZOR_API zor_limb zor_gmp_mpn_divmod_1(zor_limb *q, const zor_limb *a, int32_t n, zor_limb d);
ZOR_API zor_limb zor_gmp_mpn_mod_1(const zor_limb *a, int32_t n, zor_limb d);
/* Adds b at p and passes the carry on, with no length limit. */
ZOR_API void zor_gmp_mpn_incr_u(zor_limb *p, zor_limb b);
/* Jacobi symbol (a/b) of two limbs, b odd. */
ZOR_API int zor_gmp_mpn_jacobi_base(zor_limb a, zor_limb b);
/* (hi, lo) := (ah, al) + (bh, bl) modulo 2^128. */
ZOR_API void zor_gmp_mpl_add_ssaaaa(zor_limb *hi, zor_limb *lo, zor_limb ah, zor_limb al, zor_limb bh, zor_limb bl);
/* Returns the low limb of a * b and stores the high one. */
ZOR_API zor_limb zor_gmp_mpl_umul_ppmm(zor_limb *hi, zor_limb a, zor_limb b);
/* Index of the first 1 (0) bit at or after bit start of the n limbs at p;
   0xFFFFFFFF when start lies past the n limbs or no such bit is found. */
ZOR_API uint32_t zor_gmp_zor_gmp_scan1(const zor_limb *p, int32_t n, uint32_t start);
ZOR_API uint32_t zor_gmp_zor_gmp_scan0(const zor_limb *p, int32_t n, uint32_t start);

#endif
