// DGEMM and SGEMM, single thread: ours in both kernel rows against OpenBLAS
// (serial build) forced to each of its SSE-era kernels and natively, and
// against the measured SSE peak, all in the same run.
//
// Each OpenBLAS variant runs in a forked child that sets OPENBLAS_CORETYPE
// (and OPENBLAS_L2_SIZE for the SSE-era ones) before loading the library, so
// one run compares every peer; the child sends its figures back by pipe.
// Usage: bench_gemm [max_n]   (default 2000)
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <emmintrin.h>

#include <zor/core.h>
#include <zor/gemm.h>

#include "common.hpp"

namespace {

using zor::bench::best_seconds;
using zor::bench::keep;

struct Case {
  char prec;  // 'd' or 's'
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
      a[i] = R((i * 7 % 13) - 6) / R(8);
      b[i] = R((i * 5 % 11) - 5) / R(8);
      c[i] = R(0);
    }
  }
  ~Operands() {
    std::free(a);
    std::free(b);
    std::free(c);
  }
};

double seconds_for(int n) { return n >= 1000 ? 0.3 : 0.1; }
int repeats_for(int n) { return n >= 1000 ? 3 : 5; }
double gflops(int n, double s) { return 2.0 * n * n * double(n) / s * 1e-9; }

// Ours, in the row the provider is forced to.
double ours(const Case &cs) {
  int64_t n = cs.n;
  const char ta[2] = {cs.trans[0], 0}, tb[2] = {cs.trans[1], 0};
  if (cs.prec == 'd') {
    Operands<double> op(cs.n);
    double alpha = 1.0, beta = 0.5;
    return gflops(cs.n, best_seconds([&] { zor_blas_xdgemm(ta, tb, &n, &n, &n, &alpha, op.a, &n, op.b, &n, &beta, op.c, &n); keep(op.c[0]); },
                                     repeats_for(cs.n), seconds_for(cs.n)));
  }
  Operands<float> op(cs.n);
  float alpha = 1.0f, beta = 0.5f;
  return gflops(cs.n, best_seconds([&] { zor_blas_xsgemm(ta, tb, &n, &n, &n, &alpha, op.a, &n, op.b, &n, &beta, op.c, &n); keep(op.c[0]); },
                                   repeats_for(cs.n), seconds_for(cs.n)));
}

using DgemmFn = void (*)(const char *, const char *, const int *, const int *, const int *, const double *,
                         const double *, const int *, const double *, const int *, const double *, double *,
                         const int *, size_t, size_t);
using SgemmFn = void (*)(const char *, const char *, const int *, const int *, const int *, const float *,
                         const float *, const int *, const float *, const int *, const float *, float *,
                         const int *, size_t, size_t);

struct PeerResult {
  std::string core;
  std::vector<double> gf;
};

// OpenBLAS with a core type (null: native) in a child process.
PeerResult peer(const char *coretype, const std::vector<Case> &cases) {
  int fd[2];
  if (pipe(fd) != 0) return {};
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
    auto dg = reinterpret_cast<DgemmFn>(dlsym(lib, "dgemm_"));
    auto sg = reinterpret_cast<SgemmFn>(dlsym(lib, "sgemm_"));
    auto corename = reinterpret_cast<char *(*)()>(dlsym(lib, "openblas_get_corename"));
    char name[64] = {};
    std::snprintf(name, sizeof name, "%s", corename ? corename() : "?");
    if (write(fd[1], name, sizeof name) != sizeof name) _exit(3);
    for (const Case &cs : cases) {
      int n = cs.n;
      const char ta = cs.trans[0], tb = cs.trans[1];
      double g;
      if (cs.prec == 'd') {
        Operands<double> op(n);
        double alpha = 1.0, beta = 0.5;
        g = gflops(n, best_seconds([&] { dg(&ta, &tb, &n, &n, &n, &alpha, op.a, &n, op.b, &n, &beta, op.c, &n, 1, 1); keep(op.c[0]); },
                                   repeats_for(n), seconds_for(n)));
      } else {
        Operands<float> op(n);
        float alpha = 1.0f, beta = 0.5f;
        g = gflops(n, best_seconds([&] { sg(&ta, &tb, &n, &n, &n, &alpha, op.a, &n, op.b, &n, &beta, op.c, &n, 1, 1); keep(op.c[0]); },
                                   repeats_for(n), seconds_for(n)));
      }
      if (write(fd[1], &g, sizeof g) != sizeof g) _exit(3);
    }
    _exit(0);
  }
  close(fd[1]);
  PeerResult r;
  char name[64] = {};
  if (read(fd[0], name, sizeof name) == sizeof name) r.core = name;
  for (size_t i = 0; i < cases.size(); ++i) {
    double g = 0;
    if (read(fd[0], &g, sizeof g) != sizeof g) g = 0;
    r.gf.push_back(g);
  }
  close(fd[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  return r;
}

// The SSE peak: twelve independent streams, six of mulpd and six of addpd
// (or their single-precision forms), flops per second.
template <class V>
double sse_peak() {
  constexpr long kIters = 20000000;
  constexpr int lanes = sizeof(V) / (std::is_same_v<V, __m128d> ? sizeof(double) : sizeof(float));
  double s = best_seconds([] {
    V m0, m1, m2, m3, m4, m5, a0, a1, a2, a3, a4, a5, k, z;
    if constexpr (std::is_same_v<V, __m128d>) {
      m0 = m1 = m2 = m3 = m4 = m5 = a0 = a1 = a2 = a3 = a4 = a5 = _mm_set1_pd(1.0);
      k = _mm_set1_pd(1.0);
      z = _mm_set1_pd(1e-300);
    } else {
      m0 = m1 = m2 = m3 = m4 = m5 = a0 = a1 = a2 = a3 = a4 = a5 = _mm_set1_ps(1.0f);
      k = _mm_set1_ps(1.0f);
      z = _mm_set1_ps(1e-30f);
    }
    for (long i = 0; i < kIters; ++i) {
      if constexpr (std::is_same_v<V, __m128d>) {
        m0 = _mm_mul_pd(m0, k); a0 = _mm_add_pd(a0, z); m1 = _mm_mul_pd(m1, k); a1 = _mm_add_pd(a1, z);
        m2 = _mm_mul_pd(m2, k); a2 = _mm_add_pd(a2, z); m3 = _mm_mul_pd(m3, k); a3 = _mm_add_pd(a3, z);
        m4 = _mm_mul_pd(m4, k); a4 = _mm_add_pd(a4, z); m5 = _mm_mul_pd(m5, k); a5 = _mm_add_pd(a5, z);
      } else {
        m0 = _mm_mul_ps(m0, k); a0 = _mm_add_ps(a0, z); m1 = _mm_mul_ps(m1, k); a1 = _mm_add_ps(a1, z);
        m2 = _mm_mul_ps(m2, k); a2 = _mm_add_ps(a2, z); m3 = _mm_mul_ps(m3, k); a3 = _mm_add_ps(a3, z);
        m4 = _mm_mul_ps(m4, k); a4 = _mm_add_ps(a4, z); m5 = _mm_mul_ps(m5, k); a5 = _mm_add_ps(a5, z);
      }
      asm volatile("" : "+x"(m0), "+x"(m1), "+x"(m2), "+x"(m3), "+x"(m4), "+x"(m5));
      asm volatile("" : "+x"(a0), "+x"(a1), "+x"(a2), "+x"(a3), "+x"(a4), "+x"(a5));
    }
    keep(m0); keep(m1); keep(m2); keep(m3); keep(m4); keep(m5);
    keep(a0); keep(a1); keep(a2); keep(a3); keep(a4); keep(a5);
  }, 3, 0.05);
  return 12.0 * lanes * kIters / s * 1e-9;
}

}  // namespace

int main(int argc, char **argv) {
  int max_n = argc > 1 ? std::atoi(argv[1]) : 2000;
  std::vector<Case> cases;
  for (char prec : {'d', 's'})
    for (const char *trans : {"NN", "TN"})
      for (int n : {64, 256, 1000, 2000})
        if (n <= max_n) cases.push_back({prec, trans, n});

  const double peak_d = sse_peak<__m128d>(), peak_s = sse_peak<__m128>();
  std::printf("measured SSE peak: double %.2f GFLOP/s, single %.2f GFLOP/s (mulpd/addpd streams)\n", peak_d, peak_s);

  std::vector<double> row0, row1;
  for (const Case &cs : cases) {
    zor_core_force(ZOR_CORE_CPUHASQLX, 0);
    row0.push_back(ours(cs));
    zor_core_force(ZOR_CORE_CPUHASQLX, 1);
    row1.push_back(ours(cs));
  }
  zor_core_unforce(ZOR_CORE_CPUHASQLX);

  const char *sse_cores[] = {"Nehalem", "Penryn", "Core2", "Barcelona"};
  std::vector<PeerResult> sse;
  for (const char *core : sse_cores) sse.push_back(peer(core, cases));
  PeerResult native = peer(nullptr, cases);
  std::printf("OpenBLAS cores loaded:");
  for (size_t i = 0; i < sse.size(); ++i) std::printf(" %s->%s", sse_cores[i], sse[i].core.c_str());
  std::printf(" native->%s (OPENBLAS_L2_SIZE=262144 for the forced ones)\n\n", native.core.c_str());

  std::printf("%-14s %8s %8s %8s %-10s %8s %7s %7s %7s %7s %7s\n", "case", "row0", "row1", "bestSSE", "(core)",
              "native", "r0/SSE", "r1/SSE", "r1/nat", "r0/pk", "r1/pk");
  for (size_t i = 0; i < cases.size(); ++i) {
    const Case &cs = cases[i];
    size_t best = 0;
    for (size_t j = 1; j < sse.size(); ++j)
      if (sse[j].gf[i] > sse[best].gf[i]) best = j;
    const double b = sse[best].gf[i], peak = cs.prec == 'd' ? peak_d : peak_s;
    char label[32];
    std::snprintf(label, sizeof label, "%cgemm %s %d", cs.prec, cs.trans, cs.n);
    std::printf("%-14s %8.2f %8.2f %8.2f %-10s %8.2f %6.2fx %6.2fx %6.2fx %6.0f%% %6.0f%%\n", label, row0[i], row1[i], b,
                sse_cores[best], native.gf[i], row0[i] / b, row1[i] / b, row1[i] / native.gf[i], 100 * row0[i] / peak,
                100 * row1[i] / peak);
  }
  std::printf("\nfigures in GFLOP/s; ratios above 1.00x mean ours is faster\n");
  return 0;
}
