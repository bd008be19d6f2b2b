// The contexts of requests in progress: what EOS holds as client data from a call to its
// completion. All of it is touched under the EOS lock only.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>

namespace zelk {

// The asynchronous EOS calls, by what completes them.
enum class EosCall {
  kAuthLogin,
  kConnectLogin,
  kConnectCreateUser,
  kQueryUserInfo,
  kQueryFriends,
  kQueryFriendUserInfo,
};

// A context has one owner at every moment: the step of the plugin that works on it, or EOS.
class PendingContext {
 public:
  PendingContext() = default;
  PendingContext(const PendingContext&) = delete;
  PendingContext& operator=(const PendingContext&) = delete;
  virtual ~PendingContext() = default;

  // Answers what the context still owes, as if the request had been made after the shutdown.
  virtual void AnswerAfterShutdown() = 0;
  // Answers what the context still owes, and gives up what it holds. Its owner calls it last.
  virtual void Clear() noexcept {}

 private:
  friend class InFlight;
  friend struct ClearAndFree;

  EosCall call_{};                            // the last one that it was handed over with
  int completions_owed_ = 0;                  // that EOS has still to run with this context
  PendingContext* older_ = nullptr;           // among those that EOS holds
  PendingContext* newer_ = nullptr;           // likewise
  PendingContext* next_in_bucket_ = nullptr;  // likewise, of the same hash
};

// How an owner parts with a context: it is cleared and freed. But while EOS has announced another
// completion with it, it is returned to EOS, cleared: its address must not become another
// context's.
struct ClearAndFree {
  void operator()(PendingContext* context) const noexcept;
};

// The owner of a context.
template <class Context>
using Pending = std::unique_ptr<Context, ClearAndFree>;

// A new context, owned by the caller. Throws std::bad_alloc, and what the constructor throws.
template <class Context, class... Arguments>
Pending<Context> MakePending(Arguments&&... arguments) {
  return Pending<Context>(new Context(std::forward<Arguments>(arguments)...));
}

// What EOS holds. Takes no memory, and never fails.
class InFlight {
 public:
  // Hands `context` over to EOS, as the client data of the call that is about to be made.
  static void* HandOver(EosCall call, Pending<PendingContext> context) noexcept;

  // Reclaims the context of a completion. Null when EOS does not hold `client_data` for that call,
  // or no longer: it is compared, never followed. `Context` is what the call is always made with.
  // `completes_again` says that EOS will run the same completion again, with the same client data.
  template <class Context>
  static Pending<Context> Reclaim(EosCall call, const void* client_data,
                                  bool completes_again) noexcept {
    PendingContext* const context = Remove(call, client_data);
    if (context != nullptr && !completes_again) --context->completions_owed_;
    return Pending<Context>(static_cast<Context*>(context));
  }

  // Returns the context of a completion to EOS, untouched: for the completion that comes again, or
  // for the shutdown.
  static void Return(Pending<PendingContext> context) noexcept { Insert(context.release()); }

  // After the platform was released, when EOS completes nothing any more: lets every context
  // answer, the oldest first, and frees it. An answer that throws is logged and tried once more.
  static void AnswerAfterShutdown() noexcept;

 private:
  friend struct ClearAndFree;

  static PendingContext** BucketOf(const void* client_data) noexcept;
  static void Insert(PendingContext* context) noexcept;
  static PendingContext* Remove(EosCall call, const void* client_data) noexcept;

  static constinit PendingContext* oldest_;
  static constinit PendingContext* newest_;
};

}  // namespace zelk
