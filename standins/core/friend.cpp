#include "core_contract/friend.h"

#include <mutex>

#include "common/never_destroyed.h"
#include "zelk_core_standin.h"

namespace zelk {
namespace {

struct Outbox {
  std::mutex mutex;
  std::vector<core_standin::SentMessage> messages;
};

Outbox& TheOutbox() { return common::NeverDestroyed<Outbox>(); }

}  // namespace

void Friend::SendMessageW(const FriendReqInfo& info, const SdkString& channel) {
  const std::scoped_lock lock(TheOutbox().mutex);
  TheOutbox().messages.push_back({info, channel.c_str()});
}

std::vector<core_standin::SentMessage> core_standin::SentMessages() {
  const std::scoped_lock lock(TheOutbox().mutex);
  return TheOutbox().messages;
}

}  // namespace zelk
