// Measures the lateness of an LED's flash ticks from outside the agent, the way a pin driver
// sees them: as changes of the LED's pin configuration, delivered through the notification
// path right after each tick.
//
// A machine re-arms at the end of each tick to (the time the tick ran, after writing its pins)
// plus its flash interval. So when a tick's pin change arrives, the machine's new wake-up time w2
// tells when the tick ran (w2 - interval), and the wake-up time seen at the previous change, w1,
// is when it was due: it was late by (w2 - interval) - w1. The figure includes the tick's own
// pin writes. The LEDs flash yellow only, so every tick changes the yellow pin exactly once.
#pragma once

#include <vector>

#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/Clock.h"
#include "platform/zel/Ptr.h"
#include "statemachine/GpioLedStateMachine.h"

namespace PinlampBench {

class TickObserver : public Hardware::Gpio::CorvelPinConfig::NotifieeConst {
 public:
  // Lateness samples in seconds, shared by the observers of one run.
  using Log = std::vector<double>;

  TickObserver(Zel::Ptr<Hardware::Gpio::CorvelPinConfig const> const& yellowPin,
               Zel::Ptr<Pinlamp::GpioLedStateMachine> const& machine, double flashInterval,
               Log* log);

  void onValue() override;

 private:
  Zel::Ptr<Pinlamp::GpioLedStateMachine> machine_;
  double flashInterval_;
  double lastWakeUp_ = Zel::Clock::kNever;
  Log* log_;
};

}  // namespace PinlampBench
