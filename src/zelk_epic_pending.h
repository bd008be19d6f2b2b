// The contexts of requests in progress, behind the client data that EOS holds from a call to its
// completion. Any thread may make and free one of its own; all else is done under the EOS lock.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

namespace zelk {

// The asynchronous EOS calls, by what completes them.
enum class EosCall {
  kNone,
  kAuthLogin,
  kConnectLogin,
  kConnectCreateUser,
  kQueryUserInfo,
  kQueryFriends,
  kQueryFriendUserInfo,
};

// A context has one owner at every moment: the step of the plugin that works on it, by a
// std::unique_ptr, or InFlight while EOS has its client data.
class PendingContext {
 public:
  PendingContext() = default;
  PendingContext(const PendingContext&) = delete;
  PendingContext& operator=(const PendingContext&) = delete;
  virtual ~PendingContext() = default;

  // Answers what the context still owes, as if the request had been made after the shutdown.
  virtual void AnswerAfterShutdown() = 0;

 private:
  friend class InFlight;

  uintptr_t id_ = 0;                          // its client data; 0 until it was in flight
  EosCall call_ = EosCall::kNone;             // the last one that it was handed over for
  PendingContext* next_in_bucket_ = nullptr;  // while it is in flight
};

// What EOS holds. Takes no memory, and never fails.
//
// The client data is a number, which no other context of the process ever has: a late or repeated
// completion finds no context, and never the one of another request.
class InFlight {
 public:
  // Hands `context` over to EOS. Returns the client data for the call that is about to be made: the
  // same one at each hand-over of a context.
  static void* HandOver(EosCall call, std::unique_ptr<PendingContext> context) noexcept;

  // Reclaims the context of a completion. Null when EOS does not hold `client_data` for that call,
  // or no longer. `Context` is what the call is always made with.
  template <class Context>
  static std::unique_ptr<Context> Reclaim(EosCall call, const void* client_data) noexcept {
    PendingContext** const link = Find(reinterpret_cast<uintptr_t>(client_data));
    if (*link == nullptr || (*link)->call_ != call) return nullptr;
    PendingContext* const context = std::exchange(*link, (*link)->next_in_bucket_);
    return std::unique_ptr<Context>(static_cast<Context*>(context));
  }

  // Keeps a context for the completion that comes again, or for the shutdown.
  static void Return(std::unique_ptr<PendingContext> context) noexcept;

  // After the platform was released, when EOS completes nothing any more: lets every context
  // answer, the oldest first, and frees it. An answer that throws is logged and tried once more.
  static void AnswerAfterShutdown() noexcept;

 private:
  // Where the context, or null, is linked.
  static PendingContext** Find(uintptr_t id) noexcept;
};

}  // namespace zelk
