// The base of an object that owns a mount group: it is told when the group's mounts complete.
#pragma once

#include "platform/statedb/Mount.h"
#include "platform/zel/Entity.h"

namespace Statedb {

class EntityManager;

class Mounter : public Zel::Entity {
 public:
  // Called from the activity loop once every mount of the group closed by this mounter is done.
  virtual void doMountsComplete(MountStatus status, Zel::Ptr<EntityManager> const& entityManager);
  virtual void handleMountStatus(MountStatus status);

 protected:
  explicit Mounter(Zel::Name name) : Zel::Entity(std::move(name)) {}
  ~Mounter() override;
};

}  // namespace Statedb
