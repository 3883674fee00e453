/* A user's program: links the installed package and calls both libraries. */
#include <stdio.h>
#include <zor/core.h>
#include <zor/serv.h>

int main(void) {
  int32_t count = 0;
  void *p = zor_serv_allocate(1000, 64);
  zor_serv_deallocate(p);
  zor_serv_zor_memstat(&count);
  if (dll_cpu_version() != 2 || p == NULL || count < 1) return 1;
  printf("tier %d, %d pooled buffers\n", dll_cpu_version(), count);
  return 0;
}
