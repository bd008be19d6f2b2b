#include "common/files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <fstream>

#include "common/paths.h"

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace zelk::common {
namespace {

using std::filesystem::path;

path DirectoryOf(const path& file) { return file.has_parent_path() ? file.parent_path() : "."; }

std::error_code LastError() { return {errno, std::generic_category()}; }

#if defined(_WIN32)

int ProcessId() { return _getpid(); }
int OpenNew(const path& file) {
  constexpr int kFlags = _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT;
  return _wopen(file.c_str(), kFlags, _S_IREAD | _S_IWRITE);
}
int Write(int file, const char* data, unsigned int size) { return _write(file, data, size); }
int Flush(int file) { return _commit(file); }
int Close(int file) { return _close(file); }

std::error_code MoveIntoPlace(const path& from, const path& to) {
  constexpr DWORD kFlags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  if (MoveFileExW(from.c_str(), to.c_str(), kFlags)) return {};
  return {static_cast<int>(GetLastError()), std::system_category()};
}

#else

int ProcessId() { return getpid(); }
int OpenNew(const path& file) {
  return open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
}
ssize_t Write(int file, const char* data, unsigned int size) { return write(file, data, size); }
int Flush(int file) { return fsync(file); }
int Close(int file) { return close(file); }

// A rename outlives a power failure once its directory is flushed.
std::error_code MoveIntoPlace(const path& from, const path& to) {
  if (std::rename(from.c_str(), to.c_str()) != 0) return LastError();
  const int directory = open(DirectoryOf(to).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0) return LastError();
  // Some file systems cannot flush a directory and need not.
  const bool flushed = fsync(directory) == 0 || errno == EINVAL;
  const std::error_code error = flushed ? std::error_code() : LastError();
  close(directory);
  return error;
}

#endif

std::error_code WriteAll(int file, std::string_view contents) {
  constexpr std::size_t kLargestWrite = 1 << 20;
  while (!contents.empty()) {
    const auto size = static_cast<unsigned int>(std::min(contents.size(), kLargestWrite));
    const auto written = Write(file, contents.data(), size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return LastError();
    contents.remove_prefix(static_cast<std::size_t>(written));
  }
  return Flush(file) == 0 ? std::error_code() : LastError();
}

std::error_code WriteNewFile(const path& file, std::string_view contents) {
  // What is there was left by a killed process that had this id, or was planted.
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  const int handle = OpenNew(file);
  if (handle < 0) return LastError();
  std::error_code error = WriteAll(handle, contents);
  if (Close(handle) != 0 && !error) error = LastError();
  return error;
}

std::error_code MakeDirectory(const path& directory) {
  std::error_code error;
  const bool made = std::filesystem::create_directories(directory, error);
  if (made) std::filesystem::permissions(directory, std::filesystem::perms::owner_all, error);
  return error;
}

// Beside the file, as a rename works within one file system only; completed by the process, so that
// two processes never write to the same one.
path TemporaryPrefix(const path& file) {
  path prefix = file;
  prefix += ".tmp-";
  return prefix;
}

// A process's own: the prefix and a number.
bool IsLeftover(const path& file, const path& prefix) {
  const path::string_type name = file.filename().native(), begin = prefix.filename().native();
  if (!name.starts_with(begin) || name.size() == begin.size()) return false;
  std::error_code ignored;
  return std::all_of(name.begin() + static_cast<std::ptrdiff_t>(begin.size()), name.end(),
                     [](auto letter) { return letter >= '0' && letter <= '9'; }) &&
         std::filesystem::is_regular_file(std::filesystem::symlink_status(file, ignored));
}

}  // namespace

path PathFromSystemText(const std::string& text) {
#if defined(_WIN32)
  const auto length = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), length)));
  return wide;
#else
  return text;
#endif
}

std::optional<std::string> ReadFile(const path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream.is_open()) return std::nullopt;
  std::string text;
  std::array<char, 4096> block;
  while (stream.read(block.data(), block.size()), stream.gcount() > 0) {
    text.append(block.data(), static_cast<std::size_t>(stream.gcount()));
  }
  if (stream.bad()) return std::nullopt;
  return text;
}

std::error_code WriteAtomically(const path& file, std::string_view contents) {
  std::error_code error = MakeDirectory(DirectoryOf(file));
  if (error) return error;
  path temporary = TemporaryPrefix(file);
  temporary += std::to_string(ProcessId());
  error = WriteNewFile(temporary, contents);
  if (!error) error = MoveIntoPlace(temporary, file);
  if (error) {
    std::error_code ignored;
    std::filesystem::remove(temporary, ignored);
  }
  return error;
}

void RemoveLeftovers(const path& file) {
  using std::filesystem::file_time_type;
  constexpr std::chrono::minutes kLongestReplacement{10};
  const file_time_type latest = file_time_type::clock::now() - kLongestReplacement;
  const path prefix = TemporaryPrefix(file);
  std::error_code error;
  std::filesystem::directory_iterator entry(DirectoryOf(file), error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    if (!IsLeftover(entry->path(), prefix)) continue;
    std::error_code ignored;
    const file_time_type written = std::filesystem::last_write_time(entry->path(), ignored);
    if (!ignored && written < latest) std::filesystem::remove(entry->path(), ignored);
  }
}

}  // namespace zelk::common
