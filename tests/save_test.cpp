// A process that is killed at any moment of a save leaves the old value or the new one. Here a
// process saves under a tracer, which kills it at its first system call, at its second, and so on.
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <vector>

#include "core_contract/mmkv.h"
#include "eos_auth.h"
#include "eos_sdk.h"
#include "eos_standin.h"
#include "zelk_foundation_standin.h"

namespace {

namespace fs = std::filesystem;

// Values, and accounts with that name.
constexpr const char* kOld = "00000000000000000000000000000001";
constexpr const char* kNew = "00000000000000000000000000000002";
constexpr const char* kNext = "00000000000000000000000000000003";

// Of these, each begins as a new process does: with what the directory holds.
struct SaveRow {
  const char* name;
  bool (*save)(const fs::path& directory, const char* value);
  std::string (*read)(const fs::path& directory);
};
void PrintTo(const SaveRow& row, std::ostream* out) { *out << row.name; }

zelk::MMKV& StoreIn(const fs::path& directory) {
  zelk::foundation_standin::SetStoreDirectory(directory);
  return *zelk::MMKV::defaultMMKV(zelk::kMmkvSingleProcess, nullptr);
}

// Who is signed in afterwards; "" for nobody.
std::string SignIn(const fs::path& directory, EOS_ELoginCredentialType type, const char* id) {
  std::string account;
  const std::string cache_directory = directory.string();
  const EOS_Platform_Options options{
      .ApiVersion = 7,
      .ProductId = "product",
      .SandboxId = "sandbox",
      .ClientCredentials = {.ClientId = "client", .ClientSecret = "secret"},
      .DeploymentId = "deployment",
      .CacheDirectory = cache_directory.c_str()};
  const EOS_HPlatform platform = EOS_Platform_Create(&options);
  const EOS_Auth_Credentials credentials{
      .ApiVersion = 2, .Id = id, .Token = id != nullptr ? "secret" : nullptr, .Type = type};
  const EOS_Auth_LoginOptions login{.ApiVersion = 2, .Credentials = &credentials};
  const auto complete = [](const EOS_Auth_LoginCallbackInfo* info) {
    char text[33] = "";
    int32_t size = sizeof text;
    EOS_EpicAccountId_ToString(info->LocalUserId, text, &size);
    static_cast<std::string*>(info->ClientData)->assign(text);
  };
  EOS_Auth_Login(EOS_Platform_GetAuthInterface(platform), &login, &account, complete);
  EOS_Platform_Tick(platform);
  EOS_Platform_Release(platform);
  return account;
}

void StartEos() {
  nlohmann::ordered_json world{{"accounts", nlohmann::ordered_json::array()}};
  for (const char* id : {kOld, kNew, kNext}) {
    world["accounts"].push_back({{"name", id}, {"password", "secret"}, {"account_id", id}});
  }
  eos_standin::SetWorld(world);
  const EOS_InitializeOptions options{.ApiVersion = 3, .ProductName = "test"};
  ASSERT_EQ(EOS_Initialize(&options), EOS_EResult::EOS_Success);
}

constexpr SaveRow kKeyValueStore{"KeyValueStore",
                                 [](const fs::path& directory, const char* value) {
                                   return StoreIn(directory).set(value, "key");
                                 },
                                 [](const fs::path& directory) {
                                   std::string value;
                                   StoreIn(directory).getString("key", value);
                                   return value;
                                 }};
constexpr SaveRow kPersistentAuthorisation{
    "PersistentAuthorisation",
    [](const fs::path& directory, const char* value) {
      return SignIn(directory, EOS_ELoginCredentialType::EOS_LCT_Password, value) == value;
    },
    [](const fs::path& directory) {
      return SignIn(directory, EOS_ELoginCredentialType::EOS_LCT_PersistentAuth, nullptr);
    }};

class Save : public testing::TestWithParam<SaveRow> {
 protected:
  static constexpr int kKilled = -1;
  static constexpr int kNotTraced = 77;

  static void SetUpTestSuite() { StartEos(); }

  Save() { fs::remove_all(directory_); }
  ~Save() override { fs::remove_all(directory_); }

  // Kills the saving process at its n-th stop: each system call has one on entry and one on return.
  // Otherwise its exit status.
  int SaveUntilStop(int n) {
    const pid_t child = fork();
    if (child == 0) {
      if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(kNotTraced);
      raise(SIGSTOP);
      _exit(GetParam().save(directory_, kNew) ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (int stop = 0; WIFSTOPPED(status) && stop < n; ++stop) {
      ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
      waitpid(child, &status, 0);
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    return kKilled;
  }

  std::vector<fs::path> Files() const {
    return {fs::directory_iterator(directory_), fs::directory_iterator()};
  }

  void GrowOld() const {
    for (const fs::path& file : Files()) {
      fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
  }

  const fs::path directory_ = fs::temp_directory_path() / ("zelk-save-" + std::to_string(getpid()));
};

TEST_P(Save, LeavesTheOldOrTheNewValueWhereverItIsKilled) {
  const SaveRow& row = GetParam();
  int stops = 0, status = kKilled, with_old = 0, with_new = 0;
  while (true) {
    ASSERT_TRUE(row.save(directory_, kOld));
    status = SaveUntilStop(stops + 1);
    if (status != kKilled) break;
    SCOPED_TRACE(++stops);
    const std::string value = row.read(directory_);
    ASSERT_TRUE(value == kOld || value == kNew) << value;
    ++(value == kOld ? with_old : with_new);
    GrowOld();
    ASSERT_TRUE(row.save(directory_, kNext));
    ASSERT_EQ(row.read(directory_), kNext);
    ASSERT_EQ(Files().size(), 1U) << "nothing was set aside, and no leftover stays for good";
  }
  ASSERT_NE(status, kNotTraced) << "this system lets no process trace its child";
  ASSERT_EQ(status, 0);
  EXPECT_EQ(row.read(directory_), kNew);
  EXPECT_GT(with_old, 0);
  EXPECT_GT(with_new, 0);
  std::cout << row.name << ": killed at each of " << (stops + 1) / 2 << " system calls, "
            << with_old << " times with the old value left and " << with_new
            << " times with the new" << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Kinds, Save, testing::Values(kKeyValueStore, kPersistentAuthorisation),
                         [](const auto& row) { return row.param.name; });

}  // namespace
