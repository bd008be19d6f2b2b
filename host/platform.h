// What the host asks of the operating system. Texts are UTF-8 on every system.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "utf8_path.h"

namespace zelk::host {

// The arguments without the program's name.
std::vector<std::string> Arguments(int argc, char** argv);

// Standard output and input carry UTF-8, byte by byte.
void PrepareStandardStreams();
bool StdoutIsTerminal();  // one that understands colours
bool StderrIsTerminal();

// "" when it is not set.
std::string GetEnvironment(const char* name);
void SetEnvironment(const char* name, const std::filesystem::path& value);

// Where GetTempPathA will point.
void SetTemporaryDirectory(const std::filesystem::path& directory);

// The file of this program, the plugin beside it, and where sign-ins are kept for this user.
std::filesystem::path OwnExecutable();
std::filesystem::path DefaultPluginFile();
std::filesystem::path DefaultStateDirectory();

// Runs this program again and waits for it; its exit status, or throws std::system_error when it
// cannot be started.
int RunAgain(const std::vector<std::string>& arguments);

}  // namespace zelk::host
