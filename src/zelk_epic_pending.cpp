#include "zelk_epic_pending.h"

#include <array>
#include <cstddef>

#include "zelk_epic_boundary.h"
#include "zelk_epic_lock.h"

namespace zelk {
namespace {

// A hash table of fixed size, so that nothing has to be allocated where a call is made. Numbers in
// a row fill it evenly: with all 100,000 friends of a page in flight a bucket holds three or four.
constinit std::array<PendingContext*, std::size_t{1} << 15> buckets{};
constinit uintptr_t last_id = 0;

}  // namespace

void* InFlight::HandOver(EosCall call, std::unique_ptr<PendingContext> context) noexcept {
  PendingContext* const handed_over = context.get();
  handed_over->call_ = call;
  Return(std::move(context));
  // NOLINTNEXTLINE(performance-no-int-to-ptr): EOS takes a pointer, and never follows it
  return reinterpret_cast<void*>(handed_over->id_);
}

void InFlight::Return(std::unique_ptr<PendingContext> context) noexcept {
  eos_lock.AssertHeld();
  if (context->id_ == 0) context->id_ = ++last_id;
  PendingContext*& bucket = buckets[context->id_ % buckets.size()];
  context->next_in_bucket_ = bucket;
  bucket = context.release();
}

PendingContext** InFlight::Find(uintptr_t id) noexcept {
  eos_lock.AssertHeld();
  PendingContext** link = &buckets[id % buckets.size()];
  while (*link != nullptr && (*link)->id_ != id) link = &(*link)->next_in_bucket_;
  return link;
}

// Tries every id handed out so far: that takes no memory, and no list for this alone.
void InFlight::AnswerAfterShutdown() noexcept {
  for (uintptr_t id = 1; id <= last_id; ++id) {
    PendingContext** const link = Find(id);
    if (*link == nullptr) continue;
    const std::unique_ptr<PendingContext> context(std::exchange(*link, (*link)->next_in_bucket_));
    const auto answer = [&context] { context->AnswerAfterShutdown(); };
    AtBoundary("zelk::InFlight::AnswerAfterShutdown", answer, answer);
  }
}

}  // namespace zelk
