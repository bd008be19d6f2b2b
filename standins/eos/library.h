// The state of the library: its one life from EOS_Initialize to EOS_Shutdown, the world, the
// platforms. Like the library itself it is not thread-safe, and deliberately so, except for
// IsInitialized and IsShutDown.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "platform.h"
#include "world.h"

namespace eos_standin {

bool IsInitialized();
bool IsShutDown();
void SetInitialized();
void SetShutDown();

// Loads the world that a test set, that ZELK_EOS_WORLD names, or the built-in one, and puts its
// script in force. False, and a line on standard error, when it cannot be loaded.
bool LoadWorld();
// Only while initialised.
World& TheWorld();

// The released ones too.
std::vector<std::unique_ptr<Platform>>& Platforms();

// The platform of its own handle, or of an interface's. Null for what is no handle of this library.
template <class Handle>
Platform* FindPlatform(const Handle* handle) {
  for (const auto& platform : Platforms()) {
    if (platform->Has(handle)) return platform.get();
  }
  return nullptr;
}

}  // namespace eos_standin
