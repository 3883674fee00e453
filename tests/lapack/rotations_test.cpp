// Rotation sequences against the reference ?lasr (bit for bit, all six
// forms) and, for identity rotations over infinities and NaNs, against a
// model that computes every rotation; ?lartv against the reference; ?rot2
// and ?rot3 against models of their formulas; ?larfx against the reference
// (its own loops bit for bit). Vectors stand at every byte
// offset their elements allow, so that each peel length occurs.
#include <zor/lapack.h>

#include <array>
#include <limits>

#include "lapack/lapack_testing.hpp"

namespace {

using namespace zor::test;

// Our six forms and the reference, by element type.
template <class E>
using LasrFn = void (*)(const zor_int *, const zor_int *, const real_of<E> *, const real_of<E> *,
                        std::conditional_t<is_complex_v<E>, void, E> *, const zor_int *);
struct Form {
  const char *name;
  char pivot, direct;
};
constexpr Form kForms[6] = {{"lvf", 'V', 'F'}, {"lvb", 'V', 'B'}, {"ltf", 'T', 'F'},
                            {"ltb", 'T', 'B'}, {"lbf", 'B', 'F'}, {"lbb", 'B', 'B'}};
// clang-format off
template <class E> LasrFn<E> our_lasr(int form) {
  return pick<E>(std::array{zor_lapack_ps_slasr_lvf, zor_lapack_ps_slasr_lvb, zor_lapack_ps_slasr_ltf, zor_lapack_ps_slasr_ltb, zor_lapack_ps_slasr_lbf, zor_lapack_ps_slasr_lbb},
                 std::array{zor_lapack_ps_dlasr_lvf, zor_lapack_ps_dlasr_lvb, zor_lapack_ps_dlasr_ltf, zor_lapack_ps_dlasr_ltb, zor_lapack_ps_dlasr_lbf, zor_lapack_ps_dlasr_lbb},
                 std::array{zor_lapack_ps_clasr_lvf, zor_lapack_ps_clasr_lvb, zor_lapack_ps_clasr_ltf, zor_lapack_ps_clasr_ltb, zor_lapack_ps_clasr_lbf, zor_lapack_ps_clasr_lbb},
                 std::array{zor_lapack_ps_zlasr_lvf, zor_lapack_ps_zlasr_lvb, zor_lapack_ps_zlasr_ltf, zor_lapack_ps_zlasr_ltb, zor_lapack_ps_zlasr_lbf, zor_lapack_ps_zlasr_lbb})[size_t(form)];
}
// clang-format on
template <class E>
void ref_lasr(const Form &f, f_int m, f_int n, const real_of<E> *c, const real_of<E> *s, E *a, f_int lda) {
  pick<E>(slasr_, dlasr_, clasr_, zlasr_)("L", &f.pivot, &f.direct, &m, &n, c, s, a, &lda, 1, 1, 1);
}

// Every rotation applied as written, in sequence: rows (i, j) with i above j
// become (c a_i + s a_j, c a_j - s a_i).
template <class E>
void model_lasr(const Form &f, int64_t m, int64_t n, const real_of<E> *c, const real_of<E> *s, E *a, int64_t lda) {
  for (int64_t step = 0; step < m - 1; ++step) {
    int64_t k = f.direct == 'F' ? step : m - 2 - step;
    int64_t i = f.pivot == 'T' ? 0 : k, j = f.pivot == 'B' ? m - 1 : k + 1;
    for (int64_t col = 0; col < n; ++col) {
      E ai = a[i + col * lda], aj = a[j + col * lda];
      a[i + col * lda] = c[k] * ai + s[k] * aj;
      a[j + col * lda] = c[k] * aj - s[k] * ai;
    }
  }
}

template <class E> struct Rotations : ::testing::Test {};
using Elements = ::testing::Types<float, double, c8, c16>;
TYPED_TEST_SUITE(Rotations, Elements);

TYPED_TEST(Rotations, SequencesMatchTheReferenceBitForBit) {
  using E = TypeParam;
  using R = real_of<E>;
  Rng rng(21);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  for (int form = 0; form < 6; ++form) {
    for (int64_t m : {1, 2, 3, 7}) {
      for (int64_t n = 0; n <= 19; n += (n < 9 ? 1 : 10)) {
        for (int64_t pad : {0, 3}) {
          const int64_t lda = m + pad;
          const size_t offset = offset_at<E>(size_t(form + m + n));
          SCOPED_TRACE(testing::Message() << kForms[form].name << " m " << m << " n " << n << " lda " << lda
                                          << " offset " << offset);
          std::vector<R> c(m), s(m);
          for (int64_t k = 0; k < m; ++k) {
            R angle = R(rng.uniform(0, 6.3));
            c[k] = std::cos(angle), s[k] = std::sin(angle);
          }
          const auto a0 = random_vector<E>(rng, size_t(lda * n));
          auto expect = a0;
          if (n > 0) ref_lasr<E>(kForms[form], f_int(m), f_int(n), c.data(), s.data(), expect.data(), f_int(lda));
          GuardedBuffer<E> a(a0.size(), offset);
          std::copy(a0.begin(), a0.end(), a.data());
          const zor_int m64 = m, n64 = n, lda64 = lda;
          our_lasr<E>(form)(&m64, &n64, c.data(), s.data(), a.data(), &lda64);
          EXPECT_TRUE(same_bits(a.copy(), expect) && a.guards_intact());
        }
      }
    }
  }
}

TYPED_TEST(Rotations, IdentityRotationsAreComputed) {
  using E = TypeParam;
  using R = real_of<E>;
  const R inf = std::numeric_limits<R>::infinity(), nan = std::numeric_limits<R>::quiet_NaN();
  const int64_t m = 5, n = 11;
  for (int form = 0; form < 6; ++form) {
    SCOPED_TRACE(kForms[form].name);
    std::vector<R> c = {1, R(0.6), 1, 1, 0}, s = {0, R(0.8), 0, 0, 0};
    std::vector<E> a(m * n);
    for (int64_t i = 0; i < m * n; ++i) a[i] = E(R(i % 7) - R(3));
    a[3] = E(inf), a[m + 1] = E(-inf), a[2 * m + 4] = E(nan), a[3 * m] = E(R(-0.0));
    auto expect = a;
    model_lasr<E>(kForms[form], m, n, c.data(), s.data(), expect.data(), m);
    const zor_int m64 = m, n64 = n;
    our_lasr<E>(form)(&m64, &n64, c.data(), s.data(), a.data(), &m64);
    EXPECT_TRUE(same_bits(a, expect));
  }
}

TYPED_TEST(Rotations, VectorOfRotationsMatchesTheReference) {
  using E = TypeParam;
  using R = real_of<E>;
  Rng rng(22);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  struct Incs {
    int64_t x, y, c;
  };
  for (Incs inc : {Incs{1, 1, 1}, Incs{2, 1, 3}, Incs{1, 2, 1}, Incs{-1, 1, 2}}) {
    for (int64_t n = 0; n <= 19; n += (n < 9 ? 1 : 10)) {
      for (size_t ox : offsets<E>()) {
        const size_t oy = offset_at<E>(ox / 4 + 2), oc = offset_at<E>(ox / 4 + 1);
        SCOPED_TRACE(testing::Message() << "n " << n << " incs " << inc.x << inc.y << inc.c << " offsets " << ox
                                        << ' ' << oy << ' ' << oc);
        auto len = [&](int64_t i) { return size_t(1 + (n > 0 ? (n - 1) * std::abs(i) : 0)); };
        GuardedBuffer<E> x(len(inc.x), ox), y(len(inc.y), oy), s(len(inc.c), oc);
        GuardedBuffer<R> c(len(inc.c), oc);
        for (size_t i = 0; i < x.size(); ++i) x[i] = random_element<E>(rng);
        for (size_t i = 0; i < y.size(); ++i) y[i] = random_element<E>(rng);
        for (size_t i = 0; i < c.size(); ++i) c[i] = R(rng.uniform()), s[i] = random_element<E>(rng);
        std::vector<E> rx(x.data(), x.data() + x.size()), ry(y.data(), y.data() + y.size());
        // A negative increment starts from the element it is given, as the reference does.
        const size_t sx = inc.x < 0 ? x.size() - 1 : 0;
        const f_int n32 = f_int(n), ix = f_int(inc.x), iy = f_int(inc.y), ic = f_int(inc.c);
        pick<E>(slartv_, dlartv_, clartv_, zlartv_)(&n32, rx.data() + sx, &ix, ry.data(), &iy, c.data(), s.data(), &ic);
        const zor_int n64 = n, ix64 = inc.x, iy64 = inc.y, ic64 = inc.c;
        pick<E>(zor_lapack_ps_slartv, zor_lapack_ps_dlartv, zor_lapack_ps_clartv, zor_lapack_ps_zlartv)(
            &n64, x.data() + sx, &ix64, y.data(), &iy64, c.data(), s.data(), &ic64);
        EXPECT_TRUE(same_bits(x.copy(), rx) && same_bits(y.copy(), ry) && x.guards_intact() && y.guards_intact());
      }
    }
  }
}

TYPED_TEST(Rotations, ReflectorsOfOrderTwoAndThreeFollowTheirFormulas) {
  using E = TypeParam;
  Rng rng(23);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  const E tau = random_element<E>(rng), p = random_element<E>(rng), q = random_element<E>(rng);
  const zor_int garbage = -5;  // the increments are not read
  for (int64_t n = 0; n <= 19; n += (n < 9 ? 1 : 10)) {
    for (size_t o : offsets<E>()) {
      SCOPED_TRACE(testing::Message() << "n " << n << " offset " << o);
      GuardedBuffer<E> x(n, o), y(n, offset_at<E>(o / 4 + 1)), z(n, offset_at<E>(o / 4 + 3));
      for (int64_t i = 0; i < n; ++i)
        x[i] = random_element<E>(rng), y[i] = random_element<E>(rng), z[i] = random_element<E>(rng);
      std::vector<E> mx(x.data(), x.data() + n), my(y.data(), y.data() + n), mz(z.data(), z.data() + n);
      for (int64_t i = 0; i < n; ++i) {
        E t = (mx[i] + p * my[i]) * tau;
        mx[i] -= t, my[i] -= conj_of(p) * t;
      }
      const zor_int n64 = n;
      const auto f = pick<E>(zor_lapack_ps_srot2, zor_lapack_ps_drot2, zor_lapack_ps_crot2, zor_lapack_ps_zrot2);
      f(&n64, x.data(), &garbage, y.data(), &garbage, &tau, &p);
      EXPECT_TRUE(same_bits(x.copy(), mx) && same_bits(y.copy(), my));
      for (int64_t i = 0; i < n; ++i) {
        E t = ((mx[i] + p * my[i]) + q * mz[i]) * tau;
        mx[i] -= t, my[i] -= conj_of(p) * t, mz[i] -= conj_of(q) * t;
      }
      auto *xs = x.data(), *ys = y.data(), *zs = z.data();
      const auto f3 = pick<E>(zor_lapack_ps_srot3, zor_lapack_ps_drot3, zor_lapack_ps_crot3, zor_lapack_ps_zrot3);
      f3(&n64, xs, &garbage, ys, &garbage, zs, &garbage, &tau, &p, &q);
      EXPECT_TRUE(same_bits(x.copy(), mx) && same_bits(y.copy(), my) && same_bits(z.copy(), mz));
      EXPECT_TRUE(x.guards_intact() && y.guards_intact() && z.guards_intact());
    }
  }
}

// ---------------------------------------------------------------- larfx
template <class E> struct SmallReflector : ::testing::Test {};
using ReflectorElements = ::testing::Types<double, c8>;
TYPED_TEST_SUITE(SmallReflector, ReflectorElements);

// Orders 1 to 12 on both sides (through the own loops and past them), the
// other dimension 1 to 9 (odd row counts leave the right side's last row
// alone), padded leading dimensions.
TYPED_TEST(SmallReflector, MatchesTheReference) {
  using E = TypeParam;
  using R = real_of<E>;
  Rng rng(24);
  SCOPED_TRACE(testing::Message() << "seed " << rng.seed);
  const int largest_left = is_complex_v<E> ? 10 : 8;
  for (bool left : {true, false})
    for (int64_t order = 1; order <= 12; ++order)
      for (int64_t other : {1, 2, 5, 9}) {
        const int64_t m = left ? order : other, n = left ? other : order, ldc = m + 2;
        SCOPED_TRACE(testing::Message() << (left ? "left" : "right") << " m " << m << " n " << n);
        const auto v = random_vector<E>(rng, size_t(order));
        const E tau = random_element<E>(rng);
        auto c = random_vector<E>(rng, size_t(ldc * n)), ref = c;
        std::vector<E> work(size_t(left ? n : m)), rwork(work);
        const zor_int m64 = m, n64 = n, ldc64 = ldc;
        const f_int m32 = f_int(m), n32 = f_int(n), ldc32 = f_int(ldc);
        const char *side = left ? "l" : "R";
        if constexpr (is_complex_v<E>) {
          zor_lapack_ps_clarfx(side, &m64, &n64, v.data(), &tau, c.data(), &ldc64, work.data());
          clarfx_(side, &m32, &n32, v.data(), &tau, ref.data(), &ldc32, rwork.data(), 1);
        } else {
          zor_lapack_ps_dlarfx(side, &m64, &n64, v.data(), &tau, c.data(), &ldc64, work.data());
          dlarfx_(side, &m32, &n32, v.data(), &tau, ref.data(), &ldc32, rwork.data(), 1);
        }
        if (order <= (left ? largest_left : 10)) EXPECT_TRUE(same_bits(c, ref));
        else EXPECT_LT(relative_difference(c, ref), 4 * order * eps<R>());
      }
  // tau = 0: nothing changes, and v (all NaN) is not read.
  for (int64_t order : {1, 5, 12}) {
    const std::vector<E> v(size_t(order), E(std::numeric_limits<R>::quiet_NaN()));
    const E tau = E(0);
    const auto c0 = random_vector<E>(rng, size_t(order * order));
    auto c = c0;
    std::vector<E> work(static_cast<size_t>(order));
    const zor_int n64 = order;
    for (const char *side : {"L", "R"}) {
      if constexpr (is_complex_v<E>) zor_lapack_ps_clarfx(side, &n64, &n64, v.data(), &tau, c.data(), &n64, work.data());
      else zor_lapack_ps_dlarfx(side, &n64, &n64, v.data(), &tau, c.data(), &n64, work.data());
      EXPECT_TRUE(same_bits(c, c0));
    }
  }
}

}  // namespace
