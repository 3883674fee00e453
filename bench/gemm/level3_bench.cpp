// The symmetric, Hermitian and triangular operations against OpenBLAS,
// single thread, n = k = 1000 (or as given): dtrsm 'L' lower 'N' and 'R'
// upper 'N', dsyrk and zherk 'L' 'N' (the targets), and dsymm, dsyr2k,
// dtrmm for the record; ours in both kernel rows.
//
// Peers run in forked children with the kernel set this program chose
// (bench/openblas_peer.hpp): the best SSE-era set for each case (the four
// are timed once on the case and the fastest kept) and the native one. Each
// round times ours row 0, the SSE-era peer, ours row 1, the native peer,
// and our own ?gemm of the same size in both rows; ratios are taken within a
// round and the table gives the median of the rounds with their range. The
// "of gemm" columns are our routine's rate over our ?gemm's rate in the same
// row and round. Rates are GFLOP/s of thread processor time, counting n^3
// for trsm, syrk and trmm, 4 n^3 for zherk, 2 n^3 for symm and syr2k and
// the usual 2 n^3 (8 n^3) for dgemm (zgemm).
//
// Usage: bench_level3 [n [rounds [case-filter]]]   defaults: 1000 5 (all)
// With ZOR_BENCH_TSV set the figures go to the report of bench/run.sh too.
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
#include <zor/level3.h>

#include "common.hpp"
#include "openblas_peer.hpp"

namespace {

using zor::bench::keep;
using zor::bench::median;
using zor::bench::OpenBlasPeer;
using zor::bench::thread_seconds;

enum class Op { trsm, syrk, herk, symm, syr2k, trmm, dgemm, zgemm };

struct Case {
  const char *name;
  Op op;
  char side, uplo, trans;
  bool target;
};
const Case kCases[] = {
    {"dtrsm L lower N", Op::trsm, 'L', 'L', 'N', true}, {"dtrsm R upper N", Op::trsm, 'R', 'U', 'N', true},
    {"dsyrk L N", Op::syrk, 'L', 'L', 'N', true},       {"zherk L N", Op::herk, 'L', 'L', 'N', true},
    {"dsymm L lower", Op::symm, 'L', 'L', 'N', false},  {"dsyr2k L N", Op::syr2k, 'L', 'L', 'N', false},
    {"dtrmm L lower N", Op::trmm, 'L', 'L', 'N', false}, {"dgemm NN", Op::dgemm, 'L', 'L', 'N', false},
    {"zgemm NN", Op::zgemm, 'L', 'L', 'N', false},
};

bool complex_op(Op op) { return op == Op::herk || op == Op::zgemm; }
double flops(Op op, double n) {
  switch (op) {
    case Op::trsm: case Op::syrk: case Op::trmm: return n * n * n;
    case Op::herk: return 4 * n * n * n;
    case Op::zgemm: return 8 * n * n * n;
    default: return 2 * n * n * n;
  }
}

// Operands of one case, n x n (complex: pairs of doubles). A has a dominant
// diagonal so that a solve neither grows nor shrinks B much; B is reset
// from its copy, untimed, before each call.
struct Operands {
  int n;
  std::vector<double> a, b, b0, c;
  explicit Operands(const Case &cs, int n) : n(n) {
    const size_t count = size_t(n) * n * (complex_op(cs.op) ? 2 : 1);
    a.resize(count);
    b0.resize(count);
    c.assign(count, 0.25);
    for (size_t i = 0; i < count; ++i) {
      a[i] = double(int(i * 7 % 13) - 6) / 64;
      b0[i] = double(int(i * 5 % 11) - 5) / 8;
    }
    if (!complex_op(cs.op))
      for (int i = 0; i < n; ++i) a[size_t(i) * n + i] = 2.0;
    b = b0;
  }
};

// Seconds of one call, B reset before it.
template <class F>
double time_call(Operands &op, F &&call) {
  std::memcpy(op.b.data(), op.b0.data(), op.b.size() * sizeof(double));
  const double t0 = thread_seconds();
  call();
  const double t = thread_seconds() - t0;
  keep(op.b);
  keep(op.c);
  return t;
}

double ours(const Case &cs, int n, int row) {
  Operands op(cs, n);
  const int64_t N = n;
  const double one = 1, half = 0.5, alpha = 1.5;
  const double zone[2] = {1, 0}, zhalf[2] = {0.5, 0};
  const char s[2] = {cs.side, 0}, u[2] = {cs.uplo, 0}, t[2] = {cs.trans, 0};
  zor_core_force(ZOR_CORE_CPUHASQLX, row);
  const double sec = time_call(op, [&] {
    switch (cs.op) {
      case Op::trsm: zor_blas_xdtrsm(s, u, t, "N", &N, &N, &alpha, op.a.data(), &N, op.b.data(), &N); break;
      case Op::trmm: zor_blas_xdtrmm(s, u, t, "N", &N, &N, &alpha, op.a.data(), &N, op.b.data(), &N); break;
      case Op::syrk: zor_blas_xdsyrk(u, t, &N, &N, &one, op.a.data(), &N, &half, op.c.data(), &N); break;
      case Op::herk: zor_blas_xzherk(u, t, &N, &N, &one, op.a.data(), &N, &half, op.c.data(), &N); break;
      case Op::symm: zor_blas_xdsymm(s, u, &N, &N, &one, op.a.data(), &N, op.b.data(), &N, &half, op.c.data(), &N); break;
      case Op::syr2k: zor_blas_xdsyr2k(u, t, &N, &N, &one, op.a.data(), &N, op.b.data(), &N, &half, op.c.data(), &N); break;
      case Op::dgemm: zor_blas_xdgemm("N", "N", &N, &N, &N, &one, op.a.data(), &N, op.b.data(), &N, &half, op.c.data(), &N); break;
      case Op::zgemm: zor_blas_xzgemm("N", "N", &N, &N, &N, zone, op.a.data(), &N, op.b.data(), &N, zhalf, op.c.data(), &N); break;
    }
  });
  zor_core_unforce(ZOR_CORE_CPUHASQLX);
  return flops(cs.op, n) / sec * 1e-9;
}

// The peer's routine, in the child.
using Tri = void (*)(const char *, const char *, const char *, const char *, const int *, const int *, const double *,
                     const double *, const int *, double *, const int *, size_t, size_t, size_t, size_t);
using Rk = void (*)(const char *, const char *, const int *, const int *, const double *, const double *, const int *,
                    const double *, double *, const int *, size_t, size_t);
using R2k = void (*)(const char *, const char *, const int *, const int *, const double *, const double *,
                     const int *, const double *, const int *, const double *, double *, const int *, size_t, size_t);
using Mm = void (*)(const char *, const char *, const int *, const int *, const int *, const double *, const double *,
                    const int *, const double *, const int *, const double *, double *, const int *, size_t, size_t);

double peer(const Case &cs, int n, void *lib) {
  Operands op(cs, n);
  const double one = 1, half = 0.5, alpha = 1.5;
  const double zone[2] = {1, 0}, zhalf[2] = {0.5, 0};
  const char diag = 'N';
  auto sym = [&](const char *name) { return dlsym(lib, name); };
  void *fn = nullptr;
  switch (cs.op) {
    case Op::trsm: fn = sym("dtrsm_"); break;
    case Op::trmm: fn = sym("dtrmm_"); break;
    case Op::syrk: fn = sym("dsyrk_"); break;
    case Op::herk: fn = sym("zherk_"); break;
    case Op::symm: fn = sym("dsymm_"); break;
    case Op::syr2k: fn = sym("dsyr2k_"); break;
    case Op::dgemm: fn = sym("dgemm_"); break;
    case Op::zgemm: fn = sym("zgemm_"); break;
  }
  if (!fn) return 0;
  const double sec = time_call(op, [&] {
    switch (cs.op) {
      case Op::trsm: case Op::trmm:
        reinterpret_cast<Tri>(fn)(&cs.side, &cs.uplo, &cs.trans, &diag, &n, &n, &alpha, op.a.data(), &n, op.b.data(), &n, 1, 1, 1, 1);
        break;
      case Op::syrk: case Op::herk:
        reinterpret_cast<Rk>(fn)(&cs.uplo, &cs.trans, &n, &n, &one, op.a.data(), &n, &half, op.c.data(), &n, 1, 1);
        break;
      case Op::symm: case Op::syr2k:
        reinterpret_cast<R2k>(fn)(cs.op == Op::symm ? &cs.side : &cs.uplo, cs.op == Op::symm ? &cs.uplo : &cs.trans, &n, &n, &one,
                                  op.a.data(), &n, op.b.data(), &n, &half, op.c.data(), &n, 1, 1);
        break;
      case Op::dgemm: case Op::zgemm: {
        const char nn = 'N';
        const bool z = cs.op == Op::zgemm;
        reinterpret_cast<Mm>(fn)(&nn, &nn, &n, &n, &n, z ? zone : &one, op.a.data(), &n, op.b.data(), &n, z ? zhalf : &half,
                                 op.c.data(), &n, 1, 1);
        break;
      }
    }
  });
  return flops(cs.op, n) / sec * 1e-9;
}

std::string range_text(const std::vector<double> &r) {
  char s[64];
  std::snprintf(s, sizeof s, "%.2f [%.2f-%.2f]", median(r), *std::min_element(r.begin(), r.end()),
                *std::max_element(r.begin(), r.end()));
  return s;
}

std::vector<double> ratios(const std::vector<double> &x, const std::vector<double> &y) {
  std::vector<double> r;
  for (size_t i = 0; i < x.size(); ++i) r.push_back(y[i] > 0 ? x[i] / y[i] : 0);
  return r;
}

}  // namespace

int main(int argc, char **argv) {
  const int n = argc > 1 ? std::atoi(argv[1]) : 1000;
  const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
  const std::string filter = argc > 3 ? argv[3] : "";
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const int count = int(sizeof kCases / sizeof kCases[0]);
  auto measure = [n](int index, void *lib) { return peer(kCases[index], n, lib); };
  std::vector<OpenBlasPeer *> sse;
  for (const char *core : zor::bench::kSseEraCores) sse.push_back(new OpenBlasPeer(core, ZOR_OPENBLAS_SERIAL, measure));
  OpenBlasPeer native(nullptr, ZOR_OPENBLAS_SERIAL, measure);
  std::printf("processor: %s; OpenBLAS sets asked -> reported:", zor::bench::processor_name().c_str());
  for (auto *p : sse) std::printf(" %s -> %s,", p->asked().c_str(), p->core().c_str());
  std::printf(" native -> %s; n = k = %d, %d rounds\n\n", native.core().c_str(), n, rounds);
  const Case *dgemm = &kCases[count - 2], *zgemm = &kCases[count - 1];

  std::printf("%-16s %6s %6s %6s %6s  %-18s %-18s %-18s %-18s %-18s\n", "case", "row0", "row1", "SSE", "native",
              "r0/SSE", "r1/SSE", "r1/native", "r0 of gemm", "r1 of gemm");
  for (int i = 0; i < count - 2; ++i) {
    const Case &cs = kCases[i];
    if (!filter.empty() && std::string(cs.name).find(filter) == std::string::npos) continue;
    // The best SSE-era set for this case.
    size_t best = 0;
    double best_rate = -1;
    for (size_t j = 0; j < sse.size(); ++j) {
      const double g = sse[j]->measure(i);
      if (g > best_rate) best_rate = g, best = j;
    }
    const Case &g = complex_op(cs.op) ? *zgemm : *dgemm;
    std::vector<double> r0, r1, ps, pn, g0, g1;
    for (int r = 0; r < rounds; ++r) {
      r0.push_back(ours(cs, n, 0));
      ps.push_back(sse[best]->measure(i));
      r1.push_back(ours(cs, n, 1));
      pn.push_back(native.measure(i));
      g0.push_back(ours(g, n, 0));
      g1.push_back(ours(g, n, 1));
    }
    std::printf("%-16s %6.2f %6.2f %6.2f %6.2f  %-18s %-18s %-18s %-18s %-18s  (SSE-era set %s)\n", cs.name,
                median(r0), median(r1), median(ps), median(pn), range_text(ratios(r0, ps)).c_str(),
                range_text(ratios(r1, ps)).c_str(), range_text(ratios(r1, pn)).c_str(),
                range_text(ratios(r0, g0)).c_str(), range_text(ratios(r1, g1)).c_str(), sse[best]->core().c_str());
    using zor::bench::record;
    const std::string group = std::string(cs.name) + (cs.target ? "" : " (no target)") + " (SSE-era set " +
                              sse[best]->core() + ")";
    record("level3", group, n, "ours row 0", median(r0), "GFLOP/s");
    record("level3", group, n, "ours row 1", median(r1), "GFLOP/s");
    record("level3", group, n, "OpenBLAS SSE-era", median(ps), "GFLOP/s");
    record("level3", group, n, "OpenBLAS native (" + native.core() + ")", median(pn), "GFLOP/s");
    record("level3", group, n, "row 0 / SSE-era", median(ratios(r0, ps)), "x");
    record("level3", group, n, "row 1 / SSE-era", median(ratios(r1, ps)), "x");
    record("level3", group, n, "row 1 / native", median(ratios(r1, pn)), "x");
    record("level3", group, n, "row 0 / our gemm", median(ratios(r0, g0)), "x");
    record("level3", group, n, "row 1 / our gemm", median(ratios(r1, g1)), "x");
  }
  std::printf("\nGFLOP/s: medians of %d interleaved rounds (thread processor time); ratios: median [range] of the\n"
              "rounds' ratios, above 1.00x ours is faster; \"of gemm\": our rate over our ?gemm's in the same row\n"
              "and round.\n",
              rounds);
  for (auto *p : sse) delete p;
  return 0;
}
