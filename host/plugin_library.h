// The plugin as the core has it: loaded by its path, its entry points found by their names.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>

#include "shared_library.h"
#include "zelk_epic.h"

namespace zelk::host {

// The names under which the plugin exports its entry points, in the order of EntryPoint, and the
// core's friend message as this compiler decorates it.
enum class EntryPoint { kLogin, kAutoLogin, kLogout, kUpdate, kShutdown, kQueryFriends };
inline constexpr std::array kEntryPointNames{
    "zelk_epic_auth_login", "zelk_epic_auth_auto_login", "zelk_epic_auth_logout",
    "zelk_epic_update",     "zelk_epic_shutdown",        "zelk_epic_friend_queryfriends",
};
constexpr const char* EntryPointName(EntryPoint entry_point) {
  return kEntryPointNames[static_cast<std::size_t>(entry_point)];
}
#if defined(_MSC_VER)
inline constexpr char kSendMessageName[] =
    "?SendMessage@Friend@zelk@@SAXAEBVFriendReqInfo@2@AEBV?$basic_string@D@zelk_tp_stl_c@2@@Z";
#else
inline constexpr char kSendMessageName[] =
    "_ZN4zelk6Friend11SendMessageERKNS_13FriendReqInfoERKNS_13zelk_tp_stl_c12basic_stringIcEE";
#endif

// What the plugin reads of the section "ZELK" of the core's configuration.
inline constexpr std::array kConfigKeys{
    "EPIC_PRODUCT_NAME",  "EPIC_PRODUCT_VERSION", "EPIC_PRODUCT_ID",    "EPIC_SANDBOX_ID",
    "EPIC_DEPLOYMENT_ID", "EPIC_CLIENT_ID",       "EPIC_CLIENT_SECRET",
};

// EOS will try a failed call again: a result with this `third_code` is not the last of its request.
inline constexpr int32_t kWillRetry = 19;

// Throws std::runtime_error naming the file and what is wrong with it.
SharedLibrary LoadPluginFile(const std::filesystem::path& file);

// A loaded plugin and its entry points. It stays loaded.
class PluginLibrary {
  SharedLibrary library_;  // before the entry points, which are found through it

 public:
  // Throws std::runtime_error naming the file and what it lacks.
  explicit PluginLibrary(const std::filesystem::path& file);

  // A symbol of the plugin or of the EOS library that it brought along; null when neither has it.
  void* Find(const char* name) const;

  decltype(&zelk_epic_auth_login) login;
  decltype(&zelk_epic_auth_auto_login) auto_login;
  decltype(&zelk_epic_auth_logout) logout;
  decltype(&zelk_epic_update) update;
  decltype(&zelk_epic_shutdown) shutdown;
  decltype(&zelk_epic_friend_queryfriends) query_friends;
};

}  // namespace zelk::host
