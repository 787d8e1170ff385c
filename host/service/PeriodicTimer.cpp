#include "host/service/PeriodicTimer.h"

#include "platform/zel/Allocate.h"

namespace Host {

PeriodicTimer::PeriodicTimer(Zel::ActivityManager& loop, double interval,
                             std::function<void()> tick)
    : reactor_(Zel::allocate<Reactor>(loop, interval, std::move(tick))) {
  reactor_->notifierIs(loop.clock());
  reactor_->timeMinIs(loop.currentTime() + interval);
}

PeriodicTimer::~PeriodicTimer() {
  reactor_->notifierIs(nullptr);
}

PeriodicTimer::Reactor::Reactor(Zel::ActivityManager& loop, double interval,
                                std::function<void()> tick)
    : loop_(loop), interval_(interval), tick_(std::move(tick)) {}

void PeriodicTimer::Reactor::onTime() {
  // From now, not from the missed time: after a stall, one tick, not a burst of catch-ups.
  timeMinIs(loop_.currentTime() + interval_);
  tick_();
}

}  // namespace Host
