// Bodies of the tier's pass-through exports. The tier's export of each name
// is an indirect jump to zor_core_body_<name>; the provider's own export of
// the same name is an alias of that body, so either way the call lands here.
#include <zor/core.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "core/tier_lookup.h"

namespace {

enum Passthrough {
  kSgemmBufsSizeBvr, kDgemmBufsSizeBvr, kCgemmBufsSizeBvr, kZgemmBufsSizeBvr,
  kSgemmGetbufs, kSgemmFreebufs, kXdtrmm4yfw, kXstrmm4yfw,
  kGmpFprintf, kMpzInpRaw, kMpzInpStr, kMpzOutRaw, kMpzOutStr, kPassthroughs
};

const char *const kNames[kPassthroughs] = {
    "zor_blas_sgemm_get_bufs_size_bvr", "zor_blas_dgemm_get_bufs_size_bvr",
    "zor_blas_cgemm_get_bufs_size_bvr", "zor_blas_zgemm_get_bufs_size_bvr",
    "zor_blas_sgemm_getbufs",           "zor_blas_sgemm_freebufs",
    "zor_blas_xdtrmm_4yfw",             "zor_blas_xstrmm_4yfw",
    "zor_gmp___gmp_fprintf",            "zor_gmp___gmpz_inp_raw",
    "zor_gmp___gmpz_inp_str",           "zor_gmp___gmpz_out_raw",
    "zor_gmp___gmpz_out_str"};

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

int64_t gmp_stream(Passthrough p) {
  arrive(p);
  unavailable(p, "the multi-precision integer family");
  return 0;
}

}  // namespace

#define ZOR_CORE_ALIAS(name) \
  ZOR_EXTERN_C __attribute__((visibility("default"), alias("zor_core_body_" #name)))

ZOR_API int32_t zor_core_body_zor_blas_sgemm_get_bufs_size_bvr(int32_t r, int32_t mode, const int64_t *m, const int64_t *n, const int64_t *k, void *d) {
  return bufs_size(kSgemmBufsSizeBvr, "zor_blas_sgemm_get_bufs_size", r, mode, m, n, k, d);
}
ZOR_API int32_t zor_core_body_zor_blas_dgemm_get_bufs_size_bvr(int32_t r, int32_t mode, const int64_t *m, const int64_t *n, const int64_t *k, void *d) {
  return bufs_size(kDgemmBufsSizeBvr, "zor_blas_dgemm_get_bufs_size", r, mode, m, n, k, d);
}
ZOR_API int32_t zor_core_body_zor_blas_cgemm_get_bufs_size_bvr(int32_t r, int32_t mode, const int64_t *m, const int64_t *n, const int64_t *k, void *d) {
  return bufs_size(kCgemmBufsSizeBvr, "zor_blas_cgemm_get_bufs_size", r, mode, m, n, k, d);
}
ZOR_API int32_t zor_core_body_zor_blas_zgemm_get_bufs_size_bvr(int32_t r, int32_t mode, const int64_t *m, const int64_t *n, const int64_t *k, void *d) {
  return bufs_size(kZgemmBufsSizeBvr, "zor_blas_zgemm_get_bufs_size", r, mode, m, n, k, d);
}
// Like their double twins, the single-precision buffer hooks do nothing.
ZOR_API void zor_core_body_zor_blas_sgemm_getbufs(void) { arrive(kSgemmGetbufs); }
ZOR_API void zor_core_body_zor_blas_sgemm_freebufs(void) { arrive(kSgemmFreebufs); }
ZOR_API void zor_core_body_zor_blas_xdtrmm_4yfw(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m, const int64_t *n, const void *alpha, const void *a, const int64_t *lda, void *b, const int64_t *ldb) {
  trmm(kXdtrmm4yfw, "zor_blas_xdtrmm", side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
ZOR_API void zor_core_body_zor_blas_xstrmm_4yfw(const char *side, const char *uplo, const char *transa, const char *diag, const int64_t *m, const int64_t *n, const void *alpha, const void *a, const int64_t *lda, void *b, const int64_t *ldb) {
  trmm(kXstrmm4yfw, "zor_blas_xstrmm", side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
ZOR_API int64_t zor_core_body_zor_gmp___gmp_fprintf(void) { return gmp_stream(kGmpFprintf); }
ZOR_API int64_t zor_core_body_zor_gmp___gmpz_inp_raw(void) { return gmp_stream(kMpzInpRaw); }
ZOR_API int64_t zor_core_body_zor_gmp___gmpz_inp_str(void) { return gmp_stream(kMpzInpStr); }
ZOR_API int64_t zor_core_body_zor_gmp___gmpz_out_raw(void) { return gmp_stream(kMpzOutRaw); }
ZOR_API int64_t zor_core_body_zor_gmp___gmpz_out_str(void) { return gmp_stream(kMpzOutStr); }

// The provider's own exports of the thirteen names.
ZOR_CORE_ALIAS(zor_blas_sgemm_get_bufs_size_bvr) int32_t zor_blas_sgemm_get_bufs_size_bvr(int32_t, int32_t, const int64_t *, const int64_t *, const int64_t *, void *);
ZOR_CORE_ALIAS(zor_blas_dgemm_get_bufs_size_bvr) int32_t zor_blas_dgemm_get_bufs_size_bvr(int32_t, int32_t, const int64_t *, const int64_t *, const int64_t *, void *);
ZOR_CORE_ALIAS(zor_blas_cgemm_get_bufs_size_bvr) int32_t zor_blas_cgemm_get_bufs_size_bvr(int32_t, int32_t, const int64_t *, const int64_t *, const int64_t *, void *);
ZOR_CORE_ALIAS(zor_blas_zgemm_get_bufs_size_bvr) int32_t zor_blas_zgemm_get_bufs_size_bvr(int32_t, int32_t, const int64_t *, const int64_t *, const int64_t *, void *);
ZOR_CORE_ALIAS(zor_blas_sgemm_getbufs) void zor_blas_sgemm_getbufs(void);
ZOR_CORE_ALIAS(zor_blas_sgemm_freebufs) void zor_blas_sgemm_freebufs(void);
ZOR_CORE_ALIAS(zor_blas_xdtrmm_4yfw) void zor_blas_xdtrmm_4yfw(const char *, const char *, const char *, const char *, const int64_t *, const int64_t *, const void *, const void *, const int64_t *, void *, const int64_t *);
ZOR_CORE_ALIAS(zor_blas_xstrmm_4yfw) void zor_blas_xstrmm_4yfw(const char *, const char *, const char *, const char *, const int64_t *, const int64_t *, const void *, const void *, const int64_t *, void *, const int64_t *);
ZOR_CORE_ALIAS(zor_gmp___gmp_fprintf) int64_t zor_gmp___gmp_fprintf(void);
ZOR_CORE_ALIAS(zor_gmp___gmpz_inp_raw) int64_t zor_gmp___gmpz_inp_raw(void);
ZOR_CORE_ALIAS(zor_gmp___gmpz_inp_str) int64_t zor_gmp___gmpz_inp_str(void);
ZOR_CORE_ALIAS(zor_gmp___gmpz_out_raw) int64_t zor_gmp___gmpz_out_raw(void);
ZOR_CORE_ALIAS(zor_gmp___gmpz_out_str) int64_t zor_gmp___gmpz_out_str(void);

ZOR_API int64_t zor_core_passthrough_hits(const char *name) {
  for (int i = 0; i < kPassthroughs; ++i)
    if (name && std::strcmp(name, kNames[i]) == 0) return hits[i].load(std::memory_order_relaxed);
  return -1;
}
