// Led::LightSetting: what one LED should show. Four colour flags (any number may be set) and the
// time between two flash toggles, 0.0 meaning steady. The colour flags come first, in the LED
// model's own layout; the colour table (PinColour.h) names each flag.
#pragma once

#include <cstdint>
#include <iosfwd>

namespace Led {

struct LightSetting {
  bool orange = false;
  bool green = false;
  bool red = false;
  bool yellow = false;
  std::uint8_t brightness = 100;  // percent; carried along for drivers that can dim
  double flashInterval = 0.0;     // seconds between toggles; 0.0 = steady
  std::uint32_t priority = 0;     // rank of the policy that wrote the setting

  bool isDark() const noexcept { return !orange && !green && !red && !yellow; }
  bool isFlashing() const noexcept { return !(flashInterval == 0.0); }
};

// Equal when every field is equal; a flash interval that is not a number equals the same bit
// pattern, so rewriting such a setting is no change.
bool operator==(LightSetting const& a, LightSetting const& b) noexcept;

// Prints "[<colours> steady]" or "[<colours> flash <interval>s]", with the lit colours in the
// colour table's order (PinColour.h) joined by "+", or "off" when none is lit; for example
// "[green steady]", "[yellow+red flash 0.5s]", "[off steady]".
std::ostream& operator<<(std::ostream& out, LightSetting const& setting);

}  // namespace Led
