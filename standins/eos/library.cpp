#include "library.h"

#include <atomic>
#include <cstdio>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

#include "common/files.h"
#include "common/never_destroyed.h"
#include "common/paths.h"
#include "eos_standin.h"

namespace eos_standin {
namespace {

enum class Phase { kNew, kInitialized, kShutDown };
std::atomic<Phase> phase{Phase::kNew};

struct Library {
  std::optional<World> world;
  std::vector<std::unique_ptr<Platform>> platforms;
  // The world of SetWorld, which any thread may call, until it is loaded.
  std::mutex mutex;
  std::optional<World> next_world;
};

Library& TheLibrary() { return zelk::common::NeverDestroyed<Library>(); }

World WorldFromFile(const std::filesystem::path& path) {
  const std::string name = zelk::common::Utf8FromPath(path);
  const auto text = zelk::common::ReadFile(path);
  if (!text) throw std::runtime_error(name + ": cannot be read");
  return World::FromText(*text, name);
}

World MakeWorld() {
  const std::lock_guard lock(TheLibrary().mutex);
  if (auto world = std::exchange(TheLibrary().next_world, std::nullopt)) return std::move(*world);
  const std::filesystem::path path = zelk::common::PathFromEnvironment("ZELK_EOS_WORLD");
  return path.empty() ? World::BuiltIn() : WorldFromFile(path);
}

void ApplyScript(const WorldScript& script) {
  for (const Rule& rule : script.rules) AddRule(rule);
  if (script.order) SetCompletionOrder(*script.order, script.seed);
  if (script.completions_per_tick > 0) LimitCompletionsPerTick(script.completions_per_tick);
  if (script.complete_on_release) CompleteOnRelease(*script.complete_on_release);
}

}  // namespace

bool IsInitialized() { return phase.load(kRelaxed) == Phase::kInitialized; }
bool IsShutDown() { return phase.load(kRelaxed) == Phase::kShutDown; }
void SetInitialized() { phase.store(Phase::kInitialized, kRelaxed); }
void SetShutDown() { phase.store(Phase::kShutDown, kRelaxed); }

bool LoadWorld() try {
  if (TheLibrary().world) return true;
  TheLibrary().world = MakeWorld();
  ApplyScript(TheLibrary().world->script);
  return true;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return false;
}

World& TheWorld() { return *TheLibrary().world; }

std::vector<std::unique_ptr<Platform>>& Platforms() { return TheLibrary().platforms; }

void SetWorld(const nlohmann::ordered_json& world) {
  World parsed = World::FromText(world.dump(), "world");
  const std::lock_guard lock(TheLibrary().mutex);
  TheLibrary().next_world = std::move(parsed);
}

}  // namespace eos_standin

EOS_STANDIN_API int32_t EOS_StandIn_CheckWorld(const char* path_utf8, char* message,
                                               int32_t message_size) try {
  eos_standin::WorldFromFile(zelk::common::PathFromUtf8(path_utf8));
  return 0;
} catch (const std::exception& error) {
  if (message != nullptr && message_size > 0) {
    std::snprintf(message, static_cast<size_t>(message_size), "%s", error.what());
  }
  return 1;
}
