// The default key-value store: all entries in memory, and in one file that every change replaces.
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "common/files.h"
#include "common/paths.h"
#include "core_contract/log.h"
#include "core_contract/mmkv.h"
#include "zelk_foundation_standin.h"

#define ZELK_LOG_ERROR(...)                                                                       \
  Log::GetInstance()->OutputLog(kLogError, "ZELK", false, false, "key_value_store.cpp", __func__, \
                                __LINE__, __VA_ARGS__)

namespace zelk {
namespace {

namespace fs = std::filesystem;
using common::Utf8FromPath;
using Entries = std::map<std::string, std::string>;

constexpr int kVersion = 1;

bool IsUtf8(const std::string& text) {
  try {
    nlohmann::json(text).dump();
    return true;
  } catch (const nlohmann::json::type_error&) {
    return false;
  }
}

std::string ToText(const Entries& entries) {
  const nlohmann::ordered_json document{{"version", kVersion}, {"entries", entries}};
  return document.dump();
}

// Nothing when the text is not what ToText writes.
std::optional<Entries> FromText(const std::string& text) {
  const auto document = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  const auto version = document.find("version");
  const auto members = document.find("entries");
  if (!document.is_object() || document.size() != 2) return {};
  if (version == document.end() || !version->is_number_integer() || *version != kVersion) return {};
  if (members == document.end() || !members->is_object()) return {};
  Entries entries;
  for (const auto& [key, value] : members->items()) {
    if (!value.is_string()) return {};
    entries.emplace(key, value.get_ref<const std::string&>());
  }
  return entries;
}

// Nothing when the file cannot be read, or is no file.
std::optional<std::string> ReadStore(const fs::path& file) {
  std::error_code error;
  return fs::is_regular_file(file, error) ? common::ReadFile(file) : std::nullopt;
}

// "zelk_store.json.damaged", or the first of "-2", "-3" and so on that is not taken.
fs::path FreeNameBeside(const fs::path& file) {
  std::error_code error;
  fs::path name = file;
  name += ".damaged";
  for (int number = 2; fs::exists(fs::symlink_status(name, error)); ++number) {
    name = file;
    name += ".damaged-" + std::to_string(number);
  }
  return name;
}

bool SetAside(const fs::path& file) {
  const fs::path aside = FreeNameBeside(file);
  std::error_code error;
  fs::rename(file, aside, error);
  if (error) {
    ZELK_LOG_ERROR("[%s] is damaged and cannot be set aside as [%s]: %s; nothing will be stored",
                   Utf8FromPath(file).c_str(), Utf8FromPath(aside).c_str(),
                   error.message().c_str());
    return false;
  }
  ZELK_LOG_ERROR("[%s] is damaged, set aside as [%s]", Utf8FromPath(file).c_str(),
                 Utf8FromPath(aside).c_str());
  return true;
}

class Store {
 public:
  void SetDirectory(const fs::path& directory) {
    const std::scoped_lock lock(mutex_);
    directory_ = directory;
    entries_.reset();
  }

  bool Set(const std::string& key, const std::string& value) {
    if (!IsUtf8(key) || !IsUtf8(value)) {
      ZELK_LOG_ERROR("what is to be stored for [%s] is not valid UTF-8", key.c_str());
      return false;
    }
    const std::scoped_lock lock(mutex_);
    Loaded().insert_or_assign(key, value);
    return Save();
  }

  bool Get(const std::string& key, std::string& value) {
    const std::scoped_lock lock(mutex_);
    const Entries& entries = Loaded();
    const auto entry = entries.find(key);
    const bool found = entry != entries.end();
    value = found ? entry->second : "";
    return found;
  }

  void Remove(const std::string& key) {
    const std::scoped_lock lock(mutex_);
    if (Loaded().erase(key) > 0) Save();
  }

 private:
  fs::path File() const { return directory_ / foundation_standin::kStoreFileName; }

  Entries& Loaded() {
    if (!entries_) Load();
    return *entries_;
  }

  // Nothing is loaded before all of it is: a store that ran out of memory in between would count as
  // an empty one, and be written so.
  void Load() {
    Entries entries;
    bool replaceable = true;
    std::error_code error;
    if (fs::status(File(), error).type() != fs::file_type::not_found) {
      const std::optional<std::string> text = ReadStore(File());
      if (!text) {
        ZELK_LOG_ERROR("[%s] cannot be read; nothing will be stored", Utf8FromPath(File()).c_str());
        replaceable = false;
      } else if (std::optional<Entries> read = FromText(*text)) {
        entries = std::move(*read);
      } else {
        replaceable = SetAside(File());
      }
    }
    entries_ = std::move(entries);
    replaceable_ = replaceable;
    cleared_ = false;
  }

  bool Save() {
    if (!replaceable_) {
      ZELK_LOG_ERROR("not stored: [%s] could not be read and is kept",
                     Utf8FromPath(File()).c_str());
      return false;
    }
    const std::error_code error = common::WriteAtomically(File(), ToText(*entries_));
    if (!std::exchange(cleared_, true)) common::RemoveLeftovers(File());
    if (error) {
      ZELK_LOG_ERROR("[%s] cannot be written: %s", Utf8FromPath(File()).c_str(),
                     error.message().c_str());
    }
    return !error;
  }

  static fs::path TemporaryDirectory() {
    std::error_code error;
    return fs::temp_directory_path(error);
  }

  std::mutex mutex_;
  fs::path directory_ = TemporaryDirectory();
  std::optional<Entries> entries_;  // empty until first needed
  bool replaceable_ = false;        // false while the file may hold entries that were not read
  bool cleared_ = false;            // of what killed processes left behind
};

// Never destroyed: threads may use it until the process ends.
Store& DefaultStore() {
  static Store& store = *new Store;
  return store;
}

}  // namespace

MMKV* MMKV::defaultMMKV(MMKVMode /*mode*/, std::string* /*crypt_key*/) {
  static MMKV mmkv;
  return &mmkv;
}

bool MMKV::set(const std::string& value, const std::string& key) {
  return DefaultStore().Set(key, value);
}

bool MMKV::getString(const std::string& key, std::string& value) {
  return DefaultStore().Get(key, value);
}

void MMKV::removeValueForKey(const std::string& key) { DefaultStore().Remove(key); }

void foundation_standin::SetStoreDirectory(const fs::path& directory) {
  DefaultStore().SetDirectory(directory);
}

std::string foundation_standin::CheckStore(const fs::path& directory) {
  const fs::path file = directory / kStoreFileName;
  std::error_code error;
  if (fs::status(file, error).type() == fs::file_type::not_found) return "";
  const std::optional<std::string> text = ReadStore(file);
  if (!text) return "cannot be read";
  return FromText(*text) ? "" : "is damaged";
}

}  // namespace zelk
