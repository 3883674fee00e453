// Band and packed triangular products and solves: ?tbmv, ?tbsv, ?tpmv,
// ?tpsv, the column loops of level2_triangular.hpp over band or packed
// columns, no blocks.
//
// The complex band routines have two inner forms, alike in their loops: the
// general one runs the rows here; the dot-based one forms every dot with the
// tier's cdotu/cdotc/zdotu/zdotc and every column update with its c/zaxpy,
// so that a wide band moves at level-1 speed (and follows the level-1
// processor choice). The entry chooses by order and bandwidth alone:
//   ctbmv: general when n < 64, or upper 'N' with n < 256, or n >= 1001 with
//          k > 500; ztbmv: general when n < 64;
//   ctbsv: general when n < 64, or 'N' with n < 256, or n >= 1001 with
//          k > 500; ztbsv: general when n < 64, or n >= 1001 with k > 500;
// dot-based otherwise. The real band routines have the one form.
#include <zor/blas.h>

#include "blas/level2_triangular.hpp"

namespace zor::blas::level2 {
namespace {

using namespace fixed;

template <class T, bool Solve>
bool band_general(const Triangle &g) {
  if constexpr (!T::complex) {
    return true;
  } else {
    const int64_t n = g.n, k = g.k;
    const bool large_wide = n >= kBandLarge && k > kBandWide;
    if (n < kBandSmall) return true;
    if constexpr (T::letter == 'c')
      return large_wide || (g.op == Trans::N && n < kBandMiddle && (Solve || g.upper));
    else
      return Solve && large_wide;
  }
}

template <class T, bool Solve>
void tb(const char *uplo, const char *trans, const char *diag, const zor_int *n_, const zor_int *k_,
        const void *a_, const zor_int *lda_, void *x_, const zor_int *incx_) {
  using E = typename T::elem;
  const int64_t n = *n_, k = *k_, inc = *incx_;
  if (n < 1) return;
  const Triangle g = read_triangle<T>(uplo, trans, diag, n, k);
  const BandColumns<E> col{const_cast<E *>(static_cast<const E *>(a_)), *lda_, g.upper ? k : 0};
  const Strided<E> x{vector_start(static_cast<E *>(x_), n, inc), inc};
  if (band_general<T, Solve>(g)) {
    if constexpr (Solve) triangular_solve<T, InRows<T>>(g, col, x);
    else triangular_product<T, InRows<T>>(g, col, x);
  } else {
    if constexpr (Solve) triangular_solve<T, Level1<T>>(g, col, x);
    else triangular_product<T, Level1<T>>(g, col, x);
  }
}

template <class T, bool Solve>
void tp(const char *uplo, const char *trans, const char *diag, const zor_int *n_, const void *ap_, void *x_,
        const zor_int *incx_) {
  using E = typename T::elem;
  const int64_t n = *n_, inc = *incx_;
  if (n < 1) return;
  const Triangle g = read_triangle<T>(uplo, trans, diag, n, n);
  const PackedColumns<E> col{const_cast<E *>(static_cast<const E *>(ap_)), n, g.upper};
  const Strided<E> x{vector_start(static_cast<E *>(x_), n, inc), inc};
  if constexpr (Solve) triangular_solve<T, InRows<T>>(g, col, x);
  else triangular_product<T, InRows<T>>(g, col, x);
}

}  // namespace
}  // namespace zor::blas::level2

using namespace zor;
using namespace zor::blas::level2;

// clang-format off
#define ZOR_TBAND(L, T, E)                                                                                                                                                                                          \
  ZOR_API void zor_blas_##L##tbmv(const char *uplo, const char *trans, const char *diag, const zor_int *n, const zor_int *k, const E *a, const zor_int *lda, E *x, const zor_int *incx) { tb<T, false>(uplo, trans, diag, n, k, a, lda, x, incx); } \
  ZOR_API void zor_blas_##L##tbsv(const char *uplo, const char *trans, const char *diag, const zor_int *n, const zor_int *k, const E *a, const zor_int *lda, E *x, const zor_int *incx) { tb<T, true>(uplo, trans, diag, n, k, a, lda, x, incx); }  \
  ZOR_API void zor_blas_##L##tpmv(const char *uplo, const char *trans, const char *diag, const zor_int *n, const E *ap, E *x, const zor_int *incx) { tp<T, false>(uplo, trans, diag, n, ap, x, incx); }                   \
  ZOR_API void zor_blas_##L##tpsv(const char *uplo, const char *trans, const char *diag, const zor_int *n, const E *ap, E *x, const zor_int *incx) { tp<T, true>(uplo, trans, diag, n, ap, x, incx); }
ZOR_TBAND(s, S, float)
ZOR_TBAND(d, D, double)
ZOR_TBAND(c, C, void)
ZOR_TBAND(z, Z, void)
#undef ZOR_TBAND
// clang-format on
