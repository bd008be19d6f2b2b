// The doctor: looks for what keeps the plugin from working on this machine.
#pragma once

#include "options.h"

namespace zelk::host {

// Prints one line for each check. Makes no request, and leaves the disk as it was.
// Returns 0, or 1 when something is wrong.
int RunDoctor(const Options& options);

// Prints what this program, the plugin and the EOS library say of themselves. Returns 0, or 1 when
// one of them cannot be found.
int PrintVersions(const Options& options);

}  // namespace zelk::host
