// The allocator module as an application meets it: not linked by the
// program, only found by name on the loader's search path. The tier keeps it
// mapped while its hooks serve the pool.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstring>

#include <zor/serv.h>

#include "qalloc_module.h"

namespace {

TEST(AllocatorModuleByName, StaysMappedWhileItsHooksServe) {
  ASSERT_EQ(dlopen("libqalloc.so", RTLD_NOW | RTLD_NOLOAD), nullptr) << "the program must not load the module";
  void *p = zor_serv_allocate(1000, 64);
  ASSERT_NE(p, nullptr);
  std::memset(p, 1, 1000);
  zor_serv_deallocate(p);
  void *q = zor_serv_zor_malloc(100, 16);
  ASSERT_NE(q, nullptr);
  zor_serv_zor_free(q);
  zor_serv_freebuffers();

  void *module = dlopen("libqalloc.so", RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(module, nullptr) << "the module was unloaded";
  auto count = reinterpret_cast<long (*)(int)>(dlsym(module, "qalloc_count"));
  ASSERT_NE(count, nullptr);
  EXPECT_GE(count(QALLOC_MALLOC), 3);  // the thread record, the pooled block, the plain block
  EXPECT_GE(count(QALLOC_FREE), 3);
  dlclose(module);
}

}  // namespace
