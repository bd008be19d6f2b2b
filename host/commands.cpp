#include "commands.h"

#include <spdlog/fmt/fmt.h>

#include <cstdio>

#include "core_contract/method_id.h"
#include "record_json.h"
#include "transcript.h"

namespace zelk::host {
namespace {

std::string ExtraJson(const LoginArguments& arguments) {
  Json json = {{"LoginMode", arguments.mode}};
  if (!arguments.id.empty()) json["ID"] = arguments.id;
  if (!arguments.password.empty()) json["Password"] = arguments.password;
  if (!arguments.code.empty()) json["Code"] = arguments.code;
  return json.dump();
}

void Complain(const char* what, const BaseResult& result) {
  fmt::print(stderr, "{}: {}\n", what, Outcome(result));
  if (result.method_id == kMethodIDAuthAutoLogin && result.ret_code == kResultInvalidArgument) {
    fmt::print(stderr, "no sign-in was kept: use the command \"login\" first\n");
  }
}

// Null when the request stayed unanswered or failed, which is then said.
template <class T>
const T* Success(const std::optional<Game::Result>& result, const char* what, bool in_words) {
  if (!result.has_value()) return nullptr;
  const BaseResult& base = Base(result->record);
  if (base.ret_code != kResultSuccess && in_words) Complain(what, base);
  return base.ret_code == kResultSuccess ? std::get_if<T>(&result->record) : nullptr;
}

// True when the player is signed in.
bool SignInFirst(Game& game, bool in_words) {
  const auto result = game.Ask(SignInAutomatically("sign-in"));
  return Success<AuthPluginResult>(result, "auto-login", in_words) != nullptr;
}

void PrintSignIn(const std::optional<Game::Result>& result, const char* what, bool in_words) {
  const auto* sign_in = Success<AuthPluginResult>(result, what, in_words);
  if (sign_in != nullptr && in_words) PrintText(SignInText(*sign_in, ""));
}

}  // namespace

void EventPrinter::OnResult(const Game::Result& result) { PrintEvent(ResultEvent(result)); }

void Login(Game& game, const LoginArguments& arguments, bool in_words) {
  const auto result = game.Ask(SignIn("login", ExtraJson(arguments), arguments.permissions));
  PrintSignIn(result, "login", in_words);
}

void AutoLogin(Game& game, const std::string& permissions, bool in_words) {
  PrintSignIn(game.Ask(SignInAutomatically("auto-login", permissions)), "auto-login", in_words);
}

void Friends(Game& game, const FriendsArguments& arguments, bool in_words) {
  if (!SignInFirst(game, in_words)) return;
  const auto result =
      game.Ask(ListFriends("friends", arguments.page, arguments.count, arguments.is_in_game));
  const auto* friends = Success<FriendResult>(result, "friends", in_words);
  if (friends != nullptr && in_words)
    PrintText(FriendsText(*friends, arguments.page, Accounts::kWhole, ""));
}

void Logout(Game& game, WorkRecorder& recorder, bool in_words) {
  if (!SignInFirst(game, in_words)) return;
  const auto result = game.Ask(SignOut("logout"));
  TickUntilComplete(game, recorder);
  if (Success<BaseResult>(result, "logout", in_words) != nullptr && in_words) {
    PrintText("signed out\n");
  }
}

}  // namespace zelk::host
