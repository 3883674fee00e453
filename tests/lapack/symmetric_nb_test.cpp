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

template <class E> void ours_symv(const Shape &s, E alpha, const E *a, const E *x, E beta, E *y) {
  const zor_int n = s.n, nb = s.nb, lda = s.ld, one = 1;
  const char *uplo = s.lower ? "L" : "u";
  const auto f = pick<E>(zor_lapack_ps_ssymv_nb, zor_lapack_ps_dsymv_nb, zor_lapack_ps_chemv_nb, zor_lapack_ps_zhemv_nb);
  f(uplo, &n, &nb, &alpha, a, &lda, x, &one, &beta, y, &one);
}
template <class E> void ref_symv(const Shape &s, E alpha, const E *a, const E *x, E beta, E *y) {
  const f_int n = f_int(s.n), lda = f_int(s.ld), one = 1;
  const char *uplo = s.lower ? "L" : "U";
  pick<E>(ssymv_, dsymv_, chemv_, zhemv_)(uplo, &n, &alpha, a, &lda, x, &one, &beta, y, &one, 1);
}
template <class E> void ours_syr2(const Shape &s, E alpha, const E *x, const E *y, E *a) {
  const zor_int n = s.n, nb = s.nb, lda = s.ld, one = 1;
  const char *uplo = s.lower ? "l" : "U";
  const auto f = pick<E>(zor_lapack_ps_ssyr2_nb, zor_lapack_ps_dsyr2_nb, zor_lapack_ps_cher2_nb, zor_lapack_ps_zher2_nb);
  f(uplo, &n, &nb, &alpha, x, &one, y, &one, a, &lda);
}
template <class E> void ref_syr2(const Shape &s, E alpha, const E *x, const E *y, E *a) {
  const f_int n = f_int(s.n), lda = f_int(s.ld), one = 1;
  const char *uplo = s.lower ? "L" : "U";
  pick<E>(ssyr2_, dsyr2_, cher2_, zher2_)(uplo, &n, &alpha, x, &one, y, &one, a, &lda, 1);
}
// trans and beta are garbage: the kernel must not read them.
template <class E> void ours_syr2k(const Shape &s, int64_t k, E alpha, const E *a, const E *b, E *c) {
  const zor_int n = s.n, nb = s.nb, kk = k, ld = s.ld;
  const char *uplo = s.lower ? "L" : "U";
  const E beta = nan_of<E>();
  const auto f = pick<E>(zor_lapack_ps_ssyr2k_nb, zor_lapack_ps_dsyr2k_nb, zor_lapack_ps_cher2k_nb, zor_lapack_ps_zher2k_nb);
  f(uplo, "?", &n, &nb, &kk, &alpha, a, &ld, b, &ld, &beta, c, &ld);
}
template <class E> void ref_syr2k(const Shape &s, int64_t k, E alpha, const E *a, const E *b, E *c) {
  const f_int n = f_int(s.n), kk = f_int(k), ld = f_int(s.ld);
  const char *uplo = s.lower ? "L" : "U";
  const real_of<E> one = 1;
  const E beta = E(one);
  if constexpr (letter<E>() == 's') ssyr2k_(uplo, "N", &n, &kk, &alpha, a, &ld, b, &ld, &beta, c, &ld, 1, 1);
  if constexpr (letter<E>() == 'd') dsyr2k_(uplo, "N", &n, &kk, &alpha, a, &ld, b, &ld, &beta, c, &ld, 1, 1);
  if constexpr (letter<E>() == 'c') cher2k_(uplo, "N", &n, &kk, &alpha, a, &ld, b, &ld, &one, c, &ld, 1, 1);
  if constexpr (letter<E>() == 'z') zher2k_(uplo, "N", &n, &kk, &alpha, a, &ld, b, &ld, &one, c, &ld, 1, 1);
}

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
      ref_symv<E>(s, alpha, ref_a.data(), x.data(), beta, expect.data());
      auto ga = guarded(a, s.offset), gx = guarded(x, s.offset), gy = guarded(y0, s.offset);
      ours_symv<E>(s, alpha, ga.data(), gx.data(), beta, gy.data());
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
    ref_syr2<E>(s, alpha, x.data(), y.data(), expect.data());
    auto ga = guarded(a0, s.offset), gx = guarded(x, s.offset), gy = guarded(y, s.offset);
    ours_syr2<E>(s, alpha, gx.data(), gy.data(), ga.data());
    expect_trapezoid(s, ga, expect, a0);
    for (int64_t k : {1, 3, 33, 40}) {
      SCOPED_TRACE(testing::Message() << "rank 2k, k " << k);
      const size_t lenk = size_t(s.ld * k);
      const auto ak = random_vector<E>(rng, lenk), bk = random_vector<E>(rng, lenk);
      auto expect_c = a0;
      ref_syr2k<E>(s, k, alpha, ak.data(), bk.data(), expect_c.data());
      auto gc = guarded(a0, s.offset), gak = guarded(ak, s.offset), gbk = guarded(bk, s.offset);
      ours_syr2k<E>(s, k, alpha, gak.data(), gbk.data(), gc.data());
      expect_trapezoid(s, gc, expect_c, a0);
    }
  }
}

}  // namespace
