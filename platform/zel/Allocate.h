// Typed allocation of counted framework objects. The only way to make one: it records the
// allocation against the exact type, constructs the object in framework memory and switches
// notification on, and keeps the tracker balanced when the constructor throws.
#pragma once

#include <new>
#include <type_traits>
#include <utility>

#include "platform/zel/AllocTrack.h"
#include "platform/zel/Ptr.h"

namespace Zel {

namespace detail {
// True when T, or a base between T and PtrInterface, declares its own hasNotificationActiveIs.
template <class T>
constexpr bool overridesNotificationActive =
    !std::is_same_v<decltype(&T::hasNotificationActiveIs), void (PtrInterface::*)(bool)>;
}  // namespace detail

template <class T, class... Args>
Ptr<T> allocate(Args&&... args) {
  AllocTrackTypeInfo& info = AllocTrackTypeInfo::of<T>();
  info.trackAllocation(sizeof(T));
  void* block = allocateBytes(sizeof(T));
  T* object;
  try {
    object = ::new (block) T(std::forward<Args>(args)...);
  } catch (...) {
    deallocateBytes(block);
    info.trackDeallocation();
    throw;
  }
  Ptr<T> result(object);
  if constexpr (detail::overridesNotificationActive<T>) {
    object->hasNotificationActiveIs(true);
  } else {
    PtrInterfaceAccess::notificationActiveFlagIs(*object, true);
  }
  return result;
}

}  // namespace Zel
