// The few GPIO character-device operations the gpiod backend makes, behind an interface: tests
// record requests and bulk writes through it, as no test machine can be expected to have GPIO
// chips. Chips and line requests are owned objects: a request holds its lines until it is
// destroyed, and a chip stays open while anything made from it lives. Failures are thrown as
// std::system_error carrying the errno value.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Drive {

// Output lines of one chip and one polarity, requested together. Held through a unique_ptr, it
// moves but never copies; its lines are released when it is destroyed.
class LineRequest {
 public:
  virtual ~LineRequest() = default;
  LineRequest(LineRequest const&) = delete;
  LineRequest& operator=(LineRequest const&) = delete;

  // Sets every line at once (logical values, in the request's order).
  virtual void setValues(std::vector<int> const& values) = 0;

 protected:
  LineRequest() = default;
};

class GpioChip {
 public:
  virtual ~GpioChip() = default;
  GpioChip(GpioChip const&) = delete;
  GpioChip& operator=(GpioChip const&) = delete;

  virtual unsigned lineOffset(std::string const& name) = 0;
  // Whether another holder has the line, asking the chip without requesting it; EINVAL when the
  // chip has no such line.
  virtual bool isLineUsed(unsigned offset) = 0;
  // One output request, lit as `values` (logical), held until the result is destroyed.
  virtual std::unique_ptr<LineRequest> requestOutputs(std::vector<unsigned> const& offsets,
                                                      bool activeLow,
                                                      std::vector<int> const& values) = 0;

 protected:
  GpioChip() = default;
};

class GpioLines {
 public:
  virtual ~GpioLines() = default;
  // A chip by name ("gpiochip0"), label, path or number.
  virtual std::unique_ptr<GpioChip> openChip(std::string const& address) = 0;
};

}  // namespace Drive
