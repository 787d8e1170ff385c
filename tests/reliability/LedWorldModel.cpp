#include "tests/reliability/LedWorldModel.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace PinlampReliability {

LedWorldModel::LedWorldModel(std::vector<std::string> const& ledNames) {
  for (std::string const& name : ledNames) leds_[name];
}

template <typename Action>
Outcome LedWorldModel::predicting(Action action) {
  try {
    action();
  } catch (PredictedFailure const& failure) {
    failure_ = failure.text;
    return failure.outcome;
  }
  return Outcome::delivered;
}

Outcome LedWorldModel::deliverAll() {
  return predicting([this] {
    while (!queue_.empty()) {
      ModelEvent const event = std::move(queue_.front());
      queue_.pop_front();
      deliver(event);
    }
  });
}

void LedWorldModel::deliver(ModelEvent const& event) {
  switch (event.kind) {
    case ModelEvent::mappingEntry:
      return onMappingEntry(event.name);
    case ModelEvent::mappingReady:  // only the reactor of that very object hears of it
      for (auto& [name, led] : leds_) {
        if (led.watched.ptr() == event.entity.ptr()) return createLedConfig(name);
      }
      return;
    case ModelEvent::ledEntry:
      return createDriver(event.name);
    case ModelEvent::lightSetting:
      for (auto& [name, led] : leds_) {
        if (led.machine && led.machine->config.ptr() == event.entity.ptr()) return apply(led);
      }
      return;
  }
}

// A mapping entered, was replaced or left: a new object gets the reactor and is built at once.
void LedWorldModel::onMappingEntry(std::string const& name) {
  ModelLed& led = leds_.at(name);
  if (led.mapping) {
    if (led.watched == led.mapping) return;
    led.watched = led.mapping;
    createLedConfig(name);
  } else if (led.watched) {
    cleanUp(name);
  }
}

// Pins are only ever added here; ready going false changes nothing.
void LedWorldModel::createLedConfig(std::string const& name) {
  ModelLed& led = leds_.at(name);
  GpioLedConfig const& mapping = *led.watched;
  if (!mapping.ready()) return;
  if (!led.output) led.output.emplace();
  for (int colour = 0; colour < kColourCount; ++colour) {
    for (auto member : mapping.pinNames(kColours[colour].colour)) {
      std::string const pin = member.key.stdString();
      (*led.output)[colour][pin] = pinEntity(pin);
    }
  }
  createDriver(name);
}

// The one rule: a machine exactly while the mapping is there and ready, the output entry is there
// and the LED configuration is there.
void LedWorldModel::createDriver(std::string const& name) {
  ModelLed& led = leds_.at(name);
  bool const complete = led.mapping && led.mapping->ready() && led.output && led.config;
  if (!complete) {
    led.machine.reset();
    return;
  }
  if (led.machine) {
    if (led.machine->config != led.config) {
      throw PredictedFailure{Outcome::nameInUse, "second machine for " + name};
    }
    return;
  }
  led.machine.emplace();
  led.machine->config = led.config;
  apply(led);
}

// Removing a mapping takes its pins (by name, whoever made them), its output entry and its
// machine. Without an output entry the clean-up has nothing to walk: the process ends.
void LedWorldModel::cleanUp(std::string const& name) {
  ModelLed& led = leds_.at(name);
  if (!led.output) {
    throw PredictedFailure{Outcome::processEnds, "mapping " + name + " removed, never ready"};
  }
  for (auto const& colour : *led.output) {
    for (auto const& [pin, generation] : colour) directoryPins_.erase(pin);
  }
  led.output.reset();
  led.watched = nullptr;
  createDriver(name);
  forgetUnreferencedPins();
}

void LedWorldModel::apply(ModelLed& led) {
  ModelMachine& machine = *led.machine;
  Led::LightSetting const setting = machine.config->lightSetting();
  if (setting.flashInterval == 0.0) {
    show(*led.output, setting, true);
    return;
  }
  // Anything beyond the largest finite double is disarmed; a NaN wake-up counts as armed.
  if (machine.wakeUp > std::numeric_limits<double>::max()) {
    arm(machine, now_ + setting.flashInterval);
  }
}

void LedWorldModel::tick(ModelLed& led) {
  ModelMachine& machine = *led.machine;
  machine.flashingState = !machine.flashingState;
  Led::LightSetting const setting = machine.config->lightSetting();
  if (setting.flashInterval == 0.0) {
    machine.wakeUp = kNever;
    return;
  }
  show(*led.output, setting, machine.flashingState);
  arm(machine, now_ + setting.flashInterval);
}

// A wake-up that is not a number or is infinite never comes.
void LedWorldModel::arm(ModelMachine& machine, double time) {
  machine.wakeUp = time;
  machine.armed = !std::isnan(time) && time != kNever;
  if (machine.armed) machine.sequence = nextSequence_++;
}

void LedWorldModel::show(ModelOutput const& output, Led::LightSetting const& setting, bool on) {
  for (int colour = 0; colour < kColourCount; ++colour) {
    for (auto const& [pin, generation] : output[colour]) pinValues_[generation] = 0;
  }
  for (int colour = 0; colour < kColourCount; ++colour) {
    if (!on || !(setting.*kColours[colour].lit)) continue;
    for (auto const& [pin, generation] : output[colour]) pinValues_[generation] = 1;
  }
}

std::string const* LedWorldModel::nextDue() const {
  std::string const* due = nullptr;
  ModelMachine const* first = nullptr;
  for (auto const& [name, led] : leds_) {
    if (!led.machine || !led.machine->armed) continue;
    ModelMachine const& m = *led.machine;
    if (!first || m.wakeUp < first->wakeUp ||
        (m.wakeUp == first->wakeUp && m.sequence < first->sequence)) {
      due = &name;
      first = &m;
    }
  }
  return due;
}

double LedWorldModel::nextWakeUp() const {
  std::string const* due = nextDue();
  return due ? leds_.at(*due).machine->wakeUp : kNever;
}

std::vector<std::string> LedWorldModel::advance(double seconds) {
  std::vector<std::string> ticked;
  double const target = now_ + seconds;
  for (std::string const* due = nextDue(); due; due = nextDue()) {
    ModelLed& led = leds_.at(*due);
    if (!(led.machine->wakeUp <= target)) break;
    led.machine->armed = false;
    now_ = std::max(now_, led.machine->wakeUp);
    tick(led);
    ticked.push_back(*due);
  }
  now_ = std::max(now_, target);
  return ticked;
}

Outcome LedWorldModel::mappingsEmptied() {
  return predicting([this] {
    for (auto& [name, led] : leds_) {
      if (led.watched) cleanUp(name);
    }
  });
}

void LedWorldModel::agentStarted(std::vector<std::string> const& mappingOrder) {
  for (std::string const& name : mappingOrder) onMappingEntry(name);
}

// The pin entity in the output directory, made (dark) when absent.
std::uint64_t LedWorldModel::pinEntity(std::string const& pin) {
  auto [position, made] = directoryPins_.try_emplace(pin, nextGeneration_);
  if (made) pinValues_[nextGeneration_++] = 0;
  return position->second;
}

void LedWorldModel::forgetUnreferencedPins() {
  std::set<std::uint64_t> referenced;
  for (auto const& [pin, generation] : directoryPins_) referenced.insert(generation);
  for (auto const& [name, led] : leds_) {
    if (!led.output) continue;
    for (auto const& colour : *led.output) {
      for (auto const& [pin, generation] : colour) referenced.insert(generation);
    }
  }
  std::erase_if(pinValues_, [&](auto const& entry) { return !referenced.count(entry.first); });
}

std::array<std::size_t, 3> LedWorldModel::counts() const {
  std::array<std::size_t, 3> counts{};
  for (auto const& [name, led] : leds_) {
    counts[0] += bool(led.watched);
    counts[1] += led.output.has_value();
    counts[2] += led.machine.has_value();
  }
  return counts;
}

void LedWorldModel::clear() {
  queue_.clear();
  for (auto& [name, led] : leds_) led = ModelLed();
}

}  // namespace PinlampReliability
