// Shared pieces of the test suite: seeded random data, buffers placed at a
// chosen byte offset from a 16-byte boundary with guard elements around
// them, and tolerances.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace zor::test {

// A seeded generator; tests print the seed through SCOPED_TRACE so that a
// failure can be replayed.
struct Rng {
  explicit Rng(uint64_t seed) : seed(seed), engine(seed) {}
  double uniform(double lo = -1.0, double hi = 1.0) { return std::uniform_real_distribution<double>(lo, hi)(engine); }
  int64_t integer(int64_t lo, int64_t hi) { return std::uniform_int_distribution<int64_t>(lo, hi)(engine); }
  template <class T> T value() {
    if constexpr (std::is_floating_point_v<T>) {
      return T(uniform());
    } else {
      using R = decltype(T{}.re);
      return T{R(uniform()), R(uniform())};
    }
  }
  uint64_t seed;
  std::mt19937_64 engine;
};

// count elements of T starting offset_bytes past a 16-byte boundary, with
// `guard` elements on each side filled with a sentinel pattern.
template <class T>
class GuardedBuffer {
 public:
  GuardedBuffer(size_t count, size_t offset_bytes, size_t guard = 8)
      : count_(count), guard_(guard), storage_((count + 2 * guard) * sizeof(T) + offset_bytes + 64) {
    auto base = reinterpret_cast<uintptr_t>(storage_.data());
    base = (base + 15) & ~uintptr_t(15);
    begin_ = reinterpret_cast<unsigned char *>(base + offset_bytes);
    std::memset(storage_.data(), kSentinel, storage_.size());
  }
  T *data() { return reinterpret_cast<T *>(begin_ + guard_ * sizeof(T)); }
  const T *data() const { return reinterpret_cast<const T *>(begin_ + guard_ * sizeof(T)); }
  T &operator[](size_t i) { return data()[i]; }
  size_t size() const { return count_; }
  // True when no byte around the payload has changed.
  bool guards_intact() const {
    const unsigned char *p = begin_;
    size_t before = guard_ * sizeof(T), after_start = before + count_ * sizeof(T);
    for (size_t i = 0; i < before; ++i)
      if (p[i] != kSentinel) return false;
    for (size_t i = 0; i < guard_ * sizeof(T); ++i)
      if (p[after_start + i] != kSentinel) return false;
    return true;
  }

 private:
  static constexpr unsigned char kSentinel = 0xA5;
  size_t count_, guard_;
  std::vector<unsigned char> storage_;
  unsigned char *begin_;
};

// Bitwise equality, which tells +0 from -0 and compares NaNs by pattern.
template <class T>
bool same_bits(const T &a, const T &b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class R>
R eps() {
  return std::numeric_limits<R>::epsilon();
}

}  // namespace zor::test
