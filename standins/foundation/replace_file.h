// Replacing a file so that a crash at any moment leaves the old or the new contents, never a
// mixture. Any thread, one at a time for one file.
#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

namespace zelk {

// On return without an error the new contents are on the disk, readable by this user alone (on
// Windows: by those whom the directory admits). An error leaves the old file, or no file, as it
// was.
std::error_code ReplaceContents(const std::filesystem::path& file, std::string_view contents);

// Removes what killed processes left of their replacements of that file, once it is some time old.
void RemoveLeftovers(const std::filesystem::path& file);

}  // namespace zelk
