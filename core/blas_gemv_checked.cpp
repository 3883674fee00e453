// Checked matrix-vector entries of the provider: the published gemv (s, d,
// c, z) and ssyr with 64-bit integers. Each routine's argument tests stand
// in one table below, in the published order: first that every argument
// passed by reference is present, then the published tests of values
// (the rules the Fortran front reads too, core/blas_rules.hpp), then the
// arrays that the call will touch. The first bad
// one is reported by routine and position and nothing is written. Then the
// quick returns of the published routine, and the tier's kernel does the
// rest. Only the first byte of a letter argument is read; the trailing
// length of the text a Fortran caller passes is accepted and never read.
#include <zor/blas.h>

#include "core/blas_rules.hpp"
#include "core/checked.hpp"
#include "core/tier_lookup.h"
#include "frame/element.hpp"
#include "frame/letters.hpp"

namespace {

using zor::is_one;
using zor::is_zero;
using zor_core::TierKernel;

TierKernel<decltype(&zor_blas_xsgemv)> xsgemv{"zor_blas_xsgemv"};
TierKernel<decltype(&zor_blas_xdgemv)> xdgemv{"zor_blas_xdgemv"};
TierKernel<decltype(&zor_blas_xcgemv)> xcgemv{"zor_blas_xcgemv"};
TierKernel<decltype(&zor_blas_xzgemv)> xzgemv{"zor_blas_xzgemv"};
TierKernel<decltype(&zor_blas_xssyr)> xssyr{"zor_blas_xssyr"};

// One argument test: the position reported, and the test, which may read
// only what the tests before it have found present. Position 0 stands for
// the published tests of values, from the rules the Fortran front shares,
// which name their own position.
template <class Args>
struct Test {
  int position;
  bool (*bad)(const Args &);
};
// The table is walked at compile time, so that each test is inlined: the
// checked entries stand in front of many short calls.
template <const auto &Table, size_t I = 0, class Args>
[[gnu::always_inline]] inline int first_bad(const Args &args) {
  if constexpr (I == std::size(Table)) {
    return 0;
  } else {
    constexpr auto t = Table[I];
    if constexpr (t.position == 0) {
      if (int p = value_rules(args)) return p;
    } else if (t.bad(args)) {
      return t.position;
    }
    return first_bad<Table, I + 1>(args);
  }
}

template <class E>
struct Gemv {
  const char *trans;
  const zor_int *m, *n;
  const E *alpha, *a;
  const zor_int *lda;
  const E *x;
  const zor_int *incx;
  const E *beta, *y;
  const zor_int *incy;
  // There is work: the matrix is not empty and not (alpha 0, beta 1).
  bool work() const { return *m > 0 && *n > 0 && !(is_zero(*alpha) && is_one(*beta)); }
};
template <class E>
int value_rules(const Gemv<E> &g) {
  const zor_int v[12] = {0, *g.trans, *g.m, *g.n, 0, 0, *g.lda, 0, *g.incx, 0, 0, *g.incy};
  return zor::rules::first_bad<zor::rules::kGemv>(v);
}
template <class E>
constexpr Test<Gemv<E>> kGemvTests[] = {
    {1, [](const Gemv<E> &g) { return !g.trans; }},
    {2, [](const Gemv<E> &g) { return !g.m; }},
    {3, [](const Gemv<E> &g) { return !g.n; }},
    {4, [](const Gemv<E> &g) { return !g.alpha; }},
    {6, [](const Gemv<E> &g) { return !g.lda; }},
    {8, [](const Gemv<E> &g) { return !g.incx; }},
    {9, [](const Gemv<E> &g) { return !g.beta; }},
    {11, [](const Gemv<E> &g) { return !g.incy; }},
    {0, nullptr},
    {5, [](const Gemv<E> &g) { return g.work() && !is_zero(*g.alpha) && !g.a; }},
    {7, [](const Gemv<E> &g) { return g.work() && !is_zero(*g.alpha) && !g.x; }},
    {10, [](const Gemv<E> &g) { return g.work() && !g.y; }},
};

template <class E, class Fn>
void checked_gemv(const char *routine, TierKernel<Fn> &kernel, const char *trans, const zor_int *m,
                  const zor_int *n, const void *alpha, const void *a, const zor_int *lda, const void *x,
                  const zor_int *incx, const void *beta, void *y, const zor_int *incy) {
  const Gemv<E> g{trans, m, n, static_cast<const E *>(alpha), static_cast<const E *>(a), lda,
                  static_cast<const E *>(x), incx, static_cast<const E *>(beta), static_cast<const E *>(y), incy};
  if (int bad = first_bad<kGemvTests<E>>(g)) {
    zor_core::report_bad_argument(routine, bad);
    return;
  }
  if (!g.work()) return;
  using A = std::conditional_t<std::is_same_v<E, float> || std::is_same_v<E, double>, E, void>;
  if (Fn fn = kernel.get())
    fn(trans, m, n, static_cast<const A *>(alpha), static_cast<const A *>(a), lda, static_cast<const A *>(x), incx,
       static_cast<const A *>(beta), static_cast<A *>(y), incy);
}

struct Syr {
  const char *uplo;
  const zor_int *n;
  const float *alpha, *x;
  const zor_int *incx;
  const float *a;
  const zor_int *lda;
  bool work() const { return *n > 0 && *alpha != 0.0f; }
};
int value_rules(const Syr &s) {
  const zor_int v[8] = {0, *s.uplo, *s.n, 0, 0, *s.incx, 0, *s.lda};
  return zor::rules::first_bad<zor::rules::kSyr>(v);
}
constexpr Test<Syr> kSyrTests[] = {
    {1, [](const Syr &s) { return !s.uplo; }},
    {2, [](const Syr &s) { return !s.n; }},
    {3, [](const Syr &s) { return !s.alpha; }},
    {5, [](const Syr &s) { return !s.incx; }},
    {7, [](const Syr &s) { return !s.lda; }},
    {0, nullptr},
    {4, [](const Syr &s) { return s.work() && !s.x; }},
    {6, [](const Syr &s) { return s.work() && !s.a; }},
};

}  // namespace

// clang-format off
ZOR_API void zor_blas_sgemv(const char *trans, const zor_int *m, const zor_int *n, const float *alpha, const float *a, const zor_int *lda, const float *x, const zor_int *incx, const float *beta, float *y, const zor_int *incy, size_t) { checked_gemv<float>("SGEMV", xsgemv, trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
ZOR_API void zor_blas_dgemv(const char *trans, const zor_int *m, const zor_int *n, const double *alpha, const double *a, const zor_int *lda, const double *x, const zor_int *incx, const double *beta, double *y, const zor_int *incy, size_t) { checked_gemv<double>("DGEMV", xdgemv, trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
ZOR_API void zor_blas_cgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const void *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y, const zor_int *incy, size_t) { checked_gemv<zor::cplx<float>>("CGEMV", xcgemv, trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
ZOR_API void zor_blas_zgemv(const char *trans, const zor_int *m, const zor_int *n, const void *alpha, const void *a, const zor_int *lda, const void *x, const zor_int *incx, const void *beta, void *y, const zor_int *incy, size_t) { checked_gemv<zor::cplx<double>>("ZGEMV", xzgemv, trans, m, n, alpha, a, lda, x, incx, beta, y, incy); }
// clang-format on

ZOR_API void zor_blas_ssyr(const char *uplo, const zor_int *n, const float *alpha, const float *x, const zor_int *incx,
                           float *a, const zor_int *lda, size_t) {
  const Syr s{uplo, n, alpha, x, incx, a, lda};
  if (int bad = first_bad<kSyrTests>(s)) {
    zor_core::report_bad_argument("SSYR", bad);
    return;
  }
  if (!s.work()) return;
  if (auto fn = xssyr.get()) fn(uplo, n, alpha, x, incx, a, lda);
}
