// The central state database, in memory: the embedded default. A tree of typed entities under
// slash-separated paths ("hardware/led/config"), with directories created on the way down.
// Agents see it through an EntityManager and its mounts; writers (other agents, the host, tests)
// use it directly to publish entities.
#pragma once

#include "platform/zel/Dir.h"
#include "platform/zel/Ptr.h"
#include "platform/zel/String.h"

namespace Statedb {

class Database : public Zel::PtrInterface {
 public:
  static Zel::Ptr<Database> databaseIs();

  Database();

  // The entity at `path`, or null.
  Zel::Ptr<Zel::Entity> entity(Zel::String const& path) const;
  // The entity at `path`, created as an entity of `typeName` (with plain directories on the way
  // down) when nothing is there. An existing entity is returned whatever its type.
  Zel::Ptr<Zel::Entity> entityIs(Zel::String const& path, Zel::String const& typeName);
  // Places a built entity at `path` (its name must be the path's last component), replacing
  // whatever was there.
  Zel::Ptr<Zel::Entity> entityIs(Zel::String const& path, Zel::Ptr<Zel::Entity> const& entity);
  // Removes the entity at `path`; returns it, or null when nothing was there.
  Zel::Ptr<Zel::Entity> entityDel(Zel::String const& path);

  Zel::Ptr<Zel::Dir> const& root() const noexcept { return root_; }

 private:
  Zel::Ptr<Zel::Dir> parentDirIs(Zel::String const& path, Zel::Name& leaf);

  Zel::Ptr<Zel::Dir> root_;
};

}  // namespace Statedb
