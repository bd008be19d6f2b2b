// The foundation's logger.
#pragma once

#include <cstdint>

#include "core_contract/export.h"

#if defined(__MINGW32__)
#define ZELK_PRINTF_FORMAT(format_index, first_argument) \
  __attribute__((format(gnu_printf, format_index, first_argument)))
#elif defined(__GNUC__)
#define ZELK_PRINTF_FORMAT(format_index, first_argument) \
  __attribute__((format(printf, format_index, first_argument)))
#else
#define ZELK_PRINTF_FORMAT(format_index, first_argument)
#endif

namespace zelk {

// The severity of a line; the logger drops what lies below its threshold.
enum LogLevel : int32_t {
  kLogInfo = 1,
  kLogWarning = 2,
  kLogError = 3,
};

// The one logger of the process.
class Log {
 public:
  // Any thread. Never null; the logger lives as long as the process.
  ZELK_FOUNDATION_API static Log* GetInstance();

  // Any thread. Writes one line; `format` and what follows it are printf's. The two flags stay
  // false.
  ZELK_FOUNDATION_API void OutputLog(LogLevel level, const char* tag, bool first_flag,
                                     bool second_flag, const char* file, const char* function,
                                     int line, const char* format, ...) ZELK_PRINTF_FORMAT(9, 10);
};

}  // namespace zelk
