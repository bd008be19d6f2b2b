// A game around the plugin: it sets up the world, the configuration and the directories, signs the
// player in and asks for friends. Every benchmark has one.
#pragma once

#include <cstdint>
#include <filesystem>

#include "plugin_library.h"

namespace zelk::benchmarks {

// A new directory, gone when the run ends.
class Directory {
 public:
  explicit Directory(const std::filesystem::path& parent);
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  ~Directory();

  // Where files cost next to nothing, if there is such a place: what is stored is flushed.
  static std::filesystem::path InMemory();

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// How many friends the player has.
inline constexpr int32_t kFriends = 100'000;

// Requests as a game sends them: their texts are too long to fit into a string object.
inline constexpr char kRequestId[] = "6f9619ff-8b86-4d01-b42d-00cf4fc964ff";
inline constexpr char kRequestNote[] = R"({"trace":"00-4bf92f3577b34da6a3ce929d0e0e4736-01"})";
inline constexpr char kRequestJson[] = R"({"LoginMode":"AccountPortal","source":"main_menu"})";

BaseParams Request(int32_t method_id);

// Before EOS is initialised, once per process: the world, the configuration, and where what is kept
// between two runs lies.
void SetUpWorld(const std::filesystem::path& directory);

// The plugin as a game drives it, signed in. Throws when a request is not answered with a success.
class Game {
 public:
  Game();

  void Tick() const { library_.update(); }
  void SignIn() const;
  void SignOut() const;
  void AskForFriends(int32_t count) const;
  // Ticks until EOS has nothing left to complete, and so every request its answer.
  void TickUntilIdle() const;

  // False without an answer.
  static bool TakeAnswer();

 private:
  host::PluginLibrary library_{ZELK_PLUGIN_FILE};
};

}  // namespace zelk::benchmarks
