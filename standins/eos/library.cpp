#include "library.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <optional>
#include <random>
#include <stdexcept>

#include "common/files.h"
#include "common/paths.h"
#include "entry.h"
#include "log.h"
#include "results.h"

namespace eos_standin {
namespace {

constexpr size_t kLongestProductName = 64;
constexpr size_t kEncryptionKeyLength = 64;

enum class Phase { kNew, kInitialized, kShutDown };
std::atomic<Phase> phase{Phase::kNew};

// Never destroyed: a call may come from another static destructor.
struct Library {
  std::optional<World> world;
  // The released ones too.
  std::vector<std::unique_ptr<Platform>> platforms;
};

Library& TheLibrary() {
  static Library& library = *new Library;
  return library;
}

World WorldFromFile(const std::filesystem::path& path) {
  const std::string name = zelk::common::Utf8FromPath(path);
  const auto text = zelk::common::ReadFile(path);
  if (!text) throw std::runtime_error(name + ": cannot be read");
  return World::FromText(*text, name);
}

World MakeWorld() {
  if (auto world = TakeWorld()) return std::move(*world);
  const std::filesystem::path path = zelk::common::PathFromEnvironment("ZELK_EOS_WORLD");
  return path.empty() ? World::BuiltIn() : WorldFromFile(path);
}

bool LoadWorld() try {
  if (TheLibrary().world) return true;
  TheLibrary().world = MakeWorld();
  ApplyScript(TheLibrary().world->script());
  return true;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return false;
}

bool IsProductName(const char* name) {
  return name != nullptr && *name != '\0' && std::strlen(name) <= kLongestProductName;
}

bool IsEncryptionKey(const char* key) {
  return std::strlen(key) == kEncryptionKeyLength &&
         std::strspn(key, "0123456789abcdefABCDEF") == kEncryptionKeyLength;
}

EOS_EResult Initialize(const EOS_InitializeOptions& options) {
  using enum EOS_EResult;
  if (CheckVersion(options.ApiVersion, EOS_INITIALIZE_API_LATEST) != EOS_Success) {
    return EOS_VersionMismatch;
  }
  if (!IsProductName(options.ProductName)) return EOS_InvalidParameters;
  phase.store(Phase::kInitialized, std::memory_order_relaxed);
  return EOS_Success;
}

bool AreGood(const EOS_Platform_Options& options) {
  if (CheckVersion(options.ApiVersion, EOS_PLATFORM_OPTIONS_API_LATEST) !=
      EOS_EResult::EOS_Success) {
    Log(kLogCore, EOS_ELogLevel::EOS_LOG_Error, "EOS_Platform_Create: unknown ApiVersion");
    return false;
  }
  if (options.EncryptionKey == nullptr || IsEncryptionKey(options.EncryptionKey)) return true;
  Log(kLogCore, EOS_ELogLevel::EOS_LOG_Error,
      "EOS_Platform_Create: EncryptionKey must be 64 hexadecimal characters");
  return false;
}

template <class Handle>
Platform* FindByInterface(const Handle* handle) {
  for (const auto& platform : TheLibrary().platforms) {
    if (&std::get<Handle>(platform->interfaces) == handle) return platform.get();
  }
  return nullptr;
}

// Handles of interfaces: null for a null platform is no misuse.
template <class Handle>
Handle* InterfaceOf(const Entry& entry, EOS_HPlatform handle) {
  if (handle == nullptr) {
    entry.Allowed();
    return nullptr;
  }
  Platform* platform = entry.PlatformOf(handle);
  if (platform == nullptr || entry.Script().Fails()) return nullptr;
  return &std::get<Handle>(platform->interfaces);
}

void ReleasePlatform(const Entry& entry, Platform& platform) {
  platform.Release();
  ReportLeakedTokens(entry, &platform);
  ReportLeakedUserInfos(entry, &platform);
}

}  // namespace

bool IsInitialized() { return phase.load(std::memory_order_relaxed) == Phase::kInitialized; }
bool IsShutDown() { return phase.load(std::memory_order_relaxed) == Phase::kShutDown; }

World& TheWorld() { return *TheLibrary().world; }

Platform* FindPlatform(const EOS_PlatformHandle* handle) {
  for (const auto& platform : TheLibrary().platforms) {
    if (platform.get() == handle) return platform.get();
  }
  return nullptr;
}
Platform* FindPlatform(const EOS_AuthHandle* handle) { return FindByInterface(handle); }
Platform* FindPlatform(const EOS_ConnectHandle* handle) { return FindByInterface(handle); }
Platform* FindPlatform(const EOS_FriendsHandle* handle) { return FindByInterface(handle); }
Platform* FindPlatform(const EOS_UserInfoHandle* handle) { return FindByInterface(handle); }

}  // namespace eos_standin

using namespace eos_standin;

Session* EOS_PlatformHandle::SessionOf(EOS_EpicAccountId id) {
  const auto found = std::find_if(sessions.begin(), sessions.end(),
                                  [id](const Session& session) { return session.id == id; });
  return found == sessions.end() ? nullptr : &*found;
}

void EOS_PlatformHandle::Start(std::unique_ptr<Operation> operation) {
  const int64_t due = tick_ + operation->after_ticks();
  queue_[due].push_back(std::move(operation));
}

// A completion may release the platform: nothing is due any more then.
void EOS_PlatformHandle::Tick() {
  ++tick_;
  ReportExpiration();
  if (released) return;
  due_now_ = TakeDue();
  while (!due_now_.empty()) {
    auto operation = std::move(due_now_.front());
    due_now_.pop_front();
    const bool again = operation->Run();
    if (again && !released) Start(std::move(operation));
  }
}

EOS_PlatformHandle::Operations EOS_PlatformHandle::TakeDue() {
  Operations due;
  for (auto next = queue_.begin(); next != queue_.end() && next->first <= tick_;
       next = queue_.erase(next)) {
    std::move(next->second.begin(), next->second.end(), std::back_inserter(due));
  }
  if (due.size() < 2) return due;
  if (OrderOfCompletions() == CompletionOrder::kReversed) std::reverse(due.begin(), due.end());
  if (OrderOfCompletions() == CompletionOrder::kShuffled) {
    std::mt19937_64 random(ShuffleSeed() + static_cast<uint64_t>(tick_));
    std::shuffle(due.begin(), due.end(), random);
  }
  return due;
}

void EOS_PlatformHandle::ReportExpiration() {
  const Expiration expiration = TakeExpiration();
  if (expiration == Expiration::kNone) return;
  const auto listeners = expiration_listeners;
  for (const ExpirationListener& listener : listeners) {
    const EOS_Connect_AuthExpirationCallbackInfo info{listener.client_data, product_user};
    listener.callback(expiration == Expiration::kReportedWithoutData ? nullptr : &info);
  }
}

void EOS_PlatformHandle::Release() {
  Operations outstanding = std::move(due_now_);
  for (auto& [due, operations] : queue_) {
    std::move(operations.begin(), operations.end(), std::back_inserter(outstanding));
  }
  queue_.clear();
  if (CompletesOnRelease()) {
    for (const auto& operation : outstanding) operation->Cancel();
  }
  // With what the completions just started.
  queue_.clear();
  released = true;
}

EOS_STANDIN_API int32_t EOS_StandIn_CheckWorld(const char* path_utf8, char* message,
                                               int32_t message_size) try {
  WorldFromFile(zelk::common::PathFromUtf8(path_utf8));
  return 0;
} catch (const std::exception& error) {
  if (message != nullptr && message_size > 0) {
    std::snprintf(message, static_cast<size_t>(message_size), "%s", error.what());
  }
  return 1;
}

EOS_DECLARE_FUNC(EOS_EResult) EOS_Initialize(const EOS_InitializeOptions* Options) {
  const Entry entry(Function::EOS_Initialize, Options);
  if (!entry.Allowed() || IsInitialized()) return EOS_EResult::EOS_AlreadyConfigured;
  if (Options == nullptr) entry.Misuse("null-options");
  if (Options == nullptr || !LoadWorld()) return EOS_EResult::EOS_InvalidParameters;
  const Scripted scripted = entry.Script();
  return scripted.Fails() ? scripted.result : Initialize(*Options);
}

EOS_DECLARE_FUNC(EOS_EResult) EOS_Shutdown(void) {
  const Entry entry(Function::EOS_Shutdown);
  if (!IsInitialized()) return EOS_EResult::EOS_NotConfigured;
  if (const Scripted scripted = entry.Script(); scripted.Fails()) return scripted.result;
  for (const auto& platform : TheLibrary().platforms) {
    if (platform->released) continue;
    ReleasePlatform(entry, *platform);
  }
  phase.store(Phase::kShutDown, std::memory_order_relaxed);
  return EOS_EResult::EOS_Success;
}

EOS_DECLARE_FUNC(EOS_HPlatform) EOS_Platform_Create(const EOS_Platform_Options* Options) {
  const Entry entry(Function::EOS_Platform_Create, Options);
  if (!entry.Allowed()) return nullptr;
  if (Options == nullptr) return entry.Misuse("null-options");
  if (!IsInitialized() || entry.Script().Fails() || !AreGood(*Options)) return nullptr;
  auto platform = std::make_unique<Platform>();
  if (Options->CacheDirectory != nullptr) platform->cache_directory = Options->CacheDirectory;
  TheLibrary().platforms.push_back(std::move(platform));
  Log(kLogCore, EOS_ELogLevel::EOS_LOG_Info, "Platform created");
  return TheLibrary().platforms.back().get();
}

EOS_DECLARE_FUNC(void) EOS_Platform_Release(EOS_HPlatform Handle) {
  const Entry entry(Function::EOS_Platform_Release);
  Platform* platform = entry.PlatformOf(Handle);
  if (platform == nullptr) return;
  ReleasePlatform(entry, *platform);
  Log(kLogCore, EOS_ELogLevel::EOS_LOG_Info, "Platform released");
}

EOS_DECLARE_FUNC(void) EOS_Platform_Tick(EOS_HPlatform Handle) {
  const Entry entry(Function::EOS_Platform_Tick);
  if (Platform* platform = entry.PlatformOf(Handle)) platform->Tick();
}

EOS_DECLARE_FUNC(EOS_HAuth) EOS_Platform_GetAuthInterface(EOS_HPlatform Handle) {
  const Entry entry(Function::EOS_Platform_GetAuthInterface);
  return InterfaceOf<EOS_AuthHandle>(entry, Handle);
}

EOS_DECLARE_FUNC(EOS_HConnect) EOS_Platform_GetConnectInterface(EOS_HPlatform Handle) {
  const Entry entry(Function::EOS_Platform_GetConnectInterface);
  return InterfaceOf<EOS_ConnectHandle>(entry, Handle);
}

EOS_DECLARE_FUNC(EOS_HFriends) EOS_Platform_GetFriendsInterface(EOS_HPlatform Handle) {
  const Entry entry(Function::EOS_Platform_GetFriendsInterface);
  return InterfaceOf<EOS_FriendsHandle>(entry, Handle);
}

EOS_DECLARE_FUNC(EOS_HUserInfo) EOS_Platform_GetUserInfoInterface(EOS_HPlatform Handle) {
  const Entry entry(Function::EOS_Platform_GetUserInfoInterface);
  return InterfaceOf<EOS_UserInfoHandle>(entry, Handle);
}

EOS_DECLARE_FUNC(const char*) EOS_EResult_ToString(EOS_EResult Result) {
  const Entry entry(Function::EOS_EResult_ToString, [&] {
    return Json{{"Result", static_cast<int32_t>(Result)}};
  });
  return NameOf(Result);
}
