// Drives the plugin by JSON lines and answers in JSON lines: any sequence of calls can be replayed.
#pragma once

#include <iosfwd>

#include "game.h"

namespace zelk::host {

// Plays the script to its end. False when a line was bad; each is answered by an error event.
// Throws std::runtime_error when the script cannot be read.
bool Play(Game& game, std::istream& script);

}  // namespace zelk::host
