// General matrix-vector products against the reference BLAS: random shapes,
// transpositions, leading dimensions, increments, byte offsets of every
// operand and the special values of alpha and beta, with guards around y.
// 'N' adds the columns in order and must agree bit for bit; the transposed
// sums follow their own order, which a model of it checks exactly.
#include <zor/blas.h>
#include <zor/serv.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <string>
#include <vector>

#include "common/reference_blas.h"
#include "common/testing.hpp"

extern "C" {
void dgemv_(const char *, const f_int *, const f_int *, const double *, const double *, const f_int *,
            const double *, const f_int *, const double *, double *, const f_int *, f_len);
void sgemv_(const char *, const f_int *, const f_int *, const float *, const float *, const f_int *,
            const float *, const f_int *, const float *, float *, const f_int *, f_len);
void zgemv_(const char *, const f_int *, const f_int *, const void *, const void *, const f_int *, const void *,
            const f_int *, const void *, void *, const f_int *, f_len);
void cgemv_(const char *, const f_int *, const f_int *, const void *, const void *, const f_int *, const void *,
            const f_int *, const void *, void *, const f_int *, f_len);
}

namespace {

using zor::test::GuardedBuffer;
using zor::test::Rng;
using zor::test::same_bits;

template <class T> struct Real { using type = T; };
template <class R> struct Real<std::complex<R>> { using type = R; };

#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

int64_t span(int64_t len, int64_t inc) { return len < 1 ? 1 : 1 + (len - 1) * std::abs(inc); }

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

Case random_case(Rng &rng, bool complex_ops, size_t real_bytes) {
  static const int64_t sizes[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 13, 15, 16, 17, 25, 31, 33, 64, 127, 128, 129};
  static const int64_t incs[] = {1, 1, 1, -1, 2, -3};
  static const size_t offs[] = {0, 4, 8, 12};
  static const char transes[] = {'N', 'n', 'T', 't', 'C'};
  Case c;
  c.trans = transes[rng.integer(0, 4)];
  c.m = sizes[rng.integer(0, 19)];
  c.n = sizes[rng.integer(0, 19)];
  if (rng.integer(0, 9) == 0) c.m = 990 + rng.integer(0, 1100), c.n = rng.integer(1, 9);
  c.lda = std::max<int64_t>(1, c.m) + rng.integer(0, 3);
  c.incx = incs[rng.integer(0, 5)];
  c.incy = incs[rng.integer(0, 5)];
  // Elements keep the alignment of their real type (under the sanitizers a
  // double 4 bytes off is an error of its own); floats take every offset.
  auto off = [&](bool double_parts) {
    return double_parts && kSanitized ? offs[rng.integer(0, 1) * 2] : offs[rng.integer(0, 3)];
  };
  c.off_a = off(real_bytes == 8);
  c.off_x = off(complex_ops || real_bytes == 8);
  c.off_y = off(complex_ops || real_bytes == 8);
  c.alpha_kind = int(rng.integer(0, 5) < 1 ? 0 : rng.integer(1, 2));
  c.beta_kind = int(rng.integer(0, 2));
  return c;
}

template <class T>
T scalar(Rng &rng, int kind) {
  if (kind == 0) return T(0);
  if (kind == 1) return T(1);
  if constexpr (std::is_floating_point_v<T>) return T(rng.uniform(-2, 2));
  else return T(rng.uniform(-2, 2), rng.uniform(-2, 2));
}

template <class T>
std::string describe(const Case &c, uint64_t seed, int trial) {
  char text[256];
  std::snprintf(text, sizeof text, "seed %llu trial %d: %c m %lld n %lld lda %lld incx %lld incy %lld off %zu %zu %zu",
                (unsigned long long)seed, trial, c.trans, (long long)c.m, (long long)c.n, (long long)c.lda,
                (long long)c.incx, (long long)c.incy, c.off_a, c.off_x, c.off_y);
  return text;
}

// ---- real products: zor_blas_x?gemv against ?gemv_

template <class T>
void reference_gemv(char trans, f_int m, f_int n, T alpha, const T *a, f_int lda, const T *x, f_int incx, T beta,
                    T *y, f_int incy) {
  if constexpr (sizeof(T) == 8) dgemv_(&trans, &m, &n, &alpha, a, &lda, x, &incx, &beta, y, &incy, 1);
  else sgemv_(&trans, &m, &n, &alpha, a, &lda, x, &incx, &beta, y, &incy, 1);
}
template <class T>
void tier_gemv(char trans, int64_t m, int64_t n, T alpha, const T *a, int64_t lda, const T *x, int64_t incx,
               T beta, T *y, int64_t incy) {
  if constexpr (sizeof(T) == 8) zor_blas_xdgemv(&trans, &m, &n, &alpha, a, &lda, x, &incx, &beta, y, &incy);
  else zor_blas_xsgemv(&trans, &m, &n, &alpha, a, &lda, x, &incx, &beta, y, &incy);
}

template <class T>
void real_differential(uint64_t seed, int trials) {
  Rng rng(seed);
  for (int trial = 0; trial < trials; ++trial) {
    const Case c = random_case(rng, false, sizeof(T));
    SCOPED_TRACE(describe<T>(c, seed, trial));
    GuardedBuffer<T> a(std::max<int64_t>(1, c.lda * c.n), c.off_a);
    GuardedBuffer<T> x(span(c.lenx(), c.incx), c.off_x);
    GuardedBuffer<T> y(span(c.leny(), c.incy), c.off_y);
    for (size_t i = 0; i < a.size(); ++i) a[i] = T(rng.uniform());
    for (size_t i = 0; i < x.size(); ++i) x[i] = T(rng.uniform());
    const T alpha = scalar<T>(rng, c.alpha_kind), beta = scalar<T>(rng, c.beta_kind);
    // beta = 0 never reads y, so its NaNs must vanish.
    for (size_t i = 0; i < y.size(); ++i) y[i] = beta == T(0) ? T(NAN) : T(rng.uniform());
    std::vector<T> want(y.data(), y.data() + y.size());
    tier_gemv<T>(c.trans, c.m, c.n, alpha, a.data(), c.lda, x.data(), c.incx, beta, y.data(), c.incy);
    if (c.m > 0 && c.n > 0) reference_gemv<T>(c.trans, f_int(c.m), f_int(c.n), alpha, a.data(), f_int(c.lda),
                                              x.data(), f_int(c.incx), beta, want.data(), f_int(c.incy));
    ASSERT_TRUE(y.guards_intact());
    // Bound of the transposed sums' rounding: a few units per term.
    const T tol = T(4) * T(c.m + 4) * zor::test::eps<T>() * (std::abs(alpha) * T(2) + std::abs(beta) + T(1));
    for (size_t i = 0; i < y.size(); ++i) {
      if (c.no_trans() || c.alpha_kind == 0 || same_bits(y[i], want[i]))  // gaps of a stride keep their bits
        ASSERT_TRUE(same_bits(y[i], want[i])) << i << ": " << y[i] << " vs " << want[i];
      else
        ASSERT_NEAR(y[i], want[i], tol) << i;
    }
  }
}

TEST(RealGemv, DoubleAgreesWithReference) { real_differential<double>(20261122, 3000); }
TEST(RealGemv, SingleAgreesWithReference) { real_differential<float>(5150, 3000); }

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

TEST(RealGemv, DoubleTransposedSumOrder) {
  Rng rng(77);
  for (int64_t m : {5, 37, 2500}) {
    for (int64_t incx : {1, 2}) {
      for (size_t off : {0, 8}) {
        for (int64_t lda : {m, m + 1}) {
          SCOPED_TRACE(testing::Message() << "m " << m << " incx " << incx << " off " << off << " lda " << lda);
          const int64_t n = 7;
          GuardedBuffer<double> a(lda * n, off);
          std::vector<double> x(span(m, incx)), y(n), want(n);
          // Magnitudes over many binades, so that another order rounds differently.
          for (size_t i = 0; i < a.size(); ++i) a[i] = std::ldexp(rng.uniform(), int(rng.integer(-30, 30)));
          for (auto &v : x) v = rng.uniform();
          for (int64_t j = 0; j < n; ++j) y[j] = rng.uniform();
          const double alpha = 0.7, beta = 1.0;
          for (int64_t j = 0; j < n; ++j)
            want[j] = transposed_model(m, a.data() + j * lda, off == 8, x.data(), incx, alpha, y[j], incx != 1);
          // The data tell the orders apart: a model of another order differs somewhere.
          int differ = 0;
          for (int64_t j = 0; j < n; ++j)
            differ += !same_bits(want[j], transposed_model(m, a.data() + j * lda, off != 8, x.data(), incx, alpha,
                                                           y[j], m > 1000 && incx == 1));
          EXPECT_GT(differ, 0);
          int64_t one = 1;
          zor_blas_xdgemv("T", &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &one);
          for (int64_t j = 0; j < n; ++j)
            ASSERT_TRUE(same_bits(y[j], want[j])) << j << ": " << y[j] << " vs " << want[j];
        }
      }
    }
  }
}

// Sizes of 0 leave y as it was whatever beta is; alpha = 0 scales y and
// reads neither a nor x; an increment of 0 on y scales its element len times.
template <class T>
void real_frame() {
  int64_t m = 5, n = 3, zero = 0, one = 1, lda = 5;
  T y[5] = {1, 2, 3, 4, 5}, beta = 2, alpha = 0;
  tier_gemv<T>('N', zero, n, T(1), nullptr, lda, nullptr, one, beta, y, one);
  tier_gemv<T>('T', m, zero, T(1), nullptr, lda, nullptr, one, beta, y, one);
  EXPECT_EQ(y[4], T(5));
  tier_gemv<T>('N', m, n, alpha, nullptr, lda, nullptr, one, beta, y, one);
  EXPECT_EQ(y[4], T(10));
  tier_gemv<T>('T', m, n, alpha, nullptr, lda, nullptr, one, beta, y, zero);
  EXPECT_EQ(y[0], T(16));
  EXPECT_EQ(y[1], T(4));
  (void)m;
}
TEST(RealGemv, DoubleFrame) { real_frame<double>(); }
TEST(RealGemv, SingleFrame) { real_frame<float>(); }

// ---- mixed products: a real matrix and complex vectors, against the
// complex reference on the matrix widened to complex.

template <class R>
void mixed_differential(uint64_t seed, int trials) {
  using T = std::complex<R>;
  Rng rng(seed);
  for (int trial = 0; trial < trials; ++trial) {
    const Case c = random_case(rng, true, sizeof(R));
    SCOPED_TRACE(describe<T>(c, seed, trial));
    GuardedBuffer<R> a(std::max<int64_t>(1, c.lda * c.n), c.off_a);
    GuardedBuffer<T> x(span(c.lenx(), c.incx), c.off_x);
    GuardedBuffer<T> y(span(c.leny(), c.incy), c.off_y);
    std::vector<T> wide(a.size());
    for (size_t i = 0; i < a.size(); ++i) wide[i] = a[i] = R(rng.uniform());
    for (size_t i = 0; i < x.size(); ++i) x[i] = T(R(rng.uniform()), R(rng.uniform()));
    const T alpha = scalar<T>(rng, c.alpha_kind), beta = scalar<T>(rng, c.beta_kind);
    for (size_t i = 0; i < y.size(); ++i)
      y[i] = beta == T(0) ? T(R(NAN), R(NAN)) : T(R(rng.uniform()), R(rng.uniform()));
    std::vector<T> want(y.data(), y.data() + y.size());
    const int64_t m = c.m, n = c.n, lda = c.lda, incx = c.incx, incy = c.incy;
    if constexpr (sizeof(R) == 8)
      zor_blas_dzgemv(&c.trans, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
    else
      zor_blas_scgemv(&c.trans, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
    const f_int fm = f_int(m), fn = f_int(n), flda = f_int(lda), fx = f_int(incx), fy = f_int(incy);
    if (m > 0 && n > 0) {
      if constexpr (sizeof(R) == 8)
        zgemv_(&c.trans, &fm, &fn, &alpha, wide.data(), &flda, x.data(), &fx, &beta, want.data(), &fy, 1);
      else
        cgemv_(&c.trans, &fm, &fn, &alpha, wide.data(), &flda, x.data(), &fx, &beta, want.data(), &fy, 1);
    }
    ASSERT_TRUE(y.guards_intact());
    const R tol = R(8) * R(c.m + 4) * zor::test::eps<R>() * (R(4) + std::abs(beta));
    for (size_t i = 0; i < y.size(); ++i) {
      if (same_bits(y[i], want[i])) continue;
      ASSERT_NEAR(y[i].real(), want[i].real(), tol) << i;
      ASSERT_NEAR(y[i].imag(), want[i].imag(), tol) << i;
    }
  }
}

TEST(MixedGemv, DoubleAgreesWithWidenedReference) { mixed_differential<double>(404, 1500); }
TEST(MixedGemv, SingleAgreesWithWidenedReference) { mixed_differential<float>(505, 1500); }

// ---- complex products against ?gemv_, 'C' included.
template <class R>
void complex_differential(uint64_t seed, int trials) {
  using T = std::complex<R>;
  Rng rng(seed);
  for (int trial = 0; trial < trials; ++trial) {
    const Case c = random_case(rng, true, sizeof(R));
    SCOPED_TRACE(describe<T>(c, seed, trial));
    GuardedBuffer<T> a(std::max<int64_t>(1, c.lda * c.n), c.off_a);
    GuardedBuffer<T> x(span(c.lenx(), c.incx), c.off_x);
    GuardedBuffer<T> y(span(c.leny(), c.incy), c.off_y);
    for (size_t i = 0; i < a.size(); ++i) a[i] = T(R(rng.uniform()), R(rng.uniform()));
    for (size_t i = 0; i < x.size(); ++i) x[i] = T(R(rng.uniform()), R(rng.uniform()));
    const T alpha = scalar<T>(rng, c.alpha_kind), beta = scalar<T>(rng, c.beta_kind);
    for (size_t i = 0; i < y.size(); ++i)
      y[i] = beta == T(0) ? T(R(NAN), R(NAN)) : T(R(rng.uniform()), R(rng.uniform()));
    std::vector<T> want(y.data(), y.data() + y.size());
    const int64_t m = c.m, n = c.n, lda = c.lda, incx = c.incx, incy = c.incy;
    if constexpr (sizeof(R) == 8)
      zor_blas_xzgemv(&c.trans, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
    else
      zor_blas_xcgemv(&c.trans, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
    const f_int fm = f_int(m), fn = f_int(n), flda = f_int(lda), fx = f_int(incx), fy = f_int(incy);
    if (m > 0 && n > 0 && sizeof(R) == 8)
      zgemv_(&c.trans, &fm, &fn, &alpha, a.data(), &flda, x.data(), &fx, &beta, want.data(), &fy, 1);
    else if (m > 0 && n > 0)
      cgemv_(&c.trans, &fm, &fn, &alpha, a.data(), &flda, x.data(), &fx, &beta, want.data(), &fy, 1);
    ASSERT_TRUE(y.guards_intact());
    const R tol = R(16) * R(c.m + 4) * zor::test::eps<R>() * (R(4) + std::abs(beta));
    for (size_t i = 0; i < y.size(); ++i) {
      if (same_bits(y[i], want[i])) continue;
      ASSERT_NEAR(y[i].real(), want[i].real(), tol) << i;
      ASSERT_NEAR(y[i].imag(), want[i].imag(), tol) << i;
    }
  }
}

TEST(ComplexGemv, DoubleAgreesWithReference) { complex_differential<double>(606, 1500); }
TEST(ComplexGemv, SingleAgreesWithReference) { complex_differential<float>(707, 1500); }

// ---- the provider's checked entries

template <class T>
void checked_entry() {
  const char *routine = sizeof(T) == 8 ? "DGEMV" : "SGEMV";
  auto call = [](const char *t, int64_t m, int64_t n, int64_t lda, int64_t incx, int64_t incy, T *y) {
    T a[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, x[4] = {1, 1, 1, 1}, alpha = 1, beta = 0;
    if constexpr (sizeof(T) == 8) zor_blas_dgemv(t, &m, &n, &alpha, a, &lda, x, &incx, &beta, y, &incy, 1);
    else zor_blas_sgemv(t, &m, &n, &alpha, a, &lda, x, &incx, &beta, y, &incy, 1);
  };
  T y[4] = {-1, -1, -1, -1};
  call("n", 3, 4, 3, 1, 1, y);  // row sums of the 3 x 4 matrix
  EXPECT_EQ(y[0], T(1 + 4 + 7 + 10));
  EXPECT_EQ(y[2], T(3 + 6 + 9 + 12));
  call("Conjugate", 3, 2, 3, 1, -1, y);
  EXPECT_EQ(y[1], T(6));
  EXPECT_EQ(y[0], T(15));
  struct Bad {
    const char *t;
    int64_t m, n, lda, incx, incy;
    int position;
  } bad[] = {{"X", 3, 4, 3, 1, 1, 1}, {"N", -1, 4, 3, 1, 1, 2}, {"T", 3, -2, 3, 1, 1, 3},
             {"N", 3, 4, 2, 1, 1, 6}, {"N", 0, 4, 0, 1, 1, 6}, {"N", 3, 4, 3, 0, 1, 8}, {"T", 3, 4, 3, 1, 0, 11}};
  for (const Bad &b : bad) {
    T z[4] = {7, 7, 7, 7};
    testing::internal::CaptureStderr();
    call(b.t, b.m, b.n, b.lda, b.incx, b.incy, z);
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find(std::string(routine) + " parameter number " + std::to_string(b.position)), std::string::npos)
        << text;
    for (T v : z) EXPECT_EQ(v, T(7));
  }
  // Quick returns: an empty matrix with beta 0 writes nothing either.
  T z[4] = {7, 7, 7, 7};
  call("N", 0, 4, 1, 1, 1, z);
  call("T", 3, 0, 3, 1, 1, z);
  EXPECT_EQ(z[0], T(7));
}
TEST(CheckedGemv, Double) { checked_entry<double>(); }
TEST(CheckedGemv, Single) { checked_entry<float>(); }

}  // namespace
