// What a test may ask of the Windows stand-in, and make it do.
#pragma once

#include <cstdint>

namespace windows_standin {

// Any thread. While set, the call fails.
__attribute__((visibility("default"))) void FailCreateThread(bool fail);
__attribute__((visibility("default"))) void FailHeapAlloc(bool fail);

// Any thread. What was handed out and not given back, and threads that have not ended: one counts
// until its last code has run and the library that it held is given back.
__attribute__((visibility("default"))) int64_t HandlesOpen();
__attribute__((visibility("default"))) int64_t HeapBlocksOut();
__attribute__((visibility("default"))) int64_t ThreadsRunning();

// Any thread. What the last successful SetThreadPriority asked for, THREAD_PRIORITY_NORMAL before.
__attribute__((visibility("default"))) int LastPrioritySet();

// Any thread. Calls that the real system would not forgive: a wrong heap, a handle closed twice, a
// block freed twice.
__attribute__((visibility("default"))) int64_t Misuses();

}  // namespace windows_standin
