// The SDK's own vector: the list type of result records and of the calls to the core. Its layout is
// shared with the core, so the three fields stay as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace zelk::zelk_tp_stl_c {

// An array of as many elements as the capacity, every slot default-constructed, used or not. Owns
// the array. Appending may throw what the element type's array allocation throws, and then changes
// nothing.
template <class T>
class vector {
 public:
  vector() = default;
  explicit vector(uint64_t capacity)
      : begin_(new T[capacity]), end_(begin_), end_of_capacity_(begin_ + capacity) {}
  vector(const vector& other) { CopyFrom(other); }
  vector(vector&& other) noexcept { Swap(other); }
  ~vector() { delete[] begin_; }

  vector& operator=(const vector& other) {
    if (this == &other) return *this;
    delete[] begin_;
    begin_ = end_ = end_of_capacity_ = nullptr;
    CopyFrom(other);
    return *this;
  }
  vector& operator=(vector&& other) noexcept {
    Swap(other);
    return *this;
  }

  // `value` may be an element of this vector.
  void push_back(const T& value) { push_back(T(value)); }
  // `value` is no element of this vector.
  void push_back(T&& value) {
    static_assert(std::is_nothrow_move_assignable_v<T>);
    if (end_ == end_of_capacity_) Grow();
    *end_++ = std::move(value);
  }

  uint64_t size() const { return static_cast<uint64_t>(end_ - begin_); }
  uint64_t capacity() const { return static_cast<uint64_t>(end_of_capacity_ - begin_); }
  bool empty() const { return begin_ == end_; }
  T* begin() { return begin_; }
  T* end() { return end_; }
  const T* begin() const { return begin_; }
  const T* end() const { return end_; }
  T& operator[](uint64_t index) { return begin_[index]; }
  const T& operator[](uint64_t index) const { return begin_[index]; }

  static constexpr bool HasSharedLayout() {
    return offsetof(vector, begin_) == 0 && offsetof(vector, end_) == 8 &&
           offsetof(vector, end_of_capacity_) == 16 && sizeof(vector) == 24;
  }

 private:
  void Grow() {
    vector grown(empty() ? 1 : 2 * size());
    for (T& element : *this) *grown.end_++ = std::move(element);
    Swap(grown);
  }

  // Into an empty vector; the capacity becomes exactly the other's number of elements.
  void CopyFrom(const vector& other) {
    vector copy(other.size());
    for (const T& element : other) *copy.end_++ = element;
    Swap(copy);
  }

  void Swap(vector& other) noexcept {
    std::swap(begin_, other.begin_);
    std::swap(end_, other.end_);
    std::swap(end_of_capacity_, other.end_of_capacity_);
  }

  T* begin_ = nullptr;
  T* end_ = nullptr;
  T* end_of_capacity_ = nullptr;
};

static_assert(vector<int>::HasSharedLayout());

}  // namespace zelk::zelk_tp_stl_c
