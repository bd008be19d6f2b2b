// The floor under the benchmarks: the EOS calls that the plugin makes for a request, made directly,
// with the results kept in standard containers. One thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "eos_auth.h"
#include "eos_connect.h"
#include "eos_friends.h"
#include "eos_sdk.h"
#include "eos_userinfo.h"

namespace zelk::benchmarks {

class DirectEos {
 public:
  struct Friend {
    std::string account_id;
    std::string name;
    std::string country;
    std::string language;
    int32_t status = 0;
  };

  // EOS has been initialised. `cache_directory` is this platform's own.
  explicit DirectEos(const std::string& cache_directory);
  DirectEos(const DirectEos&) = delete;
  DirectEos& operator=(const DirectEos&) = delete;

  void Tick() { EOS_Platform_Tick(platform_); }

  // Through the persistent authorisation, which is missing, then the account portal.
  void SignIn();
  // Forgets the persistent authorisation.
  void SignOut();

  // Asks for the first `count` friends.
  void AskForFriends(int32_t count);
  // Ticks until all are there, and copies them as a task queue would.
  std::vector<Friend> TakeFriends();

  EOS_HPlatform platform() const { return platform_; }
  EOS_EpicAccountId account() const { return account_; }

 private:
  static void EOS_CALL OnAuthLogin(const EOS_Auth_LoginCallbackInfo* data);
  static void EOS_CALL OnConnectLogin(const EOS_Connect_LoginCallbackInfo* data);
  static void EOS_CALL OnQueryFriends(const EOS_Friends_QueryFriendsCallbackInfo* data);
  static void EOS_CALL OnQueryUserInfo(const EOS_UserInfo_QueryUserInfoCallbackInfo* data);

  void LogIn(EOS_ELoginCredentialType type);
  void ConnectLogIn();
  void CopyDisplayName();
  void List(int32_t count);
  void AskForDetails(EOS_EpicAccountId friend_id);
  void CopyDetails(Friend& entry) const;

  EOS_HPlatform platform_ = nullptr;
  EOS_EpicAccountId account_ = nullptr;
  std::string account_id_;
  std::string access_token_;
  std::string refresh_token_;
  std::string product_user_id_;
  std::string display_name_;
  bool signed_in_ = false;
  int32_t count_ = 0;
  bool listed_ = false;
  std::vector<Friend> friends_;
  std::vector<Friend> details_;
};

}  // namespace zelk::benchmarks
