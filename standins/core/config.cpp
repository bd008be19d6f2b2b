#include "core_contract/config.h"

#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "common/files.h"
#include "common/json.h"
#include "common/never_destroyed.h"
#include "common/null_text.h"
#include "common/paths.h"
#include "zelk_core_standin.h"

namespace zelk {
namespace {

using common::OrEmpty;
using Section = std::map<std::string, std::string>;
using Sections = std::map<std::string, Section>;

struct Configuration {
  std::mutex mutex;
  Sections sections;
};

using common::JsonError;
using common::JsonKind;
using common::JsonValue;

Section ReadSection(const JsonValue& values) {
  if (values.kind() != JsonKind::kObject) {
    throw JsonError(values.line(), "the section '" + values.key() + "' must be an object of texts");
  }
  Section section;
  for (const JsonValue& value : values.Children()) {
    const std::string name = "'" + value.key() + "'";
    if (value.kind() != JsonKind::kText) {
      throw JsonError(value.line(), "the value of " + name + " must be a text");
    }
    const bool is_new = section.emplace(value.key(), value.text()).second;
    if (!is_new) throw JsonError(value.line(), name + " is given twice");
  }
  return section;
}

Sections ReadSections(const JsonValue& document) {
  if (document.kind() != JsonKind::kObject) {
    throw JsonError(document.line(), "the configuration must be an object of sections");
  }
  Sections sections;
  for (const JsonValue& section : document.Children()) {
    const bool is_new = sections.emplace(section.key(), ReadSection(section)).second;
    if (!is_new) throw JsonError(section.line(), "'" + section.key() + "' is given twice");
  }
  return sections;
}

std::string Problem(const std::filesystem::path& file, int line, const std::string& message) {
  return common::Utf8FromPath(file) + ":" + std::to_string(line) + ": " + message;
}

}  // namespace

SdkString Config::GetString(const char* key, const char* default_value, const char* section) {
  auto& configuration = common::NeverDestroyed<Configuration>();
  const std::scoped_lock lock(configuration.mutex);
  const auto values = configuration.sections.find(OrEmpty(section));
  if (values == configuration.sections.end()) return default_value;
  const auto value = values->second.find(OrEmpty(key));
  return value == values->second.end() ? SdkString(default_value) : SdkString(value->second);
}

std::string core_standin::LoadConfig(const std::filesystem::path& file) try {
  const std::optional<std::string> text = common::ReadFile(file);
  if (!text) return Problem(file, 1, "cannot be read");
  Sections sections = ReadSections(JsonValue(*text));
  const std::scoped_lock lock(common::NeverDestroyed<Configuration>().mutex);
  common::NeverDestroyed<Configuration>().sections = std::move(sections);
  return "";
} catch (const JsonError& error) {
  return Problem(file, error.line, error.what());
}

void core_standin::SetConfig(const std::string& section, const std::string& key,
                             const std::string& value) {
  const std::scoped_lock lock(common::NeverDestroyed<Configuration>().mutex);
  common::NeverDestroyed<Configuration>().sections[section][key] = value;
}

}  // namespace zelk
