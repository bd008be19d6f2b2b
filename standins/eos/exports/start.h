// The body of the exports that are answered later.
#pragma once

#include <memory>

#include "async_call.h"
#include "call_scope.h"

namespace eos_standin {

template <class Steps, class Handle>
void Start(const Handle* handle, const typename Steps::Options* options, void* client_data,
           typename AsyncCall<Steps>::Callback callback) {
  const CallScope scope(Steps::kFunction, options);
  Platform* platform = scope.PlatformOf(handle, options);
  if (platform == nullptr) return;
  platform->Start(std::make_unique<AsyncCall<Steps>>(*platform, *options, client_data, callback));
}

}  // namespace eos_standin
