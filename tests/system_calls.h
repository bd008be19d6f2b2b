// The system calls of the plugin as a test makes them fail and counts what they leave: by the
// stand-in for Windows.
#pragma once

#if !defined(_WIN32)

#include "windows_standin.h"
namespace system_calls = windows_standin;

#else

#include <cstdint>

// The system's own calls: they cannot be told to fail, and count nothing.
namespace system_calls {

inline int64_t HandlesOpen() { return 0; }
inline int64_t HeapBlocksOut() { return 0; }
inline int64_t ThreadsRunning() { return 0; }
inline int64_t Misuses() { return 0; }

}  // namespace system_calls

#endif
