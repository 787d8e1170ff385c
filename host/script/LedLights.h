// What an LED shows as its pins show it: for each colour element, whether it has pins and
// whether it is lit (some pin of that colour holds a non-zero value). This is the view from the
// wire, not from the LED's configuration: it reflects what the agent actually wrote.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/script/Command.h"
#include "platform/model/GpioLedConfig.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/zel/Dir.h"

namespace Host {

struct ElementLight {
  bool hasPins = false;
  bool lit = false;
};

struct LedLights {
  std::string name;
  std::array<ElementLight, kColourCount> elements;
};

LedLights ledLights(Hardware::Gpio::GpioLedConfig const& mapping, Zel::Dir const& pins);

// Every mapped LED, in the mapping directory's order.
std::vector<LedLights> allLedLights(Hardware::Gpio::GpioLedSystemConfigDir const& mappings,
                                    Zel::Dir const& pins);

// The value of a pin, or nullopt when the pin entity is missing or of another type.
std::optional<std::uint32_t> pinValue(Zel::Dir const& pins, Zel::Name const& pin);

}  // namespace Host
