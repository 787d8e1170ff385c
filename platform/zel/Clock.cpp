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

Clock::~Clock() {
  // Reactors may outlive the clock only if something else holds them; they are never fired.
  for (NotifieeConst* reactor : heap_) reactor->heapIndex_ = NotifieeConst::kNotArmed;
}

void Clock::arm(NotifieeConst* reactor) const {
  reactor->sequence_ = nextSequence_++;
  if (reactor->heapIndex_ == NotifieeConst::kNotArmed) {
    heap_.push_back(reactor);
    reactor->heapIndex_ = static_cast<std::uint32_t>(heap_.size() - 1);
    siftUp(reactor->heapIndex_);
    return;
  }
  std::uint32_t index = reactor->heapIndex_;
  siftUp(index);
  siftDown(reactor->heapIndex_);
}

void Clock::disarm(NotifieeConst* reactor) const noexcept {
  std::uint32_t index = reactor->heapIndex_;
  if (index == NotifieeConst::kNotArmed) return;
  reactor->heapIndex_ = NotifieeConst::kNotArmed;
  NotifieeConst* last = heap_.back();
  heap_.pop_back();
  if (last == reactor) return;
  place(index, last);
  siftUp(index);
  siftDown(last->heapIndex_);
}

void Clock::siftUp(std::uint32_t index) const noexcept {
  NotifieeConst* moving = heap_[index];
  while (index > 0) {
    std::uint32_t parent = (index - 1) / 2;
    if (!earlier(moving, heap_[parent])) break;
    place(index, heap_[parent]);
    index = parent;
  }
  place(index, moving);
}

void Clock::siftDown(std::uint32_t index) const noexcept {
  NotifieeConst* moving = heap_[index];
  std::uint32_t const size = static_cast<std::uint32_t>(heap_.size());
  for (;;) {
    std::uint32_t child = 2 * index + 1;
    if (child >= size) break;
    if (child + 1 < size && earlier(heap_[child + 1], heap_[child])) ++child;
    if (!earlier(heap_[child], moving)) break;
    place(index, heap_[child]);
    index = child;
  }
  place(index, moving);
}

Ptr<Clock::NotifieeConst> Clock::expiryDue(double now) const {
  if (heap_.empty() || !(heap_.front()->timeMin_ <= now)) return nullptr;
  Ptr<NotifieeConst> due(heap_.front());
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
