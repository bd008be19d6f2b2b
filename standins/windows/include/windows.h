// The Windows calls that the plugin makes, for builds that are not Windows: names, types and
// meaning are those of the system's own header, as far as the plugin needs them.
#pragma once

#include <cstddef>
#include <cstdint>

#define WINAPI
#define ZELK_WINDOWS_API __attribute__((visibility("default")))

using BOOL = int;
using CHAR = char;
using DWORD = uint32_t;
using SIZE_T = std::size_t;
using HANDLE = void*;
using LPVOID = void*;
using LPDWORD = DWORD*;
using LPSTR = CHAR*;
struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;
using LPTHREAD_START_ROUTINE = DWORD(WINAPI*)(LPVOID);

#define HEAP_ZERO_MEMORY 0x00000008

extern "C" {

// The temporary directory with a closing slash: TMPDIR, or /tmp. Returns its length without the
// NUL; when the buffer is too small, the size needed, and writes nothing.
ZELK_WINDOWS_API DWORD WINAPI GetTempPathA(DWORD size, LPSTR buffer);

// Starts a detached thread at once; null when it cannot be started. The handle is the caller's to
// close.
ZELK_WINDOWS_API HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stack_size,
                                            LPTHREAD_START_ROUTINE start, LPVOID parameter,
                                            DWORD creation_flags, LPDWORD thread_id);
ZELK_WINDOWS_API BOOL WINAPI CloseHandle(HANDLE handle);

ZELK_WINDOWS_API HANDLE WINAPI GetProcessHeap();
ZELK_WINDOWS_API LPVOID WINAPI HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size);
ZELK_WINDOWS_API BOOL WINAPI HeapFree(HANDLE heap, DWORD flags, LPVOID block);

}  // extern "C"
