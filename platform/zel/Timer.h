// Zel::Timer: a wake-up on the activity loop's clock that runs a function, once or every
// interval. The one timer the host and its backends use for back-off, keep-alive, time-outs,
// frames and watchdog pings, so that virtual time moves all of them in tests like any reactor.
//
// The owner holds the timer by value. Its reactor is counted and may still be held by the clock
// while it runs, so the timer cuts it loose on destruction instead of freeing it: destroying or
// re-arming the timer from inside its own function is safe.
#pragma once

#include <functional>

#include "platform/zel/ActivityManager.h"
#include "platform/zel/Clock.h"
#include "platform/zel/Ptr.h"

namespace Zel {

class Timer {
 public:
  Timer(ActivityManager& loop, std::function<void()> onTime);
  ~Timer();
  Timer(Timer const&) = delete;
  Timer& operator=(Timer const&) = delete;

  // Runs once at `time` (loop seconds), replacing any earlier setting.
  void startAt(double time);
  // Runs once `seconds` from now.
  void startIn(double seconds);
  // Runs every `interval` seconds, the first time one interval from now. Each next run is one
  // interval from when the run happens, not from when it was due: after a stall, one run rather
  // than a burst of catch-ups.
  void startRepeating(double interval);
  void stop();

  bool isRunning() const noexcept;
  // The armed time, or Clock::kNever.
  double time() const noexcept;

  class Reactor;

 private:
  ActivityManager& loop_;
  Ptr<Reactor> reactor_;
};

}  // namespace Zel
