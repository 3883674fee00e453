/* A row-major product through the C interface of the BLAS front:
 * C := A B for a 2 x 3 A and a 3 x 2 B, both stored row by row.
 *   cc cblas_dgemm.c -lzor_blas   (or -lblas with the drop-in directory) */
#include <stdio.h>
#include <zor/cblas.h>

int main(void) {
  const double a[2 * 3] = {1, 2, 3,
                           4, 5, 6};
  const double b[3 * 2] = {7, 8,
                           9, 10,
                           11, 12};
  double c[2 * 2] = {0};
  cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 2, 2, 3, 1.0, a, 3, b, 2, 0.0, c, 2);
  printf("%g %g\n%g %g\n", c[0], c[1], c[2], c[3]);
  /* 58 64 / 139 154 */
  return c[0] == 58 && c[1] == 64 && c[2] == 139 && c[3] == 154 ? 0 : 1;
}
