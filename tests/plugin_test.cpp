#include "plugin_test.h"

#include <spdlog/sinks/base_sink.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <random>
#include <thread>
#include <utility>

#include "zelk_foundation_standin.h"

namespace zelk_test {
namespace {

constexpr int kTicksToWait = 20000;
constexpr int kTicksWithoutSleep = 50;  // beyond that, a worker is at work

// In memory where the system has such a place: what is stored is flushed each time, and a sweep of
// thousands of logins would wait for the disk.
std::filesystem::path BaseDirectory() {
  for (const char* in_memory : {"/dev/shm", "Z:\\dev\\shm"}) {
    std::error_code ignored;
    if (std::filesystem::is_directory(in_memory, ignored)) return in_memory;
  }
  return std::filesystem::temp_directory_path();
}

std::filesystem::path MakeDirectory() {
  std::random_device random;
  const std::filesystem::path directory =
      BaseDirectory() / u8"zelk t\u00e9st" / std::to_string(uint64_t{random()} << 32 | random());
  std::filesystem::create_directories(directory);
  return directory;
}

void SetTemporaryDirectory(const std::filesystem::path& directory) {
#if defined(_WIN32)
  _wputenv_s(L"TMP", directory.c_str());
  _wputenv_s(L"TEMP", directory.c_str());
#else
  setenv("TMPDIR", directory.c_str(), 1);
#endif
}

struct Flatten {
  Result& out;

  void operator()(const zelk::BaseResult& record) const { Base("BaseResult", record); }
  void operator()(const zelk::AuthResult& record) const { Base("AuthResult", record); }
  void operator()(const zelk::AuthPluginResult& record) const {
    Base("AuthPluginResult", record);
    out.login = record;
  }
  void operator()(const zelk::FriendResult& record) const {
    Base("FriendResult", record);
    out.friends.assign(record.friend_info_list.begin(), record.friend_info_list.end());
  }

  void Base(const char* type, const zelk::BaseResult& record) const {
    out.type = type;
    out.base = record;
  }
};

}  // namespace

struct PluginTest::Sink : spdlog::sinks::base_sink<std::mutex> {
  std::vector<Line> Lines() {
    const std::lock_guard lock(mutex_);
    return lines;
  }
  void Forget() {
    const std::lock_guard lock(mutex_);
    lines.clear();
  }

 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    const int level = message.level == spdlog::level::info   ? 1
                      : message.level == spdlog::level::warn ? 2
                                                             : 3;
    lines.push_back({level, message.source.filename, message.source.funcname,
                     std::string(message.payload.begin(), message.payload.end())});
  }
  void flush_() override {}

 private:
  std::vector<Line> lines;
};

PluginTest::PluginTest() : directory_(MakeDirectory()), sink_(std::make_shared<Sink>()) {
  SetTemporaryDirectory(directory_);
  zelk::foundation_standin::SetStoreDirectory(directory_);
  zelk::foundation_standin::SetLogSinks({sink_});
  for (const char* key : zelk::host::kConfigKeys) zelk::core_standin::SetConfig("ZELK", key, key);
  World(TestWorld());
  eos_standin::RecordCalls(true);
  plugin_ = std::make_unique<zelk::host::PluginLibrary>(ZELK_PLUGIN_FILE);
#if defined(_WIN32)
  EXPECT_TRUE(system_calls::Watch(reinterpret_cast<const void*>(plugin_->update)));
#endif
}

PluginTest::~PluginTest() {
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

void PluginTest::TearDown() {
  Shutdown();
  while (system_calls::ThreadsRunning() > 0) std::this_thread::yield();
  EXPECT_EQ(system_calls::HandlesOpen(), 0);
  EXPECT_EQ(system_calls::HeapBlocksOut(), 0);
  EXPECT_EQ(system_calls::Misuses(), 0);
  Collect();
  EXPECT_EQ(answered_, expected_) << "answers per request";
  results_.clear();
  for (const eos_standin::Misuse& misuse : eos_standin::Misuses()) {
    ADD_FAILURE() << misuse.rule << ": " << misuse.detail;
  }
  EXPECT_EQ(eos_standin::OutstandingNow().auth_tokens, 0);
  EXPECT_EQ(eos_standin::OutstandingNow().user_infos, 0);
  EXPECT_EQ(zelk::foundation_standin::NodesOut(), 0);
  EXPECT_EQ(zelk::foundation_standin::NodesMisused(), 0);
}

zelk::BaseParams PluginTest::Ask(int32_t method_id, const std::string& seq_id,
                                 const std::string& extra_json) {
  ++expected_[seq_id];
  method_ids_[seq_id] = method_id;
  return {method_id, seq_id, "reserved", extra_json};
}

void PluginTest::LogIn(const std::string& seq_id, const std::string& extra_json,
                       const std::string& permissions, int32_t method_id) {
  plugin_->login(Ask(method_id, seq_id, extra_json), permissions);
}

void PluginTest::AutoLogin(const std::string& seq_id, const std::string& extra_json) {
  plugin_->auto_login(Ask(kMethodIDAuthAutoLogin, seq_id, extra_json), kAllScopes);
}

void PluginTest::Logout(const std::string& seq_id) {
  plugin_->logout(Ask(kMethodIDAuthLogout, seq_id, ""));
}

void PluginTest::QueryFriends(const std::string& seq_id, int32_t page, int32_t count,
                              bool is_in_game) {
  plugin_->query_friends(Ask(kMethodIDFriendQueryFriends, seq_id, ""), page, count, is_in_game);
}

void PluginTest::Tick(int times) {
  for (int i = 0; i < times; ++i) plugin_->update();
}

void PluginTest::ExpectAnswers(const std::string& seq_id, int answers) {
  expected_[seq_id] = answers;
  if (answers == 0) expected_.erase(seq_id);
}

bool PluginTest::AllAnswered() const {
  for (const auto& [seq_id, count] : expected_) {
    const auto answers = answered_.find(seq_id);
    if (count > (answers != answered_.end() ? answers->second : 0)) return false;
  }
  return true;
}

bool PluginTest::TickUntil(const std::function<bool()>& done) {
  for (int i = 0; i < kTicksToWait; ++i) {
    if (done()) return true;
    Tick();
    if (i > kTicksWithoutSleep) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

void PluginTest::TickUntilAnswered() {
  const auto answered = [this] { return Collect(), AllAnswered(); };
  EXPECT_TRUE(TickUntil(answered)) << "unanswered in " << kTicksToWait << " ticks";
}

void PluginTest::Settle() {
  const auto idle = [] {
    return eos_standin::OutstandingNow().operations == 0 && system_calls::ThreadsRunning() == 0;
  };
  EXPECT_TRUE(TickUntil(idle)) << "unsettled in " << kTicksToWait << " ticks";
  Tick(2);  // what a worker left to the tick
}

void PluginTest::SignIn() {
  LogIn("sign-in", kPortal);
  TickUntilAnswered();
  ASSERT_EQ(TakeResult().type, "AuthPluginResult");
}

void PluginTest::Fail(const Fault& fault) {
  eos_standin::AddRule({.call = fault.call,
                        .result = static_cast<int32_t>(fault.result),
                        .skip = fault.skip,
                        .times = fault.times,
                        .target = fault.target});
}

std::vector<Json> PluginTest::CallsOf(const std::string& function) {
  std::vector<Json> calls;
  for (const eos_standin::Call& call : eos_standin::Calls()) {
    if (call.function == function) calls.push_back(call.options);
  }
  return calls;
}

int64_t PluginTest::CountCalls(const std::string& function) {
  return static_cast<int64_t>(CallsOf(function).size());
}

void PluginTest::GoQuiet() {
  eos_standin::RecordCalls(false);
  zelk::foundation_standin::SetLogThreshold(zelk::kLogError + 1);
}

void PluginTest::Collect() {
  zelk::core_standin::DrainTaskQueue([this](const zelk::core_standin::CommittedResult& committed) {
    Result result{
        .observer_id = committed.observer_id, .seq_id = committed.seq_id, .flag = committed.flag};
    std::visit(Flatten{result}, committed.record);
    ++answered_[result.seq_id];
    const auto asked = method_ids_.find(result.seq_id);
    if (asked != method_ids_.end()) {
      EXPECT_EQ(result.base.method_id, asked->second) << result.seq_id;
    }
    results_.push_back(std::move(result));
  });
}

std::vector<Result> PluginTest::TakeResults() {
  Collect();
  return std::exchange(results_, {});
}

Result PluginTest::TakeResult() {
  std::vector<Result> results = TakeResults();
  EXPECT_EQ(results.size(), 1U);
  return results.empty() ? Result{} : results.front();
}

std::vector<Line> PluginTest::Lines() const { return sink_->Lines(); }

std::vector<std::string> PluginTest::OwnLines() const {
  std::vector<std::string> own;
  for (const Line& line : Lines()) {
    if (line.function == "zelk::ZELK_EOSSDKLoggingCallback") continue;
    const std::string name = line.function.substr(line.function.rfind(':') + 1);
    own.push_back(std::to_string(line.level) + " " + name + " " + line.text);
  }
  return own;
}

int64_t PluginTest::CountLines(const std::string& text) const {
  return std::ranges::count(Lines(), text, &Line::text);
}

void PluginTest::ForgetLines() { sink_->Forget(); }

std::string PluginTest::StoredParameters() const {
  std::ifstream file(directory_ / zelk::foundation_standin::kStoreFileName);
  if (!file) return "";
  return Json::parse(file).at("entries").value("epic_login_extra_json", "");
}

Json TestWorld(int64_t friends) {
  return {{"accounts",
           {{{"name", "player"},
             {"password", "secret"},
             {"exchange_code", "code"},
             {"account_id", kPlayerId},
             {"product_user_id", kPlayerProductId},
             {"display_name", "Player One"},
             {"country", "DE"},
             {"language", "de"},
             {"generated_friends", friends}},
            {{"name", "newcomer"},
             {"password", "new"},
             {"account_id", kNewcomerId},
             {"product_user_id", nullptr},
             {"display_name", "New Comer"},
             {"generated_friends", friends}}}},
          {"signs_in", "player"}};
}

Json NewcomerWorld(int64_t friends) {
  Json world = TestWorld(friends);
  world["signs_in"] = "newcomer";
  return world;
}

}  // namespace zelk_test
