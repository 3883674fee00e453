// Vector kernels against the serial OpenBLAS measured in the same run, at
// n = 1e3 (first-level cache), 1e5 and 1e7 (memory), and at 1e7 against a
// triad loop (a := b + s c) measured here too, as the memory bound. Rates
// are bytes the routine must move per second (reads plus writes), so the
// ratio to the triad says how close a routine runs to memory bandwidth.
//
// The peer's kernel is chosen by OpenBLAS at load time; the program prints
// the one that ran. For its SSE-era kernels:
//   OPENBLAS_CORETYPE=Nehalem OPENBLAS_L2_SIZE=262144 bench_blas
//
//   bench_blas [filter]   only routines whose name contains filter
#include <zor/blas.h>
#include <zor/core.h>

#include <algorithm>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "common.hpp"

extern "C" {
// OpenBLAS, Fortran interface, 32-bit integers.
double ddot_(const int *, const double *, const int *, const double *, const int *);
float sdot_(const int *, const float *, const int *, const float *, const int *);
void daxpy_(const int *, const double *, const double *, const int *, double *, const int *);
void saxpy_(const int *, const float *, const float *, const int *, float *, const int *);
void dscal_(const int *, const double *, double *, const int *);
double dnrm2_(const int *, const double *, const int *);
double dasum_(const int *, const double *, const int *);
int idamax_(const int *, const double *, const int *);
void zaxpy_(const int *, const void *, const void *, const int *, void *, const int *);
void cblas_zdotc_sub(int, const void *, int, const void *, int, void *);
char *openblas_get_corename(void);
}

using zor::bench::best_seconds;
using zor::bench::keep;

namespace {

template <class T>
T *buffer(size_t n, T fill_from) {
  auto p = static_cast<T *>(std::aligned_alloc(64, (n * sizeof(T) + 63) / 64 * 64));
  for (size_t i = 0; i < n; ++i) p[i] = fill_from * T(1 + i % 7) / T(7);
  return p;
}

// The triad a := b + s c over 1e7 doubles: 24 bytes an element.
struct Triad {
  int64_t n = 10000000;
  double *a = nullptr, *b = nullptr, *c = nullptr;
  double best = 0;  // GB/s, the best seen in this run
  void run() {
    for (int64_t i = 0; i < n; ++i) a[i] = b[i] + 0.5 * c[i];
    keep(a[n - 1]);
  }
};

// Alternating rounds, each side keeping its best, so that a busy spell on
// the shared machine does not fall on one side only; at 1e7 the triad takes
// its turn in the same rounds.
template <class F, class G>
void compare(const char *what, int64_t n, double bytes, F &&ours, G &&peer, const char *peer_name, Triad *triad) {
  double t_ours = 1e30, t_peer = 1e30;
  double min_s = n >= 10000000 ? 0.15 : 0.03;
  for (int round = 0; round < 3; ++round) {
    t_ours = std::min(t_ours, best_seconds(ours, 3, min_s));
    t_peer = std::min(t_peer, best_seconds(peer, 3, min_s));
    if (triad) triad->best = std::max(triad->best, 24.0 * double(triad->n) / best_seconds([&] { triad->run(); }, 3, 0.15) * 1e-9);
  }
  double ours_gbs = bytes / t_ours * 1e-9, peer_gbs = bytes / t_peer * 1e-9;
  char label[64];
  std::snprintf(label, sizeof label, "%s n=%lld", what, (long long)n);
  std::printf("%-22s ours %8.2f GB/s  %-18s %8.2f GB/s  ratio %5.2fx", label, ours_gbs, peer_name, peer_gbs,
              ours_gbs / peer_gbs);
  if (triad) std::printf("  triad %6.2f GB/s, ours %5.1f%% of it", triad->best, 100.0 * ours_gbs / triad->best);
  std::printf("\n");
}

}  // namespace

int main(int argc, char **argv) {
  std::string filter = argc > 1 ? argv[1] : "";
  auto wanted = [&](const char *name) { return filter.empty() || std::string(name).find(filter) != std::string::npos; };
  std::string peer = std::string("OpenBLAS ") + openblas_get_corename();
  const char *pn = peer.c_str();
  std::printf("peer kernel: %s (OPENBLAS_CORETYPE=%s, OPENBLAS_L2_SIZE=%s); microarchitecture answer %d\n",
              openblas_get_corename(), std::getenv("OPENBLAS_CORETYPE") ? std::getenv("OPENBLAS_CORETYPE") : "unset",
              std::getenv("OPENBLAS_L2_SIZE") ? std::getenv("OPENBLAS_L2_SIZE") : "unset",
              zor_serv_get_microarchitecture());
  Triad triad;
  triad.a = buffer<double>(size_t(triad.n), 0.0);
  triad.b = buffer<double>(size_t(triad.n), 1.0);
  triad.c = buffer<double>(size_t(triad.n), 2.0);

  for (int64_t n : {int64_t(1000), int64_t(100000), int64_t(10000000)}) {
    int n32 = int(n), one = 1;
    int64_t one64 = 1;
    Triad *tr = n >= 10000000 ? &triad : nullptr;
    double *x = buffer<double>(size_t(2 * n), 1.0), *y = buffer<double>(size_t(2 * n), 0.5);
    float *fx = buffer<float>(size_t(n), 1.0f), *fy = buffer<float>(size_t(n), 0.5f);
    double a = 1e-9, d;
    float fa = 1e-9f, f;
    std::complex<double> za(1e-9, -1e-9), zr;
    int64_t pos;
    double D = double(n) * 8, F = double(n) * 4, Z = double(n) * 16;

    if (wanted("ddot"))
      compare("ddot", n, 2 * D, [&] { d = zor_blas_xddot(&n, x, &one64, y, &one64); keep(d); },
              [&] { d = ddot_(&n32, x, &one, y, &one); keep(d); }, pn, tr);
    if (wanted("daxpy"))
      compare("daxpy", n, 3 * D, [&] { zor_blas_xdaxpy(&n, &a, x, &one64, y, &one64); keep(y[0]); },
              [&] { daxpy_(&n32, &a, x, &one, y, &one); keep(y[0]); }, pn, tr);
    if (wanted("dscal")) {
      double up = 2.0, down = 0.5;  // in pairs, so that the data neither grows nor shrinks
      compare("dscal", n, 2 * 2 * D, [&] { zor_blas_dscal(&n, &up, x, &one64); zor_blas_dscal(&n, &down, x, &one64); keep(x[0]); },
              [&] { dscal_(&n32, &up, x, &one); dscal_(&n32, &down, x, &one); keep(x[0]); }, pn, tr);
    }
    if (wanted("dnrm2"))
      compare("dnrm2", n, D, [&] { d = zor_blas_dnrm2(&n, x, &one64); keep(d); },
              [&] { d = dnrm2_(&n32, x, &one); keep(d); }, pn, tr);
    if (wanted("dasum"))
      compare("dasum", n, D, [&] { d = zor_blas_dasum(&n, x, &one64); keep(d); },
              [&] { d = dasum_(&n32, x, &one); keep(d); }, pn, tr);
    if (wanted("idamax"))
      compare("idamax", n, D, [&] { pos = zor_blas_idamax(&n, x, &one64); keep(pos); },
              [&] { pos = idamax_(&n32, x, &one); keep(pos); }, pn, tr);
    if (wanted("zdotc"))
      compare("zdotc", n, 2 * Z, [&] { zor_blas_zdotc(&zr, &n, x, &one64, y, &one64); keep(zr); },
              [&] { cblas_zdotc_sub(n32, x, 1, y, 1, &zr); keep(zr); }, pn, tr);
    if (wanted("zaxpy"))
      compare("zaxpy", n, 3 * Z, [&] { zor_blas_xzaxpy(&n, &za, x, &one64, y, &one64); keep(y[0]); },
              [&] { zaxpy_(&n32, &za, x, &one, y, &one); keep(y[0]); }, pn, tr);
    if (wanted("sdot"))
      compare("sdot", n, 2 * F, [&] { f = zor_blas_xsdot(&n, fx, &one64, fy, &one64); keep(f); },
              [&] { f = sdot_(&n32, fx, &one, fy, &one); keep(f); }, pn, tr);
    if (wanted("saxpy"))
      compare("saxpy", n, 3 * F, [&] { zor_blas_xsaxpy(&n, &fa, fx, &one64, fy, &one64); keep(fy[0]); },
              [&] { saxpy_(&n32, &fa, fx, &one, fy, &one); keep(fy[0]); }, pn, tr);
    std::free(x), std::free(y), std::free(fx), std::free(fy);
  }
  return 0;
}
