// Pieces shared by the vector-kernel tests: Fortran reference routines with
// 32-bit integers, vectors laid out with an increment at a byte offset from
// a 16-byte boundary, a case list of sizes, increments and offsets, and
// comparison helpers.
#pragma once
#include <zor/blas.h>
#include <zor/core.h>

#include <algorithm>
#include <complex>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "common/reference_blas.h"

extern "C" {
void caxpy_(const f_int *, const void *, const void *, const f_int *, void *, const f_int *);
void zaxpy_(const f_int *, const void *, const void *, const f_int *, void *, const f_int *);
void scopy_(const f_int *, const float *, const f_int *, float *, const f_int *);
void dcopy_(const f_int *, const double *, const f_int *, double *, const f_int *);
void ccopy_(const f_int *, const void *, const f_int *, void *, const f_int *);
void zcopy_(const f_int *, const void *, const f_int *, void *, const f_int *);
void sswap_(const f_int *, float *, const f_int *, float *, const f_int *);
void dswap_(const f_int *, double *, const f_int *, double *, const f_int *);
void cswap_(const f_int *, void *, const f_int *, void *, const f_int *);
void zswap_(const f_int *, void *, const f_int *, void *, const f_int *);
std::complex<float> cdotc_(const f_int *, const void *, const f_int *, const void *, const f_int *);
std::complex<float> cdotu_(const f_int *, const void *, const f_int *, const void *, const f_int *);
std::complex<double> zdotc_(const f_int *, const void *, const f_int *, const void *, const f_int *);
std::complex<double> zdotu_(const f_int *, const void *, const f_int *, const void *, const f_int *);
double dsdot_(const f_int *, const float *, const f_int *, const float *, const f_int *);
float sdsdot_(const f_int *, const float *, const float *, const f_int *, const float *, const f_int *);
void sscal_(const f_int *, const float *, float *, const f_int *);
void dscal_(const f_int *, const double *, double *, const f_int *);
void cscal_(const f_int *, const void *, void *, const f_int *);
void zscal_(const f_int *, const void *, void *, const f_int *);
void csscal_(const f_int *, const float *, void *, const f_int *);
void zdscal_(const f_int *, const double *, void *, const f_int *);
float snrm2_(const f_int *, const float *, const f_int *);
double dnrm2_(const f_int *, const double *, const f_int *);
float scnrm2_(const f_int *, const void *, const f_int *);
double dznrm2_(const f_int *, const void *, const f_int *);
float sasum_(const f_int *, const float *, const f_int *);
double dasum_(const f_int *, const double *, const f_int *);
float scasum_(const f_int *, const void *, const f_int *);
double dzasum_(const f_int *, const void *, const f_int *);
f_int isamax_(const f_int *, const float *, const f_int *);
f_int idamax_(const f_int *, const double *, const f_int *);
f_int icamax_(const f_int *, const void *, const f_int *);
f_int izamax_(const f_int *, const void *, const f_int *);
void srot_(const f_int *, float *, const f_int *, float *, const f_int *, const float *, const float *);
void drot_(const f_int *, double *, const f_int *, double *, const f_int *, const double *, const double *);
void csrot_(const f_int *, void *, const f_int *, void *, const f_int *, const float *, const float *);
void zdrot_(const f_int *, void *, const f_int *, void *, const f_int *, const double *, const double *);
void crot_(const f_int *, void *, const f_int *, void *, const f_int *, const float *, const void *);
void zrot_(const f_int *, void *, const f_int *, void *, const f_int *, const double *, const void *);
void srotg_(float *, float *, float *, float *);
void drotg_(double *, double *, double *, double *);
void crotg_(void *, const void *, float *, void *);
void zrotg_(void *, const void *, double *, void *);
void srotm_(const f_int *, float *, const f_int *, float *, const f_int *, const float *);
void drotm_(const f_int *, double *, const f_int *, double *, const f_int *, const double *);
void srotmg_(float *, float *, float *, const float *, float *);
void drotmg_(double *, double *, double *, const double *, double *);
}

namespace zor::test {

// Seeded data, guarded buffers at a byte offset from a 16-byte boundary, and
// bit comparison. (The suite's common header does not compile with this
// compiler at present; these are the same pieces.)
struct Rng {
  explicit Rng(uint64_t seed) : engine(seed) {}
  double uniform(double lo = -1.0, double hi = 1.0) { return std::uniform_real_distribution<double>(lo, hi)(engine); }
  int64_t integer(int64_t lo, int64_t hi) { return std::uniform_int_distribution<int64_t>(lo, hi)(engine); }
  std::mt19937_64 engine;
};

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
  T &operator[](size_t i) { return data()[i]; }
  bool guards_intact() const {
    size_t before = guard_ * sizeof(T), after = before + count_ * sizeof(T);
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

template <class T>
bool same_bits(const T &a, const T &b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}
template <class R>
R eps() {
  return std::numeric_limits<R>::epsilon();
}

template <class E> struct RealOfT { using type = E; };
template <class R> struct RealOfT<std::complex<R>> { using type = R; };
template <class E> using real_of = typename RealOfT<E>::type;

template <class E>
E random_value(Rng &rng) {
  if constexpr (std::is_floating_point_v<E>) return E(rng.uniform());
  else return E(real_of<E>(rng.uniform()), real_of<E>(rng.uniform()));
}

// Products as the library forms them (no recovery of infinities).
template <class A, class B>
auto tmul(A a, B b) {
  if constexpr (std::is_floating_point_v<A> || std::is_floating_point_v<B>) return a * b;
  else return A(a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real());
}

// One vector argument: n logical elements with increment inc, placed
// offset bytes past a 16-byte boundary, guarded on both sides.
template <class E>
struct Strided {
  Strided(int64_t n, int64_t inc, size_t offset, Rng &rng)
      : inc(inc), len(n < 1 ? 1 : 1 + (n - 1) * (inc < 0 ? -inc : inc)), buf(len, usable(offset)) {
    for (size_t i = 0; i < len; ++i) buf[i] = random_value<E>(rng);
  }
  // Sanitised builds trap on doubles 4 bytes off their alignment, which the
  // kernels accept (they take their strided paths); there the offsets are
  // rounded down to the element's alignment.
  static size_t usable(size_t offset) {
#ifdef __SANITIZE_ADDRESS__
    return offset / alignof(real_of<E>) * alignof(real_of<E>);
#else
    return offset;
#endif
  }
  E *data() { return buf.data(); }
  std::vector<E> copy() const { return std::vector<E>(buf.data(), buf.data() + len); }
  // Logical element i (far end first for a negative increment).
  E &at(int64_t n, int64_t i) { return buf.data()[inc < 0 ? (n - 1 - i) * -inc : i * inc]; }
  int64_t inc;
  size_t len;
  GuardedBuffer<E> buf;
};

struct Case {
  int64_t n, incx, incy;
  int offx, offy;
};
inline std::ostream &operator<<(std::ostream &o, const Case &c) {
  return o << "n=" << c.n << " incx=" << c.incx << " incy=" << c.incy << " offx=" << c.offx << " offy=" << c.offy;
}

// Unit strides at every pair of offsets for small n around the unroll
// widths, and random increments (0 and negative included) and offsets.
inline std::vector<Case> level1_cases(uint64_t seed, int random_count = 600) {
  std::vector<Case> out;
  const int64_t sizes[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 66, 67, 95, 129, 300, 1031};
  for (int64_t n : sizes)
    for (int64_t inc : {1, -1})
      for (int ox = 0; ox < 16; ox += 4)
        for (int oy = 0; oy < 16; oy += 4) out.push_back({n, inc, inc, ox, oy});
  Rng rng(seed);
  const int64_t incs[] = {1, 1, 1, -1, 2, -2, 3, -3, 0, 5};
  for (int i = 0; i < random_count; ++i) {
    int64_t n = rng.integer(0, 1) ? rng.integer(-1, 80) : rng.integer(80, 700);
    out.push_back({n, incs[rng.integer(0, 9)], incs[rng.integer(0, 9)], int(rng.integer(0, 3)) * 4,
                   int(rng.integer(0, 3)) * 4});
  }
  out.push_back({20000, 1, 1, 8, 0});
  out.push_back({20001, 1, 1, 4, 12});
  return out;
}

template <class R>
bool close(R ours, R ref, R scale, double ulps) {
  return std::abs(double(ours) - double(ref)) <= ulps * double(eps<R>()) * double(scale) + 1e-300;
}
template <class R>
bool close(std::complex<R> ours, std::complex<R> ref, R scale, double ulps) {
  return close(ours.real(), ref.real(), scale, ulps) && close(ours.imag(), ref.imag(), scale, ulps);
}

// Runs a body with the double-complex kernels chosen both ways.
template <class F>
void for_both_kernels(F &&body) {
  for (int answer : {0, 33}) {
    SCOPED_TRACE(testing::Message() << "microarchitecture " << answer);
    zor_core_force(ZOR_CORE_MICROARCH, answer);
    body();
  }
  zor_core_unforce(ZOR_CORE_MICROARCH);
}

}  // namespace zor::test
