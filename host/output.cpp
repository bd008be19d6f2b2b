#include "output.h"

#include <spdlog/details/null_mutex.h>
#include <spdlog/fmt/fmt.h>
#include <spdlog/sinks/base_sink.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "options.h"
#include "platform.h"
#include "text.h"

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

// Texts of EOS and of players stand in the lines.
class TextLines final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  explicit TextLines(std::function<void(std::string_view)> write) : write_(std::move(write)) {
    set_pattern(kPattern);
  }

 private:
  void sink_it_(const spdlog::details::log_msg& line) override {
    const std::string payload = Printable(Text(line.payload));
    spdlog::details::log_msg printable = line;
    printable.payload = payload;
    spdlog::memory_buf_t text;
    formatter_->format(printable, text);
    write_(std::string_view(text.data(), text.size()));
  }
  void flush_() override {}

  std::function<void(std::string_view)> write_;
};

// Something that is written to, until it fails for the first time.
class Stream {
 public:
  Stream(std::FILE* file, std::string name) : file_(file), name_(std::move(name)) {}

  // False when that text was the first that could not be written. Flushed line by line: the last
  // line before a crash is the one that is wanted.
  bool Write(std::string_view text) {
    const std::scoped_lock lock(mutex_);
    if (error_ != 0) return true;
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), file_) == text.size() && std::fflush(file_) == 0) {
      return true;
    }
    error_ = errno != 0 ? errno : EIO;
    return false;
  }

  bool works() const { return error_ == 0; }
  std::string Problem() const {
    return fmt::format("{}: {}", name_, std::generic_category().message(error_));
  }

 private:
  std::FILE* const file_;
  const std::string name_;
  std::mutex mutex_;
  std::atomic<int> error_ = 0;
};

// Never destroyed: EOS may log from a thread of its own until the process ends.
Stream& StandardOutput() {
  static Stream& stream = *new Stream(stdout, "standard output");
  return stream;
}

Stream& StandardError() {
  static Stream& stream = *new Stream(stderr, "standard error");
  return stream;
}

std::atomic<bool> log_was_lost = false;

std::function<void(std::string_view)> FileWriter(const std::string& name) {
  std::FILE* const file = OpenToAppend(PathFromUtf8(name));
  if (file == nullptr) {
    throw std::runtime_error(name + ": " + std::generic_category().message(errno));
  }
  // It stays open until the process ends, as a line may come until then.
  const auto stream = std::make_shared<Stream>(file, name);
  return [stream](std::string_view text) {
    if (stream->Write(text)) return;
    log_was_lost = true;
    PrintError("the log cannot be written: " + stream->Problem());
  };
}

std::shared_ptr<spdlog::sinks::sink> Sink(const std::string& target, bool as_events) {
  if (target != "-") return std::make_shared<TextLines>(FileWriter(target));
  if (as_events) return std::make_shared<EventLines>();
  return std::make_shared<TextLines>(&PrintText);
}

}  // namespace

void PrintText(std::string_view text) { StandardOutput().Write(text); }
void PrintErrorText(std::string_view text) { StandardError().Write(text); }
void PrintError(std::string_view line) { PrintErrorText(fmt::format("{}\n", line)); }

bool StandardOutputWorks() { return StandardOutput().works(); }

int FinalStatus(int status) {
  if (!StandardOutput().works()) PrintError(StandardOutput().Problem());
  const bool is_whole = StandardOutput().works() && StandardError().works() && !log_was_lost;
  return is_whole ? status : kBadInput;
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
