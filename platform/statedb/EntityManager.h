// An agent's handle on its local view of the central database: it hands out mount groups,
// completes them against the in-memory database, and answers look-ups of mounted paths only.
#pragma once

#include <unordered_map>
#include <vector>

#include "platform/statedb/Database.h"
#include "platform/statedb/Mount.h"
#include "platform/statedb/MountGroup.h"
#include "platform/zel/Entity.h"
#include "platform/zel/Ptr.h"

namespace Statedb {

class Mounter;

class EntityManager : public Zel::PtrInterface {
 public:
  static Zel::Ptr<EntityManager> entityManagerIs(Zel::Ptr<Database> const& database);

  explicit EntityManager(Zel::Ptr<Database> database) : database_(std::move(database)) {}
  ~EntityManager() override;

  // The mounter's mount group, made on first request.
  Zel::Ptr<MountGroup> getMountGroup(Zel::Ptr<Mounter> const& mounter);
  // The entity at a mounted path (or below one); null for a path that is not mounted or holds
  // nothing.
  Zel::Ptr<Zel::Entity> getEntity(Zel::String path) const;

  Zel::Ptr<Database> const& database() const noexcept { return database_; }
  // Every completed mount, in the order the groups declared them.
  std::vector<Mount> const& mounts() const noexcept { return mounts_; }

  // Makes every group that mounts `path` fail ("*": every group; empty: none). Lets a host or a
  // test exercise an agent's handling of a failed mount.
  void mountFailureIs(Zel::String const& path) { failurePath_ = path; }

  // Forgets a mounter's group; called when the mounter goes away.
  void mounterDel(Mounter* mounter) noexcept;

 private:
  friend class MountGroup;
  void complete(MountGroup& group);
  bool isMounted(std::string_view path) const;

  Zel::Ptr<Database> database_;
  std::unordered_map<Mounter*, Zel::Ptr<MountGroup>> groups_;
  std::vector<Mount> mounts_;
  Zel::String failurePath_;
};

}  // namespace Statedb
