// Sparse vector operations: a compressed vector x of nz entries with 1-based
// positions indx into a full vector y. nz < 1 returns (0 for the dots).
//
// gthr x[i] := y[j]; gthrz the same and then y[j] := 0 (an index met twice
// gathers 0 the second time); sctr y[j] := x[i] (later duplicates win);
// axpyi y[j] += a x[i], returning for a zero a, real forms two a pass in
// element order; sdoti, ddoti two sums over even and odd positions, s0 + s1,
// then the last element for odd nz; ?dotui, ?dotci one running complex sum
// in element order (dotci conjugates x); sroti, droti x[i] := c x[i] + s y[j],
// y[j] := (-(s x[i])) + c y[j], returning for c = 1, s = 0.
#include <zor/blas.h>

#include "blas/level1_skeleton.hpp"

namespace zor::blas {
namespace {

// Elements are read and written at any byte offset (doubles may stand 4
// bytes off their alignment).
template <class E>
void gthr(int64_t nz, E *x, const int64_t *indx, const E *y) {
  for (int64_t i = 0; i < nz; ++i) store_any(x + i, load_any(y + indx[i] - 1));
}

template <class E>
void gthrz(int64_t nz, E *x, const int64_t *indx, E *y) {
  for (int64_t i = 0; i < nz; ++i) {
    store_any(x + i, load_any(y + indx[i] - 1));
    store_any(y + indx[i] - 1, E{});
  }
}

template <class E>
void sctr(int64_t nz, const E *x, const int64_t *indx, E *y) {
  for (int64_t i = 0; i < nz; ++i) store_any(y + indx[i] - 1, load_any(x + i));
}

template <class E>
void axpyi(int64_t nz, E a, const E *x, const int64_t *indx, E *y) {
  if (nz < 1 || is_zero(a)) return;
  auto update = [&](int64_t i) { store_any(y + indx[i] - 1, a * load_any(x + i) + load_any(y + indx[i] - 1)); };
  int64_t i = 0;
  if constexpr (!is_complex_v<E>)
    for (; i + 2 <= nz; i += 2) update(i), update(i + 1);
  for (; i < nz; ++i) update(i);
}

template <class R>
R doti(int64_t nz, const R *x, const int64_t *indx, const R *y) {
  if (nz < 1) return R(0);
  auto p = [&](int64_t i) { return load_any(x + i) * load_any(y + indx[i] - 1); };
  R s0 = 0, s1 = 0;
  int64_t i = 0;
  for (; i + 2 <= nz; i += 2) {
    s0 += p(i);
    s1 += p(i + 1);
  }
  R s = s0 + s1;
  if (i < nz) s += p(i);
  return s;
}

template <bool Conj, class R>
void complex_doti(void *result, int64_t nz, const cplx<R> *x, const int64_t *indx, const cplx<R> *y) {
  cplx<R> s{0, 0};
  for (int64_t i = 0; i < nz; ++i) s = s + conj_if<Conj>(load_any(x + i)) * load_any(y + indx[i] - 1);
  store_any(static_cast<cplx<R> *>(result), s);
}

template <class R>
void roti(int64_t nz, R *x, const int64_t *indx, R *y, R c, R s) {
  if (nz < 1 || (c == R(1) && s == R(0))) return;
  for (int64_t i = 0; i < nz; ++i) {
    R *v = y + indx[i] - 1;
    const R t = load_any(x + i), w = load_any(v);
    store_any(x + i, c * t + s * w);
    store_any(v, (-(s * t)) + c * w);
  }
}

}  // namespace
}  // namespace zor::blas

using namespace zor::blas;
using zor::cplx;
using zor::load_any;
using C8 = cplx<float>;
using C16 = cplx<double>;
template <class E> E *as(void *p) { return static_cast<E *>(p); }
template <class E> const E *as(const void *p) { return static_cast<const E *>(p); }

// clang-format off
ZOR_API void zor_blas_sgthr(const zor_int *nz, float *x, const zor_int *indx, const float *y) { gthr(*nz, x, indx, y); }
ZOR_API void zor_blas_dgthr(const zor_int *nz, double *x, const zor_int *indx, const double *y) { gthr(*nz, x, indx, y); }
ZOR_API void zor_blas_cgthr(const zor_int *nz, void *x, const zor_int *indx, const void *y) { gthr(*nz, as<C8>(x), indx, as<C8>(y)); }
ZOR_API void zor_blas_zgthr(const zor_int *nz, void *x, const zor_int *indx, const void *y) { gthr(*nz, as<C16>(x), indx, as<C16>(y)); }
ZOR_API void zor_blas_sgthrz(const zor_int *nz, float *x, const zor_int *indx, float *y) { gthrz(*nz, x, indx, y); }
ZOR_API void zor_blas_dgthrz(const zor_int *nz, double *x, const zor_int *indx, double *y) { gthrz(*nz, x, indx, y); }
ZOR_API void zor_blas_cgthrz(const zor_int *nz, void *x, const zor_int *indx, void *y) { gthrz(*nz, as<C8>(x), indx, as<C8>(y)); }
ZOR_API void zor_blas_zgthrz(const zor_int *nz, void *x, const zor_int *indx, void *y) { gthrz(*nz, as<C16>(x), indx, as<C16>(y)); }
ZOR_API void zor_blas_ssctr(const zor_int *nz, const float *x, const zor_int *indx, float *y) { sctr(*nz, x, indx, y); }
ZOR_API void zor_blas_dsctr(const zor_int *nz, const double *x, const zor_int *indx, double *y) { sctr(*nz, x, indx, y); }
ZOR_API void zor_blas_csctr(const zor_int *nz, const void *x, const zor_int *indx, void *y) { sctr(*nz, as<C8>(x), indx, as<C8>(y)); }
ZOR_API void zor_blas_zsctr(const zor_int *nz, const void *x, const zor_int *indx, void *y) { sctr(*nz, as<C16>(x), indx, as<C16>(y)); }
ZOR_API void zor_blas_saxpyi(const zor_int *nz, const float *a, const float *x, const zor_int *indx, float *y) { axpyi(*nz, *a, x, indx, y); }
ZOR_API void zor_blas_daxpyi(const zor_int *nz, const double *a, const double *x, const zor_int *indx, double *y) { axpyi(*nz, load_any(a), x, indx, y); }
ZOR_API void zor_blas_caxpyi(const zor_int *nz, const void *a, const void *x, const zor_int *indx, void *y) { axpyi(*nz, *as<C8>(a), as<C8>(x), indx, as<C8>(y)); }
ZOR_API void zor_blas_zaxpyi(const zor_int *nz, const void *a, const void *x, const zor_int *indx, void *y) { axpyi(*nz, *as<C16>(a), as<C16>(x), indx, as<C16>(y)); }
ZOR_API float zor_blas_sdoti(const zor_int *nz, const float *x, const zor_int *indx, const float *y) { return doti(*nz, x, indx, y); }
ZOR_API double zor_blas_ddoti(const zor_int *nz, const double *x, const zor_int *indx, const double *y) { return doti(*nz, x, indx, y); }
ZOR_API void zor_blas_cdotui(void *result, const zor_int *nz, const void *x, const zor_int *indx, const void *y) { complex_doti<false>(result, *nz, as<C8>(x), indx, as<C8>(y)); }
ZOR_API void zor_blas_zdotui(void *result, const zor_int *nz, const void *x, const zor_int *indx, const void *y) { complex_doti<false>(result, *nz, as<C16>(x), indx, as<C16>(y)); }
ZOR_API void zor_blas_cdotci(void *result, const zor_int *nz, const void *x, const zor_int *indx, const void *y) { complex_doti<true>(result, *nz, as<C8>(x), indx, as<C8>(y)); }
ZOR_API void zor_blas_zdotci(void *result, const zor_int *nz, const void *x, const zor_int *indx, const void *y) { complex_doti<true>(result, *nz, as<C16>(x), indx, as<C16>(y)); }
ZOR_API void zor_blas_sroti(const zor_int *nz, float *x, const zor_int *indx, float *y, const float *c, const float *s) { roti(*nz, x, indx, y, *c, *s); }
ZOR_API void zor_blas_droti(const zor_int *nz, double *x, const zor_int *indx, double *y, const double *c, const double *s) { roti(*nz, x, indx, y, load_any(c), load_any(s)); }
// clang-format on
