// A platform: who is signed in to it, and the queue of the operations that its ticks complete.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "eos_sdk.h"
#include "identifiers.h"
#include "operation.h"
#include "world.h"

// Interfaces have no state of their own, only an address inside their platform.
struct InterfaceAddress {
  char address;
};
struct EOS_AuthHandle : InterfaceAddress {};
struct EOS_ConnectHandle : InterfaceAddress {};
struct EOS_FriendsHandle : InterfaceAddress {};
struct EOS_UserInfoHandle : InterfaceAddress {};

namespace eos_standin {

// A signed-in account.
struct Session {
  const Account* account;
  EOS_EpicAccountId id;
  std::string access_token{};
  std::string refresh_token{};
  EOS_EAuthScopeFlags scopes = EOS_EAuthScopeFlags::EOS_AS_NoFlags;
  bool knows_friends = false;

  bool Has(EOS_EAuthScopeFlags scope) const { return (scopes & scope) == scope; }
};

struct ExpirationListener {
  EOS_Connect_OnAuthExpirationCallback callback;
  void* client_data;
};

}  // namespace eos_standin

// Stays allocated when it is released, so that its late use is reported.
struct EOS_PlatformHandle {
  bool released = false;
  bool is_client_known = false;
  std::string cache_directory;
  std::tuple<EOS_AuthHandle, EOS_ConnectHandle, EOS_FriendsHandle, EOS_UserInfoHandle> interfaces;

  std::vector<eos_standin::Session> sessions;
  // Every token handed out to an account that is still signed in.
  std::unordered_map<std::string, eos_standin::Key> access_tokens;
  // Accounts whose user info a caller can copy.
  std::unordered_set<EOS_EpicAccountId> known_users;
  EOS_ProductUserId product_user = nullptr;
  std::vector<eos_standin::ExpirationListener> expiration_listeners;

  // True for the platform's own handle, and for those of its interfaces.
  template <class Handle>
  bool Has(const Handle* handle) const {
    if constexpr (std::is_same_v<Handle, EOS_PlatformHandle>) {
      return handle == this;
    } else {
      return handle == &std::get<Handle>(interfaces);
    }
  }

  // Null when the account is not signed in.
  eos_standin::Session* SessionOf(EOS_EpicAccountId id);
  void Start(std::unique_ptr<eos_standin::Operation> operation);
  void Tick();
  void Release();

 private:
  using Operations = std::deque<std::unique_ptr<eos_standin::Operation>>;
  Operations PopDue();
  void ReportExpiration();

  int64_t tick_ = 0;
  // By the tick they are due in, in the order of the calls.
  std::map<int64_t, Operations> queue_;
  // What the tick that is under way has still to run, or leaves to the next.
  Operations due_now_;
};
