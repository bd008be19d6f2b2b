#include "persistent_auth.h"

#include "common/files.h"
#include "common/paths.h"
#include "describe.h"
#include "library.h"
#include "log.h"

namespace eos_standin {
namespace {

using enum EOS_ELogLevel;

using zelk::common::PathFromSystemText;

constexpr const char* kFileName = "EOS_PersistentAuth.json";

std::string PathOf(const Platform& platform) {
  const std::string& directory = platform.cache_directory;
  const bool is_closed = directory.ends_with('/') || directory.ends_with('\\');
  return directory + (is_closed ? "" : "/") + kFileName;
}

// The account of a file's text; nothing for a text that KeepPersistentAuth did not write.
std::optional<Key> AccountIn(const std::string& text) {
  const Json json = Json::parse(text, nullptr, false);
  const auto is_text = [&json](const char* name) {
    return json.contains(name) && json[name].is_string();
  };
  if (!is_text("account_id") || !is_text("refresh_token")) return std::nullopt;
  return ParseKey(json["account_id"].get<std::string>());
}

std::nullptr_t Warn(const char* what, const Platform& platform) {
  Log(kLogAuth, EOS_LOG_Warning, "Persistent authorisation ", what, ": ", PathOf(platform));
  return nullptr;
}

}  // namespace

void KeepPersistentAuth(const Platform& platform, const Session& session) {
  if (platform.cache_directory.empty()) return;
  const Json json{{"account_id", session.id->text}, {"refresh_token", session.refresh_token}};
  const std::filesystem::path file = PathFromSystemText(PathOf(platform));
  const std::error_code error = zelk::common::WriteAtomically(file, json.dump(2) + "\n");
  zelk::common::RemoveLeftovers(file);
  if (!error) return;
  Log(kLogAuth, EOS_LOG_Error, "Persistent authorisation cannot be written: ", PathOf(platform));
}

const Account* PersistedAccount(const Platform& platform) {
  if (platform.cache_directory.empty()) return nullptr;
  const auto text = zelk::common::ReadFile(PathFromSystemText(PathOf(platform)));
  if (!text) return Warn("is not there", platform);
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
