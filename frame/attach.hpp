// Load and unload of the library, as plain functions over an explicit state
// so that they can be exercised without loading the library again.
#pragma once
#include <cstddef>
#include <cstdint>

namespace zor::frame {

using ExitFn = void (*)();

struct FrameState {
  ExitFn *exit_table = nullptr;  // 32 entries from the C runtime's malloc
  int32_t exit_count = 0;        // entries registered (none are, in this library)
  int32_t attachments = 0;
};

constexpr int kExitEntries = 32;
constexpr uint32_t kRetryStepMs = 1000;
constexpr uint32_t kRetryLimitMs = 60000;

struct AttachPlatform {
  void *(*malloc)(size_t);
  void (*free)(void *);
  void (*sleep_ms)(uint32_t);
};

// Returns true when the library may stay loaded.
bool attach(FrameState &state, const AttachPlatform &platform);
// Returns false when nothing is attached.
bool detach(FrameState &state, const AttachPlatform &platform);
// Adds an exit function, run by detach in reverse order of registration.
bool register_exit(FrameState &state, ExitFn fn);

}  // namespace zor::frame
