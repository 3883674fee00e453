// Sorting, sums and products of one-based CSR matrices against dense ones:
// every request (count, count and fill with a capacity, fill), capacities
// exactly reached and exceeded, and scratch that cannot be had.
#include <zor/serv.h>

#include <functional>

#include "qalloc_module.h"
#include "spblas/others.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::sparse;

template <class P>
struct CsrProducts : ::testing::Test {};
TYPED_TEST_SUITE(CsrProducts, AllTypes);

template <class E>
std::vector<std::vector<std::pair<int64_t, E>>> rows_of(Rng &rng, int64_t m, int64_t k, bool sorted, bool unique) {
  auto rows = any_rows<E>(rng, m, k);
  for (auto &row : rows) {
    if (unique) {
      std::sort(row.begin(), row.end(), [](auto &x, auto &y) { return x.first < y.first; });
      row.erase(std::unique(row.begin(), row.end(), [](auto &x, auto &y) { return x.first == y.first; }), row.end());
      if (!sorted) std::shuffle(row.begin(), row.end(), rng.engine);
    } else if (sorted) {
      std::stable_sort(row.begin(), row.end(), [](auto &x, auto &y) { return x.first < y.first; });
    }
  }
  return rows;
}

// C's rows (pointers ic, one-based) against the dense `want`: each column
// once, each value within tolerance, nothing else; sorted when asked.
template <class E, class I>
void expect_rows(const Dense &want, const E *c, const I *jc, const I *ic, bool sorted, bool zeros_kept = false) {
  const long double eps = std::numeric_limits<real_of<E>>::epsilon();
  for (int64_t i = 0; i < want.rows; ++i) {
    std::vector<int> seen(want.cols);
    for (int64_t p = ic[i] - 1; p < ic[i + 1] - 1; ++p) {
      const int64_t col = jc[p] - 1;
      ASSERT_TRUE(col >= 0 && col < want.cols && !seen[col]++) << "row " << i << " column " << col;
      if (sorted && p > ic[i] - 1) ASSERT_LT(jc[p - 1], jc[p]);
      ASSERT_LE(std::abs(widen(c[p]) - want(i, col)), 16 * eps * (1 + std::abs(want(i, col)))) << i << " " << col;
    }
    for (int64_t col = 0; col < want.cols; ++col)
      if (!seen[col] && !zeros_kept) ASSERT_LE(std::abs(want(i, col)), 16 * eps) << "missing " << i << " " << col;
  }
}

inline Dense product(const Dense &a, const Dense &b, bool transpose_a, bool conj_a) {
  const int64_t m = transpose_a ? a.cols : a.rows, inner = transpose_a ? a.rows : a.cols;
  Dense c{m, b.cols, std::vector<W>(m * b.cols)};
  for (int64_t i = 0; i < m; ++i)
    for (int64_t t = 0; t < inner; ++t) {
      W e = transpose_a ? a(t, i) : a(i, t);
      if (conj_a) e = std::conj(e);
      for (int64_t j = 0; j < b.cols; ++j) c(i, j) += e * b(t, j);
    }
  return c;
}

TYPED_TEST(CsrProducts, SortRow) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(51);
  Csr<E, I> a(any_rows<E>(rng, 9, 6), 1), before = a;
  const I first = 3, last = 7;
  call(Others<E, I>::sortrow, &first, &last, a.ia.data(), a.ja.data(), a.a.data());
  for (int64_t i = 0; i < 9; ++i) {
    std::vector<std::pair<int64_t, W>> got, want;
    for (int64_t k = a.ia[i] - 1; k < a.ia[i + 1] - 1; ++k)
      got.push_back({a.ja[k], widen(a.a[k])}), want.push_back({before.ja[k], widen(before.a[k])});
    if (i >= first - 1 && i <= last - 1)  // stable: equal columns keep their order
      std::stable_sort(want.begin(), want.end(), [](auto &x, auto &y) { return x.first < y.first; });
    ASSERT_EQ(got, want) << "row " << i;
  }
}

TYPED_TEST(CsrProducts, RowProducts) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(52);
  for (int trial = 0; trial < 6; ++trial) {
    const int64_t m = rng.integer(1, 15), k = rng.integer(1, 15), n = rng.integer(1, 15);
    Csr<E, I> a(rows_of<E>(rng, m, k, false, false), 1), b(rows_of<E>(rng, k, n, false, false), 1);
    const Dense want = product(dense_of(m, k, a.a.data(), a.ja.data(), a.ia.data(), 1),
                               dense_of(k, n, b.a.data(), b.ja.data(), b.ia.data(), 1), false, false);
    // Count, sum the lengths, fill.
    std::vector<I> ic(m + 1), jc(m * n + 1);
    std::vector<E> c(m * n + 1);
    I first = 1, last = I(m), ni = I(n), req = 1, cap = I(m * n), pos = 0, info = 9;
    call(Others<E, I>::mcsr_notr, &first, &last, &ni, &req, nullptr, a.a.data(), a.ja.data(), a.ia.data(),
         b.a.data(), b.ja.data(), b.ia.data(), c.data(), jc.data(), ic.data(), &cap, &pos, nullptr, &info);
    ic[0] = 1;
    for (int64_t i = 1; i <= m; ++i) ic[i] += ic[i - 1];
    req = 2;
    call(Others<E, I>::mcsr_notr, &first, &last, &ni, &req, nullptr, a.a.data(), a.ja.data(), a.ia.data(),
         b.a.data(), b.ja.data(), b.ia.data(), c.data(), jc.data(), ic.data(), &cap, &pos, nullptr, &info);
    ASSERT_EQ(info, 0);
    expect_rows(want, c.data(), jc.data(), ic.data(), false, true);
    // With a capacity, exactly reached, then one short.
    const int64_t total = ic[m] - 1;
    std::vector<I> ic2(m + 1);
    req = 0, cap = I(total), pos = 0;
    call(Others<E, I>::mcsr_notr, &first, &last, &ni, &req, nullptr, a.a.data(), a.ja.data(), a.ia.data(),
         b.a.data(), b.ja.data(), b.ia.data(), c.data(), jc.data(), ic2.data(), &cap, &pos, nullptr, &info);
    ASSERT_EQ(info, 0);
    EXPECT_EQ(ic2, ic);
    EXPECT_EQ(pos, total);
    if (total == 0) continue;
    cap = I(total - 1), pos = 0;
    call(Others<E, I>::mcsr_notr, &first, &last, &ni, &req, nullptr, a.a.data(), a.ja.data(), a.ia.data(),
         b.a.data(), b.ja.data(), b.ia.data(), c.data(), jc.data(), ic2.data(), &cap, &pos, nullptr, &info);
    EXPECT_EQ(info, std::upper_bound(ic.begin(), ic.end(), I(total)) - ic.begin());  // the last non-empty row
  }
}

TYPED_TEST(CsrProducts, Sums) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(53);
  for (int trial = 0; trial < 8; ++trial) {
    const bool transposed = trial & 1;
    const int64_t n = rng.integer(1, 14), srt = trial / 2;  // sort 0..3
    // Unsorted rows only where the routine sorts them; no duplicates. B
    // holds -a/2 where A's first entry a stands (at its mirror for B^T),
    // so that a + 2 b cancels to zero there.
    Csr<E, I> a(rows_of<E>(rng, n, n, !(srt & 1), true), 1);
    auto brows = rows_of<E>(rng, n, n, true, true);
    if (a.nnz() > 0) {
      const int64_t r0 = std::upper_bound(a.ia.begin(), a.ia.end(), I(1)) - a.ia.begin() - 1, c0 = a.ja[0] - 1;
      auto &row = brows[transposed ? c0 : r0];
      const int64_t col = transposed ? r0 : c0;
      std::erase_if(row, [&](auto &e) { return e.first == col; });
      row.push_back({col, E(0) - a.a[0] * E(real_of<E>(0.5))});
      std::sort(row.begin(), row.end(), [](auto &x, auto &y) { return x.first < y.first; });
    }
    if (!transposed && (srt & 2))
      for (auto &row : brows) std::shuffle(row.begin(), row.end(), rng.engine);
    Csr<E, I> b(brows, 1);
    Dense da = dense_of(n, n, a.a.data(), a.ja.data(), a.ia.data(), 1), db = dense_of(n, n, b.a.data(), b.ja.data(), b.ia.data(), 1);
    const E beta = E(2);
    Dense want = da;
    for (int64_t i = 0; i < n; ++i)
      for (int64_t j = 0; j < n; ++j) want(i, j) += W(2) * (transposed ? db(j, i) : db(i, j));
    std::vector<I> ic(n + 1), jc(2 * n * n + 1);
    std::vector<E> c(2 * n * n + 1);
    I first = 1, last = I(n), req = 0, sort = I(srt), cap = I(2 * n * n), info = 9;
    auto add = transposed ? Others<E, I>::mcsradd_tr : Others<E, I>::mcsradd_notr;
    call(add, &first, &last, &req, &sort, a.a.data(), a.ja.data(), a.ia.data(), &beta, b.a.data(), b.ja.data(),
         b.ia.data(), c.data(), jc.data(), ic.data(), &cap, &info);
    ASSERT_EQ(info, 0);
    expect_rows(want, c.data(), jc.data(), ic.data(), true, true);
    int64_t stored = 0;
    for (int64_t i = 0; i < n; ++i)
      for (int64_t j = 0; j < n; ++j) stored += da(i, j) != W(0) || (transposed ? db(j, i) : db(i, j)) != W(0);
    EXPECT_EQ(ic[n] - 1, stored);  // the cancelled pair is one of them
    // Counting gives the row lengths; one short of the capacity gives the row.
    std::vector<I> counts(n + 1);
    req = 1;
    call(add, &first, &last, &req, &sort, a.a.data(), a.ja.data(), a.ia.data(), &beta, b.a.data(), b.ja.data(),
         b.ia.data(), c.data(), jc.data(), counts.data(), &cap, &info);
    for (int64_t i = 1; i <= n; ++i) ASSERT_EQ(counts[i], ic[i] - ic[i - 1]);
    req = 0, cap = I(stored - 1);
    call(add, &first, &last, &req, &sort, a.a.data(), a.ja.data(), a.ia.data(), &beta, b.a.data(), b.ja.data(),
         b.ia.data(), c.data(), jc.data(), counts.data(), &cap, &info);
    if (stored > 0) EXPECT_EQ(info, std::upper_bound(ic.begin(), ic.end(), I(stored)) - ic.begin());
  }
}

// Every block height gives the same product: one row, a few, k, more than
// k, and 0 (one block of k); the row form reads no block argument.
TYPED_TEST(CsrProducts, TransposedProducts) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  Rng rng(54);
  for (int trial = 0; trial < 8; ++trial) {
    const int64_t m = rng.integer(1, 12), k = rng.integer(1, 12), n = rng.integer(1, 12);
    const I flag = I(trial & 1), mi = I(m), ki = I(k), ni = I(n);
    Csr<E, I> a(rows_of<E>(rng, m, k, true, true), 1), b(rows_of<E>(rng, m, n, false, false), 1);
    const Dense want = product(dense_of(m, k, a.a.data(), a.ja.data(), a.ia.data(), 1),
                               dense_of(m, n, b.a.data(), b.ja.data(), b.ia.data(), 1), true,
                               flag && is_complex_v<E>);
    for (bool by_rows : {false, true})
      for (I block : {I(1), I(3), ki, I(k + 4), I(0)}) {
        SCOPED_TRACE(::testing::Message() << "seed 54 trial " << trial << (by_rows ? " trom" : " tr") << " block "
                                          << block);
        auto fn = by_rows ? Others<E, I>::multcsr_trom : Others<E, I>::multcsr_tr;
        std::vector<I> ic(k + 1), jc(k * n + 1);
        std::vector<E> c(k * n + 1);
        I req = 0, cap = I(k * n), info = 9;
        call(fn, &flag, &mi, &ki, &ni, &req, &block, a.a.data(), a.ja.data(), a.ia.data(), b.a.data(), b.ja.data(),
             b.ia.data(), c.data(), jc.data(), ic.data(), &cap, &info);
        ASSERT_EQ(info, 0);
        // The dense-block form keeps non-zero elements only; the row form
        // every product met, sorted.
        expect_rows(want, c.data(), jc.data(), ic.data(), true, by_rows);
        const int64_t total = ic[k] - 1;
        if (total == 0) continue;
        cap = I(total - 1);
        call(fn, &flag, &mi, &ki, &ni, &req, &block, a.a.data(), a.ja.data(), a.ia.data(), b.a.data(), b.ja.data(),
             b.ia.data(), c.data(), jc.data(), ic.data(), &cap, &info);
        EXPECT_GT(info, 0);
      }
  }
}

// Each scratch block in turn cannot be had: info -1 (or, past the last
// block the routine takes, the same result as without the fault), and the
// thread's pool goes back to where it was: nothing kept, nothing lost.
TEST(CsrProductsScratch, EveryBlockFailsCleanly) {
  using I = int64_t;
  double a[5] = {1, 2, 3, 4, 5};
  I ja[5] = {1, 3, 2, 1, 3}, ia[4] = {1, 3, 4, 6};
  const double beta = 2;
  I n = 3, one = 1, zero = 0, cap = 9, mb = 2, ld = 4, lval = 3;
  using Run = std::function<void(std::vector<double> &, std::vector<I> &)>;
  const std::vector<std::pair<const char *, Run>> routines = {
      {"mcsr_notr", [&](auto &c, auto &w) {
         w[14] = 0;  // C from its first position
         zor_spblas_dmcsr_notr(&one, &n, &n, &zero, nullptr, a, ja, ia, a, ja, ia, c.data(), w.data(), w.data() + 9,
                               &cap, w.data() + 14, nullptr, w.data() + 15);
       }},
      {"mcsradd_tr", [&](auto &c, auto &w) {
         zor_spblas_dmcsradd_tr(&one, &n, &zero, &zero, a, ja, ia, &beta, a, ja, ia, c.data(), w.data(), w.data() + 9,
                                &cap, w.data() + 15);
       }},
      {"multcsr_tr", [&](auto &c, auto &w) {
         zor_spblas_dmultcsr_tr(&zero, &n, &n, &n, &zero, &one, a, ja, ia, a, ja, ia, c.data(), w.data(), w.data() + 9,
                                &cap, w.data() + 15);
       }},
      {"multcsr_trom", [&](auto &c, auto &w) {
         zor_spblas_dmultcsr_trom(&zero, &n, &n, &n, &zero, &one, a, ja, ia, a, ja, ia, c.data(), w.data(),
                                  w.data() + 9, &cap, w.data() + 15);
       }},
      {"csrdia", [&](auto &c, auto &w) {
         I job[6] = {0, 1, 1, 0, 9, 10}, ndiag = 3;
         zor_spblas_zor_dcsrdia(job, &n, a, ja, ia, c.data(), &lval, w.data(), &ndiag, c.data() + 9, w.data() + 3,
                                w.data() + 9, w.data() + 15);
       }},
      {"csrbsr", [&](auto &c, auto &w) {
         I job[6] = {0, 1, 1, 0, 0, 1};
         zor_spblas_zor_dcsrbsr(job, &n, &mb, &ld, a, ja, ia, c.data(), w.data(), w.data() + 9, w.data() + 15);
       }},
  };
  for (const auto &[name, run] : routines)
    on_new_thread([&, name = name, run = run] {
      zor_serv_deallocate(zor_serv_allocate(8, 0));  // the thread's pool record
      zor_serv_zor_thread_free_buffers();
      const int32_t before = pool_stat().count;
      std::vector<double> c0(18, -1);
      std::vector<I> w0(16, -7);
      run(c0, w0);
      ASSERT_EQ(w0[15], 0) << name;
      zor_serv_zor_thread_free_buffers();
      for (long nth = 1; nth <= 5; ++nth) {
        std::vector<double> c(18, -1);
        std::vector<I> w(16, -7);
        qalloc_fail_nth(nth);
        run(c, w);
        qalloc_fail_nth(0);
        if (nth == 1 || w[15] != 0) EXPECT_EQ(w[15], -1) << name << " block " << nth;
        else EXPECT_TRUE(c == c0 && w == w0) << name << " block " << nth;
        zor_serv_zor_thread_free_buffers();
        EXPECT_EQ(pool_stat().count, before) << name << " block " << nth;
      }
    });
}

}  // namespace
