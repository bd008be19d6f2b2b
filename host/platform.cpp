#include "platform.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <windows.h>
// After <windows.h>.
#include <shellapi.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
extern char** environ;  // NOLINT(readability-redundant-declaration): only some systems declare it
#endif

namespace zelk::host {

std::filesystem::path DefaultPluginFile() {
#if defined(_WIN32)
  return OwnExecutable().replace_filename("ZELKEpic.dll");
#else
  return OwnExecutable().replace_filename("libZELKEpic.so");
#endif
}

#if defined(_WIN32)

namespace {

std::string Utf8FromWide(const wchar_t* text) { return Utf8FromPath(std::filesystem::path(text)); }

// As the C runtime of the started program takes it apart again.
std::wstring Quoted(const std::string& argument) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t character : PathFromUtf8(argument).wstring()) {
    if (character == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = character == L'\\' ? backslashes + 1 : 0;
    quoted += character;
  }
  quoted.append(backslashes, L'\\');
  return quoted + L'"';
}

}  // namespace

std::vector<std::string> Arguments(int, char**) {
  int count = 0;
  wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(Utf8FromWide(words[i]));
  LocalFree(words);
  return arguments;
}

void PrepareStandardStreams() {
  SetConsoleOutputCP(CP_UTF8);
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
}

bool StdoutIsTerminal() {
  HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  constexpr DWORD kColours = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING
  return GetConsoleMode(console, &mode) && SetConsoleMode(console, mode | kColours);
}

bool StderrIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

std::string GetEnvironment(const char* name) {
  const wchar_t* value = _wgetenv(std::filesystem::path(name).c_str());
  return value != nullptr ? Utf8FromWide(value) : "";
}

void SetEnvironment(const char* name, const std::filesystem::path& value) {
  _wputenv_s(std::filesystem::path(name).c_str(), value.c_str());
}

void SetTemporaryDirectory(const std::filesystem::path& directory) {
  SetEnvironment("TMP", directory);
  SetEnvironment("TEMP", directory);
}

std::filesystem::path OwnExecutable() {
  std::wstring name(32768, L'\0');
  name.resize(GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
  return name;
}

std::filesystem::path DefaultStateDirectory() {
  const std::string base = GetEnvironment("LOCALAPPDATA");
  return (base.empty() ? std::filesystem::temp_directory_path() : PathFromUtf8(base)) / "zelk";
}

int RunAgain(const std::vector<std::string>& arguments) {
  const std::filesystem::path program = OwnExecutable();
  std::vector<std::wstring> words{Quoted(Utf8FromPath(program))};
  for (const std::string& argument : arguments) words.push_back(Quoted(argument));
  std::vector<const wchar_t*> pointers;
  for (const std::wstring& word : words) pointers.push_back(word.c_str());
  pointers.push_back(nullptr);
  const intptr_t status = _wspawnv(_P_WAIT, program.c_str(), pointers.data());
  if (status == -1) throw std::system_error(errno, std::generic_category(), "a new process");
  return static_cast<int>(status);
}

#else

std::vector<std::string> Arguments(int argc, char** argv) {
  return std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc);
}

void PrepareStandardStreams() {}

bool StdoutIsTerminal() { return isatty(STDOUT_FILENO) != 0; }
bool StderrIsTerminal() { return isatty(STDERR_FILENO) != 0; }

std::string GetEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

void SetEnvironment(const char* name, const std::filesystem::path& value) {
  setenv(name, value.c_str(), 1);
}

void SetTemporaryDirectory(const std::filesystem::path& directory) {
  SetEnvironment("TMPDIR", directory);
}

std::filesystem::path OwnExecutable() { return std::filesystem::read_symlink("/proc/self/exe"); }

std::filesystem::path DefaultStateDirectory() {
  const std::filesystem::path state = GetEnvironment("XDG_STATE_HOME");
  if (!state.empty()) return state / "zelk";
  const std::filesystem::path home = GetEnvironment("HOME");
  if (!home.empty()) return home / ".local" / "state" / "zelk";
  return std::filesystem::temp_directory_path() / "zelk";
}

int RunAgain(const std::vector<std::string>& arguments) {
  std::vector<std::string> words{OwnExecutable().string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  pid_t child = 0;
  const int error = posix_spawn(&child, pointers[0], nullptr, nullptr, pointers.data(), environ);
  if (error != 0) throw std::system_error(error, std::generic_category(), "a new process");
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

#endif

}  // namespace zelk::host
