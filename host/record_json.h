// Result records as JSON, field by field in the order in which the records declare them.
#pragma once

#include "output.h"
#include "zelk_core_standin.h"

namespace zelk::host {

// What the record has in common with every other; lives as long as `record`.
const BaseResult& Base(const core_standin::Record& record);

// "AuthPluginResult" and the like.
const char* TypeName(const core_standin::Record& record);

// All of the fields.
Json RecordJson(const core_standin::Record& record);

// {"event":"result",...}
Json ResultEvent(const core_standin::CommittedResult& result);

}  // namespace zelk::host
