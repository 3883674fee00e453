/* The reference BLAS and LAPACK, as the Fortran routines they are: every
   argument by reference, default (32-bit) integers, hidden string lengths
   last. Families declare the routines they use beside these. */
#ifndef ZOR_TEST_REFERENCE_BLAS_H
#define ZOR_TEST_REFERENCE_BLAS_H
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif
typedef int f_int;
typedef size_t f_len;

double ddot_(const f_int *n, const double *x, const f_int *incx, const double *y, const f_int *incy);
float sdot_(const f_int *n, const float *x, const f_int *incx, const float *y, const f_int *incy);
void daxpy_(const f_int *n, const double *a, const double *x, const f_int *incx, double *y, const f_int *incy);
void saxpy_(const f_int *n, const float *a, const float *x, const f_int *incx, float *y, const f_int *incy);
void dgemm_(const char *ta, const char *tb, const f_int *m, const f_int *n, const f_int *k, const double *alpha,
            const double *a, const f_int *lda, const double *b, const f_int *ldb, const double *beta, double *c,
            const f_int *ldc, f_len, f_len);
void sgemm_(const char *ta, const char *tb, const f_int *m, const f_int *n, const f_int *k, const float *alpha,
            const float *a, const f_int *lda, const float *b, const f_int *ldb, const float *beta, float *c,
            const f_int *ldc, f_len, f_len);
void zgemm_(const char *ta, const char *tb, const f_int *m, const f_int *n, const f_int *k, const void *alpha,
            const void *a, const f_int *lda, const void *b, const f_int *ldb, const void *beta, void *c,
            const f_int *ldc, f_len, f_len);
void cgemm_(const char *ta, const char *tb, const f_int *m, const f_int *n, const f_int *k, const void *alpha,
            const void *a, const f_int *lda, const void *b, const f_int *ldb, const void *beta, void *c,
            const f_int *ldc, f_len, f_len);

void dgemv_(const char *, const f_int *, const f_int *, const double *, const double *, const f_int *,
            const double *, const f_int *, const double *, double *, const f_int *, f_len);
void sgemv_(const char *, const f_int *, const f_int *, const float *, const float *, const f_int *,
            const float *, const f_int *, const float *, float *, const f_int *, f_len);
void zgemv_(const char *, const f_int *, const f_int *, const void *, const void *, const f_int *, const void *,
            const f_int *, const void *, void *, const f_int *, f_len);
void cgemv_(const char *, const f_int *, const f_int *, const void *, const void *, const f_int *, const void *,
            const f_int *, const void *, void *, const f_int *, f_len);

/* Symmetric and Hermitian products and updates (uplo first). */
void ssymv_(const char *, const f_int *, const float *, const float *, const f_int *, const float *, const f_int *,
            const float *, float *, const f_int *, f_len);
void dsymv_(const char *, const f_int *, const double *, const double *, const f_int *, const double *,
            const f_int *, const double *, double *, const f_int *, f_len);
void chemv_(const char *, const f_int *, const void *, const void *, const f_int *, const void *, const f_int *,
            const void *, void *, const f_int *, f_len);
void zhemv_(const char *, const f_int *, const void *, const void *, const f_int *, const void *, const f_int *,
            const void *, void *, const f_int *, f_len);
void ssyr2_(const char *, const f_int *, const float *, const float *, const f_int *, const float *, const f_int *,
            float *, const f_int *, f_len);
void dsyr2_(const char *, const f_int *, const double *, const double *, const f_int *, const double *,
            const f_int *, double *, const f_int *, f_len);
void cher2_(const char *, const f_int *, const void *, const void *, const f_int *, const void *, const f_int *,
            void *, const f_int *, f_len);
void zher2_(const char *, const f_int *, const void *, const void *, const f_int *, const void *, const f_int *,
            void *, const f_int *, f_len);
void ssyr2k_(const char *, const char *, const f_int *, const f_int *, const float *, const float *, const f_int *,
             const float *, const f_int *, const float *, float *, const f_int *, f_len, f_len);
void dsyr2k_(const char *, const char *, const f_int *, const f_int *, const double *, const double *,
             const f_int *, const double *, const f_int *, const double *, double *, const f_int *, f_len, f_len);
void cher2k_(const char *, const char *, const f_int *, const f_int *, const void *, const void *, const f_int *,
             const void *, const f_int *, const float *, void *, const f_int *, f_len, f_len);
void zher2k_(const char *, const char *, const f_int *, const f_int *, const void *, const void *, const f_int *,
             const void *, const f_int *, const double *, void *, const f_int *, f_len, f_len);

#ifdef __cplusplus
}
#endif

/* The level-1 routines. Complex dots return a complex value. */
#ifdef __cplusplus
#include <complex>
extern "C" {
void caxpy_(const f_int *, const void *, const void *, const f_int *, void *, const f_int *);
void zaxpy_(const f_int *, const void *, const void *, const f_int *, void *, const f_int *);
void scopy_(const f_int *, const float *, const f_int *, float *, const f_int *);
void dcopy_(const f_int *, const double *, const f_int *, double *, const f_int *);
void ccopy_(const f_int *, const void *, const f_int *, void *, const f_int *);
void zcopy_(const f_int *, const void *, const f_int *, void *, const f_int *);
void sswap_(const f_int *, float *, const f_int *, float *, const f_int *);
void dswap_(const f_int *, double *, const f_int *, double *, const f_int *);
void cswap_(const f_int *, void *, const f_int *, void *, const f_int *);
void zswap_(const f_int *, void *, const f_int *, void *, const f_int *);
std::complex<float> cdotc_(const f_int *, const void *, const f_int *, const void *, const f_int *);
std::complex<float> cdotu_(const f_int *, const void *, const f_int *, const void *, const f_int *);
std::complex<double> zdotc_(const f_int *, const void *, const f_int *, const void *, const f_int *);
std::complex<double> zdotu_(const f_int *, const void *, const f_int *, const void *, const f_int *);
double dsdot_(const f_int *, const float *, const f_int *, const float *, const f_int *);
float sdsdot_(const f_int *, const float *, const float *, const f_int *, const float *, const f_int *);
void sscal_(const f_int *, const float *, float *, const f_int *);
void dscal_(const f_int *, const double *, double *, const f_int *);
void cscal_(const f_int *, const void *, void *, const f_int *);
void zscal_(const f_int *, const void *, void *, const f_int *);
void csscal_(const f_int *, const float *, void *, const f_int *);
void zdscal_(const f_int *, const double *, void *, const f_int *);
float snrm2_(const f_int *, const float *, const f_int *);
double dnrm2_(const f_int *, const double *, const f_int *);
float scnrm2_(const f_int *, const void *, const f_int *);
double dznrm2_(const f_int *, const void *, const f_int *);
float sasum_(const f_int *, const float *, const f_int *);
double dasum_(const f_int *, const double *, const f_int *);
float scasum_(const f_int *, const void *, const f_int *);
double dzasum_(const f_int *, const void *, const f_int *);
f_int isamax_(const f_int *, const float *, const f_int *);
f_int idamax_(const f_int *, const double *, const f_int *);
f_int icamax_(const f_int *, const void *, const f_int *);
f_int izamax_(const f_int *, const void *, const f_int *);
void srot_(const f_int *, float *, const f_int *, float *, const f_int *, const float *, const float *);
void drot_(const f_int *, double *, const f_int *, double *, const f_int *, const double *, const double *);
void csrot_(const f_int *, void *, const f_int *, void *, const f_int *, const float *, const float *);
void zdrot_(const f_int *, void *, const f_int *, void *, const f_int *, const double *, const double *);
void crot_(const f_int *, void *, const f_int *, void *, const f_int *, const float *, const void *);
void zrot_(const f_int *, void *, const f_int *, void *, const f_int *, const double *, const void *);
void srotg_(float *, float *, float *, float *);
void drotg_(double *, double *, double *, double *);
void crotg_(void *, const void *, float *, void *);
void zrotg_(void *, const void *, double *, void *);
void srotm_(const f_int *, float *, const f_int *, float *, const f_int *, const float *);
void drotm_(const f_int *, double *, const f_int *, double *, const f_int *, const double *);
void srotmg_(float *, float *, float *, const float *, float *);
void drotmg_(double *, double *, double *, const double *, double *);
}
#endif

/* The level-2 routines beyond those above, by family; complex data as void *,
   real scalars of the Hermitian updates as the real type. */
#ifdef __cplusplus
extern "C" {
#endif
#define ZOR_REF_GER(R, name) \
  void name(const f_int *, const f_int *, const R *, const R *, const f_int *, const R *, const f_int *, R *, const f_int *);
ZOR_REF_GER(float, sger_)
ZOR_REF_GER(double, dger_)
ZOR_REF_GER(void, cgeru_)
ZOR_REF_GER(void, zgeru_)
ZOR_REF_GER(void, cgerc_)
ZOR_REF_GER(void, zgerc_)
#undef ZOR_REF_GER

void ssyr_(const char *, const f_int *, const float *, const float *, const f_int *, float *, const f_int *, f_len);
void dsyr_(const char *, const f_int *, const double *, const double *, const f_int *, double *, const f_int *, f_len);
void cher_(const char *, const f_int *, const float *, const void *, const f_int *, void *, const f_int *, f_len);
void zher_(const char *, const f_int *, const double *, const void *, const f_int *, void *, const f_int *, f_len);
void sspr_(const char *, const f_int *, const float *, const float *, const f_int *, float *, f_len);
void dspr_(const char *, const f_int *, const double *, const double *, const f_int *, double *, f_len);
void chpr_(const char *, const f_int *, const float *, const void *, const f_int *, void *, f_len);
void zhpr_(const char *, const f_int *, const double *, const void *, const f_int *, void *, f_len);
void sspr2_(const char *, const f_int *, const float *, const float *, const f_int *, const float *, const f_int *,
            float *, f_len);
void dspr2_(const char *, const f_int *, const double *, const double *, const f_int *, const double *,
            const f_int *, double *, f_len);
void chpr2_(const char *, const f_int *, const void *, const void *, const f_int *, const void *, const f_int *,
            void *, f_len);
void zhpr2_(const char *, const f_int *, const void *, const void *, const f_int *, const void *, const f_int *,
            void *, f_len);

#define ZOR_REF_GBMV(R, name)                                                                                    \
  void name(const char *, const f_int *, const f_int *, const f_int *, const f_int *, const R *, const R *,      \
            const f_int *, const R *, const f_int *, const R *, R *, const f_int *, f_len);
ZOR_REF_GBMV(float, sgbmv_)
ZOR_REF_GBMV(double, dgbmv_)
ZOR_REF_GBMV(void, cgbmv_)
ZOR_REF_GBMV(void, zgbmv_)
#undef ZOR_REF_GBMV
#define ZOR_REF_SBMV(R, name)                                                                                    \
  void name(const char *, const f_int *, const f_int *, const R *, const R *, const f_int *, const R *,         \
            const f_int *, const R *, R *, const f_int *, f_len);
ZOR_REF_SBMV(float, ssbmv_)
ZOR_REF_SBMV(double, dsbmv_)
ZOR_REF_SBMV(void, chbmv_)
ZOR_REF_SBMV(void, zhbmv_)
#undef ZOR_REF_SBMV
#define ZOR_REF_SPMV(R, name)                                                                                     \
  void name(const char *, const f_int *, const R *, const R *, const R *, const f_int *, const R *, R *,         \
            const f_int *, f_len);
ZOR_REF_SPMV(float, sspmv_)
ZOR_REF_SPMV(double, dspmv_)
ZOR_REF_SPMV(void, chpmv_)
ZOR_REF_SPMV(void, zhpmv_)
#undef ZOR_REF_SPMV

/* Triangular: uplo, trans, diag, n, then the storage: (a, lda) dense,
   (k, a, lda) band, (ap) packed; then x, incx and the three lengths. */
#define ZOR_REF_TRMV(R, name)                                                                                    \
  void name(const char *, const char *, const char *, const f_int *, const R *, const f_int *, R *, const f_int *, \
            f_len, f_len, f_len);
#define ZOR_REF_TBMV(R, name)                                                                                    \
  void name(const char *, const char *, const char *, const f_int *, const f_int *, const R *, const f_int *, R *, \
            const f_int *, f_len, f_len, f_len);
#define ZOR_REF_TPMV(R, name) \
  void name(const char *, const char *, const char *, const f_int *, const R *, R *, const f_int *, f_len, f_len, f_len);
ZOR_REF_TRMV(float, strmv_) ZOR_REF_TRMV(double, dtrmv_) ZOR_REF_TRMV(void, ctrmv_) ZOR_REF_TRMV(void, ztrmv_)
ZOR_REF_TRMV(float, strsv_) ZOR_REF_TRMV(double, dtrsv_) ZOR_REF_TRMV(void, ctrsv_) ZOR_REF_TRMV(void, ztrsv_)
ZOR_REF_TBMV(float, stbmv_) ZOR_REF_TBMV(double, dtbmv_) ZOR_REF_TBMV(void, ctbmv_) ZOR_REF_TBMV(void, ztbmv_)
ZOR_REF_TBMV(float, stbsv_) ZOR_REF_TBMV(double, dtbsv_) ZOR_REF_TBMV(void, ctbsv_) ZOR_REF_TBMV(void, ztbsv_)
ZOR_REF_TPMV(float, stpmv_) ZOR_REF_TPMV(double, dtpmv_) ZOR_REF_TPMV(void, ctpmv_) ZOR_REF_TPMV(void, ztpmv_)
ZOR_REF_TPMV(float, stpsv_) ZOR_REF_TPMV(double, dtpsv_) ZOR_REF_TPMV(void, ctpsv_) ZOR_REF_TPMV(void, ztpsv_)
#undef ZOR_REF_TRMV
#undef ZOR_REF_TBMV
#undef ZOR_REF_TPMV
#ifdef __cplusplus
}
#endif
#endif
