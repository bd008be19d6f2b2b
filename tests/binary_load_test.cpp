// What happens to the library: it does nothing when it is loaded or unloaded, and survives both,
// and the end of the process, while a worker is inside.
#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>

#include "core_contract/method_id.h"
#include "eos_standin.h"
#include "plugin_library.h"
#include "zelk_core_standin.h"
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
void* Find(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}
bool IsLoaded(const std::filesystem::path& file) {
  return GetModuleHandleW(file.filename().c_str()) != nullptr;
}
#else
void* Load(const std::filesystem::path& file) { return dlopen(file.c_str(), RTLD_NOW); }
bool Unload(void* library) { return dlclose(library) == 0; }
void* Find(void* library, const char* name) { return dlsym(library, name); }
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

// --- a worker inside; each of these processes is a child of the tests below ---

template <class Function>
Function* EntryPointOf(void* library, zelk::host::EntryPoint which) {
  return reinterpret_cast<Function*>(Find(library, zelk::host::EntryPointName(which)));
}

class WorkerInside : public testing::Test {
 protected:
  static constexpr int32_t kFriends = 5000;

  // Signs in, asks for a page, and returns when the worker has asked for `asked` of its friends.
  void AskUntil(int asked) {
    using zelk::host::EntryPoint;
    file_ = std::filesystem::absolute(ZELK_PLUGIN_FILE);
    directory_ = EnterEmptyDirectory();
    for (const char* key : zelk::host::kConfigKeys) {
      zelk::core_standin::SetConfig("ZELK", key, "test");
    }
    eos_standin::SetWorld({{"accounts",
                            {{{"name", "player"},
                              {"account_id", "00000000000000000000000000000001"},
                              {"product_user_id", "0000000000000000000000000000000a"},
                              {"generated_friends", kFriends}}}}});
    eos_standin::SetHook([](const std::string& call) {
      if (call != "EOS_UserInfo_QueryUserInfo") return;
      ++asked_;
      while (stays_inside_ && asked_ == 100) std::this_thread::yield();
    });
    library_ = Load(file_);
    ASSERT_NE(library_, nullptr);
    const auto login = EntryPointOf<decltype(zelk_epic_auth_login)>(library_, EntryPoint::kLogin);
    const auto query =
        EntryPointOf<decltype(zelk_epic_friend_queryfriends)>(library_, EntryPoint::kQueryFriends);
    const auto update = EntryPointOf<decltype(zelk_epic_update)>(library_, EntryPoint::kUpdate);
    shutdown_ = EntryPointOf<decltype(zelk_epic_shutdown)>(library_, EntryPoint::kShutdown);
    login({zelk::kMethodIDAuthLogin, "login", "", R"({"LoginMode":"AccountPortal"})"},
          "basic_profile,friends_list,presence");
    while (zelk::core_standin::DrainTaskQueue([](const auto&) {}) == 0) update();
    query({zelk::kMethodIDFriendQueryFriends, "page", "", ""}, 1, kFriends, false);
    update();  // lists the page, and starts the worker
    while (asked_ < asked) std::this_thread::yield();
  }

  // Static, for a shutdown while the process ends.
  static inline decltype(&zelk_epic_shutdown) shutdown_ = nullptr;
  static inline std::atomic<int> asked_ = 0;
  static inline std::atomic<bool> stays_inside_ = false;
  std::filesystem::path file_;
  std::filesystem::path directory_;
  void* library_ = nullptr;
};

TEST_F(WorkerInside, DISABLED_Unloads) {
  std::random_device random;
  AskUntil(static_cast<int>(random() % 4000) + 1);
  const bool logs_out = random() % 2 == 0;
  if (logs_out) {
    EntryPointOf<decltype(zelk_epic_auth_logout)>(
        library_, zelk::host::EntryPoint::kLogout)({zelk::kMethodIDAuthLogout, "logout", "", ""});
  }
  shutdown_();
  std::map<std::string, int32_t> answers;
  zelk::core_standin::DrainTaskQueue([&answers](const auto& result) {
    const auto* const page = std::get_if<zelk::FriendResult>(&result.record);
    EXPECT_TRUE(answers.emplace(result.seq_id, page != nullptr ? page->ret_code : 0).second);
  });
  EXPECT_EQ(answers["page"], zelk::kResultNeedLogin);
  EXPECT_EQ(answers.size(), logs_out ? 2U : 1U);
  EXPECT_TRUE(Unload(library_));
  while (IsLoaded(file_)) std::this_thread::yield();
  EXPECT_TRUE(eos_standin::Misuses().empty());
}

TEST_F(WorkerInside, DISABLED_EndsTheProcess) {
  struct ShutdownAtExit {
    ~ShutdownAtExit() { shutdown_(); }
  };
  static const ShutdownAtExit at_exit;
  stays_inside_ = true;
  AskUntil(100);
}

int StatusOfChild(const std::string& name) {
  const std::string program =
      std::filesystem::absolute(ZELK_LOAD_PROGRAM).make_preferred().string();
  std::string command =
      '"' + program +
      "\" --gtest_also_run_disabled_tests --gtest_brief=1 --gtest_filter=WorkerInside.DISABLED_" +
      name;
#if defined(_WIN32)
  command = '"' + command + '"';  // the shell takes the outermost quotes away
#else
  // The objects of a library live until the process ends: unloaded, it leaks them.
  command = "ASAN_OPTIONS=detect_leaks=0 " + command;
#endif
  return std::system(command.c_str());
}

TEST(PluginFile, IsUnloadedInTheMiddleOfAPage) {
  for (int i = 0; i < 100; ++i) ASSERT_EQ(StatusOfChild("Unloads"), 0) << i;
}

TEST(PluginFile, IsShutDownWhileTheProcessEndsInTheMiddleOfAPage) {
  EXPECT_EQ(StatusOfChild("EndsTheProcess"), 0);
}

}  // namespace
}  // namespace zelk_test
