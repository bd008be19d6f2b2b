// Standard output, standard error and the log: whatever is printed goes through here, whole lines
// at a time, so that results and log lines stand in the order in which they happened, and nothing
// is lost unnoticed. Any thread.
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

// The same on standard error, and a line of its own there.
void PrintErrorText(std::string_view text);
void PrintError(std::string_view line);

// False once something could not be written to standard output.
bool StandardOutputWorks();

// The exit status of the program when that of what it did is `status`: another one, and a message
// where one can be written, when output was lost.
int FinalStatus(int status);

// One JSON object on a line of its own; invalid UTF-8 in it is replaced.
void PrintEvent(const Json& event);

// Writes the lines from `level` on to `target`: a file, to which it appends, or "-" for standard
// output, where they are JSON events when `as_events` is set. A new file is readable by its owner
// alone. Throws std::runtime_error when the file cannot be opened.
std::shared_ptr<spdlog::sinks::sink> MakeLogSink(const std::string& target, LogLevel level,
                                                 bool as_events);

}  // namespace zelk::host
