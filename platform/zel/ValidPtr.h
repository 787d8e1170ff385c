// Access through a pointer that must not be null: a null one raises the framework's range error
// "null ValidPtr" instead of being dereferenced.
#pragma once

#include "platform/zel/Exception.h"
#include "platform/zel/Ptr.h"

namespace Zel {

template <class T>
T& validPtr(Ptr<T> const& pointer) {
  if (!pointer) throwRangeException("null ValidPtr");
  return *pointer;
}

template <class T>
T& validPtr(T* pointer) {
  if (!pointer) throwRangeException("null ValidPtr");
  return *pointer;
}

}  // namespace Zel
