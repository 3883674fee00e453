// Timing helpers of the benchmark programs: best-of-N wall time of a body,
// and a line printer for "ours vs peer". Figures passed to report() are
// rates (higher is better: GFLOP/s, GB/s, calls/us), so a ratio above 1.0
// means we are faster.
#pragma once
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

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

// Processor time of the calling thread: on a shared machine, other
// processes' work is not charged to whichever side ran beside it.
inline double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// best_seconds by thread processor time. Reading that clock is a system
// call, so the body runs in batches, timed as a whole, of a size doubled
// until a batch takes min_seconds.
template <class F>
double best_thread_seconds(F &&body, int repeats = 5, double min_seconds = 0.05) {
  long batch = 1;
  double best = 1e30;
  for (;;) {
    const double start = thread_seconds();
    for (long k = 0; k < batch; ++k) body();
    const double elapsed = thread_seconds() - start;
    if (elapsed >= min_seconds) {
      best = elapsed / double(batch);
      break;
    }
    batch *= 2;
  }
  for (int r = 1; r < repeats; ++r) {
    const double start = thread_seconds();
    for (long k = 0; k < batch; ++k) body();
    best = std::min(best, (thread_seconds() - start) / double(batch));
  }
  return best;
}

// Best thread time of `repeats` timed runs of `run`, each after an untimed
// `prepare` (which restores inputs that the run destroys).
template <class Prepare, class Run>
double best_run_seconds(Prepare &&prepare, Run &&run, int repeats) {
  double best = 1e30;
  for (int r = 0; r < repeats; ++r) {
    prepare();
    const double start = thread_seconds();
    run();
    best = std::min(best, thread_seconds() - start);
  }
  return best;
}

inline void report(const char *what, const char *unit, double ours, double peer, const char *peer_name) {
  std::printf("%-40s ours %10.3f %-6s %-22s %10.3f %-6s ratio %6.2fx\n", what, ours, unit, peer_name, peer, unit,
              ours / peer);
}

// One figure for the report that bench/run.sh writes: appended, when the
// variable ZOR_BENCH_TSV names a file, as a tab-separated line of family,
// group (what a plot shows), size (its x axis), series (a line of the plot,
// a column of the table), value and unit. Ratios go in with the unit "x".
inline void record(const std::string &family, const std::string &group, long size, const std::string &series,
                   double value, const std::string &unit) {
  const char *path = std::getenv("ZOR_BENCH_TSV");
  if (!path || !*path) return;
  if (FILE *f = std::fopen(path, "a")) {
    std::fprintf(f, "%s\t%s\t%ld\t%s\t%.6g\t%s\n", family.c_str(), group.c_str(), size, series.c_str(), value,
                 unit.c_str());
    std::fclose(f);
  }
}

// Median of a set of figures (0 for none).
inline double median(std::vector<double> v) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  const size_t h = v.size() / 2;
  return v.size() % 2 ? v[h] : 0.5 * (v[h - 1] + v[h]);
}

// Keeps the optimiser from removing a computation.
template <class T>
inline void keep(T const &value) {
  asm volatile("" : : "g"(&value) : "memory");
}

}  // namespace zor::bench
