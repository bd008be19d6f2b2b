// The floor under the benchmarks: the EOS calls that the plugin makes, made directly by one thread.
// Its columns say what is done with what EOS gives, from the least to all that the plugin owes.
#pragma once

#include <memory>
#include <string>

#include "eos_auth.h"
#include "eos_connect.h"
#include "eos_friends.h"
#include "eos_sdk.h"
#include "eos_userinfo.h"
#include "side.h"

namespace zelk::benchmarks {

// Throws unless EOS says that all went well.
void Expect(EOS_EResult result);

// A platform with the player signed in, and the texts that a client keeps of a sign-in.
class DirectEos {
 public:
  // Initialises EOS unless that was done. `cache_directory` is this platform's own.
  explicit DirectEos(const std::string& cache_directory);
  DirectEos(const DirectEos&) = delete;
  DirectEos& operator=(const DirectEos&) = delete;

  void Tick() { EOS_Platform_Tick(platform_); }

  // Through the persistent authorisation, which is missing, then the account portal.
  void SignIn();
  // Forgets the persistent authorisation.
  void SignOut();

  EOS_HPlatform platform() const { return platform_; }
  const std::string& account_id() const { return account_id_; }
  const std::string& access_token() const { return access_token_; }
  const std::string& display_name() const { return display_name_; }

 private:
  static void EOS_CALL OnAuthLogin(const EOS_Auth_LoginCallbackInfo* data);
  static void EOS_CALL OnConnectLogin(const EOS_Connect_LoginCallbackInfo* data);

  void LogIn(EOS_ELoginCredentialType type);
  void ConnectLogIn();
  void CopyDisplayName();

  EOS_HPlatform platform_ = nullptr;
  EOS_HAuth auth_ = nullptr;
  EOS_EpicAccountId account_ = nullptr;
  std::string account_id_;
  std::string access_token_;
  std::string refresh_token_;
  std::string product_user_id_;
  std::string display_name_;
  bool signed_in_ = false;
};

// The text of an account, as EOS writes it into a buffer.
std::string AccountText(EOS_EpicAccountId account);

// What is done with what EOS gives. All columns share `eos`, which outlives them.
//
// The EOS calls alone: results in standard containers; the sign-in keeps its texts.
std::unique_ptr<Side> MakeEosAlone(DirectEos& eos);
// Results in the SDK's records, committed to the task queue; the sign-in reads and writes the
// plugin's JSON and keeps the request in the store.
std::unique_ptr<Side> MakeSdkRecords(DirectEos& eos);
// And all else that the core is owed: each request in a context of its own with its copy of what
// was asked, identifiers converted by value, a line for every step. Friends only.
std::unique_ptr<Side> MakeContract(DirectEos& eos);

}  // namespace zelk::benchmarks
