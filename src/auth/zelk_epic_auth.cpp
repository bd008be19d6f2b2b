#include "zelk_epic_auth.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

#include <windows.h>

#include "core_contract/config.h"
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

namespace zelk {
namespace {

constexpr char kChannel[] = "Epic";
constexpr int32_t kChannelId = 24;

// The operations whose lines are written by more than one function.
constexpr char kLoginFunction[] = "zelk::EpicAuth::Login";
constexpr char kConnectLoginFunction[] = "zelk::EpicAuth::ConnectLogin";
constexpr char kInitEpicFunction[] = "zelk::EpicAuth::InitEpic";
constexpr char kFinishFunction[] = "zelk::EpicAuth::OnEpicPlatfromGetUserInfoFinish";

const char* TextOrEmpty(const char* text) { return text != nullptr ? text : ""; }

MMKV* Store() { return MMKV::defaultMMKV(kMmkvSingleProcess, nullptr); }

}  // namespace

// --- the request of a login, on its way through EOS ---

// The heap copy of a login's request. From OweAnswer on it owes the core one answer: whoever ends
// the request gives it, and if nobody could, the copy does as it goes.
struct LoginRequest final : PendingContext {
  explicit LoginRequest(const BaseParams& request) : params(request) {}

  void OweAnswer() { owes_answer_ = true; }
  // False once it was answered: a completion that comes again finds nothing left to do.
  bool owes_answer() const { return owes_answer_; }
  void Answered() { owes_answer_ = false; }

  void AnswerAfterShutdown() override;
  void End() noexcept override;

  BaseParams params;

 private:
  bool owes_answer_ = false;
};

namespace {

// A text that leaves no trace in memory.
class SecretText {
 public:
  SecretText() = default;
  SecretText(const SecretText&) = delete;
  SecretText& operator=(const SecretText&) = delete;
  ~SecretText() { Wipe(); }

  void Wipe() {
    volatile char* text = text_.data();
    for (std::size_t i = 0; i < text_.size(); ++i) text[i] = 0;
    text_.clear();
  }
  std::string& text() { return text_; }

 private:
  std::string text_;
};

struct ReleaseLoginOptions {
  void operator()(EOS_Auth_LoginOptions* options) const {
    delete options->Credentials;
    delete options;
  }
};
using LoginOptions = std::unique_ptr<EOS_Auth_LoginOptions, ReleaseLoginOptions>;

}  // namespace

// The client data of both EOS_Auth_Login attempts.
struct LoginClientData final : PendingContext {
  void AnswerAfterShutdown() override {
    if (base_params_ != nullptr) base_params_->AnswerAfterShutdown();
  }
  void End() noexcept override {
    login_options_.reset();
    base_params_.reset();
    id_.Wipe();
    token_.Wipe();
  }

  LoginOptions login_options_;         // the login mode's own attempt; null once it was issued
  Pending<LoginRequest> base_params_;  // null once it was handed on or answered
  SecretText id_;                      // what the attempt's credentials point to
  SecretText token_;
};

namespace {

// Frees the client data with everything in it.
void ReleaseLoginClientData(Pending<LoginClientData> client_data) { client_data.reset(); }

void CommitAuthResult(const BaseParams& params, AuthResult& result) {
  result.method_id = params.method_id;
  Commit(params, result);
}

void EndWithoutPlatform(const BaseParams& params) {
  AuthResult result(kResultNotInitialized);
  CommitAuthResult(params, result);
}

void EndWithNullPlatform(const BaseParams& params) {
  ZELK_LOG_AS(kLoginFunction, kLogError, "[%s], epic_platform_handle_ is null",
              params.seq_id.c_str());
  EndWithoutPlatform(params);
}

}  // namespace

void LoginRequest::AnswerAfterShutdown() {
  if (!owes_answer_) return;
  EndWithNullPlatform(params);
  Answered();
}

void LoginRequest::End() noexcept {
  if (!owes_answer_) return;
  AtBoundary("zelk::LoginRequest::End", [this] {
    AuthResult result(kResultUnknownError);
    CommitAuthResult(params, result);
  });
  Answered();
}

// --- the object ---

EOS_HAuth EpicAuth::epic_auth_handle_ = nullptr;
std::string EpicAuth::local_product_userid_;

EpicAuth::EpicAuth() { ZELK_LOG(kLogInfo, "EpicAuth construction"); }

EpicAuth* EpicAuth::GetInstance() {
  static auto* const instance = new EpicAuth;
  return instance;
}

// --- the log bridge and the conversions ---

namespace {

struct LevelRow {
  EOS_ELogLevel eos;
  LogLevel sdk;
};
constexpr std::array kLevels{
    LevelRow{EOS_ELogLevel::EOS_LOG_Fatal, kLogError},
    LevelRow{EOS_ELogLevel::EOS_LOG_Error, kLogError},
    LevelRow{EOS_ELogLevel::EOS_LOG_Warning, kLogWarning},
};

LogLevel SdkLevel(EOS_ELogLevel level) {
  for (const LevelRow& row : kLevels) {
    if (row.eos == level) return row.sdk;
  }
  return kLogInfo;
}

constexpr int32_t kIdTextSize = 128;

// What EOS_EpicAccountId_ToString and EOS_ProductUserId_ToString have in common.
template <class Id>
std::string IdText(const char* function, const char* eos_function, Id id,
                   EOS_EResult(EOS_CALL* to_string)(Id, char*, int32_t*)) {
  std::string text;
  if (id == nullptr) {
    ZELK_LOG_AS(function, kLogError, "account_id is NULL");
    return text;
  }
  char buffer[kIdTextSize] = {};
  int32_t size = kIdTextSize;
  const EOS_EResult result = to_string(id, buffer, &size);
  if (result != EOS_EResult::EOS_Success) {
    const std::string name = EpicAuth::EpicEResultToString(result);
    ZELK_LOG_AS(function, kLogError, "EOS_EpicAccountId_ToString error:%s", name.c_str());
  } else {
    buffer[kIdTextSize - 1] = '\0';
    text = buffer;
  }
  ZELK_LOG_AS(function, kLogInfo, "%s result:%s", eos_function, text.c_str());
  return text;
}

}  // namespace

void EOS_CALL ZELK_EOSSDKLoggingCallback(const EOS_LogMessage* message) {
  if (message == nullptr || message->Level == EOS_ELogLevel::EOS_LOG_Off) return;
  ZELK_LOG(SdkLevel(message->Level), "[EOS SDK] %s: %s", TextOrEmpty(message->Category),
           TextOrEmpty(message->Message));
}

std::string EpicAuth::EpicAccountIdToString(EOS_EpicAccountId id) {
  return IdText("zelk::EpicAuth::EpicAccountIdToString", "EOS_EpicAccountId_ToString", id,
                &EOS_EpicAccountId_ToString);
}

std::string EpicAuth::EpicProductIdToString(EOS_ProductUserId id) {
  return IdText("zelk::EpicAuth::EpicProductIdToString", "EOS_ProductUserId_ToString", id,
                &EOS_ProductUserId_ToString);
}

std::string EpicAuth::EpicEResultToString(EOS_EResult result) {
  std::string text = TextOrEmpty(EOS_EResult_ToString(result));
  ZELK_LOG(kLogInfo, "EOS_EResult_ToString result:%s", text.c_str());
  return text;
}

EOS_EpicAccountId EpicAuth::EpicAccountIdFromString(std::string openid) {
  ZELK_LOG(kLogInfo, "Call EOS_EpicAccountId_FromString, openid str:%s", openid.c_str());
  return EOS_EpicAccountId_FromString(openid.c_str());
}

// --- the platform ---

namespace {

// The configuration of the platform, in the order in which it is read.
struct PlatformConfig {
  static SdkString Read(const char* key) { return Config::GetString(key, "", kLogTag); }

  SdkString product_name = Read("EPIC_PRODUCT_NAME");
  SdkString product_version = Read("EPIC_PRODUCT_VERSION");
  SdkString product_id = Read("EPIC_PRODUCT_ID");
  SdkString sandbox_id = Read("EPIC_SANDBOX_ID");
  SdkString deployment_id = Read("EPIC_DEPLOYMENT_ID");
  SdkString client_id = Read("EPIC_CLIENT_ID");
  SdkString client_secret = Read("EPIC_CLIENT_SECRET");
};

constexpr bool IsEncryptionKey(std::string_view key) {
  return key.size() == 64 &&
         key.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}
static_assert(IsEncryptionKey(ZELK_ENCRYPTION_KEY),
              "ZELK_ENCRYPTION_KEY must be 64 hexadecimal digits");

// The key of what EOS keeps on disk.
const char* EncryptionKey() {
  static const std::string encryption_key = ZELK_ENCRYPTION_KEY;
  return encryption_key.c_str();
}

// The temporary-files directory, where EOS keeps what outlives the process. Asked for until there
// is an answer.
const char* CacheDirectory() {
  constexpr DWORD kSize = 1024;
  static char cache_directory[kSize];
  if (cache_directory[0] == '\0') GetTempPathA(kSize, cache_directory);
  return cache_directory;
}

bool InitializeEos(const PlatformConfig& config) {
  const EOS_InitializeOptions options{
      .ApiVersion = 3,
      .AllocateMemoryFunction = nullptr,
      .ReallocateMemoryFunction = nullptr,
      .ReleaseMemoryFunction = nullptr,
      .ProductName = config.product_name.c_str(),
      .ProductVersion = config.product_version.c_str(),
      .Reserved = nullptr,
      .SystemInitializeOptions = nullptr,
  };
  ZELK_LOG_AS(kInitEpicFunction, kLogInfo, "Call EOS_Initialize");
  return EOS_Initialize(&options) == EOS_EResult::EOS_Success;
}

// EOS works on without it when this fails.
void BridgeEosLog() {
  ZELK_LOG_AS(kInitEpicFunction, kLogInfo, "Call EOS_Logging_SetCallback");
  if (EOS_Logging_SetCallback(&ZELK_EOSSDKLoggingCallback) != EOS_EResult::EOS_Success) {
    ZELK_LOG_AS(kInitEpicFunction, kLogError, "EOS_Logging_SetCallback return failed!");
    return;
  }
  ZELK_LOG_AS(kInitEpicFunction, kLogInfo, "Call EOS_Logging_SetLogLevel");
  EOS_Logging_SetLogLevel(EOS_ELogCategory::EOS_LC_ALL_CATEGORIES, EOS_ELogLevel::EOS_LOG_Verbose);
}

EOS_HPlatform CreateEosPlatform(const PlatformConfig& config) {
  EOS_Platform_Options options{};
  options.ApiVersion = 7;
  options.ProductId = config.product_id.c_str();
  options.SandboxId = config.sandbox_id.c_str();
  options.ClientCredentials.ClientId = config.client_id.c_str();
  options.ClientCredentials.ClientSecret = config.client_secret.c_str();
  options.bIsServer = EOS_FALSE;
  options.EncryptionKey = EncryptionKey();
  options.DeploymentId = config.deployment_id.c_str();
  options.CacheDirectory = CacheDirectory();
  ZELK_LOG_AS(kInitEpicFunction, kLogInfo, "Call EOS_Platform_Create");
  return EOS_Platform_Create(&options);
}

}  // namespace

bool EpicAuth::InitEpic(const BaseParams& params) {
  ZELK_LOG(kLogInfo, "[%s], EpicAuth begin InitEpic, init_=%s", params.seq_id.c_str(),
           init_ ? "true" : "false");
  if (init_) return true;
  const PlatformConfig config;
  EncryptionKey();  // needs memory, and EOS cannot be initialised a second time
  if (!InitializeEos(config)) {
    ZELK_LOG(kLogError, "Epic SDK Init Failed!");
    return false;
  }
  BridgeEosLog();
  epic_platform_handle_ = CreateEosPlatform(config);
  if (epic_platform_handle_ == nullptr) {
    ZELK_LOG(kLogError, "[EOS SDK] Platform Create Failed!");
    return false;
  }
  ZELK_LOG(kLogInfo, "Epic SDK init success");
  init_ = true;
  return true;
}

void EpicAuth::Tick() {
  if (epic_platform_handle_ != nullptr) EOS_Platform_Tick(epic_platform_handle_);
}

// The platform counts as gone before its release begins: a completion that EOS runs during the
// release starts nothing new.
void EpicAuth::ShutDown() {
  if (!init_) return;
  const EOS_HPlatform platform = std::exchange(epic_platform_handle_, nullptr);
  if (platform != nullptr) EOS_Platform_Release(platform);
  const EOS_EResult result = EOS_Shutdown();
  if (result != EOS_EResult::EOS_Success) {
    const std::string name = EpicEResultToString(result);
    ZELK_LOG(kLogWarning, "Epic EOS SDK, ShutDown failed with third error: ,%s", name.c_str());
  }
}

// Kept once it was had, also when the platform is gone: check the platform before any use.
bool EpicAuth::FetchAuthInterface() {
  if (epic_auth_handle_ == nullptr) {
    epic_auth_handle_ = EOS_Platform_GetAuthInterface(epic_platform_handle_);
  }
  return epic_auth_handle_ != nullptr;
}

// --- the login request ---

namespace {

struct LoginMode {
  std::string_view word;
  EOS_ELoginCredentialType type;
  const char* id_key;     // where the credentials' Id comes from, if they have one
  const char* token_key;  // likewise their Token
};
#define ZELK_ROW(word, type, id_key, token_key) \
  LoginMode{word, EOS_ELoginCredentialType::type, id_key, token_key},
constexpr std::array kLoginModes{ZELK_LOGIN_MODES(ZELK_ROW)};
#undef ZELK_ROW
// Any other word goes to EOS as it is, without credentials: EOS says what is wrong with it.
constexpr LoginMode kOtherLoginMode{"", EOS_ELoginCredentialType::EOS_LCT_Password, nullptr,
                                    nullptr};

const LoginMode& FindLoginMode(std::string_view word) {
  const auto row = std::ranges::find(kLoginModes, word, &LoginMode::word);
  return row != kLoginModes.end() ? *row : kOtherLoginMode;
}

struct Permission {
  std::string_view word;
  EOS_EAuthScopeFlags scope_flag;
};
#define ZELK_ROW(word, scope_flag) Permission{word, EOS_EAuthScopeFlags::scope_flag},
constexpr std::array kPermissions{ZELK_PERMISSIONS(ZELK_ROW)};
#undef ZELK_ROW

bool HasLoginMode(const JSONReaderParse& parameters) {
  return parameters.IsObject() && parameters.HasMember(kLoginModeKey);
}

// The request's own parameters; for an automatic login without any, those of the last successful
// login.
std::string LoginParameters(const BaseParams& params) {
  std::string parameters = params.extra_json;
  if (params.method_id == kMethodIDAuthLogin) {
    Store()->removeValueForKey(kStoredParametersKey);
  } else if (params.method_id == kMethodIDAuthAutoLogin &&
             !HasLoginMode(JSONReaderParse(parameters))) {
    parameters.clear();
    Store()->getString(kStoredParametersKey, parameters);
  }
  return parameters;
}

int32_t ScopeFlag(const BaseParams& params, const char* word) {
  ZELK_LOG_AS(kLoginFunction, kLogInfo, "[%s], permission:%s", params.seq_id.c_str(), word);
  const auto row = std::ranges::find(kPermissions, std::string_view(word), &Permission::word);
  if (row != kPermissions.end()) return static_cast<int32_t>(row->scope_flag);
  ZELK_LOG_AS(kLoginFunction, kLogWarning, "[%s], epic invalid permission: %s",
              params.seq_id.c_str(), word);
  return 0;
}

int32_t ScopeFlags(const BaseParams& params, const std::string& permissions) {
  int32_t flags = 0;
  if (permissions.empty()) return flags;
  zelk_tp_stl_c::vector<SdkString> words;
  SplitString(SdkString(permissions), SdkString(","), words, true);
  for (const SdkString& word : words) flags |= ScopeFlag(params, word.c_str());
  return flags;
}

LoginOptions MakeLoginOptions(EOS_ELoginCredentialType type, int32_t scope_flags) {
  auto credentials = std::make_unique<EOS_Auth_Credentials>();
  credentials->ApiVersion = 2;
  credentials->Type = type;
  LoginOptions options(new EOS_Auth_LoginOptions{});
  options->ApiVersion = 2;
  options->Credentials = credentials.release();
  options->ScopeFlags = static_cast<EOS_EAuthScopeFlags>(scope_flags);
  return options;
}

// The first of the mode's keys that the parameters lack, or null.
const char* MissingKey(const LoginMode& mode, const JSONReaderParse& parameters) {
  for (const char* key : {mode.id_key, mode.token_key}) {
    if (key != nullptr && !parameters.HasMember(key)) return key;
  }
  return nullptr;
}

// Reads the member `key` into `text`, which has to outlive the credentials; null without a key.
const char* ReadSecret(const JSONReaderParse& parameters, const char* key, SecretText& text) {
  if (key == nullptr) return nullptr;
  parameters[key].Convert(text.text(), false);
  return text.text().c_str();
}

Pending<LoginClientData> MakeLoginClientData(const BaseParams& params, const LoginMode& mode,
                                             const JSONReaderParse& parameters,
                                             int32_t scope_flags) {
  auto client_data = MakePending<LoginClientData>();
  client_data->login_options_ = MakeLoginOptions(mode.type, scope_flags);
  // Made as const only to be handed to EOS as such.
  auto* credentials = const_cast<EOS_Auth_Credentials*>(client_data->login_options_->Credentials);
  credentials->Id = ReadSecret(parameters, mode.id_key, client_data->id_);
  credentials->Token = ReadSecret(parameters, mode.token_key, client_data->token_);
  client_data->base_params_ = MakePending<LoginRequest>(params);
  return client_data;
}

}  // namespace

void EpicAuth::Login(const BaseParams& params, const std::string& permissions) {
  const char* seq_id = params.seq_id.c_str();
  ZELK_LOG(kLogInfo, "[%s], EpicAuth begin login", seq_id);
  const JSONReaderParse parameters(LoginParameters(params));
  if (!HasLoginMode(parameters)) return LoginEndWithInvalidArgument(params, kLoginModeKey);
  const int32_t scope_flags = ScopeFlags(params, permissions);
  if (!InitEpic(params)) {
    ZELK_LOG(kLogError, "[%s], Epic init error", seq_id);
    return EndWithoutPlatform(params);
  }
  if (epic_platform_handle_ == nullptr || !FetchAuthInterface()) return EndWithNullPlatform(params);
  std::string login_mode;
  parameters[kLoginModeKey].Convert(login_mode, false);
  ZELK_LOG(kLogInfo, "[%s], login_mode:%s", seq_id, login_mode.c_str());
  const LoginMode& mode = FindLoginMode(login_mode);
  if (const char* key = MissingKey(mode, parameters)) {
    return LoginEndWithInvalidArgument(params, key);
  }
  IssueFirstLogin(params, scope_flags, MakeLoginClientData(params, mode, parameters, scope_flags));
  RegisterForConnect();
}

// With the persistent authorisation that EOS kept from an earlier sign-in; what the request brought
// is for the second attempt.
void EpicAuth::IssueFirstLogin(const BaseParams& params, int32_t scope_flags,
                               Pending<LoginClientData> client_data) {
  const EOS_Auth_Credentials credentials{.ApiVersion = 2,
                                         .Type = EOS_ELoginCredentialType::EOS_LCT_PersistentAuth};
  const EOS_Auth_LoginOptions options{.ApiVersion = 2,
                                      .Credentials = &credentials,
                                      .ScopeFlags = static_cast<EOS_EAuthScopeFlags>(scope_flags)};
  ZELK_LOG_AS(kLoginFunction, kLogInfo, "[%s], call EOS_Auth_Login", params.seq_id.c_str());
  client_data->base_params_->OweAnswer();
  EOS_Auth_Login(epic_auth_handle_, &options, EosHeld::Give(std::move(client_data)),
                 &LoginCompleteCallbackFn);
}

void EpicAuth::RegisterForConnect() {
  epic_connect_handle_ = EOS_Platform_GetConnectInterface(epic_platform_handle_);
  if (auth_expiration_notify_id_ != 0 || epic_connect_handle_ == nullptr) return;
  const EOS_Connect_AddNotifyAuthExpirationOptions options{.ApiVersion = 1};
  auth_expiration_notify_id_ = EOS_Connect_AddNotifyAuthExpiration(
      epic_connect_handle_, &options, nullptr, &ConnectAuthExpirationCb);
}

void EpicAuth::LoginEndWithInvalidArgument(const BaseParams& params,
                                           const std::string& argument_name) {
  ZELK_LOG(kLogError, "[%s], LoginEndWithInvalidArgument [%s]", params.seq_id.c_str(),
           argument_name.c_str());
  AuthResult result(kResultInvalidArgument);
  CommitAuthResult(params, result);
}

void EpicAuth::LoginEndWithThirdError(const BaseParams& params, int32_t err_code,
                                      const std::string& err_msg) {
  ZELK_LOG(kLogError, "[%s], LoginEndWithThirdError, err_code:%d, err_msg:%s",
           params.seq_id.c_str(), err_code, err_msg.c_str());
  AuthResult result(kResultThirdError);
  result.third_code = err_code;
  result.third_msg = err_msg;
  CommitAuthResult(params, result);
}

void EpicAuth::EndWithThirdError(Pending<LoginRequest> request, EOS_EResult result,
                                 const std::string& result_text) {
  LoginEndWithThirdError(request->params, static_cast<int32_t>(result), result_text);
  request->Answered();
}

// --- the Auth login ---

namespace {

constexpr char kLoginCompleteFunction[] = "zelk::EpicAuth::LoginCompleteCallbackFn";

void LogWhatThePlayerHasToDo(const EOS_Auth_LoginCallbackInfo& data) {
  if (data.ResultCode == EOS_EResult::EOS_Auth_PinGrantCode && data.PinGrantInfo != nullptr) {
    ZELK_LOG_AS(kLoginCompleteFunction, kLogWarning,
                "Waiting for PIN grant Code:%s URI:%s Expires:%d",
                TextOrEmpty(data.PinGrantInfo->UserCode),
                TextOrEmpty(data.PinGrantInfo->VerificationURI), data.PinGrantInfo->ExpiresIn);
  } else if (data.ResultCode == EOS_EResult::EOS_Auth_MFARequired) {
    ZELK_LOG_AS(kLoginCompleteFunction, kLogWarning,
                "MFA Code needs to be entered before logging in");
  }
}

// A pin grant completes once to show the player the code, and again when the player has entered it.
bool LoginCompletesAgain(EOS_EResult result) {
  return result == EOS_EResult::EOS_OperationWillRetry ||
         result == EOS_EResult::EOS_Auth_PinGrantCode;
}

bool DefaultLoginIsLeft(const LoginClientData& client_data) {
  return client_data.login_options_ != nullptr &&
         client_data.login_options_->Credentials->Type !=
             EOS_ELoginCredentialType::EOS_LCT_PersistentAuth;
}

}  // namespace

void EOS_CALL EpicAuth::LoginCompleteCallbackFn(const EOS_Auth_LoginCallbackInfo* data) {
  AtBoundary(kLoginCompleteFunction, [data] {
    if (data == nullptr) {
      ZELK_LOG(kLogError, "NULL Data for LoginCompleteCallbackFn");
      return;
    }
    auto client_data =
        EosHeld::Take<LoginClientData>(data->ClientData, LoginCompletesAgain(data->ResultCode));
    const std::string account = EpicAccountIdToString(data->LocalUserId);
    const std::string result = EpicEResultToString(data->ResultCode);
    ZELK_LOG(kLogInfo, "Login complete, result:%d user id:%s msg:%s",
             static_cast<int>(data->ResultCode), account.c_str(), result.c_str());
    if (client_data == nullptr) {
      ZELK_LOG(kLogError, "LoginCompleteCallbackFn ClientData is null, memory leak");
      return;
    }
    if (client_data->base_params_ == nullptr) {
      ZELK_LOG(kLogError, "LoginCompleteCallbackFn base_params_ is null, memory leak");
      return ReleaseLoginClientData(std::move(client_data));
    }
    EpicAuth* const auth = GetInstance();
    if (data->ResultCode == EOS_EResult::EOS_Success) {
      ZELK_LOG(kLogInfo, "Login success, user id:%s", account.c_str());
      Pending<LoginRequest> request = std::move(client_data->base_params_);
      ReleaseLoginClientData(std::move(client_data));
      return auth->ConnectLogin(data->LocalUserId, std::move(request));
    }
    LogWhatThePlayerHasToDo(*data);
    if (DefaultLoginIsLeft(*client_data)) return auth->IssueDefaultLogin(std::move(client_data));
    ZELK_LOG(kLogError, "Login Failed! Error Code:%d Msg:%s", static_cast<int>(data->ResultCode),
             result.c_str());
    auth->EndWithThirdError(std::move(client_data->base_params_), data->ResultCode, result);
    ReleaseLoginClientData(std::move(client_data));
  });
}

// With the login mode's own credentials; the same client data goes back to EOS.
void EpicAuth::IssueDefaultLogin(Pending<LoginClientData> client_data) {
  if (epic_platform_handle_ == nullptr) return EosHeld::PutBack(client_data.release());
  ZELK_LOG_AS(kLoginCompleteFunction, kLogInfo, "enter default login flow");
  const LoginOptions options = std::move(client_data->login_options_);
  EOS_Auth_Login(epic_auth_handle_, options.get(), EosHeld::Give(std::move(client_data)),
                 &LoginCompleteCallbackFn);
}

// --- the Connect login ---

namespace {

Pending<LoginRequest> TakeRequest(void* client_data, EOS_EResult result) {
  return EosHeld::Take<LoginRequest>(client_data, result == EOS_EResult::EOS_OperationWillRetry);
}

struct ReleaseAuthToken {
  void operator()(EOS_Auth_Token* token) const {
    ZELK_LOG_AS(kConnectLoginFunction, kLogInfo, "Call EOS_Auth_Token_Release");
    EOS_Auth_Token_Release(token);
  }
};
using AuthToken = std::unique_ptr<EOS_Auth_Token, ReleaseAuthToken>;

// A copy without a token counts as failed, whatever EOS says.
EOS_EResult CopyAuthToken(EOS_HAuth auth, EOS_EpicAccountId account_id, AuthToken& token) {
  const EOS_Auth_CopyUserAuthTokenOptions options{.ApiVersion = 1};
  EOS_Auth_Token* copy = nullptr;
  ZELK_LOG_AS(kConnectLoginFunction, kLogInfo, "Call EOS_Auth_CopyUserAuthToken");
  const EOS_EResult result = EOS_Auth_CopyUserAuthToken(auth, &options, account_id, &copy);
  token.reset(copy);
  return result == EOS_EResult::EOS_Success && copy == nullptr ? EOS_EResult::EOS_UnexpectedError
                                                               : result;
}

// Truncated toward zero; what no unsigned number can hold becomes the nearest that can.
uint64_t WholeSeconds(double seconds) {
  constexpr double kEnd = 18446744073709551616.0;  // 2 to the 64th
  if (!(seconds > 0)) return 0;
  return seconds < kEnd ? static_cast<uint64_t>(seconds) : std::numeric_limits<uint64_t>::max();
}

}  // namespace

void EpicAuth::ConnectLogin(EOS_EpicAccountId account_id, Pending<LoginRequest> request) {
  if (epic_platform_handle_ == nullptr) return EosHeld::PutBack(request.release());
  AuthToken token;
  EOS_EResult result = CopyAuthToken(epic_auth_handle_, account_id, token);
  if (result == EOS_EResult::EOS_Success) {
    StoreToken(*token, account_id);
    if (IssueConnectLogin(*token, request)) return;
    result = EOS_EResult::EOS_InvalidParameters;  // what EOS makes of a call without its interface
  }
  const std::string name = EpicEResultToString(result);
  EndWithThirdError(std::move(request), result, name);
}

void EpicAuth::StoreToken(const EOS_Auth_Token& token, EOS_EpicAccountId account_id) {
  access_token_ = TextOrEmpty(token.AccessToken);
  expires_in_ = WholeSeconds(token.ExpiresIn);
  epic_account_id_ = EpicAccountIdToString(account_id);
  refresh_token_ = TextOrEmpty(token.RefreshToken);
  refresh_expires_in_ = WholeSeconds(token.RefreshExpiresIn);
  ZELK_LOG_AS(kConnectLoginFunction, kLogInfo,
              "Got accessToken:%s expiration:%0.2f epic_account_id_:%s", access_token_.c_str(),
              static_cast<double>(expires_in_), epic_account_id_.c_str());
}

// False, and the request stays the caller's, without a Connect interface.
bool EpicAuth::IssueConnectLogin(const EOS_Auth_Token& token, Pending<LoginRequest>& request) {
  if (epic_connect_handle_ == nullptr) return false;
  const EOS_Connect_Credentials credentials{.ApiVersion = 1,
                                            .Token = token.AccessToken,
                                            .Type = EOS_EExternalCredentialType::EOS_ECT_EPIC};
  const EOS_Connect_LoginOptions options{
      .ApiVersion = 2, .Credentials = &credentials, .UserLoginInfo = nullptr};
  ZELK_LOG_AS(kConnectLoginFunction, kLogInfo, "Call EOS_Connect_Login");
  EOS_Connect_Login(epic_connect_handle_, &options, EosHeld::Give(std::move(request)),
                    &ConnectLoginCompleteCb);
  return true;
}

void EOS_CALL EpicAuth::ConnectLoginCompleteCb(const EOS_Connect_LoginCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::ConnectLoginCompleteCb", [data] {
    if (data == nullptr) {
      ZELK_LOG(kLogError, "NULL Data for ConnectLoginCompleteCb");
      return;
    }
    auto request = TakeRequest(data->ClientData, data->ResultCode);
    local_product_userid_ = EpicProductIdToString(data->LocalUserId);
    const std::string result = EpicEResultToString(data->ResultCode);
    if (request == nullptr || !request->owes_answer()) {
      ZELK_LOG(kLogError, "NULL ClientData for ConnectLoginCompleteCb");
      return;
    }
    ZELK_LOG(kLogInfo, "Connect Login complete, result:%d localProductUserId:%s msg:%s",
             static_cast<int>(data->ResultCode), local_product_userid_.c_str(), result.c_str());
    EpicAuth* const auth = GetInstance();
    if (data->ResultCode == EOS_EResult::EOS_Success) {
      ZELK_LOG(kLogInfo, "Connect Login success, localUserId:%s", local_product_userid_.c_str());
      auth->OnEpicPlatfromGetUserInfoFinish(true, std::move(request));
    } else if (data->ResultCode == EOS_EResult::EOS_InvalidUser) {
      ZELK_LOG(kLogWarning, "Invalid user, try to connect create user");
      auth->ConnectCreateUser(data->ContinuanceToken, std::move(request));
    } else {
      ZELK_LOG(kLogError, "Connect Login Failed! Error Code:%d Msg:%s",
               static_cast<int>(data->ResultCode), result.c_str());
      auth->EndWithThirdError(std::move(request), data->ResultCode, result);
    }
  });
}

void EpicAuth::ConnectCreateUser(EOS_ContinuanceToken continuance_token,
                                 Pending<LoginRequest> request) {
  if (epic_platform_handle_ == nullptr) return EosHeld::PutBack(request.release());
  if (epic_connect_handle_ == nullptr) {
    const std::string name = EpicEResultToString(EOS_EResult::EOS_InvalidParameters);
    return EndWithThirdError(std::move(request), EOS_EResult::EOS_InvalidParameters, name);
  }
  const EOS_Connect_CreateUserOptions options{.ApiVersion = 1,
                                              .ContinuanceToken = continuance_token};
  ZELK_LOG(kLogInfo, "Call EOS_Connect_CreateUser");
  EOS_Connect_CreateUser(epic_connect_handle_, &options, EosHeld::Give(std::move(request)),
                         &ConnectCreateUserCompleteCb);
}

void EOS_CALL
EpicAuth::ConnectCreateUserCompleteCb(const EOS_Connect_CreateUserCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::ConnectCreateUserCompleteCb", [data] {
    if (data == nullptr) {
      ZELK_LOG(kLogError, "NULL Data for ConnectCreateUserCompleteCb");
      return;
    }
    auto request = TakeRequest(data->ClientData, data->ResultCode);
    if (request == nullptr || !request->owes_answer()) {
      ZELK_LOG(kLogError, "nullptr ClientData for ConnectCreateUserCompleteCb");
      return;
    }
    EpicAuth* const auth = GetInstance();
    if (data->ResultCode != EOS_EResult::EOS_Success) {
      const std::string name = EpicEResultToString(data->ResultCode);
      return auth->EndWithThirdError(std::move(request), data->ResultCode, name);
    }
    const std::string product_user = EpicProductIdToString(data->LocalUserId);
    const std::string result = EpicEResultToString(data->ResultCode);
    ZELK_LOG(kLogInfo, "Connect Create User complete, result:%d local_product_userid:%s msg:%s",
             static_cast<int>(data->ResultCode), product_user.c_str(), result.c_str());
    auth->OnEpicPlatfromLoginSuccess(product_user, std::move(request));
  });
}

void EOS_CALL
EpicAuth::ConnectAuthExpirationCb(const EOS_Connect_AuthExpirationCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::ConnectAuthExpirationCb", [data] {
    if (data == nullptr) {
      ZELK_LOG(kLogError, "NULL Data for CallbackFn");
      return;
    }
    const std::string product_user = EpicProductIdToString(data->LocalUserId);
    ZELK_LOG(kLogWarning, "Connect Auth Expiring - ProductUserId: %s", product_user.c_str());
  });
}

// --- the user info and the result ---

void EpicAuth::OnEpicPlatfromLoginSuccess(std::string local_product_userid,
                                          Pending<LoginRequest> request) {
  local_product_userid_ = std::move(local_product_userid);
  ZELK_LOG(kLogInfo, "Epic platform login success, account_id:%s local_product_userid:%s",
           epic_account_id_.c_str(), local_product_userid_.c_str());
  ZELK_LOG(kLogInfo, "Next to get UserInfo");
  if (epic_platform_handle_ == nullptr) return EosHeld::PutBack(request.release());
  ZELK_LOG(kLogInfo, "Call EOS_Platform_GetUserInfoInterface");
  const EOS_HUserInfo user_info = EOS_Platform_GetUserInfoInterface(epic_platform_handle_);
  if (user_info == nullptr) return OnEpicPlatfromGetUserInfoFinish(false, std::move(request));
  const EOS_EpicAccountId account_id = EpicAccountIdFromString(epic_account_id_);
  const EOS_UserInfo_QueryUserInfoOptions options{
      .ApiVersion = 1, .LocalUserId = account_id, .TargetUserId = account_id};
  ZELK_LOG(kLogInfo, "Call EOS_UserInfo_QueryUserInfoOptions");
  EOS_UserInfo_QueryUserInfo(user_info, &options, EosHeld::Give(std::move(request)),
                             &QueryUserInfoCompleteCallbackFn);
}

void EOS_CALL
EpicAuth::QueryUserInfoCompleteCallbackFn(const EOS_UserInfo_QueryUserInfoCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::QueryUserInfoCompleteCallbackFn", [data] {
    if (data == nullptr) {
      ZELK_LOG(kLogError, "NULL Data for QueryUserInfoCompleteCallbackFn");
      return;
    }
    auto request = TakeRequest(data->ClientData, data->ResultCode);
    if (request == nullptr || !request->owes_answer()) {
      ZELK_LOG(kLogError, "nullptr ClientData for QueryUserInfoCompleteCallbackFn");
      return;
    }
    const std::string account = EpicAccountIdToString(data->LocalUserId);
    const std::string result = EpicEResultToString(data->ResultCode);
    ZELK_LOG(kLogInfo, "Query UserInfo complete, result:%d local_user_id:%s msg:%s",
             static_cast<int>(data->ResultCode), account.c_str(), result.c_str());
    const bool ok = data->ResultCode == EOS_EResult::EOS_Success;
    if (ok) {
      ZELK_LOG(kLogInfo, "Query UserInfo success, local_user_id:%s ", account.c_str());
    } else {
      ZELK_LOG(kLogError, "Query User Info error:%d msg:%s", static_cast<int>(data->ResultCode),
               result.c_str());
    }
    GetInstance()->OnEpicPlatfromGetUserInfoFinish(ok, std::move(request));
  });
}

void EpicAuth::OnEpicPlatfromGetUserInfoFinish(bool ok, Pending<LoginRequest> request) {
  if (request == nullptr) {
    ZELK_LOG(kLogError, "null baseparams in OnEpicPlatfromGetUserInfoFinish");
    return;
  }
  ZELK_LOG(kLogInfo, "Query UserInfo finish, result:%d", ok ? 1 : 0);
  std::string nickname;
  if (ok) {
    ZELK_LOG(kLogInfo, "Query UserInfo success, start to get Display Name");
    nickname = CopyDisplayName();
  } else {
    ZELK_LOG(kLogError, "Query UserInfo failed");
  }
  CommitLogin(request->params, nickname);
  request->Answered();
  if (request->params.method_id == kMethodIDAuthLogin) {
    Store()->set(request->params.extra_json, kStoredParametersKey);
  }
}

namespace {

struct ReleaseUserInfo {
  void operator()(EOS_UserInfo* user_info) const {
    ZELK_LOG_AS(kFinishFunction, kLogInfo, "Call EOS_UserInfo_Release");
    EOS_UserInfo_Release(user_info);
  }
};

}  // namespace

// The display name of the signed-in account as EOS has it; empty when EOS has none, or is going
// down.
std::string EpicAuth::CopyDisplayName() {
  const EOS_HUserInfo user_info = epic_platform_handle_ != nullptr
                                      ? EOS_Platform_GetUserInfoInterface(epic_platform_handle_)
                                      : nullptr;
  EOS_UserInfo* copy = nullptr;
  EOS_EResult result = EOS_EResult::EOS_InvalidParameters;
  if (user_info != nullptr) {
    const EOS_EpicAccountId account_id = EpicAccountIdFromString(epic_account_id_);
    const EOS_UserInfo_CopyUserInfoOptions options{
        .ApiVersion = 1, .LocalUserId = account_id, .TargetUserId = account_id};
    ZELK_LOG_AS(kFinishFunction, kLogInfo, "Call EOS_UserInfo_CopyUserInfo");
    result = EOS_UserInfo_CopyUserInfo(user_info, &options, &copy);
  }
  const std::unique_ptr<EOS_UserInfo, ReleaseUserInfo> owned(copy);
  if (copy == nullptr || result != EOS_EResult::EOS_Success) {
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
  BaseResult result(kResultSuccess);
  if (init_ && epic_platform_handle_ == nullptr) {
    result.ret_code = kResultNotInitialized;  // EOS keeps its persistent authorisation
  } else {
    if (!FetchAuthInterface()) return;
    const EOS_Auth_LogoutOptions logout{.ApiVersion = 1,
                                        .LocalUserId = EpicAccountIdFromString(epic_account_id_)};
    EOS_Auth_Logout(epic_auth_handle_, &logout, nullptr, &LogoutCompleteCallbackFn);
    const EOS_Auth_DeletePersistentAuthOptions forget{.ApiVersion = 2, .RefreshToken = nullptr};
    EOS_Auth_DeletePersistentAuth(epic_auth_handle_, &forget, nullptr,
                                  &DeletePersistentAuthCallback);
  }
  ClearLogin();
  result.method_id = params->method_id;
  Commit(*params, result);
}

void EpicAuth::ClearLogin() {
  epic_account_id_.clear();
  access_token_.clear();
  local_product_userid_.clear();
  expires_in_ = 0;
  refresh_token_.clear();
  refresh_expires_in_ = 0;
}

void EOS_CALL EpicAuth::LogoutCompleteCallbackFn(const EOS_Auth_LogoutCallbackInfo* data) {
  AtBoundary("zelk::EpicAuth::LogoutCompleteCallbackFn", [data] {
    if (data == nullptr) {
      ZELK_LOG(kLogError, "NULL Data for CallbackFn");
      return;
    }
    if (data->ResultCode == EOS_EResult::EOS_Success) {
      const std::string account = EpicAccountIdToString(data->LocalUserId);
      ZELK_LOG(kLogInfo, "[EOS SDK] Logout Success - User: %s", account.c_str());
      return;
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
    if (data == nullptr) {
      ZELK_LOG(kLogError, "NULL Data for CallbackFn");
      return;
    }
    if (data->ResultCode == EOS_EResult::EOS_Success) {
      ZELK_LOG(kLogInfo, "[EOS SDK] DeletePersistentAuth Success");
      return;
    }
    const std::string result = EpicEResultToString(data->ResultCode);
    ZELK_LOG(kLogInfo, "[EOS SDK] DeletePersistentAuth Failed: %s", result.c_str());
  });
}

}  // namespace zelk
