// Pieces shared by the integer-family tests: GMP 6.2.1 as the oracle in the
// same binary (our names carry a prefix, so both link side by side), and
// limb generators with uniform, bit-run and all-ones patterns.
#pragma once
#include <gmp.h>
#include <zor/gmp.h>

#include <string>
#include <vector>

#include "common/testing.hpp"

namespace zor::test::gmp {

using limb = uint64_t;

enum class Pattern { uniform, runs, ones };

inline void fill(Rng &rng, limb *p, size_t n, Pattern pattern) {
  switch (pattern) {
    case Pattern::uniform:
      for (size_t i = 0; i < n; ++i) p[i] = rng.engine();
      break;
    case Pattern::ones:
      for (size_t i = 0; i < n; ++i) p[i] = ~limb(0);
      break;
    case Pattern::runs: {
      // Alternating runs of ones and zeros, 1 to 300 bits each: long carry
      // chains and limbs of all ones or all zeros in between.
      bool one = rng.engine() & 1;
      size_t bit = 0, total = n * 64;
      for (size_t i = 0; i < n; ++i) p[i] = 0;
      while (bit < total) {
        size_t run = size_t(rng.integer(1, 300));
        for (size_t b = bit; b < bit + run && b < total; ++b)
          if (one) p[b / 64] |= limb(1) << (b % 64);
        bit += run;
        one = !one;
      }
      break;
    }
  }
}

inline std::vector<limb> random_limbs(Rng &rng, size_t n, Pattern pattern) {
  std::vector<limb> v(n);
  fill(rng, v.data(), n, pattern);
  return v;
}

// GMP's integer record for a scope.
struct G {
  mpz_t z;
  G() { mpz_init(z); }
  explicit G(const char *decimal) { mpz_init_set_str(z, decimal, 10); }
  ~G() { mpz_clear(z); }
  G(const G &) = delete;
  G &operator=(const G &) = delete;
  operator mpz_ptr() { return z; }
  mpz_ptr operator->() { return z; }
};

inline int sign(int x) { return (x > 0) - (x < 0); }

// Gives a block GMP allocated back through GMP's own free hook.
inline void gmp_free(void *p, size_t bytes) {
  void (*release)(void *, size_t);
  mp_get_memory_functions(nullptr, nullptr, &release);
  release(p, bytes);
}

}  // namespace zor::test::gmp
