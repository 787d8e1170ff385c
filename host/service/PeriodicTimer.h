// Work repeated every interval on the activity loop's own clock. Because it runs on the loop,
// a loop that is stuck also stops it: that is what makes it the right source of watchdog pings.
#pragma once

#include <functional>

#include "platform/zel/ActivityManager.h"
#include "platform/zel/Clock.h"
#include "platform/zel/Ptr.h"

namespace Host {

class PeriodicTimer {
 public:
  // Runs `tick` every `interval` seconds, the first time one interval from now.
  PeriodicTimer(Zel::ActivityManager& loop, double interval, std::function<void()> tick);
  ~PeriodicTimer();
  PeriodicTimer(PeriodicTimer const&) = delete;
  PeriodicTimer& operator=(PeriodicTimer const&) = delete;

  class Reactor;

 private:
  Zel::Ptr<Reactor> reactor_;
};

class PeriodicTimer::Reactor : public Zel::Clock::NotifieeConst {
 public:
  Reactor(Zel::ActivityManager& loop, double interval, std::function<void()> tick);
  void onTime() override;

 private:
  Zel::ActivityManager& loop_;
  double interval_;
  std::function<void()> tick_;
};

}  // namespace Host
