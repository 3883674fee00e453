// The test kit shared by every family: seeded random data, buffers placed at
// a chosen byte offset from a 16-byte boundary with guard bytes around them,
// vectors with increments (zero and negative too) laid out in such buffers,
// bit comparison and tolerances, a scoped guard for forced processor
// answers, and the working memory's statistics.
#pragma once
#include <gtest/gtest.h>
#include <zor/core.h>
#include <zor/serv.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <thread>
#include <type_traits>
#include <vector>

namespace zor::test {

using cfloat = std::complex<float>;
using cdouble = std::complex<double>;

// ---- element types: real, std::complex<R>, or any {re, im} pair
template <class E, class = void> struct RealOf { using type = E; };
template <class R> struct RealOf<std::complex<R>> { using type = R; };
template <class E> struct RealOf<E, std::void_t<decltype(E{}.re)>> { using type = decltype(E{}.re); };
template <class E> using real_of = typename RealOf<std::remove_cv_t<E>>::type;
template <class E> inline constexpr bool is_complex_v = !std::is_same_v<E, real_of<E>>;

template <class R>
R eps() {
  return std::numeric_limits<R>::epsilon();
}

// ---- seeded data; tests print the seed (SCOPED_TRACE) so a failure replays
struct Rng {
  explicit Rng(uint64_t seed) : seed(seed), engine(seed) {}
  double uniform(double lo = -1.0, double hi = 1.0) { return std::uniform_real_distribution<double>(lo, hi)(engine); }
  int64_t integer(int64_t lo, int64_t hi) { return std::uniform_int_distribution<int64_t>(lo, hi)(engine); }
  template <class E> E value() {
    using R = real_of<E>;
    if constexpr (!is_complex_v<E>) return E(uniform());
    else {
      const R re = R(uniform()), im = R(uniform());
      return E{re, im};
    }
  }
  uint64_t seed;
  std::mt19937_64 engine;
};

// ---- count elements starting offset_bytes past a 16-byte boundary, with
// `guard` elements' worth of sentinel bytes on each side
template <class T>
class GuardedBuffer {
 public:
  GuardedBuffer(size_t count, size_t offset_bytes, size_t guard = 8)
      : count_(count), guard_(guard), storage_((count + 2 * guard) * sizeof(T) + offset_bytes + 64) {
    auto base = (reinterpret_cast<uintptr_t>(storage_.data()) + 15) & ~uintptr_t(15);
    begin_ = reinterpret_cast<unsigned char *>(base + offset_bytes);
    std::memset(storage_.data(), kSentinel, storage_.size());
  }
  T *data() const { return reinterpret_cast<T *>(begin_ + guard_ * sizeof(T)); }
  T &operator[](size_t i) const { return data()[i]; }  // for element-aligned offsets
  // Elements are read and written by bytes: a double may stand 4 bytes off.
  T get(size_t i) const {
    T v;
    std::memcpy(&v, data() + i, sizeof v);
    return v;
  }
  void set(size_t i, T v) { std::memcpy(data() + i, &v, sizeof v); }
  std::vector<T> copy() const {
    std::vector<T> out(count_);
    if (count_) std::memcpy(out.data(), data(), count_ * sizeof(T));
    return out;
  }
  size_t size() const { return count_; }
  // True when no byte around the payload has changed.
  bool guards_intact() const {
    const size_t before = guard_ * sizeof(T), after = before + count_ * sizeof(T);
    for (size_t i = 0; i < before; ++i)
      if (begin_[i] != kSentinel || begin_[after + i] != kSentinel) return false;
    return true;
  }

 private:
  static constexpr unsigned char kSentinel = 0xA5;
  size_t count_, guard_;
  std::vector<unsigned char> storage_;
  unsigned char *begin_;
};

// ---- one vector argument: n logical elements at increment inc, placed
// offset bytes past a 16-byte boundary, filled at random, guarded
template <class E>
struct Strided {
  Strided(int64_t n, int64_t inc, size_t offset, Rng &rng)
      : n(n), inc(inc), len(n < 1 ? 1 : 1 + size_t(n - 1) * size_t(inc < 0 ? -inc : inc)), buf(len, offset) {
    for (size_t i = 0; i < len; ++i) buf.set(i, rng.value<E>());
  }
  E *data() { return buf.data(); }
  std::vector<E> copy() const { return buf.copy(); }
  // Storage index of logical element i (far end first for a negative increment).
  size_t index(int64_t i) const { return size_t(inc < 0 ? (n - 1 - i) * -inc : i * inc); }
  E at(int64_t i) const { return buf.get(index(i)); }
  void set(int64_t i, E v) { buf.set(index(i), v); }
  int64_t n, inc;
  size_t len;
  GuardedBuffer<E> buf;
};

// ---- the usual list of vector calls: unit increments (1, 1) and (-1, -1)
// at every pair of offsets for small n around the unroll widths, random
// increments (0 and negative included) and offsets, two long vectors
struct VectorCase {
  int64_t n, incx, incy;
  int offx, offy;
};
inline std::ostream &operator<<(std::ostream &o, const VectorCase &c) {
  return o << "n=" << c.n << " incx=" << c.incx << " incy=" << c.incy << " offx=" << c.offx << " offy=" << c.offy;
}
inline std::vector<VectorCase> vector_cases(uint64_t seed, int random_count = 600) {
  std::vector<VectorCase> out;
  const int64_t sizes[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 66, 67, 95, 129, 300, 1031};
  for (int64_t n : sizes)
    for (int64_t inc : {1, -1})
      for (int ox = 0; ox < 16; ox += 4)
        for (int oy = 0; oy < 16; oy += 4) out.push_back({n, inc, inc, ox, oy});
  Rng rng(seed);
  const int64_t incs[] = {1, 1, 1, -1, 2, -2, 3, -3, 0, 5};
  for (int i = 0; i < random_count; ++i) {
    const int64_t n = rng.integer(0, 1) ? rng.integer(-1, 80) : rng.integer(80, 700);
    out.push_back({n, incs[rng.integer(0, 9)], incs[rng.integer(0, 9)], int(rng.integer(0, 3)) * 4,
                   int(rng.integer(0, 3)) * 4});
  }
  out.push_back({20000, 1, 1, 8, 0});
  out.push_back({20001, 1, 1, 4, 12});
  return out;
}

// Runs body(case, rng) over vector_cases(seed, random_count), the case and
// seed traced, the generator seeded per case; stops at a fatal failure.
template <class F>
void for_each_vector_case(uint64_t seed, int random_count, F &&body) {
  const std::vector<VectorCase> cases = vector_cases(seed, random_count);
  for (size_t k = 0; k < cases.size(); ++k) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << " case " << k << ": " << cases[k]);
    Rng rng(seed * 1000 + k);
    body(cases[k], rng);
    if (testing::Test::HasFatalFailure()) return;
  }
}

// ---- comparison
// Bitwise equality, which tells +0 from -0 and compares NaNs by pattern.
template <class T>
bool same_bits(const T &a, const T &b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}
template <class T>
bool same_bits(const std::vector<T> &a, const std::vector<T> &b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}
// |ours - ref| within ulps units of eps at the given scale (parts apart).
template <class R>
bool close(R ours, R ref, R scale, double ulps) {
  return std::abs(double(ours) - double(ref)) <= ulps * double(eps<R>()) * double(scale) + 1e-300;
}
template <class R>
bool close(std::complex<R> ours, std::complex<R> ref, R scale, double ulps) {
  return close(ours.real(), ref.real(), scale, ulps) && close(ours.imag(), ref.imag(), scale, ulps);
}

// Products as the library forms them (the textbook formula, no recovery of
// infinities).
template <class A, class B>
auto tmul(A a, B b) {
  if constexpr (!is_complex_v<A> || !is_complex_v<B>) return a * b;
  else return A(a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real());
}

// A C function as a generic callable, so that the void pointers of the
// complex routines take std::complex arguments in generic code.
#define ZOR_TEST_FN(f) [](auto... p) { return f(p...); }

// ---- forced processor answers for the extent of a scope; the answer a
// guard replaced (forced by an outer guard, or none) comes back on every exit,
// a failed assertion included
class ForcedAnswer {
 public:
  ForcedAnswer(int32_t answer, int64_t value) : answer_(answer), before_(current()[answer]) {
    current()[answer] = value;
    zor_core_force(answer, value);
  }
  ~ForcedAnswer() {
    current()[answer_] = before_;
    if (before_) zor_core_force(answer_, *before_);
    else zor_core_unforce(answer_);
  }
  ForcedAnswer(const ForcedAnswer &) = delete;
  ForcedAnswer &operator=(const ForcedAnswer &) = delete;

 private:
  static std::optional<int64_t> *current() {
    static std::optional<int64_t> forced[16];
    return forced;
  }
  int32_t answer_;
  std::optional<int64_t> before_;
};

// Runs a body with the double-complex kernels chosen both ways (the answer
// 33 of the micro-architecture query selects the second kernel).
template <class F>
void for_both_kernels(F &&body) {
  for (int answer : {0, 33}) {
    SCOPED_TRACE(testing::Message() << "microarchitecture " << answer);
    ForcedAnswer forced(ZOR_CORE_MICROARCH, answer);
    body();
  }
}

// ---- working memory: blocks held and their bytes (zor_serv_zor_memstat);
// a scenario on a fresh thread starts with an empty pool record
struct PoolStat {
  int32_t count;
  int64_t bytes;
};
inline PoolStat pool_stat() {
  PoolStat s{};
  s.bytes = zor_serv_zor_memstat(&s.count);
  return s;
}
template <class F>
void on_new_thread(F &&f) {
  std::thread(std::forward<F>(f)).join();
}

// The routine of E's precision among four (s, d, c, z), for tests that
// call one family in every precision.
template <class E, class Fs, class Fd, class Fc, class Fz>
constexpr auto pick(Fs s, Fd d, Fc c, Fz z) {
  if constexpr (std::is_same_v<E, float>) return s;
  else if constexpr (std::is_same_v<E, double>) return d;
  else if constexpr (sizeof(E) == 8) return c;
  else return z;
}

}  // namespace zor::test
