#include "game.h"

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <variant>

#include "core_contract/method_id.h"
#include "eos_standin.h"
#include "zelk_core_standin.h"
#include "zelk_foundation_standin.h"

namespace zelk::benchmarks {
namespace {

void SetTemporaryDirectory(const std::filesystem::path& directory) {
#if defined(_WIN32)
  _wputenv_s(L"TMP", directory.c_str());
#else
  setenv("TMPDIR", directory.c_str(), 1);
#endif
}

void ExpectSuccess(const core_standin::CommittedResult& result) {
  const int32_t code =
      std::visit([](const auto& record) { return record.ret_code; }, result.record);
  if (code == kResultSuccess) return;
  throw std::runtime_error(result.seq_id + " failed with " + std::to_string(code));
}

void ExpectAnswer() {
  if (!Game::TakeAnswer()) throw std::runtime_error("a request was not answered");
}

}  // namespace

Directory::Directory(const std::filesystem::path& parent)
    : path_(parent /
            ("zelk-benchmark-" +
             std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()))) {
  std::filesystem::create_directories(path_);
}

Directory::~Directory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path Directory::InMemory() {
  const std::filesystem::path memory = "/dev/shm";
  std::error_code ignored;
  return std::filesystem::is_directory(memory, ignored) ? memory
                                                        : std::filesystem::temp_directory_path();
}

BaseParams Request(int32_t method_id) {
  return {method_id, kRequestId, kRequestNote, kRequestJson};
}

void SetUpWorld(const std::filesystem::path& directory) {
  SetTemporaryDirectory(directory);
  foundation_standin::SetStoreDirectory(directory);
  foundation_standin::SetLogThreshold(kLogError);
  for (const char* key : host::kConfigKeys) core_standin::SetConfig("ZELK", key, "benchmark");
  eos_standin::SetWorld({{"accounts",
                          {{{"name", "player"},
                            {"account_id", std::string(31, '0') + "1"},
                            {"product_user_id", std::string(31, '0') + "a"},
                            {"display_name", "Player One"},
                            {"country", "DE"},
                            {"language", "de"},
                            {"generated_friends", kFriends}}}},
                         {"signs_in", "player"}});
}

Game::Game() {
  SignIn();
  ExpectAnswer();
}

void Game::SignIn() const {
  library_.login(Request(kMethodIDAuthLogin), "basic_profile,friends_list,presence");
  TickUntilIdle();
}

void Game::SignOut() const {
  library_.logout(Request(kMethodIDAuthLogout));
  TickUntilIdle();
}

void Game::AskForFriends(int32_t count) const {
  library_.query_friends(Request(kMethodIDFriendQueryFriends), 1, count, false);
}

void Game::TickUntilIdle() const {
  while (eos_standin::OutstandingNow().operations > 0) Tick();
}

bool Game::TakeAnswer() { return core_standin::DrainTaskQueue(&ExpectSuccess) > 0; }

}  // namespace zelk::benchmarks
