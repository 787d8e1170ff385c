// Zel::Entity: a named, typed, counted object with a parent, and the notifier side of the
// reactor pattern. Mutators of entity attributes call notify(); the notification is delivered
// later, from the activity loop, to every reactor registered on the entity at that time.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/zel/Name.h"
#include "platform/zel/Ptr.h"
#include "platform/zel/PtrInterface.h"

namespace Zel {

class NotifieeConstBase;
class TypeNode;

// Identifies one attribute of an entity type in notifications; numbered per type from 1.
using AttributeId = std::uint16_t;

class Entity : public PtrInterface {
 public:
  Name const& name() const noexcept { return name_; }
  // The parent is a plain back link: parents own their children, never the other way round.
  Entity* parent() const noexcept { return parent_; }
  void parentIs(Ptr<Entity> const& parent) noexcept { parent_ = parent.ptr(); }
  void parentIs(Entity* parent) noexcept { parent_ = parent; }
  // The names from the top-most ancestor down to this entity, joined by "/".
  std::string fullName() const;

  static TypeNode const& type();
  TypeNode const* fwkType() const override;

  bool hasNotifiees() const noexcept;
  std::size_t notifieeCount() const noexcept;
  // Delivers a notification now to every registered, active and live reactor. Reactors may be
  // added or removed while this runs: removed ones are skipped, added ones wait for the next.
  void deliver(AttributeId attribute, Name const* key) const;

 protected:
  explicit Entity(Name name) : name_(std::move(name)) {}
  ~Entity() override;

  // Queues a notification of a single-valued (or whole-collection) attribute change.
  void notify(AttributeId attribute) const;
  // Queues a notification of one key of a collection attribute.
  void notify(AttributeId attribute, Name const& key) const;
  // Delivers a notification at once, inside the mutation (the immediate variants).
  void notifyImmediate(AttributeId attribute) const { deliver(attribute, nullptr); }

 private:
  friend class NotifieeConstBase;
  struct NotifieeList;

  void notifieeIs(NotifieeConstBase* reactor) const;
  void notifieeDel(NotifieeConstBase* reactor) const noexcept;

  Name name_;
  Entity* parent_ = nullptr;
  mutable NotifieeList* notifiees_ = nullptr;  // made when the first reactor registers
};

// Prints a readable reference: the entity's full name, or "(null)".
std::ostream& operator<<(std::ostream& out, Entity const* entity);
template <class T, class = std::enable_if_t<std::is_base_of_v<Entity, std::remove_const_t<T>>>>
std::ostream& operator<<(std::ostream& out, Ptr<T> const& entity) {
  return out << static_cast<Entity const*>(entity.ptr());
}

}  // namespace Zel
