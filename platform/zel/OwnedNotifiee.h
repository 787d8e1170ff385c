// A reactor that works for one owner object. The owner holds the reactor through a counted
// pointer and the reactor points back with a plain one, so neither keeps the other alive; the
// owner clears the back pointer when it lets the reactor go, and a delivery still under way then
// reaches no one. `Notifiee` is the watched entity type's NotifieeConst.
#pragma once

#include <utility>

#include "platform/zel/Notifiee.h"

namespace Zel {

template <class Notifiee, class Owner>
class OwnedNotifiee : public Notifiee {
 public:
  using NotifierPtr = decltype(std::declval<Notifiee const&>().notifierPtr());

  OwnedNotifiee(NotifierPtr const& notifier, Owner* owner) : Notifiee(notifier), owner_(owner) {}

  Owner* owner() const noexcept { return owner_; }
  void ownerIs(Owner* owner) noexcept { owner_ = owner; }

 private:
  Owner* owner_;
};

}  // namespace Zel
