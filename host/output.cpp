#include "output.h"

#include <spdlog/details/null_mutex.h>
#include <spdlog/sinks/base_sink.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "platform.h"

namespace zelk::host {
namespace {

constexpr char kPattern[] = "%Y-%m-%d %H:%M:%S.%e %-7l [%n] %s:%# %!: %v";

std::string Text(spdlog::string_view_t text) { return std::string(text.data(), text.size()); }

std::string Text(const char* text) { return text != nullptr ? text : ""; }

// The foundation's levels begin with 1 at spdlog's info.
constexpr int kLevelOffset = static_cast<int>(spdlog::level::info) - static_cast<int>(kLogInfo);

Json LogEvent(const spdlog::details::log_msg& line) {
  return {{"event", "log"},
          {"level", line.level - kLevelOffset},
          {"tag", Text(line.logger_name)},
          {"file", Text(line.source.filename)},
          {"function", Text(line.source.funcname)},
          {"line", line.source.line},
          {"text", Text(line.payload)}};
}

class EventLines final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
 private:
  void sink_it_(const spdlog::details::log_msg& line) override { PrintEvent(LogEvent(line)); }
  void flush_() override {}
};

class TextLines final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  explicit TextLines(std::function<void(std::string_view)> write) : write_(std::move(write)) {
    set_pattern(kPattern);
  }

 private:
  void sink_it_(const spdlog::details::log_msg& line) override {
    spdlog::memory_buf_t text;
    formatter_->format(line, text);
    write_(std::string_view(text.data(), text.size()));
  }
  void flush_() override {}

  std::function<void(std::string_view)> write_;
};

// Flushed line by line: the last line before a crash is the one that is wanted.
std::function<void(std::string_view)> FileWriter(const std::string& name) {
  auto file = std::make_shared<std::ofstream>(PathFromUtf8(name), std::ios::binary | std::ios::app);
  if (!*file) throw std::runtime_error(name + ": the log file cannot be opened");
  return [file](std::string_view text) { *file << text << std::flush; };
}

std::shared_ptr<spdlog::sinks::sink> Sink(const std::string& target, bool as_events) {
  if (target != "-") return std::make_shared<TextLines>(FileWriter(target));
  if (as_events) return std::make_shared<EventLines>();
  return std::make_shared<TextLines>(&PrintText);
}

}  // namespace

void PrintText(std::string_view text) {
  // Never destroyed: EOS may log from a thread of its own until the process ends.
  static std::mutex& mutex = *new std::mutex;
  const std::scoped_lock lock(mutex);
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

void PrintEvent(const Json& event) {
  PrintText(event.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n');
}

std::shared_ptr<spdlog::sinks::sink> MakeLogSink(const std::string& target, LogLevel level,
                                                 bool as_events) {
  auto sink = Sink(target, as_events);
  sink->set_level(static_cast<spdlog::level::level_enum>(level + kLevelOffset));
  return sink;
}

}  // namespace zelk::host
