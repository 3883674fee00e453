// The default error routines and lsame_. A program that defines its own
// xerbla_ (or xerbla_64_) replaces these: the front reaches them only
// through their dynamic symbols. Errors never end the process: the line is
// printed and the routine that found the bad argument returns.
#include <zor/fortran_blas.h>

#include <cstdio>
#include <cstring>

namespace {

template <class I>
void print_bad_argument(const char *name, I info, size_t length) {
  std::fprintf(stderr, "Parameter %lld to routine %.*s was incorrect\n", static_cast<long long>(info), int(length),
               name);
}

// The name of xerbla_array_: the first min(length, 32) characters of the
// array, blank-padded to 32.
template <class I>
void array_name(char (&name)[32], const char *array, I length) {
  std::memset(name, ' ', sizeof name);
  if (length > 0) std::memcpy(name, array, size_t(length < 32 ? length : 32));
}

inline char upper(char c) { return c >= 'a' && c <= 'z' ? char(c - 32) : c; }

}  // namespace

ZOR_API void xerbla_(const char *name, const int *info, size_t length) { print_bad_argument(name, *info, length); }
ZOR_API void xerbla_64_(const char *name, const int64_t *info, size_t length) {
  print_bad_argument(name, *info, length);
}

ZOR_API void xerbla_array_(const char *array, const int *length, const int *info, size_t) {
  char name[32];
  array_name(name, array, *length);
  xerbla_(name, info, sizeof name);
}
ZOR_API void xerbla_array_64_(const char *array, const int64_t *length, const int64_t *info, size_t) {
  char name[32];
  array_name(name, array, *length);
  xerbla_64_(name, info, sizeof name);
}

// True when the two first bytes are the same letter in either case (or
// the same byte).
ZOR_API int lsame_(const char *a, const char *b, size_t, size_t) { return upper(*a) == upper(*b); }
ZOR_API int64_t lsame_64_(const char *a, const char *b, size_t, size_t) { return upper(*a) == upper(*b); }
