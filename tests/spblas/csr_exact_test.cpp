// Where the family fixes an order of operations, the bits: the four-sum row
// dot, the two-pass forms that let the ignored triangle through, sm's
// reciprocal multiply against sv's division, and the cache rule of the
// base-1 mm kernels (its 32-bit truncation and its two paths).
#include <zor/spblas.h>

#include "spblas/csr_mm_plan.hpp"
#include "spblas/csr_reference.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::sparse;

// One matrix in zero-based row arrays that touch, columns with `base` added.
template <class I>
struct Small {
  std::vector<double> vals;
  std::vector<I> cols, rb, re;
  Small(std::vector<std::vector<std::pair<int, double>>> rows, int base) {
    for (auto &row : rows) {
      rb.push_back(I(vals.size()));
      for (auto [c, v] : row) cols.push_back(I(c + base)), vals.push_back(v);
      re.push_back(I(vals.size()));
    }
  }
};

template <class I>
using MvPar = void (*)(const I *, const I *, const I *, const double *, const double *, const I *, const I *,
                       const I *, const double *, double *);

template <class I>
double one_row(MvPar<I> f, const Small<I> &a, I row, const std::vector<double> &x) {
  std::vector<double> y(a.rb.size(), 0.0);
  I m = I(a.rb.size());
  double alpha = 1;
  f(&row, &row, &m, &alpha, a.vals.data(), a.cols.data(), a.rb.data(), a.re.data(), x.data(), y.data());
  return y[row - 1];
}

// s0..s3 take entries 0,4 / 1,5 / 2,6 / 3,7; entry 8 comes after
// ((s0 + s1) + s2) + s3. A left-to-right sum gives 4, the four sums 7.
TEST(CsrExact, FourSumRowDot) {
  std::vector<std::pair<int, double>> row;
  double v[9] = {1e16, 1, 1, 1, -1e16, 1, 1, 1, 1};
  for (int k = 0; k < 9; ++k) row.push_back({k, v[k]});
  std::vector<double> x(9, 1.0);
  Small<int64_t> a64({row}, 0);
  Small<int32_t> a32({row}, 0);
  EXPECT_EQ(one_row<int64_t>(zor_spblas_dcsr0ng__c__mvout_par, a64, 1, x), 7.0);
  EXPECT_EQ(one_row<int32_t>(zor_spblas_lp64_dcsr0ng__c__mvout_par, a32, 1, x), 7.0);
  // The plain product keeps one sum, in order.
  int64_t first = 1, last = 1, ia[2] = {1, 10}, cols[9];
  for (int k = 0; k < 9; ++k) cols[k] = k + 1;
  double y = -5;
  zor_spblas_dcsr1ng__f__gemvout_par(&first, &last, nullptr, nullptr, v, cols, ia, nullptr, x.data(), &y);
  EXPECT_EQ(y, 4.0);
}

// Row 2 of a 2 x 2 matrix: a lower entry 1 and a diagonal of 1e16, which
// the unit and anti-symmetric forms ignore. One pass would give the exact
// result; the two passes add the 1e16 and take it away again, losing the 1.
TEST(CsrExact, TwoPassFormsRoundThroughTheIgnoredTriangle) {
  Small<int64_t> a({{{0, 1.0}}, {{0, 1.0}, {1, 1e16}}}, 0);
  std::vector<double> x = {1.0, 1.0};
  EXPECT_EQ(one_row<int64_t>(zor_spblas_dcsr0ntluc__mvout_par, a, 2, x), 0.0);  // exact: 2
  EXPECT_EQ(one_row<int64_t>(zor_spblas_dcsr0nsluc__mvout_par, a, 2, x), 1.0);  // exact: 2
  EXPECT_EQ(one_row<int64_t>(zor_spblas_dcsr0nal_c__mvout_par, a, 2, x), 0.0);   // exact: 1
  EXPECT_EQ(one_row<int64_t>(zor_spblas_dcsr0nslnc__mvout_par, a, 2, x), 1e16 + 1.0);

  // A NaN in the ignored triangle stays in the two-pass forms only.
  const double nan = std::numeric_limits<double>::quiet_NaN();
  Small<int64_t> b({{{0, 2.0}, {1, nan}}, {{0, 1.0}, {1, 3.0}}}, 0);
  EXPECT_TRUE(std::isnan(one_row<int64_t>(zor_spblas_dcsr0ntlnc__mvout_par, b, 1, x)));
  EXPECT_TRUE(std::isnan(one_row<int64_t>(zor_spblas_dcsr0ntluc__mvout_par, b, 1, x)));
  EXPECT_TRUE(std::isnan(one_row<int64_t>(zor_spblas_dcsr0nsluc__mvout_par, b, 1, x)));
  EXPECT_TRUE(std::isnan(one_row<int64_t>(zor_spblas_dcsr0nal_c__mvout_par, b, 1, x)));
  EXPECT_EQ(one_row<int64_t>(zor_spblas_dcsr0nslnc__mvout_par, b, 1, x), 2.0);
}

// y / p and y * (1/p) differ for these pairs. sv divides, sm with op n or s
// multiplies by the reciprocal, sm with op t or c divides again.
TEST(CsrExact, SmMultipliesByTheReciprocalWhereSvDivides) {
  const double ys[3] = {5.0, 7.0, 10.0}, ps[3] = {3.0, 9.0, 7.0};
  std::vector<std::vector<std::pair<int, double>>> rows = {{{0, ps[0]}}, {{1, ps[1]}}, {{2, ps[2]}}};
  for (int base = 0; base < 2; ++base) {
    Small<int64_t> a(rows, base);
    using Sv = void (*)(const int64_t *, const double *, const double *, const int64_t *, const int64_t *,
                        const int64_t *, double *);
    using Sm = void (*)(const int64_t *, const int64_t *, const int64_t *, const int64_t *, const double *,
                        const double *, const int64_t *, const int64_t *, const int64_t *, double *, const int64_t *);
    struct {
      Sm sm;
      bool divides;
    } sms[] = {{base ? zor_spblas_dcsr1ntlnf__smout_par : zor_spblas_dcsr0ntlnc__smout_par, false},
               {base ? zor_spblas_dcsr1ntunf__smout_par : zor_spblas_dcsr0ntunc__smout_par, false},
               {base ? zor_spblas_dcsr1ttlnf__smout_par : zor_spblas_dcsr0ttlnc__smout_par, true},
               {base ? zor_spblas_dcsr1ttunf__smout_par : zor_spblas_dcsr0ttunc__smout_par, true}};
    Sv sv = base ? zor_spblas_dcsr1ntlnf__svout_seq : zor_spblas_dcsr0ntlnc__svout_seq;
    int64_t m = 3, one = 1, ld = 1;
    double alpha = 1, y[3] = {ys[0], ys[1], ys[2]};
    sv(&m, &alpha, a.vals.data(), a.cols.data(), a.rb.data(), a.re.data(), y);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(y[i], ys[i] / ps[i]) << "sv row " << i;
    for (auto [sm, divides] : sms) {
      int64_t ldy = base ? 3 : 1;
      double z[3] = {ys[0], ys[1], ys[2]};
      sm(&one, &one, &m, &ld, &alpha, a.vals.data(), a.cols.data(), a.rb.data(), a.re.data(), z, &ldy);
      for (int i = 0; i < 3; ++i) EXPECT_EQ(z[i], divides ? ys[i] / ps[i] : ys[i] * (1.0 / ps[i])) << "sm row " << i;
    }
  }
}

// The cache rule of the base-1 general mm kernels.
TEST(CsrExact, MmCacheRule) {
  using zor::spblas::mm_plan;
  // d weights (20, 12): work = 1000 * (20*10 + 12*200000) = 2.4e9 exceeds 32
  // bits: the 32-bit twin sees a negative work and takes the column path.
  EXPECT_TRUE(mm_plan<false>(1000, 10001, 200000, 20, 12).blocked);
  EXPECT_FALSE(mm_plan<true>(1000, 10001, 200000, 20, 12).blocked);
  auto p = mm_plan<false>(1000, 10001, 200000, 20, 12);
  EXPECT_EQ(p.block, 1);  // 0.25 * 17e6 / 4000120
  EXPECT_EQ(p.nblocks, 1000);
  EXPECT_FALSE(mm_plan<false>(100, 1001, 100, 20, 12).blocked);
  // q*A + p*K above 4250000 leaves no row in a block: one block of all rows.
  auto g = mm_plan<false>(50, 501, 1000000, 20, 12);
  EXPECT_TRUE(g.blocked);
  EXPECT_EQ(g.nblocks, 1);
  EXPECT_EQ(g.block, 50);
}

// Both paths give the same bits: k (the column count, which only steers the
// rule) large enough for blocks of 2 rows, for blocks of none, and small.
// Row-major operands (base 0) give each column the bits of its mv.
TEST(CsrExact, MmPathsAgree) {
  Rng rng(77);
  const int64_t m = 40, ncol = 3;
  auto a = lay_out<double, int64_t>(rng, m, m, any_rows<double>(rng, m, m), 1, 1, true);
  std::vector<double> b(m * ncol), c0(m * ncol);
  for (auto &v : b) v = rng.uniform();
  for (auto &v : c0) v = rng.uniform();
  auto run = [&](int64_t k) {
    std::vector<double> c = c0;
    int64_t first = 1, last = ncol, mm = m, ld = m;
    double alpha = 0.75;
    zor_spblas_dcsr1ng__f__mmout_par(&first, &last, &mm, &k, &alpha, a.vals.data(), a.cols.data(),
                                     a.row_begin.data(), a.row_end.data(), b.data(), &ld, c.data(), &ld);
    return c;
  };
  EXPECT_TRUE(zor::spblas::mm_plan<false>(m, a.row_end[m - 1], 100000, 20, 12).blocked);
  auto column_path = run(m);
  auto blocked = run(100000);
  auto one_block = run(1000000);
  for (int64_t t = 0; t < m * ncol; ++t) {
    ASSERT_TRUE(same_bits(column_path[t], blocked[t])) << t;
    ASSERT_TRUE(same_bits(column_path[t], one_block[t])) << t;
  }
  // Row-major operands: every column has the bits of an mv of that column.
  auto z = lay_out<double, int64_t>(rng, m, m, any_rows<double>(rng, m, m), 0, 0, true);
  std::vector<double> c = c0;
  int64_t first = 1, last = ncol, mm = m, ld = ncol;
  double alpha = -1.25;
  zor_spblas_dcsr0ng__c__mmout_par(&first, &last, &mm, &mm, &alpha, z.vals.data(), z.cols.data(),
                                   z.row_begin.data(), z.row_end.data(), b.data(), &ld, c.data(), &ld);
  for (int64_t j = 0; j < ncol; ++j) {
    std::vector<double> x(m), y(m);
    for (int64_t r = 0; r < m; ++r) x[r] = b[r * ncol + j], y[r] = c0[r * ncol + j];
    int64_t one = 1;
    zor_spblas_dcsr0ng__c__mvout_par(&one, &mm, &mm, &alpha, z.vals.data(), z.cols.data(), z.row_begin.data(),
                                     z.row_end.data(), x.data(), y.data());
    for (int64_t r = 0; r < m; ++r) ASSERT_TRUE(same_bits(c[r * ncol + j], y[r])) << "row " << r << " column " << j;
  }
}

}  // namespace

namespace {

// Double complex rows: the vector dot of mv against the per-column dots of
// the row-major mm, bit for bit, plain and conjugated.
TEST(CsrExact, ComplexRowDotsAgree) {
  using E = std::complex<double>;
  using Mv = void (*)(const int64_t *, const int64_t *, const int64_t *, const E *, const E *, const int64_t *,
                      const int64_t *, const int64_t *, const E *, E *);
  using Mm = void (*)(const int64_t *, const int64_t *, const int64_t *, const int64_t *, const E *, const E *,
                      const int64_t *, const int64_t *, const int64_t *, const E *, const int64_t *, E *,
                      const int64_t *);
  struct {
    Mv mv;
    Mm mm;
  } pairs[] = {{reinterpret_cast<Mv>(zor_spblas_zcsr0ng__c__mvout_par), reinterpret_cast<Mm>(zor_spblas_zcsr0ng__c__mmout_par)},
               {reinterpret_cast<Mv>(zor_spblas_zcsr0sg__c__mvout_par), reinterpret_cast<Mm>(zor_spblas_zcsr0sg__c__mmout_par)}};
  Rng rng(78);
  const int64_t m = 33, ncol = 2;
  auto a = lay_out<E, int64_t>(rng, m, m, any_rows<E>(rng, m, m), 0, 1, true);
  std::vector<E> b(m * ncol), c0(m * ncol);
  for (auto &v : b) v = random_value<E>(rng);
  for (auto &v : c0) v = random_value<E>(rng);
  E alpha(0.5, -1.5);
  int64_t one = 1, last = ncol, mm = m;
  for (auto [mv, mmk] : pairs) {
    auto c = c0;
    mmk(&one, &last, &mm, &mm, &alpha, a.vals.data(), a.cols.data(), a.row_begin.data(), a.row_end.data(), b.data(),
        &last, c.data(), &last);
    for (int64_t j = 0; j < ncol; ++j) {
      std::vector<E> x(m), y(m);
      for (int64_t r = 0; r < m; ++r) x[r] = b[r * ncol + j], y[r] = c0[r * ncol + j];
      mv(&one, &mm, &mm, &alpha, a.vals.data(), a.cols.data(), a.row_begin.data(), a.row_end.data(), x.data(),
         y.data());
      for (int64_t r = 0; r < m; ++r) ASSERT_TRUE(same_bits(c[r * ncol + j], y[r])) << "row " << r;
    }
  }
}

}  // namespace

namespace {

// A forward solve takes the entry where its scan stops as the pivot: a row
// without its diagonal divides by its next stored value, or by whatever
// stands behind the row when the scan reaches the row's end.
TEST(CsrExact, ForwardSolvePivotIsWhereTheScanStops) {
  //                 row 1     row 2          row 3   behind row 3
  double vals[] = {2.0, 1.0, 4.0, 1.0, 8.0};
  int64_t cols[] = {0, 0, 2, 0, 0};
  int64_t rb[] = {0, 1, 3}, re[] = {1, 3, 4};
  double y[3] = {6.0, 7.0, 9.0}, alpha = 1;
  int64_t m = 3;
  zor_spblas_dcsr0ntlnc__svout_seq(&m, &alpha, vals, cols, rb, re, y);
  EXPECT_EQ(y[0], 3.0);
  EXPECT_EQ(y[1], (7.0 - 3.0) / 4.0);
  EXPECT_EQ(y[2], (9.0 - 3.0) / 8.0);
}

}  // namespace

// Scattered columns over a long x turn on the look-ahead cursor of the
// general products. It must read only positions inside rows (rows here lie
// in reverse order in the arrays with gaps between them, empty rows among
// them and at the end, arrays exactly as long as their last row) and leave
// every bit as the same rows give one at a time, where no cursor runs.
template <class E, class I, class F>
void gathered_rows_keep_their_bits(F kernel, int base) {
  Rng rng(0x6a7e + base);
  SCOPED_TRACE(rng.seed);
  const int64_t m = 300, k = 1 << 20;
  std::vector<std::vector<std::pair<int64_t, E>>> rows(m);
  for (int64_t i = 0; i < m; ++i)
    if (i % 7 != 3 && i < m - 5)
      for (int64_t t = rng.integer(1, 13); t > 0; --t) rows[i].push_back({rng.integer(0, k - 1), random_value<E>(rng)});
  std::vector<I> rb(m), re(m), cols;
  std::vector<E> vals;
  for (int64_t i = m - 1; i >= 0; --i) {
    for (int64_t g = rng.integer(0, 2); g > 0; --g) cols.push_back(I(base)), vals.push_back(nan_value<E>());
    rb[i] = I(cols.size());
    for (auto &[c, v] : rows[i]) cols.push_back(I(c + base)), vals.push_back(v);
    re[i] = I(cols.size());
  }
  // Positions count from row 1's start (b = rb[0]): the arrays are passed
  // from there, the rows before it at negative positions.
  const I b = rb[0];
  std::vector<E> x(k);
  for (E &e : x) e = random_value<E>(rng);
  std::vector<E> y(m), one(m);
  for (int64_t i = 0; i < m; ++i) y[i] = one[i] = random_value<E>(rng);
  E alpha = random_value<E>(rng);
  I first = 1, last = I(m), mm = I(m);
  kernel(&first, &last, &mm, &alpha, vals.data() + b, cols.data() + b, rb.data(), re.data(), x.data(), y.data());
  for (I i = 1; i <= I(m); ++i)
    kernel(&i, &i, &mm, &alpha, vals.data() + b, cols.data() + b, rb.data(), re.data(), x.data(), one.data());
  for (int64_t i = 0; i < m; ++i) ASSERT_TRUE(same_bits(y[i], one[i])) << "row " << i;
}

TEST(CsrExact, GatheredPrefetchKeepsTheBits) {
  using C16 = std::complex<double>;
  auto z0 = reinterpret_cast<void (*)(const int64_t *, const int64_t *, const int64_t *, const C16 *, const C16 *,
                                      const int64_t *, const int64_t *, const int64_t *, const C16 *, C16 *)>(
      zor_spblas_zcsr0sg__c__mvout_par);
  gathered_rows_keep_their_bits<double, int64_t>(zor_spblas_dcsr0ng__c__mvout_par, 0);
  gathered_rows_keep_their_bits<double, int32_t>(zor_spblas_lp64_dcsr1ng__f__mvout_par, 1);
  gathered_rows_keep_their_bits<C16, int64_t>(z0, 0);
}
