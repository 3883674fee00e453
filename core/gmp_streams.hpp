// The integer family's stream routines, carried out here for the tier's
// pass-through exports (their bodies in core/passthrough.cpp forward to
// these). A null stream is stdout or stdin.
#pragma once
#include <zor/gmp.h>

#include <cstdarg>
#include <cstdio>

namespace zor_core {

int gmp_vfprintf(FILE *stream, const char *format, va_list ap);
size_t gmp_out_str(FILE *stream, int base, zor_mpz_srcptr z);
size_t gmp_out_raw(FILE *stream, zor_mpz_srcptr z);
size_t gmp_inp_raw(zor_mpz_ptr z, FILE *stream);
size_t gmp_inp_str(zor_mpz_ptr z, FILE *stream, int base);

}  // namespace zor_core
