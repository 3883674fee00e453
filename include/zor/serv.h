/* Tier identity, character flags and working memory of zor_tier2. */
#ifndef ZOR_SERV_H
#define ZOR_SERV_H

#include <stddef.h>
#include <stdint.h>
#include <zor/export.h>

/* The number of this processor tier: 2. */
ZOR_API int dll_cpu_version(void);

/* 1 when the first bytes of *a and *b are equal, letters compared without case. */
ZOR_API int zor_serv_lsame(const char *a, const char *b);

/* Pooled working memory: up to five blocks kept per thread. */
ZOR_API void *zor_serv_allocate(uint64_t size, int32_t alignment);
ZOR_API void zor_serv_deallocate(void *p);
ZOR_API void zor_serv_freebuffers(void);
ZOR_API void zor_serv_zor_thread_free_buffers(void);
ZOR_API int64_t zor_serv_zor_memstat(int32_t *count);
ZOR_API int zor_serv_disable_fast_mm(void);

/* Plain heap memory with a 16-byte header in front of each block. */
ZOR_API void *zor_serv_zor_malloc(uint64_t size, int32_t alignment);
ZOR_API void *zor_serv_zor_calloc(uint64_t count, uint64_t elsize, int32_t alignment);
ZOR_API void *zor_serv_zor_realloc(void *p, uint64_t size);
ZOR_API void zor_serv_zor_free(void *p);

#endif
