#include "log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

#include "entry.h"
#include "eos_standin.h"

namespace eos_standin {
namespace {

// Atomic because messages come from threads of the library's own too.
struct Category {
  EOS_ELogCategory id;
  std::string_view name;
  std::atomic<EOS_ELogLevel> threshold{EOS_ELogLevel::EOS_LOG_Warning};
};

std::array<Category, 5> categories{{{EOS_ELogCategory::EOS_LC_Core, kLogCore},
                                    {EOS_ELogCategory::EOS_LC_Auth, kLogAuth},
                                    {EOS_ELogCategory::EOS_LC_Connect, kLogConnect},
                                    {EOS_ELogCategory::EOS_LC_Friends, kLogFriends},
                                    {EOS_ELogCategory::EOS_LC_UserInfo, kLogUserInfo}}};
std::atomic<EOS_LogMessageFunc> log_callback{nullptr};

// A category that is not known is the core's.
const Category& CategoryNamed(std::string_view name) {
  for (const Category& category : categories) {
    if (category.name == name) return category;
  }
  return categories.front();
}

}  // namespace

bool IsLogged(std::string_view category, EOS_ELogLevel level) {
  return log_callback.load(kRelaxed) != nullptr &&
         level <= CategoryNamed(category).threshold.load(kRelaxed);
}

void WriteLog(const char* category, EOS_ELogLevel level, std::string message) {
  const EOS_LogMessageFunc callback = log_callback.load(kRelaxed);
  if (callback == nullptr) return;
  std::string category_text(category);
  const EOS_LogMessage log_message{category_text.c_str(), message.c_str(), level};
  callback(&log_message);
  std::fill(category_text.begin(), category_text.end(), '#');
  std::fill(message.begin(), message.end(), '#');
}

void LogFromOwnThread(EOS_ELogLevel level, const std::string& category,
                      const std::string& message) {
  std::thread([&] { Log(category.c_str(), level, message); }).join();
}

}  // namespace eos_standin

using namespace eos_standin;

EOS_DECLARE_FUNC(EOS_EResult) EOS_Logging_SetCallback(EOS_LogMessageFunc Callback) {
  const Entry entry(Function::EOS_Logging_SetCallback, [&] {
    return Json{{"Callback", Callback == nullptr ? Json() : Json(true)}};
  });
  if (!entry.Allowed()) return EOS_EResult::EOS_NotConfigured;
  if (const Scripted scripted = entry.Script(); scripted.Fails()) return scripted.result;
  if (!IsInitialized()) return EOS_EResult::EOS_NotConfigured;
  log_callback.store(Callback, kRelaxed);
  return EOS_EResult::EOS_Success;
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_Logging_SetLogLevel(EOS_ELogCategory LogCategory, EOS_ELogLevel LogLevel) {
  const Entry entry(Function::EOS_Logging_SetLogLevel, [&] {
    return Json{{"LogCategory", static_cast<int32_t>(LogCategory)},
                {"LogLevel", static_cast<int32_t>(LogLevel)}};
  });
  if (!entry.Allowed()) return EOS_EResult::EOS_NotConfigured;
  if (const Scripted scripted = entry.Script(); scripted.Fails()) return scripted.result;
  if (!IsInitialized()) return EOS_EResult::EOS_NotConfigured;
  for (Category& category : categories) {
    const bool meant =
        LogCategory == category.id || LogCategory == EOS_ELogCategory::EOS_LC_ALL_CATEGORIES;
    if (meant) category.threshold.store(LogLevel, kRelaxed);
  }
  return EOS_EResult::EOS_Success;
}
