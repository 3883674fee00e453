// The pooled allocator's hit path against the C runtime's malloc/free of the
// same size: a GEMM-sized packing buffer (4 MiB, alignment 128) taken and
// given back, again and again on one thread.
#include <cstdio>
#include <cstdlib>

#include <zor/serv.h>

#include "common.hpp"

int main() {
  constexpr uint64_t kBytes = 4 << 20;
  constexpr int kPairs = 1000;
  using zor::bench::best_seconds;
  using zor::bench::keep;

  void *warm = zor_serv_allocate(kBytes, 128);  // registers the thread and fills one slot
  zor_serv_deallocate(warm);

  double pooled = best_seconds([&] {
    for (int i = 0; i < kPairs; ++i) {
      void *p = zor_serv_allocate(kBytes, 128);
      keep(p);
      zor_serv_deallocate(p);
    }
  }) / kPairs;
  double libc = best_seconds([&] {
    for (int i = 0; i < kPairs; ++i) {
      void *p = std::malloc(kBytes);
      keep(p);
      std::free(p);
    }
  }) / kPairs;
  double libc_aligned = best_seconds([&] {
    for (int i = 0; i < kPairs; ++i) {
      void *p = std::aligned_alloc(128, kBytes);
      keep(p);
      std::free(p);
    }
  }) / kPairs;

  std::printf("4 MiB allocate/deallocate pair, one thread\n");
  std::printf("  pooled hit path        %8.1f ns\n", pooled * 1e9);
  std::printf("  malloc/free            %8.1f ns   ratio %6.1fx\n", libc * 1e9, libc / pooled);
  std::printf("  aligned_alloc/free     %8.1f ns   ratio %6.1fx\n", libc_aligned * 1e9, libc_aligned / pooled);
  return 0;
}
