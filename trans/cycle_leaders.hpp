// The arithmetic of the in-place rectangular transposition: division by lda
// through a multiplicative inverse, and the classes of positions that let a
// dense rectangle find its cycle leaders without testing every position.
#pragma once
#include <cstdint>
#include <numeric>

namespace zor::trans {

using u64 = uint64_t;

// t / d for every t < 2^63 and every d from 1 to 2^63 - 1, by one high
// multiply, one add and one shift.
//
// Let s = ceil(log2 d), so 2^(s-1) < d <= 2^s, and m = ceil(2^(64+s) / d).
// Then 2^64 <= m <= 2^65 - 1 (m = 2^64 exactly when d is a power of two),
// so m = 2^64 + a with 0 <= a < 2^64, and the division is
//   q = (m t) >> (64 + s) = (t + ((a t) >> 64)) >> s.
// The sum is below 2^64 because (a t) >> 64 < t < 2^63.
// Exactness: write m d = 2^(64+s) + e with 0 <= e < d, and t = q d + r with
// 0 <= r < d. Then
//   m t / 2^(64+s) = t/d + e t / (d 2^(64+s)) = q + (r + e t / 2^(64+s)) / d,
// and e t < d 2^63 <= 2^s 2^63 < 2^(64+s), so e t / 2^(64+s) < 1 and the
// bracket is below r + 1 <= d: the floor is q. Both ends are tested:
// t = 0, t = 2^63 - 1 and the multiples of d around them.
struct Divider {
  u64 a;
  unsigned s;
  explicit Divider(u64 d) {
    s = 0;
    while (s < 63 && (u64(1) << s) < d) ++s;
    // m = floor((2^(64+s) - 1) / d) + 1 = ceil(2^(64+s) / d) for d >= 1,
    // taken less 2^64.
    unsigned __int128 top = ((unsigned __int128)1 << (64 + s)) - 1;
    a = u64(top / d + 1 - ((unsigned __int128)1 << 64));
  }
  u64 operator()(u64 t) const { return (t + u64((unsigned __int128)a * t >> 64)) >> s; }
};

// The transposition of a dense rows x cols rectangle (lda = cols, ldb =
// rows) sends position p to p rows mod M, M = rows cols - 1, with 0 and M
// fixed. Multiplication by rows keeps g = gcd(p, M), so the positions split
// into classes, one per divisor g of M: class g holds the g u with u prime
// to n = M / g, phi(n) of them, and its smallest element is g itself. A
// class is done once cycles of phi(n) positions in all have been walked from
// it, which in practice is after a few hundred small leaders, where testing
// every position costs some fifteen steps of the walk each.
//
// The prime factors of M by trial division (at most 15 distinct below
// 2^64), in constant space.
struct Factors {
  u64 prime[16];
  int power[16];
  int count = 0;
  explicit Factors(u64 m) {
    for (u64 p = 2; p * p <= m; p += (p == 2 ? 1 : 2)) {
      if (m % p != 0) continue;
      prime[count] = p;
      power[count] = 0;
      while (m % p == 0) m /= p, ++power[count];
      ++count;
    }
    if (m > 1) prime[count] = m, power[count] = 1, ++count;
  }
};

// Calls class_of(g, phi(M / g)) for every divisor g of M below M, walking
// the exponents of g like an odometer.
template <class F>
void for_each_class(u64 m, F &&class_of) {
  Factors f(m);
  int e[16] = {};
  for (;;) {
    u64 g = 1, n = m, phi = 1;
    for (int i = 0; i < f.count; ++i) {
      for (int k = 0; k < e[i]; ++k) g *= f.prime[i];
      int rest = f.power[i] - e[i];  // power of the prime in n
      for (int k = 0; k < rest; ++k) phi *= (k == 0 ? f.prime[i] - 1 : f.prime[i]);
    }
    n = m / g;
    if (n > 1) class_of(g, phi);
    int i = 0;
    while (i < f.count && e[i] == f.power[i]) e[i++] = 0;
    if (i == f.count) return;
    ++e[i];
  }
}

// Euclid's remainders: the library's gcd counts trailing zeros with an
// instruction past this tier's set.
inline bool coprime(u64 u, u64 n) {
  while (n != 0) {
    const u64 r = u % n;
    u = n;
    n = r;
  }
  return u == 1;
}

}  // namespace zor::trans
