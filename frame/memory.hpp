// Working memory inside the tier: the pooled and plain allocators are the
// exports declared in <zor/serv.h>; this header adds the internal pieces.
#pragma once
#include <cstdint>
#include <zor/serv.h>

namespace zor::frame {

// Small 32-byte-aligned blocks straight from the raw allocator, with the raw
// pointer in the 8 bytes in front; no statistics. Null for bytes below 1.
void *scratch_malloc32(int32_t bytes);
void scratch_free32(void *p);

// A pooled buffer held for the extent of a scope: every exit path gives it back.
class PooledBuffer {
 public:
  PooledBuffer(uint64_t bytes, int32_t alignment) : p_(zor_serv_allocate(bytes, alignment)) {}
  // Takes over a block that a routine has already taken from the pool (null
  // included), e.g. through a GEMM descriptor's get_bufs.
  explicit PooledBuffer(void *block) : p_(block) {}
  ~PooledBuffer() { zor_serv_deallocate(p_); }
  PooledBuffer(const PooledBuffer &) = delete;
  PooledBuffer &operator=(const PooledBuffer &) = delete;
  void *get() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }

 private:
  void *p_;
};

}  // namespace zor::frame
