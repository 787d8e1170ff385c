// A whole agent on an in-memory database, driven the way a host drives it: fresh virtual-time
// activity loop, the agent from its factory, its entity manager, doInit and the loop's completion
// of the mounts. Around it, the writers' side (publishing GPIO LED mappings and LED
// configurations) and the readers' side (pin values, the agent's state machines), plus the
// agent's captured trace records. Tests, model-based runs and benchmarks share it; it depends on
// no test framework.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "agent/Agent.h"
#include "agent/AgentFactory.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/model/DatabasePaths.h"
#include "platform/model/GpioLedConfig.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/model/LedConfig.h"
#include "platform/model/LedSystemConfigDir.h"
#include "platform/statedb/Database.h"
#include "platform/statedb/EntityManager.h"
#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Dir.h"
#include "platform/zel/Trace.h"

namespace PinlampTest {

inline constexpr auto& kMappingPath = Hardware::kGpioLedMappingPath;
inline constexpr auto& kLedPath = Hardware::kLedConfigPath;
inline constexpr auto& kPinPath = Hardware::kCorvelPinPath;

// The pin names of one LED's colour elements.
struct PinNames {
  std::vector<std::string> yellow = {};
  std::vector<std::string> green = {};
  std::vector<std::string> red = {};
  std::vector<std::string> orange = {};
};

// A light setting lighting the colours named by their initials ("g", "yr", "" for off); an
// interval of 0.0 is steady.
inline Led::LightSetting setting(std::string_view colours, double flashInterval = 0.0) {
  Led::LightSetting result;
  result.yellow = colours.find('y') != std::string_view::npos;
  result.green = colours.find('g') != std::string_view::npos;
  result.red = colours.find('r') != std::string_view::npos;
  result.orange = colours.find('o') != std::string_view::npos;
  result.flashInterval = flashInterval;
  return result;
}

class AgentHarness {
 public:
  static constexpr std::uint32_t kAllLevels = ~0u;

  struct Options {
    Zel::Name agentName = "pinlamp";
    // "Pinlamp" levels to capture; 0 keeps tracing off (benchmarks).
    std::uint32_t traceLevels = kAllLevels;
    // False leaves the agent made but not initialised, so that a test can prepare the database
    // or the entity manager (a mistyped entity, a failing mount) before start().
    bool start = true;
  };

  AgentHarness() : AgentHarness(Options{}) {}
  explicit AgentHarness(Options const& options)
      : loop_(Zel::ActivityManager::TimeSource::virtualTime),
        previousSink_(Zel::traceSink()),
        previousLevels_(Zel::traceLevels("Pinlamp")),
        database_(Statedb::Database::databaseIs()),
        entityManager_(Statedb::EntityManager::entityManagerIs(database_)) {
    Zel::traceSinkIs(&sink_);
    Zel::traceLevelsIs("Pinlamp", options.traceLevels);
    agent_ = Pinlamp::agentFactory(options.agentName);
    if (options.start) start();
  }

  ~AgentHarness() {
    destroyAgent();
    Zel::traceSinkIs(previousSink_);
    Zel::traceLevelsIs("Pinlamp", previousLevels_);
  }

  AgentHarness(AgentHarness const&) = delete;
  AgentHarness& operator=(AgentHarness const&) = delete;

  // What the host does: hand over the entity manager, initialise, and let the loop complete the
  // mounts (which runs doMountsComplete).
  void start() {
    agent_->entityManagerIs(entityManager_);
    agent_->doInit();
    loop_->runPending();
  }

  // Drops the harness's reference to the agent and lets the loop settle. Every mapping still
  // published must have been ready at some point: the agent's clean-up of one that never was
  // ends the process.
  void destroyAgent() {
    agent_ = nullptr;
    loop_->runPending();
  }

  void runPending() { loop_->runPending(); }
  void advance(double seconds) { loop_->advance(seconds); }

  // --- writers' side --------------------------------------------------------------------------

  // The mapping directory as its writer sees it (made when nothing is there yet; null when an
  // entity of another type stands at its path).
  Zel::Ptr<Hardware::Gpio::GpioLedSystemConfigDir> mappingDir() {
    return Zel::ptrCast<Hardware::Gpio::GpioLedSystemConfigDir>(
        database_->entityIs(kMappingPath, "Hardware::Gpio::GpioLedSystemConfigDir"));
  }
  Zel::Ptr<Hardware::Led::LedSystemConfigDir> ledDir() {
    return Zel::ptrCast<Hardware::Led::LedSystemConfigDir>(
        database_->entityIs(kLedPath, "Hardware::Led::LedSystemConfigDir"));
  }
  Zel::Ptr<Zel::Dir> pinDir() {
    return Zel::ptrCast<Zel::Dir>(database_->entityIs(kPinPath, "Zel::Dir"));
  }

  // A mapping built in full, without notifications of its own, ready to be published.
  static Zel::Ptr<Hardware::Gpio::GpioLedConfig> mapping(Zel::Name const& led, PinNames const& pins,
                                                         bool ready = true) {
    Zel::Ptr<Hardware::Gpio::GpioLedConfig> result =
        Hardware::Gpio::GpioLedConfig::gpioLedConfigIs(led);
    for (std::string const& pin : pins.yellow) result->gpioYellowNameIs(pin);
    for (std::string const& pin : pins.green) result->gpioGreenNameIs(pin);
    for (std::string const& pin : pins.red) result->gpioRedNameIs(pin);
    for (std::string const& pin : pins.orange) result->gpioOrangeNameIs(pin);
    result->readyIs(ready);
    return result;
  }

  // Publishes a fully built mapping in one step, replacing any other one of that name. Not run:
  // the agent hears of it at the next runPending().
  Zel::Ptr<Hardware::Gpio::GpioLedConfig> publishMapping(Zel::Name const& led, PinNames const& pins,
                                                         bool ready = true) {
    return mappingDir()->gpioLedsIs(mapping(led, pins, ready));
  }
  Zel::Ptr<Hardware::Gpio::GpioLedConfig> mappingOf(Zel::Name const& led) {
    return mappingDir()->gpioLeds(led);
  }
  void mappingReadyIs(Zel::Name const& led, bool ready) { mappingOf(led)->readyIs(ready); }
  Zel::Ptr<Hardware::Gpio::GpioLedConfig> removeMapping(Zel::Name const& led) {
    return mappingDir()->gpioLedsDel(led);
  }

  // Sets the light setting of an LED's configuration, creating the configuration when absent.
  Zel::Ptr<Hardware::Led::LedConfig> setLed(Zel::Name const& led, Led::LightSetting const& light) {
    Zel::Ptr<Hardware::Led::LedConfig> config = ledDir()->ledsIs(led);
    config->lightSettingIs(light);
    return config;
  }
  // Publishes a new configuration object in place of the LED's current one, in one step.
  Zel::Ptr<Hardware::Led::LedConfig> replaceLed(Zel::Name const& led,
                                                Led::LightSetting const& light) {
    Zel::Ptr<Hardware::Led::LedConfig> config = Hardware::Led::LedConfig::ledConfigIs(led);
    config->lightSettingIs(light);
    return ledDir()->ledsIs(config);
  }

  // --- readers' side --------------------------------------------------------------------------

  Zel::Ptr<Hardware::Gpio::CorvelPinConfig> pin(Zel::Name const& name) {
    return Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(pinDir()->entityRef(name));
  }
  bool hasPin(Zel::Name const& name) { return pinDir()->entityRef(name) != nullptr; }
  // The pin's value, or -1 when the pin has no entity (or one of another type).
  long pinValue(Zel::Name const& name) {
    Zel::Ptr<Hardware::Gpio::CorvelPinConfig> const entity = pin(name);
    return entity ? static_cast<long>(entity->value()) : -1;
  }
  // The values of several pins as one string ("0100"), '-' for a pin without entity.
  std::string pinValues(std::initializer_list<char const*> names) {
    std::string out;
    for (char const* name : names) {
      long const value = pinValue(name);
      out += value < 0 ? '-' : static_cast<char>('0' + value);
    }
    return out;
  }

  Pinlamp::ConfigReactor* reactor() const {
    return agent_ ? agent_->configReactor().ptr() : nullptr;
  }
  Pinlamp::GpioLedStateMachine* machine(Zel::Name const& led) const {
    Pinlamp::ConfigReactor* const configReactor = reactor();
    return configReactor ? configReactor->gpioLedStateMachine(led).ptr() : nullptr;
  }
  // The LED's entry in the agent's "ledSystem" directory, or null.
  Zel::Ptr<Hardware::Gpio::CorvelGpioLedConfig> output(Zel::Name const& led) const {
    Pinlamp::ConfigReactor* const configReactor = reactor();
    if (!configReactor || !configReactor->corvelLedSystemConfig()) return nullptr;
    return configReactor->corvelLedSystemConfig()->gpioLeds(led);
  }

  // --- records ----------------------------------------------------------------------------------

  std::vector<std::string> traces() const { return sink_.texts("Pinlamp"); }
  std::vector<std::string> traces(int level) const { return sink_.texts("Pinlamp", level); }
  void clearTraces() { sink_.clear(); }

  Zel::Ptr<Pinlamp::Agent> const& agent() const noexcept { return agent_; }
  Zel::ActivityManager* loop() const noexcept { return &*loop_; }
  Zel::Ptr<Statedb::Database> const& database() const noexcept { return database_; }
  Zel::Ptr<Statedb::EntityManager> const& entityManager() const noexcept { return entityManager_; }
  Zel::CapturingTraceSink const& sink() const noexcept { return sink_; }

 private:
  Zel::ActivityManagerScope loop_;
  Zel::TraceSink* previousSink_;
  std::uint32_t previousLevels_;
  Zel::CapturingTraceSink sink_;
  Zel::Ptr<Statedb::Database> database_;
  Zel::Ptr<Statedb::EntityManager> entityManager_;
  Zel::Ptr<Pinlamp::Agent> agent_;
};

}  // namespace PinlampTest
