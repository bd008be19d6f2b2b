#include "core_contract/log.h"

#include <spdlog/details/log_msg.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>

#include "common/null_text.h"
#include "zelk_foundation_standin.h"

namespace zelk {
namespace {

using common::OrEmpty;
using Sinks = std::vector<std::shared_ptr<spdlog::sinks::sink>>;

// From kLogInfo on.
constexpr std::array kSpdlogLevels{spdlog::level::info, spdlog::level::warn, spdlog::level::err};

std::atomic<int32_t> threshold = kLogInfo;

// The sinks are copied out to be written to: a slow sink holds up nobody else, and may log itself.
struct SinkList {
  std::mutex mutex;
  std::shared_ptr<const Sinks> sinks = std::make_shared<const Sinks>();
};

// Never destroyed: threads may log until the process ends.
SinkList& List() {
  static SinkList& list = *new SinkList;
  return list;
}

std::shared_ptr<const Sinks> CurrentSinks() {
  const std::scoped_lock lock(List().mutex);
  return List().sinks;
}

// A printf text: on the stack as a rule, on the heap when it is long, cut where the heap is
// exhausted.
class FormattedText {
 public:
  FormattedText(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(short_.data(), short_.size(), format, arguments);
    if (length < 0) {
      text_ = format;
    } else {
      Take(static_cast<std::size_t>(length), format, again);
    }
    va_end(again);
  }

  std::string_view text() const { return text_; }

 private:
  void Take(std::size_t length, const char* format, va_list arguments) {
    text_ = std::string_view(short_.data(), std::min(length, short_.size() - 1));
    if (length < short_.size()) return;
    long_.reset(new (std::nothrow) char[length + 1]);
    if (long_ == nullptr) return;
    std::vsnprintf(long_.get(), length + 1, format, arguments);
    text_ = std::string_view(long_.get(), length);
  }

  std::array<char, 1024> short_;
  std::unique_ptr<char[]> long_;
  std::string_view text_;
};

// A sink that throws must harm neither the caller nor the other sinks.
void Write(spdlog::sinks::sink& sink, const spdlog::details::log_msg& line) noexcept {
  try {
    if (!sink.should_log(line.level)) return;
    sink.log(line);
    if (line.level == spdlog::level::err) sink.flush();
  } catch (...) {
  }
}

}  // namespace

Log* Log::GetInstance() {
  static Log log;
  return &log;
}

void Log::OutputLog(LogLevel level, const char* tag, bool /*first_flag*/, bool /*second_flag*/,
                    const char* file, const char* function, int line, const char* format, ...) {
  if (level < threshold.load(std::memory_order_relaxed)) return;
  const std::shared_ptr<const Sinks> sinks = CurrentSinks();
  if (sinks->empty()) return;

  va_list arguments;
  va_start(arguments, format);
  const FormattedText text(OrEmpty(format), arguments);
  va_end(arguments);

  const int32_t row = std::clamp<int32_t>(level, kLogInfo, kLogError) - kLogInfo;
  const spdlog::details::log_msg message(spdlog::source_loc{OrEmpty(file), line, OrEmpty(function)},
                                         OrEmpty(tag), kSpdlogLevels[static_cast<std::size_t>(row)],
                                         text.text());
  for (const auto& sink : *sinks) Write(*sink, message);
}

void foundation_standin::SetLogSinks(std::vector<std::shared_ptr<spdlog::sinks::sink>> sinks) {
  auto list = std::make_shared<const Sinks>(std::move(sinks));
  const std::scoped_lock lock(List().mutex);
  // The old sinks are released after the lock: what a sink's destructor does is its own affair.
  List().sinks.swap(list);
}

void foundation_standin::SetLogThreshold(int32_t level) { threshold = level; }

}  // namespace zelk
