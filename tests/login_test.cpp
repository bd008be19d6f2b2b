// Signing in: the login request, the two Auth attempts, Connect, the display name, the result.
#include <algorithm>
#include <atomic>
#include <fstream>
#include <limits>
#include <stdexcept>

#include "auth/eos_values.h"
#include "eos_auth_types.h"
#include "plugin_test.h"
#include "zelk_foundation_standin.h"

namespace zelk_test {
namespace {

using zelk_test::PrintTo;
using enum EOS_EAuthScopeFlags;
using enum EOS_ELogLevel;
using enum EOS_ELoginCredentialType;
using enum zelk::LogLevel;

class Login : public PluginTest {
 protected:
  void ExpectFailure(const Result& result, zelk::ResultCode ret_code,
                     EOS_EResult third_code = EOS_Success, const std::string& third_msg = "") {
    EXPECT_EQ(result.type, "AuthResult");
    EXPECT_EQ(result.observer_id, kAuthResultObserver);
    EXPECT_TRUE(result.flag);
    EXPECT_EQ(result.base.ret_code, ret_code);
    EXPECT_EQ(result.base.third_code, static_cast<int32_t>(third_code));
    EXPECT_EQ(result.base.third_msg.c_str(), third_msg);
  }
  Json Document(const Result& result) { return Json::parse(result.login.channel_info); }
};

TEST_F(Login, OfANewPlayerWritesItsLinesInOrder) {
  World(NewcomerWorld());
  LogIn("s1", kPortal, "basic_profile,Presence");
  TickUntilAnswered();

  const std::string id = kNewcomerId;
  const Json document = Document(TakeResult());
  const std::string product = document["productUserID"];
  const std::string token = document["access_token"];
  const std::string from_string =
      "1 EpicAccountIdFromString Call EOS_EpicAccountId_FromString, openid str:" + id;
  const std::string account_text =
      "1 EpicAccountIdToString EOS_EpicAccountId_ToString result:" + id;
  const std::string product_text =
      "1 EpicProductIdToString EOS_ProductUserId_ToString result:" + product;
  const std::string success = "1 EpicEResultToString EOS_EResult_ToString result:EOS_Success";
  EXPECT_THAT(
      OwnLines(),
      ElementsAre(
          "1 EpicAuth EpicAuth construction",                                   //
          "1 Login [s1], EpicAuth begin login",                                 //
          "1 Login [s1], permission:basic_profile",                             //
          "1 Login [s1], permission:Presence",                                  //
          "2 Login [s1], epic invalid permission: Presence",                    //
          "1 InitEpic [s1], EpicAuth begin InitEpic, init_=false",              //
          "1 InitEpic Call EOS_Initialize",                                     //
          "1 InitEpic Call EOS_Logging_SetCallback",                            //
          "1 InitEpic Call EOS_Logging_SetLogLevel",                            //
          "1 InitEpic Call EOS_Platform_Create",                                //
          "1 InitEpic Epic SDK init success",                                   //
          "1 Login [s1], login_mode:AccountPortal",                             //
          "1 Login [s1], call EOS_Auth_Login",                                  //
          "3 EpicAccountIdToString account_id is NULL",                         //
          "1 EpicEResultToString EOS_EResult_ToString result:EOS_InvalidAuth",  //
          "1 LoginCompleteCallbackFn Login complete, result:4 user id: msg:EOS_InvalidAuth",
          "1 LoginCompleteCallbackFn enter default login flow",  //
          account_text, success,                                 //
          "1 LoginCompleteCallbackFn Login complete, result:0 user id:" + id + " msg:EOS_Success",
          "1 LoginCompleteCallbackFn Login success, user id:" + id,  //
          "1 ConnectLogin Call EOS_Auth_CopyUserAuthToken",          //
          account_text,                                              //
          "1 ConnectLogin Got accessToken:" + token +
              " expiration:7200.00 epic_account_id_:" + id,                     //
          "1 ConnectLogin Call EOS_Connect_Login",                              //
          "1 ConnectLogin Call EOS_Auth_Token_Release",                         //
          "3 EpicProductIdToString account_id is NULL",                         //
          "1 EpicEResultToString EOS_EResult_ToString result:EOS_InvalidUser",  //
          "1 ConnectLoginCompleteCb Connect Login complete, result:3 localProductUserId: "
          "msg:EOS_InvalidUser",
          "2 ConnectLoginCompleteCb Invalid user, try to connect create user",  //
          "1 ConnectCreateUser Call EOS_Connect_CreateUser",                    //
          product_text, success,                                                //
          "1 ConnectCreateUserCompleteCb Connect Create User complete, result:0 "
          "local_product_userid:" +
              product + " msg:EOS_Success",
          "1 OnEpicPlatfromLoginSuccess Epic platform login success, account_id:" + id +
              " local_product_userid:" + product,                                 //
          "1 OnEpicPlatfromLoginSuccess Next to get UserInfo",                    //
          "1 OnEpicPlatfromLoginSuccess Call EOS_Platform_GetUserInfoInterface",  //
          from_string,                                                            //
          "1 OnEpicPlatfromLoginSuccess Call EOS_UserInfo_QueryUserInfoOptions",  //
          account_text, success,                                                  //
          "1 QueryUserInfoCompleteCallbackFn Query UserInfo complete, result:0 local_user_id:" +
              id + " msg:EOS_Success",
          "1 QueryUserInfoCompleteCallbackFn Query UserInfo success, local_user_id:" + id + " ",
          "1 OnEpicPlatfromGetUserInfoFinish Query UserInfo finish, result:1",  //
          "1 OnEpicPlatfromGetUserInfoFinish Query UserInfo success, start to get Display Name",
          from_string,                                                         //
          "1 OnEpicPlatfromGetUserInfoFinish Call EOS_UserInfo_CopyUserInfo",  //
          "1 OnEpicPlatfromGetUserInfoFinish Copy UserInfo success, display name:New Comer",
          "1 OnEpicPlatfromGetUserInfoFinish Call EOS_UserInfo_Release",  //
          "1 OnEpicPlatfromGetUserInfoFinish display name:New Comer"));
  for (const Line& line : Lines()) EXPECT_EQ(line.file, "zelk_epic_auth.cpp") << line.text;
}

TEST_F(Login, AnswersWithTheLoginDocumentInItsOrder) {
  eos_standin::SetWorld([] {
    Json world = TestWorld();
    world["access_token"] = {{"expires_in", 7200.9}, {"refresh_expires_in", 28800.999}};
    return world;
  }());
  LogIn("s1", kPortal);
  TickUntilAnswered();
  const Result result = TakeResult();
  EXPECT_EQ(result.type, "AuthPluginResult");
  EXPECT_EQ(result.observer_id, kAuthPluginResultObserver);
  EXPECT_FALSE(result.flag);
  EXPECT_EQ(result.base.method_id, kMethodIDAuthLogin);
  EXPECT_EQ(result.base.ret_code, kResultSuccess);
  EXPECT_EQ(result.login.channel, "Epic");
  EXPECT_EQ(result.login.channelid, 24);
  EXPECT_EQ(result.login.openid, kPlayerId);
  EXPECT_STREQ(result.base.extra_json.c_str(), "");
  const Json document = Document(result);
  const Json expected = {{"access_token", document["access_token"]},
                         {"expires_in", 7200},
                         {"refresh_token", document["refresh_token"]},
                         {"refresh_expires_in", 28800},
                         {"nickname", "Player One"},
                         {"productUserID", kPlayerProductId},
                         {"openid", kPlayerId},
                         {"flag", 0},
                         {"desc", "Epic login success"},
                         {"channel", "Epic"}};
  EXPECT_EQ(result.login.channel_info, expected.dump());
  EXPECT_FALSE(document["access_token"].get<std::string>().empty());
  EXPECT_EQ(CountCalls("EOS_UserInfo_QueryUserInfo"), 0);
  EXPECT_THAT(OwnLines(), Contains(std::string("1 ConnectLoginCompleteCb Connect Login success, "
                                               "localUserId:") +
                                   kPlayerProductId));
  EXPECT_EQ(CallsOf("EOS_Connect_Login").at(0)["Credentials"]["Token"], document["access_token"]);
}

TEST_F(Login, PassesTheConfigurationAndTheCacheDirectoryToEos) {
  SignIn();
  const Json initialize = CallsOf("EOS_Initialize").at(0);
  EXPECT_EQ(initialize["ApiVersion"], 3);
  EXPECT_EQ(initialize["ProductName"], "EPIC_PRODUCT_NAME");
  EXPECT_EQ(initialize["ProductVersion"], "EPIC_PRODUCT_VERSION");
  EXPECT_TRUE(initialize["Reserved"].is_null());
  const Json platform = CallsOf("EOS_Platform_Create").at(0);
  EXPECT_EQ(platform["ApiVersion"], 7);
  EXPECT_EQ(platform["ProductId"], "EPIC_PRODUCT_ID");
  EXPECT_EQ(platform["SandboxId"], "EPIC_SANDBOX_ID");
  EXPECT_EQ(platform["DeploymentId"], "EPIC_DEPLOYMENT_ID");
  EXPECT_EQ(platform["ClientCredentials"]["ClientId"], "EPIC_CLIENT_ID");
  EXPECT_EQ(platform["ClientCredentials"]["ClientSecret"], "EPIC_CLIENT_SECRET");
  EXPECT_EQ(platform["EncryptionKey"].get<std::string>().size(), 64U);
  EXPECT_TRUE(platform["OverrideCountryCode"].is_null());
  EXPECT_TRUE(platform["OverrideLocaleCode"].is_null());
  EXPECT_EQ(platform["Flags"], 0);
  EXPECT_TRUE(std::filesystem::exists(directory() / "EOS_PersistentAuth.json"));
  const Json connect = CallsOf("EOS_Connect_Login").at(0);
  EXPECT_EQ(connect["ApiVersion"], 2);
  EXPECT_EQ(connect["Credentials"]["Type"], EOS_EExternalCredentialType::EOS_ECT_EPIC);
  EXPECT_TRUE(connect["UserLoginInfo"].is_null());
}

struct ModeRow {
  const char* name;
  const char* extra_json;
  EOS_ELoginCredentialType type = EOS_LCT_Password;
  Json id = nullptr;
  Json token = nullptr;
  EOS_EResult result = EOS_Success;
};

class LoginMode : public Login, public testing::WithParamInterface<ModeRow> {};

TEST_P(LoginMode, IsTriedAfterThePersistentAuthorisation) {
  const ModeRow& row = GetParam();
  LogIn("s1", row.extra_json, "friends_list");
  TickUntilAnswered();
  const Result result = TakeResult();
  EXPECT_EQ(result.type, row.result == EOS_Success ? "AuthPluginResult" : "AuthResult");
  EXPECT_EQ(result.base.third_code, static_cast<int32_t>(row.result));
  const std::vector<Json> logins = CallsOf("EOS_Auth_Login");
  ASSERT_EQ(logins.size(), 2U);
  Json expected = {
      {"ApiVersion", 2}, {"Type", EOS_LCT_PersistentAuth}, {"Id", nullptr}, {"Token", nullptr}};
  for (const Json& login : logins) {
    EXPECT_EQ(login["ApiVersion"], 2);
    EXPECT_EQ(login["ScopeFlags"], EOS_AS_FriendsList);
    for (const auto& [key, value] : expected.items()) EXPECT_EQ(login["Credentials"][key], value);
    expected.update({{"Type", row.type}, {"Id", row.id}, {"Token", row.token}});
  }
}

INSTANTIATE_TEST_SUITE_P(
    Modes, LoginMode,
    testing::Values(
        ModeRow{.name = "IDPassword",
                .extra_json = R"({"LoginMode":"IDPassword","ID":"player","Password":"secret"})",
                .id = "player",
                .token = "secret"},
        ModeRow{.name = "WrongPassword",
                .extra_json = R"({"LoginMode":"IDPassword","ID":"player","Password":"guess"})",
                .id = "player",
                .token = "guess",
                .result = EOS_InvalidCredentials},
        ModeRow{.name = "EmptyPassword",
                .extra_json = R"({"LoginMode":"IDPassword","ID":"player","Password":""})",
                .id = "player",
                .token = "",
                .result = EOS_InvalidParameters},
        ModeRow{
            .name = "DevAuth",
            .extra_json = R"({"LoginMode":"DevAuth","ID":"localhost:6547","Password":"player"})",
            .type = EOS_LCT_Developer,
            .id = "localhost:6547",
            .token = "player"},
        ModeRow{.name = "ExchangeCode",
                .extra_json = R"({"LoginMode":"ExchangeCode","Code":"code"})",
                .type = EOS_LCT_ExchangeCode,
                .token = "code"},
        ModeRow{.name = "NumberAsCode",
                .extra_json = R"({"LoginMode":"ExchangeCode","Code":42})",
                .type = EOS_LCT_ExchangeCode,
                .token = "42",
                .result = EOS_InvalidCredentials},
        ModeRow{.name = "PinGrant",
                .extra_json = R"({"LoginMode":"PinGrant"})",
                .type = EOS_LCT_DeviceCode,
                .result = EOS_Auth_PinGrantCode},
        ModeRow{.name = "AccountPortal", .extra_json = kPortal, .type = EOS_LCT_AccountPortal},
        ModeRow{.name = "OtherWord",
                .extra_json = R"({"LoginMode":"accountportal"})",
                .result = EOS_InvalidParameters},
        ModeRow{.name = "NoWord",
                .extra_json = R"({"LoginMode":[1]})",
                .result = EOS_InvalidParameters}),
    kNameOfRow);

struct ArgumentRow {
  const char* name;
  std::string extra_json;
  const char* argument = "LoginMode";
  bool platform = false;  // whether EOS is brought up first
};

class LoginArgument : public Login, public testing::WithParamInterface<ArgumentRow> {};

TEST_P(LoginArgument, ThatIsMissingIsRefused) {
  const ArgumentRow& row = GetParam();
  LogIn("s1", row.extra_json, "nonsense");
  ExpectFailure(TakeResult(), kResultInvalidArgument);
  EXPECT_EQ(CountLines(std::string("[s1], LoginEndWithInvalidArgument [") + row.argument + "]"), 1);
  EXPECT_EQ(CountLines("[s1], epic invalid permission: nonsense"), row.platform ? 1 : 0);
  EXPECT_EQ(CountCalls("EOS_Initialize"), row.platform ? 1 : 0);
  EXPECT_EQ(CountCalls("EOS_Auth_Login"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, LoginArgument,
    testing::Values(
        ArgumentRow{.name = "Empty", .extra_json = ""},
        ArgumentRow{.name = "EmptyObject", .extra_json = "{}"},
        ArgumentRow{.name = "OtherCase", .extra_json = R"({"loginmode":"AccountPortal"})"},
        ArgumentRow{.name = "Array", .extra_json = R"(["LoginMode"])"},
        ArgumentRow{.name = "Malformed", .extra_json = R"({"LoginMode":"AccountPortal")"},
        ArgumentRow{.name = "NulInside",
                    .extra_json = std::string("{\"LoginMode\":\0\"AccountPortal\"}", 29)},
        ArgumentRow{.name = "InvalidUtf8", .extra_json = "{\"LoginMode\":\"\xff\"}"},
        ArgumentRow{.name = "DeeplyNested",
                    .extra_json = "{\"LoginMode\":" + std::string(1 << 20, '[')},
        ArgumentRow{.name = "NoId",
                    .extra_json = R"({"LoginMode":"IDPassword","Password":"secret"})",
                    .argument = "ID",
                    .platform = true},
        ArgumentRow{.name = "NoIdNorPassword",
                    .extra_json = R"({"LoginMode":"DevAuth","id":"player"})",
                    .argument = "ID",
                    .platform = true},
        ArgumentRow{.name = "NoPassword",
                    .extra_json = R"({"LoginMode":"IDPassword","ID":"player"})",
                    .argument = "Password",
                    .platform = true},
        ArgumentRow{.name = "NoDevPassword",
                    .extra_json = R"({"LoginMode":"DevAuth","ID":""})",
                    .argument = "Password",
                    .platform = true},
        ArgumentRow{.name = "NoCode",
                    .extra_json = R"({"LoginMode":"ExchangeCode","ID":"a","Password":"b"})",
                    .argument = "Code",
                    .platform = true}),
    kNameOfRow);

TEST_F(Login, TurnsPermissionWordsIntoScopeFlags) {
  std::string many = "presence";
  for (int i = 0; i < 100'000; ++i) many += ",x";
  const struct {
    std::string words;
    EOS_EAuthScopeFlags flags;
    int64_t invalid;
  } rows[] = {
      {"", EOS_AS_NoFlags, 0},
      {"basic_profile,friends_list,presence",
       EOS_AS_BasicProfile | EOS_AS_FriendsList | EOS_AS_Presence, 0},
      {"presence,presence", EOS_AS_Presence, 0},
      {"Presence, friends_list,basic_profile ", EOS_AS_NoFlags, 3},
      {",,,", EOS_AS_NoFlags, 0},
      {"  ", EOS_AS_NoFlags, 1},
      {"friends_list,\xff\xfe,", EOS_AS_FriendsList, 1},
      {many, EOS_AS_Presence, 100'000},
  };
  for (const auto& row : rows) {
    ForgetLines();
    LogIn("s" + row.words.substr(0, 40), kPortal, row.words);
    EXPECT_EQ(std::ranges::count_if(Lines(),
                                    [](const Line& line) {
                                      return line.level == kLogWarning &&
                                             line.text.find("epic invalid") != std::string::npos;
                                    }),
              row.invalid)
        << row.words.substr(0, 40);
    EXPECT_EQ(CallsOf("EOS_Auth_Login").back()["ScopeFlags"], row.flags);
    TickUntilAnswered();
  }
}

struct FaultRow {
  Fault fault;
  const char* line;  // that says so, with its level in front
  zelk::ResultCode ret_code = kResultThirdError;
};

class LoginFault : public Login, public testing::WithParamInterface<FaultRow> {};

TEST_P(LoginFault, IsLogged) {
  World(NewcomerWorld());
  Fail(GetParam().fault);
  LogIn("s1", kPortal);
  TickUntilAnswered();
  EXPECT_EQ(TakeResult().base.ret_code, GetParam().ret_code);
  EXPECT_THAT(OwnLines(), Contains(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, LoginFault,
    testing::Values(
        FaultRow{
            {.call = "EOS_Initialize"}, "3 Login [s1], Epic init error", kResultNotInitialized},
        FaultRow{{.call = "EOS_Logging_SetCallback"},
                 "3 InitEpic EOS_Logging_SetCallback return failed!",
                 kResultSuccess},
        FaultRow{{.call = "EOS_Platform_Create"},
                 "3 InitEpic [EOS SDK] Platform Create Failed!",
                 kResultNotInitialized},
        FaultRow{{.call = "EOS_Platform_GetAuthInterface"},
                 "3 Login [s1], epic_platform_handle_ is null",
                 kResultNotInitialized},
        FaultRow{{.call = "EOS_Auth_Login", .result = EOS_TooManyRequests},
                 "3 LoginCompleteCallbackFn Login Failed! Error Code:8 Msg:EOS_TooManyRequests"},
        FaultRow{{.call = "EOS_Auth_Login", .result = EOS_Canceled, .skip = 1},
                 "3 LoginEndWithThirdError [s1], LoginEndWithThirdError, err_code:17, "
                 "err_msg:EOS_Canceled"},
        FaultRow{{.call = "EOS_Auth_Login", .result = EOS_Auth_MFARequired, .skip = 1},
                 "2 LoginCompleteCallbackFn MFA Code needs to be entered before logging in"},
        FaultRow{{.call = "EOS_Auth_CopyUserAuthToken", .result = EOS_InvalidUser},
                 "3 LoginEndWithThirdError [s1], LoginEndWithThirdError, err_code:3, "
                 "err_msg:EOS_InvalidUser"},
        FaultRow{{.call = "EOS_Platform_GetConnectInterface"},
                 "3 LoginEndWithThirdError [s1], LoginEndWithThirdError, err_code:10, "
                 "err_msg:EOS_InvalidParameters"},
        FaultRow{
            {.call = "EOS_Connect_Login", .result = EOS_NoConnection},
            "3 ConnectLoginCompleteCb Connect Login Failed! Error Code:1 Msg:EOS_NoConnection"},
        FaultRow{{.call = "EOS_Connect_CreateUser", .result = EOS_AccessDenied},
                 "3 LoginEndWithThirdError [s1], LoginEndWithThirdError, err_code:5, "
                 "err_msg:EOS_AccessDenied"},
        FaultRow{{.call = "EOS_Platform_GetUserInfoInterface"},
                 "3 OnEpicPlatfromGetUserInfoFinish Query UserInfo failed",
                 kResultSuccess},
        FaultRow{{.call = "EOS_Platform_GetUserInfoInterface", .skip = 1},
                 "3 OnEpicPlatfromGetUserInfoFinish Copy UserInfo failed",
                 kResultSuccess},
        FaultRow{
            {.call = "EOS_UserInfo_QueryUserInfo", .result = EOS_MissingPermissions},
            "3 QueryUserInfoCompleteCallbackFn Query User Info error:6 msg:EOS_MissingPermissions",
            kResultSuccess},
        FaultRow{{.call = "EOS_UserInfo_CopyUserInfo"},
                 "3 OnEpicPlatfromGetUserInfoFinish Copy UserInfo failed",
                 kResultSuccess},
        FaultRow{{.call = "EOS_ProductUserId_ToString", .result = EOS_LimitExceeded},
                 "3 EpicProductIdToString EOS_EpicAccountId_ToString error:EOS_LimitExceeded",
                 kResultSuccess},
        FaultRow{{.call = "EOS_EpicAccountId_ToString", .result = EOS_LimitExceeded},
                 "3 EpicAccountIdToString EOS_EpicAccountId_ToString error:EOS_LimitExceeded",
                 kResultSuccess}),
    [](const auto& row) {
      const Fault& fault = row.param.fault;
      return std::string(fault.call) + "_" + std::to_string(static_cast<int32_t>(fault.result)) +
             "_" + std::to_string(fault.skip);
    });

TEST_F(Login, WithoutADisplayNameHasAnEmptyNickname) {
  eos_standin::AddRule({.call = "EOS_UserInfo_CopyUserInfo", .null_texts = true});
  LogIn("s1", kPortal);
  TickUntilAnswered();
  EXPECT_EQ(Document(TakeResult())["nickname"], "");
}

TEST_F(Login, ByPinGrantIsAnsweredOnceThoughEosCompletesTwice) {
  LogIn("s1", R"({"LoginMode":"PinGrant"})");
  Tick(20);
  ExpectFailure(TakeResult(), kResultThirdError, EOS_Auth_PinGrantCode, "EOS_Auth_PinGrantCode");
  EXPECT_THAT(OwnLines(),
              Contains(HasSubstr("2 LoginCompleteCallbackFn Waiting for PIN grant Code:")));
  EXPECT_EQ(CountLines("LoginCompleteCallbackFn base_params_ is null, memory leak"), 1);
}

TEST_F(Login, BringsThePlatformUpOnceAndRegistersForExpirationOnce) {
  SignIn();
  SignIn();
  ExpectAnswers("sign-in", 2);
  EXPECT_EQ(CountCalls("EOS_Auth_Login"), 3);  // the second time by the persistent authorisation
  EXPECT_EQ(CountCalls("EOS_Initialize"), 1);
  EXPECT_EQ(CountLines("[sign-in], EpicAuth begin InitEpic, init_=true"), 1);
  EXPECT_EQ(CountCalls("EOS_Connect_AddNotifyAuthExpiration"), 1);
  EXPECT_EQ(CountCalls("EOS_Platform_GetConnectInterface"), 2);
  EXPECT_EQ(CountCalls("EOS_Platform_GetAuthInterface"), 1);
}

TEST_F(Login, EndsWhenAnotherFindsTheConnectInterfaceGone) {
  World(NewcomerWorld());
  LogIn("s1", kPortal);
  Tick(2);  // EOS_Connect_Login is under way
  Fail({.call = "EOS_Platform_GetConnectInterface"});
  LogIn("s2", kPortal);
  TickUntilAnswered();
  for (const Result& result : TakeResults()) {
    ExpectFailure(result, kResultThirdError, EOS_InvalidParameters, "EOS_InvalidParameters");
  }
}

TEST_F(Login, ReportsThatTheConnectTokenRunsOut) {
  SignIn();
  eos_standin::ExpireConnectToken();
  Tick();
  eos_standin::ExpireConnectToken(true);
  Tick();
  EXPECT_THAT(OwnLines(), Contains("2 ConnectAuthExpirationCb Connect Auth Expiring - "
                                   "ProductUserId: " +
                                   std::string(kPlayerProductId)));
  EXPECT_THAT(TakeResults(), IsEmpty());
  for (const char* call : {"EOS_Auth_Logout", "EOS_Auth_DeletePersistentAuth"}) {
    eos_standin::AddRule({.call = call, .null_data = true});
  }
  Logout("out");
  Tick();
  for (const char* function :
       {"ConnectAuthExpirationCb", "LogoutCompleteCallbackFn", "DeletePersistentAuthCallback"}) {
    EXPECT_THAT(OwnLines(), Contains(std::string("3 ") + function + " NULL Data for CallbackFn"));
  }
}

// --- what outlives the sign-in ---

TEST_F(Login, StoresItsOwnTextAfterSuccessAndRemovesItAtTheNextStart) {
  const std::string text = R"( {"LoginMode" : "AccountPortal", "note":"ä"} )";
  LogIn("s1", text);
  TickUntilAnswered();
  TakeResults();
  EXPECT_EQ(StoredParameters(), text);
  LogIn("s2", "");
  ExpectFailure(TakeResult(), kResultInvalidArgument);
  EXPECT_EQ(StoredParameters(), "");
}

TEST_F(Login, AutomaticallyUsesTheStoredTextUnlessItBringsItsOwn) {
  LogIn("s1", R"({"LoginMode":"IDPassword","ID":"player","Password":"secret"})");
  TickUntilAnswered();
  const std::string stored = StoredParameters();
  TakeResults();
  const struct {
    const char* extra_json;
    EOS_ELoginCredentialType type;
  } rows[] = {{"", EOS_LCT_Password},
              {"{}", EOS_LCT_Password},
              {"[]", EOS_LCT_Password},
              {kPortal, EOS_LCT_AccountPortal},
              {R"({"LoginMode":""})", EOS_LCT_Password}};
  for (const auto& row : rows) {
    // The persistent authorisation is of no use.
    Fail({.call = "EOS_Auth_Login", .result = EOS_InvalidAuth, .times = 1});
    const std::string seq_id = std::string("auto ") + row.extra_json;
    AutoLogin(seq_id, row.extra_json);
    TickUntilAnswered();
    const Result result = TakeResult();
    EXPECT_EQ(CallsOf("EOS_Auth_Login").back()["Credentials"]["Type"], row.type) << seq_id;
    EXPECT_EQ(result.base.method_id, kMethodIDAuthAutoLogin);
    if (result.type == "AuthPluginResult") {
      EXPECT_STREQ(result.base.extra_json.c_str(), R"({"autoLoginFlags":false})");
      EXPECT_EQ(result.observer_id, kAuthPluginResultObserver);
    }
    EXPECT_EQ(StoredParameters(), stored);
  }
}

TEST_F(Login, WithAnotherMethodLeavesTheStoreAlone) {
  constexpr int32_t kOtherMethod = kMethodIDAuthBind;
  SignIn();
  const std::string stored = StoredParameters();
  LogIn("s1", "", "", kOtherMethod);
  ExpectFailure(TakeResult(), kResultInvalidArgument);
  LogIn("s2", kPortal, "", kOtherMethod);
  TickUntilAnswered();
  const Result result = TakeResult();
  EXPECT_EQ(result.base.method_id, kOtherMethod);
  EXPECT_STREQ(result.base.extra_json.c_str(), "");
  EXPECT_EQ(StoredParameters(), stored);
}

TEST_F(Login, SucceedsThoughNothingCanBeStored) {
  std::ofstream(directory() / "file") << "in the way";
  zelk::foundation_standin::SetStoreDirectory(directory() / "file" / "store");
  SignIn();
  EXPECT_THAT(OwnLines(),
              Contains(testing::AllOf(testing::StartsWith("3 "), HasSubstr(directory().string()))));
}

TEST_F(Login, TakesLongAndStrangeTexts) {
  const std::string long_text(1 << 20, 'x');
  const std::string seq_id = std::string("a\0b", 3);
  const Json parameters = {{"LoginMode", "IDPassword"}, {"ID", long_text}, {"Password", "\u00e4"}};
  ExpectAnswers("a", 1);
  ExpectAnswers(seq_id, 0);
  plugin().login({kMethodIDAuthLogin, seq_id, long_text, parameters.dump()}, "");
  TickUntilAnswered();
  ExpectFailure(TakeResult(), kResultThirdError, EOS_InvalidCredentials, "EOS_InvalidCredentials");
  EXPECT_EQ(CallsOf("EOS_Auth_Login").back()["Credentials"]["Id"], long_text);
}

// --- what comes in between ---

class LoginShutDown : public Login, public testing::WithParamInterface<int> {};

// The completions take this for a platform that goes away while they run: they start nothing new.
TEST_P(LoginShutDown, InsideACompletionIsAnsweredOnce) {
  constexpr int kLastCompletion = 5;  // which has all but the display name
  World(NewcomerWorld());
  int completions = 0;
  eos_standin::SetHook([&](const std::string& call) {
    if (call == "EOS_EResult_ToString" && ++completions == GetParam()) Shutdown();
  });
  LogIn("s1", kPortal);
  Tick(10);
  eos_standin::SetHook(nullptr);
  Shutdown();
  const bool is_complete = GetParam() == kLastCompletion;
  EXPECT_EQ(TakeResult().base.ret_code, is_complete ? kResultSuccess : kResultNotInitialized);
}

INSTANTIATE_TEST_SUITE_P(Completions, LoginShutDown, testing::Range(1, 6));

struct ThrowRow {
  zelk::MethodID method_id;  // of the request; none for a tick
  const char* call;          // that throws
  const char* function;      // that logs it
  bool is_newcomer = false;
  zelk::ResultCode ret_code = kResultUnknownError;
};

TEST_F(Login, AndAllElseThatThrowsIsLoggedAndAnswered) {
  const ThrowRow rows[] = {
      {kMethodIDAuthLogin, "EOS_Platform_GetAuthInterface", "zelk_epic_auth_login"},
      {kMethodIDAuthAutoLogin, "EOS_Platform_GetAuthInterface", "zelk_epic_auth_auto_login"},
      {kMethodIDAuthLogout, "EOS_Platform_GetAuthInterface", "zelk_epic_auth_logout"},
      {kMethodIDUndefine, "EOS_Platform_Tick", "zelk_epic_update"},
      {kMethodIDAuthLogin, "EOS_Auth_CopyUserAuthToken", "LoginCompleteCallbackFn"},
      {kMethodIDAuthLogin, "EOS_ProductUserId_ToString", "ConnectLoginCompleteCb"},
      {kMethodIDAuthLogin, "EOS_ProductUserId_ToString", "ConnectCreateUserCompleteCb", true},
      {kMethodIDAuthLogin, "EOS_UserInfo_CopyUserInfo", "QueryUserInfoCompleteCallbackFn", true},
      {kMethodIDFriendQueryFriends, "EOS_EpicAccountId_IsValid", "zelk_epic_friend_queryfriends"},
      {kMethodIDFriendQueryFriends, "EOS_Friends_GetFriendsCount",
       "QueryFriendsCompleteCallbackFn"},
      {kMethodIDFriendQueryFriends, "EOS_Platform_GetUserInfoInterface",
       "QueryFriendsInfoThreadProc"},
      {kMethodIDFriendQueryFriends, "EOS_UserInfo_CopyUserInfo",
       "QueryFriendUserInfoCompleteCallbackFn"},
      {kMethodIDAuthLogout, "EOS_EpicAccountId_ToString", "LogoutCompleteCallbackFn", false,
       kResultSuccess},
  };
  World(TestWorld(1));
  for (const ThrowRow& row : rows) {
    for (const std::string text : {"exception: from EOS", "unknown exception"}) {
      const std::string line = std::string("3 ") + row.function + " " + text;
      SCOPED_TRACE(line);
      eos_standin::ClearRules();
      if (row.is_newcomer) Fail({.call = "EOS_Connect_Login", .result = EOS_InvalidUser});
      if (row.ret_code == kResultSuccess) LogIn("before " + text, kPortal), Settle(), TakeResults();
      std::atomic<bool> has_thrown = false;
      eos_standin::SetHook([&](const std::string& call) {
        if (call != row.call || has_thrown.exchange(true)) return;
        if (text.starts_with("exception")) throw std::runtime_error("from EOS");
        throw 0;
      });
      if (row.method_id == kMethodIDAuthLogin) LogIn(line, kPortal);
      if (row.method_id == kMethodIDAuthAutoLogin) AutoLogin(line, kPortal);
      if (row.method_id == kMethodIDAuthLogout) Logout(line);
      if (row.method_id == kMethodIDFriendQueryFriends) QueryFriends(line, 1, 1);
      Tick();
      Settle();
      eos_standin::SetHook(nullptr);
      EXPECT_THAT(OwnLines(), Contains(line));
      for (const Result& result : TakeResults()) EXPECT_EQ(result.base.ret_code, row.ret_code);
    }
  }
}

TEST_F(Login, WithATokenWhoseLifetimeIsNoNumberSaysZero) {
  EXPECT_EQ(zelk::WholeSeconds(std::numeric_limits<double>::quiet_NaN()), 0U);
  EXPECT_EQ(zelk::WholeSeconds(-1), 0U);
}

// --- the log bridge ---

TEST_F(Login, BridgesTheLogOfEosFromAnyThread) {
  SignIn();
  const struct {
    EOS_ELogLevel eos;
    int level;  // 0: no line
  } rows[] = {{EOS_LOG_Off, 0},
              {EOS_LOG_Fatal, kLogError},
              {EOS_LOG_Error, kLogError},
              {EOS_ELogLevel{250}, kLogInfo},
              {EOS_LOG_Warning, kLogWarning},
              {EOS_LOG_Info, kLogInfo},
              {EOS_LOG_Verbose, kLogInfo}};
  for (const auto& row : rows) {
    ForgetLines();
    eos_standin::LogFromOwnThread(row.eos, "LogEOS", "message");
    const std::vector<Line> lines = Lines();
    ASSERT_EQ(lines.size(), row.level == 0 ? 0U : 1U);
    if (row.level == 0) continue;
    EXPECT_EQ(lines[0].level, row.level);
    EXPECT_EQ(lines[0].function, "zelk::ZELK_EOSSDKLoggingCallback");
    EXPECT_EQ(lines[0].text, "[EOS SDK] LogEOS: message");
  }
}

}  // namespace
}  // namespace zelk_test
