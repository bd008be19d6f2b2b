#include "plugin_library.h"

#include <stdexcept>
#include <string>
#include <system_error>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace zelk::host {
namespace {

std::string Text(const std::filesystem::path& file) {
  const std::u8string text = file.u8string();
  return std::string(text.begin(), text.end());
}

#if defined(_WIN32)

// The folder of `file` is searched first for the libraries that it needs.
void* Load(const std::filesystem::path& file) {
  HMODULE module = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  return reinterpret_cast<void*>(module);
}

std::string LoadError() { return "Windows error " + std::to_string(GetLastError()); }

void* Symbol(void* library, const char* name) {
  const FARPROC symbol = GetProcAddress(static_cast<HMODULE>(library), name);
  return reinterpret_cast<void*>(symbol);
}

void* EosSymbol(const char* name) {
  HMODULE eos = GetModuleHandleW(L"EOSSDK-Win64-Shipping.dll");
  return eos != nullptr ? Symbol(eos, name) : nullptr;
}

#else

void* Load(const std::filesystem::path& file) {
  return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
}

std::string LoadError() {
  const char* message = dlerror();
  return message != nullptr ? message : "unknown error";
}

// Searches the libraries that `library` was linked to as well.
void* Symbol(void* library, const char* name) { return dlsym(library, name); }

void* EosSymbol(const char* name) { return dlsym(RTLD_DEFAULT, name); }

#endif

void* LoadOrThrow(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::exists(file, error)) {
    throw std::runtime_error(Text(file) + ": there is no such plugin");
  }
  void* handle = Load(std::filesystem::absolute(file).make_preferred());
  if (handle != nullptr) return handle;
  throw std::runtime_error(Text(file) + ": the plugin cannot be loaded: " + LoadError());
}

// The export `name`, whatever the type of the pointer that it goes to.
class Export {
 public:
  Export(void* library, const std::filesystem::path& file, const char* name)
      : symbol_(Symbol(library, name)) {
    if (symbol_ == nullptr) throw std::runtime_error(Text(file) + ": no export \"" + name + "\"");
  }

  template <class Function>
  operator Function*() const {
    return reinterpret_cast<Function*>(symbol_);
  }

 private:
  void* symbol_;
};

}  // namespace

PluginLibrary::PluginLibrary(const std::filesystem::path& file)
    : handle_(LoadOrThrow(file)),
      login(Export(handle_, file, "zelk_epic_auth_login")),
      auto_login(Export(handle_, file, "zelk_epic_auth_auto_login")),
      logout(Export(handle_, file, "zelk_epic_auth_logout")),
      update(Export(handle_, file, "zelk_epic_update")),
      shutdown(Export(handle_, file, "zelk_epic_shutdown")),
      query_friends(Export(handle_, file, "zelk_epic_friend_queryfriends")) {}

void* PluginLibrary::Find(const char* name) const {
  void* symbol = Symbol(handle_, name);
  return symbol != nullptr ? symbol : EosSymbol(name);
}

}  // namespace zelk::host
