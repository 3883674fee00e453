// What a call costs at tiny sizes, where the front is all there is beyond
// the tier: ddot_, daxpy_, dgemv_ 'N', dgemm_ 'N','N' and a row-major
// cblas_dgemm at n = 4 and 16, nanoseconds a call (thread processor time,
// best of batches). Ours (libzor_blas), OpenBLAS native and SSE-era (each in
// a child that sets its own kernel set, see openblas_peer.hpp) and the
// reference BLAS each run in a process of their own through the same
// measuring code; the tier's entry (zor_blas_xddot ...) is timed in our
// process, beside our names. Rounds alternate between them.
//   bench_cblas_call_cost [rounds]
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "common.hpp"
#include "openblas_peer.hpp"

namespace {

using zor::bench::OpenBlasPeer;

const char *const kRoutines[] = {"ddot_", "daxpy_", "dgemv_", "dgemm_", "cblas_dgemm"};
const int kSizes[] = {4, 16};
constexpr int kCases = 10;

struct Data {
  std::vector<double> a, b, c, x, y;
  explicit Data(int n) : a(n * n, 0.5), b(n * n, 0.25), c(n * n, 0), x(n, 1.0), y(n, 0.5) {}
};

extern "C" {
using Dot = double (*)(const int *, const double *, const int *, const double *, const int *);
using Axpy = void (*)(const int *, const double *, const double *, const int *, double *, const int *);
using Gemv = void (*)(const char *, const int *, const int *, const double *, const double *, const int *,
                      const double *, const int *, const double *, double *, const int *, size_t);
using Gemm = void (*)(const char *, const char *, const int *, const int *, const int *, const double *,
                      const double *, const int *, const double *, const int *, const double *, double *,
                      const int *, size_t, size_t);
using Cgemm = void (*)(int, int, int, int, int, int, double, const double *, int, const double *, int, double,
                       double *, int);
}

// ns a call of case `index` through the library's published names.
double measure(int index, void *lib) {
  const int n = kSizes[index / 5], one = 1;
  const std::string name = kRoutines[index % 5];
  void *f = dlsym(lib, name.c_str());
  if (!f) return 0;
  Data d(n);
  const double alpha = 1e-3, beta = 0.5;
  volatile double sink = 0;
  double s = 0;
  if (name == "ddot_") {
    s = zor::bench::best_thread_seconds([&] { sink = sink + reinterpret_cast<Dot>(f)(&n, d.x.data(), &one, d.y.data(), &one); });
  } else if (name == "daxpy_") {
    s = zor::bench::best_thread_seconds([&] { reinterpret_cast<Axpy>(f)(&n, &alpha, d.x.data(), &one, d.y.data(), &one); });
  } else if (name == "dgemv_") {
    s = zor::bench::best_thread_seconds([&] {
      reinterpret_cast<Gemv>(f)("N", &n, &n, &alpha, d.a.data(), &n, d.x.data(), &one, &beta, d.y.data(), &one, 1);
    });
  } else if (name == "dgemm_") {
    s = zor::bench::best_thread_seconds([&] {
      reinterpret_cast<Gemm>(f)("N", "N", &n, &n, &n, &alpha, d.a.data(), &n, d.b.data(), &n, &beta, d.c.data(), &n,
                                1, 1);
    });
  } else {
    s = zor::bench::best_thread_seconds([&] {
      reinterpret_cast<Cgemm>(f)(101, 111, 111, n, n, n, alpha, d.a.data(), n, d.b.data(), n, beta, d.c.data(), n);
    });
  }
  return s * 1e9;
}

// The tier's own entry for the same case, found through the handle of our
// library (which loads the tier) and timed in the same child as our names,
// so that the difference is the front's alone.
extern "C" {
using TierDot = double (*)(const int64_t *, const double *, const int64_t *, const double *, const int64_t *);
using TierAxpy = void (*)(const int64_t *, const double *, const double *, const int64_t *, double *, const int64_t *);
using TierGemv = void (*)(const char *, const int64_t *, const int64_t *, const double *, const double *,
                          const int64_t *, const double *, const int64_t *, const double *, double *, const int64_t *);
using TierGemm = void (*)(const char *, const char *, const int64_t *, const int64_t *, const int64_t *,
                          const double *, const double *, const int64_t *, const double *, const int64_t *,
                          const double *, double *, const int64_t *);
}
double measure_tier(int index, void *lib) {
  const int64_t n = kSizes[index / 5], one = 1;
  const char *const entries[] = {"zor_blas_xddot", "zor_blas_xdaxpy", "zor_blas_xdgemv", "zor_blas_xdgemm",
                                 "zor_blas_xdgemm"};
  void *f = dlsym(lib, entries[index % 5]);
  if (!f) return 0;
  Data d{int(n)};
  const double alpha = 1e-3, beta = 0.5;
  volatile double sink = 0;
  double s = 0;
  switch (index % 5) {
    case 0:
      s = zor::bench::best_thread_seconds(
          [&] { sink = sink + reinterpret_cast<TierDot>(f)(&n, d.x.data(), &one, d.y.data(), &one); });
      break;
    case 1:
      s = zor::bench::best_thread_seconds(
          [&] { reinterpret_cast<TierAxpy>(f)(&n, &alpha, d.x.data(), &one, d.y.data(), &one); });
      break;
    case 2:
      s = zor::bench::best_thread_seconds([&] {
        reinterpret_cast<TierGemv>(f)("N", &n, &n, &alpha, d.a.data(), &n, d.x.data(), &one, &beta, d.y.data(), &one);
      });
      break;
    default:  // both products: the row-major call is this one with A and B exchanged
      s = zor::bench::best_thread_seconds([&] {
        reinterpret_cast<TierGemm>(f)("N", "N", &n, &n, &n, &alpha, d.b.data(), &n, d.a.data(), &n, &beta,
                                      d.c.data(), &n);
      });
  }
  return s * 1e9;
}

// Cases 0 .. kCases - 1 through the published names; our child also takes
// kCases .. 2 kCases - 1, the tier's entries.
double measure_any(int index, void *lib) {
  return index < kCases ? measure(index, lib) : measure_tier(index - kCases, lib);
}

}  // namespace

int main(int argc, char **argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 3;
  OpenBlasPeer ours(nullptr, ZOR_OUR_BLAS, measure_any);
  OpenBlasPeer native(nullptr, ZOR_OPENBLAS_SERIAL, measure);
  OpenBlasPeer reference(nullptr, std::vector<std::string>{ZOR_REFERENCE_BLAS}, measure);
  std::vector<OpenBlasPeer *> sse;
  for (const char *core : zor::bench::kSseEraCores) sse.push_back(new OpenBlasPeer(core, ZOR_OPENBLAS_SERIAL, measure));
  std::printf("call cost, ns a call (thread processor time, best of %d rounds); %s; OpenBLAS native took %s, SSE-era:",
              rounds, zor::bench::processor_name().c_str(), native.core().c_str());
  for (OpenBlasPeer *p : sse) std::printf(" %s (took %s)", p->asked().c_str(), p->core().c_str());
  std::printf("\n%-12s %3s %8s %8s %8s %8s %8s %8s %8s %8s\n", "routine", "n", "ours", "tier", "front+", "native",
              "sse-era", "ref", "vs nat", "vs sse");
  std::vector<double> best_ours(kCases, 1e30), best_tier(kCases, 1e30), best_native(kCases, 1e30),
      best_sse(kCases, 1e30), best_ref(kCases, 1e30);
  for (int r = 0; r < rounds; ++r)
    for (int i = 0; i < kCases; ++i) {
      auto keep = [](double &best, double v) {
        if (v > 0 && v < best) best = v;
      };
      keep(best_ours[i], ours.measure(i));
      keep(best_tier[i], ours.measure(kCases + i));
      keep(best_native[i], native.measure(i));
      for (OpenBlasPeer *p : sse) keep(best_sse[i], p->measure(i));
      keep(best_ref[i], reference.measure(i));
    }
  for (int i = 0; i < kCases; ++i) {
    const int n = kSizes[i / 5];
    const std::string routine = kRoutines[i % 5];
    std::printf("%-12s %3d %8.1f %8.1f %8.1f %8.1f %8.1f %8.1f %7.2fx %7.2fx\n", routine.c_str(), n, best_ours[i],
                best_tier[i], best_ours[i] - best_tier[i], best_native[i], best_sse[i], best_ref[i],
                best_native[i] / best_ours[i], best_sse[i] / best_ours[i]);
    const std::string group = "call cost, n = " + std::to_string(n);
    zor::bench::record("cblas", group, i % 5, routine + " vs OpenBLAS native", best_native[i] / best_ours[i], "x");
    zor::bench::record("cblas", group, i % 5, routine + " vs OpenBLAS SSE-era", best_sse[i] / best_ours[i], "x");
    zor::bench::record("cblas", group, i % 5, routine + " front cost", best_ours[i] - best_tier[i], "ns");
  }
  for (OpenBlasPeer *p : sse) delete p;
  return 0;
}
