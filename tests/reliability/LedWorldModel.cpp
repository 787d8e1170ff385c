#include "tests/reliability/LedWorldModel.h"

#include <cmath>
#include <ostream>
#include <set>

namespace PinlampReliability {

std::array<char const*, kColourCount> const kColourNames = {"yellow", "green", "red", "orange"};

std::vector<std::string> listedPins(GpioLedConfig const& mapping, int colour) {
  Hardware::Gpio::PinNameSet const* sets[kColourCount] = {
      &mapping.gpioYellowName(), &mapping.gpioGreenName(), &mapping.gpioRedName(),
      &mapping.gpioOrangeName()};
  std::vector<std::string> names;
  for (auto member : *sets[colour]) names.push_back(member.key.stdString());
  return names;
}

bool isLit(Led::LightSetting const& setting, int colour) {
  bool const flags[kColourCount] = {setting.yellow, setting.green, setting.red, setting.orange};
  return flags[colour];
}

char const* toString(Outcome outcome) {
  switch (outcome) {
    case Outcome::delivered:
      return "delivered";
    case Outcome::nameInUse:
      return "name-in-use error";
    case Outcome::processEnds:
      return "process ends";
  }
  return "?";
}

std::ostream& operator<<(std::ostream& out, Outcome outcome) {
  return out << toString(outcome);
}

LedWorldModel::LedWorldModel(std::vector<std::string> const& ledNames) {
  for (std::string const& name : ledNames) leds_[name];
}

// --- delivery -------------------------------------------------------------------------------

Outcome LedWorldModel::deliverAll() {
  while (!queue_.empty()) {
    ModelEvent const event = std::move(queue_.front());
    queue_.pop_front();
    try {
      deliver(event);
    } catch (PredictedFailure const& failure) {
      failure_ = failure.text;
      return failure.outcome;
    }
  }
  return Outcome::delivered;
}

void LedWorldModel::deliver(ModelEvent const& event) {
  switch (event.kind) {
    case ModelEvent::mappingEntry:
      return onMappingEntry(event.name);
    case ModelEvent::mappingReady:
      return onMappingReady(event.entity.ptr());
    case ModelEvent::ledEntry:
      return createDriver(event.name);
    case ModelEvent::lightSetting:
      return onLightSetting(event.entity.ptr());
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

// Only the reactor watching that very object hears of it: replaced and removed ones are deaf.
void LedWorldModel::onMappingReady(Zel::Entity const* mapping) {
  for (auto& [name, led] : leds_) {
    if (led.watched.ptr() == mapping) return createLedConfig(name);
  }
}

void LedWorldModel::onLightSetting(Zel::Entity const* config) {
  for (auto& [name, led] : leds_) {
    if (led.machine && led.machine->config.ptr() == config) return apply(led);
  }
}

// Pins are only ever added here; ready going false changes nothing.
void LedWorldModel::createLedConfig(std::string const& name) {
  ModelLed& led = leds_.at(name);
  GpioLedConfig const& mapping = *led.watched;
  if (!mapping.ready()) return;
  if (!led.output) led.output.emplace();
  for (int colour = 0; colour < kColourCount; ++colour) {
    for (std::string const& pin : listedPins(mapping, colour)) {
      led.output->pins[colour][pin] = pinEntity(pin);
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
  for (auto const& colour : led.output->pins) {
    for (auto const& [pin, generation] : colour) directoryPins_.erase(pin);
  }
  led.output.reset();
  led.watched = nullptr;
  createDriver(name);
  forgetUnreferencedPins();
}

// --- the state machine ----------------------------------------------------------------------

void LedWorldModel::apply(ModelLed& led) {
  ModelMachine& machine = *led.machine;
  Led::LightSetting const setting = machine.config->lightSetting();
  if (setting.flashInterval == 0.0) {
    writeAll(*led.output, 0);
    writeLit(*led.output, setting);
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
  writeAll(*led.output, 0);
  if (machine.flashingState) writeLit(*led.output, setting);
  arm(machine, now_ + setting.flashInterval);
}

// A wake-up that is not a number or is infinite never comes.
void LedWorldModel::arm(ModelMachine& machine, double time) {
  machine.wakeUp = time;
  machine.armed = !std::isnan(time) && time != kNever;
  if (machine.armed) machine.sequence = nextSequence_++;
}

void LedWorldModel::writeAll(ModelOutput const& output, std::uint32_t value) {
  for (auto const& colour : output.pins) {
    for (auto const& [pin, generation] : colour) pinValues_[generation] = value;
  }
}

void LedWorldModel::writeLit(ModelOutput const& output, Led::LightSetting const& setting) {
  for (int colour = 0; colour < kColourCount; ++colour) {
    if (!isLit(setting, colour)) continue;
    for (auto const& [pin, generation] : output.pins[colour]) pinValues_[generation] = 1;
  }
}

std::vector<std::string> LedWorldModel::advance(double seconds) {
  std::vector<std::string> ticked;
  double const target = now_ + seconds;
  for (;;) {
    ModelLed* due = nullptr;
    std::string const* dueName = nullptr;
    for (auto& [name, led] : leds_) {
      if (!led.machine || !led.machine->armed) continue;
      ModelMachine const& m = *led.machine;
      if (!due || m.wakeUp < due->machine->wakeUp ||
          (m.wakeUp == due->machine->wakeUp && m.sequence < due->machine->sequence)) {
        due = &led;
        dueName = &name;
      }
    }
    if (!due || !(due->machine->wakeUp <= target)) break;
    due->machine->armed = false;
    if (due->machine->wakeUp > now_) now_ = due->machine->wakeUp;
    tick(*due);
    ticked.push_back(*dueName);
  }
  if (target > now_) now_ = target;
  return ticked;
}

double LedWorldModel::nextWakeUp() const {
  double next = kNever;
  for (auto const& [name, led] : leds_) {
    if (led.machine && led.machine->armed && led.machine->wakeUp < next) {
      next = led.machine->wakeUp;
    }
  }
  return next;
}

// --- agent life -----------------------------------------------------------------------------

Outcome LedWorldModel::mappingsEmptied() {
  try {
    for (auto& [name, led] : leds_) {
      if (led.watched) cleanUp(name);
    }
  } catch (PredictedFailure const& failure) {
    failure_ = failure.text;
    return failure.outcome;
  }
  return Outcome::delivered;
}

void LedWorldModel::agentStarted(std::vector<std::string> const& mappingOrder) {
  for (std::string const& name : mappingOrder) onMappingEntry(name);
}

// --- pins -----------------------------------------------------------------------------------

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
    for (auto const& colour : led.output->pins) {
      for (auto const& [pin, generation] : colour) referenced.insert(generation);
    }
  }
  std::erase_if(pinValues_, [&](auto const& entry) { return !referenced.count(entry.first); });
}

std::size_t LedWorldModel::reactorCount() const {
  std::size_t count = 0;
  for (auto const& [name, led] : leds_) count += led.watched ? 1 : 0;
  return count;
}

std::size_t LedWorldModel::outputCount() const {
  std::size_t count = 0;
  for (auto const& [name, led] : leds_) count += led.output ? 1 : 0;
  return count;
}

std::size_t LedWorldModel::machineCount() const {
  std::size_t count = 0;
  for (auto const& [name, led] : leds_) count += led.machine ? 1 : 0;
  return count;
}

void LedWorldModel::clear() {
  queue_.clear();
  for (auto& [name, led] : leds_) led = ModelLed();
}

}  // namespace PinlampReliability
