#include "zelk_epic_auth.h"

#include <memory>
#include <utility>

#include "auth/eos_values.h"
#include "auth/login_credentials.h"
#include "auth/login_request.h"
#include "auth/platform_options.h"
#include "core_contract/json.h"
#include "core_contract/login_parameters.h"
#include "core_contract/method_id.h"
#include "core_contract/mmkv.h"
#include "core_contract/results.h"
#include "core_contract/split_string.h"
#include "eos_auth.h"
#include "eos_connect.h"
#include "eos_init.h"
#include "eos_sdk.h"
#include "eos_userinfo.h"
#include "zelk_epic_boundary.h"
#include "zelk_epic_commit.h"
#include "zelk_epic_log.h"
#include "zelk_epic_no_destructor.h"
#include "zelk_epic_pending.h"
#include "zelk_epic_secret.h"

namespace zelk {

using enum EOS_EResult;
using enum EOS_EAuthScopeFlags;

namespace {

constexpr char kChannel[] = "Epic";
constexpr int32_t kChannelId = 24;

// The operations whose lines are written by more than one function.
constexpr char kLoginFunction[] = "zelk::EpicAuth::Login";
constexpr char kLoginCompleteFunction[] = "zelk::EpicAuth::LoginCompleteCallbackFn";
constexpr char kConnectLoginFunction[] = "zelk::EpicAuth::ConnectLogin";
constexpr char kFinishFunction[] = "zelk::EpicAuth::OnEpicPlatfromGetUserInfoFinish";

void EndWithNullPlatform(const BaseParams& params) {
  ZELK_LOG_AS(kLoginFunction, kLogError, "[%s], epic_platform_handle_ is null",
              params.seq_id.c_str());
  CommitCode<AuthResult>(params, kResultNotInitialized);
}

// Converts an identifier, whose kind `to_string` is for; `text` stays empty when EOS refuses. False
// when there is none.
template <class Id>
bool ConvertId(const char* function, Id id, EOS_EResult(EOS_CALL* to_string)(Id, char*, int32_t*),
               std::string& text) {
  if (id == nullptr) {
    ZELK_LOG_AS(function, kLogError, "account_id is NULL");
    return false;
  }
  char buffer[128] = {};
  int32_t size = sizeof buffer;
  const EOS_EResult result = to_string(id, buffer, &size);
  if (result != EOS_Success) {
    const std::string name = EpicAuth::EpicEResultToString(result);
    ZELK_LOG_AS(function, kLogError, "EOS_EpicAccountId_ToString error:%s", name.c_str());
    return true;
  }
  buffer[sizeof buffer - 1] = '\0';
  text = buffer;
  return true;
}

}  // namespace

// --- the object ---

EOS_HAuth EpicAuth::epic_auth_handle_ = nullptr;
static NoDestructor<std::string> product_userid_of_process;
std::string& EpicAuth::local_product_userid_ = product_userid_of_process.object;

EpicAuth::EpicAuth() { ZELK_LOG(kLogInfo, "EpicAuth construction"); }

EpicAuth* EpicAuth::GetInstance() {
  static NoDestructor<EpicAuth> instance;
  return &instance.object;
}

// --- the log bridge and the conversions ---

void EOS_CALL ZELK_EOSSDKLoggingCallback(const EOS_LogMessage* message) {
  if (message == nullptr || message->Level == EOS_ELogLevel::EOS_LOG_Off) return;
  ZELK_LOG(SdkLevel(message->Level), "[EOS SDK] %s: %s", TextOrEmpty(message->Category),
           TextOrEmpty(message->Message));
}

std::string EpicAuth::EpicAccountIdToString(EOS_EpicAccountId id) {
  std::string text;
  if (ConvertId("zelk::EpicAuth::EpicAccountIdToString", id, &EOS_EpicAccountId_ToString, text)) {
    ZELK_LOG(kLogInfo, "EOS_EpicAccountId_ToString result:%s", text.c_str());
  }
  return text;
}

std::string EpicAuth::EpicProductIdToString(EOS_ProductUserId id) {
  std::string text;
  if (ConvertId("zelk::EpicAuth::EpicProductIdToString", id, &EOS_ProductUserId_ToString, text)) {
    ZELK_LOG(kLogInfo, "EOS_ProductUserId_ToString result:%s", text.c_str());
  }
  return text;
}

std::string EpicAuth::EpicEResultToString(EOS_EResult result) {
  std::string text = TextOrEmpty(EOS_EResult_ToString(result));
  ZELK_LOG(kLogInfo, "EOS_EResult_ToString result:%s", text.c_str());
  return text;
}

void EpicAuth::LogAccountIdFromString(const char* openid) {
  ZELK_LOG_AS("zelk::EpicAuth::EpicAccountIdFromString", kLogInfo,
              "Call EOS_EpicAccountId_FromString, openid str:%s", openid);
}

EOS_EpicAccountId EpicAuth::EpicAccountIdFromString(std::string openid) {
  LogAccountIdFromString(openid.c_str());
  return EOS_EpicAccountId_FromString(openid.c_str());
}

// --- the platform ---

bool EpicAuth::InitEpic(const BaseParams& params) {
  ZELK_LOG(kLogInfo, "[%s], EpicAuth begin InitEpic, init_=%s", params.seq_id.c_str(),
           init_ ? "true" : "false");
  if (init_) return true;
  const PlatformConfig config;
  const EOS_InitializeOptions initialize{.ApiVersion = 3,
                                         .ProductName = config.product_name.c_str(),
                                         .ProductVersion = config.product_version.c_str()};
  EncryptionKey();  // takes memory, and EOS cannot be initialised a second time
  ZELK_LOG(kLogInfo, "Call EOS_Initialize");
  if (EOS_Initialize(&initialize) != EOS_Success) {
    ZELK_LOG(kLogError, "Epic SDK Init Failed!");
    return false;
  }
  ZELK_LOG(kLogInfo, "Call EOS_Logging_SetCallback");
  if (EOS_Logging_SetCallback(&ZELK_EOSSDKLoggingCallback) == EOS_Success) {
    ZELK_LOG(kLogInfo, "Call EOS_Logging_SetLogLevel");
    EOS_Logging_SetLogLevel(EOS_ELogCategory::EOS_LC_ALL_CATEGORIES,
                            EOS_ELogLevel::EOS_LOG_Verbose);
  } else {
    ZELK_LOG(kLogError, "EOS_Logging_SetCallback return failed!");  // EOS works on without it
  }
  const EOS_Platform_Options create = PlatformOptions(config);
  ZELK_LOG(kLogInfo, "Call EOS_Platform_Create");
  epic_platform_handle_ = EOS_Platform_Create(&create);
  if (epic_platform_handle_ == nullptr) {
    ZELK_LOG(kLogError, "[EOS SDK] Platform Create Failed!");
    return false;
  }
  ZELK_LOG(kLogInfo, "Epic SDK init success");
  init_ = true;
  return true;
}

// In this order. The platform counts as gone before its release begins, so that a completion that
// EOS runs during the release starts nothing new. The tokens go after it: a login that EOS
// completes during the release is still answered with them. EOS is shut down only when its platform
// is released. No EOS call follows but that for the name of a result.
void EpicAuth::ShutDown() {
  if (!init_) return;
  const EOS_HPlatform platform = std::exchange(epic_platform_handle_, nullptr);
  if (platform != nullptr) EOS_Platform_Release(platform);
  Wipe(access_token_);
  Wipe(refresh_token_);
  const EOS_EResult result = EOS_Shutdown();
  if (result != EOS_Success) {
    const std::string name = EpicEResultToString(result);
    ZELK_LOG(kLogWarning, "Epic EOS SDK, ShutDown failed with third error: ,%s", name.c_str());
  }
}

// Cached for the process, never reset: check the platform before any use.
bool EpicAuth::FetchAuthInterface() {
  if (epic_auth_handle_ == nullptr) {
    epic_auth_handle_ = EOS_Platform_GetAuthInterface(epic_platform_handle_);
  }
  return epic_auth_handle_ != nullptr;
}

// --- the login request ---

namespace {

EOS_EAuthScopeFlags ScopeFlags(const BaseParams& params, const std::string& permissions) {
  auto flags = EOS_AS_NoFlags;
  if (permissions.empty()) return flags;
  const char* seq_id = params.seq_id.c_str();
  zelk_tp_stl_c::vector<SdkString> words;
  SplitString(SdkString(permissions), SdkString(","), words, true);
  for (const SdkString& word : words) {
    ZELK_LOG_AS(kLoginFunction, kLogInfo, "[%s], permission:%s", seq_id, word.c_str());
    const EOS_EAuthScopeFlags flag = ScopeFlagOf(word.c_str());
    flags |= flag;
    if (flag != EOS_AS_NoFlags) continue;
    ZELK_LOG_AS(kLoginFunction, kLogWarning, "[%s], epic invalid permission: %s", seq_id,
                word.c_str());
  }
  return flags;
}

void LogPlayerAction(const EOS_Auth_LoginCallbackInfo& data) {
  if (data.ResultCode == EOS_Auth_PinGrantCode && data.PinGrantInfo != nullptr) {
    ZELK_LOG_AS(kLoginCompleteFunction, kLogWarning,
                "Waiting for PIN grant Code:%s URI:%s Expires:%d",
                TextOrEmpty(data.PinGrantInfo->UserCode),
                TextOrEmpty(data.PinGrantInfo->VerificationURI), data.PinGrantInfo->ExpiresIn);
  } else if (data.ResultCode == EOS_Auth_MFARequired) {
    ZELK_LOG_AS(kLoginCompleteFunction, kLogWarning,
                "MFA Code needs to be entered before logging in");
  }
}

struct LogAndRelease {
  void operator()(EOS_Auth_Token* token) const {
    ZELK_LOG_AS(kConnectLoginFunction, kLogInfo, "Call EOS_Auth_Token_Release");
    EOS_Auth_Token_Release(token);
  }
  void operator()(EOS_UserInfo* user_info) const {
    ZELK_LOG_AS(kFinishFunction, kLogInfo, "Call EOS_UserInfo_Release");
    EOS_UserInfo_Release(user_info);
  }
};

}  // namespace

void EpicAuth::Login(const BaseParams& params, const std::string& permissions) {
  const char* seq_id = params.seq_id.c_str();
  ZELK_LOG(kLogInfo, "[%s], EpicAuth begin login", seq_id);
  std::string extra_json;
  const WipeAtEnd wipe(extra_json);
  ReadLoginParameters(params, extra_json);
  const JSONReaderParse parameters(extra_json);
  if (!HasLoginMode(parameters)) return LoginEndWithInvalidArgument(params, kLoginModeKey);
  const EOS_EAuthScopeFlags scope_flags = ScopeFlags(params, permissions);
  if (!InitEpic(params)) {
    ZELK_LOG(kLogError, "[%s], Epic init error", seq_id);
    return CommitCode<AuthResult>(params, kResultNotInitialized);
  }
  if (epic_platform_handle_ == nullptr || !FetchAuthInterface()) return EndWithNullPlatform(params);
  std::string login_mode;
  parameters[kLoginModeKey].Convert(login_mode, false);
  ZELK_LOG(kLogInfo, "[%s], login_mode:%s", seq_id, login_mode.c_str());
  const LoginMode mode = FindLoginMode(login_mode);
  if (const char* key = MissingKey(mode, parameters)) {
    return LoginEndWithInvalidArgument(params, key);
  }
  auto client_data = std::make_unique<LoginClientData>();
  client_data->login_options_ = std::make_unique<LoginCredentials>(mode, parameters, scope_flags);
  client_data->base_params_ = std::make_unique<LoginRequest>(params);
  IssueFirstLogin(std::move(client_data));
  epic_connect_handle_ = EOS_Platform_GetConnectInterface(epic_platform_handle_);
  if (auth_expiration_notify_id_ != 0 || epic_connect_handle_ == nullptr) return;
  const EOS_Connect_AddNotifyAuthExpirationOptions options{.ApiVersion = 1};
  auth_expiration_notify_id_ = EOS_Connect_AddNotifyAuthExpiration(
      epic_connect_handle_, &options, nullptr, &ConnectAuthExpirationCb);
}

// With the persistent authorisation that EOS kept from an earlier sign-in; what the request brought
// is for the second attempt.
void EpicAuth::IssueFirstLogin(std::unique_ptr<LoginClientData> client_data) {
  const EOS_Auth_Credentials credentials{.ApiVersion = 2,
                                         .Type = EOS_ELoginCredentialType::EOS_LCT_PersistentAuth};
  const EOS_Auth_LoginOptions options{
      .ApiVersion = 2,
      .Credentials = &credentials,
      .ScopeFlags = client_data->login_options_->options().ScopeFlags};
  ZELK_LOG_AS(kLoginFunction, kLogInfo, "[%s], call EOS_Auth_Login",
              client_data->base_params_->params.seq_id.c_str());
  // Both before the hand-over: from then on the client data is not this step's any more, and EOS
  // may complete the login within the call.
  client_data->base_params_->owes_answer = true;
  ++client_data->completions_owed_;
  void* const handed_over = InFlight::HandOver(EosCall::kAuthLogin, std::move(client_data));
  EOS_Auth_Login(epic_auth_handle_, &options, handed_over, &LoginCompleteCallbackFn);
}

void EpicAuth::LoginEndWithInvalidArgument(const BaseParams& params,
                                           const std::string& argument_name) {
  ZELK_LOG(kLogError, "[%s], LoginEndWithInvalidArgument [%s]", params.seq_id.c_str(),
           argument_name.c_str());
  CommitCode<AuthResult>(params, kResultInvalidArgument);
}

void EpicAuth::LoginEndWithThirdError(const BaseParams& params, int32_t err_code,
                                      const std::string& err_msg) {
  ZELK_LOG(kLogError, "[%s], LoginEndWithThirdError, err_code:%d, err_msg:%s",
           params.seq_id.c_str(), err_code, err_msg.c_str());
  AuthResult result(kResultThirdError);
  result.method_id = params.method_id;
  result.third_code = err_code;
  result.third_msg = err_msg;
  Commit(params, result);
}

void EpicAuth::EndWithThirdError(std::unique_ptr<LoginRequest> request, EOS_EResult result,
                                 const std::string& name) {
  LoginEndWithThirdError(request->params, static_cast<int32_t>(result), name);
  request->owes_answer = false;
}

// --- what becomes of a login that no step of it ends ---

void LoginRequest::AnswerAfterShutdown() {
  if (owes_answer) EndWithNullPlatform(params);
  owes_answer = false;
}

LoginRequest::~LoginRequest() {
  const auto answer = [this] { CommitCode<AuthResult>(params, kResultUnknownError); };
  if (owes_answer) AtBoundary("zelk::LoginRequest::~LoginRequest", answer);
  Wipe(params.extra_json);
}

// --- the Auth login ---

void EOS_CALL EpicAuth::LoginCompleteCallbackFn(const EOS_Auth_LoginCallbackInfo* data) {
  AtBoundary(kLoginCompleteFunction, [data] {
    if (data == nullptr) return ZELK_LOG(kLogError, "NULL Data for LoginCompleteCallbackFn");
    auto client_data = InFlight::Reclaim<LoginClientData>(EosCall::kAuthLogin, data->ClientData);
    if (client_data != nullptr && !LoginCompletesAgain(data->ResultCode)) {
      --client_data->completions_owed_;
    }
    const std::string account = EpicAccountIdToString(data->LocalUserId);
    const std::string result = EpicEResultToString(data->ResultCode);
    ZELK_LOG(kLogInfo, "Login complete, result:%d user id:%s msg:%s", CodeOf(*data),
             account.c_str(), result.c_str());
    if (client_data == nullptr)
      return ZELK_LOG(kLogError, "LoginCompleteCallbackFn ClientData is null, memory leak");
    if (client_data->base_params_ == nullptr) {
      ZELK_LOG(kLogError, "LoginCompleteCallbackFn base_params_ is null, memory leak");
      return ReleaseLoginClientData(std::move(client_data));
    }
    EpicAuth* const auth = GetInstance();
    if (data->ResultCode == EOS_Success) {
      ZELK_LOG(kLogInfo, "Login success, user id:%s", account.c_str());
      std::unique_ptr<LoginRequest> request = std::move(client_data->base_params_);
      ReleaseLoginClientData(std::move(client_data));
      return auth->ConnectLogin(data->LocalUserId, std::move(request));
    }
    LogPlayerAction(*data);
    if (client_data->login_options_ != nullptr)
      return auth->IssueDefaultLogin(std::move(client_data));
    ZELK_LOG(kLogError, "Login Failed! Error Code:%d Msg:%s", CodeOf(*data), result.c_str());
    auth->EndWithThirdError(std::move(client_data->base_params_), data->ResultCode, result);
    ReleaseLoginClientData(std::move(client_data));
  });
}

// With the login mode's own credentials. The same client data goes back to EOS, so if it
// completed the first attempt twice, that would count as the second's completion.
void EpicAuth::IssueDefaultLogin(std::unique_ptr<LoginClientData> client_data) {
  if (epic_platform_handle_ == nullptr) return InFlight::Return(std::move(client_data));
  ZELK_LOG_AS(kLoginCompleteFunction, kLogInfo, "enter default login flow");
  // Moved to the stack: destroyed when the call has returned.
  const std::unique_ptr<LoginCredentials> credentials = std::move(client_data->login_options_);
  ++client_data->completions_owed_;
  void* const handed_over = InFlight::HandOver(EosCall::kAuthLogin, std::move(client_data));
  EOS_Auth_Login(epic_auth_handle_, &credentials->options(), handed_over, &LoginCompleteCallbackFn);
}

// --- the Connect login ---

void EpicAuth::ConnectLogin(EOS_EpicAccountId account_id, std::unique_ptr<LoginRequest> request) {
  if (epic_platform_handle_ == nullptr) return InFlight::Return(std::move(request));
  const EOS_Auth_CopyUserAuthTokenOptions copy_options{.ApiVersion = 1};
  EOS_Auth_Token* copy = nullptr;
  ZELK_LOG(kLogInfo, "Call EOS_Auth_CopyUserAuthToken");
  EOS_EResult result =
      EOS_Auth_CopyUserAuthToken(epic_auth_handle_, &copy_options, account_id, &copy);
  const std::unique_ptr<EOS_Auth_Token, LogAndRelease> token(copy);
  if (result == EOS_Success && token == nullptr) result = EOS_UnexpectedError;
  if (result == EOS_Success) StoreToken(*token, account_id);
  // What EOS makes of a call without its interface.
  if (result == EOS_Success && epic_connect_handle_ == nullptr) result = EOS_InvalidParameters;
  if (result != EOS_Success)
    return EndWithThirdError(std::move(request), result, EpicEResultToString(result));
  const EOS_Connect_Credentials credentials{.ApiVersion = 1,
                                            .Token = token->AccessToken,
                                            .Type = EOS_EExternalCredentialType::EOS_ECT_EPIC};
  const EOS_Connect_LoginOptions options{.ApiVersion = 2, .Credentials = &credentials};
  // The token, to which the credentials point, is released after the call.
  ZELK_LOG(kLogInfo, "Call EOS_Connect_Login");
  void* const handed_over = InFlight::HandOver(EosCall::kConnectLogin, std::move(request));
  EOS_Connect_Login(epic_connect_handle_, &options, handed_over, &ConnectLoginCompleteCb);
}

void EpicAuth::StoreToken(const EOS_Auth_Token& token, EOS_EpicAccountId account_id) {
  std::string account = EpicAccountIdToString(account_id);  // may throw: nothing is stored by then
  Wipe(access_token_);
  access_token_ = TextOrEmpty(token.AccessToken);
  expires_in_ = WholeSeconds(token.ExpiresIn);
  epic_account_id_ = std::move(account);
  Wipe(refresh_token_);
  refresh_token_ = TextOrEmpty(token.RefreshToken);
  refresh_expires_in_ = WholeSeconds(token.RefreshExpiresIn);
  ZELK_LOG_AS(kConnectLoginFunction, kLogInfo,
              "Got accessToken:%s expiration:%0.2f epic_account_id_:%s", access_token_.c_str(),
              static_cast<double>(expires_in_), epic_account_id_.c_str());
}

void EOS_CALL EpicAuth::ConnectLoginCompleteCb(const EOS_Connect_LoginCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::ConnectLoginCompleteCb", [data] {
    if (data == nullptr) return ZELK_LOG(kLogError, "NULL Data for ConnectLoginCompleteCb");
    auto request = InFlight::Reclaim<LoginRequest>(EosCall::kConnectLogin, data->ClientData);
    local_product_userid_ = EpicProductIdToString(data->LocalUserId);
    const std::string result = EpicEResultToString(data->ResultCode);
    if (request == nullptr)
      return ZELK_LOG(kLogError, "NULL ClientData for ConnectLoginCompleteCb");
    ZELK_LOG(kLogInfo, "Connect Login complete, result:%d localProductUserId:%s msg:%s",
             CodeOf(*data), local_product_userid_.c_str(), result.c_str());
    EpicAuth* const auth = GetInstance();
    if (data->ResultCode == EOS_Success) {
      ZELK_LOG(kLogInfo, "Connect Login success, localUserId:%s", local_product_userid_.c_str());
      auth->OnEpicPlatfromGetUserInfoFinish(true, std::move(request));
    } else if (data->ResultCode == EOS_InvalidUser) {
      ZELK_LOG(kLogWarning, "Invalid user, try to connect create user");
      auth->ConnectCreateUser(data->ContinuanceToken, std::move(request));
    } else {
      ZELK_LOG(kLogError, "Connect Login Failed! Error Code:%d Msg:%s", CodeOf(*data),
               result.c_str());
      auth->EndWithThirdError(std::move(request), data->ResultCode, result);
    }
  });
}

void EpicAuth::ConnectCreateUser(EOS_ContinuanceToken continuance_token,
                                 std::unique_ptr<LoginRequest> request) {
  if (epic_platform_handle_ == nullptr) return InFlight::Return(std::move(request));
  if (epic_connect_handle_ == nullptr)
    return EndWithThirdError(std::move(request), EOS_InvalidParameters,
                             EpicEResultToString(EOS_InvalidParameters));
  const EOS_Connect_CreateUserOptions options{.ApiVersion = 1,
                                              .ContinuanceToken = continuance_token};
  ZELK_LOG(kLogInfo, "Call EOS_Connect_CreateUser");
  void* const handed_over = InFlight::HandOver(EosCall::kConnectCreateUser, std::move(request));
  EOS_Connect_CreateUser(epic_connect_handle_, &options, handed_over, &ConnectCreateUserCompleteCb);
}

void EOS_CALL
EpicAuth::ConnectCreateUserCompleteCb(const EOS_Connect_CreateUserCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::ConnectCreateUserCompleteCb", [data] {
    if (data == nullptr) return ZELK_LOG(kLogError, "NULL Data for ConnectCreateUserCompleteCb");
    auto request = InFlight::Reclaim<LoginRequest>(EosCall::kConnectCreateUser, data->ClientData);
    if (request == nullptr)
      return ZELK_LOG(kLogError, "nullptr ClientData for ConnectCreateUserCompleteCb");
    if (data->ResultCode != EOS_Success)
      return GetInstance()->EndWithThirdError(std::move(request), data->ResultCode,
                                              EpicEResultToString(data->ResultCode));
    const std::string product_user = EpicProductIdToString(data->LocalUserId);
    const std::string result = EpicEResultToString(data->ResultCode);
    ZELK_LOG(kLogInfo, "Connect Create User complete, result:%d local_product_userid:%s msg:%s",
             CodeOf(*data), product_user.c_str(), result.c_str());
    GetInstance()->OnEpicPlatfromLoginSuccess(product_user, std::move(request));
  });
}

void EOS_CALL
EpicAuth::ConnectAuthExpirationCb(const EOS_Connect_AuthExpirationCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::ConnectAuthExpirationCb", [data] {
    if (data == nullptr) return ZELK_LOG(kLogError, "NULL Data for CallbackFn");
    const std::string product_user = EpicProductIdToString(data->LocalUserId);
    ZELK_LOG(kLogWarning, "Connect Auth Expiring - ProductUserId: %s", product_user.c_str());
  });
}

// --- the user info and the result ---

void EpicAuth::OnEpicPlatfromLoginSuccess(std::string local_product_userid,
                                          std::unique_ptr<LoginRequest> request) {
  local_product_userid_ = std::move(local_product_userid);
  ZELK_LOG(kLogInfo, "Epic platform login success, account_id:%s local_product_userid:%s",
           epic_account_id_.c_str(), local_product_userid_.c_str());
  ZELK_LOG(kLogInfo, "Next to get UserInfo");
  if (epic_platform_handle_ == nullptr) return InFlight::Return(std::move(request));
  ZELK_LOG(kLogInfo, "Call EOS_Platform_GetUserInfoInterface");
  const EOS_HUserInfo user_info = EOS_Platform_GetUserInfoInterface(epic_platform_handle_);
  if (user_info == nullptr) return OnEpicPlatfromGetUserInfoFinish(false, std::move(request));
  const EOS_EpicAccountId account_id = EpicAccountIdFromString(epic_account_id_);
  const EOS_UserInfo_QueryUserInfoOptions options{
      .ApiVersion = 1, .LocalUserId = account_id, .TargetUserId = account_id};
  ZELK_LOG(kLogInfo, "Call EOS_UserInfo_QueryUserInfoOptions");
  void* const handed_over = InFlight::HandOver(EosCall::kQueryUserInfo, std::move(request));
  EOS_UserInfo_QueryUserInfo(user_info, &options, handed_over, &QueryUserInfoCompleteCallbackFn);
}

void EOS_CALL
EpicAuth::QueryUserInfoCompleteCallbackFn(const EOS_UserInfo_QueryUserInfoCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::QueryUserInfoCompleteCallbackFn", [data] {
    if (data == nullptr)
      return ZELK_LOG(kLogError, "NULL Data for QueryUserInfoCompleteCallbackFn");
    auto request = InFlight::Reclaim<LoginRequest>(EosCall::kQueryUserInfo, data->ClientData);
    if (request == nullptr)
      return ZELK_LOG(kLogError, "nullptr ClientData for QueryUserInfoCompleteCallbackFn");
    const std::string account = EpicAccountIdToString(data->LocalUserId);
    const std::string result = EpicEResultToString(data->ResultCode);
    ZELK_LOG(kLogInfo, "Query UserInfo complete, result:%d local_user_id:%s msg:%s", CodeOf(*data),
             account.c_str(), result.c_str());
    const bool ok = data->ResultCode == EOS_Success;
    if (ok) {
      ZELK_LOG(kLogInfo, "Query UserInfo success, local_user_id:%s ", account.c_str());
    } else {
      ZELK_LOG(kLogError, "Query User Info error:%d msg:%s", CodeOf(*data), result.c_str());
    }
    GetInstance()->OnEpicPlatfromGetUserInfoFinish(ok, std::move(request));
  });
}

void EpicAuth::OnEpicPlatfromGetUserInfoFinish(bool ok, std::unique_ptr<LoginRequest> request) {
  if (request == nullptr)
    return ZELK_LOG(kLogError, "null baseparams in OnEpicPlatfromGetUserInfoFinish");
  ZELK_LOG(kLogInfo, "Query UserInfo finish, result:%d", ok ? 1 : 0);
  std::string nickname;
  if (ok) {
    ZELK_LOG(kLogInfo, "Query UserInfo success, start to get Display Name");
    nickname = CopyDisplayName();
  } else {
    ZELK_LOG(kLogError, "Query UserInfo failed");
  }
  CommitLogin(request->params, nickname);
  request->owes_answer = false;
  if (request->params.method_id == kMethodIDAuthLogin) {
    Store()->set(request->params.extra_json, kStoredParametersKey);
  }
}

// The display name of the signed-in account as EOS has it; empty when EOS has none, or is going
// down.
std::string EpicAuth::CopyDisplayName() {
  const EOS_HUserInfo user_info = epic_platform_handle_ != nullptr
                                      ? EOS_Platform_GetUserInfoInterface(epic_platform_handle_)
                                      : nullptr;
  EOS_UserInfo* copy = nullptr;
  EOS_EResult result = EOS_InvalidParameters;
  if (user_info != nullptr) {
    const EOS_EpicAccountId account_id = EpicAccountIdFromString(epic_account_id_);
    const EOS_UserInfo_CopyUserInfoOptions options{
        .ApiVersion = 1, .LocalUserId = account_id, .TargetUserId = account_id};
    ZELK_LOG_AS(kFinishFunction, kLogInfo, "Call EOS_UserInfo_CopyUserInfo");
    result = EOS_UserInfo_CopyUserInfo(user_info, &options, &copy);
  }
  const std::unique_ptr<EOS_UserInfo, LogAndRelease> owned(copy);
  if (copy == nullptr || result != EOS_Success) {
    ZELK_LOG_AS(kFinishFunction, kLogError, "Copy UserInfo failed");
    return "";
  }
  ZELK_LOG_AS(kFinishFunction, kLogInfo, "Copy UserInfo success, display name:%s",
              TextOrEmpty(copy->DisplayName));
  return TextOrEmpty(copy->DisplayName);
}

void EpicAuth::CommitLogin(const BaseParams& params, const std::string& nickname) {
  JSONWriter document;
  document.StartJsonConvert();
  document.Convert("access_token", access_token_, kJsonText)
      .Convert("expires_in", static_cast<long long>(expires_in_))
      .Convert("refresh_token", refresh_token_, kJsonText)
      .Convert("refresh_expires_in", static_cast<long long>(refresh_expires_in_))
      .Convert("nickname", nickname, kJsonText)
      .Convert("productUserID", local_product_userid_, kJsonText)
      .Convert("openid", epic_account_id_, kJsonText)
      .Convert("flag", 0)
      .Convert("desc", "Epic login success", kJsonText)
      .Convert("channel", kChannel, kJsonText);
  document.EndJsonConvert();
  ZELK_LOG_AS(kFinishFunction, kLogInfo, "display name:%s", nickname.c_str());

  AuthPluginResult result;
  result.method_id = params.method_id;
  result.channel = kChannel;
  result.channelid = kChannelId;
  result.openid = epic_account_id_;
  const WipeAtEnd wipe(result.channel_info);
  result.channel_info = document.GetJsonString();
  if (params.method_id == kMethodIDAuthAutoLogin) {
    JSONWriter flags;
    flags.StartJsonConvert();
    flags.Convert("autoLoginFlags", false);
    flags.EndJsonConvert();
    result.extra_json = flags.GetJsonString();
  }
  Commit(params, result);
}

// --- sign-out ---

void EpicAuth::Logout(const BaseParams* params) {
  ZELK_LOG(kLogInfo, "[ %s ], epic logout", params->seq_id.c_str());
  Store()->removeValueForKey(kStoredParametersKey);
  // EOS keeps its persistent authorisation once it is shut down.
  const bool is_shut_down = init_ && epic_platform_handle_ == nullptr;
  if (!is_shut_down) {
    if (!FetchAuthInterface()) return;
    const EOS_Auth_LogoutOptions logout{.ApiVersion = 1,
                                        .LocalUserId = EpicAccountIdFromString(epic_account_id_)};
    EOS_Auth_Logout(epic_auth_handle_, &logout, nullptr, &LogoutCompleteCallbackFn);
    const EOS_Auth_DeletePersistentAuthOptions forget{.ApiVersion = 2, .RefreshToken = nullptr};
    EOS_Auth_DeletePersistentAuth(epic_auth_handle_, &forget, nullptr,
                                  &DeletePersistentAuthCallback);
  }
  epic_account_id_.clear();
  Wipe(access_token_);
  local_product_userid_.clear();
  expires_in_ = 0;
  Wipe(refresh_token_);
  refresh_expires_in_ = 0;
  CommitCode<BaseResult>(*params, is_shut_down ? kResultNotInitialized : kResultSuccess);
}

void EOS_CALL EpicAuth::LogoutCompleteCallbackFn(const EOS_Auth_LogoutCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::LogoutCompleteCallbackFn", [data] {
    if (data == nullptr) return ZELK_LOG(kLogError, "NULL Data for CallbackFn");
    if (data->ResultCode == EOS_Success) {
      const std::string account = EpicAccountIdToString(data->LocalUserId);
      return ZELK_LOG(kLogInfo, "[EOS SDK] Logout Success - User: %s", account.c_str());
    }
    const std::string result = EpicEResultToString(data->ResultCode);
    const std::string account = EpicAccountIdToString(data->LocalUserId);
    ZELK_LOG(kLogInfo, "[EOS SDK] Logout Failed - User: %s, Result: %s", account.c_str(),
             result.c_str());
  });
}

void EOS_CALL
EpicAuth::DeletePersistentAuthCallback(const EOS_Auth_DeletePersistentAuthCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::DeletePersistentAuthCallback", [data] {
    if (data == nullptr) return ZELK_LOG(kLogError, "NULL Data for CallbackFn");
    if (data->ResultCode == EOS_Success)
      return ZELK_LOG(kLogInfo, "[EOS SDK] DeletePersistentAuth Success");
    const std::string result = EpicEResultToString(data->ResultCode);
    ZELK_LOG(kLogInfo, "[EOS SDK] DeletePersistentAuth Failed: %s", result.c_str());
  });
}

}  // namespace zelk
