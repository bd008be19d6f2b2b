// The friend messages of the core, exported a second time by the plugin under their plain name.
// Needs no header of a standard library; callers include sdk_string.h as well.
#pragma once

#include "core_contract/export.h"
#include "core_contract/sdk_string_fwd.h"

// <windows.h> turns this name into SendMessageA or SendMessageW.
#undef SendMessage

namespace zelk {

// A friend message request; only the core looks inside it.
class FriendReqInfo;

// Sends messages to friends; the core does the work.
class Friend {
 public:
  // The core's. Any thread; both arguments are copied.
  ZELK_CORE_API static void SendMessageW(const FriendReqInfo& info, const SdkString& channel);

  // The plugin's: calling it is calling SendMessageW with the same arguments.
  ZELK_EPIC_API static void SendMessage(const FriendReqInfo& info, const SdkString& channel);
};

}  // namespace zelk
