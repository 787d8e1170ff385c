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

Led::LightSetting settingOf(LedCommand const& command) {
  Led::LightSetting setting;
  for (Hardware::Gpio::ColourRow const& row : Hardware::Gpio::kColourTable) {
    setting.*row.lit = command.lit[Hardware::Gpio::indexOf(row.colour)];
  }
  setting.flashInterval = command.flashInterval;
  return setting;
}

void publishLed(Hardware::Led::LedSystemConfigDir& leds, LedCommand const& command) {
  Inputs::ledApplied(leds, Zel::Name(command.led), changeOf(command.replace), settingOf(command));
}

bool withdrawMapping(Hardware::Gpio::GpioLedSystemConfigDir& mappings, std::string const& led) {
  return Inputs::mappingApplied(mappings, Zel::Name(led), Inputs::InputChange::remove);
}

bool withdrawLed(Hardware::Led::LedSystemConfigDir& leds, std::string const& led) {
  return Inputs::ledApplied(leds, Zel::Name(led), Inputs::InputChange::remove);
}

}  // namespace Host
