// The LAPACK kernels against their peers, one thread, all in one run:
// Debian's reference LAPACK and BLAS (built with -O2), OpenBLAS (serial)
// natively and forced to its SSE-era kernels (Nehalem, Penryn, Core2,
// Barcelona; the best of them is reported). Each peer runs in a child
// process that loads it with its own settings; rounds interleave our
// figure and every peer's, case by case, and each keeps its best. Times are
// thread processor time per call; ratios are peer time over ours (above 1:
// we are faster), printed and recorded for the report of bench/run.sh.
//
// Usage: bench_lapack [rounds [name-filter]]   (default 5 rounds, all cases)
#include <zor/blas.h>
#include <zor/lapack.h>

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <utility>
#include <string>
#include <vector>

#include "common.hpp"
#include "openblas_peer.hpp"

namespace {

using zor::bench::best_run_seconds;
// A routine of the peer by its symbol name.
using Lookup = std::function<void *(const char *)>;
using f_int = int;

constexpr int kReference = 1, kNative = 2, kSseEra = 4;

// A case: our call and the peer's on equal data, each returning seconds per call.
struct Case {
  std::string name;
  std::string group;  // the report's plot: the routine and its setting
  long size;
  int peers;
  std::function<double()> ours;
  std::function<double(const Lookup &)> peer;
  // Our own level-2 routine of the same product, timed in this process
  // beside ours (the trapezoid with nb = n is the whole matrix).
  std::function<double()> own = nullptr;
  const char *own_name = nullptr;
};

std::vector<double> random_doubles(size_t n, double lo, double hi, unsigned seed) {
  std::mt19937_64 g(seed);
  std::uniform_real_distribution<double> u(lo, hi);
  std::vector<double> v(n);
  for (auto &x : v) x = u(g);
  return v;
}

constexpr int kRepeats = 7;

// ---------------------------------------------------------------- tridiagonal
using GtsvFn = void (*)(const f_int *, const f_int *, double *, double *, double *, double *, const f_int *, f_int *);
using Gtts2Fn = void (*)(const f_int *, const f_int *, const f_int *, const double *, const double *, const double *,
                         const double *, const f_int *, double *, const f_int *);

void add_tridiagonal_cases(std::vector<Case> &cases) {
  const int n = 1000;
  for (int nrhs : {1, 16}) {
    struct Data {
      std::vector<double> dl, d, du, b, wdl, wd, wdu, wb;
    };
    auto s = std::make_shared<Data>();
    s->dl = random_doubles(n, -1, 1, 1), s->d = random_doubles(n, 3, 4, 2), s->du = random_doubles(n, -1, 1, 3);
    s->b = random_doubles(size_t(n) * nrhs, -1, 1, 4);
    auto prepare = [s] { s->wdl = s->dl, s->wd = s->d, s->wdu = s->du, s->wb = s->b; };
    cases.push_back({"ddtsvb n=1000 nrhs=" + std::to_string(nrhs) + " vs dgtsv", "ddtsvb n=1000", nrhs,
                     kReference | kNative,
                     [=] {
                       return best_run_seconds(prepare, [&] {
                         const zor_int n64 = n, r64 = nrhs;
                         zor_int info;
                         zor_lapack_ps_ddtsvb(&n64, &r64, s->wdl.data(), s->wd.data(), s->wdu.data(),
                                              s->wb.data(), &n64, &info);
                       }, kRepeats);
                     },
                     [=](const Lookup &lookup) {
                       auto gtsv = reinterpret_cast<GtsvFn>(lookup("dgtsv_"));
                       return best_run_seconds(prepare, [&] {
                         f_int info;
                         gtsv(&n, &nrhs, s->wdl.data(), s->wd.data(), s->wdu.data(), s->wb.data(), &n, &info);
                       }, kRepeats);
                     }});
  }
  // Factors as the published ?gttrf leaves them, with interchanges at random rows.
  struct Factors {
    std::vector<double> dl, d, du, du2, b, wb;
    std::vector<int64_t> ipiv;
    std::vector<f_int> ipiv32;
  };
  auto f = std::make_shared<Factors>();
  f->dl = random_doubles(n, -0.5, 0.5, 5), f->d = random_doubles(n, 2, 3, 6);
  f->du = random_doubles(n, -0.5, 0.5, 7), f->du2 = random_doubles(n, -0.5, 0.5, 8);
  f->b = random_doubles(size_t(n) * 16, -1, 1, 9);
  std::mt19937 g(10);
  for (int i = 0; i < n; ++i) f->ipiv32.push_back(i + 1 + (i + 1 < n && g() % 4 == 0));
  f->ipiv.assign(f->ipiv32.begin(), f->ipiv32.end());
  for (int nrhs : {1, 2, 3, 16}) {
    auto prepare = [f] { f->wb = f->b; };
    cases.push_back({"dgtts2 n=1000 nrhs=" + std::to_string(nrhs), "dgtts2 n=1000", nrhs, kReference | kNative,
                     [=] {
                       return best_run_seconds(prepare, [&] {
                         const zor_int t = 0, n64 = n, r64 = nrhs;
                         zor_lapack_ps_dgtts2(&t, &n64, &r64, f->dl.data(), f->d.data(), f->du.data(),
                                              f->du2.data(), f->ipiv.data(), f->wb.data(), &n64);
                       }, kRepeats);
                     },
                     [=](const Lookup &lookup) {
                       auto gtts2 = reinterpret_cast<Gtts2Fn>(lookup("dgtts2_"));
                       return best_run_seconds(prepare, [&] {
                         const f_int t = 0;
                         gtts2(&t, &n, &nrhs, f->dl.data(), f->d.data(), f->du.data(), f->du2.data(),
                               f->ipiv32.data(), f->wb.data(), &n);
                       }, kRepeats);
                     }});
  }
}

// ---------------------------------------------------------------- rotation sequences
using LasrFn = void (*)(const char *, const char *, const char *, const f_int *, const f_int *, const double *,
                        const double *, double *, const f_int *, size_t, size_t, size_t);
using OurLasr = void (*)(const zor_int *, const zor_int *, const double *, const double *, double *, const zor_int *);

void add_rotation_cases(std::vector<Case> &cases) {
  struct Form {
    const char *name;
    char pivot;
    OurLasr ours;
    int n;
  };
  for (Form form : {Form{"lvf", 'V', zor_lapack_ps_dlasr_lvf, 300}, Form{"lvf", 'V', zor_lapack_ps_dlasr_lvf, 1000},
                    Form{"lbf", 'B', zor_lapack_ps_dlasr_lbf, 1000}, Form{"ltf", 'T', zor_lapack_ps_dlasr_ltf, 1000}}) {
    const int n = form.n;
    struct Data {
      std::vector<double> c, s, a;
    };
    auto s = std::make_shared<Data>();
    for (double angle : random_doubles(n, 0, 6.28, 11)) s->c.push_back(std::cos(angle)), s->s.push_back(std::sin(angle));
    s->a = random_doubles(size_t(n) * n, -1, 1, 12);
    auto nothing = [] {};
    const int repeats = n < 1000 ? 30 : 5;
    cases.push_back({std::string("dlasr_") + form.name + " m=n=" + std::to_string(n), std::string("dlasr_") + form.name,
                     n, kReference | kNative,
                     [=] {
                       return best_run_seconds(nothing, [&] {
                         const zor_int n64 = n;
                         form.ours(&n64, &n64, s->c.data(), s->s.data(), s->a.data(), &n64);
                       }, repeats);
                     },
                     [=](const Lookup &lookup) {
                       auto lasr = reinterpret_cast<LasrFn>(lookup("dlasr_"));
                       return best_run_seconds(nothing, [&] {
                         lasr("L", &form.pivot, "F", &n, &n, s->c.data(), s->s.data(), s->a.data(), &n, 1, 1, 1);
                       }, repeats);
                     }});
  }
}

// ---------------------------------------------------------------- small factorisations
// A batch of copies of one matrix, restored before each timed run, so that
// a run of small factorisations lasts long enough to time and each works on
// fresh input. Seconds per factorisation.
struct Batch {
  int n, count;
  std::vector<double> original, work;
  Batch(int n, std::vector<double> a) : n(n), count(std::max(1, 160000 / (n * n * 8))), original(std::move(a)) {}
  void prepare() {
    work.resize(original.size() * size_t(count));
    for (int c = 0; c < count; ++c) std::copy(original.begin(), original.end(), work.begin() + c * original.size());
  }
  double *matrix(int c) { return work.data() + size_t(c) * original.size(); }
  template <class F> double time(F &&factor) {
    return best_run_seconds([this] { prepare(); }, [&] {
             for (int c = 0; c < count; ++c) factor(matrix(c));
           }, kRepeats) / count;
  }
};

std::vector<double> definite_matrix(int n, unsigned seed) {
  const auto b = random_doubles(size_t(n) * n, -1, 1, seed);
  std::vector<double> a(size_t(n) * n);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      double s = i == j ? n : 0.0;
      for (int k = 0; k < n; ++k) s += b[i + k * n] * b[j + k * n];
      a[i + j * n] = s;
    }
  return a;
}

using PotrfFn = void (*)(const char *, const f_int *, double *, const f_int *, f_int *, size_t);
using OurPotrf = void (*)(const char *, const zor_int *, double *, const zor_int *, zor_int *);

using SytrfFn = void (*)(const char *, const f_int *, double *, const f_int *, f_int *, double *, const f_int *,
                         f_int *, size_t);

using Getc2Fn = void (*)(const f_int *, double *, const f_int *, f_int *, f_int *, f_int *);

void add_factorisation_cases(std::vector<Case> &cases) {
  for (int n : {16, 32}) {
    auto batch = std::make_shared<Batch>(n, random_doubles(size_t(n) * n, -1, 1, 60 + n));
    cases.push_back({"dgetc2 n=" + std::to_string(n) + " vs dgetc2", "dgetc2", n, kReference | kNative,
                     [=] {
                       std::vector<int64_t> p(n), q(n);
                       return batch->time([&](double *a) {
                         const zor_int n64 = n;
                         zor_int info;
                         zor_lapack_ps_dgetc2(&n64, a, &n64, p.data(), q.data(), &info);
                       });
                     },
                     [=](const Lookup &lookup) {
                       auto getc2 = reinterpret_cast<Getc2Fn>(lookup("dgetc2_"));
                       std::vector<f_int> p(n), q(n);
                       return batch->time([&](double *a) {
                         f_int info;
                         getc2(&n, a, &n, p.data(), q.data(), &info);
                       });
                     }});
  }
  for (int n : {16, 32, 44}) {
    auto batch = std::make_shared<Batch>(n, random_doubles(size_t(n) * n, -1, 1, 40 + n));
    cases.push_back({"dsytrf_l_small n=" + std::to_string(n) + " vs dsytrf", "dsytrf_l_small", n,
                     kReference | kNative,
                     [=] {
                       std::vector<int64_t> ipiv(n);
                       return batch->time([&](double *a) {
                         const zor_int n64 = n;
                         zor_int info = 0;
                         zor_lapack_ps_dsytrf_l_small("L", &n64, a, &n64, ipiv.data(), &info);
                       });
                     },
                     [=](const Lookup &lookup) {
                       auto sytrf = reinterpret_cast<SytrfFn>(lookup("dsytrf_"));
                       std::vector<f_int> ipiv(n);
                       std::vector<double> work(size_t(n) * 64);
                       const f_int lwork = n * 64;
                       return batch->time([&](double *a) {
                         f_int info;
                         sytrf("L", &n, a, &n, ipiv.data(), work.data(), &lwork, &info, 1);
                       });
                     }});
  }
  for (int n : {16, 32, 48})
    for (bool lower : {true, false}) {
      auto batch = std::make_shared<Batch>(n, definite_matrix(n, 20 + n));
      const OurPotrf ours = lower ? zor_lapack_ps_dpotrf_l_small : zor_lapack_ps_dpotrf_u_small;
      const char *uplo = lower ? "L" : "U";
      const std::string group = std::string("dpotrf_") + (lower ? "l" : "u") + "_small";
      cases.push_back({group + " n=" + std::to_string(n) + " vs dpotrf", group, n, kReference | kNative | kSseEra,
                       [=] {
                         return batch->time([&](double *a) {
                           const zor_int n64 = n;
                           zor_int info = 0;
                           ours(uplo, &n64, a, &n64, &info);
                         });
                       },
                       [=](const Lookup &lookup) {
                         auto potrf = reinterpret_cast<PotrfFn>(lookup("dpotrf_"));
                         return batch->time([&](double *a) {
                           f_int info;
                           potrf(uplo, &n, a, &n, &info, 1);
                         });
                       }});
    }
}

using GemmFn = void (*)(const char *, const char *, const f_int *, const f_int *, const f_int *, const double *,
                        const double *, const f_int *, const double *, const f_int *, const double *, double *,
                        const f_int *, size_t, size_t);

// Seconds of the peer's two products that update rows nb .. n of the first
// nb columns: C += alpha A2 B1^T + alpha B2 A1^T.
double below_triangle(const Lookup &lookup, int n, int nb, int k, const double *a, const double *b, double *c) {
  auto gemm = reinterpret_cast<GemmFn>(lookup("dgemm_"));
  const int rows = n - nb;
  return best_run_seconds([] {}, [&] {
    const double alpha = 1e-3, one = 1.0;
    gemm("N", "T", &rows, &nb, &k, &alpha, a + nb, &n, b, &n, &one, c + nb, &n, 1, 1);
    gemm("N", "T", &rows, &nb, &k, &alpha, b + nb, &n, a, &n, &one, c + nb, &n, 1, 1);
  }, kRepeats);
}

// ---------------------------------------------------------------- trapezoidal updates
using SymvFn = void (*)(const char *, const f_int *, const double *, const double *, const f_int *, const double *,
                        const f_int *, const double *, double *, const f_int *, size_t);
using Syr2Fn = void (*)(const char *, const f_int *, const double *, const double *, const f_int *, const double *,
                        const f_int *, double *, const f_int *, size_t);
using Syr2kFn = void (*)(const char *, const char *, const f_int *, const f_int *, const double *, const double *,
                         const f_int *, const double *, const f_int *, const double *, double *, const f_int *, size_t,
                         size_t);

void add_trapezoid_cases(std::vector<Case> &cases) {
  struct Data {
    int n, k;
    std::vector<double> a, b, c, x, y;
  };
  auto nothing = [] {};
  for (int n : {1000}) {
    auto s = std::make_shared<Data>();
    s->n = n;
    s->a = random_doubles(size_t(n) * n, -1, 1, 50);
    s->x = random_doubles(n, -1, 1, 51), s->y = random_doubles(n, -1, 1, 52);
    cases.push_back({"dsymv_nb n=nb=1000 vs dsymv", "dsymv_nb", n, kReference | kNative | kSseEra,
                     [=] {
                       return best_run_seconds(nothing, [&] {
                         const zor_int n64 = n, one = 1;
                         const double alpha = 1.0, beta = 0.5;
                         zor_lapack_ps_dsymv_nb("L", &n64, &n64, &alpha, s->a.data(), &n64, s->x.data(), &one, &beta,
                                                s->y.data(), &one);
                       }, kRepeats);
                     },
                     [=](const Lookup &lookup) {
                       auto symv = reinterpret_cast<SymvFn>(lookup("dsymv_"));
                       return best_run_seconds(nothing, [&] {
                         const f_int one = 1;
                         const double alpha = 1.0, beta = 0.5;
                         symv("L", &n, &alpha, s->a.data(), &n, s->x.data(), &one, &beta, s->y.data(), &one, 1);
                       }, kRepeats);
                     },
                     [=] {
                       return best_run_seconds(nothing, [&] {
                         const zor_int n64 = n, one = 1;
                         const double alpha = 1.0, beta = 0.5;
                         zor_blas_xdsymv("L", &n64, &alpha, s->a.data(), &n64, s->x.data(), &one, &beta, s->y.data(),
                                         &one);
                       }, kRepeats);
                     },
                     "xdsymv"});
    cases.push_back({"dsyr2_nb n=nb=1000 vs dsyr2", "dsyr2_nb", n, kReference | kNative | kSseEra,
                     [=] {
                       return best_run_seconds(nothing, [&] {
                         const zor_int n64 = n, one = 1;
                         const double alpha = 1e-3;
                         zor_lapack_ps_dsyr2_nb("L", &n64, &n64, &alpha, s->x.data(), &one, s->y.data(), &one,
                                                s->a.data(), &n64);
                       }, kRepeats);
                     },
                     [=](const Lookup &lookup) {
                       auto syr2 = reinterpret_cast<Syr2Fn>(lookup("dsyr2_"));
                       return best_run_seconds(nothing, [&] {
                         const f_int one = 1;
                         const double alpha = 1e-3;
                         syr2("L", &n, &alpha, s->x.data(), &one, s->y.data(), &one, s->a.data(), &n, 1);
                       }, kRepeats);
                     },
                     [=] {
                       return best_run_seconds(nothing, [&] {
                         const zor_int n64 = n, one = 1;
                         const double alpha = 1e-3;
                         zor_blas_xdsyr2("L", &n64, &alpha, s->x.data(), &one, s->y.data(), &one, s->a.data(), &n64);
                       }, kRepeats);
                     },
                     "xdsyr2"});
  }
  // The panel update: the trapezoid of nb columns, rank 2k with k = 32.
  for (auto [n, nb] : {std::pair{1000, 1000}, std::pair{2000, 32}}) {
    const int k = 32;
    auto s = std::make_shared<Data>();
    s->n = n, s->k = k;
    s->a = random_doubles(size_t(n) * k, -1, 1, 53), s->b = random_doubles(size_t(n) * k, -1, 1, 54);
    s->c = random_doubles(size_t(n) * nb, -1, 1, 55);
    const std::string what = "n=" + std::to_string(n) + " nb=" + std::to_string(nb) + " k=32";
    cases.push_back({"dsyr2k_nb " + what + " vs dsyr2k", "dsyr2k_nb nb=" + std::to_string(nb), n,
                     kReference | kNative | kSseEra,
                     [=] {
                       return best_run_seconds(nothing, [&] {
                         const zor_int n64 = n, nb64 = nb, k64 = k;
                         const double alpha = 1e-3, beta = 1.0;
                         zor_lapack_ps_dsyr2k_nb("L", "N", &n64, &nb64, &k64, &alpha, s->a.data(), &n64, s->b.data(),
                                                 &n64, &beta, s->c.data(), &n64);
                       }, kRepeats);
                     },
                     // The peer's full update restricted to the same trapezoid: its
                     // nb columns as an n by nb rectangle would be a gemm, so the
                     // trapezoid's triangle goes to syr2k and the rows below it
                     // (nb < n) to two gemm calls.
                     [=](const Lookup &lookup) {
                       auto syr2k = reinterpret_cast<Syr2kFn>(lookup("dsyr2k_"));
                       return best_run_seconds(nothing, [&] {
                         const double alpha = 1e-3, beta = 1.0;
                         syr2k("L", "N", &nb, &k, &alpha, s->a.data(), &n, s->b.data(), &n, &beta, s->c.data(), &n,
                               1, 1);
                       }, kRepeats) + (nb < n ? below_triangle(lookup, n, nb, k, s->a.data(), s->b.data(),
                                                                s->c.data()) : 0.0);
                     }});
  }
}

}  // namespace

int main(int argc, char **argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
  const std::string filter = argc > 2 ? argv[2] : "";
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  std::vector<Case> all, cases;
  add_factorisation_cases(all);
  add_tridiagonal_cases(all);
  add_rotation_cases(all);
  add_trapezoid_cases(all);
  for (Case &c : all)
    if (c.name.find(filter) != std::string::npos) cases.push_back(std::move(c));

  const std::string ref_blas = "/usr/lib/x86_64-linux-gnu/blas/libblas.so.3",
                    ref_lapack = "/usr/lib/x86_64-linux-gnu/lapack/liblapack.so.3",
                    openblas = "/usr/lib/x86_64-linux-gnu/openblas-serial/libopenblas.so.0";
  auto time_peer = [&cases](int index, void *lib) {
    return cases[size_t(index)].peer([lib](const char *name) {
      void *f = dlsym(lib, name);
      if (!f) _exit(4);
      return f;
    });
  };
  struct Entry {
    int kind;
    std::string label;
    std::unique_ptr<zor::bench::OpenBlasPeer> peer;
  };
  std::vector<Entry> peers;
  peers.push_back({kReference, "reference",
                   std::make_unique<zor::bench::OpenBlasPeer>(nullptr, std::vector{ref_blas, ref_lapack}, time_peer)});
  peers.push_back({kNative, "OpenBLAS native", std::make_unique<zor::bench::OpenBlasPeer>(nullptr, openblas.c_str(), time_peer)});
  for (const char *core : zor::bench::kSseEraCores)
    peers.push_back({kSseEra, std::string("OpenBLAS ") + core,
                     std::make_unique<zor::bench::OpenBlasPeer>(core, openblas.c_str(), time_peer)});
  std::printf("%s; peers:", zor::bench::processor_name().c_str());
  for (auto &p : peers)
    std::printf(" [%s%s]", p.label.c_str(), p.kind == kReference ? "" : (" -> " + p.peer->core()).c_str());
  std::printf("\n\n");

  const size_t np = peers.size();
  std::vector<double> ours(cases.size(), 1e30), theirs(cases.size() * np, 1e30), own(cases.size(), 1e30);
  for (int r = 0; r < rounds; ++r)
    for (size_t i = 0; i < cases.size(); ++i) {
      ours[i] = std::min(ours[i], cases[i].ours());
      if (cases[i].own) own[i] = std::min(own[i], cases[i].own());
      for (size_t p = 0; p < np; ++p)
        if (cases[i].peers & peers[p].kind) {
          double s = peers[p].peer->measure(int(i));
          if (s > 0) theirs[i * np + p] = std::min(theirs[i * np + p], s);
        }
    }

  std::printf("%-36s %10s   %-28s %s\n", "case", "ours us", "peer: us (peer / ours)", "");
  for (size_t i = 0; i < cases.size(); ++i) {
    std::printf("%-36s %10.2f  ", cases[i].name.c_str(), ours[i] * 1e6);
    double best_sse = 1e30;
    std::string best_core;
    for (size_t p = 0; p < np; ++p) {
      const double t = theirs[i * np + p];
      if (t >= 1e30) continue;
      if (peers[p].kind == kSseEra) {
        if (t < best_sse) best_sse = t, best_core = peers[p].label;
        continue;
      }
      const char *series = peers[p].kind == kReference ? "ref" : "native";
      std::printf(" %s %.2f (%.2fx)", series, t * 1e6, t / ours[i]);
      zor::bench::record("lapack", cases[i].group, cases[i].size, std::string("vs ") + series, t / ours[i], "x");
    }
    if (cases[i].own) {
      std::printf(" %s %.2f (%.2fx)", cases[i].own_name, own[i] * 1e6, own[i] / ours[i]);
      zor::bench::record("lapack", cases[i].group, cases[i].size, std::string("vs our ") + cases[i].own_name,
                         own[i] / ours[i], "x");
    }
    if (best_sse < 1e30) {
      std::printf(" best SSE-era %.2f (%.2fx, %s)", best_sse * 1e6, best_sse / ours[i], best_core.c_str());
      zor::bench::record("lapack", cases[i].group, cases[i].size, "vs best SSE-era", best_sse / ours[i], "x");
      // our level-2 routine against the same peer, in the same run
      if (cases[i].own) std::printf(" [%s: %.2fx]", cases[i].own_name, best_sse / own[i]);
    }
    std::printf("\n");
  }
}
