// The matrices of the sparse benchmarks (zero-based CSR with touching rows)
// and the interleaved timing of several contenders.
#pragma once
#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "common.hpp"

namespace zor::bench::sparse {

// The machine is shared: the contenders are timed in turns, several rounds,
// in thread processor time, and each keeps its best, so that a burst of load
// elsewhere does not land on one of them only.
struct Contest {
  std::vector<std::function<void()>> bodies;
  std::vector<double> best;
  int add(std::function<void()> f) {
    bodies.push_back(std::move(f));
    best.push_back(1e30);
    return int(bodies.size()) - 1;
  }
  void run(int rounds) {
    for (int r = 0; r < rounds; ++r)
      for (size_t i = 0; i < bodies.size(); ++i) {
        const double t0 = thread_seconds();
        bodies[i]();
        best[i] = std::min(best[i], thread_seconds() - t0);
      }
  }
  double operator[](int i) const { return best[i]; }
};

// Zero-based CSR with touching rows.
struct Matrix {
  const char *name;
  int64_t m = 0;
  std::vector<int64_t> ptr, cols;
  std::vector<double> vals;
};

inline Matrix random_matrix(int64_t n) {
  Matrix a{"random, 10 a row"};
  a.m = n;
  std::mt19937_64 rng(5);
  std::uniform_int_distribution<int64_t> col(0, n - 1);
  a.ptr.push_back(0);
  for (int64_t i = 0; i < n; ++i) {
    int64_t c[10];
    for (auto &v : c) v = col(rng);
    std::sort(c, c + 10);
    for (int64_t v : c) a.cols.push_back(v), a.vals.push_back(1.0 + double(v % 7) * 0.125);
    a.ptr.push_back(int64_t(a.cols.size()));
  }
  return a;
}

inline Matrix laplacian(int64_t side) {
  Matrix a{"5-point Laplacian"};
  a.m = side * side;
  a.ptr.push_back(0);
  for (int64_t r = 0; r < side; ++r)
    for (int64_t c = 0; c < side; ++c) {
      int64_t i = r * side + c;
      auto add = [&](int64_t j, double v) { a.cols.push_back(j), a.vals.push_back(v); };
      if (r > 0) add(i - side, -1);
      if (c > 0) add(i - 1, -1);
      add(i, 4);
      if (c + 1 < side) add(i + 1, -1);
      if (r + 1 < side) add(i + side, -1);
      a.ptr.push_back(int64_t(a.cols.size()));
    }
  return a;
}

// The band of diagonals -half..half of an m x m matrix.
inline Matrix band(int64_t m, int64_t half) {
  Matrix a{"band of 9 diagonals"};
  a.m = m;
  a.ptr.push_back(0);
  for (int64_t i = 0; i < m; ++i) {
    for (int64_t j = std::max<int64_t>(0, i - half); j <= std::min(m - 1, i + half); ++j)
      a.cols.push_back(j), a.vals.push_back(j == i ? 2.0 * double(half) : -1.0 + double(j % 3) * 0.125);
    a.ptr.push_back(int64_t(a.cols.size()));
  }
  return a;
}

}  // namespace zor::bench::sparse
