// General matrix-vector products against the reference BLAS: random shapes,
// transpositions, leading dimensions, increments, byte offsets of every
// operand (4 bytes off included) and the special values of alpha and beta,
// with guards around y. Real 'N' adds the columns in order and must agree
// bit for bit; the transposed sums follow their own order, which a model of
// it checks exactly. The mixed products run against the complex reference
// on the matrix widened to complex.
#include <zor/blas.h>

#include "level2_testing.hpp"

namespace zor::test::level2 {
namespace {

// One random call: the shape, the layout of every operand and the scalars.
struct Case {
  char trans;
  int64_t m, n, lda, incx, incy;
  size_t off_a, off_x, off_y;
  int alpha_kind, beta_kind;  // 0: zero, 1: one, 2: random
  bool no_trans() const { return trans == 'N' || trans == 'n'; }
  int64_t lenx() const { return no_trans() ? n : m; }
  int64_t leny() const { return no_trans() ? m : n; }
};
std::ostream &operator<<(std::ostream &o, const Case &c) {
  return o << c.trans << " m " << c.m << " n " << c.n << " lda " << c.lda << " incx " << c.incx << " incy "
           << c.incy << " offsets " << c.off_a << " " << c.off_x << " " << c.off_y;
}

Case random_case(Rng &rng) {
  static const int64_t sizes[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 13, 15, 16, 17, 25, 31, 33, 64, 127, 128, 129};
  static const int64_t incs[] = {1, 1, 1, -1, 2, -3};
  static const char transes[] = {'N', 'n', 'T', 't', 'C'};
  Case c;
  c.trans = transes[rng.integer(0, 4)];
  c.m = sizes[rng.integer(0, 19)];
  c.n = sizes[rng.integer(0, 19)];
  if (rng.integer(0, 9) == 0) c.m = 990 + rng.integer(0, 1100), c.n = rng.integer(1, 9);
  c.lda = std::max<int64_t>(1, c.m) + rng.integer(0, 3);
  c.incx = incs[rng.integer(0, 5)];
  c.incy = incs[rng.integer(0, 5)];
  c.off_a = random_offset(rng), c.off_x = random_offset(rng), c.off_y = random_offset(rng);
  c.alpha_kind = int(rng.integer(0, 5) < 1 ? 0 : rng.integer(1, 2));
  c.beta_kind = int(rng.integer(0, 2));
  return c;
}

// The routines under test and their oracles, by the element type of the
// vectors E and of the matrix A (real A with complex E: the mixed forms).
template <class E, class A>
void ours(const Case &c, E alpha, const A *a, const E *x, E beta, E *y) {
  const int64_t m = c.m, n = c.n, lda = c.lda, ix = c.incx, iy = c.incy;
  if constexpr (std::is_same_v<A, double> && std::is_same_v<E, double>) zor_blas_xdgemv(&c.trans, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy);
  else if constexpr (std::is_same_v<A, float> && std::is_same_v<E, float>) zor_blas_xsgemv(&c.trans, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy);
  else if constexpr (std::is_same_v<A, cdouble>) zor_blas_xzgemv(&c.trans, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy);
  else if constexpr (std::is_same_v<A, cfloat>) zor_blas_xcgemv(&c.trans, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy);
  else if constexpr (std::is_same_v<A, double>) zor_blas_dzgemv(&c.trans, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy);
  else zor_blas_scgemv(&c.trans, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy);
}
template <class E>
void reference(const Case &c, E alpha, const E *a, const E *x, E beta, E *y) {
  const f_int m = f_int(c.m), n = f_int(c.n), lda = f_int(c.lda), ix = f_int(c.incx), iy = f_int(c.incy);
  if constexpr (std::is_same_v<E, double>) dgemv_(&c.trans, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy, 1);
  else if constexpr (std::is_same_v<E, float>) sgemv_(&c.trans, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy, 1);
  else if constexpr (std::is_same_v<E, cdouble>) zgemv_(&c.trans, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy, 1);
  else cgemv_(&c.trans, &m, &n, &alpha, a, &lda, x, &ix, &beta, y, &iy, 1);
}

// beta = 0 never reads y, so NaN there must vanish. Results equal the
// reference bit for bit where the order of summation is the reference's
// (real 'N', alpha 0, elements between strides), else within a bound of a
// few units per term.
template <class E, class A>
void differential(uint64_t seed, int trials) {
  using R = real_of<E>;
  Rng rng(seed);
  for (int trial = 0; trial < trials; ++trial) {
    const Case c = random_case(rng);
    SCOPED_TRACE(testing::Message() << "seed " << seed << " trial " << trial << ": " << c);
    GuardedBuffer<A> a(size_t(std::max<int64_t>(1, c.lda * c.n)), c.off_a);
    GuardedBuffer<E> x(size_t(span(c.lenx(), c.incx)), c.off_x), y(size_t(span(c.leny(), c.incy)), c.off_y);
    std::vector<E> wide(a.size());
    for (size_t i = 0; i < a.size(); ++i) a.set(i, rng.value<A>()), wide[i] = E(a.get(i));
    for (size_t i = 0; i < x.size(); ++i) x.set(i, rng.value<E>());
    const E alpha = scalar<E>(rng, c.alpha_kind), beta = scalar<E>(rng, c.beta_kind);
    for (size_t i = 0; i < y.size(); ++i) y.set(i, beta == E(0) ? E(R(NAN)) : rng.value<E>());
    const std::vector<E> xs = x.copy();
    std::vector<E> want = y.copy();
    ours<E, A>(c, alpha, a.data(), x.data(), beta, y.data());
    if (c.m > 0 && c.n > 0) reference<E>(c, alpha, wide.data(), xs.data(), beta, want.data());
    ASSERT_TRUE(y.guards_intact());
    const bool exact = !is_complex_v<E> && (c.no_trans() || c.alpha_kind == 0);
    const R tol = R(16) * R(c.m + 4) * eps<R>() * (R(4) + std::abs(beta));
    for (size_t i = 0; i < y.size(); ++i) {
      const E got = y.get(i);
      if (same_bits(got, want[i])) continue;
      ASSERT_FALSE(exact) << i << ": " << got << " vs " << want[i];
      ASSERT_TRUE(close(got, want[i], R(1), double(tol / eps<R>()))) << i << ": " << got << " vs " << want[i];
    }
  }
}

TEST(Gemv, RealAgreesWithReference) {
  differential<double, double>(20261122, 3000);
  differential<float, float>(5150, 3000);
}
TEST(Gemv, ComplexAgreesWithReference) {
  differential<cdouble, cdouble>(606, 1500);
  differential<cfloat, cfloat>(707, 1500);
}
TEST(Gemv, MixedAgreesWithWidenedReference) {
  differential<cdouble, double>(404, 1500);
  differential<cfloat, float>(505, 1500);
}

// The transposed double product: per column two lanes, the first row alone
// in lane 0 when the matrix base is 8 bytes off a 16-byte boundary, then
// rows in pairs, a last odd row in lane 0; y + (alpha lane0 + alpha lane1),
// once per chunk of 1000 rows when an increment is not 1.
double transposed_model(int64_t m, const double *col, bool peel, const double *x, int64_t incx, double alpha,
                        double y, bool chunked) {
  const int64_t chunk = chunked ? 1000 : m;
  for (int64_t ib = 0; ib < m; ib += chunk) {
    const int64_t rows = std::min(chunk, m - ib);
    double lane[2] = {0.0, 0.0};
    int64_t i = 0;
    if (peel && rows > 0) lane[0] = lane[0] + col[ib] * x[ib * incx], i = 1;
    for (; i + 2 <= rows; i += 2)
      for (int k = 0; k < 2; ++k) lane[k] = lane[k] + col[ib + i + k] * x[(ib + i + k) * incx];
    if (i < rows) lane[0] = lane[0] + col[ib + i] * x[(ib + i) * incx];
    y = y + (alpha * lane[0] + alpha * lane[1]);
  }
  return y;
}

TEST(Gemv, DoubleTransposedSumOrder) {
  Rng rng(77);
  for (int64_t m : {5, 37, 2500})
    for (int64_t incx : {1, 2})
      for (size_t off : {0, 8})
        for (int64_t lda : {m, m + 1}) {
          SCOPED_TRACE(testing::Message() << "m " << m << " incx " << incx << " off " << off << " lda " << lda);
          const int64_t n = 7, one = 1;
          GuardedBuffer<double> a(size_t(lda * n), off);
          std::vector<double> x(size_t(span(m, incx))), y(n), want(n);
          // Magnitudes over many binades, so that another order rounds differently.
          for (size_t i = 0; i < a.size(); ++i) a[i] = std::ldexp(rng.uniform(), int(rng.integer(-30, 30)));
          for (auto &v : x) v = rng.uniform();
          for (auto &v : y) v = rng.uniform();
          const double alpha = 0.7, beta = 1.0;
          int differ = 0;  // the data tell the orders apart: another order's model differs somewhere
          for (int64_t j = 0; j < n; ++j) {
            want[j] = transposed_model(m, a.data() + j * lda, off == 8, x.data(), incx, alpha, y[j], incx != 1);
            differ += !same_bits(want[j], transposed_model(m, a.data() + j * lda, off != 8, x.data(), incx, alpha,
                                                           y[j], m > 1000 && incx == 1));
          }
          EXPECT_GT(differ, 0);
          zor_blas_xdgemv("T", &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &one);
          for (int64_t j = 0; j < n; ++j) ASSERT_TRUE(same_bits(y[j], want[j])) << j << ": " << y[j] << " vs " << want[j];
        }
}

// alpha = 0 reads neither a nor x (nor forms x's far end: an n near 2^62
// with a negative increment must not overflow); an increment of 0 on y
// scales its one element len times. (Sizes of 0 and alpha 0 otherwise: the
// random cases above.)
TEST(Gemv, FrameBeforeTheProduct) {
  int64_t m = 5, n = 3, zero = 0, one = 1, lda = 5, huge = int64_t(1) << 62, back = -7;
  double y[2] = {1, 3}, alpha = 0, beta = 2;
  float ys = 1, alphas = 0, betas = 2;
  zor_blas_xdgemv("T", &m, &n, &alpha, nullptr, &lda, nullptr, &one, &beta, y, &zero);
  EXPECT_EQ(y[0], 8.0);
  zor_blas_xsgemv("N", &m, &n, &alphas, nullptr, &lda, nullptr, &one, &betas, &ys, &zero);
  EXPECT_EQ(ys, 32.0f);
  beta = 0.5;
  zor_blas_xdgemv("N", &one, &huge, &alpha, nullptr, &lda, nullptr, &back, &beta, y + 1, &one);
  EXPECT_EQ(y[1], 1.5);
}

// The provider's checked entries: forward to the kernel (any case of the
// letter, a long text read at its first byte; for real data any letter but
// 'N' transposes), quick returns writing nothing; each bad argument reported
// with the routine's name and its position, nothing written.
template <class E>
E value(double re, double im) {
  if constexpr (is_complex_v<E>) return E(re, im);
  else return E(re);
}
template <class E>
E conj_of(E v) {
  if constexpr (is_complex_v<E>) return std::conj(v);
  else return v;
}

TEST(Gemv, CheckedEntries) {
  for_each_type([]<class E>() {
    const std::string routine = pick<E>("SGEMV", "DGEMV", "CGEMV", "ZGEMV");
    const E a[6] = {value<E>(1, 1), value<E>(2, 0), value<E>(0, 3), value<E>(1, -1), value<E>(2, 2), value<E>(0, 1)};
    const E x[3] = {value<E>(1, 0), value<E>(0, 1), value<E>(1, 1)}, alpha = value<E>(1, 0), beta = E(0);
    auto call = [&](const char *t, int64_t m, int64_t n, int64_t lda, int64_t incx, int64_t incy, E *y) {
      testing::internal::CaptureStderr();
      pick<E>(zor_blas_sgemv, zor_blas_dgemv, zor_blas_cgemv, zor_blas_zgemv)(t, &m, &n, &alpha, a, &lda, x, &incx,
                                                                              &beta, y, &incy, 3);
      return testing::internal::GetCapturedStderr();
    };
    E y[3] = {E(7), E(7), E(7)};
    EXPECT_EQ(call("No transpose", 2, 3, 2, 1, 1, y), "");
    EXPECT_EQ(y[0], a[0] * x[0] + a[2] * x[1] + a[4] * x[2]);
    EXPECT_EQ(y[1], a[1] * x[0] + a[3] * x[1] + a[5] * x[2]);
    EXPECT_EQ(call("c", 2, 3, 2, 1, -1, y), "");  // y runs backwards: y[2] is column 0's
    EXPECT_EQ(y[2], conj_of(a[0]) * x[0] + conj_of(a[1]) * x[1]);
    EXPECT_EQ(y[0], conj_of(a[4]) * x[0] + conj_of(a[5]) * x[1]);
    struct Bad {
      const char *t;
      int64_t m, n, lda, incx, incy;
      int position;
    } bad[] = {{"Q", 2, 3, 2, 1, 1, 1}, {"N", -1, 3, 2, 1, 1, 2}, {"T", 2, -3, 2, 1, 1, 3}, {"N", 2, 3, 1, 1, 1, 6},
               {"N", 0, 3, 0, 1, 1, 6}, {"N", 2, 3, 2, 0, 1, 8}, {"C", 2, 3, 2, 1, 0, 11}};
    for (const Bad &b : bad) {
      E z[3] = {E(7), E(7), E(7)};
      const std::string text = call(b.t, b.m, b.n, b.lda, b.incx, b.incy, z);
      EXPECT_NE(text.find(routine + " parameter number " + std::to_string(b.position)), std::string::npos) << text;
      for (E v : z) EXPECT_EQ(v, E(7));
    }
    E z[3] = {E(7), E(7), E(7)};  // an empty matrix with beta 0 writes nothing either
    EXPECT_EQ(call("N", 0, 3, 1, 1, 1, z) + call("T", 2, 0, 2, 1, 1, z), "");
    for (E v : z) EXPECT_EQ(v, E(7));
  });
}

}  // namespace
}  // namespace zor::test::level2
