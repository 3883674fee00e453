// Letter arguments: transposition, triangle, diagonal, side, storage order.
//
// A letter argument is read once, at its first byte, in either case: the
// byte with its case bit (0x20) cleared is compared with the capital, which
// for a letter is the same as comparing both cases. The result is an enum
// that names the meaning; a byte that is none of the letters gives `none`,
// and each caller says what that means for it (a checked entry reports it;
// a kernel reads it as the default its contract gives, with `..._or`).
//
// Also used by the provider's checked entries, so this header needs nothing
// from the tier.
#pragma once

namespace zor {

// The first byte of a letter argument as a capital.
inline char letter_of(const char *p) { return char(*p & ~0x20); }
inline char letter_of(char c) { return char(c & ~0x20); }
// True when the argument is the letter, in either case.
inline bool is_letter(const char *p, char capital) { return letter_of(p) == capital; }

// op(A): A, its transpose, its conjugate transpose, or A conjugated
// without transposition (the copy routines' 'R').
enum class Trans : char { none = 0, N = 'N', T = 'T', C = 'C', R = 'R' };
enum class Uplo : char { none = 0, U = 'U', L = 'L' };
enum class Diag : char { none = 0, N = 'N', U = 'U' };  // U: unit diagonal, not read
enum class Side : char { none = 0, L = 'L', R = 'R' };  // A on the left or the right
enum class Order : char { none = 0, R = 'R', C = 'C' };  // row-major or column-major

// Each enum's values are its capitals, so a letter is its byte when it is
// one of them.
template <class Letter, char... Capitals>
inline Letter letter_among(char c) {
  const char u = letter_of(c);
  return ((u == Capitals) || ...) ? Letter(u) : Letter::none;
}
template <class Letter> inline Letter read_letter(char c);
template <> inline Trans read_letter<Trans>(char c) { return letter_among<Trans, 'N', 'T', 'C', 'R'>(c); }
template <> inline Uplo read_letter<Uplo>(char c) { return letter_among<Uplo, 'U', 'L'>(c); }
template <> inline Diag read_letter<Diag>(char c) { return letter_among<Diag, 'N', 'U'>(c); }
template <> inline Side read_letter<Side>(char c) { return letter_among<Side, 'L', 'R'>(c); }
template <> inline Order read_letter<Order>(char c) { return letter_among<Order, 'R', 'C'>(c); }

inline Trans read_trans(const char *p) { return read_letter<Trans>(*p); }
inline Uplo read_uplo(const char *p) { return read_letter<Uplo>(*p); }
inline Diag read_diag(const char *p) { return read_letter<Diag>(*p); }
inline Side read_side(const char *p) { return read_letter<Side>(*p); }

// The letter's meaning, or `otherwise` for any other byte.
template <class Letter>
inline Letter letter_or(char c, Letter otherwise) {
  const Letter l = read_letter<Letter>(c);
  return l == Letter::none ? otherwise : l;
}

// Transposition as the matrix products read it: 'N', 'T', and any other
// byte the conjugate transpose (complex) or the transpose (real); real
// types have nothing to conjugate.
template <bool Complex>
inline Trans product_trans(const char *p) {
  switch (read_trans(p)) {
    case Trans::N: return Trans::N;
    case Trans::T: return Trans::T;
    default: return Complex ? Trans::C : Trans::T;
  }
}

// Transposition as the copy routines read it: 'R' and 'C' conjugate only
// complex data, so on real data they are 'N' and 'T'.
template <bool Complex>
inline Trans copy_trans(char c) {
  const Trans t = read_letter<Trans>(c);
  if (Complex) return t;
  if (t == Trans::R) return Trans::N;
  if (t == Trans::C) return Trans::T;
  return t;
}

inline bool transposes(Trans t) { return t == Trans::T || t == Trans::C; }
inline bool conjugates(Trans t) { return t == Trans::C || t == Trans::R; }

}  // namespace zor
