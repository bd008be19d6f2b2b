// The command line.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "core_contract/log.h"

namespace zelk::host {

// The status of a bad command line or bad input.
inline constexpr int kBadInput = 2;

// The command and its options, as they were given; "" is what was not.
struct Options {
  std::string plugin;
  std::string config;
  std::string world;
  std::string state_dir;
  std::string log;
  std::string log_level = "info";
  std::string diagram;
  bool json = false;

  std::string command;
  LoginArguments login;
  std::string auto_permissions = kAllPermissions;
  FriendsArguments friends;
  std::string script;
  bool next_process = false;  // of a tour
};

// The levels by the words of the command line.
extern const std::map<std::string, LogLevel> kLogLevels;

// Reads `arguments`. With a value there is nothing left to do: help was asked for or something is
// wrong, it was printed, and the value is the exit status.
std::optional<int> ReadOptions(const std::vector<std::string>& arguments, Options& options);

}  // namespace zelk::host
