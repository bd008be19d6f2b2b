#include "setup.h"

#include <spdlog/fmt/fmt.h>

#include <array>
#include <random>
#include <stdexcept>
#include <system_error>

#include "example_config.h"
#include "output.h"
#include "platform.h"
#include "zelk_core_standin.h"
#include "zelk_foundation_standin.h"

namespace zelk::host {
namespace {

// The example of a configuration has every key, with the demo's value.
const Json& DemoConfig() {
  static const Json config = Json::parse(kExampleConfig).at(kConfigSection);
  return config;
}

}  // namespace

std::vector<std::string> ConfigKeys() {
  std::vector<std::string> keys;
  for (const auto& item : DemoConfig().items()) keys.push_back(item.key());
  return keys;
}

std::string UseConfig(const std::string& file) {
  if (!file.empty()) return core_standin::LoadConfig(PathFromUtf8(file));
  for (const auto& item : DemoConfig().items()) {
    core_standin::SetConfig(kConfigSection, item.key(), item.value().get<std::string>());
  }
  return "";
}

std::filesystem::path PluginFile(const Options& options) {
  return options.plugin.empty() ? DefaultPluginFile() : PathFromUtf8(options.plugin);
}

std::filesystem::path StateDirectory(const Options& options) {
  if (!options.state_dir.empty()) return PathFromUtf8(options.state_dir);
  std::filesystem::path directory = DefaultStateDirectory();
  if (!directory.empty()) return directory;
  throw std::runtime_error(
      "there is no home directory to keep sign-ins in: name one by --state-dir");
}

std::filesystem::path EosDirectory(const std::filesystem::path& state_directory) {
  return state_directory / "eos";
}

void UseStateDirectory(const std::filesystem::path& directory) {
  std::error_code told_later;
  const std::filesystem::path absolute = std::filesystem::absolute(directory);
  std::filesystem::create_directories(EosDirectory(absolute), told_later);
  foundation_standin::SetStoreDirectory(absolute);
  SetTemporaryDirectory(EosDirectory(absolute));
}

std::string CheckWorld(void* check_world, const std::string& file) {
  if (check_world == nullptr) return "--world: this EOS library has no worlds";
  using Function = int32_t (*)(const char* path, char* message, int32_t size);
  std::array<char, 1024> message{};
  const auto check = reinterpret_cast<Function>(check_world);
  const auto size = static_cast<int32_t>(message.size());
  return check(file.c_str(), message.data(), size) == 0 ? "" : message.data();
}

namespace {

PluginLibrary LoadPluginLibrary(const std::filesystem::path& file) try {
  return PluginLibrary(file);
} catch (const std::runtime_error& error) {
  throw std::runtime_error(std::string(error.what()) + "\nzelk_epic_host doctor says more");
}

}  // namespace

PluginLibrary LoadPlugin(const Options& options) {
  const auto refuse = [](const std::string& problem) {
    if (!problem.empty()) throw std::runtime_error(problem);
  };
  refuse(UseConfig(options.config));
  if (!options.world.empty()) SetEnvironment(kWorldVariable, PathFromUtf8(options.world));
  PluginLibrary plugin = LoadPluginLibrary(PluginFile(options));
  if (!options.world.empty()) refuse(CheckWorld(plugin.Find(kCheckWorld), options.world));
  return plugin;
}

TemporaryDirectory::TemporaryDirectory() {
  std::random_device random;
  do {
    const std::string name = fmt::format("zelk-tour-{:08x}", random());
    path_ = std::filesystem::temp_directory_path() / name;
  } while (!std::filesystem::create_directory(path_));
  std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace zelk::host
