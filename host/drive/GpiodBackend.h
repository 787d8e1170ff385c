// Pins on GPIO lines: one output request per chip and polarity (split where a request would hold
// more lines than one request can), and one bulk write per request that has a changed line.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/drive/GpioLines.h"
#include "host/drive/PinBackend.h"

namespace Drive {

class GpiodBackend final : public PinBackend {
 public:
  explicit GpiodBackend(std::unique_ptr<GpioLines> lines);

  Backend kind() const noexcept override { return Backend::gpiod; }
  std::vector<PinFault> check(std::vector<PinClaim> const& pins) override;
  std::vector<PinFault> claim(std::vector<PinClaim> const& pins) override;
  std::vector<PinFault> write(std::vector<PinWrite> const& writes) override;

  static constexpr std::size_t kLinesPerRequest = 64;

 private:
  struct Line {
    std::size_t pin;
    std::size_t chip;
    unsigned offset;
    bool activeLow;
    int value;
    std::string const* chipName;
  };
  struct Request {
    std::unique_ptr<LineRequest> lines;
    std::vector<std::size_t> pins;
    std::vector<unsigned> offsets;
    std::vector<int> values;
    bool touched = false;
  };
  struct Slot {
    std::size_t request = 0;
    std::size_t index = 0;
    bool claimed = false;
  };

  // The lines of `pins` by chip and polarity, ordered so that requests come out the same at
  // every start; pins whose chip or line cannot be found, or that name a line twice, go to faults.
  using Groups = std::map<std::pair<std::size_t, bool>, std::vector<Line>>;
  Groups resolve(std::vector<PinClaim> const& pins, std::vector<PinFault>& faults);
  void requestGroup(std::vector<Line> const& group, std::vector<PinFault>& faults);
  bool requestLines(std::vector<Line> const& lines, int& error);

  // A chip's index among the opened ones, opening it on first use; faults it to the pin when it
  // cannot be opened.
  std::optional<std::size_t> chipIndex(PinClaim const& claim, std::vector<PinFault>& faults);

  // Declared before the requests, which release their lines first.
  std::unique_ptr<GpioLines> lines_;
  std::vector<std::unique_ptr<GpioChip>> chips_;  // in the order first named
  std::map<std::string, std::size_t> chipByAddress_;
  std::vector<Request> requests_;
  std::vector<Slot> slots_;  // by pin position
  std::vector<std::size_t> touched_;
};

}  // namespace Drive
