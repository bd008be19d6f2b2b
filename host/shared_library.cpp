#include "shared_library.h"

#include <cstring>
#include <nlohmann/json.hpp>
#include <span>
#include <stdexcept>

#include "utf8_path.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <link.h>
#endif

namespace zelk::host {
namespace {

#if defined(_WIN32)

// The system's message without the line end that it comes with; "%1" in it stands for the file.
std::string LoadError() {
  const DWORD code = GetLastError();
  wchar_t text[512] = L"";
  FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, text,
                 static_cast<DWORD>(std::size(text)), nullptr);
  std::string message = Utf8FromPath(text);
  if (const auto name = message.find("%1"); name != std::string::npos) {
    message.replace(name, 2, "this file");
  }
  message.erase(message.find_last_not_of(" .\r\n") + 1);
  return message + " (Windows error " + std::to_string(code) + ")";
}

// No window comes up over a file that is no library.
void* Load(const std::filesystem::path& file) {
  SetThreadErrorMode(SEM_FAILCRITICALERRORS, nullptr);
  const DWORD flags = file.is_absolute() ? LOAD_WITH_ALTERED_SEARCH_PATH : 0;
  return reinterpret_cast<void*>(LoadLibraryExW(file.c_str(), nullptr, flags));
}

// `base` is where the library that imports lies in memory. A library that is not loaded itself is
// for the loader to report.
void AddMissing(const char* base, const IMAGE_IMPORT_DESCRIPTOR& library,
                std::vector<std::string>& missing) {
  const char* const name = base + library.Name;
  HMODULE module = GetModuleHandleA(name);
  if (module == nullptr || library.OriginalFirstThunk == 0) return;
  const auto* thunk = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library.OriginalFirstThunk);
  for (; thunk->u1.AddressOfData != 0; ++thunk) {
    if (IMAGE_SNAP_BY_ORDINAL(thunk->u1.Ordinal)) continue;
    const auto* const symbol =
        reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + thunk->u1.AddressOfData);
    const char* const text = reinterpret_cast<const char*>(symbol->Name);
    if (GetProcAddress(module, text) == nullptr) {
      missing.push_back(std::string(text) + " of " + name);
    }
  }
}

#else

std::string LoadError() {
  const char* message = dlerror();
  return message != nullptr ? message : "unknown error";
}

void* Load(const std::filesystem::path& file) {
  return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
}

#endif

}  // namespace

SharedLibrary::SharedLibrary(const std::filesystem::path& file) : handle_(Load(file)) {
  if (handle_ == nullptr) throw std::runtime_error(LoadError());
}

#if defined(_WIN32)

void* SharedLibrary::Find(const char* name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

// A loader may also put off the complaint about a missing symbol until it is called, so the table
// of imports is read here.
std::vector<std::string> MissingImports(const std::filesystem::path& file) {
  std::vector<std::string> missing;
  HMODULE module = LoadLibraryExW(file.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
  if (module == nullptr) return missing;
  const auto* const base = reinterpret_cast<const char*>(module);
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const DWORD table =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  if (table == 0) return missing;
  const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + table);
  for (; library->Name != 0; ++library) AddMissing(base, *library, missing);
  return missing;
}

void* FindLoaded(const char* library, const char* name) {
  HMODULE module = GetModuleHandleA(library);
  return module != nullptr ? reinterpret_cast<void*>(GetProcAddress(module, name)) : nullptr;
}

std::filesystem::path FileOf(const void* symbol) {
  HMODULE module = nullptr;
  constexpr DWORD kFlags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (!GetModuleHandleExW(kFlags, static_cast<LPCWSTR>(symbol), &module)) return {};
  std::wstring name(32768, L'\0');
  name.resize(GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size())));
  return name;
}

std::string VersionOf(const void* symbol) {
  const std::filesystem::path file = FileOf(symbol);
  std::vector<char> resource(GetFileVersionInfoSizeW(file.c_str(), nullptr));
  void* value = nullptr;
  UINT size = 0;
  if (!GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()) ||
      !VerQueryValueW(resource.data(), L"\\", &value, &size)) {
    return "";
  }
  const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(value);
  return std::to_string(HIWORD(info.dwFileVersionMS)) + '.' +
         std::to_string(LOWORD(info.dwFileVersionMS)) + '.' +
         std::to_string(HIWORD(info.dwFileVersionLS));
}

#else

void* SharedLibrary::Find(const char* name) const { return dlsym(handle_, name); }

std::vector<std::string> MissingImports(const std::filesystem::path&) { return {}; }

void* FindLoaded(const char* library, const char* name) {
  void* handle = dlopen(library, RTLD_NOW | RTLD_NOLOAD);
  return handle != nullptr ? dlsym(handle, name) : nullptr;
}

std::filesystem::path FileOf(const void* symbol) {
  Dl_info info{};
  return dladdr(symbol, &info) != 0 ? info.dli_fname : "";
}

namespace {

// A library that is loaded, and the JSON text of its package note.
struct PackageNote {
  const void* library;
  std::string text = {};
};

// In a segment of notes. Each has a name and a text, both filled up to four bytes.
void FindText(const char* note, const char* end, PackageNote& found) {
  constexpr ElfW(Word) kPackage = 0xcafe1a7e;
  const auto padded = [](ElfW(Word) size) { return (size + 3) & ~ElfW(Word){3}; };
  while (note < end) {
    const auto& header = *reinterpret_cast<const ElfW(Nhdr)*>(note);
    const char* const text = note + sizeof(header) + padded(header.n_namesz);
    if (header.n_type == kPackage) found.text.assign(text, strnlen(text, header.n_descsz));
    note = text + padded(header.n_descsz);
  }
}

int FindNote(dl_phdr_info* library, std::size_t, void* note) {
  auto& found = *static_cast<PackageNote*>(note);
  const auto* const base = static_cast<const char*>(found.library);
  if (library->dlpi_addr != reinterpret_cast<ElfW(Addr)>(base)) return 0;
  for (const auto& segment : std::span(library->dlpi_phdr, library->dlpi_phnum)) {
    const char* const begin = base + segment.p_vaddr;
    if (segment.p_type == PT_NOTE) FindText(begin, begin + segment.p_memsz, found);
  }
  return 1;
}

}  // namespace

std::string VersionOf(const void* symbol) {
  Dl_info info{};
  if (dladdr(symbol, &info) == 0) return "";
  PackageNote found{info.dli_fbase};
  dl_iterate_phdr(&FindNote, &found);
  const auto note = nlohmann::json::parse(found.text, nullptr, false);
  return note.is_object() ? note.value("version", "") : "";
}

#endif

}  // namespace zelk::host
