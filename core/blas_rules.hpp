// The argument rules of the published BLAS routines: for each routine, its
// tests in the order the published routine makes them, each with the
// position it reports. The first test that fails names the bad argument;
// a call with a bad argument does nothing else. Level-1 routines have no
// rules (n < 1 and odd increments are quick returns, not errors).
//
// Both the provider's checked entries and the Fortran front read this one
// table. A routine's arguments are handed over as an array indexed by
// position (1-based): a letter argument as its first byte, an integer as
// its value; positions no rule reads may hold anything.
#pragma once
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "frame/letters.hpp"

namespace zor::rules {

enum class Test : std::uint8_t {
  letter,       // the byte is one of `letters`, in either case
  nonnegative,  // value >= 0
  nonzero,      // value != 0 (increments)
  at_least,     // value >= max(1, bound), see Rule::bound
  band,         // value >= v[of] + v[plus] + 1 (plus may be 0) (leading dimension of a band)
};

struct Rule {
  std::uint8_t position;
  Test test;
  const char *letters = nullptr;  // letter: accepted capitals
  // at_least: the bound is v[of], or v[of_else] when the letter at
  // position `when_at` is not `when` (when_at 0: always v[of]).
  std::uint8_t of = 0, plus = 0, when_at = 0;
  char when = 0;
  std::uint8_t of_else = 0;

  [[gnu::always_inline]] constexpr std::int64_t bound(const std::int64_t *v) const {
    const std::int64_t b = when_at == 0 || letter_of(char(v[when_at])) == when ? v[of] : v[of_else];
    return b > 1 ? b : 1;
  }
  constexpr std::uint32_t letter_mask() const {
    std::uint32_t m = 0;
    for (const char *c = letters; *c; ++c) m |= 1u << (*c - 'A');
    return m;
  }
  [[gnu::always_inline]] constexpr bool fails(const std::int64_t *v) const {
    const std::int64_t x = v[position];
    switch (test) {
      case Test::letter:
        for (const char *c = letters; *c; ++c)
          if (letter_of(char(x)) == *c) return false;
        return true;
      case Test::nonnegative: return x < 0;
      case Test::nonzero: return x == 0;
      case Test::at_least: return x < bound(v);
      case Test::band: return x < v[of] + (plus ? v[plus] : 0) + 1;
    }
    return false;
  }
};

// The position of the first failing rule, 0 when all pass. Each rule is a
// constant here, so a routine's tests compile to plain comparisons.
template <const auto &Table, std::size_t I = 0>
[[gnu::always_inline]] inline int first_bad(const std::int64_t *v) {
  if constexpr (I == std::size(Table)) {
    return 0;
  } else {
    constexpr Rule rule = Table[I];
    if constexpr (rule.test == Test::letter) {
      // the accepted capitals as bits of a mask
      constexpr std::uint32_t mask = rule.letter_mask();
      const unsigned u = unsigned(std::uint8_t(letter_of(char(v[rule.position]))) - 'A');
      if (u >= 26 || !(mask >> u & 1)) return rule.position;
    } else if (rule.fails(v)) {
      return rule.position;
    }
    return first_bad<Table, I + 1>(v);
  }
}

// clang-format off
constexpr Rule letter(std::uint8_t p, const char *set) { return {p, Test::letter, set}; }
constexpr Rule nonneg(std::uint8_t p) { return {p, Test::nonnegative}; }
constexpr Rule nonzero(std::uint8_t p) { return {p, Test::nonzero}; }
constexpr Rule ld(std::uint8_t p, std::uint8_t of) { return {p, Test::at_least, nullptr, of}; }
// ld >= max(1, letter at `at` is `when` ? v[of] : v[of_else])
constexpr Rule ld_if(std::uint8_t p, std::uint8_t at, char when, std::uint8_t of, std::uint8_t of_else) {
  return {p, Test::at_least, nullptr, of, 0, at, when, of_else};
}
constexpr Rule band(std::uint8_t p, std::uint8_t of, std::uint8_t plus = 0) { return {p, Test::band, nullptr, of, plus}; }

inline constexpr const char *kTrans = "NTC", *kUplo = "UL", *kDiag = "NU", *kSide = "LR";

// ---- level 2
inline constexpr Rule kGemv[]  = {letter(1, kTrans), nonneg(2), nonneg(3), ld(6, 2), nonzero(8), nonzero(11)};
inline constexpr Rule kGbmv[]  = {letter(1, kTrans), nonneg(2), nonneg(3), nonneg(4), nonneg(5), band(8, 4, 5),
                                  nonzero(10), nonzero(13)};
inline constexpr Rule kSymv[]  = {letter(1, kUplo), nonneg(2), ld(5, 2), nonzero(7), nonzero(10)};   // and hemv
inline constexpr Rule kSbmv[]  = {letter(1, kUplo), nonneg(2), nonneg(3), band(6, 3), nonzero(8), nonzero(11)};
inline constexpr Rule kSpmv[]  = {letter(1, kUplo), nonneg(2), nonzero(6), nonzero(9)};
inline constexpr Rule kTrmv[]  = {letter(1, kUplo), letter(2, kTrans), letter(3, kDiag), nonneg(4), ld(6, 4), nonzero(8)};
inline constexpr Rule kTbmv[]  = {letter(1, kUplo), letter(2, kTrans), letter(3, kDiag), nonneg(4), nonneg(5),
                                  band(7, 5), nonzero(9)};
inline constexpr Rule kTpmv[]  = {letter(1, kUplo), letter(2, kTrans), letter(3, kDiag), nonneg(4), nonzero(7)};
inline constexpr Rule kGer[]   = {nonneg(1), nonneg(2), nonzero(5), nonzero(7), ld(9, 1)};
inline constexpr Rule kSyr[]   = {letter(1, kUplo), nonneg(2), nonzero(5), ld(7, 2)};                 // and her
inline constexpr Rule kSpr[]   = {letter(1, kUplo), nonneg(2), nonzero(5)};
inline constexpr Rule kSyr2[]  = {letter(1, kUplo), nonneg(2), nonzero(5), nonzero(7), ld(9, 2)};
inline constexpr Rule kSpr2[]  = {letter(1, kUplo), nonneg(2), nonzero(5), nonzero(7)};
// ---- level 3
inline constexpr Rule kGemm[]  = {letter(1, kTrans), letter(2, kTrans), nonneg(3), nonneg(4), nonneg(5),
                                  ld_if(8, 1, 'N', 3, 5), ld_if(10, 2, 'N', 5, 4), ld(13, 3)};
inline constexpr Rule kSymm[]  = {letter(1, kSide), letter(2, kUplo), nonneg(3), nonneg(4), ld_if(7, 1, 'L', 3, 4),
                                  ld(9, 3), ld(12, 3)};
inline constexpr char kRealSyrk[] = "NTC", kComplexSyrk[] = "NT", kHermitianSyrk[] = "NC";
// syrk: real data take 'C' as 'T'; complex symmetric forms refuse it and
// the Hermitian ones refuse 'T'.
template <const char *Trans>
inline constexpr Rule kSyrkOf[] = {letter(1, kUplo), letter(2, Trans), nonneg(3), nonneg(4), ld_if(7, 2, 'N', 3, 4),
                                   ld(10, 3)};
template <const char *Trans>
inline constexpr Rule kSyr2kOf[] = {letter(1, kUplo), letter(2, Trans), nonneg(3), nonneg(4), ld_if(7, 2, 'N', 3, 4),
                                    ld_if(9, 2, 'N', 3, 4), ld(12, 3)};
inline constexpr Rule kTrmm[]  = {letter(1, kSide), letter(2, kUplo), letter(3, kTrans), letter(4, kDiag), nonneg(5),
                                  nonneg(6), ld_if(9, 1, 'L', 5, 6), ld(11, 5)};   // and trsm
// clang-format on

}  // namespace zor::rules
