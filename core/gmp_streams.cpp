// The stream routines of the integer family, which the tier passes through
// to the provider: formatted output with %Z (integer) and %Q (rational)
// conversions, text and raw input and output of integers.
//
// The provider reaches the tier's integer routines by name at call time, so
// that its own load never depends on them; without them each routine says
// so on stderr and reports an error.
//
// Raw format: 4 bytes, most significant first, holding the number of bytes
// of the magnitude (its two's complement negative for a negative integer),
// then those bytes, most significant first.
#include <zor/gmp.h>

#include <cctype>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/gmp_streams.hpp"
#include "core/tier_lookup.h"

namespace {

struct TierIntegers {
  char *(*get_str)(char *, int, zor_mpz_srcptr);
  int (*set_str)(zor_mpz_ptr, const char *, int);
  size_t (*sizeinbase)(zor_mpz_ptr, int);
  void (*import_words)(zor_mpz_ptr, size_t, int, size_t, int, size_t, const void *);
  void *(*export_words)(void *, size_t *, int, size_t, int, size_t, zor_mpz_srcptr);
};

const TierIntegers *tier(const char *routine) {
  static const TierIntegers found = {
      zor_core::tier_function<decltype(TierIntegers::get_str)>("zor_gmp___gmpz_get_str"),
      zor_core::tier_function<decltype(TierIntegers::set_str)>("zor_gmp___gmpz_set_str"),
      zor_core::tier_function<decltype(TierIntegers::sizeinbase)>("zor_gmp___gmpz_sizeinbase"),
      zor_core::tier_function<decltype(TierIntegers::import_words)>("zor_gmp___gmpz_import"),
      zor_core::tier_function<decltype(TierIntegers::export_words)>("zor_gmp___gmpz_export")};
  if (found.get_str && found.set_str && found.sizeinbase && found.import_words && found.export_words) return &found;
  std::fprintf(stderr, "zor_core: %s needs the tier's integer routines, which are not loaded\n", routine);
  return nullptr;
}

// The digits of z in base (2 to 36, or -2 to -36 for upper case; 0 is 10),
// without sign; empty when the base is refused.
std::string digits(const TierIntegers &t, zor_mpz_srcptr z, int base) {
  int b = base < 0 ? -base : base;
  if (b <= 1) b = 10;
  std::string s(t.sizeinbase(const_cast<zor_mpz_ptr>(z), b) + 2, '\0');
  if (!t.get_str(s.data(), base, z)) return {};
  s.resize(std::strlen(s.c_str()));
  if (!s.empty() && s[0] == '-') s.erase(0, 1);
  return s;
}

// ------------------------------------------------------------ formatted output

struct Conversion {
  bool left = false, plus = false, space = false, alternate = false, zero = false;
  int width = -1, precision = -1;
  std::string length;
  char conversion = 0;
};

// The text of one integer conversion (d i u o x X) of a magnitude's digits,
// with sign, base prefix, precision and width as printf lays them out.
std::string lay_out(const Conversion &conv, bool negative, std::string body, const char *prefix) {
  if (conv.precision >= 0) {
    if (conv.precision == 0 && body == "0") body.clear();
    if (int(body.size()) < conv.precision) body.insert(0, size_t(conv.precision) - body.size(), '0');
  }
  std::string head = negative ? "-" : conv.plus ? "+" : conv.space ? " " : "";
  head += prefix;
  size_t total = head.size() + body.size();
  if (conv.width > 0 && total < size_t(conv.width)) {
    size_t pad = size_t(conv.width) - total;
    if (conv.left) return head + body + std::string(pad, ' ');
    if (conv.zero && conv.precision < 0) return head + std::string(pad, '0') + body;
    return std::string(pad, ' ') + head + body;
  }
  return head + body;
}

int base_of(char conversion) {
  switch (conversion) {
    case 'o': return 8;
    case 'x': return 16;
    case 'X': return -16;
    default: return 10;
  }
}

// The base prefix '#' asks for: "0x"/"0X" for non-zero hexadecimal, "0" for
// octal unless the digits start with one.
const char *prefix_of(const Conversion &conv, const std::string &body) {
  if (!conv.alternate) return "";
  if (conv.conversion == 'o') return body.empty() || body[0] != '0' ? "0" : "";
  if (body == "0" || body.empty()) return "";
  if (conv.conversion == 'x') return "0x";
  if (conv.conversion == 'X') return "0X";
  return "";
}

std::string integer_text(const TierIntegers &t, const Conversion &conv, zor_mpz_srcptr z) {
  std::string body = digits(t, z, base_of(conv.conversion));
  return lay_out(conv, z->size < 0, body, prefix_of(conv, body));
}

std::string rational_text(const TierIntegers &t, const Conversion &conv, const zor_mpq_struct *q) {
  int base = base_of(conv.conversion);
  std::string num = digits(t, &q->num, base), den = digits(t, &q->den, base);
  std::string body = std::string(prefix_of(conv, num)) + num;
  bool whole = q->den.size == 1 && q->den.limbs[0] == 1;
  if (!whole) {
    body += '/';
    body += prefix_of(conv, den);
    body += den;
  }
  Conversion plain = conv;
  plain.precision = -1;
  return lay_out(plain, q->num.size < 0, body, "");
}

// Reads "%...c" at f (past the '%'); * width and precision come from ap.
const char *parse(const char *f, Conversion &conv, va_list &ap) {
  for (;; ++f) {
    if (*f == '-') conv.left = true;
    else if (*f == '+') conv.plus = true;
    else if (*f == ' ') conv.space = true;
    else if (*f == '#') conv.alternate = true;
    else if (*f == '0') conv.zero = true;
    else if (*f == '\'') continue;
    else break;
  }
  if (*f == '*') {
    conv.width = va_arg(ap, int);
    if (conv.width < 0) conv.left = true, conv.width = -conv.width;
    ++f;
  } else if (std::isdigit(static_cast<unsigned char>(*f))) {
    conv.width = 0;
    while (std::isdigit(static_cast<unsigned char>(*f))) conv.width = conv.width * 10 + (*f++ - '0');
  }
  if (*f == '.') {
    ++f;
    conv.precision = 0;
    if (*f == '*') {
      conv.precision = va_arg(ap, int);
      ++f;
    } else {
      while (std::isdigit(static_cast<unsigned char>(*f))) conv.precision = conv.precision * 10 + (*f++ - '0');
    }
  }
  while (*f && std::strchr("hlLqjztZQ", *f)) conv.length += *f++;
  conv.conversion = *f;
  return *f ? f + 1 : f;
}

// The conversion as the C library reads it, with the width and precision
// written out.
std::string c_format(const Conversion &conv) {
  std::string s = "%";
  if (conv.left) s += '-';
  if (conv.plus) s += '+';
  if (conv.space) s += ' ';
  if (conv.alternate) s += '#';
  if (conv.zero) s += '0';
  if (conv.width >= 0) s += std::to_string(conv.width);
  if (conv.precision >= 0) {
    s += '.';
    s += std::to_string(conv.precision);
  }
  s += conv.length;
  s += conv.conversion;
  return s;
}

// Hands one C conversion, with its argument taken from ap, to the C library.
int c_conversion(FILE *stream, const Conversion &conv, va_list &ap, long long written) {
  const std::string fmt = c_format(conv);
  const std::string &l = conv.length;
  const char c = conv.conversion;
  if (std::strchr("di", c)) {
    if (l == "l") return std::fprintf(stream, fmt.c_str(), va_arg(ap, long));
    if (l == "ll" || l == "q") return std::fprintf(stream, fmt.c_str(), va_arg(ap, long long));
    if (l == "j") return std::fprintf(stream, fmt.c_str(), va_arg(ap, intmax_t));
    if (l == "z") return std::fprintf(stream, fmt.c_str(), va_arg(ap, ssize_t));
    if (l == "t") return std::fprintf(stream, fmt.c_str(), va_arg(ap, ptrdiff_t));
    return std::fprintf(stream, fmt.c_str(), va_arg(ap, int));
  }
  if (std::strchr("ouxX", c)) {
    if (l == "l") return std::fprintf(stream, fmt.c_str(), va_arg(ap, unsigned long));
    if (l == "ll" || l == "q") return std::fprintf(stream, fmt.c_str(), va_arg(ap, unsigned long long));
    if (l == "j") return std::fprintf(stream, fmt.c_str(), va_arg(ap, uintmax_t));
    if (l == "z") return std::fprintf(stream, fmt.c_str(), va_arg(ap, size_t));
    if (l == "t") return std::fprintf(stream, fmt.c_str(), va_arg(ap, ptrdiff_t));
    return std::fprintf(stream, fmt.c_str(), va_arg(ap, unsigned));
  }
  if (std::strchr("eEfFgGaA", c)) {
    if (l == "L") return std::fprintf(stream, fmt.c_str(), va_arg(ap, long double));
    return std::fprintf(stream, fmt.c_str(), va_arg(ap, double));
  }
  if (c == 'c') return l == "l" ? std::fprintf(stream, fmt.c_str(), va_arg(ap, wint_t))
                                : std::fprintf(stream, fmt.c_str(), va_arg(ap, int));
  if (c == 's') return l == "l" ? std::fprintf(stream, fmt.c_str(), va_arg(ap, wchar_t *))
                                : std::fprintf(stream, fmt.c_str(), va_arg(ap, char *));
  if (c == 'p') return std::fprintf(stream, fmt.c_str(), va_arg(ap, void *));
  if (c == 'n') {
    void *p = va_arg(ap, void *);
    if (l == "hh") *static_cast<signed char *>(p) = static_cast<signed char>(written);
    else if (l == "h") *static_cast<short *>(p) = static_cast<short>(written);
    else if (l == "l") *static_cast<long *>(p) = long(written);
    else if (l == "ll" || l == "q" || l == "j") *static_cast<long long *>(p) = written;
    else if (l == "z") *static_cast<size_t *>(p) = size_t(written);
    else *static_cast<int *>(p) = int(written);
    return 0;
  }
  return -1;  // an unknown conversion
}

int format(FILE *stream, const char *f, va_list &ap) {
  const TierIntegers *t = nullptr;
  long long written = 0;
  while (*f) {
    const char *next = std::strchr(f, '%');
    size_t plain = next ? size_t(next - f) : std::strlen(f);
    if (plain && std::fwrite(f, 1, plain, stream) != plain) return -1;
    written += plain;
    if (!next) break;
    f = next + 1;
    if (*f == '%') {
      if (std::fputc('%', stream) == EOF) return -1;
      ++written, ++f;
      continue;
    }
    Conversion conv;
    f = parse(f, conv, ap);
    int n;
    if (conv.length == "Z" || conv.length == "Q") {
      if (!t && !(t = tier("zor_gmp___gmp_fprintf"))) return -1;
      if (!std::strchr("diuoxX", conv.conversion)) return -1;
      std::string s = conv.length == "Z" ? integer_text(*t, conv, va_arg(ap, zor_mpz_srcptr))
                                         : rational_text(*t, conv, va_arg(ap, const zor_mpq_struct *));
      n = std::fwrite(s.data(), 1, s.size(), stream) == s.size() ? int(s.size()) : -1;
    } else {
      n = c_conversion(stream, conv, ap, written);
    }
    if (n < 0) return -1;
    written += n;
  }
  return int(written);
}

}  // namespace

namespace zor_core {

int gmp_vfprintf(FILE *stream, const char *fmt, va_list ap) {
  va_list args;
  va_copy(args, ap);
  int n = format(stream ? stream : stdout, fmt, args);
  va_end(args);
  return n;
}

size_t gmp_out_str(FILE *stream, int base, zor_mpz_srcptr z) {
  const TierIntegers *t = tier("zor_gmp___gmpz_out_str");
  if (!t) return 0;
  std::string s = digits(*t, z, base);
  if (s.empty()) return 0;
  if (z->size < 0) s.insert(0, 1, '-');
  return std::fwrite(s.data(), 1, s.size(), stream ? stream : stdout) == s.size() ? s.size() : 0;
}

size_t gmp_out_raw(FILE *stream, zor_mpz_srcptr z) {
  const TierIntegers *t = tier("zor_gmp___gmpz_out_raw");
  if (!t) return 0;
  size_t n = size_t(z->size < 0 ? -z->size : z->size);
  std::string bytes(4 + 8 * n, '\0');
  size_t count = 0;
  t->export_words(bytes.data() + 4, &count, 1, 1, 1, 0, z);
  uint32_t header = uint32_t(count);
  if (z->size < 0) header = 0 - header;
  for (int i = 0; i < 4; ++i) bytes[size_t(i)] = char(header >> (24 - 8 * i));
  size_t total = 4 + count;
  return std::fwrite(bytes.data(), 1, total, stream ? stream : stdout) == total ? total : 0;
}

size_t gmp_inp_raw(zor_mpz_ptr z, FILE *stream) {
  const TierIntegers *t = tier("zor_gmp___gmpz_inp_raw");
  if (!t) return 0;
  if (!stream) stream = stdin;
  unsigned char head[4];
  if (std::fread(head, 1, 4, stream) != 4) return 0;
  int32_t size = int32_t(uint32_t(head[0]) << 24 | uint32_t(head[1]) << 16 | uint32_t(head[2]) << 8 | head[3]);
  size_t count = size_t(size < 0 ? -int64_t(size) : size);
  std::string bytes(count, '\0');
  if (count && std::fread(bytes.data(), 1, count, stream) != count) return 0;
  t->import_words(z, count, 1, 1, 1, 0, bytes.data());
  if (size < 0) z->size = -z->size;
  return 4 + count;
}

size_t gmp_inp_str(zor_mpz_ptr z, FILE *stream, int base) {
  const TierIntegers *t = tier("zor_gmp___gmpz_inp_str");
  if (!t || base < 0 || base == 1 || base > 36) return 0;
  if (!stream) stream = stdin;
  size_t read = 0;
  int c = std::fgetc(stream);
  while (c != EOF && std::isspace(c)) c = std::fgetc(stream), ++read;
  std::string text;
  if (c == '-') text += '-', c = std::fgetc(stream), ++read;
  if (base == 0) {
    base = 10;
    if (c == '0') {
      base = 8;
      text += '0', c = std::fgetc(stream), ++read;
      if (c == 'x' || c == 'X') base = 16, text.pop_back(), c = std::fgetc(stream), ++read;
    }
  }
  auto value = [](int ch) {
    if (ch >= '0' && ch <= '9') return ch - '0';
    if (ch >= 'a' && ch <= 'z') return ch - 'a' + 10;
    if (ch >= 'A' && ch <= 'Z') return ch - 'A' + 10;
    return 99;
  };
  while (c != EOF && value(c) < base) text += char(c), c = std::fgetc(stream), ++read;
  if (c != EOF) std::ungetc(c, stream);
  if (text.empty() || text == "-") return 0;
  if (t->set_str(z, text.c_str(), base) != 0) return 0;
  return read;
}

}  // namespace zor_core
