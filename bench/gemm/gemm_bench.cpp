// The GEMM engine against OpenBLAS, single thread: ?gemm in d, s, c, z for
// NN, NT, TN, TT at n = 64, 256, 1000, 2000, ours in both kernel rows; and
// the three-multiplication zgemm3m against our zgemm and the peer's zgemm3m.
//
// Two peer columns, each a forked child with the kernel set this program
// chose (bench/openblas_peer.hpp): the best SSE-era set for the precision
// (the four are timed on the n = 256 NN case first and the fastest kept) and
// the native one. Each round times ours row 0, the SSE-era peer, ours row 1
// and the native peer one after the other; a ratio is taken within a round
// and the table gives the median of the rounds' ratios with their range.
// Figures are GFLOP/s of thread processor time (2 n^3 real, 8 n^3 complex,
// 8 n^3 for 3m too, so that its ratios are ratios of time).
//
// Usage: bench_gemm [precisions [sizes [rounds [transpositions]]]]
//   defaults: dszc 64,256,1000,2000 3 NN,NT,TN,TT
// With ZOR_BENCH_TSV set, the figures are also appended there for the report
// of bench/run.sh.
#include <time.h>

#include <algorithm>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <zor/core.h>
#include <zor/gemm.h>
#include <zor/gemm_complex.h>

#include "common.hpp"
#include "openblas_peer.hpp"

namespace {

using zor::bench::keep;
using zor::bench::median;
using zor::bench::OpenBlasPeer;
using zor::bench::thread_seconds;

// Seconds of one call: one call for n of 1000 and above, else the best of
// two batches of at least 50 ms (the thread clock is a system call, so it is
// read once a batch, never once a call).
template <class F>
double seconds_of(int n, F &&body) {
  if (n >= 1000) {
    const double t0 = thread_seconds();
    body();
    return thread_seconds() - t0;
  }
  return zor::bench::best_thread_seconds(body, 2);
}

struct Case {
  char prec;     // d s c z
  char ta, tb;   // 'N' or 'T'
  int n;
  bool three_m;  // zgemm3m
  std::string name() const {
    return std::string(1, prec) + (three_m ? "gemm3m " : "gemm ") + ta + tb;
  }
};

bool is_double(char p) { return p == 'd' || p == 'z'; }
bool is_complex(char p) { return p == 'c' || p == 'z'; }
double flops(const Case &cs) { return (is_complex(cs.prec) ? 8.0 : 2.0) * cs.n * double(cs.n) * cs.n; }

// Operands of a case: n x n matrices of the precision's reals (twice as
// many for complex), alpha (1, 0.5) and beta (0.5, 0).
struct Operands {
  std::vector<double> a, b, c;
  std::vector<float> af, bf, cf;
  double alpha[2] = {1, 0.5}, beta[2] = {0.5, 0};
  float alphaf[2] = {1, 0.5f}, betaf[2] = {0.5f, 0};
  explicit Operands(const Case &cs) {
    const size_t count = size_t(cs.n) * cs.n * (is_complex(cs.prec) ? 2 : 1);
    auto fill = [&](auto &a_, auto &b_, auto &c_) {
      a_.resize(count);
      b_.resize(count);
      c_.assign(count, 0);
      for (size_t i = 0; i < count; ++i) {
        a_[i] = decltype(a_[0] + 0)(int(i * 7 % 13) - 6) / 8;
        b_[i] = decltype(b_[0] + 0)(int(i * 5 % 11) - 5) / 8;
      }
    };
    if (is_double(cs.prec)) fill(a, b, c);
    else fill(af, bf, cf);
  }
  const void *pa() const { return a.empty() ? static_cast<const void *>(af.data()) : a.data(); }
  const void *pb() const { return b.empty() ? static_cast<const void *>(bf.data()) : b.data(); }
  void *pc() { return c.empty() ? static_cast<void *>(cf.data()) : c.data(); }
  const void *palpha() const { return a.empty() ? static_cast<const void *>(alphaf) : alpha; }
  const void *pbeta() const { return a.empty() ? static_cast<const void *>(betaf) : beta; }
};

using Ours = void (*)(const char *, const char *, const int64_t *, const int64_t *, const int64_t *, const void *,
                      const void *, const int64_t *, const void *, const int64_t *, const void *, void *,
                      const int64_t *);
Ours ours_of(char prec, bool three_m) {
  switch (prec) {
    case 'd': return reinterpret_cast<Ours>(zor_blas_xdgemm);
    case 's': return reinterpret_cast<Ours>(zor_blas_xsgemm);
    case 'c': return three_m ? zor_blas_xcgemm3m : zor_blas_xcgemm;
    default: return three_m ? zor_blas_xzgemm3m : zor_blas_xzgemm;
  }
}

// Ours in the given kernel row (a three-multiplication case with
// four_m: our zgemm instead).
double ours(const Case &cs, int row, bool four_m = false) {
  Operands op(cs);
  const Ours fn = ours_of(cs.prec, cs.three_m && !four_m);
  const char ta[2] = {cs.ta, 0}, tb[2] = {cs.tb, 0};
  const int64_t n = cs.n;
  zor_core_force(ZOR_CORE_CPUHASQLX, row);
  const double s = seconds_of(cs.n, [&] {
    fn(ta, tb, &n, &n, &n, op.palpha(), op.pa(), &n, op.pb(), &n, op.pbeta(), op.pc(), &n);
    keep(op.c);
    keep(op.cf);
  });
  zor_core_unforce(ZOR_CORE_CPUHASQLX);
  return flops(cs) / s * 1e-9;
}

// The peer's routine of a case, timed in the child.
using Peer = void (*)(const char *, const char *, const int *, const int *, const int *, const void *, const void *,
                      const int *, const void *, const int *, const void *, void *, const int *, size_t, size_t);
double peer(const Case &cs, void *lib) {
  const std::string sym = std::string(1, cs.prec) + (cs.three_m ? "gemm3m_" : "gemm_");
  const auto fn = reinterpret_cast<Peer>(dlsym(lib, sym.c_str()));
  if (!fn) return 0;
  Operands op(cs);
  const int n = cs.n;
  const double s = seconds_of(cs.n, [&] {
    fn(&cs.ta, &cs.tb, &n, &n, &n, op.palpha(), op.pa(), &n, op.pb(), &n, op.pbeta(), op.pc(), &n, 1, 1);
    keep(op.c);
    keep(op.cf);
  });
  return flops(cs) / s * 1e-9;
}

std::vector<std::string> split(const std::string &s) {
  std::vector<std::string> out;
  size_t at = 0;
  while (at <= s.size()) {
    size_t end = s.find(',', at);
    if (end == std::string::npos) end = s.size();
    if (end > at) out.push_back(s.substr(at, end - at));
    at = end + 1;
  }
  return out;
}

struct Figures {
  std::vector<double> row0, row1, sse, native, four_m0, four_m1;
};

void record_case(const Case &cs, const Figures &f, const std::string &sse_core, const std::string &native_core) {
  using zor::bench::record;
  const std::string g = cs.name() + " (SSE-era set " + sse_core + ")";
  auto ratios = [](const std::vector<double> &x, const std::vector<double> &y) {
    std::vector<double> r;
    for (size_t i = 0; i < x.size(); ++i) r.push_back(y[i] > 0 ? x[i] / y[i] : 0);
    return r;
  };
  record("gemm", g, cs.n, "ours row 0", median(f.row0), "GFLOP/s");
  record("gemm", g, cs.n, "ours row 1", median(f.row1), "GFLOP/s");
  record("gemm", g, cs.n, "OpenBLAS SSE-era", median(f.sse), "GFLOP/s");
  record("gemm", g, cs.n, "OpenBLAS native (" + native_core + ")", median(f.native), "GFLOP/s");
  record("gemm", g, cs.n, "row 0 / SSE-era", median(ratios(f.row0, f.sse)), "x");
  record("gemm", g, cs.n, "row 1 / SSE-era", median(ratios(f.row1, f.sse)), "x");
  record("gemm", g, cs.n, "row 1 / native", median(ratios(f.row1, f.native)), "x");
  if (cs.three_m) {
    record("gemm", g, cs.n, "row 0 / our zgemm", median(ratios(f.row0, f.four_m0)), "x");
    record("gemm", g, cs.n, "row 1 / our zgemm", median(ratios(f.row1, f.four_m1)), "x");
  }
}

}  // namespace

int main(int argc, char **argv) {
  const std::string precs = argc > 1 ? argv[1] : "dszc";
  std::vector<int> sizes;
  for (const auto &s : split(argc > 2 ? argv[2] : "64,256,1000,2000")) sizes.push_back(std::atoi(s.c_str()));
  const int rounds = argc > 3 ? std::max(1, std::atoi(argv[3])) : 3;
  const auto transpositions = split(argc > 4 ? argv[4] : "NN,NT,TN,TT");
  std::setvbuf(stdout, nullptr, _IOLBF, 0);

  std::vector<Case> cases;
  for (char p : precs)
    for (const auto &t : transpositions)
      for (int n : sizes) cases.push_back({p, t[0], t[1], n, false});
  if (precs.find('z') != std::string::npos)
    for (int n : sizes)
      if (n >= 1000) cases.push_back({'z', 'N', 'N', n, true});
  // The calibration cases: n = 256, NN, one per precision.
  std::vector<Case> calibration;
  for (char p : precs) calibration.push_back({p, 'N', 'N', 256, false});
  std::vector<Case> all = cases;
  all.insert(all.end(), calibration.begin(), calibration.end());

  auto measure = [&all](int index, void *lib) { return peer(all[size_t(index)], lib); };
  std::vector<OpenBlasPeer *> sse;
  for (const char *core : zor::bench::kSseEraCores)
    sse.push_back(new OpenBlasPeer(core, ZOR_OPENBLAS_SERIAL, measure));
  OpenBlasPeer native(nullptr, ZOR_OPENBLAS_SERIAL, measure);

  std::printf("processor: %s; OpenBLAS sets asked -> reported:", zor::bench::processor_name().c_str());
  for (auto *p : sse) std::printf(" %s -> %s,", p->asked().c_str(), p->core().c_str());
  std::printf(" native -> %s; OPENBLAS_L2_SIZE=%ld for the SSE-era sets, inherited OPENBLAS_* unset\n",
              native.core().c_str(), zor::bench::second_level_cache_bytes());

  // The best SSE-era set of each precision, from its n = 256 NN case.
  std::string best_core[128];
  size_t best_peer[128] = {};
  for (size_t c = 0; c < calibration.size(); ++c) {
    const int index = int(cases.size() + c);
    double best = -1;
    std::printf("%c, n = 256 NN:", calibration[c].prec);
    for (size_t j = 0; j < sse.size(); ++j) {
      const double g = sse[j]->measure(index);
      std::printf(" %s %.2f", sse[j]->core().c_str(), g);
      if (g > best) best = g, best_peer[size_t(calibration[c].prec)] = j;
    }
    best_core[size_t(calibration[c].prec)] = sse[best_peer[size_t(calibration[c].prec)]]->core();
    std::printf(" GFLOP/s -> %s\n", best_core[size_t(calibration[c].prec)].c_str());
  }

  std::printf("\n%-15s %5s %7s %7s %7s %7s  %-17s %-17s %-17s\n", "case", "n", "row0", "row1", "SSE-era", "native",
              "r0/SSE [range]", "r1/SSE [range]", "r1/native");
  for (size_t i = 0; i < cases.size(); ++i) {
    const Case &cs = cases[i];
    OpenBlasPeer *p = sse[best_peer[size_t(cs.prec)]];
    Figures f;
    for (int r = 0; r < rounds; ++r) {
      f.row0.push_back(ours(cs, 0));
      f.sse.push_back(p->measure(int(i)));
      f.row1.push_back(ours(cs, 1));
      f.native.push_back(native.measure(int(i)));
      if (cs.three_m) {
        f.four_m0.push_back(ours(cs, 0, true));
        f.four_m1.push_back(ours(cs, 1, true));
      }
    }
    auto ratio_text = [&](const std::vector<double> &x, const std::vector<double> &y) {
      std::vector<double> r;
      for (size_t k = 0; k < x.size(); ++k) r.push_back(y[k] > 0 ? x[k] / y[k] : 0);
      char s[64];
      std::snprintf(s, sizeof s, "%.2fx [%.2f-%.2f]", median(r), *std::min_element(r.begin(), r.end()),
                    *std::max_element(r.begin(), r.end()));
      return std::string(s);
    };
    std::printf("%-15s %5d %7.2f %7.2f %7.2f %7.2f  %-17s %-17s %-17s", cs.name().c_str(), cs.n, median(f.row0),
                median(f.row1), median(f.sse), median(f.native), ratio_text(f.row0, f.sse).c_str(),
                ratio_text(f.row1, f.sse).c_str(), ratio_text(f.row1, f.native).c_str());
    if (cs.three_m)
      std::printf("  3m/our zgemm: row0 %s row1 %s", ratio_text(f.row0, f.four_m0).c_str(),
                  ratio_text(f.row1, f.four_m1).c_str());
    std::printf("\n");
    record_case(cs, f, best_core[size_t(cs.prec)], native.core());
  }
  std::printf("\nGFLOP/s: medians of %d interleaved rounds (thread processor time); ratios: median of the rounds'\n"
              "ratios [range]; above 1.00x ours is faster. SSE-era column: the set fastest at n = 256 NN.\n",
              rounds);
  for (auto *p : sse) delete p;
  return 0;
}
