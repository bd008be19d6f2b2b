#include "common/files.h"
#include "common/json.h"
#include "common/paths.h"
#include "library.h"
#include "log.h"
#include "services.h"

namespace eos_standin {
namespace {

using enum EOS_ELogLevel;

using zelk::common::JsonText;
using zelk::common::PathFromSystemText;
using zelk::common::ReadJson;

constexpr const char* kFileName = "EOS_PersistentAuth.json";

std::string PathOf(const Platform& platform) {
  const std::string& directory = platform.cache_directory;
  const bool is_closed = directory.ends_with('/') || directory.ends_with('\\');
  return directory + (is_closed ? "" : "/") + kFileName;
}

constexpr const char* kVersion = "1";

// What is kept; nothing when the text is not what KeepPersistentAuth writes.
std::optional<Key> AccountIn(const std::string& text) {
  const auto json = ReadJson(text);
  const auto id = json ? json->Find("account_id") : std::nullopt;
  const bool complete = id && json->Find("refresh_token");
  return complete ? ParseKey(id->text()) : std::nullopt;
}

// A file of before there were versions is of the first.
bool IsOfNewerVersion(const std::string& text) {
  const auto json = ReadJson(text);
  const auto version = json ? json->Find("version") : std::nullopt;
  return version && version->text() != kVersion;
}

std::nullptr_t Warn(const char* what, const Platform& platform) {
  Log(kLogAuth, EOS_LOG_Warning, "Persistent authorisation ", what, ": ", PathOf(platform));
  return nullptr;
}

}  // namespace

void KeepPersistentAuth(const Platform& platform, const Session& session) {
  if (platform.cache_directory.empty()) return;
  const std::filesystem::path file = PathFromSystemText(PathOf(platform));
  if (IsOfNewerVersion(zelk::common::ReadFile(file).value_or(""))) {
    return static_cast<void>(Warn("was written by a newer version and is not replaced", platform));
  }
  const std::string json = "{\n  \"version\": " + std::string(kVersion) +
                           ",\n  \"account_id\": " + JsonText(session.id->text) +
                           ",\n  \"refresh_token\": " + JsonText(session.refresh_token) + "\n}\n";
  const std::error_code error = zelk::common::WriteAtomically(file, json);
  zelk::common::RemoveLeftovers(file);
  if (!error) return;
  Log(kLogAuth, EOS_LOG_Error, "Persistent authorisation cannot be written: ", PathOf(platform));
}

const Account* PersistedAccount(const Platform& platform) {
  if (platform.cache_directory.empty()) return nullptr;
  const auto text = zelk::common::ReadFile(PathFromSystemText(PathOf(platform)));
  if (!text) return Warn("is not there", platform);
  if (IsOfNewerVersion(*text)) return Warn("was written by a newer version", platform);
  const auto id = AccountIn(*text);
  if (!id) return Warn("is damaged", platform);
  const Account* account = TheWorld().Find(*id);
  return account == nullptr ? Warn("is for an unknown account", platform) : account;
}

bool ForgetPersistentAuth(const Platform& platform) {
  if (platform.cache_directory.empty()) return true;
  std::error_code error;
  std::filesystem::remove(PathFromSystemText(PathOf(platform)), error);
  if (!error) return true;
  Log(kLogAuth, EOS_LOG_Error, "Persistent authorisation cannot be removed: ", PathOf(platform));
  return false;
}

}  // namespace eos_standin
