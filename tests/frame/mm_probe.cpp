// Child process of the environment tests: reports whether the pool is on,
// after an optional early zor_serv_disable_fast_mm.
#include <cstdio>
#include <cstring>

#include <zor/serv.h>

int main(int argc, char **argv) {
  int disabled_first = -1, disabled_again = -1;
  if (argc > 1 && std::strcmp(argv[1], "disable") == 0) {
    disabled_first = zor_serv_disable_fast_mm();
    disabled_again = zor_serv_disable_fast_mm();
  }
  void *p = zor_serv_allocate(1000, 64);
  int32_t count = 0;
  long long bytes = zor_serv_zor_memstat(&count);
  std::printf("%d %lld %d %d\n", count, bytes, disabled_first, disabled_again);
  zor_serv_deallocate(p);
  return 0;
}
