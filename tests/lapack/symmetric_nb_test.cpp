// Trapezoidal symmetric and Hermitian kernels against the reference ?symv /
// ?hemv (to rounding), ?syr2 / ?her2 and ?syr2k / ?her2k (bit for bit: a
// column's result does not depend on the others), on matrices zero outside
// the trapezoid; every alignment class; nb of 1, odd, n. Our copy of the
// matrix holds NaN wherever the kernel must not read, and everything outside
// the trapezoid must come back unchanged.
#include <zor/lapack.h>

#include <limits>

#include "lapack/lapack_testing.hpp"

namespace {

using namespace zor::test;

template <class E> struct SymmetricNb : ::testing::Test {};
using Elements = ::testing::Types<float, double, c8, c16>;
TYPED_TEST_SUITE(SymmetricNb, Elements);

template <class E> constexpr bool kHerm = is_complex_v<E>;

// The matrix a kernel works on: n by n (leading dimension ld) at a byte
// offset; the class comes from the offset and ld.
struct Shape {
  int64_t n, nb;
  bool lower;
  int64_t ld;
  size_t offset;
  bool in_trapezoid(int64_t i, int64_t j) const {
    return lower ? (i >= j && j < nb) : (i <= j && j >= n - nb);
  }
  bool in_triangle(int64_t i, int64_t j) const { return lower ? i >= j : i <= j; }
};

// Shapes for one element type: both triangles, n around the groups, nb of
// 1, odd and n, and the three alignment classes (all aligned, all 8 bytes
// off where elements allow, and an odd leading dimension).
template <class E> std::vector<Shape> shapes() {
  std::vector<Shape> out;
  const int64_t per_vector = std::max<int64_t>(1, 16 / int64_t(sizeof(E)));
  for (bool lower : {true, false})
    for (int64_t n : {1, 2, 3, 4, 5, 8, 9, 13, 33})
      for (int64_t nb : {int64_t(1), int64_t(3), n - 1, n}) {
        if (nb < 1 || nb > n) continue;
        const int64_t even = (n + per_vector - 1) / per_vector * per_vector + per_vector;
        out.push_back({n, nb, lower, even, 0});
        if (sizeof(E) >= 8) out.push_back({n, nb, lower, even, 8});
        out.push_back({n, nb, lower, even + 1, 0});
      }
  return out;
}

template <class E> E nan_of() {
  const auto q = std::numeric_limits<real_of<E>>::quiet_NaN();
  if constexpr (is_complex_v<E>) return E(q, q);
  else return q;
}

// The integer arguments of a shape, ours (64-bit) and the reference's.
struct Args {
  zor_int n, nb, ld, one = 1;
  f_int n32, ld32, one32 = 1;
  const char *uplo;
  explicit Args(const Shape &s) : n(s.n), nb(s.nb), ld(s.ld), n32(f_int(s.n)), ld32(f_int(s.ld)), uplo(s.lower ? "L" : "u") {}
  const char *ref_uplo() const { return *uplo == 'L' ? "L" : "U"; }
};

template <class E> GuardedBuffer<E> guarded(const std::vector<E> &v, size_t offset) {
  GuardedBuffer<E> g(v.size(), offset);
  for (size_t i = 0; i < v.size(); ++i) g.set(i, v[i]);
  return g;
}

// Everything outside the trapezoid unchanged, everything inside equal to the
// reference's bits.
template <class E>
void expect_trapezoid(const Shape &s, const GuardedBuffer<E> &got, const std::vector<E> &expect,
                      const std::vector<E> &before) {
  EXPECT_TRUE(got.guards_intact());
  int bad = 0;
  for (int64_t j = 0; j < s.n; ++j)
    for (int64_t i = 0; i < s.ld; ++i) {
      const size_t p = size_t(i + j * s.ld);
      const E want = i < s.n && s.in_trapezoid(i, j) ? expect[p] : before[p];
      if (!same_bits(got.get(p), want) && ++bad <= 3) ADD_FAILURE() << "element " << i << ", " << j;
    }
}

TYPED_TEST(SymmetricNb, ProductMatchesTheReference) {
  using E = TypeParam;
  using R = real_of<E>;
  Rng rng(41);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (const Shape &s : shapes<E>()) {
    for (bool zero_beta : {false, true}) {
      SCOPED_TRACE(testing::Message() << (s.lower ? "lower" : "upper") << " n " << s.n << " nb " << s.nb << " ld "
                                      << s.ld << " offset " << s.offset << " beta " << (zero_beta ? 0 : 1));
      const size_t len = size_t(s.ld * s.n);
      std::vector<E> ref_a(len, E(0)), a(len, nan_of<E>());
      for (int64_t j = 0; j < s.n; ++j)
        for (int64_t i = 0; i < s.n; ++i)
          if (s.in_trapezoid(i, j)) {
            E v = rng.value<E>();
            if constexpr (kHerm<E>)
              if (i == j) v = E(v.real(), std::numeric_limits<R>::quiet_NaN());  // not read
            ref_a[size_t(i + j * s.ld)] = a[size_t(i + j * s.ld)] = v;
          }
      const auto x = random_vector<E>(rng, size_t(s.n));
      auto y0 = random_vector<E>(rng, size_t(s.n));
      const E alpha = rng.value<E>(), beta = zero_beta ? E(0) : rng.value<E>();
      if (zero_beta) y0.assign(y0.size(), nan_of<E>());
      auto expect = y0;
      const Args g(s);
      pick<E>(ssymv_, dsymv_, chemv_, zhemv_)(g.ref_uplo(), &g.n32, &alpha, ref_a.data(), &g.ld32, x.data(), &g.one32,
                                               &beta, expect.data(), &g.one32, 1);
      auto ga = guarded(a, s.offset), gx = guarded(x, s.offset), gy = guarded(y0, s.offset);
      pick<E>(zor_lapack_ps_ssymv_nb, zor_lapack_ps_dsymv_nb, zor_lapack_ps_chemv_nb, zor_lapack_ps_zhemv_nb)(
          g.uplo, &g.n, &g.nb, &alpha, ga.data(), &g.ld, gx.data(), &g.one, &beta, gy.data(), &g.one);
      EXPECT_LT(relative_difference(gy.copy(), expect), 8 * (s.n + 1) * eps<R>());
      EXPECT_TRUE(gy.guards_intact());
    }
  }
}

TYPED_TEST(SymmetricNb, RankTwoUpdatesMatchTheReferenceBitForBit) {
  using E = TypeParam;
  Rng rng(42);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (const Shape &s : shapes<E>()) {
    SCOPED_TRACE(testing::Message() << (s.lower ? "lower" : "upper") << " n " << s.n << " nb " << s.nb << " ld "
                                    << s.ld << " offset " << s.offset);
    const size_t len = size_t(s.ld * s.n);
    const auto a0 = random_vector<E>(rng, len), x = random_vector<E>(rng, size_t(s.n)),
               y = random_vector<E>(rng, size_t(s.n));
    const E alpha = rng.value<E>();
    auto expect = a0;
    const Args g(s);
    pick<E>(ssyr2_, dsyr2_, cher2_, zher2_)(g.ref_uplo(), &g.n32, &alpha, x.data(), &g.one32, y.data(), &g.one32,
                                             expect.data(), &g.ld32, 1);
    auto ga = guarded(a0, s.offset), gx = guarded(x, s.offset), gy = guarded(y, s.offset);
    pick<E>(zor_lapack_ps_ssyr2_nb, zor_lapack_ps_dsyr2_nb, zor_lapack_ps_cher2_nb, zor_lapack_ps_zher2_nb)(
        g.uplo, &g.n, &g.nb, &alpha, gx.data(), &g.one, gy.data(), &g.one, ga.data(), &g.ld);
    expect_trapezoid(s, ga, expect, a0);
    for (int64_t k : {1, 3, 33, 40}) {
      SCOPED_TRACE(testing::Message() << "rank 2k, k " << k);
      const size_t lenk = size_t(s.ld * k);
      const auto ak = random_vector<E>(rng, lenk), bk = random_vector<E>(rng, lenk);
      auto expect_c = a0;
      const f_int k32 = f_int(k);
      const real_of<E> one = 1;  // beta, real for the Hermitian forms
      pick<E>(ssyr2k_, dsyr2k_, cher2k_, zher2k_)(g.ref_uplo(), "N", &g.n32, &k32, &alpha, ak.data(), &g.ld32, bk.data(),
                                                   &g.ld32, &one, expect_c.data(), &g.ld32, 1, 1);
      auto gc = guarded(a0, s.offset), gak = guarded(ak, s.offset), gbk = guarded(bk, s.offset);
      // trans and beta are garbage: the kernel must not read them.
      const zor_int k64 = k;
      const E nan = nan_of<E>();
      pick<E>(zor_lapack_ps_ssyr2k_nb, zor_lapack_ps_dsyr2k_nb, zor_lapack_ps_cher2k_nb, zor_lapack_ps_zher2k_nb)(
          g.uplo, "?", &g.n, &g.nb, &k64, &alpha, gak.data(), &g.ld, gbk.data(), &g.ld, &nan, gc.data(), &g.ld);
      expect_trapezoid(s, gc, expect_c, a0);
    }
  }
}

}  // namespace
