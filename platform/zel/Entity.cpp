#include "platform/zel/Entity.h"

#include <algorithm>
#include <ostream>

#include "platform/zel/ActivityManager.h"
#include "platform/zel/Assert.h"
#include "platform/zel/Notifiee.h"
#include "platform/zel/TypeNode.h"

namespace Zel {

struct Entity::NotifieeList {
  std::vector<NotifieeConstBase*> reactors;
  std::uint32_t delivering = 0;  // nesting depth of deliver() on this entity
  bool hasHoles = false;         // removals during delivery left null entries

  void compact() {
    reactors.erase(std::remove(reactors.begin(), reactors.end(), nullptr), reactors.end());
    hasHoles = false;
  }
};

Entity::~Entity() {
  // Every registered reactor holds a reference to its notifier, and a delivery holds one to the
  // entity it delivers for; dying with either means a count went wrong somewhere else.
  ZEL_DEBUG_ASSERT(notifieeCount() == 0);
  ZEL_DEBUG_ASSERT(!notifiees_ || notifiees_->delivering == 0);
  delete notifiees_;
}

TypeNode const& Entity::type() {
  static TypeNode const node("Zel::Entity");
  return node;
}

TypeNode const* Entity::fwkType() const {
  return &type();
}

std::string Entity::fullName() const {
  std::vector<Entity const*> chain;
  for (Entity const* e = this; e; e = e->parent_) chain.push_back(e);
  std::string out;
  for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
    if ((*it)->name_.empty()) continue;
    if (!out.empty()) out += '/';
    out += (*it)->name_.view();
  }
  return out;
}

bool Entity::hasNotifiees() const noexcept {
  return notifiees_ && !notifiees_->reactors.empty();
}

std::size_t Entity::notifieeCount() const noexcept {
  if (!notifiees_) return 0;
  return std::count_if(notifiees_->reactors.begin(), notifiees_->reactors.end(),
                       [](NotifieeConstBase* r) { return r != nullptr; });
}

void Entity::notifieeIs(NotifieeConstBase* reactor) const {
  if (!notifiees_) notifiees_ = new NotifieeList;
  auto& reactors = notifiees_->reactors;
  if (std::find(reactors.begin(), reactors.end(), reactor) == reactors.end()) {
    reactors.push_back(reactor);
  }
}

void Entity::notifieeDel(NotifieeConstBase* reactor) const noexcept {
  if (!notifiees_) return;
  auto& reactors = notifiees_->reactors;
  auto it = std::find(reactors.begin(), reactors.end(), reactor);
  if (it == reactors.end()) return;
  if (notifiees_->delivering) {
    *it = nullptr;  // the delivery loop indexes this vector; compact once it is done
    notifiees_->hasHoles = true;
  } else {
    reactors.erase(it);
  }
}

void Entity::deliver(AttributeId attribute, Name const* key) const {
  if (!hasNotifiees()) return;
  // An immediate notification may reach this entity through a plain pointer while its reactors
  // hold the only references; a handler that detaches the last of them would free the entity,
  // and its reactor list, under this loop.
  Ptr<Entity const> const self(this);
  NotifieeList& list = *notifiees_;
  struct Depth {
    NotifieeList& list;
    explicit Depth(NotifieeList& l) : list(l) { ++list.delivering; }
    ~Depth() {
      if (--list.delivering == 0 && list.hasHoles) list.compact();
    }
  } depth(list);
  std::size_t const count = list.reactors.size();
  for (std::size_t i = 0; i < count; ++i) {
    NotifieeConstBase* reactor = list.reactors[i];
    if (!reactor || !reactor->isLive()) continue;
    Ptr<NotifieeConstBase> hold(reactor);  // a handler may drop the last other reference
    reactor->zelDeliver(attribute, key);
  }
}

void Entity::notify(AttributeId attribute) const {
  if (!hasNotifiees()) return;
  activityManager()->notificationIs(Ptr<Entity const>(this), attribute, nullptr);
}

void Entity::notify(AttributeId attribute, Name const& key) const {
  if (!hasNotifiees()) return;
  activityManager()->notificationIs(Ptr<Entity const>(this), attribute, &key);
}

std::ostream& operator<<(std::ostream& out, Entity const* entity) {
  if (!entity) return out << "(null)";
  std::string full = entity->fullName();
  return out << (full.empty() ? std::string("(unnamed)") : full);
}

// --- NotifieeConstBase ---------------------------------------------------------------------

NotifieeConstBase::~NotifieeConstBase() {
  if (registered_ && notifier_) notifier_->notifieeDel(this);
}

void NotifieeConstBase::isRegisteredNotifieeIs(bool registered) {
  if (registered == registered_) return;
  registered_ = registered;
  if (!notifier_) return;
  if (registered) {
    notifier_->notifieeIs(this);
  } else {
    notifier_->notifieeDel(this);
  }
}

void NotifieeConstBase::notifierBaseIs(Ptr<Entity const> const& notifier) {
  if (notifier == notifier_) return;
  if (registered_ && notifier_) notifier_->notifieeDel(this);
  notifier_ = notifier;
  if (registered_ && notifier_) notifier_->notifieeIs(this);
}

}  // namespace Zel
