// Every block-row kernel of the family table, in both integer widths,
// against the dense expansion of the same random block matrix: block sizes
// 1 to 7 (the constant-index bodies and the general one), blocks by columns
// in base 1 and by rows in base 0, empty block rows, blocks on both sides of
// the diagonal, garbage (NaN) in the unread half of diagonal blocks, block
// row ranges including an empty one.
#include <string>

#include "spblas/csr_reference.hpp"
#include "spblas/family_cases.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::sparse;

template <class E, class I>
struct Blocks {
  int64_t mb, lb;
  std::vector<E> vals;
  std::vector<I> cols, row_begin, row_end, row_ptr;
  std::vector<Entry> entries;  // element level, zero-based, with the block row
  std::vector<int64_t> block_row;
};

template <class E, class I>
struct CaseRun {
  const Case &cs;
  Rng &rng;
  long double eps = std::numeric_limits<real_of<E>>::epsilon();

  std::vector<E> random_vector(int64_t n) {
    std::vector<E> v(n);
    for (E &e : v) e = random_value<E>(rng);
    return v;
  }

  // Block rows of 0 to 4 blocks at random block columns (square pattern);
  // in symmetric kernels the diagonal block's unread half holds NaN.
  Blocks<E, I> lay_out(int64_t mb, int64_t lb, bool symmetric) {
    Blocks<E, I> a{mb, lb, {}, {}, {}, {}, {}, {}, {}};
    int64_t data_base = rng.integer(0, 1);
    for (int64_t i = 0; i < mb; ++i) {
      a.row_begin.push_back(I(a.cols.size() + data_base));
      a.row_ptr.push_back(I(a.cols.size() + data_base));
      int64_t n = rng.integer(0, 4) == 0 ? 0 : rng.integer(1, 4);
      for (int64_t t = 0; t < n; ++t) {
        int64_t bc = rng.integer(0, 2) == 0 ? i : rng.integer(0, mb - 1);
        a.cols.push_back(I(bc + cs.base));
        for (int64_t e = 0; e < lb * lb; ++e) {
          int64_t r = cs.base == 0 ? e / lb : e % lb, c = cs.base == 0 ? e % lb : e / lb;
          bool unread = symmetric && bc == i && (cs.part == 'l' ? c > r : c < r);
          E v = unread ? nan_value<E>() : random_value<E>(rng);
          a.vals.push_back(v);
          if (!unread) a.entries.push_back({i * lb + r, bc * lb + c, widen(v)}), a.block_row.push_back(i);
        }
      }
      a.row_end.push_back(I(a.cols.size() + data_base));
    }
    a.row_ptr.push_back(I(a.cols.size() + data_base));
    return a;
  }

  void run_one(int trial) {
    int64_t lb = trial == 0 ? rng.integer(2, 6) : trial == 1 ? 1 : rng.integer(1, 7);
    int64_t mb = trial == 3 ? rng.integer(1, 3) : rng.integer(1, 12), n = mb * lb;
    bool gemv = std::string(cs.operation) == "gemv";
    auto a = lay_out(mb, lb, !gemv);
    auto x = random_vector(n), y0 = random_vector(n), y = y0;
    E alpha = trial == 0 ? E(1) : random_value<E>(rng, 2.0);
    I lo = 1, hi = I(mb), lbi = I(lb);
    if (trial == 2) lo = I(rng.integer(1, mb)), hi = I(rng.integer(lo, mb));
    if (trial == 3) lo = I(rng.integer(1, mb)), hi = lo - 1;
    if (gemv) {
      using Fn = void (*)(const I *, const I *, const void *, const I *, const void *, const void *, const E *,
                          const I *, const I *, const E *, E *);
      reinterpret_cast<Fn>(cs.entry)(&lo, &hi, nullptr, &lbi, nullptr, nullptr, a.vals.data(), a.cols.data(),
                                     a.row_ptr.data(), x.data(), y.data());
    } else {
      using Fn = void (*)(const I *, const I *, const void *, const I *, const E *, const E *, const I *, const I *,
                          const I *, const E *, E *);
      reinterpret_cast<Fn>(cs.entry)(&lo, &hi, nullptr, &lbi, &alpha, a.vals.data(), a.cols.data(),
                                     a.row_begin.data(), a.row_end.data(), x.data(), y.data());
    }
    if (hi < lo) {
      for (int64_t r = 0; r < n; ++r) ASSERT_TRUE(same_bits(y[r], y0[r])) << "an empty range wrote y";
      return;
    }
    std::vector<Entry> used;
    for (size_t t = 0; t < a.entries.size(); ++t)
      if (a.block_row[t] >= lo - 1 && a.block_row[t] <= hi - 1) used.push_back(a.entries[t]);
    Letters kd{cs.base, 'n', gemv ? 'g' : 's', cs.part, gemv ? '_' : 'n'};
    Dense M = expand(kd, n, n, used, 1, n);
    for (int64_t r = 0; r < n; ++r) {
      W t = 0;
      long double s = 0;
      for (int64_t c = 0; c < n; ++c) t += M(r, c) * widen(x[c]), s += std::abs(M(r, c)) * std::abs(widen(x[c]));
      bool in = r / lb >= lo - 1 && r / lb <= hi - 1;
      if (gemv && !in) {
        ASSERT_TRUE(same_bits(y[r], y0[r])) << "row " << r << " outside the range";
        continue;
      }
      W want = gemv ? t : widen(y0[r]) + widen(alpha) * t;
      long double scale = gemv ? s + 1e-30L : std::abs(widen(y0[r])) + std::abs(widen(alpha)) * s + 1e-30L;
      EXPECT_TRUE(close(&y[r], 1, {want}, {scale}, 16 * eps * (4 * lb + 8))) << "row " << r << " lb " << lb;
    }
  }

  void run() {
    for (int trial = 0; trial < 6; ++trial) {
      SCOPED_TRACE(testing::Message() << "trial " << trial);
      run_one(trial);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
};

ZOR_SPBLAS_FAMILY_SUITES(Bsr, "bsr", 0xb5, 8, 12)

}  // namespace
