#include "call_scope.h"

#include <atomic>

namespace eos_standin {
namespace {

// The thread inside the library, as the address of something of its own. Relaxed, so that it orders
// nothing between the threads: a race of the callers stays visible to a thread sanitizer.
std::atomic<const void*> thread_inside{nullptr};
thread_local char this_thread = 0;

}  // namespace

bool CallScope::Enter(Function function) {
  const void* inside = nullptr;
  if (thread_inside.compare_exchange_strong(inside, &this_thread, kRelaxed)) return true;
  if (inside != &this_thread) ReportMisuse(MisuseRule::kOverlappingCall, function);
  return false;
}

void CallScope::Leave() { thread_inside.store(nullptr, kRelaxed); }

}  // namespace eos_standin
