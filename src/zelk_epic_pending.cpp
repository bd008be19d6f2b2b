#include "zelk_epic_pending.h"

#include "zelk_epic_boundary.h"

namespace zelk {

constinit PendingList EosHeld::contexts_;

void PendingList::Append(PendingContext* context) noexcept {
  context->previous_ = last_;
  context->next_ = nullptr;
  (last_ != nullptr ? last_->next_ : first_) = context;
  last_ = context;
}

void PendingList::Remove(PendingContext* context) noexcept {
  (context->previous_ != nullptr ? context->previous_->next_ : first_) = context->next_;
  (context->next_ != nullptr ? context->next_->previous_ : last_) = context->previous_;
  context->previous_ = context->next_ = nullptr;
}

void PendingList::AnswerAfterShutdown() noexcept {
  while (first_ != nullptr) {
    PendingContext* context = first_;
    Remove(context);  // NOLINT(clang-analyzer-cplusplus.NewDelete): what was freed is in no list
    const auto answer = [context] { context->AnswerAfterShutdown(); };
    AtBoundary("zelk::PendingList::AnswerAfterShutdown", answer, answer);
    context->Release();
  }
}

void ReleasePending::operator()(PendingContext* context) const noexcept {
  if (context->calls_owed_ == 0) return context->Release();
  context->End();
  EosHeld::contexts_.Append(context);
}

}  // namespace zelk
