#include "platform/warden/CAgent.h"

#include "platform/zel/TypeNode.h"

namespace Warden {

Zel::TypeNode const& CAgent::type() {
  static Zel::TypeNode const node("Warden::CAgent", nullptr, &Zel::Entity::type());
  return node;
}

Zel::TypeNode const* CAgent::fwkType() const {
  return &type();
}

CAgent::~CAgent() {
  if (entityManager_) entityManager_->mounterDel(this);
}

void CAgent::doMountsComplete(Statedb::MountStatus status,
                              Zel::Ptr<Statedb::EntityManager> const&) {
  handleMountStatus(status);
}

void CAgent::handleMountStatus(Statedb::MountStatus status) {
  mountStatus_ = status;
}

void CAgent::entityManagerIs(Zel::Ptr<Statedb::EntityManager> const& entityManager) {
  if (entityManager_ == entityManager) return;
  if (entityManager_) entityManager_->mounterDel(this);
  entityManager_ = entityManager;
}

}  // namespace Warden
