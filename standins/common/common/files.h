// Files read as a whole, and replaced so that a crash at any moment leaves the old or the new
// contents, never a mixture. Any thread and any process; within one process one replacement of the
// same file at a time.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace zelk::common {

// Nothing when the file cannot be read.
std::optional<std::string> ReadFile(const std::filesystem::path& file);

// Makes the directory, for this user alone, when it is not there. On return without an error the
// new contents are on the disk, readable by this user alone (on Windows: by those whom the
// directory admits). An error leaves the old file, or no file, as it was.
std::error_code WriteAtomically(const std::filesystem::path& file, std::string_view contents);

// Removes what killed processes left of their replacements of that file, once it is some time old.
void RemoveLeftovers(const std::filesystem::path& file);

}  // namespace zelk::common
