// The request record: the core fills one for every call of an entry point.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zelk {

// The core and the plugin read it through this layout. Copyable member by member; the core keeps
// ownership of the record it passes.
struct BaseParams {
  int32_t method_id = 0;      // a MethodID; copied into every result of the request
  std::string seq_id;         // the caller's identifier of the request; every result carries it
  std::string reserved_text;  // the core's own
  std::string extra_json;     // JSON text with the request's parameters
};

// Holds for every standard library whose string is aligned to eight bytes.
static_assert(offsetof(BaseParams, method_id) == 0);
static_assert(offsetof(BaseParams, seq_id) == 8);
static_assert(offsetof(BaseParams, reserved_text) == 8 + sizeof(std::string));
static_assert(offsetof(BaseParams, extra_json) == 8 + 2 * sizeof(std::string));
static_assert(sizeof(BaseParams) == 8 + 3 * sizeof(std::string));

}  // namespace zelk
