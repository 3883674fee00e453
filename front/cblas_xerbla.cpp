// The default cblas_xerbla: prints the position as the caller counts it and
// returns (errors never end the process). A row-major call reports the
// position in its column-major image; the arguments that image exchanges
// are exchanged back here. A program's own cblas_xerbla replaces this one.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <zor/cblas.h>

namespace {

// Pairs of positions a row-major image exchanges, by routine family (the
// name after "cblas_" and the precision letter).
struct Exchange {
  const char *family;
  int pairs[2][2];
};
constexpr Exchange kExchanges[] = {
    {"gemm", {{4, 5}, {9, 11}}}, {"gemm3m", {{4, 5}, {9, 11}}}, {"symm", {{4, 5}, {0, 0}}},
    {"hemm", {{4, 5}, {0, 0}}},  {"trmm", {{6, 7}, {0, 0}}},    {"trsm", {{6, 7}, {0, 0}}},
    {"gemv", {{3, 4}, {0, 0}}},  {"gbmv", {{3, 4}, {5, 6}}},    {"ger", {{2, 3}, {6, 8}}},
    {"geru", {{2, 3}, {6, 8}}},  {"gerc", {{2, 3}, {6, 8}}},    {"her2", {{6, 8}, {0, 0}}},
    {"hpr2", {{6, 8}, {0, 0}}},
};

// The family of "cblas_dgemm" (trailing blanks aside) is "gemm".
bool of_family(const char *routine, const char *family) {
  constexpr size_t kPrefix = 7;  // "cblas_" and the precision
  if (std::strncmp(routine, "cblas_", 6) != 0 || std::strlen(routine) < kPrefix) return false;
  const char *own = routine + kPrefix;
  const size_t length = std::strlen(family);
  if (std::strncmp(own, family, length) != 0) return false;
  for (const char *rest = own + length; *rest; ++rest)
    if (*rest != ' ') return false;
  return true;
}

int caller_position(int position, const char *routine) {
  if (!RowMajorStrg) return position;
  for (const Exchange &e : kExchanges) {
    if (!of_family(routine, e.family)) continue;
    for (const auto &p : e.pairs) {
      if (position == p[0]) return p[1];
      if (position == p[1]) return p[0];
    }
  }
  return position;
}

}  // namespace

ZOR_API void cblas_xerbla(int position, const char *routine, const char *message, ...) {
  if (position) std::fprintf(stderr, "Parameter %d to routine %s was incorrect\n", caller_position(position, routine), routine);
  va_list args;
  va_start(args, message);
  std::vfprintf(stderr, message, args);
  va_end(args);
}
