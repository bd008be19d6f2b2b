// The Auth interface.
#include "eos_auth.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

#include "entry.h"
#include "library.h"
#include "loans.h"
#include "log.h"
#include "persistent_auth.h"
#include "results.h"

namespace eos_standin {
namespace {

using enum EOS_EResult;
using enum EOS_ELogLevel;

// --- credentials ---

struct CredentialRow {
  EOS_ELoginCredentialType type;
  bool has_id;
  bool has_token;
};
constexpr std::array kCredentials{
    CredentialRow{EOS_ELoginCredentialType::EOS_LCT_Password, true, true},
    CredentialRow{EOS_ELoginCredentialType::EOS_LCT_ExchangeCode, false, true},
    CredentialRow{EOS_ELoginCredentialType::EOS_LCT_PersistentAuth, false, false},
    CredentialRow{EOS_ELoginCredentialType::EOS_LCT_DeviceCode, false, false},
    CredentialRow{EOS_ELoginCredentialType::EOS_LCT_Developer, true, true},
    CredentialRow{EOS_ELoginCredentialType::EOS_LCT_AccountPortal, false, false},
};

// What a credential type uses must be there, what it does not use must be null.
bool Fits(const char* text, bool used) {
  return used ? text != nullptr && *text != '\0' : text == nullptr;
}

EOS_EResult CheckCredentials(const EOS_Auth_Credentials& credentials) {
  if (CheckVersion(credentials.ApiVersion, EOS_AUTH_CREDENTIALS_API_LATEST) != EOS_Success) {
    return EOS_VersionMismatch;
  }
  for (const CredentialRow& row : kCredentials) {
    if (row.type != credentials.Type) continue;
    const bool fit = Fits(credentials.Id, row.has_id) && Fits(credentials.Token, row.has_token);
    return fit ? EOS_Success : EOS_InvalidParameters;
  }
  return EOS_NotImplemented;
}

EOS_EResult CheckLogin(const EOS_Auth_LoginOptions& options) {
  if (CheckVersion(options.ApiVersion, EOS_AUTH_LOGIN_API_LATEST) != EOS_Success) {
    return EOS_VersionMismatch;
  }
  return options.Credentials == nullptr ? EOS_InvalidParameters
                                        : CheckCredentials(*options.Credentials);
}

// --- sessions ---

// As long and as opaque as the real ones, and never the same twice in a process; every process
// makes the same ones in turn, so that runs can be compared.
std::string MakeToken(const Account& account) {
  static uint64_t count = 0;
  const uint64_t seed = Mix(account.id.high ^ account.id.low) + ++count;
  return "eg1~" + KeyText({Mix(seed), Mix(~seed)}) + KeyText({Mix(seed << 1), Mix(seed >> 1)});
}

void SignOut(Platform& platform, EOS_EpicAccountId id) {
  std::erase_if(platform.sessions, [id](const Session& session) { return session.id == id; });
  std::erase_if(platform.access_tokens,
                [id](const auto& token) { return token.second == id->key; });
  if (platform.sessions.empty()) platform.known_users.clear();
}

// Signing in again replaces the tokens; older access tokens stay good until the account signs out.
const Session& SignIn(Platform& platform, const Account& account) {
  const EOS_EpicAccountId id = AccountHandle(account.id);
  Session* session = platform.SessionOf(id);
  if (session == nullptr) session = &platform.sessions.emplace_back(Session{&account, id, {}, {}});
  session->access_token = MakeToken(account);
  session->refresh_token = MakeToken(account);
  platform.access_tokens.emplace(session->access_token, account.id);
  platform.known_users.insert(id);
  return *session;
}

// --- login ---

class Login final : public Completion<EOS_Auth_LoginCallbackInfo> {
 public:
  Login(Platform& platform, const EOS_Auth_LoginOptions& options, void* client_data,
        Callback callback)
      : Completion(Function::EOS_Auth_Login, nullptr, client_data, callback),
        platform_(platform),
        refused_(CheckLogin(options)) {
    if (refused_ != EOS_Success) return;
    type_ = options.Credentials->Type;
    if (options.Credentials->Id != nullptr) id_ = options.Credentials->Id;
    if (options.Credentials->Token != nullptr) token_ = options.Credentials->Token;
    Log(kLogAuth, EOS_LOG_Verbose, "Login started, credential type ",
        std::to_string(static_cast<int32_t>(type_)));
  }

 private:
  // A player with a pin is first told the pin, and has entered it when the operation runs again.
  EOS_EResult Work() override {
    if (refused_ != EOS_Success) return refused_;
    const bool asks_player = type_ == EOS_ELoginCredentialType::EOS_LCT_DeviceCode;
    if (asks_player && !pin_shown_) return EOS_Auth_PinGrantCode;
    const Account* account = FindAccount();
    if (account == nullptr) return NotFoundResult();
    const Session& session = SignIn(platform_, *account);
    info_.LocalUserId = info_.SelectedAccountId = session.id;
    if (type_ != EOS_ELoginCredentialType::EOS_LCT_PersistentAuth) {
      KeepPersistentAuth(platform_, session);
    }
    return EOS_Success;
  }

  const Account* FindAccount() const {
    const World& world = TheWorld();
    using enum EOS_ELoginCredentialType;
    switch (type_) {
      case EOS_LCT_ExchangeCode:
        return world.FindByExchangeCode(token_);
      case EOS_LCT_PersistentAuth:
        return PersistedAccount(platform_);
      case EOS_LCT_DeviceCode:
      case EOS_LCT_AccountPortal:
        return world.SignsIn();
      default:
        return world.FindByPassword(id_, token_);
    }
  }

  EOS_EResult NotFoundResult() const {
    const bool persistent = type_ == EOS_ELoginCredentialType::EOS_LCT_PersistentAuth;
    return persistent ? EOS_InvalidAuth : EOS_InvalidCredentials;
  }

  void Furnish(EOS_EResult result, const Scripted& scripted) override {
    info_.PinGrantInfo = nullptr;
    if (result == EOS_Auth_PinGrantCode) ShowPin(scripted.null_texts);
    Log(kLogAuth, result == EOS_Success ? EOS_LOG_Info : EOS_LOG_Warning,
        "Login completed: ", NameOf(result));
  }

  void ShowPin(bool null_texts) {
    pin_shown_ = true;
    user_code_ = "QX7TK2WB";
    address_ = "https://www.epicgames.com/activate";
    complete_address_ = address_ + "?userCode=" + user_code_;
    pin_ = {};
    pin_.ApiVersion = EOS_AUTH_PINGRANTINFO_API_LATEST;
    pin_.ExpiresIn = 600;
    if (!null_texts) {
      pin_.UserCode = user_code_.c_str();
      pin_.VerificationURI = address_.c_str();
      pin_.VerificationURIComplete = complete_address_.c_str();
    }
    info_.PinGrantInfo = &pin_;
  }

  void Spoil() override {
    for (std::string* text : {&user_code_, &address_, &complete_address_}) {
      std::fill(text->begin(), text->end(), '#');
    }
  }

  Platform& platform_;
  EOS_EResult refused_;
  EOS_ELoginCredentialType type_{};
  std::string id_;
  std::string token_;
  bool pin_shown_ = false;
  EOS_Auth_PinGrantInfo pin_{};
  std::string user_code_;
  std::string address_;
  std::string complete_address_;
};

// --- logout, and forgetting ---

class Logout final : public Completion<EOS_Auth_LogoutCallbackInfo> {
 public:
  Logout(Platform& platform, const EOS_Auth_LogoutOptions& options, void* client_data,
         Callback callback)
      : Completion(Function::EOS_Auth_Logout, options.LocalUserId, client_data, callback),
        platform_(platform),
        refused_(CheckVersion(options.ApiVersion, EOS_AUTH_LOGOUT_API_LATEST)) {
    info_.LocalUserId = options.LocalUserId;
  }

 private:
  EOS_EResult Work() override {
    if (refused_ != EOS_Success) return refused_;
    if (platform_.SessionOf(info_.LocalUserId) == nullptr) return EOS_InvalidUser;
    SignOut(platform_, info_.LocalUserId);
    Log(kLogAuth, EOS_LOG_Info, "Signed out ", info_.LocalUserId->text);
    return EOS_Success;
  }

  Platform& platform_;
  EOS_EResult refused_;
};

class DeletePersistentAuth final : public Completion<EOS_Auth_DeletePersistentAuthCallbackInfo> {
 public:
  DeletePersistentAuth(Platform& platform, const EOS_Auth_DeletePersistentAuthOptions& options,
                       void* client_data, Callback callback)
      : Completion(Function::EOS_Auth_DeletePersistentAuth, nullptr, client_data, callback),
        platform_(platform),
        refused_(CheckVersion(options.ApiVersion, EOS_AUTH_DELETEPERSISTENTAUTH_API_LATEST)) {}

 private:
  EOS_EResult Work() override {
    if (refused_ != EOS_Success) return refused_;
    return ForgetPersistentAuth(platform_) ? EOS_Success : EOS_UnexpectedError;
  }

  Platform& platform_;
  EOS_EResult refused_;
};

// --- tokens ---

struct LentToken : EOS_Auth_Token {
  std::optional<std::string> app, client_id, access_token, expires_at, refresh_token,
      refresh_expires_at;

  void Spoil() {
    for (auto* text :
         {&app, &client_id, &access_token, &expires_at, &refresh_token, &refresh_expires_at}) {
      SpoilText(*text);
    }
  }
};

Loans<LentToken>& TokenLoans() {
  static auto& loans = *new Loans<LentToken>("token", outstanding_counts.auth_tokens);
  return loans;
}

// "2031-05-09T18:04:11.000Z"; as far away as the calendar goes.
std::string TimeIn(double seconds) {
  using namespace std::chrono;
  constexpr double kFarthest = 1e11;
  const auto now = floor<std::chrono::seconds>(system_clock::now());
  const auto time =
      now + std::chrono::seconds(static_cast<int64_t>(std::clamp(seconds, -kFarthest, kFarthest)));
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.000Z",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text.data();
}

void FillTexts(LentToken& token, const Session& session) {
  token.app = "zelk";
  token.client_id = "zelk-client";
  token.access_token = session.access_token;
  token.expires_at = TimeIn(token.ExpiresIn);
  token.refresh_token = session.refresh_token;
  token.refresh_expires_at = TimeIn(token.RefreshExpiresIn);
}

std::unique_ptr<LentToken> MakeTokenCopy(const Session& session, bool null_texts) {
  auto token = std::make_unique<LentToken>();
  token->ApiVersion = EOS_AUTH_TOKEN_API_LATEST;
  token->AccountId = session.id;
  token->ExpiresIn = TheWorld().token_seconds();
  token->AuthType = EOS_EAuthTokenType::EOS_ATT_User;
  token->RefreshExpiresIn = TheWorld().refresh_token_seconds();
  if (!null_texts) FillTexts(*token, session);
  token->App = Borrow(token->app);
  token->ClientId = Borrow(token->client_id);
  token->AccessToken = Borrow(token->access_token);
  token->ExpiresAt = Borrow(token->expires_at);
  token->RefreshToken = Borrow(token->refresh_token);
  token->RefreshExpiresAt = Borrow(token->refresh_expires_at);
  return token;
}

}  // namespace

void ReportLeakedTokens(const Entry& entry, const Platform* platform) {
  TokenLoans().ReportLeaks(entry, platform);
}

}  // namespace eos_standin

using namespace eos_standin;

EOS_DECLARE_FUNC(void)
EOS_Auth_Login(EOS_HAuth Handle, const EOS_Auth_LoginOptions* Options, void* ClientData,
               const EOS_Auth_OnLoginCallback CompletionDelegate) {
  const Entry entry(Function::EOS_Auth_Login, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr) return;
  platform->Start(std::make_unique<Login>(*platform, *Options, ClientData, CompletionDelegate));
}

EOS_DECLARE_FUNC(void)
EOS_Auth_Logout(EOS_HAuth Handle, const EOS_Auth_LogoutOptions* Options, void* ClientData,
                const EOS_Auth_OnLogoutCallback CompletionDelegate) {
  const Entry entry(Function::EOS_Auth_Logout, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr) return;
  platform->Start(std::make_unique<Logout>(*platform, *Options, ClientData, CompletionDelegate));
}

EOS_DECLARE_FUNC(void)
EOS_Auth_DeletePersistentAuth(EOS_HAuth Handle, const EOS_Auth_DeletePersistentAuthOptions* Options,
                              void* ClientData,
                              const EOS_Auth_OnDeletePersistentAuthCallback CompletionDelegate) {
  const Entry entry(Function::EOS_Auth_DeletePersistentAuth, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr) return;
  platform->Start(
      std::make_unique<DeletePersistentAuth>(*platform, *Options, ClientData, CompletionDelegate));
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_Auth_CopyUserAuthToken(EOS_HAuth Handle, const EOS_Auth_CopyUserAuthTokenOptions* Options,
                           EOS_EpicAccountId LocalUserId, EOS_Auth_Token** OutUserAuthToken) {
  const Entry entry(Function::EOS_Auth_CopyUserAuthToken, [&] {
    Json json = Options == nullptr ? Json() : Describe(*Options);
    json["LocalUserId"] = Describe(LocalUserId);
    return json;
  });
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr || OutUserAuthToken == nullptr) return EOS_InvalidParameters;
  *OutUserAuthToken = nullptr;
  const Scripted scripted = entry.Script(TextOf(LocalUserId));
  if (scripted.Fails()) return scripted.result;
  const EOS_EResult version =
      CheckVersion(Options->ApiVersion, EOS_AUTH_COPYUSERAUTHTOKEN_API_LATEST);
  if (version != EOS_Success) return version;
  const Session* session = platform->SessionOf(LocalUserId);
  if (session == nullptr) return EOS_NotFound;
  *OutUserAuthToken = TokenLoans().Lend(platform, MakeTokenCopy(*session, scripted.null_texts));
  return EOS_Success;
}

EOS_DECLARE_FUNC(void) EOS_Auth_Token_Release(EOS_Auth_Token* AuthToken) {
  const Entry entry(Function::EOS_Auth_Token_Release);
  if (entry.Allowed() && AuthToken != nullptr) TokenLoans().TakeBack(entry, AuthToken);
}
