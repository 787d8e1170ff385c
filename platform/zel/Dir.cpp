#include "platform/zel/Dir.h"

#include "platform/zel/Allocate.h"
#include "platform/zel/Exception.h"
#include "platform/zel/TypeNode.h"

namespace Zel {

namespace {
Ptr<Entity> newDir(Name const& name, Dir*) {
  return allocate<Dir>(name);
}
struct Registration {
  Registration() { typeNodeIs(&Dir::type()); }
} const registration;
}  // namespace

TypeNode const& Dir::type() {
  static TypeNode const node("Zel::Dir", &newDir, &Entity::type());
  return node;
}

TypeNode const* Dir::fwkType() const {
  return &type();
}

Ptr<Dir> Dir::dirIs(Name const& name) {
  return allocate<Dir>(name);
}

Dir::~Dir() {
  for (auto member : entries_) release(member.value.ptr());
}

void Dir::adopt(Entity* child) noexcept {
  child->parentIs(static_cast<Entity*>(this));
}

void Dir::release(Entity* child) noexcept {
  if (child && child->parent() == this) child->parentIs(nullptr);
}

Ptr<Entity> Dir::entryIs(Name const& name, String const& typeName) {
  if (Ptr<Entity> const* existing = entries_.find(name)) return *existing;
  Ptr<Entity> entity = newEntity(typeName, name, this);
  if (!entity) throwRangeException("null ValidPtr");
  adopt(entity.ptr());
  entries_.insert(name, entity);
  notify(Attr::entry, name);
  return entity;
}

Ptr<Entity> Dir::entryIs(Ptr<Entity> const& entity) {
  if (!entity) throwRangeException("null ValidPtr");
  Name const name = entity->name();
  Ptr<Entity> const* existing = entries_.find(name);
  if (existing && *existing == entity) return entity;
  adopt(entity.ptr());
  Ptr<Entity> replaced = entries_.insert(name, entity);
  release(replaced.ptr());
  notify(Attr::entry, name);
  return entity;
}

Ptr<Entity> Dir::entryDel(Name const& name) {
  Ptr<Entity> removed = entries_.take(name);
  if (!removed) return nullptr;
  release(removed.ptr());
  notify(Attr::entry, name);
  return removed;
}

Ptr<Entity> Dir::entityRef(Name const& name) const {
  Ptr<Entity> const* entry = entries_.find(name);
  return entry ? *entry : nullptr;
}

void Dir::NotifieeConst::zelDeliver(AttributeId attribute, Name const* key) {
  if (attribute == Attr::entryImmediate) return onEntryzelImmediate();
  if (attribute != Attr::entry) return;
  if (key) {
    onEntry(*key);
  } else {
    onEntry();
  }
}

}  // namespace Zel
