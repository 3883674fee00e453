// Matrix copy and transposition against the serial OpenBLAS (its native
// kernels, called through the Fortran interface) and against a memcpy of
// the same bytes, all measured in this run. Rates are bytes of the matrix
// per second, so the memcpy rate is the bound of a routine that moves every
// element once.
//
//   bench_trans [n]      n x n for the square cases (default 4096); the
//                        rectangle is 3000 x 5000 whatever n is.
#include <zor/trans.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "common.hpp"

extern "C" {
// OpenBLAS, 32-bit integers, scalars by reference.
void domatcopy_(const char *order, const char *trans, const int *rows, const int *cols, const double *alpha,
                const double *a, const int *lda, double *b, const int *ldb);
void zomatcopy_(const char *order, const char *trans, const int *rows, const int *cols, const double *alpha,
                const double *a, const int *lda, double *b, const int *ldb);
void dimatcopy_(const char *order, const char *trans, const int *rows, const int *cols, const double *alpha,
                double *ab, const int *lda, const int *ldb);
}

using zor::bench::best_seconds;
using zor::bench::keep;
using zor::bench::report;

namespace {

std::vector<double> filled(size_t n) {
  std::vector<double> v(n);
  for (size_t i = 0; i < n; ++i) v[i] = double(i % 1000) * 0.001;
  return v;
}

// The machine is shared: ours, the peer and the memcpy are timed in
// alternating rounds and each keeps its best, so that a busy spell does not
// fall on one side only. Prints both ratios.
template <class F, class G>
void compare(const char *what, size_t bytes, F &&ours, G &&peer, int rounds, int repeats) {
  std::vector<char> s(bytes, 1), d(bytes, 0);
  auto copy = [&] { std::memcpy(d.data(), s.data(), bytes); keep(d); };
  double t_ours = 1e30, t_peer = 1e30, t_copy = 1e30;
  for (int k = 0; k < rounds; ++k) {
    t_ours = std::min(t_ours, best_seconds(ours, repeats));
    t_peer = std::min(t_peer, best_seconds(peer, repeats));
    t_copy = std::min(t_copy, best_seconds(copy, repeats));
  }
  report(what, "GB/s", bytes / t_ours * 1e-9, bytes / t_peer * 1e-9, "OpenBLAS");
  report(what, "GB/s", bytes / t_ours * 1e-9, bytes / t_copy * 1e-9, "memcpy");
}

void out_of_place(int n, char trans, bool complex, double alpha_re) {
  size_t count = size_t(n) * n * (complex ? 2 : 1);
  auto a = filled(count);
  std::vector<double> b(count, 0.0);
  const double alpha[2] = {alpha_re, 0.0};
  auto ours = [&] {
    if (complex)
      zor_trans_zor_zomatcopy('C', trans, n, n, reinterpret_cast<const zor_complex16 *>(alpha),
                              reinterpret_cast<const zor_complex16 *>(a.data()), n,
                              reinterpret_cast<zor_complex16 *>(b.data()), n);
    else
      zor_trans_zor_domatcopy('C', trans, n, n, alpha[0], a.data(), n, b.data(), n);
    keep(b);
  };
  auto peer = [&] {
    if (complex) zomatcopy_("C", &trans, &n, &n, alpha, a.data(), &n, b.data(), &n);
    else domatcopy_("C", &trans, &n, &n, alpha, a.data(), &n, b.data(), &n);
    keep(b);
  };
  char what[96];
  std::snprintf(what, sizeof what, "%comatcopy '%c' %dx%d alpha %g", complex ? 'z' : 'd', trans, n, n, alpha_re);
  compare(what, count * sizeof(double), ours, peer, 3, 3);
}

void in_place(int rows, int cols, double alpha, int rounds, int repeats) {
  size_t count = size_t(rows) * cols;
  auto ab = filled(count);
  // Each call transposes the buffer; the next reads it again as rows x cols,
  // which costs the same.
  auto ours = [&] { zor_trans_zor_dimatcopy('C', 'T', rows, cols, alpha, ab.data(), rows, cols); keep(ab); };
  auto peer = [&] { dimatcopy_("C", "T", &rows, &cols, &alpha, ab.data(), &rows, &cols); keep(ab); };
  char what[96];
  std::snprintf(what, sizeof what, "dimatcopy 'T' %dx%d alpha %g", rows, cols, alpha);
  compare(what, count * sizeof(double), ours, peer, rounds, repeats);
}

}  // namespace

int main(int argc, char **argv) {
  int n = argc > 1 ? std::atoi(argv[1]) : 4096;
  out_of_place(n, 'T', false, 1.0);
  out_of_place(n, 'T', false, 2.0);
  out_of_place(n, 'C', true, 1.0);
  out_of_place(n, 'C', true, 2.0);
  in_place(n, n, 1.0, 3, 3);
  in_place(n, n, 2.0, 3, 3);
  in_place(3000, 5000, 2.0, 1, 1);
  return 0;
}
