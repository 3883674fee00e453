/* Export marker of the zor libraries: C linkage, default visibility. */
#ifndef ZOR_EXPORT_H
#define ZOR_EXPORT_H

#ifdef __cplusplus
#define ZOR_EXTERN_C extern "C"
#else
#define ZOR_EXTERN_C extern
#endif

#define ZOR_API ZOR_EXTERN_C __attribute__((visibility("default")))

#include <stdint.h>
typedef int64_t zor_int;  /* the integer of the calling model */

/* Complex numbers as the library stores them: real part first. */
typedef struct { float re, im; } zor_complex8;
typedef struct { double re, im; } zor_complex16;

#endif
