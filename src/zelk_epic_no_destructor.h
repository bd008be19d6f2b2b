// What may be used after the static destructors have run: by a worker, or by a shutdown that comes
// from one of them.
#pragma once

namespace zelk {

// An object of static storage that is never destroyed.
template <class T>
union NoDestructor {
  NoDestructor() : object() {}
  ~NoDestructor() {}  // NOLINT(modernize-use-equals-default): by default there is none

  T object;
};

}  // namespace zelk
