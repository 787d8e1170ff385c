// Zel::Dir: a directory entity holding named entries of any entity type. Entries are created by
// registered type name, so a directory can hold entity types it has never heard of.
#pragma once

#include "platform/zel/Entity.h"
#include "platform/zel/NameMap.h"
#include "platform/zel/Notifiee.h"
#include "platform/zel/String.h"

namespace Zel {

class Dir : public Entity {
 public:
  struct Attr {
    enum : AttributeId { entry = 1, entryImmediate };
  };

  class NotifieeConst : public NotifieeConstOf<Dir> {
   public:
    virtual void onEntry(Name) {}
    virtual void onEntryzelImmediate() {}
    virtual void onEntry() {}
    void zelDeliver(AttributeId attribute, Name const* key) override;

   protected:
    using NotifieeConstOf<Dir>::NotifieeConstOf;
  };

  explicit Dir(Name name) : Entity(std::move(name)) {}
  static Ptr<Dir> dirIs(Name const& name);
  static TypeNode const& type();
  TypeNode const* fwkType() const override;

  // Creates an entry of the registered type `typeName` under `name`, or keeps (and returns) the
  // entry already there, whatever its type.
  Ptr<Entity> entryIs(Name const& name, String const& typeName);
  // Places a built entity under its own name, replacing any other entity there.
  Ptr<Entity> entryIs(Ptr<Entity> const& entity);
  // Removes the entry and returns it; null when there was none.
  Ptr<Entity> entryDel(Name const& name);
  Ptr<Entity> entityRef(Name const& name) const;
  NameMap<Ptr<Entity>> const& entries() const noexcept { return entries_; }
  std::size_t entryCount() const noexcept { return entries_.size(); }

 protected:
  ~Dir() override;

 private:
  void adopt(Entity* child) noexcept;
  void release(Entity* child) noexcept;

  NameMap<Ptr<Entity>> entries_;
};

}  // namespace Zel
