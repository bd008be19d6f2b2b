// Paths from texts and texts from paths. Texts are UTF-8 on every system.
#pragma once

#include <filesystem>
#include <string>

namespace zelk::host {

// Throws std::exception when the text is not UTF-8, on Windows.
inline std::filesystem::path PathFromUtf8(const std::string& text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

// The other way round.
inline std::string Utf8FromPath(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

}  // namespace zelk::host
