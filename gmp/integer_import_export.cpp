// Conversion between integers and arrays of words of any size, word order,
// byte order and number of nail bits (high bits of each word left unused),
// byte by byte. import reads the magnitude (the result is non-negative);
// export writes |z| with the nails cleared.
#include "gmp/integer.hpp"

using namespace zor::gmp;

namespace {

// Address of byte j (0 the least significant) of word k (0 the least
// significant) of `count` words of `size` bytes.
size_t byte_offset(size_t k, size_t j, size_t count, int order, size_t size, int endian) {
  size_t word = order < 0 ? k : count - 1 - k;
  size_t byte = endian < 0 ? j : size - 1 - j;
  return word * size + byte;
}

int native_endian(int endian) { return endian == 0 ? -1 : endian; }

}  // namespace

ZOR_API void zor_gmp___gmpz_import(mpz *z, size_t count, int order, size_t size, int endian, size_t nails,
                                   const void *data) {
  endian = native_endian(endian);
  const uint64_t word_bits = 8 * size - nails;
  const uint64_t total = count * word_bits;
  const len n = len((total + 63) / 64);
  limb *p = grow(z, n + 1);
  zero(p, n + 1);
  const auto *bytes = static_cast<const unsigned char *>(data);
  uint64_t pos = 0;
  for (size_t k = 0; k < count; ++k, pos += word_bits) {
    for (size_t j = 0; j < size && 8 * j < word_bits; ++j) {
      limb v = bytes[byte_offset(k, j, count, order, size, endian)];
      uint64_t keep = word_bits - 8 * j;
      if (keep < 8) v &= (limb(1) << keep) - 1;
      uint64_t at = pos + 8 * j;
      p[at / 64] |= v << (at % 64);
      if (at % 64 > 56) p[at / 64 + 1] |= v >> (64 - at % 64);
    }
  }
  set_size(z, n, false);
}

ZOR_API void *zor_gmp___gmpz_export(void *data, size_t *countp, int order, size_t size, int endian, size_t nails,
                                    const mpz *z) {
  const len n = size_of(z);
  if (n == 0) {
    if (countp) *countp = 0;
    return data;
  }
  endian = native_endian(endian);
  const uint64_t word_bits = 8 * size - nails;
  const uint64_t bits = uint64_t(n) * 64 - uint64_t(clz(z->limbs[n - 1]));
  const size_t count = (bits + word_bits - 1) / word_bits;
  if (!data) data = allocate(count * size);
  auto *bytes = static_cast<unsigned char *>(data);
  const limb *p = z->limbs;
  uint64_t pos = 0;
  for (size_t k = 0; k < count; ++k, pos += word_bits) {
    for (size_t j = 0; j < size; ++j) {
      limb v = 0;
      uint64_t at = pos + 8 * j;
      if (8 * j < word_bits && at < bits) {
        v = p[at / 64] >> (at % 64);
        if (at % 64 > 56 && at / 64 + 1 < uint64_t(n)) v |= p[at / 64 + 1] << (64 - at % 64);
        uint64_t keep = word_bits - 8 * j;
        if (keep < 8) v &= (limb(1) << keep) - 1;
      }
      bytes[byte_offset(k, j, count, order, size, endian)] = static_cast<unsigned char>(v);
    }
  }
  if (countp) *countp = count;
  return data;
}
