#pragma once

namespace host {

/// The process's one object of the type. It is made at the first call and never destroyed, so that static objects of
/// any library may use it while they are being made and while they go.
template <class Type>
Type& forEver() {
  static Type* const object = new Type;
  return *object;
}

}  // namespace host
