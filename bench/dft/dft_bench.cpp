// One-dimensional complex transforms, forward, in place, one line, against
// FFTW 3 planned with FFTW_MEASURE: double at 64, 1024, 4096, 2^16, 2^20,
// 1000, 3^10 and 10007; single at 1024 and 4096; double 2^18 to 2^24 by
// four steps beside our plan path. Real forward transforms out of place into
// the ccs layout (FFTW's r2c layout), double at 4096 and 2^20; their rate
// counts 2.5 n log2 n. Ours and FFTW's are timed
// alternately in one process; the rate is 5 n log2 n / time (Mflop/s). The
// one-line rows time by the thread's processor time, so that on a shared
// machine neither side is charged for time it spent descheduled. The
// program first compares with FFTW as installed, then runs itself again in a
// child with a shim preloaded that makes FFTW plan with SSE2 codelets only;
// each section prints the codelet kinds FFTW chose. Complex transforms of
// two and three dimensions, double, in place, and real two-dimensional ones
// out of place come first. Single precision by four steps at 2^20 to 2^24.
// The real row at 2^20 also times the large-real method (four threads
// offered at commit) beside our plan path.
#include <fftw3.h>

#include <cmath>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

#include <zor/dft.h>

#include "common.hpp"

namespace {

using zor::bench::best_seconds;
using zor::bench::best_thread_seconds;

// Codelet kinds in a plan's description: the suffixes of names such as
// "n1fv_64_sse2".
std::string kinds_of(char *plan) {
  std::set<std::string> kinds;
  for (const char *k : {"_sse2", "_avx2", "_avx"}) {
    const char *p = plan;
    while ((p = std::strstr(p, k))) {
      char next = p[std::strlen(k)];
      if (next == '"' || next == ' ' || next == ')' || next == '\n') kinds.insert(k + 1);
      p += std::strlen(k);
    }
  }
  std::free(plan);
  std::string s;
  for (auto &k : kinds) s += (s.empty() ? "" : ",") + k;
  return s.empty() ? "scalar" : s;
}

template <class T>
struct Peer;
template <>
struct Peer<double> {
  fftw_plan p;
  Peer(int64_t n, void *x) {
    p = fftw_plan_dft_1d(int(n), static_cast<fftw_complex *>(x), static_cast<fftw_complex *>(x), FFTW_FORWARD,
                         FFTW_MEASURE);
  }
  ~Peer() { fftw_destroy_plan(p); }
  void run() { fftw_execute(p); }
  std::string kinds() { return kinds_of(fftw_sprint_plan(p)); }
  static void *alloc(size_t bytes) { return fftw_malloc(bytes); }
  static void release(void *x) { fftw_free(x); }
};
template <>
struct Peer<float> {
  fftwf_plan p;
  Peer(int64_t n, void *x) {
    p = fftwf_plan_dft_1d(int(n), static_cast<fftwf_complex *>(x), static_cast<fftwf_complex *>(x), FFTW_FORWARD,
                          FFTW_MEASURE);
  }
  ~Peer() { fftwf_destroy_plan(p); }
  void run() { fftwf_execute(p); }
  std::string kinds() { return kinds_of(fftwf_sprint_plan(p)); }
  static void *alloc(size_t bytes) { return fftwf_malloc(bytes); }
  static void release(void *x) { fftwf_free(x); }
};

template <class T>
void row(int64_t n, const char *peer_name) {
  const size_t bytes = sizeof(std::complex<T>) * size_t(n);
  auto *x = static_cast<std::complex<T> *>(Peer<T>::alloc(bytes));
  Peer<T> peer(n, x);  // FFTW_MEASURE overwrites x: filled afterwards
  for (int64_t k = 0; k < n; ++k) x[k] = {T(std::sin(0.1 * double(k)) * 1e-3), T(1e-3)};
  DftNode *d = nullptr;
  zor_fft_create(&d, sizeof(T) == 8 ? DFT_DOUBLE : DFT_SINGLE, DFT_COMPLEX, 1, &n);
  if (int64_t s = zor_fft_commit(d)) {
    std::printf("n = %lld: commit failed with %lld\n", static_cast<long long>(n), static_cast<long long>(s));
    return;
  }
  // Alternate the two several times and keep each one's best.
  double ours = 1e30, theirs = 1e30;
  const int rounds = n >= (1 << 20) ? 3 : 5;
  for (int r = 0; r < rounds; ++r) {
    ours = std::min(ours, best_thread_seconds([&] { zor_fft_forward(d, x); }, 3, 0.05));
    theirs = std::min(theirs, best_thread_seconds([&] { peer.run(); }, 3, 0.05));
  }
  const double flops = 5.0 * double(n) * std::log2(double(n)) * 1e-6;
  char what[64];
  std::snprintf(what, sizeof what, "%s n = %lld", sizeof(T) == 8 ? "z" : "c", static_cast<long long>(n));
  std::string name = std::string(peer_name) + " (" + peer.kinds() + ")";
  zor::bench::report(what, "Mflop/s", flops / ours, flops / theirs, name.c_str());
  const std::string group = std::string(sizeof(T) == 8 ? "z" : "c") + " forward in place";
  zor::bench::record("dft", group, long(n), "ours", flops / ours, "Mflop/s");
  zor::bench::record("dft", group, long(n), peer_name, flops / theirs, "Mflop/s");
  zor_fft_free(&d);
  Peer<T>::release(x);
}

// Long lines in place: the four steps forced, our plan path, and the peer.
template <class T>
void four_step_row(int64_t n, const char *peer_name) {
  const size_t bytes = sizeof(std::complex<T>) * size_t(n);
  auto *x = static_cast<std::complex<T> *>(Peer<T>::alloc(bytes));
  Peer<T> peer(n, x);
  for (int64_t k = 0; k < n; ++k) x[k] = {T(std::sin(0.1 * double(k)) * 1e-3), T(1e-3)};
  const int64_t precision = sizeof(T) == 8 ? DFT_DOUBLE : DFT_SINGLE;
  DftNode *four = nullptr, *plain = nullptr;
  zor_fft_create(&four, precision, DFT_COMPLEX, 1, &n);
  zor_fft_create(&plain, precision, DFT_COMPLEX, 1, &n);
  four->force_four_step = 1;
  if (zor_fft_commit(four) || zor_fft_commit(plain) || !four->four_step_state) {
    std::printf("n = %lld: no four-step commit\n", static_cast<long long>(n));
    return;
  }
  double ours = 1e30, plan = 1e30, theirs = 1e30;
  for (int r = 0; r < 3; ++r) {
    ours = std::min(ours, best_thread_seconds([&] { zor_fft_forward(four, x); }, 3, 0.05));
    plan = std::min(plan, best_thread_seconds([&] { zor_fft_forward(plain, x); }, 3, 0.05));
    theirs = std::min(theirs, best_thread_seconds([&] { peer.run(); }, 3, 0.05));
  }
  const double flops = 5.0 * double(n) * std::log2(double(n)) * 1e-6;
  const char *letter = sizeof(T) == 8 ? "z" : "c";
  char what[64];
  std::snprintf(what, sizeof what, "%s n = %lld four steps", letter, static_cast<long long>(n));
  std::string name = std::string(peer_name) + " (" + peer.kinds() + ")";
  zor::bench::report(what, "Mflop/s", flops / ours, flops / theirs, name.c_str());
  zor::bench::report(what, "Mflop/s", flops / ours, flops / plan, "our plan path");
  const std::string group = std::string(letter) + " forward in place, four steps";
  zor::bench::record("dft", group, long(n), "four steps", flops / ours, "Mflop/s");
  zor::bench::record("dft", group, long(n), "our plan path", flops / plan, "Mflop/s");
  zor::bench::record("dft", group, long(n), peer_name, flops / theirs, "Mflop/s");
  zor_fft_free(&four);
  zor_fft_free(&plain);
  Peer<T>::release(x);
}

// Real forward, out of place, ccs (n/2 + 1 complex values).
void real_row(int64_t n, const char *peer_name) {
  auto *x = static_cast<double *>(fftw_malloc(sizeof(double) * size_t(n)));
  auto *y = static_cast<fftw_complex *>(fftw_malloc(sizeof(fftw_complex) * size_t(n / 2 + 1)));
  fftw_plan p = fftw_plan_dft_r2c_1d(int(n), x, y, FFTW_MEASURE);
  for (int64_t k = 0; k < n; ++k) x[k] = std::sin(0.1 * double(k)) * 1e-3;
  DftNode *d = nullptr;
  zor_fft_create(&d, DFT_DOUBLE, DFT_REAL, 1, &n);
  zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE);
  if (int64_t s = zor_fft_commit(d)) {
    std::printf("real n = %lld: commit failed with %lld\n", static_cast<long long>(n), static_cast<long long>(s));
    return;
  }
  // From 16384 points, the large-real method (four steps over half the
  // points), which commit takes when four threads are offered.
  DftNode *large = nullptr;
  if (n >= 16384) {
    zor_core_dft_policy(0, 4, 4);
    zor_fft_create(&large, DFT_DOUBLE, DFT_REAL, 1, &n);
    zor_fft_set_value(large, DFT_PLACEMENT, DFT_NOT_INPLACE);
    if (zor_fft_commit(large) || !large->extra_state) zor_fft_free(&large);
    zor_core_dft_policy(0, 1, 1);
  }
  double ours = 1e30, theirs = 1e30, four = 1e30;
  const int rounds = n >= (1 << 20) ? 3 : 5;
  for (int r = 0; r < rounds; ++r) {
    ours = std::min(ours, best_seconds([&] { zor_fft_forward_out(d, x, y); }, 3, 0.05));
    theirs = std::min(theirs, best_seconds([&] { fftw_execute(p); }, 3, 0.05));
    if (large) four = std::min(four, best_seconds([&] { zor_fft_forward_out(large, x, y); }, 3, 0.05));
  }
  const double flops = 2.5 * double(n) * std::log2(double(n)) * 1e-6;
  char what[64];
  std::snprintf(what, sizeof what, "d real n = %lld", static_cast<long long>(n));
  std::string name = std::string(peer_name) + " (" + kinds_of(fftw_sprint_plan(p)) + ")";
  zor::bench::report(what, "Mflop/s", flops / ours, flops / theirs, name.c_str());
  zor::bench::record("dft", "d real forward out of place", long(n), "ours", flops / ours, "Mflop/s");
  zor::bench::record("dft", "d real forward out of place", long(n), peer_name, flops / theirs, "Mflop/s");
  if (large) {
    std::snprintf(what, sizeof what, "d real n = %lld, large-real method", static_cast<long long>(n));
    zor::bench::report(what, "Mflop/s", flops / four, flops / ours, "our plan path");
    zor::bench::record("dft", "d real forward out of place", long(n), "large real (four steps)", flops / four,
                       "Mflop/s");
    zor_fft_free(&large);
  }
  zor_fft_free(&d);
  fftw_destroy_plan(p);
  fftw_free(x);
  fftw_free(y);
}

// Complex transforms of several dimensions, double, forward, in place; the
// first length is that of the contiguous axis (FFTW's last).
void md_row(std::vector<int64_t> len, const char *peer_name) {
  int64_t total = 1;
  std::vector<int> rev;
  for (int64_t n : len) total *= n, rev.insert(rev.begin(), int(n));
  auto *x = static_cast<std::complex<double> *>(fftw_malloc(sizeof(std::complex<double>) * size_t(total)));
  fftw_plan p = fftw_plan_dft(int(len.size()), rev.data(), reinterpret_cast<fftw_complex *>(x),
                              reinterpret_cast<fftw_complex *>(x), FFTW_FORWARD, FFTW_MEASURE);
  for (int64_t k = 0; k < total; ++k) x[k] = {std::sin(0.1 * double(k)) * 1e-3, 1e-3};
  DftNode *d = nullptr;
  zor_fft_create(&d, DFT_DOUBLE, DFT_COMPLEX, int64_t(len.size()), len.data());
  if (int64_t s = zor_fft_commit(d)) {
    std::printf("commit failed with %lld\n", static_cast<long long>(s));
    return;
  }
  double ours = 1e30, theirs = 1e30;
  for (int r = 0; r < 5; ++r) {
    ours = std::min(ours, best_seconds([&] { zor_fft_forward(d, x); }, 3, 0.05));
    theirs = std::min(theirs, best_seconds([&] { fftw_execute(p); }, 3, 0.05));
  }
  const double flops = 5.0 * double(total) * std::log2(double(total)) * 1e-6;
  std::string shape;
  for (int64_t n : len) shape += (shape.empty() ? "" : "x") + std::to_string(n);
  std::string what = "z " + shape;
  std::string name = std::string(peer_name) + " (" + kinds_of(fftw_sprint_plan(p)) + ")";
  zor::bench::report(what.c_str(), "Mflop/s", flops / ours, flops / theirs, name.c_str());
  const std::string group = "z forward in place, rank " + std::to_string(len.size());
  zor::bench::record("dft", group, long(total), "ours", flops / ours, "Mflop/s");
  zor::bench::record("dft", group, long(total), peer_name, flops / theirs, "Mflop/s");
  zor_fft_free(&d);
  fftw_destroy_plan(p);
  fftw_free(x);
}

// Real two-dimensional forward, out of place, into the half spectrum of
// n0 / 2 + 1 by n1 complex values (FFTW's r2c layout).
void real_md_row(int64_t n0, int64_t n1, const char *peer_name) {
  const int64_t h = n0 / 2 + 1;
  auto *x = static_cast<double *>(fftw_malloc(sizeof(double) * size_t(n0 * n1)));
  auto *y = static_cast<fftw_complex *>(fftw_malloc(sizeof(fftw_complex) * size_t(h * n1)));
  fftw_plan p = fftw_plan_dft_r2c_2d(int(n1), int(n0), x, y, FFTW_MEASURE);
  for (int64_t k = 0; k < n0 * n1; ++k) x[k] = std::sin(0.1 * double(k)) * 1e-3;
  DftNode *d = nullptr;
  int64_t len[2] = {n0, n1}, out_strides[3] = {0, 1, h};
  zor_fft_create(&d, DFT_DOUBLE, DFT_REAL, 2, len);
  zor_fft_set_value(d, DFT_CONJUGATE_EVEN_STORAGE, DFT_COMPLEX_COMPLEX);
  zor_fft_set_value(d, DFT_PLACEMENT, DFT_NOT_INPLACE);
  zor_fft_set_output_strides(d, out_strides);
  if (int64_t s = zor_fft_commit(d)) {
    std::printf("real 2-D commit failed with %lld\n", static_cast<long long>(s));
    return;
  }
  double ours = 1e30, theirs = 1e30;
  for (int r = 0; r < 5; ++r) {
    ours = std::min(ours, best_seconds([&] { zor_fft_forward_out(d, x, y); }, 3, 0.05));
    theirs = std::min(theirs, best_seconds([&] { fftw_execute(p); }, 3, 0.05));
  }
  const double flops = 2.5 * double(n0 * n1) * std::log2(double(n0 * n1)) * 1e-6;
  std::string what = "d real " + std::to_string(n0) + "x" + std::to_string(n1);
  std::string name = std::string(peer_name) + " (" + kinds_of(fftw_sprint_plan(p)) + ")";
  zor::bench::report(what.c_str(), "Mflop/s", flops / ours, flops / theirs, name.c_str());
  zor::bench::record("dft", "d real forward out of place, rank 2", long(n0 * n1), "ours", flops / ours, "Mflop/s");
  zor::bench::record("dft", "d real forward out of place, rank 2", long(n0 * n1), peer_name, flops / theirs,
                     "Mflop/s");
  zor_fft_free(&d);
  fftw_destroy_plan(p);
  fftw_free(x);
  fftw_free(y);
}

void md_section(const char *peer_name) {
  for (auto len : std::vector<std::vector<int64_t>>{{256, 256}, {1000, 1000}, {1024, 1024}, {64, 64, 64}})
    md_row(len, peer_name);
  real_md_row(256, 256, peer_name);
  real_md_row(1024, 1024, peer_name);
}

// ZOR_DFT_BENCH_ONLY picks sections (a comma list of md, z, c, four, cfour,
// real); ZOR_DFT_BENCH_N keeps only the rows of the lengths listed. Both
// unset: everything.
bool wanted(const char *what) {
  const char *only = std::getenv("ZOR_DFT_BENCH_ONLY");
  if (!only || !*only) return true;
  std::string list = std::string(",") + only + ",";
  return list.find(std::string(",") + what + ",") != std::string::npos;
}
bool wanted(int64_t n) {
  const char *lengths = std::getenv("ZOR_DFT_BENCH_N");
  if (!lengths || !*lengths) return true;
  std::string list = std::string(",") + lengths + ",";
  return list.find("," + std::to_string(n) + ",") != std::string::npos;
}

void section(const char *peer_name) {
  if (wanted("md")) md_section(peer_name);
  if (wanted("z"))
    for (int64_t n : {64, 1024, 4096, 1 << 16, 1 << 20, 1000, 59049, 10007})
      if (wanted(n)) row<double>(n, peer_name);
  if (wanted("c"))
    for (int64_t n : {1024, 4096})
      if (wanted(n)) row<float>(n, peer_name);
  if (wanted("four"))
    for (int64_t n : {1 << 18, 1 << 20, 1 << 22, 1 << 24})
      if (wanted(n)) four_step_row<double>(n, peer_name);
  if (wanted("cfour"))
    for (int64_t n : {1 << 20, 1 << 22, 1 << 24})
      if (wanted(n)) four_step_row<float>(n, peer_name);
  if (wanted("real"))
    for (int64_t n : {4096, 1 << 20})
      if (wanted(n)) real_row(n, peer_name);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc > 1 && std::strcmp(argv[1], "--sse2-only") == 0) {
    std::printf("-- FFTW SSE2-only (fftw_have_simd_avx answers 0)\n");
    section("FFTW SSE2");
    return 0;
  }
  // ZOR_DFT_BENCH_PEER=sse2 or =installed runs one of the two comparisons.
  const char *which = std::getenv("ZOR_DFT_BENCH_PEER");
  const std::string peer = which ? which : "";
  if (peer != "sse2") {
    std::printf("-- FFTW as installed\n");
    section("FFTW");
    std::fflush(stdout);
  }
  if (peer == "installed") return 0;
  // The same comparison in a child whose FFTW sees no AVX.
  setenv("LD_PRELOAD", ZOR_FFTW_SHIM, 1);
  execl("/proc/self/exe", argv[0], "--sse2-only", static_cast<char *>(nullptr));
  std::perror("re-running with the SSE2 shim");
  return 1;
}
