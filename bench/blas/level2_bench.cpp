// Matrix-vector routines beyond the general product against OpenBLAS in the
// same run: dsymv 'L', dger, dtrsv 'L' 'N' and 'U' 'T', zhemv 'L', dgbmv
// (kl = ku = 16), dtpsv 'U' 'T', dtbmv 'U' 'N' and dtbsv 'U' 'N' / 'U' 'T'
// (k = 16), and dgemv 'N' as the yardstick of dtrsv,
// unit strides, n = 1000 (in the last-level cache) and 4000 (from memory).
// Peers: OpenBLAS with each SSE-era kernel set (the best of them per case),
// and its native set, each in its own child process; and the bandwidth
// bound: the bytes of the matrix (triangle, band, packed array) read once,
// for dger also written once, at the rate of an SSE2 read loop over a
// buffer of the same size, measured in the same run.
//
// usage: bench_blas_level2 [sizes (1000,4000)] [rounds (3)] [routines: parts
// of their names, e.g. "gbmv,trsv" (all)]
// Figures: matrix bytes per second of processor time (GB/s); ratios ours /
// peer, median and range over the rounds, ours and the peers interleaved.
#include <zor/blas.h>

#include <emmintrin.h>

#include <algorithm>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <dlfcn.h>

#include "common.hpp"
#include "openblas_peer.hpp"

namespace {

using cd = std::complex<double>;
using zor::bench::OpenBlasPeer;

enum Routine { kSymv, kGer, kTrsvLN, kTrsvUT, kHemv, kGbmv, kTpsv, kTbmvUN, kTbsvUN, kTbsvUT, kGemv, kRoutines };
const char *const kNames[] = {"dsymv L",          "dger",       "dtrsv L N",        "dtrsv U T",
                              "zhemv L",          "dgbmv k=16", "dtpsv U T",        "dtbmv U N k=16",
                              "dtbsv U N k=16",   "dtbsv U T k=16", "dgemv N"};
bool band_triangle(Routine r) { return r == kTbmvUN || r == kTbsvUN || r == kTbsvUT; }
bool solve(Routine r) { return r == kTrsvLN || r == kTrsvUT || r == kTpsv || r == kTbsvUN || r == kTbsvUT; }
constexpr int kBand = 16;

struct Case {
  Routine routine;
  int n;
};

// Bytes of the matrix the routine reads (and dger writes too: counted in
// the bound, not here).
double matrix_bytes(const Case &c) {
  const double n = c.n;
  switch (c.routine) {
    case kSymv: case kTrsvLN: case kTrsvUT: return n * (n + 1) / 2 * 8;
    case kTpsv: return n * (n + 1) / 2 * 8;
    case kHemv: return n * (n + 1) / 2 * 16;
    case kGbmv: return n * (2 * kBand + 1) * 8;
    case kTbmvUN: case kTbsvUN: case kTbsvUT: return n * (kBand + 1) * 8;
    default: return n * n * 8;
  }
}

// The operands of one case, allocated and filled in the process that times
// it: solves stay bounded (diagonal 1, small off-diagonal terms of both
// signs).
struct Data {
  explicit Data(const Case &c) : n(c.n) {
    const bool complex = c.routine == kHemv;
    const size_t elems = c.routine == kTpsv                ? size_t(n) * (n + 1) / 2
                         : c.routine == kGbmv              ? size_t(2 * kBand + 1) * n
                         : band_triangle(c.routine)        ? size_t(kBand + 1) * n
                                                           : size_t(n) * n;
    const size_t bytes = elems * (complex ? 16 : 8);
    a = static_cast<double *>(std::aligned_alloc(64, bytes + 64));
    x = static_cast<double *>(std::aligned_alloc(64, size_t(n) * 16 + 64));
    y = static_cast<double *>(std::aligned_alloc(64, size_t(n) * 16 + 64));
    const size_t reals = bytes / 8;
    for (size_t i = 0; i < reals; ++i) a[i] = (i % 2 ? -1.0 : 1.0) * double(i % 13 + 1) / (13.0 * n);
    if (c.routine == kTrsvLN || c.routine == kTrsvUT)
      for (int j = 0; j < n; ++j) a[size_t(j) * n + j] = 1.0;
    if (c.routine == kTpsv)
      for (int j = 0; j < n; ++j) a[size_t(j) * (j + 3) / 2] = 1.0;
    if (band_triangle(c.routine))
      for (int j = 0; j < n; ++j) a[size_t(j) * (kBand + 1) + kBand] = 1.0;
    for (int i = 0; i < 2 * n; ++i) x[i] = double(i % 5 + 1) / 5.0, y[i] = 0.0;
    x0.assign(x, x + 2 * n);
  }
  // A solve starts from the same right-hand side every call.
  void restore() { std::memcpy(x, x0.data(), x0.size() * sizeof(double)); }
  std::vector<double> x0;
  ~Data() { std::free(a), std::free(x), std::free(y); }
  int n;
  double *a, *x, *y;
};

// One call of the routine, ours.
void call_ours(const Case &c, Data &d) {
  const int64_t n = c.n, one = 1, k = kBand;
  const double alpha = 1.0, beta = 0.5, tiny = 1e-12;
  const cd zalpha(1.0, 0.5), zbeta(0.5, 0.0);
  switch (c.routine) {
    case kSymv: zor_blas_xdsymv("L", &n, &alpha, d.a, &n, d.x, &one, &beta, d.y, &one); break;
    case kGer: zor_blas_dger(&n, &n, &tiny, d.x, &one, d.x, &one, d.a, &n); break;
    case kTrsvLN: zor_blas_dtrsv("L", "N", "N", &n, d.a, &n, d.x, &one); break;
    case kTrsvUT: zor_blas_dtrsv("U", "T", "N", &n, d.a, &n, d.x, &one); break;
    case kHemv: zor_blas_zhemv("L", &n, &zalpha, d.a, &n, d.x, &one, &zbeta, d.y, &one); break;
    case kGbmv: {
      const int64_t lda = 2 * k + 1;
      zor_blas_dgbmv("N", &n, &n, &k, &k, &alpha, d.a, &lda, d.x, &one, &beta, d.y, &one);
      break;
    }
    case kTpsv: zor_blas_dtpsv("U", "T", "N", &n, d.a, d.x, &one); break;
    case kTbmvUN: case kTbsvUN: case kTbsvUT: {
      const int64_t lda = k + 1;
      const char *t = c.routine == kTbsvUT ? "T" : "N";
      if (c.routine == kTbmvUN) zor_blas_dtbmv("U", t, "N", &n, &k, d.a, &lda, d.x, &one);
      else zor_blas_dtbsv("U", t, "N", &n, &k, d.a, &lda, d.x, &one);
      break;
    }
    case kGemv: zor_blas_xdgemv("N", &n, &n, &alpha, d.a, &n, d.x, &one, &beta, d.y, &one); break;
    default: break;
  }
}

// The peer's routines, from the library the child loaded.
template <class F>
F sym(void *lib, const char *name) {
  return reinterpret_cast<F>(dlsym(lib, name));
}
void call_peer(const Case &c, Data &d, void *lib) {
  const int n = c.n, one = 1, k = kBand, lda = 2 * kBand + 1;
  const double alpha = 1.0, beta = 0.5, tiny = 1e-12;
  const cd zalpha(1.0, 0.5), zbeta(0.5, 0.0);
  using Symv = void (*)(const char *, const int *, const void *, const void *, const int *, const void *, const int *,
                        const void *, void *, const int *, size_t);
  using Ger = void (*)(const int *, const int *, const double *, const double *, const int *, const double *,
                       const int *, double *, const int *);
  using Trsv = void (*)(const char *, const char *, const char *, const int *, const double *, const int *, double *,
                        const int *, size_t, size_t, size_t);
  using Tpsv = void (*)(const char *, const char *, const char *, const int *, const double *, double *, const int *,
                        size_t, size_t, size_t);
  using Tbsv = void (*)(const char *, const char *, const char *, const int *, const int *, const double *,
                        const int *, double *, const int *, size_t, size_t, size_t);
  using Gbmv = void (*)(const char *, const int *, const int *, const int *, const int *, const double *,
                        const double *, const int *, const double *, const int *, const double *, double *,
                        const int *, size_t);
  using Gemv = void (*)(const char *, const int *, const int *, const double *, const double *, const int *,
                        const double *, const int *, const double *, double *, const int *, size_t);
  switch (c.routine) {
    case kSymv: sym<Symv>(lib, "dsymv_")("L", &n, &alpha, d.a, &n, d.x, &one, &beta, d.y, &one, 1); break;
    case kGer: sym<Ger>(lib, "dger_")(&n, &n, &tiny, d.x, &one, d.x, &one, d.a, &n); break;
    case kTrsvLN: sym<Trsv>(lib, "dtrsv_")("L", "N", "N", &n, d.a, &n, d.x, &one, 1, 1, 1); break;
    case kTrsvUT: sym<Trsv>(lib, "dtrsv_")("U", "T", "N", &n, d.a, &n, d.x, &one, 1, 1, 1); break;
    case kHemv: sym<Symv>(lib, "zhemv_")("L", &n, &zalpha, d.a, &n, d.x, &one, &zbeta, d.y, &one, 1); break;
    case kGbmv: sym<Gbmv>(lib, "dgbmv_")("N", &n, &n, &k, &k, &alpha, d.a, &lda, d.x, &one, &beta, d.y, &one, 1); break;
    case kTpsv: sym<Tpsv>(lib, "dtpsv_")("U", "T", "N", &n, d.a, d.x, &one, 1, 1, 1); break;
    case kTbmvUN: case kTbsvUN: case kTbsvUT: {
      const int lda1 = k + 1;
      const char *t = c.routine == kTbsvUT ? "T" : "N";
      sym<Tbsv>(lib, c.routine == kTbmvUN ? "dtbmv_" : "dtbsv_")("U", t, "N", &n, &k, d.a, &lda1, d.x, &one, 1, 1, 1);
      break;
    }
    case kGemv: sym<Gemv>(lib, "dgemv_")("N", &n, &n, &alpha, d.a, &n, d.x, &one, &beta, d.y, &one, 1); break;
    default: break;
  }
}

// Matrix GB/s of one case: the best processor time of the calling thread
// over single calls after a warm one (other processes on the shared machine
// are not charged to it); a solve's right-hand side restored, untimed,
// before each call.
template <class Call>
double rate(const Case &c, Call &&call) {
  Data d(c);
  const bool restore = solve(c.routine) || c.routine == kTbmvUN;
  auto prepare = [&] {
    if (restore) d.restore();
  };
  prepare();
  call(d);
  const double s = zor::bench::best_run_seconds(prepare, [&] { call(d); }, c.n <= 1000 ? 40 : 8);
  return matrix_bytes(c) / s * 1e-9;
}

// The SSE2 read loop: GB/s over a buffer of `bytes`.
double read_rate(double bytes) {
  const size_t count = size_t(bytes / 16) * 2;
  auto *b = static_cast<double *>(std::aligned_alloc(64, count * 8 + 64));
  for (size_t i = 0; i < count; ++i) b[i] = double(i & 7);
  __m128d s0 = _mm_setzero_pd(), s1 = s0, s2 = s0, s3 = s0;
  auto pass = [&] {
    size_t i = 0;
    for (; i + 8 <= count; i += 8) {
      s0 = _mm_add_pd(s0, _mm_load_pd(b + i)), s1 = _mm_add_pd(s1, _mm_load_pd(b + i + 2));
      s2 = _mm_add_pd(s2, _mm_load_pd(b + i + 4)), s3 = _mm_add_pd(s3, _mm_load_pd(b + i + 6));
    }
  };
  pass();
  const double s = zor::bench::best_run_seconds([] {}, pass, bytes <= 16e6 ? 40 : 8);
  double out[2];
  _mm_storeu_pd(out, _mm_add_pd(_mm_add_pd(s0, s1), _mm_add_pd(s2, s3)));
  zor::bench::keep(out[0] + out[1]);
  std::free(b);
  return double(count) * 8 / s * 1e-9;
}

std::vector<std::string> split(const std::string &text) {
  std::vector<std::string> out;
  for (size_t p = 0;;) {
    const size_t q = text.find(',', p);
    out.push_back(text.substr(p, q - p));
    if (q == std::string::npos) return out;
    p = q + 1;
  }
}

std::vector<int> parse_sizes(const char *text) {
  std::vector<int> out;
  for (const char *p = text; *p;) {
    out.push_back(std::atoi(p));
    while (*p && *p != ',') ++p;
    if (*p) ++p;
  }
  return out;
}

}  // namespace

int main(int argc, char **argv) {
  const std::vector<int> sizes = parse_sizes(argc > 1 ? argv[1] : "1000,4000");
  const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 3;
  const std::string only = argc > 3 ? argv[3] : "";
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  std::vector<Case> cases;
  for (int n : sizes)
    for (int r = 0; r < kRoutines; ++r)
      for (const std::string &part : split(only))
        if (std::string(kNames[r]).find(part) != std::string::npos) {
          cases.push_back({Routine(r), n});
          break;
        }
  auto measure = [&cases](int index, void *lib) {
    const Case &c = cases[size_t(index)];
    return rate(c, [&](Data &d) { call_peer(c, d, lib); });
  };
  std::vector<OpenBlasPeer *> sse;
  for (const char *core : zor::bench::kSseEraCores) sse.push_back(new OpenBlasPeer(core, ZOR_OPENBLAS_SERIAL, measure));
  OpenBlasPeer native(nullptr, ZOR_OPENBLAS_SERIAL, measure);
  std::printf("processor: %s; OpenBLAS sets asked -> reported:", zor::bench::processor_name().c_str());
  for (auto *p : sse) std::printf(" %s -> %s,", p->asked().c_str(), p->core().c_str());
  std::printf(" native -> %s\n\n", native.core().c_str());
  std::printf("%-12s %5s %8s %8s %8s %8s  %-18s %-18s %-10s\n", "routine", "n", "ours", "SSE-era", "native", "bound",
              "ours/SSE [range]", "ours/native", "of bound");

  for (size_t i = 0; i < cases.size(); ++i) {
    const Case &c = cases[i];
    std::vector<double> ours, best_sse, nat, bound;
    // The best SSE-era set of the case, from one measurement of each.
    OpenBlasPeer *best_peer = sse[0];
    double best = 0;
    for (auto *p : sse) {
      const double g = p->measure(int(i));
      if (g > best) best = g, best_peer = p;
    }
    const std::string best_core = best_peer->core();
    for (int r = 0; r < rounds; ++r) {
      ours.push_back(rate(c, [&](Data &d) { call_ours(c, d); }));
      best_sse.push_back(best_peer->measure(int(i)));
      nat.push_back(native.measure(int(i)));
      // The bound: the matrix bytes read (and, for dger, written) at the read rate.
      const double read = read_rate(matrix_bytes(c));
      bound.push_back(c.routine == kGer ? read / 2 : read);
    }
    auto ratios = [&](const std::vector<double> &a, const std::vector<double> &b) {
      std::vector<double> r;
      for (size_t k = 0; k < a.size(); ++k) r.push_back(b[k] > 0 ? a[k] / b[k] : 0);
      return r;
    };
    const auto rs = ratios(ours, best_sse), rn = ratios(ours, nat), rb = ratios(ours, bound);
    char range[64];
    std::snprintf(range, sizeof range, "%.2fx [%.2f-%.2f]", zor::bench::median(rs),
                  *std::min_element(rs.begin(), rs.end()), *std::max_element(rs.begin(), rs.end()));
    std::printf("%-12s %5d %8.2f %8.2f %8.2f %8.2f  %-18s %-18s %5.0f%%  (%s)\n", kNames[c.routine], c.n,
                zor::bench::median(ours), zor::bench::median(best_sse), zor::bench::median(nat),
                zor::bench::median(bound), range,
                (std::to_string(zor::bench::median(rn)).substr(0, 4) + "x").c_str(), 100 * zor::bench::median(rb),
                best_core.c_str());
    zor::bench::record("blas level 2", kNames[c.routine], c.n, "ours / best SSE-era OpenBLAS", zor::bench::median(rs),
                       "x");
    zor::bench::record("blas level 2", kNames[c.routine], c.n, "ours / native OpenBLAS", zor::bench::median(rn), "x");
    zor::bench::record("blas level 2", kNames[c.routine], c.n, "ours / bandwidth bound", zor::bench::median(rb), "x");
  }
  for (auto *p : sse) delete p;
}
