// The little that the library does with files. Paths are as the caller gave them (on Windows in the
// system's code page), except that of the world file, which is UTF-8 everywhere.
#pragma once

#include <optional>
#include <string>

namespace eos_standin {

// Nothing when the file cannot be read.
std::optional<std::string> LoadFile(const std::string& path);
std::optional<std::string> LoadFileAtUtf8Path(const std::string& path);

// Puts the text in the place of the file, which is never seen half written, and which only its
// owner can read. Makes the directory. False when it cannot be done: then the old file is still
// there.
bool StoreFile(const std::string& directory, const std::string& name, const std::string& text);

// True when the file is not there afterwards.
bool RemoveFile(const std::string& path);

// The value of an environment variable in UTF-8; nothing when it is unset or empty.
std::optional<std::string> EnvironmentVariable(const char* name);

}  // namespace eos_standin
