// Vector kernels against the serial OpenBLAS, at n = 1e3 (first-level
// cache), 1e5 and 1e7 (memory), and at 1e7 against a triad loop
// (a := b + s c) measured in the same rounds, as the memory bound. Rates are
// bytes the routine must move per second (reads plus writes), so the ratio
// to the triad says how close a routine runs to memory bandwidth.
//
// The peers run in child processes with a kernel set this program chooses
// (bench/openblas_peer.hpp): each SSE-era set and the library's native
// choice. Rounds interleave ours and the peers; a figure is the median over
// the rounds of each side's best of a few timings, and a ratio the median of
// the rounds' ratios. The SSE-era peer is the set with the highest median;
// the fastest set of each round is printed beside it ("round max"), a figure
// that grows with the noise when the sets run alike, as they do from memory. Times are the
// thread's processor time, so that the other work of a shared machine
// counts only through the caches. The vectors hold
// random values of a fixed seed, so that a position search finds its answer
// at a random place, as in use.
//
//   bench_blas [filter [rounds [from]]]   routines whose name contains filter,
//                                         sizes from `from` on (1e7: memory only)
#include <dlfcn.h>
#include <zor/blas.h>
#include <zor/core.h>

#include <algorithm>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "common.hpp"
#include "openblas_peer.hpp"

using zor::bench::best_thread_seconds;
using zor::bench::keep;
using zor::bench::median;
using zor::bench::OpenBlasPeer;
using zor::bench::record;

namespace {

const int64_t kSizes[] = {1000, 100000, 10000000};

// Operands of every routine, for the largest size: x and y hold 2n doubles
// (n double complex numbers), fx and fy 2n floats.
struct Operands {
  double *x, *y;
  float *fx, *fy;
};

template <class T>
T *random_buffer(size_t n, uint64_t seed) {
  auto p = static_cast<T *>(std::aligned_alloc(64, (n * sizeof(T) + 63) / 64 * 64));
  for (size_t i = 0; i < n; ++i) {
    seed = seed * 6364136223846793005ull + 1442695040888963407ull;
    p[i] = T(double(int64_t(seed >> 11) - (int64_t(1) << 52)) / double(int64_t(1) << 52));
  }
  return p;
}

using Body = std::function<void()>;

// A routine: bytes moved per element, our call and the peer's, each made
// into a body for one size.
struct Routine {
  const char *name;
  double bytes;
  std::function<Body(int64_t n, Operands &)> ours;
  std::function<Body(void *lib, int64_t n, Operands &)> peer;
};

template <class F>
F *symbol(void *lib, const char *name) {
  return reinterpret_cast<F *>(dlsym(lib, name));
}

std::vector<Routine> routines() {
  using I = const int;
  std::vector<Routine> r;
  // Position searches: one signature per element type.
  auto position = [&](const char *name, double bytes, auto ours, bool single) {
    r.push_back({name, bytes,
                 [=](int64_t n, Operands &o) -> Body {
                   const void *x = single ? static_cast<const void *>(o.fx) : o.x;
                   return [=] {
                     int64_t nn = n, one = 1;
                     keep(ours(&nn, x, &one));
                   };
                 },
                 [=](void *lib, int64_t n, Operands &o) -> Body {
                   auto f = symbol<int(I *, const void *, I *)>(lib, (std::string(name) + "_").c_str());
                   const void *x = single ? static_cast<const void *>(o.fx) : o.x;
                   return [=] {
                     int nn = int(n), one = 1;
                     keep(f(&nn, x, &one));
                   };
                 }});
  };
  position("idamax", 8, [](const int64_t *n, const void *x, const int64_t *i) { return zor_blas_idamax(n, static_cast<const double *>(x), i); }, false);
  position("idamin", 8, [](const int64_t *n, const void *x, const int64_t *i) { return zor_blas_idamin(n, static_cast<const double *>(x), i); }, false);
  position("isamax", 4, [](const int64_t *n, const void *x, const int64_t *i) { return zor_blas_isamax(n, static_cast<const float *>(x), i); }, true);
  position("icamax", 8, [](const int64_t *n, const void *x, const int64_t *i) { return zor_blas_icamax(n, x, i); }, true);
  position("izamax", 16, [](const int64_t *n, const void *x, const int64_t *i) { return zor_blas_izamax(n, x, i); }, false);

  r.push_back({"dasum", 8,
               [](int64_t n, Operands &o) -> Body { return [=] { int64_t nn = n, one = 1; keep(zor_blas_dasum(&nn, o.x, &one)); }; },
               [](void *lib, int64_t n, Operands &o) -> Body {
                 auto f = symbol<double(I *, const double *, I *)>(lib, "dasum_");
                 return [=] { int nn = int(n), one = 1; keep(f(&nn, o.x, &one)); };
               }});
  r.push_back({"ddot", 16,
               [](int64_t n, Operands &o) -> Body { return [=] { int64_t nn = n, one = 1; keep(zor_blas_xddot(&nn, o.x, &one, o.y, &one)); }; },
               [](void *lib, int64_t n, Operands &o) -> Body {
                 auto f = symbol<double(I *, const double *, I *, const double *, I *)>(lib, "ddot_");
                 return [=] { int nn = int(n), one = 1; keep(f(&nn, o.x, &one, o.y, &one)); };
               }});
  // Scaling in pairs (2, then 0.5), so that the data neither grows nor shrinks.
  r.push_back({"dscal", 2 * 16,
               [](int64_t n, Operands &o) -> Body {
                 return [=] { int64_t nn = n, one = 1; double up = 2, down = 0.5; zor_blas_dscal(&nn, &up, o.x, &one); zor_blas_dscal(&nn, &down, o.x, &one); keep(o.x[0]); };
               },
               [](void *lib, int64_t n, Operands &o) -> Body {
                 auto f = symbol<void(I *, const double *, double *, I *)>(lib, "dscal_");
                 return [=] { int nn = int(n), one = 1; double up = 2, down = 0.5; f(&nn, &up, o.x, &one); f(&nn, &down, o.x, &one); keep(o.x[0]); };
               }});
  r.push_back({"daxpy", 24,
               [](int64_t n, Operands &o) -> Body { return [=] { int64_t nn = n, one = 1; double a = 1e-9; zor_blas_xdaxpy(&nn, &a, o.x, &one, o.y, &one); keep(o.y[0]); }; },
               [](void *lib, int64_t n, Operands &o) -> Body {
                 auto f = symbol<void(I *, const double *, const double *, I *, double *, I *)>(lib, "daxpy_");
                 return [=] { int nn = int(n), one = 1; double a = 1e-9; f(&nn, &a, o.x, &one, o.y, &one); keep(o.y[0]); };
               }});
  r.push_back({"zaxpy", 48,
               [](int64_t n, Operands &o) -> Body {
                 return [=] { int64_t nn = n, one = 1; std::complex<double> a(1e-9, -1e-9); zor_blas_xzaxpy(&nn, &a, o.x, &one, o.y, &one); keep(o.y[0]); };
               },
               [](void *lib, int64_t n, Operands &o) -> Body {
                 auto f = symbol<void(I *, const void *, const void *, I *, void *, I *)>(lib, "zaxpy_");
                 return [=] { int nn = int(n), one = 1; std::complex<double> a(1e-9, -1e-9); f(&nn, &a, o.x, &one, o.y, &one); keep(o.y[0]); };
               }});
  r.push_back({"dnrm2", 8,
               [](int64_t n, Operands &o) -> Body { return [=] { int64_t nn = n, one = 1; keep(zor_blas_dnrm2(&nn, o.x, &one)); }; },
               [](void *lib, int64_t n, Operands &o) -> Body {
                 auto f = symbol<double(I *, const double *, I *)>(lib, "dnrm2_");
                 return [=] { int nn = int(n), one = 1; keep(f(&nn, o.x, &one)); };
               }});
  return r;
}

// The triad a := b + s c over 1e7 doubles: 24 bytes an element.
struct Triad {
  int64_t n = 10000000;
  double *a, *b, *c;
  double gbs() {
    const double t = best_thread_seconds([&] {
      for (int64_t i = 0; i < n; ++i) a[i] = b[i] + 0.5 * c[i];
      keep(a[n - 1]);
    }, 2, 0.1);
    return 24.0 * double(n) / t * 1e-9;
  }
};

double seconds_for(int64_t n) { return n >= 10000000 ? 0.1 : 0.02; }

}  // namespace

int main(int argc, char **argv) {
  const std::string filter = argc > 1 ? argv[1] : "";
  const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
  const double from = argc > 3 ? std::atof(argv[3]) : 0;
  const std::vector<Routine> all = routines();
  std::vector<const Routine *> chosen;
  for (const Routine &r : all)
    if (filter.empty() || std::string(r.name).find(filter) != std::string::npos) chosen.push_back(&r);

  const int64_t nmax = kSizes[2];
  Operands ops{random_buffer<double>(size_t(2 * nmax), 1), random_buffer<double>(size_t(2 * nmax), 2),
               random_buffer<float>(size_t(2 * nmax), 3), random_buffer<float>(size_t(2 * nmax), 4)};
  // Case numbers: routine * 3 + size index. The children inherit the operands.
  auto measure = [&](int index, void *lib) {
    const Routine &r = *chosen[size_t(index / 3)];
    const int64_t n = kSizes[index % 3];
    const Body body = r.peer(lib, n, ops);
    return r.bytes * double(n) / best_thread_seconds(body, 3, seconds_for(n)) * 1e-9;
  };
  std::vector<OpenBlasPeer *> sse;
  for (const char *core : zor::bench::kSseEraCores) sse.push_back(new OpenBlasPeer(core, ZOR_OPENBLAS_SERIAL, measure));
  OpenBlasPeer native(nullptr, ZOR_OPENBLAS_SERIAL, measure);
  std::printf("processor: %s; microarchitecture answer %d; %d rounds\n", zor::bench::processor_name().c_str(),
              zor_serv_get_microarchitecture(), rounds);
  std::printf("peers: SSE-era sets");
  for (OpenBlasPeer *p : sse) std::printf(" %s (took %s)", p->asked().c_str(), p->core().c_str());
  std::printf("; native took %s\n", native.core().c_str());
  const std::string native_name = "OpenBLAS native (" + native.core() + ")";

  Triad triad{10000000, random_buffer<double>(10000000, 5), random_buffer<double>(10000000, 6),
              random_buffer<double>(10000000, 7)};
  for (int s = 0; s < 3; ++s) {
    const int64_t n = kSizes[s];
    if (double(n) < from) continue;
    for (size_t k = 0; k < chosen.size(); ++k) {
      const Routine &r = *chosen[k];
      const int index = int(k) * 3 + s;
      const Body body = r.ours(n, ops);
      std::vector<double> ours, nat, to_round_max, to_native, tri, to_triad;
      std::vector<std::vector<double>> by_set(sse.size());
      for (int round = 0; round < rounds; ++round) {
        const double o = r.bytes * double(n) / best_thread_seconds(body, 3, seconds_for(n)) * 1e-9;
        double b = 0;
        for (size_t j = 0; j < sse.size(); ++j) {
          const double f = sse[j]->measure(index);
          by_set[j].push_back(f);
          b = std::max(b, f);
        }
        const double v = native.measure(index);
        ours.push_back(o), nat.push_back(v);
        to_round_max.push_back(o / b), to_native.push_back(o / v);
        if (n >= 10000000) {
          tri.push_back(triad.gbs());
          to_triad.push_back(o / tri.back());
        }
      }
      size_t best = 0;
      for (size_t j = 1; j < sse.size(); ++j)
        if (median(by_set[j]) > median(by_set[best])) best = j;
      std::vector<double> to_sse;
      for (int round = 0; round < rounds; ++round) to_sse.push_back(ours[size_t(round)] / by_set[best][size_t(round)]);
      const std::vector<double> &best_sse = by_set[best];
      std::printf("%-7s n=%-9lld ours %7.2f GB/s  SSE-era best (%s) %7.2f  native %7.2f  ours/SSE-era %.2fx [%.2f..%.2f]"
                  " (round max %.2fx)  ours/native %.2fx",
                  r.name, (long long)n, median(ours), sse[best]->core().c_str(), median(best_sse), median(nat),
                  median(to_sse), *std::min_element(to_sse.begin(), to_sse.end()),
                  *std::max_element(to_sse.begin(), to_sse.end()), median(to_round_max), median(to_native));
      if (!tri.empty()) std::printf("  triad %.2f GB/s, ours %.0f%% of it", median(tri), 100 * median(to_triad));
      std::printf("\n");
      std::fflush(stdout);
      record("blas", r.name, long(n), "ours", median(ours), "GB/s");
      record("blas", r.name, long(n), "OpenBLAS SSE-era", median(best_sse), "GB/s");
      record("blas", r.name, long(n), native_name, median(nat), "GB/s");
      record("blas", r.name, long(n), "ours / SSE-era", median(to_sse), "x");
      record("blas", r.name, long(n), "ours / native", median(to_native), "x");
      if (!tri.empty()) {
        record("blas", r.name, long(n), "triad", median(tri), "GB/s");
        record("blas", r.name, long(n), "ours / triad", median(to_triad), "x");
      }
    }
  }
  for (OpenBlasPeer *p : sse) delete p;
  return 0;
}
