#include "plugin_library.h"

#include <stdexcept>
#include <string>
#include <system_error>

#include "utf8_path.h"

namespace zelk::host {
namespace {

// The export `name`, whatever the type of the pointer that it goes to.
class Export {
 public:
  Export(const SharedLibrary& library, const std::filesystem::path& file, const char* name)
      : symbol_(library.Find(name)) {
    if (symbol_ == nullptr)
      throw std::runtime_error(Utf8FromPath(file) + ": no export \"" + name + "\"");
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
      login(Export(library_, file, kEntryPointNames[0])),
      auto_login(Export(library_, file, kEntryPointNames[1])),
      logout(Export(library_, file, kEntryPointNames[2])),
      update(Export(library_, file, kEntryPointNames[3])),
      shutdown(Export(library_, file, kEntryPointNames[4])),
      query_friends(Export(library_, file, kEntryPointNames[5])) {}

void* PluginLibrary::Find(const char* name) const {
  void* symbol = library_.Find(name);
  return symbol != nullptr ? symbol : FindLoaded(kEosLibrary, name);
}

}  // namespace zelk::host
