// A set of mounts completed together. The mounter declares its mounts, closes the group, and is
// told of the outcome later, from the activity loop, through doMountsComplete.
#pragma once

#include <vector>

#include "platform/statedb/Mount.h"
#include "platform/zel/Ptr.h"
#include "platform/zel/PtrInterface.h"
#include "platform/zel/String.h"

namespace Statedb {

class EntityManager;
class Mounter;

class MountGroup : public Zel::PtrInterface {
 public:
  MountGroup(EntityManager* manager, Mounter* mounter) : manager_(manager), mounter_(mounter) {}

  // Adds one mount; a range error once the group is closed.
  void doMount(Mount const& mount);
  // Closes the group and starts mounting. The flag, text and time are accepted for the
  // framework's sake and not interpreted by the in-memory database.
  void doClose(bool flag, Zel::String const& text, double const& time);

  std::vector<Mount> const& mounts() const noexcept { return mounts_; }
  bool isClosed() const noexcept { return closed_; }
  Mounter* mounter() const noexcept { return mounter_; }

 private:
  friend class EntityManager;
  void complete();
  void managerDel() noexcept { manager_ = nullptr; }

  EntityManager* manager_;
  Mounter* mounter_;
  std::vector<Mount> mounts_;
  bool closed_ = false;
};

}  // namespace Statedb
