// The symmetric and Hermitian operations of the four precisions against the
// reference BLAS, in both kernel rows: every side, triangle and
// transposition, shapes across each point where the route changes (the
// rank-k split orders, diagonal blocks of 256 / 128 and slices of 5000, the
// rank-2k blocks of 128, the direct kernel's squares of 32 and depth blocks
// of 72), odd leading dimensions, beta 0 over NaN, alpha 0 over NaN in A,
// beta 3 (applied twice it leaves every bound), Hermitian diagonals entering
// with imaginary parts.
#include <limits>

#include "level3_testing.hpp"

namespace {

using namespace zor::test;

template <class E>
class Level3Symmetric : public ::testing::Test {};
using Elements = ::testing::Types<float, double, Cx<float>, Cx<double>>;
TYPED_TEST_SUITE(Level3Symmetric, Elements);

template <class E>
std::vector<bool> hermitian_forms() {
  if constexpr (is_complex_v<E>) return {false, true};
  else return {false};
}

// A filled matrix and its copy; NaN everywhere when asked.
template <class E>
Matrix<E> operand(int64_t rows, int64_t cols, int64_t pad, Rng &rng, bool nan = false) {
  const int64_t ld = rows + pad > 0 ? rows + pad : 1;
  Matrix<E> x(ld, cols, ld);
  x.fill(rng);
  if (nan)
    for (size_t i = 0; i < x.buf.size(); ++i) x.buf[i] = E(std::numeric_limits<real_of<E>>::quiet_NaN());
  return x;
}

// C with a NaN-filled matrix region when beta is 0; ours and the reference
// on copies, the bound from the operation on magnitudes.
template <class E, class Run, class Magnitude>
void compare(Matrix<E> &c, int64_t rows, int64_t cols, E beta, double factor, Run &&run, Magnitude &&scale_of) {
  if (beta == E(0))
    for (int64_t j = 0; j < cols; ++j)
      for (int64_t i = 0; i < rows; ++i) c.at(i, j) = E(std::numeric_limits<real_of<E>>::quiet_NaN());
  const std::vector<E> before(c.data(), c.data() + c.buf.size());
  std::vector<E> want = before;
  run(false, want.data());
  run(true, c.data());
  const std::vector<double> scale = scale_of(magnitudes(before.data(), before.size()));
  ASSERT_TRUE(c.buf.guards_intact());
  ASSERT_TRUE(agree(c.data(), want, before, scale, rows, cols, c.ld, factor));
}

// The bound of a rank-k update (rank 2k with b): the same update on
// magnitudes, alpha 0 reading no A.
template <class E>
std::vector<double> rank_bound(std::vector<double> cm, char uplo, char trans, int64_t n, int64_t k, E alpha, E beta,
                               Matrix<E> &a, std::type_identity_t<Matrix<E>> *b, int64_t ldc) {
  std::vector<double> am = magnitudes(a.data(), a.buf.size());
  if (alpha == E(0)) am.assign(am.size(), 0.0);
  const double al = magnitude(alpha), be = beta == E(0) ? 0.0 : magnitude(beta);
  const char t = trans == 'N' ? 'N' : 'T';
  f_int N = f_int(n), K = f_int(k), LA = f_int(a.ld), LC = f_int(ldc);
  if (b) {
    std::vector<double> bm = magnitudes(b->data(), b->buf.size());
    f_int LB = f_int(b->ld);
    dsyr2k_(&uplo, &t, &N, &K, &al, am.data(), &LA, bm.data(), &LB, &be, cm.data(), &LC, 1, 1);
  } else {
    dsyrk_(&uplo, &t, &N, &K, &al, am.data(), &LA, &be, cm.data(), &LC, 1, 1);
  }
  return cm;
}

TYPED_TEST(Level3Symmetric, SymmetricAndHermitianMultiply) {
  using E = TypeParam;
  const int64_t block = sizeof(E) == 16 ? 128 : 256;
  struct Shape { int64_t order, other; };
  const Shape shapes[] = {{1, 1}, {7, 5}, {block - 1, 3}, {block, 2}, {block + 1, 9}, {300, 17}, {3, 5001}};
  for (int row : {0, 1}) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    Rng rng(700 + row);
    SCOPED_TRACE(testing::Message() << "seed " << rng.seed << " row " << row);
    for (bool herm : hermitian_forms<E>())
      for (char side : {'L', 'R'})
        for (char uplo : {'U', 'L'})
          for (const Shape &s : shapes)
            for (auto [alpha, beta] : scalar_pairs<E>(rng)) {
              const int64_t m = side == 'L' ? s.order : s.other, n = side == 'L' ? s.other : s.order;
              const int64_t pad = (m + n) % 3;
              SCOPED_TRACE(testing::Message() << "herm " << herm << " " << side << uplo << " m " << m << " n " << n
                                              << " alpha " << alpha << " beta " << beta);
              Matrix<E> a = operand<E>(s.order, s.order, pad, rng, alpha == E(0));
              Matrix<E> b = operand<E>(m, n, pad + 1, rng), c = operand<E>(m, n, pad, rng);
              if (herm)  // a diagonal with imaginary parts, which must be ignored
                for (int64_t i = 0; i < s.order && alpha != E(0); ++i) a.at(i, i) = with_imag(a.at(i, i), 5);
              compare(c, m, n, beta, 4.0 * (s.order + 4),
                      [&](bool ours, E *cc) {
                        L3<E>::symm(ours, herm, side, uplo, m, n, alpha, a.data(), a.ld, b.data(), b.ld, beta, cc, c.ld);
                      },
                      [&](std::vector<double> cm) {
                        std::vector<double> am = magnitudes(a.data(), a.buf.size()), bm = magnitudes(b.data(), b.buf.size());
                        const double al = magnitude(alpha), be = beta == E(0) ? 0.0 : magnitude(beta);
                        f_int M = f_int(m), N = f_int(n), LA = f_int(a.ld), LB = f_int(b.ld), LC = f_int(c.ld);
                        if (alpha == E(0)) am.assign(am.size(), 0.0);
                        dsymm_(&side, &uplo, &M, &N, &al, am.data(), &LA, bm.data(), &LB, &be, cm.data(), &LC, 1, 1);
                        return cm;
                      });
            }
  }
}

// Rank k and 2k: orders through the small driver's and the five-way split's
// thresholds, and past the direct kernel's squares; depths 0, 1, one and
// several depth blocks.
TYPED_TEST(Level3Symmetric, RankKAndRank2KUpdates) {
  using E = TypeParam;
  const int64_t orders[] = {1, 4, 5, 11, 12, 16, 19, 20, 21, 33, 70, 100, 127, 128, 129};
  const int64_t depths[] = {0, 1, 9, 73, 150};
  for (int row : {0, 1}) {
    ForcedAnswer force(ZOR_CORE_CPUHASQLX, row);
    Rng rng(800 + row);
    SCOPED_TRACE(testing::Message() << "seed " << rng.seed << " row " << row);
    for (bool herm : hermitian_forms<E>())
      for (char uplo : {'U', 'L'})
        for (char trans : {'N', is_complex_v<E> ? (herm ? 'C' : 'T') : 'C'})
          for (int64_t n : orders)
            for (int64_t k : depths) {
              if ((n * 7 + k) % 3 == 1 && n > 21) continue;  // thin the larger orders
              auto pairs = scalar_pairs<E>(rng);
              const auto [alpha, beta] = pairs[size_t(n + k) % pairs.size()];
              const E ra = herm ? E(std::real(alpha)) : alpha, rb = herm ? E(std::real(beta)) : beta;
              const int64_t rows = trans == 'N' ? n : k, cols = trans == 'N' ? k : n, pad = (n + k) % 3;
              SCOPED_TRACE(testing::Message() << "herm " << herm << " " << uplo << trans << " n " << n << " k " << k
                                              << " alpha " << ra << " beta " << rb);
              Matrix<E> a = operand<E>(rows, cols, pad, rng, ra == E(0)), b = operand<E>(rows, cols, pad + 1, rng);
              for (bool two : {false, true}) {
                Matrix<E> c = operand<E>(n, n, pad, rng);
                if (herm)
                  for (int64_t i = 0; i < n; ++i) c.at(i, i) = with_imag(c.at(i, i), 7);
                compare(c, n, n, rb, 8.0 * (k + 4),
                        [&](bool ours, E *cc) {
                          if (two) L3<E>::syr2k(ours, herm, uplo, trans, n, k, ra, a.data(), a.ld, b.data(), b.ld, rb, cc, c.ld);
                          else L3<E>::syrk(ours, herm, uplo, trans, n, k, ra, a.data(), a.ld, rb, cc, c.ld);
                        },
                        [&](std::vector<double> cm) {
                          return rank_bound(std::move(cm), uplo, trans, n, k, ra, rb, a, two ? &b : nullptr, c.ld);
                        });
              }
            }
  }
}

// The direct kernels alone: the _pst routine of each precision on orders
// around its squares of 32 and depths around its blocks of 72, and d's
// kernel of order 4, against the reference rank-k update.
TYPED_TEST(Level3Symmetric, DirectKernels) {
  using E = TypeParam;
  using R = real_of<E>;
  Rng rng(900);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (bool herm : hermitian_forms<E>())
    for (char uplo : {'U', 'L'})
      for (char trans : {'N', 'T'})
        for (int64_t n : {3, 4, 31, 32, 33, 65})
          for (int64_t k : {0, 2, 71, 72, 145}) {
            const char t = herm && trans == 'T' ? 'C' : trans;
            const int64_t rows = t == 'N' ? n : k, cols = t == 'N' ? k : n;
            auto [alpha, beta] = scalar_pairs<E>(rng)[size_t(k + n) % 4];
            if (herm) alpha = E(std::real(alpha)), beta = E(std::real(beta));
            Matrix<E> a = operand<E>(rows, cols, 1, rng, alpha == E(0));
            for (bool four : {false, true}) {
              if (four && (n != 4 || !std::is_same_v<E, double>)) continue;
              Matrix<E> c = operand<E>(n, n, 2, rng);
              SCOPED_TRACE(testing::Message() << herm << uplo << t << " n " << n << " k " << k << " four " << four);
              compare(c, n, n, beta, 8.0 * (k + 4),
                      [&](bool ours, E *cc) {
                        if (!ours) return L3<E>::syrk(false, herm, uplo, t, n, k, alpha, a.data(), a.ld, beta, cc, c.ld);
                        const char u[2] = {uplo, 0}, tr[2] = {t, 0};
                        const int64_t lda = a.ld, ldc = c.ld;
                        const R ra = std::real(alpha), rb = std::real(beta);
                        if constexpr (is_complex_v<E>) {
                          if (herm) pick<E>(nullptr, nullptr, zor_blas_cherk_pst, zor_blas_zherk_pst)(u, tr, &n, &k, &ra, arg(a.data()), &lda, &rb, arg(cc), &ldc);
                          else pick<E>(nullptr, nullptr, zor_blas_csyrk_pst, zor_blas_zsyrk_pst)(u, tr, &n, &k, arg(&alpha), arg(a.data()), &lda, arg(&beta), arg(cc), &ldc);
                        } else {
                          auto f = four ? pick<E>(nullptr, zor_blas_dsyrk_4k, nullptr, nullptr) : pick<E>(zor_blas_ssyrk_pst, zor_blas_dsyrk_pst, nullptr, nullptr);
                          f(u, tr, &n, &k, &alpha, a.data(), &lda, &beta, cc, &ldc);
                        }
                      },
                      [&](std::vector<double> cm) {
                        return rank_bound(std::move(cm), uplo, t, n, k, alpha, beta, a, nullptr, c.ld);
                      });
            }
          }
}

}  // namespace
