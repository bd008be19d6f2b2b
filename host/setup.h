// What is brought about before the plugin is called: its configuration, the state directory, the
// world of an EOS stand-in.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "options.h"
#include "plugin_library.h"

namespace zelk::host {

// The section of the configuration that the plugin reads, and the keys that it reads there.
inline constexpr char kConfigSection[] = "ZELK";
std::vector<std::string> ConfigKeys();

// Loads the file, or demo values for all keys when it is "". Returns "" or what is wrong.
std::string UseConfig(const std::string& file);

// The plugin to load: the one named, or the one beside this program.
std::filesystem::path PluginFile(const Options& options);

// Where sign-ins are kept: the store lies in it, EOS keeps its own in the folder `EosDirectory`.
// Throws std::runtime_error when none is named and the user has no home.
std::filesystem::path StateDirectory(const Options& options);
std::filesystem::path EosDirectory(const std::filesystem::path& state_directory);

// Before the first call of the plugin. Makes the directory; where that fails sign-ins are possible,
// but not kept.
void UseStateDirectory(const std::filesystem::path& directory);

// The environment variable that names the world of an EOS library that plays one.
inline constexpr char kWorldVariable[] = "ZELK_EOS_WORLD";

// The function by which an EOS library that plays worlds checks one, and what it says: "" or what
// is wrong.
inline constexpr char kCheckWorld[] = "EOS_StandIn_CheckWorld";
std::string CheckWorld(void* check_world, const std::string& file);

// Configuration, world and plugin. Throws std::runtime_error.
PluginLibrary LoadPlugin(const Options& options);

// Gone with everything in it when the tour ends.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace zelk::host
