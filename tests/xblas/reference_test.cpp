// The products in working precision against the reference BLAS: the
// transposed general product is the same dot followed by alpha sum + beta y,
// so it agrees bit for bit; band, symmetric and Hermitian products sum in
// another order and agree within rounding.
#include <algorithm>
#include <cmath>
#include <vector>

#include "common/reference_blas.h"
#include "xblas/xblas_testing.hpp"

// The band and symmetric oracles, typed as the kit types ?gemv_ (reals by
// their type, complex elements as void *).
extern "C" {
void sgbmv_(const char *, const f_int *, const f_int *, const f_int *, const f_int *, const float *, const float *,
            const f_int *, const float *, const f_int *, const float *, float *, const f_int *, f_len);
void dgbmv_(const char *, const f_int *, const f_int *, const f_int *, const f_int *, const double *,
            const double *, const f_int *, const double *, const f_int *, const double *, double *, const f_int *,
            f_len);
void cgbmv_(const char *, const f_int *, const f_int *, const f_int *, const f_int *, const void *, const void *,
            const f_int *, const void *, const f_int *, const void *, void *, const f_int *, f_len);
void zgbmv_(const char *, const f_int *, const f_int *, const f_int *, const f_int *, const void *, const void *,
            const f_int *, const void *, const f_int *, const void *, void *, const f_int *, f_len);
void ssymv_(const char *, const f_int *, const float *, const float *, const f_int *, const float *, const f_int *,
            const float *, float *, const f_int *, f_len);
void dsymv_(const char *, const f_int *, const double *, const double *, const f_int *, const double *,
            const f_int *, const double *, double *, const f_int *, f_len);
// csymv and zsymv come from the reference LAPACK.
void csymv_(const char *, const f_int *, const void *, const void *, const f_int *, const void *, const f_int *,
            const void *, void *, const f_int *, f_len);
void zsymv_(const char *, const f_int *, const void *, const void *, const f_int *, const void *, const f_int *,
            const void *, void *, const f_int *, f_len);
void chemv_(const char *, const f_int *, const void *, const void *, const f_int *, const void *, const f_int *,
            const void *, void *, const f_int *, f_len);
void zhemv_(const char *, const f_int *, const void *, const void *, const f_int *, const void *, const f_int *,
            const void *, void *, const f_int *, f_len);
}

namespace {

using namespace zor::test::xblas;
using zor::test::Rng;
using zor::test::same_bits;

// The reference routine of call c (trans 'N', 'T', 'C'; uplo 'U', 'L').
template <class E>
void reference(const Call &c, const E *alpha, const E *a, const E *x, const E *beta, E *y) {
  const char op = c.op == 111 ? 'N' : c.op == 112 ? 'T' : c.op == 113 ? 'C' : c.op == 121 ? 'U' : 'L';
  const f_int m = f_int(c.m), n = f_int(c.n), kl = f_int(c.kl), ku = f_int(c.ku), lda = f_int(c.lda);
  const f_int ix = f_int(c.incx), iy = f_int(c.incy);
  // The routine of E's letter among s, d, c, z.
  auto pick = [](auto s, auto d, auto c, auto z) {
    if constexpr (std::is_same_v<E, float>) return s;
    else if constexpr (std::is_same_v<E, double>) return d;
    else if constexpr (std::is_same_v<E, zor::test::cfloat>) return c;
    else return z;
  };
  if (c.fam == Fam::gemv) {
    pick(sgemv_, dgemv_, cgemv_, zgemv_)(&op, &m, &n, alpha, a, &lda, x, &ix, beta, y, &iy, 1);
  } else if (c.fam == Fam::gbmv) {
    pick(sgbmv_, dgbmv_, cgbmv_, zgbmv_)(&op, &m, &n, &kl, &ku, alpha, a, &lda, x, &ix, beta, y, &iy, 1);
  } else if (c.fam == Fam::symv) {
    pick(ssymv_, dsymv_, csymv_, zsymv_)(&op, &n, alpha, a, &lda, x, &ix, beta, y, &iy, 1);
  } else {
    pick(ssymv_, dsymv_, chemv_, zhemv_)(&op, &n, alpha, a, &lda, x, &ix, beta, y, &iy, 1);
  }
}

// Random calls of one family in working precision (211 for float data, 212
// for double), against the reference.
template <class E>
void against_reference(Fam fam, uint64_t seed, int trials) {
  using R = real_of<E>;
  Rng rng(seed);
  for (int trial = 0; trial < trials; ++trial) {
    const bool general = fam == Fam::gemv || fam == Fam::gbmv;
    // The transposed general product is held bit for bit, with unit strides.
    const bool exact = fam == Fam::gemv;
    Call c{fam, false, 0, rng.integer(1, 40), rng.integer(1, 40), 0, 0, 0, 1, 1, sizeof(R) == 4 ? 211 : 212};
    c.op = exact     ? (is_complex_v<E> && rng.integer(0, 1) ? 113 : 112)
           : general ? int32_t(rng.integer(111, 113))
                     : int32_t(rng.integer(121, 122));
    if (!general) c.m = c.n;
    if (!exact) c.incx = rng.integer(0, 1) ? -2 : 3, c.incy = rng.integer(0, 1) ? 1 : -1;
    c.kl = rng.integer(0, c.m - 1), c.ku = rng.integer(0, c.n - 1);
    c.lda = (fam == Fam::gbmv ? c.kl + c.ku + 1 : c.m) + rng.integer(0, 3);
    SCOPED_TRACE(testing::Message() << "seed " << seed << " trial " << trial << " family " << int(fam) << " op " << c.op
                                    << " m " << c.m << " n " << c.n << " kl " << c.kl << " ku " << c.ku);
    std::vector<E> a(c.lda * c.n), x(span(c.lenx(), c.incx)), y(span(c.leny(), c.incy));
    for (auto *v : {&a, &x, &y})
      for (auto &e : *v) e = random_value<E>(rng);
    const E alpha = random_value<E>(rng, -2, 2), beta = random_value<E>(rng, -2, 2);
    std::vector<E> want = y;
    call<E>(c, &alpha, a.data(), x.data(), x.data(), &beta, y.data());
    reference<E>(c, &alpha, a.data(), x.data(), &beta, want.data());
    // The bound of both sums' rounding, (n + 2) eps (|alpha| |A| |x| + |beta| |y|), with |a x| <= 2.
    const R tol = R(c.lenx() + 2) * std::numeric_limits<R>::epsilon() *
                  (std::abs(alpha) * R(2 * c.lenx()) + std::abs(beta) * R(2));
    for (size_t i = 0; i < y.size(); ++i) {
      if (exact)
        ASSERT_TRUE(same_bits(y[i], want[i])) << i << ": " << y[i] << " vs " << want[i];
      else
        ASSERT_LE(std::abs(y[i] - want[i]), tol) << i << ": " << y[i] << " vs " << want[i];
    }
  }
}

template <class E>
void all_families(uint64_t seed) {
  against_reference<E>(Fam::gemv, seed, 300);
  against_reference<E>(Fam::gbmv, seed + 1, 300);
  against_reference<E>(Fam::symv, seed + 2, 300);
  if constexpr (is_complex_v<E>) against_reference<E>(Fam::hemv, seed + 3, 300);
}

TEST(XblasReference, Single) { all_families<float>(81); }
TEST(XblasReference, Double) { all_families<double>(82); }
TEST(XblasReference, SingleComplex) { all_families<std::complex<float>>(83); }
TEST(XblasReference, DoubleComplex) { all_families<std::complex<double>>(84); }

}  // namespace
