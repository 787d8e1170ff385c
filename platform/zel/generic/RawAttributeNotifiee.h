// Zel::GenericIf::RawAttributeNotifiee: a reactor to any entity that receives every attribute
// change of it as onRawAttribute, with the attribute's identifier (the entity type's notification
// id) and, for a collection member, its key. A tool that does not know the entity's type watches
// it this way and names the attribute with attributeForNotification (Access.h).
//
//   class Watch : public RawAttributeNotifiee {
//    public:
//     using RawAttributeNotifiee::RawAttributeNotifiee;
//     void onRawAttribute(AttributeId id, Name const* key) override { ... }
//   };
//   Ptr<Watch> watch = Zel::allocate<Watch>(pin);  // registered on pin, notification on
//
// Delivery follows the framework's rules: on the activity thread, while the reactor is live.
#pragma once

#include "platform/zel/Entity.h"
#include "platform/zel/Name.h"
#include "platform/zel/Notifiee.h"
#include "platform/zel/Ptr.h"

namespace Zel::GenericIf {

class RawAttributeNotifiee : public NotifieeConstBase {
 public:
  // Registered on `entity` from the start.
  explicit RawAttributeNotifiee(Ptr<Entity const> const& entity) {
    notifierBaseIs(entity);
    isRegisteredNotifieeIs(true);
  }

  // Called after an attribute of the entity changed; `key` is the member's key for a change of
  // one collection member, null otherwise.
  virtual void onRawAttribute(AttributeId attribute, Name const* key) = 0;

  // Moves the reactor to another entity (null: none), keeping its registration.
  void notifierIs(Ptr<Entity const> const& entity) { notifierBaseIs(entity); }

  void zelDeliver(AttributeId attribute, Name const* key) final { onRawAttribute(attribute, key); }
};

}  // namespace Zel::GenericIf
