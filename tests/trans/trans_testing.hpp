// Shared by the copy and transposition tests: one call adapter per element
// type, the element operation written from its definition, and shapes.
#pragma once
#include <bit>
#include <vector>
#include <zor/trans.h>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>
#include "common/testing.hpp"
#include "frame/traits.hpp"

namespace zor::test {

using u64 = uint64_t;

template <class T>
struct Api {
  using E = typename T::elem;
  // The double-complex scalars go by pointer, the others by value.
  static auto scalar(const E &x) {
    if constexpr (T::letter == 'z') return reinterpret_cast<const zor_complex16 *>(&x);
    else if constexpr (T::letter == 'c') return std::bit_cast<zor_complex8>(x);
    else return x;
  }
  template <class P> static auto c_ptr(P *p) {
    if constexpr (T::letter == 'c') return reinterpret_cast<zor_complex8 *>(p);
    else if constexpr (T::letter == 'z') return reinterpret_cast<zor_complex16 *>(p);
    else return p;
  }
  template <class P> static auto c_ptr(const P *p) {
    if constexpr (T::letter == 'c') return reinterpret_cast<const zor_complex8 *>(p);
    else if constexpr (T::letter == 'z') return reinterpret_cast<const zor_complex16 *>(p);
    else return p;
  }
  static void imatcopy(char o, char t, u64 r, u64 c, E alpha, E *ab, u64 lda, u64 ldb) {
    auto f = pick(zor_trans_zor_simatcopy, zor_trans_zor_dimatcopy, zor_trans_zor_cimatcopy, zor_trans_zor_zimatcopy);
    f(o, t, r, c, scalar(alpha), c_ptr(ab), lda, ldb);
  }
  static void omatcopy2(char o, char t, u64 r, u64 c, E alpha, const E *a, u64 lda, u64 sa, E *b, u64 ldb, u64 sb) {
    if (sa == 1 && sb == 1) {  // the plain form, as a caller would use it
      auto f = pick(zor_trans_zor_somatcopy, zor_trans_zor_domatcopy, zor_trans_zor_comatcopy, zor_trans_zor_zomatcopy);
      return f(o, t, r, c, scalar(alpha), c_ptr(a), lda, c_ptr(b), ldb);
    }
    auto f = pick(zor_trans_zor_somatcopy2, zor_trans_zor_domatcopy2, zor_trans_zor_comatcopy2,
                  zor_trans_zor_zomatcopy2);
    f(o, t, r, c, scalar(alpha), c_ptr(a), lda, sa, c_ptr(b), ldb, sb);
  }
  static void omatadd(char o, char ta, char tb, u64 r, u64 c, E alpha, const E *a, u64 lda, E beta, const E *b,
                      u64 ldb, E *cc, u64 ldc) {
    auto f = pick(zor_trans_zor_somatadd, zor_trans_zor_domatadd, zor_trans_zor_comatadd, zor_trans_zor_zomatadd);
    f(o, ta, tb, r, c, scalar(alpha), c_ptr(a), lda, scalar(beta), c_ptr(b), ldb, c_ptr(cc), ldc);
  }
  template <class Fs, class Fd, class Fc, class Fz>
  static auto pick(Fs s, Fd d, Fc c, Fz z) {
    if constexpr (T::letter == 's') return s;
    else if constexpr (T::letter == 'd') return d;
    else if constexpr (T::letter == 'c') return c;
    else return z;
  }
};

// alpha op(x) from the definitions: conjugation for 'R' and 'C' (nothing on
// real data), then the product with alpha.
template <class T>
typename T::elem apply(char letter, typename T::elem alpha, typename T::elem x) {
  bool conjugate = letter == 'R' || letter == 'r' || letter == 'C' || letter == 'c';
  if constexpr (T::complex) {
    if (conjugate) x.im = -x.im;
    return {alpha.re * x.re - alpha.im * x.im, alpha.re * x.im + alpha.im * x.re};
  } else {
    return alpha * x;
  }
}
inline bool transposes(char letter) { return letter == 'T' || letter == 't' || letter == 'C' || letter == 'c'; }

template <class E>
void fill(Rng &rng, E *p, size_t n) {
  for (size_t i = 0; i < n; ++i) p[i] = rng.value<E>();
}
template <class E>
std::vector<E> random_vector(Rng &rng, size_t n) {
  std::vector<E> v(n);
  fill(rng, v.data(), n);
  return v;
}

// Shapes every routine meets: empty, single rows and columns, the 4 x 4
// base block, 5 x 4 (cut once), odd and even squares, then random ones.
inline std::vector<std::pair<u64, u64>> shapes(Rng &rng, int random_count, u64 largest) {
  std::vector<std::pair<u64, u64>> s = {{0, 5}, {5, 0}, {1, 1}, {1, 9}, {9, 1}, {2, 3}, {3, 2}, {4, 4},
                                        {5, 4}, {4, 5}, {7, 7}, {8, 8}, {16, 16}, {33, 31}, {64, 64}, {70, 70}};
  for (int k = 0; k < random_count; ++k) s.push_back({u64(rng.integer(1, largest)), u64(rng.integer(1, largest))});
  return s;
}

template <class T>
std::vector<typename T::elem> alphas(Rng &rng) {
  using E = typename T::elem;
  if constexpr (T::complex) return {E{1, 0}, rng.value<E>()};
  else return {E(1), rng.value<E>()};
}

using ElementTypes = ::testing::Types<zor::S, zor::D, zor::C, zor::Z>;

}  // namespace zor::test
