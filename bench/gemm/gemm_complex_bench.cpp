// ZGEMM and CGEMM, single thread: ours in both kernel rows against OpenBLAS
// (serial build) forced to each of its SSE-era kernels and natively; and the
// three-multiplication ZGEMM3M against our ZGEMM and OpenBLAS's zgemm3m.
//
// Each OpenBLAS variant runs in a forked child that sets OPENBLAS_CORETYPE
// (and OPENBLAS_L2_SIZE for the SSE-era ones) before loading the library.
// Inside the child, ours and the peer are timed alternately, a few rounds:
// the figures are the best of each, the ratios the median of the rounds'
// own ratios, each taken between neighbouring timings, which on a shared
// machine keeps both sides under the same load. The
// child sends its figures back by pipe. The n = 2000 cases run only against
// the SSE-era core that was best at n = 1000, and natively.
// Figures count 8 n^3 flops for every method (3M included), so ratios are
// ratios of times.
// Usage: bench_gemm_complex [max_n]   (default 2000)
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <zor/core.h>
#include <zor/gemm_complex.h>

#include "common.hpp"

namespace {

using zor::bench::best_seconds;
using zor::bench::keep;

struct Case {
  char prec;  // 'z' or 'c'
  bool three_m;
  int n;
};
// What one child measures for a case: ours in row 0 and row 1, our
// four-multiplication product in row 1 (3M cases), the peer.
struct Figures {
  double row0 = 0, row1 = 0, ours_gemm = 0, peer = 0;
  double ratio0 = 0, ratio1 = 0, ratio_3m = 0;  // medians of the per-round ratios
};

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  const size_t h = v.size() / 2;
  return v.empty() ? 0.0 : v.size() % 2 ? v[h] : 0.5 * (v[h - 1] + v[h]);
}

using GemmFn = void (*)(const char *, const char *, const int *, const int *, const int *, const void *, const void *,
                        const int *, const void *, const int *, const void *, void *, const int *, size_t, size_t);
using OursFn = void (*)(const char *, const char *, const int64_t *, const int64_t *, const int64_t *, const void *,
                        const void *, const int64_t *, const void *, const int64_t *, const void *, void *,
                        const int64_t *);

template <class R>
struct Operands {
  using E = std::complex<R>;
  std::vector<E> a, b, c;
  explicit Operands(int n) : a(size_t(n) * n), b(size_t(n) * n), c(size_t(n) * n) {
    for (size_t i = 0; i < a.size(); ++i) {
      a[i] = E(R((i * 7 % 13) - 6) / R(8), R((i * 3 % 7) - 3) / R(8));
      b[i] = E(R((i * 5 % 11) - 5) / R(8), R((i * 2 % 5) - 2) / R(8));
    }
  }
};

double gflops(int n, double s) { return 8.0 * n * n * double(n) / s * 1e-9; }

template <class R>
Figures measure(const Case &cs, GemmFn peer_fn, OursFn ours_fn, OursFn ours_gemm_fn) {
  const int n = cs.n;
  const int64_t N = n;
  Operands<R> op(n);
  const std::complex<R> alpha(1, R(0.5)), beta(R(0.5), 0);
  const int rounds = n >= 1000 ? 2 : 3;
  const int repeats = n >= 1000 ? 1 : 3;
  const double min_seconds = n >= 1000 ? 0.0 : 0.05;
  auto ours = [&](OursFn fn, int row) {
    zor_core_force(ZOR_CORE_CPUHASQLX, row);
    double s = best_seconds([&] {
      fn("N", "N", &N, &N, &N, &alpha, op.a.data(), &N, op.b.data(), &N, &beta, op.c.data(), &N);
      keep(op.c[0]);
    }, repeats, min_seconds);
    zor_core_unforce(ZOR_CORE_CPUHASQLX);
    return gflops(n, s);
  };
  auto peer = [&] {
    double s = best_seconds([&] {
      peer_fn("N", "N", &n, &n, &n, &alpha, op.a.data(), &n, op.b.data(), &n, &beta, op.c.data(), &n, 1, 1);
      keep(op.c[0]);
    }, repeats, min_seconds);
    return gflops(n, s);
  };
  Figures f;
  std::vector<double> r0, r1, r3m;
  for (int r = 0; r < rounds; ++r) {
    const double g0 = ours(ours_fn, 0), p = peer_fn ? peer() : 0.0, g1 = ours(ours_fn, 1);
    const double g4 = cs.three_m ? ours(ours_gemm_fn, 1) : 0.0;
    f.row0 = std::max(f.row0, g0);
    f.peer = std::max(f.peer, p);
    f.row1 = std::max(f.row1, g1);
    f.ours_gemm = std::max(f.ours_gemm, g4);
    r0.push_back(g0 / p);
    r1.push_back(g1 / p);
    if (cs.three_m) r3m.push_back(g1 / g4);
  }
  f.ratio0 = median(r0);
  f.ratio1 = median(r1);
  f.ratio_3m = median(r3m);
  return f;
}

struct PeerRun {
  std::string core;
  std::vector<Figures> figures;
};

// One child per OpenBLAS variant (null core type: native).
PeerRun run_child(const char *coretype, const std::vector<Case> &cases) {
  PeerRun r;
  int fd[2];
  if (pipe(fd) != 0) return r;
  pid_t pid = fork();
  if (pid == 0) {
    close(fd[0]);
    if (coretype) {
      setenv("OPENBLAS_CORETYPE", coretype, 1);
      setenv("OPENBLAS_L2_SIZE", "262144", 1);
    }
    setenv("OPENBLAS_NUM_THREADS", "1", 1);
    void *lib = dlopen(ZOR_OPENBLAS_SERIAL, RTLD_NOW | RTLD_LOCAL);
    if (!lib) _exit(2);
    auto corename = reinterpret_cast<char *(*)()>(dlsym(lib, "openblas_get_corename"));
    char name[64] = {};
    std::snprintf(name, sizeof name, "%s", corename ? corename() : "?");
    if (write(fd[1], name, sizeof name) != sizeof name) _exit(3);
    for (const Case &cs : cases) {
      const char *sym = cs.prec == 'z' ? (cs.three_m ? "zgemm3m_" : "zgemm_") : (cs.three_m ? "cgemm3m_" : "cgemm_");
      auto peer_fn = reinterpret_cast<GemmFn>(dlsym(lib, sym));
      Figures f = cs.prec == 'z'
                      ? measure<double>(cs, peer_fn, cs.three_m ? zor_blas_xzgemm3m : zor_blas_xzgemm, zor_blas_xzgemm)
                      : measure<float>(cs, peer_fn, cs.three_m ? zor_blas_xcgemm3m : zor_blas_xcgemm, zor_blas_xcgemm);
      if (write(fd[1], &f, sizeof f) != sizeof f) _exit(3);
    }
    _exit(0);
  }
  close(fd[1]);
  char name[64] = {};
  if (read(fd[0], name, sizeof name) == sizeof name) r.core = name;
  for (size_t i = 0; i < cases.size(); ++i) {
    Figures f;
    if (read(fd[0], &f, sizeof f) != sizeof f) f = Figures{};
    r.figures.push_back(f);
  }
  close(fd[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  return r;
}

void print_line(const Case &cs, const Figures &best_sse, const char *core, const Figures &native) {
  char label[32];
  std::snprintf(label, sizeof label, "%cgemm%s NN %d", cs.prec, cs.three_m ? "3m" : "", cs.n);
  std::printf("%-16s %7.2f %7.2f %7.2f %-10s %6.2fx %6.2fx | %7.2f %7.2f %6.2fx", label, best_sse.row0, best_sse.row1,
              best_sse.peer, core, best_sse.ratio0, best_sse.ratio1, native.row1, native.peer, native.ratio1);
  if (cs.three_m) std::printf(" | 3m/our zgemm %5.2fx", best_sse.ratio_3m);
  std::printf("\n");
}

}  // namespace

int main(int argc, char **argv) {
  const int max_n = argc > 1 ? std::atoi(argv[1]) : 2000;
  std::vector<Case> small, large;
  for (char prec : {'z', 'c'})
    for (int n : {64, 256, 1000, 2000})
      if (n <= max_n) (n < 2000 ? small : large).push_back({prec, false, n});
  for (int n : {256, 1000, 2000})
    if (n <= max_n) (n < 2000 ? small : large).push_back({'z', true, n});

  const char *sse_cores[] = {"Nehalem", "Penryn", "Core2", "Barcelona"};
  std::vector<PeerRun> sse;
  for (const char *core : sse_cores) sse.push_back(run_child(core, small));
  PeerRun native = run_child(nullptr, small);
  std::printf("OpenBLAS cores loaded:");
  for (size_t i = 0; i < sse.size(); ++i) std::printf(" %s->%s", sse_cores[i], sse[i].core.c_str());
  std::printf(" native->%s (OPENBLAS_L2_SIZE=262144 for the forced ones)\n\n", native.core.c_str());
  std::printf("%-16s %7s %7s %7s %-10s %7s %7s | %7s %7s %7s\n", "case", "row0", "row1", "bestSSE", "(core)", "r0/SSE",
              "r1/SSE", "row1", "native", "r1/nat");

  // The best SSE-era core per case; for n = 2000, the one best at the
  // largest smaller n of the same kind.
  auto best_of = [&](size_t i) {
    size_t best = 0;
    for (size_t j = 1; j < sse.size(); ++j)
      if (sse[j].figures[i].peer > sse[best].figures[i].peer) best = j;
    return best;
  };
  for (size_t i = 0; i < small.size(); ++i) {
    const size_t b = best_of(i);
    print_line(small[i], sse[b].figures[i], sse_cores[b], native.figures[i]);
  }
  for (const Case &cs : large) {
    size_t core = 3;
    for (size_t i = 0; i < small.size(); ++i)
      if (small[i].prec == cs.prec && small[i].three_m == cs.three_m) core = best_of(i);
    PeerRun s = run_child(sse_cores[core], {cs});
    PeerRun nat = run_child(nullptr, {cs});
    print_line(cs, s.figures[0], sse_cores[core], nat.figures[0]);
  }
  std::printf("\nfigures in GFLOP/s counted as 8 n^3 (best of the rounds); ratios are medians of per-round ratios\n"
              "of neighbouring timings in one process per peer; above 1.00x means ours is faster\n");
  return 0;
}
