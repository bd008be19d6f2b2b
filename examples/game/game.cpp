// A game that signs its player in, lists two pages of friends and signs out. It does the work of
// the SDK's core: loads the plugin, calls its exports and takes the results off the task queue.
//
//     game CONFIG_FILE
#include <chrono>
#include <cstdint>
#include <exception>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <variant>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include "core_contract/json.h"
#include "core_contract/method_id.h"
#include "core_contract/results.h"
#include "zelk_core_standin.h"
#include "zelk_epic.h"

namespace {

using zelk::core_standin::CommittedResult;

constexpr char kPermissions[] = "basic_profile,friends_list,presence";
constexpr int32_t kFriendsPerPage = 3;
constexpr std::chrono::milliseconds kFrame{16};

// An export of the plugin, which lies beside the game. It stays loaded until the process ends.
void* Export(const char* name) {
#if defined(_WIN32)
  static const HMODULE plugin = LoadLibraryW(L"ZELKEpic.dll");
  const FARPROC symbol = plugin ? GetProcAddress(plugin, name) : nullptr;
  if (!symbol) throw std::runtime_error("ZELKEpic: error " + std::to_string(GetLastError()));
  return reinterpret_cast<void*>(symbol);
#else
  static void* const plugin = dlopen("libZELKEpic.so", RTLD_NOW);
  void* const symbol = plugin ? dlsym(plugin, name) : nullptr;
  if (!symbol) throw std::runtime_error(dlerror());
  return symbol;
#endif
}

struct Plugin {
  ~Plugin() { shutdown(); }  // before the process begins to end

#define EXPORT(name) reinterpret_cast<decltype(&name)>(Export(#name))
  decltype(&zelk_epic_auth_login) login = EXPORT(zelk_epic_auth_login);
  decltype(&zelk_epic_auth_logout) logout = EXPORT(zelk_epic_auth_logout);
  decltype(&zelk_epic_friend_queryfriends) friends = EXPORT(zelk_epic_friend_queryfriends);
  decltype(&zelk_epic_update) update = EXPORT(zelk_epic_update);
  decltype(&zelk_epic_shutdown) shutdown = EXPORT(zelk_epic_shutdown);
#undef EXPORT
};

zelk::BaseParams Request(zelk::MethodID method_id, const std::string& seq_id) {
  zelk::BaseParams params;
  params.method_id = method_id;
  params.seq_id = seq_id;
  return params;
}

// Lets frames pass until a request is answered. A game draws meanwhile.
CommittedResult Answer(const Plugin& plugin, const zelk::BaseParams& request) {
  std::optional<CommittedResult> answer;
  const auto take = [&](const CommittedResult& result) {
    if (result.seq_id == request.seq_id) answer.emplace(result);
  };
  for (;;) {
    zelk::core_standin::DrainTaskQueue(take);
    if (answer) return *answer;
    plugin.update();
    std::this_thread::sleep_for(kFrame);
  }
}

// The record that a request is answered by when it succeeds; says what became of it otherwise.
template <class Record>
Record Expect(const CommittedResult& answer) {
  return std::visit(
      [&](const auto& record) -> Record {
        if constexpr (std::is_same_v<std::decay_t<decltype(record)>, Record>) {
          if (record.ret_code == zelk::kResultSuccess) return record;
        }
        throw std::runtime_error(answer.seq_id + ": " + std::to_string(record.ret_code) + ", " +
                                 std::to_string(record.third_code) + " " +
                                 record.third_msg.c_str());
      },
      answer.record);
}

void SignIn(const Plugin& plugin) {
  zelk::BaseParams request = Request(zelk::kMethodIDAuthLogin, "sign-in");
  request.extra_json = R"({"LoginMode":"AccountPortal"})";
  plugin.login(request, kPermissions);
  const auto player = Expect<zelk::AuthPluginResult>(Answer(plugin, request));
  std::string name;
  zelk::JSONReaderParse(player.channel_info)["nickname"].Convert(name, false);
  std::cout << "signed in: " << name << ", account " << player.openid << '\n';
}

void ListFriends(const Plugin& plugin, int32_t page) {
  const auto request = Request(zelk::kMethodIDFriendQueryFriends, "page-" + std::to_string(page));
  plugin.friends(request, page, kFriendsPerPage, false);
  const auto result = Expect<zelk::FriendResult>(Answer(plugin, request));
  std::cout << "page " << page << ": " << result.friend_info_list.size() << " friends\n";
  for (const zelk::PersonInfo& person : result.friend_info_list) {
    std::cout << "  " << person.openid.c_str() << "  " << person.user_name.c_str() << '\n';
  }
}

// EOS forgets the player during the frames that follow.
void SignOut(const Plugin& plugin) {
  const auto request = Request(zelk::kMethodIDAuthLogout, "sign-out");
  plugin.logout(request);
  Expect<zelk::BaseResult>(Answer(plugin, request));
  for (int frame = 0; frame < 10; ++frame) {
    plugin.update();
    std::this_thread::sleep_for(kFrame);
  }
  std::cout << "signed out\n";
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) throw std::runtime_error("usage: game CONFIG_FILE");
  const std::string problem = zelk::core_standin::LoadConfig(argv[1]);
  if (!problem.empty()) throw std::runtime_error(problem);
  const Plugin plugin;
  SignIn(plugin);
  ListFriends(plugin, 1);
  ListFriends(plugin, 2);
  SignOut(plugin);
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
