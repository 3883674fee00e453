// Pieces shared by the LAPACK-kernel tests: the reference routines with
// their 32-bit integers, element helpers over float, double and the two
// std::complex types, and tolerant comparison.
#pragma once
#include <zor/lapack.h>

#include <complex>
#include <cstdint>
#include <vector>

#include "common/reference_blas.h"
#include "common/testing.hpp"

using c8 = std::complex<float>;
using c16 = std::complex<double>;

extern "C" {
float slamch_(const char *, f_len);
double dlamch_(const char *, f_len);
void slabad_(float *, float *);
void dlabad_(double *, double *);
void spotf2_(const char *, const f_int *, float *, const f_int *, f_int *, f_len);
void dpotf2_(const char *, const f_int *, double *, const f_int *, f_int *, f_len);
void cpotf2_(const char *, const f_int *, c8 *, const f_int *, f_int *, f_len);
void zpotf2_(const char *, const f_int *, c16 *, const f_int *, f_int *, f_len);
void sgetc2_(const f_int *, float *, const f_int *, f_int *, f_int *, f_int *);
void dgetc2_(const f_int *, double *, const f_int *, f_int *, f_int *, f_int *);
void cgetc2_(const f_int *, c8 *, const f_int *, f_int *, f_int *, f_int *);
void zgetc2_(const f_int *, c16 *, const f_int *, f_int *, f_int *, f_int *);
void dlarfx_(const char *, const f_int *, const f_int *, const double *, const double *, double *, const f_int *,
             double *, f_len);
void clarfx_(const char *, const f_int *, const f_int *, const c8 *, const c8 *, c8 *, const f_int *, c8 *, f_len);
void ssytf2_(const char *, const f_int *, float *, const f_int *, f_int *, f_int *, f_len);
void dsytf2_(const char *, const f_int *, double *, const f_int *, f_int *, f_int *, f_len);
void sgtsv_(const f_int *, const f_int *, float *, float *, float *, float *, const f_int *, f_int *);
void dgtsv_(const f_int *, const f_int *, double *, double *, double *, double *, const f_int *, f_int *);
void cgtsv_(const f_int *, const f_int *, c8 *, c8 *, c8 *, c8 *, const f_int *, f_int *);
void zgtsv_(const f_int *, const f_int *, c16 *, c16 *, c16 *, c16 *, const f_int *, f_int *);
void sgttrf_(const f_int *, float *, float *, float *, float *, f_int *, f_int *);
void dgttrf_(const f_int *, double *, double *, double *, double *, f_int *, f_int *);
void cgttrf_(const f_int *, c8 *, c8 *, c8 *, c8 *, f_int *, f_int *);
void zgttrf_(const f_int *, c16 *, c16 *, c16 *, c16 *, f_int *, f_int *);
void sgtts2_(const f_int *, const f_int *, const f_int *, const float *, const float *, const float *, const float *,
              const f_int *, float *, const f_int *);
void dgtts2_(const f_int *, const f_int *, const f_int *, const double *, const double *, const double *, const double *,
              const f_int *, double *, const f_int *);
void cgtts2_(const f_int *, const f_int *, const f_int *, const c8 *, const c8 *, const c8 *, const c8 *,
              const f_int *, c8 *, const f_int *);
void zgtts2_(const f_int *, const f_int *, const f_int *, const c16 *, const c16 *, const c16 *, const c16 *,
              const f_int *, c16 *, const f_int *);
void spttrf_(const f_int *, float *, float *, f_int *);
void dpttrf_(const f_int *, double *, double *, f_int *);
void cpttrf_(const f_int *, float *, c8 *, f_int *);
void zpttrf_(const f_int *, double *, c16 *, f_int *);
void sptts2_(const f_int *, const f_int *, const float *, const float *, float *, const f_int *);
void dptts2_(const f_int *, const f_int *, const double *, const double *, double *, const f_int *);
void cptts2_(const f_int *, const f_int *, const f_int *, const float *, const c8 *, c8 *, const f_int *);
void zptts2_(const f_int *, const f_int *, const f_int *, const double *, const c16 *, c16 *, const f_int *);
void slasr_(const char *, const char *, const char *, const f_int *, const f_int *, const float *, const float *,
            float *, const f_int *, f_len, f_len, f_len);
void dlasr_(const char *, const char *, const char *, const f_int *, const f_int *, const double *, const double *,
            double *, const f_int *, f_len, f_len, f_len);
void clasr_(const char *, const char *, const char *, const f_int *, const f_int *, const float *, const float *,
            c8 *, const f_int *, f_len, f_len, f_len);
void zlasr_(const char *, const char *, const char *, const f_int *, const f_int *, const double *, const double *,
            c16 *, const f_int *, f_len, f_len, f_len);
void slartv_(const f_int *, float *, const f_int *, float *, const f_int *, const float *, const float *, const f_int *);
void dlartv_(const f_int *, double *, const f_int *, double *, const f_int *, const double *, const double *, const f_int *);
void clartv_(const f_int *, c8 *, const f_int *, c8 *, const f_int *, const float *, const c8 *, const f_int *);
void zlartv_(const f_int *, c16 *, const f_int *, c16 *, const f_int *, const double *, const c16 *, const f_int *);
void cspr_(const char *, const f_int *, const c8 *, const c8 *, const f_int *, c8 *, f_len);
}

namespace zor::test {

// real_of, is_complex_v, same_bits: the kit's (common/testing.hpp).

template <class E> E random_element(Rng &rng, double lo = -1.0, double hi = 1.0) {
  using R = real_of<E>;
  if constexpr (is_complex_v<E>) return E(R(rng.uniform(lo, hi)), R(rng.uniform(lo, hi)));
  else return E(rng.uniform(lo, hi));
}

template <class E> std::vector<E> random_vector(Rng &rng, size_t n, double lo = -1.0, double hi = 1.0) {
  std::vector<E> v(n);
  for (auto &x : v) x = random_element<E>(rng, lo, hi);
  return v;
}

template <class E> E conj_of(E a) {
  if constexpr (is_complex_v<E>) return std::conj(a);
  else return a;
}

// Largest |a - b| over the largest |b| (or 1 when that is smaller).
template <class E> double relative_difference(const E *a, const E *b, size_t n) {
  double diff = 0, scale = 1;
  for (size_t i = 0; i < n; ++i) {
    diff = std::max(diff, double(std::abs(a[i] - b[i])));
    scale = std::max(scale, double(std::abs(b[i])));
  }
  return diff / scale;
}
template <class E> double relative_difference(const std::vector<E> &a, const std::vector<E> &b) {
  return relative_difference(a.data(), b.data(), std::min(a.size(), b.size()));
}

// Byte offsets from a 16-byte boundary at which elements of E may stand:
// every multiple of the real part's size (0, 4, 8, 12 for float parts; 0, 8
// for double ones, which must keep their natural alignment).
template <class E> std::vector<size_t> offsets() {
  std::vector<size_t> v;
  for (size_t o = 0; o < 16; o += sizeof(real_of<E>)) v.push_back(o);
  return v;
}
template <class E> size_t offset_at(size_t i) { return (4 * i) % 16 / sizeof(real_of<E>) * sizeof(real_of<E>); }

inline std::vector<int64_t> widen(const std::vector<f_int> &v) { return {v.begin(), v.end()}; }

}  // namespace zor::test
