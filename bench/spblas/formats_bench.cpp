// The other storage formats against CSR and their peers, same run, thread
// processor time, contenders interleaved:
//   COO y += A x (entries in row order) against our CSR mv;
//   DIA y += A x on the Laplacian and on a band of 9 diagonals against the
//     bandwidth bound (values, x and y read once, y written once, at the
//     triad rate measured here) and against our CSR mv;
//   CSR to CSC (zor_dcsrcsc, entries a second) against Eigen's assignment
//     of a row-major sparse matrix to a column-major one.
//
//   bench_spblas_formats [n [rounds]]   n rows (default 1000000)
#include <zor/spblas.h>

#include <Eigen/SparseCore>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

#include "openblas_peer.hpp"
#include "spblas/matrices.hpp"

using namespace zor::bench;
using namespace zor::bench::sparse;

namespace {

struct Run {
  const Matrix &a;
  std::vector<double> x, y;
  int64_t first = 1, last, m;
  double alpha = 1.0;
  explicit Run(const Matrix &a_) : a(a_), x(a_.m), y(a_.m), last(a_.m), m(a_.m) {
    for (int64_t i = 0; i < m; ++i) x[i] = 1.0 / double(1 + i % 13);
  }
  void csr() {
    zor_spblas_dcsr0ng__c__mvout_par(&first, &last, &m, &alpha, a.vals.data(), a.cols.data(), a.ptr.data(),
                                     a.ptr.data() + 1, x.data(), y.data());
    keep(y[0]);
  }
};

void coo(const Matrix &a, int rounds) {
  Run r(a);
  std::vector<int64_t> rows;
  for (int64_t i = 0; i < a.m; ++i)
    for (int64_t k = a.ptr[i]; k < a.ptr[i + 1]; ++k) rows.push_back(i);
  int64_t nnz = int64_t(rows.size());
  Contest c;
  const int tc = c.add([&] { r.csr(); });
  const int to = c.add([&] {
    zor_spblas_dcoo0ng__c__mvout_par(&r.first, &nnz, &r.m, &r.m, &r.alpha, a.vals.data(), rows.data(), a.cols.data(),
                                     &nnz, r.x.data(), r.y.data());
    keep(r.y[0]);
  });
  c.run(rounds);
  const double gf = 2.0 * double(nnz) * 1e-9;
  report((std::string("dcoo0ng__c__mvout_par, ") + a.name).c_str(), "GF/s", gf / c[to], gf / c[tc], "our CSR mv");
  record("spblas", std::string("COO mv, ") + a.name, a.m, "COO / our CSR", c[tc] / c[to], "x");
}

void dia(const Matrix &a, int rounds) {
  Run r(a);
  // Diagonals of the pattern, values by rows of each diagonal.
  std::set<int64_t> offsets;
  for (int64_t i = 0; i < a.m; ++i)
    for (int64_t k = a.ptr[i]; k < a.ptr[i + 1]; ++k) offsets.insert(a.cols[k] - i);
  std::vector<int64_t> dist(offsets.begin(), offsets.end());
  int64_t lval = a.m, ndiag = int64_t(dist.size());
  std::vector<double> vals(lval * ndiag, 0.0);
  for (int64_t i = 0; i < a.m; ++i)
    for (int64_t k = a.ptr[i]; k < a.ptr[i + 1]; ++k) {
      const int64_t t = std::find(dist.begin(), dist.end(), a.cols[k] - i) - dist.begin();
      vals[t * lval + i] = a.vals[k];
    }
  const double bytes = double(lval * ndiag) * 8 + double(a.m) * (8 + 16);
  std::vector<double> ta(size_t(bytes / 24) + 1), tb(ta.size(), 1.0), tcc(ta.size(), 2.0);
  Contest c;
  const int tc = c.add([&] { r.csr(); });
  const int td = c.add([&] {
    zor_spblas_ddia1ng__f__mvout_par(&r.first, &r.last, &r.m, &r.m, &r.alpha, vals.data(), &lval, dist.data(), &ndiag,
                                     r.x.data(), r.y.data());
    keep(r.y[0]);
  });
  const int tt = c.add([&] {
    for (size_t i = 0; i < ta.size(); ++i) ta[i] = tb[i] + 0.5 * tcc[i];
    keep(ta[ta.size() / 2]);
  });
  c.run(rounds);
  const double bound = bytes / (24.0 * double(ta.size()) / c[tt]);
  const double gf = 2.0 * double(a.vals.size()) * 1e-9;
  const std::string name = std::string("ddia1ng__f__mvout_par, ") + a.name;
  report((name + " vs bound").c_str(), "GF/s", gf / c[td], gf / bound, "bandwidth bound");
  report((name + " vs CSR").c_str(), "GF/s", gf / c[td], gf / c[tc], "our CSR mv");
  record("spblas", std::string("DIA mv, ") + a.name, a.m, "DIA / bound", bound / c[td], "x");
  record("spblas", std::string("DIA mv, ") + a.name, a.m, "DIA / our CSR", c[tc] / c[td], "x");
}

void csc(const Matrix &a, int rounds) {
  const int64_t nnz = int64_t(a.vals.size());
  std::vector<double> vals(a.vals), out(nnz);
  std::vector<int64_t> cols(a.cols), ptr(a.ptr), rows(nnz), cptr(a.m + 1);
  std::vector<int32_t> cols32(a.cols.begin(), a.cols.end()), ptr32(a.ptr.begin(), a.ptr.end()), rows32(nnz),
      cptr32(a.m + 1);
  int64_t job[6] = {0, 0, 0, 0, 0, 1}, n = a.m, info = 0;
  int32_t job32[6] = {0, 0, 0, 0, 0, 1}, n32 = int32_t(a.m), info32 = 0;
  Eigen::SparseMatrix<double, Eigen::RowMajor, int> e(a.m, a.m);
  {
    std::vector<Eigen::Triplet<double, int>> trips;
    for (int64_t i = 0; i < a.m; ++i)
      for (int64_t k = a.ptr[i]; k < a.ptr[i + 1]; ++k) trips.emplace_back(int(i), int(a.cols[k]), a.vals[k]);
    e.setFromTriplets(trips.begin(), trips.end());
    e.makeCompressed();
  }
  Eigen::SparseMatrix<double, Eigen::ColMajor, int> ec(a.m, a.m);
  Contest c;
  const int t64 = c.add([&] {
    zor_spblas_zor_dcsrcsc(job, &n, vals.data(), cols.data(), ptr.data(), out.data(), rows.data(), cptr.data(), &info);
    keep(out[0]);
  });
  const int t32 = c.add([&] {
    zor_spblas_lp64_zor_dcsrcsc(job32, &n32, vals.data(), cols32.data(), ptr32.data(), out.data(), rows32.data(),
                                cptr32.data(), &info32);
    keep(out[0]);
  });
  const int te = c.add([&] {
    ec = e;
    keep(ec.nonZeros());
  });
  c.run(rounds);
  const double me = double(nnz) * 1e-6;
  report((std::string("zor_dcsrcsc, ") + a.name).c_str(), "M entries/s", me / c[t64], me / c[te], "Eigen");
  report((std::string("lp64_zor_dcsrcsc, ") + a.name).c_str(), "M entries/s", me / c[t32], me / c[te], "Eigen");
  record("spblas", std::string("CSR to CSC, ") + a.name, a.m, "ours / Eigen", c[te] / c[t64], "x");
  record("spblas", std::string("CSR to CSC, ") + a.name, a.m, "lp64 / Eigen", c[te] / c[t32], "x");
}

}  // namespace

int main(int argc, char **argv) {
  const int64_t n = argc > 1 ? std::atoll(argv[1]) : 1000000;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 7;
  std::printf("%s; thread processor time, best of %d interleaved rounds\n", processor_name().c_str(), rounds);
  const Matrix random = random_matrix(n), grid = laplacian(int64_t(std::sqrt(double(n)))), nine = band(n, 4);
  coo(random, rounds);
  coo(grid, rounds);
  dia(grid, rounds);
  dia(nine, rounds);
  csc(random, rounds);
  return 0;
}
