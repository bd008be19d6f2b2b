// What the tests of the plugin rely on: threads, handles and heap blocks are counted, misuse is
// seen.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "windows.h"
#include "windows_standin.h"

namespace {

std::atomic<bool> may_end = false;

DWORD AnswerSeven(LPVOID parameter) {
  while (!may_end) std::this_thread::yield();
  *static_cast<int*>(parameter) = 7;
  return 0;
}

void AwaitThreads() {
  may_end = true;
  while (windows_standin::ThreadsRunning() > 0) std::this_thread::yield();
}

TEST(WindowsStandin, CountsAThreadUntilItEndsAndItsHandleUntilItIsClosed) {
  for (const bool close_first : {true, false}) {
    const int64_t misuses = windows_standin::Misuses();
    int answer = 0;
    may_end = false;
    const HANDLE thread = CreateThread(nullptr, 0, AnswerSeven, &answer, 0, nullptr);
    EXPECT_EQ(windows_standin::ThreadsRunning(), 1);
    EXPECT_EQ(windows_standin::HandlesOpen(), 1);
    if (!close_first) AwaitThreads();
    EXPECT_TRUE(CloseHandle(thread));
    EXPECT_FALSE(CloseHandle(thread));
    AwaitThreads();
    EXPECT_EQ(answer, 7);
    EXPECT_EQ(windows_standin::HandlesOpen(), 0);
    EXPECT_EQ(windows_standin::Misuses(), misuses + 1);
  }
  windows_standin::FailCreateThread(true);
  EXPECT_EQ(CreateThread(nullptr, 0, AnswerSeven, nullptr, 0, nullptr), nullptr);
  EXPECT_EQ(windows_standin::ThreadsRunning() + windows_standin::HandlesOpen(), 0);
  windows_standin::FailCreateThread(false);
}

DWORD HoldUntilTheEnd(LPVOID module) {
  while (!may_end) std::this_thread::yield();
  FreeLibraryAndExitThread(static_cast<HMODULE>(module), 0);
}

bool IsPluginMapped() {
  void* const plugin = dlopen(ZELK_PLUGIN_FILE, RTLD_LAZY | RTLD_NOLOAD);
  return plugin != nullptr && dlclose(plugin) == 0;
}

TEST(WindowsStandin, KeepsALibraryMappedUntilTheThreadThatHoldsItIsGone) {
  void* const plugin = dlopen(ZELK_PLUGIN_FILE, RTLD_LAZY);
  ASSERT_NE(plugin, nullptr) << dlerror();
  HMODULE module = nullptr;
  const auto* const inside = static_cast<LPCSTR>(dlsym(plugin, "zelk_epic_update"));
  ASSERT_TRUE(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, inside, &module));
  may_end = false;
  CloseHandle(CreateThread(nullptr, 0, HoldUntilTheEnd, module, 0, nullptr));
  dlclose(plugin);
  EXPECT_TRUE(IsPluginMapped());
  AwaitThreads();
  EXPECT_FALSE(IsPluginMapped());
}

TEST(WindowsStandin, CountsHeapBlocksAndSeesMisuse) {
  const int64_t misuses = windows_standin::Misuses();
  const HANDLE heap = GetProcessHeap();
  char* block = static_cast<char*>(HeapAlloc(heap, HEAP_ZERO_MEMORY, 64));
  EXPECT_EQ(std::string(block, 64), std::string(64, '\0'));
  EXPECT_EQ(windows_standin::HeapBlocksOut(), 1);
  EXPECT_FALSE(HeapFree(nullptr, 0, block));
  EXPECT_TRUE(HeapFree(heap, 0, block));
  EXPECT_FALSE(HeapFree(heap, 0, block));
  EXPECT_EQ(HeapAlloc(nullptr, 0, 1), nullptr);
  EXPECT_EQ(windows_standin::Misuses(), misuses + 3);
  windows_standin::FailHeapAlloc(true);
  EXPECT_EQ(HeapAlloc(heap, 0, 1), nullptr);
  EXPECT_EQ(windows_standin::HeapBlocksOut(), 0);
  windows_standin::FailHeapAlloc(false);
}

}  // namespace
