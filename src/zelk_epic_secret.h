// Passwords, codes and tokens: strings that leave no trace in memory.
#pragma once

#include <cstddef>
#include <string>

namespace zelk {

// Overwrites all that `text` has in memory, and empties it. To be called before such a string
// is replaced or freed. Never throws: a string grows within its capacity without taking memory.
inline void Wipe(std::string& text) noexcept {
  text.resize(text.capacity());        // a longer one may have been here before
  volatile char* bytes = text.data();  // volatile: nobody reads what is written here
  for (std::size_t i = 0; i < text.size(); ++i) bytes[i] = 0;
  text.clear();
}

// Wipes `text` as it is destroyed itself; to be declared after it, so that it is destroyed first.
class WipeAtEnd {
 public:
  explicit WipeAtEnd(std::string& text) : text_(text) {}
  ~WipeAtEnd() { Wipe(text_); }
  WipeAtEnd(const WipeAtEnd&) = delete;

 private:
  std::string& text_;
};

}  // namespace zelk
