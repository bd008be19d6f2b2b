// The contexts of requests in progress: what EOS holds as client data between a call and its
// completion, and what waits for the next tick. All of it is touched under the EOS lock only.
#pragma once

#include <memory>
#include <utility>

namespace zelk {

class PendingList;
struct ReleasePending;

// A context with exactly one owner at every moment: the step that works on it, or a PendingList.
class PendingContext {
 public:
  PendingContext() = default;
  PendingContext(const PendingContext&) = delete;
  PendingContext& operator=(const PendingContext&) = delete;

  // Answers what the context still owes, as if the request had been made after the shutdown.
  virtual void AnswerAfterShutdown() = 0;
  // Ends what the context stands for; it stays behind empty for a completion that EOS still owes.
  virtual void End() noexcept {}
  // Ends and frees the context.
  virtual void Release() noexcept {
    End();
    delete this;
  }

  // The one behind this in its list; null for the last.
  PendingContext* next() const { return next_; }

 protected:
  virtual ~PendingContext() = default;

 private:
  friend class PendingList;
  friend class EosHeld;
  friend struct ReleasePending;

  PendingContext* previous_ = nullptr;
  PendingContext* next_ = nullptr;
  int calls_owed_ = 0;  // completions that EOS still owes with this context as client data
};

// A list of contexts, in the order they were appended. Owns them; nothing in it allocates or
// throws.
class PendingList {
 public:
  constexpr PendingList() = default;
  PendingList(const PendingList&) = delete;
  PendingList& operator=(const PendingList&) = delete;

  void Append(PendingContext* context) noexcept;
  void Remove(PendingContext* context) noexcept;
  bool empty() const { return first_ == nullptr; }
  PendingContext* first() const { return first_; }

  // Lets every context answer, then frees it. An answer that throws is logged and tried once more.
  void AnswerAfterShutdown() noexcept;

 private:
  PendingContext* first_ = nullptr;
  PendingContext* last_ = nullptr;
};

// Frees a context, or gives it back to EOS, empty, while EOS will still call with it.
struct ReleasePending {
  void operator()(PendingContext* context) const noexcept;
};

// The one owner of a context while the plugin works on it.
template <class Context>
using Pending = std::unique_ptr<Context, ReleasePending>;

// Makes a context, owned by the caller.
template <class Context, class... Arguments>
Pending<Context> MakePending(Arguments&&... arguments) {
  return Pending<Context>(new Context(std::forward<Arguments>(arguments)...));
}

// What EOS holds. A context goes in with every asynchronous EOS call and comes out in its
// completion.
class EosHeld {
 public:
  // Hands `context` over as the client data of a call that is about to be made.
  template <class Context>
  static void* Give(Pending<Context> context) noexcept {
    Context* held = context.release();
    ++held->calls_owed_;
    contexts_.Append(held);
    return held;
  }

  // Takes the context of a completion back; null when there is none. `Context` is the type given.
  // `completes_again` says that EOS will run the same completion again, with the same client data.
  template <class Context>
  static Pending<Context> Take(void* client_data, bool completes_again) noexcept {
    Pending<Context> context(static_cast<Context*>(client_data));
    if (context == nullptr) return context;
    contexts_.Remove(context.get());
    if (!completes_again) --context->calls_owed_;
    return context;
  }

  // Leaves the context with EOS after all: for the completion that comes again, or for the
  // shutdown.
  static void PutBack(PendingContext* context) noexcept { contexts_.Append(context); }

  // After the platform was released: EOS will complete nothing any more.
  static void AnswerAfterShutdown() noexcept { contexts_.AnswerAfterShutdown(); }

 private:
  friend struct ReleasePending;
  static constinit PendingList contexts_;
};

}  // namespace zelk
