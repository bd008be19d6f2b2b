// Signing in: the login request, the two Auth attempts, Connect, the display name, the result.
#include <fstream>
#include <thread>

#include "plugin_test.h"
#include "zelk_foundation_standin.h"

namespace zelk_test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using zelk_test::PrintTo;

class Login : public PluginTest {
 protected:
  void ExpectFailure(const Result& result, int32_t ret_code, int32_t third_code,
                     const std::string& third_msg) {
    EXPECT_EQ(result.type, "AuthResult");
    EXPECT_EQ(result.observer_id, 101U);
    EXPECT_TRUE(result.flag);
    EXPECT_EQ(result.base.ret_code, ret_code);
    EXPECT_EQ(result.base.third_code, third_code);
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
  EXPECT_EQ(result.observer_id, 106U);
  EXPECT_FALSE(result.flag);
  EXPECT_EQ(result.base.method_id, 102);
  EXPECT_EQ(result.base.ret_code, 0);
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
}

TEST_F(Login, PassesTheConfigurationAndTheCacheDirectoryToEos) {
  SignIn();
  const Json initialize = CallsOf("EOS_Initialize").at(0);
  EXPECT_EQ(initialize["ApiVersion"], 3);
  EXPECT_EQ(initialize["ProductName"], "Test");
  EXPECT_EQ(initialize["ProductVersion"], "1.2");
  EXPECT_TRUE(initialize["Reserved"].is_null());
  const Json platform = CallsOf("EOS_Platform_Create").at(0);
  EXPECT_EQ(platform["ApiVersion"], 7);
  EXPECT_EQ(platform["ProductId"], "product");
  EXPECT_EQ(platform["SandboxId"], "sandbox");
  EXPECT_EQ(platform["DeploymentId"], "deployment");
  EXPECT_EQ(platform["ClientCredentials"]["ClientId"], "client");
  EXPECT_EQ(platform["ClientCredentials"]["ClientSecret"], "secret");
  EXPECT_EQ(platform["EncryptionKey"].get<std::string>().size(), 64U);
  EXPECT_TRUE(platform["OverrideCountryCode"].is_null());
  EXPECT_TRUE(platform["OverrideLocaleCode"].is_null());
  EXPECT_EQ(platform["Flags"], 0);
  EXPECT_TRUE(std::filesystem::exists(directory() / "EOS_PersistentAuth.json"));
  const Json connect = CallsOf("EOS_Connect_Login").at(0);
  EXPECT_EQ(connect["ApiVersion"], 2);
  EXPECT_EQ(connect["Credentials"]["Type"], 0);
  EXPECT_TRUE(connect["UserLoginInfo"].is_null());
}

struct ModeRow {
  const char* name;
  const char* extra_json;
  int type;
  Json id;
  Json token;
  int32_t third_code;  // 0: signs in
};

class LoginMode : public Login, public testing::WithParamInterface<ModeRow> {};

TEST_P(LoginMode, IsTriedAfterThePersistentAuthorisation) {
  const ModeRow& row = GetParam();
  LogIn("s1", row.extra_json, "friends_list");
  TickUntilAnswered();
  const std::vector<Json> logins = CallsOf("EOS_Auth_Login");
  ASSERT_EQ(logins.size(), 2U);
  EXPECT_EQ(logins[0]["ApiVersion"], 2);
  EXPECT_EQ(logins[0]["ScopeFlags"], 2);
  EXPECT_EQ(logins[0]["Credentials"]["ApiVersion"], 2);
  EXPECT_EQ(logins[0]["Credentials"]["Type"], 2);
  EXPECT_TRUE(logins[0]["Credentials"]["Id"].is_null());
  EXPECT_TRUE(logins[0]["Credentials"]["Token"].is_null());
  EXPECT_EQ(logins[1]["ApiVersion"], 2);
  EXPECT_EQ(logins[1]["ScopeFlags"], 2);
  EXPECT_EQ(logins[1]["Credentials"]["Type"], row.type);
  EXPECT_EQ(logins[1]["Credentials"]["Id"], row.id);
  EXPECT_EQ(logins[1]["Credentials"]["Token"], row.token);
  const Result result = TakeResult();
  EXPECT_EQ(result.type, row.third_code == 0 ? "AuthPluginResult" : "AuthResult");
  EXPECT_EQ(result.base.third_code, row.third_code);
}

INSTANTIATE_TEST_SUITE_P(
    Modes, LoginMode,
    testing::Values(
        ModeRow{"IDPassword", R"({"LoginMode":"IDPassword","ID":"player","Password":"secret"})", 0,
                "player", "secret", 0},
        ModeRow{"WrongPassword", R"({"LoginMode":"IDPassword","ID":"player","Password":"guess"})",
                0, "player", "guess", 2},
        ModeRow{"EmptyPassword", R"({"LoginMode":"IDPassword","ID":"player","Password":""})", 0,
                "player", "", 10},
        ModeRow{"DevAuth", R"({"LoginMode":"DevAuth","ID":"player","Password":"secret"})", 4,
                "player", "secret", 0},
        ModeRow{"ExchangeCode", R"({"LoginMode":"ExchangeCode","Code":"code"})", 1, nullptr, "code",
                0},
        ModeRow{"NumberAsCode", R"({"LoginMode":"ExchangeCode","Code":42})", 1, nullptr, "42", 2},
        ModeRow{"PinGrant", R"({"LoginMode":"PinGrant"})", 3, nullptr, nullptr, 1020},
        ModeRow{"AccountPortal", kPortal, 6, nullptr, nullptr, 0},
        ModeRow{"OtherWord", R"({"LoginMode":"accountportal"})", 0, nullptr, nullptr, 10},
        ModeRow{"NoWord", R"({"LoginMode":[1]})", 0, nullptr, nullptr, 10}),
    [](const auto& row) { return row.param.name; });

struct ArgumentRow {
  const char* name;
  std::string extra_json;
  const char* argument;
  bool platform;  // whether EOS is brought up first
};

class LoginArgument : public Login, public testing::WithParamInterface<ArgumentRow> {};

TEST_P(LoginArgument, ThatIsMissingIsRefused) {
  const ArgumentRow& row = GetParam();
  LogIn("s1", row.extra_json, "nonsense");
  ExpectFailure(TakeResult(), 11, 0, "");
  EXPECT_EQ(
      LinesSaying(std::string("[s1], LoginEndWithInvalidArgument [") + row.argument + "]").size(),
      1U);
  EXPECT_EQ(LinesSaying("[s1], epic invalid permission: nonsense").size(), row.platform ? 1U : 0U);
  EXPECT_EQ(CountCalls("EOS_Initialize"), row.platform ? 1 : 0);
  EXPECT_EQ(CountCalls("EOS_Auth_Login"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, LoginArgument,
    testing::Values(
        ArgumentRow{"Empty", "", "LoginMode", false},
        ArgumentRow{"EmptyObject", "{}", "LoginMode", false},
        ArgumentRow{"OtherCase", R"({"loginmode":"AccountPortal"})", "LoginMode", false},
        ArgumentRow{"Array", R"(["LoginMode"])", "LoginMode", false},
        ArgumentRow{"Malformed", R"({"LoginMode":"AccountPortal")", "LoginMode", false},
        ArgumentRow{"NulInside", std::string("{\"LoginMode\":\0\"AccountPortal\"}", 29),
                    "LoginMode", false},
        ArgumentRow{"InvalidUtf8", "{\"LoginMode\":\"\xff\"}", "LoginMode", false},
        ArgumentRow{"DeeplyNested", "{\"LoginMode\":" + std::string(1 << 20, '['), "LoginMode",
                    false},
        ArgumentRow{"NoId", R"({"LoginMode":"IDPassword","Password":"secret"})", "ID", true},
        ArgumentRow{"NoIdNorPassword", R"({"LoginMode":"DevAuth","id":"player"})", "ID", true},
        ArgumentRow{"NoPassword", R"({"LoginMode":"IDPassword","ID":"player"})", "Password", true},
        ArgumentRow{"NoDevPassword", R"({"LoginMode":"DevAuth","ID":""})", "Password", true},
        ArgumentRow{"NoCode", R"({"LoginMode":"ExchangeCode","ID":"a","Password":"b"})", "Code",
                    true}),
    [](const auto& row) { return row.param.name; });

TEST_F(Login, TurnsPermissionWordsIntoScopeFlags) {
  std::string many = "presence";
  for (int i = 0; i < 100'000; ++i) many += ",x";
  const struct {
    std::string words;
    int flags;
    std::size_t invalid;
  } rows[] = {
      {"", 0, 0},
      {"basic_profile,friends_list,presence", 7, 0},
      {"presence,presence", 4, 0},
      {"Presence, friends_list,basic_profile ", 0, 3},
      {",,,", 0, 0},
      {"  ", 0, 1},
      {"friends_list,\xff\xfe,", 2, 1},
      {many, 4, 100'000},
  };
  for (const auto& row : rows) {
    ForgetLines();
    LogIn("s" + row.words.substr(0, 40), kPortal, row.words);
    std::size_t invalid = 0;
    for (const Line& line : Lines()) {
      if (line.level == 2 && line.text.find("epic invalid permission: ") != std::string::npos) {
        ++invalid;
      }
    }
    EXPECT_EQ(invalid, row.invalid) << row.words.substr(0, 40);
    EXPECT_EQ(CallsOf("EOS_Auth_Login").back()["ScopeFlags"], row.flags);
    TickUntilAnswered();
  }
}

struct FaultRow {
  const char* name;
  const char* call;
  int32_t given;
  int64_t skip;      // calls that go well first
  int32_t ret_code;  // 0: the login succeeds all the same
  int32_t third_code;
  const char* third_msg;
  const char* line;  // a line that says so, with its level in front
};

class LoginFault : public Login, public testing::WithParamInterface<FaultRow> {};

TEST_P(LoginFault, EndsTheLoginAsItShould) {
  const FaultRow& row = GetParam();
  World(NewcomerWorld());
  Fail(row.call, row.given, 0, row.skip);
  LogIn("s1", kPortal);
  TickUntilAnswered();
  const Result result = TakeResult();
  EXPECT_EQ(result.base.method_id, 102);
  if (row.ret_code == 0) {
    ASSERT_EQ(result.type, "AuthPluginResult");
    EXPECT_EQ(Document(result)["desc"], "Epic login success");
  } else {
    ExpectFailure(result, row.ret_code, row.third_code, row.third_msg);
    EXPECT_EQ(StoredParameters(), "");
  }
  EXPECT_THAT(OwnLines(), Contains(row.line));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, LoginFault,
    testing::Values(
        FaultRow{"Initialize", "EOS_Initialize", 10, 0, 17, 0, "", "3 Login [s1], Epic init error"},
        FaultRow{"LogCallback", "EOS_Logging_SetCallback", 14, 0, 0, 0, "",
                 "3 InitEpic EOS_Logging_SetCallback return failed!"},
        FaultRow{"Platform", "EOS_Platform_Create", 1, 0, 17, 0, "",
                 "3 InitEpic [EOS SDK] Platform Create Failed!"},
        FaultRow{"AuthInterface", "EOS_Platform_GetAuthInterface", 1, 0, 17, 0, "",
                 "3 Login [s1], epic_platform_handle_ is null"},
        FaultRow{"BothAttempts", "EOS_Auth_Login", 8, 0, 9999, 8, "EOS_TooManyRequests",
                 "3 LoginCompleteCallbackFn Login Failed! Error Code:8 Msg:EOS_TooManyRequests"},
        FaultRow{"SecondAttempt", "EOS_Auth_Login", 17, 1, 9999, 17, "EOS_Canceled",
                 "3 LoginEndWithThirdError [s1], LoginEndWithThirdError, err_code:17, "
                 "err_msg:EOS_Canceled"},
        FaultRow{"Mfa", "EOS_Auth_Login", 1060, 1, 9999, 1060, "EOS_Auth_MFARequired",
                 "2 LoginCompleteCallbackFn MFA Code needs to be entered before logging in"},
        FaultRow{"CopyToken", "EOS_Auth_CopyUserAuthToken", 3, 0, 9999, 3, "EOS_InvalidUser",
                 "3 LoginEndWithThirdError [s1], LoginEndWithThirdError, err_code:3, "
                 "err_msg:EOS_InvalidUser"},
        FaultRow{"ConnectInterface", "EOS_Platform_GetConnectInterface", 1, 0, 9999, 10,
                 "EOS_InvalidParameters",
                 "3 LoginEndWithThirdError [s1], LoginEndWithThirdError, err_code:10, "
                 "err_msg:EOS_InvalidParameters"},
        FaultRow{"ConnectLogin", "EOS_Connect_Login", 1, 0, 9999, 1, "EOS_NoConnection",
                 "3 ConnectLoginCompleteCb Connect Login Failed! Error Code:1 "
                 "Msg:EOS_NoConnection"},
        FaultRow{"CreateUser", "EOS_Connect_CreateUser", 5, 0, 9999, 5, "EOS_AccessDenied",
                 "3 LoginEndWithThirdError [s1], LoginEndWithThirdError, err_code:5, "
                 "err_msg:EOS_AccessDenied"},
        FaultRow{"UserInfoInterface", "EOS_Platform_GetUserInfoInterface", 1, 0, 0, 0, "",
                 "3 OnEpicPlatfromGetUserInfoFinish Query UserInfo failed"},
        FaultRow{"UserInfoInterfaceForTheCopy", "EOS_Platform_GetUserInfoInterface", 1, 1, 0, 0, "",
                 "3 OnEpicPlatfromGetUserInfoFinish Copy UserInfo failed"},
        FaultRow{"QueryUserInfo", "EOS_UserInfo_QueryUserInfo", 6, 0, 0, 0, "",
                 "3 QueryUserInfoCompleteCallbackFn Query User Info error:6 "
                 "msg:EOS_MissingPermissions"},
        FaultRow{"CopyUserInfo", "EOS_UserInfo_CopyUserInfo", 18, 0, 0, 0, "",
                 "3 OnEpicPlatfromGetUserInfoFinish Copy UserInfo failed"},
        FaultRow{"ProductUserText", "EOS_ProductUserId_ToString", 22, 0, 0, 0, "",
                 "3 EpicProductIdToString EOS_EpicAccountId_ToString error:EOS_LimitExceeded"},
        FaultRow{"AccountText", "EOS_EpicAccountId_ToString", 22, 0, 0, 0, "",
                 "3 EpicAccountIdToString EOS_EpicAccountId_ToString error:EOS_LimitExceeded"}),
    [](const auto& row) { return row.param.name; });

TEST_F(Login, WithoutADisplayNameHasAnEmptyNickname) {
  eos_standin::AddRule({.call = "EOS_UserInfo_CopyUserInfo", .null_texts = true});
  LogIn("s1", kPortal);
  TickUntilAnswered();
  EXPECT_EQ(Document(TakeResult())["nickname"], "");
}

TEST_F(Login, FirstAttemptThatWantsAnMfaCodeStillLeadsToTheSecond) {
  Fail("EOS_Auth_Login", 1060, 1);
  SignIn();
  EXPECT_EQ(CountCalls("EOS_Auth_Login"), 2);
  EXPECT_EQ(LinesSaying("MFA Code needs to be entered before logging in").size(), 1U);
}

TEST_F(Login, ByPinGrantIsAnsweredOnceThoughEosCompletesTwice) {
  LogIn("s1", R"({"LoginMode":"PinGrant"})");
  Tick(20);
  ExpectFailure(TakeResult(), 9999, 1020, "EOS_Auth_PinGrantCode");
  EXPECT_THAT(OwnLines(),
              Contains(HasSubstr("2 LoginCompleteCallbackFn Waiting for PIN grant Code:")));
  EXPECT_EQ(LinesSaying("LoginCompleteCallbackFn base_params_ is null, memory leak").size(), 1U);
}

struct RetryRow {
  const char* name;
  const char* call;
  int32_t third_code;  // 0: signs in all the same
};

class LoginRetry : public Login, public testing::WithParamInterface<RetryRow> {};

TEST_P(LoginRetry, IsAnsweredOnceThoughEosCompletesAgain) {
  World(NewcomerWorld());
  Fail(GetParam().call, 19, 1);
  LogIn("s1", kPortal);
  Tick(20);
  const Result result = TakeResult();
  EXPECT_EQ(result.type, GetParam().third_code == 0 ? "AuthPluginResult" : "AuthResult");
  EXPECT_EQ(result.base.third_code, GetParam().third_code);
  EXPECT_EQ(eos_standin::OutstandingNow().operations, 0);
}

INSTANTIATE_TEST_SUITE_P(Calls, LoginRetry,
                         testing::Values(RetryRow{"Auth", "EOS_Auth_Login", 0},
                                         RetryRow{"Connect", "EOS_Connect_Login", 19},
                                         RetryRow{"CreateUser", "EOS_Connect_CreateUser", 19},
                                         RetryRow{"UserInfo", "EOS_UserInfo_QueryUserInfo", 0}),
                         [](const auto& row) { return row.param.name; });

TEST_F(Login, LosesNothingWhenEosCompletesWithoutData) {
  const struct {
    const char* call;
    bool client_data;
    const char* line;
  } rows[] = {
      {"EOS_Auth_Login", false, "NULL Data for LoginCompleteCallbackFn"},
      {"EOS_Auth_Login", true, "LoginCompleteCallbackFn ClientData is null, memory leak"},
      {"EOS_Connect_Login", false, "NULL Data for ConnectLoginCompleteCb"},
      {"EOS_Connect_Login", true, "NULL ClientData for ConnectLoginCompleteCb"},
      {"EOS_Connect_CreateUser", false, "NULL Data for ConnectCreateUserCompleteCb"},
      {"EOS_Connect_CreateUser", true, "nullptr ClientData for ConnectCreateUserCompleteCb"},
      {"EOS_UserInfo_QueryUserInfo", false, "NULL Data for QueryUserInfoCompleteCallbackFn"},
      {"EOS_UserInfo_QueryUserInfo", true,
       "nullptr ClientData for QueryUserInfoCompleteCallbackFn"},
  };
  World(NewcomerWorld());
  for (const auto& row : rows) {
    eos_standin::ClearRules();
    eos_standin::AddRule(
        {.call = row.call, .null_data = !row.client_data, .null_client_data = row.client_data});
    Fail("EOS_Connect_Login", 3);
    ForgetLines();
    LogIn(std::string("s ") + row.line, kPortal);
    Tick(10);
    EXPECT_EQ(LinesSaying(row.line).size(), 1U) << row.line;
    EXPECT_THAT(TakeResults(), IsEmpty());
  }
  Shutdown();
  for (const Result& result : TakeResults()) EXPECT_EQ(result.base.ret_code, 17);
}

TEST_F(Login, TriesAgainToBringEosUpAfterAFailure) {
  Fail("EOS_Initialize", 1, 1);
  Fail("EOS_Platform_Create", 1, 1);
  for (const char* seq_id : {"initialize", "platform", "already initialised"}) {
    LogIn(seq_id, kPortal);
    ExpectFailure(TakeResult(), 17, 0, "");
  }
  EXPECT_EQ(CountCalls("EOS_Initialize"), 3);
  EXPECT_EQ(CountCalls("EOS_Platform_Create"), 1);
}

TEST_F(Login, BringsThePlatformUpOnceAndRegistersForExpirationOnce) {
  SignIn();
  SignIn();
  ExpectAnswers("sign-in", 2);
  EXPECT_EQ(CountCalls("EOS_Initialize"), 1);
  EXPECT_EQ(LinesSaying("[sign-in], EpicAuth begin InitEpic, init_=true").size(), 1U);
  EXPECT_EQ(CountCalls("EOS_Connect_AddNotifyAuthExpiration"), 1);
  EXPECT_EQ(CountCalls("EOS_Platform_GetConnectInterface"), 2);
  EXPECT_EQ(CountCalls("EOS_Platform_GetAuthInterface"), 1);
}

TEST_F(Login, OverlappingAnotherIsAnsweredForItself) {
  LogIn("s1", kPortal);
  LogIn("s2", R"({"LoginMode":"IDPassword","ID":"player","Password":"guess"})");
  LogIn("s3", "");
  TickUntilAnswered();
  EXPECT_EQ(TakeResults().size(), 3U);
}

TEST_F(Login, EndsWhenAnotherFindsTheConnectInterfaceGone) {
  World(NewcomerWorld());
  LogIn("s1", kPortal);
  Tick(2);  // EOS_Connect_Login is under way
  Fail("EOS_Platform_GetConnectInterface", 1);
  LogIn("s2", kPortal);
  TickUntilAnswered();
  for (const Result& result : TakeResults()) {
    EXPECT_EQ(result.base.ret_code, 9999) << result.seq_id;
    EXPECT_EQ(result.base.third_code, 10) << result.seq_id;
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
  EXPECT_THAT(OwnLines(), Contains("3 ConnectAuthExpirationCb NULL Data for CallbackFn"));
  EXPECT_THAT(TakeResults(), IsEmpty());
}

// --- what outlives the sign-in ---

TEST_F(Login, StoresItsOwnTextAfterSuccessAndRemovesItAtTheNextStart) {
  const std::string text = R"( {"LoginMode" : "AccountPortal", "note":"ä"} )";
  LogIn("s1", text);
  TickUntilAnswered();
  TakeResults();
  EXPECT_EQ(StoredParameters(), text);
  LogIn("s2", "");
  ExpectFailure(TakeResult(), 11, 0, "");
  EXPECT_EQ(StoredParameters(), "");
}

TEST_F(Login, SecondTimeUsesThePersistentAuthorisation) {
  SignIn();
  SignIn();
  ExpectAnswers("sign-in", 2);
  EXPECT_EQ(CountCalls("EOS_Auth_Login"), 3);
}

TEST_F(Login, AutomaticallyUsesTheStoredTextUnlessItBringsItsOwn) {
  LogIn("s1", R"({"LoginMode":"IDPassword","ID":"player","Password":"secret"})");
  TickUntilAnswered();
  const std::string stored = StoredParameters();
  TakeResults();
  const struct {
    const char* extra_json;
    int type;
  } rows[] = {{"", 0}, {"{}", 0}, {"[]", 0}, {kPortal, 6}, {R"({"LoginMode":""})", 0}};
  for (const auto& row : rows) {
    Fail("EOS_Auth_Login", 4, 1);  // the persistent authorisation is of no use
    const std::string seq_id = std::string("auto ") + row.extra_json;
    AutoLogin(seq_id, row.extra_json);
    TickUntilAnswered();
    const Result result = TakeResult();
    EXPECT_EQ(CallsOf("EOS_Auth_Login").back()["Credentials"]["Type"], row.type) << seq_id;
    EXPECT_EQ(result.base.method_id, 101);
    if (result.type == "AuthPluginResult") {
      EXPECT_STREQ(result.base.extra_json.c_str(), R"({"autoLoginFlags":false})");
      EXPECT_EQ(result.observer_id, 106U);
    }
    EXPECT_EQ(StoredParameters(), stored);
  }
}

TEST_F(Login, AutomaticallyWithNothingStoredIsRefused) {
  AutoLogin("s1");
  const Result result = TakeResult();
  ExpectFailure(result, 11, 0, "");
  EXPECT_EQ(result.base.method_id, 101);
}

TEST_F(Login, WithAnotherMethodLeavesTheStoreAlone) {
  SignIn();
  const std::string stored = StoredParameters();
  LogIn("s1", "", "", 150);
  ExpectFailure(TakeResult(), 11, 0, "");
  LogIn("s2", kPortal, "", 150);
  TickUntilAnswered();
  const Result result = TakeResult();
  EXPECT_EQ(result.base.method_id, 150);
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
  plugin().login({102, seq_id, long_text, parameters.dump()}, "");
  TickUntilAnswered();
  ExpectFailure(TakeResult(), 9999, 2, "EOS_InvalidCredentials");
  EXPECT_EQ(CallsOf("EOS_Auth_Login").back()["Credentials"]["Id"], long_text);
}

// --- the log bridge ---

TEST_F(Login, BridgesTheLogOfEosFromAnyThread) {
  SignIn();
  ForgetLines();
  const struct {
    int eos;
    int level;
  } rows[] = {{0, 0}, {100, 3}, {200, 3}, {250, 1}, {300, 2}, {400, 1}, {500, 1}};
  for (const auto& row : rows) {
    const std::string message = "message " + std::to_string(row.eos);
    eos_standin::LogFromOwnThread(static_cast<EOS_ELogLevel>(row.eos), "LogEOS", message);
    const std::vector<Line> lines = LinesSaying("[EOS SDK] LogEOS: " + message);
    ASSERT_EQ(lines.size(), row.level == 0 ? 0U : 1U) << row.eos;
    if (row.level != 0) {
      EXPECT_EQ(lines[0].level, row.level) << row.eos;
      EXPECT_EQ(lines[0].function, "zelk::ZELK_EOSSDKLoggingCallback");
    }
  }
}

}  // namespace
}  // namespace zelk_test
