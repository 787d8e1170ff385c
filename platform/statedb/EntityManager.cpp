#include "platform/statedb/EntityManager.h"

#include "platform/statedb/Mounter.h"
#include "platform/zel/ActivityManager.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Exception.h"

namespace Statedb {

char const* toString(MountStatus status) noexcept {
  switch (status) {
    case mountSuccess_:
      return "mountSuccess_";
    case mountFailure_:
      return "mountFailure_";
  }
  return "unknown";
}

Mounter::~Mounter() = default;

void Mounter::doMountsComplete(MountStatus status, Zel::Ptr<EntityManager> const&) {
  handleMountStatus(status);
}

void Mounter::handleMountStatus(MountStatus) {}

// --- MountGroup -----------------------------------------------------------------------------

void MountGroup::doMount(Mount const& mount) {
  if (closed_) Zel::throwRangeException("mount group is closed");
  mounts_.push_back(mount);
}

void MountGroup::doClose(bool, Zel::String const&, double const&) {
  if (closed_) return;
  closed_ = true;
  // Completion is reported later from the loop; the group and its mounter stay alive until then.
  Zel::Ptr<MountGroup> self(this);
  Zel::Ptr<Zel::Entity> mounter(mounter_);
  Zel::activityManager()->taskIs([self, mounter] { self->complete(); });
}

void MountGroup::complete() {
  if (manager_ && mounter_) manager_->complete(*this);
}

// --- EntityManager --------------------------------------------------------------------------

Zel::Ptr<EntityManager> EntityManager::entityManagerIs(Zel::Ptr<Database> const& database) {
  if (!database) Zel::throwRangeException("null ValidPtr");
  return Zel::allocate<EntityManager>(database);
}

EntityManager::~EntityManager() {
  for (auto& [mounter, group] : groups_) group->managerDel();
}

Zel::Ptr<MountGroup> EntityManager::getMountGroup(Zel::Ptr<Mounter> const& mounter) {
  if (!mounter) Zel::throwRangeException("null ValidPtr");
  auto& group = groups_[mounter.ptr()];
  if (!group) group = Zel::allocate<MountGroup>(this, mounter.ptr());
  return group;
}

void EntityManager::mounterDel(Mounter* mounter) noexcept {
  auto it = groups_.find(mounter);
  if (it == groups_.end()) return;
  it->second->managerDel();
  groups_.erase(it);
}

void EntityManager::complete(MountGroup& group) {
  MountStatus status = mountSuccess_;
  for (Mount const& mount : group.mounts()) {
    if (failurePath_ == "*" || (!failurePath_.empty() && failurePath_ == mount.path())) {
      status = mountFailure_;
      break;
    }
  }
  if (status == mountSuccess_) {
    for (Mount const& mount : group.mounts()) {
      database_->entityIs(mount.path(), mount.typeName());
      mounts_.push_back(mount);
    }
  }
  Zel::Ptr<Mounter> mounter(group.mounter());
  mounter->doMountsComplete(status, Zel::Ptr<EntityManager>(this));
}

bool EntityManager::isMounted(std::string_view path) const {
  for (Mount const& mount : mounts_) {
    std::string_view mounted = mount.path().view();
    if (path == mounted) return true;
    if (path.size() > mounted.size() && path.substr(0, mounted.size()) == mounted &&
        path[mounted.size()] == '/') {
      return true;
    }
  }
  return false;
}

Zel::Ptr<Zel::Entity> EntityManager::getEntity(Zel::String path) const {
  if (!isMounted(path.view())) return nullptr;
  return database_->entity(path);
}

}  // namespace Statedb
