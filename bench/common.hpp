// Timing helpers of the benchmark programs: best-of-N wall time of a body,
// and a line printer for "ours vs peer". Figures passed to report() are
// rates (higher is better: GFLOP/s, GB/s, calls/us), so a ratio above 1.0
// means we are faster.
#pragma once
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace zor::bench {

template <class F>
double best_seconds(F &&body, int repeats = 5, double min_seconds = 0.05) {
  double best = 1e30;
  for (int r = 0; r < repeats; ++r) {
    long iterations = 0;
    auto start = std::chrono::steady_clock::now();
    double elapsed = 0;
    do {
      body();
      ++iterations;
      elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    } while (elapsed < min_seconds);
    best = std::min(best, elapsed / double(iterations));
  }
  return best;
}

inline void report(const char *what, const char *unit, double ours, double peer, const char *peer_name) {
  std::printf("%-40s ours %10.3f %-6s %-22s %10.3f %-6s ratio %6.2fx\n", what, ours, unit, peer_name, peer, unit,
              ours / peer);
}

// Keeps the optimiser from removing a computation.
template <class T>
inline void keep(T const &value) {
  asm volatile("" : : "g"(&value) : "memory");
}

}  // namespace zor::bench
