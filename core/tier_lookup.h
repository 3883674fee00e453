// The provider reaches tier functions that may not exist yet in a given
// build by name, at call time, so that its own load never depends on them.
#pragma once
#include <dlfcn.h>

namespace zor_core {

template <class Fn>
Fn tier_function(const char *name) {
  return reinterpret_cast<Fn>(dlsym(RTLD_DEFAULT, name));
}

}  // namespace zor_core
