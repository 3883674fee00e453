// The triangular multiply and solve of the four precisions and the packed
// multiply of s and d against the reference BLAS, in both kernel rows: every
// side, triangle, transposition and diagonal; shapes across the points where
// the route changes (right side orders 8 and 9, left side rows 64, 65, 128,
// 129, chunks of 1000 columns; the solve's orders 32 and 33, 128, 129, 2000
// on the right and 499, 500 on the left; packed orders 3, 4 and 1130, whose
// rectangles cross a chunk of 1000 on either side and whose left side takes
// the large rows); NaN in A with alpha 0 and on a unit diagonal. And the pass-through exports: the
// tier's jump lands in the provider, which gives the tier's bits.
#include <dlfcn.h>

#include <cstring>
#include <limits>

#include "level3_testing.hpp"

namespace {

using namespace zor::test;

template <class E>
class Level3Triangular : public ::testing::Test {};
using Elements = ::testing::Types<float, double, Cx<float>, Cx<double>>;
TYPED_TEST_SUITE(Level3Triangular, Elements);

// A triangular operand of order p, well conditioned for solving: off the
// diagonal |a| <= 1 / p, on it 1 to 2. Unit diagonals hold NaN (never read);
// with alpha 0 all of A is NaN (never read either).
template <class E>
Matrix<E> triangle(int64_t p, int64_t pad, char diag, bool all_nan, Rng &rng) {
  using R = real_of<E>;
  Matrix<E> a(p + pad, p, p + pad);
  a.fill(rng);
  for (size_t i = 0; i < a.buf.size(); ++i) a.buf[i] = a.buf[i] * R(1.0 / double(p));
  for (int64_t i = 0; i < p; ++i) a.at(i, i) = diag == 'U' ? E(std::numeric_limits<R>::quiet_NaN()) : E(R(1.5)) + rng.value<E>() * R(0.5);
  if (all_nan)
    for (size_t i = 0; i < a.buf.size(); ++i) a.buf[i] = E(std::numeric_limits<R>::quiet_NaN());
  return a;
}

template <class E>
std::vector<char> transpositions() {
  if constexpr (is_complex_v<E>) return {'N', 'T', 'C'};
  else return {'N', 'T'};
}

// op(A) B or its solve, ours against the reference; multiply bounds from the
// multiply on magnitudes, solve bounds from the size of X's column.
template <class E>
void check(bool solve, const char *l, int64_t m, int64_t n, E alpha, Matrix<E> &a, int64_t pad, Rng &rng) {
  using R = real_of<E>;
  const int64_t ldb = m + pad + 1, order = l[0] == 'L' ? m : n;
  Matrix<E> b(ldb, n, ldb, sizeof(E) < 16 ? sizeof(E) : 0);
  b.fill(rng);
  const std::vector<E> before(b.data(), b.data() + b.buf.size());
  std::vector<E> want = before;
  L3<E>::tri(false, solve, l, m, n, alpha, a.data(), a.ld, want.data(), ldb);
  L3<E>::tri(true, solve, l, m, n, alpha, a.data(), a.ld, b.data(), ldb);
  std::vector<double> scale = magnitudes(before.data(), before.size());
  if (solve) {
    for (int64_t j = 0; j < n; ++j) {
      double top = 0;
      for (int64_t i = 0; i < m; ++i) top = std::max(top, magnitude(want[size_t(i + j * ldb)]));
      for (int64_t i = 0; i < m; ++i) scale[size_t(i + j * ldb)] = top;
    }
  } else if (alpha != E(0)) {
    std::vector<double> am = magnitudes(a.data(), a.buf.size());
    const double al = magnitude(alpha);
    f_int M = f_int(m), N = f_int(n), LA = f_int(a.ld), LB = f_int(ldb);
    const char real_t = l[2] == 'N' ? 'N' : 'T';
    dtrmm_(l, l + 1, &real_t, l + 3, &M, &N, &al, am.data(), &LA, scale.data(), &LB, 1, 1, 1, 1);
  }
  ASSERT_TRUE(b.buf.guards_intact());
  ASSERT_TRUE(agree(b.data(), want, before, scale, m, n, ldb, (solve ? 64.0 : 8.0) * double(order + 4)))
      << (solve ? "trsm " : "trmm ") << l << " m " << m << " n " << n << " alpha " << alpha << " eps " << eps<R>();
}

template <class E, class F>
void every_case(F &&body) {
  for (char side : {'L', 'R'})
    for (char uplo : {'U', 'L'})
      for (char trans : transpositions<E>())
        for (char diag : {'N', 'U'}) {
          const char l[5] = {side, uplo, trans, diag, 0};
          body(l);
        }
}

TYPED_TEST(Level3Triangular, MultiplyAndSolve) {
  using E = TypeParam;
  struct Shape { int64_t m, n; };
  // (rows, columns) of B, as side 'L' reads them; side 'R' swaps them so the
  // order of A takes the same values.
  const Shape shapes[] = {{1, 3}, {3, 2}, {8, 5}, {9, 7}, {32, 6}, {33, 5}, {64, 9}, {65, 3}, {128, 4},
                          {129, 6}, {200, 3}, {37, 1001}};
  for (int row : {0, 1}) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    Rng rng(1000 + row);
    SCOPED_TRACE(testing::Message() << "seed " << rng.seed << " row " << row);
    every_case<E>([&](const char *l) {
      for (const Shape &s : shapes) {
        const int64_t m = l[0] == 'L' ? s.m : s.n, n = l[0] == 'L' ? s.n : s.m, order = l[0] == 'L' ? m : n;
        const int64_t pad = (m + n) % 3;
        const E alpha = (m + n) % 5 == 0 ? E(0) : (m + n) % 5 == 1 ? E(1) : rng.value<E>();
        Matrix<E> a = triangle<E>(order, pad, l[3], alpha == E(0), rng);
        check(false, l, m, n, alpha, a, pad, rng);
        check(true, l, m, n, alpha, a, pad, rng);
      }
    });
  }
}

// The solve's level and block changes: orders 32 and 33 on each side, the
// wide diagonal blocks of d from 2000 on the right, the left side's column
// chunk around 500 rows, and a row block of B crossed on the right.
TYPED_TEST(Level3Triangular, SolveLevels) {
  using E = TypeParam;
  struct Shape { char side; int64_t m, n; };
  const Shape shapes[] = {{'R', 5, 32}, {'R', 5, 33}, {'L', 32, 4}, {'L', 33, 4}, {'R', 3, 129}, {'R', 2, 2000},
                          {'L', 499, 5}, {'L', 500, 3}, {'L', 40, 1030}, {'R', 1100, 40}};
  for (int row : {0, 1}) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    Rng rng(1100 + row);
    SCOPED_TRACE(testing::Message() << "seed " << rng.seed << " row " << row);
    for (const Shape &s : shapes)
      for (char uplo : {'U', 'L'})
        for (char trans : {'N', 'T'}) {
          if (s.n == 2000 && !std::is_same_v<E, double>) continue;  // the wide blocks are d's
          const char l[5] = {s.side, uplo, trans, 'N', 0};
          Matrix<E> a = triangle<E>(s.side == 'L' ? s.m : s.n, 1, 'N', false, rng);
          check(true, l, s.m, s.n, rng.value<E>(), a, 1, rng);
        }
  }
}

// Packed A: unpacked by the test into a dense triangle for the reference.
template <class E>
class Level3Packed : public ::testing::Test {};
using PackedElements = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Level3Packed, PackedElements);

TYPED_TEST(Level3Packed, PackedMultiply) {
  using E = TypeParam;
  const auto ours = pick<E>(zor_blas_xsptrmm, zor_blas_xdptrmm, nullptr, nullptr);
  struct Shape { int64_t m, n; };
  const Shape shapes[] = {{3, 7}, {4, 5}, {7, 3}, {130, 9}, {300, 200}, {1130, 3}};
  Rng rng(1200);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  every_case<E>([&](const char *l) {
    for (const Shape &s : shapes) {
      const int64_t m = l[0] == 'L' ? s.m : s.n, n = l[0] == 'L' ? s.n : s.m, p = l[0] == 'L' ? m : n;
      const E alpha = p == 130 ? E(0) : rng.value<E>();
      Matrix<E> a = triangle<E>(p, 0, l[3], false, rng);
      std::vector<E> ap;
      for (int64_t j = 0; j < p; ++j)
        for (int64_t i = l[1] == 'U' ? 0 : j; i < (l[1] == 'U' ? j + 1 : p); ++i) ap.push_back(a.at(i, j));
      Matrix<E> b(m, n, m);
      b.fill(rng);
      std::vector<E> want(b.data(), b.data() + b.buf.size()), before = want;
      L3<E>::tri(false, false, l, m, n, alpha, a.data(), a.ld, want.data(), m);
      const int64_t ldb = m;
      ours(l, l + 1, l + 2, l + 3, &m, &n, &alpha, ap.data(), b.data(), &ldb);
      std::vector<double> scale = magnitudes(before.data(), before.size()), am = magnitudes(a.data(), a.buf.size());
      const double al = magnitude(alpha);
      f_int M = f_int(m), N = f_int(n), LA = f_int(a.ld), LB = f_int(m);
      dtrmm_(l, l + 1, l + 2, l + 3, &M, &N, &al, am.data(), &LA, scale.data(), &LB, 1, 1, 1, 1);
      ASSERT_TRUE(agree(b.data(), want, before, scale, m, n, m, 8.0 * double(p + 4))) << l << " m " << m << " n " << n;
    }
  });
}

// The pass-through exports: the tier's own symbol (a jump into the
// provider), counted on arrival, and the bits of the tier's ?trmm.
TEST(Level3PassThrough, TrmmJumpsArriveInTheProviderWithTheTiersBits) {
  void *tier = dlopen("libzor_tier2.so.2", RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(tier, nullptr);
  Rng rng(1300);
  const int64_t m = 70, n = 40, lda = 72, ldb = 71;
  auto run = [&](auto tag, const char *name, auto direct) {
    using E = decltype(tag);
    using Fn = void (*)(const char *, const char *, const char *, const char *, const int64_t *, const int64_t *,
                        const E *, const E *, const int64_t *, E *, const int64_t *);
    const auto jump = reinterpret_cast<Fn>(dlsym(tier, name));
    ASSERT_NE(jump, nullptr) << name;
    std::vector<E> a(size_t(lda * m)), b(size_t(ldb * n));
    for (auto &x : a) x = rng.value<E>();
    for (auto &x : b) x = rng.value<E>();
    std::vector<E> want = b;
    const E alpha = E(0.75);
    for (const char *l : {"LUNN", "RLTU"}) {
      const int64_t before = zor_core_passthrough_hits(name);
      direct(l, l + 1, l + 2, l + 3, &m, &n, &alpha, a.data(), &lda, want.data(), &ldb);
      jump(l, l + 1, l + 2, l + 3, &m, &n, &alpha, a.data(), &lda, b.data(), &ldb);
      EXPECT_EQ(zor_core_passthrough_hits(name), before + 1) << name;
      EXPECT_EQ(std::memcmp(b.data(), want.data(), b.size() * sizeof(E)), 0) << name << " " << l;
    }
  };
  run(double(), "zor_blas_xdtrmm_4yfw", zor_blas_xdtrmm);
  run(float(), "zor_blas_xstrmm_4yfw", zor_blas_xstrmm);
}

}  // namespace
