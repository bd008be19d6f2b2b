// What is behind the interfaces: the steps of their calls, and what they lend.
#pragma once

#include <string>

#include "eos_auth.h"
#include "eos_connect.h"
#include "eos_friends.h"
#include "eos_userinfo.h"
#include "lent_objects.h"
#include "operation.h"
#include "platform.h"

namespace eos_standin {

// --- Auth: signing in and out, and the tokens of who is signed in ---

class Login : public AsyncSteps<Function::EOS_Auth_Login, EOS_AUTH_LOGIN_API_LATEST,
                                EOS_Auth_LoginOptions, EOS_Auth_LoginCallbackInfo> {
 public:
  EOS_EResult Begin(const Options& options);
  // A player with a pin is first told the pin, and has entered it when the operation runs again.
  EOS_EResult Work(Platform& platform, Info& info);
  void BeforeCompletion(const Platform& platform, const Scripted& scripted, Info& info);
  void AfterCompletion() { pin_.Poison(); }

 private:
  const Account* FindAccount(const Platform& platform) const;
  void ShowPin(bool null_texts);

  EOS_ELoginCredentialType type_{};
  std::string id_;
  std::string token_;
  EOS_EAuthScopeFlags scopes_{};
  bool pin_shown_ = false;
  Lent<EOS_Auth_PinGrantInfo, 3> pin_{};
};

struct Logout : AsyncSteps<Function::EOS_Auth_Logout, EOS_AUTH_LOGOUT_API_LATEST,
                           EOS_Auth_LogoutOptions, EOS_Auth_LogoutCallbackInfo> {
  static EOS_EResult Work(Platform& platform, const Info& info);
};

struct DeletePersistentAuth
    : AsyncSteps<Function::EOS_Auth_DeletePersistentAuth, EOS_AUTH_DELETEPERSISTENTAUTH_API_LATEST,
                 EOS_Auth_DeletePersistentAuthOptions, EOS_Auth_DeletePersistentAuthCallbackInfo> {
  static EOS_EResult Work(const Platform& platform, const Info& info);
};

using LentToken = Lent<EOS_Auth_Token, 6>;
LentObjects<LentToken>& Tokens();
EOS_Auth_Token* LendToken(const Platform* platform, const Session& session, bool null_texts);

// The persistent authorisation: who is signed in without being asked, kept in a file under the
// cache directory of the platform. A platform without a cache directory keeps nothing.
void KeepPersistentAuth(const Platform& platform, const Session& session);
// Null when nothing is kept, when it is damaged, or when there is no such account any more.
const Account* PersistedAccount(const Platform& platform);
// False when it is still there.
bool ForgetPersistentAuth(const Platform& platform);

// --- Connect: product users ---

class ConnectLogin : public AsyncSteps<Function::EOS_Connect_Login, EOS_CONNECT_LOGIN_API_LATEST,
                                       EOS_Connect_LoginOptions, EOS_Connect_LoginCallbackInfo> {
 public:
  EOS_EResult Begin(const Options& options);
  EOS_EResult Work(Platform& platform, Info& info);
  void BeforeCompletion(const Platform& platform, const Scripted& scripted, Info& info);

 private:
  const Account* AccountOfToken(const Platform& platform) const;

  std::string token_;
};

class CreateUser
    : public AsyncSteps<Function::EOS_Connect_CreateUser, EOS_CONNECT_CREATEUSER_API_LATEST,
                        EOS_Connect_CreateUserOptions, EOS_Connect_CreateUserCallbackInfo> {
 public:
  EOS_EResult Begin(const Options& options);
  EOS_EResult Work(Platform& platform, Info& info) const;

 private:
  EOS_ContinuanceToken token_ = nullptr;
};

// --- Friends: the lists of the accounts that are signed in ---

struct QueryFriends
    : AsyncSteps<Function::EOS_Friends_QueryFriends, EOS_FRIENDS_QUERYFRIENDS_API_LATEST,
                 EOS_Friends_QueryFriendsOptions, EOS_Friends_QueryFriendsCallbackInfo> {
  static EOS_EResult Begin(const Options& options);
  static EOS_EResult Work(Platform& platform, const Info& info);
  static void BeforeCompletion(const Platform& platform, const Scripted& scripted,
                               const Info& info);
};

// The account as the owner of its list; null unless it is signed in and the list was queried.
const Account* OwnerOfList(Platform& platform, EOS_EpicAccountId id);

// --- UserInfo: what a player may know of others. Nothing is logged of single accounts that are
// found: callers ask for thousands ---

struct QueryUserInfo
    : AsyncSteps<Function::EOS_UserInfo_QueryUserInfo, EOS_USERINFO_QUERYUSERINFO_API_LATEST,
                 EOS_UserInfo_QueryUserInfoOptions, EOS_UserInfo_QueryUserInfoCallbackInfo> {
  static EOS_EResult Work(Platform& platform, const Info& info);
  static void BeforeCompletion(const Platform& platform, const Scripted& scripted,
                               const Info& info);
};

using LentUserInfo = Lent<EOS_UserInfo, 4>;
LentObjects<LentUserInfo>& UserInfos();
EOS_UserInfo* LendUserInfo(const Platform* platform, EOS_EpicAccountId user, bool null_texts);

}  // namespace eos_standin
