/* A C user of the standard BLAS, linked with -lblas alone: dgemm, zdotc,
 * zdotu and dnrm2 checked, and the file that served dgemm_ named. Built
 * twice: calling with the hidden lengths of the letter arguments, as a
 * Fortran caller does, and without them, as many C callers do. */
#include <complex.h>
#include <stddef.h>
#include <stdio.h>

#ifdef WITH_LENGTHS
void dgemm_(const char *, const char *, const int *, const int *, const int *, const double *, const double *,
            const int *, const double *, const int *, const double *, double *, const int *, size_t, size_t);
#define LENGTHS , 1, 1
#else
void dgemm_(const char *, const char *, const int *, const int *, const int *, const double *, const double *,
            const int *, const double *, const int *, const double *, double *, const int *);
#define LENGTHS
#endif
double _Complex zdotc_(const int *, const double _Complex *, const int *, const double _Complex *, const int *);
double _Complex zdotu_(const int *, const double _Complex *, const int *, const double _Complex *, const int *);
double dnrm2_(const int *, const double *, const int *);
int served_by_expected(void);

int main(void) {
  const int two = 2, three = 3, one = 1, four = 4;
  const double a[6] = {1, 2, 3, 4, 5, 6}, b[6] = {1, 0, 1, 0, 1, 0}, alpha = 1, beta = 0;
  double c[4] = {-1, -1, -1, -1};
  dgemm_("N", "N", &two, &two, &three, &alpha, a, &two, b, &three, &beta, c, &two LENGTHS);
  const double _Complex u[2] = {1 + 2 * I, 3}, v[2] = {1, I};
  const double _Complex dc = zdotc_(&two, u, &one, v, &one), du = zdotu_(&two, u, &one, v, &one);
  const double x[4] = {3, 0, 4, 0};
  const double norm = dnrm2_(&four, x, &one);
  int bad = 0;
  bad |= c[0] != 6 || c[1] != 8 || c[2] != 3 || c[3] != 4;
  bad |= dc != 1 + 1 * I;   /* (1-2i) + 3i */
  bad |= du != 1 + 5 * I;   /* (1+2i) + 3i */
  bad |= norm != 5;
  printf("C = %g %g %g %g, zdotc = %g%+gi, zdotu = %g%+gi, dnrm2 = %g\n", c[0], c[1], c[2], c[3], creal(dc),
         cimag(dc), creal(du), cimag(du), norm);
  if (bad) printf("wrong results\n");
  if (!served_by_expected()) {
    printf("dgemm_ was not served by the expected library\n");
    bad = 1;
  }
  return bad;
}
