// The comparisons of the agent's state with the model's.
#include <cmath>
#include <sstream>

#include "platform/model/CorvelGpioLedSystemConfigDir.h"
#include "tests/reliability/LedWorld.h"

namespace PinlampReliability {

namespace {

using Hardware::Gpio::CorvelGpioLedConfig;
using Hardware::Gpio::CorvelPinConfig;
using Hardware::Gpio::PinConfigs;

char const* presence(bool present) {
  return present ? "present" : "absent";
}

// Wake-up times agree when equal, or when neither is a number.
bool sameTime(double a, double b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

PinConfigs const& colourPins(CorvelGpioLedConfig const& output, int colour) {
  PinConfigs const* pins[kColourCount] = {&output.gpioYellow(), &output.gpioGreen(),
                                          &output.gpioRed(), &output.gpioOrange()};
  return *pins[colour];
}

}  // namespace

std::string LedWorld::ledMismatch(std::string const& name) const {
  if (!agent_ || !agent_->configReactor()) return "";
  Pinlamp::ConfigReactor const& reactor = *agent_->configReactor();
  ModelLed const& led = model_.led(name);
  Zel::Name const key(name);
  std::ostringstream out;

  auto const perLed = reactor.gpioLedConfig(key);
  if (static_cast<bool>(perLed) != static_cast<bool>(led.watched)) {
    out << "mapping reactor " << presence(bool(perLed)) << ", model says "
        << presence(bool(led.watched)) << "; ";
  } else if (perLed && perLed->notifier() != led.watched.ptr()) {
    out << "mapping reactor watches another mapping object; ";
  }

  Zel::Ptr<CorvelGpioLedConfig> const output = reactor.corvelLedSystemConfig()->gpioLeds(key);
  if (static_cast<bool>(output) != led.output.has_value()) {
    out << "output entry " << presence(bool(output)) << ", model says "
        << presence(led.output.has_value()) << "; ";
  } else if (output) {
    out << outputMismatch(*output, *led.output);
  }

  auto const machine = reactor.gpioLedStateMachine(key);
  if (static_cast<bool>(machine) != led.machine.has_value()) {
    out << "state machine " << presence(bool(machine)) << ", model says "
        << presence(led.machine.has_value()) << "; ";
  } else if (machine) {
    out << machineMismatch(*machine, output, *led.machine);
  }
  std::string const text = out.str();
  return text.empty() ? text : name + ": " + text;
}

// Same pins per colour; each the directory's entity exactly when the model says so; every pin,
// in the directory or not, at the value that the model's writes left.
std::string LedWorld::outputMismatch(CorvelGpioLedConfig const& output,
                                     ModelOutput const& expected) const {
  std::ostringstream out;
  for (int colour = 0; colour < kColourCount; ++colour) {
    PinConfigs const& pins = colourPins(output, colour);
    if (pins.size() != expected.pins[colour].size()) {
      out << kColourNames[colour] << " has " << pins.size() << " pins, model "
          << expected.pins[colour].size() << "; ";
    }
    for (auto const& [pin, generation] : expected.pins[colour]) {
      Zel::Ptr<CorvelPinConfig> const* real = pins.find(pin);
      if (!real || !*real) {
        out << kColourNames[colour] << " pin " << pin << " missing; ";
        continue;
      }
      auto const listed = model_.directoryPins().find(pin);
      bool const expectCurrent =
          listed != model_.directoryPins().end() && listed->second == generation;
      bool const current = pins_->entityRef(pin).ptr() == real->ptr();
      if (current != expectCurrent) {
        out << kColourNames[colour] << " pin " << pin << (current ? " is" : " is not")
            << " the directory's entity, model says the opposite; ";
      }
      if ((*real)->value() != model_.pinValue(generation)) {
        out << kColourNames[colour] << " pin " << pin << " = " << (*real)->value() << ", model "
            << model_.pinValue(generation) << "; ";
      }
    }
  }
  return out.str();
}

std::string LedWorld::machineMismatch(Pinlamp::GpioLedStateMachine const& machine,
                                      Zel::Ptr<CorvelGpioLedConfig> const& output,
                                      ModelMachine const& expected) const {
  std::ostringstream out;
  if (machine.hwLedConfig() != expected.config) out << "machine watches another configuration; ";
  if (machine.corvelGpioLedConfig() != output) out << "machine drives another output entry; ";
  if (machine.flashingState() != expected.flashingState) {
    out << "flashing phase " << machine.flashingState() << ", model " << expected.flashingState
        << "; ";
  }
  Pinlamp::GpioLedStateMachine::ZelClock const* timer = machine.clockReactor();
  if (!timer) return out.str() + "machine has no clock; ";
  if (!sameTime(timer->timeMin(), expected.wakeUp) || timer->isArmed() != expected.armed) {
    out.precision(17);
    out << "wake-up " << timer->timeMin() << (timer->isArmed() ? " armed" : " not armed")
        << ", model " << expected.wakeUp << (expected.armed ? " armed" : " not armed") << "; ";
  }
  return out.str();
}

// Exactly the pins of current or earlier, not yet removed, mappings, each at the model's value.
std::string LedWorld::pinDirectoryMismatch() const {
  std::ostringstream out;
  if (pins_->entryCount() != model_.directoryPins().size()) {
    out << "pin directory holds " << pins_->entryCount() << " pins, model "
        << model_.directoryPins().size() << "; ";
  }
  for (auto const& [pin, generation] : model_.directoryPins()) {
    auto const entity = Zel::ptrCast<CorvelPinConfig>(pins_->entityRef(pin));
    if (!entity) {
      out << "pin " << pin << " missing from the directory; ";
    } else if (entity->value() != model_.pinValue(generation)) {
      out << "pin " << pin << " = " << entity->value() << ", model " << model_.pinValue(generation)
          << "; ";
    }
  }
  return out.str();
}

std::string LedWorld::fullMismatch() const {
  std::ostringstream out;
  for (std::string const& name : ledNames_) {
    std::string const led = ledMismatch(name);
    if (!led.empty()) out << led << "\n";
  }
  out << pinDirectoryMismatch();
  if (agent_ && agent_->configReactor()) {
    Pinlamp::ConfigReactor const& reactor = *agent_->configReactor();
    if (reactor.gpioLedConfig().size() != model_.reactorCount() ||
        reactor.corvelLedSystemConfig()->gpioLeds().size() != model_.outputCount() ||
        reactor.gpioLedStateMachine().size() != model_.machineCount()) {
      out << "collection sizes (reactors, outputs, machines) " << reactor.gpioLedConfig().size()
          << ", " << reactor.corvelLedSystemConfig()->gpioLeds().size() << ", "
          << reactor.gpioLedStateMachine().size() << ", model " << model_.reactorCount() << ", "
          << model_.outputCount() << ", " << model_.machineCount() << "; ";
    }
  }
  if (loop_->currentTime() != model_.now()) {
    out.precision(17);
    out << "time " << loop_->currentTime() << ", model " << model_.now() << "; ";
  }
  return out.str();
}

}  // namespace PinlampReliability
