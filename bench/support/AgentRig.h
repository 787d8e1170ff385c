// One agent on a fresh activity loop and an empty in-memory database, driven the way the host
// drives it, with helpers that publish what other agents publish: GPIO LED mappings (one pin per
// colour) and LED configurations. Every benchmark builds its scene through this rig so that each
// figure goes through the real start-up, mounts and notification path.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "agent/Agent.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/model/LedSystemConfigDir.h"
#include "platform/statedb/Database.h"
#include "platform/statedb/EntityManager.h"
#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Dir.h"

namespace PinlampBench {

using Zel::Ptr;

// The light settings the benchmarks use.
Led::LightSetting steady(bool green);
Led::LightSetting flashing(double interval);
Led::LightSetting dark();

class AgentRig {
 public:
  explicit AgentRig(Zel::ActivityManager::TimeSource source);
  ~AgentRig();
  AgentRig(AgentRig const&) = delete;
  AgentRig& operator=(AgentRig const&) = delete;

  static std::string ledName(std::size_t index);
  // The name of LED `index`'s pin of one colour ('Y', 'G', 'R' or 'O').
  static std::string pinName(char colour, std::size_t index);

  // Publishes LED `index`'s ready mapping: one pin per colour, named after the LED.
  void publishMapping(std::size_t index);
  // Publishes LED `index`'s configuration with `setting`.
  void publishConfig(std::size_t index, Led::LightSetting const& setting);
  // What another agent does to change an LED: a new light setting on its configuration.
  void changeSetting(std::size_t index, Led::LightSetting const& setting);

  // Publishes `count` LEDs: mapping and configuration for each; even LEDs steady (green and red
  // alternating), odd LEDs flashing at `interval` (or all flashing, or all dark).
  enum class Mix { halfFlashing, allFlashing, allDark };
  void publishLeds(std::size_t count, Mix mix, double interval = 0.5);

  // Creates the agent and declares its mounts; the mounts complete, and the agent builds
  // everything, on the next runPending().
  void startAgent();
  // startAgent() and let it build everything.
  void startAgentAndSettle();

  Zel::ActivityManager& loop() const noexcept { return *loop_; }
  Pinlamp::Agent& agent() const noexcept { return *agent_; }
  Pinlamp::ConfigReactor& reactor() const;
  std::size_t machineCount() const;
  std::size_t pinCount() const;
  // The value of LED `index`'s pin of colour `colour` (one of "YGRO"); -1 without that pin.
  long pinValue(std::size_t index, char colour) const;

 private:
  Zel::ActivityManagerScope loop_;
  Ptr<Statedb::Database> database_;
  Ptr<Statedb::EntityManager> entityManager_;
  Ptr<Hardware::Gpio::GpioLedSystemConfigDir> mappings_;
  Ptr<Hardware::Led::LedSystemConfigDir> leds_;
  std::vector<Ptr<Hardware::Led::LedConfig>> configs_;
  Ptr<Pinlamp::Agent> agent_;
};

}  // namespace PinlampBench
