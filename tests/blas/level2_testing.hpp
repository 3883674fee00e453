// Shared pieces of the level-2 tests: random layouts (sizes at the kernels'
// boundaries, leading dimensions even and odd, byte offsets 0, 4, 8, 12,
// increments 1, 2, -1, -3), operands in guarded buffers, and the comparison
// of every element of an output with the oracle's, guards included.
#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "common/reference_blas.h"
#include "common/testing.hpp"

namespace zor::test::level2 {

// Runs body.template operator()<E>() for the four element types, double
// complex under both answers of the processor query (the level-1 kernels the
// level-2 routines call choose by it).
template <class F>
void for_each_type(F &&body) {
  body.template operator()<float>();
  body.template operator()<double>();
  body.template operator()<cfloat>();
  for_both_kernels([&] { body.template operator()<cdouble>(); });
}

inline int64_t span(int64_t len, int64_t inc) { return len < 1 ? 1 : 1 + (len - 1) * std::abs(inc); }

// Sizes at and around the kernels' steps and blocks.
inline int64_t random_size(Rng &rng) {
  static const int64_t sizes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 70};
  return sizes[rng.integer(0, 19)];
}
inline int64_t random_inc(Rng &rng) {
  static const int64_t incs[] = {1, 1, 1, 2, -1, -3};
  return incs[rng.integer(0, 5)];
}
inline size_t random_offset(Rng &rng) { return size_t(rng.integer(0, 3)) * 4; }
inline char random_letter(Rng &rng, const char *letters) {
  return letters[rng.integer(0, int64_t(std::char_traits<char>::length(letters)) - 1)];
}

// A scalar: 0, 1, or random (kind 0, 1, 2).
template <class E>
E scalar(Rng &rng, int kind) {
  return kind == 0 ? E(0) : kind == 1 ? E(1) : tmul(rng.value<E>(), real_of<E>(2));
}

// An operand of count elements at a byte offset, random, with guards.
template <class E>
GuardedBuffer<E> random_buffer(size_t count, size_t offset, Rng &rng) {
  GuardedBuffer<E> b(std::max<size_t>(count, 1), offset);
  for (size_t i = 0; i < b.size(); ++i) b.set(i, rng.value<E>());
  return b;
}

template <class E>
bool is_nan(E v) {
  if constexpr (is_complex_v<E>) return std::isnan(v.real()) || std::isnan(v.imag());
  else return std::isnan(v);
}

// Every element of ours against want: bit for bit when exact (NaN matching
// NaN), else within ulps units at the scale `scale` + |want|; and the guards.
template <class E>
void expect_match(const GuardedBuffer<E> &ours, const std::vector<E> &want, bool exact, double ulps,
                  double scale = 4) {
  using R = real_of<E>;
  ASSERT_TRUE(ours.guards_intact());
  for (size_t i = 0; i < want.size(); ++i) {
    const E got = ours.get(i);
    if (same_bits(got, want[i]) || (is_nan(got) && is_nan(want[i]))) continue;
    ASSERT_FALSE(exact) << "element " << i << ": " << got << " vs " << want[i];
    ASSERT_TRUE(close(got, want[i], R(scale) + R(std::abs(want[i])), ulps))
        << "element " << i << ": " << got << " vs " << want[i];
  }
}

}  // namespace zor::test::level2
