// EpicAuth: the EOS platform of the process and the player's sign-in. The entry points call it on
// the core's thread, EOS its callbacks inside a tick or a shutdown; all of it runs under the EOS
// lock, except GetInstance, LogAccountIdFromString and the log bridge, which any thread may call.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core_contract/base_params.h"
#include "eos_auth_types.h"
#include "eos_common.h"
#include "eos_connect_types.h"
#include "eos_logging.h"
#include "eos_types.h"
#include "eos_userinfo_types.h"
#include "zelk_epic_lock.h"
#include "zelk_epic_no_destructor.h"

namespace zelk {

struct LoginClientData;
struct LoginRequest;

// Writes a message of EOS into the SDK's log. Any thread; takes no lock.
void EOS_CALL ZELK_EOSSDKLoggingCallback(const EOS_LogMessage* message);

// One per process: the platform, and at most one player who is signed in.
class EpicAuth {
 public:
  // The one instance, created by the first call and never destroyed. Any thread; never null.
  static EpicAuth* GetInstance();

  // --- the platform ---

  // Brings EOS up when it is not. False when EOS could not be initialised or the platform not
  // created; the next call then tries again, which EOS refuses once it was initialised. After a
  // shutdown it is true, and there is no platform.
  bool InitEpic(const BaseParams& params);
  // Releases the platform for good, and forgets the tokens. What EOS has not answered is still to
  // be answered.
  void ShutDown();

  EOS_HPlatform platform() const {
    eos_lock.AssertHeld();
    return epic_platform_handle_;
  }
  // The signed-in account's id; empty when nobody is signed in.
  const std::string& account_id() const {
    eos_lock.AssertHeld();
    return epic_account_id_;
  }

  // --- conversions: each logs what it converts; empty when there is nothing or EOS refuses ---

  static std::string EpicAccountIdToString(EOS_EpicAccountId id);
  static std::string EpicProductIdToString(EOS_ProductUserId id);
  static std::string EpicEResultToString(EOS_EResult result);
  // Whatever EOS makes of the string, null and invalid handles included.
  static EOS_EpicAccountId EpicAccountIdFromString(std::string openid);
  // The line of that conversion alone, for a worker, which logs outside of the EOS lock.
  static void LogAccountIdFromString(const char* openid);

  // --- sign-in ---

  // Starts a login. Its answer is committed before this returns, or comes with a completion. When
  // this throws, the request has not been answered and will not be.
  void Login(const BaseParams& params, const std::string& permissions);
  // Answer a login with an AuthResult; the request stays the caller's.
  void LoginEndWithInvalidArgument(const BaseParams& params, const std::string& argument_name);
  void LoginEndWithThirdError(const BaseParams& params, int32_t err_code,
                              const std::string& err_msg);

  static void EOS_CALL LoginCompleteCallbackFn(const EOS_Auth_LoginCallbackInfo* data);
  void ConnectLogin(EOS_EpicAccountId account_id, std::unique_ptr<LoginRequest> request);
  static void EOS_CALL ConnectLoginCompleteCb(const EOS_Connect_LoginCallbackInfo* data);
  void ConnectCreateUser(EOS_ContinuanceToken continuance_token,
                         std::unique_ptr<LoginRequest> request);
  static void EOS_CALL ConnectCreateUserCompleteCb(const EOS_Connect_CreateUserCallbackInfo* data);
  static void EOS_CALL ConnectAuthExpirationCb(const EOS_Connect_AuthExpirationCallbackInfo* data);

  // A product user was created: ask for the player's user info.
  void OnEpicPlatfromLoginSuccess(std::string local_product_userid,
                                  std::unique_ptr<LoginRequest> request);
  static void EOS_CALL
  QueryUserInfoCompleteCallbackFn(const EOS_UserInfo_QueryUserInfoCallbackInfo* data);
  // Answers the login with success; the display name is read when `ok`.
  void OnEpicPlatfromGetUserInfoFinish(bool ok, std::unique_ptr<LoginRequest> request);

  // --- sign-out ---

  // Answered before it returns. When this throws, the request has not been answered.
  void Logout(const BaseParams* params);
  static void EOS_CALL LogoutCompleteCallbackFn(const EOS_Auth_LogoutCallbackInfo* data);
  static void EOS_CALL
  DeletePersistentAuthCallback(const EOS_Auth_DeletePersistentAuthCallbackInfo* data);

 private:
  friend NoDestructor<EpicAuth>;
  EpicAuth();

  bool FetchAuthInterface();
  void IssueFirstLogin(std::unique_ptr<LoginClientData> client_data);
  void IssueDefaultLogin(std::unique_ptr<LoginClientData> client_data);
  void StoreToken(const EOS_Auth_Token& token, EOS_EpicAccountId account_id);
  void EndWithThirdError(std::unique_ptr<LoginRequest> request, EOS_EResult result,
                         const std::string& name);
  std::string CopyDisplayName();
  void CommitLogin(const BaseParams& params, const std::string& nickname);

  bool init_ = false;
  EOS_HConnect epic_connect_handle_ = nullptr;
  EOS_NotificationId auth_expiration_notify_id_ = 0;
  std::string access_token_;
  uint64_t expires_in_ = 0;  // seconds
  std::string refresh_token_;
  uint64_t refresh_expires_in_ = 0;  // seconds
  EOS_HPlatform epic_platform_handle_ = nullptr;
  std::string epic_account_id_;

  static EOS_HAuth epic_auth_handle_;
  static std::string& local_product_userid_;
};

}  // namespace zelk
