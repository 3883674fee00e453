// Tier identity, the character-flag comparison and the null exports.
#include <zor/serv.h>

ZOR_API int dll_cpu_version(void) { return 2; }

ZOR_API int zor_serv_lsame(const char *a, const char *b) {
  auto upper = [](unsigned char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; };
  return upper(static_cast<unsigned char>(*a)) == upper(static_cast<unsigned char>(*b));
}

// Exports that exist for the table's sake and do nothing: one empty routine
// under nine names.
extern "C" __attribute__((visibility("hidden"))) void null_export_body(void) {}

#define ZOR_NULL_EXPORT(name) \
  extern "C" __attribute__((visibility("default"), alias("null_export_body"), nothrow)) void name(void);
ZOR_NULL_EXPORT(zor_blas_dgemm_blk_info_0_brc)
ZOR_NULL_EXPORT(zor_blas_dgemm_blk_info_1_brc)
ZOR_NULL_EXPORT(zor_blas_dgemm_freebufs)
ZOR_NULL_EXPORT(zor_blas_dgemm_getbufs)
ZOR_NULL_EXPORT(zor_blas_dgemm_mscale_brc)
ZOR_NULL_EXPORT(zor_blas_xdgemm0_1_brc)
ZOR_NULL_EXPORT(zor_blas_xdgemm0_brc)
ZOR_NULL_EXPORT(zor_blas_xdgemm1_1_brc)
ZOR_NULL_EXPORT(zor_blas_xsgemm0_brc)
