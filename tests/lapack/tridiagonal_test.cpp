// Tridiagonal kernels: the two-ended factorisation against a model of its
// steps (bit for bit, real forms) and its solves against the reference
// ?gtsv; the pivoted and positive-definite solves against the reference
// ?gtts2 and ?ptts2 after the reference factorisations (real forms bit for
// bit below four right-hand sides), with their reciprocal table under a
// failing allocator; cspr against the reference; the
// provider's machine constants against the reference.
#include <zor/lapack.h>
#include <zor/serv.h>

#include <cmath>
#include <limits>

#include "frame/qalloc_module.h"
#include "lapack/lapack_testing.hpp"

namespace {

using namespace zor::test;

// ---- our kernels and the reference's by element type
template <class E> void dttrfb(zor_int n, E *dl, E *d, E *du, zor_int *info) {
  pick<E>(zor_lapack_ps_sdttrfb, zor_lapack_ps_ddttrfb, zor_lapack_ps_cdttrfb, zor_lapack_ps_zdttrfb)(&n, dl, d, du, info);
}
template <class E>
void dttrsb(const char *t, zor_int n, zor_int nrhs, const E *dl, const E *d, const E *du, E *b, zor_int ldb,
            zor_int *info) {
  const auto f = pick<E>(zor_lapack_ps_xsdttrsb, zor_lapack_ps_xddttrsb, zor_lapack_ps_xcdttrsb, zor_lapack_ps_xzdttrsb);
  f(t, &n, &nrhs, dl, d, du, b, &ldb, info);
}
template <class E>
void dtsvb(zor_int n, zor_int nrhs, E *dl, E *d, E *du, E *b, zor_int ldb, zor_int *info) {
  const auto f = pick<E>(zor_lapack_ps_sdtsvb, zor_lapack_ps_ddtsvb, zor_lapack_ps_cdtsvb, zor_lapack_ps_zdtsvb);
  f(&n, &nrhs, dl, d, du, b, &ldb, info);
}
// ?gtts2, ours (64-bit pivots) or the reference's (32-bit).
template <class E, class I>
void gtts2(int64_t itrans, int64_t n, int64_t nrhs, const E *dl, const E *d, const E *du, const E *du2,
           const I *ipiv, E *b, int64_t ldb) {
  if constexpr (sizeof(I) == 8) {
    const zor_int t = itrans, n64 = n, r = nrhs, ld = ldb;
    pick<E>(zor_lapack_ps_sgtts2, zor_lapack_ps_dgtts2, zor_lapack_ps_cgtts2, zor_lapack_ps_zgtts2)(&t, &n64, &r, dl, d, du, du2, ipiv, b, &ld);
  } else {
    const f_int t = f_int(itrans), n32 = f_int(n), r = f_int(nrhs), ld = f_int(ldb);
    pick<E>(sgtts2_, dgtts2_, cgtts2_, zgtts2_)(&t, &n32, &r, dl, d, du, du2, ipiv, b, &ld);
  }
}
// ?ptts2, ours or the reference's (the real forms have no iuplo).
template <class E>
void ptts2(bool ours, int64_t iuplo, int64_t n, int64_t nrhs, const real_of<E> *d, const E *e, E *b, int64_t ldb) {
  const zor_int u = iuplo, n64 = n, r = nrhs, ld = ldb;
  const f_int u32 = f_int(iuplo), n32 = f_int(n), r32 = f_int(nrhs), ld32 = f_int(ldb);
  if constexpr (!is_complex_v<E>) {
    if (ours) pick<E>(zor_lapack_ps_sptts2, zor_lapack_ps_dptts2, 0, 0)(&n64, &r, d, e, b, &ld);
    else pick<E>(sptts2_, dptts2_, 0, 0)(&n32, &r32, d, e, b, &ld32);
  } else {
    if (ours) pick<E>(0, 0, zor_lapack_ps_cptts2, zor_lapack_ps_zptts2)(&u, &n64, &r, d, e, b, &ld);
    else pick<E>(0, 0, cptts2_, zptts2_)(&u32, &n32, &r32, d, e, b, &ld32);
  }
}

template <class E> struct Tridiagonal : ::testing::Test {};
using Elements = ::testing::Types<float, double, c8, c16>;
TYPED_TEST_SUITE(Tridiagonal, Elements);

// A diagonally dominant tridiagonal system.
template <class E>
struct System {
  std::vector<E> dl, d, du;
  System(Rng &rng, int64_t n) : dl(random_vector<E>(rng, n)), d(n), du(random_vector<E>(rng, n)) {
    for (auto &x : d) x = random_element<E>(rng, 3.0, 4.0);
  }
};

// The factorisation's steps as they are described: h steps alternately from
// the top and the bottom, a last top step for even n, the middle row.
template <class R>
int64_t model_two_ended(int64_t n, R *dl, R *d, R *du) {
  const int64_t h = (n - 1) / 2;
  auto bad = [](R p) { return !(p > 0 || p < 0); };
  for (int64_t i = 1; i <= h + (n > 2 * h + 1); ++i) {
    if (bad(d[i - 1])) return i;
    R r = 1 / d[i - 1];
    dl[i - 1] *= r;
    d[i] -= dl[i - 1] * du[i - 1];
    d[i - 1] = r;
    if (i > h) break;
    int64_t b = n + 1 - i;
    if (bad(d[b - 1])) return b;
    r = 1 / d[b - 1];
    dl[b - 2] *= r;
    d[b - 2] -= dl[b - 2] * du[b - 2];
    d[b - 1] = r;
  }
  if (bad(d[n - h - 1])) return n - h;
  d[n - h - 1] = 1 / d[n - h - 1];
  return 0;
}

TYPED_TEST(Tridiagonal, TwoEndedFactorsFollowTheirStepsAndStopAtTheFirstBadPivot) {
  using E = TypeParam;
  using R = real_of<E>;
  Rng rng(11);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (int64_t n = 1; n <= 12; ++n) {
    // No pivot (0), then a zero or a NaN planted at each row in turn.
    for (int64_t bad_row = 0; bad_row <= n; ++bad_row) {
      for (R planted : {R(0), std::numeric_limits<R>::quiet_NaN()}) {
        SCOPED_TRACE(testing::Message() << "n " << n << " planted at " << bad_row << " value " << planted);
        System<E> s(rng, n);
        if (bad_row) {  // cut off from its neighbours, so that it reaches its step as planted
          s.d[bad_row - 1] = E(planted);
          for (int64_t k : {bad_row - 2, bad_row - 1})
            if (k >= 0 && k < n) s.dl[k] = s.du[k] = E(0);
        }
        auto dl = s.dl, d = s.d, du = s.du;
        zor_int info = -7;
        dttrfb(n, dl.data(), d.data(), du.data(), &info);
        EXPECT_EQ(info, bad_row);
        if constexpr (!is_complex_v<E>) {
          auto mdl = s.dl, md = s.d, mdu = s.du;
          EXPECT_EQ(model_two_ended<R>(n, mdl.data(), md.data(), mdu.data()), info);
          EXPECT_TRUE(same_bits(dl, mdl) && same_bits(d, md) && same_bits(du, mdu));
        }
        // The merged one-column solve stops at the same row.
        auto b = random_vector<E>(rng, n);
        dl = s.dl, d = s.d, du = s.du;
        info = -7;
        dtsvb<E>(n, 1, dl.data(), d.data(), du.data(), b.data(), n, &info);
        EXPECT_EQ(info, bad_row);
      }
    }
  }
}

TYPED_TEST(Tridiagonal, TwoEndedSolvesMatchTheReferenceSolver) {
  using E = TypeParam;
  using R = real_of<E>;
  Rng rng(12);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  const double tol = 64 * eps<R>();
  for (int64_t n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 33}) {
    for (int64_t nrhs : {1, 2, 7, 8, 9, 17}) {
      System<E> s(rng, n);
      const int64_t ldb = n + 2;
      const auto b0 = random_vector<E>(rng, ldb * nrhs);
      auto fdl = s.dl, fd = s.d, fdu = s.du;
      zor_int info = -1;
      dttrfb(n, fdl.data(), fd.data(), fdu.data(), &info);
      ASSERT_EQ(info, 0);
      for (const char *t : {"N", "t", "C"}) {
        SCOPED_TRACE(testing::Message() << "n " << n << " nrhs " << nrhs << " trans " << t);
        // The reference on the explicitly transposed (conjugated) system.
        auto rdl = s.dl, rd = s.d, rdu = s.du, x = b0;
        if (*t != 'N') std::swap(rdl, rdu);
        if (*t == 'C')
          for (auto *v : {&rdl, &rd, &rdu})
            for (auto &e : *v) e = conj_of(e);
        f_int rinfo = 0;
        const f_int n32 = f_int(n), r32 = f_int(nrhs), ld32 = f_int(ldb);
        pick<E>(sgtsv_, dgtsv_, cgtsv_, zgtsv_)(&n32, &r32, rdl.data(), rd.data(), rdu.data(), x.data(), &ld32, &rinfo);
        ASSERT_EQ(rinfo, 0);
        auto y = b0;
        info = -1;
        dttrsb<E>(t, n, nrhs, fdl.data(), fd.data(), fdu.data(), y.data(), ldb, &info);
        EXPECT_EQ(info, 0);
        for (int64_t j = 0; j < nrhs; ++j)
          EXPECT_LT(relative_difference(y.data() + j * ldb, x.data() + j * ldb, n), tol) << "column " << j;
        for (int64_t j = 0; j < nrhs; ++j)  // rows between ldb and n untouched
          for (int64_t i = n; i < ldb; ++i) EXPECT_EQ(y[j * ldb + i], b0[j * ldb + i]);
        if (*t != 'N') continue;
        // Factor and solve in one call: the same bits as the two calls.
        auto dl = s.dl, d = s.d, du = s.du, z = b0;
        info = -1;
        dtsvb<E>(n, nrhs, dl.data(), d.data(), du.data(), z.data(), ldb, &info);
        EXPECT_EQ(info, 0);
        EXPECT_TRUE(same_bits(z, y) && same_bits(d, fd) && same_bits(dl, fdl));
      }
      // Any other letter returns with info 0 and b as it was.
      auto y = b0;
      info = -1;
      dttrsb<E>("X", n, nrhs, fdl.data(), fd.data(), fdu.data(), y.data(), ldb, &info);
      EXPECT_EQ(info, 0);
      EXPECT_TRUE(same_bits(y, b0));
    }
  }
  zor_int info = -1;
  dtsvb<E>(0, 1, nullptr, nullptr, nullptr, nullptr, 1, &info);
  EXPECT_EQ(info, 0);
}

// A general tridiagonal matrix, factored by the reference with interchanges.
template <class E>
struct PivotedFactors {
  std::vector<E> dl, d, du, du2;
  std::vector<int64_t> ipiv;
  std::vector<f_int> ipiv32;
  PivotedFactors(Rng &rng, int64_t n)
      : dl(random_vector<E>(rng, n)), d(random_vector<E>(rng, n)), du(random_vector<E>(rng, n)), du2(n),
        ipiv32(n) {
    f_int info = 0;
    const f_int n32 = f_int(n);
    pick<E>(sgttrf_, dgttrf_, cgttrf_, zgttrf_)(&n32, dl.data(), d.data(), du.data(), du2.data(), ipiv32.data(), &info);
    ipiv = widen(ipiv32);
  }
};

// The test runs with pooling off, so that every reciprocal table is a raw
// allocation of the allocator module: one taken and given back from four
// right-hand sides on (?ptts2: from n = 2), none below; with the allocator
// failing, the dividing path, which gives the reference's bits for real forms.
TYPED_TEST(Tridiagonal, PivotedAndDefiniteSolvesMatchTheReferenceAndReturnTheirTable) {
  using E = TypeParam;
  using R = real_of<E>;
  Rng rng(13);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  const double tol = 16 * eps<R>();
  for (int64_t n : {1, 2, 3, 4, 5, 7, 12, 40}) {
    for (int64_t nrhs : {1, 2, 3, 4, 5, 6, 9}) {
      const int64_t ldb = n + 1;
      const auto b0 = random_vector<E>(rng, ldb * nrhs);
      const PivotedFactors<E> f(rng, n);
      // A positive definite system: dominant positive diagonal.
      std::vector<R> d(n);
      for (auto &v : d) v = R(rng.uniform(3.0, 4.0));
      auto e = random_vector<E>(rng, n);
      f_int info = 0;
      const f_int n32 = f_int(n);
      pick<E>(spttrf_, dpttrf_, cpttrf_, zpttrf_)(&n32, d.data(), e.data(), &info);
      ASSERT_EQ(info, 0);
      for (bool failing : {false, true}) {
        // ours on y against the reference's x, with the allocator failing or not
        auto check = [&](auto &&ours, auto &&ref, bool table) {
          auto x = b0, y = b0;
          ref(x.data());
          const long mallocs = qalloc_count(QALLOC_MALLOC), frees = qalloc_count(QALLOC_FREE);
          qalloc_fail_next(failing ? 1 : 0);
          ours(y.data());
          qalloc_fail_next(0);
          EXPECT_EQ(qalloc_count(QALLOC_MALLOC) - mallocs, table ? 1 : 0);
          EXPECT_EQ(qalloc_count(QALLOC_FREE) - frees, table && !failing ? 1 : 0);
          if (!is_complex_v<E> && (nrhs < 4 || failing)) EXPECT_TRUE(same_bits(x, y));
          else EXPECT_LT(relative_difference(y, x), tol * n);
        };
        for (int64_t itrans = 0; itrans <= (is_complex_v<E> ? 2 : 1); ++itrans) {
          SCOPED_TRACE(testing::Message() << "gtts2 n " << n << " nrhs " << nrhs << " itrans " << itrans
                                          << (failing ? " failing" : ""));
          auto solve = [&](const auto *ipiv) {
            return [&, ipiv](E *b) { gtts2<E>(itrans, n, nrhs, f.dl.data(), f.d.data(), f.du.data(), f.du2.data(), ipiv, b, ldb); };
          };
          check(solve(f.ipiv.data()), solve(f.ipiv32.data()), nrhs >= 4);
        }
        for (int64_t iuplo = 0; iuplo <= (is_complex_v<E> ? 1 : 0); ++iuplo) {
          SCOPED_TRACE(testing::Message() << "ptts2 n " << n << " nrhs " << nrhs << " iuplo " << iuplo
                                          << (failing ? " failing" : ""));
          auto solve = [&](bool ours) { return [&, ours](E *b) { ptts2<E>(ours, iuplo, n, nrhs, d.data(), e.data(), b, ldb); }; };
          check(solve(true), solve(false), nrhs >= 4 && n > 1);
        }
      }
    }
  }
}

TEST(PackedSymmetricUpdate, MatchesTheReferenceForEveryStrideAndOffset) {
  Rng rng(15);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (const char *uplo : {"U", "l"}) {
    for (int64_t n : {0, 1, 2, 3, 5, 8, 9, 33}) {
      for (int64_t incx : {1, 2, -1, -3}) {
        for (size_t offset : offsets<c8>()) {
          SCOPED_TRACE(testing::Message() << uplo << " n " << n << " incx " << incx << " offset " << offset);
          const int64_t len = n * (n + 1) / 2, xlen = 1 + (n > 0 ? (n - 1) * std::abs(incx) : 0);
          auto x = random_vector<c8>(rng, xlen);
          if (n > 2) x[std::abs(incx)] = 0;  // a skipped column
          const auto ap0 = random_vector<c8>(rng, len);
          GuardedBuffer<c8> ap(len, offset);
          for (const c8 alpha : {c8(0.5f, -1.25f), c8(0, 0)}) {
            std::copy(ap0.begin(), ap0.end(), ap.data());
            auto expect = ap0;
            const f_int n32 = f_int(n), inc32 = f_int(incx);
            cspr_(uplo, &n32, &alpha, x.data(), &inc32, expect.data(), 1);
            const zor_int n64 = n, inc64 = incx;
            zor_lapack_ps_cspr(uplo, &n64, &alpha, x.data(), &inc64, ap.data());
            EXPECT_TRUE(same_bits(ap.copy(), expect) && ap.guards_intact());
          }
        }
      }
    }
  }
}

TEST(MachineConstants, ProviderAnswersAsTheReferenceForEveryByte) {
  for (int c = 1; c < 256; ++c) {
    const char letter = char(c);
    SCOPED_TRACE(testing::Message() << "byte " << c);
    const float s = zor_lapack_slamch(&letter), rs = slamch_(&letter, 1);
    const double d = zor_lapack_dlamch(&letter), rd = dlamch_(&letter, 1);
    EXPECT_TRUE(same_bits(s, rs));
    EXPECT_TRUE(same_bits(d, rd));
  }
  const double inf = std::numeric_limits<double>::infinity();
  for (double large : {1e300, inf}) {
    double small = 1e-300, rsmall = small, rlarge = large;
    zor_lapack_dlabad(&small, &large);
    dlabad_(&rsmall, &rlarge);
    EXPECT_EQ(small, rsmall);
    EXPECT_EQ(large, rlarge);
    float fsmall = 1e-30f, flarge = float(large), rfsmall = fsmall, rflarge = flarge;
    zor_lapack_slabad(&fsmall, &flarge);
    slabad_(&rfsmall, &rflarge);
    EXPECT_EQ(fsmall, rfsmall);
    EXPECT_EQ(flarge, rflarge);
  }
}

}  // namespace
