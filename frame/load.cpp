// The ELF constructor and destructor of the tier: load allocates the exit
// table and counts the attachment; unload walks the (normally empty) table.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "frame/attach.hpp"

namespace {

zor::frame::FrameState frame_state;

void sleep_ms(uint32_t ms) { usleep(useconds_t(ms) * 1000); }

const zor::frame::AttachPlatform platform = {&std::malloc, &std::free, &sleep_ms};

__attribute__((constructor(101))) void on_load() {
  if (!zor::frame::attach(frame_state, platform)) {
    std::fputs("zor_tier2: cannot allocate the exit table; the library cannot load\n", stderr);
    std::abort();
  }
}

__attribute__((destructor(101))) void on_unload() { zor::frame::detach(frame_state, platform); }

}  // namespace
