// Skyline products and solves against dense expansions. S is the stored
// profile read by rows (row i from its first column through the diagonal);
// part 0 is the lower matrix conj(S), any other part the upper S^T, and op
// != 0 their conjugate transpose (in s and d plain transposes). The
// symmetric product is conj(S) below and S^T above the diagonal, the
// anti-symmetric one conj(L) - L^T of the strict part L (sign by op and
// part). A unit diagonal adds its term; the solves divide by the stored
// diagonal unconjugated.
#include "spblas/others.hpp"

namespace {

using namespace zor::test;
using namespace zor::test::sparse;

template <class P>
struct Skyline : ::testing::Test {};
TYPED_TEST_SUITE(Skyline, AllTypes);

template <class E, class I>
struct Profile {
  int64_t m;
  std::vector<E> vals;
  std::vector<I> pntr;
  Dense s;  // S, m x m
  Profile(Rng &rng, int64_t m_, double off_scale) : m(m_), s{m_, m_, std::vector<W>(m_ * m_)} {
    const int64_t base = rng.integer(0, 1);
    pntr.push_back(I(base));
    for (int64_t i = 0; i < m; ++i) {
      const int64_t len = i == 0 || rng.integer(0, 3) == 0 ? 1 : rng.integer(1, i + 1);  // length 1 often
      for (int64_t t = 0; t < len; ++t) {
        const int64_t c = i - len + 1 + t;
        const E v = c == i ? E(real_of<E>(3)) + random_value<E>(rng, 0.5) : random_value<E>(rng, off_scale);
        vals.push_back(v), s(i, c) = widen(v);
      }
      pntr.push_back(I(base + int64_t(vals.size())));
    }
  }
};

// conj(S) (lower) or S^T (upper), the diagonal kept, set to one, or dropped;
// then its conjugate transpose when op != 0.
inline Dense triangle(const Dense &s, bool upper, int diag, bool op) {
  const int64_t m = s.rows;
  Dense a{m, m, std::vector<W>(m * m)};
  for (int64_t i = 0; i < m; ++i)
    for (int64_t c = 0; c <= i; ++c) {
      W v = c == i ? (diag == 0 ? s(i, i) : diag == 1 ? W(1) : W(0)) : s(i, c);
      if (upper) a(c, i) = v;
      else a(i, c) = std::conj(v);
    }
  if (!op) return a;
  Dense h{m, m, std::vector<W>(m * m)};
  for (int64_t i = 0; i < m; ++i)
    for (int64_t c = 0; c < m; ++c) h(c, i) = std::conj(a(i, c));
  return h;
}

TYPED_TEST(Skyline, Products) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  using O = Others<E, I>;
  const long double eps = std::numeric_limits<real_of<E>>::epsilon();
  Rng rng(41);
  for (int trial = 0; trial < 16; ++trial)
    for (char kind : {'g', 's', 'k'}) {
      const int64_t m = rng.integer(1, 12), n = 1 + trial % 3, ldb = m + 1, ldc = m + 2;
      const I op = I(trial & 1), part = I((trial >> 1) & 1), diag = I((trial >> 2) & 1), mi = I(m), ni = I(n);
      SCOPED_TRACE(::testing::Message() << "seed 41 trial " << trial << " " << kind << " op " << op << " part "
                                        << part << " diag " << diag);
      Profile<E, I> a(rng, m, 1.0);
      // The operator.
      Dense mat{m, m, std::vector<W>(m * m)};
      const int d = diag ? 0 : 1;  // 0 stored, 1 unit
      if (kind == 'g') {
        mat = triangle(a.s, part != 0, d, op != 0);
      } else if (kind == 's') {
        Dense lo = triangle(a.s, false, d, false), up = triangle(a.s, true, 2, false);
        for (size_t t = 0; t < mat.a.size(); ++t) mat.a[t] = lo.a[t] + up.a[t];
      } else {
        Dense lo = triangle(a.s, false, 2, false), up = triangle(a.s, true, 2, false);
        const bool positive = (op == 0) == (part == 0);
        for (size_t t = 0; t < mat.a.size(); ++t) mat.a[t] = positive ? lo.a[t] - up.a[t] : up.a[t] - lo.a[t];
      }
      std::vector<E> b(ldb * n), c(ldc * n);
      for (E &e : b) e = random_value<E>(rng);
      for (E &e : c) e = random_value<E>(rng);
      const auto c0 = c;
      const E alpha = random_value<E>(rng, 2.0);
      const I lb = I(ldb), lc = I(ldc);
      if (kind == 'g')
        call(O::skymmgk, &op, nullptr, &mi, &ni, &part, &diag, &alpha, a.vals.data(), a.pntr.data(), b.data(), &lb,
             c.data(), &lc);
      else if (kind == 's')
        call(O::skymmsk, nullptr, &mi, &ni, &diag, &alpha, a.vals.data(), a.pntr.data(), b.data(), &lb, c.data(), &lc);
      else
        call(O::skymmkk, &op, nullptr, &mi, &ni, &part, &alpha, a.vals.data(), a.pntr.data(), b.data(), &lb, c.data(),
             &lc);
      for (int64_t j = 0; j < n; ++j) {
        std::vector<W> want(m);
        std::vector<long double> scale(m);
        for (int64_t i = 0; i < m; ++i) {
          W s = 0;
          long double size = std::abs(widen(c0[j * ldc + i]));
          for (int64_t k = 0; k < m; ++k) {
            s += mat(i, k) * widen(b[j * ldb + k]);
            size += 4 * std::abs(widen(alpha)) * std::abs(mat(i, k)) * std::abs(widen(b[j * ldb + k]));
          }
          want[i] = widen(c0[j * ldc + i]) + widen(alpha) * s, scale[i] = size;
        }
        ASSERT_TRUE(close(c.data() + j * ldc, 1, want, scale, 8 * m * eps)) << "column " << j;
        EXPECT_TRUE(same_bits(c[j * ldc + m], c0[j * ldc + m]));  // the gap below the column
      }
    }
}

TYPED_TEST(Skyline, Solves) {
  using E = typename TypeParam::first_type;
  using I = typename TypeParam::second_type;
  const long double eps = std::numeric_limits<real_of<E>>::epsilon();
  Rng rng(42);
  for (int trial = 0; trial < 16; ++trial) {
    const int64_t m = rng.integer(1, 20);
    const I op = I(trial & 1), part = I((trial >> 1) & 1), diag = I((trial >> 2) & 1), mi = I(m);
    Profile<E, I> a(rng, m, 0.3);
    // Off the diagonal as the products have it; the stored pivot (or one).
    Dense mat = triangle(a.s, part != 0, 2, op != 0);
    for (int64_t i = 0; i < m; ++i) mat(i, i) = diag ? a.s(i, i) : W(1);
    std::vector<E> x(m), y(m);
    for (E &e : x) e = random_value<E>(rng);
    for (int64_t i = 0; i < m; ++i) {
      W s = 0;
      for (int64_t k = 0; k < m; ++k) s += mat(i, k) * widen(x[k]);
      y[i] = narrow<E>(s);
    }
    call(Others<E, I>::skysvk, &op, nullptr, &part, &diag, &mi, a.vals.data(), a.pntr.data(), y.data());
    for (int64_t i = 0; i < m; ++i)
      ASSERT_LE(std::abs(widen(y[i]) - widen(x[i])), 32 * m * eps)
          << "seed 42 trial " << trial << " op " << op << " part " << part << " diag " << diag << " row " << i;
  }
}

}  // namespace
