// Small factorisations against the reference unblocked routines: Cholesky
// against ?potf2 for n from 0 to 70 (every path threshold), both triangles,
// lda n and n + 3, with failing pivots planted at chosen columns.
#include <zor/lapack.h>

#include <limits>

#include "lapack/lapack_testing.hpp"

namespace {

using namespace zor::test;

using PotrfFn = void (*)(const char *, const zor_int *, void *, const zor_int *, zor_int *);
template <class E> PotrfFn our_potrf(bool lower) {
  auto cast = [](auto f) { return reinterpret_cast<PotrfFn>(f); };
  if constexpr (letter<E>() == 's') return cast(lower ? zor_lapack_ps_spotrf_l_small : zor_lapack_ps_spotrf_u_small);
  if constexpr (letter<E>() == 'd') return cast(lower ? zor_lapack_ps_dpotrf_l_small : zor_lapack_ps_dpotrf_u_small);
}
template <class E> void ref_potf2(const char *uplo, f_int n, E *a, f_int lda, f_int *info) {
  if constexpr (letter<E>() == 's') spotf2_(uplo, &n, a, &lda, info, 1);
  if constexpr (letter<E>() == 'd') dpotf2_(uplo, &n, a, &lda, info, 1);
  if constexpr (letter<E>() == 'c') cpotf2_(uplo, &n, a, &lda, info, 1);
  if constexpr (letter<E>() == 'z') zpotf2_(uplo, &n, a, &lda, info, 1);
}

// 0 to 21 and 30 to 70, thick around the paths' thresholds (20, 40, 45, 50).
std::vector<int64_t> sizes_across_thresholds() {
  std::vector<int64_t> v;
  for (int64_t n = 0; n <= 21; ++n) v.push_back(n);
  for (int64_t n : {30, 37, 38, 39, 40, 41, 43, 44, 45, 46, 48, 49, 50, 51, 60, 70}) v.push_back(n);
  return v;
}

template <class E> struct Factorisations : ::testing::Test {};
using Cholesky = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Factorisations, Cholesky);

// A Hermitian positive definite matrix B B^H + n I, stored in full.
template <class E> std::vector<E> definite(Rng &rng, int64_t n, int64_t lda) {
  const auto b = random_vector<E>(rng, size_t(n * n));
  std::vector<E> a(size_t(lda * n));
  for (int64_t j = 0; j < n; ++j)
    for (int64_t i = 0; i < n; ++i) {
      E s = i == j ? E(real_of<E>(n)) : E(0);
      for (int64_t k = 0; k < n; ++k) s += b[i + k * n] * conj_of(b[j + k * n]);
      a[i + j * lda] = i == j ? E(std::real(s)) : s;
    }
  return a;
}

TYPED_TEST(Factorisations, CholeskyMatchesTheUnblockedReference) {
  using E = TypeParam;
  using R = real_of<E>;
  Rng rng(31);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  const R nan = std::numeric_limits<R>::quiet_NaN();
  for (bool lower : {true, false}) {
    for (int64_t n : sizes_across_thresholds()) {
      for (int64_t pad : {0, 3}) {
        const int64_t lda = std::max<int64_t>(1, n + pad);
        // Plant nothing (-1), or a bad pivot at a column: negative, NaN, or an
        // exact zero (its row and column zero too).
        for (int plant = -1; plant < (n > 0 ? 3 : 0); ++plant) {
          const int64_t at = n > 0 ? rng.integer(0, n - 1) : 0;
          SCOPED_TRACE(testing::Message() << (lower ? "lower" : "upper") << " n " << n << " lda " << lda
                                          << " plant " << plant << " at " << at);
          auto a0 = definite<E>(rng, n, lda);
          if (plant == 0) a0[at + at * lda] = E(-1);
          if (plant == 1) a0[at + at * lda] = E(nan);
          if (plant == 2)
            for (int64_t k = 0; k < n; ++k) a0[at + k * lda] = a0[k + at * lda] = E(0);
          auto expect = a0, got = a0;
          f_int rinfo = 0;
          ref_potf2<E>(lower ? "L" : "U", f_int(n), expect.data(), f_int(lda), &rinfo);
          const zor_int n64 = n, lda64 = lda;
          zor_int info = plant < 0 ? 17 : 0;  // a sentinel that success keeps
          our_potrf<E>(lower)("?", &n64, got.data(), &lda64, &info);
          EXPECT_EQ(info, plant < 0 ? 17 : rinfo);
          const int64_t done = rinfo ? rinfo - 1 : n;  // factorised columns
          double diff = 0, scale = 1;
          for (int64_t j = 0; j < n; ++j)
            for (int64_t i = 0; i < lda; ++i) {
              const size_t p = size_t(i + j * lda);
              const bool mine = i < n && (lower ? i >= j : i <= j);
              if (!mine) {
                EXPECT_TRUE(same_bits(got[p], a0[p])) << "outside the triangle at " << i << ", " << j;
              } else if (std::min(i, j) < done || (i == done && j == done)) {
                diff = std::max(diff, double(std::abs(got[p] - expect[p])));
                scale = std::max(scale, double(std::abs(expect[p])));
              }
            }
          EXPECT_LT(diff / scale, 16 * (n + 1) * eps<R>());
          if (rinfo) {
            const E pivot = got[size_t(done + done * lda)];
            EXPECT_EQ(std::imag(std::complex<R>(pivot)), R(0));
            if (plant == 1) EXPECT_TRUE(std::isnan(std::real(std::complex<R>(pivot))));
          }
        }
      }
    }
  }
}

}  // namespace
