#include "log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

#include "eos_standin.h"
#include "script.h"

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

void SetLogCallback(EOS_LogMessageFunc callback) { log_callback.store(callback, kRelaxed); }

void SetLogThreshold(EOS_ELogCategory category, EOS_ELogLevel level) {
  for (Category& row : categories) {
    const bool meant = category == row.id || category == EOS_ELogCategory::EOS_LC_ALL_CATEGORIES;
    if (meant) row.threshold.store(level, kRelaxed);
  }
}

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
