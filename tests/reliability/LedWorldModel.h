// The reference model of the agent: a small, plain re-statement of the rules that the random run
// checks the real agent against after every step. It follows the same notifications in the same
// order as the agent's activity loop (one queued event per input change), keeps its own copy of
// every output the agent should have made (per-LED output entries with their pins, the pin
// entities, state machines with their flash timers) and simulates every pin write exactly, so
// that pins shared between LEDs show the value of the last LED that wrote them.
//
// The inputs themselves (mapping and LED configuration objects) are the test's own entities: the
// model reads their current content when it delivers an event, as the agent does.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <iosfwd>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/model/GpioLedConfig.h"
#include "platform/model/LedConfig.h"

namespace PinlampReliability {

using Hardware::Gpio::GpioLedConfig;
using Hardware::Led::LedConfig;

// Colours in the order in which pins are created and written: yellow, green, red, orange.
constexpr int kColourCount = 4;
extern std::array<char const*, kColourCount> const kColourNames;

std::vector<std::string> listedPins(GpioLedConfig const& mapping, int colour);
bool isLit(Led::LightSetting const& setting, int colour);

constexpr double kNever = std::numeric_limits<double>::infinity();

// One LED's output entry: per colour, the pins it refers to. A pin entity is known by its
// generation: removing a pin from the output directory and creating it again makes a new
// generation, while an output entry may still refer to the old one.
struct ModelOutput {
  std::array<std::map<std::string, std::uint64_t>, kColourCount> pins;
};

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
char const* toString(Outcome outcome);
std::ostream& operator<<(std::ostream& out, Outcome outcome);

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
  std::map<std::string, ModelLed> const& leds() const noexcept { return leds_; }

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

  // The mapping directory was emptied in one change: the agent resynchronises at once, inside the
  // change, and cleans up every LED with a reactor. processEnds when one of them has no output
  // entry.
  Outcome mappingsEmptied();
  // The agent was destroyed: the same clean-up.
  Outcome agentStopped() { return mappingsEmptied(); }
  // A new agent started on the directories as they are; `mappingOrder` is the mapping
  // directory's own iteration order, in which start-up visits the mappings.
  void agentStarted(std::vector<std::string> const& mappingOrder);

  std::map<std::string, std::uint64_t> const& directoryPins() const noexcept {
    return directoryPins_;
  }
  std::uint32_t pinValue(std::uint64_t generation) const { return pinValues_.at(generation); }
  std::size_t reactorCount() const;
  std::size_t outputCount() const;
  std::size_t machineCount() const;

  // Drops every entity reference the model holds.
  void clear();

 private:
  struct PredictedFailure {
    Outcome outcome;
    std::string text;
  };

  void deliver(ModelEvent const& event);
  void onMappingEntry(std::string const& name);
  void onMappingReady(Zel::Entity const* mapping);
  void onLightSetting(Zel::Entity const* config);
  void createLedConfig(std::string const& name);
  void createDriver(std::string const& name);
  void cleanUp(std::string const& name);
  void apply(ModelLed& led);
  void tick(ModelLed& led);
  void arm(ModelMachine& machine, double time);
  void writeAll(ModelOutput const& output, std::uint32_t value);
  void writeLit(ModelOutput const& output, Led::LightSetting const& setting);
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
