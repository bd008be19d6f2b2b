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

#include "common/never_destroyed.h"
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

SinkList& List() { return common::NeverDestroyed<SinkList>(); }

std::shared_ptr<const Sinks> CurrentSinks() {
  const std::scoped_lock lock(List().mutex);
  return List().sinks;
}

// A printf text: in `buffer` as a rule, on the heap when it is long, cut where that is exhausted.
std::string_view Format(std::array<char, 1024>& buffer, std::unique_ptr<char[]>& heap,
                        const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int written = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  const auto length = static_cast<std::size_t>(std::max(written, 0));
  if (length >= buffer.size()) heap.reset(new (std::nothrow) char[length + 1]);
  if (heap != nullptr) std::vsnprintf(heap.get(), length + 1, format, again);
  va_end(again);
  if (written < 0) return format;
  if (heap != nullptr) return {heap.get(), length};
  return {buffer.data(), std::min(length, buffer.size() - 1)};
}

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

  std::array<char, 1024> buffer;
  std::unique_ptr<char[]> heap;
  va_list arguments;
  va_start(arguments, format);
  const std::string_view text = Format(buffer, heap, OrEmpty(format), arguments);
  va_end(arguments);

  const int32_t row = std::clamp<int32_t>(level, kLogInfo, kLogError) - kLogInfo;
  const spdlog::details::log_msg message(spdlog::source_loc{OrEmpty(file), line, OrEmpty(function)},
                                         OrEmpty(tag), kSpdlogLevels[static_cast<std::size_t>(row)],
                                         text);
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
