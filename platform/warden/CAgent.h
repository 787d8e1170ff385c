// The host framework's agent base. The host constructs the agent through its plug-in factory,
// gives it an entity manager, calls doInit, and calls doMountsComplete when the mount group that
// doInit closed has finished. The remaining operations are the framework's staging, warm-up and
// health hooks; their defaults do nothing, and an agent overrides the ones it needs. They stay
// even where no caller uses them, because an agent's table of virtual operations is part of the
// plug-in's binary interface: a slot removed here moves every slot after it.
#pragma once

#include "platform/statedb/EntityManager.h"
#include "platform/statedb/Mounter.h"

namespace Warden {

class CAgent : public Statedb::Mounter {
 public:
  explicit CAgent(Zel::Name name) : Statedb::Mounter(std::move(name)) {}

  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  Zel::Ptr<Statedb::EntityManager> const& entityManager() const noexcept { return entityManager_; }

  void doMountsComplete(Statedb::MountStatus status,
                        Zel::Ptr<Statedb::EntityManager> const& entityManager) override;
  void handleMountStatus(Statedb::MountStatus status) override;
  virtual void doUpdateWarm() {}
  virtual void doPreInit() {}
  virtual void doInit() {}
  virtual void handleStageProgressionComplete(Zel::String, Zel::Name) {}
  virtual void doStage(Zel::String, Zel::String) {}
  virtual void doStageForInstance(Zel::String, Zel::String, Zel::Name) {}
  virtual void handleStageInstance(Zel::Name) {}
  virtual bool agentPingResponderEnabled() const { return true; }
  virtual bool agentSyncConfigEnabled() const { return false; }
  virtual void handleFlushEntityLogComplete() {}
  virtual void entityManagerIs(Zel::Ptr<Statedb::EntityManager> const& entityManager);

  // The framework's own agent state: the last mount status seen.
  Statedb::MountStatus mountStatus() const noexcept { return mountStatus_; }

 protected:
  ~CAgent() override;

 private:
  Zel::Ptr<Statedb::EntityManager> entityManager_;
  Statedb::MountStatus mountStatus_ = Statedb::mountSuccess_;
};

}  // namespace Warden
