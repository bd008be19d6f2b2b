// What the fuzz targets have in common: the plugin as the core has it, with a directory of this
// process's own, and what must hold after every input. A fault ends the process.
#pragma once

#include <spdlog/sinks/null_sink.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "core_contract/method_id.h"
#include "eos_standin.h"
#include "plugin_library.h"
#include "windows_standin.h"
#include "zelk_core_standin.h"
#include "zelk_foundation_standin.h"

namespace zelk::fuzz {

inline void Expect(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what.c_str());
  std::abort();
}

// In memory: what is stored is flushed each time.
inline const std::filesystem::path& Directory() {
  static const std::filesystem::path& directory =
      *new std::filesystem::path("/dev/shm/zelk-fuzz-" + std::to_string(getpid()));
  return directory;
}

inline std::string Text(const uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

inline std::string WriteFile(const char* name, const std::string& text) {
  const std::filesystem::path file = Directory() / name;
  std::ofstream(file, std::ios::binary) << text;
  return file.string();
}

// The log goes through `sink`, formatted, to nowhere.
inline const host::PluginLibrary& Load(
    spdlog::sink_ptr sink = std::make_shared<spdlog::sinks::null_sink_mt>()) {
  std::filesystem::create_directories(Directory());
  std::atexit([] { std::filesystem::remove_all(Directory()); });
  setenv("TMPDIR", Directory().c_str(), 1);
  foundation_standin::SetStoreDirectory(Directory());
  foundation_standin::SetLogSinks({std::move(sink)});
  for (const char* key : host::kConfigKeys) core_standin::SetConfig("ZELK", key, "fuzz");
  return *new host::PluginLibrary(ZELK_PLUGIN_FILE);
}

// Ticks until nothing is under way.
inline void Settle(const host::PluginLibrary& plugin) {
  int ticks = 0;
  for (int quiet = 0; quiet < 2; ++ticks) {
    const bool busy =
        eos_standin::OutstandingNow().operations > 0 || windows_standin::ThreadsRunning() > 0;
    quiet = busy ? 0 : quiet + 1;
    Expect(ticks < 1'000'000, "what was asked for comes to an end");
    plugin.update();
    if (windows_standin::ThreadsRunning() > 0) std::this_thread::yield();
  }
}

inline void ExpectNothingMisusedOrLeft() {
  for (const eos_standin::Misuse& misuse : eos_standin::Misuses()) {
    Expect(false, misuse.rule + ": " + misuse.detail);
  }
  Expect(eos_standin::OutstandingNow().auth_tokens == 0, "every token was released");
  Expect(eos_standin::OutstandingNow().user_infos == 0, "every user info was released");
  Expect(foundation_standin::NodesOut() == 0, "every node was given back");
  Expect(foundation_standin::NodesMisused() == 0, "every node was given back as it was taken");
  Expect(windows_standin::HandlesOpen() == 0, "every handle was closed");
  Expect(windows_standin::HeapBlocksOut() == 0, "every block was freed");
  Expect(windows_standin::Misuses() == 0, "the system was used well");
}

}  // namespace zelk::fuzz
