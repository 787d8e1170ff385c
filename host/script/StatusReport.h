// The `show pins` and `show leds` reports: plain text, sorted so that "eth2" comes before
// "eth10".
#pragma once

#include <ostream>
#include <string_view>

#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/zel/Dir.h"

namespace Host {

// Orders names with their digit runs compared as numbers.
bool naturalLess(std::string_view a, std::string_view b);

void showPins(Zel::Dir const& pins, std::ostream& out);
void showLeds(Hardware::Gpio::GpioLedSystemConfigDir const& mappings, Zel::Dir const& pins,
              std::ostream& out);

}  // namespace Host
