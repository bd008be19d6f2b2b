// Paths from texts and texts from paths. Texts are UTF-8 on every system, unless it is said.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace zelk::common {

// Throws std::exception when the text is not UTF-8, on Windows.
inline std::filesystem::path PathFromUtf8(const std::string& text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

// The other way round.
inline std::string Utf8FromPath(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

// The path in an environment variable; empty when there is none.
inline std::filesystem::path PathFromEnvironment(const char* name) {
#if defined(_WIN32)
  const wchar_t* const value = _wgetenv(std::filesystem::path(name).c_str());
#else
  const char* const value = std::getenv(name);
#endif
  return value != nullptr ? std::filesystem::path(value) : std::filesystem::path();
}

// A path as a program passes it to an interface of char: on Windows in the system's code page.
std::filesystem::path PathFromSystemText(const std::string& text);

}  // namespace zelk::common
