// Standard output and the log: whatever is printed goes through here, whole lines at a time, so
// that results and log lines stand in the order in which they happened. Any thread.
#pragma once

#include <spdlog/sinks/sink.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "core_contract/log.h"

namespace zelk::host {

// Keeps the members in the order in which they were set.
using Json = nlohmann::ordered_json;

// As it is, on standard output.
void PrintText(std::string_view text);

// One JSON object on a line of its own; invalid UTF-8 in it is replaced.
void PrintEvent(const Json& event);

// Writes the lines from `level` on to `target`: a file, to which it appends, or "-" for standard
// output, where they are JSON events when `as_events` is set. Throws std::runtime_error when the
// file cannot be opened.
std::shared_ptr<spdlog::sinks::sink> MakeLogSink(const std::string& target, LogLevel level,
                                                 bool as_events);

}  // namespace zelk::host
