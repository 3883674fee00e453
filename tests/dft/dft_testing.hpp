// Pieces of the transform tests: the naive transform in long double, error
// norms, descriptors made through the public front, and random lines.
#pragma once
#include <cmath>
#include <complex>
#include <vector>

#include <zor/dft.h>

#include "common/testing.hpp"

namespace zor::test {

using cd = std::complex<double>;
using cf = std::complex<float>;
using cl = std::complex<long double>;

// sum_j x_j exp(-+2 pi i jk / n), in long double with a table of the n roots.
template <class T>
std::vector<cl> naive_dft(const std::vector<std::complex<T>> &x, bool forward) {
  const int64_t n = int64_t(x.size());
  const long double pi = 3.14159265358979323846264338327950288L;
  std::vector<cl> root(static_cast<size_t>(n)), y(static_cast<size_t>(n));
  for (int64_t m = 0; m < n; ++m) root[size_t(m)] = std::polar(1.0L, (forward ? -2 : 2) * pi * m / n);
  for (int64_t k = 0; k < n; ++k) {
    cl s = 0;
    for (int64_t j = 0, m = 0; j < n; ++j, m = (m + k) % n) s += cl(x[size_t(j)]) * root[size_t(m)];
    y[size_t(k)] = s;
  }
  return y;
}

// The bins `bins` of the naive transform of x (long lines: a few bins at
// O(n) each). Entry i of the result is bin bins[i].
template <class T>
std::vector<cl> naive_bins(const std::vector<std::complex<T>> &x, const std::vector<int64_t> &bins, bool forward) {
  const int64_t n = int64_t(x.size());
  const long double pi = 3.14159265358979323846264338327950288L;
  std::vector<cl> root(static_cast<size_t>(n)), y;
  for (int64_t m = 0; m < n; ++m) root[size_t(m)] = std::polar(1.0L, (forward ? -2 : 2) * pi * m / n);
  for (int64_t k : bins) {
    cl s = 0;
    for (int64_t j = 0, m = 0; j < n; ++j, m = (m + k) % n) s += cl(x[size_t(j)]) * root[size_t(m)];
    y.push_back(s);
  }
  return y;
}

// A dense array of several dimensions (axis 0 fastest, lengths len)
// transformed along every axis by the naive transform.
inline std::vector<cl> naive_md(std::vector<cl> x, const std::vector<int64_t> &len, bool forward = true) {
  int64_t below = 1;
  for (int64_t n : len) {
    std::vector<cl> line(static_cast<size_t>(n), 0);
    for (int64_t start = 0; start < int64_t(x.size()); ++start) {
      if ((start / below) % n != 0) continue;
      for (int64_t j = 0; j < n; ++j) line[size_t(j)] = x[size_t(start + j * below)];
      std::vector<cl> y = naive_dft(line, forward);
      for (int64_t j = 0; j < n; ++j) x[size_t(start + j * below)] = y[size_t(j)];
    }
    below *= n;
  }
  return x;
}

// ||y - scale ref|| / ||scale ref||, in the 2-norm.
template <class T>
double relative_error(const std::vector<std::complex<T>> &y, const std::vector<cl> &ref, long double scale = 1) {
  long double e = 0, r = 0;
  for (size_t k = 0; k < y.size(); ++k) {
    e += std::norm(cl(y[k]) - scale * ref[k]);
    r += std::norm(scale * ref[k]);
  }
  return r > 0 ? double(std::sqrt(e / r)) : double(std::sqrt(e));
}

// The bound of the tests: a multiple of eps log2 n.
template <class T>
double error_bound(int64_t n, double factor = 6) {
  return factor * double(std::numeric_limits<T>::epsilon()) * (std::log2(double(n > 1 ? n : 2)) + 1);
}

template <class T>
std::vector<std::complex<T>> random_line(int64_t n, Rng &rng) {
  std::vector<std::complex<T>> x(static_cast<size_t>(n));
  for (auto &v : x) v = {T(rng.uniform()), T(rng.uniform())};
  return x;
}

// The four ways of storing a real line's spectrum: three packed formats in a
// real array, and complex values (storage 39, read as ccs).
enum RealLayout { kCcs, kPack, kPerm, kCce };
inline constexpr const char *kLayoutName[] = {"ccs", "pack", "perm", "cce"};

// The half spectrum X[0 .. n/2] of a real line as the layout stores it.
inline std::vector<long double> stored_spectrum(const std::vector<cl> &X, int64_t n, RealLayout l) {
  std::vector<long double> v{X[0].real()};
  const bool even = n % 2 == 0, ccs = l == kCcs || l == kCce;
  if (ccs) v.push_back(0);
  if (l == kPerm && even) v.push_back(X[size_t(n / 2)].real());
  for (int64_t k = 1; k <= (n - 1) / 2; ++k) v.push_back(X[size_t(k)].real()), v.push_back(X[size_t(k)].imag());
  if (even && l != kPerm) v.push_back(X[size_t(n / 2)].real());
  if (even && ccs) v.push_back(0);
  return v;
}

// max |got - scale want| / max |scale want|
template <class T>
double max_relative(const T *got, const std::vector<long double> &want, long double scale) {
  long double e = 0, r = 0;
  for (size_t k = 0; k < want.size(); ++k) {
    e = std::max(e, std::fabs((long double)got[k] - scale * want[k]));
    r = std::max(r, std::fabs(scale * want[k]));
  }
  return double(r > 0 ? e / r : e);
}

template <class T> constexpr int32_t precision_of = sizeof(T) == 8 ? DFT_DOUBLE : DFT_SINGLE;

// A one-dimensional complex descriptor through the front; settings are
// applied by the caller before commit.
struct Descriptor {
  DftNode *d = nullptr;
  Descriptor(int32_t precision, int64_t n) { EXPECT_EQ(zor_fft_create(&d, precision, DFT_COMPLEX, 1, &n), 0); }
  ~Descriptor() {
    if (d) zor_fft_free(&d);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  DftNode *operator->() const { return d; }
  operator DftNode *() const { return d; }
};

}  // namespace zor::test
