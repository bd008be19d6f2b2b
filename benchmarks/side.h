// One of the sides that a benchmark compares: the plugin, or the same EOS calls made without it.
#pragma once

#include <cstdint>

#include "eos_logging.h"

namespace zelk::benchmarks {

// All of it on one thread, signed in from the start.
class Side {
 public:
  virtual ~Side() = default;

  virtual void Tick() = 0;
  // A sign-in after a sign-out: EOS has no persistent authorisation, so it goes to the account
  // portal. Returns when it is answered.
  virtual void SignIn() = 0;
  virtual void SignOut() = 0;
  // Lists the first `count` friends with their details. Returns when the answer is there;
  // TakeAnswer() takes it, so that freeing it is not part of what is measured.
  virtual void ListFriends(int32_t count) = 0;
  virtual void TakeAnswer() = 0;

  // How much EOS says while this side runs: the level that its own calls would set.
  virtual EOS_ELogLevel log_level() const = 0;
};

}  // namespace zelk::benchmarks
