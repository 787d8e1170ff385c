// The driver's own view of its pins, for `show pins` and the panel: backend, what the hardware
// was last written to show, and the latest failure.
#pragma once

#include <ostream>

#include "host/pins/PinDriver.h"

namespace Drive {

// One line per mapped pin, in map order: "  <pin> <backend> <lit|dark|-> [error]".
void showDriver(PinDriver const& driver, std::ostream& out);
// One line for a status row: how many pins are driven, lit and failing.
std::string driverSummary(PinDriver const& driver);

}  // namespace Drive
