#include "host/script/LedLights.h"

#include "platform/model/CorvelPinConfig.h"

namespace Host {

namespace {

ElementLight elementLight(Hardware::Gpio::PinNameSet const& names, Zel::Dir const& pins) {
  ElementLight light;
  for (auto member : names) {
    light.hasPins = true;
    std::optional<std::uint32_t> const value = pinValue(pins, member.key);
    if (value && *value != 0) light.lit = true;
  }
  return light;
}

}  // namespace

std::optional<std::uint32_t> pinValue(Zel::Dir const& pins, Zel::Name const& pin) {
  auto const config = Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(pins.entityRef(pin));
  if (!config) return std::nullopt;
  return config->value();
}

LedLights ledLights(Hardware::Gpio::GpioLedConfig const& mapping, Zel::Dir const& pins) {
  LedLights lights;
  lights.name = mapping.name().stdString();
  for (Colour const colour : Hardware::Gpio::kPinColours) {
    lights.elements[Hardware::Gpio::indexOf(colour)] = elementLight(mapping.pinNames(colour), pins);
  }
  return lights;
}

std::vector<LedLights> allLedLights(Hardware::Gpio::GpioLedSystemConfigDir const& mappings,
                                    Zel::Dir const& pins) {
  std::vector<LedLights> all;
  all.reserve(mappings.gpioLeds().size());
  for (auto member : mappings.gpioLeds()) all.push_back(ledLights(*member.value, pins));
  return all;
}

}  // namespace Host
