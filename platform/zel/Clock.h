// Zel::Clock: a notifier that wakes reactors at absolute times. Each reactor carries its own
// wake-up time; the clock keeps the armed reactors in a binary min-heap indexed from the
// reactors themselves, so arming, re-arming and disarming cost O(log n) and finding the next
// expiry costs O(1), however many reactors share the clock.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "platform/zel/Entity.h"
#include "platform/zel/Notifiee.h"

namespace Zel {

class Clock : public Entity {
 public:
  static constexpr double kNever = std::numeric_limits<double>::infinity();

  class NotifieeConst : public NotifieeConstOf<Clock> {
   public:
    double timeMin() const noexcept { return timeMin_; }
    // Sets the absolute time at which onTime is to run, replacing any earlier one. +infinity
    // disarms. A time that is not a number never comes. A time already past fires at once.
    void timeMinIs(double const& time);
    bool isArmed() const noexcept { return heapIndex_ != kNotArmed; }

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
    static constexpr std::uint32_t kNotArmed = ~0u;
    double timeMin_ = kNever;
    std::uint32_t heapIndex_ = kNotArmed;
    std::uint64_t sequence_ = 0;  // orders reactors armed for the same time
  };

  static Ptr<Clock> clockIs(Name const& name);
  static TypeNode const& type();
  TypeNode const* fwkType() const override;

  // The earliest armed wake-up time; +infinity when nothing is armed.
  double nextExpiry() const noexcept { return heap_.empty() ? kNever : heap_.front()->timeMin_; }
  std::size_t armedCount() const noexcept { return heap_.size(); }
  // Takes the earliest reactor off the heap if its time is at or before `now` and returns it
  // (with a reference held), leaving its wake-up time as it was; null when none is due.
  Ptr<NotifieeConst> expiryDue(double now) const;

  // Made by Zel::allocate only (clockIs).
  explicit Clock(Name name) : Entity(std::move(name)) {}

 protected:
  ~Clock() override;

 private:
  void arm(NotifieeConst* reactor) const;
  void disarm(NotifieeConst* reactor) const noexcept;
  static bool earlier(NotifieeConst const* a, NotifieeConst const* b) noexcept {
    return a->timeMin_ < b->timeMin_ || (a->timeMin_ == b->timeMin_ && a->sequence_ < b->sequence_);
  }
  void place(std::uint32_t index, NotifieeConst* reactor) const noexcept {
    heap_[index] = reactor;
    reactor->heapIndex_ = index;
  }
  void siftUp(std::uint32_t index) const noexcept;
  void siftDown(std::uint32_t index) const noexcept;

  mutable std::vector<NotifieeConst*> heap_;
  mutable std::uint64_t nextSequence_ = 0;
};

}  // namespace Zel
