// Memory that cannot be had: every allocation of the plugin fails in turn, and the request is still
// answered once, with nothing thrown at the core and nothing left over.
//
// Only what the plugin asks for fails, also through the standard library: EOS is a C library and
// cannot throw. What the plugin frees can be kept, to be looked into. This executable's operator
// new and delete see to both: they are those of every library in the process. On Windows each has
// its own, and the malloc and free below them are replaced.
#if !defined(_WIN32)
#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include "windows.h"
#endif
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <new>
#include <string_view>
#include <thread>

#include "core_contract/json.h"
#include "plugin_test.h"
#include "zelk_core_standin.h"
#include "zelk_foundation_standin.h"

namespace {

// Which allocations of the plugin fail: the `first`th from now on, and those after it if `lasting`.
// Off while `first` is 0.
struct Shortage {
  std::atomic<int64_t> first = 0;
  std::atomic<int64_t> seen = 0;
  std::atomic<bool> lasting = false;

  bool Struck() const { return seen >= first; }

  bool Strikes() {
    const int64_t number = ++seen;
    return number == first || (lasting && number > first);
  }
};
Shortage shortage;

#if defined(_WIN32)
#define ZELK_SIZE_OF_BLOCK _msize
#else
#define ZELK_SIZE_OF_BLOCK malloc_usable_size
#endif

// What the plugin has freed while `keeps` was set.
struct Quarantine {
  static constexpr std::size_t kMostBlocks = 10'000;

  void Keep(void* memory) {
    const std::size_t index = count++;
    if (index >= kMostBlocks) std::abort();
    blocks[index] = {static_cast<const char*>(memory), ZELK_SIZE_OF_BLOCK(memory)};
  }

  std::atomic<bool> keeps = false;
  std::atomic<std::size_t> count = 0;
  std::string_view blocks[kMostBlocks];
};
Quarantine quarantine;

#if defined(_WIN32)

// Where malloc is called from: most often in the plugin's operator new. The compiler's run time
// calls it too, for threads and exceptions, and ends the process when it gets nothing.
std::map<const void*, int> callers;
const void* operator_new = nullptr;

void* Malloc(std::size_t size) {
  const void* const caller = __builtin_return_address(0);
  if (operator_new == nullptr) ++callers[caller];
  const bool strikes = shortage.first > 0 && caller == operator_new && shortage.Strikes();
  return strikes ? nullptr : std::malloc(size);
}

void Free(void* memory) {
  quarantine.keeps&& memory != nullptr ? quarantine.Keep(memory) : std::free(memory);
}

// `request` makes the plugin take memory again and again.
template <class Request>
void AimAt(const zelk::host::PluginLibrary& plugin, Request request) {
  const auto* const inside = reinterpret_cast<const void*>(plugin.update);
  ASSERT_TRUE(system_calls::ReplaceImport(inside, "malloc", reinterpret_cast<void*>(&Malloc)) &&
              system_calls::ReplaceImport(inside, "free", reinterpret_cast<void*>(&Free)));
  request();
  const auto most =
      std::ranges::max_element(callers, {}, &std::pair<const void* const, int>::second);
  operator_new = most->first;
}

}  // namespace

#else

// Where a library lies in memory.
struct Image {
  // `inside` is any address in it.
  explicit Image(const void* inside) {
    Dl_info found{};
    dladdr(inside, &found);
    base = found.dli_fbase;
  }
  bool Contains(const void* address) const {
    Dl_info found{};
    return dladdr(address, &found) != 0 && found.dli_fbase == base;
  }
  const void* base = nullptr;
};

const Image* target = nullptr;

// The caller beyond this executable and the standard library is who wants or frees the memory.
__attribute__((noinline)) bool IsForTarget() {
  static const Image here(&target);
  static const Image standard_library(dlsym(RTLD_DEFAULT, "_ZSt17__throw_bad_allocv"));
  void* frames[16];
  const int depth = backtrace(frames, 16);
  int frame = 0;
  while (frame < depth && here.Contains(frames[frame])) ++frame;
  while (frame < depth && standard_library.Contains(frames[frame])) ++frame;
  return frame < depth && target->Contains(frames[frame]);
}

void Free(void* memory) {
  const bool is_kept = quarantine.keeps && memory != nullptr && IsForTarget();
  is_kept ? quarantine.Keep(memory) : std::free(memory);
}

template <class Request>
void AimAt(const zelk::host::PluginLibrary& plugin, Request) {
  static const Image image(reinterpret_cast<const void*>(plugin.update));
  target = &image;
}

}  // namespace

// Never inlined: the compiler would see memory of new in the hands of free.
#define ZELK_REPLACES __attribute__((noinline))
ZELK_REPLACES void* operator new(std::size_t size) {
  void* memory = shortage.first > 0 && IsForTarget() && shortage.Strikes()
                     ? nullptr
                     : std::calloc(size > 0 ? size : 1, 1);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
ZELK_REPLACES void* operator new[](std::size_t size) { return operator new(size); }
ZELK_REPLACES void operator delete(void* memory) noexcept { Free(memory); }
ZELK_REPLACES void operator delete[](void* memory) noexcept { Free(memory); }
ZELK_REPLACES void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
ZELK_REPLACES void operator delete[](void* memory, std::size_t) noexcept { Free(memory); }

#endif

namespace zelk_test {
namespace {

using zelk_test::PrintTo;

// Too long for any text to do without memory of its own.
constexpr char kParameters[] =
    R"({"LoginMode":"IDPassword","ID":"player","Password":"a secret of more than sixteen bytes"})";
constexpr int64_t kMostAllocations = 5000;

struct ShortageRow {
  const char* name;
  bool lasting;
};

class PluginMemory : public PluginTest {
 protected:
  PluginMemory() {
    Json world = TestWorld(40);
    world["accounts"][0]["password"] = Json::parse(kParameters)["Password"];
    World(world);
    GoQuiet();
    AimAt(plugin(), [this] {
      for (int i = 0; i < 10; ++i) LogIn("refused", R"({"ID":"of more than sixteen bytes"})");
      TakeResults();
    });
  }
};

class OutOfMemory : public PluginMemory, public testing::WithParamInterface<ShortageRow> {
 protected:
  void TearDown() override {
    system_calls::FailCreateThread(false);
    PluginTest::TearDown();
  }

  static std::string SeqId(int64_t number) {
    return "a sequence id with a number: " + std::to_string(number);
  }

  // Makes the request over and over, with the first allocation failing, with the second, and so on
  // until it needs no more and gives `ret_code`. Each time there is one answer.
  template <class Request>
  void FailEachAllocation(Request request, zelk::ResultCode ret_code = kResultSuccess) {
    shortage.lasting = GetParam().lasting;
    for (int64_t number = 1; number < kMostAllocations; ++number) {
      SCOPED_TRACE(number);
      shortage.seen = 0;
      shortage.first = number;
      request(SeqId(number));
      Settle();
      const bool struck = shortage.Struck();
      shortage.first = 0;
      const Result result = TakeResult();
      ASSERT_EQ(result.seq_id, SeqId(number));
      if (result.type == "FriendResult" && result.base.ret_code == kResultUnknownError) {
        EXPECT_STREQ(result.base.ret_msg.c_str(), "unknown error happened.");
        EXPECT_STREQ(result.base.third_msg.c_str(), "unknown error happened.");
      }
      if (struck) continue;
      EXPECT_EQ(result.base.ret_code, ret_code);
      RecordProperty("runs", static_cast<int>(number));
      std::cout << "Allocation: " << number << " runs" << std::endl;
      return;
    }
    FAIL() << "there was no end of allocations";
  }

  void PlayerIsNewToConnect() {
    eos_standin::ClearRules();
    Fail({.call = "EOS_Connect_Login", .result = EOS_InvalidUser});
  }
};

TEST_P(OutOfMemory, FirstLoginIsAnsweredAndLaterOnesSucceed) {
  FailEachAllocation([this](const std::string& seq_id) { LogIn(seq_id, kParameters); });
}

TEST_P(OutOfMemory, LoginIsAnswered) {
  SignIn();
  FailEachAllocation([this](const std::string& seq_id) {
    std::filesystem::remove(directory() / "EOS_PersistentAuth.json");
    PlayerIsNewToConnect();
    LogIn(seq_id, kParameters, "basic_profile,friends_list,a permission that there is not");
  });
}

TEST_P(OutOfMemory, AutoLoginIsAnswered) {
  LogIn(SeqId(0), kParameters);
  TickUntilAnswered();
  TakeResults();
  FailEachAllocation([this](const std::string& seq_id) { AutoLogin(seq_id); });
}

TEST_P(OutOfMemory, FailingLoginIsAnswered) {
  SignIn();
  FailEachAllocation(
      [this](const std::string& seq_id) {
        eos_standin::ClearRules();
        Fail({.call = "EOS_Auth_Login", .result = EOS_Auth_MFARequired});
        LogIn(seq_id, kParameters);
      },
      kResultThirdError);
}

TEST_P(OutOfMemory, LogoutIsAnswered) {
  SignIn();
  FailEachAllocation([this](const std::string& seq_id) { Logout(seq_id); });
}

TEST_P(OutOfMemory, FriendPageIsAnswered) {
  SignIn();
  FailEachAllocation([this](const std::string& seq_id) { QueryFriends(seq_id, 1, 40, true); });
}

TEST_P(OutOfMemory, FriendPageIsAnsweredWithoutAThread) {
  SignIn();
  system_calls::FailCreateThread(true);
  FailEachAllocation([this](const std::string& seq_id) { QueryFriends(seq_id, 1, 40, true); });
}

// The texts of the SDK are empty where they get no memory; the answer comes all the same, in the
// worst case without its sequence id.
TEST_P(OutOfMemory, RequestsAreAnsweredWithoutNodes) {
  SignIn();
  int answers_without_id = 0;
  int64_t number = 0;
  for (const char* call :
       {"EOS_Auth_Login", "EOS_Auth_CopyUserAuthToken", "EOS_Connect_Login",
        "EOS_UserInfo_CopyUserInfo", "EOS_Friends_QueryFriends", "EOS_Friends_GetFriendsCount",
        "EOS_Friends_GetStatus", "EOS_UserInfo_QueryUserInfo", "EOS_UserInfo_Release"}) {
    SCOPED_TRACE(call);
    for (const bool is_login : {true, false}) {
      const std::string seq_id = SeqId(++number);
      eos_standin::SetHook([call](const std::string& made) {
        if (made != call) return;
        zelk::foundation_standin::FailNodeAllocations(GetParam().lasting ? 1'000'000 : 1);
      });
      is_login ? LogIn(seq_id, kParameters) : QueryFriends(seq_id, 1, 40);
      Settle();
      eos_standin::SetHook(nullptr);
      zelk::foundation_standin::FailNodeAllocations(0);
      const Result result = TakeResult();
      EXPECT_EQ(result.type, is_login ? "AuthPluginResult" : "FriendResult");
      EXPECT_EQ(result.base.ret_code, kResultSuccess);
      if (result.seq_id == seq_id) continue;
      EXPECT_EQ(result.seq_id, "");
      ExpectAnswers(seq_id, 0);
      ExpectAnswers("", ++answers_without_id);
    }
  }
  std::cout << "Allocation: " << number << " runs, answered without an id: " << answers_without_id
            << std::endl;
}

#if !defined(_WIN32)
// A page whose last friend arrives while its worker runs, in a tick in which the core cannot take
// an answer: what comes later is no page of friends that the first attempt has used up.
TEST_P(OutOfMemory, PageThatTheCoreCannotTakeIsNotAnsweredWithEmptyFriends) {
  constexpr int64_t kFriends = 3;
  constexpr int64_t kMostAttempts = 1000;
  SignIn();
  static const Image core(reinterpret_cast<const void*>(&zelk::core_standin::DrainTaskQueue));
  target = &core;
  shortage.lasting = GetParam().lasting;
  std::atomic<int64_t> asked = 0;
  std::atomic<bool> ticks = false;
  std::vector<Result> results;
  // The worker leaves its last call when a tick waits for it, as far as one can tell.
  eos_standin::SetHook([&](const std::string& made) {
    if (made != "EOS_UserInfo_QueryUserInfo" || ++asked < kFriends) return;
    while (!ticks) std::this_thread::yield();
    for (int i = 0; i < 100; ++i) std::this_thread::yield();
  });
  for (int64_t attempt = 1; shortage.seen == 0 && attempt < kMostAttempts; ++attempt) {
    asked = 0;
    ticks = false;
    QueryFriends(SeqId(attempt), 1, kFriends);
    Tick();
    while (asked < kFriends) std::this_thread::yield();
    shortage.seen = 0;
    shortage.first = 1;
    ticks = true;
    Tick();
    shortage.first = 0;
    results = TakeResults();
    // Where memory fails once, the failure is the answer in the same tick.
    EXPECT_EQ(results.size(), shortage.seen == 0 || GetParam().lasting ? 0U : 1U);
    Settle();
  }
  EXPECT_GT(shortage.seen, 0);
  eos_standin::SetHook(nullptr);
  Shutdown();
  const std::vector<Result> late = TakeResults();
  results.insert(results.end(), late.begin(), late.end());
  for (const Result& result : results) {
    for (const zelk::PersonInfo& person : result.friends) EXPECT_FALSE(person.openid.empty());
  }
}

#endif

// --- what is left in freed memory ---

TEST_F(PluginMemory, HoldsNoSecretOnceItIsFreed) {
  std::vector<std::string> secrets{"a guess of more than sixteen bytes", "short guess",
                                   Json::parse(kParameters)["Password"]};
  quarantine.keeps = true;
  for (const std::string& password : secrets) {
    LogIn("by password",
          R"({"LoginMode":"IDPassword","ID":"player","Password":")" + password + "\"}");
    Settle();
  }
  ExpectAnswers("by password", 3);
  AutoLogin("auto");
  LogIn("again", kPortal);
  TickUntilAnswered();
  for (const Result& result : TakeResults()) {
    if (result.type != "AuthPluginResult") continue;
    const Json document = Json::parse(result.login.channel_info);
    secrets.insert(secrets.end(), {document["access_token"], document["refresh_token"]});
  }
  EXPECT_EQ(secrets.size(), 9U);
  Logout("out");
  LogIn("last", kParameters);
  Tick(2);  // EOS has not answered it all
  Shutdown();
  quarantine.keeps = false;
  TakeResults();
  EXPECT_GT(quarantine.count, 0U);
  for (std::size_t i = 0; i < quarantine.count; ++i) {
    for (const std::string& secret : secrets) {
      EXPECT_EQ(quarantine.blocks[i].find(secret), std::string_view::npos) << secret;
    }
  }
}

#if !defined(_WIN32)
// Of the stand-ins: calls that throw nothing but for want of memory, or nothing at all.
struct StandInRow {
  const char* symbol;  // a symbol of the library
  bool may_throw;
  void (*use)();
};

void UseJson() {
  const zelk::JSONReaderParse reader(R"({"a":{"b":[1,{"c":"more than sixteen bytes"}],"b":{}}})");
  std::string text;
  reader["a"]["b"].Convert(text, false);
  zelk::JSONWriter writer;
  writer.StartJsonConvert();
  writer.Convert("a name of more than sixteen bytes", "text", zelk::kJsonText).EndJsonConvert();
}

TEST(StandInMemory, IsNeverNeededToGiveSomethingBackNorMissedByAnException) {
  const StandInRow rows[] = {
      {"_ZN4zelk3Log11GetInstanceEv", true, &UseJson},
      {"HeapAlloc", false,
       [] { HeapFree(GetProcessHeap(), 0, HeapAlloc(GetProcessHeap(), 0, 1)); }},
      {"CreateThread", false,
       [] {
         const auto start = [](LPVOID) -> DWORD { return 0; };
         const HANDLE thread = CreateThread(nullptr, 0, start, nullptr, 0, nullptr);
         if (thread != nullptr) CloseHandle(thread);
         while (system_calls::ThreadsRunning() > 0) std::this_thread::yield();
       }},
  };
  shortage.lasting = true;
  for (const auto& [symbol, may_throw, use] : rows) {
    const Image image(dlsym(RTLD_DEFAULT, symbol));
    target = &image;
    int64_t number = 0;
    do {
      shortage.seen = 0;
      shortage.first = ++number;
      bool thrown = false;
      try {
        use();
      } catch (const std::bad_alloc&) {
        thrown = true;
      }
      EXPECT_TRUE(may_throw || !thrown) << symbol;
    } while (shortage.Struck());
    shortage.first = 0;
    EXPECT_GT(number, 1) << symbol << " takes memory";
  }
}
#endif

INSTANTIATE_TEST_SUITE_P(Shortages, OutOfMemory,
                         testing::Values(ShortageRow{.name = "Once", .lasting = false},
                                         ShortageRow{.name = "Lasting", .lasting = true}),
                         kNameOfRow);

}  // namespace
}  // namespace zelk_test
