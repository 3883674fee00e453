// Processor and cache answers of the provider, each computed once per process
// and forceable (environment or zor_core_force) so that tests reach every row.
#include <zor/core.h>

#include <cpuid.h>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kAnswers = 7;
std::atomic<int64_t> forced_value[kAnswers];
std::atomic<bool> forced[kAnswers];

const char *const kEnvName[kAnswers] = {
    "ZOR_CORE_CPUHASQLX", "ZOR_CORE_MICROARCH", "ZOR_CORE_CPU_DETECT", "ZOR_CORE_L1",
    "ZOR_CORE_L2",        "ZOR_CORE_CACHE_SIZE", nullptr};

// Environment overrides are read once, at the first query of any answer.
struct EnvOverrides {
  bool set[kAnswers] = {};
  int64_t value[kAnswers] = {};
  EnvOverrides() {
    for (int i = 0; i < kAnswers; ++i) {
      const char *v = kEnvName[i] ? std::getenv(kEnvName[i]) : nullptr;
      if (v && *v) {
        set[i] = true;
        value[i] = std::strtoll(v, nullptr, 0);
      }
    }
  }
};
const EnvOverrides &env() {
  static const EnvOverrides e;
  return e;
}

bool override_of(int answer, int64_t *out) {
  if (forced[answer].load(std::memory_order_acquire)) {
    *out = forced_value[answer].load(std::memory_order_relaxed);
    return true;
  }
  if (env().set[answer]) {
    *out = env().value[answer];
    return true;
  }
  return false;
}

int32_t clamp32(int64_t v) { return v > INT32_MAX ? INT32_MAX : (v < 0 ? 0 : int32_t(v)); }

// Sizes of the first-level data cache and the second-level cache, from the
// deterministic cache-parameter leaf (4, or the extended 0x8000001D on
// processors that describe their caches there), else from sysfs.
struct CacheSizes {
  int64_t l1 = 0, l2 = 0;
  CacheSizes() {
    if (!from_cpuid()) from_sysfs();
  }
  void record(unsigned level, unsigned type, int64_t bytes) {
    if (level == 1 && (type == 1 || type == 3)) l1 = bytes;
    if (level == 2 && (type == 2 || type == 3)) l2 = bytes;
  }
  bool from_cpuid() {
    unsigned a, b, c, d;
    if (!__get_cpuid(0, &a, &b, &c, &d)) return false;
    if (a >= 4 && walk_leaf(4)) return true;
    return __get_cpuid_max(0x80000000u, nullptr) >= 0x8000001Du && walk_leaf(0x8000001Du);
  }
  bool walk_leaf(unsigned leaf) {
    unsigned a, b, c, d;
    for (unsigned i = 0; i < 16; ++i) {
      __cpuid_count(leaf, i, a, b, c, d);
      unsigned type = a & 0x1f;
      if (type == 0) break;
      unsigned level = (a >> 5) & 7;
      int64_t ways = ((b >> 22) & 0x3ff) + 1, parts = ((b >> 12) & 0x3ff) + 1;
      int64_t line = (b & 0xfff) + 1, sets = int64_t(c) + 1;
      record(level, type, ways * parts * line * sets);
    }
    return l1 > 0 || l2 > 0;
  }
  void from_sysfs() {
    for (int i = 0; i < 8; ++i) {
      char path[128], text[64];
      int64_t level = 0, bytes = 0;
      unsigned type = 0;
      std::snprintf(path, sizeof path, "/sys/devices/system/cpu/cpu0/cache/index%d/level", i);
      if (!read_line(path, text, sizeof text)) break;
      level = std::atoll(text);
      std::snprintf(path, sizeof path, "/sys/devices/system/cpu/cpu0/cache/index%d/type", i);
      if (read_line(path, text, sizeof text))
        type = !std::strncmp(text, "Data", 4) ? 1 : !std::strncmp(text, "Unified", 7) ? 3 : 2;
      std::snprintf(path, sizeof path, "/sys/devices/system/cpu/cpu0/cache/index%d/size", i);
      if (read_line(path, text, sizeof text)) {
        char *end = nullptr;
        bytes = std::strtoll(text, &end, 10);
        if (end && (*end == 'K' || *end == 'k')) bytes <<= 10;
        if (end && (*end == 'M' || *end == 'm')) bytes <<= 20;
      }
      record(unsigned(level), type, bytes);
    }
  }
  static bool read_line(const char *path, char *out, int n) {
    FILE *f = std::fopen(path, "r");
    if (!f) return false;
    bool ok = std::fgets(out, n, f) != nullptr;
    std::fclose(f);
    return ok;
  }
};
const CacheSizes &caches() {
  static const CacheSizes c;
  return c;
}

}  // namespace

ZOR_API void zor_core_force(int32_t answer, int64_t value) {
  if (answer < 0 || answer >= kAnswers) {
    std::fprintf(stderr, "zor_core_force: answer %d is not one of 0..%d\n", answer, kAnswers - 1);
    return;
  }
  forced_value[answer].store(value, std::memory_order_relaxed);
  forced[answer].store(true, std::memory_order_release);
}

ZOR_API void zor_core_unforce(int32_t answer) {
  if (answer < 0 || answer >= kAnswers) {
    std::fprintf(stderr, "zor_core_unforce: answer %d is not one of 0..%d\n", answer, kAnswers - 1);
    return;
  }
  forced[answer].store(false, std::memory_order_release);
}

// The later generation within the tier's range is the one that added the
// SSE4.1 instructions; the answer is fixed for the life of the process.
ZOR_API int32_t zor_serv_cpuhasqlx(void) {
  int64_t v;
  if (override_of(ZOR_CORE_CPUHASQLX, &v)) return v != 0;
  static const int32_t answer = __builtin_cpu_supports("sse4.1") ? 1 : 0;
  return answer;
}

// No processor this provider runs on is the alternative double-complex
// machine (33) unless forced.
ZOR_API int32_t zor_serv_get_microarchitecture(void) {
  int64_t v;
  if (override_of(ZOR_CORE_MICROARCH, &v)) return int32_t(v);
  return 0;
}

// Class of the processor: 4 would ask for page-aligned DFT workspaces; this
// provider reports class 2, the tier's own number.
ZOR_API int32_t zor_serv_cpu_detect(void) {
  int64_t v;
  if (override_of(ZOR_CORE_CPU_DETECT, &v)) return int32_t(v);
  return 2;
}

ZOR_API void zor_serv_cache_info(int32_t *info) {
  int64_t l1 = caches().l1, l2 = caches().l2, v;
  if (override_of(ZOR_CORE_L1_SIZE, &v)) l1 = v;
  if (override_of(ZOR_CORE_L2_SIZE, &v)) l2 = v;
  int32_t levels = l2 > 0 ? 2 : (l1 > 0 ? 1 : 0);
  if (override_of(ZOR_CORE_CACHE_LEVELS, &v)) levels = int32_t(v);
  info[0] = levels;
  info[1] = clamp32(l1);
  info[2] = clamp32(l2);
}

// The size the FFT blocking works with: the second-level cache, or the
// first, or a quarter megabyte when nothing is known.
ZOR_API int32_t zor_serv_get_cache_size(int32_t /*level*/) {
  int64_t v;
  if (override_of(ZOR_CORE_CACHE_SIZE, &v)) return clamp32(v);
  int64_t size = caches().l2 > 0 ? caches().l2 : caches().l1;
  return size > 0 ? clamp32(size) : 262144;
}
