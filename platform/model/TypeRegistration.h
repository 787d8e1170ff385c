// Registers a model entity type with the type registry when the platform library is loaded, so
// that mounts and directories can create it by its qualified name.
#pragma once

#include "platform/zel/Allocate.h"
#include "platform/zel/TypeNode.h"

namespace Zel {
class Dir;
}

template <class T>
Zel::Ptr<Zel::Entity> newModelEntity(Zel::Name const& name, Zel::Dir*) {
  return Zel::allocate<T>(name);
}

template <class T>
struct ModelTypeRegistration {
  ModelTypeRegistration() { Zel::typeNodeIs(&T::type()); }
};
