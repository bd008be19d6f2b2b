// The foundation's node allocator: the memory behind every SDK string.
#pragma once

#include <cstdint>

#include "core_contract/export.h"

namespace zelk::zelk_tp_stl_ex {

// Any thread. Returns a node of `size` bytes, or null when there is no memory. Never throws.
ZELK_FOUNDATION_API void* allocate_node(uint64_t size);

// Any thread. Takes back a node; `size` is the size it was allocated with.
ZELK_FOUNDATION_API void deallocate_node(void* node, uint64_t size);

}  // namespace zelk::zelk_tp_stl_ex
