// zelk_epic_host: plays the core and the game around the plugin. See --help.
#include <exception>

#include "command_line.h"
#include "output.h"
#include "platform.h"
#include "text.h"

namespace {

int Run(int argc, char** argv) try {
  zelk::host::Options options;
  options.arguments = zelk::host::Arguments(argc, argv);
  if (const auto status = zelk::host::ReadCommandLine(options)) return *status;
  return options.run(options);
} catch (const std::exception& error) {
  zelk::host::PrintError(zelk::host::Reason(error));
  return zelk::host::kBadInput;
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): without memory for a message there is none
int main(int argc, char** argv) {
  zelk::host::PrepareStandardStreams();
  return zelk::host::FinalStatus(Run(argc, argv));
}
