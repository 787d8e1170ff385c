#include "host/script/Publisher.h"

#include "platform/inputs/InputApplier.h"

namespace Host {

namespace {

Inputs::InputChange changeOf(bool replace) {
  return replace ? Inputs::InputChange::replace : Inputs::InputChange::set;
}

}  // namespace

void publishMapping(Hardware::Gpio::GpioLedSystemConfigDir& mappings,
                    MappingCommand const& command) {
  Inputs::MappingFields fields;
  for (std::size_t colour = 0; colour < kColourCount; ++colour) {
    if (!command.pins[colour]) continue;
    fields.pins[colour].emplace(command.pins[colour]->begin(), command.pins[colour]->end());
  }
  fields.ready = command.ready;
  Inputs::mappingApplied(mappings, Zel::Name(command.led), changeOf(command.replace), fields);
}

void publishLed(Hardware::Led::LedSystemConfigDir& leds, LedCommand const& command) {
  Led::LightSetting setting;
  setting.yellow = command.lit[static_cast<std::size_t>(Colour::yellow)];
  setting.green = command.lit[static_cast<std::size_t>(Colour::green)];
  setting.red = command.lit[static_cast<std::size_t>(Colour::red)];
  setting.orange = command.lit[static_cast<std::size_t>(Colour::orange)];
  setting.flashInterval = command.flashInterval;
  Inputs::ledApplied(leds, Zel::Name(command.led), changeOf(command.replace), setting);
}

bool withdrawMapping(Hardware::Gpio::GpioLedSystemConfigDir& mappings, std::string const& led) {
  return Inputs::mappingApplied(mappings, Zel::Name(led), Inputs::InputChange::remove);
}

bool withdrawLed(Hardware::Led::LedSystemConfigDir& leds, std::string const& led) {
  return Inputs::ledApplied(leds, Zel::Name(led), Inputs::InputChange::remove);
}

}  // namespace Host
