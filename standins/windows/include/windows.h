// The Windows calls that the plugin makes, for builds that are not Windows: names, types and
// meaning are those of the system's own header, as far as the plugin needs them. None of them
// throws: a call that cannot be done, for want of memory too, answers as Windows does.
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
using HMODULE = struct HINSTANCE__*;
using LPVOID = void*;
using LPDWORD = DWORD*;
using LPSTR = CHAR*;
using LPCSTR = const CHAR*;
struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;
using LPTHREAD_START_ROUTINE = DWORD(WINAPI*)(LPVOID);

#define HEAP_ZERO_MEMORY 0x00000008

#define THREAD_PRIORITY_IDLE (-15)
#define THREAD_PRIORITY_LOWEST (-2)
#define THREAD_PRIORITY_BELOW_NORMAL (-1)
#define THREAD_PRIORITY_NORMAL 0
#define THREAD_PRIORITY_ABOVE_NORMAL 1
#define THREAD_PRIORITY_HIGHEST 2
#define THREAD_PRIORITY_TIME_CRITICAL 15
#define THREAD_PRIORITY_ERROR_RETURN 0x7fffffff

#define GET_MODULE_HANDLE_EX_FLAG_PIN 0x00000001
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 0x00000002
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x00000004

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

// A pseudo handle for whichever thread uses it; closing it does nothing.
ZELK_WINDOWS_API HANDLE WINAPI GetCurrentThread();

// Priorities become nice values. Raising one takes a right that few processes have: without it the
// call succeeds, the priority is remembered, and the system schedules as before.
ZELK_WINDOWS_API BOOL WINAPI SetThreadPriority(HANDLE thread, int priority);
// The priority that was set, THREAD_PRIORITY_NORMAL before.
ZELK_WINDOWS_API int WINAPI GetThreadPriority(HANDLE thread);

// The loaded library that contains this address: ..._FROM_ADDRESS must be among the flags. Takes a
// reference, which keeps the library mapped, unless ..._UNCHANGED_REFCOUNT; with ..._PIN it stays
// mapped until the process ends.
ZELK_WINDOWS_API BOOL WINAPI GetModuleHandleExA(DWORD flags, LPCSTR address, HMODULE* module);
// Gives a reference back.
ZELK_WINDOWS_API BOOL WINAPI FreeLibrary(HMODULE module);
// Ends the calling thread, which CreateThread started, and gives the reference back after the last
// of its code has run: neither returns nor runs the destructors of what is on its stack.
[[noreturn]] ZELK_WINDOWS_API void WINAPI FreeLibraryAndExitThread(HMODULE module, DWORD exit_code);

ZELK_WINDOWS_API HANDLE WINAPI GetProcessHeap();
ZELK_WINDOWS_API LPVOID WINAPI HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size);
ZELK_WINDOWS_API BOOL WINAPI HeapFree(HANDLE heap, DWORD flags, LPVOID block);

}  // extern "C"
