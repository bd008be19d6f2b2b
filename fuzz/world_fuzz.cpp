// World files: any bytes are a world or get a message. A good world is used in a process of its
// own, as EOS starts once in a process.
#include <spdlog/sinks/base_sink.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <csignal>
#include <mutex>

#include "fuzz.h"

namespace zelk::fuzz {
namespace {

// What that process meets guides the fuzzer as its own coverage does: log lines, calls and results.
constexpr std::size_t kCounters = 4096;  // a page
__attribute__((section("__libfuzzer_extra_counters"), aligned(4096))) uint8_t counters[kCounters];

void Meet(const std::string& what) { ++counters[std::hash<std::string>()(what) % kCounters]; }

class Meeting : public spdlog::sinks::base_sink<std::mutex> {
  void sink_it_(const spdlog::details::log_msg& line) override {
    Meet(line.source.funcname + std::to_string(line.source.line));
  }
  void flush_() override {}
};

const host::PluginLibrary& Plugin() {
  static const host::PluginLibrary& plugin = Load(std::make_shared<Meeting>());
  return plugin;
}

void Tick(int times) {
  for (int i = 0; i < times; ++i) Plugin().update();
}

// Each request has its answer by the end, whatever the world makes EOS do.
void UseWorld(const std::string& file) {
  constexpr int kTicks = 40;
  setenv("ZELK_EOS_WORLD", file.c_str(), 1);
  eos_standin::SetHook(&Meet);
  Plugin().login({102, "login", "", R"({"LoginMode":"AccountPortal"})"},
                 "basic_profile,friends_list");
  Tick(kTicks);
  Plugin().query_friends({203, "friends", "", ""}, 1, 10, false);
  for (int i = 0; i < kTicks || windows_standin::ThreadsRunning() > 0; ++i) Tick(1);
  Plugin().shutdown();
  int logins = 0, pages = 0;
  core_standin::DrainTaskQueue([&](const core_standin::CommittedResult& result) {
    std::visit(
        [&](const auto& record) {
          Meet(result.seq_id + std::to_string(record.ret_code) + std::to_string(record.third_code));
          if (result.seq_id == "login") ++logins;
          if (result.seq_id == "friends" && record.third_code != host::kWillRetry) ++pages;
        },
        result.record);
  });
  Expect(logins == 1, "one answer to the login");
  Expect(pages == 1, "one answer to the query");
  ExpectNothingMisusedOrLeft();
}

}  // namespace
}  // namespace zelk::fuzz

using namespace zelk::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  void* const shared = mmap(counters, kCounters, PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
  Expect(shared == counters, "counters that the children share");
  Plugin();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string file = WriteFile("world.json", Text(data, size));
  char message[1024] = "";
  if (EOS_StandIn_CheckWorld(file.c_str(), message, sizeof message) != 0) {
    const std::string text = message;
    Expect(text.starts_with(file + ":") && text.size() > file.size() + 5, "a message: " + text);
    return 0;
  }
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    UseWorld(file);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  Expect(status == 0, "the world can be used");
  std::filesystem::remove(Directory() / zelk::foundation_standin::kStoreFileName);
  std::filesystem::remove(Directory() / "EOS_PersistentAuth.json");
  return 0;
}
