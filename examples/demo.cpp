// A first look at the library: who it is, what the provider says about the
// processor, and the working-memory pool at work.
#include <cstdio>

#include <zor/core.h>
#include <zor/serv.h>

int main() {
  char version[198];
  zor_serv_getversionstring_c(version, sizeof version);
  std::printf("%s\n", version);
  std::printf("processor tier: %d\n", dll_cpu_version());

  int32_t cache[3];
  zor_serv_cache_info(cache);
  std::printf("later generation (cpuhasqlx): %d, microarchitecture: %d, class: %d\n", zor_serv_cpuhasqlx(),
              zor_serv_get_microarchitecture(), zor_serv_cpu_detect());
  std::printf("caches: %d levels known, L1 %d bytes, L2 %d bytes\n", cache[0], cache[1], cache[2]);

  int32_t buffers = 0;
  int64_t bytes = zor_serv_zor_memstat(&buffers);
  std::printf("pool before: %d buffers, %lld bytes\n", buffers, static_cast<long long>(bytes));
  for (int round = 0; round < 3; ++round) {
    void *packing = zor_serv_allocate(4 << 20, 128);  // a GEMM-sized packing buffer
    std::printf("round %d: 4 MiB buffer at %p\n", round, packing);
    zor_serv_deallocate(packing);  // back to the pool: the next round reuses it
  }
  bytes = zor_serv_zor_memstat(&buffers);
  std::printf("pool after: %d buffers, %lld bytes\n", buffers, static_cast<long long>(bytes));
  zor_serv_freebuffers();
  bytes = zor_serv_zor_memstat(&buffers);
  std::printf("after freebuffers: %d buffers, %lld bytes\n", buffers, static_cast<long long>(bytes));
  return 0;
}
