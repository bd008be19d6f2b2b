#include "zelk_epic_pending.h"

#include <array>
#include <cstdint>

#include "zelk_epic_boundary.h"
#include "zelk_epic_lock.h"

namespace zelk {
namespace {

// A hash table of fixed size, so that nothing has to be allocated where a call is made. With all
// 100,000 friends of a page in flight a bucket holds three.
constexpr unsigned kBucketBits = 15;
constinit std::array<PendingContext*, std::size_t{1} << kBucketBits> buckets{};

}  // namespace

constinit PendingContext* InFlight::oldest_ = nullptr;
constinit PendingContext* InFlight::newest_ = nullptr;

// Multiplied by the golden ratio: contexts of one page lie at even distances.
PendingContext** InFlight::BucketOf(const void* client_data) noexcept {
  const auto address = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(client_data));
  return &buckets[(address * 0x9E3779B97F4A7C15) >> (64 - kBucketBits)];
}

void* InFlight::HandOver(EosCall call, Pending<PendingContext> context) noexcept {
  PendingContext* const handed_over = context.release();
  handed_over->call_ = call;
  ++handed_over->completions_owed_;
  Insert(handed_over);
  return handed_over;
}

void InFlight::Insert(PendingContext* context) noexcept {
  eos_lock.AssertHeld();
  PendingContext** const bucket = BucketOf(context);
  context->next_in_bucket_ = *bucket;
  *bucket = context;
  context->older_ = newest_;
  context->newer_ = nullptr;
  (newest_ != nullptr ? newest_->newer_ : oldest_) = context;
  newest_ = context;
}

PendingContext* InFlight::Remove(EosCall call, const void* client_data) noexcept {
  eos_lock.AssertHeld();
  PendingContext** link = BucketOf(client_data);
  while (*link != nullptr && *link != client_data) link = &(*link)->next_in_bucket_;
  PendingContext* const context = *link;
  if (context == nullptr || context->call_ != call) return nullptr;
  *link = context->next_in_bucket_;
  (context->older_ != nullptr ? context->older_->newer_ : oldest_) = context->newer_;
  (context->newer_ != nullptr ? context->newer_->older_ : newest_) = context->older_;
  return context;
}

void InFlight::AnswerAfterShutdown() noexcept {
  while (oldest_ != nullptr) {
    const Pending<PendingContext> context(Remove(oldest_->call_, oldest_));
    context->completions_owed_ = 0;
    const auto answer = [&context] { context->AnswerAfterShutdown(); };
    AtBoundary("zelk::InFlight::AnswerAfterShutdown", answer, answer);
  }
}

void ClearAndFree::operator()(PendingContext* context) const noexcept {
  context->Clear();
  if (context->completions_owed_ > 0) return InFlight::Insert(context);
  delete context;
}

}  // namespace zelk
