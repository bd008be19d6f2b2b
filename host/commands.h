// The commands that make one request each. All return after printing; the game keeps the exit
// status.
#pragma once

#include <cstdint>
#include <string>

#include "game.h"
#include "work_recorder.h"

namespace zelk::host {

// What a login's parameters are made of; an empty id, password or code is left out.
struct LoginArguments {
  std::string mode = "AccountPortal";
  std::string id;
  std::string password;
  std::string code;
  std::string permissions = kAllPermissions;
};

// A page of friends; page 0 with count 0 is all of them.
struct FriendsArguments {
  int32_t page = 0;
  int32_t count = 10;
  bool is_in_game = false;
};

// Prints each result as an event; without it the commands tell the results in words.
class EventPrinter final : public GameObserver {
 public:
  void OnResult(const Game::Result& result) override;
};

// Of each, `in_words` is set when results are not printed as events.
void Login(Game& game, const LoginArguments& arguments, bool in_words);
void AutoLogin(Game& game, const std::string& permissions, bool in_words);

// These two sign in automatically first, for a process that is not signed in has no friends, and
// EOS nobody to sign out. The logout waits until EOS has forgotten the player, which `recorder`
// tells.
void Friends(Game& game, const FriendsArguments& arguments, bool in_words);
void Logout(Game& game, WorkRecorder& recorder, bool in_words);

}  // namespace zelk::host
