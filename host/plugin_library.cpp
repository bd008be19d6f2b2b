#include "plugin_library.h"

#include <stdexcept>
#include <string>
#include <system_error>

#include "utf8_path.h"

namespace zelk::host {
namespace {

// An exported entry point, whatever the type of the pointer that it goes to.
class Export {
 public:
  Export(const SharedLibrary& library, const std::filesystem::path& file, EntryPoint entry_point)
      : symbol_(library.Find(EntryPointName(entry_point))) {
    if (symbol_ == nullptr) {
      throw std::runtime_error(Utf8FromPath(file) + ": no export \"" + EntryPointName(entry_point) +
                               '"');
    }
  }

  template <class Function>
  operator Function*() const {
    return reinterpret_cast<Function*>(symbol_);
  }

 private:
  void* symbol_;
};

}  // namespace

SharedLibrary LoadPluginFile(const std::filesystem::path& file) try {
  std::error_code error;
  if (!std::filesystem::exists(file, error)) throw std::runtime_error("there is no such file");
  return SharedLibrary(std::filesystem::absolute(file).make_preferred());
} catch (const std::runtime_error& error) {
  std::string problem = error.what();
  const std::string name = Utf8FromPath(std::filesystem::absolute(file)) + ": ";
  if (problem.starts_with(name)) problem.erase(0, name.size());
  throw std::runtime_error(Utf8FromPath(file) + ": the plugin cannot be loaded: " + problem);
}

PluginLibrary::PluginLibrary(const std::filesystem::path& file)
    : library_(LoadPluginFile(file)),
      login(Export(library_, file, EntryPoint::kLogin)),
      auto_login(Export(library_, file, EntryPoint::kAutoLogin)),
      logout(Export(library_, file, EntryPoint::kLogout)),
      update(Export(library_, file, EntryPoint::kUpdate)),
      shutdown(Export(library_, file, EntryPoint::kShutdown)),
      query_friends(Export(library_, file, EntryPoint::kQueryFriends)) {}

void* PluginLibrary::Find(const char* name) const {
  void* symbol = library_.Find(name);
  return symbol != nullptr ? symbol : FindLoaded(kEosLibrary, name);
}

}  // namespace zelk::host
