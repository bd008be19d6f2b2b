// What the command line asks for.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "core_contract/log.h"
#include "game.h"

namespace zelk::host {

// The exit status of a bad command line, of bad input, and of output that was lost.
inline constexpr int kBadInput = 2;

// What a login's parameters are made of; an empty id, password or code is left out.
struct LoginArguments {
  std::string mode = "AccountPortal";
  std::string id;
  std::string password;  // or kReadPassword
  std::string code;
  std::string permissions = kAllPermissions;  // of an automatic login too
};

// In the place of a password: it is to be read from the terminal or from standard input.
inline constexpr char kReadPassword[] = "-";

// The option of the command line and the member of the parameters that a text of it becomes.
struct LoginMember {
  const char* option;
  const char* key;
  std::string LoginArguments::*value;
};
inline constexpr std::array kLoginMembers{
    LoginMember{"--id", "ID", &LoginArguments::id},
    LoginMember{"--password", "Password", &LoginArguments::password},
    LoginMember{"--code", "Code", &LoginArguments::code},
};

// A page of friends; page 0 is all of them.
struct FriendsArguments {
  int32_t page = 0;
  int32_t count = 10;
  bool is_in_game = false;
};

// A command and what it is to do. Texts are "" where nothing was asked for.
struct Options {
  std::string plugin;
  std::string config;
  std::string world;
  std::string state_dir;
  std::string log;
  LogLevel log_level = kLogInfo;
  std::string diagram;
  bool json = false;
  int32_t timeout = 300;  // seconds

  std::vector<std::string> arguments;    // all of them, as they were given
  int (*run)(const Options&) = nullptr;  // the command; returns the exit status
  LoginArguments login;
  FriendsArguments friends;
  std::string script;         // of a play
  bool next_process = false;  // of a tour
};

}  // namespace zelk::host
