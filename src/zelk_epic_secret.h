// Passwords, codes and tokens: texts that leave no trace in memory.
#pragma once

#include <cstddef>
#include <string>

namespace zelk {

// Overwrites all that `text` has in memory, and empties it. To be called before such a text is
// replaced or freed.
inline void Wipe(std::string& text) noexcept {
  text.resize(text.capacity());        // a shorter text may have left something behind its end
  volatile char* bytes = text.data();  // volatile: nobody reads what is written here
  for (std::size_t i = 0; i < text.size(); ++i) bytes[i] = 0;
  text.clear();
}

// Wipes `text` at the end of a block.
class WipeAtEnd {
 public:
  explicit WipeAtEnd(std::string& text) : text_(text) {}
  ~WipeAtEnd() { Wipe(text_); }
  WipeAtEnd(const WipeAtEnd&) = delete;
  WipeAtEnd& operator=(const WipeAtEnd&) = delete;

 private:
  std::string& text_;
};

// A text that is wiped as it goes. Not movable: a move may leave a short text behind.
class SecretText {
 public:
  SecretText() = default;
  ~SecretText() { Wipe(text_); }
  SecretText(const SecretText&) = delete;
  SecretText& operator=(const SecretText&) = delete;

  std::string& text() { return text_; }

 private:
  std::string text_;
};

}  // namespace zelk
