// CSR y += A x against a plain C row loop, against Eigen's sparse product
// (row-major, its default 32-bit indices) and against the bandwidth bound:
// the bytes the product must move (values, column numbers, row arrays, x
// once, y read and written) at the rate of a triad over arrays of the same
// total size, measured in this run. And the mm kernel with 8 dense columns
// against 8 calls of mv.
//
//   bench_spblas [n [rounds]]   random n x n matrix with 10 entries a row (default
//                      1000000) and the 5-point Laplacian of a sqrt(n) grid
#include <zor/spblas.h>

#include <Eigen/SparseCore>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <random>
#include <vector>

#include "common.hpp"
#include "openblas_peer.hpp"
#include "spblas/matrices.hpp"

using zor::bench::best_seconds;
using zor::bench::keep;
using zor::bench::record;
using zor::bench::report;

namespace {

using namespace zor::bench::sparse;

// The loop anyone writes first: one sum a row.
void plain_loop(const Matrix &a, double alpha, const double *x, double *y) {
  for (int64_t i = 0; i < a.m; ++i) {
    double s = 0;
    for (int64_t k = a.ptr[i]; k < a.ptr[i + 1]; ++k) s += a.vals[k] * x[a.cols[k]];
    y[i] += alpha * s;
  }
}

void run(const Matrix &a, int rounds) {
  const int64_t m = a.m, nnz = int64_t(a.vals.size());
  std::vector<double> x(m), y(m, 0.0);
  for (int64_t i = 0; i < m; ++i) x[i] = 1.0 / double(1 + i % 13);
  double alpha = 1.0;

  // Our arrays: begin and end rows (the two row arrays may be one shifted by
  // one), zero-based and one-based columns, and the 32-bit twins.
  std::vector<int64_t> cols1(a.cols);
  for (auto &c : cols1) ++c;
  std::vector<int32_t> ptr32(a.ptr.begin(), a.ptr.end()), cols32(a.cols.begin(), a.cols.end());
  int64_t first = 1, last = m;
  int32_t first32 = 1, last32 = int32_t(m);

  std::printf("\n%s: %lld rows, %lld entries\n", a.name, (long long)m, (long long)nnz);
  double flops = 2.0 * double(nnz);
  auto gf = [&](double s) { return flops / s * 1e-9; };

  Contest k;
  auto g = [&](int i) { return gf(k[i]); };
  int t0 = k.add([&] {
    zor_spblas_dcsr0ng__c__mvout_par(&first, &last, &last, &alpha, a.vals.data(), a.cols.data(), a.ptr.data(),
                                     a.ptr.data() + 1, x.data(), y.data());
    keep(y[0]);
  });
  int t1 = k.add([&] {
    zor_spblas_dcsr1ng__f__mvout_par(&first, &last, &last, &alpha, a.vals.data(), cols1.data(), a.ptr.data(),
                                     a.ptr.data() + 1, x.data(), y.data());
    keep(y[0]);
  });
  int t32 = k.add([&] {
    zor_spblas_lp64_dcsr0ng__c__mvout_par(&first32, &last32, &last32, &alpha, a.vals.data(), cols32.data(),
                                          ptr32.data(), ptr32.data() + 1, x.data(), y.data());
    keep(y[0]);
  });
  int tp = k.add([&] {
    plain_loop(a, alpha, x.data(), y.data());
    keep(y[0]);
  });

  Eigen::SparseMatrix<double, Eigen::RowMajor, int> e(m, m);
  {
    std::vector<Eigen::Triplet<double, int>> trips;
    trips.reserve(nnz);
    for (int64_t i = 0; i < m; ++i)
      for (int64_t k = a.ptr[i]; k < a.ptr[i + 1]; ++k) trips.emplace_back(int(i), int(a.cols[k]), a.vals[k]);
    e.setFromTriplets(trips.begin(), trips.end());
    e.makeCompressed();
  }
  Eigen::Map<Eigen::VectorXd> ex(x.data(), m), ey(y.data(), m);
  int te = k.add([&] {
    ey.noalias() += e * ex;
    keep(y[0]);
  });

  // Bytes the product moves with 64-bit indices: value and column of each
  // entry, the row pointers (the two row arrays are one array here), x
  // once, y read and written once.
  double bytes64 = double(nnz) * 16 + double(m) * (8 + 8 + 16);
  double bytes32 = double(nnz) * 12 + double(m) * (4 + 8 + 16);
  std::vector<double> ta(size_t(bytes64 / 24) + 1), tb(ta.size(), 1.0), tc(ta.size(), 2.0);
  int tt = k.add([&] {
    const double s = 0.5;
    for (size_t i = 0; i < ta.size(); ++i) ta[i] = tb[i] + s * tc[i];
    keep(ta[ta.size() / 2]);
  });
  k.run(rounds);
  double rate = 24.0 * double(ta.size()) / k[tt];
  std::printf("triad over %.0f MB: %.2f GB/s\n", bytes64 * 1e-6, rate * 1e-9);
  double bound64 = bytes64 / rate, bound32 = bytes32 / rate;

  const std::string group = std::string("CSR mv, ") + a.name;
  auto rec = [&](const char *series, double v, const char *unit) { record("spblas", group, m, series, v, unit); };
  rec("dcsr0ng__c__mvout_par", g(t0), "GF/s");
  rec("dcsr1ng__f__mvout_par", g(t1), "GF/s");
  rec("lp64_dcsr0ng__c__mvout_par", g(t32), "GF/s");
  rec("plain row loop", g(tp), "GF/s");
  rec("Eigen", g(te), "GF/s");
  rec("bandwidth bound", gf(bound64), "GF/s");
  rec("ours / plain loop", g(t0) / g(tp), "x");
  rec("ours / Eigen", g(t0) / g(te), "x");
  rec("ours / bound", g(t0) / gf(bound64), "x");
  report("dcsr0ng__c__mvout_par vs plain loop", "GF/s", g(t0), g(tp), "plain row loop");
  report("dcsr1ng__f__mvout_par vs plain loop", "GF/s", g(t1), g(tp), "plain row loop");
  report("dcsr0ng__c__mvout_par vs Eigen", "GF/s", g(t0), g(te), "Eigen (int idx)");
  report("dcsr1ng__f__mvout_par vs Eigen", "GF/s", g(t1), g(te), "Eigen (int idx)");
  report("lp64_dcsr0ng__c__mvout_par vs Eigen", "GF/s", g(t32), g(te), "Eigen (int idx)");
  report("dcsr0ng__c__mvout_par vs bound", "GF/s", g(t0), gf(bound64), "bandwidth bound");
  report("dcsr1ng__f__mvout_par vs bound", "GF/s", g(t1), gf(bound64), "bandwidth bound");
  report("lp64_dcsr0ng__c__mvout_par vs bound", "GF/s", g(t32), gf(bound32), "bandwidth bound");

  // Eight dense columns at once against eight mv calls, column-major (f)
  // and row-major (c).
  const int64_t nrhs = 8;
  std::vector<double> b(m * nrhs), c(m * nrhs, 0.0), bt(m * nrhs), ct(m * nrhs, 0.0);
  for (int64_t i = 0; i < m * nrhs; ++i) b[i] = bt[i] = 1.0 / double(1 + i % 11);
  int64_t nr = nrhs, ld = m;
  Contest mm;
  int tmm = mm.add([&] {
    zor_spblas_dcsr1ng__f__mmout_par(&first, &nr, &last, &last, &alpha, a.vals.data(), cols1.data(), a.ptr.data(),
                                     a.ptr.data() + 1, b.data(), &ld, c.data(), &ld);
    keep(c[0]);
  });
  int t8 = mm.add([&] {
    for (int64_t j = 0; j < nrhs; ++j)
      zor_spblas_dcsr1ng__f__mvout_par(&first, &last, &last, &alpha, a.vals.data(), cols1.data(), a.ptr.data(),
                                       a.ptr.data() + 1, b.data() + j * m, c.data() + j * m);
    keep(c[0]);
  });
  int tmmc = mm.add([&] {
    zor_spblas_dcsr0ng__c__mmout_par(&first, &nr, &last, &last, &alpha, a.vals.data(), a.cols.data(),
                                     a.ptr.data(), a.ptr.data() + 1, bt.data(), &nr, ct.data(), &nr);
    keep(ct[0]);
  });
  mm.run(3);
  report("dcsr1ng__f__mmout_par, 8 columns", "GF/s", gf(mm[tmm] / nrhs), gf(mm[t8] / nrhs), "8 x f mv");
  report("dcsr0ng__c__mmout_par, 8 columns", "GF/s", gf(mm[tmmc] / nrhs), gf(mm[t8] / nrhs), "8 x f mv");
}

}  // namespace

int main(int argc, char **argv) {
  int64_t n = argc > 1 ? std::atoll(argv[1]) : 1000000;
  int rounds = argc > 2 ? std::atoi(argv[2]) : 15;
  std::printf("%s; thread processor time, best of %d interleaved rounds\n", zor::bench::processor_name().c_str(),
              rounds);
  run(random_matrix(n), rounds);
  int64_t side = int64_t(std::sqrt(double(n)));
  run(laplacian(side), rounds);
  return 0;
}
