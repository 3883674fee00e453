/* The optional allocator module, as a fault injector for the test suite:
   the four hook variables point at counting wrappers of the C runtime, and
   the next N allocations (or those of one size) can be made to fail; freed
   blocks can also be handed straight back.
   A test program links this module (so it stays mapped) and runs with its
   folder on LD_LIBRARY_PATH so that the tier finds it by name. */
#include "qalloc_module.h"

#include <malloc.h>
#include <stdlib.h>

static long fail_next_count;
static long fail_nth_count;
static size_t fail_size_value;
static long counts[4];
static int reuse_last_freed;
static void *last_freed;

/* Counted atomically: threads of a test may allocate at once. */
static void count(int which) { __atomic_fetch_add(&counts[which], 1, __ATOMIC_RELAXED); }

static int should_fail(size_t n) {
  if (fail_next_count > 0) {
    --fail_next_count;
    return 1;
  }
  if (fail_nth_count > 0 && --fail_nth_count == 0) return 1;
  return fail_size_value != 0 && n == fail_size_value;
}

static void *counting_malloc(size_t n) {
  count(QALLOC_MALLOC);
  if (should_fail(n)) return NULL;
  if (last_freed && malloc_usable_size(last_freed) >= n) {
    void *p = last_freed;
    last_freed = NULL;
    return p;
  }
  return malloc(n);
}
static void *counting_calloc(size_t n, size_t m) {
  count(QALLOC_CALLOC);
  return should_fail(n * m) ? NULL : calloc(n, m);
}
static void *counting_realloc(void *p, size_t n) {
  count(QALLOC_REALLOC);
  return should_fail(n) ? NULL : realloc(p, n);
}
static void counting_free(void *p) {
  count(QALLOC_FREE);
  if (reuse_last_freed && p) {
    free(last_freed);
    last_freed = p;
    return;
  }
  free(p);
}

void *(*q_malloc_dll)(size_t) = counting_malloc;
void *(*q_calloc_dll)(size_t, size_t) = counting_calloc;
void *(*q_realloc_dll)(void *, size_t) = counting_realloc;
void (*q_free_dll)(void *) = counting_free;

void qalloc_fail_next(long n) { fail_next_count = n; }
void qalloc_fail_nth(long k) { fail_nth_count = k; }
void qalloc_fail_size(size_t n) { fail_size_value = n; }
void qalloc_reuse_last_freed(int on) {
  reuse_last_freed = on;
  if (!on) {
    free(last_freed);
    last_freed = NULL;
  }
}
long qalloc_count(int which) { return __atomic_load_n(&counts[which], __ATOMIC_RELAXED); }
