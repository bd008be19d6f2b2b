#include "connect.h"

#include "library.h"
#include "log.h"

namespace eos_standin {

using enum EOS_EResult;
using enum EOS_ELogLevel;

EOS_EResult ConnectLogin::Begin(const Options& options) {
  Log(kLogConnect, EOS_LOG_Verbose, "Connect login started");
  const EOS_Connect_Credentials* credentials = options.Credentials;
  if (credentials == nullptr) return EOS_InvalidParameters;
  if (CheckVersion(credentials->ApiVersion, EOS_CONNECT_CREDENTIALS_API_LATEST) != EOS_Success) {
    return EOS_VersionMismatch;
  }
  if (credentials->Token == nullptr || *credentials->Token == '\0') return EOS_InvalidParameters;
  if (credentials->Type != EOS_EExternalCredentialType::EOS_ECT_EPIC) return EOS_InvalidParameters;
  token_ = credentials->Token;
  return EOS_Success;
}

EOS_EResult ConnectLogin::Work(Platform& platform, Info& info) {
  const Account* account = AccountOfToken(platform);
  if (account == nullptr) return EOS_InvalidAuth;
  if (!account->product_user) return EOS_InvalidUser;
  info.LocalUserId = platform.product_user = ProductUserHandle(*account->product_user);
  return EOS_Success;
}

// Also a scripted InvalidUser comes with what creates the user.
void ConnectLogin::BeforeCompletion(const Platform& platform, const Scripted& /*scripted*/,
                                    Info& info) {
  const bool unknown_user = info.ResultCode == EOS_InvalidUser;
  const Account* account = unknown_user ? AccountOfToken(platform) : nullptr;
  info.ContinuanceToken = account == nullptr ? nullptr : ContinuanceTokenFor(account->id);
  Log(kLogConnect, info.ResultCode == EOS_Success ? EOS_LOG_Info : EOS_LOG_Warning,
      "Connect login completed: ", NameOf(info.ResultCode));
}

const Account* ConnectLogin::AccountOfToken(const Platform& platform) const {
  const auto found = platform.access_tokens.find(token_);
  return found == platform.access_tokens.end() ? nullptr : TheWorld().Find(found->second);
}

EOS_EResult CreateUser::Begin(const Options& options) {
  token_ = options.ContinuanceToken;
  return token_ == nullptr ? EOS_InvalidParameters : EOS_Success;
}

EOS_EResult CreateUser::Work(Platform& platform, Info& info) const {
  TheWorld().CreateProductUser(token_->account);
  const Account* account = TheWorld().Find(token_->account);
  info.LocalUserId = platform.product_user = ProductUserHandle(*account->product_user);
  Log(kLogConnect, EOS_LOG_Info, "Product user created: ", info.LocalUserId->text);
  return EOS_Success;
}

}  // namespace eos_standin
