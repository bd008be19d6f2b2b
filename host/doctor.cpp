#include "doctor.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "core_contract/config.h"
#include "core_contract/log.h"
#include "core_contract/login_parameters.h"
#include "core_contract/mmkv.h"
#include "output.h"
#include "platform.h"
#include "plugin_library.h"
#include "setup.h"
#include "text.h"
#include "transcript.h"
#include "zelk_foundation_standin.h"

namespace zelk::host {
namespace {

namespace fs = std::filesystem;

enum class Status { kOk, kWarning, kError };

struct StatusRow {
  const char* word;
  Style style;
};
// In the order of Status.
constexpr std::array kStatuses{StatusRow{"ok", Style::kGood},
                               StatusRow{"warning", Style::kDoubtful},
                               StatusRow{"error", Style::kBad}};

struct Finding {
  Status status;
  std::string message;
  std::string advice = {};  // what to do about it
};

Finding Ok(std::string message) { return {Status::kOk, std::move(message)}; }
Finding Unknown(const char* why) {
  return {Status::kWarning, fmt::format("not checked, for {}", why)};
}
Finding Error(std::string message, std::string advice) {
  return {Status::kError, std::move(message), std::move(advice)};
}

// What the checks look at; an earlier one may fill in what a later one needs.
struct Installation {
  const Options& options;
  const fs::path plugin_file = fs::absolute(PluginFile(options)).make_preferred();
  fs::path state_directory = {};  // empty when there is none
  std::optional<SharedLibrary> plugin = {};
  std::optional<SharedLibrary> eos = {};  // when the plugin did not bring it along
  bool has_eos = false;
  bool has_store = false;
};

// So many of them as are still read.
std::string List(std::vector<std::string> texts) {
  constexpr std::size_t kMostNames = 8;
  const std::size_t all = texts.size();
  texts.resize(std::min(all, kMostNames));
  const std::string rest = all > kMostNames ? fmt::format(" and {} more", all - kMostNames) : "";
  return fmt::format("{}{}", fmt::join(texts, ", "), rest);
}

// --- the configuration ---

// In bytes, as EOS counts. A product name beyond it makes EOS refuse to start.
constexpr char kProductName[] = "EPIC_PRODUCT_NAME";
constexpr std::size_t kLongestProductName = 64;

std::string Setting(const std::string& key) {
  return Config::GetString(key.c_str(), "", kConfigSection).c_str();
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlank = " \t\r\n";
  const std::size_t begin = std::min(text.find_first_not_of(kBlank), text.size());
  return text.substr(begin, text.find_last_not_of(kBlank) + 1 - begin);
}

Finding CheckConfiguration(Installation& installation) {
  const std::string& file = installation.options.config;
  const std::string problem = UseConfig(file);
  if (!problem.empty()) return Error(problem, "host/config.example.json shows how it must look");
  std::vector<std::string> missing, padded;
  for (const std::string& key : ConfigKeys()) {
    const std::string value = Setting(key);
    if (value.empty()) missing.push_back(key);
    if (value != Trimmed(value)) padded.push_back(key);
  }
  if (!missing.empty()) {
    return Error(fmt::format("{}: missing or empty: {}", file, List(missing)),
                 fmt::format("give each a text in the section \"{}\"", kConfigSection));
  }
  if (!padded.empty()) {
    return Error(fmt::format("{}: blanks or line ends around the text: {}", file, List(padded)),
                 "EOS takes them for a part of it: take them away");
  }
  const std::size_t name_size = Setting(kProductName).size();
  if (name_size > kLongestProductName) {
    return Error(fmt::format("{}: {} has {} bytes", file, kProductName, name_size),
                 fmt::format("EOS takes {} at most: shorten it", kLongestProductName));
  }
  return Ok(file.empty() ? "demo values; --config FILE takes a game's own" : file);
}

// --- the plugin ---

Finding CheckPlugin(Installation& installation) {
  try {
    installation.plugin.emplace(LoadPluginFile(installation.plugin_file));
    void* const symbol = installation.plugin->Find(EntryPointName(EntryPoint::kUpdate));
    const std::string version = VersionOf(symbol);
    return Ok(fmt::format("{}, {}", Utf8FromPath(installation.plugin_file),
                          version.empty() ? "without a version" : "version " + version));
  } catch (const std::runtime_error& error) {
    std::error_code ignored;
    return Error(error.what(),
                 fs::is_regular_file(installation.plugin_file, ignored)
                     ? "it must be built for this system, and what it needs must lie beside it"
                     : "build it, or name it with --plugin FILE");
  }
}

constexpr char kNoPlugin[] = "the plugin cannot be loaded";

Finding CheckExports(Installation& installation) {
  if (!installation.plugin.has_value()) return Unknown(kNoPlugin);
  std::vector<std::string> names(kEntryPointNames.begin(), kEntryPointNames.end());
  names.emplace_back(kSendMessageName);
  const std::size_t all = names.size();
  std::erase_if(names, [&](const std::string& name) {
    void* const symbol = installation.plugin->Find(name.c_str());
    return symbol != nullptr && fs::equivalent(FileOf(symbol), installation.plugin_file);
  });
  if (names.empty()) return Ok(fmt::format("all {} are exported", all));
  return Error("missing: " + List(names),
               names.size() == all ? "this is another library: name the plugin with --plugin FILE"
                                   : "build the plugin anew, with the compiler of this program");
}

Finding CheckImports(Installation& installation) {
  const std::vector<std::string> missing = MissingImports(installation.plugin_file);
  if (!missing.empty()) {
    return Error("missing: " + List(missing),
                 "replace these libraries by the versions that the plugin was built against");
  }
  if (!installation.plugin.has_value()) return Unknown(kNoPlugin);
  return Ok("the libraries have all that the plugin asks for");
}

// --- the libraries ---

void* EosSymbol(const Installation& installation, const char* name) {
  if (installation.eos.has_value()) return installation.eos->Find(name);
  void* const symbol = installation.plugin.has_value() ? installation.plugin->Find(name) : nullptr;
  return symbol != nullptr ? symbol : FindLoaded(kEosLibrary, name);
}

std::string EosVersion(const Installation& installation) {
  if (EosSymbol(installation, kCheckWorld) != nullptr) return "the stand-in";
  void* const symbol = EosSymbol(installation, "EOS_GetVersion");
  if (symbol == nullptr) return "without a version";
  const char* const version = reinterpret_cast<const char* (*)()>(symbol)();
  return fmt::format("version {}", version != nullptr ? version : "unknown");
}

// When the plugin did not bring EOS along, the file beside the plugin is tried by itself.
Finding CheckEos(Installation& installation) try {
  constexpr char kAnyCall[] = "EOS_Initialize";
  const fs::path beside = fs::path(installation.plugin_file).replace_filename(kEosLibrary);
  if (EosSymbol(installation, kAnyCall) == nullptr) {
    if (!fs::exists(installation.plugin_file)) return Unknown("there is no plugin file");
    if (!fs::exists(beside)) return Error(Utf8FromPath(beside) + " is not there", "put it there");
    installation.eos.emplace(beside);
  }
  void* const symbol = EosSymbol(installation, kAnyCall);
  if (symbol == nullptr) {
    return Error(Utf8FromPath(beside) + " is not the EOS library", "put EOS's own file there");
  }
  installation.has_eos = true;
  return Ok(fmt::format("{}, {}", Utf8FromPath(FileOf(symbol)), EosVersion(installation)));
} catch (const std::runtime_error& error) {
  return Error(fmt::format("{}: {}", kEosLibrary, error.what()),
               "take the one for this system from the SDK that the plugin was built against");
}

// A library that this program had loaded before the plugin came: the plugin gets the same.
Finding SharedWithPlugin(const Installation& installation, const void* symbol) {
  const fs::path loaded = FileOf(symbol);
  const fs::path beside = fs::path(installation.plugin_file).replace_filename(loaded.filename());
  std::error_code error;
  const bool is_other = fs::exists(beside, error) && !fs::equivalent(loaded, beside, error);
  if (!is_other) return Ok(Utf8FromPath(loaded));
  return {Status::kWarning, fmt::format("{}, not {}", Utf8FromPath(loaded), Utf8FromPath(beside)),
          "to use the plugin's own, run the program that lies beside it"};
}

Finding CheckCore(Installation& installation) {
  return SharedWithPlugin(installation, reinterpret_cast<const void*>(&Config::GetString));
}

Finding CheckFoundation(Installation& installation) {
  return SharedWithPlugin(installation, reinterpret_cast<const void*>(&Log::GetInstance));
}

// --- what is kept on disk ---

// The directory, or what is there of the way to it.
fs::path Existing(fs::path directory) {
  std::error_code error;
  while (!fs::exists(directory, error) && directory.has_relative_path()) {
    directory = directory.parent_path();
  }
  return directory;
}

Finding CheckDirectory(const fs::path& directory) {
  const fs::path existing = Existing(directory);
  if (const std::string problem = WhyNotWritable(existing); !problem.empty()) {
    return Error(fmt::format("{} cannot be written to: {}", Utf8FromPath(existing), problem),
                 "make it writable, or choose another with --state-dir");
  }
  const std::string name = Utf8FromPath(directory);
  return Ok(existing == directory ? name : name + ", will be made by the first sign-in");
}

Finding CheckStateDirectory(Installation& installation) {
  try {
    installation.state_directory =
        fs::absolute(StateDirectory(installation.options)).make_preferred();
  } catch (const std::runtime_error& error) {
    return Error(error.what(), "tour needs none");
  }
  return CheckDirectory(installation.state_directory);
}

constexpr char kNoStateDirectory[] = "there is no state directory";

Finding CheckEosDirectory(Installation& installation) {
  if (installation.state_directory.empty()) return Unknown(kNoStateDirectory);
  return CheckDirectory(EosDirectory(installation.state_directory));
}

Finding CheckStore(Installation& installation) {
  if (installation.state_directory.empty()) return Unknown(kNoStateDirectory);
  const fs::path file = installation.state_directory / foundation_standin::kStoreFileName;
  const std::string name = Utf8FromPath(file);
  const std::string problem = foundation_standin::CheckStore(installation.state_directory);
  installation.has_store = problem.empty();
  std::error_code ignored;
  if (problem.empty()) return Ok(fs::exists(file, ignored) ? name : name + ", not there yet");
  return Error(fmt::format("{} {}", name, problem),
               problem == "is damaged"
                   ? "put a copy back, or sign in again: that sets it aside and begins a new one"
                   : "make it readable, or move it away: nothing is kept until then");
}

Finding CheckSignIn(Installation& installation) {
  if (!installation.has_store) return Unknown("the store cannot be read");
  foundation_standin::SetStoreDirectory(installation.state_directory);
  std::string parameters;
  if (!MMKV::defaultMMKV(kMmkvSingleProcess, nullptr)
           ->getString(kStoredParametersKey, parameters)) {
    return Ok("none is kept; \"login\" makes one");
  }
  const Json mode = Document(parameters).value(kLoginModeKey, Json());
  return Ok("kept, of the login mode " + (mode.is_string() ? mode.get<std::string>() : "unknown"));
}

Finding CheckWorldFile(Installation& installation) {
  const std::string& option = installation.options.world;
  const std::string file = option.empty() ? GetEnvironment(kWorldVariable) : option;
  if (file.empty()) return Ok("none is given");
  if (!installation.has_eos) return Unknown("the EOS library cannot be loaded");
  void* const check = EosSymbol(installation, kCheckWorld);
  const std::string from = option.empty() ? fmt::format(", by {}", kWorldVariable) : "";
  if (check == nullptr && option.empty())
    return Ok(file + from + ", which this EOS library ignores");
  const std::string problem = CheckWorld(check, file);
  if (problem.empty()) return Ok(file + from);
  return Error(problem + from, option.empty()
                                   ? fmt::format("mend the file, or unset {}", kWorldVariable)
                                   : "mend the file, or leave --world out");
}

struct CheckRow {
  const char* name;
  Finding (*check)(Installation&);
};

constexpr std::array kChecks{
    CheckRow{"configuration", &CheckConfiguration},
    CheckRow{"plugin", &CheckPlugin},
    CheckRow{"entry points", &CheckExports},
    CheckRow{"EOS library", &CheckEos},
    CheckRow{"core library", &CheckCore},
    CheckRow{"foundation library", &CheckFoundation},
    CheckRow{"needed symbols", &CheckImports},
    CheckRow{"state directory", &CheckStateDirectory},
    CheckRow{"EOS's directory", &CheckEosDirectory},
    CheckRow{"store", &CheckStore},
    CheckRow{"sign-in", &CheckSignIn},
    CheckRow{"world", &CheckWorldFile},
};

// A check that cannot be made is an error too, and no reason to stop.
Finding Run(const CheckRow& row, Installation& installation) try {
  return row.check(installation);
} catch (const std::exception& error) {
  return Error(Reason(error), "the check could not be made");
}

void PrintWords(const char* name, const Finding& finding) {
  constexpr int kStatusWidth = 9, kNameWidth = 20;
  const auto& [word, style] = kStatuses[static_cast<std::size_t>(finding.status)];
  std::string text = Styled(style, fmt::format("{:<{}}", word, kStatusWidth)) +
                     fmt::format("{:<{}}{}\n", name, kNameWidth, Printable(finding.message));
  if (!finding.advice.empty()) {
    text += fmt::format("{:<{}}{}\n", "", kStatusWidth + kNameWidth, Printable(finding.advice));
  }
  PrintText(text);
}

void PrintJson(const char* name, const Finding& finding) {
  const char* const word = kStatuses[static_cast<std::size_t>(finding.status)].word;
  const std::string advice = finding.advice.empty() ? "" : "; " + finding.advice;
  PrintEvent({{"event", "check"},
              {"name", name},
              {"status", word},
              {"message", finding.message + advice}});
}

}  // namespace

int RunDoctor(const Options& options) {
  Installation installation{options};
  Status worst = Status::kOk;
  for (const CheckRow& row : kChecks) {
    const Finding finding = Run(row, installation);
    worst = std::max(worst, finding.status);
    (options.json ? PrintJson : PrintWords)(row.name, finding);
  }
  return worst == Status::kError ? 1 : 0;
}

int PrintVersions(const Options& options) {
  Installation installation{options};
  PrintText(fmt::format("zelk_epic_host {}\n", ZELK_HOST_VERSION));
  Status worst = Status::kOk;
  for (const auto& [name, check] : {kChecks[1], kChecks[3]}) {
    const Finding finding = check(installation);
    worst = std::max(worst, finding.status);
    PrintText(fmt::format("{}: {}\n", name, Printable(finding.message)));
  }
  return worst == Status::kError ? 1 : 0;
}

}  // namespace zelk::host
