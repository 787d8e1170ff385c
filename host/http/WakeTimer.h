// One wake-up at a time on the activity loop's clock: set for a time, moved, or cancelled. The
// reactor outlives its owner while the clock still holds it, so the owner cuts it loose first.
#pragma once

#include <functional>

#include "platform/zel/ActivityManager.h"
#include "platform/zel/Clock.h"
#include "platform/zel/Ptr.h"

namespace Http {

class WakeTimer {
 public:
  WakeTimer(Zel::ActivityManager& loop, std::function<void()> onTime);
  ~WakeTimer();
  WakeTimer(WakeTimer const&) = delete;
  WakeTimer& operator=(WakeTimer const&) = delete;

  // Wakes once at `time` (loop seconds), replacing any earlier setting.
  void wakeAt(double time);
  void cancel();
  bool isSet() const noexcept { return set_; }

  class Reactor;

 private:
  Zel::Ptr<Reactor> reactor_;
  bool set_ = false;
};

}  // namespace Http
