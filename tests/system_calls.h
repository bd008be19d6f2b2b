// The system calls of the plugin as a test makes them fail and counts what they leave: by the
// stand-in for Windows, and on Windows by what takes the places of the system's in the plugin.
#pragma once

#if !defined(_WIN32)

#include "windows_standin.h"
namespace system_calls = windows_standin;

#else

#include <cstdint>

namespace system_calls {

// Lets `function` take the place of the function `name` for the library that has this address.
// False when the library does not import it.
bool ReplaceImport(const void* in_library, const char* name, void* function);

// Watches the calls of that library. False when it lacks one of them.
bool Watch(const void* in_library);

// As the stand-in's.
void FailCreateThread(bool fail);
void FailHeapAlloc(bool fail);
int64_t HandlesOpen();
int64_t HeapBlocksOut();
int64_t ThreadsRunning();
int64_t Misuses();

}  // namespace system_calls

#endif
