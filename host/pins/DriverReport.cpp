#include "host/pins/DriverReport.h"

#include <string>

namespace Drive {

namespace {

char const* shownText(std::optional<bool> shown) noexcept {
  if (!shown) return "-";
  return *shown ? "lit" : "dark";
}

}  // namespace

void showDriver(PinDriver const& driver, std::ostream& out) {
  out << "driven pins (" << driver.map().source
      << (driver.lampTestRunning() ? ", lamp test running" : "") << "):\n";
  for (PinDriver::Pin const& pin : driver.pins()) {
    out << "  " << pin.address->pin << ' ' << backendName(pin.address->backend) << ' '
        << shownText(pin.shown);
    if (!pin.error.empty()) out << "  " << pin.error;
    out << '\n';
  }
}

std::string driverSummary(PinDriver const& driver) {
  std::size_t lit = 0, failing = 0;
  for (PinDriver::Pin const& pin : driver.pins()) {
    lit += pin.shown.value_or(false) ? 1 : 0;
    failing += pin.error.empty() ? 0 : 1;
  }
  std::string text =
      "driver: " + std::to_string(driver.pins().size()) + " pins, " + std::to_string(lit) + " lit";
  if (failing != 0) text += ", " + std::to_string(failing) + " failing";
  if (driver.lampTestRunning()) text += ", lamp test";
  return text;
}

}  // namespace Drive
