// The face of the core stand-in towards a game: load a configuration, take results off the task
// queue, read the friend messages that arrived. The host and the tests use it; the plugin never
// does.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "core_contract/export.h"
#include "core_contract/friend.h"
#include "core_contract/results.h"

namespace zelk {

// What a game fills to send a friend a message.
class FriendReqInfo {
 public:
  int32_t type = 0;
  SdkString user;
  SdkString title;
  SdkString description;
};

namespace core_standin {

// The result records that a plugin commits.
using Record = std::variant<BaseResult, AuthResult, AuthPluginResult, FriendResult>;

// A result as it was committed.
struct CommittedResult {
  Record record;
  unsigned int observer_id;
  std::string seq_id;
  bool flag;
};

// Any thread. Takes every result committed so far off the queue and hands them to `observer` in the
// order of the commits, without holding the queue; returns how many there were.
ZELK_CORE_API std::size_t DrainTaskQueue(
    const std::function<void(const CommittedResult&)>& observer);

// Reads the configuration: a JSON object of sections, each an object of texts, for instance
// {"ZELK": {"EPIC_PRODUCT_NAME": "Demo"}}. Returns "" or what is wrong, as "FILE:LINE: message"; a
// file that is refused leaves the configuration as it was.
ZELK_CORE_API std::string LoadConfig(const std::filesystem::path& file);

// Any thread. Sets one value.
ZELK_CORE_API void SetConfig(const std::string& section, const std::string& key,
                             const std::string& value);

// A friend message as the core received it.
struct SentMessage {
  FriendReqInfo info;
  std::string channel;
};

// Any thread. The friend messages that reached the core, oldest first.
ZELK_CORE_API std::vector<SentMessage> SentMessages();

}  // namespace core_standin
}  // namespace zelk
