// Small factorisations against the reference unblocked routines: Cholesky
// against ?potf2 for n from 0 to 70 (every path threshold), both triangles,
// lda n and n + 3, with failing pivots planted at chosen columns;
// Bunch-Kaufman against ?sytf2, bit for bit, with each kind of pivot forced;
// ?getc2 against ?getc2 (the reference scans another way, so ties are left
// to a model of the first-in-column-order rule); ?gtsv_small against ?gtsv,
// bit for bit.
#include <zor/lapack.h>

#include <array>
#include <limits>

#include "lapack/lapack_testing.hpp"

namespace {

using namespace zor::test;

using PotrfFn = void (*)(const char *, const zor_int *, void *, const zor_int *, zor_int *);
template <class E> PotrfFn our_potrf(bool lower) {
  const auto f = pick<E>(std::array{zor_lapack_ps_spotrf_l_small, zor_lapack_ps_spotrf_u_small},
                         std::array{zor_lapack_ps_dpotrf_l_small, zor_lapack_ps_dpotrf_u_small},
                         std::array{zor_lapack_ps_cpotrf_l_small, zor_lapack_ps_cpotrf_u_small},
                         std::array{zor_lapack_ps_zpotrf_l_small, zor_lapack_ps_zpotrf_u_small});
  return reinterpret_cast<PotrfFn>(f[lower ? 0 : 1]);
}
template <class E> void ref_potf2(const char *uplo, f_int n, E *a, f_int lda, f_int *info) {
  pick<E>(spotf2_, dpotf2_, cpotf2_, zpotf2_)(uplo, &n, a, &lda, info, 1);
}

// 0 to 21 and 30 to 70, thick around the paths' thresholds (20, 40, 45, 50).
std::vector<int64_t> sizes_across_thresholds() {
  std::vector<int64_t> v;
  for (int64_t n = 0; n <= 21; ++n) v.push_back(n);
  for (int64_t n : {30, 37, 38, 39, 40, 41, 43, 44, 45, 46, 48, 49, 50, 51, 60, 70}) v.push_back(n);
  return v;
}

template <class E> struct Factorisations : ::testing::Test {};
using Cholesky = ::testing::Types<float, double, c8, c16>;
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

template <class E> void check_cholesky(bool lower, const std::vector<int64_t> &sizes) {
  using R = real_of<E>;
  Rng rng(31);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  const R nan = std::numeric_limits<R>::quiet_NaN();
  for (int64_t n : sizes) {
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

TYPED_TEST(Factorisations, CholeskyMatchesTheUnblockedReference) {
  for (bool lower : {true, false}) check_cholesky<TypeParam>(lower, sizes_across_thresholds());
}

// zpotrf_u's level-2 path under both microarchitecture answers (its gemv
// chooses kernels by them).
TEST(Factorisations, DoubleComplexUpperUnderBothKernelChoices) {
  for_both_kernels([] { check_cholesky<c16>(false, {39, 40, 41, 57}); });
}

// ---------------------------------------------------------------- Bunch-Kaufman
using SytrfFn = void (*)(const char *, const zor_int *, void *, const zor_int *, zor_int *, zor_int *);
struct SytrfForm {
  const char *name;
  bool lower, single;
  SytrfFn ours;
};
const SytrfForm kSytrf[] = {
    {"dsytrf_l", true, false, reinterpret_cast<SytrfFn>(zor_lapack_ps_dsytrf_l_small)},
    {"dsytrf_u", false, false, reinterpret_cast<SytrfFn>(zor_lapack_ps_dsytrf_u_small)},
    {"ssytrf_u", false, true, reinterpret_cast<SytrfFn>(zor_lapack_ps_ssytrf_u_small)},
    {"ssytrf_l", true, true, reinterpret_cast<SytrfFn>(zor_lapack_ps_ssytrf_l_small)},
};

// Runs ours and the reference on a (doubles, narrowed for the single
// forms) and compares matrix bits, pivots and info; returns the pivots.
std::vector<int64_t> check_sytrf(const SytrfForm &f, int64_t n, int64_t lda, const std::vector<double> &a,
                                 zor_int info0 = 0) {
  std::vector<int64_t> ipiv(size_t(std::max<int64_t>(n, 1)), -99);
  std::vector<f_int> ref_ipiv(ipiv.size());
  const zor_int n64 = n, lda64 = lda;
  const f_int n32 = f_int(n), lda32 = f_int(lda);
  f_int rinfo = 0;
  zor_int info = info0;
  const char *uplo = f.lower ? "L" : "U";
  if (f.single) {
    std::vector<float> ours(a.begin(), a.end()), ref = ours;
    f.ours(uplo, &n64, ours.data(), &lda64, ipiv.data(), &info);
    ssytf2_(uplo, &n32, ref.data(), &lda32, ref_ipiv.data(), &rinfo, 1);
    EXPECT_TRUE(same_bits(ours, ref));
  } else {
    std::vector<double> ours = a, ref = a;
    f.ours(uplo, &n64, ours.data(), &lda64, ipiv.data(), &info);
    dsytf2_(uplo, &n32, ref.data(), &lda32, ref_ipiv.data(), &rinfo, 1);
    EXPECT_TRUE(same_bits(ours, ref));
  }
  EXPECT_EQ(info, info0 ? info0 : rinfo);
  if (n > 0) EXPECT_EQ(ipiv, widen(ref_ipiv));
  return ipiv;
}

TEST(BunchKaufman, MatchesTheUnblockedReferenceBitForBit) {
  Rng rng(32);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (const SytrfForm &f : kSytrf)
    for (int64_t n : sizes_across_thresholds())
      for (int64_t pad : {0, 3}) {
        const int64_t lda = std::max<int64_t>(1, n + pad);
        SCOPED_TRACE(testing::Message() << f.name << " n " << n << " lda " << lda);
        auto a = random_vector<double>(rng, size_t(lda * n));
        // With a padded lda, entries of few magnitudes: ties in every scan,
        // where the first largest must win as in the reference.
        if (pad)
          for (auto &x : a) x = std::ldexp(rng.uniform(0, 1) < 0.5 ? -1.0 : 1.0, int(rng.integer(-1, 1)));
        // Small diagonals make every kind of pivot occur.
        for (int64_t j = 0; j < n; ++j) a[size_t(j + j * lda)] *= rng.uniform(0, 1) < 0.5 ? 0.05 : 1.0;
        check_sytrf(f, n, lda, a);
      }
}

TEST(BunchKaufman, EachKindOfPivotAndZeroColumns) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // Lower triangles of 3 by 3 matrices (column-major) that force, at the
  // first step: no interchange; none after the row test; an interchange
  // with row 2; a 2 by 2 block with rows 1 and 2.
  struct Forced {
    double a[9];
    int64_t ipiv0, ipiv1;
  };
  const Forced forced[] = {{{4, 1, 0.5, 0, 3, 0.2, 0, 0, 2}, 1, 2},
                           {{0.5, 1, 0, 0, 1, 10, 0, 0, 1}, 1, 3},
                           {{0.1, 1, 0, 0, 5, 0.1, 0, 0, 1}, 2, 2},
                           {{0.1, 1, 0.2, 0, 0.1, 0.1, 0, 0, 1}, -2, -2}};
  for (const SytrfForm &f : kSytrf)
    for (const Forced &c : forced) {
      SCOPED_TRACE(testing::Message() << f.name << " expecting " << c.ipiv0 << " " << c.ipiv1);
      // The upper forms meet the same first step on the reversed matrix.
      std::vector<double> a(9);
      for (int i = 0; i < 3; ++i)
        for (int j = 0; j <= i; ++j) {
          const double v = c.a[i + 3 * j];
          if (f.lower) a[size_t(i + 3 * j)] = v;
          else a[size_t((2 - i) + 3 * (2 - j))] = v;
        }
      const auto ipiv = check_sytrf(f, 3, 3, a);
      const int64_t first = f.lower ? ipiv[0] : ipiv[2], second = f.lower ? ipiv[1] : ipiv[1];
      auto mirror = [&](int64_t p) { return f.lower ? p : (p > 0 ? 4 - p : -(4 + p)); };
      EXPECT_EQ(first, mirror(c.ipiv0));
      if (c.ipiv0 < 0) EXPECT_EQ(second, mirror(c.ipiv1));
    }
  for (const SytrfForm &f : kSytrf) {
    SCOPED_TRACE(f.name);
    // A zero matrix: info 1 (lower) or n (upper), every ipiv its own row, nothing changed.
    const std::vector<double> zero(16, 0.0);
    EXPECT_EQ(check_sytrf(f, 4, 4, zero), (std::vector<int64_t>{1, 2, 3, 4}));
    // A zero column, and a NaN diagonal counted as one; a non-zero info is kept.
    Rng rng(33);
    auto a = random_vector<double>(rng, 36);
    for (int k = 0; k < 6; ++k) a[size_t(2 + 6 * k)] = a[size_t(k + 12)] = 0.0;
    check_sytrf(f, 6, 6, a);
    check_sytrf(f, 6, 6, a, 5);
    a[size_t(2 + 12)] = nan;
    check_sytrf(f, 6, 6, a);
  }
}

// ---------------------------------------------------------------- getc2
template <class E> void our_getc2(int64_t n, E *a, int64_t lda, int64_t *ipiv, int64_t *jpiv, int64_t *info) {
  const zor_int n64 = n, lda64 = lda;
  const auto f = pick<E>(zor_lapack_ps_sgetc2, zor_lapack_ps_dgetc2, zor_lapack_ps_cgetc2, zor_lapack_ps_zgetc2);
  f(&n64, a, &lda64, ipiv, jpiv, info);
}
template <class E> void ref_getc2(f_int n, E *a, f_int lda, f_int *ipiv, f_int *jpiv, f_int *info) {
  pick<E>(sgetc2_, dgetc2_, cgetc2_, zgetc2_)(&n, a, &lda, ipiv, jpiv, info);
}

template <class E> struct CompletePivoting : ::testing::Test {};
using AllPrecisions = ::testing::Types<float, double, c8, c16>;
TYPED_TEST_SUITE(CompletePivoting, AllPrecisions);

// Random matrices have no ties, so the pivots agree with the reference's;
// real forms agree bit for bit. Small pivots are planted by making the
// matrix nearly singular (a column a multiple of another: info n, smin in
// the last place), or tiny (every pivot small; n = 1 has no scan and takes
// smlnum).
TYPED_TEST(CompletePivoting, MatchesTheReferenceWithoutTies) {
  using E = TypeParam;
  using R = real_of<E>;
  Rng rng(35);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (int64_t n : {1, 2, 3, 4, 5, 8, 9, 16, 17, 32, 33})
    for (int kind = 0; kind < 3; ++kind) {
      const int64_t lda = n + kind;
      SCOPED_TRACE(testing::Message() << "n " << n << " kind " << kind);
      auto a = random_vector<E>(rng, size_t(lda * n));
      if (kind == 1 && n > 1)
        for (int64_t i = 0; i < n; ++i) a[size_t(i + (n - 1) * lda)] = a[size_t(i)] * R(2);
      if (kind == 2)
        for (auto &x : a) x *= std::numeric_limits<R>::min();
      auto ref = a;
      std::vector<f_int> rp(static_cast<size_t>(n)), rq(static_cast<size_t>(n));
      f_int rinfo = -1;
      ref_getc2<E>(f_int(n), ref.data(), f_int(lda), rp.data(), rq.data(), &rinfo);
      std::vector<int64_t> p(static_cast<size_t>(n)), q(static_cast<size_t>(n));
      int64_t info = -7;  // cleared first
      our_getc2<E>(n, a.data(), lda, p.data(), q.data(), &info);
      EXPECT_EQ(info, rinfo);
      EXPECT_EQ(p, widen(rp));
      EXPECT_EQ(q, widen(rq));
      if constexpr (is_complex_v<E>) EXPECT_LT(relative_difference(a, ref), 8 * n * eps<R>());
      else EXPECT_TRUE(same_bits(a, ref));
    }
}

// The pivot rule on ties: the first largest magnitude in column order from
// the diagonal. A plain model with that scan and the same arithmetic.
template <class R> void model_getc2(int64_t n, std::vector<R> &a, std::vector<int64_t> &p, std::vector<int64_t> &q) {
  auto A = [&](int64_t i, int64_t j) -> R & { return a[size_t(i + j * n)]; };
  for (int64_t i = 0; i + 1 < n; ++i) {
    int64_t ip = i, jp = i;
    for (int64_t c = i; c < n; ++c)
      for (int64_t r = i; r < n; ++r)
        if (std::fabs(A(r, c)) > std::fabs(A(ip, jp))) ip = r, jp = c;
    for (int64_t c = 0; c < n; ++c) std::swap(A(i, c), A(ip, c));
    for (int64_t r = 0; r < n; ++r) std::swap(A(r, i), A(r, jp));
    p[size_t(i)] = ip + 1, q[size_t(i)] = jp + 1;
    for (int64_t r = i + 1; r < n; ++r) A(r, i) /= A(i, i);
    for (int64_t c = i + 1; c < n; ++c)
      for (int64_t r = i + 1; r < n; ++r) A(r, c) -= A(r, i) * A(i, c);
  }
  p[size_t(n - 1)] = q[size_t(n - 1)] = n;
}

TEST(CompletePivoting, TiesGoToTheFirstInColumnOrder) {
  Rng rng(36);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  // Entries from {-2, -1, 1, 2}: many ties, every step; trailing blocks
  // of one to several register strips, in both real precisions. Some
  // matrices hold a NaN off the diagonal, which never counts as largest.
  auto ties = [&]<class R>(R) {
    for (int64_t n : {3, 4, 6, 9, 17, 20, 35})
      for (int rep = 0; rep < 12; ++rep) {
        std::vector<R> a(size_t(n * n));
        // odd reps: twos are rare, so the first largest may stand low in a column
        for (auto &x : a) x = R(rng.integer(0, rep % 2 ? 15 : 1) == 0 ? 2 : 1) * (rng.integer(0, 1) ? 1 : -1);
        if (rep % 4 == 3) a[size_t(rng.integer(1, n - 1))] = std::numeric_limits<R>::quiet_NaN();
        auto model = a;
        std::vector<int64_t> p(static_cast<size_t>(n)), q(p), mp(p), mq(p);
        int64_t info = 0;
        our_getc2<R>(n, a.data(), n, p.data(), q.data(), &info);
        model_getc2(n, model, mp, mq);
        EXPECT_EQ(p, mp) << "n " << n << " rep " << rep << " size " << sizeof(R);
        EXPECT_EQ(q, mq) << "n " << n << " rep " << rep << " size " << sizeof(R);
        if (info == 0 && rep % 4 != 3) EXPECT_TRUE(same_bits(a, model));
      }
  };
  ties(0.0f);
  ties(0.0);
}

// ---------------------------------------------------------------- gtsv_small
template <class R> struct SmallGtsv : ::testing::Test {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SmallGtsv, Reals);

TYPED_TEST(SmallGtsv, MatchesTheReferenceBitForBit) {
  using R = TypeParam;
  Rng rng(34);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (int64_t n = 0; n <= 12; ++n)
    for (int64_t nrhs : {1, 2, 3, 4, 7})
      // Random (interchanges happen), and a zero pivot planted at each row.
      for (int64_t zero_at = -1; zero_at < n; ++zero_at) {
        SCOPED_TRACE(testing::Message() << "n " << n << " nrhs " << nrhs << " zero at " << zero_at);
        const int64_t ldb = n + 1;
        auto dl = random_vector<R>(rng, size_t(n)), d = random_vector<R>(rng, size_t(n)),
             du = random_vector<R>(rng, size_t(n)), b = random_vector<R>(rng, size_t(ldb * nrhs));
        if (zero_at >= 0) {
          d[size_t(zero_at)] = 0;
          if (zero_at > 0) dl[size_t(zero_at - 1)] = du[size_t(zero_at - 1)] = 0;  // nothing fills it in
          if (zero_at + 1 < n) dl[size_t(zero_at)] = 0;
        }
        auto rdl = dl, rd = d, rdu = du, rb = b;
        f_int rinfo = 0;
        const f_int n32 = f_int(n), nrhs32 = f_int(nrhs), ldb32 = f_int(ldb);
        if constexpr (sizeof(R) == 4) sgtsv_(&n32, &nrhs32, rdl.data(), rd.data(), rdu.data(), rb.data(), &ldb32, &rinfo);
        else dgtsv_(&n32, &nrhs32, rdl.data(), rd.data(), rdu.data(), rb.data(), &ldb32, &rinfo);
        zor_int info = 17;  // written only on failure
        const zor_int n64 = n, nrhs64 = nrhs, ldb64 = ldb;
        if constexpr (sizeof(R) == 4)
          zor_lapack_ps_sgtsv_small(&n64, &nrhs64, dl.data(), d.data(), du.data(), b.data(), &ldb64, &info);
        else
          zor_lapack_ps_dgtsv_small(&n64, &nrhs64, dl.data(), d.data(), du.data(), b.data(), &ldb64, &info);
        EXPECT_EQ(info, rinfo ? rinfo : 17);
        EXPECT_TRUE(same_bits(dl, rdl) && same_bits(d, rd) && same_bits(du, rdu) && same_bits(b, rb));
      }
}

}  // namespace
