// The LAPACK kernels against their peers, one thread, all in one run:
// Debian's reference LAPACK and BLAS (built with -O2), OpenBLAS (serial)
// natively and forced to its SSE-era kernels (Nehalem, Penryn, Core2,
// Barcelona; the best of them is reported). Each peer runs in a child
// process that loads it with its own settings; rounds interleave our
// figure and every peer's, case by case, and each keeps its best. Times are
// thread processor time per call; ratios are peer time over ours (above 1:
// we are faster).
//
// Usage: bench_lapack [rounds [name-filter]]   (default 5 rounds, all cases)
#include <zor/lapack.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "common.hpp"
#include "peer_process.hpp"

namespace {

using zor::bench::best_run_seconds;
using Lookup = std::function<void *(const char *)>;
using f_int = int;

constexpr int kReference = 1, kNative = 2, kSseEra = 4;

// A case: our call and the peer's on equal data, each returning seconds per call.
struct Case {
  std::string name;
  int peers;
  std::function<double()> ours;
  std::function<double(const Lookup &)> peer;
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
    cases.push_back({"ddtsvb n=1000 nrhs=" + std::to_string(nrhs) + " vs dgtsv", kReference | kNative,
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
    cases.push_back({"dgtts2 n=1000 nrhs=" + std::to_string(nrhs), kReference | kNative,
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
    cases.push_back({std::string("dlasr_") + form.name + " m=n=" + std::to_string(n), kReference | kNative,
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

}  // namespace

int main(int argc, char **argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
  const std::string filter = argc > 2 ? argv[2] : "";
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  std::vector<Case> all, cases;
  add_tridiagonal_cases(all);
  add_rotation_cases(all);
  for (Case &c : all)
    if (c.name.find(filter) != std::string::npos) cases.push_back(std::move(c));

  const std::string ref_blas = "/usr/lib/x86_64-linux-gnu/blas/libblas.so.3",
                    ref_lapack = "/usr/lib/x86_64-linux-gnu/lapack/liblapack.so.3",
                    openblas = "/usr/lib/x86_64-linux-gnu/openblas-serial/libopenblas.so.0";
  auto time_peer = [&cases](int index, const Lookup &lookup) { return cases[size_t(index)].peer(lookup); };
  struct Entry {
    int kind;
    std::unique_ptr<zor::bench::Peer> peer;
  };
  std::vector<Entry> peers;
  peers.push_back({kReference, std::make_unique<zor::bench::Peer>(
                                   zor::bench::PeerLibrary{"reference", nullptr, {ref_blas, ref_lapack}}, time_peer)});
  peers.push_back({kNative, std::make_unique<zor::bench::Peer>(
                                zor::bench::PeerLibrary{"OpenBLAS native", nullptr, {openblas}}, time_peer)});
  for (const char *core : {"Nehalem", "Penryn", "Core2", "Barcelona"})
    peers.push_back({kSseEra, std::make_unique<zor::bench::Peer>(
                                  zor::bench::PeerLibrary{std::string("OpenBLAS ") + core, core, {openblas}}, time_peer)});
  std::printf("peers:");
  for (auto &p : peers) std::printf(" [%s]", p.peer->label().c_str());
  std::printf("\n\n");

  const size_t np = peers.size();
  std::vector<double> ours(cases.size(), 1e30), theirs(cases.size() * np, 1e30);
  for (int r = 0; r < rounds; ++r)
    for (size_t i = 0; i < cases.size(); ++i) {
      ours[i] = std::min(ours[i], cases[i].ours());
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
        if (t < best_sse) best_sse = t, best_core = peers[p].peer->label();
        continue;
      }
      std::printf(" %s %.2f (%.2fx)", peers[p].kind == kReference ? "ref" : "native", t * 1e6, t / ours[i]);
    }
    if (best_sse < 1e30) std::printf(" best SSE-era %.2f (%.2fx, %s)", best_sse * 1e6, best_sse / ours[i], best_core.c_str());
    std::printf("\n");
  }
}
