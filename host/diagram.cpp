#include "diagram.h"

#include <spdlog/fmt/fmt.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "common/files.h"
#include "core_contract/method_id.h"
#include "platform.h"
#include "record_json.h"
#include "text.h"

namespace zelk::host {
namespace {

using FileType = std::filesystem::file_type;

constexpr std::string_view kCall = "Game->>Plugin";
constexpr std::string_view kResult = "Plugin-->>Game";
constexpr std::string_view kEosCall = "Plugin->>EOS";
constexpr std::string_view kEosCompletion = "EOS-->>Plugin";

constexpr char kHead[] =
    "sequenceDiagram\n"
    "    participant Game as game\n"
    "    participant Plugin as plugin\n"
    "    participant EOS\n";
constexpr char kStartedAgain[] = "    Note over Game,EOS: the game is started again\n";

bool IsPlain(char byte) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 _-.,/()+=";
  return kPlain.find(byte) != std::string_view::npos || static_cast<unsigned char>(byte) >= 0x80U;
}

// A text from outside. Whatever the grammar or a reader's HTML could take for its own becomes a
// character reference, "#59;" for a semicolon.
std::string Escaped(const std::string& text) {
  constexpr std::size_t kLongest = 80;
  std::string escaped;
  for (const char byte : Shortened(Printable(text), kLongest)) {
    escaped += IsPlain(byte) ? std::string(1, byte) : fmt::format("#{};", static_cast<int>(byte));
  }
  return escaped;
}

std::string Times(const std::string& text, int64_t count) {
  return count > 1 ? fmt::format("{} x {}", text, count) : text;
}

std::string NameOfMethod(int32_t method_id) {
  const auto name = kMethodIDNames.find(method_id);
  return name != kMethodIDNames.end() ? fmt::format(" ({})", name->second) : "";
}

std::string Friends(const Game::Result& result) {
  const auto* friends = std::get_if<FriendResult>(&result.record);
  if (friends == nullptr || friends->ret_code != kResultSuccess) return "";
  return fmt::format(", {} friends", friends->friend_info_list.size());
}

std::string ThirdCode(const BaseResult& result) {
  if (result.third_code == 0) return "";
  const std::string message = result.third_msg.c_str();
  return fmt::format(", third_code {}{}", result.third_code,
                     message.empty() ? "" : " (" + Escaped(message) + ")");
}

}  // namespace

void Diagram::OnRequest(const Request& request) {
  const int32_t method_id = request.params.method_id;
  Append(kCall, fmt::format("{}, method {}{}, seq_id {}", EntryPointName(request.entry_point),
                            method_id, NameOfMethod(method_id), Escaped(request.params.seq_id)));
}

void Diagram::OnShutdown() { Append(kCall, EntryPointName(EntryPoint::kShutdown)); }

void Diagram::OnResult(const Game::Result& result) {
  EndLookUps(result);
  const BaseResult& base = Base(result.record);
  Append(kResult, AtTick(fmt::format("{}, ret_code {}{}{}, seq_id {}", TypeName(result.record),
                                     base.ret_code, ThirdCode(base), Friends(result),
                                     Escaped(result.seq_id))));
}

void Diagram::OnCall(const Work& work) {
  const bool is_look_up = work.about == kAboutEachFriend;
  if (is_look_up) look_ups_.emplace(work.seq_id, messages_.size());
  Append(kEosCall, Escaped(work.about.empty() ? work.call : work.call + ", " + work.about));
  messages_.back().is_final = is_look_up;
}

void Diagram::OnCompletion(const Work& work) {
  Append(kEosCompletion, AtTick(Escaped(work.call) + ", " + Escaped(work.outcome)));
}

// A page that succeeded has asked for each of its friends; only now is it known how many.
void Diagram::EndLookUps(const Game::Result& result) {
  const auto look_up = look_ups_.find(result.seq_id);
  const auto* friends = std::get_if<FriendResult>(&result.record);
  if (look_up == look_ups_.end() || friends == nullptr) return;
  Message& call = messages_[look_up->second];
  look_ups_.erase(look_up);
  if (friends->ret_code != kResultSuccess) return;
  call.text = "EOS_UserInfo_QueryUserInfo";
  call.count = static_cast<int64_t>(friends->friend_info_list.size());
  Append(kEosCompletion, AtTick(Times(call.text, call.count) + ", each completed"));
}

std::string Diagram::AtTick(const std::string& text) const {
  return fmt::format("tick {}, {}", game_.ticks(), text);
}

void Diagram::Append(std::string_view arrow, std::string text) {
  if (!messages_.empty()) {
    Message& last = messages_.back();
    if (!last.is_final && last.arrow == arrow && last.text == text) {
      ++last.count;
      return;
    }
  }
  messages_.push_back({.arrow = arrow, .text = std::move(text)});
}

std::string Diagram::Messages() const {
  std::string lines;
  for (const Message& message : messages_) {
    lines += fmt::format("    {}: {}\n", message.arrow, Times(message.text, message.count));
  }
  return lines;
}

DiagramFile::DiagramFile(const std::string& name, bool append)
    : name_(name), file_(PathFromUtf8(name)) {
  std::error_code error;
  if (std::filesystem::is_symlink(file_, error)) file_ = std::filesystem::canonical(file_, error);
  const auto type = std::filesystem::status(file_, error).type();
  is_replaced_ = type == FileType::not_found || type == FileType::regular;
  const std::filesystem::path directory =
      file_.has_parent_path() ? file_.parent_path() : std::filesystem::path(".");
  if (type == FileType::directory) {
    Refuse(std::make_error_code(std::errc::is_a_directory).message());
  } else if (const std::string problem = is_replaced_ ? WhyNotWritable(directory) : "";
             !problem.empty()) {
    Refuse(problem);
  }
  text_ = append ? common::ReadFile(file_).value_or("") + kStartedAgain : kHead;
}

// A pipe or a device is written to; what else is there is replaced as a whole.
void DiagramFile::Write(const std::string& messages) const {
  const std::string text = text_ + messages;
  if (is_replaced_) {
    if (const std::error_code error = common::WriteAtomically(file_, text)) Refuse(error.message());
    return;
  }
  std::ofstream file(file_, std::ios::binary);
  file << text << std::flush;
  if (!file) Refuse(std::generic_category().message(errno));
}

void DiagramFile::Refuse(const std::string& problem) const {
  throw std::runtime_error(fmt::format("{}: the diagram cannot be written: {}", name_, problem));
}

}  // namespace zelk::host
