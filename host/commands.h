// The commands that make requests. Each plays the core and the game around the plugin, prints what
// comes of it and returns the exit status. Throw std::exception when there is nothing to play.
#pragma once

#include "options.h"

namespace zelk::host {

// Everything that the plugin does, as a transcript; the end of it in a process of its own.
int RunTour(const Options& options);
// The script, from its file or from standard input.
int RunPlay(const Options& options);
// A sign-in, with what the command line gives or with what was kept.
int RunLogin(const Options& options);
int RunAutoLogin(const Options& options);

// These two sign in automatically first, for a process that is not signed in has no friends, and
// EOS nobody to sign out.
int RunFriends(const Options& options);
int RunLogout(const Options& options);

}  // namespace zelk::host
