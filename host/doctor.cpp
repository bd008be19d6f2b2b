#include "doctor.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "core_contract/config.h"
#include "core_contract/log.h"
#include "core_contract/mmkv.h"
#include "output.h"
#include "platform.h"
#include "plugin_library.h"
#include "setup.h"
#include "transcript.h"
#include "zelk_foundation_standin.h"

namespace zelk::host {
namespace {

namespace fs = std::filesystem;

enum class Health { kOk, kWarning, kError };

struct HealthRow {
  const char* word;
  Style style;
};
// In the order of Health.
constexpr std::array kHealths{HealthRow{"ok", Style::kGood}, HealthRow{"warning", Style::kDoubtful},
                              HealthRow{"error", Style::kBad}};

struct Finding {
  Health health;
  std::string message;
  std::string advice = {};  // what to do about it
};

Finding Ok(std::string message) { return {Health::kOk, std::move(message)}; }
Finding Unknown(const char* why) {
  return {Health::kWarning, fmt::format("not checked, for {}", why)};
}
Finding Error(std::string message, std::string advice) {
  return {Health::kError, std::move(message), std::move(advice)};
}

// What the checks look at; an earlier one may fill in what a later one needs.
struct Patient {
  const Options& options;
  const fs::path plugin_file = fs::absolute(PluginFile(options)).make_preferred();
  const fs::path state_directory = fs::absolute(StateDirectory(options)).make_preferred();
  std::optional<SharedLibrary> plugin = {};
  std::optional<SharedLibrary> eos = {};  // when the plugin did not bring it along
  bool has_eos = false;
  bool has_store = false;
};

// So many of them as are still read.
std::string List(std::vector<std::string> texts) {
  constexpr std::size_t kMost = 8;
  const std::size_t all = texts.size();
  texts.resize(std::min(all, kMost));
  const std::string rest = all > kMost ? fmt::format(" and {} more", all - kMost) : "";
  return fmt::format("{}{}", fmt::join(texts, ", "), rest);
}

// --- the configuration ---

// In bytes, as EOS counts. A product name beyond it makes EOS refuse to start.
constexpr std::size_t kLongestProductName = 64;

Finding CheckConfiguration(Patient& patient) {
  const std::string& file = patient.options.config;
  const std::string problem = UseConfig(file);
  if (!problem.empty()) return Error(problem, "host/config.example.json shows how it must look");
  std::vector<std::string> missing;
  for (const ConfigRow& row : kConfig) {
    if (Config::GetString(row.key, "", kConfigSection).empty()) missing.emplace_back(row.key);
  }
  if (!missing.empty()) {
    return Error(fmt::format("{}: missing or empty: {}", file, List(missing)),
                 fmt::format("give each a text in the section \"{}\"", kConfigSection));
  }
  const auto name_size = Config::GetString(kConfig.front().key, "", kConfigSection).size();
  if (name_size > kLongestProductName) {
    return Error(fmt::format("{}: {} has {} bytes", file, kConfig.front().key, name_size),
                 fmt::format("EOS takes {} at most: shorten it", kLongestProductName));
  }
  return Ok(file.empty() ? "demo values; --config FILE takes a game's own" : file);
}

// --- the plugin ---

Finding CheckPlugin(Patient& patient) {
  try {
    patient.plugin.emplace(LoadPluginFile(patient.plugin_file));
    return Ok(Utf8FromPath(patient.plugin_file));
  } catch (const std::runtime_error& error) {
    std::error_code ignored;
    return Error(error.what(),
                 fs::is_regular_file(patient.plugin_file, ignored)
                     ? "it must be built for this system, and what it needs must lie beside it"
                     : "build it, or name it with --plugin FILE");
  }
}

constexpr char kNoPlugin[] = "the plugin cannot be loaded";

Finding CheckExports(Patient& patient) {
  if (!patient.plugin.has_value()) return Unknown(kNoPlugin);
  std::vector<std::string> names(kEntryPointNames.begin(), kEntryPointNames.end());
  names.emplace_back(kSendMessageName);
  const std::size_t all = names.size();
  std::erase_if(names, [&](const std::string& name) {
    void* const symbol = patient.plugin->Find(name.c_str());
    return symbol != nullptr && fs::equivalent(FileOf(symbol), patient.plugin_file);
  });
  if (names.empty()) return Ok(fmt::format("all {} are exported", all));
  return Error("missing: " + List(names),
               names.size() == all ? "this is another library: name the plugin with --plugin FILE"
                                   : "build the plugin anew, with the compiler of this program");
}

Finding CheckImports(Patient& patient) {
  const std::vector<std::string> missing = MissingImports(patient.plugin_file);
  if (!missing.empty()) {
    return Error("missing: " + List(missing),
                 "replace these libraries by the versions that the plugin was built against");
  }
  if (!patient.plugin.has_value()) return Unknown(kNoPlugin);
  return Ok("the libraries have all that the plugin asks for");
}

// --- the libraries ---

void* EosSymbol(const Patient& patient, const char* name) {
  if (patient.eos.has_value()) return patient.eos->Find(name);
  void* const symbol = patient.plugin.has_value() ? patient.plugin->Find(name) : nullptr;
  return symbol != nullptr ? symbol : FindLoaded(kEosLibrary, name);
}

std::string EosVersion(const Patient& patient) {
  if (EosSymbol(patient, kCheckWorld) != nullptr) return "the stand-in";
  void* const symbol = EosSymbol(patient, "EOS_GetVersion");
  if (symbol == nullptr) return "without a version";
  const char* const version = reinterpret_cast<const char* (*)()>(symbol)();
  return fmt::format("version {}", version != nullptr ? version : "unknown");
}

// When the plugin did not bring EOS along, the file beside the plugin is tried by itself.
Finding CheckEos(Patient& patient) try {
  constexpr char kAnyCall[] = "EOS_Initialize";
  const fs::path beside = fs::path(patient.plugin_file).replace_filename(kEosLibrary);
  if (EosSymbol(patient, kAnyCall) == nullptr) {
    if (!fs::exists(beside)) return Error(Utf8FromPath(beside) + " is not there", "put it there");
    patient.eos.emplace(beside);
  }
  void* const symbol = EosSymbol(patient, kAnyCall);
  if (symbol == nullptr) {
    return Error(Utf8FromPath(beside) + " is not the EOS library", "put EOS's own file there");
  }
  patient.has_eos = true;
  return Ok(fmt::format("{}, {}", Utf8FromPath(FileOf(symbol)), EosVersion(patient)));
} catch (const std::runtime_error& error) {
  return Error(fmt::format("{}: {}", kEosLibrary, error.what()),
               "take the one for this system from the SDK that the plugin was built against");
}

// A library that this program had loaded before the plugin came: the plugin gets the same.
Finding SharedWithPlugin(const Patient& patient, const void* symbol) {
  const fs::path loaded = FileOf(symbol);
  const fs::path beside = fs::path(patient.plugin_file).replace_filename(loaded.filename());
  std::error_code error;
  const bool is_other = fs::exists(beside, error) && !fs::equivalent(loaded, beside, error);
  if (!is_other) return Ok(Utf8FromPath(loaded));
  return {Health::kWarning, fmt::format("{}, not {}", Utf8FromPath(loaded), Utf8FromPath(beside)),
          "to use the plugin's own, run the program that lies beside it"};
}

Finding CheckCore(Patient& patient) {
  return SharedWithPlugin(patient, reinterpret_cast<const void*>(&Config::GetString));
}

Finding CheckFoundation(Patient& patient) {
  return SharedWithPlugin(patient, reinterpret_cast<const void*>(&Log::GetInstance));
}

// --- what is kept on disk ---

// Writes a file into the directory and removes it. "" or what is wrong.
std::string WhyNotWritable(const fs::path& directory) {
  const fs::path probe = directory / fmt::format("zelk-doctor-{:08x}", std::random_device{}());
  std::ofstream file(probe, std::ios::binary);
  file << "probe" << std::flush;
  const bool written = file.good();
  file.close();
  std::error_code ignored;
  fs::remove(probe, ignored);
  return written ? "" : Utf8FromPath(directory) + " cannot be written to";
}

Finding CheckDirectory(const fs::path& directory) {
  fs::path existing = directory;
  std::error_code error;
  while (!fs::exists(existing, error) && existing.has_relative_path()) {
    existing = existing.parent_path();
  }
  const std::string problem = fs::is_directory(existing, error)
                                  ? WhyNotWritable(existing)
                                  : Utf8FromPath(existing) + " is no directory";
  if (!problem.empty()) return Error(problem, "let it be written, or name another by --state-dir");
  const std::string name = Utf8FromPath(directory);
  return Ok(existing == directory ? name : name + ", will be made by the first sign-in");
}

Finding CheckStateDirectory(Patient& patient) { return CheckDirectory(patient.state_directory); }

Finding CheckEosDirectory(Patient& patient) {
  return CheckDirectory(EosDirectory(patient.state_directory));
}

Finding CheckStore(Patient& patient) {
  const fs::path file = patient.state_directory / foundation_standin::kStoreFileName;
  const std::string name = Utf8FromPath(file);
  const std::string problem = foundation_standin::CheckStore(patient.state_directory);
  patient.has_store = problem.empty();
  std::error_code ignored;
  if (problem.empty()) return Ok(fs::exists(file, ignored) ? name : name + ", not there yet");
  return Error(fmt::format("{} {}", name, problem),
               problem == "is damaged"
                   ? "put a copy back, or sign in again: that sets it aside and begins a new one"
                   : "let it be read, or move it away: nothing is kept until then");
}

Finding CheckSignIn(Patient& patient) {
  constexpr char kStoredParameters[] = "epic_login_extra_json";
  if (!patient.has_store) return Unknown("the store cannot be read");
  foundation_standin::SetStoreDirectory(patient.state_directory);
  std::string parameters;
  if (!MMKV::defaultMMKV(kMmkvSingleProcess, nullptr)->getString(kStoredParameters, parameters)) {
    return Ok("none is kept; \"login\" makes one");
  }
  const Json mode = Document(parameters).value("LoginMode", Json());
  return Ok("kept, of the login mode " + (mode.is_string() ? mode.get<std::string>() : "unknown"));
}

Finding CheckWorldFile(Patient& patient) {
  const std::string& file = patient.options.world;
  if (file.empty()) return Ok("none is given");
  if (!patient.has_eos) return Unknown("the EOS library cannot be loaded");
  const std::string problem = CheckWorld(EosSymbol(patient, kCheckWorld), file);
  return problem.empty() ? Ok(file) : Error(problem, "mend the file, or leave --world out");
}

struct CheckRow {
  const char* name;
  Finding (*check)(Patient&);
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
Finding Run(const CheckRow& row, Patient& patient) try {
  return row.check(patient);
} catch (const std::exception& error) {
  return Error(error.what(), "the check could not be made");
}

void PrintWords(const char* name, const Finding& finding) {
  constexpr int kStatusWidth = 9, kNameWidth = 20;
  const auto& [word, style] = kHealths[static_cast<std::size_t>(finding.health)];
  std::string text = Styled(style, fmt::format("{:<{}}", word, kStatusWidth)) +
                     fmt::format("{:<{}}{}\n", name, kNameWidth, Printable(finding.message));
  if (!finding.advice.empty()) {
    text += fmt::format("{:<{}}{}\n", "", kStatusWidth + kNameWidth, Printable(finding.advice));
  }
  PrintText(text);
}

void PrintJson(const char* name, const Finding& finding) {
  const char* const word = kHealths[static_cast<std::size_t>(finding.health)].word;
  const std::string advice = finding.advice.empty() ? "" : "; " + finding.advice;
  PrintEvent({{"event", "check"},
              {"name", name},
              {"status", word},
              {"message", finding.message + advice}});
}

}  // namespace

int RunDoctor(const Options& options) {
  Patient patient{options};
  Health worst = Health::kOk;
  for (const CheckRow& row : kChecks) {
    const Finding finding = Run(row, patient);
    worst = std::max(worst, finding.health);
    (options.json ? PrintJson : PrintWords)(row.name, finding);
  }
  return worst == Health::kError ? 1 : 0;
}

}  // namespace zelk::host
