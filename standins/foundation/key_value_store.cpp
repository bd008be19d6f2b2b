// The default key-value store: all entries in memory, and in one file that every change replaces.
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "common/files.h"
#include "common/json.h"
#include "common/never_destroyed.h"
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
using common::JsonKind;
using common::JsonText;
using common::JsonValue;
using common::Utf8FromPath;
using Entries = std::map<std::string, std::string>;

constexpr std::string_view kVersion = "1";

constexpr std::string_view kDamaged = "is damaged";

std::string ToText(const Entries& entries) {
  std::string members;
  for (const auto& [key, value] : entries) {
    if (!members.empty()) members += ',';
    members += JsonText(key) + ":" + JsonText(value);
  }
  return R"({"version":)" + std::string(kVersion) + R"(,"entries":{)" + members + "}}";
}

// What a file holds, or what is wrong with it.
struct StoreFile {
  Entries entries{};
  std::string_view problem;
};

StoreFile FromText(const std::string& text) {
  const StoreFile damaged{.problem = kDamaged};
  const std::optional<JsonValue> document = common::ReadJson(text);
  if (!document) return damaged;
  const std::optional<JsonValue> version = document->Find("version");
  if (!version || version->kind() != JsonKind::kInteger) return damaged;
  const std::optional<JsonValue> members = document->Find("entries");
  if (version->text() != kVersion) return {.problem = "was written by a newer version"};
  if (!members || members->kind() != JsonKind::kObject) return damaged;
  if (document->Children().size() != 2) return damaged;
  StoreFile file;
  for (const JsonValue& value : members->Children()) {
    if (value.kind() != JsonKind::kText) return damaged;
    file.entries[value.key()] = value.text();
  }
  return file;
}

StoreFile ReadStore(const fs::path& file) {
  std::error_code error;
  const fs::file_type type = fs::status(file, error).type();
  if (type == fs::file_type::not_found) return {};
  const auto text = type == fs::file_type::regular ? common::ReadFile(file) : std::nullopt;
  return text ? FromText(*text) : StoreFile{.problem = "cannot be read"};
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
    if (!common::IsUtf8(key) || !common::IsUtf8(value)) {
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
    StoreFile file = ReadStore(File());
    bool replaceable = file.problem.empty();
    if (file.problem == kDamaged) {
      replaceable = SetAside(File());
    } else if (!replaceable) {
      ZELK_LOG_ERROR("[%s] %s; nothing will be stored", Utf8FromPath(File()).c_str(),
                     file.problem.data());
    }
    entries_ = std::move(file.entries);
    replaceable_ = replaceable;
    cleared_ = false;
  }

  bool Save() {
    if (!replaceable_) {
      ZELK_LOG_ERROR("not stored: [%s] could not be used and is kept",
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

Store& DefaultStore() { return common::NeverDestroyed<Store>(); }

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
  return std::string(ReadStore(directory / kStoreFileName).problem);
}

}  // namespace zelk
