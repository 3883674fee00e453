/* Multi-precision integers of zor_tier2: limb arithmetic and signed integers
 * with the GMP programming interface, under the prefix zor_gmp_.
 *
 * A limb is an unsigned 64-bit integer; numbers are little-endian arrays of
 * limbs. Limb counts of the mpn routines are 32-bit. The integer record has
 * GMP's layout (32-bit alloc, 32-bit signed size, limb pointer), so a program
 * written against that interface can use these routines by their names with
 * the zor_gmp_ prefix. On this LP64 platform the _ui and _si values, the
 * results of fits_ulong_p/fits_slong_p and all bit counts are 64-bit.
 *
 * Arguments are passed by value, unlike the rest of the library. Nothing is
 * checked: a zero divisor raises SIGFPE (from the divide instruction or
 * explicitly), and a memory hook that returns null ends the process with a
 * message, except in the first scratch block of the Karatsuba product (see
 * zor_gmp___gmpn_mul_n).
 *
 * Where these routines differ from what a GMP user would assume:
 *  - Every integer has at least 8 limbs allocated; new limbs are zero.
 *  - zor_gmp___gmpz_realloc(z, n) keeps alloc when n is smaller, drops the
 *    limbs from n up (the value becomes shorter, keeping its sign) and
 *    returns null; it never zeroes the whole value.
 *  - zor_gmp___gmpz_root(r, n, k) of a negative n (odd k) rounds towards
 *    minus infinity: between two powers it gives -(r+1) where GMP truncates.
 *    A negative n with even k gives r = 0 and result 0; zor_gmp___gmpz_sqrt
 *    and zor_gmp___gmpz_sqrtrem of a negative n give 0 (and the remainder n).
 *  - zor_gmp___gmpz_powm with a negative exponent and no inverse returns and
 *    leaves r as it was.
 *  - zor_gmp___gmpz_sizeinbase strips high zero limbs of its argument and
 *    writes the shorter size back.
 *  - Bases: 2 to 36 (get_str and out_str also -2 to -36, upper case);
 *    a base above 36 gives null from get_str and -1 from set_str. set_str
 *    with base 0 reads "0x"/"0X" as hexadecimal and a leading "0" as octal;
 *    there is no "0b" prefix.
 *  - zor_gmp___gmpz_array_init gives each integer its own block; each may be
 *    cleared.
 *  - zor_gmp___gmpz_set_d, zor_gmp___gmpz_cmp_d and zor_gmp___gmpz_cmpabs_d
 *    raise SIGFPE on a NaN; set_d of an infinity does too.
 *
 * Memory: one process-wide triple of hooks, allocate/reallocate/free, set by
 * zor_gmp___gmp_set_memory_functions exactly as given (a null stays null).
 * The defaults take blocks from zor_serv_zor_malloc: size + 73 bytes,
 * 32-byte aligned, with the offset byte at q[-9] and the size at q[-8];
 * the free hook ignores its size argument. Hooks are not locked.
 *
 * The stream routines (fprintf, inp_raw, inp_str, out_raw, out_str) are
 * carried out by zor_core with GMP's meanings: out_raw writes a 4-byte
 * big-endian signed byte count and the magnitude's bytes, most significant
 * first; fprintf formats %Z (integer) and %Q (rational) conversions itself,
 * with flags, width and precision, and hands every other conversion to the
 * C library.
 */
#ifndef ZOR_GMP_H
#define ZOR_GMP_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
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
   Karatsuba to 200, three-way Toom to 8192, a floating-point transform to
   32768 (16-bit digits through a real power-of-two Fourier transform),
   Karatsuba whose halves come back to this ladder above. Karatsuba takes 4h
   limbs of scratch (h = n - n/2) from the allocate hook when n > 128; if
   that returns null the product returns with r unwritten. The transform
   takes one block from the allocate hook (a null there ends the process)
   and makes its plan from the plain allocator, freed before it returns;
   when that allocator fails, Toom makes the product. */
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

/* ------------------------------------------------------------ life */
ZOR_API void zor_gmp___gmpz_init(zor_mpz_ptr z);
ZOR_API void zor_gmp___gmpz_init2(zor_mpz_ptr z, uint64_t bits);
ZOR_API void zor_gmp___gmpz_clear(zor_mpz_ptr z);
ZOR_API void *zor_gmp___gmpz_realloc(zor_mpz_ptr z, int64_t limbs);
ZOR_API void zor_gmp___gmpz_realloc2(zor_mpz_ptr z, uint64_t bits);
ZOR_API void zor_gmp___gmpz_array_init(zor_mpz_ptr z, int64_t count, int64_t bits);
ZOR_API void zor_gmp___gmpz_swap(zor_mpz_ptr a, zor_mpz_ptr b);
ZOR_API void zor_gmp___gmpz_init_set(zor_mpz_ptr z, zor_mpz_srcptr x);
ZOR_API void zor_gmp___gmpz_init_set_ui(zor_mpz_ptr z, uint64_t x);
ZOR_API void zor_gmp___gmpz_init_set_si(zor_mpz_ptr z, int64_t x);
ZOR_API void zor_gmp___gmpz_init_set_d(zor_mpz_ptr z, double x);
ZOR_API int zor_gmp___gmpz_init_set_str(zor_mpz_ptr z, const char *s, int base);

/* ------------------------------------------------------------ assign */
ZOR_API void zor_gmp___gmpz_set(zor_mpz_ptr z, zor_mpz_srcptr x);
ZOR_API void zor_gmp___gmpz_set_ui(zor_mpz_ptr z, uint64_t x);
ZOR_API void zor_gmp___gmpz_set_si(zor_mpz_ptr z, int64_t x);
ZOR_API void zor_gmp___gmpz_set_d(zor_mpz_ptr z, double x);
ZOR_API int zor_gmp___gmpz_set_str(zor_mpz_ptr z, const char *s, int base);
ZOR_API void zor_gmp___gmpz_neg(zor_mpz_ptr z, zor_mpz_srcptr x);
ZOR_API void zor_gmp___gmpz_abs(zor_mpz_ptr z, zor_mpz_srcptr x);

/* ------------------------------------------------------------ read */
ZOR_API uint64_t zor_gmp___gmpz_get_ui(zor_mpz_srcptr z);
ZOR_API int64_t zor_gmp___gmpz_get_si(zor_mpz_srcptr z);
ZOR_API double zor_gmp___gmpz_get_d(zor_mpz_srcptr z);
ZOR_API double zor_gmp___gmpz_get_d_2exp(int64_t *exp, zor_mpz_srcptr z);
/* s null: a block of sizeinbase + 2 bytes from the allocate hook. */
ZOR_API char *zor_gmp___gmpz_get_str(char *s, int base, zor_mpz_srcptr z);
ZOR_API zor_limb zor_gmp___gmpz_getlimbn(zor_mpz_srcptr z, int64_t n);
ZOR_API size_t zor_gmp___gmpz_size(zor_mpz_srcptr z);
ZOR_API size_t zor_gmp___gmpz_sizeinbase(zor_mpz_ptr z, int base);
ZOR_API int zor_gmp___gmpz_sgn(zor_mpz_srcptr z);
ZOR_API int zor_gmp___gmpz_fits_sint_p(zor_mpz_srcptr z);
ZOR_API int zor_gmp___gmpz_fits_slong_p(zor_mpz_srcptr z);
ZOR_API int zor_gmp___gmpz_fits_sshort_p(zor_mpz_srcptr z);
ZOR_API int zor_gmp___gmpz_fits_uint_p(zor_mpz_srcptr z);
ZOR_API int zor_gmp___gmpz_fits_ulong_p(zor_mpz_srcptr z);
ZOR_API int zor_gmp___gmpz_fits_ushort_p(zor_mpz_srcptr z);

/* ------------------------------------------------------------ compare */
ZOR_API int zor_gmp___gmpz_cmp(zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API int zor_gmp___gmpz_cmp_d(zor_mpz_srcptr a, double b);
ZOR_API int zor_gmp___gmpz_cmp_si(zor_mpz_srcptr a, int64_t b);
ZOR_API int zor_gmp___gmpz_cmp_ui(zor_mpz_srcptr a, uint64_t b);
ZOR_API int zor_gmp___gmpz_cmpabs(zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API int zor_gmp___gmpz_cmpabs_d(zor_mpz_srcptr a, double b);
ZOR_API int zor_gmp___gmpz_cmpabs_ui(zor_mpz_srcptr a, uint64_t b);

/* ------------------------------------------------------------ add, multiply */
ZOR_API void zor_gmp___gmpz_add(zor_mpz_ptr r, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_add_ui(zor_mpz_ptr r, zor_mpz_srcptr a, uint64_t b);
ZOR_API void zor_gmp___gmpz_sub(zor_mpz_ptr r, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_sub_ui(zor_mpz_ptr r, zor_mpz_srcptr a, uint64_t b);
ZOR_API void zor_gmp___gmpz_ui_sub(zor_mpz_ptr r, uint64_t a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_addmul(zor_mpz_ptr r, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_addmul_ui(zor_mpz_ptr r, zor_mpz_srcptr a, uint64_t b);
ZOR_API void zor_gmp___gmpz_submul(zor_mpz_ptr r, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_submul_ui(zor_mpz_ptr r, zor_mpz_srcptr a, uint64_t b);
ZOR_API void zor_gmp___gmpz_mul(zor_mpz_ptr r, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_mul_ui(zor_mpz_ptr r, zor_mpz_srcptr a, uint64_t b);
ZOR_API void zor_gmp___gmpz_mul_si(zor_mpz_ptr r, zor_mpz_srcptr a, int64_t b);
ZOR_API void zor_gmp___gmpz_mul_2exp(zor_mpz_ptr r, zor_mpz_srcptr a, uint64_t bits);

/* ------------------------------------------------------------ divide
   t: truncating (q towards zero, r takes the sign of n); f: floor (r takes
   the sign of d); c: ceiling (r takes the opposite sign of d). The _ui forms
   return |r|. */
ZOR_API void zor_gmp___gmpz_tdiv_q(zor_mpz_ptr q, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API void zor_gmp___gmpz_tdiv_r(zor_mpz_ptr r, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API void zor_gmp___gmpz_tdiv_qr(zor_mpz_ptr q, zor_mpz_ptr r, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API uint64_t zor_gmp___gmpz_tdiv_q_ui(zor_mpz_ptr q, zor_mpz_srcptr n, uint64_t d);
ZOR_API uint64_t zor_gmp___gmpz_tdiv_r_ui(zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t d);
ZOR_API uint64_t zor_gmp___gmpz_tdiv_qr_ui(zor_mpz_ptr q, zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t d);
ZOR_API uint64_t zor_gmp___gmpz_tdiv_ui(zor_mpz_srcptr n, uint64_t d);
ZOR_API void zor_gmp___gmpz_tdiv_q_2exp(zor_mpz_ptr q, zor_mpz_srcptr n, uint64_t bits);
ZOR_API void zor_gmp___gmpz_tdiv_r_2exp(zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t bits);
ZOR_API void zor_gmp___gmpz_fdiv_q(zor_mpz_ptr q, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API void zor_gmp___gmpz_fdiv_r(zor_mpz_ptr r, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API void zor_gmp___gmpz_fdiv_qr(zor_mpz_ptr q, zor_mpz_ptr r, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API uint64_t zor_gmp___gmpz_fdiv_q_ui(zor_mpz_ptr q, zor_mpz_srcptr n, uint64_t d);
ZOR_API uint64_t zor_gmp___gmpz_fdiv_r_ui(zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t d);
ZOR_API uint64_t zor_gmp___gmpz_fdiv_qr_ui(zor_mpz_ptr q, zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t d);
ZOR_API uint64_t zor_gmp___gmpz_fdiv_ui(zor_mpz_srcptr n, uint64_t d);
ZOR_API void zor_gmp___gmpz_fdiv_q_2exp(zor_mpz_ptr q, zor_mpz_srcptr n, uint64_t bits);
ZOR_API void zor_gmp___gmpz_fdiv_r_2exp(zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t bits);
ZOR_API void zor_gmp___gmpz_mod(zor_mpz_ptr r, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API uint64_t zor_gmp___gmpz_mod_ui(zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t d);
ZOR_API void zor_gmp___gmpz_cdiv_q(zor_mpz_ptr q, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API void zor_gmp___gmpz_cdiv_r(zor_mpz_ptr r, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API void zor_gmp___gmpz_cdiv_qr(zor_mpz_ptr q, zor_mpz_ptr r, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API uint64_t zor_gmp___gmpz_cdiv_q_ui(zor_mpz_ptr q, zor_mpz_srcptr n, uint64_t d);
ZOR_API uint64_t zor_gmp___gmpz_cdiv_r_ui(zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t d);
ZOR_API uint64_t zor_gmp___gmpz_cdiv_qr_ui(zor_mpz_ptr q, zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t d);
ZOR_API uint64_t zor_gmp___gmpz_cdiv_ui(zor_mpz_srcptr n, uint64_t d);
ZOR_API void zor_gmp___gmpz_cdiv_q_2exp(zor_mpz_ptr q, zor_mpz_srcptr n, uint64_t bits);
ZOR_API void zor_gmp___gmpz_cdiv_r_2exp(zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t bits);

/* ------------------------------------------------------------ divisibility */
ZOR_API void zor_gmp___gmpz_divexact(zor_mpz_ptr q, zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API void zor_gmp___gmpz_divexact_ui(zor_mpz_ptr q, zor_mpz_srcptr n, uint64_t d);
ZOR_API int zor_gmp___gmpz_divisible_p(zor_mpz_srcptr n, zor_mpz_srcptr d);
ZOR_API int zor_gmp___gmpz_divisible_ui_p(zor_mpz_srcptr n, uint64_t d);
ZOR_API int zor_gmp___gmpz_divisible_2exp_p(zor_mpz_srcptr n, uint64_t bits);
ZOR_API int zor_gmp___gmpz_congruent_p(zor_mpz_srcptr n, zor_mpz_srcptr c, zor_mpz_srcptr d);
ZOR_API int zor_gmp___gmpz_congruent_ui_p(zor_mpz_srcptr n, uint64_t c, uint64_t d);
ZOR_API int zor_gmp___gmpz_congruent_2exp_p(zor_mpz_srcptr n, zor_mpz_srcptr c, uint64_t bits);

/* ------------------------------------------------------------ number theory */
ZOR_API void zor_gmp___gmpz_gcd(zor_mpz_ptr g, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API uint64_t zor_gmp___gmpz_gcd_ui(zor_mpz_ptr g, zor_mpz_srcptr a, uint64_t b);
/* g = a s + b t with GMP's choice of s and t; s or t may be null. */
ZOR_API void zor_gmp___gmpz_gcdext(zor_mpz_ptr g, zor_mpz_ptr s, zor_mpz_ptr t, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_lcm(zor_mpz_ptr r, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_lcm_ui(zor_mpz_ptr r, zor_mpz_srcptr a, uint64_t b);
/* 0 when no inverse exists; modulo +-1 the inverse is 0 and the result 1. */
ZOR_API int zor_gmp___gmpz_invert(zor_mpz_ptr r, zor_mpz_srcptr a, zor_mpz_srcptr m);
ZOR_API int zor_gmp___gmpz_jacobi(zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API int zor_gmp___gmpz_kronecker_si(zor_mpz_srcptr a, int64_t b);
ZOR_API int zor_gmp___gmpz_kronecker_ui(zor_mpz_srcptr a, uint64_t b);
ZOR_API int zor_gmp___gmpz_si_kronecker(int64_t a, zor_mpz_srcptr b);
ZOR_API int zor_gmp___gmpz_ui_kronecker(uint64_t a, zor_mpz_srcptr b);
ZOR_API uint64_t zor_gmp___gmpz_remove(zor_mpz_ptr r, zor_mpz_srcptr n, zor_mpz_srcptr f);
ZOR_API void zor_gmp___gmpz_fac_ui(zor_mpz_ptr r, uint64_t n);
ZOR_API void zor_gmp___gmpz_bin_ui(zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t k);
ZOR_API void zor_gmp___gmpz_bin_uiui(zor_mpz_ptr r, uint64_t n, uint64_t k);
ZOR_API void zor_gmp___gmpz_fib_ui(zor_mpz_ptr f, uint64_t n);
ZOR_API void zor_gmp___gmpz_fib2_ui(zor_mpz_ptr f, zor_mpz_ptr fsub1, uint64_t n);
ZOR_API void zor_gmp___gmpz_lucnum_ui(zor_mpz_ptr l, uint64_t n);
ZOR_API void zor_gmp___gmpz_lucnum2_ui(zor_mpz_ptr l, zor_mpz_ptr lsub1, uint64_t n);

/* ------------------------------------------------------------ powers, roots */
ZOR_API void zor_gmp___gmpz_pow_ui(zor_mpz_ptr r, zor_mpz_srcptr b, uint64_t e);
ZOR_API void zor_gmp___gmpz_ui_pow_ui(zor_mpz_ptr r, uint64_t b, uint64_t e);
ZOR_API void zor_gmp___gmpz_powm(zor_mpz_ptr r, zor_mpz_srcptr b, zor_mpz_srcptr e, zor_mpz_srcptr m);
ZOR_API void zor_gmp___gmpz_powm_ui(zor_mpz_ptr r, zor_mpz_srcptr b, uint64_t e, zor_mpz_srcptr m);
/* b^e mod m by 4-bit windows of e, products by mul and mod. */
ZOR_API void zor_gmp_mpz_powm_mary(zor_mpz_ptr r, zor_mpz_srcptr b, zor_mpz_srcptr e, zor_mpz_srcptr m);
/* Non-zero when the root is exact; see above for negative n. */
ZOR_API int zor_gmp___gmpz_root(zor_mpz_ptr r, zor_mpz_srcptr n, uint64_t k);
ZOR_API void zor_gmp___gmpz_sqrt(zor_mpz_ptr r, zor_mpz_srcptr n);
ZOR_API void zor_gmp___gmpz_sqrtrem(zor_mpz_ptr r, zor_mpz_ptr rem, zor_mpz_srcptr n);
ZOR_API int zor_gmp___gmpz_perfect_power_p(zor_mpz_srcptr n);
ZOR_API int zor_gmp___gmpz_perfect_square_p(zor_mpz_srcptr n);

/* ------------------------------------------------------------ bits
   Negative integers read as infinite two's complement. */
ZOR_API void zor_gmp___gmpz_and(zor_mpz_ptr r, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_ior(zor_mpz_ptr r, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_xor(zor_mpz_ptr r, zor_mpz_srcptr a, zor_mpz_srcptr b);
ZOR_API void zor_gmp___gmpz_com(zor_mpz_ptr r, zor_mpz_srcptr a);
ZOR_API void zor_gmp___gmpz_setbit(zor_mpz_ptr z, uint64_t bit);
ZOR_API void zor_gmp___gmpz_clrbit(zor_mpz_ptr z, uint64_t bit);
ZOR_API int zor_gmp___gmpz_tstbit(zor_mpz_srcptr z, uint64_t bit);
/* ~0 for a negative integer. */
ZOR_API uint64_t zor_gmp___gmpz_popcount(zor_mpz_srcptr z);
/* ~0 when the signs differ. */
ZOR_API uint64_t zor_gmp___gmpz_hamdist(zor_mpz_srcptr a, zor_mpz_srcptr b);
/* ~0 when no such bit exists. */
ZOR_API uint64_t zor_gmp___gmpz_scan0(zor_mpz_srcptr z, uint64_t start);
ZOR_API uint64_t zor_gmp___gmpz_scan1(zor_mpz_srcptr z, uint64_t start);

/* ------------------------------------------------------------ conversion */
ZOR_API void zor_gmp___gmpz_import(zor_mpz_ptr z, size_t count, int order, size_t size, int endian, size_t nails,
                                   const void *data);
/* data null: a block from the allocate hook; count may be null. */
ZOR_API void *zor_gmp___gmpz_export(void *data, size_t *count, int order, size_t size, int endian, size_t nails,
                                    zor_mpz_srcptr z);

/* ------------------------------------------------------------ streams
   A null stream is stdout (output) or stdin (input). Results are the bytes
   written or read, 0 on an error (fprintf: -1). */
ZOR_API int zor_gmp___gmp_fprintf(FILE *stream, const char *format, ...);
ZOR_API size_t zor_gmp___gmpz_out_str(FILE *stream, int base, zor_mpz_srcptr z);
ZOR_API size_t zor_gmp___gmpz_inp_str(zor_mpz_ptr z, FILE *stream, int base);
ZOR_API size_t zor_gmp___gmpz_out_raw(FILE *stream, zor_mpz_srcptr z);
ZOR_API size_t zor_gmp___gmpz_inp_raw(zor_mpz_ptr z, FILE *stream);
/* num/den, or num alone when den is 1. */
ZOR_API size_t zor_gmp___gmpq_out_str(FILE *stream, int base, zor_mpq_srcptr q);

#endif
