#include "core/checked.hpp"

#include <cstdio>

namespace zor_core {

void report_bad_argument(const char *routine, int position) {
  std::fprintf(stderr, " ** On entry to %s parameter number %d had an illegal value\n", routine, position);
}

}  // namespace zor_core
