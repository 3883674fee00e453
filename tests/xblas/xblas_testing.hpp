// The extended-precision exports by element type, and one uniform call of
// any of them, for the tests of this family.
#pragma once
#include <zor/xblas.h>

#include <complex>
#include <cstdint>
#include <type_traits>

#include "common/testing.hpp"

namespace zor::test::xblas {

using zor::test::is_complex_v;
using zor::test::real_of;

enum class Fam { gemv, gbmv, symv, hemv };

// One call: op is trans (gemv, gbmv) or uplo (symv, hemv).
struct Call {
  Fam fam;
  bool two;
  int32_t op;
  int64_t m, n, kl, ku, lda, incx, incy;
  int32_t prec;
  bool no_trans() const { return (fam == Fam::gemv || fam == Fam::gbmv) && op == blas_no_trans; }
  int64_t leny() const { return fam == Fam::symv || fam == Fam::hemv ? n : no_trans() ? m : n; }
  int64_t lenx() const { return fam == Fam::symv || fam == Fam::hemv ? n : no_trans() ? n : m; }
};

template <class E> struct Exports;
template <> struct Exports<float> {
  using B = float;
  static constexpr auto gemv = zor_xblas_blas_sgemv_x, gemv2 = zor_xblas_blas_sgemv2_x;
  static constexpr auto gbmv = zor_xblas_blas_sgbmv_x, gbmv2 = zor_xblas_blas_sgbmv2_x;
  static constexpr auto symv = zor_xblas_blas_ssymv_x, symv2 = zor_xblas_blas_ssymv2_x;
};
template <> struct Exports<double> {
  using B = double;
  static constexpr auto gemv = zor_xblas_blas_dgemv_x, gemv2 = zor_xblas_blas_dgemv2_x;
  static constexpr auto gbmv = zor_xblas_blas_dgbmv_x, gbmv2 = zor_xblas_blas_dgbmv2_x;
  static constexpr auto symv = zor_xblas_blas_dsymv_x, symv2 = zor_xblas_blas_dsymv2_x;
};
template <> struct Exports<std::complex<float>> {
  using B = zor_complex8;
  static constexpr auto gemv = zor_xblas_blas_cgemv_x, gemv2 = zor_xblas_blas_cgemv2_x;
  static constexpr auto gbmv = zor_xblas_blas_cgbmv_x, gbmv2 = zor_xblas_blas_cgbmv2_x;
  static constexpr auto symv = zor_xblas_blas_csymv_x, symv2 = zor_xblas_blas_csymv2_x;
  static constexpr auto hemv = zor_xblas_blas_chemv_x, hemv2 = zor_xblas_blas_chemv2_x;
};
template <> struct Exports<std::complex<double>> {
  using B = zor_complex16;
  static constexpr auto gemv = zor_xblas_blas_zgemv_x, gemv2 = zor_xblas_blas_zgemv2_x;
  static constexpr auto gbmv = zor_xblas_blas_zgbmv_x, gbmv2 = zor_xblas_blas_zgbmv2_x;
  static constexpr auto symv = zor_xblas_blas_zsymv_x, symv2 = zor_xblas_blas_zsymv2_x;
  static constexpr auto hemv = zor_xblas_blas_zhemv_x, hemv2 = zor_xblas_blas_zhemv2_x;
};

// Uniform in [lo, hi), each part.
template <class E>
E random_value(Rng &rng, double lo = -1, double hi = 1) {
  using R = real_of<E>;
  if constexpr (is_complex_v<E>) return E(R(rng.uniform(lo, hi)), R(rng.uniform(lo, hi)));
  else return R(rng.uniform(lo, hi));
}

// The export of c for element type E; xt is the tail of a "2" form's x.
template <class E>
void call(const Call &c, const E *alpha, const E *a, const E *x, const E *xt, const E *beta, E *y) {
  using X = Exports<E>;
  using B = typename X::B;
  auto b = [](const E *p) { return reinterpret_cast<const B *>(p); };
  B *yb = reinterpret_cast<B *>(y);
  switch (c.fam) {
    case Fam::gemv:
      if (c.two)
        X::gemv2(&c.op, &c.m, &c.n, b(alpha), b(a), &c.lda, b(x), b(xt), &c.incx, b(beta), yb, &c.incy, &c.prec);
      else X::gemv(&c.op, &c.m, &c.n, b(alpha), b(a), &c.lda, b(x), &c.incx, b(beta), yb, &c.incy, &c.prec);
      return;
    case Fam::gbmv:
      if (c.two)
        X::gbmv2(&c.op, &c.m, &c.n, &c.kl, &c.ku, b(alpha), b(a), &c.lda, b(x), b(xt), &c.incx, b(beta), yb, &c.incy,
                 &c.prec);
      else
        X::gbmv(&c.op, &c.m, &c.n, &c.kl, &c.ku, b(alpha), b(a), &c.lda, b(x), &c.incx, b(beta), yb, &c.incy, &c.prec);
      return;
    case Fam::symv:
      if (c.two) X::symv2(&c.op, &c.n, b(alpha), b(a), &c.lda, b(x), b(xt), &c.incx, b(beta), yb, &c.incy, &c.prec);
      else X::symv(&c.op, &c.n, b(alpha), b(a), &c.lda, b(x), &c.incx, b(beta), yb, &c.incy, &c.prec);
      return;
    case Fam::hemv:
      if constexpr (is_complex_v<E>) {
        if (c.two) X::hemv2(&c.op, &c.n, b(alpha), b(a), &c.lda, b(x), b(xt), &c.incx, b(beta), yb, &c.incy, &c.prec);
        else X::hemv(&c.op, &c.n, b(alpha), b(a), &c.lda, b(x), &c.incx, b(beta), yb, &c.incy, &c.prec);
      }
      return;
  }
}

// Elements spanned by len elements inc apart.
inline int64_t span(int64_t len, int64_t inc) { return len < 1 ? 1 : 1 + (len - 1) * (inc < 0 ? -inc : inc); }
// Offset of the first element walked (the far end for a negative increment).
inline int64_t first(int64_t len, int64_t inc) { return inc < 0 && len > 0 ? (1 - len) * inc : 0; }

}  // namespace zor::test::xblas
