// For statics of the library that a worker may still use while the process ends.
#pragma once

namespace zelk {

// Holds a value that is constructed with the library and never destroyed.
template <class T>
union NoDestructor {
  NoDestructor() : value() {}
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;
  ~NoDestructor() {}  // NOLINT(modernize-use-equals-default): that would be deleted

  T* operator->() { return &value; }
  T& operator*() { return value; }

 private:
  T value;
};

}  // namespace zelk
