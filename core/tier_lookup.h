// The provider reaches tier functions that may not exist yet in a given
// build by name, at call time, so that its own load never depends on them.
#pragma once
#include <dlfcn.h>

#include <atomic>
#include <cstdio>

namespace zor_core {

template <class Fn>
Fn tier_function(const char *name) {
  return reinterpret_cast<Fn>(dlsym(RTLD_DEFAULT, name));
}

// A kernel of the tier, looked up by name at its first use and kept; a name
// the loaded tier lacks is reported once per lookup and gives null.
template <class Fn>
struct TierKernel {
  const char *name;
  std::atomic<Fn> cell{nullptr};
  Fn get() {
    Fn fn = cell.load(std::memory_order_acquire);
    if (!fn) {
      fn = tier_function<Fn>(name);
      if (!fn) std::fprintf(stderr, " ** %s is not present in the loaded tier\n", name);
      cell.store(fn, std::memory_order_release);
    }
    return fn;
  }
};

}  // namespace zor_core
