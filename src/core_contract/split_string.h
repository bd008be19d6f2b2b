// The core's string splitting.
#pragma once

#include "core_contract/export.h"
#include "core_contract/sdk_string.h"
#include "core_contract/sdk_vector.h"

namespace zelk {

// Any thread. Replaces `out` by the pieces of `text` between the separators, in order; empty pieces
// are left out when `skip_empty` is set.
ZELK_CORE_API void SplitString(const SdkString& text, const SdkString& separator,
                               zelk_tp_stl_c::vector<SdkString>& out, bool skip_empty);

}  // namespace zelk
