// Zel::Clock: a notifier that wakes reactors at absolute times. Each reactor carries its own
// wake-up time and its links in the clock's timing wheel, so arming, re-arming, disarming and
// taking the next expiry cost O(1) (amortised) however many reactors share the clock, and
// allocate nothing. Reactors fire in order of time, and of arming for the same time.
#pragma once

#include <limits>

#include "platform/zel/Entity.h"
#include "platform/zel/Notifiee.h"
#include "platform/zel/TimerWheel.h"

namespace Zel {

class Clock : public Entity {
 public:
  static constexpr double kNever = std::numeric_limits<double>::infinity();

  class NotifieeConst : public NotifieeConstOf<Clock>, private TimerWheel::Entry {
   public:
    double timeMin() const noexcept { return timeMin_; }
    // Sets the absolute time at which onTime is to run, replacing any earlier one. +infinity
    // disarms. A time that is not a number never comes. A time already past fires at once.
    void timeMinIs(double const& time);
    bool isArmed() const noexcept { return TimerWheel::Entry::isArmed(); }

    virtual void onTime() {}

    // Moves this reactor, and its wake-up time, to another clock (null detaches).
    void notifierIs(Ptr<Clock const> const& clock) override;
    void zelDeliver(AttributeId, Name const*) override {}

   protected:
    NotifieeConst() = default;
    explicit NotifieeConst(Ptr<Clock const> const& clock) { notifierIs(clock); }
    ~NotifieeConst() override;

   private:
    friend class Clock;
    double timeMin_ = kNever;
  };

  static Ptr<Clock> clockIs(Name const& name);
  static TypeNode const& type();
  TypeNode const* fwkType() const override;

  // The earliest armed wake-up time; +infinity when nothing is armed.
  double nextExpiry() const noexcept { return timers_.nextExpiry(); }
  std::size_t armedCount() const noexcept { return timers_.size(); }
  // Takes the earliest reactor off the clock if its time is at or before `now` and returns it
  // (with a reference held), leaving its wake-up time as it was; null when none is due.
  Ptr<NotifieeConst> expiryDue(double now) const;

  // Made by Zel::allocate only (clockIs).
  explicit Clock(Name name) : Entity(std::move(name)) {}

 protected:
  ~Clock() override;

 private:
  void arm(NotifieeConst* reactor) const noexcept { timers_.arm(reactor, reactor->timeMin_); }
  void disarm(NotifieeConst* reactor) const noexcept { timers_.disarm(reactor); }

  mutable TimerWheel timers_;
};

}  // namespace Zel
