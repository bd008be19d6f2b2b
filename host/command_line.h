// Reads the command line.
#pragma once

#include <optional>

#include "options.h"

namespace zelk::host {

// Reads `options.arguments` into the rest of `options`. With a value there is nothing left to do:
// help was asked for or something is wrong, it was printed, and the value is the exit status.
std::optional<int> ReadCommandLine(Options& options);

}  // namespace zelk::host
