// The plain services of the provider: the process lock, the null-pointer
// report of the GEMM-class routines, version text, sin/cos, thread count.
#include <zor/core.h>

#include <pthread.h>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {
// Statically initialised: usable before any constructor has run, never
// allocates, not recursive.
pthread_mutex_t process_lock = PTHREAD_MUTEX_INITIALIZER;
}  // namespace

ZOR_API void zor_serv_lock(void) { pthread_mutex_lock(&process_lock); }
ZOR_API void zor_serv_unlock(void) { pthread_mutex_unlock(&process_lock); }

ZOR_API int32_t zor_serv_check_ptr(const void *p, const char *routine) {
  if (p) return 0;
  std::fprintf(stderr, "zor: %s could not obtain its working buffers; taking the unblocked path\n",
               routine ? routine : "(unnamed routine)");
  return 1;
}

ZOR_API void zor_serv_getversionstring_c(char *buffer, int32_t length) {
  if (!buffer || length <= 0) return;
  std::snprintf(buffer, size_t(length), "zor numerical kernels 2.0.0, processor tier 2 "
                                        "(x86-64, SSE2/SSE3/SSSE3), stand-alone provider");
}

ZOR_API void zor_serv_libm_sincos(double angle, double *s, double *c) {
  *s = std::sin(angle);
  *c = std::cos(angle);
}

ZOR_API void zor_serv_libm_sincosf(float angle, float *s, float *c) {
  *s = std::sin(angle);
  *c = std::cos(angle);
}

// The provider runs everything in the calling thread.
ZOR_API void zor_pdepl_pl_get_max_thread(int64_t *count) { *count = 1; }
