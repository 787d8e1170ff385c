// The reference model of the agent: a plain re-statement of its rules. It follows the same
// notifications in the same order as the agent's activity loop, keeps its own copy of every output
// the agent should have made (output entries, pin entities, state machines with their flash
// timers) and simulates every pin write, so that a pin shared between LEDs shows the value of the
// last LED that wrote it. The inputs are the test's own entities, read when an event is delivered.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "platform/model/CorvelGpioLedConfig.h"
#include "platform/model/GpioLedConfig.h"
#include "platform/model/LedConfig.h"

namespace PinlampReliability {

using Hardware::Gpio::CorvelGpioLedConfig;
using Hardware::Gpio::GpioLedConfig;
using Hardware::Led::LedConfig;

// The colours in the order in which pins are created and written: the model's own table.
using Colour = Hardware::Gpio::ColourRow;
inline constexpr auto const& kColours = Hardware::Gpio::kColourTable;
constexpr int kColourCount = static_cast<int>(Hardware::Gpio::kPinColourCount);

constexpr double kNever = std::numeric_limits<double>::infinity();

// One LED's output entry: per colour, the pins it refers to, each by generation: a pin removed from
// the output directory and made again is a new generation, while an entry may hold the old one.
using ModelOutput = std::array<std::map<std::string, std::uint64_t>, kColourCount>;

struct ModelMachine {
  Zel::Ptr<LedConfig const> config;
  bool flashingState = false;
  double wakeUp = kNever;
  bool armed = false;          // on the clock's schedule
  std::uint64_t sequence = 0;  // orders machines due at the same time, as the clock does
};

struct ModelLed {
  Zel::Ptr<GpioLedConfig> mapping;        // the mapping directory's entry
  Zel::Ptr<LedConfig> config;             // the LED configuration directory's entry
  Zel::Ptr<GpioLedConfig const> watched;  // the per-LED reactor's mapping; null: no reactor
  std::optional<ModelOutput> output;
  std::optional<ModelMachine> machine;
};

// How delivering the queued events ends.
enum class Outcome { delivered, nameInUse, processEnds };
inline char const* toString(Outcome outcome) {
  return std::array{"delivered", "name-in-use error", "process ends"}[int(outcome)];
}
inline std::ostream& operator<<(std::ostream& out, Outcome outcome) {
  return out << toString(outcome);
}

struct ModelEvent {
  enum Kind { mappingEntry, mappingReady, ledEntry, lightSetting };
  Kind kind;
  std::string name;                    // mappingEntry, ledEntry
  Zel::Ptr<Zel::Entity const> entity;  // mappingReady (the mapping), lightSetting (the config)
};

class LedWorldModel {
 public:
  explicit LedWorldModel(std::vector<std::string> const& ledNames);

  ModelLed& led(std::string const& name) { return leds_.at(name); }
  ModelLed const& led(std::string const& name) const { return leds_.at(name); }

  void eventIs(ModelEvent event) { queue_.push_back(std::move(event)); }
  // Delivers the queued events in order. On a name-in-use error the failing event is dropped and
  // the rest stay queued, as in the activity loop; when the process would end, nothing after
  // counts.
  Outcome deliverAll();
  std::string const& failure() const noexcept { return failure_; }

  // Runs every flash tick due within `seconds`, in time order; returns the LEDs that ticked.
  std::vector<std::string> advance(double seconds);
  double now() const noexcept { return now_; }
  double nextWakeUp() const;

  // The mapping directory was emptied in one change, or the agent destroyed: every LED with a
  // reactor is cleaned up at once. processEnds when one of them has no output entry.
  Outcome mappingsEmptied();
  // A new agent started on the directories as they are; `mappingOrder` is the mapping
  // directory's own iteration order, in which start-up visits the mappings.
  void agentStarted(std::vector<std::string> const& mappingOrder);

  std::map<std::string, std::uint64_t> const& directoryPins() const noexcept {
    return directoryPins_;
  }
  std::uint32_t pinValue(std::uint64_t generation) const { return pinValues_.at(generation); }
  // How many LEDs have a mapping reactor, an output entry, a state machine.
  std::array<std::size_t, 3> counts() const;

  void clear();

 private:
  struct PredictedFailure {
    Outcome outcome;
    std::string text;
  };

  template <typename Action>
  Outcome predicting(Action action);
  void deliver(ModelEvent const& event);
  // The armed machine that ticks next, in the clock's order; null when none.
  std::string const* nextDue() const;
  void onMappingEntry(std::string const& name);
  void createLedConfig(std::string const& name);
  void createDriver(std::string const& name);
  void cleanUp(std::string const& name);
  void apply(ModelLed& led);
  void tick(ModelLed& led);
  void arm(ModelMachine& machine, double time);
  // Darkens every pin, then lights those of the lit colours when `on`.
  void show(ModelOutput const& output, Led::LightSetting const& setting, bool on);
  std::uint64_t pinEntity(std::string const& pin);
  void forgetUnreferencedPins();

  std::map<std::string, ModelLed> leds_;
  std::deque<ModelEvent> queue_;
  std::map<std::string, std::uint64_t> directoryPins_;
  std::map<std::uint64_t, std::uint32_t> pinValues_;
  std::uint64_t nextGeneration_ = 1;
  std::uint64_t nextSequence_ = 0;
  double now_ = 0.0;
  std::string failure_;
};

}  // namespace PinlampReliability
