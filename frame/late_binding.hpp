// Late binding of the threading layer's functions: a stub per name holds one
// cell, null until the first call looks the function up through
// zor_serv_load_thread_fun. The provider always answers with something
// callable, so the result is not tested. The cell is written without a lock:
// two racing first calls store the same value.
#pragma once
#include <atomic>
#include <zor/core.h>

namespace zor::frame {

struct LateCell {
  const char *name;
  std::atomic<void *> fn{nullptr};
};

template <class R, class... Args>
R call_late(LateCell &cell, Args... args) {
  void *fn = cell.fn.load(std::memory_order_relaxed);
  if (!fn) {
    fn = reinterpret_cast<void *>(zor_serv_load_thread_fun(cell.name));
    cell.fn.store(fn, std::memory_order_relaxed);
  }
  return reinterpret_cast<R (*)(Args...)>(fn)(args...);
}

}  // namespace zor::frame
