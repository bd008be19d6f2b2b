// What the host asks of the operating system. Texts are UTF-8 on every system.
#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "utf8_path.h"

namespace zelk::host {

// The arguments without the program's name.
std::vector<std::string> Arguments(int argc, char** argv);

// Standard output and input carry UTF-8, byte by byte. A stream that is closed stays a stream that
// cannot be used, so that no file that is opened later takes its place; a reader that went away is
// an error of the writing.
void PrepareStandardStreams();
bool StdoutIsTerminal();  // one that understands colours
bool StderrIsTerminal();

// The columns of the terminal that standard output is; nothing when it is none.
std::optional<std::size_t> TerminalWidth();

// A line of standard input, which a terminal does not show as it is typed; `prompt` asks for it
// there. Nothing when there is none.
std::optional<std::string> ReadSecret(const std::string& prompt);

// Made for its owner alone when it is not there. Null, with errno, when it cannot be opened.
std::FILE* OpenToAppend(const std::filesystem::path& file);

// "", or the system's reason why nothing can be written into the directory. It leaves no trace.
std::string WhyNotWritable(const std::filesystem::path& directory);

// "" when it is not set.
std::string GetEnvironment(const char* name);
void SetEnvironment(const char* name, const std::filesystem::path& value);

// Where GetTempPathA will point.
void SetTemporaryDirectory(const std::filesystem::path& directory);

// The file of this program, the plugin beside it, and where sign-ins are kept for this user; empty
// when the user has no home.
std::filesystem::path OwnExecutable();
std::filesystem::path DefaultPluginFile();
std::filesystem::path DefaultStateDirectory();

// From now on a signal that asks this process to end goes on to the one that `RunAgain` starts, and
// this one ends by returning from main.
void PassSignalsOn();

// Runs this program again and waits for it; its exit status, which is 128 and the signal's number
// when a signal ended it. Throws std::runtime_error when it cannot be started.
int RunAgain(const std::vector<std::string>& arguments);

}  // namespace zelk::host
