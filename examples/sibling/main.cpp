// Calls every Lampwise helper the way a sibling LED agent would, and exits non-zero when any
// answer differs from the documented one.
#include <cstdio>

#include "utils/Lampwise.h"

namespace {

int failures = 0;

void expect(bool holds, char const* what) {
  std::printf("%-52s %s\n", what, holds ? "ok" : "FAILED");
  if (!holds) ++failures;
}

}  // namespace

int main() {
  expect(Lampwise::ledToDevice("PowerSupply2") == Lampwise::devicePowerSupply,
         "ledToDevice(PowerSupply2) is a power supply");
  expect(Lampwise::portSubString("Ethernet3/1/4") == "Ethernet3/1",
         "portSubString(Ethernet3/1/4) is Ethernet3/1");
  expect(Lampwise::shortenLinkMode("linkModeForced100gfull") == "100gfull",
         "shortenLinkMode(linkModeForced100gfull) is 100gfull");
  expect(Lampwise::toString(Led::Color::amber) == "amber", "toString(amber) is amber");
  expect(Lampwise::isColorValid("green") && !Lampwise::isColorValid("Green"),
         "isColorValid knows green, not Green");
  expect(Lampwise::roundVal(-2.5, 0) == -3.0, "roundVal(-2.5, 0) is -3");
  return failures == 0 ? 0 : 1;
}
