/* Which file serves dgemm_ in this process: the symbol as the program's
 * calls bind to it, named by dladdr, against ZOR_EXPECTED_BLAS. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int served_by_expected(void) {
  const char *expected = getenv("ZOR_EXPECTED_BLAS");
  Dl_info info;
  void *f = dlsym(RTLD_DEFAULT, "dgemm_");
  char a[PATH_MAX], b[PATH_MAX];
  if (!expected || !f || !dladdr(f, &info) || !info.dli_fname) return 0;
  if (!realpath(info.dli_fname, a) || !realpath(expected, b)) return 0;
  printf("dgemm_ served by %s\n", a);
  return strcmp(a, b) == 0;
}

/* For Fortran callers. */
void served_by_expected_(int *ok) { *ok = served_by_expected(); }
