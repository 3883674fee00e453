// Matrix copy and transposition against OpenBLAS, in its best SSE-era kernel
// set and in its native one (each in a child that sets the set itself,
// bench/openblas_peer.hpp), and against a memcpy of the same bytes, all
// measured in this run in alternating rounds, in thread processor time.
// Rates are bytes of the matrix per second, so the memcpy rate is the bound
// of a routine that moves every element once.
//
//   bench_trans [n [rounds]]   n x n for the square cases (default 4096);
//                              the rectangle is 3000 x 5000 whatever n is.
#include <zor/trans.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "common.hpp"
#include "openblas_peer.hpp"

using zor::bench::keep;
using zor::bench::OpenBlasPeer;

namespace {

// OpenBLAS, 32-bit integers, scalars by reference.
using OmatcopyFn = void (*)(const char *, const char *, const int *, const int *, const double *, const double *,
                            const int *, double *, const int *);
using ImatcopyFn = void (*)(const char *, const char *, const int *, const int *, const double *, double *,
                            const int *, const int *);

double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// Best processor time of one call over `repeats` calls.
template <class F>
double best_call(F &&body, int repeats) {
  double best = 1e30;
  for (int r = 0; r < repeats; ++r) {
    const double t0 = thread_seconds();
    body();
    best = std::min(best, thread_seconds() - t0);
  }
  return best;
}

struct Case {
  const char *what;
  char routine;  // o: out of place, i: in place
  char trans;
  bool complex;
  int rows, cols;
  double alpha;
  size_t bytes() const { return size_t(rows) * size_t(cols) * (complex ? 16 : 8); }
};

// The buffers of one case, and its call: ours, or the peer's routines.
struct Run {
  const Case &cs;
  std::vector<double> a, b;
  explicit Run(const Case &c) : cs(c), a(c.bytes() / 8), b(c.routine == 'o' ? c.bytes() / 8 : 0, 0.0) {
    for (size_t i = 0; i < a.size(); ++i) a[i] = double(i % 1000) * 0.001;
  }
  // Each in-place call transposes the buffer; the next one reads it as
  // the transposed shape, which costs the same.
  int r() const { return flipped ? cs.cols : cs.rows; }
  int c() const { return flipped ? cs.rows : cs.cols; }
  bool flipped = false;
  void ours() {
    const double alpha[2] = {cs.alpha, 0.0};
    if (cs.routine == 'i') {
      zor_trans_zor_dimatcopy('C', cs.trans, r(), c(), cs.alpha, a.data(), r(), c());
      flipped = !flipped;
    } else if (cs.complex) {
      zor_trans_zor_zomatcopy('C', cs.trans, r(), c(), reinterpret_cast<const zor_complex16 *>(alpha),
                              reinterpret_cast<const zor_complex16 *>(a.data()), r(),
                              reinterpret_cast<zor_complex16 *>(b.data()), c());
    } else {
      zor_trans_zor_domatcopy('C', cs.trans, r(), c(), cs.alpha, a.data(), r(), b.data(), c());
    }
    keep(a), keep(b);
  }
  void peer(void *lib) {
    const double alpha[2] = {cs.alpha, 0.0};
    const char order = 'C';
    int rows = r(), cols = c();
    if (cs.routine == 'i') {
      reinterpret_cast<ImatcopyFn>(dlsym(lib, "dimatcopy_"))(&order, &cs.trans, &rows, &cols, alpha, a.data(),
                                                              &rows, &cols);
      flipped = !flipped;
    } else {
      auto fn = reinterpret_cast<OmatcopyFn>(dlsym(lib, cs.complex ? "zomatcopy_" : "domatcopy_"));
      fn(&order, &cs.trans, &rows, &cols, alpha, a.data(), &rows, b.data(), &cols);
    }
    keep(a), keep(b);
  }
};

}  // namespace

int main(int argc, char **argv) {
  const int n = argc > 1 ? std::atoi(argv[1]) : 4096;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const std::vector<Case> cases = {
      {"domatcopy 'T' alpha 1", 'o', 'T', false, n, n, 1.0}, {"domatcopy 'T' alpha 2", 'o', 'T', false, n, n, 2.0},
      {"zomatcopy 'C' alpha 1", 'o', 'C', true, n, n, 1.0},  {"zomatcopy 'C' alpha 2", 'o', 'C', true, n, n, 2.0},
      {"dimatcopy 'T' alpha 1", 'i', 'T', false, n, n, 1.0}, {"dimatcopy 'T' alpha 2", 'i', 'T', false, n, n, 2.0},
      {"dimatcopy 'T' alpha 2", 'i', 'T', false, 3000, 5000, 2.0},
  };
  auto repeats = [](const Case &cs) { return cs.rows == cs.cols ? 3 : 2; };

  // Each child keeps the buffers of the cases it has run.
  auto measure = [&](int index, void *lib) {
    static std::vector<std::unique_ptr<Run>> runs(cases.size());
    auto &run = runs[size_t(index)];
    if (!run) run = std::make_unique<Run>(cases[size_t(index)]);
    return best_call([&] { run->peer(lib); }, repeats(cases[size_t(index)]));
  };
  const char *path = ZOR_OPENBLAS_SERIAL;
  std::vector<std::unique_ptr<OpenBlasPeer>> peers;
  for (const char *core : zor::bench::kSseEraCores) peers.push_back(std::make_unique<OpenBlasPeer>(core, path, measure));
  peers.push_back(std::make_unique<OpenBlasPeer>(nullptr, path, measure));
  std::printf("%s; OpenBLAS kernel sets:", zor::bench::processor_name().c_str());
  for (auto &p : peers) std::printf(" %s->%s", p->asked().c_str(), p->core().c_str());
  std::printf("\n");

  std::vector<double> ours(cases.size(), 1e30), copy(cases.size(), 1e30);
  std::vector<std::vector<double>> peer(peers.size(), std::vector<double>(cases.size(), 1e30));
  for (int round = 0; round < rounds; ++round)
    for (size_t i = 0; i < cases.size(); ++i) {
      Run run(cases[i]);
      ours[i] = std::min(ours[i], best_call([&] { run.ours(); }, repeats(cases[i])));
      for (size_t p = 0; p < peers.size(); ++p) {
        double t = peers[p]->measure(int(i));
        if (t > 0) peer[p][i] = std::min(peer[p][i], t);
      }
      std::vector<char> s(cases[i].bytes(), 1), d(cases[i].bytes(), 0);
      copy[i] = std::min(copy[i], best_call([&] { std::memcpy(d.data(), s.data(), s.size()), keep(d); }, 3));
    }

  std::printf("\n%-34s %8s %8s %-10s %8s %8s %8s %8s\n", "GB/s (thread time)", "ours", "bestSSE", "(set)", "native",
              "/SSE", "/native", "/memcpy");
  for (size_t i = 0; i < cases.size(); ++i) {
    const Case &cs = cases[i];
    size_t best = 0;
    for (size_t p = 1; p + 1 < peers.size(); ++p)
      if (peer[p][i] < peer[best][i]) best = p;
    auto rate = [&](double t) { return double(cs.bytes()) / t * 1e-9; };
    const double o = rate(ours[i]), s = rate(peer[best][i]), nat = rate(peer.back()[i]), m = rate(copy[i]);
    char label[96];
    std::snprintf(label, sizeof label, "%s %dx%d", cs.what, cs.rows, cs.cols);
    std::printf("%-34s %8.3f %8.3f %-10s %8.3f %7.2fx %7.2fx %7.2fx\n", label, o, s, peers[best]->asked().c_str(), nat,
                o / s, o / nat, o / m);
    const std::string group = std::string(cs.what) + (cs.rows == cs.cols ? " square" : " 3000x5000");
    zor::bench::record("trans", group, cs.rows, "ours", o, "GB/s");
    zor::bench::record("trans", group, cs.rows, "OpenBLAS best SSE-era", s, "GB/s");
    zor::bench::record("trans", group, cs.rows, "OpenBLAS native", nat, "GB/s");
    zor::bench::record("trans", group, cs.rows, "memcpy", m, "GB/s");
    zor::bench::record("trans", group, cs.rows, "ours / best SSE-era", o / s, "x");
    zor::bench::record("trans", group, cs.rows, "ours / native", o / nat, "x");
  }
  std::printf("\nbest of %d rounds, ours and every peer interleaved case by case; ratios above 1.00x: ours faster\n",
              rounds);
  return 0;
}
