// Orders of summation the level-2 routines promise, each against a model on
// data spread over many binades, where another order rounds differently (each
// test also checks that a neighbouring order's model differs somewhere, so a
// pass means the order was told apart):
//  - dtpsv transposed, unit stride: n mod 4 single columns, then groups of
//    four; each dot with accumulators A (elements 0, 1, 4, 5 of eight) and B
//    (2, 3, 6, 7), joined as (A + B) lane 0 plus lane 1, the rest of the rows
//    subtracted one at a time, then the 4 by 4 head, then the division;
//  - xdsymv and dspmv: each column's dot s multiplied by alpha after the sum,
//    y[j] := y[j] + s alpha (strided dense columns four at a time, rows in
//    pairs with the even and odd rows of each dot summed apart);
//  - dzgemv, scgemv: a failed scratch allocation ends in the direct pass,
//    'N' with the bits of the split products, transposed within rounding;
//    nothing leaks.
#include <zor/blas.h>
#include <zor/serv.h>

#include <cmath>
#include <thread>

#include "level2_testing.hpp"
#include "qalloc_module.h"

namespace zor::test::level2 {
namespace {

double spread(Rng &rng, int binades) { return std::ldexp(rng.uniform(), int(rng.integer(-binades, binades))); }

// ---------------------------------------------------------------- dtpsv

struct Packed {
  const std::vector<double> &ap;
  int64_t n;
  bool upper;
  double at(int64_t i, int64_t j) const {
    return upper ? ap[size_t(i + j * (j + 1) / 2)] : ap[size_t(j * n - j * (j - 1) / 2 + (i - j))];
  }
};

// The transposed solve; paired: the accumulators A and B (else one
// accumulator per lane, the neighbouring order).
std::vector<double> tpsv_model(const Packed &a, bool unit, std::vector<double> x, bool paired) {
  const int64_t n = a.n;
  auto less_dot = [&](int64_t j, int64_t r0, int64_t len, double v) {
    double lane[4] = {0, 0, 0, 0};  // A0 A1 B0 B1
    const int64_t groups = len / 8 * 8;
    for (int64_t i = 0; i < groups; ++i) {
      const int acc = paired ? int((i % 8) / 2 % 2) : 0;
      lane[acc * 2 + i % 2] = lane[acc * 2 + i % 2] + a.at(r0 + i, j) * x[size_t(r0 + i)];
    }
    v = v - ((lane[0] + lane[2]) + (lane[1] + lane[3]));
    for (int64_t i = groups; i < len; ++i) v = v - a.at(r0 + i, j) * x[size_t(r0 + i)];
    return v;
  };
  auto divide = [&](int64_t j, double v) { return unit ? v : v / a.at(j, j); };
  const int64_t singles = n % 4;
  for (int64_t s = 0; s < singles; ++s) {
    const int64_t j = a.upper ? s : n - 1 - s;
    x[size_t(j)] = divide(j, a.upper ? less_dot(j, 0, j, x[size_t(j)]) : less_dot(j, j + 1, n - j - 1, x[size_t(j)]));
  }
  for (int64_t done = singles; done < n; done += 4) {
    const int64_t j = a.upper ? done : n - done - 4, r0 = a.upper ? 0 : j + 4, len = a.upper ? j : n - j - 4;
    double v[4];
    for (int q = 0; q < 4; ++q) v[q] = less_dot(j + q, r0, len, x[size_t(j + q)]);
    for (int q0 = 0; q0 < 4; ++q0) {
      const int q = a.upper ? q0 : 3 - q0;
      for (int r = a.upper ? 0 : q + 1; r < (a.upper ? q : 4); ++r) v[q] = v[q] - a.at(j + r, j + q) * x[size_t(j + r)];
      x[size_t(j + q)] = divide(j + q, v[q]);
    }
  }
  return x;
}

TEST(Level2Order, TransposedPackedSolveAccumulators) {
  Rng rng(4242);
  int differ = 0;  // cases where the neighbouring order's model differs
  for (int64_t n : {4, 5, 8, 9, 12, 15, 20, 27, 40, 61})
    for (const char *letters : {"UTN", "LTN", "UCU", "LTU"}) {
      SCOPED_TRACE(testing::Message() << "n " << n << " " << letters);
      const bool upper = letters[0] == 'U', unit = letters[2] == 'U';
      std::vector<double> ap(size_t(n * (n + 1) / 2));
      for (auto &v : ap) v = spread(rng, 20) / double(4 * n);
      const Packed a{ap, n, upper};
      for (int64_t j = 0; j < n; ++j) ap[size_t(upper ? j * (j + 3) / 2 : j * n - j * (j - 1) / 2)] = 1 + rng.uniform(0, 0.25);
      std::vector<double> x(static_cast<size_t>(n));
      for (auto &v : x) v = spread(rng, 20);
      const std::vector<double> want = tpsv_model(a, unit, x, true);
      differ += want != tpsv_model(a, unit, x, false);
      const int64_t one = 1;
      zor_blas_dtpsv(letters, letters + 1, letters + 2, &n, ap.data(), x.data(), &one);
      for (int64_t i = 0; i < n; ++i) ASSERT_TRUE(same_bits(x[size_t(i)], want[size_t(i)])) << "element " << i;
    }
  EXPECT_GT(differ, 10);
}

// ---------------------------------------------------------------- symmetric

// y := alpha A x + y by the column walk: dense columns in groups of four
// (packed in pairs), the group's diagonal block before (lower) or after
// (upper) the rows off it, every row's terms in column order and each dot in
// row order (paired: the rows off the block in pairs, even and odd rows
// summed apart and joined before a last odd row); then y[j + k] += s_k
// alpha (late) or the dot of alpha-scaled terms (early: the neighbouring
// order).
std::vector<double> symmetric_model(bool upper, int64_t n, int group, bool paired, double alpha,
                                    const std::vector<double> &full, const std::vector<double> &x,
                                    std::vector<double> y, bool late) {
  auto a = [&](int64_t i, int64_t j) { return full[size_t(i + j * n)]; };
  auto term = [&](double s, double v) { return late ? s + v : s + alpha * v; };
  auto finish = [&](double s) { return late ? s * alpha : s; };
  auto block = [&](int64_t j, int cols, double *t, double *s) {
    for (int q = 0; q < cols; ++q) {
      const int64_t jq = j + q;
      if (!upper) y[size_t(jq)] = y[size_t(jq)] + t[q] * a(jq, jq);
      for (int r = upper ? 0 : q + 1; r < (upper ? q : cols); ++r) {
        y[size_t(j + r)] = y[size_t(j + r)] + t[q] * a(j + r, jq);
        s[q] = term(s[q], a(j + r, jq) * x[size_t(j + r)]);
      }
      if (upper) y[size_t(jq)] = y[size_t(jq)] + t[q] * a(jq, jq);
    }
  };
  int64_t j = 0;
  auto columns = [&](int cols) {
    double t[4], s[4] = {0, 0, 0, 0};
    for (int q = 0; q < cols; ++q) t[q] = alpha * x[size_t(j + q)];
    if (!upper) block(j, cols, t, s);
    auto row = [&](int64_t i, double *sum) {
      double v = y[size_t(i)];
      for (int q = 0; q < cols; ++q) v = v + t[q] * a(i, j + q), sum[q] = term(sum[q], a(i, j + q) * x[size_t(i)]);
      y[size_t(i)] = v;
    };
    const int64_t r0 = upper ? 0 : j + cols, r1 = upper ? j : n;
    int64_t i = r0;
    if (paired) {
      double lane[2][4] = {};
      for (; i + 2 <= r1; i += 2) row(i, lane[0]), row(i + 1, lane[1]);
      if (i > r0)
        for (int q = 0; q < cols; ++q) s[q] = s[q] + (lane[0][q] + lane[1][q]);
    }
    for (; i < r1; ++i) row(i, s);
    if (upper) block(j, cols, t, s);
    for (int q = 0; q < cols; ++q) y[size_t(j + q)] = y[size_t(j + q)] + finish(s[q]);
    j += cols;
  };
  while (j + group <= n) columns(group);
  // Single columns: upper adds the diagonal and s alpha together at the end.
  for (; j < n; ++j) {
    const double t = alpha * x[size_t(j)];
    double s = 0;
    if (!upper) y[size_t(j)] = y[size_t(j)] + t * a(j, j);
    for (int64_t i = upper ? 0 : j + 1; i < (upper ? j : n); ++i)
      y[size_t(i)] = y[size_t(i)] + t * a(i, j), s = term(s, a(i, j) * x[size_t(i)]);
    y[size_t(j)] = upper ? (y[size_t(j)] + t * a(j, j)) + finish(s) : y[size_t(j)] + finish(s);
  }
  return y;
}

// Dense with x of stride 2 (rows in pairs at every size); dense with unit
// strides and y on a 16-byte boundary, where the row pass's two lanes are
// the same pairs, when the single columns are short (n below 6 or a
// multiple of 4); packed to n = 3.
TEST(Level2Order, SymmetricAlphaAfterTheSum) {
  Rng rng(777);
  int differ = 0;
  for (int64_t n : {1, 2, 3, 4, 5, 6, 9, 13, 20, 22})
    for (char uplo : {'U', 'L'})
      for (int form = 0; form < 3; ++form) {  // dense strided, dense unit, packed unit
        if (form == 1 && n > 5 && n % 4) continue;
        if (form == 2 && n > 3) continue;
        SCOPED_TRACE(testing::Message() << "n " << n << " " << uplo << " form " << form);
        const bool upper = uplo == 'U';
        std::vector<double> full(size_t(n * n)), ap;
        for (int64_t j = 0; j < n; ++j)
          for (int64_t i = j; i < n; ++i) full[size_t(i + j * n)] = full[size_t(j + i * n)] = spread(rng, 25);
        for (int64_t j = 0; j < n; ++j)
          for (int64_t i = upper ? 0 : j; i < (upper ? j + 1 : n); ++i) ap.push_back(full[size_t(i + j * n)]);
        const int64_t incx = form == 0 ? 2 : 1, one = 1;
        std::vector<double> x(static_cast<size_t>(n)), xs(size_t(n * incx)), y(static_cast<size_t>(n));
        for (int64_t i = 0; i < n; ++i) xs[size_t(i * incx)] = x[size_t(i)] = spread(rng, 10);
        for (auto &v : y) v = rng.uniform();
        const double alpha = 0.3, beta = 1.0;
        ASSERT_EQ(reinterpret_cast<uintptr_t>(y.data()) % 16, 0u);
        const int group = form == 2 ? 2 : 4;
        const std::vector<double> want = symmetric_model(upper, n, group, form < 2, alpha, full, x, y, true);
        differ += want != symmetric_model(upper, n, group, form < 2, alpha, full, x, y, false);
        differ += form == 0 && want != symmetric_model(upper, n, group, false, alpha, full, x, y, true);
        if (form == 2) zor_blas_dspmv(&uplo, &n, &alpha, ap.data(), xs.data(), &incx, &beta, y.data(), &one);
        else zor_blas_xdsymv(&uplo, &n, &alpha, full.data(), &n, xs.data(), &incx, &beta, y.data(), &one);
        for (int64_t i = 0; i < n; ++i) ASSERT_TRUE(same_bits(y[size_t(i)], want[size_t(i)])) << "element " << i;
      }
  EXPECT_GT(differ, 10);
}

// ---------------------------------------------------------------- dzgemv

// A failed scratch allocation (the k-th raw allocation of the call) leaves
// the direct pass to do the product: 'N' with the same bits as the split
// products, 'T' within rounding of them; the pool holds afterwards what it
// held before.
template <class R>
void mixed_under_faults() {
  using E = std::complex<R>;
  auto gemv = pick<E>(nullptr, nullptr, zor_blas_scgemv, zor_blas_dzgemv);
  Rng rng(90 + sizeof(R));
  for (const char *trans : {"N", "T"})
    for (int64_t incy : {1, -2})
      for (long k = 1; k <= 4; ++k) {
        SCOPED_TRACE(testing::Message() << "elem " << sizeof(R) << " " << trans << " incy " << incy << " failing " << k);
        const int64_t m = 300, n = 170, lda = 301, incx = 1;
        const int64_t lenx = trans[0] == 'N' ? n : m, leny = trans[0] == 'N' ? m : n;
        std::vector<R> a(size_t(lda * n));
        for (auto &v : a) v = R(rng.uniform());
        std::vector<E> x(static_cast<size_t>(lenx)), y0(size_t(span(leny, incy)));
        for (auto &v : x) v = rng.value<E>();
        for (auto &v : y0) v = rng.value<E>();
        const E alpha(R(0.7), R(-0.4)), beta(R(0.5), R(0.25));
        std::vector<E> whole = y0, faulty = y0;
        gemv(trans, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, whole.data(), &incy);
        int32_t before = 0, after = 0;
        int64_t bytes_before = 0, bytes_after = 0;
        long raw = 0;
        std::thread([&] {
          bytes_before = zor_serv_zor_memstat(&before);
          raw = -qalloc_count(QALLOC_MALLOC) - qalloc_count(QALLOC_CALLOC);
          qalloc_fail_nth(k);
          gemv(trans, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, faulty.data(), &incy);
          qalloc_fail_nth(0);
          raw += qalloc_count(QALLOC_MALLOC) + qalloc_count(QALLOC_CALLOC);
          zor_serv_zor_thread_free_buffers();
          bytes_after = zor_serv_zor_memstat(&after);
        }).join();
        EXPECT_GE(raw, k);  // the failure was met
        EXPECT_EQ(before, after);
        EXPECT_EQ(bytes_before, bytes_after);
        for (size_t i = 0; i < whole.size(); ++i) {
          if (trans[0] == 'N') ASSERT_TRUE(same_bits(faulty[i], whole[i])) << "element " << i;
          else ASSERT_TRUE(close(faulty[i], whole[i], R(m), 4.0 * m)) << "element " << i;
        }
      }
}

TEST(Level2Order, MixedGemvScratchFailures) {
  mixed_under_faults<float>();
  mixed_under_faults<double>();
  // Below 4 columns (or rows) the direct pass runs: nothing is allocated.
  const int64_t m = 300, n = 3, one = 1;
  std::vector<double> a(size_t(m * n), 0.5);
  std::vector<cdouble> x(size_t(m), cdouble(1, 2)), y(static_cast<size_t>(n));
  const cdouble alpha(1, 1), beta(0, 0);
  on_new_thread([&] {
    const PoolStat before = pool_stat();
    const long raw = qalloc_count(QALLOC_MALLOC) + qalloc_count(QALLOC_CALLOC);
    zor_blas_dzgemv("T", &m, &n, &alpha, a.data(), &m, x.data(), &one, &beta, y.data(), &one);
    EXPECT_EQ(qalloc_count(QALLOC_MALLOC) + qalloc_count(QALLOC_CALLOC), raw);
    EXPECT_EQ(pool_stat().count, before.count);
  });
  EXPECT_EQ(y[2], alpha * cdouble(150, 300));
}

}  // namespace
}  // namespace zor::test::level2
