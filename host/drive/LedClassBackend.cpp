#include "host/drive/LedClassBackend.h"

#include <cerrno>
#include <cstring>

namespace Drive {

LedClassBackend::LedClassBackend(std::string sysfsRoot) : root_(std::move(sysfsRoot)) {}

std::vector<PinFault> LedClassBackend::claim(std::vector<PinClaim> const& pins) {
  std::vector<PinFault> faults;
  for (PinClaim const& claim : pins) {
    if (leds_.size() <= claim.pin) leds_.resize(claim.pin + 1);
    std::string what;
    if (int error = claimOne(claim, leds_[claim.pin], what)) {
      leds_[claim.pin] = Led{};
      faults.push_back(
          {claim.pin, error,
           "LED '" + claim.address->device + "': " + what + ": " + std::strerror(error)});
    }
  }
  return faults;
}

int LedClassBackend::claimOne(PinClaim const& claim, Led& led, std::string& what) {
  std::string const dir = root_ + "/class/leds/" + claim.address->device;
  if (claim.address->brightness) {
    led.lit = std::to_string(*claim.address->brightness) + "\n";
  } else {
    what = "max_brightness";
    std::string max;
    if (int error = readSmallFile(dir + "/max_brightness", max)) return error;
    if (max.empty() || max.find_first_not_of("0123456789\n") != std::string::npos) return EINVAL;
    led.lit = max.back() == '\n' ? max : max + "\n";
  }
  what = "trigger";
  if (int error = writeSmallFile(dir + "/trigger", "none\n")) return error;
  what = "brightness";
  if (int error = led.brightness.open(dir + "/brightness", false)) return error;
  return led.brightness.write(claim.lit ? led.lit : "0\n");
}

std::vector<PinFault> LedClassBackend::write(std::vector<PinWrite> const& writes) {
  std::vector<PinFault> faults;
  for (PinWrite const& write : writes) {
    if (write.pin >= leds_.size() || !leds_[write.pin].brightness.isOpen()) continue;
    Led& led = leds_[write.pin];
    if (int error = led.brightness.write(write.lit ? led.lit : "0\n")) {
      faults.push_back({write.pin, error, std::string("LED brightness: ") + std::strerror(error)});
    }
  }
  return faults;
}

}  // namespace Drive
