/* zor_core: the services the tier imports, supplied by the provider library.
 *
 * Processor answers can be forced, for tests and experiments, either by
 * environment variables read once at the first query:
 *   ZOR_CORE_CPUHASQLX=0|1        zor_serv_cpuhasqlx
 *   ZOR_CORE_MICROARCH=N          zor_serv_get_microarchitecture
 *   ZOR_CORE_CPU_DETECT=N         zor_serv_cpu_detect
 *   ZOR_CORE_L1=bytes, ZOR_CORE_L2=bytes   zor_serv_cache_info (levels become 2)
 *   ZOR_CORE_CACHE_SIZE=bytes     zor_serv_get_cache_size
 * or in-process by zor_core_force(), which overrides until zor_core_unforce().
 */
#ifndef ZOR_CORE_H
#define ZOR_CORE_H

#include <stdint.h>
#include <zor/export.h>

ZOR_API void zor_serv_lock(void);
ZOR_API void zor_serv_unlock(void);
ZOR_API int32_t zor_serv_cpu_detect(void);
ZOR_API int32_t zor_serv_cpuhasqlx(void);
ZOR_API int32_t zor_serv_get_microarchitecture(void);
ZOR_API void zor_serv_cache_info(int32_t *info);
ZOR_API int32_t zor_serv_get_cache_size(int32_t level);
ZOR_API int32_t zor_serv_check_ptr(const void *p, const char *routine);
typedef int64_t (*zor_thread_fun)();
ZOR_API zor_thread_fun zor_serv_load_thread_fun(const char *name);
ZOR_API const char *zor_serv_zor_get_msg(int32_t number, int32_t nargs, ...);
ZOR_API void zor_serv_zor_print(int32_t one, int32_t number, int32_t nargs, ...);
ZOR_API void zor_serv_getversionstring_c(char *buffer, int32_t length);
ZOR_API void zor_serv_libm_sincos(double angle, double *s, double *c);
ZOR_API void zor_serv_libm_sincosf(float angle, float *s, float *c);
ZOR_API void zor_pdepl_pl_get_max_thread(int64_t *count);

/* Processor answers that can be forced (tests reach every kernel row). */
enum zor_core_answer {
  ZOR_CORE_CPUHASQLX = 0,
  ZOR_CORE_MICROARCH = 1,
  ZOR_CORE_CPU_DETECT = 2,
  ZOR_CORE_L1_SIZE = 3,
  ZOR_CORE_L2_SIZE = 4,
  ZOR_CORE_CACHE_SIZE = 5,
  ZOR_CORE_CACHE_LEVELS = 6
};
ZOR_API void zor_core_force(int32_t answer, int64_t value);
ZOR_API void zor_core_unforce(int32_t answer);

/* Counter of calls that arrived in the provider's bodies of the tier's
   pass-through exports, keyed by export name (tests prove the jump lands here). */
ZOR_API int64_t zor_core_passthrough_hits(const char *name);

#endif
