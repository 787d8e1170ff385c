#include "platform/zel/Clock.h"

#include <cmath>

#include "platform/zel/Allocate.h"
#include "platform/zel/TypeNode.h"

namespace Zel {

Ptr<Clock> Clock::clockIs(Name const& name) {
  return allocate<Clock>(name);
}

TypeNode const& Clock::type() {
  static TypeNode const node("Zel::Clock", nullptr, &Entity::type());
  return node;
}

TypeNode const* Clock::fwkType() const {
  return &type();
}

// Reactors may outlive the clock only if something else holds them; the wheel leaves them
// disarmed and never fires them.
Clock::~Clock() = default;

Ptr<Clock::NotifieeConst> Clock::expiryDue(double now) const {
  TimerWheel::Entry* const first = timers_.earliest();
  if (!first || !(first->armedTime() <= now)) return nullptr;
  Ptr<NotifieeConst> due(static_cast<NotifieeConst*>(first));
  disarm(due.ptr());
  return due;
}

// --- Clock::NotifieeConst ------------------------------------------------------------------

Clock::NotifieeConst::~NotifieeConst() {
  if (Clock const* clock = notifier()) clock->disarm(this);
}

void Clock::NotifieeConst::timeMinIs(double const& time) {
  bool const unchanged = time == timeMin_ && isArmed();
  timeMin_ = time;
  if (unchanged) return;
  Clock const* clock = notifier();
  if (!clock) return;
  if (std::isnan(time) || time == kNever) {
    clock->disarm(this);
  } else {
    clock->arm(this);
  }
}

void Clock::NotifieeConst::notifierIs(Ptr<Clock const> const& clock) {
  if (clock.ptr() == notifier()) return;
  if (Clock const* old = notifier()) old->disarm(this);
  notifierBaseIs(clock);
  if (clock && !std::isnan(timeMin_) && timeMin_ != kNever) clock->arm(this);
}

}  // namespace Zel
