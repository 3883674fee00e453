/* The optional allocator module, as a fault injector for the test suite:
   the four hook variables point at counting wrappers of the C runtime, and
   the next N allocations (or those of one size) can be made to fail.
   A test program links this module (so it stays mapped) and runs with its
   folder on LD_LIBRARY_PATH so that the tier finds it by name. */
#include "qalloc_module.h"

#include <stdlib.h>

static long fail_next_count;
static long fail_nth_count;
static size_t fail_size_value;
static long counts[4];

static int should_fail(size_t n) {
  if (fail_next_count > 0) {
    --fail_next_count;
    return 1;
  }
  if (fail_nth_count > 0 && --fail_nth_count == 0) return 1;
  return fail_size_value != 0 && n == fail_size_value;
}

static void *counting_malloc(size_t n) {
  ++counts[QALLOC_MALLOC];
  return should_fail(n) ? NULL : malloc(n);
}
static void *counting_calloc(size_t n, size_t m) {
  ++counts[QALLOC_CALLOC];
  return should_fail(n * m) ? NULL : calloc(n, m);
}
static void *counting_realloc(void *p, size_t n) {
  ++counts[QALLOC_REALLOC];
  return should_fail(n) ? NULL : realloc(p, n);
}
static void counting_free(void *p) {
  ++counts[QALLOC_FREE];
  free(p);
}

void *(*q_malloc_dll)(size_t) = counting_malloc;
void *(*q_calloc_dll)(size_t, size_t) = counting_calloc;
void *(*q_realloc_dll)(void *, size_t) = counting_realloc;
void (*q_free_dll)(void *) = counting_free;

void qalloc_fail_next(long n) { fail_next_count = n; }
void qalloc_fail_nth(long k) { fail_nth_count = k; }
void qalloc_fail_size(size_t n) { fail_size_value = n; }
long qalloc_count(int which) { return counts[which]; }
