// The memory hooks of the integer family, their defaults, and the one-slot
// temporary.
//
// A default block is taken from the plain allocator with 73 bytes more than
// asked, 32-byte aligned: at p + o (o = 55 - p mod 32) lies the offset byte o,
// then the 64-bit size, then the caller's bytes at p + o + 9, which is 64
// bytes past the 32-byte boundary at or below p. Free reads o back from
// q[-9]; reallocate copies what the stored size says, whatever the caller
// thinks the old size was.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <zor/serv.h>

#include "gmp/limbs.hpp"

namespace zor::gmp {
namespace {

// Process-wide and unlocked, like the hooks of the interface they follow.
zor_gmp_allocate_fn allocate_hook = zor_gmp___gmp_default_allocate;
zor_gmp_reallocate_fn reallocate_hook = zor_gmp___gmp_default_reallocate;
zor_gmp_free_fn free_hook = zor_gmp___gmp_default_free;

void *temporary_block = nullptr;
size_t temporary_bytes = 0;

uint64_t stored_size(const unsigned char *q) {
  uint64_t size;
  std::memcpy(&size, q - 8, sizeof size);
  return size;
}

}  // namespace

[[noreturn]] void out_of_memory(size_t bytes) {
  std::fprintf(stderr, "zor_gmp: the allocate hook returned null for %zu bytes\n", bytes);
  std::abort();
}

void *try_allocate(size_t bytes) { return allocate_hook(bytes); }

void *allocate(size_t bytes) {
  void *p = allocate_hook(bytes);
  if (!p) out_of_memory(bytes);
  return p;
}

void release(void *p, size_t bytes) { free_hook(p, bytes); }

void *reallocate(void *p, size_t old_bytes, size_t new_bytes) {
  void *q = reallocate_hook(p, old_bytes, new_bytes);
  if (!q) out_of_memory(new_bytes);
  return q;
}

}  // namespace zor::gmp

using namespace zor::gmp;

ZOR_API void zor_gmp___gmp_set_memory_functions(zor_gmp_allocate_fn a, zor_gmp_reallocate_fn r, zor_gmp_free_fn f) {
  allocate_hook = a;
  reallocate_hook = r;
  free_hook = f;
}

ZOR_API zor_gmp_allocate_fn zor_gmp___gmp_allocate_func_ptr(void) { return allocate_hook; }
ZOR_API zor_gmp_reallocate_fn zor_gmp___gmp_reallocate_func_ptr(void) { return reallocate_hook; }
ZOR_API zor_gmp_free_fn zor_gmp___gmp_free_func_ptr(void) { return free_hook; }

ZOR_API void *zor_gmp___gmp_default_allocate(size_t size) {
  auto *p = static_cast<unsigned char *>(zor_serv_zor_malloc(uint64_t(size) + 73, 32));
  if (!p) return nullptr;
  unsigned o = 55 - unsigned(reinterpret_cast<uintptr_t>(p) % 32);
  p[o] = static_cast<unsigned char>(o);
  uint64_t stored = size;
  std::memcpy(p + o + 1, &stored, sizeof stored);
  return p + o + 9;
}

ZOR_API void zor_gmp___gmp_default_free(void *q, size_t) {
  if (!q) return;
  auto *b = static_cast<unsigned char *>(q);
  zor_serv_zor_free(b - b[-9] - 9);
}

ZOR_API void *zor_gmp___gmp_default_reallocate(void *q, size_t, size_t size) {
  void *fresh = zor_gmp___gmp_default_allocate(size);
  if (!fresh || !q) return fresh;
  uint64_t keep = stored_size(static_cast<unsigned char *>(q));
  if (keep > size) keep = size;
  // Two bytes a pass, and the last byte of an odd count on its own.
  auto *to = static_cast<unsigned char *>(fresh);
  auto *from = static_cast<const unsigned char *>(q);
  uint64_t i = 0;
  for (; i + 2 <= keep; i += 2) std::memcpy(to + i, from + i, 2);
  if (i < keep) to[i] = from[i];
  zor_gmp___gmp_default_free(q, 0);
  return fresh;
}

ZOR_API void *zor_gmp__imptmpmalloc(size_t size) {
  temporary_block = allocate_hook(size);
  temporary_bytes = size;
  return temporary_block;
}

ZOR_API void zor_gmp__imptmpmark(void) {
  if (temporary_block) free_hook(temporary_block, temporary_bytes);
  temporary_block = nullptr;
  temporary_bytes = 0;
}

// Leaves the slot as it is: a second call frees the same block again.
ZOR_API void zor_gmp__imptmpfree(void) {
  if (temporary_block) free_hook(temporary_block, temporary_bytes);
}
