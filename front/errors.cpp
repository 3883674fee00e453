// Bad arguments: this thread's last error, the program's handler, and the
// calls of xerbla_ / xerbla_64_. Those two are called through their dynamic
// symbols (they are defined in xerbla.cpp, but a program's own definition
// takes their place), so no call to them may bind inside this library.
#include <zor/fortran_blas.h>

#include <atomic>
#include <cstring>

#include "front/front.hpp"

namespace {

std::atomic<zor_blas_error_handler> handler{nullptr};

struct LastError {
  const char *routine = nullptr;
  int64_t position = 0;
};
thread_local LastError last;

}  // namespace

namespace zor::front {

bool handled_error(const char *routine, int position) {
  last = {routine, position};
  if (zor_blas_error_handler h = handler.load(std::memory_order_acquire)) {
    h(routine, position);
    return true;
  }
  return false;
}

void bad_argument(const char *routine, int position, bool wide) {
  if (handled_error(routine, position)) return;
  // The published routines name themselves in six characters, blank-padded.
  char name[16];
  const size_t length = std::strlen(routine);
  std::memset(name, ' ', sizeof name);
  std::memcpy(name, routine, length);
  const size_t padded = length < 6 ? 6 : length;
  if (wide) {
    const int64_t info = position;
    xerbla_64_(name, &info, padded);
  } else {
    const int info = position;
    xerbla_(name, &info, padded);
  }
}

}  // namespace zor::front

ZOR_API zor_blas_error_handler zor_blas_set_error_handler(zor_blas_error_handler h) {
  return handler.exchange(h, std::memory_order_acq_rel);
}

ZOR_API int64_t zor_blas_last_error(const char **routine) {
  if (routine) *routine = last.routine;
  return last.position;
}

ZOR_API void zor_blas_clear_last_error(void) { last = {}; }
