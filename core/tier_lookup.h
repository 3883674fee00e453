// The provider reaches tier functions that may not exist yet in a given
// build by name, at call time, so that its own load never depends on them.
// A program that links the provider alone (a user of the public transforms
// front) gets the tier loaded on first need, from the provider's own folder.
#pragma once
#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <string>

namespace zor_core {

inline void *load_tier() {
  Dl_info self{};
  std::string path = "libzor_tier2.so.2";
  if (dladdr(reinterpret_cast<void *>(&load_tier), &self) && self.dli_fname) {
    std::string own = self.dli_fname;
    auto slash = own.rfind('/');
    if (slash != std::string::npos) path = own.substr(0, slash + 1) + path;
  }
  return dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
}

template <class Fn>
Fn tier_function(const char *name) {
  if (void *f = dlsym(RTLD_DEFAULT, name)) return reinterpret_cast<Fn>(f);
  static void *tier = load_tier();
  return tier ? reinterpret_cast<Fn>(dlsym(tier, name)) : nullptr;
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
