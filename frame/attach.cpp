#include "frame/attach.hpp"

namespace zor::frame {

bool attach(FrameState &state, const AttachPlatform &platform) {
  // The exit table; a failed allocation is retried after pauses of 0, 1, 2,
  // ... seconds, and the load fails once the next pause would pass a minute.
  auto bytes = sizeof(ExitFn) * kExitEntries;
  uint32_t delay = 0;
  while (!(state.exit_table = static_cast<ExitFn *>(platform.malloc(bytes)))) {
    if (delay > kRetryLimitMs) return false;
    platform.sleep_ms(delay);
    delay += kRetryStepMs;
  }
  state.exit_table[0] = nullptr;
  state.exit_count = 0;
  // The runtime's initialisers of this library are run by the dynamic loader
  // around the constructor that calls us; nothing here depends on their order.
  ++state.attachments;
  // ELF delivers no per-thread notifications to a library, so there is
  // nothing to switch off, and no thread-exit cleanup exists anywhere.
  return true;
}

bool detach(FrameState &state, const AttachPlatform &platform) {
  if (state.attachments == 0) return false;
  --state.attachments;
  for (int32_t i = state.exit_count - 1; i >= 0; --i)
    if (state.exit_table[i]) state.exit_table[i]();
  platform.free(state.exit_table);
  state.exit_table = nullptr;
  state.exit_count = 0;
  return true;
}

bool register_exit(FrameState &state, ExitFn fn) {
  if (!state.exit_table || state.exit_count == kExitEntries) return false;
  state.exit_table[state.exit_count++] = fn;
  return true;
}

}  // namespace zor::frame
