// zelk_epic_host: plays the core and the game around the plugin. See --help.
#include <spdlog/fmt/fmt.h>

#include <cstdio>
#include <exception>

#include "command_line.h"
#include "commands.h"
#include "platform.h"

// NOLINTNEXTLINE(bugprone-exception-escape): an error that cannot be printed ends the program too
int main(int argc, char** argv) try {
  zelk::host::PrepareStandardStreams();
  zelk::host::Options options;
  options.arguments = zelk::host::Arguments(argc, argv);
  if (const auto status = zelk::host::ReadCommandLine(options)) return *status;
  return options.run(options);
} catch (const std::exception& error) {
  fmt::print(stderr, "{}\n", error.what());
  return zelk::host::kBadInput;
}
