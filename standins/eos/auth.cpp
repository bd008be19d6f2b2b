#include <algorithm>
#include <array>
#include <ctime>

#include "common/null_text.h"
#include "library.h"
#include "log.h"
#include "services.h"

namespace eos_standin {
namespace {

using enum EOS_EResult;
using enum EOS_ELoginCredentialType;
using enum EOS_ELogLevel;
using zelk::common::OrEmpty;

// --- credentials ---

struct CredentialRow {
  EOS_ELoginCredentialType type;
  bool has_id;
  bool has_token;
  const char* refusal;
};
constexpr std::array kCredentials{
    CredentialRow{EOS_LCT_Password, true, true, "no account has this ID and password"},
    CredentialRow{EOS_LCT_ExchangeCode, false, true, "the exchange code is wrong or was used"},
    CredentialRow{EOS_LCT_PersistentAuth, false, false, "there is no persistent authorisation"},
    CredentialRow{EOS_LCT_DeviceCode, false, false, "nobody entered the code"},
    CredentialRow{EOS_LCT_Developer, true, true, "the developer tool has no such credential"},
    CredentialRow{EOS_LCT_AccountPortal, false, false, "nobody is at the account portal"},
};

// What a credential type uses must be there, what it does not use must be null.
bool Fits(const char* text, bool used) {
  return used ? text != nullptr && *text != '\0' : text == nullptr;
}

// "HOST:PORT", where the developer tool listens.
bool IsAddress(std::string_view text) {
  const size_t colon = text.rfind(':');
  return colon > 0 && colon + 1 < text.size() &&
         text.find_first_not_of("0123456789", colon + 1) == std::string_view::npos;
}

const CredentialRow* RowOf(EOS_ELoginCredentialType type) {
  const auto row = std::find_if(kCredentials.begin(), kCredentials.end(),
                                [type](const CredentialRow& each) { return each.type == type; });
  return row == kCredentials.end() ? nullptr : &*row;
}

EOS_EResult CheckCredentials(const EOS_Auth_Credentials& credentials) {
  if (!IsKnownVersion(credentials.ApiVersion, EOS_AUTH_CREDENTIALS_API_LATEST)) {
    return EOS_VersionMismatch;
  }
  const CredentialRow* row = RowOf(credentials.Type);
  if (row == nullptr) return EOS_NotImplemented;
  const bool fit = Fits(credentials.Id, row->has_id) && Fits(credentials.Token, row->has_token);
  if (!fit) return EOS_InvalidParameters;
  if (row->type != EOS_LCT_Developer || IsAddress(credentials.Id)) return EOS_Success;
  Log(kLogAuth, EOS_LOG_Warning, "Login refused: the Id of a developer login is HOST:PORT");
  return EOS_InvalidParameters;
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
const Session& SignIn(Platform& platform, const Account& account, EOS_EAuthScopeFlags scopes) {
  const EOS_EpicAccountId id = AccountHandle(account.id);
  Session* session = platform.SessionOf(id);
  if (session == nullptr) session = &platform.sessions.emplace_back(Session{&account, id});
  session->scopes = scopes;
  session->access_token = MakeToken(account);
  session->refresh_token = MakeToken(account);
  platform.access_tokens.emplace(session->access_token, account.id);
  platform.known_users.insert(id);
  return *session;
}

// "2031-05-09T18:04:11.000Z"; no farther away than every system's calendar goes.
std::string TimeIn(double seconds) {
  constexpr double kLast = 3e10;
  const auto now = static_cast<double>(std::time(nullptr));
  const auto time = static_cast<std::time_t>(std::clamp(now + seconds, 0.0, kLast));
  std::array<char, 32> text;
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S.000Z", std::gmtime(&time));
  return text.data();
}

}  // namespace

LentObjects<LentToken>& Tokens() {
  static auto& tokens =
      *new LentObjects<LentToken>({.released_twice = MisuseRule::kTokenReleasedTwice,
                                   .after_platform = MisuseRule::kTokenAfterPlatform,
                                   .leaked = MisuseRule::kTokenLeaked},
                                  outstanding_counts.auth_tokens);
  return tokens;
}

EOS_EResult Login::Begin(const Options& options) {
  if (options.Credentials == nullptr) return EOS_InvalidParameters;
  const EOS_Auth_Credentials& credentials = *options.Credentials;
  if (const EOS_EResult refused = CheckCredentials(credentials); refused != EOS_Success) {
    return refused;
  }
  type_ = credentials.Type;
  id_ = OrEmpty(credentials.Id);
  token_ = OrEmpty(credentials.Token);
  scopes_ = options.ScopeFlags;
  Log(kLogAuth, EOS_LOG_Verbose, "Login started, credential type ",
      std::to_string(static_cast<int32_t>(type_)));
  return EOS_Success;
}

EOS_EResult Login::Work(Platform& platform, Info& info) {
  const bool persistent = type_ == EOS_LCT_PersistentAuth;
  if (!platform.is_client_known) {
    Log(kLogAuth, EOS_LOG_Warning, "Login refused: the ClientId or the ClientSecret is wrong");
    return EOS_InvalidCredentials;
  }
  if (type_ == EOS_LCT_DeviceCode && !pin_shown_) return EOS_Auth_PinGrantCode;
  const Account* account = FindAccount(platform);
  if (account == nullptr) {
    Log(kLogAuth, EOS_LOG_Warning, "Login refused: ", RowOf(type_)->refusal);
    return persistent ? EOS_InvalidAuth : EOS_InvalidCredentials;
  }
  const Session& session = SignIn(platform, *account, scopes_);
  if (!session.Has(EOS_EAuthScopeFlags::EOS_AS_BasicProfile)) {
    Log(kLogAuth, EOS_LOG_Warning, "The login did not ask for the scope EOS_AS_BasicProfile");
  }
  info.LocalUserId = info.SelectedAccountId = session.id;
  if (!persistent) KeepPersistentAuth(platform, session);
  return EOS_Success;
}

const Account* Login::FindAccount(const Platform& platform) const {
  const World& world = TheWorld();
  switch (type_) {
    case EOS_LCT_ExchangeCode:
      return world.FindIf([this](const Account& each) { return each.exchange_code == token_; });
    case EOS_LCT_PersistentAuth:
      return PersistedAccount(platform);
    case EOS_LCT_Developer:
      return world.FindByName(token_);
    case EOS_LCT_DeviceCode:
    case EOS_LCT_AccountPortal:
      return world.signs_in;
    default:
      return world.FindIf(
          [this](const Account& each) { return each.name == id_ && each.password == token_; });
  }
}

void Login::BeforeCompletion(const Platform& /*platform*/, const Scripted& scripted, Info& info) {
  info.PinGrantInfo = nullptr;
  if (info.ResultCode == EOS_Auth_PinGrantCode) {
    ShowPin(scripted.null_texts);
    info.PinGrantInfo = &pin_;
  }
  Log(kLogAuth, info.ResultCode == EOS_Success ? EOS_LOG_Info : EOS_LOG_Warning,
      "Login completed: ", NameOf(info.ResultCode));
}

void Login::ShowPin(bool null_texts) {
  const std::string code = "QX7TK2WB", address = "https://www.epicgames.com/activate";
  pin_shown_ = true;
  pin_ = {};
  pin_.ApiVersion = EOS_AUTH_PINGRANTINFO_API_LATEST;
  pin_.ExpiresIn = 600;
  if (null_texts) return;
  pin_.UserCode = pin_.Keep(code);
  pin_.VerificationURI = pin_.Keep(address);
  pin_.VerificationURIComplete = pin_.Keep(address + "?userCode=" + code);
}

EOS_EResult Logout::Work(Platform& platform, const Info& info) {
  if (platform.SessionOf(info.LocalUserId) == nullptr) return EOS_InvalidUser;
  SignOut(platform, info.LocalUserId);
  Log(kLogAuth, EOS_LOG_Info, "Signed out ", info.LocalUserId->text);
  return EOS_Success;
}

EOS_EResult DeletePersistentAuth::Work(const Platform& platform, const Info& /*info*/) {
  return ForgetPersistentAuth(platform) ? EOS_Success : EOS_UnexpectedError;
}

EOS_Auth_Token* LendToken(const Platform* platform, const Session& session, bool null_texts) {
  auto token = std::make_unique<LentToken>();
  const auto keep = [&](const std::string& text) {
    return null_texts ? nullptr : token->Keep(text);
  };
  token->ApiVersion = EOS_AUTH_TOKEN_API_LATEST;
  token->App = keep("zelk");
  token->ClientId = keep("zelk-client");
  token->AccountId = session.id;
  token->AccessToken = keep(session.access_token);
  token->ExpiresIn = TheWorld().token_seconds;
  token->ExpiresAt = keep(TimeIn(token->ExpiresIn));
  token->AuthType = EOS_EAuthTokenType::EOS_ATT_User;
  token->RefreshToken = keep(session.refresh_token);
  token->RefreshExpiresIn = TheWorld().refresh_token_seconds;
  token->RefreshExpiresAt = keep(TimeIn(token->RefreshExpiresIn));
  return Tokens().Lend(platform, std::move(token));
}

}  // namespace eos_standin
