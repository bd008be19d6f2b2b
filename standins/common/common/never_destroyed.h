// Objects that threads and static destructors may use until the process ends.
#pragma once

namespace zelk::common {

// The one object of that type, made when it is first asked for.
template <class T>
T& NeverDestroyed() {
  static T& object = *new T;
  return object;
}

}  // namespace zelk::common
