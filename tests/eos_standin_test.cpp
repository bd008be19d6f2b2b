// The EOS stand-in as its callers see it. Each case is run in a process of its own: the library
// starts and ends once in a process.
#include "eos_standin.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <random>
#include <thread>

#include "eos_auth.h"
#include "eos_friends.h"
#include "eos_sdk.h"
#include "eos_userinfo.h"

namespace eos_standin {
namespace {

using enum EOS_EResult;
using enum EOS_ELoginCredentialType;
using Json = nlohmann::ordered_json;

constexpr const char* kPlayer = "912af0dff974604f1321254ca8ff38b6";
constexpr const char* kFriend = "00000000000000000000000000000f01";

const Json kWorld = Json::parse(R"({
  "client": {"id": "client", "secret": "right"},
  "accounts": [
    {"name": "player", "password": "secret", "exchange_code": "code", "display_name": "Player",
     "account_id": "912af0dff974604f1321254ca8ff38b6", "product_user_id": null,
     "friends": [{"account_id": "00000000000000000000000000000f01", "status": "InviteSent"},
                 {"account_id": "00000000000000000000000000000bad"}],
     "generated_friends": 100000},
    {"account_id": "00000000000000000000000000000f01", "display_name": "Ann", "nickname": ""}]})");

std::string FreshDirectory() {
  const auto path = std::filesystem::temp_directory_path() /
                    ("eos_standin_test_" + std::to_string(std::random_device{}()));
  return path.string();
}

// What a completion said, kept beyond the callback.
struct Answer {
  std::vector<EOS_EResult> results;
  EOS_EpicAccountId account = nullptr;
};

template <class Info>
Answer& Note(const Info* data) {
  Answer& answer = *static_cast<Answer*>(data->ClientData);
  answer.results.push_back(data->ResultCode);
  return answer;
}

void EOS_CALL OnLogin(const EOS_Auth_LoginCallbackInfo* data) {
  Note(data).account = data->LocalUserId;
}

struct EosStandin : testing::Test {
  EosStandin() {
    SetWorld(kWorld);
    EOS_InitializeOptions options{};
    options.ApiVersion = 3;
    options.ProductName = "test";
    EXPECT_EQ(EOS_Initialize(&options), EOS_Success);
    EOS_Logging_SetCallback([](const EOS_LogMessage* message) { log += message->Message; });
    NewPlatform(PlatformOptions());
  }
  ~EosStandin() override { std::filesystem::remove_all(directory); }

  EOS_Platform_Options PlatformOptions() const {
    return {.ApiVersion = 7,
            .ProductId = "product",
            .SandboxId = "sandbox",
            .ClientCredentials = {.ClientId = "client", .ClientSecret = "right"},
            .DeploymentId = "deployment",
            .CacheDirectory = directory.c_str()};
  }
  void NewPlatform(const EOS_Platform_Options& options) {
    platform = EOS_Platform_Create(&options);
    auth = EOS_Platform_GetAuthInterface(platform);
    friends = EOS_Platform_GetFriendsInterface(platform);
    user_info = EOS_Platform_GetUserInfoInterface(platform);
  }

  void StartLogin(Answer& answer, EOS_ELoginCredentialType type, const char* id,
                  const char* token) {
    EOS_Auth_Credentials credentials{2, id, token, type, nullptr, {}};
    const EOS_Auth_LoginOptions options{2, &credentials, scopes, 0};
    EOS_Auth_Login(auth, &options, &answer, &OnLogin);
  }
  Answer Login(EOS_ELoginCredentialType type = EOS_LCT_Password, const char* id = "player",
               const char* token = "secret") {
    Answer answer;
    StartLogin(answer, type, id, token);
    Tick();
    return answer;
  }
  void Tick(int times = 1) {
    for (int i = 0; i < times; ++i) EOS_Platform_Tick(platform);
  }

  EOS_Auth_Token* Token(const char* account = kPlayer) {
    const EOS_Auth_CopyUserAuthTokenOptions options{1};
    EOS_Auth_Token* token = nullptr;
    EOS_Auth_CopyUserAuthToken(auth, &options, EOS_EpicAccountId_FromString(account), &token);
    return token;
  }
  EOS_EResult CopyUserInfo(const char* target, EOS_UserInfo** info) {
    const EOS_UserInfo_CopyUserInfoOptions options{1, Id(kPlayer), Id(target)};
    return EOS_UserInfo_CopyUserInfo(user_info, &options, info);
  }
  EOS_UserInfo* OwnUserInfo() {
    EOS_UserInfo* info = nullptr;
    CopyUserInfo(kPlayer, &info);
    return info;
  }
  EOS_EResult QueryUserInfo(EOS_EpicAccountId target) {
    const EOS_UserInfo_QueryUserInfoOptions options{1, Id(kPlayer), target};
    Answer answer;
    EOS_UserInfo_QueryUserInfo(
        user_info, &options, &answer,
        [](const EOS_UserInfo_QueryUserInfoCallbackInfo* data) { Note(data); });
    Tick();
    return answer.results.at(0);
  }
  EOS_EResult QueryFriends() {
    const EOS_Friends_QueryFriendsOptions options{1, Id(kPlayer)};
    Answer answer;
    EOS_Friends_QueryFriends(friends, &options, &answer,
                             [](const EOS_Friends_QueryFriendsCallbackInfo* data) { Note(data); });
    Tick();
    return answer.results.at(0);
  }
  static EOS_EpicAccountId Id(const char* text) { return EOS_EpicAccountId_FromString(text); }

  static inline std::string log;
  std::string directory = FreshDirectory();
  EOS_EAuthScopeFlags scopes =
      EOS_EAuthScopeFlags::EOS_AS_BasicProfile | EOS_EAuthScopeFlags::EOS_AS_FriendsList;
  EOS_HPlatform platform{};
  EOS_HAuth auth{};
  EOS_HFriends friends{};
  EOS_HUserInfo user_info{};
};

// --- what no caller may do ---

void QueryFriendsOf(EOS_HFriends handle) {
  const EOS_Friends_QueryFriendsOptions options{1, nullptr};
  EOS_Friends_QueryFriends(handle, &options, nullptr, nullptr);
}

void TickBesideAnotherThread(EosStandin& eos) {
  SetHook([](const std::string& call) {
    if (call != "EOS_Platform_Tick") return;
    std::thread([] { EOS_EResult_ToString(EOS_Success); }).join();
  });
  eos.Tick();
}

void ReleaseLate(EosStandin& eos, EOS_Auth_Token* token, EOS_UserInfo* info) {
  EOS_Platform_Release(eos.platform);
  EOS_Auth_Token_Release(token);
  EOS_UserInfo_Release(info);
}

struct MisuseRow {
  const char* rule;
  void (*provoke)(EosStandin& eos);
};
void PrintTo(const MisuseRow& row, std::ostream* out) { *out << row.rule; }

constexpr MisuseRow kMisuses[] = {
    {"overlapping-call", &TickBesideAnotherThread},
    {"released-handle", [](auto& eos) { EOS_Platform_Release(eos.platform), eos.Tick(); }},
    {"null-handle", [](auto&) { QueryFriendsOf(nullptr); }},
    {"unknown-handle", [](auto& eos) { QueryFriendsOf(reinterpret_cast<EOS_HFriends>(eos.auth)); }},
    {"null-options", [](auto& eos) { EOS_Friends_GetFriendsCount(eos.friends, nullptr); }},
    {"after-shutdown", [](auto& eos) { EOS_Shutdown(), eos.Tick(); }},
    {"token-released-twice",
     [](auto& eos) {
       EOS_Auth_Token* token = eos.Token();
       EOS_Auth_Token_Release(token), EOS_Auth_Token_Release(token);
     }},
    {"token-leaked", [](auto& eos) { eos.Token(), EOS_Platform_Release(eos.platform); }},
    {"token-after-platform", [](auto& eos) { ReleaseLate(eos, eos.Token(), nullptr); }},
    {"user-info-released-twice",
     [](auto& eos) {
       EOS_UserInfo* info = eos.OwnUserInfo();
       EOS_UserInfo_Release(info), EOS_UserInfo_Release(info);
     }},
    {"user-info-leaked", [](auto& eos) { eos.OwnUserInfo(), EOS_Shutdown(); }},
    {"user-info-after-platform", [](auto& eos) { ReleaseLate(eos, nullptr, eos.OwnUserInfo()); }},
};

struct EosMisuse : EosStandin, testing::WithParamInterface<MisuseRow> {};

TEST_P(EosMisuse, IsReportedByItsRule) {
  const std::string rule = GetParam().rule;
  Login();
  ASSERT_TRUE(Misuses().empty());
  GetParam().provoke(*this);
  // What comes back late was first missed.
  ASSERT_EQ(Misuses().size(), rule.ends_with("-after-platform") ? 2U : 1U);
  EXPECT_EQ(Misuses().back().rule, rule);
}
INSTANTIATE_TEST_SUITE_P(All, EosMisuse, testing::ValuesIn(kMisuses), [](const auto& row) {
  std::string name = row.param.rule;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

// --- what the developer portal says ---

TEST_F(EosStandin, NamesWhatThePlatformLacks) {
  const std::pair<const char*, void (*)(EOS_Platform_Options&)> rows[] = {
      {"ProductId", [](auto& options) { options.ProductId = nullptr; }},
      {"SandboxId", [](auto& options) { options.SandboxId = ""; }},
      {"DeploymentId", [](auto& options) { options.DeploymentId = nullptr; }},
      {"ClientId", [](auto& options) { options.ClientCredentials.ClientId = ""; }},
      {"ClientSecret", [](auto& options) { options.ClientCredentials.ClientSecret = nullptr; }},
      {"EncryptionKey", [](auto& options) { options.EncryptionKey = "short"; }},
  };
  for (const auto& [field, clear] : rows) {
    EOS_Platform_Options options = PlatformOptions();
    clear(options);
    log.clear();
    EXPECT_EQ(EOS_Platform_Create(&options), nullptr);
    EXPECT_NE(log.find("EOS_Platform_Create: " + std::string(field)), std::string::npos) << log;
  }
}

TEST_F(EosStandin, TellsAWrongSecretFromAWrongPassword) {
  const std::pair<const char*, const char*> rows[] = {{"right", "this ID and password"},
                                                      {"wrong", "the ClientSecret is wrong"}};
  for (const auto& [secret, line] : rows) {
    EOS_Platform_Options options = PlatformOptions();
    options.ClientCredentials.ClientSecret = secret;
    NewPlatform(options);
    log.clear();
    EXPECT_EQ(Login(EOS_LCT_Password, "player", "guess").results,
              std::vector{EOS_InvalidCredentials});
    EXPECT_NE(log.find(line), std::string::npos) << log;
  }
}

TEST_F(EosStandin, GivesWhatTheScopesOfTheLoginAllow) {
  using enum EOS_EAuthScopeFlags;
  for (const auto granted : {EOS_AS_NoFlags, EOS_AS_BasicProfile, EOS_AS_FriendsList}) {
    scopes = granted;
    Login();
    const bool lists = granted == EOS_AS_FriendsList;
    EXPECT_EQ(QueryFriends(), lists ? EOS_Success : EOS_MissingPermissions);
    EOS_UserInfo* info = OwnUserInfo();
    EXPECT_EQ(info->DisplayName != nullptr, granted == EOS_AS_BasicProfile);
    EOS_UserInfo_Release(info);
  }
}

// --- credentials ---

TEST_F(EosStandin, RefusesCredentialsOfTheWrongShape) {
  struct Row {
    EOS_ELoginCredentialType type;
    const char* id;
    const char* token;
    EOS_EResult result;
  };
  const Row rows[] = {
      {EOS_LCT_PersistentAuth, "", nullptr, EOS_InvalidParameters},
      {EOS_LCT_Password, "player", nullptr, EOS_InvalidParameters},
      {EOS_LCT_Developer, nullptr, "player", EOS_InvalidParameters},
      {EOS_LCT_Developer, "player", "player", EOS_InvalidParameters},
      {EOS_LCT_Developer, "localhost:", "player", EOS_InvalidParameters},
      {EOS_LCT_Developer, "localhost:6547", "secret", EOS_InvalidCredentials},
      {EOS_LCT_ExchangeCode, "player", "code", EOS_InvalidParameters},
      {EOS_LCT_AccountPortal, nullptr, "", EOS_InvalidParameters},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    const Answer answer = Login(row.type, row.id, row.token);
    EXPECT_EQ(answer.results, std::vector{row.result});
    EXPECT_EQ(answer.account, nullptr);
  }
}

TEST_F(EosStandin, RefusesUnknownVersions) {
  for (const int32_t version : {0, EOS_AUTH_LOGIN_API_LATEST + 1}) {
    EOS_Auth_LoginOptions options{};
    options.ApiVersion = version;
    Answer answer;
    EOS_Auth_Login(auth, &options, &answer, &OnLogin);
    Tick();
    EXPECT_EQ(answer.results, std::vector{EOS_VersionMismatch});
  }
}

TEST_F(EosStandin, KeepsThePersistentAuthorisationUntilItIsDeleted) {
  const auto persistent = [&] { return Login(EOS_LCT_PersistentAuth, nullptr, nullptr).results; };
  const std::string file = directory + "/EOS_PersistentAuth.json";
  Login();
  EOS_Platform_Release(platform);
  NewPlatform(PlatformOptions());
  EXPECT_EQ(persistent(), std::vector{EOS_Success});
  for (const char* damage :
       {"{", "[]", "{}", R"({"account_id":"x","refresh_token":""})",
        R"({"account_id":"00000000000000000000000000000bad","refresh_token":""})"}) {
    std::ofstream(file) << damage;
    EXPECT_EQ(persistent(), std::vector{EOS_InvalidAuth}) << damage;
  }
  const std::string newer = R"({"version": 2})";
  std::ofstream(file) << newer;
  EXPECT_EQ(Login().results, std::vector{EOS_Success});
  EXPECT_EQ(persistent(), std::vector{EOS_InvalidAuth});
  EXPECT_NE(log.find("written by a newer version and is not replaced"), std::string::npos) << log;
  EXPECT_EQ(std::filesystem::file_size(file), newer.size());
  std::ofstream(file) << "{}";
  Login();
  EXPECT_EQ(persistent(), std::vector{EOS_Success});
  const EOS_Auth_DeletePersistentAuthOptions options{2, nullptr};
  EOS_Auth_DeletePersistentAuth(auth, &options, nullptr, nullptr);
  Tick();
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(persistent(), std::vector{EOS_InvalidAuth});
}

// --- completions ---

// --- the world ---

TEST(EosWorld, SaysWhatIsWrongWithAFile) {
  const std::pair<std::string, std::string> rows[] = {
      {"{\n\"accounts\": [\n,", ":3: "},
      {"[]", ": /: must be an object"},
      {"{}", ": /accounts: is missing"},
      {R"({"accounts":[{}]})", ": /accounts/0/account_id: is missing"},
      {R"({"accounts":[],"x":1})", ": /x: is not known"},
      {R"({"accounts":[],"signs_in":"x"})", ": /signs_in: is no account's name"},
      {R"({"accounts":[],"calls":{"EOS_X":[]}})",
       ": /calls/EOS_X: is not a call that gives a result; the nearest: EOS_"},
      {R"({"accounts":[],"calls":{"EOS_Shutdown":[{"result":"x"}]}})",
       ": /calls/EOS_Shutdown/0/result: is no result code; the nearest: EOS_"},
      {R"({"accounts":[],"calls":{"EOS_Shutdown":[{"result":"EOS_NotFind"}]}})",
       ": /calls/EOS_Shutdown/0/result: is no result code; the nearest: EOS_NotFound, "},
      {R"({"accounts":[{"account_id":"x"}]})",
       ": /accounts/0/account_id: must be 32 hexadecimal digits"},
      {R"({"accounts":[],"seed":1e309})", ":1: number overflow"},
      {R"({"accounts":[],"calls":{"EOS_Shutdown":[{"result":4294967296}]}})",
       ": /calls/EOS_Shutdown/0/result: must be a 32-bit number or a name"},
      {R"({"accounts":[{"account_id":"00000000000000000000000000000f01","friends":[)"
       R"({"account_id":"00000000000000000000000000000f02"}],"generated_friends":2147483647}]})",
       ": /accounts/0: has more friends than can be counted"},
  };
  const std::string file = FreshDirectory();
  char message[256] = "";
  for (const auto& [text, expected] : rows) {
    std::ofstream(file) << text;
    EXPECT_EQ(EOS_StandIn_CheckWorld(file.c_str(), message, sizeof message), 1);
    EXPECT_EQ(std::string(message).substr(0, file.size() + expected.size()), file + expected);
  }
  std::ofstream(file) << kWorld;
  EXPECT_EQ(EOS_StandIn_CheckWorld(file.c_str(), message, sizeof message), 0);
  std::filesystem::remove(file);
  EXPECT_EQ(EOS_StandIn_CheckWorld(file.c_str(), message, sizeof message), 1);
}

}  // namespace
}  // namespace eos_standin
