// What the foundation promises everybody: log lines, JSON, entries that outlive the process, nodes.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <spdlog/sinks/base_sink.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

#include "core_contract/json.h"
#include "core_contract/mmkv.h"
#include "core_contract/node_allocator.h"
#include "zelk_foundation_standin.h"

namespace zelk {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMillion = 1'000'000;

// Keeps lines as "TAG E file.cpp:12 Function: text".
class LineSink : public spdlog::sinks::base_sink<std::mutex> {
 public:
  std::vector<std::string> lines;

 private:
  void sink_it_(const spdlog::details::log_msg& line) override {
    lines.push_back(fmt::format("{} {} {}:{} {}: {}", line.logger_name,
                                spdlog::level::to_short_c_str(line.level), line.source.filename,
                                line.source.line, line.source.funcname, line.payload));
  }
  void flush_() override {}
};

class ThrowingSink : public spdlog::sinks::base_sink<std::mutex> {
  void sink_it_(const spdlog::details::log_msg&) override { throw std::runtime_error("full"); }
  void flush_() override {}
};

class Foundation : public testing::Test {
 protected:
  Foundation() {
    foundation_standin::SetLogSinks({std::make_shared<ThrowingSink>(), sink_});
    fs::remove_all(parent_);
    foundation_standin::SetStoreDirectory(directory_);
  }
  ~Foundation() override {
    foundation_standin::SetLogSinks({});
    fs::remove_all(parent_);
  }

  static bool Set(const std::string& key, const std::string& value) {
    return Store().set(value, key);
  }
  static std::string Get(const std::string& key) {
    std::string value = "left over";
    const bool found = Store().getString(key, value);
    EXPECT_TRUE(found || value.empty());
    return found ? value : "(missing)";
  }
  // As a new process would: from the file.
  std::string GetAgain(const std::string& key) {
    foundation_standin::SetStoreDirectory(directory_);
    return Get(key);
  }
  void WriteFile(const std::string& text) {
    fs::create_directories(directory_);
    std::ofstream(file_, std::ios::binary) << text;
  }
  static MMKV& Store() { return *MMKV::defaultMMKV(kMmkvSingleProcess, nullptr); }

  const std::shared_ptr<LineSink> sink_ = std::make_shared<LineSink>();
  const fs::path parent_ = testing::UnitTest::GetInstance()->current_test_info()->name();
  const fs::path directory_ = parent_ / fs::path(u8"st\u00f6re");
  const fs::path file_ = directory_ / foundation_standin::kStoreFileName;
};

std::string Utf8(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

std::string ReadFile(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return text.str();
}

void LogAt(int32_t level, const char* text) {
  Log::GetInstance()->OutputLog(static_cast<LogLevel>(level), "TAG", false, false, "file.cpp",
                                "Function", 12, "%s|%llu|%0.2f", text, ~0ULL, 1.5);
}

TEST_F(Foundation, LogWritesLinesOfAnyLengthAtOrAboveTheThreshold) {
  const std::string rest = "|18446744073709551615|1.50";
  for (const std::size_t length : {rest.size(), std::size_t{1023}, std::size_t{1024}, kMillion}) {
    const std::string text(length - rest.size(), 'x');
    LogAt(kLogWarning, text.c_str());
    EXPECT_TRUE(sink_->lines.back() == "TAG W file.cpp:12 Function: " + text + rest) << length;
  }
  const char* const expected[] = {"IWE", "WE", "E", ""};
  for (int32_t threshold = kLogInfo; threshold <= kLogError + 1; ++threshold) {
    foundation_standin::SetLogThreshold(threshold);
    sink_->lines.clear();
    for (int32_t level = kLogInfo; level <= kLogError; ++level) LogAt(level, "");
    std::string letters;
    for (const std::string& line : sink_->lines) letters += line[4];
    EXPECT_EQ(letters, expected[threshold - 1]);
  }
  foundation_standin::SetLogThreshold(kLogInfo);
}

TEST_F(Foundation, JsonWriterKeepsTheOrderAndReplacesWhatIsNoUtf8) {
  JSONWriter writer;
  writer.StartJsonConvert();
  writer.Convert("z", 1).Convert("a", true).Convert("n", -5LL).Convert("u", ~0ULL);
  writer.Convert("t", "\"\n", kJsonText).Convert("bad", std::string("x\xff\0", 3), kJsonText);
  EXPECT_EQ(writer.GetJsonString(), "");
  writer.EndJsonConvert();
  EXPECT_EQ(writer.GetJsonString(), R"({"z":1,"a":true,"n":-5,"u":18446744073709551615,)"
                                    "\"t\":\"\\\"\\n\",\"bad\":\"x\xef\xbf\xbd\\u0000\"}");
}

TEST_F(Foundation, JsonReaderSurvivesMalformedAndHostileTexts) {
  std::string objects;
  for (std::size_t depth = 0; depth < kMillion; ++depth) objects += "{\"a\":";
  const std::string opened(kMillion, '['), closed(kMillion, ']');
  for (const std::string& text :
       {std::string(), std::string("{"), std::string("[1]"), std::string("{\"a\":\"\xff\"}"),
        std::string("{\"a\":1e999}"), std::string("{} {}"), opened, objects, "{\"a\":" + opened}) {
    const JSONReaderParse reader(text);
    EXPECT_FALSE(reader.IsObject()) << text.substr(0, 20);
    EXPECT_FALSE(reader.HasMember("a") || reader["a"].HasMember("a")) << text.substr(0, 20);
  }
  std::string out = "left over";
  JSONReaderParse("{\"a\":" + opened + closed + "}")["a"].Convert(out, false);
  EXPECT_EQ(out, "");
}

TEST_F(Foundation, StoreKeepsEntriesForTheNextProcess) {
  const std::string with_nul("a\0b", 3);
  Store().removeValueForKey("missing");
  EXPECT_FALSE(fs::exists(directory_));
  WriteFile(R"({"version":1,"entries":{"old":"1"}})");
  for (const char* name : {"zelk_store.json.tmp-1", "zelk_store.json.tmp-2"}) {
    std::ofstream(directory_ / name) << "{ half";
  }
  // One of them is of a process that was killed long ago.
  fs::last_write_time(directory_ / "zelk_store.json.tmp-2",
                      fs::file_time_type::clock::now() - std::chrono::hours(1));
  foundation_standin::SetStoreDirectory(directory_);
  EXPECT_TRUE(Set("nul", with_nul));
  EXPECT_TRUE(Set("key", "first"));
  EXPECT_TRUE(Set("key", "second"));
  Store().removeValueForKey("old");
  EXPECT_EQ(GetAgain("nul"), with_nul);
  EXPECT_EQ(Get("key"), "second");
  EXPECT_EQ(Get("old"), "(missing)");
  EXPECT_FALSE(Set("key", "\xff"));
  EXPECT_EQ(GetAgain("key"), "second");
  EXPECT_EQ(ReadFile(file_), R"({"version":1,"entries":{"key":"second","nul":"a\u0000b"}})");
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_), fs::directory_iterator()), 2);
#if !defined(_WIN32)
  EXPECT_EQ(fs::status(file_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
#endif
}

TEST_F(Foundation, StoreSetsADamagedFileAside) {
  const struct {
    const char *text, *suffix;
  } cases[] = {{"", ".damaged"},
               {R"({"version":1,"entr)", ".damaged-2"},
               {R"([])", ".damaged-3"},
               {R"({"version":1,"entries":{"a":1}})", ".damaged-4"},
               {R"({"version":1,"entries":{},"more":1})", ".damaged-5"}};
  for (const auto& [text, suffix] : cases) {
    WriteFile(text);
    sink_->lines.clear();
    EXPECT_EQ(GetAgain("a"), "(missing)");
    fs::path aside = file_;
    aside += suffix;
    EXPECT_EQ(ReadFile(aside), text);
    ASSERT_EQ(sink_->lines.size(), 1U);
    EXPECT_TRUE(sink_->lines[0].starts_with("ZELK E key_value_store.cpp:"));
    EXPECT_TRUE(sink_->lines[0].ends_with(
        fmt::format("[{}] is damaged, set aside as [{}]", Utf8(file_), Utf8(aside))));
    EXPECT_TRUE(Set("a", "new"));
  }
}

TEST_F(Foundation, StoreLeavesTheFileOfANewerVersionAsItIs) {
  const std::string newer = R"({"version":2,"entries":[],"more":{}})";
  WriteFile(newer);
  EXPECT_EQ(foundation_standin::CheckStore(directory_), "was written by a newer version");
  EXPECT_FALSE(Set("a", "1"));
  EXPECT_EQ(ReadFile(file_), newer);
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_), fs::directory_iterator()), 1);
  EXPECT_TRUE(
      sink_->lines.at(0).ends_with("] was written by a newer version; nothing will be stored"));
}

TEST_F(Foundation, StoreNeverOverwritesWhatItCannotReadAndAnswersFromMemory) {
  fs::create_directories(file_ / "not a file");
  EXPECT_FALSE(Set("a", "1"));
  EXPECT_TRUE(fs::is_directory(file_ / "not a file"));
  EXPECT_EQ(sink_->lines.size(), 2U);
  EXPECT_EQ(Get("a"), "1");

  std::ofstream(directory_ / "file") << "no directory";
  foundation_standin::SetStoreDirectory(directory_ / "file" / "below");
  EXPECT_FALSE(Set("a", "2"));
  EXPECT_EQ(sink_->lines.size(), 3U);
  EXPECT_EQ(Get("a"), "2");
}

}  // namespace
}  // namespace zelk
