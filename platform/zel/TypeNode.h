// The type registry: every entity and reactor class has a descriptor known by its qualified type
// name ("Hardware::Led::LedConfig", "Zel::Dir"). Mounts and directories create entities by that
// name, and the generic interface finds a class's attribute table through it.
#pragma once

#include <vector>

#include "platform/zel/Name.h"
#include "platform/zel/Ptr.h"
#include "platform/zel/String.h"

namespace Zel {

class Entity;
class Dir;
namespace GenericIf {
class AttributeTable;
}

class TypeNode {
 public:
  // Creates an instance named `name` for directory `dir` (which may be null); null for types
  // that cannot be created by name.
  using Factory = Ptr<Entity> (*)(Name const& name, Dir* dir);

  TypeNode(String name, Factory factory = nullptr, TypeNode const* base = nullptr)
      : name_(std::move(name)), factory_(factory), base_(base) {}

  String const& name() const noexcept { return name_; }
  Factory factory() const noexcept { return factory_; }
  TypeNode const* base() const noexcept { return base_; }
  GenericIf::AttributeTable const* attributes() const noexcept { return attributes_; }
  // Set once at library load, on descriptors that are otherwise constant.
  void attributesIs(GenericIf::AttributeTable const* table) const noexcept { attributes_ = table; }
  bool isA(TypeNode const& other) const noexcept;

 private:
  String name_;
  Factory factory_;
  TypeNode const* base_;
  mutable GenericIf::AttributeTable const* attributes_ = nullptr;
};

// Registers a descriptor under its name; a later registration of the same name replaces the
// earlier one (a reloaded library brings its own descriptors).
void typeNodeIs(TypeNode const* node);
TypeNode const* typeNode(String const& name);
// Every registration, in order.
std::vector<TypeNode const*> const& typeNodes();
// Creates an entity of a registered type; a range error for an unknown or uncreatable type.
Ptr<Entity> newEntity(String const& typeName, Name const& name, Dir* dir);

}  // namespace Zel
