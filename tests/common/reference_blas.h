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

#ifdef __cplusplus
}
#endif
#endif
