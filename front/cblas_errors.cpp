// Bad arguments of the C names: the report to cblas_xerbla, reached through
// its dynamic symbol (the default in cblas_xerbla.cpp, or a program's own),
// with RowMajorStrg and CBLAS_CallFromC set while it runs; a handler set by
// zor_blas_set_error_handler takes the report instead.
#include <cstring>

#include "front/cblas_bodies.hpp"

extern "C" {
__attribute__((visibility("default"))) int RowMajorStrg = 0;
__attribute__((visibility("default"))) int CBLAS_CallFromC = 0;
}

namespace zor::front::cblas {

void report(int position, const char *routine, bool row_major, const char *message, int value) {
  if (handled_error(routine, position)) return;
  RowMajorStrg = row_major ? 1 : 0;
  CBLAS_CallFromC = 1;
  cblas_xerbla(position, routine, message, value);
  RowMajorStrg = 0;
  CBLAS_CallFromC = 0;
}

void report_image(int fortran_position, const char *routine, bool row_major, const char *image) {
  // "cblas_" and the image's name, blank-padded to six letters.
  constexpr size_t kPrefix = 6;
  char name[32];
  std::memcpy(name, routine, kPrefix);
  const char *own = image ? image : routine + kPrefix;
  size_t length = std::strlen(own);
  if (length > sizeof name - kPrefix - 1) length = sizeof name - kPrefix - 1;
  if (image) {
    // the precision letter stays the routine's
    name[kPrefix] = routine[kPrefix];
    std::memcpy(name + kPrefix + 1, own, length);
    ++length;
  } else {
    std::memcpy(name + kPrefix, own, length);
  }
  while (length < 6) name[kPrefix + length++] = ' ';
  name[kPrefix + length] = '\0';
  report(fortran_position + 1, name, row_major, "", 0);
}

}  // namespace zor::front::cblas
