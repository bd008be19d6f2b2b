// Dynamic libraries, loaded as the core loads the plugin.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zelk::host {

// A library that stays loaded until the process ends.
class SharedLibrary {
 public:
  // Libraries that `file` needs are looked for in its folder first. A name without a folder is
  // looked for where the system looks. Throws std::runtime_error in the words of the system's
  // loader.
  explicit SharedLibrary(const std::filesystem::path& file);

  // Null when there is none. The libraries that this one needs may be searched too.
  void* Find(const char* name) const;

 private:
  void* handle_;
};

// A symbol of a library of that name that is already loaded; null when there is none.
void* FindLoaded(const char* library, const char* name);

// What `file` asks for and no library that it names has; each as "SYMBOL of LIBRARY". Empty where a
// library with such a want cannot be loaded at all: the loader then says what it is.
std::vector<std::string> MissingImports(const std::filesystem::path& file);

// The version that the file with a symbol says it has, in its package note or version resource;
// empty when it says none.
std::string VersionOf(const void* symbol);

// The file that a symbol was loaded from; empty when the system cannot tell.
std::filesystem::path FileOf(const void* symbol);

// The EOS library, as the plugin asks for it.
#if defined(_WIN32)
inline constexpr char kEosLibrary[] = "EOSSDK-Win64-Shipping.dll";
#else
inline constexpr char kEosLibrary[] = "libEOSSDK-Linux-Shipping.so";
#endif

}  // namespace zelk::host
