// The SDK's own string: the text type of every result record and of the calls to the core. Its
// layout is shared with the core, so the two fields stay as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "core_contract/node_allocator.h"
#include "core_contract/sdk_string_fwd.h"

namespace zelk::zelk_tp_stl_c {

// A text of known length in a node of length + 1 bytes, NUL-terminated; no node when empty. Owns
// its node; a copy has a node of its own. Where no memory can be had the string is empty: nothing
// throws.
template <class CharT>
class basic_string {
 public:
  basic_string() = default;
  basic_string(const CharT* text) { assign(text); }
  // The text ends at the first NUL of `text`.
  basic_string(const std::basic_string<CharT>& text) { assign(text.c_str()); }
  basic_string(const basic_string& other) { assign(other.data_, other.length_); }
  basic_string(basic_string&& other) noexcept
      : data_(std::exchange(other.data_, nullptr)), length_(std::exchange(other.length_, 0)) {}
  ~basic_string() { release(); }

  basic_string& operator=(const CharT* text) {
    assign(text);
    return *this;
  }
  basic_string& operator=(const std::basic_string<CharT>& text) {
    assign(text.c_str());
    return *this;
  }
  basic_string& operator=(const basic_string& other) {
    if (this != &other) assign(other.data_, other.length_);
    return *this;
  }
  basic_string& operator=(basic_string&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(length_, other.length_);
    return *this;
  }

  // NUL-terminated, "" when empty; valid until the next change of this string.
  const CharT* c_str() const {
    static constexpr CharT kEmpty[1] = {};
    return data_ != nullptr ? data_ : kEmpty;
  }
  uint64_t size() const { return length_; }
  bool empty() const { return length_ == 0; }

  friend bool operator==(const basic_string& left, const basic_string& right) {
    return left.length_ == right.length_ &&
           std::char_traits<CharT>::compare(left.c_str(), right.c_str(), left.length_) == 0;
  }

  static constexpr bool HasSharedLayout() {
    return offsetof(basic_string, data_) == 0 && offsetof(basic_string, length_) == 8 &&
           sizeof(basic_string) == 16;
  }

 private:
  // `text` may be null (gives the empty string) and must not point into this string.
  void assign(const CharT* text) {
    assign(text, text != nullptr ? std::char_traits<CharT>::length(text) : 0);
  }

  void assign(const CharT* text, uint64_t length) {
    release();
    if (length == 0) return;
    void* node = zelk_tp_stl_ex::allocate_node((length + 1) * sizeof(CharT));
    if (node == nullptr) return;
    data_ = static_cast<CharT*>(node);
    std::memcpy(data_, text, length * sizeof(CharT));
    data_[length] = CharT();
    length_ = length;
  }

  void release() {
    if (data_ == nullptr) return;
    zelk_tp_stl_ex::deallocate_node(data_, (length_ + 1) * sizeof(CharT));
    data_ = nullptr;
    length_ = 0;
  }

  CharT* data_ = nullptr;
  uint64_t length_ = 0;
};

}  // namespace zelk::zelk_tp_stl_c

namespace zelk {

static_assert(SdkString::HasSharedLayout());

}  // namespace zelk
