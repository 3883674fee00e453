// The buffer memory manager: a per-thread pool of up to five blocks over a
// replaceable raw allocator, and a plain allocator with a 16-byte header.
//
// Pooled blocks are reused by exact fit first, then the first larger free
// block, then a new slot while fewer than five exist, then the first smaller
// free block is reallocated; when all five are busy the request goes to the
// header-prefixed direct path. The hit path takes no lock: one thread-local
// read, a check of the registry entry, and a walk of at most five slots.
//
// Platform pieces: a generation-checked thread_local value is the thread-local
// slot (all ones = not allocated), the kernel thread id identifies threads, and the
// optional allocator module is "libqalloc.so", found by the dynamic loader's
// search path; its variables "q_malloc_dll", "q_calloc_dll", "q_realloc_dll"
// and "q_free_dll" each hold one function pointer of the raw allocator.
#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <zor/core.h>
#include <zor/serv.h>

#include "frame/memory.hpp"

namespace {

constexpr uint32_t kAllOnes = 0xFFFFFFFFu;
constexpr int kSlots = 5;
constexpr int kMaxThreads = 1024;
constexpr uint64_t kPoolLimit = 0x2800000;  // 41,943,040 bytes
constexpr uint64_t kHeader = 16;
constexpr int kEnvBuffer = 17;

// A field of a thread record. Its owner writes it without the lock while the
// locked walks of other threads read it, so every access is atomic; relaxed
// order unless the access says otherwise. A plain-layout type, so records
// keep coming from the raw allocator.
template <class T>
struct Cell {
  T value;
  T load(std::memory_order order = std::memory_order_relaxed) const {
    return std::atomic_ref<T>(const_cast<T &>(value)).load(order);
  }
  void store(T v, std::memory_order order = std::memory_order_relaxed) { std::atomic_ref<T>(value).store(v, order); }
};

// in_use is set to 0 with release order by whichever thread frees the slot and
// read with acquire order before the block is handed out again or freed, so
// the freeing thread's last accesses to the block come before the next user's.
struct ThreadRecord {
  Cell<void *> raw[kSlots];
  Cell<void *> aligned[kSlots];
  Cell<uint64_t> requested[kSlots];
  Cell<uint64_t> capacity[kSlots];
  Cell<uint64_t> in_use[kSlots];
  Cell<int32_t> slot_count;
};

using MallocFn = void *(*)(size_t);
using CallocFn = void *(*)(size_t, size_t);
using ReallocFn = void *(*)(void *, size_t);
using FreeFn = void (*)(void *);

// Process-wide state. Fields read outside the lock are atomics with relaxed
// order: the manager's correctness rests on the lock and on each record being
// touched by its own thread, not on ordering of these reads.
std::atomic<uint32_t> TlsIndex{kAllOnes};
std::atomic<uint32_t> MmDecided{kAllOnes};
std::atomic<int32_t> MmDisabled{0};
struct {
  std::atomic<MallocFn> malloc;
  std::atomic<CallocFn> calloc;
  std::atomic<ReallocFn> realloc;
  std::atomic<FreeFn> free;
} AllocHooks;
std::atomic<int32_t> ThreadCount{0};
std::atomic<uint64_t> ThreadIds[kMaxThreads + 1];
std::atomic<ThreadRecord *> ThreadRecords[kMaxThreads + 1];
std::atomic<int64_t> DirectBytes{0};
std::atomic<int64_t> DirectCount{0};

constexpr auto relaxed = std::memory_order_relaxed;
constexpr auto acquire = std::memory_order_acquire;
constexpr auto release = std::memory_order_release;

// ---------------------------------------------------------------- platform
// The thread-local slot. A slot is "allocated" by taking a fresh generation
// number (TlsIndex holds it; all ones = none); each thread keeps its value
// together with the generation it was written under, so a value left from a
// freed slot reads as 0, as it would from a newly allocated one. The kernel
// thread id is cached beside it.
struct ThreadLocal {
  uint64_t id;
  uint32_t generation;
  uintptr_t value;
};
thread_local __attribute__((tls_model("initial-exec"))) ThreadLocal thread_local_slot;
std::atomic<uint32_t> next_generation{0};

uint64_t current_thread_id() {
  ThreadLocal &t = thread_local_slot;
  if (t.id == 0) t.id = uint64_t(syscall(SYS_gettid));
  return t.id;
}

// TlsAlloc: a new generation; none left once the numbers would reach all ones.
uint32_t tls_alloc() {
  uint32_t g = next_generation.fetch_add(1, relaxed) + 1;
  return g == kAllOnes ? kAllOnes : g;
}

uintptr_t tls_get() {
  const ThreadLocal &t = thread_local_slot;
  return t.generation == TlsIndex.load(relaxed) ? t.value : 0;
}
void tls_set(uintptr_t v) {
  ThreadLocal &t = thread_local_slot;
  t.generation = TlsIndex.load(relaxed);
  t.value = v;
}

// True, with the value in the buffer, when the variable is set and not empty:
// the effect of a read of at most 17 bytes that returns its length.
bool environment_set(const char *name) {
  char buffer[kEnvBuffer];
  const char *v = std::getenv(name);
  if (!v || !*v) return false;
  std::strncpy(buffer, v, kEnvBuffer - 1);
  buffer[kEnvBuffer - 1] = '\0';
  return buffer[0] != '\0';
}

// ---------------------------------------------------------------- decisions
[[gnu::noinline, gnu::cold]] void decide_mm_locked() {
  zor_serv_lock();
  if (MmDecided.load(relaxed) == kAllOnes) {
    // Any non-empty value switches pooling off, "0" included.
    if (environment_set("ZOR_DISABLE_FAST_MM"))
      MmDisabled.store(1, relaxed);
    else if (environment_set("ZOR_MM_DISABLE"))
      MmDisabled.store(1, relaxed);
    else
      MmDisabled.store(0, relaxed);
    MmDecided.store(1, std::memory_order_release);
  }
  zor_serv_unlock();
}

[[gnu::always_inline]] inline void decide_mm() {
  if (MmDecided.load(std::memory_order_acquire) == kAllOnes) decide_mm_locked();
}

[[gnu::noinline, gnu::cold]] void init_alloc_hooks() {
  // Never unloaded: the hooks point into it for the life of the library.
  void *module = dlopen("libqalloc.so", RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  void *vars[4] = {};
  if (module) {
    static const char *const names[4] = {"q_malloc_dll", "q_calloc_dll", "q_realloc_dll", "q_free_dll"};
    for (int i = 0; i < 4; ++i) vars[i] = dlsym(module, names[i]);
  }
  auto held = [&](int i) { return vars[i] ? *static_cast<void **>(vars[i]) : nullptr; };
  if (vars[0] && vars[1] && vars[2] && vars[3] && held(0) && held(1) && held(2) && held(3)) {
    AllocHooks.calloc.store(reinterpret_cast<CallocFn>(held(1)), relaxed);
    AllocHooks.realloc.store(reinterpret_cast<ReallocFn>(held(2)), relaxed);
    AllocHooks.free.store(reinterpret_cast<FreeFn>(held(3)), relaxed);
    AllocHooks.malloc.store(reinterpret_cast<MallocFn>(held(0)), std::memory_order_release);
  } else {
    AllocHooks.calloc.store(&std::calloc, relaxed);
    AllocHooks.realloc.store(&std::realloc, relaxed);
    AllocHooks.free.store(&std::free, relaxed);
    AllocHooks.malloc.store(&std::malloc, std::memory_order_release);
  }
  // Released in both cases; the module stays mapped all the same.
  if (module) dlclose(module);
}

[[gnu::always_inline]] inline void ensure_hooks() {
  if (!AllocHooks.malloc.load(std::memory_order_acquire)) init_alloc_hooks();
}

void *raw_malloc(uint64_t n) { return AllocHooks.malloc.load(relaxed)(size_t(n)); }
void raw_free(void *p) { AllocHooks.free.load(relaxed)(p); }

bool power_of_two(int64_t a) { return a > 0 && (a & (a - 1)) == 0; }

// ---------------------------------------------------------------- direct path
[[gnu::noinline]] void *direct_allocate(uint64_t size, int32_t alignment) {
  uint64_t pad = 0, mask = 0;
  if (alignment >= 8) {
    pad = power_of_two(alignment) ? uint64_t(alignment) : 64;
    mask = pad - 1;
  }
  uint64_t total = size + pad + kHeader;
  auto raw = static_cast<char *>(raw_malloc(total));
  if (!raw) return nullptr;
  auto result = reinterpret_cast<uint64_t *>(reinterpret_cast<uintptr_t>(raw + pad + kHeader) & ~uintptr_t(mask));
  DirectBytes.fetch_add(int64_t(total), relaxed);
  DirectCount.fetch_add(1, relaxed);
  result[-2] = reinterpret_cast<uint64_t>(raw);
  result[-1] = total;
  return result;
}

void direct_free(void *p) {
  auto header = static_cast<uint64_t *>(p) - 2;
  void *raw = reinterpret_cast<void *>(header[0]);
  if (!raw) return;
  DirectBytes.fetch_sub(int64_t(header[1]), relaxed);
  DirectCount.fetch_sub(1, relaxed);
  raw_free(raw);
}

// ---------------------------------------------------------------- threads
[[gnu::noinline]] ThreadRecord *scan_threads(uint64_t id) {
  for (int32_t i = ThreadCount.load(relaxed); i >= 1; --i) {
    if (ThreadIds[i].load(relaxed) == id) {
      tls_set(uintptr_t(i));
      return ThreadRecords[i].load(relaxed);
    }
  }
  return nullptr;
}

[[gnu::always_inline]] inline ThreadRecord *lookup_thread() {
  uint64_t id = current_thread_id();
  if (TlsIndex.load(relaxed) == kAllOnes) return nullptr;
  uintptr_t index = tls_get();
  if (index == 0) return scan_threads(id);
  if (index <= uintptr_t(kMaxThreads) && ThreadIds[index].load(relaxed) == id)
    return ThreadRecords[index].load(relaxed);
  tls_set(0);
  return nullptr;
}

// Registers the calling thread; null when the registry is full or the
// record cannot be allocated (the caller then takes the direct path).
[[gnu::noinline]] ThreadRecord *register_thread() {
  zor_serv_lock();
  int32_t count = ThreadCount.load(relaxed);
  if (count == kMaxThreads) {
    zor_serv_unlock();
    return nullptr;
  }
  auto record = static_cast<ThreadRecord *>(raw_malloc(sizeof(ThreadRecord)));
  if (!record) {
    zor_serv_unlock();
    return nullptr;
  }
  ++count;
  ThreadCount.store(count, relaxed);
  ThreadIds[count].store(current_thread_id(), relaxed);
  ThreadRecords[count].store(record, relaxed);
  if (TlsIndex.load(relaxed) != kAllOnes) tls_set(uintptr_t(count));
  zor_serv_unlock();
  // Cleared after the lock is released; concurrent walks are for quiet moments.
  for (int s = 0; s < kSlots; ++s) {
    record->raw[s].store(nullptr);
    record->requested[s].store(0);
    record->capacity[s].store(0);
    record->in_use[s].store(0);
  }
  record->slot_count.store(0);
  return record;
}

void *place(ThreadRecord *r, int s, uint64_t size, uint64_t pad) {
  auto raw = reinterpret_cast<uintptr_t>(r->raw[s].load());
  uintptr_t address = raw;
  if (pad != 0 && raw % pad != 0) address = (raw & ~uintptr_t(pad - 1)) + pad;
  auto aligned = reinterpret_cast<void *>(address);
  r->aligned[s].store(aligned);
  r->requested[s].store(size);
  r->in_use[s].store(1);
  return aligned;
}

// Frees every free slot of a record; true when one of its slots is in use.
// An emptied slot forgets its address too: the raw allocator may hand the
// same block to another thread, whose free must find that thread's slot.
bool release_free_slots(ThreadRecord *r) {
  bool busy = false;
  for (int s = 0; s < r->slot_count.load(); ++s) {
    void *raw = r->raw[s].load();
    if (!raw) continue;
    if (r->in_use[s].load(acquire)) {
      busy = true;
      continue;
    }
    raw_free(raw);
    r->raw[s].store(nullptr);
    r->aligned[s].store(nullptr);
    r->requested[s].store(0);
    r->capacity[s].store(0);
    r->in_use[s].store(0);
  }
  if (!busy) r->slot_count.store(0);
  return busy;
}

}  // namespace

// ---------------------------------------------------------------- exports
ZOR_API void *zor_serv_allocate(uint64_t size, int32_t alignment) {
  if (TlsIndex.load(std::memory_order_acquire) == kAllOnes) {
    zor_serv_lock();
    if (TlsIndex.load(relaxed) == kAllOnes) {
      TlsIndex.store(tls_alloc(), std::memory_order_release);
    }
    zor_serv_unlock();
  }
  if (size == 0) return nullptr;
  decide_mm();
  ensure_hooks();
  if (MmDisabled.load(relaxed) == 1 || size > kPoolLimit) return direct_allocate(size, alignment);

  uint64_t pad = alignment < 4 ? 0 : (power_of_two(alignment) ? uint64_t(alignment) : 64);
  uint64_t need = size + pad;

  ThreadRecord *r = lookup_thread();
  if (!r && !(r = register_thread())) return direct_allocate(size, alignment);

  int larger = -1, smaller = -1;
  const int32_t slot_count = r->slot_count.load();
  for (int s = 0; s < slot_count; ++s) {
    if (r->in_use[s].load(acquire)) continue;
    uint64_t capacity = r->capacity[s].load();
    if (capacity == need) return place(r, s, size, pad);
    if (capacity > need) {
      if (larger < 0) larger = s;
    } else if (smaller < 0) {
      smaller = s;
    }
  }
  if (larger >= 0) return place(r, larger, size, pad);
  int s;
  if (slot_count < kSlots) {
    s = slot_count;
    r->slot_count.store(slot_count + 1);
  } else if (smaller >= 0) {
    s = smaller;
    if (void *old = r->raw[s].load()) raw_free(old);
  } else {
    return direct_allocate(size, alignment);
  }
  // A failed raw allocation leaves the slot in use with a null block and
  // returns null, unlike the direct path.
  void *raw = raw_malloc(need);
  r->raw[s].store(raw);
  r->capacity[s].store(need);
  void *p = place(r, s, size, pad);
  return raw ? p : nullptr;
}

ZOR_API void zor_serv_deallocate(void *p) {
  if (!p) return;
  decide_mm();
  if (MmDisabled.load(relaxed) != 1) {
    if (ThreadRecord *r = lookup_thread()) {
      const int32_t slot_count = r->slot_count.load();
      // Unrolled: the hit path of every free walks at most five slots.
#pragma GCC unroll 5
      for (int s = 0; s < kSlots && s < slot_count; ++s) {
        if (r->aligned[s].load() == p) {
          r->in_use[s].store(0, release);
          return;
        }
      }
    }
    // A block may come back from another thread than the one that took it.
    zor_serv_lock();
    for (int32_t i = 1; i <= ThreadCount.load(relaxed); ++i) {
      ThreadRecord *r = ThreadRecords[i].load(relaxed);
      for (int s = 0; s < r->slot_count.load(); ++s) {
        if (r->raw[s].load() && r->aligned[s].load() == p) {
          r->in_use[s].store(0, release);
          zor_serv_unlock();
          return;
        }
      }
    }
    zor_serv_unlock();
  }
  direct_free(p);
}

ZOR_API void zor_serv_freebuffers(void) {
  decide_mm();
  if (MmDisabled.load(relaxed) == 1) return;
  zor_serv_lock();
  bool busy = false;
  for (int32_t i = ThreadCount.load(relaxed); i >= 1; --i)
    busy |= release_free_slots(ThreadRecords[i].load(relaxed));
  if (!busy) {
    for (int32_t i = ThreadCount.load(relaxed); i >= 1; --i) {
      ThreadIds[i].store(0, relaxed);
      raw_free(ThreadRecords[i].load(relaxed));
      ThreadRecords[i].store(nullptr, relaxed);
    }
    ThreadCount.store(0, relaxed);
    if (TlsIndex.load(relaxed) != kAllOnes) TlsIndex.store(kAllOnes, relaxed);  // TlsFree
  }
  zor_serv_unlock();
}

ZOR_API void zor_serv_zor_thread_free_buffers(void) {
  decide_mm();
  if (MmDisabled.load(relaxed) == 1) return;
  if (ThreadRecord *r = lookup_thread()) release_free_slots(r);
}

ZOR_API int64_t zor_serv_zor_memstat(int32_t *count) {
  decide_mm();
  if (MmDisabled.load(relaxed) == 1) {
    *count = -1;
    return 0;
  }
  int64_t slots = 0, bytes = 0;
  zor_serv_lock();
  for (int32_t i = 1; i <= ThreadCount.load(relaxed); ++i) {
    const ThreadRecord *r = ThreadRecords[i].load(relaxed);
    slots += r->slot_count.load();
    for (int s = 0; s < kSlots; ++s)
      if (r->raw[s].load()) bytes += int64_t(r->capacity[s].load());
  }
  zor_serv_unlock();
  *count = int32_t(slots + DirectCount.load(relaxed));
  return bytes + DirectBytes.load(relaxed);
}

ZOR_API int zor_serv_disable_fast_mm(void) {
  if (MmDecided.load(std::memory_order_acquire) != kAllOnes) return 0;
  int result = 0;
  zor_serv_lock();
  if (MmDecided.load(relaxed) == kAllOnes) {
    MmDisabled.store(1, relaxed);
    MmDecided.store(1, std::memory_order_release);
    result = 1;
  }
  zor_serv_unlock();
  return result;
}

ZOR_API void *zor_serv_zor_malloc(uint64_t size, int32_t alignment) {
  ensure_hooks();
  if (size == 0) return nullptr;
  return direct_allocate(size, alignment);
}

ZOR_API void zor_serv_zor_free(void *p) {
  if (p) direct_free(p);
}

ZOR_API void *zor_serv_zor_calloc(uint64_t count, uint64_t elsize, int32_t alignment) {
  ensure_hooks();
  uint64_t bytes = count * elsize;
  if (bytes == 0) return nullptr;
  void *p = direct_allocate(bytes, alignment);
  if (p) std::memset(p, 0, size_t(bytes));
  return p;
}

ZOR_API void *zor_serv_zor_realloc(void *p, uint64_t size) {
  if (!p) {
    ensure_hooks();
    if (size == 0) return nullptr;
    uint64_t total = size + 80;
    auto raw = static_cast<char *>(raw_malloc(total));
    if (!raw) return nullptr;
    auto result = reinterpret_cast<uint64_t *>(reinterpret_cast<uintptr_t>(raw + 80) & ~uintptr_t(63));
    DirectBytes.fetch_add(int64_t(total), relaxed);
    DirectCount.fetch_add(1, relaxed);
    result[-2] = reinterpret_cast<uint64_t>(raw);
    result[-1] = total;
    return result;
  }
  auto header = static_cast<uint64_t *>(p) - 2;
  auto raw = reinterpret_cast<char *>(header[0]);
  if (!raw) return nullptr;
  uint64_t offset = uint64_t(static_cast<char *>(p) - raw);
  DirectBytes.fetch_sub(int64_t(header[1]), relaxed);
  uint64_t total = size + offset;
  auto moved = static_cast<char *>(AllocHooks.realloc.load(relaxed)(raw, size_t(total)));
  if (!moved) return nullptr;  // the old block lives on; the statistic stays lowered
  // A moved block keeps its old offset, not its alignment.
  auto result = reinterpret_cast<uint64_t *>(moved + offset);
  result[-2] = reinterpret_cast<uint64_t>(moved);
  result[-1] = total;
  DirectBytes.fetch_add(int64_t(total), relaxed);
  return result;
}

namespace zor::frame {

void *scratch_malloc32(int32_t bytes) {
  if (bytes < 1) return nullptr;
  ensure_hooks();
  auto raw = static_cast<char *>(raw_malloc(uint64_t(bytes) + 40));
  if (!raw) return nullptr;
  auto result = reinterpret_cast<void **>(reinterpret_cast<uintptr_t>(raw + 39) & ~uintptr_t(31));
  result[-1] = raw;
  return result;
}

void scratch_free32(void *p) {
  if (p) raw_free(static_cast<void **>(p)[-1]);
}

}  // namespace zor::frame
