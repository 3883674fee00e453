// The routines a kernel calls, by precision: imports<T>::name is the routine
// for the element traits T (S, D, C, Z), so that one kernel body calls
//   imports<T>::xaxpy(&n, &alpha, x, &one, y, &one);
// in every precision. Each row below binds one operation, in the columns
// s, d, c, z; `none` marks a precision that has no such routine (using it
// does not compile). Families add the rows they need.
//
// Two kinds of routine appear, as the system names them:
//   x-prefixed rows are the tier's own kernels (zor_blas_x?axpy ...), which
//     validate nothing; level 2 and up call these.
//   the unprefixed axpy, swap, dot, dotc, gemv, syr are the provider's checked entries
//     of the published names (zor_blas_?axpy ...), which the sparse and
//     LAPACK kernels call; they check their arguments and then run the
//     tier's kernel.
//   scal, rscal, nrm2, asum, iamax are tier exports without the x prefix.
// Arguments are by reference, as the exports take them; complex elements
// are passed as their cplx<R> pointers.
#pragma once
#include <cstddef>
#include <type_traits>

#include <zor/blas.h>
#include <zor/gemm.h>
#include <zor/gemm_complex.h>
#include <zor/level3.h>

#include "frame/traits.hpp"

namespace zor {

// The entry of the column of T's letter.
template <class T, class Fs, class Fd, class Fc, class Fz>
constexpr auto per_precision(Fs s, Fd d, Fc c, Fz z) {
  if constexpr (T::letter == 's') return s;
  else if constexpr (T::letter == 'd') return d;
  else if constexpr (T::letter == 'c') return c;
  else return z;
}
struct NoRoutine {};

template <class T>
struct imports {
  using E = typename T::elem;
  using R = typename T::real;
  static constexpr NoRoutine none{};

  // clang-format off
  //                                     s                 d                 c                 z
  // ---- the tier's kernels
  static constexpr auto xaxpy = per_precision<T>(zor_blas_xsaxpy,  zor_blas_xdaxpy,  zor_blas_xcaxpy,  zor_blas_xzaxpy);
  static constexpr auto axpby = per_precision<T>(zor_blas_saxpby,  zor_blas_daxpby,  zor_blas_caxpby,  zor_blas_zaxpby);
  static constexpr auto xcopy = per_precision<T>(zor_blas_xscopy,  zor_blas_xdcopy,  zor_blas_xccopy,  zor_blas_xzcopy);
  static constexpr auto xswap = per_precision<T>(zor_blas_xsswap,  zor_blas_xdswap,  zor_blas_xcswap,  zor_blas_xzswap);
  static constexpr auto scal  = per_precision<T>(zor_blas_sscal,   zor_blas_dscal,   zor_blas_cscal,   zor_blas_zscal);
  static constexpr auto rscal = per_precision<T>(zor_blas_sscal,   zor_blas_dscal,   zor_blas_csscal,  zor_blas_zdscal);  // real factor
  static constexpr auto nrm2  = per_precision<T>(zor_blas_snrm2,   zor_blas_dnrm2,   zor_blas_scnrm2,  zor_blas_dznrm2);
  static constexpr auto asum  = per_precision<T>(zor_blas_sasum,   zor_blas_dasum,   zor_blas_scasum,  zor_blas_dzasum);
  static constexpr auto iamax = per_precision<T>(zor_blas_isamax,  zor_blas_idamax,  zor_blas_icamax,  zor_blas_izamax);
  static constexpr auto iamin = per_precision<T>(zor_blas_isamin,  zor_blas_idamin,  zor_blas_icamin,  zor_blas_izamin);
  static constexpr auto xrot  = per_precision<T>(zor_blas_xsrot,   zor_blas_xdrot,   zor_blas_xcsrot,  zor_blas_xzdrot);  // real c, s
  static constexpr auto xcrot = per_precision<T>(none,             none,             zor_blas_xcrot,   zor_blas_xzrot);   // complex s
  static constexpr auto xdot  = per_precision<T>(zor_blas_xsdot,   zor_blas_xddot,   none,             none);
  static constexpr auto xdotc = per_precision<T>(none,             none,             zor_blas_xcdotc,  zor_blas_zdotc);   // result first
  static constexpr auto xdotu = per_precision<T>(none,             none,             zor_blas_cdotu,   zor_blas_zdotu);   // result first
  static constexpr auto xgemv = per_precision<T>(zor_blas_xsgemv,  zor_blas_xdgemv,  zor_blas_xcgemv,  zor_blas_xzgemv);
  static constexpr auto xgemm = per_precision<T>(zor_blas_xsgemm,  zor_blas_xdgemm,  zor_blas_xcgemm,  zor_blas_xzgemm);
  // rank-one and rank-two updates; the real ger, syr, syr2 serve as both
  // the plain and the conjugated row (nothing to conjugate)
  static constexpr auto geru  = per_precision<T>(zor_blas_sger,    zor_blas_dger,    zor_blas_cgeru,   zor_blas_zgeru);
  static constexpr auto gerc  = per_precision<T>(zor_blas_sger,    zor_blas_dger,    zor_blas_cgerc,   zor_blas_zgerc);
  static constexpr auto her   = per_precision<T>(zor_blas_xssyr,   zor_blas_xdsyr,   zor_blas_cher,    zor_blas_zher);    // real alpha
  static constexpr auto her2  = per_precision<T>(zor_blas_xssyr2,  zor_blas_xdsyr2,  zor_blas_cher2,   zor_blas_zher2);
  static constexpr auto hpr   = per_precision<T>(zor_blas_sspr,    zor_blas_dspr,    zor_blas_chpr,    zor_blas_zhpr);    // real alpha
  static constexpr auto hpr2  = per_precision<T>(zor_blas_sspr2,   zor_blas_dspr2,   zor_blas_chpr2,   zor_blas_zhpr2);
  // products with one stored triangle or band; the real rows are the
  // symmetric forms (the Hermitian ones of real data)
  static constexpr auto hemv  = per_precision<T>(zor_blas_xssymv,  zor_blas_xdsymv,  zor_blas_chemv,   zor_blas_zhemv);
  static constexpr auto hbmv  = per_precision<T>(zor_blas_ssbmv,   zor_blas_dsbmv,   zor_blas_chbmv,   zor_blas_zhbmv);
  static constexpr auto hpmv  = per_precision<T>(zor_blas_sspmv,   zor_blas_dspmv,   zor_blas_chpmv,   zor_blas_zhpmv);
  static constexpr auto gbmv  = per_precision<T>(zor_blas_sgbmv,   zor_blas_dgbmv,   zor_blas_cgbmv,   zor_blas_zgbmv);
  static constexpr auto xtrmv = per_precision<T>(zor_blas_xstrmv,  zor_blas_xdtrmv,  zor_blas_xctrmv,  zor_blas_xztrmv);
  static constexpr auto trsv  = per_precision<T>(zor_blas_strsv,   zor_blas_dtrsv,   zor_blas_ctrsv,   zor_blas_ztrsv);
  static constexpr auto tbmv  = per_precision<T>(zor_blas_stbmv,   zor_blas_dtbmv,   zor_blas_ctbmv,   zor_blas_ztbmv);
  static constexpr auto tbsv  = per_precision<T>(zor_blas_stbsv,   zor_blas_dtbsv,   zor_blas_ctbsv,   zor_blas_ztbsv);
  static constexpr auto tpmv  = per_precision<T>(zor_blas_stpmv,   zor_blas_dtpmv,   zor_blas_ctpmv,   zor_blas_ztpmv);
  static constexpr auto tpsv  = per_precision<T>(zor_blas_stpsv,   zor_blas_dtpsv,   zor_blas_ctpsv,   zor_blas_ztpsv);
  // level 3
  static constexpr auto xgemm3m = per_precision<T>(none,           none,             zor_blas_xcgemm3m, zor_blas_xzgemm3m);
  static constexpr auto xsymm  = per_precision<T>(zor_blas_xssymm,  zor_blas_xdsymm,  zor_blas_xcsymm,  zor_blas_xzsymm);
  static constexpr auto xhemm  = per_precision<T>(zor_blas_xssymm,  zor_blas_xdsymm,  zor_blas_xchemm,  zor_blas_xzhemm);
  static constexpr auto xsyrk  = per_precision<T>(zor_blas_xssyrk,  zor_blas_xdsyrk,  zor_blas_xcsyrk,  zor_blas_xzsyrk);
  static constexpr auto xherk  = per_precision<T>(zor_blas_xssyrk,  zor_blas_xdsyrk,  zor_blas_xcherk,  zor_blas_xzherk);   // real alpha, beta
  static constexpr auto xsyr2k = per_precision<T>(zor_blas_xssyr2k, zor_blas_xdsyr2k, zor_blas_xcsyr2k, zor_blas_xzsyr2k);
  static constexpr auto xher2k = per_precision<T>(zor_blas_xssyr2k, zor_blas_xdsyr2k, zor_blas_xcher2k, zor_blas_xzher2k);  // real beta
  static constexpr auto xtrmm  = per_precision<T>(zor_blas_xstrmm,  zor_blas_xdtrmm,  zor_blas_xctrmm,  zor_blas_xztrmm);
  static constexpr auto xtrsm  = per_precision<T>(zor_blas_xstrsm,  zor_blas_xdtrsm,  zor_blas_xctrsm,  zor_blas_xztrsm);
  // rotations: the real generators and modified rotations
  static constexpr auto rotg  = per_precision<T>(zor_blas_srotg,   zor_blas_drotg,   zor_blas_crotg,   zor_blas_zrotg);
  static constexpr auto rotm  = per_precision<T>(zor_blas_srotm,   zor_blas_drotm,   none,             none);
  static constexpr auto rotmg = per_precision<T>(zor_blas_srotmg,  zor_blas_drotmg,  none,             none);
  static constexpr auto cabs1 = per_precision<T>(none,             none,             zor_blas_scabs1,  zor_blas_dcabs1);
  // sparse vectors: nz, the compressed x, 1-based indices, the full y
  static constexpr auto axpyi = per_precision<T>(zor_blas_saxpyi,  zor_blas_daxpyi,  zor_blas_caxpyi,  zor_blas_zaxpyi);
  static constexpr auto doti  = per_precision<T>(zor_blas_sdoti,   zor_blas_ddoti,   none,             none);
  static constexpr auto dotui = per_precision<T>(none,             none,             zor_blas_cdotui,  zor_blas_zdotui);  // result first
  static constexpr auto dotci = per_precision<T>(none,             none,             zor_blas_cdotci,  zor_blas_zdotci);  // result first
  static constexpr auto gthr  = per_precision<T>(zor_blas_sgthr,   zor_blas_dgthr,   zor_blas_cgthr,   zor_blas_zgthr);
  static constexpr auto gthrz = per_precision<T>(zor_blas_sgthrz,  zor_blas_dgthrz,  zor_blas_cgthrz,  zor_blas_zgthrz);
  static constexpr auto sctr  = per_precision<T>(zor_blas_ssctr,   zor_blas_dsctr,   zor_blas_csctr,   zor_blas_zsctr);
  static constexpr auto roti  = per_precision<T>(zor_blas_sroti,   zor_blas_droti,   none,             none);
  // ---- the provider's checked entries
  static constexpr auto axpy  = per_precision<T>(zor_blas_saxpy,   zor_blas_daxpy,   zor_blas_caxpy,   zor_blas_zaxpy);
  static constexpr auto swap  = per_precision<T>(zor_blas_sswap,   zor_blas_dswap,   zor_blas_cswap,   zor_blas_zswap);
  static constexpr auto dot   = per_precision<T>(zor_blas_sdot,    zor_blas_ddot,    none,             none);
  static constexpr auto dotc  = per_precision<T>(none,             none,             zor_blas_cdotc,   none);             // result first
  static constexpr auto gemv  = per_precision<T>(zor_blas_sgemv,   zor_blas_dgemv,   zor_blas_cgemv,   zor_blas_zgemv);   // trans length last
  static constexpr auto syr   = per_precision<T>(zor_blas_ssyr,    none,             none,             none);             // uplo length last
  // clang-format on

  // sum x_i y_i and sum conj(x_i) y_i through the tier's kernels, returned
  // by value in every precision (the real forms are the one real dot).
  static E dotu_of(const zor_int *n, const E *x, const zor_int *incx, const E *y, const zor_int *incy) {
    if constexpr (T::complex) {
      E r;
      xdotu(&r, n, x, incx, y, incy);
      return r;
    } else {
      return xdot(n, x, incx, y, incy);
    }
  }
  static E dotc_of(const zor_int *n, const E *x, const zor_int *incx, const E *y, const zor_int *incy) {
    if constexpr (T::complex) {
      E r;
      xdotc(&r, n, x, incx, y, incy);
      return r;
    } else {
      return xdot(n, x, incx, y, incy);
    }
  }
};

}  // namespace zor
