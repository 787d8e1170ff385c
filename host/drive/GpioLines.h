// The few libgpiod calls the gpiod backend makes, behind an interface: tests record requests and
// bulk writes through it, as no test machine can be expected to have GPIO chips. Results are
// errno values, 0 for success.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Drive {

class GpioLines {
 public:
  virtual ~GpioLines() = default;
  // A chip by name ("gpiochip0"), label, path or number; sets `chip` to a handle.
  virtual int openChip(std::string const& address, std::size_t& chip) = 0;
  virtual int findLine(std::size_t chip, std::string const& name, unsigned& offset) = 0;
  // Whether a line could be requested, asking the chip without requesting it: 0 when free,
  // EBUSY when another holder has it, EINVAL when the chip has no such line.
  virtual int checkLine(std::size_t chip, unsigned offset) = 0;
  // One output request for lines of one chip and one polarity, lit as `values` (logical).
  virtual int request(std::size_t chip, std::vector<unsigned> const& offsets, bool activeLow,
                      std::vector<int> const& values, std::size_t& request) = 0;
  // Sets every line of a request at once (logical values, in the request's order).
  virtual int setValues(std::size_t request, std::vector<int> const& values) = 0;
  virtual void release(std::size_t request) = 0;
};

}  // namespace Drive
