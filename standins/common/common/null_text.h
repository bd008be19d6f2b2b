// Interfaces of C pass no text as a null pointer.
#pragma once

namespace zelk::common {

inline const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace zelk::common
