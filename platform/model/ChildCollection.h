// A keyed collection of child entities owned by a directory-like entity: members are linked to
// their owner as parent while they are in the collection, and unlinked when they leave it.
#pragma once

#include "platform/zel/Entity.h"
#include "platform/zel/Exception.h"
#include "platform/zel/NameMap.h"

namespace Hardware {

template <class T>
class ChildCollection {
 public:
  explicit ChildCollection(Zel::Entity* owner) : owner_(owner) {}
  ~ChildCollection() {
    for (auto member : members_) unlink(member.value.ptr());
  }

  Zel::NameMap<Zel::Ptr<T>> const& members() const noexcept { return members_; }
  Zel::Ptr<T> find(Zel::Name const& name) const {
    Zel::Ptr<T> const* member = members_.find(name);
    return member ? *member : nullptr;
  }

  // Places `child` under its own name. False when that very entity is there already (no change);
  // a different entity of the same name is replaced in one step.
  bool insert(Zel::Ptr<T> const& child) {
    if (!child) Zel::throwRangeException("null ValidPtr");
    Zel::Ptr<T> const* existing = members_.find(child->name());
    if (existing && *existing == child) return false;
    child->parentIs(owner_);
    unlink(members_.insert(child->name(), child).ptr());
    return true;
  }

  Zel::Ptr<T> take(Zel::Name const& name) {
    Zel::Ptr<T> removed = members_.take(name);
    unlink(removed.ptr());
    return removed;
  }

 private:
  void unlink(T* child) noexcept {
    if (child && child->parent() == owner_) child->parentIs(static_cast<Zel::Entity*>(nullptr));
  }

  Zel::Entity* owner_;
  Zel::NameMap<Zel::Ptr<T>> members_;
};

}  // namespace Hardware
