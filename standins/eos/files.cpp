#include "files.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace eos_standin {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::optional<std::string> ReadAll(const File& file) {
  if (!file) return std::nullopt;
  std::string text;
  std::array<char, 16384> piece;
  while (const size_t size = std::fread(piece.data(), 1, piece.size(), file.get())) {
    text.append(piece.data(), size);
  }
  if (std::ferror(file.get()) != 0) return std::nullopt;
  return text;
}

#if defined(_WIN32)

constexpr const char* kSeparators = "/\\";

std::wstring Wide(const std::string& utf8) {
  const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, nullptr, 0);
  std::wstring wide(static_cast<size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, wide.data(), size);
  wide.resize(wide.empty() ? 0 : wide.size() - 1);
  return wide;
}

std::string Utf8(const wchar_t* wide) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide, -1, utf8.data(), size, nullptr, nullptr);
  utf8.resize(utf8.empty() ? 0 : utf8.size() - 1);
  return utf8;
}

void MakeOneDirectory(const std::string& path) { CreateDirectoryA(path.c_str(), nullptr); }

bool WriteThrough(const std::string& path, const std::string& text) {
  const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  const auto size = static_cast<DWORD>(text.size());
  const bool good = WriteFile(file, text.data(), size, &written, nullptr) != 0 && written == size &&
                    FlushFileBuffers(file) != 0;
  return CloseHandle(file) != 0 && good;
}

bool Rename(const std::string& from, const std::string& to) {
  return MoveFileExA(from.c_str(), to.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

#else

constexpr const char* kSeparators = "/";

void MakeOneDirectory(const std::string& path) { mkdir(path.c_str(), 0700); }

bool WriteAll(int file, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t size = write(file, text.data() + done, text.size() - done);
    if (size < 0 && errno != EINTR) return false;
    if (size > 0) done += static_cast<size_t>(size);
  }
  return true;
}

bool WriteThrough(const std::string& path, const std::string& text) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (file < 0) return false;
  const bool good = fchmod(file, 0600) == 0 && WriteAll(file, text) && fsync(file) == 0;
  return close(file) == 0 && good;
}

bool Rename(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0;
}

#endif

// What fails here shows when the file is written.
void MakeDirectories(const std::string& path) {
  for (size_t end = 0; end != std::string::npos;) {
    end = path.find_first_of(kSeparators, end + 1);
    MakeOneDirectory(path.substr(0, end));
  }
}

}  // namespace

std::optional<std::string> LoadFile(const std::string& path) {
  return ReadAll(File(std::fopen(path.c_str(), "rb")));
}

bool StoreFile(const std::string& directory, const std::string& name, const std::string& text) {
  MakeDirectories(directory);
  const std::string path = directory + "/" + name;
  const std::string temporary = path + ".new";
  if (WriteThrough(temporary, text) && Rename(temporary, path)) return true;
  std::remove(temporary.c_str());
  return false;
}

bool RemoveFile(const std::string& path) {
  return std::remove(path.c_str()) == 0 || errno == ENOENT;
}

#if defined(_WIN32)

std::optional<std::string> LoadFileAtUtf8Path(const std::string& path) {
  return ReadAll(File(_wfopen(Wide(path).c_str(), L"rb")));
}

std::optional<std::string> EnvironmentVariable(const char* name) {
  const wchar_t* value = _wgetenv(Wide(name).c_str());
  if (value == nullptr || *value == L'\0') return std::nullopt;
  return Utf8(value);
}

#else

std::optional<std::string> LoadFileAtUtf8Path(const std::string& path) { return LoadFile(path); }

std::optional<std::string> EnvironmentVariable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || *value == '\0') return std::nullopt;
  return value;
}

#endif

}  // namespace eos_standin
