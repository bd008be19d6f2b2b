// The commands that make requests. Each plays the core and the game around the plugin, prints what
// comes of it and returns the exit status. Throw std::exception when there is nothing to play.
#pragma once

#include "options.h"

namespace zelk::host {

int RunTour(const Options& options);
int RunPlay(const Options& options);
int RunLogin(const Options& options);
int RunAutoLogin(const Options& options);

// These two sign in automatically first, for a process that is not signed in has no friends, and
// EOS nobody to sign out.
int RunFriends(const Options& options);
int RunLogout(const Options& options);

}  // namespace zelk::host
