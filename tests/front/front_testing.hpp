// What the front's tests share: the table of names with their argument
// kinds (generated from front/names.py), the reference BLAS opened in a
// link namespace of its own, and a call of any name with any arguments.
#pragma once
#include <dlfcn.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <zor/export.h>

namespace front_test {

struct Case {
  const char *name;    // Fortran name without the trailing _ (or _64_)
  const char *oracle;  // the reference routine that computes the same, "" for none
  char precision;      // s d c z: the element type
  const char *result;  // info, void, elem, real, double, index
  bool sub;            // the subroutine form: the result through a last argument
  const char *args;    // "c:trans i:m e:alpha E:y ..."
};
inline constexpr Case kCases[] = {
#include "front_cases.inc"
};

// The reference BLAS, loaded in a new link namespace so that its names
// never meet ours.
inline void *reference() {
  static void *handle = dlmopen(LM_ID_NEWLM, ZOR_REFERENCE_BLAS, RTLD_NOW | RTLD_LOCAL);
  return handle;
}
inline void *reference_symbol(const std::string &name) { return dlsym(reference(), name.c_str()); }

// Every Fortran routine takes at most 14 addresses; a call passes all 14
// slots, and the callee reads those it has (the x86-64 calling convention
// leaves the rest unread).
constexpr int kSlots = 14;
using Slots = void *[kSlots];
template <class R>
R call_as(void *fn, Slots &a) {
  using F = R (*)(void *, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *,
                  void *, void *);
  return reinterpret_cast<F>(fn)(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9], a[10], a[11], a[12],
                                 a[13]);
}

// The reference's own xerbla_ prints its line on the standard error and
// returns; the line is caught through a temporary file for the test to
// read the routine and position.
struct CapturedReport {
  std::string routine;
  int position = 0;
};
template <class Call>
CapturedReport capture_report(Call &&call) {
  std::fflush(stderr);
  FILE *tmp = std::tmpfile();
  const int saved = dup(2);
  dup2(fileno(tmp), 2);
  call();
  std::fflush(stderr);
  dup2(saved, 2);
  close(saved);
  CapturedReport r;
  std::rewind(tmp);
  char line[256] = {}, name[64] = {};
  if (std::fgets(line, sizeof line, tmp) &&
      std::sscanf(line, "Parameter %d to routine %63s was incorrect", &r.position, name) == 2)
    r.routine = name;
  std::fclose(tmp);
  return r;
}

}  // namespace front_test
