// The seam between the driver and the hardware: a backend checks the pins given to it at start,
// claims them once every one is known to be there, and later writes the values the driver
// latched, reporting per pin what failed. Pins are named
// by their position in the driver's table, so that a write names no string.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/drive/PinMap.h"

namespace Drive {

struct PinClaim {
  std::size_t pin;
  PinAddress const* address;
  bool lit;  // what the pin shows from the start: no dark blip on hardware already lit
};

struct PinWrite {
  std::size_t pin;
  bool lit;
};

struct PinFault {
  std::size_t pin;
  int error;  // errno: the kind of failure, to say each kind once per pin
  std::string text;
};

class PinBackend {
 public:
  virtual ~PinBackend() = default;
  virtual Backend kind() const noexcept = 0;
  // Says which pins could not be claimed now, touching none: nothing is requested, switched or
  // written, so that a refused start leaves the board as it was.
  virtual std::vector<PinFault> check(std::vector<PinClaim> const& pins) = 0;
  // Claims the pins; the ones that cannot be claimed come back and are never written.
  virtual std::vector<PinFault> claim(std::vector<PinClaim> const& pins) = 0;
  // Writes the values of one latch: only pins whose value changed, each once.
  virtual std::vector<PinFault> write(std::vector<PinWrite> const& writes) = 0;
};

}  // namespace Drive
