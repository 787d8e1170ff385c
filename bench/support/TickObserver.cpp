#include "bench/support/TickObserver.h"

#include <cmath>

namespace PinlampBench {

TickObserver::TickObserver(Zel::Ptr<Hardware::Gpio::CorvelPinConfig const> const& yellowPin,
                           Zel::Ptr<Pinlamp::GpioLedStateMachine> const& machine,
                           double flashInterval, Log* log)
    : Hardware::Gpio::CorvelPinConfig::NotifieeConst(yellowPin),
      machine_(machine),
      flashInterval_(flashInterval),
      log_(log) {
  hasNotificationActiveIs(true);
}

void TickObserver::onValue() {
  Pinlamp::GpioLedStateMachine::ZelClock const* clock = machine_->clockReactor();
  double const wakeUp = clock ? clock->timeMin() : Zel::Clock::kNever;
  // The first change of a run has no wake-up time of its own to compare with.
  if (std::isfinite(wakeUp) && std::isfinite(lastWakeUp_)) {
    log_->push_back(wakeUp - flashInterval_ - lastWakeUp_);
  }
  lastWakeUp_ = wakeUp;
}

}  // namespace PinlampBench
