#include "platform.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <stdexcept>
#include <system_error>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <windows.h>
// After <windows.h>.
#include <shellapi.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
extern char** environ;  // NOLINT(readability-redundant-declaration): only some systems declare it
#endif

namespace zelk::host {

namespace {

std::optional<std::string> ReadLine() {
  std::string line;
  if (!std::getline(std::cin, line)) return {};
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

[[noreturn]] void ThrowNotStarted(int error) {
  throw std::runtime_error("this program cannot be started again: " +
                           std::generic_category().message(error));
}

}  // namespace

std::string WhyNotWritable(const std::filesystem::path& directory) {
  const std::string name = "zelk-probe-" + std::to_string(std::random_device{}());
  const std::filesystem::path probe = directory / name;
  errno = 0;
  std::ofstream file(probe, std::ios::binary);
  file << "probe" << std::flush;
  const int error = file.good() ? 0 : errno != 0 ? errno : EIO;
  file.close();
  std::error_code ignored;
  std::filesystem::remove(probe, ignored);
  return error == 0 ? "" : std::generic_category().message(error);
}

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

std::optional<std::size_t> TerminalWidth() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return {};
  return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

std::optional<std::string> ReadSecret(const std::string& prompt) {
  HANDLE console = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  if (!GetConsoleMode(console, &mode)) return ReadLine();
  std::fputs(prompt.c_str(), stderr);
  SetConsoleMode(console, mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
  auto line = ReadLine();
  SetConsoleMode(console, mode);
  std::fputs("\n", stderr);
  return line;
}

std::FILE* OpenToAppend(const std::filesystem::path& file) { return _wfopen(file.c_str(), L"ab"); }

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
  const std::filesystem::path base = PathFromUtf8(GetEnvironment("LOCALAPPDATA"));
  return base.empty() ? base : base / "zelk";
}

// The console tells both processes of a Ctrl-C.
void PassSignalsOn() {
  std::signal(SIGINT, [](int) {});
}

int RunAgain(const std::vector<std::string>& arguments) {
  const std::filesystem::path program = OwnExecutable();
  std::vector<std::wstring> words{Quoted(Utf8FromPath(program))};
  for (const std::string& argument : arguments) words.push_back(Quoted(argument));
  std::vector<const wchar_t*> pointers;
  for (const std::wstring& word : words) pointers.push_back(word.c_str());
  pointers.push_back(nullptr);
  const intptr_t status = _wspawnv(_P_WAIT, program.c_str(), pointers.data());
  if (status == -1) ThrowNotStarted(errno);
  return static_cast<int>(status);
}

#else

std::vector<std::string> Arguments(int argc, char** argv) {
  return std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc);
}

void PrepareStandardStreams() {
  std::signal(SIGPIPE, SIG_IGN);
  // The lowest free number, which is the one that was closed. It is opened the wrong way round, so
  // that its use fails as before.
  for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
    if (fcntl(file, F_GETFD) >= 0) continue;
    if (open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY) != file) return;
  }
}

bool StdoutIsTerminal() { return isatty(STDOUT_FILENO) != 0; }
bool StderrIsTerminal() { return isatty(STDERR_FILENO) != 0; }

std::optional<std::size_t> TerminalWidth() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return {};
  return size.ws_col;
}

namespace {

termios terminal_before = {};

void RestoreTerminal() { tcsetattr(STDIN_FILENO, TCSANOW, &terminal_before); }

}  // namespace

std::optional<std::string> ReadSecret(const std::string& prompt) {
  if (tcgetattr(STDIN_FILENO, &terminal_before) != 0) return ReadLine();
  std::fputs(prompt.c_str(), stderr);
  // Who gives up here has a terminal that shows again what is typed.
  const auto before = std::signal(SIGINT, [](int signal) {
    RestoreTerminal();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
  });
  termios silent = terminal_before;
  silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
  auto line = ReadLine();
  RestoreTerminal();
  std::signal(SIGINT, before);
  std::fputs("\n", stderr);
  return line;
}

std::FILE* OpenToAppend(const std::filesystem::path& file) {
  constexpr mode_t kOwnerOnly = 0600;
  const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kOwnerOnly);
  return descriptor < 0 ? nullptr : fdopen(descriptor, "ab");
}

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
  if (state.is_absolute()) return state / "zelk";
  const std::filesystem::path home = GetEnvironment("HOME");
  return home.empty() ? home : home / ".local" / "state" / "zelk";
}

namespace {

volatile pid_t running_child = 0;
volatile std::sig_atomic_t last_signal = 0;

// A signal that comes before the child's number is known is sent on by `RunAgain`.
void PassOn(int signal) {
  last_signal = signal;
  if (running_child > 0) kill(running_child, signal);
}

}  // namespace

// A signal that is ignored stays so.
void PassSignalsOn() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (std::signal(signal, &PassOn) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

int RunAgain(const std::vector<std::string>& arguments) {
  std::vector<std::string> words{OwnExecutable().string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  pid_t child = 0;
  const int error = posix_spawn(&child, pointers[0], nullptr, nullptr, pointers.data(), environ);
  if (error != 0) ThrowNotStarted(error);
  running_child = child;
  if (last_signal != 0) kill(child, last_signal);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  running_child = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

#endif

}  // namespace zelk::host
