/* Controls of the fault-injecting allocator module (libqalloc.so). */
#ifndef ZOR_TEST_QALLOC_MODULE_H
#define ZOR_TEST_QALLOC_MODULE_H
#include <stddef.h>
#ifdef __cplusplus
extern "C" {
#endif
enum { QALLOC_MALLOC, QALLOC_CALLOC, QALLOC_REALLOC, QALLOC_FREE };
/* The next n raw allocations fail. */
void qalloc_fail_next(long n);
/* The k-th raw allocation from now fails, once (k from 1; 0: none). */
void qalloc_fail_nth(long k);
/* Every raw allocation of exactly n bytes fails (0: none). */
void qalloc_fail_size(size_t n);
/* While on, a freed block is held back and handed to the next allocation it
   can serve, as allocators that reuse the last freed block do; turning it off
   frees the block held. */
void qalloc_reuse_last_freed(int on);
/* Calls made through each hook so far. */
long qalloc_count(int which);
#ifdef __cplusplus
}
#endif
#endif
