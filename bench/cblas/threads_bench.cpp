// Speed-up of the front's threaded level-3 routines: dgemm, zgemm ('N', 'N'),
// dtrsm (left, lower, 'N') and dsyrk (lower, 'N') of order n (default 2000)
// on 1, 2, ... threads up to the processors online (at least 2), wall time,
// best of the rounds; the thread counts alternate within each round so that
// every count sees the same load. Prints the speed-up over one thread.
//   bench_cblas_threads [n] [rounds]
// `bench_cblas_threads scan` times dgemm cubes from the order where the team
// starts (128: 2.1e6 multiply-adds) upwards on 1 and 2 threads, best of many
// short runs, to check the threshold.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <zor/blas_threads.h>

#include "cblas/threads.hpp"
#include "common.hpp"
#include "openblas_peer.hpp"

namespace {

using zor::cplx;

double wall(const std::function<void()> &prepare, const std::function<void()> &run) {
  prepare();
  const auto start = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

template <class E>
std::vector<E> filled(int64_t count, unsigned seed) {
  std::vector<E> v(count);
  srand(seed);
  auto r = [] { return double(rand()) / RAND_MAX - 0.5; };
  for (auto &x : v) {
    if constexpr (std::is_same_v<E, double>) x = r();
    else x = E{r(), r()};
  }
  return v;
}

}  // namespace

// dgemm cubes of growing order, 1 against 2 threads.
int scan() {
  for (int64_t n : {128, 160, 192, 256, 320}) {
    const auto a = filled<double>(n * n, 1), b = filled<double>(n * n, 2);
    std::vector<double> c(n * n);
    const double one = 1, zero = 0;
    double best[3] = {1e30, 1e30, 1e30};
    for (int r = 0; r < 40; ++r)
      for (int t = 1; t <= 2; ++t) {
        zor_blas_set_num_threads(t);
        best[t] = std::min(best[t], wall([] {}, [&] {
          zor::front::threaded_gemm<zor::D>("N", "N", &n, &n, &n, &one, a.data(), &n, b.data(), &n, &zero, c.data(), &n);
        }));
      }
    std::printf("dgemm %4ld: 1 thread %9.1f us, 2 threads %9.1f us, speed-up %5.2fx\n", long(n), 1e6 * best[1],
                1e6 * best[2], best[1] / best[2]);
  }
  zor_blas_set_num_threads(0);
  return 0;
}

int main(int argc, char **argv) {
  if (argc > 1 && std::string(argv[1]) == "scan") return scan();
  const int64_t n = argc > 1 ? std::atol(argv[1]) : 2000;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
  long online = sysconf(_SC_NPROCESSORS_ONLN);
  const int most = online > 2 ? int(online) : 2;
  std::printf("threaded level 3, order %ld, %d rounds, wall time; %s, %ld processors online\n", long(n), rounds,
              zor::bench::processor_name().c_str(), online);

  const auto a = filled<double>(n * n, 1), b0 = filled<double>(n * n, 2);
  auto tri = a;
  for (int64_t i = 0; i < n; ++i) tri[i + i * n] += double(n);
  const auto za = filled<cplx<double>>(n * n, 3), zb = filled<cplx<double>>(n * n, 4);
  std::vector<double> c(n * n);
  std::vector<cplx<double>> zc(n * n);
  const double one = 1, zero = 0;
  const cplx<double> zone{1, 0}, zzero{0, 0};

  struct Case {
    const char *name;
    std::function<void()> prepare, run;
  };
  const Case cases[] = {
      {"dgemm", [&] {},
       [&] { zor::front::threaded_gemm<zor::D>("N", "N", &n, &n, &n, &one, a.data(), &n, b0.data(), &n, &zero, c.data(), &n); }},
      {"zgemm", [&] {},
       [&] { zor::front::threaded_gemm<zor::Z>("N", "N", &n, &n, &n, &zone, za.data(), &n, zb.data(), &n, &zzero, zc.data(), &n); }},
      {"dtrsm", [&] { c = b0; },
       [&] { zor::front::threaded_trsm<zor::D>("L", "L", "N", "N", &n, &n, &one, tri.data(), &n, c.data(), &n); }},
      {"dsyrk", [&] {},
       [&] { zor::front::threaded_syrk<zor::D, false>("L", "N", &n, &n, &one, a.data(), &n, &zero, c.data(), &n); }},
  };
  for (const Case &k : cases) {
    std::vector<double> best(most + 1, 1e30);
    for (int r = 0; r < rounds; ++r)
      for (int t = 1; t <= most; ++t) {
        zor_blas_set_num_threads(t);
        best[t] = std::min(best[t], wall(k.prepare, k.run));
      }
    std::printf("%-6s 1 thread %8.3f s", k.name, best[1]);
    for (int t = 2; t <= most; ++t) {
      std::printf("   %d threads %8.3f s speed-up %5.2fx", t, best[t], best[1] / best[t]);
      zor::bench::record("cblas", std::string("threads, order ") + std::to_string(n), t, k.name,
                         best[1] / best[t], "x");
    }
    std::printf("\n");
  }
  zor_blas_set_num_threads(0);
  return 0;
}
