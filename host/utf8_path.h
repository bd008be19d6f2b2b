// Paths from texts and texts from paths, by the names that the host uses.
#pragma once

#include "common/paths.h"

namespace zelk::host {

using common::PathFromUtf8;
using common::Utf8FromPath;

}  // namespace zelk::host
