#include "platform/zel/TypeNode.h"

#include <string>
#include <unordered_map>

#include "platform/zel/Entity.h"
#include "platform/zel/Exception.h"

namespace Zel {

namespace {
struct Registry {
  std::unordered_map<String, TypeNode const*> byName;
  std::vector<TypeNode const*> inOrder;
};
Registry& registry() {
  static Registry* r = new Registry;  // outlives every static that registers into it
  return *r;
}
}  // namespace

bool TypeNode::isA(TypeNode const& other) const noexcept {
  for (TypeNode const* t = this; t; t = t->base_) {
    if (t == &other) return true;
  }
  return false;
}

void typeNodeIs(TypeNode const* node) {
  if (!node) throwRangeException("null ValidPtr");
  registry().byName[node->name()] = node;
  registry().inOrder.push_back(node);
}

TypeNode const* typeNode(String const& name) {
  auto it = registry().byName.find(name);
  return it == registry().byName.end() ? nullptr : it->second;
}

std::vector<TypeNode const*> const& typeNodes() {
  return registry().inOrder;
}

Ptr<Entity> newEntity(String const& typeName, Name const& name, Dir* dir) {
  TypeNode const* node = typeNode(typeName);
  if (!node) throwRangeException(("unknown entity type \"" + typeName + "\"").charPtr());
  if (!node->factory()) {
    throwRangeException(("entity type \"" + typeName + "\" cannot be created by name").charPtr());
  }
  return node->factory()(name, dir);
}

}  // namespace Zel
