// Pins on Linux LED class devices (<sysfs root>/class/leds/<device>): the kernel's own trigger
// is switched off at start so that nothing else drives the LED, then each change is one write
// of `brightness`: the configured brightness or `max_brightness` when lit, 0 when dark.
#pragma once

#include <string>
#include <vector>

#include "host/drive/PinBackend.h"
#include "host/drive/ValueFile.h"

namespace Drive {

class LedClassBackend final : public PinBackend {
 public:
  explicit LedClassBackend(std::string sysfsRoot);

  Backend kind() const noexcept override { return Backend::led; }
  std::vector<PinFault> check(std::vector<PinClaim> const& pins) override;
  std::vector<PinFault> claim(std::vector<PinClaim> const& pins) override;
  std::vector<PinFault> write(std::vector<PinWrite> const& writes) override;

 private:
  struct Led {
    ValueFile brightness;
    std::string lit;  // the text written when lit
  };
  std::string deviceDir(PinClaim const& claim) const;
  int litText(PinClaim const& claim, std::string& lit, std::string& what) const;
  int checkOne(PinClaim const& claim, std::string& what) const;
  int claimOne(PinClaim const& claim, Led& led, std::string& what);

  std::string root_;
  std::vector<Led> leds_;  // by pin position; closed for pins not claimed
};

}  // namespace Drive
