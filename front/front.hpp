// What the front's names share: the element views of the C boundary and
// the report of a bad argument.
#pragma once
#include <cstdint>

namespace zor::front {

// An argument array as the body's element type (complex arrays arrive as
// void pointers, real ones as themselves).
template <class T, class P>
inline const T *as(const P *p) {
  return static_cast<const T *>(static_cast<const void *>(p));
}
template <class T, class P>
inline T *as(P *p) {
  return static_cast<T *>(static_cast<void *>(p));
}

// A bad argument of a Fortran-named routine: records it as this thread's
// last error, then hands it to the handler the program set, or else to
// xerbla_ (xerbla_64_ for the 64-bit names), whichever definition of it the
// program's link resolves to. The routine then returns having done nothing.
[[gnu::cold, gnu::noinline]] void bad_argument(const char *routine, int position, bool wide);

// For the C names: records the error and gives it to the program's handler;
// false when no handler is set (the caller then reports its own way).
bool handled_error(const char *routine, int position);

}  // namespace zor::front
