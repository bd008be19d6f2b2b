// The plugin as the core has it: loaded by its path, its entry points found by their names. Whoever
// loads it keeps it until the process ends: the plugin's worker threads may outlive any request.
#pragma once

#include <filesystem>

#include "zelk_epic.h"

namespace zelk::host {

class PluginLibrary {
  void* handle_;  // before the entry points, which are found through it

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
