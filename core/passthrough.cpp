// Bodies of the tier's pass-through exports. The tier's export of each name
// is an indirect jump to zor_core_body_<name>; the provider's own export of
// the same name is an alias of that body, so either way the call lands here.
#include <zor/core.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "core/gmp_streams.hpp"
#include "core/tier_lookup.h"

namespace {

// Indices and names of the pass-through exports, from the one list the
// tier's jumps are made from.
#define ZOR_PASSTHROUGH(name) k_##name,
enum Passthrough {
#include "frame/passthrough_names.inc"
  kPassthroughs
};
#undef ZOR_PASSTHROUGH
#define ZOR_PASSTHROUGH(name) #name,
const char *const kNames[kPassthroughs] = {
#include "frame/passthrough_names.inc"
};
#undef ZOR_PASSTHROUGH

std::atomic<int64_t> hits[kPassthroughs];

void arrive(Passthrough p) { hits[p].fetch_add(1, std::memory_order_relaxed); }

void unavailable(Passthrough p, const char *needs) {
  std::fprintf(stderr, "zor_core: %s is not available: it needs %s, which this build lacks; nothing was written\n",
               kNames[p], needs);
}

using BufsSizeFn = int32_t (*)(int32_t, int32_t, const int64_t *, const int64_t *, const int64_t *, void *);

// The later generation's buffer sizing is the earlier one's (row 0).
int32_t bufs_size(Passthrough p, const char *row0, int32_t request, int32_t mode, const int64_t *m,
                  const int64_t *n, const int64_t *k, void *desc) {
  arrive(p);
  if (auto fn = zor_core::tier_function<BufsSizeFn>(row0)) return fn(request, mode, m, n, k, desc);
  unavailable(p, row0);
  return 1;
}

using TrmmFn = void (*)(const char *, const char *, const char *, const char *, const int64_t *,
                        const int64_t *, const void *, const void *, const int64_t *, void *,
                        const int64_t *);

void trmm(Passthrough p, const char *kernel, const char *side, const char *uplo, const char *transa,
          const char *diag, const int64_t *m, const int64_t *n, const void *alpha, const void *a,
          const int64_t *lda, void *b, const int64_t *ldb) {
  arrive(p);
  if (auto fn = zor_core::tier_function<TrmmFn>(kernel)) return fn(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
  unavailable(p, kernel);
}

}  // namespace

ZOR_API int32_t zor_core_body_zor_blas_sgemm_get_bufs_size_bvr(int32_t r, int32_t mode, const int64_t *m, const int64_t *n, const int64_t *k, void *d) {
  return bufs_size(k_zor_blas_sgemm_get_bufs_size_bvr, "zor_blas_sgemm_get_bufs_size", r, mode, m, n, k, d);
}
ZOR_API int32_t zor_core_body_zor_blas_dgemm_get_bufs_size_bvr(int32_t r, int32_t mode, const int64_t *m, const int64_t *n, const int64_t *k, void *d) {
  return bufs_size(k_zor_blas_dgemm_get_bufs_size_bvr, "zor_blas_dgemm_get_bufs_size", r, mode, m, n, k, d);
}
ZOR_API int32_t zor_core_body_zor_blas_cgemm_get_bufs_size_bvr(int32_t r, int32_t mode, const int64_t *m, const int64_t *n, const int64_t *k, void *d) {
  return bufs_size(k_zor_blas_cgemm_get_bufs_size_bvr, "zor_blas_cgemm_get_bufs_size", r, mode, m, n, k, d);
}
ZOR_API int32_t zor_core_body_zor_blas_zgemm_get_bufs_size_bvr(int32_t r, int32_t mode, const int64_t *m, const int64_t *n, const int64_t *k, void *d) {
  return bufs_size(k_zor_blas_zgemm_get_bufs_size_bvr, "zor_blas_zgemm_get_bufs_size", r, mode, m, n, k, d);
}
// Like their double twins, the single-precision buffer hooks do nothing.
ZOR_API void zor_core_body_zor_blas_sgemm_getbufs(void) { arrive(k_zor_blas_sgemm_getbufs); }
ZOR_API void zor_core_body_zor_blas_sgemm_freebufs(void) { arrive(k_zor_blas_sgemm_freebufs); }
ZOR_API void zor_core_body_zor_blas_xdtrmm_4yfw(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m, const int64_t *n, const void *alpha, const void *a, const int64_t *lda, void *b, const int64_t *ldb) {
  trmm(k_zor_blas_xdtrmm_4yfw, "zor_blas_xdtrmm", side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
ZOR_API void zor_core_body_zor_blas_xstrmm_4yfw(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m, const int64_t *n, const void *alpha, const void *a, const int64_t *lda, void *b, const int64_t *ldb) {
  trmm(k_zor_blas_xstrmm_4yfw, "zor_blas_xstrmm", side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
// The integer family's stream routines (core/gmp_streams.cpp).
ZOR_API int zor_core_body_zor_gmp___gmp_fprintf(FILE *stream, const char *format, ...) {
  arrive(k_zor_gmp___gmp_fprintf);
  va_list ap;
  va_start(ap, format);
  int n = zor_core::gmp_vfprintf(stream, format, ap);
  va_end(ap);
  return n;
}
ZOR_API size_t zor_core_body_zor_gmp___gmpz_inp_raw(zor_mpz_ptr z, FILE *stream) {
  arrive(k_zor_gmp___gmpz_inp_raw);
  return zor_core::gmp_inp_raw(z, stream);
}
ZOR_API size_t zor_core_body_zor_gmp___gmpz_inp_str(zor_mpz_ptr z, FILE *stream, int base) {
  arrive(k_zor_gmp___gmpz_inp_str);
  return zor_core::gmp_inp_str(z, stream, base);
}
ZOR_API size_t zor_core_body_zor_gmp___gmpz_out_raw(FILE *stream, zor_mpz_srcptr z) {
  arrive(k_zor_gmp___gmpz_out_raw);
  return zor_core::gmp_out_raw(stream, z);
}
ZOR_API size_t zor_core_body_zor_gmp___gmpz_out_str(FILE *stream, int base, zor_mpz_srcptr z) {
  arrive(k_zor_gmp___gmpz_out_str);
  return zor_core::gmp_out_str(stream, base, z);
}

// The provider's own exports of the same names: each a second symbol at its
// body's address.
#define ZOR_PASSTHROUGH(name)                       \
  asm(".globl " #name "\n\t.type " #name ", @function\n\t" \
      ".set " #name ", zor_core_body_" #name);
#include "frame/passthrough_names.inc"
#undef ZOR_PASSTHROUGH

ZOR_API int64_t zor_core_passthrough_hits(const char *name) {
  for (int i = 0; i < kPassthroughs; ++i)
    if (name && std::strcmp(name, kNames[i]) == 0) return hits[i].load(std::memory_order_relaxed);
  return -1;
}
