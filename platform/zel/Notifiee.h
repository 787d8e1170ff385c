// The reactor side of the notification pattern. A reactor is a counted object registered on one
// notifier entity; the notifier calls zelDeliver, which a typed NotifieeConst of each entity type
// turns into its on<Attribute> handlers. Delivery happens only while the reactor's
// notification-active flag is set and it is not a zombie (marked for deletion).
#pragma once

#include "platform/zel/Entity.h"
#include "platform/zel/Ptr.h"

namespace Zel {

class NotifieeConstBase : public PtrInterface {
 public:
  Entity const* notifierBase() const noexcept { return notifier_.ptr(); }
  bool isRegisteredNotifiee() const noexcept { return registered_; }
  // Registers with (or unregisters from) the current notifier; kept across notifierIs.
  void isRegisteredNotifieeIs(bool registered);

  // One notification of `attribute` (with the collection key, or null for a single-valued
  // attribute or a whole-collection change).
  virtual void zelDeliver(AttributeId attribute, Name const* key) = 0;

  bool isLive() const noexcept { return hasNotificationActive() && !isMarkedForDeletion(); }

 protected:
  NotifieeConstBase() = default;
  ~NotifieeConstBase() override;
  // Re-attaches to another notifier (null detaches), keeping the registration state.
  void notifierBaseIs(Ptr<Entity const> const& notifier);

 private:
  Ptr<Entity const> notifier_;
  bool registered_ = false;
};

// Base of the generated `X::NotifieeConst` classes: typed access to the notifier.
template <class X>
class NotifieeConstOf : public NotifieeConstBase {
 public:
  X const* notifier() const noexcept { return static_cast<X const*>(notifierBase()); }
  Ptr<X const> notifierPtr() const noexcept { return Ptr<X const>(notifier()); }
  // Attaches to `notifier` (null detaches) and registers there when registered.
  virtual void notifierIs(Ptr<X const> const& notifier) { notifierBaseIs(notifier); }

 protected:
  NotifieeConstOf() = default;
  // A reactor made with a notifier starts registered on it.
  explicit NotifieeConstOf(Ptr<X const> const& notifier) {
    notifierBaseIs(notifier);
    isRegisteredNotifieeIs(true);
  }
};

}  // namespace Zel
