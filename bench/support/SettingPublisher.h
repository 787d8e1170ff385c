// Plays another agent that switches LEDs to a new light setting at given times while the loop
// runs live: LED i at start + i * spread / count. With a spread of 0 every LED is switched at
// once, in one burst of notifications.
#pragma once

#include <cstddef>
#include <vector>

#include "bench/support/AgentRig.h"
#include "platform/zel/Clock.h"

namespace PinlampBench {

class SettingPublisher : public Zel::Clock::NotifieeConst {
 public:
  SettingPublisher(AgentRig& rig, std::size_t count, Led::LightSetting const& setting, double start,
                   double spread);

  void onTime() override;
  bool done() const noexcept { return next_ >= count_; }
  // How long after its time each setting went out: LEDs meant to start evenly start in clumps
  // when the loop wakes late for the publisher.
  std::vector<double> const& lateness() const noexcept { return lateness_; }

 private:
  double dueTime(std::size_t index) const;

  AgentRig* rig_;
  std::size_t count_;
  Led::LightSetting setting_;
  double start_;
  double spread_;
  std::size_t next_ = 0;
  std::vector<double> lateness_;
};

}  // namespace PinlampBench
