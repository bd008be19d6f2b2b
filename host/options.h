// The command line.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core_contract/log.h"
#include "game.h"

namespace zelk::host {

// The status of a bad command line or bad input.
inline constexpr int kBadInput = 2;

// What a login's parameters are made of; an empty id, password or code is left out.
struct LoginArguments {
  std::string mode = "AccountPortal";
  std::string id;
  std::string password;
  std::string code;
  std::string permissions = kAllPermissions;  // of an automatic login too
};

// A page of friends; page 0 is all of them.
struct FriendsArguments {
  int32_t page = 0;
  int32_t count = 10;
  bool is_in_game = false;
};

// The command line.
struct Options {
  std::string plugin;
  std::string config;
  std::string world;
  std::string state_dir;
  std::string log;
  std::string log_level = "info";
  std::string diagram;
  bool json = false;

  std::vector<std::string> arguments;    // all of them, as they were given
  int (*run)(const Options&) = nullptr;  // the command; returns the exit status
  LoginArguments login;
  FriendsArguments friends;
  std::string script;         // of a play, else ""
  bool next_process = false;  // of a tour
};

// The levels by the words of the command line.
extern const std::map<std::string, LogLevel> kLogLevels;

// Reads `options.arguments`. With a value there is nothing left to do: help was asked for or
// something is wrong, it was printed, and the value is the exit status.
std::optional<int> ReadOptions(Options& options);

}  // namespace zelk::host
