#include "platform/model/LightSetting.h"

#include <cstring>
#include <ostream>

#include "platform/model/PinColour.h"

namespace Led {

bool operator==(LightSetting const& a, LightSetting const& b) noexcept {
  return a.orange == b.orange && a.green == b.green && a.red == b.red && a.yellow == b.yellow &&
         a.brightness == b.brightness &&
         std::memcmp(&a.flashInterval, &b.flashInterval, sizeof a.flashInterval) == 0 &&
         a.priority == b.priority;
}

std::ostream& operator<<(std::ostream& out, LightSetting const& setting) {
  out << '[';
  char const* separator = "";
  for (Hardware::Gpio::ColourRow const& row : Hardware::Gpio::kColourTable) {
    if (!(setting.*row.lit)) continue;
    out << separator << row.name;
    separator = "+";
  }
  if (setting.isDark()) out << "off";
  if (setting.isFlashing()) {
    out << " flash " << setting.flashInterval << 's';
  } else {
    out << " steady";
  }
  return out << ']';
}

}  // namespace Led
