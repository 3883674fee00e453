// DGEMM and SGEMM, single thread: ours in both kernel rows against OpenBLAS
// (serial build) forced to each of its SSE-era kernels and natively, and
// against the measured SSE peak, all in the same run.
//
// Each OpenBLAS variant runs in a forked child that sets OPENBLAS_CORETYPE
// (and OPENBLAS_L2_SIZE for the SSE-era ones) before loading the library and
// then times the cases it is sent, so one run compares every peer, case by
// case, interleaved with ours.
// Usage: bench_gemm [max_n [rounds]]   (defaults 2000, 2)
#include <dlfcn.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <algorithm>
#include <type_traits>
#include <string>
#include <vector>

#include <emmintrin.h>

#include <zor/core.h>
#include <zor/gemm.h>

#include "common.hpp"

namespace {

using zor::bench::keep;

// Processor time of this thread: the machine is shared, and wall time would
// charge other processes' work to whichever side happened to run beside it.
double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}
template <class F>
double best_cpu_seconds(F &&body, int repeats, double min_seconds) {
  double best = 1e30;
  for (int r = 0; r < repeats; ++r) {
    long iterations = 0;
    const double start = thread_seconds();
    double elapsed = 0;
    do {
      body();
      ++iterations;
      elapsed = thread_seconds() - start;
    } while (elapsed < min_seconds);
    best = std::min(best, elapsed / double(iterations));
  }
  return best;
}

struct Case {
  char prec;          // 'd' or 's'
  const char *trans;  // "NN" or "TN"
  int n;
};

template <class R>
struct Operands {
  int n;
  R *a, *b, *c;
  explicit Operands(int n) : n(n) {
    size_t bytes = (size_t(n) * n * sizeof(R) + 63) / 64 * 64;
    a = static_cast<R *>(std::aligned_alloc(64, bytes));
    b = static_cast<R *>(std::aligned_alloc(64, bytes));
    c = static_cast<R *>(std::aligned_alloc(64, bytes));
    for (size_t i = 0; i < size_t(n) * n; ++i) {
      a[i] = R(int(i * 7 % 13) - 6) / R(8);
      b[i] = R(int(i * 5 % 11) - 5) / R(8);
      c[i] = R(0);
    }
  }
  ~Operands() {
    std::free(a);
    std::free(b);
    std::free(c);
  }
};

double gflops(int n, double s) { return 2.0 * n * n * double(n) / s * 1e-9; }
double min_seconds_for(int n) { return n >= 1000 ? 0.2 : 0.05; }

// One timing (best of two) of a gemm of the case's shape; `call` receives
// (transa, transb, n, a, b, c) and runs the product with alpha 1, beta 0.5.
template <class R, class Call>
double time_case(const Case &cs, Call &&call) {
  Operands<R> op(cs.n);
  return gflops(cs.n, best_cpu_seconds([&] { call(cs.trans[0], cs.trans[1], cs.n, op.a, op.b, op.c); keep(op.c[0]); },
                                       2, min_seconds_for(cs.n)));
}

double ours(const Case &cs) {
  auto run = [](char ta, char tb, int n_, auto *a, auto *b, auto *c) {
    using R = std::remove_pointer_t<decltype(a)>;
    const char sa[2] = {ta, 0}, sb[2] = {tb, 0};
    int64_t n = n_;
    R alpha = 1, beta = R(0.5);
    if constexpr (sizeof(R) == 8) zor_blas_xdgemm(sa, sb, &n, &n, &n, &alpha, a, &n, b, &n, &beta, c, &n);
    else zor_blas_xsgemm(sa, sb, &n, &n, &n, &alpha, a, &n, b, &n, &beta, c, &n);
  };
  return cs.prec == 'd' ? time_case<double>(cs, run) : time_case<float>(cs, run);
}

using DgemmFn = void (*)(const char *, const char *, const int *, const int *, const int *, const double *,
                         const double *, const int *, const double *, const int *, const double *, double *,
                         const int *, size_t, size_t);
using SgemmFn = void (*)(const char *, const char *, const int *, const int *, const int *, const float *,
                         const float *, const int *, const float *, const int *, const float *, float *,
                         const int *, size_t, size_t);

// OpenBLAS with a core type (null: native) in a child process that sets the
// environment before loading the library and then times the case it is sent.
struct Peer {
  std::string asked, core;
  int to = -1, from = -1;
  pid_t pid = -1;
  std::vector<double> best;

  Peer(const char *coretype, const std::vector<Case> &cases) : asked(coretype ? coretype : "native") {
    int down[2], up[2];
    if (pipe(down) != 0 || pipe(up) != 0) return;
    pid = fork();
    if (pid == 0) {
      close(down[1]);
      close(up[0]);
      if (coretype) {
        setenv("OPENBLAS_CORETYPE", coretype, 1);
        setenv("OPENBLAS_L2_SIZE", "262144", 1);
      }
      setenv("OPENBLAS_NUM_THREADS", "1", 1);
      void *lib = dlopen(ZOR_OPENBLAS_SERIAL, RTLD_NOW | RTLD_LOCAL);
      if (!lib) _exit(2);
      auto dg = reinterpret_cast<DgemmFn>(dlsym(lib, "dgemm_"));
      auto sg = reinterpret_cast<SgemmFn>(dlsym(lib, "sgemm_"));
      auto corename = reinterpret_cast<char *(*)()>(dlsym(lib, "openblas_get_corename"));
      char name[64] = {};
      std::snprintf(name, sizeof name, "%s", corename ? corename() : "?");
      if (write(up[1], name, sizeof name) != sizeof name) _exit(3);
      int index;
      while (read(down[0], &index, sizeof index) == sizeof index) {
        const Case &cs = cases[size_t(index)];
        auto run = [&](char ta, char tb, int n, auto *a, auto *b, auto *c) {
          using R = std::remove_pointer_t<decltype(a)>;
          R alpha = 1, beta = R(0.5);
          if constexpr (sizeof(R) == 8) dg(&ta, &tb, &n, &n, &n, &alpha, a, &n, b, &n, &beta, c, &n, 1, 1);
          else sg(&ta, &tb, &n, &n, &n, &alpha, a, &n, b, &n, &beta, c, &n, 1, 1);
        };
        double g = cs.prec == 'd' ? time_case<double>(cs, run) : time_case<float>(cs, run);
        if (write(up[1], &g, sizeof g) != sizeof g) _exit(3);
      }
      _exit(0);
    }
    close(down[0]);
    close(up[1]);
    to = down[1];
    from = up[0];
    char name[64] = {};
    if (read(from, name, sizeof name) == sizeof name) core = name;
    best.assign(cases.size(), 0.0);
  }
  void measure(int index) {
    double g = 0;
    if (write(to, &index, sizeof index) != sizeof index || read(from, &g, sizeof g) != sizeof g) g = 0;
    best[size_t(index)] = std::max(best[size_t(index)], g);
  }
  ~Peer() {
    if (to >= 0) close(to);
    if (from >= 0) close(from);
    if (pid > 0) {
      kill(pid, SIGTERM);  // later children hold copies of this pipe's ends
      waitpid(pid, nullptr, 0);
    }
  }
};

// The SSE peak: fourteen independent streams, seven of mulpd and seven of
// addpd (or their single-precision forms).
template <class V>
double sse_peak() {
  constexpr long kIters = 20000000;
  constexpr bool dbl = std::is_same_v<V, __m128d>;
  constexpr int lanes = dbl ? 2 : 4;
  double s = best_cpu_seconds([] {
    V m0, m1, m2, m3, m4, m5, m6, a0, a1, a2, a3, a4, a5, a6, k, z;
    if constexpr (dbl) {
      m0 = m1 = m2 = m3 = m4 = m5 = m6 = a0 = a1 = a2 = a3 = a4 = a5 = a6 = k = _mm_set1_pd(1.0);
      z = _mm_set1_pd(1e-300);
    } else {
      m0 = m1 = m2 = m3 = m4 = m5 = m6 = a0 = a1 = a2 = a3 = a4 = a5 = a6 = k = _mm_set1_ps(1.0f);
      z = _mm_set1_ps(1e-30f);
    }
    asm volatile("" : "+x"(k), "+x"(z));  // opaque: x * 1.0 must not fold away
    for (long i = 0; i < kIters; ++i) {
      if constexpr (dbl) {
        m0 = _mm_mul_pd(m0, k); a0 = _mm_add_pd(a0, z); m1 = _mm_mul_pd(m1, k); a1 = _mm_add_pd(a1, z);
        m2 = _mm_mul_pd(m2, k); a2 = _mm_add_pd(a2, z); m3 = _mm_mul_pd(m3, k); a3 = _mm_add_pd(a3, z);
        m4 = _mm_mul_pd(m4, k); a4 = _mm_add_pd(a4, z); m5 = _mm_mul_pd(m5, k); a5 = _mm_add_pd(a5, z);
        m6 = _mm_mul_pd(m6, k); a6 = _mm_add_pd(a6, z);
      } else {
        m0 = _mm_mul_ps(m0, k); a0 = _mm_add_ps(a0, z); m1 = _mm_mul_ps(m1, k); a1 = _mm_add_ps(a1, z);
        m2 = _mm_mul_ps(m2, k); a2 = _mm_add_ps(a2, z); m3 = _mm_mul_ps(m3, k); a3 = _mm_add_ps(a3, z);
        m4 = _mm_mul_ps(m4, k); a4 = _mm_add_ps(a4, z); m5 = _mm_mul_ps(m5, k); a5 = _mm_add_ps(a5, z);
        m6 = _mm_mul_ps(m6, k); a6 = _mm_add_ps(a6, z);
      }
      asm volatile("" : "+x"(m0), "+x"(m1), "+x"(m2), "+x"(m3), "+x"(m4), "+x"(m5), "+x"(m6));
      asm volatile("" : "+x"(a0), "+x"(a1), "+x"(a2), "+x"(a3), "+x"(a4), "+x"(a5), "+x"(a6));
    }
    asm volatile("" : : "x"(m0), "x"(m1), "x"(m2), "x"(m3), "x"(m4), "x"(m5), "x"(m6));
    asm volatile("" : : "x"(a0), "x"(a1), "x"(a2), "x"(a3), "x"(a4), "x"(a5), "x"(a6));
  }, 3, 0.05);
  return 14.0 * lanes * kIters / s * 1e-9;
}

}  // namespace

int main(int argc, char **argv) {
  const int max_n = argc > 1 ? std::atoi(argv[1]) : 2000;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 2;
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  std::vector<Case> cases;
  for (char prec : {'d', 's'})
    for (const char *trans : {"NN", "TN"})
      for (int n : {64, 256, 1000, 2000})
        if (n <= max_n) cases.push_back({prec, trans, n});

  const char *sse_cores[] = {"Nehalem", "Penryn", "Core2", "Barcelona"};
  std::vector<Peer *> peers;
  for (const char *core : sse_cores) peers.push_back(new Peer(core, cases));
  Peer *native = new Peer(nullptr, cases);
  peers.push_back(native);
  std::printf("OpenBLAS cores loaded:");
  for (Peer *p : peers) std::printf(" %s->%s", p->asked.c_str(), p->core.c_str());
  std::printf(" (OPENBLAS_L2_SIZE=262144 for the forced ones)\n");

  // Rounds interleave ours and every peer case by case; each keeps its best.
  double peak_d = 0, peak_s = 0;
  std::vector<double> row0(cases.size(), 0.0), row1(cases.size(), 0.0);
  for (int r = 0; r < rounds; ++r) {
    peak_d = std::max(peak_d, sse_peak<__m128d>());
    peak_s = std::max(peak_s, sse_peak<__m128>());
    for (size_t i = 0; i < cases.size(); ++i) {
      zor_core_force(ZOR_CORE_CPUHASQLX, 0);
      row0[i] = std::max(row0[i], ours(cases[i]));
      zor_core_force(ZOR_CORE_CPUHASQLX, 1);
      row1[i] = std::max(row1[i], ours(cases[i]));
      for (Peer *p : peers) p->measure(int(i));
    }
  }
  zor_core_unforce(ZOR_CORE_CPUHASQLX);
  std::printf("measured SSE peak: double %.2f GFLOP/s, single %.2f GFLOP/s (independent mul/add streams)\n\n",
              peak_d, peak_s);

  std::printf("%-15s %7s %7s %7s %-10s %7s %7s %7s %7s %6s %6s\n", "case", "row0", "row1", "bestSSE", "(core)",
              "native", "r0/SSE", "r1/SSE", "r1/nat", "r0/pk", "r1/pk");
  for (size_t i = 0; i < cases.size(); ++i) {
    const Case &cs = cases[i];
    size_t best = 0;
    for (size_t j = 1; j < 4; ++j)
      if (peers[j]->best[i] > peers[best]->best[i]) best = j;
    const double b = peers[best]->best[i], nat = native->best[i], peak = cs.prec == 'd' ? peak_d : peak_s;
    char label[32];
    std::snprintf(label, sizeof label, "%cgemm %s %d", cs.prec, cs.trans, cs.n);
    std::printf("%-15s %7.2f %7.2f %7.2f %-10s %7.2f %6.2fx %6.2fx %6.2fx %5.0f%% %5.0f%%\n", label, row0[i], row1[i],
                b, sse_cores[best], nat, row0[i] / b, row1[i] / b, row1[i] / nat, 100 * row0[i] / peak,
                100 * row1[i] / peak);
  }
  std::printf("\nGFLOP/s from thread processor time, best of %d interleaved rounds; ratios above 1.00x: ours faster\n",
              rounds);
  for (Peer *p : peers) delete p;
  return 0;
}
