// Text: digits in bases 2 to 36, the size in a base, and the rational
// writer.
//
// get_str divides a copy of |z| by the base once per digit, least
// significant first, and reverses. With s null the string goes to a block of
// sizeinbase + 2 bytes from the allocate hook. Negative bases -2 to -36 give
// upper-case digits, bases -1 to 1 are 10, others give null.
//
// set_str: the first and last characters that are not blanks mark the
// number; blanks between digits are passed over. An optional '-' (right
// before the first digit or prefix), then with
// base 0 a prefix "0x"/"0X" (16; alone it reads as 0) or "0" (8), else base
// 10. Digits in either case. The digits are read from the last one with a running power of the
// base, r += digit * power by addmul_ui: quadratic, by design. Bad input
// (no digits, a character that is no digit of the base, a base of 1, a
// negative base or one above 36) returns -1 and leaves z as it was.
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "gmp/integer.hpp"

using namespace zor::gmp;

namespace {

const char kLower[] = "0123456789abcdefghijklmnopqrstuvwxyz";
const char kUpper[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

// The value of digit c, or 99.
int digit_value(char c) {
  const char *p = std::strchr(kLower, c);
  if (c && p) return int(p - kLower);
  p = std::strchr(kUpper, c);
  if (c && p) return int(p - kUpper);
  return 99;
}

bool blank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

}  // namespace

// Exact for powers of two, otherwise exact or one too large.
ZOR_API size_t zor_gmp___gmpz_sizeinbase(mpz *z, int base) {
  len n = normalized(z->limbs, size_of(z));
  z->size = z->size < 0 ? -n : n;
  if (n == 0) return 1;
  const uint64_t bits = uint64_t(n) * 64 - uint64_t(clz(z->limbs[n - 1]));
  if ((base & (base - 1)) == 0) {
    uint64_t per_digit = uint64_t(ctz(limb(base)));
    return size_t((bits + per_digit - 1) / per_digit);
  }
  // bits / log2(base), nudged up so that rounding never falls short
  double digits = double(bits) / std::log2(double(base));
  return size_t(digits * (1 + 0x1p-50)) + 1;
}

namespace {

// The base get_str uses for `base`, 0 for none.
int text_base(int base) {
  if (base < 0) base = -base;
  if (base <= 1) return 10;
  return base > 36 ? 0 : base;
}

// Bytes of the block get_str takes for z in base b.
size_t text_room(const mpz *z, int b) { return zor_gmp___gmpz_sizeinbase(const_cast<mpz *>(z), b) + 2; }

}  // namespace

ZOR_API char *zor_gmp___gmpz_get_str(char *s, int base, const mpz *z) {
  const char *table = base < 0 ? kUpper : kLower;
  base = text_base(base);
  if (base == 0) return nullptr;
  if (!s) s = static_cast<char *>(allocate(text_room(z, base)));
  len n = size_of(z);
  char *out = s;
  if (z->size < 0) *out++ = '-';
  if (n == 0) {
    *out++ = '0';
  } else {
    Scratch t(n);
    copy(t, z->limbs, n);
    char *first = out;
    while (n > 0) {
      *out++ = table[divmod_1(t, t, n, limb(base))];
      n = normalized(t, n);
    }
    for (char *a = first, *b = out - 1; a < b; ++a, --b) std::swap(*a, *b);
  }
  *out = '\0';
  return s;
}

ZOR_API int zor_gmp___gmpz_set_str(mpz *z, const char *s, int base) {
  if (base < 0 || base == 1 || base > 36) return -1;
  const char *begin = s, *end = s + std::strlen(s);
  while (begin < end && blank(*begin)) ++begin;
  while (end > begin && blank(end[-1])) --end;
  bool negative = false;
  if (begin < end && *begin == '-') {
    negative = true;
    ++begin;
    if (begin < end && blank(*begin)) return -1;  // the sign is followed by a digit
  }
  bool prefix = false;  // "0x": its 0 is the value when no digit follows
  if (base == 0) {
    base = 10;
    if (begin < end && *begin == '0') {
      base = 8;
      if (begin + 1 < end && (begin[1] == 'x' || begin[1] == 'X')) {
        base = 16;
        begin += 2;
        prefix = true;
      }
    }
  }
  int digits = 0;
  for (const char *p = begin; p < end; ++p) {
    if (blank(*p)) continue;
    if (digit_value(*p) >= base) return -1;
    ++digits;
  }
  if (digits == 0 && !prefix) return -1;
  Integer value, power;
  zor_gmp___gmpz_set_ui(power, 1);
  for (const char *p = end; p-- > begin;) {
    if (blank(*p)) continue;
    zor_gmp___gmpz_addmul_ui(value, power, limb(digit_value(*p)));
    zor_gmp___gmpz_mul_ui(power, power, limb(base));
  }
  if (negative) value->size = -value->size;
  zor_gmp___gmpz_swap(z, value);
  return 0;
}

ZOR_API size_t zor_gmp___gmpq_out_str(FILE *stream, int base, const zor_mpq_struct *q) {
  if (!stream) stream = stdout;
  size_t written = 0;
  const mpz *parts[2] = {&q->num, &q->den};
  for (int i = 0; i < 2; ++i) {
    if (i == 1) {
      if (zor_gmp___gmpz_cmp_ui(parts[1], 1) == 0) break;
      if (std::fputc('/', stream) == EOF) return 0;
      ++written;
    }
    char *text = zor_gmp___gmpz_get_str(nullptr, base, parts[i]);
    if (!text) return 0;
    size_t length = std::strlen(text);
    size_t put = std::fwrite(text, 1, length, stream);
    release(text, text_room(parts[i], text_base(base)));
    if (put != length) return 0;
    written += length;
  }
  return written;
}
