// The library works when it is called, and does nothing when it is loaded or unloaded.
#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>

#include <filesystem>
#include <memory>
#include <random>
#include <sstream>
#include <string>

#include "eos_standin.h"
#include "zelk_foundation_standin.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace zelk_test {
namespace {

#if defined(_WIN32)
void* Load(std::filesystem::path file) {
  return LoadLibraryExW(file.make_preferred().c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}
bool Unload(void* library) { return FreeLibrary(static_cast<HMODULE>(library)) != 0; }
bool IsLoaded(const std::filesystem::path& file) {
  return GetModuleHandleW(file.filename().c_str()) != nullptr;
}
#else
void* Load(const std::filesystem::path& file) { return dlopen(file.c_str(), RTLD_NOW); }
bool Unload(void* library) { return dlclose(library) == 0; }
bool IsLoaded(const std::filesystem::path& file) {
  void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
  return library != nullptr && dlclose(library) == 0;
}
#endif

// The working directory and the store's in one.
std::filesystem::path EnterEmptyDirectory() {
  const std::string name = "zelk_load_" + std::to_string(std::random_device()());
  const std::filesystem::path directory = std::filesystem::temp_directory_path() / name;
  std::filesystem::create_directory(directory);
  std::filesystem::current_path(directory);
  zelk::foundation_standin::SetStoreDirectory(directory);
  return directory;
}

TEST(PluginFile, IsLoadedAndUnloadedWithoutATrace) {
  const std::filesystem::path before = std::filesystem::current_path();
  const std::filesystem::path file = std::filesystem::absolute(ZELK_PLUGIN_FILE);
  const std::filesystem::path directory = EnterEmptyDirectory();
  std::ostringstream log;
  zelk::foundation_standin::SetLogSinks({std::make_shared<spdlog::sinks::ostream_sink_mt>(log)});
  eos_standin::RecordCalls(true);

  for (int round = 0; round < 2; ++round) {
    void* library = Load(file);
    ASSERT_NE(library, nullptr);
    EXPECT_TRUE(IsLoaded(file));
    EXPECT_TRUE(Unload(library));
    EXPECT_FALSE(IsLoaded(file));
  }

  zelk::foundation_standin::SetLogSinks({});
  EXPECT_EQ(log.str(), "");
  EXPECT_TRUE(eos_standin::Calls().empty());
  EXPECT_TRUE(std::filesystem::is_empty(directory));
  std::filesystem::current_path(before);
  std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace zelk_test
