#include "host/drive/LedClassBackend.h"

#include <cerrno>
#include <cstring>

namespace Drive {

namespace {

PinFault faultOf(PinClaim const& claim, int error, std::string const& what) {
  return {claim.pin, error,
          "LED '" + claim.address->device + "': " + what + ": " + std::strerror(error)};
}

}  // namespace

LedClassBackend::LedClassBackend(std::string sysfsRoot) : root_(std::move(sysfsRoot)) {}

std::vector<PinFault> LedClassBackend::check(std::vector<PinClaim> const& pins) {
  std::vector<PinFault> faults;
  for (PinClaim const& claim : pins) {
    std::string what;
    if (int error = checkOne(claim, what)) faults.push_back(faultOf(claim, error, what));
  }
  return faults;
}

std::vector<PinFault> LedClassBackend::claim(std::vector<PinClaim> const& pins) {
  std::vector<PinFault> faults;
  for (PinClaim const& claim : pins) {
    if (leds_.size() <= claim.pin) leds_.resize(claim.pin + 1);
    std::string what;
    if (int error = claimOne(claim, leds_[claim.pin], what)) {
      leds_[claim.pin] = Led{};
      faults.push_back(faultOf(claim, error, what));
    }
  }
  return faults;
}

std::string LedClassBackend::deviceDir(PinClaim const& claim) const {
  return root_ + "/class/leds/" + claim.address->device;
}

int LedClassBackend::litText(PinClaim const& claim, std::string& lit, std::string& what) const {
  if (claim.address->brightness) {
    lit = std::to_string(*claim.address->brightness) + "\n";
    return 0;
  }
  what = "max_brightness";
  std::string max;
  if (int error = readSmallFile(deviceDir(claim) + "/max_brightness", max)) return error;
  if (max.empty() || max.find_first_not_of("0123456789\n") != std::string::npos) return EINVAL;
  lit = max.back() == '\n' ? max : max + "\n";
  return 0;
}

// What claimOne needs, asked without switching the trigger or writing the brightness.
int LedClassBackend::checkOne(PinClaim const& claim, std::string& what) const {
  std::string lit;
  if (int error = litText(claim, lit, what)) return error;
  std::string const dir = deviceDir(claim);
  what = "trigger";
  if (int error = checkWritable(dir + "/trigger", false)) return error;
  what = "brightness";
  return checkWritable(dir + "/brightness", false);
}

int LedClassBackend::claimOne(PinClaim const& claim, Led& led, std::string& what) {
  if (int error = litText(claim, led.lit, what)) return error;
  std::string const dir = deviceDir(claim);
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
