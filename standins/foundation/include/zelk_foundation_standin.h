// The face of the foundation stand-in towards a host or a test: where log lines go, where the
// key-value store lives, what memory is out. The plugin never uses it.
#pragma once

#include <spdlog/sinks/sink.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "core_contract/export.h"
#include "core_contract/log.h"

namespace zelk::foundation_standin {

// Any thread. Every line at or above the threshold goes to every sink: the tag as the logger's
// name, file, function and line as the source location, the text as the payload; level 1 is
// spdlog's info, 2 warn, 3 err. No sink at first, threshold kLogInfo at first. A level above
// kLogError silences the log.
ZELK_FOUNDATION_API void SetLogSinks(std::vector<std::shared_ptr<spdlog::sinks::sink>> sinks);
ZELK_FOUNDATION_API void SetLogThreshold(int32_t level);

// Any thread. The directory of the default store, created when something is first stored; the
// temporary directory at first. What was loaded from another directory before is forgotten.
ZELK_FOUNDATION_API void SetStoreDirectory(const std::filesystem::path& directory);

// The one file in it.
inline constexpr char kStoreFileName[] = "zelk_store.json";

// Any thread. What is wrong with that file: "is damaged", "cannot be read", "was written by a newer
// version"; "" when it is good or not there. Leaves it as it is.
ZELK_FOUNDATION_API std::string CheckStore(const std::filesystem::path& directory);

// Any thread. Nodes allocated and not yet given back, and nodes given back with a wrong size.
ZELK_FOUNDATION_API int64_t NodesOut();
ZELK_FOUNDATION_API int64_t NodesMisused();

// Any thread. Lets the next `count` node allocations fail.
ZELK_FOUNDATION_API void FailNodeAllocations(int64_t count);

}  // namespace zelk::foundation_standin
