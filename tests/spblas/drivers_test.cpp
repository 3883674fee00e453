// Driver routines of the family (scalars, the sums of per-thread copies)
// and the two CSR one-offs against naive references.
#include <zor/spblas.h>

#include "spblas/csr_reference.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::sparse;

TEST(SpblasDrivers, Scalars) {
  double d = -0.0;
  int64_t flag = 7;
  zor_spblas_dzerocheck(&d, &flag);
  EXPECT_EQ(flag, 0);
  d = std::numeric_limits<double>::quiet_NaN();
  zor_spblas_dzerocheck(&d, &flag);
  EXPECT_EQ(flag, 1);
  zor_complex8 c = {0.0f, 1.0f};
  int32_t flag32 = 7;
  zor_spblas_lp64_czerocheck(&c, &flag32);
  EXPECT_EQ(flag32, 1);
  c = {0.0f, -0.0f};
  zor_spblas_lp64_czerocheck(&c, &flag32);
  EXPECT_EQ(flag32, 0);

  // neones subtracts from +0: 0 stays +0, -0 becomes +0.
  double zero = 0.0, neg_zero = -0.0, two = 2.0, plus_zero = 0.0;
  zor_spblas_dneones(&zero);
  zor_spblas_dneones(&neg_zero);
  zor_spblas_dneones(&two);
  EXPECT_TRUE(same_bits(zero, plus_zero));
  EXPECT_TRUE(same_bits(neg_zero, plus_zero));
  EXPECT_EQ(two, -2.0);
  zor_complex16 z = {0.0, 3.0};
  zor_spblas_zneones(&z);
  EXPECT_TRUE(same_bits(z.re, plus_zero));
  EXPECT_EQ(z.im, -3.0);
  zor_spblas_zones(&z);
  EXPECT_EQ(z.re, 1.0);
  EXPECT_EQ(z.im, 0.0);

  GuardedBuffer<float> f(13, 4);
  for (int i = 0; i < 13; ++i) f[i] = 1.5f;
  int64_t n = 13;
  zor_spblas_szeros(f.data(), &n);
  for (int i = 0; i < 13; ++i) EXPECT_TRUE(same_bits(f[i], 0.0f));
  EXPECT_TRUE(f.guards_intact());
}

// split_par: copies 0..ncopies-2 at stride ld added into y[first-1..last-1],
// every alignment of the range against y.
TEST(SpblasDrivers, SplitPar) {
  Rng rng(11);
  for (int64_t nc : {1, 2, 4}) {
    for (int64_t first : {1, 2, 3}) {
      const int64_t n = 37, ld = 41, last = 35;
      std::vector<double> buf(ld * nc), y(n);
      for (auto &v : buf) v = rng.uniform();
      for (auto &v : y) v = rng.uniform();
      auto want = y;
      for (int64_t t = 0; t + 2 <= nc; ++t)
        for (int64_t i = first; i <= last; ++i) want[i - 1] += buf[t * ld + i - 1];
      int32_t f = int32_t(first), l = int32_t(last), c = int32_t(nc), d = int32_t(ld);
      zor_spblas_lp64_dsplit_par(&f, &l, &c, &d, buf.data(), y.data());
      for (int64_t i = 0; i < n; ++i) ASSERT_TRUE(same_bits(y[i], want[i])) << "ncopies " << nc << " i " << i;
    }
  }
}

// The symmetric sums: copies named by a table of addresses, the lower form
// at one offset for all copies, the upper form stepping down by ld.
TEST(SpblasDrivers, SplitSymmetric) {
  Rng rng(12);
  for (int64_t n : {7, 150}) {
    const int64_t copies = 5, ld = n + 3, len = ld * copies + n;
    std::vector<std::vector<std::complex<float>>> store(copies + 1, std::vector<std::complex<float>>(len));
    std::vector<zor_complex8 *> table;
    for (auto &v : store) {
      for (auto &e : v) e = random_value<std::complex<float>>(rng);
      table.push_back(reinterpret_cast<zor_complex8 *>(v.data()));
    }
    std::vector<std::complex<float>> y0(n);
    for (auto &e : y0) e = random_value<std::complex<float>>(rng);

    int64_t begin = 2, end = 5;  // copies table[1..3], element (begin-1)*n + j
    auto y = y0, want = y0;
    for (int64_t j = 0; j < n; ++j)
      for (int64_t t = begin; t <= end - 1; ++t) want[j] += store[t - 1][(begin - 1) * n + j];
    zor_spblas_csplit_syml_par(&end, &n, &begin, nullptr, table.data(), reinterpret_cast<zor_complex8 *>(y.data()));
    for (int64_t j = 0; j < n; ++j) ASSERT_TRUE(same_bits(y[j], want[j])) << "syml n " << n << " j " << j;

    int64_t count = 4;  // table[t+1], element (count-1-t)*ld + j
    y = y0, want = y0;
    for (int64_t j = 0; j < n; ++j)
      for (int64_t t = 0; t < count; ++t) want[j] += store[t + 1][(count - 1 - t) * ld + j];
    int64_t ldv = ld;
    zor_spblas_csplit_symu_par(&n, &ldv, &count, nullptr, table.data(), reinterpret_cast<zor_complex8 *>(y.data()));
    for (int64_t j = 0; j < n; ++j) ASSERT_TRUE(same_bits(y[j], want[j])) << "symu n " << n << " j " << j;
  }
}

// dcsrsymmvs: y += A x, one triangle stored with zero-based row pointers,
// the diagonal first in the row (uplo 0, upper) or last (lower).
TEST(SpblasDrivers, SymmetricOneOff) {
  Rng rng(13);
  for (int64_t uplo : {0, 1}) {
    for (int64_t base : {0, 1}) {
      const int64_t m = 23;
      std::vector<double> vals, dense(m * m, 0.0);
      std::vector<int32_t> cols, ia = {0};
      for (int64_t i = 0; i < m; ++i) {
        std::vector<int64_t> cs;
        for (int64_t t = rng.integer(0, 5); t > 0; --t) {
          int64_t c = rng.integer(0, m - 1);
          if (c != i && (uplo == 0 ? c > i : c < i)) cs.push_back(c);
        }
        if (rng.integer(0, 3)) cs.insert(uplo == 0 ? cs.begin() : cs.end(), i);
        for (int64_t c : cs) {
          double v = rng.uniform();
          vals.push_back(v), cols.push_back(int32_t(c + base));
          dense[i * m + c] += v;
          if (c != i) dense[c * m + i] += v;
        }
        ia.push_back(int32_t(vals.size()));
      }
      std::vector<double> x(m), y(m);
      for (auto &v : x) v = rng.uniform();
      for (auto &v : y) v = rng.uniform();
      std::vector<W> want(m);
      std::vector<long double> scale(m, 0);
      for (int64_t i = 0; i < m; ++i) {
        want[i] = y[i], scale[i] = std::abs(y[i]);
        for (int64_t c = 0; c < m; ++c) want[i] += dense[i * m + c] * (long double)x[c], scale[i] += std::abs(dense[i * m + c]);
      }
      int32_t u = int32_t(uplo), mm = int32_t(m), b = int32_t(base);
      zor_spblas_lp64_dcsrsymmvs(&u, &mm, vals.data(), cols.data(), ia.data(), x.data(), y.data(), nullptr, &b);
      EXPECT_TRUE(close(y.data(), 1, want, scale, 64 * eps<double>())) << "uplo " << uplo << " base " << base;
    }
  }
}

// csrmultd_ker: rows first..last of op(A) B into column-major C, the other
// rows of C untouched.
TEST(SpblasDrivers, SparseProductIntoDense) {
  Rng rng(14);
  using E = std::complex<double>;
  const int64_t m = 9, k = 7, n = 8, ldc = 11;
  auto make = [&](int64_t rows, int64_t cols, std::vector<E> &v, std::vector<int64_t> &j, std::vector<int64_t> &ia,
                  std::vector<W> &dense) {
    dense.assign(rows * cols, 0);
    ia = {1};
    for (int64_t r = 0; r < rows; ++r) {
      for (int64_t t = rng.integer(0, 4); t > 0; --t) {
        int64_t c = rng.integer(0, cols - 1);
        E e = random_value<E>(rng);
        v.push_back(e), j.push_back(c + 1);
        dense[r * cols + c] += widen(e);
      }
      ia.push_back(int64_t(v.size()) + 1);
    }
  };
  std::vector<E> av, bv;
  std::vector<int64_t> ja, ia, jb, ib;
  std::vector<W> A, B;
  make(m, k, av, ja, ia, A);
  make(k, n, bv, jb, ib, B);
  for (int64_t conj : {0, 1}) {
    std::vector<E> c(ldc * n, E(9, 9));
    int64_t first = 3, last = 7, nn = n, ld = ldc;
    zor_spblas_zcsrmultd_ker(&conj, &first, &last, &nn, reinterpret_cast<zor_complex16 *>(av.data()), ja.data(),
                             ia.data(), reinterpret_cast<zor_complex16 *>(bv.data()), jb.data(), ib.data(),
                             reinterpret_cast<zor_complex16 *>(c.data()), &ld);
    for (int64_t i = 0; i < ldc; ++i) {
      if (i + 1 < first || i + 1 > last) {
        for (int64_t j = 0; j < n; ++j) ASSERT_EQ(c[j * ldc + i], E(9, 9));
        continue;
      }
      std::vector<W> want(n);
      std::vector<long double> scale(n, 1);
      for (int64_t j = 0; j < n; ++j)
        for (int64_t t = 0; t < k; ++t) want[j] += (conj ? std::conj(A[i * k + t]) : A[i * k + t]) * B[t * n + j];
      EXPECT_TRUE(close(&c[i], ldc, want, scale, 64 * eps<double>())) << "row " << i << " conj " << conj;
    }
  }
}

}  // namespace
