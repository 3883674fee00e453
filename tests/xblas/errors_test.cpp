// The argument tests of the kernels, seen through a recording error routine
// (the library's own routine is empty): which positions are reported, with
// which values and names, in which order. alpha and beta are 0, so that the
// calls go on without reading a or x.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "xblas/kernels.hpp"

namespace {

using namespace zor::xblas;
using zor::C, zor::D, zor::S, zor::Z;

struct Report {
  std::string name;
  int position;
  int64_t value;
  bool operator==(const Report &) const = default;
};
std::ostream &operator<<(std::ostream &o, const Report &r) {
  return o << r.name << " " << r.position << " " << r.value;
}

std::vector<Report> recorded;
void record(const char *name, int position, int64_t value) { recorded.push_back({name, position, value}); }

template <class T>
struct Call {
  using E = typename T::elem;
  E zero{}, alpha{}, beta{}, y[4]{}, a[1]{}, x[1]{};
  std::vector<Report> gemv(bool two, i64 m, i64 n, i64 lda, i64 incx, i64 incy, int32_t prec = 214) {
    recorded.clear();
    auto f = two ? zor::xblas::gemv<T, true, record> : zor::xblas::gemv<T, false, record>;
    f(blas_colmajor, blas_no_trans, m, n, &alpha, a, lda, x, x, incx, &beta, y, incy, prec);
    return recorded;
  }
  std::vector<Report> gbmv(bool two, int32_t order, int32_t trans, i64 m, i64 n, i64 kl, i64 ku, i64 lda, i64 incx,
                           i64 incy) {
    recorded.clear();
    auto f = two ? zor::xblas::gbmv<T, true, record> : zor::xblas::gbmv<T, false, record>;
    f(order, trans, m, n, kl, ku, &zero, a, lda, x, x, incx, &zero, y, incy, 212);
    return recorded;
  }
  template <bool Hermitian>
  std::vector<Report> symv(bool two, int32_t order, int32_t uplo, i64 n, i64 lda, i64 incx, i64 incy,
                           int32_t prec = 211) {
    recorded.clear();
    auto f = two ? zor::xblas::symv<T, true, Hermitian, record> : zor::xblas::symv<T, false, Hermitian, record>;
    f(order, uplo, n, &zero, a, lda, x, x, incx, &zero, y, incy, prec);
    return recorded;
  }
};

using R = std::vector<Report>;

TEST(XblasErrors, GeneralReportsOneChainAndThenLda) {
  Call<D> d;
  EXPECT_EQ(d.gemv(false, -1, 0, 0, 0, 0), (R{{"BLAS_dgemv_x", -3, -1}}));
  EXPECT_EQ(d.gemv(false, 2, 0, 1, 0, 0), (R{{"BLAS_dgemv_x", -4, 0}, {"BLAS_dgemv_x", -7, 1}}));
  EXPECT_EQ(d.gemv(false, 2, 3, 2, 0, 0), (R{{"BLAS_dgemv_x", -9, 0}}));
  EXPECT_EQ(d.gemv(false, 2, 3, 2, 1, 0), (R{{"BLAS_dgemv_x", -12, 0}}));
  EXPECT_EQ(d.gemv(false, 2, 3, 2, -1, 1), R{});
  EXPECT_EQ(d.gemv(true, 2, 3, 2, 0, 0), (R{{"BLAS_dgemv2_x", -10, 0}}));
  EXPECT_EQ(d.gemv(true, 2, 3, 1, 1, 0), (R{{"BLAS_dgemv2_x", -13, 0}, {"BLAS_dgemv2_x", -7, 1}}));
  // n = 0 goes on: y becomes alpha times an empty sum plus beta y.
  Call<Z> z;
  z.alpha = {1, 0}, z.beta = {0.5, 0};
  z.y[0] = z.y[1] = {5, 6};
  EXPECT_EQ(z.gemv(false, 2, 0, 2, 1, 1, 212), (R{{"BLAS_zgemv_x", -4, 0}}));
  EXPECT_TRUE(z.y[0].re == 2.5 && z.y[1].im == 3);
  // An unknown precision returns before any test.
  EXPECT_EQ(Call<S>().gemv(false, -1, -1, -1, 0, 0, 210), R{});
  EXPECT_EQ(Call<C>().gemv(true, -1, -1, -1, 0, 0, 215), R{});
}

TEST(XblasErrors, BandTestsEachArgument) {
  Call<S> s;
  const R all{{"BLAS_sgbmv_x", -1, 7},  {"BLAS_sgbmv_x", -2, 110}, {"BLAS_sgbmv_x", -3, -1},
              {"BLAS_sgbmv_x", -4, -1}, {"BLAS_sgbmv_x", -5, -1},  {"BLAS_sgbmv_x", -6, -1},
              {"BLAS_sgbmv_x", -9, -3}, {"BLAS_sgbmv_x", -11, 0},  {"BLAS_sgbmv_x", -14, 0}};
  EXPECT_EQ(s.gbmv(false, 7, 110, -1, -1, -1, -1, -3, 0, 0), all);
  EXPECT_EQ(s.gbmv(false, blas_colmajor, blas_conj_trans, 2, 3, 2, 3, 5, 1, 1),
            (R{{"BLAS_sgbmv_x", -5, 2}, {"BLAS_sgbmv_x", -6, 3}, {"BLAS_sgbmv_x", -9, 5}}));
  EXPECT_EQ(s.gbmv(false, blas_rowmajor, blas_no_trans, 3, 3, 1, 1, 3, -1, 1), R{});
  EXPECT_EQ(Call<Z>().gbmv(true, blas_colmajor, blas_trans, 3, 3, 1, 1, 3, 0, 0),
            (R{{"BLAS_zgbmv2_x", -12, 0}, {"BLAS_zgbmv2_x", -15, 0}}));
}

TEST(XblasErrors, SymmetricAndHermitianPositions) {
  Call<D> d;
  EXPECT_EQ(d.symv<false>(false, 0, 0, 3, 2, 0, 0),
            (R{{"BLAS_dsymv_x", -3, 3}, {"BLAS_dsymv_x", -8, 0}, {"BLAS_dsymv_x", -11, 0}}));
  EXPECT_EQ(d.symv<false>(true, 0, 0, 3, 2, 0, 0),
            (R{{"BLAS_dsymv2_x", -6, 2}, {"BLAS_dsymv2_x", -9, 0}, {"BLAS_dsymv2_x", -12, 0}}));
  Call<C> c;
  EXPECT_EQ(c.symv<true>(false, 7, 0, 3, 2, 0, 0),
            (R{{"BLAS_chemv", -1, 7},
               {"BLAS_chemv", -2, 0},
               {"BLAS_chemv", -3, 3},
               {"BLAS_chemv", -8, 0},
               {"BLAS_chemv", -11, 0}}));
  EXPECT_EQ(c.symv<true>(false, blas_colmajor, blas_lower, 3, 3, 1, 1, 216), (R{{"BLAS_chemv", -12, 216}}));
  EXPECT_EQ(c.symv<true>(false, 7, 0, 3, 2, 0, 0, 210), (R{{"BLAS_chemv", -12, 210}}));
  EXPECT_EQ(c.symv<true>(true, 7, 0, 3, 2, 0, 0, 210), R{});
  EXPECT_EQ(c.symv<true>(true, 7, 0, 3, 2, 1, 0),
            (R{{"BLAS_chemv2_x", -6, 2}, {"BLAS_chemv2_x", -12, 0}}));
  EXPECT_EQ(Call<Z>().symv<true>(false, blas_colmajor, blas_upper, 3, 3, 1, 1, 209), (R{{"BLAS_zhemv", -12, 209}}));
  EXPECT_EQ(Call<Z>().symv<false>(false, 7, 0, 3, 3, 1, 1), R{});
}

}  // namespace
