// The threading layer's functions, looked up by name. The provider runs
// everything sequentially: a known name yields its sequential stand-in, an
// unknown one a function that reports status 7 (internal error). Never null.
#include <zor/core.h>

#include <cstring>

#include "core/dft_threading.hpp"

namespace {

int64_t unknown_function() { return 7; }

struct ThreadFunction {
  const char *name;
  zor_thread_fun fn;
};

// Stand-ins are registered here as the transforms that use them arrive.
constexpr ThreadFunction kThreadFunctions[] = {
    {"", nullptr},
};

}  // namespace

ZOR_API zor_thread_fun zor_serv_load_thread_fun(const char *name) {
  if (name) {
    for (const ThreadFunction &f : kThreadFunctions)
      if (f.fn && std::strcmp(f.name, name) == 0) return f.fn;
    for (const zor_core::DftThreadFunction *f = zor_core::kDftThreadFunctions; f->name; ++f)
      if (std::strcmp(f->name, name) == 0) return f->fn;
  }
  return &unknown_function;
}
