#include "core_contract/config.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <utility>

#include "common/files.h"
#include "common/json_error.h"
#include "common/null_text.h"
#include "common/paths.h"
#include "zelk_core_standin.h"

namespace zelk {
namespace {

using common::OrEmpty;
using nlohmann::json;
using Event = json::parse_event_t;
using Section = std::map<std::string, std::string>;
using Sections = std::map<std::string, Section>;

struct Configuration {
  std::mutex mutex;
  Sections sections;
};

// Never destroyed: threads may read it until the process ends.
Configuration& TheConfiguration() {
  static Configuration& configuration = *new Configuration;
  return configuration;
}

// Reads a configuration text and remembers the first thing that is wrong, with its line.
class ConfigReader {
 public:
  explicit ConfigReader(const std::string& text) : text_(text), stream_(text) {}

  void Read() {
    try {
      const auto observe = [this](int depth, Event event, json& value) {
        Observe(depth, event, value);
        return true;
      };
      [[maybe_unused]] const json document = json::parse(stream_, observe);
    } catch (const json::exception& problem) {
      Refuse(common::ExplainJsonError(problem).reason);
    }
  }

  int line() const { return line_; }
  const std::string& problem() const { return problem_; }
  Sections& sections() { return sections_; }

 private:
  // The depth is 0 for the document, 1 for its sections, 2 for their values.
  void Observe(int depth, Event event, const json& parsed) {
    if (event == Event::object_end || event == Event::array_end) return;
    if (event == Event::key) {
      EnterName(depth, parsed.get_ref<const std::string&>());
    } else if (depth == 0 && event != Event::object_start) {
      Refuse("the configuration must be an object of sections");
    } else if (depth == 1 && event != Event::object_start) {
      Refuse("the section '" + section_ + "' must be an object of texts");
    } else if (depth >= 2 && !parsed.is_string()) {
      Refuse("the value of '" + key_ + "' must be a text");
    } else if (depth == 2) {
      sections_[section_][key_] = parsed.get_ref<const std::string&>();
    }
  }

  void EnterName(int depth, const std::string& name) {
    const bool is_section = depth == 1;
    if (is_section ? sections_.contains(name) : sections_[section_].contains(name)) {
      Refuse("'" + name + "' is given twice");
    }
    (is_section ? section_ : key_) = name;
    sections_[section_];
  }

  void Refuse(const std::string& problem) {
    if (!problem_.empty()) return;
    problem_ = problem;
    // Of the last character read.
    const auto read = stream_.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
    const auto last = std::max<std::streamoff>(read - std::streamoff{1}, 0);
    line_ = 1 + static_cast<int>(std::count(text_.begin(), text_.begin() + last, '\n'));
  }

  const std::string& text_;
  std::istringstream stream_;
  std::string section_;
  std::string key_;
  Sections sections_;
  std::string problem_;
  int line_ = 1;
};

std::string Problem(const std::filesystem::path& file, int line, const std::string& message) {
  return common::Utf8FromPath(file) + ":" + std::to_string(line) + ": " + message;
}

}  // namespace

SdkString Config::GetString(const char* key, const char* default_value, const char* section) {
  Configuration& configuration = TheConfiguration();
  const std::scoped_lock lock(configuration.mutex);
  const auto values = configuration.sections.find(OrEmpty(section));
  if (values == configuration.sections.end()) return default_value;
  const auto value = values->second.find(OrEmpty(key));
  return value == values->second.end() ? SdkString(default_value) : SdkString(value->second);
}

std::string core_standin::LoadConfig(const std::filesystem::path& file) {
  const std::optional<std::string> text = common::ReadFile(file);
  if (!text) return Problem(file, 1, "cannot be read");
  ConfigReader reader(*text);
  reader.Read();
  if (!reader.problem().empty()) return Problem(file, reader.line(), reader.problem());

  const std::scoped_lock lock(TheConfiguration().mutex);
  TheConfiguration().sections = std::move(reader.sections());
  return "";
}

void core_standin::SetConfig(const std::string& section, const std::string& key,
                             const std::string& value) {
  const std::scoped_lock lock(TheConfiguration().mutex);
  TheConfiguration().sections[section][key] = value;
}

}  // namespace zelk
